#pragma once

#include <QString>
#include <QtGlobal>

#include <span>

// The viewer levels. Experience points (expirience_points) only grow; a viewer is at the highest
// level whose threshold they have reached. Reaching a level pays its gift points once, as credits.
//
//   level  name       experience  gift credits
//   1      Rookie        0            0
//   2      Viewer       20           10
//   3      Fan          60           20
//   4      Superfan    120           30
//   5      Insider     200           50
//   6      Expert      300           75
//   7      Legend      450          100

namespace Vantora::DevServer {

struct Level
{
    qint64 number;
    const char16_t *name;
    double threshold; ///< experience points needed
    double giftPoints; ///< credits paid when the level is reached
};

std::span<const Level> levelTable();

/// The level of a viewer with `expoints` experience points.
const Level &levelFor(double expoints);

/// The gift credits for climbing from level `from` to level `to` (each level passed pays once).
double giftsBetween(qint64 from, qint64 to);

} // namespace Vantora::DevServer
