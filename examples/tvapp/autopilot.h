#pragma once

#include "remotescript.h"

#include <QDir>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <optional>

class QNetworkReply;
class QQuickWindow;
class TvPlayer;

/// Plays the part of the viewer and the camera: presses the remote's keys of a script at their
/// times, takes screenshots at chosen video seconds, writes the visible texts, and ends the app
/// when the script is done or the video reaches the quit second. Exits the event loop with 0 on
/// success and 3 when a wait of the script ran out (after a "failed" screenshot and dump).
class Autopilot : public QObject
{
    Q_OBJECT

public:
    struct Plan
    {
        RemoteScript script;
        QList<double> screenshotSeconds; ///< --at
        std::optional<double> quitAt; ///< --quit-at
        QDir outputDir; ///< screenshots and dumps
        QString exitDumpFile; ///< --dump-tree: where writeExitDump() writes
        QUrl server; ///< the dev server's origin, for admin steps
    };

    Autopilot(Plan plan, QQuickWindow *window, TvPlayer *player, QObject *parent = nullptr);

    /// Starts following the player; call once the window shows.
    void start();

    /// Writes the visible texts to the --dump-tree file, if one was named; call before the
    /// window goes. False when the file could not be written.
    bool writeExitDump();

private:
    void tick();
    /// Runs the current step, or keeps waiting; returns whether it is done.
    bool runStep(const ScriptStep &step);
    void pressKey(int key);
    bool saveScreenshot(const QString &name);
    bool saveDump(const QString &path);
    /// Sends an admin step's request once and reports whether its reply has come.
    bool runAdmin(const ScriptStep &step);
    void finish(int exitCode);

    Plan m_plan;
    QPointer<QQuickWindow> m_window;
    QPointer<TvPlayer> m_player;
    QTimer m_ticker;
    qsizetype m_next = 0;
    QElapsedTimer m_sincePrevious; ///< since the previous step finished
    QElapsedTimer m_waiting; ///< since the current wait began
    bool m_stepStarted = false;
    bool m_finished = false;
    bool m_staying = false; ///< a stay step: the script is over, the app goes on
    QNetworkAccessManager m_network;
    QPointer<QNetworkReply> m_adminReply;
};
