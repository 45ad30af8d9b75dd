// What reaches a running overlay: the replies to the viewer's answers, the broadcaster's live
// events, prediction settlements with their notice, and the attribution of analytics reports.

#include "overlaytest.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include <vantora/views/infoview/vtainfoview.h>
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/rating/vtaratingview.h>
#include <vantora/views/trivia/vtatriviaview.h>

struct LiveTest : OverlayTest
{
    void SetUp() override
    {
        storeToken(u"tok-1"_s);
        load(); // totals 100 credits, 20 experience, level 3
    }

    VTAPollView *pollCard() const { return qobject_cast<VTAPollView *>(card()); }

    // Shows poll `id` and votes for its first answer; the reply arrives.
    void vote(const Poll &poll)
    {
        controller->inject(poll, {30}, 1700000000);
        clock.advanceBy(1s);
        ASSERT_TRUE(pollCard());
        pollCard()->actionAnswer(pollCard()->answerViews()[0]->button());
        clock.runPending();
    }
};

// A vote's reply records the answer and adds only the points it gives; a trivia reply may carry
// absolute totals; a reply that does not count the answer changes nothing (a trivia card waits).
TEST_F(LiveTest, answerRepliesRecordTheAnswerAndUpdateTheViewersTotals)
{
    for (const QStringList &row : caseTable(u"overlay_cases.txt", u"answer replies")) {
        SCOPED_TRACE(row[0].toStdString());
        std::tie(state().totalCredits, state().totalExpoints, state().level) =
            std::tuple(100, 20, 3);
        state().pollAnswers.clear();
        if (row[5] != u"-"_s) {
            answer("/userApi/trivia/answer/q7",
                   R"({"answer":{"userId":"u","questionId":"q7",
                "answer":"Real Madrid","correctAnswer":{"answer":"Real Madrid"},"isCorrect":true,
                "expoints_given":15,"points":100,)"
                       + row[1].toUtf8() + "}}");
            controller->inject(u"q7"_s, {30}, 9);
            clock.advanceBy(1s);
            auto *quiz = qobject_cast<VTATriviaView *>(card());
            ASSERT_TRUE(quiz);
            quiz->actionAnswer(quiz->answerViews()[0]->button());
            clock.runPending();
            EXPECT_EQ(QVariant::fromValue(quiz->state()).toString(), row[5]);
        } else {
            answerReply("p1", row[1].toUtf8());
            vote(poll(u"p1"_s));
        }
        EXPECT_EQ(state().pollAnswers.value(u"p1"_s, u"-"_s), row[6]);
        EXPECT_EQ(std::tie(state().totalCredits, state().totalExpoints, state().level),
                  std::tuple(row[2].toDouble(), row[3].toDouble(), row[4].toLongLong()));
        EXPECT_EQ(text(card()->infoView()->levelLabel()), row[4]);
        closeCard();
    }
}

// A live item replaces the held one and takes live figures; a poll closed live ends only the card
// showing it, and an answered card keeps its question and result.
TEST_F(LiveTest, liveItemsReplaceTheHeldOnesTakeLiveFiguresAndPollsEndWhenClosedLive)
{
    Poll changed = poll(u"p1"_s);
    changed.question = u"Changed?"_s;
    controller->inject(changed, {30, true}, 1);
    clock.advanceBy(1s);
    EXPECT_EQ(state().polls.size(), 2);
    ASSERT_EQ(pollCard()->totalVotes(), 4);
    const auto live = [](std::optional<qint64> home, std::optional<qint64> away = 1) {
        Poll figures = poll(u"p1"_s);
        figures.answers[0].totals = home;
        figures.answers[1].totals = away;
        return QList<Poll>{figures};
    };
    controller->updatedInfo(live(3), std::nullopt, std::nullopt);
    EXPECT_EQ(pollCard()->answerViews()[0]->votes(), 3) << "equal total: nothing";
    controller->updatedInfo(std::nullopt, std::nullopt, live(6, std::nullopt));
    EXPECT_EQ(pollCard()->answerViews()[0]->votes(), 6) << "found among predictions too";
    EXPECT_EQ(pollCard()->answerViews()[0]->totalVotes(), 6);
    EXPECT_EQ(pollCard()->answerViews()[1]->votes(), 0) << "no totals counts 0";
    controller->updatedInfo(QList<Poll>{poll(u"p2"_s)} + live(8), std::nullopt, live(20));
    EXPECT_EQ(pollCard()->answerViews()[0]->votes(), 8) << "the polls list is read first, by id";
    EXPECT_DEATH(controller->updatedInfo(live(std::numeric_limits<qint64>::max()), std::nullopt,
                                         std::nullopt),
                 "overflow");

    controller->didClose(u"p2"_s);
    EXPECT_FALSE(pollCard()->didEnd());
    controller->didClose(u"p1"_s);
    EXPECT_TRUE(pollCard()->didEnd());
    EXPECT_EQ(text(pollCard()->titleLabel()), u"Changed? [POLL CLOSED]"_s);
    EXPECT_EQ(pollCard()->state(), InteractionState::completed);
    EXPECT_TRUE(pollCard()->answerViews()[0]->statsLabel()->isVisible());
    EXPECT_EQ(host.calls, (QStringList{u"pause"_s, u"focus"_s, u"play"_s}));
    closeCard();
    vote(poll(u"p1"_s));
    controller->didClose(u"p1"_s);
    EXPECT_TRUE(pollCard()->didEnd());
    EXPECT_EQ(text(pollCard()->titleLabel()), u"Who scores next?"_s);
    EXPECT_DEATH(controller->inject(poll(u"p3"_s, u"survey"_s), {}, 5),
                 "Unknown poll questionType \"survey\"");

    // A live rating likewise; rated, it records the stars and the points, and shows live averages.
    closeCard();
    answerReply("r1", R"("expoints_given":5)");
    Rating renamed = rating();
    renamed.name = u"Rate the second half"_s;
    controller->inject(renamed, {30}, 5);
    clock.advanceBy(1s);
    EXPECT_EQ(state().ratings.size(), 1);
    auto *stars = qobject_cast<VTARatingView *>(card());
    ASSERT_TRUE(stars);
    EXPECT_EQ(text(stars->titleLabel()), u"Rate the second half"_s);
    stars->actionAnswer(stars->answerViews()[3]->button());
    clock.runPending();
    EXPECT_EQ(state().ratingAnswers.value(u"r1"_s), u"4"_s) << "the value pressed, as text";
    EXPECT_EQ(state().totalExpoints, 35) << "five on the vote's ten";
    ASSERT_EQ(text(stars->averageLabel()), u"3.6"_s) << "four more stars from the fifth rater";
    Rating figures = rating();
    figures.averageRate = 4.5;
    figures.totalPeople = 8;
    controller->updatedInfo(std::nullopt, QList<Rating>{figures}, std::nullopt);
    EXPECT_EQ(text(stars->averageLabel()), u"4.5"_s);
}

