#include "servicetest.h"

#include "testsupport.h"

#include <QBuffer>
#include <QImage>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString loginPath = u"/userApi/user/login_by_token"_s;

} // namespace

TEST_F(ServiceTest, repliesAreJudgedByTheirBodyAlone)
{
    const QByteArray user = loadFixture(u"user.json");
    using Kind = ServiceError::Kind;
    const struct
    {
        const char *name;
        HttpReply reply;
        std::optional<Kind> error; ///< none: the user arrives
        QString message;
    } rows[] = {
        {"200 with the record", {200, user, {}}, std::nullopt, {}},
        {"500 whose body decodes", {500, user, {}}, std::nullopt, {}},
        {"200 with no body", {200, {}, {}}, Kind::EmptyReply, u"empty reply"_s},
        {"404 with no body", {404, {}, {}}, Kind::EmptyReply, u"empty reply"_s},
        {"refused", {0, {}, u"Connection refused"_s}, Kind::Transport, u"Connection refused"_s},
        {"an empty object", {200, "{}", {}}, Kind::Decoding, u"name: missing"_s},
        {"an HTML error page", {502, "<html>Bad gateway</html>", {}}, Kind::Decoding, {}},
        {"cut off mid-body", {200, user.left(40), u"Connection closed"_s}, Kind::Decoding, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        backend->answer(loginPath, row.reply);
        int calls = 0;
        std::optional<ServiceResult<User>> outcome;
        service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, [&](ServiceResult<User> result) {
            ++calls;
            outcome = std::move(result);
        });
        EXPECT_EQ(calls, 0) << "never inside the call";
        clock.runPending();
        clock.advanceBy(std::chrono::minutes{5});
        ASSERT_EQ(calls, 1);
        if (!row.error) {
            ASSERT_TRUE(*outcome) << outcome->error().message.toStdString();
            EXPECT_EQ(outcome->value().token, u"5f0c9a7e-4d1b-4b7e-9c3a-2e8f1a6b7c90"_s);
            continue;
        }
        ASSERT_FALSE(*outcome);
        EXPECT_EQ(outcome->error().kind, *row.error);
        EXPECT_EQ(outcome->error().httpStatus, row.reply.status);
        if (!row.message.isEmpty())
            EXPECT_EQ(outcome->error().message, row.message);
        else
            EXPECT_FALSE(outcome->error().message.isEmpty());
    }
}

TEST_F(ServiceTest, everyOperationDecodesItsOwnRecord)
{
    backend->answer(u"/userApi/poll/answer_new/p1"_s, {200, loadFixture(u"answer_poll.json"), {}});
    backend->answer(u"/userApi/rating/answer_new/r1"_s,
                    {200, loadFixture(u"answer_poll.json"), {}}); // not a rating reply
    backend->answer(u"/userApi/trivia/getQuestionById/q1"_s,
                    {200, loadFixture(u"trivia.json"), {}});
    backend->answer(u"/userApi/streamer/getInfo"_s, {200, loadFixture(u"channel_full.json"), {}});
    std::optional<ServiceResult<AnswerPollResponse>> poll;
    std::optional<ServiceResult<AnswerRatingResponse>> rating;
    std::optional<ServiceResult<Trivia>> trivia;
    std::optional<ServiceResult<StreamerInfo>> info;
    service().answerPoll(u"tok"_s, u"ch1"_s, u"bc"_s, u"p1"_s, u"Levi"_s, &owner,
                         [&](auto result) { poll = std::move(result); });
    service().answerRating(u"tok"_s, u"ch1"_s, u"bc"_s, u"r1"_s, 5, &owner,
                           [&](auto result) { rating = std::move(result); });
    service().getTriviaQuestion(u"q1"_s, u"tok"_s, u"ch1"_s, u"bc"_s, &owner,
                                [&](auto result) { trivia = std::move(result); });
    service().getChannelInfo(u"ch1"_s, u"bc"_s, &owner,
                             [&](auto result) { info = std::move(result); });
    clock.runPending();
    ASSERT_TRUE(poll && *poll);
    EXPECT_EQ(poll->value().answer.answer, u"Levi"_s);
    ASSERT_TRUE(rating);
    ASSERT_FALSE(*rating);
    EXPECT_EQ(rating->error().message, u"answer.answer: expected integer, got string"_s);
    ASSERT_TRUE(trivia && *trivia);
    ASSERT_TRUE(info && *info);
}

