#include "mixture/kernels.h"
#include "processors/lanes.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

// Adds the absolute value of each lane.
template <size_t bytes>
MORVEL_INLINE void addAbsolute(typename Lanes<float, bytes>::Real &sum, const typename Lanes<float, bytes>::Real &value)
{
    sum += (typename Lanes<float, bytes>::Real)((typename Lanes<float, bytes>::Bits)value & 0x7fffffff);
}

// The bits of the smallest of all lanes. Sums of absolute values are in the order of their bits, and nan,
// without a sign like them, comes last.
template <size_t bytes, size_t registers>
MORVEL_INLINE int32_t findLeast(const typename Lanes<float, bytes>::Real (&sums)[registers])
{
    typename Lanes<float, bytes>::Bits least = (typename Lanes<float, bytes>::Bits)sums[0];
    for (size_t i = 1; i < registers; ++i) {
        const auto bits = (typename Lanes<float, bytes>::Bits)sums[i];
        least = bits < least ? bits : least;
    }
    Lanes<float, 16>::Bits quarter;
    if constexpr (bytes == 64) {
        const auto low = __builtin_shufflevector(least, least, 0, 1, 2, 3, 4, 5, 6, 7);
        const auto high = __builtin_shufflevector(least, least, 8, 9, 10, 11, 12, 13, 14, 15);
        const auto half = low < high ? low : high;
        const auto first = __builtin_shufflevector(half, half, 0, 1, 2, 3);
        const auto second = __builtin_shufflevector(half, half, 4, 5, 6, 7);
        quarter = first < second ? first : second;
    } else if constexpr (bytes == 32) {
        const auto first = __builtin_shufflevector(least, least, 0, 1, 2, 3);
        const auto second = __builtin_shufflevector(least, least, 4, 5, 6, 7);
        quarter = first < second ? first : second;
    } else {
        quarter = least;
    }
    return std::min(std::min(quarter[0], quarter[1]), std::min(quarter[2], quarter[3]));
}

template <size_t bytes>
MORVEL_INLINE size_t findBest(const Mixture &mixture, const Grid &grid, std::span<const uint32_t> blocks, float &limit)
{
    using Real = typename Lanes<float, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(float), registers = pointsPerBlock / lanes;
    constexpr size_t valuesPerLook = 8;  // at the limit
    size_t found = grid.a.size();
    int32_t least = std::bit_cast<int32_t>(limit), beyond = least;  // as bits; equal ones count once one is found
    for (const uint32_t number : blocks) {
        const size_t first = number * pointsPerBlock;
        const float *const a = grid.a.data() + first, *const b = grid.b.data() + first,
                           *const c = grid.c.data() + first;
        Real sum[registers] = {};
        bool isBelow = true;
        for (size_t j = 0; j < mixture.values && isBelow;) {
            const size_t end = std::min(mixture.values, j + valuesPerLook);
            for (; j < end; ++j) {
                const float *const row = mixture.table[j];
                const float one = row[mixture.one], two = row[mixture.two], three = row[mixture.three];
                const float value = mixture.sample[j];
                for (size_t i = 0; i < registers; ++i) {
                    const size_t k = i * lanes;
                    Real sumOf = three * load<Real>(c + k) + two * load<Real>(b + k);
                    sumOf += one * load<Real>(a + k);
                    addAbsolute<bytes>(sum[i], sumOf - value);
                }
            }
            // A sum of absolute values never falls, nor does nan become less than anything.
            isBelow = findLeast<bytes>(sum) < beyond;
        }
        if (!isBelow)
            continue;
        int32_t scores[pointsPerBlock];
        std::memcpy(scores, sum, sizeof scores);
        for (size_t i = 0; i < pointsPerBlock; ++i) {
            if (scores[i] < least || (scores[i] < beyond && grid.rank[first + i] < grid.rank[found])) {
                least = scores[i];
                beyond = least + 1;
                found = first + i;
            }
        }
    }
    limit = std::bit_cast<float>(least);
    return found;
}

