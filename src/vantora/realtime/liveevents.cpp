#include "vantora/realtime/liveevents_p.h"

#include "vantora/realtime/realtimelogging_p.h"
#include "vantora/records/jsondecoder_p.h"
#include "vantora/toolkit/numbertext_p.h"

#include <simdjson.h>

#include <locale.h>
#include <stdlib.h>
#include <string.h>
#include <string_view>

namespace Vantora {

using namespace Qt::Literals::StringLiterals;

namespace {

using Json::DecodeState;
using Json::readValue;
using simdjson::dom::element;
using simdjson::dom::object;

constexpr qint64 defaultTimeToStay = 30;

// Why an event did nothing, for a developer watching `vantora.realtime` at debug level.
std::nullopt_t drop(QStringView name, const QString &reason)
{
    static quint64 dropped = 0;
    ++dropped;
    qCDebug(lcRealtime).noquote().nospace()
        << "dropped " << name << " (" << dropped << " dropped so far): " << reason;
    return std::nullopt;
}

std::optional<element> member(const object &parent, std::string_view key)
{
    element value;
    if (parent[key].get(value) != simdjson::SUCCESS)
        return std::nullopt;
    return value;
}

bool flag(const object &payload, std::string_view key)
{
    bool value = false;
    const auto found = member(payload, key);
    return found && found->get(value) == simdjson::SUCCESS && value;
}

// A whole number, however written (45, 45.0), in range; not a text or a boolean.
std::optional<qint64> integer(const std::optional<element> &value)
{
    qint64 number = 0;
    DecodeState state;
    if (value && readValue(*value, number, state))
        return number;
    return std::nullopt;
}

std::optional<QString> text(const std::optional<element> &value)
{
    std::string_view bytes;
    if (!value || value->get(bytes) != simdjson::SUCCESS)
        return std::nullopt;
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

// The options every injection carries beside its item.
InteractionOptions injectionOptions(const object &payload)
{
    InteractionOptions options;
    options.hideAnswered = flag(payload, "once_per_user");
    options.closeAfter = flag(payload, "close_post_interaction");
    options.pause = false;
    options.time = defaultTimeToStay;
    const auto timeToStay = member(payload, "timeToStay");
    if (const auto written = text(timeToStay))
        options.time = parseInteger(*written).value_or(defaultTimeToStay);
    else
        options.time = integer(timeToStay).value_or(defaultTimeToStay);
    return options;
}

qint64 startingTime(const object &payload)
{
    return integer(member(payload, "starting_time")).value_or(0);
}

template <class Record>
std::optional<Record> record(const std::optional<element> &value, QString &why)
{
    if (!value) {
        why = QStringLiteral("missing");
        return std::nullopt;
    }
    Record out{};
    DecodeState state;
    if (!readValue(*value, out, state)) {
        why = state.error().message();
        return std::nullopt;
    }
    return out;
}

// The poll's id at "poll"."_id"."$id", where "_id" holds texts only.
std::optional<QString> pollID(const object &payload)
{
    object poll;
    const auto found = member(payload, "poll");
    if (!found || found->get(poll) != simdjson::SUCCESS)
        return std::nullopt;
    const auto id = member(poll, "_id");
    QMap<QString, QString> texts;
    DecodeState state;
    if (!id || !readValue(*id, texts, state))
        return std::nullopt;
    const auto it = texts.constFind(QStringLiteral("$id"));
    if (it == texts.constEnd())
        return std::nullopt;
    return *it;
}

simdjson::dom::parser &payloadParser()
{
    thread_local simdjson::dom::parser parser;
    return parser;
}

} // namespace

const QStringList &liveEventNames()
{
    static const QStringList names{
        QStringLiteral("injectPoll"),      QStringLiteral("injectRating"),
        QStringLiteral("injectQuiz"),      QStringLiteral("streamerInfo"),
        QStringLiteral("stop_poll"),       QStringLiteral("pollWin"),
        QStringLiteral("initiateRefresh"),
    };
    return names;
}

std::optional<LiveEvent> readLiveEvent(QStringView name, const std::optional<QString> &data)
{
    const qsizetype kind = liveEventNames().indexOf(name);
    if (kind < 0)
        return drop(name, QStringLiteral("not an event of the channel"));
    if (name == u"initiateRefresh")
        return RefreshRequest{}; // its data is never read

    if (!data)
        return drop(name, QStringLiteral("no data text"));
    if (data->isEmpty()) // simdjson would copy from a null pointer
        return drop(name, QStringLiteral("invalid JSON: empty text"));
    const QByteArray utf8 = data->toUtf8();
    element root;
    if (const auto error = Json::parseDocument(payloadParser(), utf8, root);
        error != simdjson::SUCCESS)
        return drop(name, u"invalid JSON: "_s + QLatin1StringView(simdjson::error_message(error)));
    object payload;
    if (root.get(payload) != simdjson::SUCCESS)
        return drop(name, QStringLiteral("not a JSON object"));

    QString why;
    if (name == u"injectPoll" || name == u"injectRating" || name == u"injectQuiz") {
        if (!flag(payload, "smartTV"))
            return drop(name,
                        QStringLiteral("not for smart TVs (\"smartTV\" missing or not true)"));
        const InteractionOptions options = injectionOptions(payload);
        const qint64 timestamp = startingTime(payload);
        if (name == u"injectPoll") {
            if (auto poll = record<Poll>(member(payload, "poll"), why))
                return InjectedPoll{std::move(*poll), options, timestamp};
            return drop(name, u"poll: "_s + why);
        }
        if (name == u"injectRating") {
            if (auto rating = record<Rating>(member(payload, "rating"), why))
                return InjectedRating{std::move(*rating), options, timestamp};
            return drop(name, u"rating: "_s + why);
        }
        if (auto id = text(member(payload, "id")))
            return InjectedTrivia{std::move(*id), options, timestamp};
        return drop(name, QStringLiteral("no text \"id\""));
    }

    if (name == u"streamerInfo") {
        object info;
        const auto found = member(payload, "streamerInfo");
        if (!found || found->get(info) != simdjson::SUCCESS)
            return drop(name, QStringLiteral("\"streamerInfo\" is not an object"));
        UpdatedInfo update;
        update.ratings = record<QList<Rating>>(member(info, "ratings"), why);
        update.polls = record<QList<Poll>>(member(info, "polls"), why);
        update.predictions = record<QList<Poll>>(member(info, "predictions"), why);
        if (!update.polls && !update.ratings && !update.predictions)
            return drop(name, QStringLiteral("no list of polls, ratings or predictions decodes"));
        return update;
    }

    const std::optional<QString> id = pollID(payload);
    if (!id)
        return drop(name, QStringLiteral("no text at poll._id.$id"));
    if (name == u"stop_poll")
        return ClosedPoll{*id};

    const auto answer = text(member(payload, "answer"));
    const auto amount = text(member(payload, "winAmount"));
    if (!answer || !amount)
        return drop(name, QStringLiteral("\"answer\" or \"winAmount\" missing or not a text"));
    return WonPrediction{PredictionWin{*answer, parseDecimal(*amount).value_or(0.0), *id}};
}

bool waitsForInjectionDelay(const LiveEvent &event)
{
    return std::holds_alternative<InjectedPoll>(event)
        || std::holds_alternative<InjectedRating>(event)
        || std::holds_alternative<InjectedTrivia>(event)
        || std::holds_alternative<WonPrediction>(event);
}

std::optional<double> parseDecimal(QStringView text)
{
    // strtod in the C locale reads exactly the forms wanted (signs, hex, inf, nan); what it
    // would skip or stop at (leading blanks, trailing rest, an embedded NUL) fails the text.
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t{});
    const QByteArray bytes = text.toUtf8();
    if (bytes.isEmpty() || strchr(" \t\n\v\f\r", bytes.front()))
        return std::nullopt;
    char *end = nullptr;
    const double value = strtod_l(bytes.constData(), &end, cLocale);
    if (end != bytes.constData() + bytes.size())
        return std::nullopt;
    return value;
}

} // namespace Vantora
