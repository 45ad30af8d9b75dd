#pragma once

#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QDir>
#include <QQuickWindow>

#include <chrono>
#include <cstdio>

// A shown 1080p window in virtual time whose contents can be saved as PNG files. Each family of
// views adds its scenes in a file of its own and lists its entry point in main.cpp.
struct Gallery
{
    Vantora::VirtualTimeScheduler clock;
    QQuickWindow window;
    QDir folder;

    explicit Gallery(const QString &path) : folder(path)
    {
        window.resize(1920, 1080);
        window.setColor(QColor(0x10, 0x14, 0x1C));
        window.show();
        clock.runPending();
    }

    bool save(const char *name)
    {
        clock.advanceBy(std::chrono::seconds{2});
        const QString file = folder.filePath(QString::fromLatin1(name) + QStringLiteral(".png"));
        const bool saved = window.grabWindow().save(file);
        std::printf("%s %s\n", saved ? "wrote" : "could not write", qPrintable(file));
        return saved;
    }
};

bool toolkitScenes(Gallery &gallery);
bool cardScenes(Gallery &gallery);
bool triviaPollScenes(Gallery &gallery);
bool ratingNoticeScenes(Gallery &gallery);
bool extremeScenes(const QString &folder);
bool previewItem(const QString &kind, const QString &mediaFolder, const QString &out);
