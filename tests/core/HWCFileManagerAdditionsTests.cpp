#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/files/HWIFileHandleAdditions.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>
#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

// Removes what QTemporaryDir cannot: names that are not valid UTF-8, very deep trees.
class ScratchDir : public QTemporaryDir {
public:
    ~ScratchDir() { TestSupport::runTool(QStringLiteral("rm"), {QStringLiteral("-rf"), path()}); }
    QByteArray name() const { return QFile::encodeName(path()); }
};

// "path size" per file found and "path: ERRNO" per place not looked into, in the order met.
QByteArrayList walk(const QString &path)
{
    QByteArrayList files;
    const auto found = [&files](const char *filePath, const struct stat *status) {
        EXPECT_TRUE(S_ISREG(status->st_mode)) << filePath;
        files.append(filePath + QByteArray(" ") + QByteArray::number(qint64(status->st_size)));
    };
    findFilesAtPath(path, found, [&files](const char *folder, int error) {
        files.append(folder + QByteArray(": ") + strerrorname_np(error));
    });
    return files;
}

// The same from find, which reads each directory stream in order too.
QByteArrayList findFiles(const QString &path)
{
    QByteArrayList files =
        TestSupport::runTool("find", {path, "-type", "f", "-printf", "%p %s\\0"}).split('\0');
    files.removeLast();
    return files;
}

void writeBytes(const QByteArray &path, const QByteArray &contents)
{
    const int fd = open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ASSERT_EQ(write(fd, contents.constData(), size_t(contents.size())), contents.size())
        << path.constData();
    close(fd);
}

} // namespace

// A random tree with hidden entries, an empty folder, links to files and folders (one of them
// a loop), a dangling link, a FIFO, a socket, a longest-possible name and a name that is not
// valid UTF-8.
TEST(HWCFileManagerAdditions, WalkEqualsFindOnAGeneratedTree)
{
    ScratchDir dir;
    const QByteArray root = dir.name();
    std::mt19937 random(1);
    QByteArrayList folders{root};
    for (int i = 0; i < 60; ++i) {
        const QByteArray child = folders[qsizetype(random() % folders.size())] + "/" +
                                 (random() % 5 == 0 ? "." : "") + QByteArray::number(i);
        if (random() % 3 == 0 && folders.size() < 25 && mkdir(child.constData(), 0755) == 0)
            folders.append(child);
        else
            writeBytes(child, QByteArray(int(random() % 3000), 'x'));
    }
    ASSERT_EQ(mkdir((root + "/empty").constData(), 0755), 0);
    ASSERT_EQ(symlink(folders.last().constData(), (root + "/link-to-folder").constData()), 0);
    ASSERT_EQ(symlink((root + "/0").constData(), (root + "/link-to-file").constData()), 0);
    ASSERT_EQ(symlink("..", (folders.last() + "/loop").constData()), 0);
    ASSERT_EQ(symlink("nowhere", (root + "/dangling").constData()), 0);
    ASSERT_EQ(mkfifo((root + "/fifo").constData(), 0644), 0);
    TestSupport::makeSocket(QFile::decodeName(root + "/socket"));
    writeBytes(root + "/" + QByteArray(255, 'n'), "longest name");
    writeBytes(folders[1] + "/clip-\xff\xfe.mov", "not UTF-8");

    const QByteArrayList expected = findFiles(dir.path());
    ASSERT_GT(expected.size(), 20);
    const QByteArrayList walked = walk(dir.path());
    EXPECT_EQ(walked, expected) << walked.join('\n').toStdString();
    // A trailing separator gives the same paths, never a doubled "/".
    EXPECT_EQ(walk(dir.path() + QStringLiteral("/")), expected);
    // A name that is not valid UTF-8 reaches the opener byte for byte.
    QByteArray odd;
    for (const QByteArray &file : walked)
        odd = file.contains('\xff') ? file : odd;
    QString why;
    const int fd =
        hwi_fileRegularReadDescriptorForPath(odd.left(odd.lastIndexOf(' ')).constData(), &why);
    char buffer[16] = {};
    EXPECT_EQ(read(fd, buffer, sizeof(buffer)), 9);
    EXPECT_STREQ(buffer, "not UTF-8");
    close(fd);
}

