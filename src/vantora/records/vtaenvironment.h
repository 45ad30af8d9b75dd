#ifndef VANTORA_VTAENVIRONMENT_H
#define VANTORA_VTAENVIRONMENT_H

#include <vantora/vantora_export.h>

#include <QString>

/**
 * One backend deployment: where the REST API lives, where images are served from, and which
 * realtime application and cluster carry the channel's live events.
 *
 * Pick one of the three ready-made deployments, or describe your own:
 *
 *   overlay->load(channelId, broadcaster, VTAEnvironment::productionDefault(), ...);
 *
 *   VTAEnvironment staging(QStringLiteral("https://staging.example.com/userApi"),
 *                          QStringLiteral("https://media.example.com"),
 *                          QStringLiteral("3d4e5f60718293041526"), QStringLiteral("eu"),
 *                          QStringLiteral("staging"));
 *
 * The hosts of the three defaults come from the build and can be moved at run time as a whole
 * (see VTADeployment); their realtime keys, clusters and names are fixed. Each default is built
 * once, on first use, and handed out as a copy. A plain value: copy it freely, from any thread.
 */
class VANTORA_EXPORT VTAEnvironment
{
public:
    /// `apiBaseURL` without the operation path; a trailing "/" is tolerated. `envName` names
    /// the broadcaster's channel list for this deployment ("<broadcaster>__<envName>.json").
    VTAEnvironment(QString apiBaseURL, QString imageBaseURL, QString pusherKey,
                   QString pusherCluster, QString envName);

    static VTAEnvironment productionDefault(); ///< realtime key 0a1b…, cluster "us2", "prod3"
    static VTAEnvironment devDefault(); ///< realtime key 1b2c…, cluster "us2", "dev3"
    static VTAEnvironment testDefault(); ///< realtime key 2c3d…, cluster "us2", "test3"

    QString apiBaseURL() const { return m_apiBaseURL; }
    QString imageBaseURL() const { return m_imageBaseURL; }
    QString pusherKey() const { return m_pusherKey; }
    QString pusherCluster() const { return m_pusherCluster; }
    QString envName() const { return m_envName; }

    friend bool operator==(const VTAEnvironment &a, const VTAEnvironment &b)
    {
        return a.m_apiBaseURL == b.m_apiBaseURL && a.m_imageBaseURL == b.m_imageBaseURL
            && a.m_pusherKey == b.m_pusherKey && a.m_pusherCluster == b.m_pusherCluster
            && a.m_envName == b.m_envName;
    }
    friend bool operator!=(const VTAEnvironment &a, const VTAEnvironment &b) { return !(a == b); }

private:
    QString m_apiBaseURL;
    QString m_imageBaseURL;
    QString m_pusherKey;
    QString m_pusherCluster;
    QString m_envName;
};

#endif
