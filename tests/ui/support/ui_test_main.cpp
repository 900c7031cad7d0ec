#include <QApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// Widget suites need a QApplication; offscreen unless told otherwise, so no display is needed.
// The runs they make record themselves in a history of their own.
int main(int argc, char **argv)
{
    const QTemporaryDir data;
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
