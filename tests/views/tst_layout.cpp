// Cards with the content real broadcasters write, on 720p, 1080p and 4K players: every text and
// picture is whole (a text cut only where its line budget ends), nothing is drawn over anything
// else or leaves the card, and the remote reaches every control, each arrow to the nearest one
// that way.

#include "extremecards.h"
#include "vantora/toolkit/imageview_p.h"
#include <vantora/views/interactionview/vtainteractionview.h>

#include <QQuickItem>
#include <QTest>

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <set>

using namespace Vantora;

namespace {

// Edges this close count as touching.
constexpr qreal slack = 1.0;

QString describe(const QQuickItem *item)
{
    const QString text = item->property("text").toString();
    return QStringLiteral("%1 \"%2\"").arg(item->objectName(), text.left(30));
}

bool isScrolling(const QQuickItem *item)
{
    return item->inherits("QQuickFlickable");
}

bool isPromotion(const QQuickItem *item)
{
    for (; item; item = item->parentItem()) {
        if (item->objectName().startsWith(QLatin1StringView("promotion")))
            return true;
    }
    return false;
}

qreal opacityOnScreen(const QQuickItem *item)
{
    qreal opacity = 1;
    for (; item; item = item->parentItem())
        opacity *= item->opacity();
    return opacity;
}

// What the viewer sees of an item's own drawing, in window coordinates: cut by every clipping
// ancestor. `cutOutsideScrolling` tells whether anything but a scrolled list cut it.
struct OnScreen
{
    QRectF rect;
    bool cutOutsideScrolling = false;
};

OnScreen onScreen(const QQuickItem *item, const QRectF &drawn)
{
    const QRectF whole = item->mapRectToScene(drawn);
    OnScreen seen{whole};
    for (const QQuickItem *ancestor = item->parentItem(); ancestor && !seen.rect.isEmpty();
         ancestor = ancestor->parentItem()) {
        if (!ancestor->clip())
            continue;
        const QRectF kept = seen.rect & ancestor->mapRectToScene(ancestor->clipRect());
        if (!isScrolling(ancestor)
            && !kept.adjusted(-slack, -slack, slack, slack).contains(seen.rect))
            seen.cutOutsideScrolling = true;
        seen.rect = kept;
    }
    return seen;
}

struct Drawing
{
    const QQuickItem *item;
    QRectF rect;
};

// The texts and pictures the viewer sees, the sponsor's promotion (which lies over the card on
// purpose) left out.
QList<Drawing> drawings(const QQuickItem *item)
{
    QList<Drawing> found;
    if (!item->isVisible() || opacityOnScreen(item) == 0 || isPromotion(item))
        return found;
    QRectF drawn;
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty())
        drawn = item->boundingRect();
    else if (const auto *picture = qobject_cast<const ImageView *>(item))
        drawn = picture->imageRect();
    if (!drawn.isEmpty()) {
        const OnScreen seen = onScreen(item, drawn);
        EXPECT_FALSE(seen.cutOutsideScrolling) << qPrintable(describe(item)) << " is cut";
        EXPECT_TRUE(
            QRectF(QPointF(), item->size()).adjusted(-slack, -slack, slack, slack).contains(drawn))
            << qPrintable(describe(item)) << " spills out of its place";
        if (!seen.rect.isEmpty())
            found.append({item, seen.rect});
    }
    for (const QQuickItem *child : item->childItems())
        found.append(drawings(child));
    return found;
}

bool isInControl(const QQuickItem *item)
{
    for (; item; item = item->parentItem()) {
        if (item->activeFocusOnTab())
            return true;
    }
    return false;
}

void expectTextsWholeUnlessOutOfLines(const QQuickItem *item)
{
    if (!item->isVisible())
        return;
    if (item->inherits("QQuickText") && item->property("truncated").toBool()) {
        const int budget = item->property("maximumLineCount").toInt();
        EXPECT_TRUE(budget < INT_MAX && item->property("lineCount").toInt() == budget)
            << qPrintable(describe(item)) << " is cut before its last allowed line";
        EXPECT_TRUE(isInControl(item)) << "the question is cut";
    }
    for (const QQuickItem *child : item->childItems())
        expectTextsWholeUnlessOutOfLines(child);
}

