#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

class QAudioOutput;
class QMediaPlayer;

/// The app's player: a video file through Qt Multimedia, or, without one, a ten-minute generated
/// test picture whose clock runs in real time. Either way the rest of the app sees one position in
/// seconds, play, pause and seek. Main thread only.
class TvPlayer : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the player")
    Q_PROPERTY(double position READ position NOTIFY positionChanged FINAL)
    Q_PROPERTY(double duration READ duration NOTIFY durationChanged FINAL)
    Q_PROPERTY(bool playing READ isPlaying NOTIFY playingChanged FINAL)
    Q_PROPERTY(bool hasVideo READ hasVideo CONSTANT FINAL)
    Q_PROPERTY(QString errorString READ errorString NOTIFY errorStringChanged FINAL)

public:
    /// An empty `video` plays the test picture.
    explicit TvPlayer(const QUrl &video, QObject *parent = nullptr);
    ~TvPlayer() override;

    double position() const;
    double duration() const;
    bool isPlaying() const { return m_playing; }
    bool hasVideo() const { return m_media != nullptr; }
    QString errorString() const { return m_errorString; }

    Q_INVOKABLE void play();
    Q_INVOKABLE void pause();
    Q_INVOKABLE void togglePlaying();
    /// Jumps to `seconds`, clamped to the video; emits seeked() with where it landed.
    Q_INVOKABLE void seek(double seconds);
    Q_INVOKABLE void seekBy(double seconds) { seek(position() + seconds); }
    /// The QML VideoOutput that shows the file; unused by the test picture.
    Q_INVOKABLE void setVideoOutput(QObject *output);

    /// How long the test picture runs.
    static constexpr double testPictureDuration = 600.0;

Q_SIGNALS:
    void positionChanged();
    void durationChanged();
    void playingChanged();
    void seeked(double position);
    void errorStringChanged();

private:
    void setPlaying(bool playing);

    QMediaPlayer *m_media = nullptr;
    QAudioOutput *m_audio = nullptr;
    bool m_playing = false;
    QString m_errorString;

    // The test picture's clock: the position at the last play, pause or seek, plus the time
    // played since; the ticker only tells the picture to repaint.
    double m_base = 0;
    QElapsedTimer m_sincePlay;
    QTimer m_ticker;
};
