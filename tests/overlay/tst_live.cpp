// What reaches a running overlay: the replies to the viewer's answers, the broadcaster's live
// events, prediction settlements with their notice, and the attribution of analytics reports.

#include "overlaytest.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include <vantora/views/infoview/vtainfoview.h>
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/rating/vtaratingview.h>
#include <vantora/views/trivia/vtatriviaview.h>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace OverlayTesting;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

class LiveTest : public OverlayTest
{
protected:
    void SetUp() override
    {
        storeToken(u"tok-1"_s);
        load(); // totals 100 credits, 20 experience, level 3
    }

    VTAPollView *pollCard() const { return qobject_cast<VTAPollView *>(card()); }
    QString text(QQuickItem *item) const { return item->property("text").toString(); }

    // Shows poll `id` and votes for its first answer; the reply arrives.
    void vote(const Poll &poll)
    {
        controller->inject(poll, {30, false, false, false}, 1700000000);
        clock.advanceBy(1s);
        ASSERT_TRUE(pollCard());
        pollCard()->actionAnswer(pollCard()->answerViews()[0]->button());
        clock.runPending();
    }

    // Shows rating r1, whose reply gives `expoints`, and gives it four stars; the reply arrives.
    VTARatingView *rate(double expoints)
    {
        answerReply("/userApi/rating/answer_new/", "r1", expoints, std::nullopt, nullptr);
        controller->inject(rating(u"r1"_s), {30, false, false, false}, 5);
        clock.advanceBy(1s);
        auto *stars = qobject_cast<VTARatingView *>(card());
        if (stars) {
            stars->actionAnswer(stars->answerViews()[3]->button());
            clock.runPending();
        }
        return stars;
    }
};

} // namespace

TEST_F(LiveTest, pollRepliesRecordTheAnswerAndUpdatePointsOnlyWhenTheyGiveAny)
{
    struct Row
    {
        const char *name;
        double expoints;
        std::optional<double> gift;
        const char *level;
        double credits, experience;
        qint64 newLevel;
    };
    const Row rows[] = {
        {"nothing given", 0, std::nullopt, "7", 100, 20, 3},
        {"zero gift still reads the level", 0, 0.0, "7", 100, 20, 7},
        {"unreadable level", 10, std::nullopt, "seven", 100, 30, 3},
        {"points and gift", 10, 5.0, "4", 105, 30, 4},
        {"empty level", 10, std::nullopt, "", 100, 30, 3},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        state().totalCredits = 100;
        state().totalExpoints = 20;
        state().level = 3;
        state().pollAnswers.clear();
        answerReply("/userApi/poll/answer_new/", "p1", row.expoints, row.gift, row.level);
        const qsizetype reportsBefore = reports().size();
        vote(poll(u"p1"_s));
        EXPECT_EQ(reports().mid(reportsBefore),
                  (QStringList{u"view Polls injection p1 1700000000"_s,
                               u"engage Polls injection p1 1700000000"_s}));
        EXPECT_EQ(state().pollAnswers.value(u"p1"_s), u"Home"_s);
        EXPECT_EQ(state().totalCredits, row.credits);
        EXPECT_EQ(state().totalExpoints, row.experience);
        EXPECT_EQ(state().level, row.newLevel);
        EXPECT_EQ(text(card()->infoView()->levelLabel()), QString::number(row.newLevel));
        overlay->closeInteractionIfNeeded();
        clock.advanceBy(1s);
    }

    // A reply that does not count the answer changes nothing.
    answer("/userApi/poll/answer_new/p2", R"({"answer":{"userId":"u","questionId":"p2",
        "answer":"Home","channelId":"ch1","isAnswered":false,"expoints_given":50}})");
    vote(poll(u"p2"_s));
    EXPECT_FALSE(state().pollAnswers.contains(u"p2"_s));
    EXPECT_EQ(state().totalExpoints, 30);
}

