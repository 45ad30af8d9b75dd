// What vantora-tv reports as on screen: only texts a viewer could see, in painting order, with
// rich text as it reads, and the focused item's own texts.

#include "scenedump.h"
#include "testsupport.h"

#include <QJsonArray>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickView>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr char scene[] = R"(
import QtQuick
Item {
    width: 800; height: 600
    Text { objectName: "title"; text: "Shown" }
    Text { y: 40; text: "Hidden"; visible: false }
    Item { visible: false; Text { text: "Parent hidden" } }
    Text { y: 80; text: "Transparent"; opacity: 0 }
    Item { opacity: 0.5; Item { opacity: 0.01; Text { y: 120; text: "Faded out" } } }
    Item {
        y: 160; width: 100; height: 40; clip: true
        Text { text: "Inside the clip" }
        Text { x: 200; text: "Clipped away" }
    }
    Text { x: 900; text: "Beyond the right edge" }
    Text { y: 600; text: "Below the window" }
    Text { y: 200; textFormat: Text.RichText; text: "<b>Bold</b> &amp; plain" }
    Text { y: 240; text: "   " }
    Rectangle {
        objectName: "answer"; y: 280; width: 300; height: 60; focus: true
        Text { objectName: "answerLabel"; text: "On the sofa" }
        Text { y: 30; text: "Not shown"; visible: false }
    }
    Text { y: 400; text: "Painted last" }
}
)";

TEST(SceneDump, ListsWhatAViewerCanSeeInPaintingOrderAndTheFocusedItemsOwnTexts)
{
    QQuickView view;
    QQmlComponent component(view.engine());
    component.setData(scene, QUrl(u"scene.qml"_s));
    ASSERT_TRUE(component.isReady()) << component.errorString().toStdString();
    view.setContent(QUrl(), &component, component.create());
    view.resize(800, 600);
    view.show();
    view.requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));

    QStringList shown;
    for (const VisibleText &text : visibleTexts(&view))
        shown.append(text.text);
    EXPECT_EQ(shown,
              (QStringList{u"Shown"_s, u"Inside the clip"_s, u"Bold & plain"_s, u"On the sofa"_s,
                           u"Painted last"_s}));
    EXPECT_EQ(visibleTexts(&view).value(0).name, u"title"_s);

    const QJsonObject dump = sceneDump(&view, 12.34, true);
    EXPECT_EQ(dump["videoTime"_L1].toDouble(), 12.3);
    EXPECT_TRUE(dump["playing"_L1].toBool());
    EXPECT_EQ(dump["focus"_L1]["name"_L1].toString(), u"answer"_s);
    EXPECT_EQ(dump["focus"_L1]["texts"_L1].toArray(), QJsonArray{u"On the sofa"_s});
    const QJsonArray texts = dump["texts"_L1].toArray();
    ASSERT_EQ(texts.size(), 5);
    EXPECT_EQ(texts[3].toObject(),
              (QJsonObject{{u"name"_s, u"answerLabel"_s},
                           {u"text"_s, u"On the sofa"_s},
                           {u"x"_s, 0},
                           {u"y"_s, 280},
                           {u"width"_s, texts[3]["width"_L1]},
                           {u"height"_s, texts[3]["height"_L1]}}));
    EXPECT_GT(texts[3]["width"_L1].toDouble(), 0);
}

} // namespace
