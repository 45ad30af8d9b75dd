#include "viewtest.h"

#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include <vantora/views/rating/vtaratingview.h>

#include <QBuffer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQmlEngine>
#include <QTest>

using namespace Vantora;
using namespace std::chrono_literals;
using State = InteractionState;

namespace {

// A host's own rating card with its own layout, as an app hands one in.
class HostRatingView : public VTARatingView
{
    Q_OBJECT
    Q_CLASSINFO("VantoraLayout", "qrc:/host/HostRatingView.qml")

public:
    int loaded = 0;
    int answered = 0;

protected:
    void didLoadRating() override { ++loaded; }
    void didAnswerRating() override { ++answered; }
};

QByteArray png(QColor color)
{
    QImage image(8, 8, QImage::Format_ARGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

Rating rating(const char *optionsNumber = "5")
{
    Rating rating;
    rating.name = QStringLiteral("How was the half-time show?");
    rating.id = QStringLiteral("r1");
    rating.optionsNumber = QString::fromLatin1(optionsNumber);
    return rating;
}

Promotion tvPromotion(const char *viewType, std::optional<QString> sponsor = std::nullopt)
{
    Promotion promotion;
    promotion.smart_tv_img = QStringLiteral("promotions/acme.png");
    promotion.viewType.value = QString::fromLatin1(viewType);
    promotion.clientType = QStringLiteral("smartTV");
    promotion.content = QStringLiteral("Acme");
    if (sponsor)
        promotion.sponsor = Sponsor{sponsor, std::nullopt, std::nullopt};
    return promotion;
}

class RatingTest : public CardTest
{
protected:
    RatingTest()
    {
        card.reset(); // the plain card of the fixture is not needed here
        view.reset(fromNib<VTARatingView>());
        view->setParentItem(window.contentItem());
        view->setPosition(QPointF(1920 - view->width() - 60, 100));
        view->setDelegate(&overlay);
    }

    void configure(const Rating &r, std::optional<QString> previous = std::nullopt,
                   std::optional<DesignInfo> design = std::nullopt)
    {
        view->configure(r, previous, 30, {120, 40, 2}, design);
        view->forceActiveFocus();
        view->focusPreferredItem();
        clock.runPending();
    }

    QStringList stepTitles() const
    {
        QStringList titles;
        for (VTARatingAnswerView *row : view->answerViews())
            titles.append(row->button()->title());
        return titles;
    }

    std::unique_ptr<VTARatingView> view;
};

} // namespace

TEST_F(RatingTest, theScaleHasOneNumberedStepPerValueUpToSix)
{
    const struct
    {
        const char *optionsNumber;
        const char *titles;
        const char *maximum;
    } rows[] = {
        {"5", "1 2 3 4 5", "5"}, {"10", "1 2 3 4 5 6", "6"}, {"abc", "1", "1"}, {"", "1", "1"},
        {"0", "", "0"},          {"-3", "", "-3"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.optionsNumber);
        const QStringList titles = QString::fromLatin1(row.titles).split(u' ', Qt::SkipEmptyParts);
        view.reset(fromNib<VTARatingView>());
        view->setParentItem(window.contentItem());
        configure(rating(row.optionsNumber));
        EXPECT_EQ(stepTitles(), titles);
        EXPECT_EQ(view->answerStack()->childItems().size(), titles.size());
        EXPECT_EQ(view->state(), State::active);
        QQuickItem *expectedFocus = titles.isEmpty()
            ? static_cast<QQuickItem *>(view->infoView()->closeButton())
            : view->answerViews().last();
        EXPECT_EQ(view->preferredFocusItem(), expectedFocus);
        EXPECT_TRUE(expectedFocus->hasActiveFocus());
        view->showStats();
        EXPECT_EQ(text(view->maxLabel()), QLatin1StringView(row.maximum));
    }
}

TEST_F(RatingTest, theRatingsIconReplacesTheNumbersOnEveryStep)
{
    backend->answer(QStringLiteral("/icons/star.png"), {200, png(Qt::yellow), {}});
    Rating starred = rating("3");
    starred.icon = QStringLiteral("icons/star.png");
    configure(starred);
    EXPECT_EQ(stepTitles(), (QStringList{QString(), QString(), QString()}));
    clock.runPending();
    ASSERT_EQ(backend->requests().size(), 1) << "the icon is loaded once";
    for (VTARatingAnswerView *step : view->answerViews())
        EXPECT_EQ(step->button()->image().pixelColor(1, 1), QColor(Qt::yellow));
    EXPECT_EQ(view->starIcon()->image().pixelColor(1, 1), QColor(Qt::yellow));
}

TEST_F(RatingTest, theRemoteRatesOnceAndTheCardTurnsToTheAverage)
{
    backend->answer(QStringLiteral("/userApi/rating/answer_new/r1"),
                    {200,
                     QByteArray(R"({"answer":{"userId":"u","ratingId":"r1","answer":4,)"
                                R"("channelId":"ch1","isAnswered":true,"expoints_given":5}})"),
                     {}});
    Rating rated = rating("5");
    rated.totalPeople = 4;
    rated.totalPoints = 14;
    configure(rated);
    EXPECT_TRUE(view->answerViews().last()->button()->hasActiveFocus()) << "the highest step";
    QTest::keyClick(&window, Qt::Key_Left);
    QTest::keyClick(&window, Qt::Key_Left);
    QTest::keyClick(&window, Qt::Key_Right);
    EXPECT_TRUE(view->answerViews().at(3)->button()->hasActiveFocus());
    QTest::keyClick(&window, Qt::Key_Select);

    EXPECT_EQ(overlay.calls,
              (QStringList{QStringLiteral("didSelectRatingAnswer(4, r1)"),
                           QStringLiteral("completed(open)")}));
    ASSERT_EQ(backend->requests().size(), 1);
    const HttpRequest &sent = backend->requests().first();
    EXPECT_EQ(sent.url.path(), QStringLiteral("/userApi/rating/answer_new/r1"));
    EXPECT_TRUE(sent.body.contains(R"({"data":{"answer":4,"broadcasterName":"bc",)"
                                   R"("channelId":"ch1","userToken":"token"}})"))
        << sent.body.toStdString();
    EXPECT_TRUE(view->answerViews().at(3)->button()->isSelected());
    EXPECT_FALSE(view->answerViews().at(4)->button()->isSelected());
    EXPECT_EQ(view->state(), State::completed);
    EXPECT_FALSE(view->answerStack()->isVisible());
    EXPECT_TRUE(view->resultContainer()->isVisible());
    EXPECT_EQ(text(view->averageLabel()), QStringLiteral("3.6")) << "(14 + 4) / (4 + 1)";
    EXPECT_EQ(text(view->maxLabel()), QStringLiteral("5"));
    EXPECT_TRUE(view->infoView()->closeButton()->hasActiveFocus());

    clock.runPending();
    EXPECT_EQ(overlay.calls.last(), QStringLiteral("ratingReply(r1, ok)"));
    overlay.calls.clear();
    view->actionAnswer(view->answerViews().first()->button());
    clock.runPending();
    EXPECT_TRUE(overlay.calls.isEmpty()) << "a second press does nothing";
    EXPECT_EQ(backend->requests().size(), 1);
    EXPECT_EQ(text(view->averageLabel()), QStringLiteral("3.6"));
}

TEST_F(RatingTest, theAverageCountsTheViewerInBeforeTheBackendReplies)
{
    const struct
    {
        const char *name;
        std::optional<qint64> people, points;
        int step;
        const char *average;
        std::optional<qint64> peopleAfter;
    } rows[] = {
        {"known figures", 4, 14, 5, "3.8", 5},
        {"no figures", std::nullopt, std::nullopt, 4, "0.0", std::nullopt},
        {"points without people", std::nullopt, 14, 4, "18.0", std::nullopt},
        {"first to rate", 0, 0, 3, "3.0", 1},
    };
    overlay.token.reset(); // no request: the average stays local
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        overlay.calls.clear();
        view.reset(fromNib<VTARatingView>());
        view->setParentItem(window.contentItem());
        view->setDelegate(&overlay);
        Rating rated = rating("5");
        rated.totalPeople = row.people;
        rated.totalPoints = row.points;
        configure(rated);
        view->actionAnswer(view->answerViews().at(row.step - 1)->button());
        EXPECT_EQ(text(view->averageLabel()), QLatin1StringView(row.average));
        EXPECT_EQ(view->rating()->totalPeople, row.peopleAfter);
        EXPECT_EQ(overlay.calls, QStringList{QStringLiteral("completed(open)")});
    }
    EXPECT_TRUE(backend->requests().isEmpty());

    view.reset(fromNib<VTARatingView>()); // no overlay
    configure(rating("5"));
    overlay.calls.clear();
    view->actionAnswer(view->answerViews().first()->button());
    EXPECT_TRUE(overlay.calls.isEmpty()) << "no overlay, no calls";
    EXPECT_EQ(view->state(), State::completed);
}

TEST_F(RatingTest, anAlreadyRatedCardOpensOnTheAverageWithoutACountdown)
{
    Rating rated = rating("5");
    rated.averageRate = 3.25;
    rated.totalPeople = 8;
    configure(rated, QStringLiteral("4"));
    EXPECT_EQ(view->state(), State::completed);
    EXPECT_FALSE(view->answerStack()->isVisible());
    EXPECT_EQ(text(view->averageLabel()), QStringLiteral("3.2")) << "ties to even, as printf";
    EXPECT_FALSE(view->infoView()->timerView()->isVisible());
    EXPECT_TRUE(view->infoView()->closeButton()->hasActiveFocus());
    for (VTARatingAnswerView *step : view->answerViews())
        EXPECT_FALSE(step->button()->isSelected()) << "the earlier answer marks no step";
    clock.advanceBy(40s);
    EXPECT_TRUE(overlay.calls.isEmpty()) << "no countdown closes it";
    view->actionAnswer(view->answerViews().first()->button());
    EXPECT_TRUE(backend->requests().isEmpty()) << "rated already";
}

TEST_F(RatingTest, liveFiguresAreTakenOnlyWhenMorePeopleRated)
{
    const auto live = [](std::optional<qint64> people, double average) {
        Rating update = rating("5");
        update.name = QStringLiteral("another name");
        update.totalPeople = people;
        update.totalPoints = 100;
        update.averageRate = average;
        return update;
    };
    overlay.token.reset();
    Rating rated = rating("5");
    rated.totalPeople = 4;
    rated.totalPoints = 14;
    configure(rated);

    view->updateInfo(live(9, 4.1));
    EXPECT_EQ(view->rating()->totalPeople, 9) << "taken while unrated";
    EXPECT_FALSE(view->resultContainer()->isVisible()) << "but not shown before rating";
    EXPECT_EQ(view->rating()->name, QStringLiteral("How was the half-time show?"));

    view->actionAnswer(view->answerViews().at(2)->button()); // (100 + 3) / 10
    EXPECT_EQ(text(view->averageLabel()), QStringLiteral("10.3"));
    const struct
    {
        std::optional<qint64> people;
        double average;
        const char *shown;
    } rows[] = {{10, 2.0, "10.3"}, {7, 2.0, "10.3"},  {std::nullopt, 2.0, "10.3"},
                {0, 2.0, "10.3"},  {11, 4.25, "4.2"}, {12, 4.35, "4.3"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.people.value_or(-1));
        view->updateInfo(live(row.people, row.average));
        EXPECT_EQ(text(view->averageLabel()), QLatin1StringView(row.shown));
    }

    view.reset(fromNib<VTARatingView>());
    configure(rating("5"), QStringLiteral("2")); // nobody counted yet
    view->updateInfo(live(0, 3.0));
    EXPECT_EQ(text(view->averageLabel()), QStringLiteral("0.0"));
    view->updateInfo(live(1, 3.0));
    EXPECT_EQ(text(view->averageLabel()), QStringLiteral("3.0"));
}

TEST_F(RatingTest, thePromotionComesAtItsOwnTime)
{
    const struct
    {
        const char *viewType;
        bool answer;
        std::chrono::milliseconds delay; ///< 0: never
    } rows[] = {
        {"display", false, 800ms},
        {"flip", false, 0ms},
        {"flip", true, 3000ms},
        {"display", true, 800ms},
    };
    overlay.token.reset();
    backend->answer(QStringLiteral("/promotions/acme.png"), {200, png(Qt::green), {}});
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.viewType << " answered " << row.answer);
        view.reset(fromNib<VTARatingView>());
        view->setParentItem(window.contentItem());
        Rating promoted = rating("5");
        promoted.prizes = {tvPromotion(row.viewType)};
        configure(promoted);
        if (row.answer)
            view->actionAnswer(view->answerViews().first()->button());
        QQuickItem *container = QLatin1StringView(row.viewType) == QLatin1StringView("flip")
            ? view->promotionFlipContainer()
            : view->promotionContainer();
        if (row.delay > 0ms) {
            clock.advanceBy(row.delay - 10ms);
            EXPECT_FALSE(container->isVisible());
            clock.advanceBy(10ms);
            EXPECT_TRUE(container->isVisible());
            // The card's result lies under the promotion, dimmed with the rest of the card.
            EXPECT_TRUE(view->mainContainer()->isAncestorOf(view->resultContainer()));
        } else {
            clock.advanceBy(5s);
            EXPECT_FALSE(container->isVisible()) << "shown only once rated";
        }
    }
}

