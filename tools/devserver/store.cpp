#include "store_p.h"

#include "levels_p.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <array>
#include <atomic>

using namespace Qt::Literals::StringLiterals;

namespace Vantora::DevServer {

namespace {

constexpr std::array schema{
    R"(CREATE TABLE IF NOT EXISTS viewers (
         id INTEGER PRIMARY KEY,
         token TEXT NOT NULL UNIQUE,
         broadcaster TEXT NOT NULL,
         channel TEXT NOT NULL,
         name TEXT NOT NULL,
         email TEXT NOT NULL,
         foreign_id TEXT,
         credits REAL NOT NULL DEFAULT 0,
         expoints REAL NOT NULL DEFAULT 0,
         level INTEGER NOT NULL DEFAULT 1,
         created_at INTEGER NOT NULL))",
    R"(CREATE TABLE IF NOT EXISTS answers (
         viewer_id INTEGER NOT NULL REFERENCES viewers(id),
         channel TEXT NOT NULL,
         kind TEXT NOT NULL,
         item TEXT NOT NULL,
         answer TEXT NOT NULL,
         correct INTEGER,
         expoints REAL NOT NULL,
         credits REAL NOT NULL,
         status TEXT,
         answered_at INTEGER NOT NULL,
         PRIMARY KEY (viewer_id, channel, kind, item)))",
    R"(CREATE INDEX IF NOT EXISTS answers_by_item ON answers (channel, kind, item))",
    R"(CREATE TABLE IF NOT EXISTS settlements (
         channel TEXT NOT NULL,
         poll TEXT NOT NULL,
         answer TEXT NOT NULL,
         win_amount REAL NOT NULL,
         settled_at INTEGER NOT NULL,
         PRIMARY KEY (channel, poll)))",
    R"(CREATE TABLE IF NOT EXISTS edits (
         channel TEXT NOT NULL,
         kind TEXT NOT NULL,
         id TEXT NOT NULL,
         document TEXT,
         saved_at INTEGER NOT NULL,
         PRIMARY KEY (channel, kind, id)))",
    R"(CREATE TABLE IF NOT EXISTS analytics (
         id INTEGER PRIMARY KEY,
         viewer_id INTEGER NOT NULL REFERENCES viewers(id),
         broadcaster TEXT NOT NULL,
         event TEXT NOT NULL,
         received_at INTEGER NOT NULL))",
};

constexpr auto viewerColumns =
    "id, token, broadcaster, name, email, foreign_id, credits, expoints, level";
constexpr auto answerColumns =
    "channel, kind, item, answer, correct, expoints, credits, status, viewer_id";

QString sqlError(const QSqlQuery &query)
{
    return u"storage: "_s + query.lastError().text();
}

std::optional<QString> optionalText(const QVariant &value)
{
    if (value.isNull())
        return std::nullopt;
    return value.toString();
}

QVariant nullable(const std::optional<QString> &text)
{
    return text ? QVariant(*text) : QVariant(QMetaType::fromType<QString>());
}

Viewer readViewer(const QSqlQuery &query)
{
    return {query.value(0).toLongLong(), query.value(1).toString(), query.value(2).toString(),
            query.value(3).toString(),   query.value(4).toString(), optionalText(query.value(5)),
            query.value(6).toDouble(),   query.value(7).toDouble(), query.value(8).toLongLong()};
}

StoredAnswer readAnswer(const QSqlQuery &query)
{
    StoredAnswer answer{query.value(0).toString(),
                        query.value(1).toString(),
                        query.value(2).toString(),
                        query.value(3).toString(),
                        std::nullopt,
                        query.value(5).toDouble(),
                        query.value(6).toDouble(),
                        optionalText(query.value(7)),
                        query.value(8).toLongLong()};
    if (!query.value(4).isNull())
        answer.correct = query.value(4).toBool();
    return answer;
}

const QString viewerById =
    u"SELECT "_s + QLatin1StringView(viewerColumns) + u" FROM viewers WHERE id = ?"_s;

QString randomToken()
{
    std::array<quint32, 8> words;
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char *>(words.data()), sizeof(words)).toHex());
}

// Commits on commit(); rolls back when it goes out of scope without.
class Transaction
{
public:
    explicit Transaction(QSqlDatabase db) : m_db(std::move(db)) { m_open = m_db.transaction(); }
    ~Transaction()
    {
        if (m_open)
            m_db.rollback();
    }
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    bool isOpen() const { return m_open; }
    bool commit()
    {
        m_open = !m_db.commit();
        return !m_open;
    }

private:
    QSqlDatabase m_db;
    bool m_open = false;
};

} // namespace

Store::Store(QString connection) : m_connection(std::move(connection)) { }

