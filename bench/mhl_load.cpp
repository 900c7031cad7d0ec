// Loads an MHL and touches every record's file, size and digest as verification does, or,
// with --pugixml, only parses it with pugixml as the reference. Prints wall times in seconds,
// the process CPU seconds (meaningful when other work shares the cores), the record count and
// the peak resident set size.
// Usage: mhl_load [--pugixml] PATH
#include "engine/mhl/HWCMediaHashList.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <pugixml.hpp>
#include <sys/resource.h>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double cpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

long peakResidentKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

int parseOnly(const char *path)
{
    const Clock::time_point start = Clock::now();
    pugi::xml_document document;
    if (!document.load_file(path, pugi::parse_default, pugi::encoding_auto))
        return 1;
    std::size_t records = 0;
    for (pugi::xml_node hash : document.document_element().children("hash"))
        records += hash.first_child() ? 1 : 0;
    std::printf("wall %.3f cpu %.3f records %zu peak_kib %ld\n", secondsSince(start), cpuSeconds(),
                records, peakResidentKiB());
    return 0;
}

int loadAndTouch(const char *path)
{
    const Clock::time_point start = Clock::now();
    const auto list = HWCMediaHashList::initWithContentsOfURL(QString::fromLocal8Bit(path));
    if (!list || !list->wasRead())
        return 1;
    const double loaded = secondsSince(start);
    qint64 characters = 0;
    qint64 bytes = 0;
    for (const HWCChecksumEntry &record : list->hashes()) {
        characters += record.fileText().size() + record.digestText("xxhash64").size();
        bytes += qint64(record.listedSize().value_or(0));
    }
    std::printf("wall %.3f cpu %.3f records %zu peak_kib %ld load_wall %.3f (checksum %lld)\n",
                secondsSince(start), cpuSeconds(), list->hashes().size(), peakResidentKiB(), loaded,
                static_cast<long long>(characters + bytes));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--pugixml") == 0)
        return parseOnly(argv[2]);
    if (argc == 2)
        return loadAndTouch(argv[1]);
    std::fprintf(stderr, "usage: mhl_load [--pugixml] PATH\n");
    return 2;
}
