// The arithmetic of gwas2: sums of dosages per bin, and the fit over the bins' means, for many markers at once. Every
// lane does the operations of gwas in their order, so the results do not depend on the width of the instructions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr size_t blockMarkers = 32;  // side by side: a row of dosages has one of each marker
inline constexpr size_t tileRows = 128;     // individuals of a tile, which stays in the first-level cache

// Dosages that are whole thousandths and no more than 2, as nearly all are, can be added in narrow lanes.
inline constexpr int16_t mostThousandths = 2000;

// The bins of a phenotype in the regression.
struct BinPoints {
    std::span<const double> x;       // [bin]
    std::span<const size_t> counts;  // individuals, [bin]
    double sumX, sumXX;
};

struct BinKernels {
    // From the narrowest instructions to the widest; the first ones run everywhere.
    static std::span<const BinKernels> all();

    const char *name;
    bool (*isSupported)();

    // Adds the rows of one tile to the sums [phenotype][bin][marker]. `members` are, for every phenotype and bin, their
    // number in the tile and their row numbers.
    void (*addTile)(const double *rows, const uint8_t *members, size_t phenotypes, size_t bins, double *sums);

    // The same with thousandths, [row][marker]. The sums have the markers of a bin in an order of their own.
    void (*addThousandths)(const uint16_t *rows, const uint8_t *members, size_t phenotypes, size_t bins,
                           uint32_t *sums);

    // True where for some marker the absolute value of the bins' sums of thousandths times `weights`, [bin], added up
    // in single precision, is not below `limit`.
    bool (*reaches)(const float *weights, size_t bins, float limit, const uint32_t *sums);

    // Turns the sums [bin][marker] into the bins' means, and forms the slopes over them, [marker]. Only where some
    // absolute slope is not below `least`, or is above `most`, it returns true and forms R2 as well, [marker].
    bool (*fitBlock)(const BinPoints &points, double least, double most, double *sums, double *slopes, double *r2s);
};
