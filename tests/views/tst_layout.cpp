// Cards with the content real broadcasters write, on 720p, 1080p and 4K players: every text and
// picture is whole (a text cut only where its line budget ends), nothing is drawn over anything
// else or leaves the card, and the remote reaches every control, each arrow to the nearest one
// that way.

#include "extremecards.h"
#include "vantora/toolkit/imageview_p.h"
#include <vantora/views/interactionview/vtainteractionview.h>

#include <QTest>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <map>
#include <set>

using namespace Vantora;

namespace {

constexpr qreal slack = 1.0; // edges this close count as touching

QRectF grown(const QRectF &rect)
{
    return rect.adjusted(-slack, -slack, slack, slack);
}

std::string describe(const QQuickItem *item)
{
    return (item->objectName() + u' ' + item->property("text").toString().left(30)).toStdString();
}

// What the viewer sees of a drawing (the item's whole by default), in window coordinates: cut by
// every clipping ancestor. `cut` tells whether anything but a scrolled list cut it.
QRectF onScreen(const QQuickItem *item, QRectF drawn = {}, bool *cut = nullptr)
{
    QRectF seen = item->mapRectToScene(drawn.isNull() ? item->boundingRect() : drawn);
    for (const QQuickItem *clip = item->parentItem(); clip && !seen.isEmpty();
         clip = clip->parentItem()) {
        const QRectF kept = clip->clip() ? seen & clip->mapRectToScene(clip->clipRect()) : seen;
        if (cut && !clip->inherits("QQuickFlickable") && !grown(kept).contains(seen))
            *cut = true;
        seen = kept;
    }
    return seen;
}

bool inSight(const QQuickItem *item)
{
    return grown(onScreen(item)).contains(item->mapRectToScene(item->boundingRect()));
}

// The texts and pictures the viewer sees, the sponsor's promotion (which lies over the card on
// purpose) left out: each whole in its place and cut only by scrolling, a text only where the
// lines of an answer run out.
void collectDrawings(const QQuickItem *item, qreal opacity, bool inControl,
                     QList<std::pair<const QQuickItem *, QRectF>> &found)
{
    opacity *= item->opacity();
    inControl = inControl || item->activeFocusOnTab();
    if (!item->isVisible() || opacity == 0 || item->objectName().startsWith(u"promotion"))
        return;
    QRectF drawn;
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty()) {
        drawn = item->boundingRect();
        const int budget = item->property("maximumLineCount").toInt();
        EXPECT_TRUE(
            !item->property("truncated").toBool()
            || (inControl && budget < INT_MAX && item->property("lineCount").toInt() == budget))
            << describe(item) << " is cut";
    } else if (const auto *picture = qobject_cast<const ImageView *>(item)) {
        drawn = picture->imageRect();
    }
    if (!drawn.isEmpty()) {
        bool cut = false;
        const QRectF seen = onScreen(item, drawn, &cut);
        EXPECT_FALSE(cut) << describe(item) << " is clipped";
        EXPECT_TRUE(grown(QRectF(QPointF(), item->size())).contains(drawn))
            << describe(item) << " spills out of its place";
        if (!seen.isEmpty())
            found.append({item, seen});
    }
    for (const QQuickItem *child : item->childItems())
        collectDrawings(child, opacity, inControl, found);
}

// The controls the remote can reach: the outermost visible, enabled items that take focus.
QList<QQuickItem *> controlsOf(QQuickItem *item, bool outermost = true)
{
    if (!item->isVisible() || !item->isEnabled())
        return {};
    if (!outermost && item->activeFocusOnTab())
        return {item};
    QList<QQuickItem *> found;
    for (QQuickItem *child : item->childItems())
        found += controlsOf(child, false);
    return found;
}

// Where a control is laid out in the view, as if nothing were scrolled and nothing grown.
QRectF laidOut(QQuickItem *control, QQuickItem *view)
{
    QRectF rect =
        control->parentItem()->mapRectToItem(view, QRectF(control->position(), control->size()));
    for (QQuickItem *item = control->parentItem(); item != view; item = item->parentItem()) {
        if (item->inherits("QQuickFlickable"))
            rect.translate(0, item->property("contentY").toReal());
    }
    return rect;
}

