// The display gate: one card at a time. A new item replaces the card on screen, waits once for a
// card that is sliding out, and is otherwise dropped; cards slide in and out over 0.4 s, pause
// the video when asked and close by themselves once answered when asked.

#include "vantora/overlay/overlaycontroller_p.h"
#include "vantora/overlay/overlaylogging_p.h"
#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/consoleline_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include <vantora/views/notice/vtanotice.h>
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/rating/vtaratingview.h>
#include <vantora/views/trivia/vtatriviaview.h>

#include <QPropertyAnimation>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace Vantora {

namespace {

constexpr auto slideDuration = 400ms;

// The cards' design: a 1080-line screen, on which the widest card is 1240 pixels wide.
constexpr qreal designHeight = 1080;
constexpr qreal designCardWidth = 1240;

enum class ItemKind { poll, prediction, rating, quiz, unknown };

ItemKind kindOfModule(const QString &module)
{
    if (module == u"polls"_s || module == u"poll"_s)
        return ItemKind::poll;
    if (module == u"predictions"_s || module == u"prediction"_s)
        return ItemKind::prediction;
    if (module == u"rating"_s)
        return ItemKind::rating;
    if (module == u"quiz"_s)
        return ItemKind::quiz;
    return ItemKind::unknown;
}

template <class Record>
std::optional<Record> findByID(const QList<Record> &records, const QString &id)
{
    for (const Record &record : records) {
        if (record.id == id)
            return record;
    }
    return std::nullopt;
}

std::optional<QString> answerFor(const QHash<QString, QString> &answers, const QString &id)
{
    const auto it = answers.constFind(id);
    if (it == answers.cend())
        return std::nullopt;
    return *it;
}

} // namespace

void OverlayController::displayInteraction(const QString &id, const QString &type,
                                           const InteractionOptions &options, bool isRetry)
{
    if (state.currentInteraction) {
        closeInteraction(state.currentInteraction);
        handleInteractionCompleted(true);
        Scheduler::instance().after(600ms, this, [this, id, type, options] {
            completeDisplayInteraction(id, type, options);
        });
        return;
    }
    if (state.animating) {
        if (!isRetry) {
            Scheduler::instance().after(2s, this, [this, id, type, options] {
                displayInteraction(id, type, options, true);
            });
        } else {
            qCDebug(lcOverlay) << "dropped" << type << id << ": a card was still sliding out";
        }
        return;
    }
    completeDisplayInteraction(id, type, options);
}

void OverlayController::completeDisplayInteraction(const QString &id, const QString &type,
                                                   const InteractionOptions &options)
{
    if (state.currentInteraction || state.animating) {
        qCDebug(lcOverlay) << "dropped" << type << id << ": another card took the screen first";
        return;
    }
    const auto notHeld = [&] {
        qCDebug(lcOverlay) << "dropped" << type << id << ": not in the channel's content";
    };
    switch (kindOfModule(type)) {
    case ItemKind::poll:
    case ItemKind::prediction: {
        const auto poll =
            findByID(kindOfModule(type) == ItemKind::poll ? state.polls : state.predictions, id);
        if (!poll)
            return notHeld();
        displayPoll(*poll, options.time);
        handleInteractionStart(options.pause, options.closeAfter, state.pollAnswers.contains(id),
                               poll->getAutoCloseTime(), id);
        return;
    }
    case ItemKind::rating: {
        const auto rating = findByID(state.ratings, id);
        if (!rating)
            return notHeld();
        displayRating(*rating, options.time);
        handleInteractionStart(options.pause, options.closeAfter, state.ratingAnswers.contains(id),
                               rating->getAutoCloseTime(), id);
        return;
    }
    case ItemKind::quiz: {
        const std::optional<QString> token = userToken();
        if (!token) {
            qCDebug(lcOverlay) << "dropped quiz" << id << ": no viewer signed in to fetch it";
            return;
        }
        VTAServiceManager::shared().getTriviaQuestion(
            id, *token, state.channelID, state.broadcaster, this,
            [this, id, options](ServiceResult<Trivia> result) {
                if (!result) {
                    qCDebug(lcOverlay).noquote()
                        << "dropped quiz" << id
                        << ": fetching it failed:" << describe(result.error());
                    return;
                }
                Trivia trivia = result.value();
                // The channel's document, not the question, knows the question's sponsors.
                if (state.channelInfo && state.channelInfo->trivias) {
                    for (const TriviaPromotions &entry : *state.channelInfo->trivias) {
                        if (entry.id == trivia.question.id) {
                            trivia.question.prizes = entry.prizes;
                            break;
                        }
                    }
                }
                if (state.currentInteraction || state.animating) {
                    qCDebug(lcOverlay) << "dropped quiz" << id
                                       << ": another card took the screen while it was fetched";
                    return;
                }
                displayTrivia(trivia, options.time);
                handleInteractionStart(options.pause, options.closeAfter, trivia.answer.has_value(),
                                       trivia.question.getAutoCloseTime(), id);
            });
        return;
    }
    case ItemKind::unknown:
        qCDebug(lcOverlay) << "dropped" << id << ": no card shows the module" << type;
        return;
    }
}

