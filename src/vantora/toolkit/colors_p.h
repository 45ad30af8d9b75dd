#pragma once

#include <QColor>
#include <QImage>
#include <QStringView>

#include <optional>

namespace Vantora {

/// A colour from the channel design's hex text: "#RRGGBBAA" (alpha last) or "#RRGGBB" (opaque).
/// Anything else gives no colour: no "#", another length after it ("#F00"), no hex digit. As
/// the backend's tools read them, blanks before the digits and a "0x" are skipped and the digits
/// stop at the first non-hex character ("#12345G" is #012345).
std::optional<QColor> colorFromHex(QStringView text);

/// A 1 × 1 image of the colour, for stretching over a background.
QImage imageWithColor(const QColor &color);

} // namespace Vantora
