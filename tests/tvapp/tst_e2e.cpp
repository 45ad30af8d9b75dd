// vantora-tv against the real dev server, in real time: the viewer's evening of evening.script.
// The app plays the viewer; this test plays the broadcaster (pushing live items when the script
// says it is ready) and then checks what the server stored, what was on screen, and the app's own
// account of its delegate calls. Screenshots and text dumps stay in the build tree.

#include "serverprocess.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace Vantora::DevServerTest;

namespace {

const QString artifacts = QStringLiteral(VANTORA_TV_ARTIFACTS);

/// The dev server's admin API.
class Admin
{
public:
    explicit Admin(quint16 port) : m_origin(u"http://127.0.0.1:%1/admin"_s.arg(port)) { }

    QJsonDocument get(const QString &path) { return send(path, std::nullopt); }
    QJsonObject post(const QString &path, const QJsonObject &body)
    {
        return send(path, QJsonDocument(body).toJson(QJsonDocument::Compact)).object();
    }
    QJsonArray answers() { return get(u"/answers?channel=1001"_s).array(); }

private:
    QJsonDocument send(const QString &path, const std::optional<QByteArray> &body)
    {
        QNetworkRequest request(QUrl(m_origin + path));
        request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
        QNetworkReply *reply = body ? m_network.post(request, *body) : m_network.get(request);
        EXPECT_TRUE(waitUntil([&] { return reply->isFinished(); })) << path.toStdString();
        const QByteArray bytes = reply->readAll();
        EXPECT_EQ(reply->error(), QNetworkReply::NoError)
            << path.toStdString() << ": " << bytes.toStdString();
        reply->deleteLater();
        return QJsonDocument::fromJson(bytes);
    }

    QString m_origin;
    QNetworkAccessManager m_network;
};

/// vantora-tv in a process of its own; its standard output is read as it comes.
class TvProcess
{
public:
    TvProcess(const QProcessEnvironment &environment, const QStringList &arguments)
    {
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral(VANTORA_TV), arguments);
    }
    ~TvProcess()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    bool waitForLine(const QString &line, int ms)
    {
        return waitUntil(
                   [&] {
                       read();
                       return m_lines.contains(line) || m_process.state() == QProcess::NotRunning;
                   },
                   ms)
            && m_lines.contains(line);
    }
    bool waitForExit(int ms)
    {
        return waitUntil(
            [&] {
                read();
                return m_process.state() == QProcess::NotRunning;
            },
            ms);
    }
    int exitCode() const
    {
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    const QStringList &lines()
    {
        read();
        return m_lines;
    }
    std::string output() { return lines().join(u'\n').toStdString(); }

private:
    void read()
    {
        m_pending += m_process.readAll();
        qsizetype end;
        while ((end = m_pending.indexOf('\n')) >= 0) {
            m_lines.append(QString::fromUtf8(m_pending.left(end)));
            m_pending.remove(0, end + 1);
        }
    }

    QProcess m_process;
    QByteArray m_pending;
    QStringList m_lines;
};

QJsonObject readDump(const QString &name)
{
    QFile file(QDir(artifacts).filePath(name + u".json"_s));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return QJsonDocument::fromJson(file.readAll()).object();
}

/// The text of the visible item named `name`; empty when none is on screen.
QString named(const QJsonObject &dump, const QString &name)
{
    for (const QJsonValue &text : dump["texts"_L1].toArray()) {
        if (text["name"_L1].toString() == name)
            return text["text"_L1].toString();
    }
    return {};
}

QStringList texts(const QJsonObject &dump)
{
    QStringList all;
    for (const QJsonValue &text : dump["texts"_L1].toArray())
        all.append(text["text"_L1].toString());
    return all;
}

qsizetype indexOfLine(const QStringList &lines, const QString &line)
{
    return lines.indexOf(line);
}

TEST(TvApp, AnEveningWithTheDemoChannel)
{
    QTemporaryDir state;
    ASSERT_TRUE(state.isValid());
    ServerProcess server(QStringLiteral(VANTORA_DEVSERVER),
                         {u"--port"_s, u"0"_s, u"--db"_s, state.filePath(u"dev.sqlite"_s)});
    ASSERT_NE(server.port, 0);
    Admin admin(server.port);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QHash<QString, QString> exported = server.exported();
    for (auto it = exported.cbegin(); it != exported.cend(); ++it)
        environment.insert(it.key(), it.value());
    environment.insert(u"XDG_CONFIG_HOME"_s, state.filePath(u"config"_s)); // a new viewer
    ASSERT_TRUE(QDir(artifacts).removeRecursively() && QDir().mkpath(artifacts));
    TvProcess tv(environment,
                 {u"--offscreen"_s, u"--script"_s, QStringLiteral(VANTORA_TV_SCRIPT),
                  u"--screenshots"_s, artifacts, u"--dump-tree"_s,
                  QDir(artifacts).filePath(u"exit.json"_s)});

    // The clock's poll was answered; the vote is stored before the app says it is ready.
    ASSERT_TRUE(tv.waitForLine(u"vantora-tv: mark ready-for-trivia"_s, 60000)) << tv.output();
    QJsonArray answers = admin.answers();
    ASSERT_EQ(answers.size(), 1) << QJsonDocument(answers).toJson().toStdString();
    EXPECT_EQ(answers[0]["kind"_L1].toString(), u"poll"_s);
    EXPECT_EQ(answers[0]["item"_L1].toString(), u"p103"_s);
    EXPECT_EQ(answers[0]["answer"_L1].toString(), u"At a friend's place"_s);
    const QString viewer = answers[0]["viewerId"_L1].toString();

    // A live trivia question, answered with the first answer, which is right.
    admin.post(u"/inject"_s,
               {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"trivia"_s}, {u"id"_s, u"t401"_s}});
    ASSERT_TRUE(tv.waitForLine(u"vantora-tv: mark ready-for-prediction"_s, 60000)) << tv.output();
    answers = admin.answers();
    ASSERT_EQ(answers.size(), 2);
    EXPECT_EQ(answers[1]["item"_L1].toString(), u"t401"_s);
    EXPECT_EQ(answers[1]["answer"_L1].toString(), u"France"_s);
    EXPECT_TRUE(answers[1]["correct"_L1].toBool());

