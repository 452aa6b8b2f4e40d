// The arithmetic of the fast scan: sums of phenotype values per genotype class, and the fit over the class
// means, for many phenotypes at once. Every lane does the operations of the plain loop in their order, so the
// results do not depend on the width of the instructions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr size_t classCount = 3;
inline constexpr size_t groupLanes = 8;   // phenotypes of a group: 64 bytes of values
inline constexpr size_t blockGroups = 8;  // groups of a block of the matrix, at most
inline constexpr size_t maxRowWidth = groupLanes * blockGroups;

// What a marker found over its phenotypes so far, [lane].
struct LaneBests {
    double absSlope[groupLanes];  // largest, from 0
    double r2[groupLanes];        // largest below the limit given, from 0
};

struct ScanKernels {
    // From the narrowest instructions to the widest; the first ones run everywhere.
    static std::span<const ScanKernels> all();

    const char *name;
    bool (*isSupported)();

    // Adds the rows of one tile to the sums [class][width], class by class: `order` holds the row numbers of
    // class 0, then those of 1 and 2, `counts` how many there are of each. width = 8 * groups values a row.
    void (*addRows)(const double *rows, size_t groups, const uint16_t *order, const uint16_t *counts, double *sums);

    // Counts for the 8 phenotypes of a group the individuals of each class with a value. `present` is
    // [word][lane], `class1` and `class2` tell who belongs there, and the others are of class 0. counts:
    // [class][lane].
    void (*countPresent)(const uint64_t *present, const double *presentCounts, const uint64_t *class1,
                         const uint64_t *class2, size_t words, double *counts);

    // Slope and R2 over the three class means for the 8 phenotypes of a group, from the sums of class k at
    // sums + k * width and counts [class][lane]. R2 of r2Limit and more does not count among the bests.
    void (*fitGroup)(const double *sums, size_t width, const double *counts, double r2Limit, double *slope, double *r2,
                     LaneBests &bests);
};