Store::~Store()
{
    m_statements.clear(); // before their connection goes
    QSqlDatabase::database(m_connection, false).close();
    QSqlDatabase::removeDatabase(m_connection);
}

QSqlQuery &Store::statement(const QString &sql) const
{
    auto found = m_statements.find(sql);
    if (found == m_statements.end()) {
        found = m_statements.emplace(sql, QSqlQuery(QSqlDatabase::database(m_connection))).first;
        found->second.prepare(sql);
    }
    found->second.finish(); // whatever its last use left unread
    return found->second;
}

Result<std::unique_ptr<Store>, QString> Store::open(const QString &file)
{
    static std::atomic<int> opened = 0;
    const QString connection = u"vantora-devserver-"_s + QString::number(++opened);
    std::unique_ptr<Store> store(new Store(connection));
    QSqlDatabase db = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection);
    if (!db.isValid())
        return u"the Qt SQLite driver (QSQLITE) is not available"_s;
    db.setDatabaseName(file);
    db.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=5000"_s);
    if (!db.open())
        return u"cannot open "_s + file + u": "_s + db.lastError().text();
    QSqlQuery query(db);
    for (const char *statement :
         {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=NORMAL", "PRAGMA foreign_keys=ON"}) {
        if (!query.exec(QString::fromLatin1(statement)))
            return sqlError(query);
    }
    for (const char *statement : schema) {
        if (!query.exec(QString::fromLatin1(statement)))
            return sqlError(query);
    }
    return store;
}

Result<Viewer, QString> Store::createViewer(const QString &broadcaster, const QString &channel,
                                            const std::optional<QString> &foreignId,
                                            const std::optional<QString> &initialName)
{
    QSqlDatabase db = QSqlDatabase::database(m_connection);
    Transaction transaction(db);
    QSqlQuery query(db);
    query.prepare(u"INSERT INTO viewers (token, broadcaster, channel, name, email, foreign_id, "
                  "created_at) VALUES (?, ?, ?, '', '', ?, ?)"_s);
    const QString token = randomToken();
    query.addBindValue(token);
    query.addBindValue(broadcaster);
    query.addBindValue(channel);
    query.addBindValue(nullable(foreignId));
    query.addBindValue(QDateTime::currentSecsSinceEpoch());
    if (!query.exec())
        return sqlError(query);
    const qint64 id = query.lastInsertId().toLongLong();
    // Names follow the id, so they are only known after the insert.
    query.prepare(u"UPDATE viewers SET name = ?, email = ? WHERE id = ?"_s);
    query.addBindValue(initialName.value_or(u"Viewer "_s + QString::number(id)));
    query.addBindValue(u"viewer"_s + QString::number(id) + u"@devserver.invalid"_s);
    query.addBindValue(id);
    if (!query.exec())
        return sqlError(query);
    if (!transaction.commit())
        return u"storage: "_s + db.lastError().text();
    return *viewerByToken(token);
}

std::optional<Viewer> Store::viewerByToken(const QString &token) const
{
    QSqlQuery &query = statement(u"SELECT "_s + QLatin1StringView(viewerColumns)
                                 + u" FROM viewers WHERE token = ?"_s);
    query.addBindValue(token);
    if (!query.exec() || !query.next())
        return std::nullopt;
    Viewer viewer = readViewer(query);
    query.finish();
    return viewer;
}

QList<Viewer> Store::viewers() const
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    QList<Viewer> viewers;
    if (query.exec(u"SELECT "_s + QLatin1StringView(viewerColumns)
                   + u" FROM viewers ORDER BY id"_s)) {
        while (query.next())
            viewers.append(readViewer(query));
    }
    return viewers;
}

