#ifndef VANTORA_VTARATINGVIEW_H
#define VANTORA_VTARATINGVIEW_H

#include <vantora/records/interactionrecords.h>
#include <vantora/vantora_export.h>
#include <vantora/views/interactionview/vtainteractionview.h>
#include <vantora/views/rating/vtaratinganswerview.h>

#include <QList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

class VTARatingViewPrivate;

/**
 * The rating card: one step per value from 1 to the rating's maximum, drawn with the rating's
 * icon or the step's number. The viewer's step goes to the backend through the overlay; the card
 * then shows the audience's average, counting the viewer in at once, next to the maximum, and
 * takes the backend's later figures only when more people have rated.
 *
 * The overlay makes, configures and owns the card:
 *
 *   auto *card = VTAViews::create<VTARatingView>();
 *   card->setDelegate(overlay);
 *   card->configure(rating, previousAnswer, 30, points, design);
 *   ...
 *   card->updateInfo(liveRating); // realtime totals
 *
 * Every step of the card's life is virtual, so that a host can hand in its own subclass with its
 * own layout through VTALayoutDelegate::customRatingView(). Main thread only; the delayed
 * promotion and the icon die with the card.
 */
class VANTORA_EXPORT VTARatingView : public VTAInteractionView
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTARatingViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTARatingView(QQuickItem *parent = nullptr);
    ~VTARatingView() override;

    /// Builds the steps and starts the countdown; `previousAnswer` present means the viewer has
    /// rated already, and the card opens on the average.
    virtual void configure(const Vantora::Rating &rating,
                           const std::optional<QString> &previousAnswer, qint64 time,
                           const VTAPointsInfo &pointsInfo,
                           const std::optional<Vantora::DesignInfo> &designInfo);
    /// Makes one step's row; a host's subclass may return its own.
    virtual VTARatingAnswerView *createAnswerView();
    /// The viewer pressed a step's button: rates once, with that step's value.
    virtual void actionAnswer(Vantora::FocusTvButton *sender);
    /// Counts the viewer's `answer` into the held rating's figures before the backend replies.
    virtual void updateStats(qint64 answer);
    /// Replaces the steps with the average, one decimal, and the maximum.
    virtual void showStats();
    /// Brings the rating's TV promotion in, 0.8 s from now for "display", 3.0 s otherwise.
    virtual void showPromotionIfNeeded(const Vantora::Rating &rating);
    /// Takes the backend's figures when they count more people than the card does.
    virtual void updateInfo(const Vantora::Rating &rating);
    Vantora::AnalyticsInfo getAnalyticsInfo() const override;
    /// The highest step while the card waits for a rating, the close button otherwise.
    QQuickItem *preferredFocusItem() const override;
    void applyDesign(const std::optional<Vantora::DesignInfo> &design) override;

    const std::optional<Vantora::Rating> &rating() const;
    const QList<VTARatingAnswerView *> &answerViews() const;
    /// The layout's outlets, each an item with that objectName.
    QQuickItem *resultContainer() const;
    Vantora::ImageView *starIcon() const;
    QQuickItem *averageLabel() const;
    QQuickItem *outOfLabel() const;
    QQuickItem *maxLabel() const;

protected:
    /// Binds the outlets; a subclass that overrides it calls it first.
    void componentComplete() override;
    /// Hooks for a host's subclass: after the viewer rated, and after configure().
    virtual void didAnswerRating() { }
    virtual void didLoadRating() { }

private:
    /// Sizes the steps to fit one line and centres it.
    void arrangeSteps();

    std::unique_ptr<VTARatingViewPrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTARatingView)
};

#endif