template <class View, class Configure>
void OverlayController::showCard(QStringView logLine, View *(VTALayoutDelegate::*custom)(),
                                 Configure configure)
{
    printLine(logLine);
    VTALayoutDelegate *layout = state.layoutDelegate;
    View *view = layout ? (layout->*custom)() : nullptr;
    if (!view)
        view = fromNib<View>();
    view->setParent(m_overlay); // the overlay owns its cards, the host's ones included
    configure(view, VTAPointsInfo{state.totalCredits, state.totalExpoints, state.level});
    presentInteraction(view);
}

void OverlayController::displayPoll(const Poll &poll, qint64 time)
{
    showCard(u"VTA showing POLL", &VTALayoutDelegate::customPollView,
             [&](VTAPollView *view, const VTAPointsInfo &points) {
                 view->configure(poll, answerFor(state.pollAnswers, poll.id), time, points,
                                 state.designInfo);
             });
}

void OverlayController::displayRating(const Rating &rating, qint64 time)
{
    showCard(u"VTA showing RATING", &VTALayoutDelegate::customRatingView,
             [&](VTARatingView *view, const VTAPointsInfo &points) {
                 view->configure(rating, answerFor(state.ratingAnswers, rating.id), time, points,
                                 state.designInfo);
             });
}

void OverlayController::displayTrivia(const Trivia &trivia, qint64 time)
{
    showCard(u"VTA showing TRIVIA", &VTALayoutDelegate::customTriviaView,
             [&](VTATriviaView *view, const VTAPointsInfo &points) {
                 view->configure(trivia, time, points, state.designInfo);
             });
}

void OverlayController::presentInteraction(VTAInteractionView *view)
{
    const qreal overlayWidth = m_stage->width();
    const qreal overlayHeight = m_stage->height();
    // Outside the overlay, flush right below it or at its resting height beyond it.
    if (state.animationType == VTAAnimationType::fromBottom) {
        view->setPosition({overlayWidth - view->width(), overlayHeight});
    } else {
        view->setPosition({overlayWidth, overlayHeight - view->height() - state.bottomMargin});
    }
    view->setDelegate(this);
    view->setParentItem(m_stage);
    state.currentInteraction = view;
    Q_EMIT m_overlay->interactionChanged();
    if (state.animationType == VTAAnimationType::fromBottom) {
        animateProperty(view, "y", view->y() - view->height() - state.bottomMargin, slideDuration,
                        view);
    } else {
        animateProperty(view, "x", view->x() - view->width(), slideDuration, view);
    }
    sendAnalyticsEvent(view->getAnalyticsInfo(), u"view"_s, true);
}