// A notice shows over the card or alone; the back key closes the card first.
TEST_F(LiveTest, aSettledPredictionAddsTheWinAndShowsANoticeClosedTwice)
{
    answerReply("pr1", R"("expoints_given":0)");
    vote(poll(u"pr1"_s, u"prediction"_s));
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
    notice->actionClose();
    EXPECT_EQ(host.calls, QStringList{}) << "no focus asked, the remote stays with the card";

    controller->didReceivePredictionResult({u"Home"_s, 25, u"pr1"_s});
    notice = state().currentNotice.get();
    EXPECT_TRUE(overlay->closeInteractionIfNeeded());
    EXPECT_FALSE(card());
    EXPECT_TRUE(state().currentNotice) << "one press, one thing closed";
    clock.advanceBy(1s);
    overlay->forceActiveFocus();
    EXPECT_TRUE(notice->isAncestorOf(window.activeFocusItem())) << "alone, it takes the focus";
    EXPECT_TRUE(overlay->closeInteractionIfNeeded());
    EXPECT_FALSE(state().currentNotice);
    EXPECT_FALSE(overlay->closeInteractionIfNeeded());
    EXPECT_EQ(host.calls, (QStringList{u"release"_s, u"release"_s}));
    clock.advanceBy(10s);
    EXPECT_EQ(host.calls, QStringList(4, u"release"_s)) << "both notices closed again at 10 s";
    clock.advanceBy(1s);
    EXPECT_FALSE(notice) << "freed after its last close";

    // A wrong answer adds nothing, and its notice takes the place of the one on screen.
    controller->didReceivePredictionResult({u"Home"_s, 25, u"pr1"_s});
    QPointer<VTANotice> win = state().currentNotice.get();
    controller->didReceivePredictionResult({u"Away"_s, 50, u"pr1"_s});
    ASSERT_TRUE(state().currentNotice);
    EXPECT_EQ(text(state().currentNotice->titleLabel()), u"Wrong Prediction"_s);
    EXPECT_EQ(state().totalCredits, 200);
    EXPECT_TRUE(win && !win->parentItem()) << "one notice on screen";

    // Without notices a win still counts but shows nothing.
    overlay->setShowNotices(false);
    QPointer<VTANotice> shown = state().currentNotice.get();
    controller->didReceivePredictionResult({u"Home"_s, 25, u"pr1"_s});
    EXPECT_EQ(state().totalCredits, 225);
    EXPECT_EQ(state().currentNotice.get(), shown.get());
}

TEST_F(LiveTest, reportsCarryTheViewersTokenAndTheLatestAttribution)
{
    answer("/userApi/user/login_by_token", // renewed
           loadFixture(u"overlay_user.json").replace("tok-1", "tok-2"));
    loadWith({clockEntry(u"p1"_s, u"polls"_s, 12)});
    clock.advanceBy(12s);
    EXPECT_EQ(reports().last(), u"tok-2 view Polls clock p1 12"_s);
    auto reply = controller->didSelectPollAnswer(u"Home"_s, u"p1"_s, u"poll"_s);

    // A live rating replaces the clock's card before the vote's reply arrives.
    controller->inject(rating(), {30}, 1700000099);
    clock.advanceBy(1s);
    EXPECT_EQ(reports().last(), u"tok-2 view Rating injection r1 1700000099"_s);
    reply(AnswerPollResponse{.answer = {.isAnswered = true}});
    EXPECT_EQ(reports().last(), u"tok-2 engage Rating injection r1 1700000099"_s)
        << "about the card showing now, attributed to the latest arrival";
    card()->closeTap();
    EXPECT_EQ(reports().last(), u"tok-2 close Rating injection r1 1700000099"_s);
    controller->refreshData();
    clock.runPending();
    EXPECT_EQ(reports().last(), u"tok-2 view Login_with_token - - -"_s)
        << "not the viewer's activity";
}
