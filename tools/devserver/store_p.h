#pragma once

#include <QSqlQuery>
#include <unordered_map>

#include "vantora/toolkit/result_p.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QtGlobal>

#include <optional>

// The server's memory: viewers, their answers and what those earned, settled predictions,
// analytics and the producer's edits of the content, in one SQLite file through Qt SQL. The journal
// is WAL with synchronous=NORMAL, so a call that returned has committed: it survives the server
// being killed (a power cut may lose the last commits; a development server does not pay an fsync
// per answer for that).
//
// Vote totals and rating statistics are counted from the answers, so they cannot drift from them.
// Every write is one transaction; a failed one leaves nothing behind.

namespace Vantora::DevServer {

struct Viewer
{
    qint64 id = 0;
    QString token;
    QString broadcaster;
    QString name;
    QString email;
    std::optional<QString> foreignId;
    double credits = 0;
    double expoints = 0;
    qint64 level = 1;
};

/// What a viewer answered to one item, and what it earned.
struct StoredAnswer
{
    QString channel;
    QString kind; ///< "poll" (also predictions), "rating" or "trivia"
    QString item;
    QString answer; ///< the option's text, the rating as decimal text, the trivia answer
    std::optional<bool> correct; ///< trivia only
    double expoints = 0;
    double credits = 0;
    std::optional<QString> status; ///< predictions only: "pending", "won", "lost"
    qint64 viewerId = 0;
};

struct AnswerOutcome
{
    bool recorded = false; ///< false: the viewer had already answered this item
    StoredAnswer answer; ///< the stored answer (the earlier one when not recorded)
    Viewer viewer; ///< the viewer after the answer
    double giftPoints = 0; ///< credits for levels reached by this answer
};

struct RatingStats
{
    qint64 people = 0;
    qint64 points = 0; ///< sum of the ratings
};

/// A producer's change to the content: an item saved whole, or removed (no document). Trivia
/// questions belong to no channel (an empty one); a channel's clock entries and scheduled
/// injections are saved as whole lists (kind "clocks" or "injections", an empty id).
struct ContentEdit
{
    QString channel;
    QString kind; ///< "poll" (also predictions), "rating", "trivia", "clocks", "injections"
    QString id;
    std::optional<QByteArray> document;
};

struct Settlement
{
    QList<Viewer> winners; ///< after their winnings were added
    qint64 losers = 0;
};

class Store
{
public:
    /// Opens (creating when needed) the database file.
    static Result<std::unique_ptr<Store>, QString> open(const QString &file);
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    Result<Viewer, QString> createViewer(const QString &broadcaster, const QString &channel,
                                         const std::optional<QString> &foreignId,
                                         const std::optional<QString> &initialName);
    std::optional<Viewer> viewerByToken(const QString &token) const;
    QList<Viewer> viewers() const;

    /// Stores an answer once per viewer and item, adding its experience and credits (and the
    /// gift credits of any level it reaches) to the viewer, in one transaction.
    Result<AnswerOutcome, QString> recordAnswer(const StoredAnswer &answer);
    std::optional<StoredAnswer> findAnswer(qint64 viewerId, const QString &channel,
                                           const QString &kind, const QString &item) const;
    QList<StoredAnswer> answersOf(qint64 viewerId) const;
    /// Every answer of a channel (all channels when empty), oldest first.
    QList<StoredAnswer> answers(const QString &channel) const;

    /// Votes per option text of a poll or prediction.
    QMap<QString, qint64> votes(const QString &channel, const QString &poll) const;
    RatingStats ratingStats(const QString &channel, const QString &rating) const;

    /// Settles a prediction once: answers equal to `winningAnswer` are won and pay `winAmount`
    /// credits, the others are lost. Settling the same prediction again is an error.
    Result<Settlement, QString> settle(const QString &channel, const QString &poll,
                                       const QString &winningAnswer, double winAmount);

    /// Keeps the latest edit of each item; edits() gives them back in the order they were saved.
    Result<bool, QString> saveEdit(const ContentEdit &edit);
    QList<ContentEdit> edits() const;

    Result<bool, QString> addAnalytics(qint64 viewerId, const QString &broadcaster,
                                       const QList<QByteArray> &events);
    qint64 analyticsCount() const;

private:
    explicit Store(QString connection);
    /// The statement for `sql`, prepared on first use and kept: an answer runs a handful of
    /// statements, and parsing them each time was a tenth of its cost.
    QSqlQuery &statement(const QString &sql) const;

    QString m_connection;
    mutable std::unordered_map<QString, QSqlQuery> m_statements;
};

} // namespace Vantora::DevServer
