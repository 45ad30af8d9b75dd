#pragma once

#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/views/infoview/vtainfoview_p.h"
#include "vantora/views/interactiondelegate_p.h"
#include "vantora/views/promotionview/promotionview_p.h"

#include <vantora/records/promotion.h>
#include <vantora/records/sessioninfo.h>
#include <vantora/records/streamerinfo.h>

#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace Vantora {
Q_NAMESPACE
/// Where a card is in its life: waiting for the answer, waiting for the backend, showing the
/// result.
enum class InteractionState { active, loading, completed };
Q_ENUM_NS(InteractionState)
} // namespace Vantora

/// What every card shares: its three states, the one-second countdown shown in the info bar, the
/// three ways it closes (the countdown running out while unanswered, the close button, the
/// result being known), the viewer's points and level, the channel design's colours and images,
/// the sponsor promotion beside it (sliding in, or flipping in over the dimmed card), and which
/// control the remote focuses. Trivia, poll and rating cards build on it; the overlay is its
/// delegate. Main thread only; every delay runs on the scheduler.
class VTAInteractionView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTAInteractionViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTAInteractionView(QQuickItem *parent = nullptr);
    ~VTAInteractionView() override;

    /// The overlay, held weakly; it must implement Vantora::InteractionDelegate.
    void setDelegate(QObject *delegate);
    Vantora::InteractionDelegate *delegate() const;
    /// The overlay as an object: what owns the replies to the card's answers, which may arrive
    /// after the card has closed.
    QObject *delegateObject() const { return m_delegate; }

    QString identifier() const { return m_identifier; }
    void setIdentifier(const QString &identifier) { m_identifier = identifier; }
    Vantora::InteractionState state() const { return m_state; }
    bool didAnswer() const { return m_didAnswer; }
    void setDidAnswer(bool answered) { m_didAnswer = answered; }
    qint64 time() const { return m_time; }
    void setTime(qint64 seconds) { m_time = seconds; }
    bool isClosing() const { return m_isClosing; }
    /// Set by the overlay as it takes the card away; no path closes it again after that.
    void setClosing(bool closing) { m_isClosing = closing; }
    /// Milliseconds since 2001 when the card was configured: tells a delayed close which card it
    /// meant.
    qint64 tag() const { return m_tag; }
    /// Gives the card a tag from the wall clock, distinct from every tag handed out before.
    void stampTag();

    /// Sets the state and shows what belongs to it: the countdown while active, the spinner while
    /// loading, the points from then on; markDone() once completed.
    void applyState(Vantora::InteractionState state);
    /// Starts the countdown from time(), replacing any running one.
    void startTimer();
    /// Stops the countdown, if it runs.
    void stopTimer();
    void displayTime();
    void closeIfCompleted();
    Q_INVOKABLE void closeTap();
    Q_INVOKABLE virtual void accountTap();
    void updatePoints(const VTAPointsInfo &points);
    /// Colours and images of the channel design; a card with more to colour extends it.
    virtual void applyDesign(const std::optional<Vantora::DesignInfo> &design);
    /// Puts the promotion in place, still hidden: "display" beside the card, "flip" over it.
    void preparePromotion(const std::optional<Vantora::Promotion> &promotion);
    /// Brings a prepared promotion in: "display" slides in from one card width to the right over
    /// 0.5 s, "flip" grows from nothing over 0.4 s while the card dims behind it.
    void showPromotion(const std::optional<Vantora::Promotion> &promotion);
    /// What the overlay reports in analytics about this card.
    virtual Vantora::AnalyticsInfo getAnalyticsInfo() const;
    /// The control the remote should focus now.
    virtual QQuickItem *preferredFocusItem() const;
    /// Gives the remote's focus to preferredFocusItem().
    void focusPreferredItem();
    /// Moves the remote's focus `step` answers on in answerStack (negative: back), scrolling the
    /// answer into view; false when the focus is on no answer or would leave the list.
    bool moveAnswerFocus(int step);

    VTAInfoView *infoView() const { return m_infoView; }
    Vantora::ImageView *mainIcon() const { return m_mainIcon; }
    QQuickItem *titleLabel() const { return m_titleLabel; }
    QQuickItem *answerStack() const { return m_answerStack; }
    QQuickItem *indicator() const { return m_indicator; }
    Vantora::ImageView *backgroundView() const { return m_backgroundView; }
    QQuickItem *mainContainer() const { return m_mainContainer; }
    QQuickItem *infoContainer() const { return m_infoContainer; }
    QQuickItem *promotionContainer() const { return m_promotionContainer; }
    QQuickItem *promotionFlipContainer() const { return m_promotionFlipContainer; }
    QQuickItem *scrollView() const { return m_scrollView; }
    Vantora::PromotionView *promotionView() const { return m_promotionView; }

protected:
    void componentComplete() override;
    /// The remote's arrows move between the answers: up and left back, down and right on.
    void keyPressEvent(QKeyEvent *event) override;
    /// Called when the result is known; the cards mark their answers here.
    virtual void markDone() { }
    /// Makes the info bar; a card may return one of its own.
    virtual VTAInfoView *createInfo();

private:
    void tick();

    QPointer<Vantora::ImageView> m_mainIcon;
    QPointer<QQuickItem> m_titleLabel;
    QPointer<QQuickItem> m_answerStack;
    QPointer<QQuickItem> m_indicator;
    QPointer<Vantora::ImageView> m_backgroundView;
    QPointer<QQuickItem> m_mainContainer;
    QPointer<QQuickItem> m_infoContainer;
    QPointer<QQuickItem> m_promotionContainer;
    QPointer<QQuickItem> m_promotionFlipContainer;
    QPointer<QQuickItem> m_scrollView;
    QPointer<QQuickItem>
        m_promotionFlipHolder; ///< where a flipping promotion sits, if not all over
    QPointer<VTAInfoView> m_infoView;
    QPointer<Vantora::PromotionView> m_promotionView;
    QPointer<QObject> m_delegate;
    QString m_identifier;
    Vantora::InteractionState m_state = Vantora::InteractionState::active;
    bool m_didAnswer = false;
    qint64 m_time = 0;
    Vantora::TimerId m_clockTimer = 0;
    bool m_isClosing = false;
    qint64 m_tag = 0;
};
