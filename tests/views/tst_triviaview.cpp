#include "viewtest.h"

#include "vantora/views/trivia/answermarks_p.h"

// The remote moves over the answers and OK answers once: the overlay hears of it, the backend
// gets it when a viewer is signed in, the card shows the points while it waits, and the reply
// goes to the overlay even after the card is gone.
TEST_F(CardTest, theRemoteAnswersATriviaQuestionOnce)
{
    backend->answer(u"/userApi/trivia/answer/t1"_s,
                    {200, TestSupport::loadFixture(u"answer_trivia.json"), {}});
    for (const bool signedIn : {true, false}) {
        overlay.token = signedIn ? std::optional(u"token"_s) : std::nullopt;
        VTATriviaView *card = showTrivia(olympics());
        EXPECT_EQ(screen(card),
                  "30 | SEC | Account | ✕ | Which city hosted the first modern Games? "
                  "| [Paris] | Athens | London");
        press({Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Up, Qt::Key_Select});
        EXPECT_EQ(screen(card),
                  "POINTS | 1,000 | LEVEL | 2 | Account | ✕ | Which city hosted the "
                  "first modern Games? | Paris | [Athens] | London");
        EXPECT_EQ(overlay.take(), signedIn ? "trivia(Athens, t1); completed" : "completed");
        press({Qt::Key_Up, Qt::Key_Select});
        views.clear(); // the overlay may close the card before the reply
        clock.runPending();
        EXPECT_EQ(overlay.take(), signedIn ? "trivia(Athens, t1) ok" : "");
    }
    EXPECT_EQ(backend->requests().size(), 1);
    EXPECT_EQ(lastRequest(),
              R"(/userApi/trivia/answer/t1 {"data":{"answer":"Athens",)"
              R"("broadcasterName":"bc","channelId":"ch1","userToken":"token"}})");
}

// The viewer's answer, then the correct one, each marked and coloured, under the verdict; the
// focus on close. A question answered before it opened shows its result at once, with no
// countdown, and takes no answer. An answer's picture keeps its size up to 40 px high and shrinks
// to it beyond; an answer without one, or with an empty one, gives the text the picture's room.
TEST_F(CardTest, aTriviaResultListsTheChoiceThenTheCorrectAnswerUnderTheVerdict)
{
    for (const QStringList &row : cases(u"trivia results")) {
        SCOPED_TRACE(rest(row, 0));
        const QString &answer = row[0];
        const bool before = row[2] == u"before"_s;
        views.clear();
        VTATriviaView *card =
            showTrivia(olympics(before ? std::optional(verdict(answer)) : std::nullopt));
        if (!before)
            card->showResult(verdict(answer),
                             row[1] == u"-"_s ? std::nullopt : std::optional(row[1].toDouble()));
        EXPECT_EQ(screen(card->scrollView()),
                  "Which city hosted the first modern Games? | " + rest(row, 3));
        EXPECT_EQ(screen(card->infoView()->closeButton()), "[✕]");
        std::string marks;
        for (QQuickItem *item : card->resultStack()->childItems()) {
            const auto *shown = static_cast<VTATriviaAnswerView *>(item);
            const QColor colour = color(shown->titleLabel());
            EXPECT_EQ(shown->checkMarkView()->tintColor(), colour);
            marks += shown->checkMarkView()->image() == answerMarkImage(AnswerMark::checkmark)
                ? "check"
                : "cross";
            marks += colour == correctColor() ? " right "
                : colour == wrongColor()      ? " wrong "
                                              : " ";
        }
        EXPECT_EQ(marks, answer == u"Athens"_s ? "check right " : "cross wrong check right ");
        if (before) {
            EXPECT_EQ(screen(card->infoView()->timerView()), "");
            card->actionAnswer(card->answerViews()[0]->button());
            clock.advanceBy(40s);
            EXPECT_EQ(overlay.take(), "");
        }
    }
    EXPECT_TRUE(backend->requests().isEmpty());
    backend->answer(u"/img/tall.png"_s, {200, png({100, 200}), {}});
    backend->answer(u"/img/wide.png"_s, {200, png({200, 30}), {}});
    backend->answer(u"/img/broken.png"_s, {404, "not found", {}});
    Trivia trivia = olympics();
    trivia.question.answers = {{u"Tall"_s, u"img/tall.png"_s},
                               {u"Wide"_s, u"img/wide.png"_s},
                               {u"Broken"_s, u"img/broken.png"_s},
                               {u"Empty"_s, u""_s},
                               {u"None"_s, std::nullopt}};
    const QList<VTATriviaAnswerView *> &answers = showTrivia(trivia)->answerViews();
    clock.runPending();
    const QSize sizes[] = {{20, 40}, {200, 30}, {0, 0}, {0, 0}, {0, 0}};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(answers[i]->imageView()->image().size(), sizes[i]) << i;
        EXPECT_EQ(answers[i]->imageColumn()->width() > 0, i < 3) << i;
    }
    EXPECT_EQ(backend->requests().size(), 3);
}
