#include "content_p.h"

#include "vantora/records/jsoncodec_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace Vantora::DevServer {

namespace {

Result<QByteArray, QString> readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return path + u": "_s + file.errorString();
    return file.readAll();
}

QStringList jsonFiles(const QString &folder)
{
    QStringList paths;
    const QDir dir(folder);
    for (const QString &name : dir.entryList({u"*.json"_s}, QDir::Files, QDir::Name))
        paths << dir.filePath(name);
    return paths;
}

Result<TriviaItem, QString> readTrivia(const QByteArray &bytes)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (!document.isObject())
        return u"invalid JSON ("_s + parseError.errorString() + u')';
    const QJsonObject object = document.object();
    if (!object.value("question"_L1).isObject())
        return u"question: missing or not an object"_s;
    auto question = Json::decode<TriviaQuestion>(
        QJsonDocument(object.value("question"_L1).toObject()).toJson(QJsonDocument::Compact));
    if (!question)
        return u"question."_s + question.error().message();
    TriviaItem item{question.value(), object.value("correctAnswer"_L1).toString(), 0, 0};
    if (!object.value("correctAnswer"_L1).isString())
        return u"correctAnswer: missing or not a string"_s;
    const bool listed =
        std::any_of(item.question.answers.cbegin(), item.question.answers.cend(),
                    [&](const AnswerDetail &a) { return a.answer == item.correctAnswer; });
    if (!listed)
        return u"correctAnswer: \""_s + item.correctAnswer + u"\" is not one of the answers"_s;
    const QJsonValue points = object.value("points"_L1);
    if (!points.isUndefined() && !points.isDouble())
        return u"points: expected a number"_s;
    item.points = points.toInteger();
    const QJsonValue expoints = object.value("expoints"_L1);
    if (!expoints.isUndefined() && !expoints.isDouble())
        return u"expoints: expected a number"_s;
    item.expoints = expoints.toDouble();
    return item;
}

template <class T>
Result<T, QString> decodeDocument(const std::optional<QByteArray> &document)
{
    if (!document)
        return u"document: missing"_s;
    auto decoded = Json::decode<T>(*document);
    if (!decoded)
        return decoded.error().message();
    return std::move(decoded).value();
}

// Takes the item `id` out of a list; returns where it stood, or -1.
template <class T>
qsizetype takeOut(std::optional<QList<T>> &list, const QString &id)
{
    if (!list)
        return -1;
    for (qsizetype i = 0; i < list->size(); ++i) {
        if (list->at(i).id == id) {
            list->removeAt(i);
            return i;
        }
    }
    return -1;
}

// Puts an item back where its earlier version stood, or at the end.
template <class T>
void putBack(std::optional<QList<T>> &list, T item, qsizetype at)
{
    if (!list)
        list.emplace();
    list->insert(at >= 0 && at <= list->size() ? at : list->size(), std::move(item));
}

} // namespace