TEST_F(RatingTest, analyticsNameTheRatingAndItsTvSponsor)
{
    const struct
    {
        const char *name;
        QList<Promotion> prizes;
        std::optional<QString> sponsor;
    } rows[] = {
        {"no prizes", {}, std::nullopt},
        {"TV sponsor", {tvPromotion("flip", QStringLiteral("Acme"))}, QStringLiteral("Acme")},
        {"TV prize without sponsor", {tvPromotion("flip")}, std::nullopt},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        Rating sponsored = rating("5");
        sponsored.prizes = row.prizes;
        view.reset(fromNib<VTARatingView>());
        configure(sponsored);
        const AnalyticsInfo info = view->getAnalyticsInfo();
        EXPECT_EQ(info.module, QStringLiteral("Rating"));
        EXPECT_EQ(info.submodule, QStringLiteral("r1"));
        EXPECT_EQ(info.sponsor, row.sponsor);
    }
}

TEST_F(RatingTest, theDesignColoursTheStepsAndTheAverage)
{
    configure(rating("3"), std::nullopt,
              DesignInfo{{}, {}, {}, QStringLiteral("#FFD54F"), {}, QStringLiteral("#1E88E5")});
    const QColor text(0xFF, 0xD5, 0x4F);
    for (QQuickItem *label :
         {view->outOfLabel(), view->averageLabel(), view->maxLabel(), view->titleLabel()})
        EXPECT_EQ(label->property("color").value<QColor>(), text);
    for (VTARatingAnswerView *step : view->answerViews()) {
        EXPECT_EQ(step->button()->normalTitleColor, text);
        EXPECT_EQ(step->button()->focusedTitleColor, text);
        EXPECT_EQ(step->button()->focusedBackgroundColor, QColor(0x1E, 0x88, 0xE5));
    }
    EXPECT_EQ(view->answerViews().last()->button()->titleLabel()->property("color").value<QColor>(),
              text)
        << "redrawn";
}

TEST_F(RatingTest, aHostSubclassLoadsWithItsOwnLayout)
{
    qmlRegisterType<HostRatingView>("HostCards", 1, 0, "HostRatingViewBase");
    std::unique_ptr<HostRatingView> host(VTAViews::create<HostRatingView>());
    ASSERT_NE(host, nullptr);
    EXPECT_EQ(host->width(), 1000) << "the host's layout, not the library's";
    host->setParentItem(window.contentItem());
    host->setDelegate(&overlay);
    overlay.token.reset();
    host->configure(rating("3"), std::nullopt, 30, {}, std::nullopt);
    EXPECT_EQ(host->loaded, 1);
    EXPECT_EQ(host->answerViews().size(), 3);
    host->actionAnswer(host->answerViews().first()->button());
    EXPECT_EQ(host->answered, 1);
    EXPECT_EQ(host->averageLabel()->property("text").toString(), QStringLiteral("0.0"));
}

#include "tst_ratingview.moc"
