#include "scans/classsums.h"
#include "processors/lanes.h"

#include <algorithm>
#include <utility>

#if defined(MORVEL_WIDE_KERNELS)
#include <immintrin.h>
#endif

// One by one: in a loop the compiler takes some of them through memory, which costs a fifth of the time.
template <class Register, size_t registers, size_t... indices>
MORVEL_INLINE void storeEach(double *to, const Register (&from)[registers], std::index_sequence<indices...>)
{
    (store(to + indices * sizeof(Register) / sizeof(double), from[indices]), ...);
}

// `registers` side by side keep the adders busy while each waits for its own last sum.
template <size_t bytes, size_t registers>
MORVEL_INLINE void addColumns(const double *rows, size_t width, const uint16_t *order, const uint16_t *counts,
                              double *sums)
{
    using Real = typename Lanes<double, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(double);
    for (size_t k = 0; k < classCount; ++k, sums += width) {
        Real sum[registers];
        for (size_t i = 0; i < registers; ++i)
            sum[i] = load<Real>(sums + i * lanes);
        for (const uint16_t *const end = order + counts[k]; order != end; ++order) {
            const double *row = rows + *order * width;
            for (size_t i = 0; i < registers; ++i)
                sum[i] += load<Real>(row + i * lanes);
        }
        storeEach(sums, sum, std::make_index_sequence<registers>());
    }
}

template <size_t bytes>
MORVEL_INLINE void addRows(const double *rows, size_t groups, const uint16_t *order, const uint16_t *counts,
                           double *sums)
{
    const size_t width = groups * groupLanes;
    constexpr size_t lanes = bytes / sizeof(double);
    for (size_t first = 0; first < width; first += 8 * lanes) {
        const double *from = rows + first;
        double *to = sums + first;
        switch ((width - first) / lanes) {
        case 1:
            addColumns<bytes, 1>(from, width, order, counts, to);
            break;
        case 2:
            addColumns<bytes, 2>(from, width, order, counts, to);
            break;
        case 3:
            addColumns<bytes, 3>(from, width, order, counts, to);
            break;
        case 4:
            addColumns<bytes, 4>(from, width, order, counts, to);
            break;
        case 5:
            addColumns<bytes, 5>(from, width, order, counts, to);
            break;
        case 6:
            addColumns<bytes, 6>(from, width, order, counts, to);
            break;
        case 7:
            addColumns<bytes, 7>(from, width, order, counts, to);
            break;
        default:
            addColumns<bytes, 8>(from, width, order, counts, to);
        }
    }
}

