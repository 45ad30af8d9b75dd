// The main() of every test executable: an offscreen GUI application, settings in a store of the
// process's own that every test starts with empty, and GoogleTest.

#include <QGuiApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class ClearSettings : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo &) override
    {
        QSettings settings;
        settings.clear();
        settings.sync();
    }
};

} // namespace

int main(int argc, char *argv[])
{
    // Before any QGuiApplication: test discovery runs the binary at build time, with no display
    // and without the test environment.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QTemporaryDir runtimeDir;
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", runtimeDir.path().toUtf8());

    // QSettings caches its paths on first use, so the store is moved before anything reads it.
    QStandardPaths::setTestModeEnabled(true);
    const QTemporaryDir settingsDir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsDir.path());
    QCoreApplication::setOrganizationName(QStringLiteral("VantoraTests"));
    QCoreApplication::setApplicationName(QStringLiteral("tests"));

    QGuiApplication app(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    testing::UnitTest::GetInstance()->listeners().Append(new ClearSettings);
    return RUN_ALL_TESTS();
}