    // A live prediction, voted, then settled in the viewer's favour.
    admin.post(u"/inject"_s,
               {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"poll"_s}, {u"id"_s, u"pr200"_s}});
    ASSERT_TRUE(tv.waitForLine(u"vantora-tv: mark prediction-voted"_s, 60000)) << tv.output();
    answers = admin.answers();
    ASSERT_EQ(answers.size(), 3);
    EXPECT_EQ(answers[2]["item"_L1].toString(), u"pr200"_s);
    EXPECT_EQ(answers[2]["answer"_L1].toString(), u"Reds"_s);
    const QJsonObject settled = admin.post(u"/settle"_s,
                                           {{u"channel"_s, u"1001"_s},
                                            {u"poll"_s, u"pr200"_s},
                                            {u"answer"_s, u"Reds"_s},
                                            {u"winAmount"_s, 50}});
    ASSERT_EQ(settled["winners"_L1].toArray().size(), 1);
    EXPECT_EQ(settled["winners"_L1][0]["id"_L1].toString(), viewer);

    // A live rating, five stars.
    ASSERT_TRUE(tv.waitForLine(u"vantora-tv: mark ready-for-rating"_s, 60000)) << tv.output();
    admin.post(u"/inject"_s,
               {{u"channel"_s, u"1001"_s}, {u"kind"_s, u"rating"_s}, {u"id"_s, u"r300"_s}});

    ASSERT_TRUE(tv.waitForExit(60000)) << tv.output();
    ASSERT_EQ(tv.exitCode(), 0) << tv.output();
    answers = admin.answers();
    ASSERT_EQ(answers.size(), 4);
    EXPECT_EQ(answers[3]["item"_L1].toString(), u"r300"_s);

    // What the server holds for the viewer at the end.
    const QJsonArray viewers = admin.get(u"/viewers"_s).array();
    ASSERT_EQ(viewers.size(), 1);
    const double credits = viewers[0]["credits"_L1].toDouble();
    EXPECT_EQ(credits, 100.0); // 10 + 20 + 20 from levels and the trivia, 50 from the win
    EXPECT_EQ(viewers[0]["level"_L1].toInt(), 3);

    // On screen: the poll arrived at its video second and paused the video, with the remote on
    // its first answer and the viewer's points in the info bar.
    const QJsonObject poll = readDump(u"1-poll"_s);
    EXPECT_GE(poll["videoTime"_L1].toDouble(), 30.0);
    EXPECT_LT(poll["videoTime"_L1].toDouble(), 31.0);
    EXPECT_FALSE(poll["playing"_L1].toBool());
    // (The fourth answer waits below, in the card's scrolling area.)
    for (const QString &text : {u"Where are you watching tonight's match?"_s, u"On the sofa"_s,
                                u"At a friend's place"_s, u"In a sports bar"_s})
        EXPECT_TRUE(texts(poll).contains(text)) << text.toStdString();
    EXPECT_EQ(poll["focus"_L1]["texts"_L1].toArray(), QJsonArray{u"On the sofa"_s})
        << QJsonDocument(poll["focus"_L1].toObject()).toJson().toStdString();

    const QJsonObject pollAnswered = readDump(u"2-poll-answered"_s);
    EXPECT_EQ(named(pollAnswered, u"pointsLabel"_s), u"10"_s);
    EXPECT_EQ(named(pollAnswered, u"levelLabel"_s), u"2"_s);
    EXPECT_TRUE(pollAnswered["playing"_L1].toBool()) << "the answered poll resumes the video";

    const QJsonObject trivia = readDump(u"4-trivia-answered"_s);
    EXPECT_TRUE(texts(trivia).contains(u"Which flag belongs to the host of the 1998 World Cup?"_s));
    EXPECT_EQ(named(trivia, u"pointsLabel"_s), u"30"_s);

    // The hint line follows what the remote reaches: a rating's stars lie side by side.
    const QStringList rating = texts(readDump(u"9-rating"_s));
    EXPECT_TRUE(rating.contains(u"\u2190 \u2192"_s) && rating.contains(u"Choose"_s)
                && !rating.contains(u"Seek 10 s"_s));

    // The win notice shows the total the server holds; Back closes it.
    const QJsonObject total = readDump(u"7-total"_s);
    EXPECT_TRUE(texts(total).contains(u"Close notice"_s));
    EXPECT_EQ(named(total, u"scoreTitleLabel"_s), u"Total Score:"_s);
    QString shownTotal = named(total, u"totalPointsLabel"_s);
    bool isNumber = false;
    EXPECT_EQ(shownTotal.remove(u',').toDouble(&isNumber), credits);
    EXPECT_TRUE(isNumber) << named(total, u"totalPointsLabel"_s).toStdString();

    // Back closed the notice; the match is on screen again, with the remote on the player.
    const QJsonObject exit = readDump(u"exit"_s);
    EXPECT_FALSE(texts(exit).contains(u"Total Score:"_s));
    EXPECT_TRUE(texts(exit).contains(u"Seek 10 s"_s)) << "the player's hint line";
    EXPECT_TRUE(exit["playing"_L1].toBool());

    // The app's account of the overlay's calls: the pausing poll paused and resumed the video,
    // and each of the three cards took the remote and gave it back (so did the notice, which
    // the overlay closes a second time after ten seconds, when the app may already be gone).
    const QStringList &lines = tv.lines();
    const qsizetype pause = indexOfLine(lines, u"vantora-tv: the overlay asks to pause"_s);
    const qsizetype play = indexOfLine(lines, u"vantora-tv: the overlay asks to play"_s);
    EXPECT_GE(pause, 0);
    EXPECT_GT(play, pause);
    EXPECT_EQ(lines.count(u"vantora-tv: the overlay asks to pause"_s), 1);
    EXPECT_EQ(lines.count(u"VTA showing POLL"_s), 2);
    EXPECT_EQ(lines.count(u"VTA showing TRIVIA"_s), 1);
    EXPECT_EQ(lines.count(u"VTA showing Notice"_s), 1);
    EXPECT_EQ(lines.count(u"VTA showing RATING"_s), 1);
    EXPECT_EQ(lines.count(u"vantora-tv: the overlay takes the remote"_s), 4);
    EXPECT_GE(lines.count(u"vantora-tv: the overlay gives the remote back"_s), 4);

    for (const QString &shot :
         {u"1-poll"_s, u"2-poll-answered"_s, u"3-trivia"_s, u"4-trivia-answered"_s,
          u"5-prediction"_s, u"6-win"_s, u"7-total"_s, u"8-back-to-the-match"_s, u"9-rating"_s}) {
        const QImage image(QDir(artifacts).filePath(shot + u".png"_s));
        EXPECT_EQ(image.size(), QSize(1920, 1080)) << shot.toStdString();
    }
}

// Back twice on the bare player, within three seconds, leaves the app at once.
TEST(TvApp, BackTwiceOnThePlayerLeavesTheApp)
{
    QTemporaryDir state;
    QFile script(state.filePath(u"leave.script"_s));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("+1 key Escape\n+0.5 key Escape\n+0 wait-for 30 never on screen\n");
    script.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, state.filePath(u"config"_s));
    TvProcess tv(environment,
                 {u"--offscreen"_s, u"--server"_s, u"http://127.0.0.1:9"_s, u"--script"_s,
                  script.fileName()});
    ASSERT_TRUE(tv.waitForExit(15000)) << tv.output();
    EXPECT_EQ(tv.exitCode(), 0) << tv.output();
}

} // namespace
