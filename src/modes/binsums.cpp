#include "modes/binsums.h"
#include "modes/lanes.h"
#include "text/wide.h"

// As many registers side by side as there are without spilling: they keep the adders busy while each waits for its own
// last sum.
template <size_t bytes>
MORVEL_INLINE void addTile(const double *rows, const uint8_t *members, size_t bins, double *sums)
{
    using Real = typename Lanes<bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(double);
    constexpr size_t registers = blockMarkers / lanes < 8 ? blockMarkers / lanes : 8;
    for (size_t k = 0; k < bins; ++k, sums += blockMarkers) {
        const uint8_t *const first = members + 1, *const end = first + *members;
        members = end;
        for (size_t lane = 0; lane < blockMarkers; lane += registers * lanes) {
            Real sum[registers];
            for (size_t i = 0; i < registers; ++i)
                sum[i] = *reinterpret_cast<const Real *>(sums + lane + i * lanes);
            for (const uint8_t *member = first; member != end; ++member) {
                const double *row = rows + *member * blockMarkers + lane;
                for (size_t i = 0; i < registers; ++i)
                    sum[i] += *reinterpret_cast<const Real *>(row + i * lanes);
            }
            for (size_t i = 0; i < registers; ++i)
                *reinterpret_cast<Real *>(sums + lane + i * lanes) = sum[i];
        }
    }
}

// The steps of fitLine().
template <size_t bytes>
MORVEL_INLINE bool fitBlock(const BinPoints &points, double least, double most, double *sums, double *slopes,
                            double *r2s)
{
    using Real = typename Lanes<bytes>::Real;
    using Bits = typename Lanes<bytes>::Bits;
    constexpr size_t lanes = bytes / sizeof(double);
    const Real zero = {};
    const size_t bins = points.x.size();
    const double n = double(bins), sumX = points.sumX, sumXX = points.sumXX;
    Bits isFound = {};
    double sumYs[blockMarkers];
    for (size_t lane = 0; lane < blockMarkers; lane += lanes) {
        Real sumY = zero, sumXY = zero;
        for (size_t k = 0; k < bins; ++k) {
            Real &mean = *reinterpret_cast<Real *>(sums + k * blockMarkers + lane);
            // On purpose an empty bin takes part with a mean of 0.
            mean = points.counts[k] > 0 ? mean / double(points.counts[k]) : zero;
            sumY += mean;
            sumXY += points.x[k] * mean;
        }
        const Real slope = (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
        *reinterpret_cast<Real *>(sumYs + lane) = sumY;
        *reinterpret_cast<Real *>(slopes + lane) = slope;
        const Real absSlope = slope < 0 ? -slope : slope;
        isFound |= reinterpret_cast<Bits>(~(absSlope < least) | (absSlope > most));
    }
    uint64_t found = 0;
    for (size_t i = 0; i < lanes; ++i)
        found |= isFound[i];
    if (!found)
        return false;
    for (size_t lane = 0; lane < blockMarkers; lane += lanes) {
        const Real slope = *reinterpret_cast<const Real *>(slopes + lane);
        const Real sumY = *reinterpret_cast<const Real *>(sumYs + lane);
        const Real intercept = (sumY - slope * sumX) / n;
        const Real meanY = sumY / n;
        Real SSres = zero, SStot = zero;
        for (size_t k = 0; k < bins; ++k) {
            const Real mean = *reinterpret_cast<const Real *>(sums + k * blockMarkers + lane);
            const Real residual = mean - (intercept + slope * points.x[k]);
            const Real deviation = mean - meanY;
            SSres += residual * residual;
            SStot += deviation * deviation;
        }
        Real r2 = 1 - SSres / SStot;
        r2 = r2 < 0 ? zero : r2;
        *reinterpret_cast<Real *>(r2s + lane) = SStot == 0 ? zero : r2;
    }
    return true;
}

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static void addTile##name(const double *rows, const uint8_t *members, size_t phenotypes, size_t bins,       \
                                     double *sums)                                                                     \
    {                                                                                                                  \
        addTile<bytes>(rows, members, phenotypes * bins, sums);                                                        \
    }                                                                                                                  \
    target static bool fitBlock##name(const BinPoints &points, double least, double most, double *sums,                \
                                      double *slopes, double *r2s)                                                     \
    {                                                                                                                  \
        return fitBlock<bytes>(points, least, most, sums, slopes, r2s);                                                \
    }

MORVEL_KERNELS(Plain, 16, )
#if defined(MORVEL_WIDE_KERNELS)
MORVEL_KERNELS(Avx2, 32, __attribute__((target("avx2"))))
MORVEL_KERNELS(Avx512, 64, __attribute__((target("avx512f"))))
#endif

static const BinKernels kernels[] = {
    {"plain", [] { return true; }, addTilePlain, fitBlockPlain},
#if defined(MORVEL_WIDE_KERNELS)
    {"avx2", [] { return __builtin_cpu_supports("avx2") > 0; }, addTileAvx2, fitBlockAvx2},
    {"avx512f", [] { return __builtin_cpu_supports("avx512f") > 0; }, addTileAvx512, fitBlockAvx512},
#endif
};

std::span<const BinKernels> allBinKernels()
{
    return kernels;
}
