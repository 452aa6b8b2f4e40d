// The arithmetic of the regression scan for many phenotypes and markers at once. Every lane does the operations of the
// plain loop in their order, so the results depend neither on the width of the instructions nor on what else is worked
// beside it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr size_t regressionMarkers = 32;  // of a block
inline constexpr size_t groupMarkers = 8;        // markers whose values stand side by side: [group][individual][marker]
inline constexpr size_t panelTraits = 6;         // phenotypes whose values stand side by side: [individual][phenotype]

// Sums over the individuals that have both values, [marker]; x and y less a mean, so that they are small.
struct PairSums {
    alignas(64) double n[regressionMarkers];
    alignas(64) double x[regressionMarkers];
    alignas(64) double xx[regressionMarkers];
    alignas(64) double y[regressionMarkers];
    alignas(64) double yy[regressionMarkers];
};

struct RegressionKernels {
    const char *name;
    bool (*isSupported)();

    // Forms the sums of products of a panel's values and a block's, [phenotype][marker].
    void (*multiply)(const double *dosages, const double *values, size_t individuals, double *products);

    // Forms the sums of the dosages and of their squares over some of the individuals, [marker].
    void (*sumRows)(const double *dosages, size_t individuals, std::span<const uint32_t> chosen, double *sums,
                    double *squares);

    // Forms slopes and t squared of a phenotype, [marker]. `wholeXX` and `wholeYY` are the sums of squares of all that
    // the marker and the phenotype have. t squared is NaN for fewer than three individuals, and where rounding could
    // show: next to nothing is left of a sum of squares, or of what the line leaves unexplained.
    void (*fit)(const PairSums &sums, const double *products, const double *wholeXX, double wholeYY, double *slopes,
                double *squaredTs);
};

// From the narrowest instructions to the widest; the first ones run everywhere.
std::span<const RegressionKernels> allRegressionKernels();
