// The trivia and poll cards in each of their states, as a viewer sees them.

#include "gallery.h"

#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/trivia/vtatriviaview.h>

#include <memory>

using namespace Vantora;
using namespace std::chrono_literals;

namespace {

constexpr VTAPointsInfo viewer{1234.5, 80, 3};

template <class Card>
std::unique_ptr<Card> placed(Gallery &gallery)
{
    std::unique_ptr<Card> card(fromNib<Card>());
    card->setParentItem(gallery.window.contentItem());
    card->setPosition(QPointF(1920 - card->width() - 60, 100));
    return card;
}

Poll matchPoll(const char *status, const char *questionType, const char *viewType)
{
    Poll poll;
    poll.id = QStringLiteral("p1");
    poll.question = QStringLiteral("Who scores the next goal?");
    poll.questionType = QString::fromLatin1(questionType);
    poll.viewType = QString::fromLatin1(viewType);
    poll.status = QString::fromLatin1(status);
    for (auto [text, votes] : {std::pair{"Home team", 41}, {"Away team", 23}, {"No more goals", 9}})
        poll.answers.append({QString::fromLatin1(text), {}, {}, false, {}, votes});
    return poll;
}

Trivia capitalTrivia(const std::optional<bool> correct)
{
    Trivia trivia;
    trivia.question.id = QStringLiteral("t1");
    trivia.question.question = QStringLiteral("Which city hosted the first modern Olympic Games?");
    for (const char *city : {"Paris", "Athens", "London", "Rome"})
        trivia.question.answers.append({QString::fromLatin1(city), {}});
    if (correct) {
        TriviaAnswer answer;
        answer.answer = *correct ? QStringLiteral("Athens") : QStringLiteral("Paris");
        answer.correctAnswer = {QStringLiteral("Athens"), {}};
        answer.isCorrect = *correct;
        trivia.answer = answer;
    }
    return trivia;
}

} // namespace

bool triviaPollScenes(Gallery &gallery)
{
    bool ok = true;
    {
        auto card = placed<VTAPollView>(gallery);
        card->configure(matchPoll("active", "poll", "percentage"), std::nullopt, 45, viewer,
                        std::nullopt);
        card->forceActiveFocus();
        card->focusPreferredItem();
        ok = gallery.save("poll-active") && ok;
        card->answerViews()[1]->button()->forceActiveFocus();
        card->actionAnswer(card->answerViews()[1]->button());
        gallery.clock.advanceBy(300ms);
        ok = gallery.save("poll-answered") && ok;
    }
    {
        auto card = placed<VTAPollView>(gallery);
        card->configure(matchPoll("closed", "poll", "votes"), std::nullopt, 45, viewer,
                        std::nullopt);
        ok = gallery.save("poll-closed") && ok;
    }
    {
        auto card = placed<VTAPollView>(gallery);
        Poll prediction = matchPoll("active", "prediction", "numbers");
        prediction.question = QStringLiteral("Predict: will there be a penalty this half?");
        prediction.answers = {{QStringLiteral("Yes"), {}, {}, false, {}, 120},
                              {QStringLiteral("No"), {}, {}, false, {}, 310}};
        card->configure(
            prediction, std::nullopt, 90, viewer,
            DesignInfo{{}, {}, {}, QStringLiteral("#FFFFFF"), {}, QStringLiteral("#7B1FA2")});
        card->forceActiveFocus();
        card->focusPreferredItem();
        ok = gallery.save("prediction-active") && ok;
    }
    {
        auto card = placed<VTATriviaView>(gallery);
        card->configure(capitalTrivia(std::nullopt), 30, viewer, std::nullopt);
        card->forceActiveFocus();
        card->focusPreferredItem();
        ok = gallery.save("trivia-active") && ok;
    }
    for (bool correct : {true, false}) {
        auto card = placed<VTATriviaView>(gallery);
        Trivia trivia = capitalTrivia(std::nullopt);
        card->configure(trivia, 30, viewer, std::nullopt);
        card->forceActiveFocus();
        card->focusPreferredItem();
        TriviaAnswer result = *capitalTrivia(correct).answer;
        card->showResult(result, correct ? std::optional<double>(10) : std::nullopt);
        card->applyState(InteractionState::completed);
        card->focusPreferredItem();
        ok = gallery.save(correct ? "trivia-correct" : "trivia-wrong") && ok;
    }
    return ok;
}
