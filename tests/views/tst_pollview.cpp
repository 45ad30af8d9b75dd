#include "viewtest.h"

namespace {

// The share bars the viewer sees, each as a percentage of its button's width.
std::string bars(const VTAPollView *poll)
{
    std::string shown;
    for (VTAPollAnswerView *row : poll->answerViews())
        if (row->statsBar()->isVisible())
            shown += ' '
                + std::to_string(qRound(100 * row->statsBar()->width() / row->button()->width()));
    return shown;
}

} // namespace

// The remote's vote counts on the card at once, its figures and then its bars, hidden until
// then; the overlay hears of it, and the backend once when a viewer is signed in. The reply goes
// to the overlay and takes nothing back from the card.
TEST_F(CardTest, aVoteCountsAtOnceAndIsSentOnce)
{
    const std::string counted = "Who scores next? | Home | 3 - 60.0% | Away | 1 - 20.0% | Nobody | "
                                "1 - 20.0%";
    const std::tuple<const char *, bool, int, const char *> rows[] = {
        {"poll", true, 200, "poll(Home, p1, poll); completed; poll(Home, p1, poll) ok"},
        {"prediction", true, 500,
         "poll(Home, p1, prediction); completed; poll(Home, p1, prediction) failed"},
        {"poll", false, 200, "completed"}};
    for (const auto &[type, signedIn, status, calls] : rows) {
        views.clear();
        overlay.token = signedIn ? std::optional(u"token"_s) : std::nullopt;
        backend->answer(
            u"/userApi/poll/answer_new/p1"_s,
            {status,
             status == 200 ? TestSupport::loadFixture(u"answer_poll.json") : QByteArray("{}")});
        Poll poll = matchPoll();
        poll.questionType = QString::fromLatin1(type);
        VTAPollView *card = showPoll(poll);
        clock.advanceBy(1s);
        EXPECT_EQ(screen(card->scrollView()) + bars(card),
                  "Who scores next? | [Home] | Away | Nobody");
        press({Qt::Key_Down, Qt::Key_Up, Qt::Key_Select});
        EXPECT_EQ(screen(card->scrollView()), counted);
        card->actionAnswer(card->answerViews()[1]->button());
        clock.advanceBy(1s);
        EXPECT_EQ(screen(card->scrollView()) + bars(card), counted + " 60 20 20");
        EXPECT_EQ(screen(card->infoView()->closeButton()), "[✕]");
        EXPECT_EQ(overlay.take(), calls);
    }
    EXPECT_EQ(backend->requests().size(), 2);
    EXPECT_EQ(lastRequest(),
              R"(/userApi/poll/answer_new/p1 {"data":{"answer":"Home",)"
              R"("broadcasterName":"bc","channelId":"ch1","userToken":"token"}})");
}

// A poll that is not "active" opens on its figures with "[POLL CLOSED]" after its question, takes
// no vote and, unless the viewer voted before, completes one second later; once. A row shows its
// picture fitted and its figures as the poll asks.
TEST_F(CardTest, aClosedPollShowsItsFiguresTakesNoVoteAndCompletesAfterASecond)
{
    const std::tuple<const char *, std::optional<QString>, const char *> rows[] = {
        {"closed", {}, "completed"},
        {"", {}, "completed"},
        {"Active", {}, "completed"},
        {"closed", u"Away"_s, ""}};
    for (const auto &[status, previous, calls] : rows) {
        VTAPollView *card = showPoll(matchPoll(status, "percentage"), previous);
        EXPECT_EQ(screen(card->infoView()->closeButton()), "[✕]");
        card->actionAnswer(card->answerViews()[0]->button());
        clock.advanceBy(999ms);
        EXPECT_EQ(overlay.take(), "");
        clock.advanceBy(1ms);
        EXPECT_EQ(overlay.take(), calls) << status;
        clock.advanceBy(60s);
        EXPECT_EQ(overlay.take(), "") << "once, and no countdown";
        EXPECT_EQ(screen(card->scrollView()) + bars(card),
                  "Who scores next? [POLL CLOSED] | Home | 50.0% | Away | 25.0% | Nobody | 25.0% "
                  "50 25 25");
        views.clear();
    }
    EXPECT_TRUE(backend->requests().isEmpty());
    showPoll(matchPoll("closed"));
    views.clear();
    clock.advanceBy(2s);
    EXPECT_EQ(overlay.take(), "") << "a card taken away completes nothing";
    const std::tuple<const char *, qint64, qint64, const char *> figures[] = {
        {"percentage", 0, 0, "0.0%"},
        {"percentage", 2, 3, "66.7%"},
        {"numbers", 12, 30, "12"},
        {"votes", 1, 3, "1 - 33.3%"},
        {"", 12, 30, "12 - 40.0%"},
        {"Percentage", 1, 8, "1 - 12.5%"},
        {"votes", 1234, 1234, "1234 - 100.0%"}};
    backend->answer(u"/img/tall.png"_s, {200, png({100, 200})});
    Poll poll = matchPoll();
    poll.answers[0].image = u"img/tall.png"_s;
    VTAPollAnswerView *answer = showPoll(poll)->answerViews()[0];
    EXPECT_EQ(answer->button()->image().size(), QSize(20, 40)) << "its picture, fitted";
    for (const auto &[type, votes, total, shown] : figures) {
        answer->configure({.answer = u"Home"_s, .totals = votes}, total, true,
                          QString::fromLatin1(type), std::nullopt);
        EXPECT_EQ(text(answer->statsLabel()), shown) << type << " " << votes << "/" << total;
    }
}
