// PusherHelper: the seven events' payloads and the delegate calls they become, the injection
// delay, the weak delegate, and one run over a real socket.

#include "vantora/realtime/liveevents_p.h"
#include "vantora/realtime/pusherclient_p.h"
#include "vantora/realtime/pusherhelper_p.h"
#include "vantora/toolkit/virtualtimescheduler_p.h"
#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include "scriptedserver.h"
#include "testsupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <gtest/gtest.h>

#include <memory>

using namespace Vantora;
using namespace Vantora::TestSupport;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

QString flagText(bool value)
{
    return value ? u"1"_s : u"0"_s;
}

QString optionsText(const InteractionOptions &options, qint64 timestamp)
{
    return u"time=%1 closeAfter=%2 hideAnswered=%3 pause=%4 at=%5"_s.arg(options.time)
        .arg(flagText(options.closeAfter), flagText(options.hideAnswered), flagText(options.pause))
        .arg(timestamp);
}

template <class Item>
QString idsText(const std::optional<QList<Item>> &items)
{
    if (!items)
        return u"absent"_s;
    QStringList ids;
    for (const Item &item : *items)
        ids << item.id;
    return u"["_s + ids.join(u',') + u"]"_s;
}

// Writes down every call, one line each.
class RecordingDelegate : public QObject, public PusherHelperDelegate
{
public:
    QStringList calls;

    void inject(const Poll &poll, const InteractionOptions &options, qint64 timestamp) override
    {
        calls << u"poll "_s + poll.id + u' ' + optionsText(options, timestamp);
    }
    void inject(const Rating &rating, const InteractionOptions &options, qint64 timestamp) override
    {
        calls << u"rating "_s + rating.id + u' ' + optionsText(options, timestamp);
    }
    void inject(const QString &triviaID, const InteractionOptions &options,
                qint64 timestamp) override
    {
        calls << u"trivia "_s + triviaID + u' ' + optionsText(options, timestamp);
    }
    void updatedInfo(const std::optional<QList<Poll>> &polls,
                     const std::optional<QList<Rating>> &ratings,
                     const std::optional<QList<Poll>> &predictions) override
    {
        calls << u"info polls=%1 ratings=%2 predictions=%3"_s.arg(idsText(polls), idsText(ratings),
                                                                  idsText(predictions));
    }
    void didClose(const QString &pollID) override { calls << u"close "_s + pollID; }
    void didReceivePredictionResult(const PredictionWin &win) override
    {
        calls << u"win answer=%1 amount=%2 poll=%3"_s.arg(win.answer)
                     .arg(win.winAmount)
                     .arg(win.pollID.value_or(u"absent"_s));
    }
    void didRequestRefresh() override { calls << u"refresh"_s; }
};

QJsonObject pollJson(const QString &id)
{
    return QJsonObject{
        {u"name"_s, u"Who wins?"_s},
        {u"id"_s, id},
        {u"question"_s, u"Who wins tonight?"_s},
        {u"questionType"_s, u"text"_s},
        {u"type"_s, u"poll"_s},
        {u"hideButtons"_s, 0},
        {u"image"_s, u""_s},
        {u"time_limit"_s, 20},
        {u"viewType"_s, u"percent"_s},
        {u"status"_s, u"active"_s},
        {u"answers"_s,
         QJsonArray{
             QJsonObject{{u"answer"_s, u"Home"_s}, {u"reward"_s, 5}, {u"isRewardSent"_s, false}}}},
        {u"prizes"_s, QJsonArray{}},
        {u"expoints"_s, u"10"_s},
    };
}

QJsonObject ratingJson(const QString &id)
{
    return QJsonObject{
        {u"name"_s, u"Rate the goal"_s}, {u"id"_s, id},
        {u"icon"_s, u"star"_s},          {u"optionsNumber"_s, u"5"_s},
        {u"prizes"_s, QJsonArray{}},
    };
}

