#ifndef VANTORA_VTAOVERLAYVIEW_H
#define VANTORA_VTAOVERLAYVIEW_H

#include <vantora/records/vtaenvironment.h>
#include <vantora/vantora_export.h>

#include <QObject>
#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

class VTAPollView;
class VTARatingView;
class VTATriviaView;
class VTANotice;
namespace Vantora {
class OverlayController;
}

/** @file
 * The item a TV application puts over its video player to make the broadcast interactive.
 */

/**
 * What the overlay asks of the host's player. Derive a small object from it and hand it to
 * VTAOverlayView::load(); the overlay holds it weakly, so deleting it simply stops the calls.
 * Every call is made on the main thread. A QML host can use the overlay's signals instead, which
 * are emitted alongside.
 */
class VANTORA_EXPORT VTAOverlayDelegate : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A host's player implements it in C++; QML hosts use the overlay's signals")

public:
    using QObject::QObject;

    /// A card that wants the viewer's full attention arrived: pause the video.
    virtual void overlayRequestedPause() = 0;
    /// The overlay paused the video and is done with it: resume.
    virtual void overlayRequestedPlay() = 0;
    /// A card is on screen: give the overlay the remote's focus (forceActiveFocus() on it).
    virtual void overlayRequestedFocus() = 0;
    /// The card or notice went away: take the remote's focus back.
    virtual void overlayReleasedFocus() = 0;
};

/**
 * Lets a host show its own subclasses of the built-in cards, with its own layouts. Each
 * operation returns a new, unparented view, which the overlay then owns, or null for the built-in
 * one. Held weakly, like the overlay delegate.
 */
class VANTORA_EXPORT VTALayoutDelegate : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A host's own cards are made in C++")

public:
    using QObject::QObject;

    virtual VTAPollView *customPollView() { return nullptr; }
    virtual VTARatingView *customRatingView() { return nullptr; }
    virtual VTATriviaView *customTriviaView() { return nullptr; }
    virtual VTANotice *customNoticeView() { return nullptr; }
};

/**
 * The one item a host puts, full size, over its video. It verifies the channel, signs the viewer
 * in (remembering them in the application's QSettings under "userToken"), fetches the channel's
 * content, listens to the broadcaster's live events, and shows one card at a time: trivia, polls,
 * predictions and ratings at their video second or when the broadcaster pushes them, and a notice
 * when a prediction is settled.
 *
 * From C++:
 *
 *   auto *overlay = new VTAOverlayView(playerItem);
 *   overlay->setSize(playerItem->size());             // full size, over the picture
 *   overlay->load(u"1001"_s, u"acme"_s, VTAEnvironment::productionDefault(), &bridge);
 *   ...
 *   overlay->videoPlaying(player.position());         // on play and resume
 *   overlay->videoPaused();                           // on pause, and before a seek
 *   ...
 *   if (!overlay->closeInteractionIfNeeded())         // the remote's back key
 *       leaveScreen();
 *
 * From QML (`import Vantora`; a host that links no C++ of ours adds the installed
 * `lib/<arch>/qml` folder to its import path, and the module's plugin loads the library):
 *
 *   VTAOverlayView {
 *       id: overlay
 *       anchors.fill: parent
 *       onPauseRequested: player.pause()
 *       onFocusRequested: overlay.forceActiveFocus()
 *       onSessionFailed: (failure, reason) => console.warn(reason)
 *       Component.onCompleted: load("1001", "acme", "production")
 *   }
 *
 * The cards and notices are designed for a 1920×1080 screen and scale with the overlay's height
 * (a 1280×720 overlay shows them at two thirds), narrower still when the overlay is too narrow
 * for a card; positions and `bottomMargin` are in those 1080-line design pixels.
 *
 * Nothing is ever thrown to the host: start-up problems are printed as lines beginning "VTA" and
 * emitted as sessionFailed(), and items that cannot be shown are dropped (the `vantora.overlay`
 * logging category says why). The overlay draws nothing but its cards and notices; the area not
 * covered by a card lets the video show through. Main thread only.
 */
class VANTORA_EXPORT VTAOverlayView : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(VTAOverlayDelegate *delegate READ delegate WRITE setDelegate NOTIFY delegateChanged)
    Q_PROPERTY(VTALayoutDelegate *layoutDelegate READ layoutDelegate WRITE setLayoutDelegate NOTIFY
                   layoutDelegateChanged)
    Q_PROPERTY(
        qreal bottomMargin READ bottomMargin WRITE setBottomMargin NOTIFY bottomMarginChanged)
    Q_PROPERTY(AnimationType animationType READ animationType WRITE setAnimationType NOTIFY
                   animationTypeChanged)
    Q_PROPERTY(bool showNotices READ showNotices WRITE setShowNotices NOTIFY showNoticesChanged)
    /// Seconds; 0 means none.
    Q_PROPERTY(int injectionDelay READ injectionDelaySeconds WRITE setInjectionDelaySeconds NOTIFY
                   injectionDelayChanged)
    Q_PROPERTY(bool displayingInteraction READ isDisplayingInteraction NOTIFY interactionChanged)

