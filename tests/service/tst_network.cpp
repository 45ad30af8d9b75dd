// The network transport on the wire, against a loopback HTTP server, in real time.

#include "vantora/service/networktransport_p.h"
#include "vantora/service/vtaservicemanager_p.h"
#include <vantora/records/vtadeployment.h>

#include "testsupport.h"

#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponse>
#include <QTcpServer>
#include <QTest>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Received
{
    QHttpServerRequest::Method method{};
    QByteArray contentType;
    QByteArray contentLength;
    QByteArray body;
    QString path;
};

class NetworkTest : public testing::Test
{
protected:
    NetworkTest()
    {
        port = server.listen(QHostAddress::LocalHost, 0);
        base = u"http://127.0.0.1:%1"_s.arg(port);
        service().setTransport(std::make_unique<NetworkTransport>());
        service().setEnvironment(VTAEnvironment(base + u"/userApi/"_s, base + u"/media"_s,
                                                u"2c3d4e5f607182930415"_s, u"us2"_s, u"test3"_s));
    }

    static VTAServiceManager &service() { return VTAServiceManager::shared(); }

    void record(const QHttpServerRequest &request)
    {
        received.append({request.method(), request.value("Content-Type"),
                         request.value("Content-Length"), request.body(), request.url().path()});
    }

    QHttpServer server;
    quint16 port = 0;
    QString base;
    QList<Received> received;
    QObject owner;
};

constexpr int deadline = 10000;

} // namespace

TEST_F(NetworkTest, sendsTheEnvelopeByteForByteAndTakesA500WithARecord)
{
    ASSERT_NE(port, 0);
    const QByteArray user = TestSupport::loadFixture(u"user.json");
    server.route(u"/userApi/user/login_by_token"_s, [&](const QHttpServerRequest &request) {
        record(request);
        return QHttpServerResponse("application/json", user,
                                   QHttpServerResponse::StatusCode::InternalServerError);
    });
    std::optional<ServiceResult<User>> outcome;
    service().login(u"tok-1"_s, u"bc"_s, u"ch1"_s, &owner, [&](auto result) { outcome = result; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return outcome.has_value(); }, deadline));

    ASSERT_EQ(received.size(), 1);
    const Received &request = received[0];
    EXPECT_EQ(request.method, QHttpServerRequest::Method::Post);
    ASSERT_TRUE(request.contentType.startsWith("multipart/form-data; boundary=Boundary-"));
    const QByteArray boundary = request.contentType.mid(30);
    EXPECT_EQ(request.body,
              "--" + boundary
                  + "\r\nContent-Disposition: form-data; name=\"request\"\r\n\r\n"
                    R"({"data":{"broadcasterName":"bc","channelId":"ch1","userToken":"tok-1"}})"
                    "\r\n--"
                  + boundary + "--\r\n");
    EXPECT_EQ(request.contentLength, QByteArray::number(request.body.size()));
    ASSERT_TRUE(*outcome) << outcome->error().message.toStdString();
    EXPECT_EQ(outcome->value().token, u"5f0c9a7e-4d1b-4b7e-9c3a-2e8f1a6b7c90"_s);
}

TEST_F(NetworkTest, getsChannelListsAndImagesAndReportsEmptyReplies)
{
    ASSERT_NE(port, 0);
    VTADeployment deployment = VTADeployment::current();
    deployment.channelsBaseURL = base + u"/channels/"_s;
    VTADeployment::configure(deployment);
    server.route(u"/channels/bc__test3.json"_s, [&](const QHttpServerRequest &request) {
        record(request);
        return QHttpServerResponse("application/json",
                                   R"([{"channel":"c","additionalPageSettings":"","urlB64":""}])");
    });
    server.route(u"/userApi/streamer/getInfo"_s, [&](const QHttpServerRequest &request) {
        record(request);
        return QHttpServerResponse(QHttpServerResponse::StatusCode::NoContent);
    });
    std::optional<ServiceResult<QList<Channel>>> channels;
    std::optional<ServiceResult<StreamerInfo>> info;
    service().checkChannels(u"bc"_s, &owner, [&](auto result) { channels = result; });
    service().getChannelInfo(u"ch1"_s, u"bc"_s, &owner, [&](auto result) { info = result; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return channels && info; }, deadline));
    ASSERT_TRUE(*channels);
    EXPECT_EQ(channels->value()[0].channel, u"c"_s);
    ASSERT_FALSE(*info);
    EXPECT_EQ(info->error().kind, ServiceError::Kind::EmptyReply);
    EXPECT_EQ(info->error().httpStatus, 204);
    const auto get = std::find_if(received.cbegin(), received.cend(), [](const Received &r) {
        return r.path.startsWith("/channels"_L1);
    });
    ASSERT_NE(get, received.cend());
    EXPECT_EQ(get->method, QHttpServerRequest::Method::Get);
    EXPECT_TRUE(get->body.isEmpty());
    EXPECT_TRUE(get->contentLength.isEmpty()) << "a GET announces no body";
    EXPECT_TRUE(get->contentType.isEmpty());
}

TEST_F(NetworkTest, aRefusedConnectionIsATransportError)
{
    QTcpServer closed; // a port nobody listens on any more
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
    const quint16 deadPort = closed.serverPort();
    closed.close();
    service().setEnvironment(VTAEnvironment(u"http://127.0.0.1:%1/userApi"_s.arg(deadPort), base,
                                            u"k"_s, u"us2"_s, u"test3"_s));
    std::optional<ServiceResult<User>> outcome;
    std::optional<ServiceError> imageError;
    bool imageDone = false;
    service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, [&](auto result) { outcome = result; });
    service().getImage(u"http://127.0.0.1:%1/x.png"_s.arg(deadPort), &owner,
                       [&](QImage, std::optional<ServiceError> error) {
                           imageError = error;
                           imageDone = true;
                       });
    ASSERT_TRUE(QTest::qWaitFor([&] { return outcome && imageDone; }, deadline));
    ASSERT_FALSE(*outcome);
    EXPECT_EQ(outcome->error().kind, ServiceError::Kind::Transport);
    EXPECT_EQ(outcome->error().httpStatus, 0);
    EXPECT_FALSE(outcome->error().message.isEmpty());
    EXPECT_TRUE(imageError.has_value());
}
