#include "vantora/views/notice/vtanotice_p.h"

#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/toolkit/scheduler_p.h"
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

VTANotice::VTANotice(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemIsFocusScope); // focusing the notice focuses its close button
}

void VTANotice::componentComplete()
{
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(m_iconRight, "iconRight")
        .bind(m_iconWrong, "iconWrong")
        .bind(m_closeButton, "closeButton")
        .bind(m_mainContainer, "mainContainer")
        .bind(m_textContainer, "textContainer")
        .bind(m_titleLabel, "titleLabel")
        .bind(m_pointsLabel, "pointsLabel")
        .bind(m_infoLabel, "infoLabel")
        .bind(m_pointsContainer, "pointsContainer")
        .bind(m_scoreTitleLabel, "scoreTitleLabel")
        .bind(m_totalPointsLabel, "totalPointsLabel");
    m_mainContainer->setProperty("radius", 32);
    m_mainContainer->setClip(true);
    if (m_iconRight->image().isNull())
        m_iconRight->setImage(verdictSymbol(true));
    if (m_iconWrong->image().isNull())
        m_iconWrong->setImage(verdictSymbol(false));
    connect(m_closeButton, &FocusTvButton::primaryActionTriggered, this, &VTANotice::actionClose);
}

void VTANotice::setDelegate(QObject *delegate)
{
    m_delegate = delegate;
}

NoticeDelegate *VTANotice::delegate() const
{
    return qobject_cast<NoticeDelegate *>(m_delegate.get());
}

void VTANotice::configure(const PredictionWin &result, const Poll &prediction, bool didWin,
                          double totalPoints, const QString &userAnswer,
                          const std::optional<DesignInfo> &designInfo)
{
    m_tag = nextViewTag();
    m_noticeId = u"notice"_s + prediction.id;
    applyDesign(designInfo);
    const QString info = u"For choosing \"%1\" on \"%2\""_s.arg(userAnswer, prediction.question);
    if (didWin) {
        // The layout shows the right icon and the points from the start.
        m_titleLabel->setProperty("text", u"CONGRATULATIONS!"_s);
        m_pointsLabel->setProperty("text",
                                   u"+"_s + formatDecimal(result.winAmount, 0, 1) + u" pts"_s);
        m_infoLabel->setProperty("text", info);
    } else {
        m_titleLabel->setProperty("text", u"Wrong Prediction"_s);
        m_infoLabel->setProperty("text", info);
        m_pointsLabel->setVisible(false);
        m_iconRight->setVisible(false);
        m_iconWrong->setVisible(true);
    }
    m_totalPointsLabel->setProperty("text", formatDecimal(totalPoints, 1, 1));
    m_scoreTitleLabel->setProperty("text", u"Total Score:"_s);
    Scheduler::instance().after(3500ms, this, [this] { animateToPoints(); });
}

void VTANotice::animateToPoints()
{
    QPropertyAnimation *fadeOut = animateProperty(m_textContainer, "opacity", 0.0, 400ms, this);
    connect(fadeOut, &QPropertyAnimation::finished, this, [this] {
        m_pointsContainer->setOpacity(0);
        m_pointsContainer->setVisible(true);
        m_textContainer->setVisible(false);
        animateProperty(m_pointsContainer, "opacity", 1.0, 400ms, this);
    });
}

void VTANotice::actionClose()
{
    if (NoticeDelegate *overlay = delegate())
        overlay->closeNotice(this, true);
}

void VTANotice::applyDesign(const std::optional<DesignInfo> &designInfo)
{
    if (!designInfo)
        return;
    if (const auto text = colorFromHex(designInfo->textColor.value_or(QString()))) {
        for (QQuickItem *label : {m_titleLabel, m_infoLabel, m_scoreTitleLabel})
            label->setProperty("color", *text);
        m_closeButton->normalTitleColor = *text;
        m_closeButton->focusedTitleColor = *text;
        m_closeButton->updateView();
    }
    if (const auto amount = colorFromHex(designInfo->backgroundButton.value_or(QString()))) {
        for (QQuickItem *label : {m_pointsLabel, m_totalPointsLabel})
            label->setProperty("color", *amount);
    }
}
