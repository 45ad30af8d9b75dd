#include "viewtest.h"

namespace {

Rating live(std::optional<qint64> people, double average)
{
    Rating rating = halfTime("5", people, 100);
    rating.averageRate = average;
    return rating;
}

} // namespace

// One step per value from 1 to the scale's maximum: at most 6, 1 when the number does not read,
// none at zero or below. The remote starts on the highest step, else on close. A rating's icon
// takes the place of the numbers and the star.
TEST_F(CardTest, aRatingHasOneNumberedStepPerValueOfItsScale)
{
    for (const QStringList &row : cases(u"rating scales")) {
        VTARatingView *card = showRating(halfTime(qPrintable(row[0])));
        EXPECT_EQ(screen(card), "30 | SEC | Account | " + rest(row, 2));
        card->showStats();
        EXPECT_EQ(text(card->maxLabel()), row[1].toStdString()) << rest(row, 0);
    }
    backend->answer(u"/icons/star.png"_s, {200, png({8, 8}, Qt::yellow)});
    Rating rating = halfTime("3");
    rating.icon = u"icons/star.png"_s;
    VTARatingView *card = showRating(rating);
    clock.runPending();
    EXPECT_EQ(screen(card->scrollView()), "How was the half-time show?");
    for (VTARatingAnswerView *step : card->answerViews())
        EXPECT_EQ(step->button()->image().pixelColor(1, 1), QColor(Qt::yellow));
    EXPECT_EQ(card->starIcon()->image().pixelColor(1, 1), QColor(Qt::yellow));
    EXPECT_EQ(backend->requests().size(), 1);
}

// The remote moves along the steps and OK rates once: that step is selected, the overlay and the
// backend hear of it, and the card turns to the audience's average, the viewer counted in, out of
// the maximum, with the focus on close. The reply goes to the overlay. The average is (points +
// the rating) ÷ (people + 1); a card without points adds no rating (0.0), one without people
// divides by 1. Without a viewer nothing is sent; without an overlay the card turns all the same.
TEST_F(CardTest, theRemoteRatesOnceAndTheCardTurnsToTheAverage)
{
    backend->answer(u"/userApi/rating/answer_new/r1"_s,
                    {200, TestSupport::loadFixture(u"answer_rating.json")});
    VTARatingView *card = showRating(halfTime("5", 4, 14));
    press({Qt::Key_Left, Qt::Key_Left, Qt::Key_Right, Qt::Key_Select});
    card->actionAnswer(card->answerViews()[0]->button());
    EXPECT_EQ(screen(card),
              "POINTS | 1,000 | LEVEL | 2 | Account | [✕] | How was the half-time show? "
              "| AUDIENCE RATING | 3.6 | / | 5");
    std::string selected;
    for (VTARatingAnswerView *step : card->answerViews())
        selected += step->button()->isSelected() ? '*' : '-';
    EXPECT_EQ(selected, "---*-");
    clock.runPending();
    EXPECT_EQ(overlay.take(), "rating(4, r1); completed; rating(4, r1) ok");
    EXPECT_EQ(backend->requests().size(), 1);
    EXPECT_EQ(lastRequest(),
              R"(/userApi/rating/answer_new/r1 {"data":{"answer":4,)"
              R"("broadcasterName":"bc","channelId":"ch1","userToken":"token"}})");
    const std::tuple<std::optional<qint64>, std::optional<qint64>, int, const char *> rows[] = {
        {{}, {}, 4, "0.0"}, {{}, 14, 4, "18.0"}, {0, 0, 3, "3.0"}};
    overlay.token.reset();
    for (const auto &[people, points, step, average] : rows) {
        card = showRating(halfTime("5", people, points));
        card->actionAnswer(card->answerViews()[step - 1]->button());
        EXPECT_EQ(text(card->averageLabel()) + ' ' + overlay.take(),
                  std::string(average) + " completed");
    }
    EXPECT_EQ(backend->requests().size(), 1);
    card = showRating(halfTime("5", 1, 2));
    card->setDelegate(nullptr);
    card->actionAnswer(card->answerViews()[3]->button());
    EXPECT_EQ(text(card->averageLabel()), "3.0");
    // Live figures replace the card's only when more people have rated; the card shows them once
    // the viewer has rated.
    card = showRating(halfTime("5", 4, 14));
    card->updateInfo(live(9, 4.1));
    EXPECT_FALSE(card->resultContainer()->isVisible());
    card->actionAnswer(card->answerViews()[2]->button());
    EXPECT_EQ(text(card->averageLabel()) + ' ' + overlay.take(), "10.3 completed")
        << "(100 + 3) / (9 + 1)";
    const std::tuple<std::optional<qint64>, double, const char *> figures[] = {
        {10, 2.0, "10.3"}, {7, 2.0, "10.3"},  {{}, 2.0, "10.3"},
        {0, 2.0, "10.3"},  {11, 4.25, "4.2"}, {12, 4.35, "4.3"}};
    for (const auto &[people, average, shown] : figures) {
        card->updateInfo(live(people, average));
        EXPECT_EQ(text(card->averageLabel()), shown) << people.value_or(-1);
    }
    // Rated before it opened (nobody counted yet), a card shows the average at once, with no
    // countdown and no step selected, and takes no rating.
    card = showRating(live({}, 3.25), u"4"_s);
    EXPECT_EQ(screen(card),
              "POINTS | 1,000 | LEVEL | 2 | Account | [✕] | How was the half-time show? "
              "| AUDIENCE RATING | 3.2 | / | 5");
    EXPECT_FALSE(card->starIcon()->image().isNull()) << "a star beside the average";
    card->actionAnswer(card->answerViews()[0]->button());
    clock.advanceBy(40s);
    EXPECT_FALSE(card->answerViews()[0]->button()->isSelected());
    EXPECT_EQ(overlay.take(), "");
    card->updateInfo(live(0, 3.0));
    EXPECT_EQ(text(card->averageLabel()), "3.2");
    card->updateInfo(live(1, 3.0));
    EXPECT_EQ(text(card->averageLabel()), "3.0");
}
