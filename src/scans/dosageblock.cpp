#include "scans/dosageblock.h"
#include "processors/lanes.h"

#include <algorithm>

DosageBlock::DosageBlock(size_t individuals)
    : m_individuals(individuals)
    , m_stride((individuals + groupMarkers - 1) / groupMarkers * groupMarkers)
    , m_thousandths(blockMarkers * m_stride)
    , m_shortRows(m_stride + 1)
    , m_dosages(groupMarkers * individuals)
    , m_rows(individuals + 1)
{
}

void DosageBlock::clear()
{
    m_markers = 0;
    m_isShort = true;
    std::fill_n(m_isPlaced, groups, false);
}

MORVEL_WIDE static int16_t largestOf(const int16_t *numbers, size_t count)
{
    int16_t largest = 0;
    for (size_t i = 0; i < count; ++i)
        largest = numbers[i] > largest ? numbers[i] : largest;
    return largest;
}

void DosageBlock::add(std::string_view name, DosageReader &dosages)
{
    const int16_t *const thousandths = dosages.thousandths();
    const bool isShort = thousandths && largestOf(thousandths, m_individuals) <= mostThousandths;
    if (isShort)
        std::copy_n(thousandths, m_individuals, m_thousandths.data() + m_markers * m_stride);
    else
        std::ranges::copy(dosages.values(), m_dosages.data() + m_markers % groupMarkers * m_individuals);
    m_isShort &= isShort;
    m_isMarkerShort[m_markers] = isShort;
    m_names[m_markers++] = name;
    if (m_markers % groupMarkers == 0)
        endGroup(m_markers / groupMarkers - 1);
}

// Dosages that are no thousandths make room for those of the next group.
void DosageBlock::endGroup(size_t group)
{
    if (!std::all_of(m_isMarkerShort + group * groupMarkers, m_isMarkerShort + m_markers, std::identity()))
        placeGroup(group);
}

// Puts the markers of a group in their place in the rows.
void DosageBlock::placeGroup(size_t group)
{
    const size_t first = group * groupMarkers, end = std::min(first + groupMarkers, m_markers);
    for (size_t marker = first; marker < end; ++marker) {
        if (m_isMarkerShort[marker])
            divideThousandths(m_thousandths.data() + marker * m_stride, m_individuals,
                              m_dosages.data() + marker % groupMarkers * m_individuals);
    }
    for (size_t i = 0; i < m_individuals; ++i) {
        for (size_t m = 0; m < groupMarkers; ++m)
            m_rows[i].dosages[first + m] = m_dosages[m * m_individuals + i];
    }
    m_isPlaced[group] = true;
}

// Rows to columns, from 8 numbers `fromStride` apart to as many `toStride` apart: thrice, the lower half of the
// registers is interleaved with the upper one.
static void turn(const int16_t *from, size_t fromStride, uint16_t *to, size_t toStride)
{
    using Eight = Lanes<uint16_t, 16>::Real;
    Eight rows[8];
    for (size_t i = 0; i < 8; ++i)
        rows[i] = load<Eight>(from + i * fromStride);
    for (int round = 0; round < 3; ++round) {
        Eight next[8];
        for (size_t i = 0; i < 4; ++i) {
            next[2 * i] = __builtin_shufflevector(rows[i], rows[i + 4], 0, 8, 1, 9, 2, 10, 3, 11);
            next[2 * i + 1] = __builtin_shufflevector(rows[i], rows[i + 4], 4, 12, 5, 13, 6, 14, 7, 15);
        }
        std::copy_n(next, 8, rows);
    }
    for (size_t i = 0; i < 8; ++i)
        store(to + i * toStride, rows[i]);
}

void DosageBlock::finish()
{
    if (m_markers % groupMarkers != 0)
        endGroup(m_markers / groupMarkers);
    if (!m_isShort)
        return;
    for (size_t i = 0; i < m_individuals; i += 8) {
        for (size_t m = 0; m < blockMarkers; m += 8)
            turn(m_thousandths.data() + m * m_stride + i, m_stride, m_shortRows[i].thousandths + m, blockMarkers);
    }
}

const double *DosageBlock::dosages()
{
    for (size_t group = 0; group * groupMarkers < m_markers; ++group) {
        if (!m_isPlaced[group])
            placeGroup(group);
    }
    return m_rows[0].dosages;
}
