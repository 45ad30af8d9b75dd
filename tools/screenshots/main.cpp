// Renders the library's views offscreen, in each of their states, to PNG files at television size,
// so that their looks can be reviewed without a television.
//
//   vantora-screenshots <folder>

#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QDir>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

#include <chrono>
#include <cstdio>

using namespace Vantora;
using namespace std::chrono_literals;

namespace {

struct Gallery
{
    VirtualTimeScheduler clock;
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
        clock.advanceBy(2s);
        const QString file = folder.filePath(QString::fromLatin1(name) + QStringLiteral(".png"));
        const bool saved = window.grabWindow().save(file);
        std::printf("%s %s\n", saved ? "wrote" : "could not write", qPrintable(file));
        return saved;
    }
};

bool buttons(Gallery &gallery)
{
    const char *titles[] = {"Normal", "Focused", "Selected", "Design colours", "Gradient"};
    QList<FocusTvButton *> row;
    for (int i = 0; i < 5; ++i) {
        auto *button = fromNib<FocusTvButton>();
        button->setParentItem(gallery.window.contentItem());
        button->setTitle(QString::fromLatin1(titles[i]));
        button->setPosition(QPointF(200, 100 + i * 180));
        button->normalTitleColor = QColor(0x20, 0x20, 0x20);
        row.append(button);
    }
    row[2]->setSelected(true);
    row[3]->focusedBackgroundColor = *colorFromHex(u"#1E88E5FF");
    row[4]->focusedBackgroundColor = *colorFromHex(u"#7B1FA2");
    row[4]->focusedBackgroundEndColor = *colorFromHex(u"#E91E63");
    row[4]->cornerRadius = 48;
    for (FocusTvButton *button : row)
        button->updateView();
    bool ok = true;
    for (int focused : {1, 3, 4}) {
        row[focused]->forceActiveFocus();
        ok = gallery.save(focused == 1       ? "button-focused"
                              : focused == 3 ? "button-design"
                                             : "button-gradient")
            && ok;
    }
    qDeleteAll(row);
    return ok;
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: vantora-screenshots <folder>\n");
        return 2;
    }
    if (!QDir().mkpath(QString::fromLocal8Bit(argv[1]))) {
        std::fprintf(stderr, "cannot create %s\n", argv[1]);
        return 1;
    }
    Gallery gallery(QString::fromLocal8Bit(argv[1]));
    return buttons(gallery) ? 0 : 1;
}
