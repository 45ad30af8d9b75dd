#ifndef VANTORA_VTATRIVIAVIEW_H
#define VANTORA_VTATRIVIAVIEW_H

#include <vantora/records/interactionrecords.h>
#include <vantora/vantora_export.h>
#include <vantora/views/interactionview/vtainteractionview.h>
#include <vantora/views/trivia/vtatriviaanswerview.h>

#include <QList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

class VTATriviaViewPrivate;

/**
 * A trivia question with its answers. The viewer picks one answer, once; the card sends it to
 * the backend and waits (loading) until the overlay hands it the result through showResult().
 * The result card lists the viewer's answer first, the correct one under it (one row when they
 * agree), each marked, above the verdict. A question already answered opens as its result card.
 *
 * The overlay makes, configures and owns the card:
 *
 *   auto *card = VTAViews::create<VTATriviaView>();
 *   card->setDelegate(overlay);
 *   card->configure(trivia, options.time, points, design);
 *
 * A host may hand in a subclass with its own layout through
 * VTALayoutDelegate::customTriviaView(); every step below is virtual. Main thread only.
 */
class VANTORA_EXPORT VTATriviaView : public VTAInteractionView
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTATriviaViewBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTATriviaView(QQuickItem *parent = nullptr);
    ~VTATriviaView() override;

    /// A new answer row; a subclass may return its own.
    virtual VTATriviaAnswerView *createAnswerView();
    /// Shows the question, or its result when `trivia` carries the viewer's answer; `time` is the
    /// countdown in seconds.
    virtual void configure(const Vantora::Trivia &trivia, qint64 time,
                           const VTAPointsInfo &pointsInfo,
                           const std::optional<Vantora::DesignInfo> &designInfo);
    /// The viewer chose the answer of the row that owns `sender`; only the first choice counts.
    virtual void actionAnswer(Vantora::FocusTvButton *sender);
    /// Brings in the question's TV promotion, 0.8 s from now for "display", 3 s for any other.
    virtual void showPromotionIfNeeded(const Vantora::Trivia &trivia);
    /// Turns the card into its result; `points` are those won, when the backend said.
    virtual void showResult(const Vantora::TriviaAnswer &answerResult,
                            std::optional<double> points);
    /// Hooks for a host's subclass: the viewer answered (or had), the card is configured.
    virtual void didAnswerTrivia() { }
    virtual void didLoadTrivia() { }
    /// Module "Trivia", the question's id, and the TV promotion's sponsor.
    Vantora::AnalyticsInfo getAnalyticsInfo() const override;

    const std::optional<Vantora::Trivia> &trivia() const;
    const QList<VTATriviaAnswerView *> &answerViews() const;
    /// The layout's outlets, each an item with that objectName.
    QQuickItem *resultStack() const;
    QQuickItem *resultLabel() const;
    QQuickItem *resultContainer() const;

protected:
    /// Binds the outlets; a subclass that overrides it calls it first.
    void componentComplete() override;

private:
    std::unique_ptr<VTATriviaViewPrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTATriviaView)
};

#endif
