// The display gate: one card at a time, its placement and slides, the pause and focus requests,
// auto-close, and what happens to items that arrive while a card slides out.

#include "overlaytest.h"
#include "vantora/toolkit/viewloader_p.h"
#include <vantora/views/poll/vtapollview.h>
#include <vantora/views/trivia/vtatriviaview.h>

#include <QSignalSpy>

// Hands the overlay built-in poll cards of a chosen height.
struct ShortCards : VTALayoutDelegate
{
    VTAPollView *customPollView() override
    {
        auto *view = fromNib<VTAPollView>();
        view->setHeight(300);
        return view;
    }
};

struct DisplayTest : OverlayTest
{
    void SetUp() override { load(); }

    void show(const QString &id, const QString &type, InteractionOptions options = {30})
    {
        controller->displayInteraction(id, type, options, false);
        clock.runPending();
    }
};

TEST_F(DisplayTest, eachModuleFindsItsRecordAndLogsItsKind)
{
    for (const QStringList &row : caseTable(u"overlay_cases.txt", u"modules")) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const bool shown = row[2] != u"-"_s;
        EXPECT_EQ(linesOf([&] { show(row[0], row[1]); }),
                  shown ? QStringList{row[2]} : QStringList{});
        EXPECT_EQ(shownID(), shown ? row[0] : QString());
        closeCard();
    }
}

TEST_F(DisplayTest, aNewItemReplacesTheCardAndOneArrivingDuringASlideOutWaitsOnce)
{
    // The host answers every focus request by focusing the overlay: the card on screen has it.
    QObject::connect(overlay, &VTAOverlayView::focusRequested, overlay,
                     [this] { overlay->forceActiveFocus(); });
    show(u"p1"_s, u"polls"_s);
    QPointer<VTAInteractionView> first = card();
    EXPECT_TRUE(first->isAncestorOf(window.activeFocusItem()));
    show(u"p2"_s, u"polls"_s);
    clock.advanceBy(599ms); // the first card on its way out
    EXPECT_FALSE(card());
    EXPECT_FALSE(first) << "gone once slid out";
    clock.advanceBy(1ms);
    EXPECT_EQ(shownID(), u"p2"_s);
    EXPECT_TRUE(card()->isAncestorOf(window.activeFocusItem())) << "the replacement has it";

    // During a slide-out: once more 2 s later.
    overlay->closeInteractionIfNeeded();
    show(u"p1"_s, u"polls"_s);
    clock.advanceBy(1999ms);
    EXPECT_FALSE(card());
    clock.advanceBy(1ms);
    EXPECT_EQ(shownID(), u"p1"_s);

    // ... and lost if a card is sliding out again then.
    overlay->closeInteractionIfNeeded();
    show(u"p2"_s, u"polls"_s); // retried at 2.0 s
    clock.advanceBy(1700ms);
    show(u"r1"_s, u"rating"_s);
    EXPECT_EQ(shownID(), u"r1"_s);
    clock.advanceBy(100ms);
    overlay->closeInteractionIfNeeded(); // slides out until 2.2 s
    clock.advanceBy(5s);
    EXPECT_EQ(shownID(), QString());
}

// The cards keep their 1080-line design and scale with the overlay's height (or its width, when
// it is too narrow for a card): they slide in from their side over 0.4 s and rest flush right
// above the margin, whole on screen at any size, a resize during or after the slide included.
TEST_F(DisplayTest, cardsSlideInAndRestFlushRightAboveTheMarginWholeAtAnySize)
{
    ShortCards layout;
    overlay->setLayoutDelegate(&layout);
    overlay->setBottomMargin(40);
    const struct
    {
        QSizeF size;
        qreal scale;
        std::optional<QSizeF> resizedDuringSlide, resizedAfter;
        std::optional<QPointF> start; ///< where the slide starts
        VTAAnimationType from = VTAAnimationType::fromRight;
    } rows[] = {
        {{1920, 1080}, 1, {}, {}, QPointF(1920, 740)},
        {{1920, 1080}, 1, {}, {}, QPointF(680, 1080), VTAAnimationType::fromBottom},
        {{1280, 720}, 720.0 / 1080, {}, {}},
        {{1440, 1080}, 1, {}, {}}, // 4:3
        {{1000, 1000}, 1000.0 / 1240, {}, {}}, // narrower than a card
        {{1920, 1080}, 720.0 / 1080, QSizeF(1280, 720), {}},
        {{1280, 720}, 1, QSizeF(2560, 1080), {}}, // wider than 16:9
        {{1920, 1080}, 1, {}, QSizeF(2400, 1080)},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.size.width() << "x" << row.size.height());
        overlay->setSize(row.size);
        overlay->setAnimationType(row.from);
        show(u"p1"_s, u"polls"_s);
        ASSERT_TRUE(card());
        EXPECT_EQ(card()->position(), row.start.value_or(card()->position()));
        clock.advanceBy(200ms);
        if (row.resizedDuringSlide)
            overlay->setSize(*row.resizedDuringSlide);
        clock.advanceBy(200ms);
        if (row.resizedAfter)
            overlay->setSize(*row.resizedAfter);
        const QRectF onScreen = overlay->mapRectFromItem(card(), card()->boundingRect());
        EXPECT_NEAR(onScreen.height(), 300 * row.scale, 0.01);
        EXPECT_NEAR(onScreen.right(), overlay->width(), 0.01) << "flush right";
        EXPECT_NEAR(onScreen.bottom(), overlay->height() - 40 * row.scale, 0.01);
        EXPECT_GE(onScreen.left(), -0.01);
        QPointer<VTAInteractionView> leaving = card();
        overlay->closeInteractionIfNeeded();
        clock.advanceBy(399ms);
        ASSERT_TRUE(leaving && leaving->parentItem());
        clock.advanceBy(1ms);
        EXPECT_TRUE(!leaving || !leaving->parentItem());
    }
}

