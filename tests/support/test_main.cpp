#include <QCoreApplication>
#include <QThreadPool>

#include <gtest/gtest.h>

// One main for the engine and command-line suites: the engine posts to the main thread, so
// the tests run inside an application object; without a GUI one it looks up no icons.
int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    const int failed = RUN_ALL_TESTS();
    // Pool threads (a source's scan may have hashed a history) end now, while OpenSSL can
    // still release what it keeps per thread; at exit it may already be gone.
    QThreadPool::globalInstance()->waitForDone();
    return failed;
}
