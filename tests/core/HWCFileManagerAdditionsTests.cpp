#include "Categories/HWCFileManagerAdditions.h"
#include "Categories/HWIFileHandleAdditions.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>
#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Removes what QTemporaryDir cannot: names that are not valid UTF-8, very deep trees.
class ScratchDir : public QTemporaryDir {
public:
    ~ScratchDir() { TestSupport::runTool(QStringLiteral("rm"), {QStringLiteral("-rf"), path()}); }
};

struct WalkedFile {
    QByteArray path;
    qint64 size;
    bool operator==(const WalkedFile &) const = default;
};

std::vector<WalkedFile> walk(const QString &path)
{
    std::vector<WalkedFile> files;
    findFilesAtPath(path, [&files](const char *filePath, const struct stat *status) {
        EXPECT_TRUE(S_ISREG(status->st_mode)) << filePath;
        files.push_back({QByteArray(filePath), qint64(status->st_size)});
    });
    return files;
}

// What find reports, in its order: find reads each directory stream in order too.
std::vector<WalkedFile> findFiles(const QString &path)
{
    const QByteArray output = TestSupport::runTool(
        QStringLiteral("find"), {path, QStringLiteral("-type"), QStringLiteral("f"),
                                 QStringLiteral("-printf"), QStringLiteral("%p\\0%s\\0")});
    const QList<QByteArray> fields = output.split('\0');
    std::vector<WalkedFile> files;
    for (qsizetype i = 0; i + 1 < fields.size(); i += 2)
        files.push_back({fields[i], fields[i + 1].toLongLong()});
    return files;
}

std::string describe(const std::vector<WalkedFile> &files)
{
    std::string text;
    for (const WalkedFile &file : files)
        text += file.path.toStdString() + " " + std::to_string(file.size) + "\n";
    return text;
}

void writeBytes(const QByteArray &path, const QByteArray &contents)
{
    const int fd = open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ASSERT_GE(fd, 0) << path.constData();
    ASSERT_EQ(write(fd, contents.constData(), size_t(contents.size())), contents.size());
    close(fd);
}

void makeSocket(const QByteArray &path)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(size_t(path.size()), sizeof(address.sun_path));
    memcpy(address.sun_path, path.constData(), size_t(path.size()));
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    close(fd);
}

// A random tree with hidden entries, empty folders, links to files and folders (one of them
// a loop), a dangling link, a fifo, a socket, a longest-possible name and a name that is
// not valid UTF-8.
void generateTree(const QByteArray &root, quint32 seed)
{
    std::mt19937 random(seed);
    std::vector<QByteArray> folders{root};
    for (int i = 0; i < 60; ++i) {
        const QByteArray parent = folders[random() % folders.size()];
        const QByteArray name = (random() % 5 == 0 ? "." : "") + QByteArray::number(i);
        const QByteArray child = parent + "/" + name;
        if (random() % 3 == 0 && folders.size() < 25) {
            ASSERT_EQ(mkdir(child.constData(), 0755), 0);
            folders.push_back(child);
        } else {
            writeBytes(child, QByteArray(int(random() % 3000), 'x'));
        }
    }
    ASSERT_EQ(mkdir((root + "/empty").constData(), 0755), 0);
    ASSERT_EQ(symlink(folders.back().constData(), (root + "/link-to-folder").constData()), 0);
    ASSERT_EQ(symlink((root + "/0").constData(), (root + "/link-to-file").constData()), 0);
    ASSERT_EQ(symlink("..", (folders.back() + "/loop").constData()), 0);
    ASSERT_EQ(symlink("nowhere", (root + "/dangling").constData()), 0);
    ASSERT_EQ(mkfifo((root + "/fifo").constData(), 0644), 0);
    makeSocket(root + "/socket");
    writeBytes(root + "/" + QByteArray(255, 'n'), "longest name");
    writeBytes(folders[1] + "/clip-\xff\xfe.mov", "not UTF-8");
}

} // namespace

