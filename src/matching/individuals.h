// Matches for individuals: first one after the other, then better by and by.
#pragma once

#include "matching/assignment.h"

#include <random>

enum class Order { WorstFirst, File, Random };

// Matches of all individuals, taken from a pool whose points are then no longer present.
class IndividualMatching {
public:
    // In file order everyone takes the `hitnumber` nearest of those left.
    IndividualMatching(const Standardised &data, size_t hitnumber);

    // A round: the individuals in their order, so many at a time, have their matches and whatever is left in the pool
    // handed out anew as a whole. False where nothing is gained: then all is as before. With a block of all individuals
    // the matches are from then on as many as possible, at the least total distance.
    bool improve(size_t blockSize, Order order);

    const Matches &matches() const { return m_matches; }
    size_t matchCount() const { return sumOf(m_all).count; }
    double total() const { return sumOf(m_all).distance; }

private:
    struct Sum {
        size_t count = 0;
        double distance = 0;
    };

    Sum sumOf(std::span<const uint32_t> individuals) const;
    std::vector<uint32_t> ordered(Order order);
    bool reassign(std::span<const uint32_t> block);

    const Standardised &m_data;
    size_t m_hitnumber;
    Forest m_pool;
    double m_farthest;            // no distance is larger
    std::vector<uint32_t> m_all;  // the individuals
    Matches m_matches;
    std::mt19937_64 m_generator{17};
};
