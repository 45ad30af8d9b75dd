#pragma once

#include "vantora/service/vtaservicemanager_p.h"

#include <vantora/records/sessioninfo.h>

#include <QString>
#include <QtPlugin>

#include <optional>

class VTAInteractionView;

namespace Vantora {

/// What a card needs from the overlay that shows it. The overlay implements it on a QObject
/// (Q_INTERFACES), which the card holds weakly: once the overlay is gone, every call is skipped.
///
/// The three answer operations run when the backend replies to the viewer's answer: the card
/// sends the answer itself and hands the operation's completion to the service.
class InteractionDelegate
{
public:
    virtual ~InteractionDelegate() = default;

    /// Removes the card; `fromButton` says whether the viewer pressed close.
    virtual void closeInteraction(VTAInteractionView *view, bool fromButton) = 0;
    virtual VTAServiceManager::Completion<AnswerTriviaResponse>
    didSelectTriviaAnswer(const QString &answer, const QString &triviaID) = 0;
    virtual VTAServiceManager::Completion<AnswerPollResponse>
    didSelectPollAnswer(const QString &answer, const QString &pollID, const QString &pollType) = 0;
    virtual VTAServiceManager::Completion<AnswerRatingResponse>
    didSelectRatingAnswer(qint64 answer, const QString &ratingID) = 0;
    virtual void didEndPoll() = 0;

    /// The session the card's requests belong to.
    virtual std::optional<QString> userToken() const = 0;
    virtual QString channelID() const = 0;
    virtual QString broadcaster() const = 0;

    /// The card knows its result; `didClose` when it was closed on the way.
    virtual void handleInteractionCompleted(bool didClose) = 0;
    /// Reports an analytics event about the card, attributed as the overlay attributes its items.
    virtual void sendAnalyticsEvent(const AnalyticsInfo &info, const QString &type,
                                    bool isActivity) = 0;
};

} // namespace Vantora

Q_DECLARE_INTERFACE(Vantora::InteractionDelegate, "vantora.InteractionDelegate")
