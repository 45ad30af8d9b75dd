#include "vantora/records/deploymentdefaults_p.h"

#include <vantora/records/vtadeployment.h>
#include <vantora/records/vtaenvironment.h>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

void expectEnvironment(const VTAEnvironment &environment, const QString &api, const QString &image,
                       const QString &key, const QString &cluster, const QString &name)
{
    EXPECT_EQ(environment.apiBaseURL(), api);
    EXPECT_EQ(environment.imageBaseURL(), image);
    EXPECT_EQ(environment.pusherKey(), key);
    EXPECT_EQ(environment.pusherCluster(), cluster);
    EXPECT_EQ(environment.envName(), name);
}

QString host(const char *name)
{
    return QString::fromUtf8(name);
}

// The defaults are made once per process, so what must see a fresh process runs in a child.
#define EXPECT_IN_FRESH_PROCESS(statement)                                                         \
    EXPECT_EXIT(                                                                                   \
        {                                                                                          \
            statement;                                                                             \
            std::exit(::testing::Test::HasFailure() ? 1 : 0);                                      \
        },                                                                                         \
        ::testing::ExitedWithCode(0), "")

} // namespace

TEST(Environment, theThreeDefaultsCarryTheirDeploymentsValues)
{
    EXPECT_IN_FRESH_PROCESS({
        const QString media = u"https://"_s + host(VANTORA_MEDIA_HOST);
        expectEnvironment(VTAEnvironment::productionDefault(),
                          u"https://"_s + host(VANTORA_PRODUCTION_API_HOST) + u"/userApi"_s, media,
                          u"0a1b2c3d4e5f60718293"_s, u"us2"_s, u"prod3"_s);
        expectEnvironment(VTAEnvironment::devDefault(),
                          u"https://"_s + host(VANTORA_DEVELOPMENT_API_HOST) + u"/userApi"_s, media,
                          u"1b2c3d4e5f6071829304"_s, u"us2"_s, u"dev3"_s);
        expectEnvironment(VTAEnvironment::testDefault(),
                          u"https://"_s + host(VANTORA_TEST_API_HOST) + u"/userApi"_s, media,
                          u"2c3d4e5f607182930415"_s, u"us2"_s, u"test3"_s);
    });

    EXPECT_EQ(VTAEnvironment::productionDefault(), VTAEnvironment::productionDefault());
    EXPECT_NE(VTAEnvironment::productionDefault(), VTAEnvironment::devDefault());
    EXPECT_NE(VTAEnvironment::devDefault(), VTAEnvironment::testDefault());
    EXPECT_FALSE(VTAEnvironment::testDefault().apiBaseURL().endsWith(u'/'));
    EXPECT_FALSE(VTAEnvironment::testDefault().imageBaseURL().endsWith(u'/'));
}

TEST(Environment, anAppMayDescribeItsOwnDeployment)
{
    VTAEnvironment own(u"https://api.example.com/userApi/"_s, u"https://img.example.com"_s,
                       u"abcdefabcdefabcdef01"_s, u"eu"_s, u"staging"_s);
    expectEnvironment(own, u"https://api.example.com/userApi/"_s, u"https://img.example.com"_s,
                      u"abcdefabcdefabcdef01"_s, u"eu"_s, u"staging"_s);
    VTAEnvironment copy = own;
    EXPECT_EQ(copy, own);
    copy = VTAEnvironment::testDefault();
    EXPECT_NE(copy, own);
    EXPECT_EQ(own.envName(), u"staging"_s) << "copies are independent";
}

TEST(Deployment, environmentVariablesMoveTheWholeDeployment)
{
    qputenv("VANTORA_API_BASE", "http://127.0.0.1:8080/userApi");
    qputenv("VANTORA_IMAGE_BASE", "http://127.0.0.1:8080/media");
    qputenv("VANTORA_CHANNELS_BASE", "http://127.0.0.1:8080/channels");
    qputenv("VANTORA_REALTIME_URL", "ws://127.0.0.1:8080");
    VTADeployment deployment = VTADeployment::builtIn();
    EXPECT_EQ(deployment.productionApiBaseURL, u"http://127.0.0.1:8080/userApi"_s);
    EXPECT_EQ(deployment.developmentApiBaseURL, u"http://127.0.0.1:8080/userApi"_s);
    EXPECT_EQ(deployment.testApiBaseURL, u"http://127.0.0.1:8080/userApi"_s);
    EXPECT_EQ(deployment.imageBaseURL, u"http://127.0.0.1:8080/media"_s);
    EXPECT_EQ(deployment.channelsBaseURL, u"http://127.0.0.1:8080/channels/"_s);
    EXPECT_EQ(deployment.realtimeURL, u"ws://127.0.0.1:8080"_s);
    EXPECT_EQ(deployment.realtimeURLFor(u"us2"_s), u"ws://127.0.0.1:8080"_s);
    deployment.realtimeURL = u"wss://ws-{cluster}.example.com:443"_s;
    EXPECT_EQ(deployment.realtimeURLFor(u"eu"_s), u"wss://ws-eu.example.com:443"_s);

    EXPECT_IN_FRESH_PROCESS({
        const VTAEnvironment production = VTAEnvironment::productionDefault();
        EXPECT_EQ(production.apiBaseURL(), u"http://127.0.0.1:8080/userApi"_s);
        EXPECT_EQ(production.imageBaseURL(), u"http://127.0.0.1:8080/media"_s);
        EXPECT_EQ(production.pusherKey(), u"0a1b2c3d4e5f60718293"_s) << "keys are not moved";
        EXPECT_EQ(VTAEnvironment::testDefault().apiBaseURL(), u"http://127.0.0.1:8080/userApi"_s);
    });

    qputenv("VANTORA_API_BASE", "");
    EXPECT_EQ(VTADeployment::builtIn().testApiBaseURL,
              u"https://"_s + host(VANTORA_TEST_API_HOST) + u"/userApi"_s)
        << "an empty variable moves nothing";
}

TEST(Deployment, configuringInCodeCountsForEverythingMadeAfterwards)
{
    EXPECT_IN_FRESH_PROCESS({
        VTADeployment deployment = VTADeployment::current();
        deployment.testApiBaseURL = u"https://staging.example.com/userApi"_s;
        deployment.channelsBaseURL = u"https://cdn.example.com/channels"_s;
        VTADeployment::configure(deployment);
        EXPECT_EQ(VTADeployment::current().channelsBaseURL, u"https://cdn.example.com/channels/"_s);
        EXPECT_EQ(VTAEnvironment::testDefault().apiBaseURL(),
                  u"https://staging.example.com/userApi"_s);
        EXPECT_EQ(VTAEnvironment::productionDefault().apiBaseURL(),
                  u"https://"_s + host(VANTORA_PRODUCTION_API_HOST) + u"/userApi"_s);

        deployment.testApiBaseURL = u"https://late.example.com/userApi"_s;
        VTADeployment::configure(deployment); // too late for the defaults
        EXPECT_EQ(VTAEnvironment::testDefault().apiBaseURL(),
                  u"https://staging.example.com/userApi"_s);
        EXPECT_EQ(VTADeployment::current().testApiBaseURL, u"https://late.example.com/userApi"_s);
    });
}
