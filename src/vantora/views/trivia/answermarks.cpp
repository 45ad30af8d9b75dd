#include "vantora/views/trivia/answermarks_p.h"

#include <QPainter>
#include <QPainterPath>

namespace Vantora {

QImage answerMarkImage(AnswerMark mark)
{
    // Drawn at twice the size the rows show, so that scaling down keeps the strokes smooth.
    constexpr int side = 96;
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::white, 12, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    QPainterPath path;
    if (mark == AnswerMark::checkmark) {
        path.moveTo(16, 50);
        path.lineTo(38, 72);
        path.lineTo(80, 26);
    } else {
        path.moveTo(22, 22);
        path.lineTo(74, 74);
        path.moveTo(74, 22);
        path.lineTo(22, 74);
    }
    painter.drawPath(path);
    return image;
}

QColor correctColor()
{
    return QColor(0x34, 0xC7, 0x59);
}

QColor wrongColor()
{
    return QColor(0xFF, 0x5A, 0x5F);
}

} // namespace Vantora
