#pragma once

#include "store_p.h"
#include "vantora/toolkit/result_p.h"

#include <vantora/records/streamerinfo.h>
#include <vantora/records/userrecords.h>

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>

// What the server offers: channel documents, trivia questions with their correct answers, the
// broadcasters' channel lists and media files, loaded once from a data folder:
//
//   <data>/channels/*.json   one channel document (StreamerInfo) per file, decoded strictly
//   <data>/trivia/*.json     one question per file:
//                            {"question": {TriviaQuestion}, "correctAnswer": "Paris",
//                             "points": 10, "expoints": 5}
//   <data>/lists/*.json      optional channel lists (Channel[]), named <broadcaster>__<env>.json
//                            or <broadcaster>.json for every environment; without one, a
//                            broadcaster's list names every channel whose broadcaster_id it is
//   <data>/media/            served as they are under /media/
//
// A file that does not decode stops the load with its name and the decoder's message, so a
// content author learns about a bad document at start-up, not from a viewer.
//
// The producer's edits (apply()) change the content in memory; the server keeps them in its
// database and applies them again at start-up. The data folder is never written.

namespace Vantora::DevServer {

struct TriviaItem
{
    TriviaQuestion question;
    QString correctAnswer; ///< one of question.answers
    qint64 points = 0; ///< credits for a correct answer
    double expoints = 0; ///< experience for answering at all
};

/// A trivia item as its file holds it.
QByteArray encodeTrivia(const TriviaItem &item);

class Content
{
public:
    static Result<Content, QString> load(const QString &folder);

    const QList<StreamerInfo> &channels() const { return m_channels; }
    const StreamerInfo *channel(const QString &id) const;
    const TriviaItem *trivia(const QString &id) const;
    const QMap<QString, TriviaItem> &triviaItems() const { return m_trivia; }
    /// The channel list of a broadcaster in one environment, or nothing for an unknown one.
    std::optional<QList<Channel>> channelList(const QString &broadcaster,
                                              const QString &envName) const;
    QString mediaFolder() const { return m_mediaFolder; }

    /// The poll or prediction `id` of a channel.
    const Poll *poll(const StreamerInfo &channel, const QString &id) const;
    const Rating *rating(const StreamerInfo &channel, const QString &id) const;

    /// Saves an item whole, or removes it when the edit has no document: documents are decoded
    /// with the SDK's strict rules, and one that does not decode changes nothing and says why.
    /// Returns the edit as the store keeps it (a saved item's id is the document's own).
    Result<ContentEdit, QString> apply(ContentEdit edit);

private:
    StreamerInfo *mutableChannel(const QString &id);

    QList<StreamerInfo> m_channels;
    QMap<QString, TriviaItem> m_trivia;
    QMap<QString, QList<Channel>> m_lists; ///< by file base name
    QString m_mediaFolder;
};

} // namespace Vantora::DevServer
