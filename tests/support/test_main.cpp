#include <QCoreApplication>

#include <gtest/gtest.h>

// One main for the engine and command-line suites: the engine posts to the main thread, so
// the tests run inside an application object; without a GUI one it looks up no icons.
int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
