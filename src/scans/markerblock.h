// Some markers side by side, as the regression kernels take them.
#pragma once

#include "scans/logistic.h"
#include "scans/regressionkernels.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

// From the dosage to the x of a regression: additive as it is, dominant min(dosage, 1), recessive max(dosage - 1, 0).
struct Coding {
    double most = std::numeric_limits<double>::infinity(), origin = 0, least = -most;

    double operator()(double dosage) const  // NaN stays
    {
        const double x = (dosage > most ? most : dosage) - origin;
        return x < least ? least : x;
    }
};
inline constexpr Coding dominantCoding = {.most = 1};
inline constexpr Coding recessiveCoding = {.origin = 1, .least = 0};

class MarkerBlock {
public:
    static constexpr size_t capacity = regressionMarkers;

    MarkerBlock(size_t individuals, const Coding &coding)
        : m_individuals(individuals)
        , m_coding(coding)
        , m_dosages(capacity * individuals)
        , m_rows(capacity / groupMarkers * individuals)
    {
    }

    // What a reader fills: dosages, [individual], NaN where missing.
    double *dosages(size_t marker) { return &m_dosages[marker * m_individuals]; }
    const double *dosages(size_t marker) const { return &m_dosages[marker * m_individuals]; }
    std::string names[capacity];
    std::string descriptions[capacity];  // the leading columns, with tabs between them
    size_t markers = 0;

    // To be called when the markers are there: forms all below.
    void centre();

    // Coded dosages less their mean, 0 where missing, as the kernels take them.
    const double *rows() const { return m_rows[0].x; }
    // Of a marker: x and its sums over all who have a dosage.
    double x(size_t marker, size_t individual) const { return m_coding(dosages(marker)[individual]); }
    PairSums sums;  // n, x and xx
    double mean[capacity], size[capacity];
    bool isConstant[capacity];
    bool hasGaps = false;
    std::vector<uint32_t> missing[capacity];  // individuals without a dosage

private:
    struct alignas(64) Row {
        double x[groupMarkers];
    };
    void centreGroup(size_t first);

    size_t m_individuals;
    Coding m_coding;
    std::vector<double> m_dosages;  // [marker][individual]
    std::vector<Row> m_rows;        // [group][individual]
};

// The individuals of a marker by their dosage.
class DosagePlaces {
public:
    void find(const double *dosages, size_t individuals);

    // The cases and controls of each dosage; `status` is as statusOf() makes it.
    void group(const std::vector<uint8_t> &status, DosageGroups &groups);

private:
    static constexpr size_t thousandths = 2001;  // dosages that are whole numbers of them, from 0 to 2

    std::vector<double> m_dosages;   // [place]; from smallest to largest, or of each individual
    std::vector<uint32_t> m_places;  // [individual]; behind all where the dosage is missing
    std::vector<uint32_t> m_counts;
};