// How far `to` lies from `from` along an arrow (Up, Down, Left, Right): whether it is out of
// line (not overlapping across the arrow), then the gap between facing edges; the smaller, the
// nearer. None when `to` does not lie that way; Left and Right reach only the same row.
std::optional<std::pair<bool, qreal>> wayTo(const QRectF &from, const QRectF &to, int arrow)
{
    const bool vertical = arrow < 2;
    const bool inLine = vertical ? to.left() < from.right() && to.right() > from.left()
                                 : to.top() < from.bottom() && to.bottom() > from.top();
    const qreal gap = std::array{from.top() - to.bottom(), to.top() - from.bottom(),
                                 from.left() - to.right(), to.left() - from.right()}[arrow];
    if (gap < -slack || (!vertical && !inLine))
        return std::nullopt;
    return std::pair{!inLine, std::max<qreal>(gap, 0)};
}

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
        EXPECT_TRUE(QRectF(QPointF(), player).contains(view->mapRectToScene(view->boundingRect())));
        QList<std::pair<const QQuickItem *, QRectF>> seen;
        collectDrawings(view, 1, false, seen);
        for (qsizetype i = 0; i < seen.size(); ++i) {
            for (qsizetype j = i + 1; j < seen.size(); ++j) {
                const QRectF both = seen[i].second & seen[j].second;
                EXPECT_TRUE(both.width() <= slack || both.height() <= slack)
                    << describe(seen[i].first) << " lies over " << describe(seen[j].first);
            }
        }
        // A card the viewer has answered shows its result, which ends its column.
        if (auto *card = qobject_cast<VTAInteractionView *>(view);
            card && card->state() == InteractionState::completed) {
            const QQuickItem *scroll = card->scrollView();
            const qreal end = scroll->property("contentHeight").toReal() - scroll->height();
            EXPECT_NEAR(scroll->property("contentY").toReal(), std::max<qreal>(0, end), slack);
        }
        for (const QQuickItem *control : controlsOf(view))
            EXPECT_TRUE(!control->hasActiveFocus() || inSight(control)) << describe(control);
    }
}

// From each control on a fresh card, each arrow: the nearest control that way, in line first;
// nothing when none lies that way; Down after Up back where Up left. From the control a card
// starts on, every control can be reached.
TEST_P(LayoutTest, eachArrowReachesTheNearestControlThatWay)
{
    qsizetype count = 1, start = -1;
    std::map<qsizetype, std::set<qsizetype>> reaches;
    for (qsizetype from = 0; from < count; ++from) {
        Extreme::Player shown(QSize(1920, 1080));
        QQuickItem *view = shown.play(GetParam());
        const QList<QQuickItem *> controls = controlsOf(view);
        const auto focused = [&] {
            return std::find_if(controls.begin(), controls.end(),
                                [](QQuickItem *c) { return c->hasActiveFocus(); })
                - controls.begin();
        };
        count = controls.size();
        ASSERT_LT(start = focused(), count) << "the card starts with no control focused";
        for (int arrow = 0; arrow < 4; ++arrow) {
            SCOPED_TRACE(testing::Message()
                         << "arrow " << arrow << " from " << describe(controls[from]));
            controls[from]->forceActiveFocus();
            QTest::keyClick(
                &shown.window,
                std::array{Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Right}[arrow]);
            const qsizetype reached = focused();
            ASSERT_LT(reached, count) << "the focus left the card's controls";
            std::optional<std::pair<bool, qreal>> nearest, way;
            for (qsizetype to = 0; to < count; ++to) {
                way = wayTo(laidOut(controls[from], view), laidOut(controls[to], view), arrow);
                if (to != from && way && (!nearest || *way < *nearest))
                    nearest = way;
            }
            way = wayTo(laidOut(controls[from], view), laidOut(controls[reached], view), arrow);
            if (!nearest) {
                EXPECT_EQ(reached, from) << "moved where nothing lies";
                continue;
            }
            ASSERT_TRUE(reached != from && way) << "did not move that way";
            EXPECT_EQ(way->first, nearest->first);
            EXPECT_LE(way->second, nearest->second + slack) << "passed over a nearer control";
            EXPECT_TRUE(inSight(controls[reached])) << "the control reached is out of sight";
            reaches[from].insert(reached);
            if (arrow == 0) {
                QTest::keyClick(&shown.window, Qt::Key_Down);
                EXPECT_EQ(focused(), from) << "Down after Up went elsewhere";
            }
        }
    }
    std::set<qsizetype> seen{start};
    for (std::size_t before = 0; before != seen.size();) {
        before = seen.size();
        for (const qsizetype at : std::set(seen))
            seen.insert(reaches[at].begin(), reaches[at].end());
    }
    EXPECT_EQ(qsizetype(seen.size()), count) << "some controls cannot be reached";
}

INSTANTIATE_TEST_SUITE_P(Extreme, LayoutTest, testing::ValuesIn(Extreme::scenes()),
                         [](const testing::TestParamInfo<Extreme::Scene> &scene) {
                             return QString(scene.param.name).replace(u'-', u'_').toStdString();
                         });

} // namespace
