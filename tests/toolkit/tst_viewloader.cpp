#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/gradientview_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/viewloader_p.h"

#include <QQmlComponent>
#include <QQuickItem>

#include <gtest/gtest.h>

using namespace Vantora;

namespace {

// A view that binds the outlets of whatever layout it is the root of.
class OutletProbe : public QQuickItem
{
    Q_OBJECT
    Q_CLASSINFO("VantoraView", "")
public:
    QPointer<QQuickItem> titleLabel;
    QPointer<QQuickItem> required;

protected:
    void componentComplete() override
    {
        QQuickItem::componentComplete();
        Outlets outlets(this);
        outlets.bindOptional(titleLabel, "titleLabel");
        if (property("needs").toBool())
            outlets.bind(required, "needed");
    }
};

// A host's subclass with a layout of its own.
class HostButton : public FocusTvButton
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostButton.qml")
};

// A host's subclass that forgot to name one.
class UnnamedButton : public FocusTvButton
{
    Q_OBJECT
};

std::unique_ptr<QObject> create(const QByteArray &qml)
{
    QQmlComponent component(&sharedEngine());
    component.setData("import QtQuick\nimport Vantora.Toolkit\nimport Probes\n" + qml, QUrl());
    std::unique_ptr<QObject> object(component.create());
    EXPECT_TRUE(object) << component.errorString().toStdString();
    return object;
}

class ViewLoader : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        qmlRegisterType<OutletProbe>("Probes", 1, 0, "OutletProbe");
        qmlRegisterType<HostButton>("Probes", 1, 0, "HostButtonBase");
    }
};

} // namespace

// A host's subclass comes from the layout it names (the library's own views from theirs, as every
// button and card test shows); outlets come only from the view's own layout, not from a button
// inside it that has a "titleLabel" of its own.
TEST_F(ViewLoader, createsEachViewFromItsLayout)
{
    std::unique_ptr<HostButton> host(fromNib<HostButton>());
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->width(), 300) << "the host's layout, not the library's";
    EXPECT_EQ(host->titleLabel()->parentItem(), host.get());

    auto nested = create("OutletProbe { FocusTvButton {} }");
    EXPECT_EQ(static_cast<OutletProbe *>(nested.get())->titleLabel, nullptr);
    auto own = create("OutletProbe { FocusTvButton {} Item { Text { objectName: \"titleLabel\"; "
                      "text: \"mine\" } } }");
    auto *probe = static_cast<OutletProbe *>(own.get());
    ASSERT_NE(probe->titleLabel, nullptr);
    EXPECT_EQ(probe->titleLabel->property("text").toString(), QStringLiteral("mine"));
}

using ViewLoaderDeathTest = ViewLoader;

TEST_F(ViewLoaderDeathTest, aBrokenLayoutIsFatalAndSaysWhichView)
{
    EXPECT_DEATH(fromNib<OutletProbe>(), "OutletProbe: no layout OutletProbe.qml in the library");
    EXPECT_DEATH(fromNib<UnnamedButton>(), "UnnamedButton: no layout UnnamedButton.qml");
    EXPECT_DEATH(fromNib<GradientView>(),
                 "GradientView: the root of GradientView.qml is a QQuickItem");
    EXPECT_DEATH(fromNib<ImageView>(), "ImageView: its layout does not load: .*undefinedProperty");
    EXPECT_DEATH(create("OutletProbe { property bool needs: true }"),
                 "OutletProbe: outlet 'needed' missing");
    EXPECT_DEATH(
        create("OutletProbe { property bool needs: true; Timer { objectName: \"needed\" } }"),
        "OutletProbe: outlet 'needed' is a QQmlTimer, not a QQuickItem");
    EXPECT_DEATH(create("FocusTvButtonBase { GradientView { objectName: \"gradientView\" } }"),
                 "FocusTvButton: outlet 'titleLabel' missing");
}

#include "tst_viewloader.moc"
