// What the broadcaster's console stands on: edits checked by the SDK's decoder and kept across
// restarts, and uploads (the admin token: tst_process.cpp; the live feed: tests/peers).

#include "serverfixture.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QFile>

using namespace Vantora::DevServerTest;

using ConsoleTest = ServerFixture;

TEST_F(ConsoleTest, editsAreCheckedByTheSdksDecoderKeptAndServedInTheChannelDocument)
{
    const auto seedDigest = [] {
        QCryptographicHash digest(QCryptographicHash::Sha256);
        for (QDirIterator it(demoFolder, QDir::Files, QDirIterator::Subdirectories);
             it.hasNext();) {
            QFile file(it.next());
            if (file.open(QIODevice::ReadOnly))
                digest.addData(file.fileName().toUtf8() + file.readAll());
        }
        return digest.result();
    };
    const auto save = [&](const char *kind, const QByteArray &document) {
        return admin(u"items"_s,
                     R"({"channel":"1001","kind":")" + QByteArray(kind) + R"(","document":)"
                         + document + '}');
    };
    // The ids in a list of items, and the channel's items as the console reads them.
    const auto ids = [](const QJsonValue &list) {
        QStringList found;
        for (const QJsonValue &item : list.toArray())
            found.append(item["id"_L1].toString());
        return found;
    };
    const auto items = [&] {
        return http("GET", u"/admin/items?channel=1001"_s).json();
    };
    const QByteArray seed = seedDigest();
    // A producer copies the kick-off poll and changes it, as the console's editor does.
    const QJsonObject seeded = items();
    QJsonObject poll = seeded["polls"_L1][3].toObject();
    poll[u"id"_s] = u"p900"_s;
    const auto edited = [&poll](const char *member, const QJsonValue &value) {
        QJsonObject copy = poll;
        copy[QString::fromLatin1(member)] = value;
        return QJsonDocument(copy).toJson(QJsonDocument::Compact);
    };
    EXPECT_EQ(save("poll", edited("question", u"Goal of the night?"_s)).body,
              R"({"channel":"1001","id":"p900","kind":"poll","removed":false})");

    // Refusals say what the decoder says and change nothing.
    for (const auto &[kind, document, error] :
         {std::tuple{"poll", edited("answers", QJsonArray{QJsonObject{{u"answer"_s, 3}}}),
                     "poll: answers[0].answer: expected string, got number"},
          {"poll", edited("questionType", u"survey"_s),
           "poll: questionType: expected \"poll\" or \"prediction\""},
          {"rating", R"({"id":"r9"})", "rating: name: missing"},
          {"trivia",
           R"({"question":{"id":"t9","question":"Q","answers":[{"answer":"A"}],"category":"c"},
              "correctAnswer":"B"})",
           "trivia: correctAnswer: \"B\" is not one of the answers"},
          {"clocks", R"([{"id":"p900"}])", "clocks: [0].module: missing"},
          {"banner", "{}", "banner: kind: expected poll, rating, trivia, clocks or injections"}}) {
        const HttpResult reply = save(kind, document);
        EXPECT_EQ(reply.status, 400) << error;
        EXPECT_EQ(reply.json()["error"_L1].toString(), QString::fromUtf8(error));
    }
    EXPECT_EQ(ids(items()["polls"_L1]),
              (QStringList{u"p100"_s, u"p101"_s, u"p102"_s, u"p103"_s, u"p900"_s}));

    // A poll saved as a prediction moves to the predictions; a removal goes once.
    save("poll", edited("questionType", u"prediction"_s));
    EXPECT_EQ(ids(items()["predictions"_L1]), (QStringList{u"pr200"_s, u"p900"_s}));
    const QByteArray removal = R"({"channel":"1001","kind":"poll","id":"p103"})";
    EXPECT_EQ(admin(u"items/delete"_s, removal).status, 200);
    EXPECT_EQ(admin(u"items/delete"_s, removal).json()["error"_L1].toString(),
              u"poll: no poll p103"_s);
    QJsonObject clock = seeded["clocks"_L1][0].toObject();
    clock[u"id"_s] = u"p900"_s;
    EXPECT_EQ(save("clocks", QJsonDocument(QJsonArray{clock}).toJson()).status, 200);

    // The SDK's channel document shows the edits, also after a restart on the same database.
    m_server.reset();
    SetUp();
    const QJsonObject info = api(u"/streamer/getInfo"_s, "$W").json();
    EXPECT_EQ(ids(info["predictions"_L1]), (QStringList{u"pr200"_s, u"p900"_s}));
    EXPECT_EQ(ids(info["polls"_L1]), (QStringList{u"p100"_s, u"p101"_s, u"p102"_s}));
    EXPECT_EQ(info["clocks"_L1].toArray(), QJsonArray{clock});
    EXPECT_EQ(seedDigest(), seed) << "the data folder is never written";
}

TEST_F(ConsoleTest, uploadsArePicturesByTheirBytesKeptBesideTheDatabaseUnderPlainNames)
{
    const QByteArray png = "\x89PNG\r\n\x1a\n and the rest";
    for (const auto &[name, bytes, reply] :
         {std::tuple{"../../channels/My Logo!.jpeg"_ba, png,
                     R"(200 {"bytes":21,"path":"uploads/My-Logo-.png"})"},
          {".hidden", "GIF89a...", R"(200 {"bytes":9,"path":"uploads/picture.gif"})"},
          {"notes.png", "just text", R"(415 {"error":"not a PNG, JPEG, GIF or WebP picture"})"},
          {"huge.png", png + QByteArray(2 * 1024 * 1024, 'x'),
           R"(413 {"error":"a picture may have 2 MB at most"})"}}) {
        const HttpResult got =
            http("POST", u"/admin/media"_s,
                 "--b\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" + name
                     + "\"\r\nContent-Type: image/png\r\n\r\n" + bytes + "\r\n--b--\r\n",
                 "multipart/form-data; boundary=b");
        EXPECT_EQ(QByteArray::number(got.status) + ' ' + got.body, reply) << name.constData();
    }
    EXPECT_EQ(http("GET", u"/media/uploads/My-Logo-.png"_s).body, png);
    EXPECT_TRUE(QFile::exists(m_dir.filePath(u"db-media/My-Logo-.png"_s)));
}
