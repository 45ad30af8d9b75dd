// The three ready-made environments and the deployment behind them: the build's hosts, moved by
// environment variables or by the app in code, read once when the first default is made.

#include "vantora/records/deploymentdefaults_p.h"

#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include <QStringList>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

QString fields(const VTAEnvironment &e)
{
    return QStringList{e.apiBaseURL(), e.imageBaseURL(), e.pusherKey(), e.pusherCluster(),
                       e.envName()}
        .join(u' ');
}

QString api(const char *host)
{
    return u"https://"_s + QString::fromUtf8(host) + u"/userApi"_s;
}

const char *const variables[] = {"VANTORA_API_BASE", "VANTORA_IMAGE_BASE", "VANTORA_CHANNELS_BASE",
                                 "VANTORA_REALTIME_URL"};

// The defaults are made once per process, so what must see a fresh one runs in a child, whose
// standard error must match `log`.
#define EXPECT_IN_FRESH_PROCESS(statement, log)                                                    \
    EXPECT_EXIT(                                                                                   \
        {                                                                                          \
            statement;                                                                             \
            std::exit(::testing::Test::HasFailure() ? 1 : 0);                                      \
        },                                                                                         \
        ::testing::ExitedWithCode(0), log)

} // namespace

TEST(Environment, theThreeDefaultsCarryTheBuildsHostsAndTheirOwnRealtimeKeys)
{
    EXPECT_IN_FRESH_PROCESS(
        {
            const QString media = u" https://"_s + QString::fromUtf8(VANTORA_MEDIA_HOST);
            EXPECT_EQ(fields(VTAEnvironment::productionDefault()),
                      api(VANTORA_PRODUCTION_API_HOST) + media
                          + u" 0a1b2c3d4e5f60718293 us2 prod3"_s);
            EXPECT_EQ(fields(VTAEnvironment::devDefault()),
                      api(VANTORA_DEVELOPMENT_API_HOST) + media
                          + u" 1b2c3d4e5f6071829304 us2 dev3"_s);
            EXPECT_EQ(fields(VTAEnvironment::testDefault()),
                      api(VANTORA_TEST_API_HOST) + media + u" 2c3d4e5f607182930415 us2 test3"_s);
        },
        "");
    EXPECT_EQ(VTAEnvironment::productionDefault(), VTAEnvironment::productionDefault());
    EXPECT_NE(VTAEnvironment::productionDefault(), VTAEnvironment::devDefault());
    EXPECT_NE(VTAEnvironment::devDefault(), VTAEnvironment::testDefault());
}

TEST(Deployment, environmentVariablesMoveTheHostsButNotTheKeys)
{
    qputenv("VANTORA_API_BASE", ""); // an empty variable moves nothing
    qputenv("VANTORA_CHANNELS_BASE", "http://127.0.0.1:8080/channels"); // a folder: "/" is added
    qputenv("VANTORA_REALTIME_URL", "ws://127.0.0.1:8080");
    const VTADeployment partly = VTADeployment::builtIn();
    EXPECT_EQ(QStringList({partly.productionApiBaseURL, partly.channelsBaseURL, partly.realtimeURL})
                  .join(u' '),
              api(VANTORA_PRODUCTION_API_HOST)
                  + u" http://127.0.0.1:8080/channels/ ws://127.0.0.1:8080"_s);

    qputenv("VANTORA_API_BASE", "http://127.0.0.1:8080/userApi");
    qputenv("VANTORA_IMAGE_BASE", "http://127.0.0.1:8080/media");
    EXPECT_IN_FRESH_PROCESS(
        {
            const QString moved = u"http://127.0.0.1:8080/userApi http://127.0.0.1:8080/media "_s;
            EXPECT_EQ(fields(VTAEnvironment::productionDefault()),
                      moved + u"0a1b2c3d4e5f60718293 us2 prod3"_s);
            EXPECT_EQ(fields(VTAEnvironment::devDefault()),
                      moved + u"1b2c3d4e5f6071829304 us2 dev3"_s);
            EXPECT_EQ(fields(VTAEnvironment::testDefault()),
                      moved + u"2c3d4e5f607182930415 us2 test3"_s);
        },
        "");
    for (const char *variable : variables)
        qunsetenv(variable);

    VTADeployment own = VTADeployment::builtIn();
    own.realtimeURL = u"wss://ws-{cluster}.example.com:443"_s;
    EXPECT_EQ(own.realtimeURLFor(u"eu"_s), u"wss://ws-eu.example.com:443"_s);
}

TEST(Deployment, configuringInCodeCountsUntilTheFirstDefaultIsMade)
{
    EXPECT_IN_FRESH_PROCESS(
        {
            VTADeployment deployment = VTADeployment::current();
            deployment.testApiBaseURL = u"https://staging.example.com/userApi"_s;
            deployment.channelsBaseURL = u"https://cdn.example.com/channels"_s;
            VTADeployment::configure(deployment);
            EXPECT_EQ(VTADeployment::current().channelsBaseURL,
                      u"https://cdn.example.com/channels/"_s);
            EXPECT_EQ(VTAEnvironment::testDefault().apiBaseURL(),
                      u"https://staging.example.com/userApi"_s);
            EXPECT_EQ(VTAEnvironment::productionDefault().apiBaseURL(),
                      api(VANTORA_PRODUCTION_API_HOST));

            deployment.testApiBaseURL = u"https://late.example.com/userApi"_s;
            VTADeployment::configure(
                deployment); // too late for the defaults, and a warning says so
            EXPECT_EQ(VTAEnvironment::testDefault().apiBaseURL(),
                      u"https://staging.example.com/userApi"_s);
            EXPECT_EQ(VTADeployment::current().testApiBaseURL,
                      u"https://late.example.com/userApi"_s);
        },
        "configure\\(\\) after the VTAEnvironment defaults were made: they keep their earlier "
        "hosts");
}