TEST_F(LiveTest, ratingAndTriviaRepliesFollowTheirOwnRules)
{
    ASSERT_TRUE(rate(5));
    EXPECT_EQ(state().ratingAnswers.value(u"r1"_s), u"4"_s) << "the value pressed, as text";
    EXPECT_EQ(state().totalExpoints, 25);
    overlay->closeInteractionIfNeeded();
    clock.advanceBy(1s);

    struct Row
    {
        const char *name;
        QJsonObject reply;
        double credits, experience;
        qint64 level;
    };
    const QJsonObject base{{u"userId"_s, u"u"_s},
                           {u"questionId"_s, u"q7"_s},
                           {u"answer"_s, u"Real Madrid"_s},
                           {u"correctAnswer"_s, QJsonObject{{u"answer"_s, u"Real Madrid"_s}}},
                           {u"isCorrect"_s, true},
                           {u"isAnswered"_s, true},
                           {u"expoints_given"_s, 15},
                           {u"points"_s, 100}};
    auto with = [&base](std::initializer_list<std::pair<QString, QJsonValue>> members) {
        QJsonObject reply = base;
        for (const auto &[key, value] : members)
            reply.insert(key, value);
        return reply;
    };
    const Row rows[] = {
        {"absolute totals plus gift",
         with({{u"total_points"_s, 120}, {u"giftPointsGiven"_s, 5}, {u"total_expoints"_s, 70}}),
         125, 70, 3},
        {"points won added",
         with({{u"pointsGiven"_s, 40}, {u"userLevel"_s, QJsonObject{{u"level"_s, u"5"_s}}}}), 140,
         40, 5},
        {"not answered", with({{u"isAnswered"_s, QJsonValue()}, {u"pointsGiven"_s, 40}}), 100, 25,
         3},
    };
    answer("/userApi/trivia/getQuestionById/q7", Json::encode(trivia(u"q7"_s)));
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        state().totalCredits = 100;
        state().totalExpoints = 25;
        state().level = 3;
        QJsonObject reply = row.reply;
        if (reply[u"isAnswered"_s].isNull())
            reply.remove(u"isAnswered"_s);
        backend->answer(u"/userApi/trivia/answer/q7"_s,
                        {200, QJsonDocument(QJsonObject{{u"answer"_s, reply}}).toJson(), {}});
        controller->inject(u"q7"_s, {30, false, false, false}, 9);
        clock.advanceBy(1s);
        auto *quiz = qobject_cast<VTATriviaView *>(card());
        ASSERT_TRUE(quiz);
        quiz->actionAnswer(quiz->answerViews()[0]->button());
        clock.runPending();
        EXPECT_EQ(state().totalCredits, row.credits);
        EXPECT_EQ(state().totalExpoints, row.experience);
        EXPECT_EQ(state().level, row.level);
        EXPECT_EQ(quiz->state(),
                  reply.contains(u"isAnswered"_s) ? InteractionState::completed
                                                  : InteractionState::loading);
        overlay->closeInteractionIfNeeded();
        clock.advanceBy(1s);
    }
}

TEST_F(LiveTest, injectionsReplaceHeldItemsAndAnUnknownKindIsFatal)
{
    Poll changed = poll(u"p1"_s);
    changed.question = u"Changed?"_s;
    controller->inject(changed, {30, false, false, false}, 77);
    EXPECT_EQ(state().polls.size(), 2);
    EXPECT_EQ(state().polls.last().question, u"Changed?"_s) << "moved to the end";
    EXPECT_EQ(state().polls.first().id, u"p2"_s);
    clock.runPending();
    EXPECT_EQ(text(card()->titleLabel()), u"Changed?"_s);
    Rating renamed = rating(u"r1"_s);
    renamed.name = u"Rate the second half"_s;
    controller->inject(renamed, {30, false, false, false}, 78);
    clock.advanceBy(1s);
    EXPECT_EQ(state().ratings.size(), 1);
    EXPECT_EQ(text(card()->titleLabel()), u"Rate the second half"_s);

    // The realtime channel's own reading of an event reaches the same path.
    controller->pusherHelper.handleEvent(
        u"injectPoll"_s,
        QString::fromUtf8(R"({"poll":)" + Json::encode(poll(u"pr1"_s, u"prediction"_s))
                          + R"(,"smartTV":true,"starting_time":1800000000})"));
    clock.advanceBy(1s);
    EXPECT_EQ(card()->identifier(), u"pr1"_s);
    EXPECT_EQ(state().lastAnalyticsTime, 1800000000);

    EXPECT_DEATH(controller->inject(poll(u"p3"_s, u"survey"_s), {}, 5),
                 "Unknown poll questionType \"survey\"");
}

