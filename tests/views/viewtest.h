#pragma once

#include "memorytransport.h"
#include "testsupport.h"
#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"
#include "vantora/views/interactiondelegate_p.h"
#include <vantora/views/interactionview/vtainteractionview.h>

#include <QQuickWindow>

#include <gtest/gtest.h>

#include <memory>

// An overlay stand-in that writes down every call a card makes.
class RecordingDelegate : public QObject, public Vantora::InteractionDelegate
{
    Q_OBJECT
    Q_INTERFACES(Vantora::InteractionDelegate)

public:
    QStringList calls;
    std::optional<QString> token = QStringLiteral("token"); ///< the signed-in viewer's

    // The overlay's handler of an answer's reply: notes that the reply arrived.
    template <class Reply>
    Vantora::VTAServiceManager::Completion<Reply> replyRecorder(const QString &kind)
    {
        return [this, kind](Vantora::ServiceResult<Reply> reply) {
            calls.append(QStringLiteral("%1 reply(%2)")
                             .arg(kind, reply ? QStringLiteral("ok") : QStringLiteral("error")));
        };
    }

    void closeInteraction(VTAInteractionView *, bool fromButton) override
    {
        calls.append(fromButton ? QStringLiteral("close(button)")
                                : QStringLiteral("close(no button)"));
    }
    Vantora::VTAServiceManager::Completion<Vantora::AnswerTriviaResponse>
    didSelectTriviaAnswer(const QString &answer, const QString &triviaID) override
    {
        calls.append(QStringLiteral("didSelectTriviaAnswer(%1, %2)").arg(answer, triviaID));
        return replyRecorder<Vantora::AnswerTriviaResponse>(QStringLiteral("trivia"));
    }
    Vantora::VTAServiceManager::Completion<Vantora::AnswerPollResponse>
    didSelectPollAnswer(const QString &answer, const QString &pollID,
                        const QString &pollType) override
    {
        calls.append(
            QStringLiteral("didSelectPollAnswer(%1, %2, %3)").arg(answer, pollID, pollType));
        return replyRecorder<Vantora::AnswerPollResponse>(QStringLiteral("poll"));
    }
    // Records the call, and the backend's reply when the card hands the completion on.
    Vantora::VTAServiceManager::Completion<Vantora::AnswerRatingResponse>
    didSelectRatingAnswer(qint64 answer, const QString &ratingID) override
    {
        calls.append(QStringLiteral("didSelectRatingAnswer(%1, %2)").arg(answer).arg(ratingID));
        return [this, ratingID](Vantora::ServiceResult<Vantora::AnswerRatingResponse> reply) {
            calls.append(
                QStringLiteral("ratingReply(%1, %2)")
                    .arg(ratingID, reply ? QStringLiteral("ok") : QStringLiteral("error")));
        };
    }
    void didEndPoll() override { calls.append(QStringLiteral("didEndPoll")); }
    std::optional<QString> userToken() const override { return token; }
    QString channelID() const override { return QStringLiteral("ch1"); }
    QString broadcaster() const override { return QStringLiteral("bc"); }
    void handleInteractionCompleted(bool didClose) override
    {
        calls.append(
            QStringLiteral("completed(%1)").arg(QLatin1StringView(didClose ? "closed" : "open")));
    }
    void sendAnalyticsEvent(const Vantora::AnalyticsInfo &, const QString &type,
                            bool isActivity) override
    {
        calls.append(QStringLiteral("analytics(%1, %2)")
                         .arg(type, isActivity ? QStringLiteral("activity") : QStringLiteral("-")));
    }
};

// A card on a shown 1080p window, in virtual time, with an in-memory backend for its images.
class CardTest : public testing::Test
{
protected:
    CardTest()
    {
        auto transport = std::make_unique<Vantora::TestSupport::MemoryTransport>();
        backend = transport.get();
        Vantora::VTAServiceManager::shared().setTransport(std::move(transport));
        Vantora::VTAServiceManager::shared().setEnvironment(
            VTAEnvironment(QStringLiteral("https://api.example.com/userApi"),
                           QStringLiteral("https://media.example.com"), QStringLiteral("k"),
                           QStringLiteral("us2"), QStringLiteral("test3")));
        window.resize(1920, 1080);
        card.reset(Vantora::fromNib<VTAInteractionView>());
        card->setParentItem(window.contentItem());
        card->setX(1920 - card->width() - 60);
        card->setY(100);
        card->setDelegate(&overlay);
        window.show();
        clock.runPending();
    }

    QString text(QQuickItem *label) const { return label->property("text").toString(); }

    Vantora::VirtualTimeScheduler clock;
    Vantora::TestSupport::MemoryTransport *backend = nullptr;
    RecordingDelegate overlay;
    QQuickWindow window;
    std::unique_ptr<VTAInteractionView> card;
};
