#ifndef VANTORA_PROMOTION_H
#define VANTORA_PROMOTION_H

#include <vantora/records/relaxedstring.h>

#include <QString>
#include <QtGlobal>

#include <optional>

namespace Vantora {

/// The sponsor behind a promotion.
struct Sponsor
{
    std::optional<QString> name;
    std::optional<QString> description;
    std::optional<QString> url;
};

/**
 * A sponsor's promotion attached to a poll, rating, prediction or trivia question. Only entries
 * whose `clientType` is exactly "smartTV" are ever shown on television, and of those only the
 * first in the item's list (see Poll::getPromotion()).
 */
struct Promotion
{
    QString name;
    QString content; ///< text or image reference, depending on `type`
    std::optional<QString> description;
    QString url;
    QString type; ///< kind of content
    RelaxedString viewType; ///< "display" shows it from the start; "flip" after the result
    std::optional<QString> clientType; ///< "smartTV" for television promotions
    qint64 secondsDelay = 0; ///< added to the auto-close time of a "flip" promotion
    std::optional<QString> smart_tv_img;
    std::optional<Sponsor> sponsor;
};

} // namespace Vantora

#endif
