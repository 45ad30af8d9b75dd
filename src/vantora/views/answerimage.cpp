#include "vantora/views/answerimage_p.h"

namespace Vantora {

QImage fitAnswerImage(const QImage &image)
{
    constexpr int side = 40;
    if (image.height() <= side)
        return image;
    return image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

} // namespace Vantora
