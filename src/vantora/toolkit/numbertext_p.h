#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace Vantora {

/// Reads a whole text as a base-10 signed 64-bit integer: an optional "+" or "-", then ASCII
/// digits only. Blanks, fractions, other digit scripts and values outside the range give nothing.
/// This is the one integer reading for content sent as text (timestamps, durations, scale sizes).
std::optional<qint64> parseInteger(QStringView text);

/// The shortest text that reads back as the same double, in the form content authors see from
/// the backend: fixed notation ("2.5", "0.0001", "42.0"), switching to exponent notation below
/// 1e-4 and above 2^54 ("1e-05", "1e+20"). Never depends on the locale.
QString shortestText(double value);

} // namespace Vantora
