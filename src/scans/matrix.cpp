#include "scans/matrix.h"
#include "scans/phenotype.h"

#include <algorithm>

void Matrix::resize(size_t phenotypes, size_t individuals)
{
    m_individualCount = individuals;
    m_groupCount = (phenotypes + groupLanes - 1) / groupLanes;
    m_blocks.resize((m_groupCount + blockGroups - 1) / blockGroups);
}

size_t Matrix::groupsOfBlock(size_t block) const
{
    return std::min(blockGroups, m_groupCount - block * blockGroups);
}

// The value of the first individual; the next ones follow a row of the block apart.
double *Matrix::valuesAt(size_t position)
{
    const size_t block = position / maxRowWidth;
    if (!m_blocks[block]) {
        const size_t size = m_individualCount * groupsOfBlock(block) * groupLanes;
        m_blocks[block].reset(static_cast<double *>(::operator new(size * sizeof(double), alignment)));
        std::fill_n(m_blocks[block].get(), size, 0.0);
    }
    return m_blocks[block].get() + position % maxRowWidth;
}

void Matrix::add(const std::vector<double> &values)
{
    const auto missingCount = std::count(values.begin(), values.end(), missingValue);
    size_t position = m_positions.size() - m_gappyCount;
    if (missingCount > 0) {
        position = m_groupCount * groupLanes - 1 - m_gappyCount++;
        const size_t lane = position % groupLanes;
        if (lane == groupLanes - 1)
            m_present.push_back({std::vector<uint64_t>((m_individualCount + 63) / 64 * groupLanes), {}});
        Presence &presence = m_present.back();
        presence.counts[lane] = double(values.size() - size_t(missingCount));
        for (size_t i = 0; i < values.size(); ++i)
            presence.bits[i / 64 * groupLanes + lane] |= uint64_t(values[i] != missingValue) << i % 64;
    }
    m_positions.push_back(position);

    double *to = valuesAt(position);
    const size_t width = groupsOfBlock(position / maxRowWidth) * groupLanes;
    for (const double value : values) {
        *to = value == missingValue ? -0.0 : value;
        to += width;
    }
}

// The front may reach into the first group with missing values: there everybody has a value.
void Matrix::finish()
{
    const size_t completeLanes = (groupLanes - m_gappyCount % groupLanes) % groupLanes;
    for (size_t lane = 0; lane < completeLanes; ++lane) {
        Presence &presence = m_present.back();
        presence.counts[lane] = double(m_individualCount);
        for (size_t word = 0; word < presence.bits.size() / groupLanes; ++word)
            presence.bits[word * groupLanes + lane] = ~uint64_t(0);
    }
}

bool Matrix::isPresent(size_t phenotype, size_t individual) const
{
    const size_t position = m_positions[phenotype];
    const size_t group = position / groupLanes;
    if (group < firstGappyGroup())
        return true;
    return present(group)[individual / 64 * groupLanes + position % groupLanes] >> individual % 64 & 1;
}
