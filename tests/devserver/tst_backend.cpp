// The backend operations as the SDK calls them on a fresh database: replies carry what a backend
// computes in the JSON types the SDK wants, rejections say why. Also multipart, lists and media.

#include "multipart_p.h"
#include "serverfixture.h"
#include "vantora/records/jsoncodec_p.h"

#include <QTcpSocket>

using namespace Vantora;
using namespace Vantora::DevServer;
using namespace Vantora::DevServerTest;
using Vantora::TestSupport::caseTable;

using BackendTest = ServerFixture;

// Bodies and boundaries as the RFCs allow them, and broken ones refused with the reason.
TEST(Multipart, readsWhatTheRfcAllowsAndRefusesTheRestWithTheReason)
{
    // Preamble, epilogue, padding, header case, a bare name, part headers, binary, an empty value.
    const auto fields =
        parseMultipart("preamble\r\n--b  \t\r\ncontent-disposition: FORM-DATA; name=a\r\n"
                       "Content-Type: text/plain\r\n\r\n\0\xff\r\n-\r\n--b\r\nContent-"
                       "Disposition: form-data; name=\"e\"\r\n\r\n\r\n--b--\r\nepilogue"_ba,
                       "b");
    ASSERT_TRUE(fields && fields.value().size() == 2);
    EXPECT_EQ(singleField(fields.value(), "a").value(), "\0\xff\r\n-"_ba);
    const QByteArray part = "--b\r\nContent-Disposition: form-data; name=a\r\n\r\n{}";
    for (const auto &[body, error] :
         {std::pair{part, "body is truncated: no closing boundary after part 1"},
          {part + "\r\n--b", "body ends inside a delimiter line"},
          {part + "\r\n--bx", "delimiter line does not end with CRLF"},
          {"--b\r\nContent-Disposition: form-data; name=\"\"\r\n\r\n\r\n--b--",
           "part 1: Content-Disposition has no name"}}) {
        const auto parsed = parseMultipart(body, "b");
        EXPECT_EQ(parsed ? QString() : parsed.error(), QString::fromUtf8(error))
            << body.constData();
    }
    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"multipart boundaries")) {
        const auto found = multipartBoundary(row[0].toUtf8());
        EXPECT_EQ(found ? QString::fromUtf8(found.value()) : found.error(), row[1])
            << qPrintable(row[0]);
    }
}

TEST_F(BackendTest, aViewersEveningFromRegistrationToSettlement)
{
    const auto call = [&](const char *operation, const QByteArray &data, const QString &token) {
        const HttpResult reply = api(QString::fromLatin1(operation), data, token);
        EXPECT_EQ(reply.status, 200) << operation << ": " << reply.body.constData();
        return reply.json();
    };
    const QJsonObject dana = call("/user/register", R"($W,"userInitialName":"Dana")", {});
    EXPECT_TRUE(has(dana, uR"("name":"Dana","level":1,"amount_of_credits_won":0)"_s));
    const QString token = dana["token"_L1].toString();
    const QString other = call("/user/register", "$W", {})["token"_L1].toString();

    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"answers")) {
        const QJsonValue answered =
            call(qPrintable(row[0]), "$W,\"answer\":" + row[1].toUtf8(), token)["answer"_L1];
        EXPECT_TRUE(has(answered, row[2])) << qPrintable(row[0]);
    }
    EXPECT_TRUE(has(call("/trivia/getQuestionById/t401", "$W", token)["answer"_L1],
                    uR"("answer":"Spain","isCorrect":false,"correctAnswer":{"answer":"France",
                        "image":"trivia/flag-fr.png"})"_s));
    EXPECT_FALSE(call("/trivia/getQuestionById/t400", "$W", token).contains("answer"_L1));
    EXPECT_TRUE(has(call("/user/login_by_token", "$W", token),
                    uR"("token":"%1","level":3,"amount_of_credits_won":35,"expirience_points":70,
                        "polls":{"p100_1001":"Latte","p101_1001":"The band","pr200_1001":"Reds"},
                        "ratings":{"r300_1001":"5"},"predictionsResults":{"pr200_____1001":
                        {"wager":0,"answer":"Reds","status":"pending"}})"_s.arg(token)));

    // Live totals count each viewer once.
    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"a second viewer's answers"))
        call(qPrintable(row[0]), "$W,\"answer\":" + row[1].toUtf8(), other);
    const QJsonObject info = call("/streamer/getInfo", "$W", {});
    QList<int> totals;
    for (const QJsonValue &poll :
         {info["polls"_L1][0], info["polls"_L1][1], info["predictions"_L1][0]})
        for (const QJsonValue &option : poll["answers"_L1].toArray())
            totals.append(option["totals"_L1].toInt(-1));
    EXPECT_EQ(totals, QList<int>({0, 1, 0, /**/ 2, 0, 0, 0, /**/ 1, 1, 0}));
    const QString rating = uR"("totalPeople":2,"totalPoints":7,"averageRate":3.5)"_s;
    EXPECT_TRUE(has(info["ratings"_L1][0], rating));

    // Settling the prediction pays its winners once.
    const QByteArray settle = R"({"channel":"1001","poll":"pr200","answer":"Reds","winAmount":50})";
    EXPECT_TRUE(has(admin(u"settle"_s, settle).json(),
                    uR"("winners":[{"id":1,"credits":85}],"losers":1)"_s));
    EXPECT_EQ(admin(u"settle"_s, settle).status, 409);
    EXPECT_TRUE(has(call("/user/login_by_token", "$W", token),
                    uR"("amount_of_credits_won":85,"predictionsResults":{"pr200_____1001":
                        {"wager":0,"answer":"Reds","status":"won"}})"_s));
    EXPECT_TRUE(
        has(call("/user/login_by_token", "$W", other)["predictionsResults"_L1]["pr200_____1001"_L1],
            uR"("status":"lost")"_s));
    EXPECT_TRUE(has(call("/analytics/add", R"($W,"events":[])", token), uR"("status":"ok")"_s));
}

