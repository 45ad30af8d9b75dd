#pragma once

#include <QList>
#include <QString>

/// One line of a remote script (see README.md): when it runs, and what it does.
struct ScriptStep
{
    enum class Command {
        key,
        waitFor,
        waitGone,
        screenshot,
        dump,
        mark,
        seek,
        play,
        pause,
        quit,
        stay,
        admin
    };

    int line = 0; ///< 1-based, for messages
    /// False: `at` is a second of the video, and the step runs once the player gets there. True:
    /// `at` is a wait in seconds of real time after the previous step, which also passes while
    /// the video is paused.
    bool afterPrevious = false;
    double at = 0;
    Command command = Command::quit;
    int key = 0; ///< Qt::Key, for key
    int count = 1; ///< presses, for key
    /// The limit of wait-for and wait-gone (0: none), the target of seek.
    double seconds = 0;
    QString text; ///< the text to wait for, the name of a screenshot, dump or mark, an admin path
    QByteArray body; ///< admin: the JSON object to post; empty for a GET
};

/// A script read whole; on the first bad line `error` says where and why, and `steps` is empty.
struct RemoteScript
{
    QList<ScriptStep> steps;
    QString error;

    static RemoteScript parse(const QString &text);
};