QJsonObject with(QJsonObject object, const QString &key, const QJsonValue &value)
{
    if (value.isUndefined())
        object.remove(key);
    else
        object.insert(key, value);
    return object;
}

std::optional<QString> text(const QJsonObject &payload)
{
    return QString::fromUtf8(QJsonDocument(payload).toJson(QJsonDocument::Compact));
}

const QJsonValue absent = QJsonValue(QJsonValue::Undefined);

// An injection with the gate open and every option written out.
QJsonObject injection(const QString &itemKey, const QJsonValue &item)
{
    return QJsonObject{{u"smartTV"_s, true},
                       {u"once_per_user"_s, true},
                       {u"close_post_interaction"_s, true},
                       {u"timeToStay"_s, 45},
                       {u"starting_time"_s, 1767225600},
                       {itemKey, item}};
}

QJsonObject pollPath(const QJsonValue &id)
{
    return QJsonObject{{u"poll"_s, QJsonObject{{u"_id"_s, QJsonObject{{u"$id"_s, id}}}}}};
}

QJsonObject win(const QJsonValue &answer, const QJsonValue &amount)
{
    return with(with(pollPath(u"abc"_s), u"answer"_s, answer), u"winAmount"_s, amount);
}

// Catches the realtime category's debug lines: why an event did nothing.
class DropLog
{
public:
    DropLog()
    {
        QLoggingCategory::setFilterRules(u"vantora.realtime.debug=true"_s);
        lines().clear();
        m_previous = qInstallMessageHandler(&DropLog::handle);
    }
    ~DropLog()
    {
        qInstallMessageHandler(m_previous);
        QLoggingCategory::setFilterRules(QString());
    }
    static QStringList &lines()
    {
        static QStringList all;
        return all;
    }

private:
    static void handle(QtMsgType, const QMessageLogContext &context, const QString &message)
    {
        if (qstrcmp(context.category, "vantora.realtime") == 0)
            lines() << message;
    }
    QtMessageHandler m_previous = nullptr;
};

struct PayloadRow
{
    const char *name;
    QString event;
    std::optional<QString> data;
    QStringList calls; ///< what the delegate hears
    QString dropReason = {}; ///< for a drop: part of the line that explains it
};

} // namespace