TEST_F(BackendTest, rejectionsNameTheProblemAndStoreNothing)
{
    const QString token = api(u"/user/register"_s, "$W").json()["token"_L1].toString();
    const QByteArray body = sdkRequest(R"($W,"answer":"Latte")", token);
    for (const auto &[type, bytes, status, error] :
         {std::tuple{QByteArray("text/plain"), body, 415,
                     "Content-Type is \"text/plain\", expected multipart"},
          {sdkContentType, body.chopped(30), 400, "multipart body: body is truncated"},
          {sdkContentType, QByteArray(body).replace("\"request\"", "\"r\""), 400,
           "form field \"request\" is missing"}}) {
        const HttpResult reply = http("POST", u"/userApi/poll/answer_new/p100"_s, bytes, type);
        EXPECT_EQ(reply.status, status) << error;
        EXPECT_TRUE(reply.json()["error"_L1].toString().startsWith(QLatin1StringView(error)))
            << error;
    }
    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"rejections")) {
        const HttpResult reply = api(row[0], row[1].toUtf8(), token);
        EXPECT_EQ(reply.status, row[2].toInt()) << qPrintable(row[0] + u' ' + row[1]);
        EXPECT_TRUE(reply.json()["error"_L1].toString().startsWith(row[3])) << qPrintable(row[3]);
    }
    EXPECT_EQ(http("GET", u"/admin/answers"_s).body, "[]");
    const QJsonArray viewers = DevServerTest::admin(m_port, u"viewers"_s).array();
    EXPECT_EQ(viewers.size(), 1);
    EXPECT_TRUE(has(viewers.at(0), uR"("expoints":0,"credits":0)"_s));
}

TEST_F(BackendTest, channelListsAndMedia)
{
    const auto list =
        Json::decode<QList<Channel>>(http("GET", u"/channels/vantora-demo__test3.json"_s).body);
    ASSERT_TRUE(list && list.value().size() == 1 && list.value()[0].channel == u"1001"_s);
    EXPECT_EQ(QByteArray::fromBase64(list.value()[0].urlB64.toLatin1()),
              "https://tv.example/vantora-demo/1001");
    EXPECT_TRUE(http("GET", u"/media/polls/coffee.png"_s).body.startsWith("\x89PNG\r\n"));
    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"missing"))
        EXPECT_EQ(http(row[0].toLatin1(), row[1]).status, row[2].toInt()) << qPrintable(row[1]);
    // QUrl resolves dot segments before a request leaves, so these go out as they are written.
    for (const auto &[path, status] : {std::pair{"/media/polls/../polls/coffee.png", "200 OK"},
                                       {"/media/../channels/1001.json", "404 Not Found"}}) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, m_port);
        socket.write("GET "_ba + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        QByteArray reply;
        EXPECT_TRUE(waitUntil([&] { return (reply += socket.readAll()).contains("\r\n"); }));
        EXPECT_EQ(reply.left(reply.indexOf("\r\n")), "HTTP/1.1 "_ba + status) << path;
    }
}

// The faults a client's tests can order: each as a real backend's network shows it, for as many
// requests as asked, on the paths named, and then the server is itself again.
TEST_F(BackendTest, faultsOrderedForAClientsTestsMisbehaveAsRealBackendsDo)
{
    const QString list = u"/channels/vantora-demo__test3.json"_s;
    const auto fault = [&](const QByteArray &kind, int times = 1) {
        const QByteArray order = R"({"path":"/channels/","fault":")" + kind + R"(","times":)";
        return admin(u"faults"_s, order + QByteArray::number(times) + '}').status;
    };
    const auto got = [&] {
        const HttpResult reply = http("GET", list);
        return u"%1 %2 %3"_s.arg(reply.error)
            .arg(reply.status)
            .arg(QString::fromUtf8(reply.body.left(15)));
    };
    const QString fine = got();
    EXPECT_TRUE(fine.startsWith(u"0 200 [{"_s)) << fine.toStdString();
    for (const QStringList &row : caseTable(u"devserver_cases.txt", u"faults")) {
        ASSERT_EQ(fault(row[0].toUtf8(), row[1].toInt()), 200);
        EXPECT_EQ(got(), TestSupport::unquoted(row[2])) << qPrintable(row[0]);
        EXPECT_EQ(got(), fine) << qPrintable(row[0]) << ": only as often as ordered";
    }
    ASSERT_EQ(fault("notjson", 0), 200); // until cleared
    EXPECT_EQ(api(u"/user/register"_s, "$W").status, 200) << "other paths are themselves";
    EXPECT_EQ(got() + u' ' + got(), u"0 200 <!DOCTYPE html> 0 200 <!DOCTYPE html>"_s);
    EXPECT_EQ(admin(u"faults"_s, R"({"clear":true})").status, 200);
    EXPECT_EQ(got(), fine);
    EXPECT_EQ(admin(u"faults"_s, R"({"path":"/","fault":"slow"})").status, 400);
}
