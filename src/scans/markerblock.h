// Some markers side by side, as the regression kernels take them.
#pragma once

#include "scans/logistic.h"
#include "scans/regressionkernels.h"

#include <cstdint>
#include <string>
#include <vector>

class MarkerBlock {
public:
    static constexpr size_t capacity = regressionMarkers;

    MarkerBlock(size_t individuals, const Coding &coding);

    // What a reader fills: dosages, [individual], NaN where missing.
    double *dosages(size_t marker) { return &m_dosages[marker * m_stride]; }
    const double *dosages(size_t marker) const { return &m_dosages[marker * m_stride]; }
    std::string names[capacity];
    std::string descriptions[capacity];  // the leading columns, with tabs between them
    size_t markers = 0;

    // To be called when the markers are there, by whoever needs what stands below: forms it.
    void centre();

    // Coded dosages less their mean, 0 where missing, as the kernels take them.
    const double *rows() const { return m_rows[0].x; }
    // Of a marker: x and its sums over all who have a dosage.
    double x(size_t marker, size_t individual) const
    {
        double x = dosages(marker)[individual];
        m_coding.apply(x);
        return x;
    }
    PairSums sums;  // n, x and xx
    double mean[capacity], size[capacity];
    bool isConstant[capacity];
    bool isCoded() const { return m_coding.isCoding(); }  // x are not the dosages themselves
    double sum[capacity], most[capacity];                 // of these, and their largest absolute value
    bool hasGaps = false;
    std::vector<uint32_t> missing[capacity];  // individuals without a dosage

private:
    struct alignas(64) Row {
        double x[groupMarkers];
    };
    void centreMarker(size_t marker);
    void sumDosages(size_t marker);

    size_t m_individuals;
    size_t m_stride;  // individuals and some more, whose dosages are missing
    Coding m_coding;
    std::vector<double> m_dosages;  // [marker][individual]
    std::vector<double> m_x;        // of a group, [marker][individual]
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

    void findUsed();
    void takeEach(const double *dosages, size_t individuals);

    std::vector<uint32_t> m_places;  // [individual]; one behind all dosages where it is missing
    std::vector<double> m_dosages;   // [place]
    std::vector<uint32_t> m_used;    // places with individuals, in the order of the sums
    std::vector<uint32_t> m_counts;  // [place][status], zeros between calls
    bool m_areThousandths = false;
};