// The controls the remote can reach: the outermost visible, enabled items that take focus.
void collectControls(QQuickItem *item, QQuickItem *view, QList<QQuickItem *> &found)
{
    if (!item->isVisible() || !item->isEnabled())
        return;
    if (item != view && item->activeFocusOnTab()) {
        found.append(item);
        return;
    }
    for (QQuickItem *child : item->childItems())
        collectControls(child, view, found);
}

QList<QQuickItem *> controlsOf(QQuickItem *view)
{
    QList<QQuickItem *> found;
    collectControls(view, view, found);
    return found;
}

QQuickItem *focusedOf(QQuickItem *view)
{
    QQuickItem *focus = view->window()->activeFocusItem();
    for (QQuickItem *control : controlsOf(view)) {
        if (control == focus || control->isAncestorOf(focus))
            return control;
    }
    return nullptr;
}

// Where a control is laid out in the view, as if nothing were scrolled and nothing grown.
QRectF laidOut(QQuickItem *control, QQuickItem *view)
{
    QRectF rect =
        control->parentItem()->mapRectToItem(view, QRectF(control->position(), control->size()));
    for (QQuickItem *ancestor = control->parentItem(); ancestor != view;
         ancestor = ancestor->parentItem()) {
        if (isScrolling(ancestor))
            rect.translate(0, ancestor->property("contentY").toReal());
    }
    return rect;
}

enum Arrow { up, down, left, right };
constexpr Qt::Key keys[] = {Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Right};
constexpr const char *names[] = {"Up", "Down", "Left", "Right"};

// How far `to` lies from `from` that way (the gap between facing edges), and whether the two are
// in line (they overlap across the arrow); none when `to` does not lie that way at all. Left and
// Right reach only the same row.
struct Way
{
    qreal gap;
    bool inLine;
};

std::optional<Way> wayTo(const QRectF &from, const QRectF &to, Arrow arrow)
{
    const bool vertical = arrow == up || arrow == down;
    const bool inLine = vertical ? to.left() < from.right() && to.right() > from.left()
                                 : to.top() < from.bottom() && to.bottom() > from.top();
    const qreal gaps[] = {from.top() - to.bottom(), to.top() - from.bottom(),
                          from.left() - to.right(), to.left() - from.right()};
    if (gaps[arrow] < -slack || (!vertical && !inLine))
        return std::nullopt;
    return Way{std::max<qreal>(gaps[arrow], 0), inLine};
}

} // namespace

namespace Vantora::Extreme {
void PrintTo(const Scene &scene, std::ostream *out)
{
    *out << qPrintable(scene.name);
}
} // namespace Vantora::Extreme

