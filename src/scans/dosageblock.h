// Some markers side by side, as the kernels of gwas2 take them.
#pragma once

#include "genotypes/markers.h"
#include "scans/binsums.h"

#include <string>
#include <vector>

class DosageBlock {
public:
    explicit DosageBlock(size_t individuals);

    // Starts again without markers.
    void clear();
    // Adds a marker, of up to blockMarkers.
    void add(std::string_view name, DosageReader &dosages);
    // To be called behind the last marker.
    void finish();

    size_t individuals() const { return m_individuals; }
    size_t markers() const { return m_markers; }
    const std::string &name(size_t marker) const { return m_names[marker]; }

    // Row of an individual, [marker]. Lanes without a marker hold something.
    // The thousandths; null where a dosage is none, or above mostThousandths.
    const uint16_t *thousandths() const { return m_isShort ? m_shortRows[0].thousandths : nullptr; }
    // The dosages. They are formed when they are asked for first.
    const double *dosages();

private:
    static constexpr size_t groupMarkers = 8;  // what is written of a row at a time
    static constexpr size_t groups = blockMarkers / groupMarkers;

    struct alignas(64) ShortRow {
        uint16_t thousandths[blockMarkers];
    };
    struct alignas(64) Row {
        double dosages[blockMarkers];
    };
    void endGroup(size_t group);
    void placeGroup(size_t group);

    size_t m_individuals;
    size_t m_stride;  // individuals and some more
    size_t m_markers = 0;
    bool m_isShort = true;
    bool m_isMarkerShort[blockMarkers] = {};
    bool m_isPlaced[groups] = {};        // its dosages are in m_rows
    std::vector<int16_t> m_thousandths;  // [marker][stride]
    std::vector<ShortRow> m_shortRows;   // [individual]
    std::vector<double> m_dosages;       // of a group, [marker][individual]
    std::vector<Row> m_rows;             // [individual]
    std::string m_names[blockMarkers];
};
