#include <QCoreApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// One main for the engine and command-line suites: the engine posts to the main thread, so
// the tests run inside an application object; without a GUI one it looks up no icons. Every
// run records itself in the history: those of the suite and of the programs it starts go to
// a data folder of its own.
int main(int argc, char **argv)
{
    const QTemporaryDir data;
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