namespace {

class LayoutTest : public testing::TestWithParam<Extreme::Scene>
{
protected:
    static void SetUpTestSuite() { Extreme::servePictures(); }
};

TEST_P(LayoutTest, everythingIsWholeApartAndOnTheCard)
{
    for (const QSize player : {QSize(1280, 720), QSize(1920, 1080), QSize(3840, 2160)}) {
        SCOPED_TRACE(player.height());
        Extreme::Player shown(player);
        QQuickItem *view = shown.play(GetParam());

        const QRectF screen(QPointF(), player);
        EXPECT_TRUE(screen.contains(view->mapRectToScene(view->boundingRect())));
        expectTextsWholeUnlessOutOfLines(view);
        const QList<Drawing> seen = drawings(view);
        for (qsizetype i = 0; i < seen.size(); ++i) {
            for (qsizetype j = i + 1; j < seen.size(); ++j) {
                const QRectF both = seen[i].rect & seen[j].rect;
                EXPECT_TRUE(both.width() <= slack || both.height() <= slack)
                    << qPrintable(describe(seen[i].item)) << " lies over "
                    << qPrintable(describe(seen[j].item));
            }
        }
        // A card the viewer has answered shows its result, which ends its column.
        if (auto *card = qobject_cast<VTAInteractionView *>(view);
            card && card->state() == InteractionState::completed) {
            const QQuickItem *scroll = card->scrollView();
            EXPECT_NEAR(
                scroll->property("contentY").toReal(),
                std::max<qreal>(0, scroll->property("contentHeight").toReal() - scroll->height()),
                slack)
                << "the result is out of sight";
        }
        if (QQuickItem *focused = focusedOf(view)) {
            const OnScreen where = onScreen(focused, focused->boundingRect());
            EXPECT_TRUE(where.rect.adjusted(-slack, -slack, slack, slack)
                            .contains(focused->mapRectToScene(focused->boundingRect())))
                << "the focused control is out of sight";
        }
    }
}

// From each control on a fresh card, each arrow: the nearest control that way, in line first;
// nothing when none lies that way; Down after Up back where Up left. From the control a card
// starts on, every control can be reached.
TEST_P(LayoutTest, eachArrowReachesTheNearestControlThatWay)
{
    qsizetype count = 1;
    std::map<qsizetype, std::set<qsizetype>> reaches;
    qsizetype start = -1;
    for (qsizetype from = 0; from < count; ++from) {
        Extreme::Player shown(QSize(1920, 1080));
        QQuickItem *view = shown.play(GetParam());
        const QList<QQuickItem *> controls = controlsOf(view);
        ASSERT_FALSE(controls.isEmpty());
        count = controls.size();
        start = controls.indexOf(focusedOf(view));
        QQuickItem *origin = controls[from];
        const QRectF originRect = laidOut(origin, view);

        for (const Arrow arrow : {up, down, left, right}) {
            SCOPED_TRACE(QStringLiteral("%1 from %2")
                             .arg(QLatin1StringView(names[arrow]), describe(origin))
                             .toStdString());
            origin->forceActiveFocus();
            QTest::keyClick(&shown.window, keys[arrow]);
            QQuickItem *reached = focusedOf(view);
            ASSERT_NE(reached, nullptr) << "the focus left the card's controls";

            std::optional<Way> nearest;
            for (QQuickItem *control : controls) {
                const std::optional<Way> way = control == origin
                    ? std::nullopt
                    : wayTo(originRect, laidOut(control, view), arrow);
                if (way
                    && (!nearest || way->inLine > nearest->inLine
                        || (way->inLine == nearest->inLine && way->gap < nearest->gap)))
                    nearest = way;
            }
            if (!nearest) {
                EXPECT_EQ(reached, origin) << "moved where nothing lies";
                continue;
            }
            const std::optional<Way> way = wayTo(originRect, laidOut(reached, view), arrow);
            ASSERT_TRUE(reached != origin && way) << "did not move that way";
            EXPECT_EQ(way->inLine, nearest->inLine);
            EXPECT_LE(way->gap, nearest->gap + slack) << "passed over a nearer control";
            reaches[from].insert(controls.indexOf(reached));
            const QRectF whole = reached->mapRectToScene(reached->boundingRect());
            EXPECT_TRUE(onScreen(reached, reached->boundingRect())
                            .rect.adjusted(-slack, -slack, slack, slack)
                            .contains(whole))
                << "the control reached is out of sight";
            if (arrow == up) {
                QTest::keyClick(&shown.window, Qt::Key_Down);
                EXPECT_EQ(focusedOf(view), origin) << "Down after Up went elsewhere";
            }
        }
    }

    ASSERT_GE(start, 0) << "the card starts with no control focused";
    std::set<qsizetype> seen{start};
    std::vector<qsizetype> next{start};
    while (!next.empty()) {
        const qsizetype at = next.back();
        next.pop_back();
        for (const qsizetype to : reaches[at]) {
            if (seen.insert(to).second)
                next.push_back(to);
        }
    }
    EXPECT_EQ(qsizetype(seen.size()), count) << "some controls cannot be reached";
}

INSTANTIATE_TEST_SUITE_P(Extreme, LayoutTest, testing::ValuesIn(Extreme::scenes()),
                         [](const testing::TestParamInfo<Extreme::Scene> &scene) {
                             QString name = scene.param.name;
                             return name.replace(QLatin1Char('-'), QLatin1Char('_')).toStdString();
                         });

} // namespace
