// Writes a benchmark tree of incompressible files:
//   create-dataset DIR LARGE_COUNT LARGE_MIB SMALL_COUNT FOLDERS SMALL_MIN_KIB SMALL_MAX_KIB
// Large files go to DIR/large-N.bin, small ones round-robin into DIR/folder-NNN/.
// The same arguments always give the same bytes.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

std::uint64_t splitMix(std::uint64_t &state)
{
    std::uint64_t z = (state += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
}

bool writeFile(const std::filesystem::path &path, std::uint64_t size, std::uint64_t seed)
{
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (!file)
        return false;
    std::vector<std::uint64_t> block(1 << 17); // 1 MiB
    bool ok = true;
    while (size > 0 && ok) {
        for (std::uint64_t &word : block)
            word = splitMix(seed);
        const std::uint64_t length = std::min<std::uint64_t>(size, block.size() * 8);
        ok = std::fwrite(block.data(), 1, length, file) == length;
        size -= length;
    }
    return std::fclose(file) == 0 && ok;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 8) {
        std::fprintf(stderr,
                     "usage: %s DIR LARGE_COUNT LARGE_MIB SMALL_COUNT FOLDERS "
                     "SMALL_MIN_KIB SMALL_MAX_KIB\n",
                     argv[0]);
        return 2;
    }
    const std::filesystem::path root = argv[1];
    const long largeCount = std::atol(argv[2]);
    const std::uint64_t largeSize = std::strtoull(argv[3], nullptr, 10) << 20;
    const long smallCount = std::atol(argv[4]);
    const long folders = std::max(1L, std::atol(argv[5]));
    const std::uint64_t smallMin = std::strtoull(argv[6], nullptr, 10) << 10;
    const std::uint64_t smallMax = std::strtoull(argv[7], nullptr, 10) << 10;

    std::filesystem::create_directories(root);
    for (long i = 0; i < largeCount; ++i) {
        if (!writeFile(root / ("large-" + std::to_string(i) + ".bin"), largeSize, 1000 + i))
            return 1;
    }
    std::uint64_t sizes = 42;
    for (long i = 0; i < smallCount; ++i) {
        char folder[32];
        std::snprintf(folder, sizeof folder, "folder-%03ld", i % folders);
        std::filesystem::create_directories(root / folder);
        const std::uint64_t size = smallMin + splitMix(sizes) % (smallMax - smallMin + 1);
        if (!writeFile(root / folder / ("file-" + std::to_string(i) + ".bin"), size, i))
            return 1;
    }
    return 0;
}
