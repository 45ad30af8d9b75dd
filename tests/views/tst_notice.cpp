#include "viewtest.h"

#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/views/notice/noticedelegate_p.h"
#include <vantora/views/notice/vtanotice.h>

#include <QQmlEngine>
#include <QTest>

using namespace Vantora;
using namespace std::chrono_literals;

namespace {

// An overlay stand-in that writes down every close it is asked for.
class RecordingNoticeDelegate : public QObject, public NoticeDelegate
{
    Q_OBJECT
    Q_INTERFACES(Vantora::NoticeDelegate)

public:
    QStringList calls;

    void closeNotice(VTANotice *view, bool fromButton) override
    {
        calls.append(QStringLiteral("closeNotice(%1, %2)")
                         .arg(view->noticeId(), QLatin1StringView(fromButton ? "button" : "-")));
    }
};

// A host's own notice with its own layout, as an app hands one in.
class HostNotice : public VTANotice
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostNotice.qml")
};

Poll prediction()
{
    Poll poll;
    poll.id = QStringLiteral("p7");
    poll.question = QStringLiteral("Who wins the match?");
    poll.questionType = QStringLiteral("prediction");
    return poll;
}

class NoticeTest : public CardTest
{
protected:
    NoticeTest()
    {
        card.reset();
        notice.reset(fromNib<VTANotice>());
        notice->setParentItem(window.contentItem());
        notice->setPosition(QPointF(1920 - notice->width(), 60));
        notice->setDelegate(&noticeOverlay);
    }

    void configure(bool didWin, double winAmount, double totalPoints,
                   std::optional<DesignInfo> design = std::nullopt)
    {
        notice->configure({QStringLiteral("Home"), winAmount, QStringLiteral("p7")}, prediction(),
                          didWin, totalPoints, QStringLiteral("Home"), design);
    }

    RecordingNoticeDelegate noticeOverlay;
    std::unique_ptr<VTANotice> notice;
};

} // namespace

