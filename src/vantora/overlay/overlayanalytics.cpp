// Analytics: every report goes out here, attributed to the way the last item arrived (the video
// clock or an injection) when it is about the viewer's activity.

#include "vantora/overlay/overlaycontroller_p.h"

namespace Vantora {

void OverlayController::sendAnalyticsEvent(const AnalyticsInfo &info, const QString &type,
                                           bool isActivity)
{
    // Nothing is reported for a viewer who is not known yet.
    const std::optional<QString> token = userToken();
    if (!token)
        return;
    AnalyticsReport report;
    report.token = *token;
    report.streamer = state.channelID;
    report.broadcaster = state.broadcaster;
    report.module = info.module;
    report.submodule = info.submodule;
    report.sponsor = info.sponsor;
    report.type = type;
    if (isActivity) {
        report.source = state.lastAnalyticsSource;
        report.sourceID = state.lastAnalyticsSourceID;
        report.injectionTimestamp = state.lastAnalyticsTime;
    }
    VTAServiceManager::shared().analytics(report);
}

} // namespace Vantora
