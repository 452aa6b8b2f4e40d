#include "genotypes/shortnumbers.h"
#include "processors/lanes.h"
#include "text/readnumber.h"

#include <array>

#if defined(MORVEL_WIDE_KERNELS)
#include <immintrin.h>
#endif

using Walker = text::FieldWalker<text::Separator::Blank>;

static void readPlain(const Walker &walker, size_t triplets, HeteroHomo *numbers)
{
    for (size_t i = 0; i < triplets; ++i) {
        const text::ShortNumber hetero = text::readShortNumber(walker.begin(3 * i + 1), walker.size(3 * i + 1));
        const text::ShortNumber homo = text::readShortNumber(walker.begin(3 * i + 2), walker.size(3 * i + 2));
        numbers[i] = {text::thousandthsOf(hetero.digits), text::thousandthsOf(homo.digits)};
        if (hetero.invalid | homo.invalid) [[unlikely]]
            numbers[i] = {-1, -1};
    }
}

#if defined(MORVEL_WIDE_KERNELS)
// How two numbers with a blank between them, of 0 to 7 bytes each, come to stand in 8 bytes each, and what turns
// their digits into values, the points and what is missing into 0, and marks more than 5 bytes in the last one.
struct alignas(16) Placing {
    uint8_t places[16], differences[16];
};

static constexpr auto placings = [] {
    std::array<Placing, 64> table{};
    for (size_t i = 0; i < table.size(); ++i) {
        const size_t sizes[] = {i / 8, i % 8}, begins[] = {0, sizes[0] + 1};
        for (size_t n = 0; n < 2; ++n) {
            for (size_t k = 0; k < 8; ++k) {
                const bool isThere = k < sizes[n] && k < 5;
                table[i].places[8 * n + k] = uint8_t(isThere ? begins[n] + k : 0x80);
                table[i].differences[8 * n + k] = uint8_t(isThere ? "0.000"[k] : k == 7 && sizes[n] > 5 ? 0x80 : 0);
            }
        }
    }
    return table;
}();

// The steps of text::readShortNumber() and text::thousandthsOf() for both numbers at once.
MORVEL_AVX2 static void readWide(const Walker &walker, size_t triplets, HeteroHomo *numbers)
{
    const __m128i carries = _mm_set1_epi64x(0x7f7f7f7676767f76);
    const __m128i weights = _mm_set1_epi64x(0x000000'01'01'0a'00'64), pairWeights = _mm_set1_epi64x(0x0001'000a'000a);
    __m128i invalid = _mm_setzero_si128();
    for (size_t i = 0; i < triplets; ++i) {
        const char *const first = walker.begin(3 * i + 1);
        const size_t hetero = walker.size(3 * i + 1), homo = walker.size(3 * i + 2);
        if ((hetero | homo) > 7) [[unlikely]]
            return readPlain(walker, triplets, numbers);
        const __m128i *const placing = reinterpret_cast<const __m128i *>(&placings[8 * hetero + homo]);
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(first));
        const __m128i digits = _mm_xor_si128(_mm_shuffle_epi8(bytes, placing[0]), placing[1]);
        invalid = _mm_or_si128(invalid, _mm_or_si128(_mm_add_epi64(digits, carries), digits));
        // Hundreds of thousandths from the ones; 10 tenths and the hundredths; thousandths.
        const __m128i parts = _mm_madd_epi16(_mm_maddubs_epi16(digits, weights), pairWeights);
        const __m128i sums = _mm_add_epi32(parts, _mm_srli_epi64(parts, 32));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(numbers + i), _mm_shuffle_epi32(sums, 0x08));
    }
    if (_mm_movemask_epi8(invalid) != 0) [[unlikely]]
        readPlain(walker, triplets, numbers);
}
#endif

std::span<const TripletKernels> TripletKernels::all()
{
    static const TripletKernels kernels[]
        = { {"Plain", supportsPlain, readPlain},
#if defined(MORVEL_WIDE_KERNELS)
            {"Avx2", supportsAvx2, readWide},
#endif
          };
    return kernels;
}
