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
    for (const QStringList &row : cases(u"votes")) {
        views.clear();
        overlay.token = row[1] == u"signed in"_s ? std::optional(u"token"_s) : std::nullopt;
        const int status = row[2].toInt();
        backend->answer(
            u"/userApi/poll/answer_new/p1"_s,
            {status,
             status == 200 ? TestSupport::loadFixture(u"answer_poll.json") : QByteArray("{}")});
        Poll poll = matchPoll();
        poll.questionType = row[0];
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
        EXPECT_EQ(overlay.take(), rest(row, 3));
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
    for (const QStringList &row : cases(u"closed polls")) {
        const QString previous = unquoted(row[1]);
        VTAPollView *card = showPoll(matchPoll(qPrintable(unquoted(row[0])), "percentage"),
                                     previous.isEmpty() ? std::nullopt : std::optional(previous));
        EXPECT_EQ(screen(card->infoView()->closeButton()), "[✕]");
        card->actionAnswer(card->answerViews()[0]->button());
        clock.advanceBy(999ms);
        EXPECT_EQ(overlay.take(), "");
        clock.advanceBy(1ms);
        EXPECT_EQ(overlay.take(), rest(row, 2)) << rest(row, 0);
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
    backend->answer(u"/img/tall.png"_s, {200, png({100, 200})});
    Poll poll = matchPoll();
    poll.answers[0].image = u"img/tall.png"_s;
    VTAPollAnswerView *answer = showPoll(poll)->answerViews()[0];
    EXPECT_EQ(answer->button()->image().size(), QSize(20, 40)) << "its picture, fitted";
    for (const QStringList &row : cases(u"poll figures")) {
        answer->configure({.answer = u"Home"_s, .totals = row[1].toLongLong()}, row[2].toLongLong(),
                          true, unquoted(row[0]), std::nullopt);
        EXPECT_EQ(text(answer->statsLabel()), rest(row, 3)) << rest(row, 0);
    }
}