QByteArray encodeTrivia(const TriviaItem &item)
{
    QJsonObject object{
        {u"question"_s, QJsonDocument::fromJson(Json::encode(item.question)).object()},
        {u"correctAnswer"_s, item.correctAnswer},
        {u"points"_s, item.points},
        {u"expoints"_s, item.expoints}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

Result<Content, QString> Content::load(const QString &folder)
{
    if (!QFileInfo(folder).isDir())
        return u"data folder "_s + folder + u" does not exist"_s;
    Content content;
    content.m_mediaFolder = QDir(folder).filePath(u"media"_s);

    for (const QString &path : jsonFiles(QDir(folder).filePath(u"channels"_s))) {
        auto bytes = readFile(path);
        if (!bytes)
            return bytes.error();
        auto channel = Json::decode<StreamerInfo>(bytes.value());
        if (!channel)
            return path + u": "_s + channel.error().message();
        if (content.channel(channel.value().id))
            return path + u": channel "_s + channel.value().id + u" is defined twice"_s;
        content.m_channels.append(std::move(channel).value());
    }
    for (const QString &path : jsonFiles(QDir(folder).filePath(u"trivia"_s))) {
        auto bytes = readFile(path);
        if (!bytes)
            return bytes.error();
        auto item = readTrivia(bytes.value());
        if (!item)
            return path + u": "_s + item.error();
        const QString id = item.value().question.id;
        if (content.m_trivia.contains(id))
            return path + u": trivia question "_s + id + u" is defined twice"_s;
        content.m_trivia.insert(id, std::move(item).value());
    }
    for (const QString &path : jsonFiles(QDir(folder).filePath(u"lists"_s))) {
        auto bytes = readFile(path);
        if (!bytes)
            return bytes.error();
        auto list = Json::decode<QList<Channel>>(bytes.value());
        if (!list)
            return path + u": "_s + list.error().message();
        content.m_lists.insert(QFileInfo(path).completeBaseName(), std::move(list).value());
    }
    return content;
}

const StreamerInfo *Content::channel(const QString &id) const
{
    for (const StreamerInfo &channel : m_channels) {
        if (channel.id == id)
            return &channel;
    }
    return nullptr;
}

StreamerInfo *Content::mutableChannel(const QString &id)
{
    for (StreamerInfo &channel : m_channels) {
        if (channel.id == id)
            return &channel;
    }
    return nullptr;
}

Result<ContentEdit, QString> Content::apply(ContentEdit edit)
{
    const bool removal = !edit.document;
    if (edit.kind == "trivia"_L1) {
        edit.channel.clear();
        if (removal) {
            if (!m_trivia.remove(edit.id))
                return u"no trivia question "_s + edit.id;
            return edit;
        }
        auto item = readTrivia(*edit.document);
        if (!item)
            return item.error();
        edit.id = item.value().question.id;
        m_trivia.insert(edit.id, std::move(item).value());
        return edit;
    }

    StreamerInfo *channel = mutableChannel(edit.channel);
    if (!channel)
        return u"channel: no channel "_s + edit.channel;
    if (edit.kind == "clocks"_L1 || edit.kind == "injections"_L1) {
        edit.id.clear();
        if (edit.kind == "clocks"_L1) {
            auto clocks = decodeDocument<QList<Clock>>(edit.document);
            if (!clocks)
                return clocks.error();
            channel->clocks = std::move(clocks).value();
        } else {
            auto injections = decodeDocument<QList<Injection>>(edit.document);
            if (!injections)
                return injections.error();
            channel->injections = std::move(injections).value();
        }
        return edit;
    }
    if (edit.kind == "poll"_L1) {
        std::optional<Poll> poll;
        if (!removal) {
            auto decoded = decodeDocument<Poll>(edit.document);
            if (!decoded)
                return decoded.error();
            if (decoded.value().questionType != "poll"_L1
                && decoded.value().questionType != "prediction"_L1)
                return u"questionType: expected \"poll\" or \"prediction\""_s;
            poll = std::move(decoded).value();
            edit.id = poll->id;
        }
        const qsizetype inPolls = takeOut(channel->polls, edit.id);
        const qsizetype inPredictions = takeOut(channel->predictions, edit.id);
        if (removal)
            return inPolls < 0 && inPredictions < 0
                ? Result<ContentEdit, QString>(u"no poll "_s + edit.id)
                : Result<ContentEdit, QString>(edit);
        if (poll->questionType == "prediction"_L1)
            putBack(channel->predictions, std::move(*poll), inPredictions);
        else
            putBack(channel->polls, std::move(*poll), inPolls);
        return edit;
    }
    if (edit.kind == "rating"_L1) {
        std::optional<Rating> rating;
        if (!removal) {
            auto decoded = decodeDocument<Rating>(edit.document);
            if (!decoded)
                return decoded.error();
            rating = std::move(decoded).value();
            edit.id = rating->id;
        }
        const qsizetype at = takeOut(channel->ratings, edit.id);
        if (removal)
            return at < 0 ? Result<ContentEdit, QString>(u"no rating "_s + edit.id)
                          : Result<ContentEdit, QString>(edit);
        putBack(channel->ratings, std::move(*rating), at);
        return edit;
    }
    return u"kind: expected poll, rating, trivia, clocks or injections"_s;
}

const TriviaItem *Content::trivia(const QString &id) const
{
    const auto found = m_trivia.constFind(id);
    return found == m_trivia.cend() ? nullptr : &*found;
}

std::optional<QList<Channel>> Content::channelList(const QString &broadcaster,
                                                   const QString &envName) const
{
    for (const QString &name : {broadcaster + u"__"_s + envName, broadcaster}) {
        const auto found = m_lists.constFind(name);
        if (found != m_lists.cend())
            return *found;
    }
    QList<Channel> list;
    for (const StreamerInfo &channel : m_channels) {
        if (channel.broadcaster_id != broadcaster)
            continue;
        const QByteArray page =
            "https://tv.example/" + broadcaster.toUtf8() + '/' + channel.id.toUtf8();
        list.append({channel.id, u"{}"_s, QString::fromLatin1(page.toBase64())});
    }
    if (list.isEmpty())
        return std::nullopt;
    return list;
}

const Poll *Content::poll(const StreamerInfo &channel, const QString &id) const
{
    for (const auto *list : {&channel.polls, &channel.predictions}) {
        if (!*list)
            continue;
        for (const Poll &poll : **list) {
            if (poll.id == id)
                return &poll;
        }
    }
    return nullptr;
}

const Rating *Content::rating(const StreamerInfo &channel, const QString &id) const
{
    if (channel.ratings) {
        for (const Rating &rating : *channel.ratings) {
            if (rating.id == id)
                return &rating;
        }
    }
    return nullptr;
}

} // namespace Vantora::DevServer