TEST(HWCFileManagerAdditions, WalkEqualsFindOnGeneratedTrees)
{
    for (quint32 seed = 1; seed <= 2; ++seed) {
        ScratchDir dir;
        generateTree(QFile::encodeName(dir.path()), seed);

        const std::vector<WalkedFile> expected = findFiles(dir.path());
        ASSERT_GT(expected.size(), 20u);
        const std::vector<WalkedFile> walked = walk(dir.path());
        EXPECT_EQ(walked, expected) << "walk:\n"
                                    << describe(walked) << "find:\n"
                                    << describe(expected);
        // A trailing separator gives the same paths, never a doubled "/".
        EXPECT_EQ(walk(dir.path() + QStringLiteral("/")), expected);
        for (const WalkedFile &file : walked) {
            EXPECT_FALSE(file.path.contains("//")) << file.path.constData();
            EXPECT_FALSE(file.path.contains("link-to") || file.path.contains("loop"))
                << file.path.constData();
        }
        // A name that is not valid UTF-8 reaches the opener byte for byte.
        const auto odd = std::find_if(walked.begin(), walked.end(),
                                      [](const WalkedFile &file) { return file.path.contains('\xff'); });
        ASSERT_NE(odd, walked.end());
        const int fd = hwi_fileReadDescriptorForPath(odd->path.constData(), true);
        char buffer[16] = {};
        EXPECT_EQ(read(fd, buffer, sizeof(buffer)), 9);
        EXPECT_STREQ(buffer, "not UTF-8");
        close(fd);
    }
}

TEST(HWCFileManagerAdditions, NothingIsReportedForEmptyMissingOrNonFolderPaths)
{
    ScratchDir dir;
    EXPECT_TRUE(walk(dir.path()).empty());
    EXPECT_TRUE(walk(dir.path() + QStringLiteral("/missing")).empty());
    EXPECT_TRUE(walk(QString()).empty());
    TestSupport::writeText(dir.filePath(QStringLiteral("file")), "x");
    EXPECT_TRUE(walk(dir.filePath(QStringLiteral("file"))).empty());
    // A link given as the path is opened like the folder it names.
    ASSERT_EQ(symlink(QFile::encodeName(dir.path()).constData(),
                      QFile::encodeName(dir.filePath(QStringLiteral("self"))).constData()),
              0);
    const std::vector<WalkedFile> viaLink = walk(dir.filePath(QStringLiteral("self")));
    ASSERT_EQ(viaLink.size(), 1u);
    EXPECT_EQ(viaLink[0].path, QFile::encodeName(dir.filePath(QStringLiteral("self/file"))));
}

TEST(HWCFileManagerAdditions, UnreadableFoldersAndEntriesAreSkippedSilently)
{
    ScratchDir dir;
    ASSERT_EQ(chmod(QFile::encodeName(dir.path()).constData(), 0755), 0);
    const auto make = [&dir](const QString &folder, mode_t mode) {
        TestSupport::writeText(dir.filePath(folder + QStringLiteral("/file")), "data");
        ASSERT_EQ(chmod(QFile::encodeName(dir.filePath(folder)).constData(), mode), 0);
    };
    make(QStringLiteral("open"), 0755);
    make(QStringLiteral("private"), 0700);    // neither listed nor searched by others
    make(QStringLiteral("listOnly"), 0744);   // names readable, lstat refused
    make(QStringLiteral("searchOnly"), 0711); // cannot be listed

    EXPECT_EQ(walk(dir.path()).size(), 4u) << "root sees everything";
    std::vector<WalkedFile> walked;
    {
        TestSupport::FileAccessAsNobody nobody;
        walked = walk(dir.path());
    }
    ASSERT_EQ(walked.size(), 1u) << describe(walked);
    EXPECT_EQ(walked[0].path, QFile::encodeName(dir.filePath(QStringLiteral("open/file"))));
}

// Past the limit of folders held open at once (64), with paths far beyond PATH_MAX, on a
// pool worker thread as the scan runs it.
TEST(HWCFileManagerAdditions, DeeperThanTheOpenFolderLimitOnAPoolThread)
{
    ScratchDir dir;
    int fd = open(QFile::encodeName(dir.path()).constData(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(fd, 0);
    const QByteArray name(200, 'd');
    constexpr int kDepth = 164;
    for (int level = 0; level < kDepth; ++level) {
        const int file = openat(fd, level % 2 ? "f" : ".f", O_WRONLY | O_CREAT, 0644);
        ASSERT_GE(file, 0);
        ASSERT_EQ(write(file, "abc", size_t(level % 4)), level % 4);
        close(file);
        ASSERT_EQ(mkdirat(fd, name.constData(), 0755), 0);
        const int child = openat(fd, name.constData(), O_RDONLY | O_DIRECTORY);
        close(fd);
        ASSERT_GE(child, 0);
        fd = child;
    }
    close(fd);

    std::vector<WalkedFile> walked;
    QThreadPool::globalInstance()->start([&walked, &dir] { walked = walk(dir.path()); });
    QThreadPool::globalInstance()->waitForDone();
    ASSERT_EQ(walked.size(), size_t(kDepth));
    EXPECT_GT(walked.back().path.size(), PATH_MAX);
    EXPECT_EQ(walked, findFiles(dir.path()));
}
