#include "AudioProcessor.h"

#include <QApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// One application for the whole run, with a scratch home: the settings store and the
// documents folder (autosaves) are the test's, never the user's.
int main(int argc, char** argv)
{
    QTemporaryDir home;
    if (!home.isValid())
        return 1;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/.config").toUtf8());
    // Test discovery runs the program without the tests' environment.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName("Kesto Technology");
    QCoreApplication::setApplicationName("Ceolmark");
    AudioProcessor::registerMetaTypes();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
