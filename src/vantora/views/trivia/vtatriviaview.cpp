#include <vantora/views/trivia/vtatriviaview.h>

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/fatal_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/views/interactiondelegate_p.h"
#include "vantora/views/viewslogging_p.h"

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

std::optional<Promotion> tvPromotion(const Trivia &trivia)
{
    return trivia.question.getPromotion();
}

} // namespace

class VTATriviaViewPrivate
{
public:
    QPointer<QQuickItem> resultStack;
    QPointer<QQuickItem> resultLabel;
    QPointer<QQuickItem> resultContainer;
    std::optional<Vantora::Trivia> trivia;
    QList<VTATriviaAnswerView *> answerViews;
};

VTATriviaView::VTATriviaView(QQuickItem *parent)
    : VTAInteractionView(parent), d_ptr(std::make_unique<VTATriviaViewPrivate>())
{ }

VTATriviaView::~VTATriviaView() = default;

const std::optional<Trivia> &VTATriviaView::trivia() const
{
    return d_func()->trivia;
}

const QList<VTATriviaAnswerView *> &VTATriviaView::answerViews() const
{
    return d_func()->answerViews;
}

QQuickItem *VTATriviaView::resultStack() const
{
    return d_func()->resultStack;
}

QQuickItem *VTATriviaView::resultLabel() const
{
    return d_func()->resultLabel;
}

QQuickItem *VTATriviaView::resultContainer() const
{
    return d_func()->resultContainer;
}

void VTATriviaView::componentComplete()
{
    Q_D(VTATriviaView);
    VTAInteractionView::componentComplete();
    Outlets(this)
        .bind(d->resultStack, "resultStack")
        .bind(d->resultLabel, "resultLabel")
        .bind(d->resultContainer, "resultContainer");
}

VTATriviaAnswerView *VTATriviaView::createAnswerView()
{
    return fromNib<VTATriviaAnswerView>();
}

void VTATriviaView::configure(const Trivia &trivia, qint64 time, const VTAPointsInfo &pointsInfo,
                              const std::optional<DesignInfo> &designInfo)
{
    Q_D(VTATriviaView);
    beginConfigure(trivia.question.id, time, trivia.answer.has_value());
    d->trivia = trivia;
    titleLabel()->setProperty("text", trivia.question.question);
    preparePromotion(tvPromotion(trivia));
    scrollView()->setClip(true);

    for (const AnswerDetail &detail : trivia.question.answers) {
        VTATriviaAnswerView *row = createAnswerView();
        row->setParent(this);
        row->setParentItem(answerStack());
        row->setWidth(answerStack()->width());
        row->setTitle(detail.answer);
        if (trivia.answer)
            row->markDone(*trivia.answer);
        if (detail.image && !detail.image->isEmpty() && row->imageView())
            row->setImage(detail.image);
        else if (row->imageColumn())
            row->imageColumn()->setWidth(0);
        row->applyDesign(designInfo);
        FocusTvButton *button = row->button();
        connect(button, &FocusTvButton::primaryActionTriggered, this,
                [this, button] { actionAnswer(button); });
        d->answerViews.append(row);
    }

    if (trivia.answer) {
        showResult(*trivia.answer, std::nullopt);
        applyState(InteractionState::completed);
        didAnswerTrivia();
    } else {
        applyState(InteractionState::active);
        displayTime();
        startTimer();
    }

    applyDesign(designInfo);
    if (designInfo) {
        if (const auto text = colorFromHex(designInfo->textColor.value_or(QString())))
            d->resultLabel->setProperty("color", *text);
    }
    updatePoints(pointsInfo);
    if (trivia.question.showPromotionAtStart() || didAnswer())
        showPromotionIfNeeded(trivia);
    didLoadTrivia();
}

void VTATriviaView::actionAnswer(FocusTvButton *sender)
{
    Q_D(VTATriviaView);
    if (didAnswer())
        return;
    if (!d->trivia)
        fatal(u"VTATriviaView: an answer before the trivia was configured"_s);
    qsizetype index = -1;
    for (qsizetype i = 0; i < d->answerViews.size(); ++i) {
        if (d->answerViews[i]->button() == sender)
            index = i;
    }
    const QList<AnswerDetail> &answers = d->trivia->question.answers;
    if (index < 0 || index >= answers.size())
        fatal(u"VTATriviaView: the pressed button is no answer of the question"_s);
    setDidAnswer(true);

    if (InteractionDelegate *overlay = delegate()) {
        if (const std::optional<QString> token = overlay->userToken()) {
            const QString &answer = answers[index].answer;
            // The reply belongs to the overlay, which may have closed this card by then.
            VTAServiceManager::shared().answerTrivia(
                *token, overlay->channelID(), overlay->broadcaster(), d->trivia->question.id,
                answer, delegateObject(),
                overlay->didSelectTriviaAnswer(answer, d->trivia->question.id));
        } else {
            qCDebug(lcViews) << "the answer to quiz" << d->trivia->question.id
                             << "stays on this screen: no viewer";
        }
        overlay->handleInteractionCompleted(false);
    }
    applyState(InteractionState::loading);
}

void VTATriviaView::showPromotionIfNeeded(const Trivia &trivia)
{
    const std::optional<Promotion> promotion = tvPromotion(trivia);
    if (!promotion)
        return;
    const auto delay = promotion->viewType.value == "display"_L1 ? 800ms : 3000ms;
    Scheduler::instance().after(delay, this, [this, promotion] { showPromotion(promotion); });
}

void VTATriviaView::showResult(const TriviaAnswer &answerResult, std::optional<double> points)
{
    Q_D(VTATriviaView);
    const bool focused = hasActiveFocus();
    answerStack()->setVisible(false);
    d->resultContainer->setVisible(true);
    for (VTATriviaAnswerView *row : std::as_const(d->answerViews)) {
        const QString title = row->title();
        if (title == answerResult.answer) {
            const QList<QQuickItem *> shown = d->resultStack->childItems();
            row->setParentItem(d->resultStack);
            if (!shown.isEmpty())
                row->stackBefore(shown.first());
            row->markDone(answerResult);
        } else if (title == answerResult.correctAnswer.answer) {
            row->setParentItem(d->resultStack);
            row->markDone(answerResult);
        } else {
            row->setParentItem(nullptr);
        }
    }

    QString verdict;
    if (answerResult.isCorrect && points)
        verdict = u"AWESOME! You won "_s + formatDecimal(*points, 0, 1)
            + u" pts for the correct answer"_s;
    else if (answerResult.isCorrect)
        verdict = u"Correct answer"_s;
    else
        verdict = u"Wrong answer\nBetter luck next time"_s;
    d->resultLabel->setProperty("text", verdict);
    d->resultLabel->setVisible(true);
    if (focused)
        focusPreferredItem();
}

AnalyticsInfo VTATriviaView::getAnalyticsInfo() const
{
    Q_D(const VTATriviaView);
    if (!d->trivia)
        fatal(u"VTATriviaView: analytics asked before the trivia was configured"_s);
    std::optional<QString> sponsor;
    if (const std::optional<Promotion> promotion = tvPromotion(*d->trivia);
        promotion && promotion->sponsor)
        sponsor = promotion->sponsor->name;
    return {u"Trivia"_s, d->trivia->question.id, sponsor};
}
