// Reads any input as a Pusher frame, and as the data text of each of the channel's seven
// events. Nothing may crash, and whatever is not dropped must be what its event promises: the
// event of its own name, never paused, a list update with a list, a win with its poll.

#include "vantora/realtime/liveevents_p.h"
#include "vantora/realtime/pusherframe_p.h"

#include <cstdio>
#include <cstdlib>

namespace {

using namespace Vantora;

[[noreturn]] void fail(const QString &name, const char *why)
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(name), why);
    std::abort();
}

void check(const QString &name, const std::optional<QString> &data)
{
    const std::optional<LiveEvent> event = readLiveEvent(name, data);
    const qsizetype kind = liveEventNames().indexOf(name);
    if (name == u"initiateRefresh" && !event)
        fail(name, "a refresh request was dropped");
    if (!event)
        return;
    if (kind < 0 || static_cast<size_t>(kind) != event->index())
        fail(name, "read as another event");
    std::visit(
        [&](const auto &e) {
            using E = std::decay_t<decltype(e)>;
            if constexpr (requires { e.options; }) {
                if (e.options.pause)
                    fail(name, "an injection that pauses the video");
            } else if constexpr (std::is_same_v<E, UpdatedInfo>) {
                if (!e.polls && !e.ratings && !e.predictions)
                    fail(name, "a list update without a list");
            } else if constexpr (std::is_same_v<E, WonPrediction>) {
                if (!e.win.pollID)
                    fail(name, "a win without its poll");
            }
        },
        *event);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));

    if (const std::optional<PusherFrame> frame = parsePusherFrame(input)) {
        const QByteArray frameData = frame->data.value_or(QByteArray());
        readPusherHandshake(frameData);
        readPusherError(frameData);
        std::optional<QString> text;
        if (frame->data && frame->dataIsText)
            text = QString::fromUtf8(*frame->data);
        check(frame->event, text);
    }

    const QString asText = QString::fromUtf8(input);
    for (const QString &name : liveEventNames())
        check(name, asText);
    parseDecimal(asText);
    return 0;
}
