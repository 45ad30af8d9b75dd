#pragma once

#include "vantora/toolkit/focustvbutton_p.h"
#include "vantora/toolkit/imageview_p.h"
#include "vantora/views/notice/noticedelegate_p.h"

#include <vantora/records/interactionrecords.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/records/userrecords.h>

#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

#include <optional>

/// The card that tells the viewer how a prediction they took part in was settled: won, with the
/// points won, or lost, and the answer they chose; 3.5 s later it turns to their new total score.
/// It never closes itself: its close button asks the overlay to take it away.
///
///   auto *notice = fromNib<VTANotice>();
///   notice->setDelegate(overlay); // a QObject implementing Vantora::NoticeDelegate
///   notice->configure(win, prediction, didWin, totalCredits, storedAnswer, design);
///
/// The switch to the score runs on the scheduler and is dropped with the notice; a notice taken
/// off the screen but still alive switches without being seen. Main thread only.
class VTANotice : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(VTANoticeBase)
    Q_CLASSINFO("VantoraView", "")

public:
    explicit VTANotice(QQuickItem *parent = nullptr);

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
    qint64 tag() const { return m_tag; }
    /// "notice" followed by the prediction's id.
    QString noticeId() const { return m_noticeId; }
    bool isClosing() const { return m_isClosing; }
    /// Set by the overlay as it takes the notice away.
    void setClosing(bool closing) { m_isClosing = closing; }

    Vantora::ImageView *iconRight() const { return m_iconRight; }
    Vantora::ImageView *iconWrong() const { return m_iconWrong; }
    Vantora::FocusTvButton *closeButton() const { return m_closeButton; }
    QQuickItem *mainContainer() const { return m_mainContainer; }
    QQuickItem *textContainer() const { return m_textContainer; }
    QQuickItem *titleLabel() const { return m_titleLabel; }
    QQuickItem *pointsLabel() const { return m_pointsLabel; }
    QQuickItem *infoLabel() const { return m_infoLabel; }
    QQuickItem *pointsContainer() const { return m_pointsContainer; }
    QQuickItem *scoreTitleLabel() const { return m_scoreTitleLabel; }
    QQuickItem *totalPointsLabel() const { return m_totalPointsLabel; }

protected:
    void componentComplete() override;

private:
    QPointer<Vantora::ImageView> m_iconRight;
    QPointer<Vantora::ImageView> m_iconWrong;
    QPointer<Vantora::FocusTvButton> m_closeButton;
    QPointer<QQuickItem> m_mainContainer;
    QPointer<QQuickItem> m_textContainer;
    QPointer<QQuickItem> m_titleLabel;
    QPointer<QQuickItem> m_pointsLabel;
    QPointer<QQuickItem> m_infoLabel;
    QPointer<QQuickItem> m_pointsContainer;
    QPointer<QQuickItem> m_scoreTitleLabel;
    QPointer<QQuickItem> m_totalPointsLabel;
    QPointer<QObject> m_delegate;
    bool m_isClosing = false;
    QString m_noticeId;
    qint64 m_tag = 0;
};
