#pragma once

#include <QString>

namespace Vantora {

/// The family of the font bundled with the library, in which every card is set.
inline constexpr char cardFontFamily[] = "Roboto";

/// Registers the library's bundled fonts with the application once per process; later calls do
/// nothing. Needs a QGuiApplication. Returns how many font files this call registered.
int registerFontsIfNeeded();

} // namespace Vantora
