// The extreme scenes at three player sizes, for review: <folder>/extreme/<width>p-<scene>.png.

#include "extremecards.h"
#include "gallery.h"

#include <cstdio>

using namespace Vantora;

bool extremeScenes(const QString &folder)
{
    Extreme::servePictures();
    QDir out(folder);
    out.mkpath(QStringLiteral("extreme"));
    out.cd(QStringLiteral("extreme"));
    bool ok = true;
    for (const QSize size : {QSize(1280, 720), QSize(1920, 1080), QSize(3840, 2160)}) {
        for (const Extreme::Scene &scene : Extreme::scenes()) {
            Extreme::Player player(size);
            player.play(scene);
            const QString file =
                out.filePath(QStringLiteral("%1p-%2.png").arg(size.height()).arg(scene.name));
            const bool saved = player.window.grabWindow().save(file);
            std::printf("%s %s\n", saved ? "wrote" : "could not write", qPrintable(file));
            ok = saved && ok;
        }
    }
    return ok;
}