Result<AnswerOutcome, QString> Store::recordAnswer(const StoredAnswer &answer)
{
    QSqlDatabase db = QSqlDatabase::database(m_connection);
    Transaction transaction(db);
    if (!transaction.isOpen())
        return u"storage: "_s + db.lastError().text();
    if (auto earlier = findAnswer(answer.viewerId, answer.channel, answer.kind, answer.item)) {
        QSqlQuery &query = statement(viewerById);
        query.addBindValue(answer.viewerId);
        if (!query.exec() || !query.next())
            return sqlError(query);
        const Viewer viewer = readViewer(query);
        query.finish();
        return AnswerOutcome{false, *earlier, viewer, 0};
    }

    QSqlQuery &byId = statement(viewerById);
    byId.addBindValue(answer.viewerId);
    if (!byId.exec() || !byId.next())
        return u"storage: no viewer "_s + QString::number(answer.viewerId);
    Viewer viewer = readViewer(byId);
    byId.finish();

    viewer.expoints += answer.expoints;
    const qint64 reached = std::max(viewer.level, levelFor(viewer.expoints).number);
    const double gifts = giftsBetween(viewer.level, reached);
    viewer.level = reached;
    viewer.credits += answer.credits + gifts;

    QSqlQuery &query = statement(u"INSERT INTO answers ("_s + QLatin1StringView(answerColumns)
                                 + u", answered_at) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"_s);
    query.addBindValue(answer.channel);
    query.addBindValue(answer.kind);
    query.addBindValue(answer.item);
    query.addBindValue(answer.answer);
    query.addBindValue(answer.correct ? QVariant(*answer.correct ? 1 : 0)
                                      : QVariant(QMetaType::fromType<int>()));
    query.addBindValue(answer.expoints);
    query.addBindValue(answer.credits);
    query.addBindValue(nullable(answer.status));
    query.addBindValue(answer.viewerId);
    query.addBindValue(QDateTime::currentSecsSinceEpoch());
    if (!query.exec())
        return sqlError(query);
    QSqlQuery &update =
        statement(u"UPDATE viewers SET credits = ?, expoints = ?, level = ? WHERE id = ?"_s);
    update.addBindValue(viewer.credits);
    update.addBindValue(viewer.expoints);
    update.addBindValue(viewer.level);
    update.addBindValue(viewer.id);
    if (!update.exec())
        return sqlError(update);
    if (!transaction.commit())
        return u"storage: "_s + db.lastError().text();
    return AnswerOutcome{true, answer, viewer, gifts};
}

std::optional<StoredAnswer> Store::findAnswer(qint64 viewerId, const QString &channel,
                                              const QString &kind, const QString &item) const
{
    QSqlQuery &query = statement(
        u"SELECT "_s + QLatin1StringView(answerColumns)
        + u" FROM answers WHERE viewer_id = ? AND channel = ? AND kind = ? AND item = ?"_s);
    query.addBindValue(viewerId);
    query.addBindValue(channel);
    query.addBindValue(kind);
    query.addBindValue(item);
    if (!query.exec() || !query.next())
        return std::nullopt;
    StoredAnswer found = readAnswer(query);
    query.finish();
    return found;
}

QList<StoredAnswer> Store::answersOf(qint64 viewerId) const
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    query.prepare(u"SELECT "_s + QLatin1StringView(answerColumns)
                  + u" FROM answers WHERE viewer_id = ? ORDER BY answered_at, rowid"_s);
    query.addBindValue(viewerId);
    QList<StoredAnswer> answers;
    if (query.exec()) {
        while (query.next())
            answers.append(readAnswer(query));
    }
    return answers;
}

QList<StoredAnswer> Store::answers(const QString &channel) const
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    query.prepare(u"SELECT "_s + QLatin1StringView(answerColumns)
                  + u" FROM answers WHERE ? = '' OR channel = ? ORDER BY answered_at, rowid"_s);
    // A null text would be bound as NULL, which equals nothing: no channel named means all.
    const QString wanted = channel.isNull() ? u""_s : channel;
    query.addBindValue(wanted);
    query.addBindValue(wanted);
    QList<StoredAnswer> answers;
    if (query.exec()) {
        while (query.next())
            answers.append(readAnswer(query));
    }
    return answers;
}

QMap<QString, qint64> Store::votes(const QString &channel, const QString &poll) const
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    query.prepare(u"SELECT answer, COUNT(*) FROM answers WHERE channel = ? AND kind = 'poll' "
                  "AND item = ? GROUP BY answer"_s);
    query.addBindValue(channel);
    query.addBindValue(poll);
    QMap<QString, qint64> votes;
    if (query.exec()) {
        while (query.next())
            votes.insert(query.value(0).toString(), query.value(1).toLongLong());
    }
    return votes;
}

RatingStats Store::ratingStats(const QString &channel, const QString &rating) const
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    query.prepare(u"SELECT COUNT(*), COALESCE(SUM(CAST(answer AS INTEGER)), 0) FROM answers "
                  "WHERE channel = ? AND kind = 'rating' AND item = ?"_s);
    query.addBindValue(channel);
    query.addBindValue(rating);
    if (!query.exec() || !query.next())
        return {};
    return {query.value(0).toLongLong(), query.value(1).toLongLong()};
}