template <size_t bytes>
MORVEL_INLINE void scorePairs(const Mixture &mixture, const float *a, const float *b, size_t points, float *scores)
{
    using Real = typename Lanes<float, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(float);
    for (size_t first = 0; first < points; first += 2 * lanes) {
        Real sum[2] = {};
        for (size_t j = 0; j < mixture.values; ++j) {
            const float one = mixture.table[j][mixture.one], two = mixture.table[j][mixture.two];
            const float value = mixture.sample[j];
            for (size_t i = 0; i < 2; ++i) {
                const size_t k = first + i * lanes;
                addAbsolute<bytes>(sum[i], two * load<Real>(b + k) + one * load<Real>(a + k) - value);
            }
        }
        std::memcpy(scores + first, sum, sizeof sum);
    }
}

// Sixteen mixtures tried at once while looking for weights. Nothing here decides on a result.
constexpr size_t trials = 16;
namespace {
struct Trials {
    float a[trials], b[trials];
};
}  // namespace

// 4 x 4 of them this far apart around a point, inside the triangle.
template <size_t bytes>
MORVEL_INLINE void placeTrials(float a, float b, float spacing, Trials &trial)
{
    using Real = typename Lanes<float, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(float);
    static constexpr float columns[] = {-1.5, -.5, .5, 1.5, -1.5, -.5, .5, 1.5, -1.5, -.5, .5, 1.5, -1.5, -.5, .5, 1.5};
    static constexpr float lines[] = {-1.5, -1.5, -1.5, -1.5, -.5, -.5, -.5, -.5, .5, .5, .5, .5, 1.5, 1.5, 1.5, 1.5};
    const Real zero = {}, one = zero + 1;
    for (size_t i = 0; i < trials; i += lanes) {
        Real nextA = load<Real>(columns + i) * spacing + a, nextB = load<Real>(lines + i) * spacing + b;
        nextA = nextA < zero ? zero : nextA;
        nextA = nextA > one ? one : nextA;
        nextB = nextB < zero ? zero : nextB;
        const Real rest = one - nextA;
        nextB = nextB > rest ? rest : nextB;
        store(trial.a + i, nextA);
        store(trial.b + i, nextB);
    }
}

// The lane of the smallest or largest of 16 positive numbers, but for the last four bits.
template <bool isLargest>
MORVEL_INLINE size_t findLane(const void *numbers)
{
    // Positive floats are in the order of their bits. A loop over integers becomes wide instructions.
    int32_t keys[trials];
    std::memcpy(keys, numbers, sizeof keys);
    for (size_t i = 0; i < trials; ++i)
        keys[i] = (keys[i] & ~15) | int32_t(i);
    int32_t found = keys[0];
    for (size_t i = 0; i < trials; ++i)
        found = isLargest ? std::max(found, keys[i]) : std::min(found, keys[i]);
    return size_t(found & 15);
}

template <size_t bytes>
MORVEL_INLINE size_t findNearest(const Mixture &mixture, const Trials &trial)
{
    using Real = typename Lanes<float, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(float), registers = trials / lanes;
    Real sum[registers] = {};
    for (size_t j = 0; j < mixture.values; ++j) {
        const float *const row = mixture.table[j];
        const float three = row[mixture.three], base = three - mixture.sample[j];
        const float one = row[mixture.one] - three, two = row[mixture.two] - three;
        for (size_t i = 0; i < registers; ++i) {
            const size_t k = i * lanes;
            const auto mixed = one * load<Real>(trial.a + k) + two * load<Real>(trial.b + k);
            addAbsolute<bytes>(sum[i], mixed + base);
        }
    }
    return findLane<false>(sum);
}

// A difference counts in full from this part of the populations' own differences on, and in proportion below.
constexpr float fullDifference = 0.05f;