TEST_F(LiveTest, liveTotalsRefreshOnlyTheShowingCardAndNeverGoBelowIt)
{
    controller->inject(poll(u"p1"_s), {30, false, false, false}, 1);
    clock.advanceBy(1s);
    ASSERT_EQ(pollCard()->totalVotes(), 4);
    auto delivered = [](QList<std::optional<qint64>> votes) {
        Poll live = poll(u"p1"_s);
        for (qsizetype i = 0; i < votes.size(); ++i)
            live.answers[i].totals = votes[i];
        return live;
    };
    controller->updatedInfo(QList<Poll>{delivered({3, 1})}, std::nullopt, std::nullopt);
    EXPECT_EQ(pollCard()->answerViews()[0]->votes(), 3) << "equal total: nothing";
    controller->updatedInfo(std::nullopt, std::nullopt, QList<Poll>{delivered({6, std::nullopt})});
    EXPECT_EQ(pollCard()->answerViews()[0]->votes(), 6) << "found among predictions too";
    EXPECT_EQ(pollCard()->answerViews()[0]->totalVotes(), 6);
    EXPECT_EQ(pollCard()->answerViews()[1]->votes(), 0) << "no totals counts 0";
    EXPECT_EQ(state().polls[0].answers[0].totals, 3) << "held lists stay";

    controller->updatedInfo(QList<Poll>{poll(u"p2"_s)}, QList<Rating>{rating(u"p1"_s)},
                            std::nullopt);
    EXPECT_EQ(pollCard()->answerViews()[0]->votes(), 6);
    controller->updatedInfo(QList<Poll>{delivered({8, 1})}, std::nullopt,
                            QList<Poll>{delivered({20, 1})});
    EXPECT_EQ(pollCard()->answerViews()[0]->votes(), 8) << "the polls list is read first";
    Poll huge = delivered({std::numeric_limits<qint64>::max(), 1});
    EXPECT_DEATH(controller->updatedInfo(QList<Poll>{huge}, std::nullopt, std::nullopt),
                 "overflow");

    // A rated card on screen shows the live average.
    overlay->closeInteractionIfNeeded();
    clock.advanceBy(1s);
    VTARatingView *stars = rate(0);
    ASSERT_TRUE(stars);
    ASSERT_EQ(text(stars->averageLabel()), u"3.6"_s) << "four more stars from the fifth rater";
    Rating live = rating(u"r1"_s);
    live.averageRate = 4.5;
    live.totalPeople = 8;
    controller->updatedInfo(std::nullopt, QList<Rating>{live}, std::nullopt);
    EXPECT_EQ(text(stars->averageLabel()), u"4.5"_s);
}

TEST_F(LiveTest, aPollClosedLiveEndsOnlyTheShowingUnansweredPoll)
{
    controller->inject(poll(u"p1"_s), {30, true, false, false}, 1);
    clock.advanceBy(1s);
    controller->didClose(u"p2"_s);
    EXPECT_FALSE(pollCard()->didEnd());
    controller->didClose(u"p1"_s);
    EXPECT_TRUE(pollCard()->didEnd());
    EXPECT_EQ(text(pollCard()->titleLabel()), u"Who scores next? [POLL CLOSED]"_s);
    EXPECT_EQ(pollCard()->state(), InteractionState::completed);
    EXPECT_TRUE(pollCard()->answerViews()[0]->statsLabel()->isVisible());
    EXPECT_EQ(host.calls, (QStringList{u"pause"_s, u"focus"_s, u"play"_s}));
    overlay->closeInteractionIfNeeded();
    clock.advanceBy(1s);

    // Answered: only marked ended, its question and result left as they are.
    vote(poll(u"p1"_s));
    controller->didClose(u"p1"_s);
    EXPECT_TRUE(pollCard()->didEnd());
    EXPECT_EQ(text(pollCard()->titleLabel()), u"Who scores next?"_s);
}

TEST_F(LiveTest, aSettledPredictionAddsTheWinAndShowsANoticeClosedTwice)
{
    answerReply("/userApi/poll/answer_new/", "pr1", 0, std::nullopt, nullptr);
    vote(poll(u"pr1"_s, u"prediction"_s));
    ASSERT_TRUE(state().predictionResults.contains(u"pr1_____ch1"_s));
    EXPECT_EQ(state().predictionResults.value(u"pr1_____ch1"_s).status, u"pending"_s);
    overlay->closeInteractionIfNeeded();
    clock.advanceBy(1s);
    host.calls.clear();

    controller->didReceivePredictionResult({u"Away"_s, 50, u"pr9"_s});
    EXPECT_EQ(state().totalCredits, 100) << "unknown prediction";
    const QStringList lines = linesOf([&] {
        controller->didReceivePredictionResult({u"Home"_s, 50, u"pr1"_s});
    });
    EXPECT_EQ(lines, QStringList{u"VTA showing Notice"_s});
    EXPECT_EQ(state().totalCredits, 150);
    QPointer<VTANotice> notice = state().currentNotice.get();
    ASSERT_TRUE(notice);
    EXPECT_EQ(text(notice->titleLabel()), u"CONGRATULATIONS!"_s);
    EXPECT_EQ(text(notice->totalPointsLabel()), u"150.0"_s);
    EXPECT_EQ(notice->x(), 1920);
    clock.advanceBy(400ms);
    EXPECT_EQ(notice->x(), 1920 - notice->width()) << "flush right";
    EXPECT_EQ(host.calls, QStringList{}) << "a notice does not ask for focus";
    overlay->forceActiveFocus();
    EXPECT_TRUE(notice->isAncestorOf(window.activeFocusItem())) << "but takes the overlay's";

    EXPECT_TRUE(overlay->closeInteractionIfNeeded());
    EXPECT_FALSE(state().currentNotice);
    EXPECT_EQ(host.calls, QStringList{u"release"_s});
    clock.advanceBy(10s);
    EXPECT_EQ(host.calls, (QStringList{u"release"_s, u"release"_s})) << "closed again at 10 s";
    clock.advanceBy(1s);
    EXPECT_FALSE(notice) << "freed after its last close";

    // A wrong answer adds nothing, and its notice takes the place of the one on screen.
    controller->didReceivePredictionResult({u"Home"_s, 25, u"pr1"_s});
    QPointer<VTANotice> win = state().currentNotice.get();
    controller->didReceivePredictionResult({u"Away"_s, 50, u"pr1"_s});
    ASSERT_TRUE(state().currentNotice);
    EXPECT_EQ(text(state().currentNotice->titleLabel()), u"Wrong Prediction"_s);
    EXPECT_EQ(state().totalCredits, 175);
    EXPECT_TRUE(win && !win->parentItem()) << "one notice on screen";

    // Without notices a win still counts but shows nothing.
    overlay->setShowNotices(false);
    QPointer<VTANotice> shown = state().currentNotice.get();
    controller->didReceivePredictionResult({u"Home"_s, 25, u"pr1"_s});
    EXPECT_EQ(state().totalCredits, 200);
    EXPECT_EQ(state().currentNotice.get(), shown.get());
}

