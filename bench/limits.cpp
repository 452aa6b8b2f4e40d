// The floor of a job on the machine at hand: reads a file in blocks, finds every separator with the widest
// instructions, and writes as many bytes as the mode does.
//   limits INPUT OUTPUT BYTES
#include "processors/lanes.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

static constexpr size_t blockSize = size_t(256) << 10;

// Bytes that are a blank, a tab or a line end, in whole runs of 64.
MORVEL_INLINE uint64_t countSeparators(const char *block, size_t size)
{
    uint64_t count = 0;
    for (size_t first = 0; first + 64 <= size; first += 64 * 255) {
        uint8_t found[64] = {};  // of up to 255 runs, so that none overflows
        for (size_t run = first; run + 64 <= size && run < first + 64 * 255; run += 64) {
            for (size_t i = 0; i < 64; ++i) {
                const char byte = block[run + i];
                found[i] = uint8_t(found[i] + ((byte == ' ') | (byte == '\t') | (byte == '\n')));
            }
        }
        for (const uint8_t each : found)
            count += each;
    }
    return count;
}

struct Kernels {
    const char *name;
    bool (*isSupported)();
    uint64_t (*countSeparators)(const char *block, size_t size);
    static std::span<const Kernels> all();
};

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static uint64_t count##name(const char *block, size_t size)                                                 \
    {                                                                                                                  \
        return countSeparators(block, size);                                                                           \
    }
MORVEL_FOR_PROCESSORS(MORVEL_KERNELS)

std::span<const Kernels> Kernels::all()
{
#define MORVEL_ROW(name, bytes, target) {#name, supports##name, count##name},
    static const Kernels kernels[] = {MORVEL_FOR_PROCESSORS(MORVEL_ROW)};
    return kernels;
}

int main(int argc, char **argv)
{
    const int in = argc == 4 ? open(argv[1], O_RDONLY) : -1;
    const int out = argc == 4 ? open(argv[2], O_WRONLY | O_CREAT | O_TRUNC, 0666) : -1;
    if (in < 0 || out < 0)
        return 2;
    std::vector<char> block(blockSize, ' ');
    uint64_t separators = 0;
    for (ssize_t size; (size = read(in, block.data(), blockSize)) > 0;)
        separators += kernelsInUse<Kernels>->countSeparators(block.data(), size_t(size));
    for (size_t left = std::strtoull(argv[3], nullptr, 10); left > 0;) {
        const ssize_t written = write(out, block.data(), left < blockSize ? left : blockSize);
        if (written < 0)
            return 1;
        left -= size_t(written);
    }
    std::printf("%llu separators\n", static_cast<unsigned long long>(separators));
}
