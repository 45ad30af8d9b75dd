#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>

#include "vantora/toolkit/checkedmath_p.h"
#include "vantora/toolkit/numbertext_p.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Vantora {

namespace {

// The item's TV promotion: the first one meant for "smartTV" (exact spelling). Later TV
// promotions never count, even when the first one has a view type that means nothing.
const Promotion *tvPromotion(const QList<Promotion> &prizes)
{
    const auto found = std::find_if(prizes.cbegin(), prizes.cend(), [](const Promotion &p) {
        return p.clientType && *p.clientType == "smartTV"_L1;
    });
    return found == prizes.cend() ? nullptr : &*found;
}

std::optional<Promotion> promotionOf(const QList<Promotion> &prizes)
{
    if (const Promotion *promotion = tvPromotion(prizes))
        return *promotion;
    return std::nullopt;
}

bool showsAtStart(const QList<Promotion> &prizes)
{
    const Promotion *promotion = tvPromotion(prizes);
    return promotion && promotion->viewType.value == "display"_L1;
}

qint64 autoCloseTimeOf(const QList<Promotion> &prizes)
{
    constexpr qint64 resultSeconds = 5;
    const Promotion *promotion = tvPromotion(prizes);
    if (!promotion || promotion->viewType.value != "flip"_L1)
        return resultSeconds;
    return checkedAdd(promotion->secondsDelay, resultSeconds, "promotion secondsDelay + 5");
}

const QList<Promotion> &prizesOf(const TriviaQuestion &question)
{
    static const QList<Promotion> none;
    return question.prizes ? *question.prizes : none;
}

} // namespace

std::optional<Promotion> TriviaQuestion::getPromotion() const
{
    return promotionOf(prizesOf(*this));
}
bool TriviaQuestion::showPromotionAtStart() const
{
    return showsAtStart(prizesOf(*this));
}
qint64 TriviaQuestion::getAutoCloseTime() const
{
    return autoCloseTimeOf(prizesOf(*this));
}

std::optional<Promotion> Poll::getPromotion() const
{
    return promotionOf(prizes);
}
bool Poll::showPromotionAtStart() const
{
    return showsAtStart(prizes);
}
qint64 Poll::getAutoCloseTime() const
{
    return autoCloseTimeOf(prizes);
}

std::optional<Promotion> Rating::getPromotion() const
{
    return promotionOf(prizes);
}
bool Rating::showPromotionAtStart() const
{
    return showsAtStart(prizes);
}
qint64 Rating::getAutoCloseTime() const
{
    return autoCloseTimeOf(prizes);
}

qint64 Rating::max() const
{
    constexpr qint64 largestScale = 6;
    const std::optional<qint64> steps = parseInteger(optionsNumber);
    return steps ? std::min(*steps, largestScale) : 1;
}

qint64 Injection::getTimestamp() const
{
    return parseInteger(injection_timestamp.value).value_or(0);
}

} // namespace Vantora
