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

// Two buttons on a shown window, in virtual time: the remote moves the focus between them.
class ButtonTest : public testing::Test
{
protected:
    ButtonTest()
    {
        window.resize(1920, 1080);
        for (FocusTvButton *button : {first.get(), second.get()}) {
            button->setParentItem(window.contentItem());
            button->setTitle(QStringLiteral("Answer"));
        }
        second->setY(200);
        window.show();
        window.requestActivate();
        clock.runPending();
    }
    void focus(FocusTvButton *button)
    {
        button->forceActiveFocus();
        clock.advanceBy(1s);
    }
    // The button's look, its gradient from start to end, its title's colour and its scale.
    static std::string look(const FocusTvButton *button)
    {
        std::string shown =
            QMetaEnum::fromType<FocusTvButton::Look>().valueToKey(int(button->look()));
        for (const QColor colour :
             {button->gradientView()->startColor(), button->gradientView()->endColor(),
              button->titleLabel()->property("color").value<QColor>()})
            shown += ' ' + colour.name(QColor::HexArgb).toStdString();
        return shown + ' ' + std::to_string(button->scale());
    }

    VirtualTimeScheduler clock;
    QQuickWindow window;
    std::unique_ptr<FocusTvButton> first{fromNib<FocusTvButton>()};
    std::unique_ptr<FocusTvButton> second{fromNib<FocusTvButton>()};
};

} // namespace

// White when idle, red and larger when focused (also when selected), black when selected with
// the focus elsewhere, each change animated over the animation duration; updateView() applies
// changed values to the current look.
TEST_F(ButtonTest, defaultsAreWhiteIdleRedAndLargerFocusedBlackSelected)
{
    EXPECT_EQ(look(first.get()), "Normal #ffffffff #ffffffff #ffffffff 1.000000");
    first->forceActiveFocus();
    clock.advanceBy(100ms);
    EXPECT_TRUE(first->scale() > 1.0 && first->scale() < 1.2) << first->scale();
    first->setSelected(true);
    clock.advanceBy(100ms);
    EXPECT_EQ(look(first.get()), "Focused #ffff0000 #ffff0000 #ffffffff 1.200000");
    first->animationDuration = 1.0;
    second->forceActiveFocus();
    clock.advanceBy(500ms);
    EXPECT_GT(first->scale(), 1.0) << "still on its way down";
    clock.advanceBy(500ms);
    EXPECT_EQ(look(first.get()), "Selected #ff000000 #ff000000 #ffffffff 1.000000");

    second->focusedScaleFactor = 1.08;
    second->focusedBackgroundColor = QColor(0x1E, 0x88, 0xE5);
    second->focusedBackgroundEndColor = QColor(0x0D, 0x47, 0xA1);
    second->focusedTitleColor = Qt::yellow;
    second->cornerRadius = 24;
    second->updateView();
    EXPECT_EQ(look(second.get()), "Focused #ff1e88e5 #ff0d47a1 #ffffff00 1.080000");
    EXPECT_EQ(second->gradientView()->cornerRadius(), 24);
}

// Held down, a button takes its own size; released, it chooses. Other keys choose nothing, and
// neither does a select key held while the button came to have the focus (a card appearing
// under the viewer's thumb), which repeats and is released here without having been pressed.
TEST_F(ButtonTest, theSelectKeyPressesAndReleasesTheButton)
{
    focus(first.get());
    QSignalSpy triggered(first.get(), &FocusTvButton::primaryActionTriggered);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Select}) {
        QTest::keyPress(&window, key);
        clock.advanceBy(200ms);
        EXPECT_DOUBLE_EQ(first->scale(), 1.0) << "held down: its own size";
        EXPECT_EQ(triggered.count(), 0);
        QTest::keyRelease(&window, key);
        clock.advanceBy(200ms);
        EXPECT_DOUBLE_EQ(first->scale(), 1.2);
        EXPECT_EQ(triggered.count(), 1) << key;
        triggered.clear();
    }
    QTest::keyClick(&window, Qt::Key_Space);
    QTest::keyClick(&window, Qt::Key_Down);
    clock.advanceBy(200ms);
    EXPECT_DOUBLE_EQ(first->scale(), 1.2);
    EXPECT_EQ(triggered.count(), 0) << "other keys are not the select key";
    QSignalSpy secondTriggered(second.get(), &FocusTvButton::primaryActionTriggered);
    QTest::keyPress(&window, Qt::Key_Select);
    focus(second.get());
    QTest::keyRelease(&window, Qt::Key_Select);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Select, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(&window, &repeat);
    QTest::keyRelease(&window, Qt::Key_Select);
    EXPECT_EQ(triggered.count() + secondTriggered.count(), 0);
}

// On a wide item the bands of a (0,0)→(1,1) gradient run parallel to the other diagonal: its two
// other corners get the same colour, the ends their own.
TEST(GradientView, unitPointsRunCornerToCornerOnAnyShape)
{
    GradientView view;
    view.setSize(QSizeF(400, 100));
    view.setStartColor(QColor(255, 0, 0));
    view.setEndColor(QColor(0, 0, 255));
    QImage image(400, 100, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    view.paint(&painter);
    painter.end();
    EXPECT_NEAR(image.pixelColor(399, 0).red(), image.pixelColor(0, 99).red(), 3);
    EXPECT_NEAR(image.pixelColor(399, 0).blue(), image.pixelColor(0, 99).blue(), 3);
    EXPECT_NEAR(image.pixelColor(1, 1).red(), 255, 6);
    EXPECT_NEAR(image.pixelColor(398, 98).blue(), 255, 6);
}
