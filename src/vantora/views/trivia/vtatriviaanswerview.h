#ifndef VANTORA_VTATRIVIAANSWERVIEW_H
#define VANTORA_VTATRIVIAANSWERVIEW_H

#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/vantora_export.h>
#include <vantora/views/vtaviews.h>

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace Vantora {
class FocusTvButton;
class ImageView;
} // namespace Vantora
class VTATriviaAnswerViewPrivate;

/**
 * One answer of a trivia card: a button with the answer's text, an optional picture in a column
 * on its left, and the mark a result puts on it — a tick in the "correct" colour, a cross in the
 * "wrong" colour on the viewer's own wrong answer, a plain cross on any other. Loaded from
 * VTATriviaAnswerView.qml; a host's trivia card may make rows of its own in
 * VTATriviaView::createAnswerView(), whose layouts name a `button` and may add a `titleLabel`,
 * a `checkMarkView`, and an `imageView` in an `imageColumn`. The card owns its rows. Main thread
 * only.
 */
class VANTORA_EXPORT VTATriviaAnswerView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTATriviaAnswerViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTATriviaAnswerView(QQuickItem *parent = nullptr);
    ~VTATriviaAnswerView() override;

    Vantora::FocusTvButton *button() const;
    /// The answer's text; a layout without one shows it as the button's title.
    QQuickItem *titleLabel() const;
    Vantora::ImageView *checkMarkView() const;
    Vantora::ImageView *imageView() const;
    /// The column that holds imageView; its width is the picture's room.
    QQuickItem *imageColumn() const;

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
    /// Binds the outlets; a subclass that overrides it calls it first.
    void componentComplete() override;
    /// Shows a loaded picture, shrunk to 40 pixels high when taller, in its own colours.
    void showImage(const QImage &image);

private:
    void showMark(const QImage &mark);
    void setButtonStyle(const QColor &color);

    std::unique_ptr<VTATriviaAnswerViewPrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTATriviaAnswerView)
};

#endif
