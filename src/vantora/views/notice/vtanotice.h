#ifndef VANTORA_VTANOTICE_H
#define VANTORA_VTANOTICE_H

#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/records/userrecords.h>
#include <vantora/vantora_export.h>
#include <vantora/views/vtaviews.h>

#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace Vantora {
class FocusTvButton;
class ImageView;
class NoticeDelegate;
} // namespace Vantora
class VTANoticePrivate;

/**
 * The card that tells the viewer how a prediction they took part in was settled: won, with the
 * points won, or lost, and the answer they chose; 3.5 s later it turns to their new total score.
 * It never closes itself: its close button asks the overlay to take it away.
 *
 * The overlay makes, configures and owns the notice:
 *
 *   auto *notice = VTAViews::create<VTANotice>();
 *   notice->setDelegate(overlay); // a QObject implementing Vantora::NoticeDelegate
 *   notice->configure(win, prediction, didWin, totalCredits, storedAnswer, design);
 *
 * A host may hand in a subclass with its own layout through
 * VTALayoutDelegate::customNoticeView(). The switch to the score runs on the library's scheduler
 * and is dropped with the notice; a notice taken off the screen but still alive switches
 * without being seen. Main thread only.
 */
class VANTORA_EXPORT VTANotice : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTANoticeBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTANotice(QQuickItem *parent = nullptr);
    ~VTANotice() override;

    /// The overlay, held weakly; it must implement Vantora::NoticeDelegate.
    void setDelegate(QObject *delegate);
    Vantora::NoticeDelegate *delegate() const;

    /// Fills the texts for a win or a loss and lays the switch to the score phase, 3.5 s on.
    /// `result.winAmount` is the points won, `totalPoints` the viewer's new total, `userAnswer`
    /// the text of the answer the viewer chose.
    virtual void configure(const Vantora::PredictionWin &result, const Vantora::Poll &prediction,
                           bool didWin, double totalPoints, const QString &userAnswer,
                           const std::optional<Vantora::DesignInfo> &designInfo);
    /// Fades the texts out over 0.4 s, then the score in over 0.4 s.
    virtual void animateToPoints();
    /// The close button: asks the overlay, if it is still there, to take the notice away.
    Q_INVOKABLE virtual void actionClose();
    /// The design's text colour for the title, the answer, the score's title and the close
    /// button; its button colour for the two amounts.
    virtual void applyDesign(const std::optional<Vantora::DesignInfo> &designInfo);

    /// Milliseconds since 2001 when the notice was configured, distinct from every other view's.
    qint64 tag() const;
    /// "notice" followed by the prediction's id.
    QString noticeId() const;
    bool isClosing() const;
    /// Set by the overlay as it takes the notice away.
    void setClosing(bool closing);

    /// The layout's outlets, each an item with that objectName.
    Vantora::ImageView *iconRight() const;
    Vantora::ImageView *iconWrong() const;
    Vantora::FocusTvButton *closeButton() const;
    QQuickItem *mainContainer() const;
    QQuickItem *textContainer() const;
    QQuickItem *titleLabel() const;
    QQuickItem *pointsLabel() const;
    QQuickItem *infoLabel() const;
    QQuickItem *pointsContainer() const;
    QQuickItem *scoreTitleLabel() const;
    QQuickItem *totalPointsLabel() const;

protected:
    /// Binds the outlets; a subclass that overrides it calls it first.
    void componentComplete() override;

private:
    std::unique_ptr<VTANoticePrivate> const d_ptr;
    Q_DECLARE_PRIVATE(VTANotice)
};

#endif
