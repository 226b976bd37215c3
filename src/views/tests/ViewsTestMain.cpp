// Pixmaps and fonts need a QGuiApplication. ctest sets the offscreen platform, but test
// discovery at build time runs the program without it, so it is the default here too.
#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