// A pausing item (here a quiz, fetched with the channel's promotion for it) pauses the video and
// plays it again on every close; an answered one never pauses and closes on time; an auto-close or
// a question fetched late spares a newer card; without a viewer nothing is fetched or reported.
TEST_F(DisplayTest, pausingItemsResumeOnCloseAnsweredOnesCloseOnTimeAndLateOnesSpareNewerCards)
{
    const Promotion boots{
        .name = u"Boots"_s, .viewType = {u"display"_s}, .clientType = u"smartTV"_s};
    state().channelInfo->trivias = QList<TriviaPromotions>{{u"q7"_s, QList<Promotion>{boots}}};
    QSignalSpy pauses(overlay, &VTAOverlayView::pauseRequested);
    const QStringList lines = linesOf([&] { show(u"q7"_s, u"quiz"_s, {30, true}); });
    EXPECT_EQ(lines, QStringList{u"VTA showing TRIVIA"_s});
    auto *quiz = qobject_cast<VTATriviaView *>(card());
    ASSERT_TRUE(quiz && quiz->trivia());
    EXPECT_EQ(quiz->trivia()->question.getPromotion()->name, u"Boots"_s);
    EXPECT_EQ(reports().last(), u"tok-new view Trivia - - -"_s);
    EXPECT_EQ(pauses.size(), 1) << "a QML host hears it too";
    EXPECT_TRUE(overlay->property("displayingInteraction").toBool());
    overlay->closeInteractionIfNeeded();
    EXPECT_EQ(host.calls, (QStringList{u"pause"_s, u"focus"_s, u"release"_s, u"play"_s}));
    clock.advanceBy(1s);

    // Already answered, by the session's record or the fetched question: shown with the answer,
    // never pausing, and closed after the item's own result time (a flip promotion adds its delay).
    state().pollAnswers.insert(u"p1"_s, u"Home"_s);
    state().ratingAnswers.insert(u"r1"_s, u"4"_s);
    state().ratings.first().prizes = {
        {.viewType = {u"flip"_s}, .clientType = u"smartTV"_s, .secondsDelay = 3}};
    Trivia answered = Json::decode<Trivia>(loadFixture(u"overlay_trivia.json")).value();
    answered.answer = TriviaAnswer{{}, u"u1"_s, u"q7"_s, u"Benfica"_s, {}, false};
    answer("/userApi/trivia/getQuestionById/q7", Json::encode(answered));
    for (const auto &[id, module, closesAfter] :
         {std::tuple{u"p1"_s, u"polls"_s, 5000ms}, std::tuple{u"r1"_s, u"rating"_s, 8000ms},
          std::tuple{u"q7"_s, u"quiz"_s, 5000ms}}) {
        SCOPED_TRACE(module.toStdString());
        host.calls.clear();
        show(id, module, {30, true, true, false});
        ASSERT_EQ(shownID(), id);
        EXPECT_EQ(host.calls, QStringList{u"focus"_s});
        EXPECT_TRUE(card()->didAnswer());
        clock.advanceBy(closesAfter - 1ms);
        EXPECT_TRUE(card());
        clock.advanceBy(1ms);
        EXPECT_FALSE(card());
        clock.advanceBy(1s);
    }

    // A late auto-close, or a question fetched after another card appeared, spares that card.
    show(u"p1"_s, u"polls"_s, {30, false, true}); // auto-close due at 5 s
    clock.advanceBy(3s);
    closeCard();
    show(u"p2"_s, u"polls"_s);
    clock.advanceBy(2s);
    EXPECT_EQ(shownID(), u"p2"_s);
    closeCard();
    controller->displayInteraction(u"q7"_s, u"quiz"_s, {30}, false);
    show(u"p1"_s, u"polls"_s); // before the question arrives
    EXPECT_EQ(shownID(), u"p1"_s);
    closeCard();

    state().user.reset();
    VTAOverlayView::resetUser();
    const qsizetype before = backend->requests().size();
    EXPECT_EQ(linesOf([&] { show(u"q7"_s, u"quiz"_s); }), QStringList{});
    controller->sendAnalyticsEvent({u"Polls"_s, {}, {}}, u"view"_s, true);
    EXPECT_EQ(backend->requests().size(), before) << "no token, no question and no report";
}
