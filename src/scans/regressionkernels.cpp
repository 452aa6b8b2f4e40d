#include "scans/regressionkernels.h"
#include "processors/lanes.h"

#include <algorithm>
#include <limits>

// A part of a sum of squares that rounding leaves with ten digits.
static constexpr double doubtfulPart = 1e-6;

static constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// The individuals go into eight lanes in turn, whose sums are added at the end: in this order with any instructions.
template <size_t bytes>
MORVEL_INLINE void centre(const double *dosages, size_t individuals, const Coding &coding, double *x,
                          MarkerSums &result)
{
    using Real = typename Lanes<double, bytes>::Real;
    constexpr size_t lanes = bytes / sizeof(double), allLanes = 8;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const Coding code = coding;
    alignas(64) double parts[6][allLanes];
    enum { n, sum, least, most, rest, squares };
    const auto addUp = [&parts](size_t part) {
        double total = 0;
        for (const double each : parts[part])
            total += each;
        return total;
    };
    for (size_t lane = 0; lane < allLanes; lane += lanes) {
        Real counts = {}, sums = {}, leasts = Real{} + infinity, mosts = Real{} - infinity;
        for (size_t i = lane; i < individuals; i += allLanes) {
            Real value = load<Real>(dosages + i);
            code.apply(value);
            store<Real>(x + i, value);
            counts += value == value ? Real{} + 1 : Real{};
            sums += value == value ? value : Real{};
            leasts = value < leasts ? value : leasts;
            mosts = value > mosts ? value : mosts;
        }
        store<Real>(parts[n] + lane, counts);
        store<Real>(parts[sum] + lane, sums);
        store<Real>(parts[least] + lane, leasts);
        store<Real>(parts[most] + lane, mosts);
    }
    const double count = addUp(n), mean = count > 0 ? addUp(sum) / count : 0;
    for (size_t lane = 0; lane < allLanes; lane += lanes) {
        Real sums = {}, ofSquares = {};
        for (size_t i = lane; i < individuals; i += allLanes) {
            auto value = load<Real>(x + i) - mean;
            value = value == value ? value : Real{};
            store(x + i, value);
            sums += value;
            ofSquares += value * value;
        }
        store<Real>(parts[rest] + lane, sums);
        store<Real>(parts[squares] + lane, ofSquares);
    }
    result = {count,
              mean,
              *std::min_element(parts[least], parts[least] + allLanes),
              *std::max_element(parts[most], parts[most] + allLanes),
              addUp(rest),
              addUp(squares)};
}

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
        double *const totals = products + marker;
        for (size_t trait = 0; trait < panelTraits; ++trait)
            std::fill_n(totals + trait * regressionMarkers, registers * lanes, 0.0);
        for (size_t first = 0; first < individuals; first += sumStretch) {
            const size_t end = std::min(first + sumStretch, individuals);
            Real sums[panelTraits][registers] = {};
            for (size_t i = first; i < end; ++i) {
                Real x[registers];
                for (size_t r = 0; r < registers; ++r)
                    x[r] = load<Real>(rows[r] + i * groupMarkers);
                for (size_t trait = 0; trait < panelTraits; ++trait) {
                    const double y = values[i * panelTraits + trait];
                    for (size_t r = 0; r < registers; ++r)
                        sums[trait][r] += x[r] * y;
                }
            }
            for (size_t trait = 0; trait < panelTraits; ++trait) {
                for (size_t r = 0; r < registers; ++r) {
                    double *const total = totals + trait * regressionMarkers + r * lanes;
                    store<Real>(total, load<Real>(total) + sums[trait][r]);
                }
            }
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
                const Real x = load<Real>(row + r * lanes);
                sum[r] += x;
                square[r] += x * x;
            }
        }
        for (size_t r = 0; r < registers; ++r) {
            store<Real>(sums + marker + r * lanes, sum[r]);
            store<Real>(squares + marker + r * lanes, square[r]);
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
        const Real n = load<Real>(sums.n + lane);
        const Real x = load<Real>(sums.x + lane);
        const Real y = load<Real>(sums.y + lane);
        const Real Sxx = load<Real>(sums.xx + lane) - x * x / n;
        const Real Syy = load<Real>(sums.yy + lane) - y * y / n;
        const Real Sxy = load<Real>(products + lane) - x * y / n;
        const Real unexplained = Sxx * Syy - Sxy * Sxy;
        const Real squaredT = (n - 2) * (Sxy * Sxy) / unexplained;
        store<Real>(slopes + lane, Sxy / Sxx);
        const Real leastXX = doubtfulPart * load<Real>(wholeXX + lane);
        const auto isSound
            = (n > 2) & (Sxx > leastXX) & (Syy > doubtfulPart * wholeYY) & (unexplained > doubtfulPart * (Sxx * Syy));
        store<Real>(squaredTs + lane, isSound ? squaredT : Real{} + nan);
    }
}

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static void centre##name(const double *dosages, size_t individuals, const Coding &coding, double *x,        \
                                    MarkerSums &sums)                                                                  \
    {                                                                                                                  \
        centre<bytes>(dosages, individuals, coding, x, sums);                                                          \
    }                                                                                                                  \
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

#define MORVEL_ROW(name, bytes, target) {#name, supports##name, centre##name, multiply##name, sumRows##name, fit##name},
static const RegressionKernels kernels[] = {MORVEL_FOR_PROCESSORS(MORVEL_ROW)};

std::span<const RegressionKernels> RegressionKernels::all()
{
    return kernels;
}