TEST(PusherHelperPayloads, eachPayloadBecomesItsCallOrIsDroppedWithItsReason)
{
    const QString gate = u"time=45 closeAfter=1 hideAnswered=1 pause=0 at=1767225600"_s;
    const QJsonObject poll = injection(u"poll"_s, pollJson(u"P1"_s));
    const QString notForTV = u"not for smart TVs"_s;
    const QString noPollID = u"no text at poll._id.$id"_s;
    const QJsonObject infoLists{{u"polls"_s, QJsonArray{pollJson(u"P1"_s), pollJson(u"P2"_s)}},
                                {u"ratings"_s, QJsonArray{ratingJson(u"R1"_s)}},
                                {u"predictions"_s, QJsonArray{pollJson(u"W1"_s)}}};
    auto options = [](const QString &time, const QString &flags = u"0 hideAnswered=0"_s) {
        return u"time="_s + time + u" closeAfter="_s + flags + u" pause=0 at=0"_s;
    };
    const QJsonObject bare{{u"smartTV"_s, true}, {u"poll"_s, pollJson(u"P1"_s)}};

    const PayloadRow rows[] = {
        // The three injections, their gate and their options.
        {"poll with every option", u"injectPoll"_s, text(poll), {u"poll P1 "_s + gate}},
        {"rating with every option",
         u"injectRating"_s,
         text(injection(u"rating"_s, ratingJson(u"R1"_s))),
         {u"rating R1 "_s + gate}},
        {"trivia with every option",
         u"injectQuiz"_s,
         text(injection(u"id"_s, u"T1"_s)),
         {u"trivia T1 "_s + gate}},
        {"no smartTV", u"injectPoll"_s, text(with(poll, u"smartTV"_s, absent)), {}, notForTV},
        {"smartTV false", u"injectPoll"_s, text(with(poll, u"smartTV"_s, false)), {}, notForTV},
        {"smartTV 1 is no boolean",
         u"injectQuiz"_s,
         text(with(poll, u"smartTV"_s, 1)),
         {},
         notForTV},
        {"smartTV as text",
         u"injectRating"_s,
         text(with(poll, u"smartTV"_s, u"true"_s)),
         {},
         notForTV},
        {"defaults", u"injectPoll"_s, text(bare), {u"poll P1 "_s + options(u"30"_s)}},
        {"timeToStay text 45",
         u"injectPoll"_s,
         text(with(bare, u"timeToStay"_s, u"45"_s)),
         {u"poll P1 "_s + options(u"45"_s)}},
        {"timeToStay text +7",
         u"injectPoll"_s,
         text(with(bare, u"timeToStay"_s, u"+7"_s)),
         {u"poll P1 "_s + options(u"7"_s)}},
        {"timeToStay text abc",
         u"injectPoll"_s,
         text(with(bare, u"timeToStay"_s, u"abc"_s)),
         {u"poll P1 "_s + options(u"30"_s)}},
        {"timeToStay empty text",
         u"injectPoll"_s,
         text(with(bare, u"timeToStay"_s, u""_s)),
         {u"poll P1 "_s + options(u"30"_s)}},
        {"timeToStay text with a blank",
         u"injectPoll"_s,
         text(with(bare, u"timeToStay"_s, u" 45"_s)),
         {u"poll P1 "_s + options(u"30"_s)}},
        {"timeToStay 45.0 is whole",
         u"injectPoll"_s,
         uR"({"smartTV":true,"timeToStay":45.0,"poll":)"_s + *text(pollJson(u"P1"_s)) + u"}"_s,
         {u"poll P1 "_s + options(u"45"_s)}},
        // JSON has no integer limit: one beyond 64 bits reads as a float, so an option takes
        // its default and a key nobody reads is ignored.
        {"options beyond 64 bits",
         u"injectPoll"_s,
         uR"({"smartTV":true,"timeToStay":100000000000000000000,"starting_time":)"
         uR"(-100000000000000000000,"n":1)"_s
             + QString(400, u'0') + u",\"poll\":"_s + *text(pollJson(u"P1"_s)) + u"}"_s,
         {u"poll P1 "_s + options(u"30"_s)}},
        {"timeToStay fraction",
         u"injectPoll"_s,
         text(with(bare, u"timeToStay"_s, 45.5)),
         {u"poll P1 "_s + options(u"30"_s)}},
        {"timeToStay boolean",
         u"injectPoll"_s,
         text(with(bare, u"timeToStay"_s, true)),
         {u"poll P1 "_s + options(u"30"_s)}},
        {"starting_time as text",
         u"injectPoll"_s,
         text(with(bare, u"starting_time"_s, u"100"_s)),
         {u"poll P1 "_s + options(u"30"_s)}},
        {"flags as numbers are false",
         u"injectPoll"_s,
         text(with(with(bare, u"once_per_user"_s, 1), u"close_post_interaction"_s, u"true"_s)),
         {u"poll P1 "_s + options(u"30"_s)}},
        {"poll missing",
         u"injectPoll"_s,
         text(with(poll, u"poll"_s, absent)),
         {},
         u"poll: missing"_s},
        {"poll with boolean hideButtons",
         u"injectPoll"_s,
         text(with(poll, u"poll"_s, with(pollJson(u"P1"_s), u"hideButtons"_s, true))),
         {},
         u"poll: hideButtons: expected integer, got boolean"_s},
        {"rating with numeric optionsNumber",
         u"injectRating"_s,
         text(injection(u"rating"_s, with(ratingJson(u"R1"_s), u"optionsNumber"_s, 5))),
         {},
         u"rating: optionsNumber"_s},
        {"trivia id a number", u"injectQuiz"_s, text(injection(u"id"_s, 5)), {}, u"\"id\""_s},
        {"trivia without id",
         u"injectQuiz"_s,
         text(injection(u"other"_s, u"T1"_s)),
         {},
         u"\"id\""_s},
        // Data that is not a JSON object.
        {"no data text", u"injectPoll"_s, std::nullopt, {}, u"no data text"_s},
        {"invalid JSON", u"stop_poll"_s, u"{\"poll\":"_s, {}, u"invalid JSON"_s},
        {"empty data", u"pollWin"_s, u""_s, {}, u"invalid JSON"_s},
        {"array", u"streamerInfo"_s, u"[1,2]"_s, {}, u"not a JSON object"_s},
        {"unknown event", u"injectVideo"_s, text(poll), {}, u"not an event of the channel"_s},
        // streamerInfo and its three optional lists.
        {"three lists",
         u"streamerInfo"_s,
         text({{u"streamerInfo"_s, infoLists}}),
         {u"info polls=[P1,P2] ratings=[R1] predictions=[W1]"_s}},
        {"an empty list is present",
         u"streamerInfo"_s,
         text({{u"streamerInfo"_s, QJsonObject{{u"polls"_s, QJsonArray{}}}}}),
         {u"info polls=[] ratings=absent predictions=absent"_s}},
        {"a list that fails is absent",
         u"streamerInfo"_s,
         text({{u"streamerInfo"_s,
                with(infoLists, u"ratings"_s, QJsonArray{ratingJson(u"R1"_s), 7})}}),
         {u"info polls=[P1,P2] ratings=absent predictions=[W1]"_s}},
        {"no list at all",
         u"streamerInfo"_s,
         text({{u"streamerInfo"_s, QJsonObject{{u"clocks"_s, QJsonArray{}}}}}),
         {},
         u"no list"_s},
        {"no list decodes",
         u"streamerInfo"_s,
         text({{u"streamerInfo"_s, QJsonObject{{u"polls"_s, u"P1"_s}, {u"ratings"_s, 1}}}}),
         {},
         u"no list"_s},
        {"streamerInfo a text",
         u"streamerInfo"_s,
         text({{u"streamerInfo"_s, u"{}"_s}}),
         {},
         u"not an object"_s},
        // stop_poll and the poll._id.$id path.
        {"stop_poll", u"stop_poll"_s, text(pollPath(u"abc"_s)), {u"close abc"_s}},
        {"plain text poll", u"stop_poll"_s, text({{u"poll"_s, u"abc"_s}}), {}, noPollID},
        {"$id a number", u"stop_poll"_s, text(pollPath(7)), {}, noPollID},
        {"_id with a member that is no text",
         u"stop_poll"_s,
         text({{u"poll"_s,
                QJsonObject{{u"_id"_s, QJsonObject{{u"$id"_s, u"abc"_s}, {u"n"_s, 1}}}}}}),
         {},
         noPollID},
        {"_id without $id",
         u"stop_poll"_s,
         text({{u"poll"_s, QJsonObject{{u"_id"_s, QJsonObject{{u"id"_s, u"abc"_s}}}}}}),
         {},
         noPollID},
        // pollWin: the path, and the amount as decimal text.
        {"win",
         u"pollWin"_s,
         text(win(u"Home"_s, u"12.5"_s)),
         {u"win answer=Home amount=12.5 poll=abc"_s}},
        {"win amount in hex",
         u"pollWin"_s,
         text(win(u"Home"_s, u"0x1p3"_s)),
         {u"win answer=Home amount=8 poll=abc"_s}},
        {"win amount not a number",
         u"pollWin"_s,
         text(win(u"Home"_s, u"lots"_s)),
         {u"win answer=Home amount=0 poll=abc"_s}},
        {"win amount with a blank",
         u"pollWin"_s,
         text(win(u"Home"_s, u" 5"_s)),
         {u"win answer=Home amount=0 poll=abc"_s}},
        {"win amount a number", u"pollWin"_s, text(win(u"Home"_s, 12.5)), {}, u"winAmount"_s},
        {"win without answer", u"pollWin"_s, text(win(absent, u"1"_s)), {}, u"winAmount"_s},
        {"win without the poll path",
         u"pollWin"_s,
         text({{u"answer"_s, u"Home"_s}, {u"winAmount"_s, u"1"_s}}),
         {},
         noPollID},
        // initiateRefresh never reads its data.
        {"refresh", u"initiateRefresh"_s, u"{}"_s, {u"refresh"_s}},
        {"refresh without data", u"initiateRefresh"_s, std::nullopt, {u"refresh"_s}},
        {"refresh with garbage", u"initiateRefresh"_s, u"not json"_s, {u"refresh"_s}},
    };

    for (const PayloadRow &row : rows) {
        SCOPED_TRACE(row.name);
        VirtualTimeScheduler clock;
        RecordingDelegate delegate;
        PusherHelper helper;
        helper.setDelegate(&delegate, &delegate);
        DropLog log;

        helper.handleEvent(row.event, row.data);
        EXPECT_TRUE(delegate.calls.isEmpty()) << "calls are posted, never made in the handler";
        clock.runPending();

        EXPECT_EQ(delegate.calls, row.calls);
        EXPECT_EQ(clock.pendingCount(), 0);
        if (row.calls.isEmpty()) {
            ASSERT_EQ(DropLog::lines().size(), 1) << DropLog::lines().join(u'\n').toStdString();
            EXPECT_TRUE(DropLog::lines().first().contains(row.event))
                << DropLog::lines().first().toStdString();
            EXPECT_TRUE(DropLog::lines().first().contains(row.dropReason))
                << DropLog::lines().first().toStdString();
        } else {
            EXPECT_EQ(DropLog::lines(), QStringList{});
        }
    }
}

