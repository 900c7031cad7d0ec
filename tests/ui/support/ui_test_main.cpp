#include <QApplication>
#include <QThreadPool>

#include <gtest/gtest.h>

// Widget suites need a QApplication; offscreen unless told otherwise, so no display is needed.
int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const int failed = RUN_ALL_TESTS();
    // Pool threads (a source's scan may have hashed a history) end now, while OpenSSL can
    // still release what it keeps per thread; at exit it may already be gone.
    QThreadPool::globalInstance()->waitForDone();
    return failed;
}
