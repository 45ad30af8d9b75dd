#pragma once

#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"

#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>

#include <QPointer>
#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

/// One answer of a trivia card: a button with the answer's text, an optional picture in a column
/// on its left, and the mark a result puts on it — a tick in the "correct" colour, a cross in the
/// "wrong" colour on the viewer's own wrong answer, a plain cross on any other. Loaded from
/// VTATriviaAnswerView.qml. Main thread only.
class VTATriviaAnswerView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTATriviaAnswerViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTATriviaAnswerView(QQuickItem *parent = nullptr);

    Vantora::FocusTvButton *button() const { return m_button; }
    /// The answer's text; a layout without one shows it as the button's title.
    QQuickItem *titleLabel() const { return m_titleLabel; }
    Vantora::ImageView *checkMarkView() const { return m_checkMarkView; }
    Vantora::ImageView *imageView() const { return m_imageView; }
    /// The column that holds imageView; its width is the picture's room.
    QQuickItem *imageColumn() const { return m_imageColumn; }

    /// The answer's text: the title label's, or the button's title when there is none.
    QString title() const;
    /// Puts the answer's text where the layout shows it.
    void setTitle(const QString &title);

    /// Marks the row with the result: the correct answer's row with a tick, every other with a
    /// cross, and the viewer's wrong choice in the "wrong" colour.
    virtual void markDone(const Vantora::TriviaAnswer &userAnswerInfo);
    /// Loads the answer's picture; nothing shows when it does not arrive.
    virtual void setImage(const std::optional<QString> &urlString);
    virtual void setButtonStyleNormal();
    virtual void setButtonStyleCorrect();
    virtual void setButtonStyleIncorrect();
    /// The channel design's text colour on the answer, its button colour on the focused button.
    virtual void applyDesign(const std::optional<Vantora::DesignInfo> &designInfo);

protected:
    void componentComplete() override;
    /// Shows a loaded picture, shrunk to 40 pixels high when taller, in its own colours.
    void showImage(const QImage &image);

private:
    void showMark(const QImage &mark);
    void setButtonStyle(const QColor &color);

    QPointer<Vantora::FocusTvButton> m_button;
    QPointer<QQuickItem> m_titleLabel;
    QPointer<Vantora::ImageView> m_checkMarkView;
    QPointer<Vantora::ImageView> m_imageView;
    QPointer<QQuickItem> m_imageColumn;
};
