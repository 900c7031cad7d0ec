// Makes the scan benchmark's tree: 10 folders of 100 folders of 1,000 files each (one
// million), sizes 0 to 99 bytes. Usage: scan_generate DIR
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kTopFolders = 10;
constexpr int kSubFolders = 100;
constexpr int kFilesPerFolder = 1000;

bool makeFolder(int parent, const std::string &name)
{
    return mkdirat(parent, name.c_str(), 0755) == 0 || errno == EEXIST;
}

bool fillFolder(int folder, int seed)
{
    char bytes[100];
    memset(bytes, 'x', sizeof(bytes));
    for (int i = 0; i < kFilesPerFolder; ++i) {
        const std::string name = "clip" + std::to_string(i) + ".mov";
        const int fd = openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0)
            return false;
        const size_t size = size_t((i * 7 + seed) % 100);
        const bool written = write(fd, bytes, size) == ssize_t(size);
        close(fd);
        if (!written)
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s DIR\n", argv[0]);
        return 2;
    }
    mkdir(argv[1], 0755);
    const int root = open(argv[1], O_RDONLY | O_DIRECTORY);
    if (root < 0) {
        perror(argv[1]);
        return 1;
    }
    for (int top = 0; top < kTopFolders; ++top) {
        const std::string topName = "day" + std::to_string(top);
        if (!makeFolder(root, topName))
            return 1;
        const int topFd = openat(root, topName.c_str(), O_RDONLY | O_DIRECTORY);
        for (int sub = 0; sub < kSubFolders; ++sub) {
            const std::string subName = "card" + std::to_string(sub);
            if (!makeFolder(topFd, subName))
                return 1;
            const int subFd = openat(topFd, subName.c_str(), O_RDONLY | O_DIRECTORY);
            const bool filled = subFd >= 0 && fillFolder(subFd, top * kSubFolders + sub);
            close(subFd);
            if (!filled) {
                perror("fill");
                return 1;
            }
        }
        close(topFd);
    }
    close(root);
    return 0;
}
