#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include "vantora/records/deploymentdefaults_p.h"

#include <QLoggingCategory>
#include <QtGlobal>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

Q_LOGGING_CATEGORY(lcDeployment, "vantora.deployment", QtInfoMsg)

QString fromEnvironment(const char *variable, QString fallback)
{
    const QString value = qEnvironmentVariable(variable);
    return value.isEmpty() ? fallback : value;
}

QString asFolder(QString url)
{
    if (!url.endsWith(u'/'))
        url.append(u'/');
    return url;
}

std::optional<VTADeployment> &configured()
{
    static std::optional<VTADeployment> deployment;
    return deployment;
}

bool defaultsMade = false;

// The deployment read once, when the first default is made.
const VTADeployment &deploymentForDefaults()
{
    static const VTADeployment deployment = [] {
        defaultsMade = true;
        return VTADeployment::current();
    }();
    return deployment;
}

QString apiBase(const char *host)
{
    return u"https://"_s + QString::fromUtf8(host) + u"/userApi"_s;
}

} // namespace

VTADeployment VTADeployment::builtIn()
{
    const QString api = qEnvironmentVariable("VANTORA_API_BASE");
    VTADeployment deployment{
        api.isEmpty() ? apiBase(VANTORA_PRODUCTION_API_HOST) : api,
        api.isEmpty() ? apiBase(VANTORA_DEVELOPMENT_API_HOST) : api,
        api.isEmpty() ? apiBase(VANTORA_TEST_API_HOST) : api,
        fromEnvironment("VANTORA_IMAGE_BASE",
                        u"https://"_s + QString::fromUtf8(VANTORA_MEDIA_HOST)),
        asFolder(
            fromEnvironment("VANTORA_CHANNELS_BASE", QString::fromUtf8(VANTORA_CHANNELS_BASE))),
        fromEnvironment("VANTORA_REALTIME_URL", QString::fromUtf8(VANTORA_REALTIME_URL)),
    };
    return deployment;
}

QString VTADeployment::realtimeURLFor(const QString &cluster) const
{
    QString url = realtimeURL;
    return url.replace(u"{cluster}"_s, cluster);
}

VTADeployment VTADeployment::current()
{
    if (!configured())
        configured() = builtIn();
    return *configured();
}

void VTADeployment::configure(const VTADeployment &deployment)
{
    if (defaultsMade)
        qCWarning(lcDeployment,
                  "VTADeployment::configure() after the VTAEnvironment defaults were made: they "
                  "keep their earlier hosts");
    configured() = deployment;
    configured()->channelsBaseURL = asFolder(deployment.channelsBaseURL);
}

VTAEnvironment::VTAEnvironment(QString apiBaseURL, QString imageBaseURL, QString pusherKey,
                               QString pusherCluster, QString envName)
    : m_apiBaseURL(std::move(apiBaseURL)), m_imageBaseURL(std::move(imageBaseURL)),
      m_pusherKey(std::move(pusherKey)), m_pusherCluster(std::move(pusherCluster)),
      m_envName(std::move(envName))
{ }

VTAEnvironment VTAEnvironment::productionDefault()
{
    static const VTAEnvironment environment(deploymentForDefaults().productionApiBaseURL,
                                            deploymentForDefaults().imageBaseURL,
                                            u"0a1b2c3d4e5f60718293"_s, u"us2"_s, u"prod3"_s);
    return environment;
}

VTAEnvironment VTAEnvironment::devDefault()
{
    static const VTAEnvironment environment(deploymentForDefaults().developmentApiBaseURL,
                                            deploymentForDefaults().imageBaseURL,
                                            u"1b2c3d4e5f6071829304"_s, u"us2"_s, u"dev3"_s);
    return environment;
}

VTAEnvironment VTAEnvironment::testDefault()
{
    static const VTAEnvironment environment(deploymentForDefaults().testApiBaseURL,
                                            deploymentForDefaults().imageBaseURL,
                                            u"2c3d4e5f607182930415"_s, u"us2"_s, u"test3"_s);
    return environment;
}
