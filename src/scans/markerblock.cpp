#include "scans/markerblock.h"
#include "processors/wide.h"
#include "scans/traits.h"
#include "text/readnumber.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

static constexpr size_t kinds = 4;  // of status, of which one is none

MarkerBlock::MarkerBlock(size_t individuals, const Coding &coding)
    : m_individuals(individuals)
    , m_stride((individuals + 7) / 8 * 8)
    , m_coding(coding)
    , m_dosages(capacity * m_stride, std::numeric_limits<double>::quiet_NaN())
    , m_x(groupMarkers * m_stride)
    , m_rows(capacity / groupMarkers * individuals)
{
}

void MarkerBlock::centreMarker(size_t marker)
{
    MarkerSums of;
    kernelsInUse<RegressionKernels>->centre(dosages(marker), m_stride, m_coding, &m_x[marker % groupMarkers * m_stride],
                                            of);
    sums.n[marker] = of.n;
    sums.x[marker] = of.x;
    sums.xx[marker] = of.xx;
    mean[marker] = of.mean;
    size[marker] = std::max(std::fabs(of.least), std::fabs(of.most));
    isConstant[marker] = !(of.least < of.most);
    sum[marker] = of.mean * of.n;
    most[marker] = size[marker];
    if (m_coding.isCoding())
        sumDosages(marker);
    missing[marker].clear();
    if (of.n == double(m_individuals))
        return;
    hasGaps = true;
    for (size_t i = 0; i < m_individuals; ++i) {
        if (std::isnan(dosages(marker)[i]))
            missing[marker].push_back(uint32_t(i));
    }
}

void MarkerBlock::sumDosages(size_t marker)
{
    sum[marker] = most[marker] = 0;
    for (size_t i = 0; i < m_individuals; ++i) {
        const double dosage = dosages(marker)[i];
        if (std::isnan(dosage))
            continue;
        sum[marker] += dosage;
        most[marker] = std::max(most[marker], std::fabs(dosage));
    }
}

// Puts the markers of a group side by side.
MORVEL_WIDE static void placeRows(const double *x, size_t stride, size_t individuals, double (*rows)[groupMarkers])
{
    for (size_t i = 0; i < individuals; ++i) {
        for (size_t m = 0; m < groupMarkers; ++m)
            rows[i][m] = x[m * stride + i];
    }
}

void MarkerBlock::centre()
{
    hasGaps = false;
    for (size_t first = 0; first < markers; first += groupMarkers) {
        for (size_t marker = first; marker < std::min(first + groupMarkers, markers); ++marker)
            centreMarker(marker);
        placeRows(m_x.data(), m_stride, m_individuals, &m_rows[first / groupMarkers * m_individuals].x);
    }
}

// The dosages as whole thousandths, `missing` where they are missing. False where they are none.
MORVEL_WIDE static bool findThousandths(const double *dosages, size_t individuals, uint32_t missing, uint32_t *places)
{
    constexpr double whole = 0x1.8p52;  // adding it leaves a number's whole part in the last bits
    uint64_t isOdd = 0;
    for (size_t i = 0; i < individuals; ++i) {
        const double dosage = dosages[i];
        const bool isMissing = dosage != dosage, isInside = dosage >= 0 && dosage <= 2;
        const double shifted = (isInside ? dosage : 0) * 1000 + whole;
        isOdd |= !isMissing & !(isInside & ((shifted - whole) / 1000 == dosage));
        places[i] = isMissing ? missing : uint32_t(std::bit_cast<uint64_t>(shifted));
    }
    return isOdd == 0;
}

void DosagePlaces::findUsed()
{
    alignas(8) uint8_t isUsed[(thousandths + 8) / 8 * 8] = {};
    for (const uint32_t place : m_places)
        isUsed[place] = 1;
    isUsed[thousandths] = 0;
    m_used.resize(thousandths);
    uint32_t *end = m_used.data();
    for (size_t first = 0; first < sizeof isUsed; first += 8) {  // a byte's one bit is its place
        uint64_t eight = 0;
        for (size_t k = 0; k < 8; ++k)
            eight |= uint64_t(isUsed[first + k]) << 8 * k;
        for (; eight != 0; eight &= eight - 1)
            *end++ = uint32_t(first + size_t(std::countr_zero(eight)) / 8);
    }
    m_used.resize(size_t(end - m_used.data()));
}

// Each individual by itself.
void DosagePlaces::takeEach(const double *dosages, size_t individuals)
{
    m_dosages.assign(dosages, dosages + individuals);
    for (size_t i = 0; i < individuals; ++i) {
        m_places[i] = uint32_t(std::isnan(dosages[i]) ? individuals : i);
        if (!std::isnan(dosages[i]))
            m_used.push_back(uint32_t(i));
    }
}

void DosagePlaces::find(const double *dosages, size_t individuals)
{
    m_places.resize(individuals);
    m_used.clear();
    const bool areThousandths = findThousandths(dosages, individuals, thousandths, m_places.data());
    if (!areThousandths) {
        takeEach(dosages, individuals);
    } else {
        if (!m_areThousandths)
            m_dosages.assign(text::thousandthValues.begin(), text::thousandthValues.begin() + thousandths);
        findUsed();
    }
    m_areThousandths = areThousandths;
    m_counts.resize(kinds * (m_dosages.size() + 1));
}

void DosagePlaces::group(const std::vector<uint8_t> &status, DosageGroups &groups)
{
    for (size_t i = 0; i < status.size(); ++i)
        ++m_counts[kinds * m_places[i] + status[i]];
    groups.clear();
    for (const uint32_t place : m_used) {
        uint32_t *const counts = &m_counts[kinds * place];
        if (const uint32_t n = counts[control] + counts[affected])
            groups.add(m_dosages[place], n, counts[affected]);
        std::fill_n(counts, kinds, 0);
    }
    std::fill_n(&m_counts[kinds * m_dosages.size()], kinds, 0);
}
