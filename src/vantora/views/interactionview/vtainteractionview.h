#ifndef VANTORA_VTAINTERACTIONVIEW_H
#define VANTORA_VTAINTERACTIONVIEW_H

#include <vantora/records/promotion.h>
#include <vantora/records/sessioninfo.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/vantora_export.h>
#include <vantora/views/infoview/vtainfoview.h>
#include <vantora/views/vtaviews.h>

#include <QObject>
#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace Vantora {
Q_NAMESPACE_EXPORT(VANTORA_EXPORT)
/// Where a card is in its life: waiting for the answer, waiting for the backend, showing the
/// result.
enum class InteractionState { active, loading, completed };
Q_ENUM_NS(InteractionState)

class ImageView;
class InteractionDelegate;
class PromotionView;
} // namespace Vantora
class VTAInteractionViewPrivate;

/**
 * What every card shares: its three states, the one-second countdown shown in the info bar, the
 * three ways it closes (the countdown running out while unanswered, the close button, the
 * result being known), the viewer's points and level, the channel design's colours and images,
 * the sponsor promotion beside it (sliding in, or flipping in over the dimmed card), and which
 * control the remote focuses. VTATriviaView, VTAPollView and VTARatingView build on it; a host
 * subclasses those, not this class directly.
 *
 * The overlay is the card's delegate and owns the card while it shows; a card made with
 * VTAViews::create() belongs to its caller until then. Main thread only; every delay runs on
 * the library's scheduler and dies with the card.
 */
class VANTORA_EXPORT VTAInteractionView : public QQuickItem
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
    QObject *delegateObject() const;

    QString identifier() const;
    void setIdentifier(const QString &identifier);
    Vantora::InteractionState state() const;
    bool didAnswer() const;
    void setDidAnswer(bool answered);
    qint64 time() const;
    void setTime(qint64 seconds);
    bool isClosing() const;
    /// Set by the overlay as it takes the card away; no path closes it again after that.
    void setClosing(bool closing);
    /// Milliseconds since 2001 when the card was configured: tells a delayed close which card it
    /// meant.
    qint64 tag() const;
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
    /// Gives the remote's focus to preferredFocusItem() and scrolls the card to it; to the end of
    /// the card, where the result is, when the card is completed and the focus goes to the info
    /// bar.
    void focusPreferredItem();

    /// The layout's outlets, each an item with that objectName.
    VTAInfoView *infoView() const;
    Vantora::ImageView *mainIcon() const;
    QQuickItem *titleLabel() const;
    QQuickItem *answerStack() const;
    QQuickItem *indicator() const;
    Vantora::ImageView *backgroundView() const;
    QQuickItem *mainContainer() const;
    QQuickItem *infoContainer() const;
    QQuickItem *promotionContainer() const;
    QQuickItem *promotionFlipContainer() const;
    QQuickItem *scrollView() const;
    Vantora::PromotionView *promotionView() const;

protected:
    /// The start of every card's configure(): a fresh tag, the item's id, the countdown in
    /// seconds and whether the viewer has answered already.
    void beginConfigure(const QString &identifier, qint64 time, bool answered);
    /// Binds the outlets; a subclass that overrides it calls it first.
    void componentComplete() override;
    /// The remote's arrows move the focus to the nearest control that way, the info bar's buttons
    /// included, as a TV's focus engine does; at an edge the key goes on to the host.
    void keyPressEvent(QKeyEvent *event) override;
    /// Called when the result is known; the cards mark their answers here.
    virtual void markDone() { }
    /// Makes the info bar; a card may return one of its own.
    virtual VTAInfoView *createInfo();

private:
    void tick();
    /// Keeps the focused answer, or the column's top or end, in view.
    void followContent();

    std::unique_ptr<VTAInteractionViewPrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTAInteractionView)
};

#endif
