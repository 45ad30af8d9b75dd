// What every card shares, on each kind of card: the countdown, the ways it closes, the spinner,
// the channel's design and the sponsor's promotion.

#include "viewtest.h"

#include "vantora/views/promotionview/promotionview_p.h"

#include <QTextBlock>

namespace {

enum class Kind { trivia, poll, prediction, rating };

class CardsTest : public CardTest
{
protected:
    // A card of a kind with these prizes, `answered` before it was shown.
    VTAInteractionView *show(Kind kind, QList<Promotion> prizes, bool answered = false,
                             std::optional<DesignInfo> design = {})
    {
        if (kind == Kind::trivia) {
            Trivia trivia = olympics(answered ? std::optional(verdict("London")) : std::nullopt);
            trivia.question.prizes = prizes;
            return showTrivia(trivia, design);
        }
        if (kind == Kind::rating) {
            Rating rating = halfTime("3");
            rating.prizes = prizes;
            return showRating(rating, answered ? std::optional(u"2"_s) : std::nullopt, design);
        }
        Poll poll = matchPoll();
        poll.prizes = prizes;
        poll.questionType = kind == Kind::prediction ? u"prediction"_s : u"poll"_s;
        return showPoll(poll, answered ? std::optional(u"Away"_s) : std::nullopt, design);
    }
};

// The texts the viewer sees on an item in another colour than `colour`.
QStringList otherColoured(const QQuickItem *item, const QColor &colour)
{
    QStringList found;
    if (!item->isVisible())
        return found;
    if (item->inherits("QQuickText") && !text(item).empty() && color(item) != colour)
        found.append(QString::fromStdString(text(item)));
    for (const QQuickItem *child : item->childItems())
        found += otherColoured(child, colour);
    return found;
}

} // namespace

// The countdown reads seconds below a minute, then minutes and seconds. Started again, it replaces
// the running one; at zero it stops, closing the card only if the viewer has not answered and
// nothing closes it already. With no time it counts on below zero.
TEST_F(CardTest, theCountdownTicksEverySecondAndClosesOnlyAnOpenCard)
{
    const std::pair<qint64, const char *> shown[] = {
        {59, "59 | SEC"}, {60, "1m | 0 SEC"}, {75, "1m | 15 SEC"},  {125, "2m | 5 SEC"},
        {0, "0 | SEC"},   {-5, "-5 | SEC"},   {-60, "-1m | 0 SEC"}, {-61, "-1m | -1 SEC"}};
    VTAInteractionView *card = make();
    for (const auto &[time, reads] : shown) {
        card->setTime(time);
        card->displayTime();
        EXPECT_EQ(screen(card->infoView()->timerView()), reads);
    }
    card = make();
    card->startTimer();
    clock.advanceBy(61s);
    EXPECT_EQ(text(card->infoView()->timerLabel1()) + overlay.take(), "-1m");
    const std::tuple<State, bool, const char *> rows[] = {{State::active, false, "0: close"},
                                                          {State::loading, false, "0: "},
                                                          {State::completed, false, "0: "},
                                                          {State::active, true, "0: "}};
    for (const auto &[state, closing, atZero] : rows) {
        card = make();
        const auto now = [&] {
            return text(card->infoView()->timerLabel1()) + ": " + overlay.take();
        };
        card->applyState(state);
        card->setClosing(closing);
        card->setTime(3);
        card->startTimer();
        clock.advanceBy(500ms);
        card->startTimer();
        clock.advanceBy(2s);
        EXPECT_EQ(now(), "1: ");
        clock.advanceBy(1s);
        EXPECT_EQ(now(), atZero) << int(state) << closing;
        clock.advanceBy(10s);
        EXPECT_EQ(now(), "0: ");
    }
}

