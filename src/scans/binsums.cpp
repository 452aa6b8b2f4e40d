#include "scans/binsums.h"
#include "processors/lanes.h"

// As many registers side by side as there are without spilling: they keep the adders busy while each waits for its own
// last sum.
template <size_t bytes>
MORVEL_INLINE void addTile(const double *rows, const uint8_t *members, size_t bins, double *sums)
{
    using Real = typename Lanes<double, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(double);
    constexpr size_t registers = blockMarkers / lanes < 8 ? blockMarkers / lanes : 8;
    for (size_t k = 0; k < bins; ++k, sums += blockMarkers) {
        const uint8_t *const first = members + 1, *const end = first + *members;
        members = end;
        for (size_t lane = 0; lane < blockMarkers; lane += registers * lanes) {
            Real sum[registers];
            for (size_t i = 0; i < registers; ++i)
                sum[i] = load<Real>(sums + lane + i * lanes);
            for (const uint8_t *member = first; member != end; ++member) {
                const double *row = rows + *member * blockMarkers + lane;
                for (size_t i = 0; i < registers; ++i)
                    sum[i] += load<Real>(row + i * lanes);
            }
            for (size_t i = 0; i < registers; ++i)
                store(sums + lane + i * lanes, sum[i]);
        }
    }
}

template <size_t bytes>
MORVEL_INLINE void addThousandths(const uint16_t *rows, const uint8_t *members, size_t bins, uint32_t *sums)
{
    using Short = typename Lanes<uint16_t, bytes>::Real;
    using Pair = typename Lanes<uint16_t, bytes>::Bits;
    constexpr size_t lanes = bytes / sizeof(uint16_t), registers = blockMarkers / lanes;
    constexpr ptrdiff_t mostMembers = 2 * (65535 / mostThousandths);  // whose sums fit both chains of lanes
    for (size_t k = 0; k < bins; ++k, sums += blockMarkers) {
        const uint8_t *member = members + 1, *const end = member + *members;
        members = end;
        Pair even[registers], odd[registers];
        for (size_t i = 0; i < registers; ++i) {
            even[i] = load<Pair>(sums + 2 * i * lanes / 2);
            odd[i] = load<Pair>(sums + (2 * i + 1) * lanes / 2);
        }
        while (member != end) {
            const uint8_t *const stop = end - member > mostMembers ? member + mostMembers : end;
            Short first[registers] = {}, second[registers] = {};
            for (; stop - member >= 2; member += 2) {
                for (size_t i = 0; i < registers; ++i) {
                    first[i] += load<Short>(rows + member[0] * blockMarkers + i * lanes);
                    second[i] += load<Short>(rows + member[1] * blockMarkers + i * lanes);
                }
            }
            if (member != stop) {
                for (size_t i = 0; i < registers; ++i)
                    first[i] += load<Short>(rows + *member * blockMarkers + i * lanes);
                ++member;
            }
            for (size_t i = 0; i < registers; ++i) {
                even[i] += ((Pair)first[i] & 0xffff) + ((Pair)second[i] & 0xffff);
                odd[i] += ((Pair)first[i] >> 16) + ((Pair)second[i] >> 16);
            }
        }
        for (size_t i = 0; i < registers; ++i) {
            store(sums + 2 * i * lanes / 2, even[i]);
            store(sums + (2 * i + 1) * lanes / 2, odd[i]);
        }
    }
}

template <size_t bytes>
MORVEL_INLINE bool reaches(const float *weights, size_t bins, float limit, const uint32_t *sums)
{
    using Real = typename Lanes<float, bytes>::Real;
    using Bits = typename Lanes<float, bytes>::Bits;
    constexpr size_t lanes = bytes / sizeof(float);
    Bits isFound = {};
    for (size_t lane = 0; lane < blockMarkers; lane += lanes) {
        Real slope = {};
        for (size_t k = 0; k < bins; ++k)
            slope += weights[k] * __builtin_convertvector(load<Bits>(sums + k * blockMarkers + lane), Real);
        isFound |= ~((slope < limit) & (slope > -limit));
    }
    uint64_t words[bytes / sizeof(uint64_t)], found = 0;  // fewer than the lanes
    store(words, isFound);
    for (const uint64_t word : words)
        found |= word;
    return found != 0;
}

