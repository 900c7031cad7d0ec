// Writes an MHL of COUNT entries shaped like the ones Hashwarden writes (nested clip folders,
// size, dates, little-endian xxhash64), for the loading benchmark.
// Usage: mhl_generate PATH COUNT
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

void writeHeader(FILE *file)
{
    std::fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<hashlist version=\"1.1\">\n"
               "  <hashwarden>\n"
               "    <rootPath>/media/bench/CARD_A001</rootPath>\n"
               "    <info/>\n"
               "  </hashwarden>\n"
               "  <creatorinfo>\n"
               "    <name>Bench Mark</name>\n"
               "    <username>bench</username>\n"
               "    <hostname>bench-host</hostname>\n"
               "    <tool>Hashwarden 1.0 (Build 1)</tool>\n"
               "    <startdate>2024-05-01T09:00:00Z</startdate>\n"
               "    <finishdate>2024-05-01T09:00:00Z</finishdate>\n"
               "  </creatorinfo>\n",
               file);
}

void writeEntry(FILE *file, std::uint64_t index, std::mt19937_64 &generator)
{
    const std::uint64_t size = generator() % 4000000000ULL;
    const std::uint64_t digest = generator();
    const unsigned minute = unsigned(index / 60 % 60);
    const unsigned second = unsigned(index % 60);
    std::fprintf(file,
                 "  <hash>\n"
                 "    <file>DCIM/%03" PRIu64 "_CLIP/A001C%06" PRIu64 "_240501_R1AB.%07" PRIu64
                 ".ari</file>\n"
                 "    <size>%" PRIu64 "</size>\n"
                 "    <lastmodificationdate>2024-05-01T08:%02u:%02uZ</lastmodificationdate>\n"
                 "    <xxhash64>%016" PRIx64 "</xxhash64>\n"
                 "    <hashdate>2024-05-01T09:%02u:%02uZ</hashdate>\n"
                 "  </hash>\n",
                 index / 1000, index, index, size, minute, second, digest, minute, second);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: mhl_generate PATH COUNT\n");
        return 2;
    }
    FILE *file = std::fopen(argv[1], "wb");
    if (!file) {
        std::perror(argv[1]);
        return 1;
    }
    const std::uint64_t count = std::strtoull(argv[2], nullptr, 10);
    std::mt19937_64 generator(42);
    writeHeader(file);
    for (std::uint64_t index = 0; index < count; ++index)
        writeEntry(file, index, generator);
    std::fputs("</hashlist>\n", file);
    return std::fclose(file) == 0 ? 0 : 1;
}