TEST_F(CardsTest, closingAsksTheOverlayAndReportsAnUnansweredCard)
{
    const std::tuple<State, bool, bool, const char *> rows[] = {
        // state, closing already, by the close button (else closeIfCompleted()), what it does
        {State::loading, false, true, "close(button)"},
        {State::completed, false, true, "close(button)"},
        {State::active, true, true, ""},
        {State::completed, false, false, "close"},
        {State::completed, true, false, ""},
        {State::active, false, false, ""},
        {State::loading, false, false, ""}};
    VTAInteractionView *card = show(Kind::trivia, {});
    for (const auto &[state, closing, button, calls] : rows) {
        card->applyState(state);
        card->setClosing(closing);
        button ? card->closeTap() : card->closeIfCompleted();
        EXPECT_EQ(overlay.take(), calls) << int(state) << closing << button;
    }
    card->setDelegate(nullptr); // the overlay is gone
    card->closeTap();
    card->closeIfCompleted();
    EXPECT_EQ(overlay.take(), "");
    // With the remote on each kind of open card: the account button closes nothing, the close
    // button closes the card and reports it with its TV sponsor.
    const std::tuple<Kind, std::optional<QString>, const char *> kinds[] = {
        {Kind::trivia, u"Acme"_s, "close(Trivia t1 Acme, activity); close(button)"},
        {Kind::poll, {}, "close(Polls p1 -, activity); close(button)"},
        {Kind::prediction, u"Acme"_s, "close(Predictions p1 Acme, activity); close(button)"},
        {Kind::rating, u"Acme"_s, "close(Rating r1 Acme, activity); close(button)"}};
    for (const auto &[kind, sponsor, calls] : kinds) {
        show(kind, {tvPromotion("flip", sponsor)})->infoView()->accountButton()->forceActiveFocus();
        press({Qt::Key_Select, Qt::Key_Right, Qt::Key_Select});
        EXPECT_EQ(overlay.take(), calls);
    }
}

// Waiting for the backend, a card shows a spinner turning in its logo's place; a card without a
// logo keeps no room for one except while it waits.
TEST_F(CardTest, whileACardWaitsASpinnerTurnsInItsLogosPlace)
{
    VTAInteractionView *card = make();
    for (const bool logo : {false, true}) {
        if (logo)
            card->mainIcon()->setImage(QImage(60, 20, QImage::Format_ARGB32));
        for (const State state : {State::active, State::loading, State::completed}) {
            const bool waiting = state == State::loading;
            card->applyState(state);
            EXPECT_EQ(card->mainIcon()->isVisible(), logo && !waiting) << logo << int(state);
            EXPECT_EQ(card->indicator()->isVisible(), waiting) << logo << int(state);
            EXPECT_EQ(card->indicator()->property("running").toBool(), waiting);
        }
    }
}

