#ifndef VANTORA_VTADEPLOYMENT_H
#define VANTORA_VTADEPLOYMENT_H

#include <vantora/vantora_export.h>

#include <QString>

/**
 * Where the backend's parties live: the hosts behind the three VTAEnvironment defaults, the
 * storage that holds each broadcaster's channel list, and the realtime service.
 *
 * The build sets the defaults (CMake cache variables `VANTORA_PRODUCTION_API_HOST`,
 * `VANTORA_DEVELOPMENT_API_HOST`, `VANTORA_TEST_API_HOST`, `VANTORA_MEDIA_HOST`,
 * `VANTORA_CHANNELS_BASE`, `VANTORA_REALTIME_URL`). At run time these environment variables
 * move them, so that an app can be pointed at another backend, such as the local dev server,
 * without a rebuild:
 *
 *   VANTORA_API_BASE       API base of all three defaults   http://127.0.0.1:8080/userApi
 *   VANTORA_IMAGE_BASE     image base of all three defaults http://127.0.0.1:8080/media
 *   VANTORA_CHANNELS_BASE  folder of the channel lists      http://127.0.0.1:8080/channels/
 *   VANTORA_REALTIME_URL   the realtime service             ws://127.0.0.1:8080
 *
 * An app may also decide in code, once, before the first VTAEnvironment default is read:
 *
 *   VTADeployment deployment = VTADeployment::current();
 *   deployment.channelsBaseURL = QStringLiteral("https://cdn.example.com/channels/");
 *   VTADeployment::configure(deployment);
 *
 * Call from the main thread.
 */
struct VANTORA_EXPORT VTADeployment
{
    QString productionApiBaseURL; ///< "https://<host>/userApi"
    QString developmentApiBaseURL;
    QString testApiBaseURL;
    QString imageBaseURL; ///< "https://<media host>", shared by the three defaults
    /// The folder that holds the channel lists, ending in "/" (one is added if missing).
    QString channelsBaseURL;
    /// Scheme, host and port of the realtime service; "{cluster}" stands for the environment's
    /// cluster, as in "wss://ws-{cluster}.realtime.example.com:443".
    QString realtimeURL;

    /// The realtime URL with the cluster filled in.
    QString realtimeURLFor(const QString &cluster) const;

    /// The build's values with the environment variables above applied.
    static VTADeployment builtIn();

    /// What the SDK uses now: the last configure(), or builtIn().
    static VTADeployment current();

    /// Replaces the deployment for every later request. The VTAEnvironment defaults are built
    /// once from the deployment in use when the first of them is read, so configure first.
    static void configure(const VTADeployment &deployment);
};

#endif
