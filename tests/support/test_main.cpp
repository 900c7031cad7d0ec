#include <QGuiApplication>

#include <gtest/gtest.h>

// One main for every suite: the engine posts to the main thread and looks up icons only
// when a GUI application exists, so the tests run inside one.
int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