// The channel's text colour on every text the viewer sees and on the results to come, its button
// colour behind each focused button, its pictures behind the card and as its logo; on a notice
// the button colour is the amounts'. A colour written otherwise than #RRGGBB or #RRGGBBAA changes
// nothing; an empty picture loads nothing.
TEST_F(CardsTest, theDesignColoursEveryKindOfCard)
{
    backend->answer(u"/designs/bg.png"_s, {200, png({8, 8}, Qt::darkBlue)});
    backend->answer(u"/designs/logo.png"_s, {200, png({8, 8}, Qt::yellow)});
    const QColor textColour(0xFF, 0xD5, 0x4F);
    const DesignInfo design{.backgroundImage = u"designs/bg.png"_s,
                            .backgroundLogo = u"/designs/logo.png"_s,
                            .textColor = u"#FFD54FFF"_s,
                            .backgroundButton = u"#7B1FA2"_s};
    for (const auto &[kind, answered] :
         {std::pair{Kind::trivia, false}, {Kind::poll, true}, {Kind::rating, false}}) {
        VTAInteractionView *card = show(kind, {}, answered, design);
        clock.runPending();
        EXPECT_EQ(otherColoured(card, textColour), QStringList()) << int(kind);
        for (const FocusTvButton *button : card->findChildren<FocusTvButton *>())
            EXPECT_EQ(button->focusedBackgroundColor, QColor(0x7B, 0x1F, 0xA2));
        EXPECT_EQ(card->backgroundView()->image().pixelColor(1, 1), QColor(Qt::darkBlue));
        EXPECT_EQ(card->mainIcon()->image().pixelColor(1, 1), QColor(Qt::yellow));
    }
    const auto *trivia = static_cast<VTATriviaView *>(views[0].get());
    const auto *rating = static_cast<VTARatingView *>(views[2].get());
    EXPECT_EQ(color(trivia->resultLabel()), textColour);
    rating->resultContainer()->setVisible(true); // the result to come, caption and figures
    EXPECT_EQ(otherColoured(rating->resultContainer(), textColour), QStringList());
    // A notice: the text colour on its texts and close button, the button colour on its amounts.
    const auto noticeWith = [&](std::optional<DesignInfo> look) {
        auto *notice = make<VTANotice>();
        notice->configure({u"Home"_s, 10, {}}, matchPoll(), true, 100, u"Home"_s, look);
        return notice;
    };
    VTANotice *notice = noticeWith(design);
    EXPECT_EQ(otherColoured(notice, textColour), QStringList(u"+10 pts"_s));
    EXPECT_EQ(color(notice->scoreTitleLabel()), textColour);
    for (QQuickItem *amount : {notice->pointsLabel(), notice->totalPointsLabel()})
        EXPECT_EQ(color(amount), QColor(0x7B, 0x1F, 0xA2));
    VTAInteractionView *plain = make();
    const DesignInfo wrong{.backgroundImage = u""_s,
                           .backgroundLogo = u""_s,
                           .textColor = u"#FFF"_s,
                           .backgroundButton = u"red"_s};
    VTAInteractionView *card = show(Kind::trivia, {}, false, wrong);
    EXPECT_EQ(color(card->titleLabel()), color(plain->titleLabel()));
    EXPECT_EQ(card->infoView()->closeButton()->focusedBackgroundColor,
              plain->infoView()->closeButton()->focusedBackgroundColor);
    EXPECT_EQ(color(noticeWith(wrong)->titleLabel()), color(noticeWith({})->titleLabel()));
    clock.runPending();
    EXPECT_EQ(backend->requests().size(), 6);
}

// A TV promotion "display" comes 0.8 s after the card, "flip" 3 s after the answer, given before
// the card opened or with the remote (a trivia card's result is the overlay's to announce).
// "display" slides in beside the card from one card width to the right over 0.5 s, its picture in
// it; "flip" grows over the card from nothing over 0.4 s, its text in it, while the card dims to
// 60 % black. Other kinds show nothing.
TEST_F(CardsTest, aPromotionComesAtItsTime)
{
    enum How { open, answeredBefore, answerNow };
    const std::tuple<const char *, const char *, qreal, qreal, std::chrono::milliseconds> moves[] =
        {{"display", "x", 1240, 0, 500ms}, {"flip", "scale", 0, 1, 400ms}};
    QList<PromotionView *> promotions;
    for (const auto &[kind, property, from, to, duration] : moves) {
        VTAInteractionView *card = make();
        card->preparePromotion(tvPromotion(kind));
        clock.runPending();
        PromotionView *view = promotions.emplace_back(card->promotionView());
        const auto at = [&] {
            return view->property(property).toReal();
        };
        card->showPromotion(tvPromotion(kind));
        EXPECT_EQ(at(), from) << kind;
        clock.advanceBy(duration / 2);
        EXPECT_LT((at() - from) * (at() - to), 0) << kind << " moving";
        clock.advanceBy(duration / 2);
        EXPECT_EQ(at(), to) << kind;
        EXPECT_EQ(view->size(), view->parentItem()->size());
    }
    EXPECT_EQ(promotions[0]->imageView()->image().pixelColor(1, 1), QColor(Qt::green));
    EXPECT_EQ(promotions[1]->textView()->document().toRawText(), u"Brought to you by Acme"_s);
    EXPECT_EQ(color(promotions[1]->parentItem()->parentItem()), QColor::fromRgbF(0, 0, 0, 0.6f));
    VTAInteractionView *other = make();
    for (const char *kind : {"", "banner", "Display"}) {
        other->preparePromotion(tvPromotion(kind));
        other->showPromotion(tvPromotion(kind));
    }
    other->preparePromotion(std::nullopt);
    EXPECT_EQ(other->promotionView(), nullptr);
    EXPECT_EQ(backend->requests().size(), 1) << "only the display promotion's picture";
    const std::tuple<Kind, const char *, How, std::chrono::milliseconds> rows[] = {
        {Kind::trivia, "display", open, 800ms},
        {Kind::trivia, "flip", answeredBefore, 3s},
        {Kind::poll, "display", open, 800ms},
        {Kind::poll, "flip", answerNow, 3s},
        {Kind::prediction, "flip", answeredBefore, 3s},
        {Kind::rating, "display", answeredBefore, 800ms},
        {Kind::rating, "flip", answerNow, 3s}};
    overlay.token.reset();
    for (const auto &[kind, viewType, how, after] : rows) {
        SCOPED_TRACE(testing::Message() << int(kind) << viewType << how);
        views.clear();
        VTAInteractionView *card = show(kind, {tvPromotion(viewType)}, how == answeredBefore);
        QQuickItem *shown = QByteArrayView(viewType) == "flip" ? card->promotionFlipContainer()
                                                               : card->promotionContainer();
        if (how == answerNow) {
            clock.advanceBy(5s);
            EXPECT_FALSE(shown->isVisible()) << "before the answer";
            press({Qt::Key_Select});
        }
        clock.advanceBy(after - 1ms);
        EXPECT_FALSE(shown->isVisible());
        clock.advanceBy(1ms);
        EXPECT_TRUE(shown->isVisible());
    }
}

