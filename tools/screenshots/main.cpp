// Renders the library's views offscreen, in each of their states, to PNG files at television size,
// so that their looks can be reviewed without a television.
//
//   vantora-screenshots <folder>             every view in each of its states, at 1080p
//   vantora-screenshots --extreme <folder>   the cards with extreme content at 720p, 1080p, 2160p
//   vantora-screenshots --preview <kind> <media folder> <out.png>   one item from standard input

#include "gallery.h"

#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"
#include "vantora/views/promotionview/promotionview_p.h"
#include <vantora/views/interactionview/vtainteractionview.h>

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

using namespace Vantora;
using namespace std::chrono_literals;

bool toolkitScenes(Gallery &gallery)
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

namespace {

// A sponsor's picture, drawn here, as the backend would serve one.
QImage sponsorPicture()
{
    QImage image(440, 620, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient fill(0, 0, 440, 620);
    fill.setColorAt(0, QColor(0xFF, 0xC1, 0x07));
    fill.setColorAt(1, QColor(0xFF, 0x6F, 0x00));
    painter.setBrush(fill);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(image.rect(), 36, 36);
    painter.setPen(QColor(0x1A, 0x1A, 0x1A));
    painter.setFont(QFont(QStringLiteral("Roboto"), 44, QFont::Bold));
    painter.drawText(QRect(0, 180, 440, 80), Qt::AlignCenter, QStringLiteral("ACME SPORTS"));
    painter.setFont(QFont(QStringLiteral("Roboto"), 24));
    painter.drawText(QRect(40, 280, 360, 160), Qt::AlignCenter | Qt::TextWordWrap,
                     QStringLiteral("Official partner of tonight's match"));
    return image;
}

} // namespace

// A card as a poll would fill it, with the info bar counting down and a promotion of each kind.
bool cardScenes(Gallery &gallery)
{
    bool ok = true;
    for (const char *kind : {"none", "display", "flip"}) {
        std::unique_ptr<VTAInteractionView> card(fromNib<VTAInteractionView>());
        card->setParentItem(gallery.window.contentItem());
        card->setPosition(QPointF(1920 - card->width() - 60, 100));
        card->titleLabel()->setProperty("text", QStringLiteral("Who scores the next goal?"));
        QList<FocusTvButton *> answers;
        for (const char *answer : {"Home team", "Away team", "No more goals"}) {
            auto *button = fromNib<FocusTvButton>();
            button->setParentItem(card->answerStack());
            button->setWidth(card->answerStack()->width());
            button->setTitle(QString::fromLatin1(answer));
            button->normalBackgroundColor = QColor(255, 255, 255, 40);
            button->focusedBackgroundColor = *colorFromHex(u"#1E88E5FF");
            button->updateView();
            answers.append(button);
        }
        card->setTime(75);
        card->displayTime();
        card->updatePoints({1234.5, 80, 3});
        card->applyState(InteractionState::active);
        card->focusPreferredItem();
        Promotion promotion;
        promotion.viewType.value = QString::fromLatin1(kind);
        promotion.content = QStringLiteral(
            "<div style=\"background-color: #FFC107; color: #1A1A1A\"><b>Acme Sports</b><br>"
            "Win tickets to the final: answer now!</div>");
        card->preparePromotion(promotion);
        if (PromotionView *view = card->promotionView(); view && view->imageMode())
            view->imageView()->setImage(sponsorPicture());
        card->showPromotion(promotion);
        ok = gallery.save((std::string("card-") + kind).c_str()) && ok;
        qDeleteAll(answers);
    }
    return ok;
}

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc == 5 && qstrcmp(argv[1], "--preview") == 0)
        return previewItem(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]),
                           QString::fromLocal8Bit(argv[4]))
            ? 0
            : 1;
    const bool extreme = argc == 3 && qstrcmp(argv[1], "--extreme") == 0;
    if (argc != 2 && !extreme) {
        std::fprintf(stderr,
                     "usage: vantora-screenshots [--extreme] <folder>\n"
                     "       vantora-screenshots --preview <poll|rating|trivia> <media "
                     "folder> <out.png>  < item.json\n");
        return 2;
    }
    const char *folder = argv[argc - 1];
    if (!QDir().mkpath(QString::fromLocal8Bit(folder))) {
        std::fprintf(stderr, "cannot create %s\n", folder);
        return 1;
    }
    if (extreme)
        return extremeScenes(QString::fromLocal8Bit(folder)) ? 0 : 1;
    Gallery gallery(QString::fromLocal8Bit(folder));
    bool ok = true;
    for (auto scenes : {toolkitScenes, cardScenes, triviaPollScenes, ratingNoticeScenes})
        ok = scenes(gallery) && ok;
    return ok ? 0 : 1;
}
