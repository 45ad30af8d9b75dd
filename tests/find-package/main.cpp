// Includes every installed header and calls into the shared library.

#include <vantora/overlay/vtaoverlayview.h>
#include <vantora/records/apibodies.h>
#include <vantora/records/interactionrecords.h>
#include <vantora/records/promotion.h>
#include <vantora/records/relaxedstring.h>
#include <vantora/records/streamerinfo.h>
#include <vantora/records/userrecords.h>
#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>
#include <vantora/version.h>

#include <QGuiApplication>

#include <cstdio>
#include <cstring>

// The player's side of the overlay.
class PlayerBridge : public VTAOverlayDelegate
{
public:
    int pauses = 0;
    void overlayRequestedPause() override { ++pauses; }
    void overlayRequestedPlay() override { }
    void overlayRequestedFocus() override { }
    void overlayReleasedFocus() override { }
};

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    PlayerBridge bridge;
    VTAOverlayView overlay;
    overlay.setDelegate(&bridge);
    overlay.setAnimationType(VTAAnimationType::fromRight);
    overlay.setInjectionDelay(0);
    if (overlay.delegate() != &bridge || overlay.injectionDelay().has_value()
        || overlay.isDisplayingInteraction() || overlay.closeInteractionIfNeeded()) {
        std::puts("consumer: unexpected overlay state");
        return 1;
    }

    Vantora::Promotion promotion;
    promotion.clientType = QStringLiteral("smartTV");
    promotion.viewType.value = QStringLiteral("flip");
    promotion.secondsDelay = 10;
    Vantora::Poll poll;
    poll.prizes.append(promotion);

    Vantora::Rating rating;
    rating.optionsNumber = QStringLiteral("10");

    VTADeployment deployment = VTADeployment::current();
    deployment.channelsBaseURL = QStringLiteral("https://cdn.example.com/channels");
    VTADeployment::configure(deployment);
    const VTAEnvironment test = VTAEnvironment::testDefault();

    if (poll.getAutoCloseTime() != 15 || rating.max() != 6
        || test.envName() != QLatin1String("test3")
        || VTADeployment::current().channelsBaseURL
            != QLatin1String("https://cdn.example.com/channels/")
        || std::strcmp(Vantora::runtimeVersion(), VANTORA_VERSION_STRING) != 0) {
        std::puts("consumer: unexpected results from the installed library");
        return 1;
    }
    std::printf("consumer: linked against Vantora %s\n", Vantora::runtimeVersion());
    return 0;
}
