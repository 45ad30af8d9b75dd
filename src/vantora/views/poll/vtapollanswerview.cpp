#include "vantora/views/poll/vtapollanswerview_p.h"

#include "vantora/service/vtaservicemanager_p.h"
#include "vantora/toolkit/animation_p.h"
#include "vantora/toolkit/colors_p.h"
#include "vantora/toolkit/numbertext_p.h"
#include "vantora/toolkit/outlets_p.h"
#include "vantora/views/answerimage_p.h"

using namespace Vantora;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

VTAPollAnswerView::VTAPollAnswerView(QQuickItem *parent) : QQuickItem(parent)
{
    // The row stands for its button: focusing the row focuses the button.
    setFlag(ItemIsFocusScope);
    setActiveFocusOnTab(true);
}

void VTAPollAnswerView::componentComplete()
{
    QQuickItem::componentComplete();
    Outlets(this)
        .bind(m_button, "button")
        .bind(m_statsLabel, "statsLabel")
        .bindOptional(m_statsBar, "statsBar");
    if (m_statsBar)
        m_statsBar->setWidth(0);
}

void VTAPollAnswerView::configure(const PollAnswer &answer, qint64 totalVotes, bool didAnswer,
                                  const QString &type, const std::optional<DesignInfo> &designInfo)
{
    m_button->setTitle(answer.answer);
    m_answer = answer.answer;
    m_statsType = type;
    setStats(answer.totals.value_or(0), totalVotes);
    m_statsLabel->setVisible(didAnswer);
    if (answer.image && !answer.image->isEmpty()) {
        QPointer<VTAPollAnswerView> row(this);
        VTAServiceManager::shared().getImage(*answer.image, this,
                                             [row](QImage image, std::optional<ServiceError>) {
                                                 if (row && !image.isNull())
                                                     row->m_button->setImage(fitAnswerImage(image));
                                             });
    }
    applyDesign(designInfo);
}

void VTAPollAnswerView::setStats(qint64 votes, qint64 totalVotes)
{
    m_votes = votes;
    m_totalVotes = totalVotes;
    const double percent = totalVotes == 0 ? 0.0 : double(votes) / double(totalVotes) * 100.0;
    const QString percentText = formatDecimal(percent, 1, 1);
    QString text;
    if (m_statsType == "percentage"_L1)
        text = percentText + u"%"_s;
    else if (m_statsType == "numbers"_L1)
        text = QString::number(votes);
    else
        text = QString::number(votes) + u" - "_s + percentText + u"%"_s;
    m_statsLabel->setProperty("text", text);
    if (m_statsBar) {
        const qreal share = std::clamp(percent / 100.0, 0.0, 1.0);
        animateProperty(m_statsBar, "width", share * m_button->width(), 600ms, this);
    }
}

void VTAPollAnswerView::applyDesign(const std::optional<DesignInfo> &designInfo)
{
    if (!designInfo)
        return;
    if (const auto text = colorFromHex(designInfo->textColor.value_or(QString()))) {
        m_statsLabel->setProperty("color", *text);
        m_button->normalTitleColor = *text;
        m_button->updateView();
        m_button->focusedTitleColor = *text;
        m_button->updateView();
    }
    if (const auto button = colorFromHex(designInfo->backgroundButton.value_or(QString()))) {
        m_button->focusedBackgroundColor = *button;
        m_button->updateView();
    }
}
