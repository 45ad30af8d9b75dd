// vantora-tv against the real dev server, in real time: the viewer's evening of evening.script.
// The app plays the viewer; this test plays the broadcaster (pushing live items when the script
// says it is ready) and then checks what the server stored, what was on screen, and the app's own
// account of its delegate calls. Screenshots and text dumps stay in the build tree.

#include "serverprocess.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;
using namespace Vantora::DevServerTest;

namespace {

QDir artifacts(QStringLiteral(VANTORA_TV_ARTIFACTS));

/// vantora-tv as a new viewer whose settings live in `state`, with its output in one stream.
std::unique_ptr<ChildProcess> startTv(const QTemporaryDir &state, const QStringList &arguments)
{
    qputenv("XDG_CONFIG_HOME", state.filePath(u"config"_s).toUtf8());
    return std::make_unique<ChildProcess>(QStringLiteral(VANTORA_TV),
                                          QStringList{u"--offscreen"_s} + arguments,
                                          QProcess::MergedChannels);
}

QJsonObject dump(const QString &name)
{
    QFile file(artifacts.filePath(name + u".json"_s));
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

TEST(TvApp, AnEveningWithTheDemoChannel)
{
    QTemporaryDir state;
    ServerProcess server(QStringLiteral(VANTORA_DEVSERVER),
                         {u"--port"_s, u"0"_s, u"--db"_s, state.filePath(u"dev.sqlite"_s)});
    ASSERT_NE(server.port, 0);
    for (const auto &[name, value] : server.exported().asKeyValueRange())
        qputenv(qPrintable(name), value.toUtf8());
    ASSERT_TRUE(artifacts.removeRecursively() && artifacts.mkpath(u"."_s));
    const auto tv =
        startTv(state,
                {u"--script"_s, QStringLiteral(VANTORA_TV_SCRIPT), u"--screenshots"_s,
                 artifacts.path(), u"--dump-tree"_s, artifacts.filePath(u"exit.json"_s)});
    const auto reach = [&](const QString &mark) {
        return tv->waitFor(u"vantora-tv: mark "_s + mark + u'\n', 60000);
    };
    // What the server stored: "kind item answer", "+" when right.
    const auto stored = [&] {
        QStringList all;
        for (const QJsonValue &a : admin(server.port, u"answers?channel=1001"_s).array())
            all << a["kind"_L1].toString() + u' ' + a["item"_L1].toString() + u' '
                    + a["answer"_L1].toVariant().toString()
                    + (a["correct"_L1].toBool() ? u" +"_s : u""_s);
        return all.join(u", "_s);
    };
    const auto inject = [&](const QString &kind, const QString &id) {
        admin(server.port, u"inject"_s,
              {{u"channel"_s, u"1001"_s}, {u"kind"_s, kind}, {u"id"_s, id}});
    };

    // The clock's poll was answered; the vote is stored before the app says it is ready. Then a
    // live trivia question, answered with the first answer, which is right; a live prediction,
    // voted, then settled in the viewer's favour; a live rating, five stars.
    ASSERT_TRUE(reach(u"ready-for-trivia"_s)) << qPrintable(tv->output());
    QString answers = u"poll p103 At a friend's place"_s;
    ASSERT_EQ(stored(), answers);
    inject(u"trivia"_s, u"t401"_s);
    ASSERT_TRUE(reach(u"ready-for-prediction"_s)) << qPrintable(tv->output());
    ASSERT_EQ(stored(), answers += u", trivia t401 France +"_s);
    inject(u"poll"_s, u"pr200"_s);
    ASSERT_TRUE(reach(u"prediction-voted"_s)) << qPrintable(tv->output());
    ASSERT_EQ(stored(), answers += u", poll pr200 Reds"_s);
    const QJsonObject settled = admin(server.port, u"settle"_s,
                                      {{u"channel"_s, u"1001"_s},
                                       {u"poll"_s, u"pr200"_s},
                                       {u"answer"_s, u"Reds"_s},
                                       {u"winAmount"_s, 50}})
                                    .object();
    ASSERT_TRUE(reach(u"ready-for-rating"_s)) << qPrintable(tv->output());
    inject(u"rating"_s, u"r300"_s);
    ASSERT_EQ(tv->finish(60000), 0) << qPrintable(tv->output());
    EXPECT_EQ(stored(), answers + u", rating r300 5"_s);

    // The server's one viewer: 10 + 20 + 20 credits from levels and the trivia, 50 from the win
    // as the winner.
    const QJsonArray viewers = admin(server.port, u"viewers"_s).array();
    ASSERT_EQ(viewers.size(), 1);
    EXPECT_EQ(viewers[0]["credits"_L1], 100);
    EXPECT_EQ(viewers[0]["level"_L1], 3);
    const QJsonObject winner{{u"id"_s, viewers[0]["id"_L1]}, {u"credits"_s, 100}};
    EXPECT_EQ(settled["winners"_L1], QJsonArray{winner});

    // On screen: the poll arrived at its video second and paused the video, with the remote on
    // its first answer (the fourth answer waits below, in the card's scrolling area).
    const QJsonObject poll = dump(u"1-poll"_s);
    EXPECT_EQ(int(poll["videoTime"_L1].toDouble()), 30);
    EXPECT_FALSE(poll["playing"_L1].toBool());
    for (const QString &text : {u"Where are you watching tonight's match?"_s, u"On the sofa"_s,
                                u"At a friend's place"_s, u"In a sports bar"_s})
        EXPECT_TRUE(texts(poll).contains(text)) << text.toStdString();
    EXPECT_EQ(poll["focus"_L1]["texts"_L1].toArray(), QJsonArray{u"On the sofa"_s});
    // The answered poll resumes the video; the info bar shows the viewer's points and level.
    const QJsonObject pollAnswered = dump(u"2-poll-answered"_s);
    EXPECT_EQ(named(pollAnswered, u"pointsLabel"_s), u"10"_s);
    EXPECT_EQ(named(pollAnswered, u"levelLabel"_s), u"2"_s);
    EXPECT_TRUE(pollAnswered["playing"_L1].toBool());
    const QJsonObject trivia = dump(u"4-trivia-answered"_s);
    EXPECT_TRUE(texts(trivia).contains(u"Which flag belongs to the host of the 1998 World Cup?"_s));
    EXPECT_EQ(named(trivia, u"pointsLabel"_s), u"30"_s);
    // The hint line follows what the remote reaches: a rating's stars lie side by side.
    const QStringList rating = texts(dump(u"9-rating"_s));
    EXPECT_TRUE(rating.contains(u"\u2190 \u2192"_s) && rating.contains(u"Choose"_s)
                && !rating.contains(u"Seek 10 s"_s));
    // The win notice shows the total the server holds; Back closes it, and the match is on
    // screen again, with the remote on the player.
    const QJsonObject total = dump(u"7-total"_s);
    EXPECT_TRUE(texts(total).contains(u"Close notice"_s));
    EXPECT_EQ(named(total, u"scoreTitleLabel"_s), u"Total Score:"_s);
    bool isNumber = false;
    EXPECT_EQ(named(total, u"totalPointsLabel"_s).remove(u',').toDouble(&isNumber), 100.0);
    EXPECT_TRUE(isNumber) << qPrintable(named(total, u"totalPointsLabel"_s));
    const QJsonObject exit = dump(u"exit"_s);
    EXPECT_FALSE(texts(exit).contains(u"Total Score:"_s));
    EXPECT_TRUE(texts(exit).contains(u"Seek 10 s"_s)) << "the player's hint line";
    EXPECT_TRUE(exit["playing"_L1].toBool());

    // The app's account of the overlay's calls: the pausing poll paused and resumed the video,
    // and each of the three cards took the remote and gave it back (so did the notice, which
    // the overlay closes a second time after ten seconds, when the app may already be gone).
    const QStringList lines = tv->lines();
    const qsizetype pause = lines.indexOf(u"vantora-tv: the overlay asks to pause"_s);
    EXPECT_GE(pause, 0);
    EXPECT_GT(lines.indexOf(u"vantora-tv: the overlay asks to play"_s), pause);
    for (const auto &[line, count] : {std::pair{u"vantora-tv: the overlay asks to pause"_s, 1},
                                      {u"VTA showing POLL"_s, 2},
                                      {u"VTA showing TRIVIA"_s, 1},
                                      {u"VTA showing Notice"_s, 1},
                                      {u"VTA showing RATING"_s, 1},
                                      {u"vantora-tv: the overlay takes the remote"_s, 4}})
        EXPECT_EQ(lines.count(line), count) << line.toStdString();
    EXPECT_GE(lines.count(u"vantora-tv: the overlay gives the remote back"_s), 4);

    for (const QString &shot :
         {u"1-poll"_s, u"2-poll-answered"_s, u"3-trivia"_s, u"4-trivia-answered"_s,
          u"5-prediction"_s, u"6-win"_s, u"7-total"_s, u"8-back-to-the-match"_s, u"9-rating"_s})
        EXPECT_EQ(QImage(artifacts.filePath(shot + u".png"_s)).size(), QSize(1920, 1080))
            << shot.toStdString();
}

// A backend that refuses, breaks or garbles: the app prints the SDK's report, the remote stays the
// player's, and back twice on it, within three seconds, leaves the app at once.
TEST(TvApp, ABrokenBackendIsReportedAndBackTwiceStillLeaves)
{
    QTemporaryDir state;
    ServerProcess server(QStringLiteral(VANTORA_DEVSERVER),
                         {u"--port"_s, u"0"_s, u"--db"_s, state.filePath(u"dev.sqlite"_s)});
    QFile script(state.filePath(u"leave.script"_s));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("+2 key Escape\n+0.5 key Escape\n+0 wait-for 30 never on screen\n");
    script.close();
    const QString served = u"http://127.0.0.1:%1"_s.arg(server.port);
    for (const auto &[backend, path, fault, report] :
         {std::tuple{u"http://127.0.0.1:9"_s, "", "", "VTA - Could not verify channel"},
          {served, "/channels/", "notjson", "VTA - Could not verify channel"},
          {served, "/userApi/user/register", "truncated", "VTA - Failed register"},
          {served, "/userApi/streamer/getInfo", "html500", "VTA Failed to get channel info"}}) {
        if (*fault)
            admin(server.port, u"faults"_s,
                  {{u"path"_s, QLatin1String(path)}, {u"fault"_s, QLatin1String(fault)}});
        const QTemporaryDir viewer;
        const auto tv = startTv(viewer, {u"--server"_s, backend, u"--script"_s, script.fileName()});
        EXPECT_TRUE(tv->waitFor(QString::fromUtf8(report), 10000)) << path << ' ' << fault;
        EXPECT_EQ(tv->finish(15000), 0) << qPrintable(tv->output());
        admin(server.port, u"faults"_s, {{u"clear"_s, true}});
    }
}

} // namespace
