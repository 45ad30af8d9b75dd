#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/gradientview_p.h"
#include "vantora/toolkit/viewloader_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace Vantora;
using namespace std::chrono_literals;

namespace {

void expectLook(const FocusTvButton *button, QColor start, QColor end, QColor title, qreal scale)
{
    EXPECT_EQ(button->gradientView()->startColor(), start);
    EXPECT_EQ(button->gradientView()->endColor(), end);
    EXPECT_EQ(button->titleLabel()->property("color").value<QColor>(), title);
    EXPECT_DOUBLE_EQ(button->scale(), scale);
}

// Two buttons on a shown window, in virtual time: the remote moves the focus between them.
class ButtonTest : public testing::Test
{
protected:
    ButtonTest()
    {
        window.resize(1920, 1080);
        first = fromNib<FocusTvButton>();
        second = fromNib<FocusTvButton>();
        for (FocusTvButton *button : {first, second}) {
            button->setParentItem(window.contentItem());
            button->setTitle(QStringLiteral("Answer"));
        }
        second->setY(200);
        window.show();
        window.requestActivate();
        clock.runPending();
    }

    ~ButtonTest() override
    {
        delete first;
        delete second;
    }

    void focus(FocusTvButton *button)
    {
        button->forceActiveFocus();
        clock.advanceBy(1s);
    }

    VirtualTimeScheduler clock;
    QQuickWindow window;
    FocusTvButton *first = nullptr;
    FocusTvButton *second = nullptr;
};

} // namespace

TEST_F(ButtonTest, defaultsAreWhiteIdleRedAndLargerFocusedBlackSelected)
{
    const QColor white(Qt::white), red(Qt::red), black(Qt::black);
    {
        SCOPED_TRACE("idle");
        expectLook(first, white, white, white, 1.0);
        EXPECT_EQ(first->look(), FocusTvButton::Look::Normal);
    }
    focus(first);
    {
        SCOPED_TRACE("focused");
        expectLook(first, red, red, white, 1.2);
    }
    first->setSelected(true);
    clock.runPending();
    {
        SCOPED_TRACE("focused wins over selected");
        EXPECT_EQ(first->look(), FocusTvButton::Look::Focused);
        expectLook(first, red, red, white, 1.2);
    }
    focus(second);
    {
        SCOPED_TRACE("selected, focus elsewhere");
        EXPECT_EQ(first->look(), FocusTvButton::Look::Selected);
        expectLook(first, black, black, white, 1.0);
    }
}

TEST_F(ButtonTest, focusChangesAnimateOverTheAnimationDuration)
{
    first->forceActiveFocus();
    clock.advanceBy(100ms);
    EXPECT_GT(first->scale(), 1.0);
    EXPECT_LT(first->scale(), 1.2);
    clock.advanceBy(100ms);
    EXPECT_DOUBLE_EQ(first->scale(), 1.2);

    first->animationDuration = 1.0;
    second->forceActiveFocus();
    clock.advanceBy(500ms);
    EXPECT_GT(first->scale(), 1.0) << "still on its way down";
    clock.advanceBy(500ms);
    EXPECT_DOUBLE_EQ(first->scale(), 1.0);
}

TEST_F(ButtonTest, updateViewAppliesChangedValuesToTheCurrentLook)
{
    focus(first);
    first->focusedScaleFactor = 1.08;
    first->focusedBackgroundColor = QColor(0x1E, 0x88, 0xE5);
    first->focusedBackgroundEndColor = QColor(0x0D, 0x47, 0xA1);
    first->focusedTitleColor = Qt::yellow;
    first->cornerRadius = 24;
    EXPECT_DOUBLE_EQ(first->scale(), 1.2) << "nothing changes before updateView()";
    first->updateView();
    expectLook(first, QColor(0x1E, 0x88, 0xE5), QColor(0x0D, 0x47, 0xA1), Qt::yellow, 1.08);
    EXPECT_EQ(first->gradientView()->cornerRadius(), 24);
    EXPECT_EQ(first->gradientView()->startPoint(), QPointF(0, 0));
    EXPECT_EQ(first->gradientView()->endPoint(), QPointF(1, 1));
}

TEST_F(ButtonTest, theSelectKeyPressesAndReleasesTheButton)
{
    focus(first);
    QSignalSpy triggered(first, &FocusTvButton::primaryActionTriggered);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Select}) {
        SCOPED_TRACE(key);
        QTest::keyPress(&window, key);
        clock.advanceBy(200ms);
        EXPECT_DOUBLE_EQ(first->scale(), 1.0) << "held down: its own size";
        EXPECT_EQ(triggered.count(), 0);
        QTest::keyRelease(&window, key);
        clock.advanceBy(200ms);
        EXPECT_DOUBLE_EQ(first->scale(), 1.2);
        EXPECT_EQ(triggered.count(), 1);
        triggered.clear();
    }

    QTest::keyPress(&window, Qt::Key_Space);
    QTest::keyRelease(&window, Qt::Key_Space);
    QTest::keyClick(&window, Qt::Key_Down);
    clock.advanceBy(200ms);
    EXPECT_EQ(triggered.count(), 0) << "other keys are not the select key";
    EXPECT_DOUBLE_EQ(first->scale(), 1.2);

    // A key held while the button came to have the focus (a card appearing under the viewer's
    // thumb) repeats and is released here without having been pressed here: nothing is chosen.
    QSignalSpy secondTriggered(second, &FocusTvButton::primaryActionTriggered);
    QTest::keyPress(&window, Qt::Key_Select);
    focus(second);
    QTest::keyRelease(&window, Qt::Key_Select);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Select, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(&window, &repeat);
    QTest::keyRelease(&window, Qt::Key_Select);
    EXPECT_EQ(triggered.count(), 0);
    EXPECT_EQ(secondTriggered.count(), 0);
}

TEST(GradientView, unitPointsRunCornerToCornerOnAnyShape)
{
    // On a wide item the bands of a (0,0)→(1,1) gradient run parallel to the other diagonal:
    // its two other corners get the same colour, the middle one between the ends.
    GradientView view;
    view.setSize(QSizeF(400, 100));
    view.setStartColor(QColor(255, 0, 0));
    view.setEndColor(QColor(0, 0, 255));
    QImage image(400, 100, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    view.paint(&painter);
    painter.end();

    const QColor topRight = image.pixelColor(399, 0);
    const QColor bottomLeft = image.pixelColor(0, 99);
    EXPECT_NEAR(topRight.red(), bottomLeft.red(), 3);
    EXPECT_NEAR(topRight.blue(), bottomLeft.blue(), 3);
    EXPECT_NEAR(image.pixelColor(1, 1).red(), 255, 6);
    EXPECT_NEAR(image.pixelColor(398, 98).blue(), 255, 6);
}