Result<Settlement, QString> Store::settle(const QString &channel, const QString &poll,
                                          const QString &winningAnswer, double winAmount)
{
    QSqlDatabase db = QSqlDatabase::database(m_connection);
    Transaction transaction(db);
    QSqlQuery query(db);
    query.prepare(u"INSERT INTO settlements (channel, poll, answer, win_amount, settled_at) "
                  "VALUES (?, ?, ?, ?, ?)"_s);
    query.addBindValue(channel);
    query.addBindValue(poll);
    query.addBindValue(winningAnswer);
    query.addBindValue(winAmount);
    query.addBindValue(QDateTime::currentSecsSinceEpoch());
    if (!query.exec())
        return u"prediction "_s + poll + u" of channel "_s + channel + u" is already settled"_s;

    const QString statusUpdate = u"UPDATE answers SET status = ?, credits = credits + ? WHERE "
                                 "channel = ? AND kind = 'poll' AND item = ? AND status = "
                                 "'pending' AND (answer = ?) = ?"_s;
    for (const bool won : {true, false}) {
        query.prepare(statusUpdate);
        query.addBindValue(won ? u"won"_s : u"lost"_s);
        query.addBindValue(won ? winAmount : 0.0);
        query.addBindValue(channel);
        query.addBindValue(poll);
        query.addBindValue(winningAnswer);
        query.addBindValue(won ? 1 : 0);
        if (!query.exec())
            return sqlError(query);
    }
    query.prepare(u"UPDATE viewers SET credits = credits + ? WHERE id IN (SELECT viewer_id FROM "
                  "answers WHERE channel = ? AND kind = 'poll' AND item = ? AND status = 'won')"_s);
    query.addBindValue(winAmount);
    query.addBindValue(channel);
    query.addBindValue(poll);
    if (!query.exec())
        return sqlError(query);

    Settlement settlement;
    query.prepare(u"SELECT "_s + QLatin1StringView(viewerColumns)
                  + u" FROM viewers WHERE id IN (SELECT viewer_id FROM answers WHERE channel = ? "
                    "AND kind = 'poll' AND item = ? AND status = 'won') ORDER BY id"_s);
    query.addBindValue(channel);
    query.addBindValue(poll);
    if (!query.exec())
        return sqlError(query);
    while (query.next())
        settlement.winners.append(readViewer(query));
    query.prepare(u"SELECT COUNT(*) FROM answers WHERE channel = ? AND kind = 'poll' AND item = ? "
                  "AND status = 'lost'"_s);
    query.addBindValue(channel);
    query.addBindValue(poll);
    if (!query.exec() || !query.next())
        return sqlError(query);
    settlement.losers = query.value(0).toLongLong();
    if (!transaction.commit())
        return u"storage: "_s + db.lastError().text();
    return settlement;
}

Result<bool, QString> Store::addAnalytics(qint64 viewerId, const QString &broadcaster,
                                          const QList<QByteArray> &events)
{
    QSqlDatabase db = QSqlDatabase::database(m_connection);
    Transaction transaction(db);
    QSqlQuery &query = statement(u"INSERT INTO analytics (viewer_id, broadcaster, event, "
                                 "received_at) VALUES (?, ?, ?, ?)"_s);
    for (const QByteArray &event : events) {
        query.addBindValue(viewerId);
        query.addBindValue(broadcaster);
        query.addBindValue(QString::fromUtf8(event));
        query.addBindValue(QDateTime::currentMSecsSinceEpoch());
        if (!query.exec())
            return sqlError(query);
    }
    if (!transaction.commit())
        return u"storage: "_s + db.lastError().text();
    return true;
}

Result<bool, QString> Store::saveEdit(const ContentEdit &edit)
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    query.prepare(u"INSERT OR REPLACE INTO edits (channel, kind, id, document, saved_at) "
                  "VALUES (?, ?, ?, ?, ?)"_s);
    // An edit of a whole list has no id, and one of a trivia question no channel.
    for (const QString &key : {edit.channel, edit.kind, edit.id})
        query.addBindValue(key.isNull() ? u""_s : key);
    query.addBindValue(edit.document ? QVariant(QString::fromUtf8(*edit.document))
                                     : QVariant(QMetaType::fromType<QString>()));
    query.addBindValue(QDateTime::currentMSecsSinceEpoch());
    if (!query.exec())
        return sqlError(query);
    return true;
}

QList<ContentEdit> Store::edits() const
{
    QList<ContentEdit> edits;
    QSqlQuery query(QSqlDatabase::database(m_connection));
    if (query.exec(u"SELECT channel, kind, id, document FROM edits ORDER BY saved_at, rowid"_s)) {
        while (query.next()) {
            const QVariant document = query.value(3);
            edits.append(
                {query.value(0).toString(), query.value(1).toString(), query.value(2).toString(),
                 document.isNull() ? std::nullopt : std::optional(document.toString().toUtf8())});
        }
    }
    return edits;
}

qint64 Store::analyticsCount() const
{
    QSqlQuery query(QSqlDatabase::database(m_connection));
    if (!query.exec(u"SELECT COUNT(*) FROM analytics"_s) || !query.next())
        return 0;
    return query.value(0).toLongLong();
}

} // namespace Vantora::DevServer