TEST_F(NoticeTest, aWinOrALossReadsAsTheViewerSeesIt)
{
    const struct
    {
        const char *name;
        bool didWin;
        double winAmount, total;
        const char *title, *points, *score;
    } rows[] = {
        {"whole points", true, 7.0, 1340, "CONGRATULATIONS!", "+7 pts", "1,340.0"},
        {"thousands", true, 1250, 12.25, "CONGRATULATIONS!", "+1,250 pts", "12.2"},
        {"a fraction", true, 12.5, 0, "CONGRATULATIONS!", "+12.5 pts", "0.0"},
        {"a loss", false, 50, 80.5, "Wrong Prediction", nullptr, "80.5"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        notice.reset(fromNib<VTANotice>());
        configure(row.didWin, row.winAmount, row.total);
        EXPECT_EQ(text(notice->titleLabel()), QLatin1StringView(row.title));
        EXPECT_EQ(text(notice->infoLabel()),
                  QStringLiteral("For choosing \"Home\" on \"Who wins the match?\""));
        EXPECT_EQ(notice->pointsLabel()->isVisible(), row.didWin);
        if (row.points) {
            EXPECT_EQ(text(notice->pointsLabel()), QLatin1StringView(row.points));
        }
        EXPECT_EQ(notice->iconRight()->isVisible(), row.didWin);
        EXPECT_EQ(notice->iconWrong()->isVisible(), !row.didWin);
        EXPECT_FALSE(notice->iconRight()->image().isNull());
        EXPECT_FALSE(notice->iconWrong()->image().isNull());
        EXPECT_EQ(text(notice->scoreTitleLabel()), QStringLiteral("Total Score:"));
        EXPECT_EQ(text(notice->totalPointsLabel()), QLatin1StringView(row.score));
        EXPECT_EQ(notice->noticeId(), QStringLiteral("noticep7"));
        EXPECT_EQ(notice->mainContainer()->property("radius").toReal(), 32);
        EXPECT_TRUE(notice->mainContainer()->clip());
    }
}

TEST_F(NoticeTest, theScoreTakesOverAfterThreeAndAHalfSeconds)
{
    for (bool didWin : {true, false}) {
        SCOPED_TRACE(didWin ? "won" : "lost");
        notice.reset(fromNib<VTANotice>());
        notice->setParentItem(window.contentItem());
        configure(didWin, 10, 100);
        EXPECT_TRUE(notice->textContainer()->isVisible());
        EXPECT_FALSE(notice->pointsContainer()->isVisible());
        clock.advanceBy(3490ms);
        EXPECT_DOUBLE_EQ(notice->textContainer()->opacity(), 1.0);
        clock.advanceBy(210ms); // fading out
        EXPECT_GT(notice->textContainer()->opacity(), 0.0);
        EXPECT_LT(notice->textContainer()->opacity(), 1.0);
        EXPECT_FALSE(notice->pointsContainer()->isVisible());
        clock.advanceBy(200ms); // faded out; the score starts from nothing
        EXPECT_FALSE(notice->textContainer()->isVisible());
        EXPECT_TRUE(notice->pointsContainer()->isVisible());
        EXPECT_LT(notice->pointsContainer()->opacity(), 0.1);
        clock.advanceBy(400ms);
        EXPECT_DOUBLE_EQ(notice->pointsContainer()->opacity(), 1.0);
        clock.advanceBy(20s);
        EXPECT_TRUE(notice->pointsContainer()->isVisible()) << "it switches once, never back";
        EXPECT_TRUE(noticeOverlay.calls.isEmpty()) << "and never closes itself";
    }
}

TEST_F(NoticeTest, aNoticeTakenAwayEarlyLeavesNothingBehind)
{
    configure(true, 10, 100);
    notice->setParentItem(nullptr); // off the screen, still alive: switches unseen
    clock.advanceBy(4500ms);
    EXPECT_TRUE(notice->pointsContainer()->isVisible());

    notice.reset(fromNib<VTANotice>());
    configure(false, 10, 100);
    clock.advanceBy(1s);
    notice.reset(); // gone before the switch
    clock.advanceBy(10s);
    EXPECT_EQ(clock.pendingCount(), 0);
}

TEST_F(NoticeTest, theCloseButtonAsksTheOverlay)
{
    configure(true, 10, 100);
    notice->forceActiveFocus();
    EXPECT_TRUE(notice->closeButton()->hasActiveFocus());
    QTest::keyClick(&window, Qt::Key_Select);
    QTest::keyClick(&window, Qt::Key_Return);
    EXPECT_EQ(noticeOverlay.calls,
              (QStringList{QStringLiteral("closeNotice(noticep7, button)"),
                           QStringLiteral("closeNotice(noticep7, button)")}))
        << "the overlay decides what a second close does";
    EXPECT_FALSE(notice->isClosing()) << "the overlay sets it";

    noticeOverlay.calls.clear();
    notice->setDelegate(nullptr);
    QTest::keyClick(&window, Qt::Key_Select);
    EXPECT_TRUE(noticeOverlay.calls.isEmpty());
}

TEST_F(NoticeTest, theDesignColoursTextsAmountsAndTheCloseButton)
{
    const QColor original = notice->titleLabel()->property("color").value<QColor>();
    configure(true, 10, 100, DesignInfo{{}, {}, {}, QStringLiteral("#F00"), {}, {}});
    EXPECT_EQ(notice->titleLabel()->property("color").value<QColor>(), original) << "not a colour";

    configure(true, 10, 100,
              DesignInfo{{}, {}, {}, QStringLiteral("#FFD54F"), {}, QStringLiteral("#1E88E5CC")});
    const QColor text(0xFF, 0xD5, 0x4F);
    const QColor amount(0x1E, 0x88, 0xE5, 0xCC);
    for (QQuickItem *label : {notice->titleLabel(), notice->infoLabel(), notice->scoreTitleLabel()})
        EXPECT_EQ(label->property("color").value<QColor>(), text);
    for (QQuickItem *label : {notice->pointsLabel(), notice->totalPointsLabel()})
        EXPECT_EQ(label->property("color").value<QColor>(), amount);
    EXPECT_EQ(notice->closeButton()->normalTitleColor, text);
    EXPECT_EQ(notice->closeButton()->titleLabel()->property("color").value<QColor>(), text);
}

TEST_F(NoticeTest, tagsStayDistinctWithinOneMillisecond)
{
    clock.setWallClockMSecs(978307200000 + 7000);
    configure(true, 10, 100);
    std::unique_ptr<VTANotice> second(fromNib<VTANotice>());
    second->configure({}, prediction(), false, 0, QString(), std::nullopt);
    EXPECT_EQ(notice->tag(), 7000);
    EXPECT_EQ(second->tag(), 7001);
}

TEST_F(NoticeTest, aHostSubclassLoadsWithItsOwnLayout)
{
    qmlRegisterType<HostNotice>("HostCards", 1, 0, "HostNoticeBase");
    std::unique_ptr<HostNotice> host(VTAViews::create<HostNotice>());
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->width(), 500) << "the host's layout, not the library's";
    host->configure({QStringLiteral("Home"), 3, {}}, prediction(), true, 3, QStringLiteral("Home"),
                    std::nullopt);
    EXPECT_EQ(text(host->pointsLabel()), QStringLiteral("+3 pts"));
}

#include "tst_notice.moc"