TEST(PusherHelperDelivery, injectionsAndWinsWaitForTheDelayTheRestGoAtOnce)
{
    VirtualTimeScheduler clock;
    RecordingDelegate delegate;
    PusherHelper helper;
    helper.setDelegate(&delegate, &delegate);
    helper.setInjectionDelay(5);

    helper.handleEvent(u"injectPoll"_s, text(injection(u"poll"_s, pollJson(u"P1"_s))));
    helper.handleEvent(u"stop_poll"_s, text(pollPath(u"P1"_s)));
    helper.handleEvent(u"injectRating"_s, text(injection(u"rating"_s, ratingJson(u"R1"_s))));
    helper.handleEvent(u"streamerInfo"_s,
                       text({{u"streamerInfo"_s, QJsonObject{{u"polls"_s, QJsonArray{}}}}}));
    helper.handleEvent(u"injectQuiz"_s, text(injection(u"id"_s, u"T1"_s)));
    helper.handleEvent(u"pollWin"_s, text(win(u"Home"_s, u"3"_s)));
    helper.handleEvent(u"initiateRefresh"_s, std::nullopt);

    clock.runPending();
    const QStringList atOnce{u"close P1"_s, u"info polls=[] ratings=absent predictions=absent"_s,
                             u"refresh"_s};
    EXPECT_EQ(delegate.calls, atOnce) << "a stop_poll overtakes the poll it closes";

    clock.advanceBy(4999ms);
    EXPECT_EQ(delegate.calls, atOnce);
    clock.advanceBy(1ms);
    const QString gate = u" time=45 closeAfter=1 hideAnswered=1 pause=0 at=1767225600"_s;
    const QStringList delayed{u"poll P1"_s + gate, u"rating R1"_s + gate, u"trivia T1"_s + gate,
                              u"win answer=Home amount=3 poll=abc"_s};
    EXPECT_EQ(delegate.calls, atOnce + delayed);
    EXPECT_EQ(clock.pendingCount(), 0);
}

