// What 64 bytes are, as 64 bits: bit i stands for byte i.
#pragma once

#include "processors/lanes.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// By registers of so many bytes. Called from functions that are compiled for processors which have them.
template <size_t registerBytes>
struct ByteBits;

#if defined(__SSE2__)
template <>
struct ByteBits<16> {
    // Whether byte & keep is `sought`, where even bytes have the low halves of both and odd bytes the high ones.
    static inline uint64_t find(const char *bytes, uint16_t keep, uint16_t sought)
    {
        uint64_t bits = 0;
        for (int part = 0; part < 4; ++part) {
            const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + 16 * part));
            const __m128i kept = _mm_and_si128(chunk, _mm_set1_epi16(short(keep)));
            const __m128i found = _mm_cmpeq_epi8(kept, _mm_set1_epi16(short(sought)));
            bits |= uint64_t(uint32_t(_mm_movemask_epi8(found))) << (16 * part);
        }
        return bits;
    }
};
#else
template <>
struct ByteBits<16> {
    static inline uint64_t find(const char *bytes, uint16_t keep, uint16_t sought)
    {
        uint64_t bits = 0;
        for (int i = 0; i < 64; ++i)
            bits |= uint64_t((uint8_t(bytes[i]) & uint8_t(keep >> i % 2 * 8)) == uint8_t(sought >> i % 2 * 8)) << i;
        return bits;
    }
};
#endif

#if defined(MORVEL_WIDE_KERNELS)
template <>
struct ByteBits<32> {
    MORVEL_AVX2 static inline uint64_t find(const char *bytes, uint16_t keep, uint16_t sought)
    {
        const __m256i kept = _mm256_set1_epi16(short(keep)), pattern = _mm256_set1_epi16(short(sought));
        const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes));
        const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(bytes + 32));
        const int lowBits = _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_and_si256(low, kept), pattern));
        const int highBits = _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_and_si256(high, kept), pattern));
        return uint64_t(uint32_t(highBits)) << 32 | uint32_t(lowBits);
    }
};

template <>
struct ByteBits<64> {
    MORVEL_AVX512 static inline uint64_t find(const char *bytes, uint16_t keep, uint16_t sought)
    {
        const __m512i chunk = _mm512_loadu_si512(bytes);
        return _mm512_cmpeq_epi8_mask(_mm512_and_si512(chunk, _mm512_set1_epi16(short(keep))),
                                      _mm512_set1_epi16(short(sought)));
    }
};
#endif

// The same in words.
template <size_t registerBytes>
MORVEL_INLINE uint64_t blankBits(const char *bytes)
{
    return ByteBits<registerBytes>::find(bytes, 0xffff, 0x2020);
}

// Of all white space: from tab to return, and blank.
template <size_t registerBytes>
MORVEL_INLINE uint64_t whiteBits(const char *bytes)
{
    using Bits = ByteBits<registerBytes>;
    // 8 to 15 without 8, 14 and 15
    return Bits::find(bytes, 0xffff, 0x2020)
           | (Bits::find(bytes, 0xf8f8, 0x0808) & ~Bits::find(bytes, 0xffff, 0x0808)
              & ~Bits::find(bytes, 0xfefe, 0x0e0e));
}
