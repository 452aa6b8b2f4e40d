#include "scans/markerblock.h"
#include "processors/wide.h"
#include "scans/traits.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>

// One lane for each marker of the group: sums run over the individuals in their order.
MORVEL_WIDE static void centreRows(const double *dosages, size_t individuals, const Coding &coding, double (*rows)[8],
                                   double (*results)[8])
{
    const Coding code = coding;
    double n[8] = {}, sum[8] = {}, mean[8], squares[8] = {}, least[8], most[8];
    std::fill_n(least, 8, std::numeric_limits<double>::infinity());
    std::fill_n(most, 8, -std::numeric_limits<double>::infinity());
    for (size_t i = 0; i < individuals; ++i) {
        for (size_t m = 0; m < 8; ++m)
            rows[i][m] = code(dosages[m * individuals + i]);
        for (size_t m = 0; m < 8; ++m) {
            const double x = rows[i][m];
            n[m] += x == x ? 1.0 : 0.0;
            sum[m] += x == x ? x : 0.0;
            least[m] = x < least[m] ? x : least[m];
            most[m] = x > most[m] ? x : most[m];
        }
    }
    for (size_t m = 0; m < 8; ++m) {
        mean[m] = n[m] > 0 ? sum[m] / n[m] : 0;
        sum[m] = 0;
    }
    for (size_t i = 0; i < individuals; ++i) {
        for (size_t m = 0; m < 8; ++m) {
            const double difference = rows[i][m] - mean[m];
            const double x = difference == difference ? difference : 0.0;
            rows[i][m] = x;
            sum[m] += x;
            squares[m] += x * x;
        }
    }
    const double *const all[] = {n, sum, squares, mean, least, most};
    for (size_t k = 0; k < std::size(all); ++k)
        std::copy_n(all[k], 8, results[k]);
}

void MarkerBlock::centreGroup(size_t first)
{
    double results[6][8];
    centreRows(dosages(first), m_individuals, m_coding, &m_rows[first / groupMarkers * m_individuals].x, results);
    for (size_t m = 0; m < groupMarkers; ++m) {
        const size_t marker = first + m;
        sums.n[marker] = results[0][m];
        sums.x[marker] = results[1][m];
        sums.xx[marker] = results[2][m];
        mean[marker] = results[3][m];
        size[marker] = std::max(std::fabs(results[4][m]), std::fabs(results[5][m]));
        isConstant[marker] = !(results[4][m] < results[5][m]);
        missing[marker].clear();
        if (marker >= markers || results[0][m] == double(m_individuals))
            continue;
        hasGaps = true;
        for (size_t i = 0; i < m_individuals; ++i) {
            if (std::isnan(dosages(marker)[i]))
                missing[marker].push_back(uint32_t(i));
        }
    }
}

void MarkerBlock::centre()
{
    hasGaps = false;
    for (size_t first = 0; first < capacity; first += groupMarkers)
        centreGroup(first);
}

void DosagePlaces::find(const double *dosages, size_t individuals)
{
    m_places.resize(individuals);
    m_dosages.clear();
    uint8_t isUsed[thousandths + 1] = {};
    bool areThousandths = true;
    for (size_t i = 0; i < individuals; ++i) {
        const double dosage = dosages[i];
        const size_t place = dosage >= 0 && dosage <= 2 ? size_t(dosage * 1000 + 0.5) : thousandths;
        areThousandths &= place < thousandths ? text::thousandthValues[place] == dosage : std::isnan(dosage);
        isUsed[place] = 1;
        m_places[i] = uint32_t(place);
    }
    if (!areThousandths) {
        for (size_t i = 0; i < individuals; ++i) {
            const bool isMissing = std::isnan(dosages[i]);
            m_places[i] = uint32_t(isMissing ? individuals : i);
            m_dosages.push_back(isMissing ? 0 : dosages[i]);
        }
        return;
    }
    uint32_t placeOf[thousandths + 1];
    for (size_t place = 0; place < thousandths; ++place) {
        placeOf[place] = uint32_t(m_dosages.size());
        if (isUsed[place])
            m_dosages.push_back(text::thousandthValues[place]);
    }
    placeOf[thousandths] = uint32_t(m_dosages.size());
    for (uint32_t &place : m_places)
        place = placeOf[place];
}

void DosagePlaces::group(const std::vector<uint8_t> &status, DosageGroups &groups)
{
    constexpr size_t kinds = 4;  // of status, of which one is none
    m_counts.assign(kinds * (m_dosages.size() + 1), 0);
    for (size_t i = 0; i < status.size(); ++i)
        ++m_counts[kinds * m_places[i] + status[i]];
    groups.clear();
    for (size_t place = 0; place < m_dosages.size(); ++place) {
        const double cases = m_counts[kinds * place + affected];
        const double n = cases + m_counts[kinds * place + control];
        if (n > 0)
            groups.add(m_dosages[place], n, cases);
    }
}
