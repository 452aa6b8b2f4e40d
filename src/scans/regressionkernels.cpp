#include "scans/regressionkernels.h"
#include "processors/lanes.h"

#include <limits>

// A part of a sum of squares that rounding leaves with ten digits.
static constexpr double doubtfulPart = 1e-6;

static constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// As many registers side by side as there are without spilling: a panel times four of the widest, or two of the others.
template <size_t bytes>
MORVEL_INLINE void multiply(const double *dosages, const double *values, size_t individuals, double *products)
{
    using Real = typename Lanes<double, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(double);
    constexpr size_t registers = bytes == 64 ? 4 : 2;
    for (size_t marker = 0; marker < regressionMarkers; marker += registers * lanes) {
        const double *rows[registers];
        for (size_t r = 0; r < registers; ++r) {
            const size_t first = marker + r * lanes;
            rows[r] = dosages + first / groupMarkers * groupMarkers * individuals + first % groupMarkers;
        }
        Real sums[panelTraits][registers] = {};
        for (size_t i = 0; i < individuals; ++i) {
            Real x[registers];
            for (size_t r = 0; r < registers; ++r)
                x[r] = *reinterpret_cast<const Real *>(rows[r] + i * groupMarkers);
            for (size_t trait = 0; trait < panelTraits; ++trait) {
                const double y = values[i * panelTraits + trait];
                for (size_t r = 0; r < registers; ++r)
                    sums[trait][r] += x[r] * y;
            }
        }
        for (size_t trait = 0; trait < panelTraits; ++trait) {
            for (size_t r = 0; r < registers; ++r)
                *reinterpret_cast<Real *>(products + trait * regressionMarkers + marker + r * lanes) = sums[trait][r];
        }
    }
}

template <size_t bytes>
MORVEL_INLINE void sumRows(const double *dosages, size_t individuals, std::span<const uint32_t> chosen, double *sums,
                           double *squares)
{
    using Real = typename Lanes<double, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(double);
    constexpr size_t registers = groupMarkers / lanes;
    for (size_t marker = 0; marker < regressionMarkers; marker += groupMarkers) {
        Real sum[registers] = {}, square[registers] = {};
        for (const uint32_t i : chosen) {
            const double *row = dosages + marker * individuals + i * groupMarkers;
            for (size_t r = 0; r < registers; ++r) {
                const Real x = *reinterpret_cast<const Real *>(row + r * lanes);
                sum[r] += x;
                square[r] += x * x;
            }
        }
        for (size_t r = 0; r < registers; ++r) {
            *reinterpret_cast<Real *>(sums + marker + r * lanes) = sum[r];
            *reinterpret_cast<Real *>(squares + marker + r * lanes) = square[r];
        }
    }
}

template <size_t bytes>
MORVEL_INLINE void fit(const PairSums &sums, const double *products, const double *wholeXX, double wholeYY,
                       double *slopes, double *squaredTs)
{
    using Real = typename Lanes<double, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(double);
    for (size_t lane = 0; lane < regressionMarkers; lane += lanes) {
        const Real n = *reinterpret_cast<const Real *>(sums.n + lane);
        const Real x = *reinterpret_cast<const Real *>(sums.x + lane);
        const Real y = *reinterpret_cast<const Real *>(sums.y + lane);
        const Real Sxx = *reinterpret_cast<const Real *>(sums.xx + lane) - x * x / n;
        const Real Syy = *reinterpret_cast<const Real *>(sums.yy + lane) - y * y / n;
        const Real Sxy = *reinterpret_cast<const Real *>(products + lane) - x * y / n;
        const Real unexplained = Sxx * Syy - Sxy * Sxy;
        const Real squaredT = (n - 2) * (Sxy * Sxy) / unexplained;
        *reinterpret_cast<Real *>(slopes + lane) = Sxy / Sxx;
        const Real leastXX = doubtfulPart * *reinterpret_cast<const Real *>(wholeXX + lane);
        const auto isSound
            = (n > 2) & (Sxx > leastXX) & (Syy > doubtfulPart * wholeYY) & (unexplained > doubtfulPart * (Sxx * Syy));
        *reinterpret_cast<Real *>(squaredTs + lane) = isSound ? squaredT : Real{} + nan;
    }
}

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static void multiply##name(const double *dosages, const double *values, size_t individuals,                 \
                                      double *products)                                                                \
    {                                                                                                                  \
        multiply<bytes>(dosages, values, individuals, products);                                                       \
    }                                                                                                                  \
    target static void sumRows##name(const double *dosages, size_t individuals, std::span<const uint32_t> chosen,      \
                                     double *sums, double *squares)                                                    \
    {                                                                                                                  \
        sumRows<bytes>(dosages, individuals, chosen, sums, squares);                                                   \
    }                                                                                                                  \
    target static void fit##name(const PairSums &sums, const double *products, const double *wholeXX, double wholeYY,  \
                                 double *slopes, double *squaredTs)                                                    \
    {                                                                                                                  \
        fit<bytes>(sums, products, wholeXX, wholeYY, slopes, squaredTs);                                               \
    }

MORVEL_FOR_PROCESSORS(MORVEL_KERNELS)

#define MORVEL_ROW(name, bytes, target) {#name, supports##name, multiply##name, sumRows##name, fit##name},
static const RegressionKernels kernels[] = {MORVEL_FOR_PROCESSORS(MORVEL_ROW)};

std::span<const RegressionKernels> allRegressionKernels()
{
    return kernels;
}
