#include "genotypes/triplets.h"
#include "processors/wide.h"

#include <algorithm>

using text::Separator;

// Where the bytes from "0 0 0 0 " on differ from it by more than the last bit of a digit: not in certain genotypes such
// as "0 1 0 ". Bit i stands for byte i of 64.
static inline uint64_t otherBits(const char *bytes)
{
    uint64_t same = 0;
#if defined(__SSE2__)
    for (int part = 0; part < 3; ++part) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + 16 * part));
        const __m128i kept = _mm_and_si128(chunk, _mm_set1_epi16(short(0xfffe)));
        const __m128i found = _mm_cmpeq_epi8(kept, _mm_set1_epi16(0x2030));
        same |= uint64_t(uint32_t(_mm_movemask_epi8(found))) << (16 * part);
    }
#else
    for (int i = 0; i < 48; ++i)
        same |= uint64_t(i % 2 ? bytes[i] == ' ' : (bytes[i] & ~1) == '0') << i;
#endif
    return ~same;
}

// Bits 0, 16 and 32, as 6 bytes of a certain genotype have them, side by side: first, second and third.
static constexpr std::array<Triplet, 8> certainTriplets = [] {
    std::array<Triplet, 8> triplets;
    for (uint16_t i = 0; i < 8; ++i) {
        const uint16_t none = i & 1, hetero = i >> 1 & 1, homo = i >> 2;
        triplets[i] = {uint16_t(1000 * none), uint16_t(1000 * hetero), uint16_t(1000 * homo),
                       uint16_t(1000 * (hetero + 2 * homo))};
    }
    return triplets;
}();

static inline const Triplet &certainTriplet(const char *bytes)
{
    uint64_t bits;
    std::memcpy(&bits, bytes, sizeof bits);
    return certainTriplets[(bits & 0x000100010001) * 0x000100020004 >> 32 & 7];
}
