#include "overlayhost.h"
#include "tvconsole.h"
#include "tvplayer.h"

#include <vantora/views/notice/vtanotice.h>

#include <QQuickWindow>

OverlayHost::OverlayHost(TvPlayer *player, VTAOverlayView *overlay, QQuickItem *playerSurface,
                         QObject *parent)
    : VTAOverlayDelegate(parent), m_player(player), m_overlay(overlay),
      m_playerSurface(playerSurface)
{
    // A report less than a second from where the overlay last laid its clock's timers lays them
    // again, skipping what is due within half a second; reports that close together would drop
    // every item just before it is due. So the reports keep two seconds apart, counted from each
    // play or seek, which the overlay always takes as a new start.
    m_reports.setInterval(reportInterval);
    connect(&m_reports, &QTimer::timeout, this, [this] {
        if (m_overlay && m_player)
            m_overlay->videoPlaying(m_player->position());
    });
    connect(player, &TvPlayer::playingChanged, this, &OverlayHost::playingChanged);
    connect(player, &TvPlayer::seeked, this, &OverlayHost::seeked);
}

QString OverlayHost::remoteTarget() const
{
    if (!m_overlay)
        return QStringLiteral("player");
    if (QQuickWindow *window = m_overlay->window()) {
        for (QQuickItem *item = window->activeFocusItem(); item; item = item->parentItem()) {
            if (item->inherits("VTARatingView"))
                return QStringLiteral("rating");
            if (item->inherits("VTAInteractionView"))
                return QStringLiteral("card");
        }
    }
    // A notice never takes the remote, but Back closes it.
    const QList<VTANotice *> notices = m_overlay->findChildren<VTANotice *>();
    for (const VTANotice *notice : notices) {
        if (notice->parentItem() && notice->isVisible())
            return QStringLiteral("notice");
    }
    return QStringLiteral("player");
}

bool OverlayHost::back()
{
    return m_overlay && m_overlay->closeInteractionIfNeeded();
}

void OverlayHost::overlayRequestedPause()
{
    tvLine(QStringLiteral("the overlay asks to pause"));
    if (m_player)
        m_player->pause();
}

void OverlayHost::overlayRequestedPlay()
{
    tvLine(QStringLiteral("the overlay asks to play"));
    if (m_player)
        m_player->play();
}

void OverlayHost::overlayRequestedFocus()
{
    tvLine(QStringLiteral("the overlay takes the remote"));
    if (m_overlay)
        m_overlay->forceActiveFocus();
}

void OverlayHost::overlayReleasedFocus()
{
    tvLine(QStringLiteral("the overlay gives the remote back"));
    if (m_playerSurface)
        m_playerSurface->forceActiveFocus();
}

void OverlayHost::playingChanged()
{
    if (!m_overlay || !m_player)
        return;
    if (m_player->isPlaying()) {
        m_overlay->videoPlaying(m_player->position());
        m_reports.start();
    } else {
        m_reports.stop();
        m_overlay->videoPaused();
    }
}

void OverlayHost::seeked(double position)
{
    // A jump is a stop at the old position and a start at the new one: the overlay lays the
    // clock's items again from there.
    if (!m_overlay || !m_player || !m_player->isPlaying())
        return;
    m_overlay->videoPaused();
    m_overlay->videoPlaying(position);
    m_reports.start();
}
