#include "vantora/realtime/pusherhelper_p.h"

#include "vantora/realtime/liveevents_p.h"
#include "vantora/realtime/pusherclient_p.h"
#include "vantora/toolkit/scheduler_p.h"

#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include <QUrl>

namespace Vantora {

using namespace Qt::Literals::StringLiterals;

namespace {

// The client talks to the deployment's realtime host (by default the service's own host for
// the cluster, or the dev server), with the environment's key.
PusherOptions clientOptions(const VTAEnvironment &environment)
{
    PusherOptions options;
    options.cluster = environment.pusherCluster();
    options.autoReconnect = true;
    const QUrl service(VTADeployment::current().realtimeURLFor(options.cluster));
    if (service.isValid() && !service.host().isEmpty()) {
        options.host = service.host();
        options.useTLS = service.scheme() == u"wss" || service.scheme() == u"https";
        if (service.port() > 0 && service.port() <= 65535)
            options.port = static_cast<quint16>(service.port());
    }
    return options;
}

template <class... Ts>
struct Overloaded : Ts...
{
    using Ts::operator()...;
};
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>; // clang 14 does not deduce aggregates by itself

} // namespace

PusherHelper::PusherHelper(QObject *parent) : QObject(parent) { }

PusherHelper::~PusherHelper() = default;

void PusherHelper::setDelegate(PusherHelperDelegate *delegate, QObject *lifetime)
{
    m_delegate = lifetime ? delegate : nullptr;
    m_delegateLifetime = m_delegate ? lifetime : nullptr;
}

PusherHelperDelegate *PusherHelper::delegate() const
{
    return m_delegateLifetime ? m_delegate : nullptr;
}

void PusherHelper::connect(const QString &channelID, const QString &broadcaster,
                           const VTAEnvironment &environment)
{
    Q_UNUSED(broadcaster)
    m_pusher = std::make_unique<PusherClient>(environment.pusherKey(), clientOptions(environment));
    m_pusher->connect();
    m_channel = u"CH_"_s + channelID;
    m_pusher->subscribe(*m_channel);
    registerEvents();
}

void PusherHelper::registerEvents()
{
    if (!m_pusher || !m_channel)
        return;
    for (const QString &name : liveEventNames()) {
        m_pusher->bind(*m_channel, name, this, [this, name](const std::optional<QString> &data) {
            handleEvent(name, data);
        });
    }
}

void PusherHelper::close()
{
    if (m_pusher)
        m_pusher->disconnect();
}

void PusherHelper::handleEvent(const QString &name, const std::optional<QString> &data)
{
    std::optional<LiveEvent> event = readLiveEvent(name, data);
    if (!event)
        return;
    const bool delayed = m_injectionDelay && waitsForInjectionDelay(*event);
    auto deliver = [this, event = std::move(*event)] {
        PusherHelperDelegate *target = delegate();
        if (!target)
            return;
        std::visit(
            Overloaded{
                [&](const InjectedPoll &e) { target->inject(e.poll, e.options, e.timestamp); },
                [&](const InjectedRating &e) { target->inject(e.rating, e.options, e.timestamp); },
                [&](const InjectedTrivia &e) {
                    target->inject(e.triviaID, e.options, e.timestamp);
                },
                [&](const UpdatedInfo &e) {
                    target->updatedInfo(e.polls, e.ratings, e.predictions);
                },
                [&](const ClosedPoll &e) { target->didClose(e.pollID); },
                [&](const WonPrediction &e) { target->didReceivePredictionResult(e.win); },
                [&](const RefreshRequest &) { target->didRequestRefresh(); },
            },
            event);
    };
    auto &scheduler = Scheduler::instance();
    if (delayed)
        scheduler.after(secondsToMilliseconds(double(*m_injectionDelay)), this, std::move(deliver));
    else
        scheduler.post(this, std::move(deliver));
}

} // namespace Vantora
