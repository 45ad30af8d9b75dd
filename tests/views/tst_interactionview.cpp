// What every card shares, on each kind of card: the countdown, the ways it closes, the spinner,
// the channel's design and the sponsor's promotion.

#include "viewtest.h"

#include "vantora/views/promotionview/promotionview_p.h"

#include <QTextBlock>

namespace {

class CardsTest : public CardTest
{
protected:
    // A card of a kind (trivia, poll, prediction, rating) with these prizes, `answered` before it
    // was shown.
    VTAInteractionView *show(const QString &kind, QList<Promotion> prizes, bool answered = false,
                             std::optional<DesignInfo> design = {})
    {
        if (kind == u"trivia"_s) {
            Trivia trivia = olympics(answered ? std::optional(verdict(u"London"_s)) : std::nullopt);
            trivia.question.prizes = prizes;
            return showTrivia(trivia, design);
        }
        if (kind == u"rating"_s) {
            Rating rating = halfTime("3");
            rating.prizes = prizes;
            return showRating(rating, answered ? std::optional(u"2"_s) : std::nullopt, design);
        }
        Poll poll = matchPoll();
        poll.prizes = prizes;
        poll.questionType = kind;
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
    VTAInteractionView *card = make();
    for (const QStringList &row : cases(u"countdown text")) {
        card->setTime(row[0].toLongLong());
        card->displayTime();
        EXPECT_EQ(screen(card->infoView()->timerView()), rest(row, 1));
    }
    card = make();
    card->startTimer();
    clock.advanceBy(61s);
    EXPECT_EQ(text(card->infoView()->timerLabel1()) + overlay.take(), "-1m");
    for (const QStringList &row : cases(u"countdown at zero")) {
        card = make();
        const auto now = [&] {
            return text(card->infoView()->timerLabel1()) + ": " + overlay.take();
        };
        card->applyState(state(row[0]));
        card->setClosing(row[1] == u"closing"_s);
        card->setTime(3);
        card->startTimer();
        clock.advanceBy(500ms);
        card->startTimer();
        clock.advanceBy(2s);
        EXPECT_EQ(now(), "1: ");
        clock.advanceBy(1s);
        EXPECT_EQ(now(), "0: " + rest(row, 2)) << rest(row, 0);
        clock.advanceBy(10s);
        EXPECT_EQ(now(), "0: ");
    }
}

TEST_F(CardsTest, closingAsksTheOverlayAndReportsAnUnansweredCard)
{
    VTAInteractionView *card = show(u"trivia"_s, {});
    for (const QStringList &row : cases(u"closing")) {
        card->applyState(state(row[0]));
        card->setClosing(row[1] == u"closing"_s);
        row[2] == u"button"_s ? card->closeTap() : card->closeIfCompleted();
        EXPECT_EQ(overlay.take(), rest(row, 3)) << rest(row, 0);
    }
    card->setDelegate(nullptr); // the overlay is gone
    card->closeTap();
    card->closeIfCompleted();
    EXPECT_EQ(overlay.take(), "");
    // With the remote on each kind of open card: the account button closes nothing, the close
    // button closes the card and reports it with its TV sponsor.
    for (const QStringList &row : cases(u"close button")) {
        show(row[0], {tvPromotion(u"flip"_s, unquoted(row[1]))})
            ->infoView()
            ->accountButton()
            ->forceActiveFocus();
        press({Qt::Key_Select, Qt::Key_Right, Qt::Key_Select});
        EXPECT_EQ(overlay.take(), rest(row, 2));
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
         {std::pair{u"trivia"_s, false}, {u"poll"_s, true}, {u"rating"_s, false}}) {
        VTAInteractionView *card = show(kind, {}, answered, design);
        clock.runPending();
        EXPECT_EQ(otherColoured(card, textColour), QStringList()) << kind.toStdString();
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
    VTAInteractionView *card = show(u"trivia"_s, {}, false, wrong);
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
    const std::tuple<QString, const char *, qreal, qreal, std::chrono::milliseconds> moves[] = {
        {u"display"_s, "x", 1240, 0, 500ms}, {u"flip"_s, "scale", 0, 1, 400ms}};
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
        EXPECT_EQ(at(), from) << property;
        clock.advanceBy(duration / 2);
        EXPECT_LT((at() - from) * (at() - to), 0) << property << " moving";
        clock.advanceBy(duration / 2);
        EXPECT_EQ(at(), to) << property;
        EXPECT_EQ(view->size(), view->parentItem()->size());
    }
    EXPECT_EQ(promotions[0]->imageView()->image().pixelColor(1, 1), QColor(Qt::green));
    EXPECT_EQ(promotions[1]->textView()->document().toRawText(), u"Brought to you by Acme"_s);
    EXPECT_EQ(color(promotions[1]->parentItem()->parentItem()), QColor::fromRgbF(0, 0, 0, 0.6f));
    VTAInteractionView *other = make();
    for (const QString &kind : {u""_s, u"banner"_s, u"Display"_s}) {
        other->preparePromotion(tvPromotion(kind));
        other->showPromotion(tvPromotion(kind));
    }
    other->preparePromotion(std::nullopt);
    EXPECT_EQ(other->promotionView(), nullptr);
    EXPECT_EQ(backend->requests().size(), 1) << "only the display promotion's picture";
    overlay.token.reset();
    for (const QStringList &row : cases(u"promotion times")) {
        SCOPED_TRACE(rest(row, 0));
        views.clear();
        VTAInteractionView *card = show(row[0], {tvPromotion(row[1])}, row[2] == u"before"_s);
        QQuickItem *shown =
            row[1] == u"flip"_s ? card->promotionFlipContainer() : card->promotionContainer();
        if (row[2] == u"now"_s) {
            clock.advanceBy(5s);
            EXPECT_FALSE(shown->isVisible()) << "before the answer";
            press({Qt::Key_Select});
        }
        clock.advanceBy(std::chrono::milliseconds(row[3].toInt()) - 1ms);
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
    for (const QStringList &row : cases(u"text promotions")) {
        PromotionView view;
        view.setSize({600, 400});
        view.configureForText({.content = row[0]}, true);
        const QTextDocument &document = view.textView()->document();
        EXPECT_EQ(document.toRawText(),
                  QString(row[1])
                      .replace(u"\\u2028"_s, QChar(QChar::LineSeparator))
                      .replace(u"\\u2029"_s, QChar(QChar::ParagraphSeparator)));
        EXPECT_EQ(document.firstBlock().begin().fragment().charFormat().font().pixelSize(), 32);
        EXPECT_EQ(view.textView()->backgroundColor(), QColor::fromString(row[2])) << rest(row, 0);
    }
}
