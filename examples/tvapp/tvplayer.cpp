#include "tvplayer.h"

#include <QAudioOutput>
#include <QMediaPlayer>

#include <algorithm>

TvPlayer::TvPlayer(const QUrl &video, QObject *parent) : QObject(parent)
{
    if (video.isEmpty()) {
        // 25 repaints a second are plenty for a picture that moves with the clock.
        m_ticker.setInterval(40);
        connect(&m_ticker, &QTimer::timeout, this, &TvPlayer::positionChanged);
        connect(&m_ticker, &QTimer::timeout, this, [this] {
            if (position() >= testPictureDuration) {
                m_base = testPictureDuration;
                setPlaying(false);
            }
        });
        return;
    }
    m_media = new QMediaPlayer(this);
    m_audio = new QAudioOutput(this);
    m_media->setAudioOutput(m_audio);
    m_media->setSource(video);
    connect(m_media, &QMediaPlayer::positionChanged, this, &TvPlayer::positionChanged);
    connect(m_media, &QMediaPlayer::durationChanged, this, &TvPlayer::durationChanged);
    connect(m_media, &QMediaPlayer::playbackStateChanged, this,
            [this](QMediaPlayer::PlaybackState state) {
                setPlaying(state == QMediaPlayer::PlayingState);
            });
    connect(m_media, &QMediaPlayer::errorOccurred, this,
            [this](QMediaPlayer::Error, const QString &message) {
                m_errorString = message;
                Q_EMIT errorStringChanged();
            });
}

TvPlayer::~TvPlayer() = default;

double TvPlayer::position() const
{
    if (m_media)
        return double(m_media->position()) / 1000.0;
    const double played = m_playing ? double(m_sincePlay.elapsed()) / 1000.0 : 0.0;
    return std::min(m_base + played, testPictureDuration);
}

double TvPlayer::duration() const
{
    return m_media ? double(m_media->duration()) / 1000.0 : testPictureDuration;
}

void TvPlayer::play()
{
    if (m_media) {
        m_media->play();
        return;
    }
    if (m_playing || m_base >= testPictureDuration)
        return;
    m_sincePlay.start();
    m_ticker.start();
    setPlaying(true);
}

void TvPlayer::pause()
{
    if (m_media) {
        m_media->pause();
        return;
    }
    if (!m_playing)
        return;
    m_base = position();
    m_ticker.stop();
    setPlaying(false);
    Q_EMIT positionChanged();
}

void TvPlayer::togglePlaying()
{
    if (m_playing)
        pause();
    else
        play();
}

void TvPlayer::seek(double seconds)
{
    const double end = duration() > 0 ? duration() : seconds;
    const double target = std::clamp(seconds, 0.0, end);
    if (m_media) {
        m_media->setPosition(qint64(target * 1000.0));
    } else {
        m_base = target;
        m_sincePlay.start();
    }
    Q_EMIT positionChanged();
    Q_EMIT seeked(target);
}

void TvPlayer::setVideoOutput(QObject *output)
{
    if (m_media)
        m_media->setVideoOutput(output);
}

void TvPlayer::setPlaying(bool playing)
{
    if (m_playing == playing)
        return;
    m_playing = playing;
    if (!playing)
        m_ticker.stop();
    Q_EMIT playingChanged();
}
