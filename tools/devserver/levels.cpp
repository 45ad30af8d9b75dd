#include "levels_p.h"

#include <array>

namespace Vantora::DevServer {

namespace {

constexpr std::array<Level, 7> levels{{
    {1, u"Rookie", 0, 0},
    {2, u"Viewer", 20, 10},
    {3, u"Fan", 60, 20},
    {4, u"Superfan", 120, 30},
    {5, u"Insider", 200, 50},
    {6, u"Expert", 300, 75},
    {7, u"Legend", 450, 100},
}};

} // namespace

std::span<const Level> levelTable()
{
    return levels;
}

const Level &levelFor(double expoints)
{
    const Level *reached = &levels.front();
    for (const Level &level : levels) {
        if (expoints >= level.threshold)
            reached = &level;
    }
    return *reached;
}

double giftsBetween(qint64 from, qint64 to)
{
    double gifts = 0;
    for (const Level &level : levels) {
        if (level.number > from && level.number <= to)
            gifts += level.giftPoints;
    }
    return gifts;
}

} // namespace Vantora::DevServer
