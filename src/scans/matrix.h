// The phenotype table of the fast scan, in memory in the order in which its sums run.
#pragma once

#include "scans/classsums.h"

#include <memory>
#include <new>
#include <string>
#include <vector>

// The phenotypes have positions side by side: those without missing values from the front, the others from
// the back, so that only these pay for counting who has a value. Up to 7 positions between them are empty and
// hold zeros. Eight positions are a group, and up to eight groups are a block, which holds one row of values
// per individual.
class Matrix {
public:
    // Sets the size, which takes no memory yet.
    void resize(size_t phenotypes, size_t individuals);

    // Adds the values of the next phenotype, [individual], missingValue where missing.
    void add(const std::vector<double> &values);

    // To be called after the last phenotype.
    void finish();

    size_t groupCount() const { return m_groupCount; }
    size_t blockCount() const { return m_blocks.size(); }
    size_t groupsOfBlock(size_t block) const;
    // [individual][position in the block]. A missing value is -0.0: adding that changes no sum, not even in
    // the sign of a zero, so that nobody needs to ask.
    const double *block(size_t block) const { return m_blocks[block].get(); }

    size_t positionOf(size_t phenotype) const { return m_positions[phenotype]; }

    // Groups from this one on have phenotypes with missing values.
    size_t firstGappyGroup() const { return m_groupCount - m_present.size(); }
    // Of such a group: who has a value, a bit each, [word][lane], and how many, [lane].
    const uint64_t *present(size_t group) const { return presence(group).bits.data(); }
    const double *presentCounts(size_t group) const { return presence(group).counts; }
    bool isPresent(size_t phenotype, size_t individual) const;

private:
    struct Free {
        void operator()(double *values) const { ::operator delete(values, alignment); }
    };
    struct Presence {
        std::vector<uint64_t> bits;
        double counts[groupLanes];
    };
    static constexpr std::align_val_t alignment{64};

    const Presence &presence(size_t group) const { return m_present[m_groupCount - 1 - group]; }
    double *valuesAt(size_t position);

    size_t m_individualCount = 0;
    size_t m_groupCount = 0;
    std::vector<std::unique_ptr<double, Free>> m_blocks;  // made when their first phenotype comes
    std::vector<size_t> m_positions;                      // [phenotype]
    size_t m_gappyCount = 0;
    std::vector<Presence> m_present;  // from the last group to the first
};
