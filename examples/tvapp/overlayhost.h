#pragma once

#include <vantora/overlay/vtaoverlayview.h>

#include <QPointer>
#include <QTimer>

class TvPlayer;

/// What a TV app owes the overlay, in one place: it tells the overlay where the player is (at
/// once on play, pause and seek, and every two seconds while playing), pauses and resumes the
/// player when the overlay asks, and moves the remote's focus between the player and the
/// overlay. Each call it gets from the overlay is printed as one "vantora-tv:" line.
class OverlayHost : public VTAOverlayDelegate
{
    Q_OBJECT

public:
    /// `playerSurface` is the item that holds the remote's focus while no card is showing.
    OverlayHost(TvPlayer *player, VTAOverlayView *overlay, QQuickItem *playerSurface,
                QObject *parent = nullptr);

    /// The remote's back key: closes the card or notice on screen; false when there was none,
    /// and the app may leave.
    bool back();

    void overlayRequestedPause() override;
    void overlayRequestedPlay() override;
    void overlayRequestedFocus() override;
    void overlayReleasedFocus() override;

    /// How often the position is reported while playing, in milliseconds.
    static constexpr int reportInterval = 2000;

    /// What the remote's keys reach now, for the hint line: "player", "card" (answers above one
    /// another), "rating" (side by side) or "notice" (a notice on screen, closed by Back).
    QString remoteTarget() const;

private:
    void playingChanged();
    void seeked(double position);

    QPointer<TvPlayer> m_player;
    QPointer<VTAOverlayView> m_overlay;
    QPointer<QQuickItem> m_playerSurface;
    QTimer m_reports;
};
