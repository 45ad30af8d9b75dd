#include "viewtest.h"

#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/views/promotionview/promotionview_p.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QTest>

using namespace Vantora;
using namespace std::chrono_literals;
using State = InteractionState;

namespace {

QByteArray png(QColor color)
{
    QImage image(8, 8, QImage::Format_ARGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

Promotion promotion(const char *viewType)
{
    Promotion promotion;
    promotion.viewType.value = QString::fromLatin1(viewType);
    promotion.content = QStringLiteral("<b>Brought to you by Acme</b>");
    promotion.smart_tv_img = QStringLiteral("promotions/acme.png");
    return promotion;
}

} // namespace

TEST_F(CardTest, everyViewOfTheLibraryLoadsWithAllItsOutlets)
{
    // Outlets are resolved as each view completes; a missing one would have been fatal.
    for (const QMetaObject *type :
         {&VTAInfoView::staticMetaObject, &VTAInteractionView::staticMetaObject,
          &FocusTvButton::staticMetaObject}) {
        SCOPED_TRACE(type->className());
        std::unique_ptr<QObject> view(createFromLayout(*type));
        auto *item = qobject_cast<QQuickItem *>(view.get());
        ASSERT_NE(item, nullptr);
        EXPECT_GT(item->width(), 0);
        EXPECT_GT(item->height(), 0);
    }
    ASSERT_NE(card->infoView(), nullptr);
    EXPECT_EQ(card->infoView()->parentItem(), card->infoContainer());
    EXPECT_EQ(card->infoView()->width(), card->infoContainer()->width());
}

TEST_F(CardTest, theCountdownShowsMinutesFromSixtySeconds)
{
    const struct
    {
        qint64 time;
        const char *first;
        const char *second;
    } rows[] = {{75, "1m", "15 SEC"}, {60, "1m", "0 SEC"}, {59, "59", "SEC"},     {0, "0", "SEC"},
                {125, "2m", "5 SEC"}, {-5, "-5", "SEC"},   {-61, "-1m", "-1 SEC"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.time);
        card->setTime(row.time);
        card->displayTime();
        EXPECT_EQ(text(card->infoView()->timerLabel1()), QLatin1StringView(row.first));
        EXPECT_EQ(text(card->infoView()->timerLabel2()), QLatin1StringView(row.second));
    }
}

TEST_F(CardTest, theCountdownClosesOnlyAnUnansweredCard)
{
    const struct
    {
        State state;
        bool closing;
        QStringList calls;
    } rows[] = {{State::active, false, {QStringLiteral("close(no button)")}},
                {State::loading, false, {}},
                {State::completed, false, {}},
                {State::active, true, {}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << int(row.state) << " closing " << row.closing);
        overlay.calls.clear();
        card->applyState(row.state);
        card->setClosing(row.closing);
        card->setTime(3);
        card->startTimer();
        clock.advanceBy(2s);
        EXPECT_EQ(text(card->infoView()->timerLabel1()), QStringLiteral("1"));
        EXPECT_TRUE(overlay.calls.isEmpty());
        clock.advanceBy(1s);
        EXPECT_EQ(text(card->infoView()->timerLabel1()), QStringLiteral("0"));
        EXPECT_EQ(overlay.calls, row.calls);
        clock.advanceBy(10s);
        EXPECT_EQ(card->time(), 0) << "the timer stopped at zero";
        EXPECT_EQ(clock.pendingCount(), 0);
    }
}

TEST_F(CardTest, startingTheCountdownAgainReplacesIt)
{
    card->setTime(10);
    card->startTimer();
    clock.advanceBy(500ms);
    card->startTimer();
    clock.advanceBy(3s);
    EXPECT_EQ(card->time(), 7);
}

TEST_F(CardTest, closingPathsAndTheirAnalytics)
{
    const QString byButton = QStringLiteral("close(button)");
    const QString closeEvent = QStringLiteral("analytics(close, activity)");
    const struct
    {
        const char *name;
        State state;
        bool closing;
        bool tap; ///< the close button, else closeIfCompleted()
        QStringList calls;
    } rows[] = {
        {"tap while active", State::active, false, true, {closeEvent, byButton}},
        {"tap while loading", State::loading, false, true, {byButton}},
        {"tap when completed", State::completed, false, true, {byButton}},
        {"tap while closing", State::active, true, true, {}},
        {"completed", State::completed, false, false, {QStringLiteral("close(no button)")}},
        {"completed while closing", State::completed, true, false, {}},
        {"not completed: active", State::active, false, false, {}},
        {"not completed: loading", State::loading, false, false, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        overlay.calls.clear();
        card->applyState(row.state);
        card->setClosing(row.closing);
        if (row.tap)
            card->closeTap();
        else
            card->closeIfCompleted();
        EXPECT_EQ(overlay.calls, row.calls);
    }

    card->setClosing(false);
    card->applyState(State::active);
    overlay.calls.clear();
    card->infoView()->closeButton()->forceActiveFocus();
    QTest::keyClick(&window, Qt::Key_Select);
    clock.runPending();
    EXPECT_EQ(overlay.calls, (QStringList{closeEvent, byButton})) << "the remote's close button";
    overlay.calls.clear();
    card->infoView()->accountButton()->forceActiveFocus();
    QTest::keyClick(&window, Qt::Key_Select);
    clock.runPending();
    EXPECT_TRUE(overlay.calls.isEmpty()) << "the account button closes nothing";

    card->setDelegate(nullptr);
    card->closeTap();
    card->applyState(State::completed);
    card->closeIfCompleted();
    EXPECT_TRUE(overlay.calls.isEmpty());
}

TEST_F(CardTest, eachStateShowsItsOwnParts)
{
    const struct
    {
        State state;
        bool timer, points, icon, indicator;
    } rows[] = {{State::active, true, false, true, false},
                {State::loading, false, true, false, true},
                {State::completed, false, true, true, false}};
    card->mainIcon()->setImage(imageWithColor(Qt::white)); // the channel's logo
    for (const auto &row : rows) {
        SCOPED_TRACE(int(row.state));
        card->applyState(row.state);
        EXPECT_EQ(card->state(), row.state);
        EXPECT_EQ(card->infoView()->timerView()->isVisible(), row.timer);
        EXPECT_EQ(card->infoView()->pointsView()->isVisible(), row.points);
        EXPECT_EQ(card->mainIcon()->isVisible(), row.icon);
        EXPECT_EQ(card->indicator()->isVisible(), row.indicator);
        EXPECT_EQ(card->indicator()->property("running").toBool(), row.indicator);
    }
}

TEST_F(CardTest, pointsShowWithAtMostOneDecimalAndGroupedThousands)
{
    const struct
    {
        double points;
        qint64 level;
        const char *shown;
    } rows[] = {{1000, 1, "1,000"}, {2.25, 2, "2.2"}, {7, 3, "7"}, {1234.5, 12, "1,234.5"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.points);
        card->updatePoints({row.points, 99.5, row.level});
        EXPECT_EQ(text(card->infoView()->pointsLabel()), QLatin1StringView(row.shown));
        EXPECT_EQ(text(card->infoView()->levelLabel()), QString::number(row.level));
    }
}

TEST_F(CardTest, theDesignColoursTextsAndButtonsAndLoadsImages)
{
    backend->answer(QStringLiteral("/designs/bg.png"), {200, png(Qt::darkBlue), {}});
    backend->answer(QStringLiteral("/designs/logo.png"), {200, png(Qt::yellow), {}});
    const QColor originalTitle = card->titleLabel()->property("color").value<QColor>();

    card->applyDesign(std::nullopt);
    card->applyDesign(DesignInfo{{},
                                 QString(),
                                 QString(),
                                 QStringLiteral("#FFF"),
                                 QStringLiteral("Serif"),
                                 QStringLiteral("red")});
    clock.runPending();
    EXPECT_TRUE(backend->requests().isEmpty()) << "empty image fields load nothing";
    EXPECT_EQ(card->titleLabel()->property("color").value<QColor>(), originalTitle);

    card->applyDesign(DesignInfo{QStringLiteral("SmartTV"), QStringLiteral("designs/bg.png"),
                                 QStringLiteral("/designs/logo.png"), QStringLiteral("#FFD54FFF"),
                                 std::nullopt, QStringLiteral("#1E88E5")});
    clock.runPending();
    const QColor text(0xFF, 0xD5, 0x4F);
    EXPECT_EQ(card->titleLabel()->property("color").value<QColor>(), text);
    EXPECT_EQ(card->infoView()->pointsLabel()->property("color").value<QColor>(), text);
    EXPECT_EQ(card->infoView()->separator()->property("color").value<QColor>(), text);
    for (FocusTvButton *button :
         {card->infoView()->accountButton(), card->infoView()->closeButton()}) {
        EXPECT_EQ(button->focusedBackgroundColor, QColor(0x1E, 0x88, 0xE5));
        EXPECT_EQ(button->normalTitleColor, text);
        EXPECT_EQ(button->focusedTitleColor, text) << "one title colour, focused or not";
    }
    EXPECT_EQ(card->backgroundView()->image().pixelColor(1, 1), QColor(Qt::darkBlue));
    EXPECT_EQ(card->mainIcon()->image().pixelColor(1, 1), QColor(Qt::yellow));
}

TEST_F(CardTest, aDisplayPromotionSlidesInBesideTheCard)
{
    backend->answer(QStringLiteral("/promotions/acme.png"), {200, png(Qt::green), {}});
    card->preparePromotion(promotion("display"));
    clock.runPending();
    PromotionView *view = card->promotionView();
    ASSERT_NE(view, nullptr);
    EXPECT_FALSE(card->promotionContainer()->isVisible());
    EXPECT_TRUE(view->imageMode());
    EXPECT_EQ(view->size(), card->promotionContainer()->size());

    card->showPromotion(promotion("display"));
    EXPECT_TRUE(card->promotionContainer()->isVisible());
    EXPECT_DOUBLE_EQ(view->x(), card->width()) << "starts one card width to the right";
    clock.advanceBy(250ms);
    EXPECT_GT(view->x(), 0);
    EXPECT_LT(view->x(), card->width());
    clock.advanceBy(250ms);
    EXPECT_DOUBLE_EQ(view->x(), 0);
    EXPECT_EQ(view->imageView()->image().pixelColor(1, 1), QColor(Qt::green));
}

TEST_F(CardTest, aFlipPromotionGrowsOverTheDimmedCard)
{
    card->preparePromotion(promotion("flip"));
    PromotionView *view = card->promotionView();
    ASSERT_NE(view, nullptr);
    EXPECT_FALSE(view->imageMode());
    EXPECT_FALSE(card->promotionFlipContainer()->isVisible());
    EXPECT_TRUE(backend->requests().isEmpty()) << "a text promotion loads no picture";

    card->showPromotion(promotion("flip"));
    EXPECT_TRUE(card->promotionFlipContainer()->isVisible());
    EXPECT_DOUBLE_EQ(view->scale(), 0.0);
    clock.advanceBy(200ms);
    EXPECT_GT(view->scale(), 0.0);
    EXPECT_LT(view->scale(), 1.0);
    clock.advanceBy(200ms);
    EXPECT_DOUBLE_EQ(view->scale(), 1.0);
    const QColor dim = card->promotionFlipContainer()->property("color").value<QColor>();
    EXPECT_EQ(dim.rgb() & 0xFFFFFF, 0u);
    EXPECT_NEAR(dim.alphaF(), 0.6, 0.01);
}

TEST_F(CardTest, otherPromotionKindsShowNothing)
{
    for (const char *kind : {"", "banner", "Display"}) {
        SCOPED_TRACE(kind);
        card->preparePromotion(promotion(kind));
        card->showPromotion(promotion(kind));
        EXPECT_EQ(card->promotionView(), nullptr);
    }
    card->preparePromotion(std::nullopt);
    EXPECT_EQ(card->promotionView(), nullptr);
    EXPECT_FALSE(card->promotionContainer()->isVisible());
    EXPECT_FALSE(card->promotionFlipContainer()->isVisible());
}

TEST_F(CardTest, theRemoteGoesToTheFirstAnswerWhileActiveElseToClose)
{
    auto *first = fromNib<FocusTvButton>();
    auto *second = fromNib<FocusTvButton>();
    first->setParentItem(card->answerStack());
    second->setParentItem(card->answerStack());
    card->applyState(State::active);
    EXPECT_EQ(card->preferredFocusItem(), first);
    card->focusPreferredItem();
    EXPECT_TRUE(first->hasActiveFocus());
    for (State state : {State::loading, State::completed}) {
        card->applyState(state);
        EXPECT_EQ(card->preferredFocusItem(), card->infoView()->closeButton());
    }
    delete first;
    delete second;
    card->applyState(State::active);
    EXPECT_EQ(card->preferredFocusItem(), card->infoView()->closeButton()) << "no answers";
}

TEST_F(CardTest, tagsAreMillisecondsSince2001AndNeverRepeat)
{
    clock.setWallClockMSecs(978307200000 + 5000);
    card->stampTag();
    EXPECT_EQ(card->tag(), 5000);
    std::unique_ptr<VTAInteractionView> other(fromNib<VTAInteractionView>());
    other->stampTag();
    EXPECT_EQ(other->tag(), 5001) << "same millisecond, next tag";
    clock.advanceBy(10ms);
    card->stampTag();
    EXPECT_EQ(card->tag(), 5010);
}
