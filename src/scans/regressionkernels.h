// The arithmetic of the regression scan for many phenotypes and markers at once. Every lane does the operations of the
// plain loop in their order, so the results depend neither on the width of the instructions nor on what else is worked
// beside it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

inline constexpr size_t regressionMarkers = 32;  // of a block
inline constexpr size_t groupMarkers = 8;        // markers whose values stand side by side: [group][individual][marker]
inline constexpr size_t panelTraits = 6;         // phenotypes whose values stand side by side: [individual][phenotype]
inline constexpr size_t sumStretch = 512;        // individuals whose values are added up before they join the others

// Sums over the individuals that have both values, [marker]; x and y less a mean, so that they are small.
struct PairSums {
    alignas(64) double n[regressionMarkers];
    alignas(64) double x[regressionMarkers];
    alignas(64) double xx[regressionMarkers];
    alignas(64) double y[regressionMarkers];
    alignas(64) double yy[regressionMarkers];
};

// From the dosage to the x of a regression: additive as it is, dominant min(dosage, 1), recessive max(dosage - 1, 0).
struct Coding {
    double most = std::numeric_limits<double>::infinity(), origin = 0, least = -most;

    bool isCoding() const { return most < std::numeric_limits<double>::infinity() || origin != 0; }

    // NaN stays. Of a number or of some side by side.
    template <class Number>
    [[gnu::always_inline]] void apply(Number &x) const
    {
        x = (x > most ? Number{} + most : x) - origin;
        x = x < least ? Number{} + least : x;
    }
};
inline constexpr Coding dominantCoding = {.most = 1};
inline constexpr Coding recessiveCoding = {.origin = 1, .least = 0};

// Of a marker's x, where there is one.
struct MarkerSums {
    double n, mean, least, most;
    double x, xx;  // less the mean
};

struct RegressionKernels {
    // From the narrowest instructions to the widest, which give the same bits; the first ones run everywhere.
    static std::span<const RegressionKernels> all();

    const char *name;
    bool (*isSupported)();

    // Codes a marker's dosages, NaN where missing, a multiple of 8, takes the mean off, and puts 0 for NaN.
    void (*centre)(const double *dosages, size_t individuals, const Coding &coding, double *x, MarkerSums &sums);

    // Forms the sums of products of a panel's values and a block's, [phenotype][marker]; each stretch of individuals
    // by itself, so that the roundings of many do not add up.
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
