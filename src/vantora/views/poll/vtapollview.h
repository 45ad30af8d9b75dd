#ifndef VANTORA_VTAPOLLVIEW_H
#define VANTORA_VTAPOLLVIEW_H

#include <vantora/records/interactionrecords.h>
#include <vantora/vantora_export.h>
#include <vantora/views/interactionview/vtainteractionview.h>
#include <vantora/views/poll/vtapollanswerview.h>

#include <QList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

class VTAPollViewPrivate;

/**
 * A poll or a prediction with one row per answer. The viewer votes once; the card counts the
 * vote at once on every row (the chosen answer one more, every total one more), sends it to the
 * backend through the overlay and shows the statistics. A poll whose status is not "active" is
 * closed: " [POLL CLOSED]" after its question, the statistics shown, no vote taken, and one
 * second later the overlay is told that the card is done.
 *
 * The overlay makes, configures and owns the card:
 *
 *   auto *card = VTAViews::create<VTAPollView>();
 *   card->setDelegate(overlay);
 *   card->configure(poll, user.polls.value(poll.id), options.time, points, design);
 *
 * A host may hand in a subclass with its own layout through VTALayoutDelegate::customPollView();
 * every step below is virtual, and didAnswerPoll() and didLoadPoll() are there to be overridden.
 * Main thread only.
 */
class VANTORA_EXPORT VTAPollView : public VTAInteractionView
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTAPollViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTAPollView(QQuickItem *parent = nullptr);
    ~VTAPollView() override;

    /// Shows the poll; `previousAnswer` is the answer the viewer already gave, if any, and `time`
    /// the countdown in seconds.
    virtual void configure(const Vantora::Poll &poll, const std::optional<QString> &previousAnswer,
                           qint64 time, const VTAPointsInfo &pointsInfo,
                           const std::optional<Vantora::DesignInfo> &designInfo);
    /// A new answer row; a subclass may return its own.
    virtual VTAPollAnswerView *createAnswerView();
    /// The viewer voted for the answer of the row that owns `sender`; only the first vote counts.
    virtual void actionAnswer(Vantora::FocusTvButton *sender);
    /// Brings in the poll's TV promotion, 0.8 s from now for "display", 3 s for any other.
    virtual void showPromotionIfNeeded(const Vantora::Poll &poll);
    /// Module "Predictions" or "Polls", the poll's id, and its TV promotion's sponsor.
    Vantora::AnalyticsInfo getAnalyticsInfo() const override;
    /// Hooks for a host's subclass: the viewer voted (or had, or the poll is closed), the card is
    /// configured.
    virtual void didAnswerPoll() { }
    virtual void didLoadPoll() { }

    const QList<VTAPollAnswerView *> &answerViews() const;
    const std::optional<Vantora::Poll> &poll() const;
    bool didEnd() const;
    /// Set when the broadcaster closes the poll while it shows.
    void setDidEnd(bool ended);
    /// The votes of all answers as shown, the viewer's own included.
    qint64 totalVotes() const;

protected:
    /// Shows every row's statistics.
    void markDone() override;

private:
    std::unique_ptr<VTAPollViewPrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTAPollView)
};

#endif
