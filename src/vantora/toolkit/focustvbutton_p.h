#pragma once

#include "vantora/toolkit/gradientview_p.h"
#include "vantora/toolkit/imageview_p.h"

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QPointer>
#include <QQuickItem>
#include <QSizeF>
#include <QtQml/qqmlregistration.h>

class QParallelAnimationGroup;

namespace Vantora {

/// The button of every answer and of the info bar: a rounded background, flat or a diagonal
/// gradient, a title and an optional image, in three looks — focused (takes precedence), selected
/// and normal. Focused it grows by `focusedScaleFactor`; while the remote's select key is held it
/// returns to its own size, and on the release of that press it emits primaryActionTriggered().
///
///   auto *button = fromNib<FocusTvButton>();
///   button->focusedBackgroundColor = *colorFromHex(design.backgroundButton);
///   button->focusedScaleFactor = 1.08;
///   button->updateView();
///
/// Its look is plain public values: change them, then call updateView(). An invalid end colour
/// means none (a flat background). Shadow values are kept for hosts that read them; like the
/// original rounded, clipped button, it draws no shadow. Main thread only.
class FocusTvButton : public QQuickItem
{
    Q_OBJECT
    // In QML, FocusTvButton is the layout (FocusTvButton.qml), whose root is this class.
    QML_NAMED_ELEMENT(FocusTvButtonBase)
    Q_CLASSINFO("VantoraView", "")
    Q_PROPERTY(
        QColor selectedBackgroundColor MEMBER selectedBackgroundColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(QColor selectedBackgroundEndColor MEMBER selectedBackgroundEndColor NOTIFY
                   lookChanged FINAL)
    Q_PROPERTY(QColor focusedBackgroundColor MEMBER focusedBackgroundColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(
        QColor focusedBackgroundEndColor MEMBER focusedBackgroundEndColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(QColor normalBackgroundColor MEMBER normalBackgroundColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(
        QColor normalBackgroundEndColor MEMBER normalBackgroundEndColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(qreal cornerRadius MEMBER cornerRadius NOTIFY lookChanged FINAL)
    Q_PROPERTY(qreal focusedScaleFactor MEMBER focusedScaleFactor NOTIFY lookChanged FINAL)
    Q_PROPERTY(qreal focusedShadowRadius MEMBER focusedShadowRadius NOTIFY lookChanged FINAL)
    Q_PROPERTY(float focusedShadowOpacity MEMBER focusedShadowOpacity NOTIFY lookChanged FINAL)
    Q_PROPERTY(QColor shadowColor MEMBER shadowColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(QSizeF shadowOffSetFocused MEMBER shadowOffSetFocused NOTIFY lookChanged FINAL)
    Q_PROPERTY(qreal animationDuration MEMBER animationDuration NOTIFY lookChanged FINAL)
    Q_PROPERTY(QColor focusedTitleColor MEMBER focusedTitleColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(QColor normalTitleColor MEMBER normalTitleColor NOTIFY lookChanged FINAL)
    Q_PROPERTY(QPointF gradientStartPoint MEMBER gradientStartPoint NOTIFY lookChanged FINAL)
    Q_PROPERTY(QPointF gradientEndPoint MEMBER gradientEndPoint NOTIFY lookChanged FINAL)
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged FINAL)
    Q_PROPERTY(bool isSelected READ isSelected WRITE setSelected NOTIFY selectedChanged FINAL)

public:
    enum class Look { Normal, Focused, Selected };
    Q_ENUM(Look)

    explicit FocusTvButton(QQuickItem *parent = nullptr);
    ~FocusTvButton() override;

    QColor selectedBackgroundColor = Qt::black;
    QColor selectedBackgroundEndColor;
    QColor focusedBackgroundColor = Qt::red;
    QColor focusedBackgroundEndColor;
    QColor normalBackgroundColor = Qt::white;
    QColor normalBackgroundEndColor;
    qreal cornerRadius = 5.0;
    qreal focusedScaleFactor = 1.2;
    qreal focusedShadowRadius = 10.0;
    float focusedShadowOpacity = 0.25f;
    QColor shadowColor = Qt::black;
    QSizeF shadowOffSetFocused{0, 27};
    qreal animationDuration = 0.2; ///< seconds
    QColor focusedTitleColor = Qt::white;
    QColor normalTitleColor = Qt::white;
    QPointF gradientStartPoint{0, 0};
    QPointF gradientEndPoint{1, 1};

    QString title() const { return m_title; }
    void setTitle(const QString &title);
    QImage image() const;
    void setImage(const QImage &image);
    bool isSelected() const { return m_selected; }
    void setSelected(bool selected);

    /// Focused (having the remote's focus) wins over selected.
    Look look() const;

    /// Applies every look value to the current look at once.
    Q_INVOKABLE void updateView();
    /// Colours the background for the current look.
    void setUpGradientView();

    GradientView *gradientView() const { return m_gradientView; }
    QQuickItem *titleLabel() const { return m_titleLabel; }
    ImageView *imageView() const { return m_imageView; }

Q_SIGNALS:
    void primaryActionTriggered();
    void lookChanged();
    void titleChanged();
    void selectedChanged();

protected:
    void componentComplete() override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;

private:
    struct Colours
    {
        QColor start;
        QColor end;
    };
    Colours backgroundFor(Look look) const;
    QColor titleColorFor(Look look) const;
    /// Moves to a look over animationDuration; `pressed` releases the focus scale.
    void animateTo(Look look, bool pressed);

    QString m_title;
    bool m_selected = false;
    bool m_pressed = false; ///< the select key went down here and is not up yet
    QPointer<GradientView> m_gradientView;
    QPointer<QQuickItem> m_titleLabel;
    QPointer<ImageView> m_imageView;
    QParallelAnimationGroup *m_animation = nullptr;
};

} // namespace Vantora
