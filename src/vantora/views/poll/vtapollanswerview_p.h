#pragma once

#include "vantora/toolkit/focustvbutton_p.h"

#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>

#include <QPointer>
#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

/// One answer of a poll or prediction: a button with the answer (and its picture), and the
/// answer's share of the votes, hidden until the viewer has voted or the poll has closed. The
/// statistics read as the poll's `viewType` asks — "percentage" ("33.3%"), "numbers" ("12") or
/// both ("12 - 40.0%") — and a bar behind the button grows to the share. Loaded from
/// VTAPollAnswerView.qml. Main thread only.
class VTAPollAnswerView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTAPollAnswerViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTAPollAnswerView(QQuickItem *parent = nullptr);

    Vantora::FocusTvButton *button() const { return m_button; }
    QQuickItem *statsLabel() const { return m_statsLabel; }
    /// The bar that grows to the answer's share, when the layout has one.
    QQuickItem *statsBar() const { return m_statsBar; }
    QString statsType() const { return m_statsType; }
    qint64 votes() const { return m_votes; }
    qint64 totalVotes() const { return m_totalVotes; }
    const std::optional<QString> &answer() const { return m_answer; }

    /// Shows `answer` with its votes out of `totalVotes`; the statistics show when `didAnswer`.
    virtual void configure(const Vantora::PollAnswer &answer, qint64 totalVotes, bool didAnswer,
                           const QString &type,
                           const std::optional<Vantora::DesignInfo> &designInfo);
    /// New figures for the answer: its votes of the poll's total. The overlay calls it with live
    /// totals.
    virtual void setStats(qint64 votes, qint64 totalVotes);
    /// Hooks for a host's row: the poll opened, or the viewer's vote (`selected`) is known.
    virtual void setButtonStyleNormal() { }
    virtual void setButtonStyleCompleted(bool selected) { Q_UNUSED(selected) }
    /// The channel design's text colour on the statistics and the titles, its button colour on
    /// the focused button.
    virtual void applyDesign(const std::optional<Vantora::DesignInfo> &designInfo);

protected:
    void componentComplete() override;

private:
    QPointer<Vantora::FocusTvButton> m_button;
    QPointer<QQuickItem> m_statsLabel;
    QPointer<QQuickItem> m_statsBar;
    QString m_statsType;
    qint64 m_votes = 0;
    qint64 m_totalVotes = 0;
    std::optional<QString> m_answer;
};
