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

/// A number as the cards show it: digits rounded half-to-even on the shortest decimal form of the
/// value (0.25 → "0.2", 0.15 → "0.2"), between `minFractionDigits` and `maxFractionDigits` after
/// ".", the whole part in groups of three separated by "," ("1,234.5"), never an exponent. The
/// same on every device locale: ASCII digits and "-", "NaN" and "∞" for what is not a number.
QString formatDecimal(double value, int minFractionDigits, int maxFractionDigits);

/// One decimal as C's "%.01f" writes it in the POSIX locale: the exact binary value rounded half
/// to even (3.25 → "3.2", 3.8 → "3.8"), no grouping.
QString formatOneDecimal(double value);

} // namespace Vantora
