#ifndef VANTORA_INTERACTIONRECORDS_H
#define VANTORA_INTERACTIONRECORDS_H

#include <vantora/records/promotion.h>
#include <vantora/records/relaxedstring.h>
#include <vantora/vantora_export.h>

#include <QList>
#include <QString>
#include <QtGlobal>

#include <optional>

namespace Vantora {

/** @file
 * The interactive items the overlay shows: trivia questions, polls (which are also the record of
 * a prediction) and ratings, as plain values copied on assignment.
 *
 * Poll, Rating and TriviaQuestion share three promotion helpers, all based on the item's TV
 * promotion, the first of its `prizes` whose `clientType` is exactly "smartTV":
 * @code
 * if (const std::optional<Promotion> promotion = poll.getPromotion())
 *     showBanner(*promotion, poll.showPromotionAtStart());
 * scheduleClose(poll.getAutoCloseTime()); // seconds
 * @endcode
 */

/// One possible trivia answer; also the correct answer of a result.
struct AnswerDetail
{
    QString answer;
    std::optional<QString> image;
};

struct VANTORA_EXPORT TriviaQuestion
{
    QString id;
    QString question;
    QList<AnswerDetail> answers; ///< in display order
    QString category;
    std::optional<qint64> timePerQuestion;
    std::optional<QList<Promotion>> prizes;

    /// The TV promotion, or nothing when the question has none.
    std::optional<Promotion> getPromotion() const;
    /// Whether the TV promotion is shown from the start: its `viewType` is "display".
    bool showPromotionAtStart() const;
    /// Seconds the result stays up: 5, or the TV promotion's `secondsDelay` + 5 when its
    /// `viewType` is "flip". An overflow of that sum is a fatal error.
    qint64 getAutoCloseTime() const;
};

/// The viewer's answer to a trivia question, as the backend reports it.
struct TriviaAnswer
{
    std::optional<QString> id;
    QString userId;
    QString questionId;
    QString answer;
    AnswerDetail correctAnswer;
    bool isCorrect = false;
};

/// One trivia item as fetched; `answer` is present when the viewer already answered it.
struct Trivia
{
    TriviaQuestion question;
    std::optional<TriviaAnswer> answer;
};

/// One answer option of a poll.
struct PollAnswer
{
    QString answer; ///< also identifies the option when the viewer's choice is sent
    std::optional<QString> image;
    RelaxedString reward;
    bool isRewardSent = false;
    std::optional<bool> answerSending;
    std::optional<qint64> totals; ///< votes for this option
};

/// A poll, or a prediction (a poll settled later).
struct VANTORA_EXPORT Poll
{
    QString name;
    QString id;
    QString question;
    QString questionType; ///< "poll" or "prediction"
    QString type;
    qint64 hideButtons = 0; ///< sent as an integer, not a boolean
    QString image;
    qint64 time_limit = 0;
    QString viewType;
    QString status;
    QList<PollAnswer> answers; ///< in display order
    QList<Promotion> prizes;
    std::optional<bool> is_wager;
    RelaxedString expoints;

    std::optional<Promotion> getPromotion() const; ///< see TriviaQuestion::getPromotion()
    bool showPromotionAtStart() const;
    qint64 getAutoCloseTime() const;
};

/// A rating on a scale of icons.
struct VANTORA_EXPORT Rating
{
    QString name; ///< the question text
    QString id;
    std::optional<QString> description;
    QString icon; ///< shown for each step of the scale
    QString optionsNumber; ///< number of steps, as decimal text; see max()
    std::optional<double> averageRate;
    std::optional<qint64> totalPeople;
    std::optional<qint64> totalPoints;
    QList<Promotion> prizes;
    std::optional<RelaxedString> expoints;

    std::optional<Promotion> getPromotion() const; ///< see TriviaQuestion::getPromotion()
    bool showPromotionAtStart() const;
    qint64 getAutoCloseTime() const;

    /// The number of steps of the scale: `optionsNumber` read as an integer and capped at 6; 1
    /// when it does not read. Zero and negative values are kept as they are.
    qint64 max() const;
};

/// How the overlay shows one item; built from its schedule entry, never read from JSON.
struct InteractionOptions
{
    qint64 time = 0; ///< seconds on screen
    bool pause = false; ///< pause the video while the item shows
    bool closeAfter = false; ///< close once the viewer has answered
    bool hideAnswered = false; ///< hide when the viewer has already answered
};

} // namespace Vantora

#endif
