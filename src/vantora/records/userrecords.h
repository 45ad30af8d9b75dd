#ifndef VANTORA_USERRECORDS_H
#define VANTORA_USERRECORDS_H

#include <vantora/records/relaxedstring.h>

#include <QMap>
#include <QString>
#include <QtGlobal>

#include <optional>

/** @file
 * The viewer and the viewer's standing: the account, the level that answer replies carry, the
 * stake and outcome of predictions, and one entry of a broadcaster's channel list.
 */

namespace Vantora {

/// The viewer's stake and outcome on one prediction.
struct PredictionResult
{
    qint64 wager = 0;
    QString answer;
    QString status;
};

/// The viewer's account, as registration and login return it.
struct User
{
    QString name;
    QString email;
    QString token; ///< carried by later requests as `userToken`
    qint64 status = 0;
    qint64 level = 0;
    std::optional<QString> userBroadcasterForeignID;
    std::optional<QMap<QString, QString>> polls; ///< earlier poll answers by poll key
    std::optional<QMap<QString, QString>> ratings; ///< earlier ratings by rating key
    std::optional<QMap<QString, PredictionResult>> predictionsResults;
    std::optional<double> amount_of_credits_won;
    std::optional<double> expirience_points; ///< the backend's own spelling of the key
};

/// The viewer's level after an answer.
struct UserLevel
{
    RelaxedString level;
    std::optional<QString> name;
    std::optional<RelaxedString> expoints;
    std::optional<QString> gift_points; ///< strict text: a number here fails decoding
};

/// A won prediction, built from a live "pollWin" event (never decoded as a JSON record).
struct PredictionWin
{
    QString answer;
    double winAmount = 0;
    std::optional<QString> pollID;
};

/// One channel of a broadcaster's channel list.
struct Channel
{
    QString channel; ///< the channel id
    QString additionalPageSettings;
    QString urlB64;
};

} // namespace Vantora

#endif