public:
    /// The side from which the cards slide in (VTAAnimationType). QML reads only capitalised
    /// names: `animationType: VTAOverlayView.FromRight`.
    enum class AnimationType {
        fromRight, ///< from beyond the right edge, at the card's resting height
        fromBottom, ///< up from below the bottom edge, flush right
        FromRight = fromRight, ///< fromRight, as QML spells it
        FromBottom = fromBottom, ///< fromBottom, as QML spells it
    };
    Q_ENUM(AnimationType)

    /// Why a session could not start or lost its viewer; see sessionFailed().
    enum class SessionFailure {
        UnknownEnvironment, ///< load() from QML named no environment it knows; nothing started
        ChannelNotVerified, ///< the broadcaster's channel list could not be fetched
        ChannelNotFound, ///< the list does not hold the channel
        LoginFailed, ///< the remembered viewer could not sign in; the session goes on
        RegisterFailed, ///< a new viewer could not be registered; the session goes on
        ChannelInfoFailed, ///< the channel's content could not be fetched or read
    };
    Q_ENUM(SessionFailure)

    explicit VTAOverlayView(QQuickItem *parent = nullptr);
    ~VTAOverlayView() override;

    /// Starts a session for the channel `channelID` of `broadcasterName` on `environment`. A
    /// second call ends the first session (closing what is showing) before starting. The
    /// optional viewer details are used only when the viewer is registered for the first time.
    void load(const QString &channelID, const QString &broadcasterName,
              const VTAEnvironment &environment, VTAOverlayDelegate *delegate = nullptr,
              const QString &language = QStringLiteral("en"),
              const std::optional<QString> &userBroadcasterForeignID = std::nullopt,
              const std::optional<QString> &userInitialName = std::nullopt);
    /// The same for QML: `environment` is "production", "development" or "test". Any other name
    /// starts nothing and emits sessionFailed() with UnknownEnvironment.
    Q_INVOKABLE void load(const QString &channelID, const QString &broadcasterName,
                          const QString &environment);

    /// The player plays at `time` seconds into the video. Call it when playback starts or
    /// resumes, after videoPaused(); seek as pause, then play. While the timers laid then are
    /// pending, a report a second or more away from the position they were laid at changes
    /// nothing, so periodic reports should be at least a second apart: a report closer than
    /// that lays the clock again from its position, and an item due within half a second of it
    /// is then skipped. Before the channel's content has arrived, reports are not kept; the
    /// content lays the clock from second 0 until the player is paused and played again.
    Q_INVOKABLE void videoPlaying(double time);
    /// The player stopped: nothing is due by the video's clock until it plays again.
    Q_INVOKABLE void videoPaused();

    /// Forgets the viewer remembered on this device; the next session registers a new one.
    /// Live overlays keep their viewer.
    Q_INVOKABLE static void resetUser();
    /// Closes the card on screen, or else the notice; false when neither was showing. Call it
    /// on the remote's back key and leave your screen only on false.
    Q_INVOKABLE bool closeInteractionIfNeeded();
    /// Whether a card is on screen (a notice alone does not count).
    bool isDisplayingInteraction() const;

    VTAOverlayDelegate *delegate() const;
    void setDelegate(VTAOverlayDelegate *delegate);
    VTALayoutDelegate *layoutDelegate() const;
    void setLayoutDelegate(VTALayoutDelegate *delegate);
    /// Distance between a resting card and the overlay's bottom edge, in design pixels.
    qreal bottomMargin() const;
    void setBottomMargin(qreal margin);
    AnimationType animationType() const;
    void setAnimationType(AnimationType type);
    bool showNotices() const;
    void setShowNotices(bool show);
    /// Seconds by which live items are held back (to match a delayed stream); a value below 1
    /// means none.
    std::optional<qint64> injectionDelay() const;
    void setInjectionDelay(std::optional<qint64> seconds);

Q_SIGNALS:
    void delegateChanged();
    void layoutDelegateChanged();
    void bottomMarginChanged();
    void animationTypeChanged();
    void showNoticesChanged();
    void injectionDelayChanged();
    /// A card appeared or went away.
    void interactionChanged();
    /// Emitted with the matching VTAOverlayDelegate call.
    void pauseRequested();
    void playRequested();
    void focusRequested();
    void focusReleased();
    /// The session could not start (the overlay stays idle until the next load()), or the
    /// viewer could not be signed in (the session goes on without answers). `reason` says what
    /// failed in words for a log. Emitted once per failure, beside the "VTA" line.
    void sessionFailed(VTAOverlayView::SessionFailure failure, const QString &reason);

protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void focusInEvent(QFocusEvent *event) override;

private:
    int injectionDelaySeconds() const;
    void setInjectionDelaySeconds(int seconds);

    friend class Vantora::OverlayController;
    std::unique_ptr<Vantora::OverlayController> d;
};

/// The side from which the cards slide in.
using VTAAnimationType = VTAOverlayView::AnimationType;

#endif
