#include <vantora/views/notice/vtanotice.h>

#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/scheduler_p.h"
#include "vantora/views/notice/noticedelegate_p.h"
#include "vantora/views/viewtag_p.h"

#include <QPainter>
#include <QPainterPath>
#include <QPropertyAnimation>

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// The two verdict symbols: a white check mark or cross on a green or red disc.
QImage verdictSymbol(bool right)
{
    constexpr int size = 160;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(right ? QColor(0x2E, 0xB8, 0x5C) : QColor(0xE5, 0x39, 0x35));
    painter.drawEllipse(QRectF(4, 4, size - 8, size - 8));
    painter.setPen(QPen(Qt::white, 16, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    QPainterPath mark;
    if (right) {
        mark.moveTo(46, 84);
        mark.lineTo(70, 108);
        mark.lineTo(116, 58);
    } else {
        mark.moveTo(54, 54);
        mark.lineTo(106, 106);
        mark.moveTo(106, 54);
        mark.lineTo(54, 106);
    }
    painter.drawPath(mark);
    return image;
}

} // namespace

class VTANoticePrivate
{
public:
    QPointer<Vantora::ImageView> iconRight;
    QPointer<Vantora::ImageView> iconWrong;
    QPointer<Vantora::FocusTvButton> closeButton;
    QPointer<QQuickItem> mainContainer;
    QPointer<QQuickItem> textContainer;
    QPointer<QQuickItem> titleLabel;
    QPointer<QQuickItem> pointsLabel;
    QPointer<QQuickItem> infoLabel;
    QPointer<QQuickItem> pointsContainer;
    QPointer<QQuickItem> scoreTitleLabel;
    QPointer<QQuickItem> totalPointsLabel;
    QPointer<QObject> delegate;
    bool isClosing = false;
    QString noticeId;
    qint64 tag = 0;
};

VTANotice::VTANotice(QQuickItem *parent)
    : QQuickItem(parent), d_ptr(std::make_unique<VTANoticePrivate>())
{
    setFlag(ItemIsFocusScope); // focusing the notice focuses its close button
}

VTANotice::~VTANotice() = default;

qint64 VTANotice::tag() const
{
    return d_func()->tag;
}

QString VTANotice::noticeId() const
{
    return d_func()->noticeId;
}

bool VTANotice::isClosing() const
{
    return d_func()->isClosing;
}

void VTANotice::setClosing(bool closing)
{
    d_func()->isClosing = closing;
}

ImageView *VTANotice::iconRight() const
{
    return d_func()->iconRight;
}

ImageView *VTANotice::iconWrong() const
{
    return d_func()->iconWrong;
}

FocusTvButton *VTANotice::closeButton() const
{
    return d_func()->closeButton;
}

QQuickItem *VTANotice::mainContainer() const
{
    return d_func()->mainContainer;
}

QQuickItem *VTANotice::textContainer() const
{
    return d_func()->textContainer;
}

QQuickItem *VTANotice::titleLabel() const
{
    return d_func()->titleLabel;
}

QQuickItem *VTANotice::pointsLabel() const
{
    return d_func()->pointsLabel;
}

QQuickItem *VTANotice::infoLabel() const
{
    return d_func()->infoLabel;
}

QQuickItem *VTANotice::pointsContainer() const
{
    return d_func()->pointsContainer;
}

QQuickItem *VTANotice::scoreTitleLabel() const
{
    return d_func()->scoreTitleLabel;
}

QQuickItem *VTANotice::totalPointsLabel() const
{
    return d_func()->totalPointsLabel;
}

void VTANotice::componentComplete()
{
    Q_D(VTANotice);
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(d->iconRight, "iconRight")
        .bind(d->iconWrong, "iconWrong")
        .bind(d->closeButton, "closeButton")
        .bind(d->mainContainer, "mainContainer")
        .bind(d->textContainer, "textContainer")
        .bind(d->titleLabel, "titleLabel")
        .bind(d->pointsLabel, "pointsLabel")
        .bind(d->infoLabel, "infoLabel")
        .bind(d->pointsContainer, "pointsContainer")
        .bind(d->scoreTitleLabel, "scoreTitleLabel")
        .bind(d->totalPointsLabel, "totalPointsLabel");
    d->mainContainer->setProperty("radius", 32);
    d->mainContainer->setClip(true);
    if (d->iconRight->image().isNull())
        d->iconRight->setImage(verdictSymbol(true));
    if (d->iconWrong->image().isNull())
        d->iconWrong->setImage(verdictSymbol(false));
    connect(d->closeButton, &FocusTvButton::primaryActionTriggered, this, &VTANotice::actionClose);
}

void VTANotice::setDelegate(QObject *delegate)
{
    Q_D(VTANotice);
    d->delegate = delegate;
}

NoticeDelegate *VTANotice::delegate() const
{
    Q_D(const VTANotice);
    return qobject_cast<NoticeDelegate *>(d->delegate.get());
}

void VTANotice::configure(const PredictionWin &result, const Poll &prediction, bool didWin,
                          double totalPoints, const QString &userAnswer,
                          const std::optional<DesignInfo> &designInfo)
{
    Q_D(VTANotice);
    d->tag = nextViewTag();
    d->noticeId = u"notice"_s + prediction.id;
    applyDesign(designInfo);
    const QString info = u"For choosing \"%1\" on \"%2\""_s.arg(userAnswer, prediction.question);
    if (didWin) {
        // The layout shows the right icon and the points from the start.
        d->titleLabel->setProperty("text", u"CONGRATULATIONS!"_s);
        d->pointsLabel->setProperty("text",
                                    u"+"_s + formatDecimal(result.winAmount, 0, 1) + u" pts"_s);
        d->infoLabel->setProperty("text", info);
    } else {
        d->titleLabel->setProperty("text", u"Wrong Prediction"_s);
        d->infoLabel->setProperty("text", info);
        d->pointsLabel->setVisible(false);
        d->iconRight->setVisible(false);
        d->iconWrong->setVisible(true);
    }
    d->totalPointsLabel->setProperty("text", formatDecimal(totalPoints, 1, 1));
    d->scoreTitleLabel->setProperty("text", u"Total Score:"_s);
    Scheduler::instance().after(3500ms, this, [this] { animateToPoints(); });
}

void VTANotice::animateToPoints()
{
    Q_D(VTANotice);
    QPropertyAnimation *fadeOut = animateProperty(d->textContainer, "opacity", 0.0, 400ms, this);
    connect(fadeOut, &QPropertyAnimation::finished, this, [this, d] {
        d->pointsContainer->setOpacity(0);
        d->pointsContainer->setVisible(true);
        d->textContainer->setVisible(false);
        animateProperty(d->pointsContainer, "opacity", 1.0, 400ms, this);
    });
}

void VTANotice::actionClose()
{
    if (NoticeDelegate *overlay = delegate())
        overlay->closeNotice(this, true);
}

void VTANotice::applyDesign(const std::optional<DesignInfo> &designInfo)
{
    Q_D(VTANotice);
    if (!designInfo)
        return;
    if (const auto text = colorFromHex(designInfo->textColor.value_or(QString()))) {
        for (QQuickItem *label : {d->titleLabel, d->infoLabel, d->scoreTitleLabel})
            label->setProperty("color", *text);
        d->closeButton->normalTitleColor = *text;
        d->closeButton->focusedTitleColor = *text;
        d->closeButton->updateView();
    }
    if (const auto amount = colorFromHex(designInfo->backgroundButton.value_or(QString()))) {
        for (QQuickItem *label : {d->pointsLabel, d->totalPointsLabel})
            label->setProperty("color", *amount);
    }
}
