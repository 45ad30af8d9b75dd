#ifndef VANTORA_STREAMERINFO_H
#define VANTORA_STREAMERINFO_H

#include <vantora/records/interactionrecords.h>
#include <vantora/records/promotion.h>
#include <vantora/records/relaxedstring.h>
#include <vantora/vantora_export.h>

#include <QList>
#include <QString>
#include <QtGlobal>

#include <optional>

/** @file
 * The channel document: everything one channel offers (its polls, ratings, predictions and trivia
 * promotions), the schedule that says when each item shows, its offers and its design.
 *
 * The two schedule records differ on purpose, as the backend sends them: a Clock's `id` may come
 * as a number and its `close_post_interaction` is required; an Injection's `id` must be text and
 * its `close_post_interaction` is optional.
 */

namespace Vantora {

struct Offer
{
    QString name;
};

/// The promotions of one trivia question, looked up by the question's id.
struct TriviaPromotions
{
    QString id;
    std::optional<QList<Promotion>> prizes;
};

/// An item to be shown at a wall-clock moment.
struct VANTORA_EXPORT Injection
{
    QString id; ///< id of the poll, rating, prediction or trivia to show
    QString module; ///< which kind of item `id` refers to
    RelaxedString injection_timestamp; ///< whole seconds since 1970; see getTimestamp()
    RelaxedString timeToStay; ///< seconds on screen, as decimal text
    bool active = false;
    bool isPause = false;
    std::optional<bool> close_post_interaction;
    std::optional<bool> smartTV;
    std::optional<bool> once_per_user;

    /// `injection_timestamp` read as a whole number of seconds; 0 when it is empty or not a
    /// whole decimal number (a value sent as 1600000000.5 gives 0).
    qint64 getTimestamp() const;
};

/// An item to be shown at a point of the video's own time line.
struct Clock
{
    RelaxedString id; ///< may arrive as a number
    QString module;
    qint64 time = 0; ///< the point of the video time line
    RelaxedString timeToStay;
    bool isPause = false;
    bool close_post_interaction = false;
    std::optional<bool> smartTV;
};

/// One visual design entry of the channel.
struct DesignInfo
{
    std::optional<QString> type;
    std::optional<QString> backgroundImage;
    std::optional<QString> backgroundLogo;
    std::optional<QString> textColor;
    std::optional<QString> fontFamily;
    std::optional<QString> backgroundButton;
};

/// The whole content of one channel as the backend describes it.
struct StreamerInfo
{
    QString name;
    QString broadcaster_id;
    QString id;
    QList<Offer> offers;
    std::optional<QList<Poll>> polls;
    std::optional<QList<Rating>> ratings;
    std::optional<QList<TriviaPromotions>> trivias;
    std::optional<QList<Poll>> predictions; ///< polls settled later
    std::optional<QList<Injection>> injections;
    QList<Clock> clocks;
    std::optional<QList<DesignInfo>> designs;
};

} // namespace Vantora

#endif