// Replaces every byte by the number of its bits.
template <class Bits>
MORVEL_INLINE void countBitsOfBytes(Bits &bits)
{
    bits -= (bits >> 1) & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + ((bits >> 2) & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0f0f0f0f0f0f0f0f;
}

// Whole numbers below 2^52: the bits of 2^52 and such a number are those of their sum.
template <class Bits>
MORVEL_INLINE auto realOf(const Bits &bits)
{
    using Real = typename Lanes<double, sizeof(Bits)>::Real;
    return (Real)(bits | 0x4330000000000000) - 0x1p52;
}

// Replaces every lane by the sum of its bytes, as a real number.
template <class Bits, class Real>
MORVEL_INLINE void sumBytes(Bits &bits, Real &sum)
{
    bits = (bits & 0x00ff00ff00ff00ff) + ((bits >> 8) & 0x00ff00ff00ff00ff);
    bits = (bits & 0x0000ffff0000ffff) + ((bits >> 16) & 0x0000ffff0000ffff);
    bits = (bits & 0xffffffff) + (bits >> 32);
    sum += realOf(bits);
}

template <size_t bytes>
MORVEL_INLINE void countPresent(const uint64_t *present, const double *presentCounts, const uint64_t *class1,
                                const uint64_t *class2, size_t words, double *counts)
{
    using Real = typename Lanes<double, bytes>::Real;
    using Bits = typename Lanes<double, bytes>::Bits;
    constexpr size_t lanes = bytes / sizeof(double);
    constexpr size_t wordsPerSum = 31;  // 31 times 8 bits fit a byte
    for (size_t lane = 0; lane < groupLanes; lane += lanes) {
        Real count1 = {}, count2 = {};
        for (size_t first = 0; first < words; first += wordsPerSum) {
            Bits sum1 = {}, sum2 = {};
            const size_t end = std::min(words, first + wordsPerSum);
            for (size_t word = first; word < end; ++word) {
                const auto values = load<Bits>(present + word * groupLanes + lane);
                Bits bits1 = values & class1[word];
                countBitsOfBytes(bits1);
                sum1 += bits1;
                Bits bits2 = values & class2[word];
                countBitsOfBytes(bits2);
                sum2 += bits2;
            }
            sumBytes(sum1, count1);
            sumBytes(sum2, count2);
        }
        store<Real>(counts + lane, load<Real>(presentCounts + lane) - count1 - count2);
        store(counts + groupLanes + lane, count1);
        store(counts + 2 * groupLanes + lane, count2);
    }
}

#if defined(MORVEL_WIDE_KERNELS)
// Where the processor counts the bits of a lane by itself: a quarter of the time.
#define MORVEL_COUNTING __attribute__((target("avx512f,avx512bw,avx512vl,avx512vpopcntdq,bmi,bmi2,popcnt")))
MORVEL_COUNTING static void countPresentCounting(const uint64_t *present, const double *presentCounts,
                                                 const uint64_t *class1, const uint64_t *class2, size_t words,
                                                 double *counts)
{
    static_assert(groupLanes == 8);
    __m512i sum1 = _mm512_setzero_si512(), sum2 = sum1;
    for (size_t word = 0; word < words; ++word) {
        const __m512i values = _mm512_loadu_si512(present + word * groupLanes);
        const __m512i inClass1 = _mm512_and_si512(values, _mm512_set1_epi64(int64_t(class1[word])));
        const __m512i inClass2 = _mm512_and_si512(values, _mm512_set1_epi64(int64_t(class2[word])));
        sum1 = _mm512_add_epi64(sum1, _mm512_popcnt_epi64(inClass1));
        sum2 = _mm512_add_epi64(sum2, _mm512_popcnt_epi64(inClass2));
    }
    // As realOf().
    const __m512d base = _mm512_set1_pd(0x1p52);
    const __m512i bits = _mm512_castpd_si512(base);
    const __m512d count1 = _mm512_sub_pd(_mm512_castsi512_pd(_mm512_or_si512(sum1, bits)), base);
    const __m512d count2 = _mm512_sub_pd(_mm512_castsi512_pd(_mm512_or_si512(sum2, bits)), base);
    _mm512_storeu_pd(counts, _mm512_sub_pd(_mm512_sub_pd(_mm512_loadu_pd(presentCounts), count1), count2));
    _mm512_storeu_pd(counts + groupLanes, count1);
    _mm512_storeu_pd(counts + 2 * groupLanes, count2);
}

static bool supportsCounting()
{
    return supportsAvx512() && __builtin_cpu_supports("avx512vpopcntdq") > 0;
}
#endif

// The steps of fitLine() for the points x = 1, 2, 3.
template <size_t bytes>
MORVEL_INLINE void fitGroup(const double *sums, size_t width, const double *counts, double r2Limit, double *slopes,
                            double *r2s, LaneBests &bests)
{
    using Real = typename Lanes<double, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(double);
    constexpr double n = classCount, sumX = 6, sumXX = 14;
    const Real zero = {};
    for (size_t lane = 0; lane < groupLanes; lane += lanes) {
        Real mean[classCount];
        Real sumY = zero, sumXY = zero;
        for (size_t k = 0; k < classCount; ++k) {
            const auto sum = load<Real>(sums + k * width + lane);
            const auto count = load<Real>(counts + k * groupLanes + lane);
            // On purpose an empty class takes part with a mean of 0.
            mean[k] = count > 0 ? sum / count : zero;
            sumY += mean[k];
            sumXY += double(k + 1) * mean[k];
        }
        const Real slope = (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
        const Real intercept = (sumY - slope * sumX) / n;
        const Real meanY = sumY / n;
        Real SSres = zero, SStot = zero;
        for (size_t k = 0; k < classCount; ++k) {
            const Real residual = mean[k] - (intercept + slope * double(k + 1));
            const Real deviation = mean[k] - meanY;
            SSres += residual * residual;
            SStot += deviation * deviation;
        }
        Real r2 = 1 - SSres / SStot;
        r2 = r2 < 0 ? zero : r2;
        r2 = SStot == 0 ? zero : r2;
        store(slopes + lane, slope);
        store(r2s + lane, r2);

        const Real absSlope = slope < 0 ? -slope : slope;
        const auto bestSlope = load<Real>(bests.absSlope + lane);
        store<Real>(bests.absSlope + lane, absSlope > bestSlope ? absSlope : bestSlope);
        const auto bestR2 = load<Real>(bests.r2 + lane);
        const Real counted = r2 < r2Limit ? r2 : zero;
        store<Real>(bests.r2 + lane, counted > bestR2 ? counted : bestR2);
    }
}

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static void addRows##name(const double *rows, size_t groups, const uint16_t *order, const uint16_t *counts, \
                                     double *sums)                                                                     \
    {                                                                                                                  \
        addRows<bytes>(rows, groups, order, counts, sums);                                                             \
    }                                                                                                                  \
    target static void countPresent##name(const uint64_t *present, const double *presentCounts,                        \
                                          const uint64_t *class1, const uint64_t *class2, size_t words,                \
                                          double *counts)                                                              \
    {                                                                                                                  \
        countPresent<bytes>(present, presentCounts, class1, class2, words, counts);                                    \
    }                                                                                                                  \
    target static void fitGroup##name(const double *sums, size_t width, const double *counts, double r2Limit,          \
                                      double *slope, double *r2, LaneBests &bests)                                     \
    {                                                                                                                  \
        fitGroup<bytes>(sums, width, counts, r2Limit, slope, r2, bests);                                               \
    }

MORVEL_FOR_PROCESSORS(MORVEL_KERNELS)

#define MORVEL_ROW(name, bytes, target) {#name, supports##name, addRows##name, countPresent##name, fitGroup##name},
static const ScanKernels kernels[] = {
    MORVEL_FOR_PROCESSORS(MORVEL_ROW)
#if defined(MORVEL_WIDE_KERNELS)
        {"Counting", supportsCounting, addRowsAvx512, countPresentCounting, fitGroupAvx512},
#endif
};

std::span<const ScanKernels> ScanKernels::all()
{
    return kernels;
}
