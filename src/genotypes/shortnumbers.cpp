#include "genotypes/shortnumbers.h"
#include "processors/lanes.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>
#include <array>

#if defined(MORVEL_WIDE_KERNELS)
#include <immintrin.h>
#endif

template <bool areWords>
static void readPlain(const char *const *marks, size_t step, size_t pairs, int32_t (*numbers)[2])
{
    for (size_t i = 0; i < pairs; ++i, marks += step) {
        for (size_t n = 0; n < 2; ++n) {
            const char *const first = marks[n] + 1;
            const size_t size = size_t(marks[n + 1] - first);
            const int number = text::readThousandths(first, size);
            numbers[i][n] = areWords && size == 0 ? notShort : number;
        }
    }
}

#if defined(MORVEL_WIDE_KERNELS)
namespace {
// How two numbers with a blank between them, of 0 to 7 bytes each, come to stand in 8 bytes each, and what turns
// their digits into values, the points and what is missing into 0, and marks more than 5 bytes in the last one.
struct alignas(16) Placing {
    uint8_t places[16], differences[16];
};
}  // namespace

template <bool areWords>
static constexpr auto placings = [] {
    std::array<Placing, 64> table{};
    for (size_t i = 0; i < table.size(); ++i) {
        const size_t sizes[] = {i / 8, i % 8}, begins[] = {0, sizes[0] + 1};
        for (size_t n = 0; n < 2; ++n) {
            for (size_t k = 0; k < 8; ++k) {
                const bool isThere = k < sizes[n] && k < 5;
                table[i].places[8 * n + k] = uint8_t(isThere ? begins[n] + k : 0x80);
                table[i].differences[8 * n + k] = uint8_t(isThere ? "0.000"[k] : 0);
            }
            if (sizes[n] > 5 || (areWords && sizes[n] == 0))
                table[i].differences[8 * n + 7] = 0x80;
        }
    }
    return table;
}();

// The steps of text::readShortNumber() and text::thousandthsOf() for both numbers at once.
template <bool areWords>
MORVEL_AVX2 static void readWide(const char *const *marks, size_t step, size_t pairs, int32_t (*numbers)[2])
{
    const __m128i carries = _mm_set1_epi64x(0x7f7f7f7676767f76);
    const __m128i weights = _mm_set1_epi64x(0x01010a0064), pairWeights = _mm_set1_epi64x(0x0001000a000a);
    const char *const *const first = marks;
    __m128i invalid = _mm_setzero_si128();
    for (size_t i = 0; i < pairs; ++i, marks += step) {
        const size_t size0 = size_t(marks[1] - marks[0] - 1), size1 = size_t(marks[2] - marks[1] - 1);
        if ((size0 | size1) > 7) [[unlikely]]
            return readPlain<areWords>(first, step, pairs, numbers);
        const __m128i *const placing = reinterpret_cast<const __m128i *>(&placings<areWords>[8 * size0 + size1]);
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(marks[0] + 1));
        const __m128i digits = _mm_xor_si128(_mm_shuffle_epi8(bytes, placing[0]), placing[1]);
        invalid = _mm_or_si128(invalid, _mm_or_si128(_mm_add_epi64(digits, carries), digits));
        // Hundreds of thousandths from the ones; 10 tenths and the hundredths; thousandths.
        const __m128i parts = _mm_madd_epi16(_mm_maddubs_epi16(digits, weights), pairWeights);
        const __m128i sums = _mm_add_epi32(parts, _mm_srli_epi64(parts, 32));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(numbers + i), _mm_shuffle_epi32(sums, 0x08));
    }
    if (_mm_movemask_epi8(invalid) != 0) [[unlikely]]
        readPlain<areWords>(first, step, pairs, numbers);
}
#endif

std::span<const ShortNumberKernels> ShortNumberKernels::all()
{
    static const ShortNumberKernels kernels[]
        = { {"Plain", supportsPlain, readPlain<false>, readPlain<true>},
#if defined(MORVEL_WIDE_KERNELS)
            {"Avx2", supportsAvx2, readWide<false>, readWide<true>},
#endif
          };
    return kernels;
}

template <bool areWords>
MORVEL_WIDE static size_t formValues(const char *const *marks, const int32_t *numbers, size_t count, double *values)
{
    for (size_t i = 0; i < count; ++i)
        values[i] = double(numbers[i]) / 1000;  // as text::thousandthValues has it
    const auto isLong = [](int32_t number) { return number < 0; };
    for (const int32_t *at = numbers; (at = std::find_if(at, numbers + count, isLong)) != numbers + count; ++at) {
        const size_t i = size_t(at - numbers);
        const std::string_view field(marks[i] + 1, size_t(marks[i + 1] - marks[i] - 1));
        if (areWords && field.empty())
            return i;
        values[i] = text::readDouble(field);
    }
    return count;
}

template <bool areWords>
size_t readNumbers(const char *const *marks, size_t count, double *values)
{
    int32_t numbers[text::FieldWalker<text::Separator::Blank>::batchSize + 1];
    const auto pairs = reinterpret_cast<int32_t(*)[2]>(numbers);
    const auto &kernels = *kernelsInUse<ShortNumberKernels>;
    (areWords ? kernels.readWords : kernels.readFields)(marks, 2, count / 2, pairs);
    if (count % 2 == 1) {
        const size_t size = size_t(marks[count] - marks[count - 1] - 1);
        numbers[count - 1] = areWords && size == 0 ? notShort : text::readThousandths(marks[count - 1] + 1, size);
    }
    return formValues<areWords>(marks, numbers, count, values);
}

template size_t readNumbers<false>(const char *const *marks, size_t count, double *values);
template size_t readNumbers<true>(const char *const *marks, size_t count, double *values);
