// The audio tests need a Qt event loop on the main thread, which plays the interface thread.

#include "AudioTestSupport.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    // The death tests run in a fresh process: Qt's audio back ends are process-wide
    // singletons, and a forked copy of a process with their threads is not safe.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    exitWithoutStaticTeardown(RUN_ALL_TESTS());
}
