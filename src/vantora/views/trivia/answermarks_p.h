#pragma once

#include <QColor>
#include <QImage>

namespace Vantora {

/// The two marks of a trivia result row, drawn in white on transparency so that an ImageView's
/// tint colours them: a tick for the correct answer, a cross for every other.
enum class AnswerMark { checkmark, xmark };
QImage answerMarkImage(AnswerMark mark);

/// The colours of a right and a wrong answer on the cards' dark background.
QColor correctColor();
QColor wrongColor();

} // namespace Vantora
