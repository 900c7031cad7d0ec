// Feeds one 1 MiB block through an HWCChecksum repeatedly, as verification does, and
// prints the throughput in bytes per second of process CPU time: the references (openssl
// speed, xxhsum -b) count CPU time too, so figures stay comparable on a shared machine.
// Usage: digest_speed md5|sha1|xxhash|xxhash64 SECONDS
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/records/HWCTypes.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <random>
#include <vector>

namespace {

double cpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

} // namespace

int main(int argc, char **argv)
{
    const std::unique_ptr<HWCChecksum> checksum =
        argc == 3 ? HWCChecksumKinds::make(argv[1]) : nullptr;
    if (!checksum) {
        std::fprintf(stderr, "usage: digest_speed md5|sha1|xxhash|xxhash64 SECONDS\n");
        return 2;
    }
    const double seconds = std::atof(argv[2]);
    std::vector<unsigned char> block(kHWCReadBlockSize);
    std::mt19937 generator(7);
    for (unsigned char &byte : block)
        byte = static_cast<unsigned char>(generator());

    checksum->reset();
    const double start = cpuSeconds();
    double elapsed = 0;
    do {
        for (int i = 0; i < 16; ++i)
            checksum->updateWithBytes(block.data(), block.size());
        elapsed = cpuSeconds() - start;
    } while (elapsed < seconds);
    // The comparison finalises MD5 and SHA-1, so their last step is timed too.
    const bool equal = checksum->isEqualToChecksum(QByteArray(32, '\0'));
    elapsed = cpuSeconds() - start;
    std::printf("%.0f%s\n", double(checksum->bytesRead()) / elapsed, equal ? " !" : "");
    return 0;
}
