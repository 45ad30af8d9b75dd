#ifndef VANTORA_SESSIONINFO_H
#define VANTORA_SESSIONINFO_H

#include <QString>
#include <QtGlobal>

#include <optional>

/** @file
 * Small values that the overlay hands to the cards and the cards hand back.
 */

/// The viewer's standing, shown in every card's info bar.
struct VTAPointsInfo
{
    double totalCredits = 0; ///< the viewer's points
    double totalExpoints = 0; ///< experience
    qint64 level = 0;
};

namespace Vantora {

/// What one analytics report is about: the kind of item, its variant and its sponsor.
struct AnalyticsInfo
{
    QString module; ///< "polls", "predictions", "rating", "quiz"...
    std::optional<QString> submodule;
    std::optional<QString> sponsor;
};

} // namespace Vantora

#endif