TEST(PusherHelperDelivery, theDelegateIsLookedUpWhenTheCallRuns)
{
    VirtualTimeScheduler clock;
    auto first = std::make_unique<RecordingDelegate>();
    RecordingDelegate second;
    PusherHelper helper;
    helper.setInjectionDelay(2);
    helper.setDelegate(first.get(), first.get());

    helper.handleEvent(u"injectQuiz"_s, text(injection(u"id"_s, u"T1"_s)));
    helper.setDelegate(&second, &second);
    clock.advanceBy(2s);
    EXPECT_EQ(first->calls, QStringList{});
    EXPECT_EQ(second.calls.size(), 1) << "the delegate in place when the call runs hears it";

    helper.setDelegate(first.get(), first.get());
    helper.handleEvent(u"injectQuiz"_s, text(injection(u"id"_s, u"T2"_s)));
    helper.handleEvent(u"initiateRefresh"_s, std::nullopt);
    first.reset(); // the overlay goes while the calls wait
    EXPECT_EQ(helper.delegate(), nullptr);
    clock.advanceBy(2s);
    EXPECT_EQ(second.calls.size(), 1);
    EXPECT_EQ(clock.pendingCount(), 0);

    auto gone = std::make_unique<PusherHelper>();
    gone->setDelegate(&second, &second);
    gone->handleEvent(u"initiateRefresh"_s, std::nullopt);
    gone.reset(); // a helper that goes takes its waiting calls with it
    clock.runPending();
    EXPECT_EQ(second.calls.size(), 1);
}