// The trial whose weights add up to most.
template <size_t bytes>
MORVEL_INLINE size_t findHeaviest(const Mixture &mixture, const float *scales, const Trials &trial)
{
    using Real = typename Lanes<float, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(float), registers = trials / lanes;
    Real sum1[registers] = {}, sum2[registers] = {}, sum3[registers] = {};
    for (size_t j = 0; j < mixture.values; ++j) {
        const float *const row = mixture.table[j];
        const float value = mixture.sample[j];
        const float t1 = row[mixture.one], t2 = row[mixture.two], t3 = row[mixture.three];
        const float scale = scales[j];
        for (size_t i = 0; i < registers; ++i) {
            const Real difference = (t1 - t3) * load<Real>(trial.a + i * lanes)
                                    + (t2 - t3) * load<Real>(trial.b + i * lanes) + (t3 - value);
            const Real one = Real{} + 1;
            Real weight = difference * scale;
            weight = weight > one ? one : weight;
            weight = weight < -one ? -one : weight;
            sum1[i] += weight * (t1 - value);
            sum2[i] += weight * (t2 - value);
            sum3[i] += weight * (t3 - value);
        }
    }
    for (size_t i = 0; i < registers; ++i) {
        sum1[i] = sum1[i] < sum2[i] ? sum1[i] : sum2[i];
        sum1[i] = sum1[i] < sum3[i] ? sum1[i] : sum3[i];
        sum1[i] = sum1[i] > 0 ? sum1[i] : Real{};
    }
    return findLane<true>(sum1);
}

template <size_t bytes>
MORVEL_INLINE void findWeights(const Mixture &mixture, float *weights)
{
    float *const scales = weights;
    for (size_t j = 0; j < mixture.values; ++j) {
        const float *const row = mixture.table[j];
        const float t1 = row[mixture.one], t2 = row[mixture.two], t3 = row[mixture.three];
        const float spread = std::max(std::max(t1, t2), t3) - std::min(std::min(t1, t2), t3);
        scales[j] = fullDifference * spread + 1e-30f;
    }
    for (size_t j = 0; j < mixture.values; ++j)
        scales[j] = 1 / scales[j];
    Trials trial;
    placeTrials<bytes>(0.375f, 0.375f, 0.25f, trial);
    size_t best = findNearest<bytes>(mixture, trial);
    placeTrials<bytes>(trial.a[best], trial.b[best], 0.07f, trial);
    best = findHeaviest<bytes>(mixture, scales, trial);
    const float a = trial.a[best], b = trial.b[best];
    for (size_t j = 0; j < mixture.values; ++j) {
        const float *const row = mixture.table[j];
        const float t1 = row[mixture.one], t2 = row[mixture.two], t3 = row[mixture.three];
        const float weight = ((t1 - t3) * a + (t2 - t3) * b + (t3 - mixture.sample[j])) * scales[j];
        weights[j] = weight > 1 ? 1 : weight < -1 ? -1 : weight;
    }
}

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static size_t findBest##name(const Mixture &mixture, const Grid &grid, std::span<const uint32_t> blocks,    \
                                        float &limit)                                                                  \
    {                                                                                                                  \
        return findBest<bytes>(mixture, grid, blocks, limit);                                                          \
    }                                                                                                                  \
    target static void scorePairs##name(const Mixture &mixture, const float *a, const float *b, size_t points,         \
                                        float *scores)                                                                 \
    {                                                                                                                  \
        scorePairs<bytes>(mixture, a, b, points, scores);                                                              \
    }                                                                                                                  \
    target static void findWeights##name(const Mixture &mixture, float *weights)                                       \
    {                                                                                                                  \
        findWeights<bytes>(mixture, weights);                                                                          \
    }

MORVEL_FOR_PROCESSORS(MORVEL_KERNELS)

#define MORVEL_ROW(name, bytes, target) {#name, supports##name, findBest##name, scorePairs##name, findWeights##name},
static const SearchKernels kernels[] = {MORVEL_FOR_PROCESSORS(MORVEL_ROW)};

std::span<const SearchKernels> SearchKernels::all()
{
    return kernels;
}