TEST_F(ServiceTest, aCompletionWhoseOwnerIsGoneNeverRuns)
{
    backend->answer(loginPath, {200, loadFixture(u"user.json"), {}});
    backend->answer(u"/channels/bc__test3.json"_s, {200, "[]", {}});
    backend->answer(u"/img/a.png"_s, {200, "not an image", {}});
    auto doomed = std::make_unique<QObject>();
    int calls = 0;
    service().login(u"tok"_s, u"bc"_s, u"ch1"_s, doomed.get(), [&](auto) { ++calls; });
    service().checkChannels(u"bc"_s, doomed.get(), [&](auto) { ++calls; });
    service().getImage(u"img/a.png"_s, doomed.get(), [&](QImage, auto) { ++calls; });
    doomed.reset();
    clock.advanceBy(std::chrono::minutes{2});
    EXPECT_EQ(backend->requests().size(), 3);
    EXPECT_EQ(calls, 0);
}

TEST_F(ServiceTest, aRequestKeepsTheEnvironmentItWasBuiltWith)
{
    backend->answer(loginPath, {200, loadFixture(u"user.json"), {}});
    std::optional<ServiceResult<User>> outcome;
    service().login(u"tok"_s, u"bc"_s, u"ch1"_s, &owner, [&](auto result) { outcome = result; });
    service().setEnvironment(environment(u"https://elsewhere.example.com/userApi"_s));
    clock.runPending();
    EXPECT_EQ(backend->requests()[0].url.host(), u"api.example.com"_s);
    EXPECT_TRUE(outcome && *outcome);
}

TEST_F(ServiceTest, imagesAreDecodedFromWhateverCameBack)
{
    QImage picture(48, 40, QImage::Format_ARGB32);
    picture.fill(Qt::red);
    QByteArray png;
    QBuffer buffer(&png);
    picture.save(&buffer, "PNG");

    backend->answer(u"/poll.png"_s, {200, png, {}});
    backend->answer(u"/missing.png"_s, {404, "<html>Not found</html>", {}});
    backend->answer(u"/cut.png"_s, {0, {}, u"Host unreachable"_s});
    struct Outcome
    {
        QImage image;
        std::optional<ServiceError> error;
        int calls = 0;
    } poll, missing, cut;
    auto into = [](Outcome &outcome) {
        return [&outcome](QImage image, std::optional<ServiceError> error) {
            outcome = {std::move(image), std::move(error), outcome.calls + 1};
        };
    };
    service().getImage(u"poll.png"_s, &owner, into(poll));
    service().getImage(u"/missing.png"_s, &owner, into(missing));
    service().getImage(u"cut.png"_s, &owner, into(cut));
    clock.runPending();

    EXPECT_EQ(poll.calls, 1);
    EXPECT_EQ(poll.image.size(), QSize(48, 40));
    EXPECT_EQ(poll.image.pixelColor(3, 3), QColor(Qt::red));
    EXPECT_FALSE(poll.error);
    EXPECT_EQ(missing.calls, 1);
    EXPECT_TRUE(missing.image.isNull());
    EXPECT_FALSE(missing.error) << "an error status is a reply, not a failure";
    EXPECT_EQ(cut.calls, 1);
    EXPECT_TRUE(cut.image.isNull());
    ASSERT_TRUE(cut.error);
    EXPECT_EQ(cut.error->message, u"Host unreachable"_s);
}