TEST(PusherHelperConnection, subscribesToTheChannelOnTheDeploymentsHostAndDeliversItsEvents)
{
    VirtualTimeScheduler clock;
    ScriptedServer server;
    server.onConnection = [&](qsizetype index) {
        server.handshake(index);
    };
    const VTADeployment original = VTADeployment::current();
    VTADeployment deployment = original;
    deployment.realtimeURL = u"ws://127.0.0.1:%1"_s.arg(server.port());
    VTADeployment::configure(deployment);

    RecordingDelegate delegate;
    PusherHelper helper;
    helper.setDelegate(&delegate, &delegate);
    helper.connect(u"42"_s, u"broadcaster"_s,
                   VTAEnvironment(u"http://127.0.0.1/userApi"_s, u"http://127.0.0.1/media"_s,
                                  u"2c3d4e5f607182930415"_s, u"us2"_s, u"test3"_s));
    VTADeployment::configure(original);
    EXPECT_EQ(helper.channel(), u"CH_42"_s);

    ASSERT_TRUE(
        spinUntil(clock, [&] { return server.count() == 1 && !server.events(0).isEmpty(); }));
    EXPECT_EQ(server.connection(0).url.path(), u"/app/2c3d4e5f607182930415"_s);
    const QJsonObject subscribe{{u"event"_s, u"pusher:subscribe"_s},
                                {u"data"_s, QJsonObject{{u"channel"_s, u"CH_42"_s}}}};
    EXPECT_EQ(server.connection(0).received, QList<QJsonObject>{subscribe});

    for (const QString &channel : {u"CH_42"_s, u"CH_43"_s})
        server.send(0,
                    QJsonObject{{u"event"_s, u"stop_poll"_s},
                                {u"channel"_s, channel},
                                {u"data"_s, *text(pollPath(channel))}});
    ASSERT_TRUE(spinUntil(clock, [&] { return !delegate.calls.isEmpty(); }));
    settle(clock);
    EXPECT_EQ(delegate.calls, QStringList{u"close CH_42"_s});

    helper.close();
    ASSERT_TRUE(spinUntil(clock, [&] { return server.openCount() == 0; }));
    EXPECT_EQ(server.connection(0).closeCode, 1000);
    EXPECT_EQ(helper.pusher()->state(), PusherClient::State::Disconnected);
    EXPECT_EQ(clock.pendingCount(), 0);
}
