// The arithmetic of the mixture searches, many points of a grid at once. Every lane does the operations of
// the plain loop in their order, so the results do not depend on the width of the instructions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Points of the grid are scored in blocks of so many.
inline constexpr size_t pointsPerBlock = 32;

// Proportions to try, so arranged that the points of a block lie near each other; filled up with nan to whole
// blocks.
struct Grid {
    float step = 0;
    std::vector<float> a, b, c;
    std::vector<uint32_t> rank;                   // place of a point in the order of the search
    std::vector<float> lowA, highA, lowB, highB;  // [block], where its points lie
};

// A sample and the populations it is held against.
struct Mixture {
    const float *const *table;  // [value][population]
    const float *sample;        // [value]
    size_t values;
    int one, two, three;  // populations
};

struct SearchKernels {
    // From the narrowest instructions to the widest; the first ones run everywhere.
    static std::span<const SearchKernels> all();

    const char *name;
    bool (*isSupported)();

    // Of the points with the least score below `limit`, which becomes that score, the one of first rank; the number
    // of points where there is none. Only what cannot fall below the limit any more is left unfinished.
    size_t (*findBest)(const Mixture &mixture, const Grid &grid, std::span<const uint32_t> blocks, float &limit);

    // The score of every mixture a * one + b * two; for whole blocks.
    void (*scorePairs)(const Mixture &mixture, const float *a, const float *b, size_t points, float *scores);

    // Weights of the values, from -1 to 1, with which the differences between each of the three populations
    // and the sample add up to as much as possible.
    void (*findWeights)(const Mixture &mixture, float *weights);
};
