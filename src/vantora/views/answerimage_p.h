#pragma once

#include <QImage>

namespace Vantora {

/// An answer's picture as the rows show it: an image taller than 40 pixels is redrawn at the
/// largest size of its proportions that fits 40 × 40; any other image is returned as it is.
QImage fitAnswerImage(const QImage &image);

} // namespace Vantora