TEST_F(LiveTest, reportsCarryTheLatestAttributionAndNeedAToken)
{
    StreamerInfo info = channel();
    info.clocks = {OverlayTesting::clock(u"p1"_s, u"polls"_s, 12)};
    answer("/userApi/streamer/getInfo", Json::encode(info));
    answer("/userApi/user/login_by_token", Json::encode(user(u"tok-2"_s))); // renewed
    const qsizetype first = backend->requests().size();
    load();
    clock.advanceBy(12s);
    ASSERT_TRUE(pollCard());
    EXPECT_EQ(reports().last(), u"view Polls clock p1 12"_s);
    auto reply = controller->didSelectPollAnswer(u"Home"_s, u"p1"_s, u"poll"_s);

    // A live rating replaces the clock's card before the vote's reply arrives.
    controller->inject(rating(u"r1"_s), {30, false, false, false}, 1700000099);
    clock.advanceBy(1s);
    EXPECT_EQ(reports().last(), u"view Rating injection r1 1700000099"_s);
    AnswerPollResponse counted;
    counted.answer.isAnswered = true;
    reply(counted);
    EXPECT_EQ(reports().last(), u"engage Rating injection r1 1700000099"_s)
        << "about the card showing now, attributed to the latest arrival";
    card()->closeTap();
    EXPECT_EQ(reports().last(), u"close Rating injection r1 1700000099"_s);
    controller->refreshData();
    clock.runPending();
    EXPECT_EQ(reports().last(), u"view Login_with_token - - -"_s) << "not the viewer's activity";
    for (const HttpRequest &request : backend->requests().mid(first)) {
        if (request.url.path() == u"/userApi/analytics/add"_s) {
            EXPECT_EQ(requestField(request)["data"_L1]["userToken"_L1], u"tok-2"_s);
        }
    }

    state().user.reset();
    VTAOverlayView::resetUser();
    const qsizetype before = reports().size();
    controller->sendAnalyticsEvent({u"Polls"_s, {}, {}}, u"view"_s, true);
    EXPECT_EQ(reports().size(), before) << "no viewer, no report";
}

TEST_F(LiveTest, theBackKeyClosesTheCardBeforeTheNotice)
{
    answerReply("/userApi/poll/answer_new/", "pr1", 0, std::nullopt, nullptr);
    vote(poll(u"pr1"_s, u"prediction"_s));
    controller->didReceivePredictionResult({u"Home"_s, 10, u"pr1"_s});
    ASSERT_TRUE(card());
    ASSERT_TRUE(state().currentNotice);
    // The notice closed by its own button leaves the remote with the card.
    host.calls.clear();
    state().currentNotice->actionClose();
    EXPECT_EQ(host.calls, QStringList{});
    controller->didReceivePredictionResult({u"Home"_s, 10, u"pr1"_s});
    EXPECT_TRUE(overlay->closeInteractionIfNeeded());
    EXPECT_FALSE(card());
    EXPECT_TRUE(state().currentNotice) << "one press, one thing closed";
    EXPECT_TRUE(overlay->closeInteractionIfNeeded());
    EXPECT_FALSE(state().currentNotice);
    EXPECT_FALSE(overlay->closeInteractionIfNeeded());
}