TEST(HWCFileManagerAdditions, EmptyMissingOrNonFolderPathsGiveNothingAndLinksAreFollowed)
{
    ScratchDir dir;
    EXPECT_TRUE(walk(dir.path()).isEmpty());
    EXPECT_EQ(walk(dir.path() + QStringLiteral("/missing")),
              QByteArrayList{dir.name() + "/missing: ENOENT"});
    TestSupport::writeText(dir.filePath(QStringLiteral("file")), "x");
    EXPECT_EQ(walk(dir.filePath(QStringLiteral("file"))),
              QByteArrayList{dir.name() + "/file: ENOTDIR"});
    // A link given as the path is opened like the folder it names.
    ASSERT_EQ(symlink(dir.name().constData(), (dir.name() + "/self").constData()), 0);
    EXPECT_EQ(walk(dir.filePath(QStringLiteral("self"))),
              QByteArrayList{dir.name() + "/self/file 1"});
}

TEST(HWCFileManagerAdditions, UnreadableFoldersAndEntriesAreReported)
{
    ScratchDir dir;
    ASSERT_EQ(chmod(dir.name().constData(), 0755), 0);
    const std::pair<const char *, mode_t> folders[] = {
        {"open", 0755},
        {"private", 0700},    // neither listed nor searched by others
        {"listOnly", 0744},   // names readable, lstat refused
        {"searchOnly", 0711}, // cannot be listed
    };
    for (const auto &[folder, mode] : folders) {
        TestSupport::writeText(dir.filePath(folder + QStringLiteral("/file")), "data");
        ASSERT_EQ(chmod(dir.name() + "/" + folder, mode), 0);
    }
    EXPECT_EQ(walk(dir.path()).size(), 4) << "root sees everything";
    TestSupport::FileAccessAsNobody nobody;
    QByteArrayList found = walk(dir.path());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (QByteArrayList{dir.name() + "/listOnly/file: EACCES",
                                     dir.name() + "/open/file 4", dir.name() + "/private: EACCES",
                                     dir.name() + "/searchOnly: EACCES"}));
    // A medium that fails to list a folder, the way a failing card does (EIO from getdents64).
    std::thread([&dir] {
        ASSERT_TRUE(TestSupport::refuseOnThisThread(SYS_getdents64, EIO));
        EXPECT_EQ(walk(dir.path()), QByteArrayList{dir.name() + ": EIO"});
    }).join();
}

// Past the limit of folders held open at once (64), with paths far beyond PATH_MAX, on a
// pool worker thread as the scan runs it.
TEST(HWCFileManagerAdditions, DeeperThanTheOpenFolderLimitOnAPoolThread)
{
    ScratchDir dir;
    int fd = open(dir.name().constData(), O_RDONLY | O_DIRECTORY);
    const QByteArray name(200, 'd');
    constexpr int kDepth = 164;
    for (int level = 0; level < kDepth; ++level) {
        const int file = openat(fd, level % 2 ? "f" : ".f", O_WRONLY | O_CREAT, 0644);
        ASSERT_EQ(write(file, "abc", size_t(level % 4)), level % 4);
        close(file);
        ASSERT_EQ(mkdirat(fd, name.constData(), 0755), 0);
        const int child = openat(fd, name.constData(), O_RDONLY | O_DIRECTORY);
        close(fd);
        ASSERT_GE(child, 0);
        fd = child;
    }
    close(fd);

    QByteArrayList walked;
    QThreadPool::globalInstance()->start([&walked, &dir] { walked = walk(dir.path()); });
    QThreadPool::globalInstance()->waitForDone();
    ASSERT_EQ(walked.size(), kDepth);
    EXPECT_GT(walked.last().size(), PATH_MAX);
    EXPECT_EQ(walked, findFiles(dir.path()));
}
