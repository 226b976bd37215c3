#include <QTemporaryDir>

#include <gtest/gtest.h>

// Loading settings creates the autosave folder under the documents folder: keep it off the real home.
int main(int argc, char** argv)
{
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qunsetenv("XDG_CONFIG_HOME");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