void OverlayController::handleInteractionStart(bool pause, bool closeAfter, bool didAnswer,
                                               qint64 autocloseTime, const QString &id)
{
    // An item the viewer already answered never stops the video.
    if (pause && !didAnswer) {
        requestPause();
        state.lastPausedClockID = id;
        state.didPauseVideo = true;
    } else {
        state.didPauseVideo = false;
    }
    state.willAutoClose = closeAfter;
    state.autocloseTime = autocloseTime;
    if (didAnswer && state.willAutoClose)
        handleInteractionCompleted(false);
    requestFocus();
}

void OverlayController::handleInteractionCompleted(bool didClose)
{
    if (state.didPauseVideo) {
        state.didPauseVideo = false;
        requestPlay();
    }
    if (!state.willAutoClose)
        return;
    state.willAutoClose = false;
    if (didClose)
        return;
    const QPointer<VTAInteractionView> shown = state.currentInteraction;
    if (!shown)
        return;
    const qint64 tag = shown->tag();
    // Closes the card that was showing then, and only that one.
    Scheduler::instance().after(secondsToMilliseconds(double(state.autocloseTime)), this,
                                [this, tag] {
                                    if (VTAInteractionView *current = state.currentInteraction;
                                        current && current->tag() == tag)
                                        closeInteraction(current);
                                });
}

void OverlayController::closeInteraction(VTAInteractionView *view, bool /*fromButton*/)
{
    closeInteraction(view);
}

void OverlayController::closeInteraction(VTAInteractionView *view)
{
    state.animating = true;
    view->setClosing(true);
    view->stopTimer();
    releaseFocus();

    // A card closed while still sliding in turns back from where it is.
    for (auto *running : view->findChildren<QPropertyAnimation *>(Qt::FindDirectChildrenOnly)) {
        if (running->targetObject() == view
            && (running->propertyName() == "x" || running->propertyName() == "y"))
            running->stop();
    }
    QPropertyAnimation *slide = nullptr;
    if (state.animationType == VTAAnimationType::fromBottom) {
        slide = animateProperty(view, "y", view->y() + view->height() + state.bottomMargin,
                                slideDuration, view);
    } else {
        slide = animateProperty(view, "x", view->x() + view->width(), slideDuration, view);
    }
    QObject::connect(slide, &QPropertyAnimation::finished, this, [this, view] {
        view->setParentItem(nullptr);
        view->deleteLater();
        state.animating = false;
    });

    if (state.currentInteraction && state.currentInteraction->tag() == view->tag()) {
        state.currentInteraction = nullptr;
        Q_EMIT m_overlay->interactionChanged();
    }
    state.willAutoClose = false;
    if (state.didPauseVideo) {
        state.didPauseVideo = false;
        requestPlay();
    }
}

void OverlayController::followResize()
{
    const QSizeF size = m_overlay->size();
    const qreal scale = size.isEmpty()
        ? 1.0
        : std::min(size.height() / designHeight, size.width() / designCardWidth);
    const QSizeF before = m_stage->size();
    m_stage->setScale(scale);
    m_stage->setSize(size / scale);
    const QSizeF delta = m_stage->size() - before;

    // A slide under way ends where the resized stage puts the item, not where it was aimed.
    const auto shiftSlides = [](QQuickItem *item, qreal dx, qreal dy) {
        for (auto *slide : item->findChildren<QPropertyAnimation *>(Qt::FindDirectChildrenOnly)) {
            const qreal shift = slide->propertyName() == "x" ? dx
                : slide->propertyName() == "y"               ? dy
                                                             : 0;
            if (slide->targetObject() != item || shift == 0)
                continue;
            slide->setStartValue(slide->startValue().toReal() + shift);
            slide->setEndValue(slide->endValue().toReal() + shift);
        }
    };
    for (QQuickItem *child : m_stage->childItems()) {
        if (auto *card = qobject_cast<VTAInteractionView *>(child)) {
            card->setWidth(card->width() + delta.width());
            card->setY(card->y() + delta.height());
            shiftSlides(card, 0, delta.height());
        } else if (qobject_cast<VTANotice *>(child)) {
            child->setX(child->x() + delta.width());
            shiftSlides(child, delta.width(), 0);
        }
    }
}

} // namespace Vantora