// What tells the overlay's delayed closes which card or notice they meant.
TEST_F(CardTest, tagsCountMillisecondsSince2001AndNeverRepeat)
{
    VTAInteractionView *card = make();
    card->stampTag();
    const qint64 since2001 = card->tag() + 1'000'000; // later than every tag handed out so far
    clock.setWallClockMSecs(978307200000 + since2001);
    card->stampTag();
    auto *notice = make<VTANotice>();
    notice->configure({}, matchPoll(), false, 0, QString(), std::nullopt);
    const qint64 trivia = showTrivia(olympics())->tag();
    EXPECT_EQ(std::vector<qint64>({card->tag(), notice->tag(), trivia}),
              std::vector<qint64>({since2001, since2001 + 1, since2001 + 2}));
    clock.advanceBy(10ms);
    card->stampTag();
    EXPECT_EQ(card->tag(), since2001 + 10);
}

// A "flip" promotion's text: 32 px, without the empty lines a content ends with, on the
// background its text starts with.
TEST_F(CardTest, aTextPromotionIs32PixelsWithoutTrailingEmptyLinesOnItsBackground)
{
    const std::tuple<const char *, const char *, QColor> rows[] = {
        {"Win a trip!", "Win a trip!", Qt::transparent},
        {"<p>Win a trip!</p>", "Win a trip!", Qt::transparent},
        {"Win<br>a trip!<br><br>", "Win\u2028a trip!", Qt::transparent},
        {"<p>One</p><p>Two</p>", "One\u2029Two", Qt::transparent},
        {"<p>Win</p><br>", "Win", Qt::transparent},
        {"<span style=\"background-color: #FFC107\">Sale</span> ends", "Sale ends",
         QColor(0xFF, 0xC1, 0x07)},
        {"<div style=\"background-color: #3949AB\">Sale</div>", "Sale", QColor(0x39, 0x49, 0xAB)}};
    for (const auto &[content, shown, background] : rows) {
        PromotionView view;
        view.setSize({600, 400});
        view.configureForText({.content = QString::fromUtf8(content)}, true);
        const QTextDocument &document = view.textView()->document();
        EXPECT_EQ(document.toRawText().toStdString(), shown);
        EXPECT_EQ(document.firstBlock().begin().fragment().charFormat().font().pixelSize(), 32);
        EXPECT_EQ(view.textView()->backgroundColor(), background) << content;
    }
}
