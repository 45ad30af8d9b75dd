#ifndef VANTORA_VTAPOLLANSWERVIEW_H
#define VANTORA_VTAPOLLANSWERVIEW_H

#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/vantora_export.h>
#include <vantora/views/vtaviews.h>

#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace Vantora {
class FocusTvButton;
}
class VTAPollAnswerViewPrivate;

/**
 * One answer of a poll or prediction: a button with the answer (and its picture), and the
 * answer's share of the votes, hidden until the viewer has voted or the poll has closed. The
 * statistics read as the poll's `viewType` asks — "percentage" ("33.3%"), "numbers" ("12") or
 * both ("12 - 40.0%") — and a bar behind the button grows to the share. Loaded from
 * VTAPollAnswerView.qml; a host's poll card may make rows of its own in
 * VTAPollView::createAnswerView(), whose layouts name a `button` and a `statsLabel` (and
 * optionally a `statsBar`). The card owns its rows. Main thread only.
 */
class VANTORA_EXPORT VTAPollAnswerView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTAPollAnswerViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTAPollAnswerView(QQuickItem *parent = nullptr);
    ~VTAPollAnswerView() override;

    Vantora::FocusTvButton *button() const;
    QQuickItem *statsLabel() const;
    /// The bar that grows to the answer's share, when the layout has one.
    QQuickItem *statsBar() const;
    QString statsType() const;
    qint64 votes() const;
    qint64 totalVotes() const;
    const std::optional<QString> &answer() const;

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
    /// Binds the outlets; a subclass that overrides it calls it first.
    void componentComplete() override;

private:
    std::unique_ptr<VTAPollAnswerViewPrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTAPollAnswerView)
};

#endif