// The steps of fitLine().
template <size_t bytes>
MORVEL_INLINE bool fitBlock(const BinPoints &points, double least, double most, double *sums, double *slopes,
                            double *r2s)
{
    using Real = typename Lanes<double, bytes>::Real;
    using Bits = typename Lanes<double, bytes>::Bits;
    constexpr size_t lanes = bytes / sizeof(double);
    const Real zero = {};
    const size_t bins = points.x.size();
    const double n = double(bins), sumX = points.sumX, sumXX = points.sumXX;
    Bits isFound = {};
    double sumYs[blockMarkers];
    for (size_t lane = 0; lane < blockMarkers; lane += lanes) {
        Real sumY = zero, sumXY = zero;
        for (size_t k = 0; k < bins; ++k) {
            auto mean = load<Real>(sums + k * blockMarkers + lane);
            // On purpose an empty bin takes part with a mean of 0.
            mean = points.counts[k] > 0 ? mean / double(points.counts[k]) : zero;
            store(sums + k * blockMarkers + lane, mean);
            sumY += mean;
            sumXY += points.x[k] * mean;
        }
        const Real slope = (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
        store(sumYs + lane, sumY);
        store(slopes + lane, slope);
        const Real absSlope = slope < 0 ? -slope : slope;
        isFound |= (Bits)(~(absSlope < least) | (absSlope > most));
    }
    uint64_t found = 0;
    for (size_t i = 0; i < lanes; ++i)
        found |= isFound[i];
    if (!found)
        return false;
    for (size_t lane = 0; lane < blockMarkers; lane += lanes) {
        const auto slope = load<Real>(slopes + lane);
        const auto sumY = load<Real>(sumYs + lane);
        const Real intercept = (sumY - slope * sumX) / n;
        const Real meanY = sumY / n;
        Real SSres = zero, SStot = zero;
        for (size_t k = 0; k < bins; ++k) {
            auto mean = load<Real>(sums + k * blockMarkers + lane);
            const Real residual = mean - (intercept + slope * points.x[k]);
            const Real deviation = mean - meanY;
            SSres += residual * residual;
            SStot += deviation * deviation;
        }
        Real r2 = 1 - SSres / SStot;
        r2 = r2 < 0 ? zero : r2;
        r2 = SStot == 0 ? zero : r2;
        store(r2s + lane, r2);
    }
    return true;
}

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static void addTile##name(const double *rows, const uint8_t *members, size_t phenotypes, size_t bins,       \
                                     double *sums)                                                                     \
    {                                                                                                                  \
        addTile<bytes>(rows, members, phenotypes * bins, sums);                                                        \
    }                                                                                                                  \
    target static void addThousandths##name(const uint16_t *rows, const uint8_t *members, size_t phenotypes,           \
                                            size_t bins, uint32_t *sums)                                               \
    {                                                                                                                  \
        addThousandths<bytes>(rows, members, phenotypes * bins, sums);                                                 \
    }                                                                                                                  \
    target static bool reaches##name(const float *weights, size_t bins, float limit, const uint32_t *sums)             \
    {                                                                                                                  \
        return reaches<bytes>(weights, bins, limit, sums);                                                             \
    }                                                                                                                  \
    target static bool fitBlock##name(const BinPoints &points, double least, double most, double *sums,                \
                                      double *slopes, double *r2s)                                                     \
    {                                                                                                                  \
        return fitBlock<bytes>(points, least, most, sums, slopes, r2s);                                                \
    }

MORVEL_FOR_PROCESSORS(MORVEL_KERNELS)

#define MORVEL_ROW(name, bytes, target)                                                                                \
    {#name, supports##name, addTile##name, addThousandths##name, reaches##name, fitBlock##name},
static const BinKernels kernels[] = {MORVEL_FOR_PROCESSORS(MORVEL_ROW)};

std::span<const BinKernels> BinKernels::all()
{
    return kernels;
}
