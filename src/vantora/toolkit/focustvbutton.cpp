#include "vantora/toolkit/focustvbutton_p.h"

#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/gradientview_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/scheduler_p.h"

#include <QKeyEvent>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>

namespace Vantora {

namespace {

bool isSelectKey(const QKeyEvent *event)
{
    const int key = event->key();
    return key == Qt::Key_Select || key == Qt::Key_Return || key == Qt::Key_Enter;
}

} // namespace

FocusTvButton::FocusTvButton(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope, false);
    setActiveFocusOnTab(true);
    setAcceptedMouseButtons(Qt::NoButton);
}

FocusTvButton::~FocusTvButton() = default;

void FocusTvButton::componentComplete()
{
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(m_gradientView, "gradientView")
        .bind(m_titleLabel, "titleLabel")
        .bind(m_imageView, "imageView");
    m_titleLabel->setProperty("text", m_title);
    m_imageView->setVisible(!m_imageView->image().isNull());
    updateView();
}

void FocusTvButton::setTitle(const QString &title)
{
    if (m_title == title)
        return;
    m_title = title;
    if (m_titleLabel)
        m_titleLabel->setProperty("text", title);
    Q_EMIT titleChanged();
}

QImage FocusTvButton::image() const
{
    return m_imageView ? m_imageView->image() : QImage();
}

void FocusTvButton::setImage(const QImage &image)
{
    if (!m_imageView)
        return;
    m_imageView->setImage(image);
    m_imageView->setVisible(!image.isNull());
}

void FocusTvButton::setSelected(bool selected)
{
    if (m_selected == selected)
        return;
    m_selected = selected;
    updateView();
    Q_EMIT selectedChanged();
}

FocusTvButton::Look FocusTvButton::look() const
{
    if (hasActiveFocus())
        return Look::Focused;
    return m_selected ? Look::Selected : Look::Normal;
}

FocusTvButton::Colours FocusTvButton::backgroundFor(Look state) const
{
    const auto pair = [](const QColor &start, const QColor &end) {
        return Colours{start, end.isValid() ? end : start};
    };
    switch (state) {
    case Look::Focused:
        return pair(focusedBackgroundColor, focusedBackgroundEndColor);
    case Look::Selected:
        return pair(selectedBackgroundColor, selectedBackgroundEndColor);
    case Look::Normal:
        break;
    }
    return pair(normalBackgroundColor, normalBackgroundEndColor);
}

QColor FocusTvButton::titleColorFor(Look state) const
{
    // Only the normal and focused titles are styled; selected shows the normal one.
    return state == Look::Focused ? focusedTitleColor : normalTitleColor;
}

void FocusTvButton::setUpGradientView()
{
    if (!m_gradientView)
        return;
    m_gradientView->setCornerRadius(cornerRadius);
    m_gradientView->setStartPoint(gradientStartPoint);
    m_gradientView->setEndPoint(gradientEndPoint);
    const Colours colours = backgroundFor(look());
    m_gradientView->setStartColor(colours.start);
    m_gradientView->setEndColor(colours.end);
    m_gradientView->setZ(-1); // title and image stay in front
}

void FocusTvButton::updateView()
{
    if (m_animation)
        m_animation->stop();
    setUpGradientView();
    if (m_titleLabel)
        m_titleLabel->setProperty("color", titleColorFor(look()));
    setScale(look() == Look::Focused ? focusedScaleFactor : 1.0);
    Q_EMIT lookChanged();
}

void FocusTvButton::animateTo(Look state, bool pressed)
{
    if (!m_gradientView || !m_titleLabel) {
        updateView();
        return;
    }
    if (m_animation)
        m_animation->stop();
    else
        m_animation = new QParallelAnimationGroup(this);
    m_animation->clear();
    const int duration = int(secondsToMilliseconds(animationDuration).count());
    const auto animate = [&](QObject *target, const char *property, const QVariant &to) {
        auto *animation = new QPropertyAnimation(target, property, m_animation);
        animation->setDuration(duration);
        animation->setEasingCurve(easeInOut());
        animation->setEndValue(to);
    };
    const Colours colours = backgroundFor(state);
    animate(m_gradientView, "startColor", colours.start);
    animate(m_gradientView, "endColor", colours.end);
    animate(m_titleLabel, "color", titleColorFor(state));
    animate(this, "scale", state == Look::Focused && !pressed ? focusedScaleFactor : 1.0);
    m_animation->start();
}

void FocusTvButton::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickItem::itemChange(change, value);
    if (change == ItemActiveFocusHasChanged && isComponentComplete()) {
        m_pressed = false; // the press is cancelled with the focus
        animateTo(look(), false);
    }
}

void FocusTvButton::keyPressEvent(QKeyEvent *event)
{
    if (!isSelectKey(event)) {
        QQuickItem::keyPressEvent(event);
        return;
    }
    event->accept();
    if (event->isAutoRepeat() || !hasActiveFocus())
        return;
    m_pressed = true;
    animateTo(look(), true);
}

void FocusTvButton::keyReleaseEvent(QKeyEvent *event)
{
    if (!isSelectKey(event)) {
        QQuickItem::keyReleaseEvent(event);
        return;
    }
    event->accept();
    // A key held since before this button had the focus (a card appearing under a held key)
    // chooses nothing: only a press and its release here make an action.
    if (event->isAutoRepeat() || !m_pressed)
        return;
    m_pressed = false;
    if (hasActiveFocus())
        animateTo(Look::Focused, false);
    Q_EMIT primaryActionTriggered();
}

} // namespace Vantora
