#include "matching/individuals.h"

#include <cmath>
#include <numeric>

static double farthestOf(const Standardised &data)
{
    double farthest = 0;
    for (size_t c = 0; c < data.inverse.size(); ++c) {
        std::vector<double> both = data.first.column(c);
        const std::vector<double> behind = data.pool.column(c);
        both.insert(both.end(), behind.begin(), behind.end());
        const auto [least, most] = std::minmax_element(both.begin(), both.end());
        farthest = std::max(farthest, (*most - *least) * data.inverse[c]);
    }
    return farthest;
}

IndividualMatching::IndividualMatching(const Standardised &data, size_t hitnumber)
    : m_data(data)
    , m_hitnumber(hitnumber)
    , m_pool(data.pool, data.inverse)
    , m_farthest(farthestOf(data))
    , m_all(data.first.count)
    , m_matches(data.first.count)
{
    std::iota(m_all.begin(), m_all.end(), 0);
    for (const uint32_t individual : m_all) {
        findNearest(m_pool, data.first[individual], data.inverse, hitnumber, beforeAll, m_matches[individual]);
        for (const Neighbour &match : m_matches[individual])
            m_pool.remove(match.point);
    }
}

IndividualMatching::Sum IndividualMatching::sumOf(std::span<const uint32_t> individuals) const
{
    Sum sum;
    for (const uint32_t individual : individuals) {
        for (const Neighbour &match : m_matches[individual]) {
            ++sum.count;
            sum.distance += match.distance;
        }
    }
    return sum;
}

std::vector<uint32_t> IndividualMatching::ordered(Order order)
{
    std::vector<uint32_t> individuals = m_all;
    if (order == Order::Random) {
        // Not by std::shuffle, which differs between libraries.
        for (size_t i = individuals.size(); i > 1; --i)
            std::swap(individuals[i - 1], individuals[m_generator() % i]);
    }
    if (order == Order::WorstFirst) {
        std::vector<Sum> sums;
        for (const uint32_t &individual : m_all)
            sums.push_back(sumOf({&individual, 1}));
        std::stable_sort(individuals.begin(), individuals.end(), [&](uint32_t a, uint32_t b) {
            return sums[a].count < sums[b].count
                   || (sums[a].count == sums[b].count && sums[a].distance > sums[b].distance);
        });
    }
    return individuals;
}

bool IndividualMatching::improve(size_t blockSize, Order order)
{
    const std::vector<uint32_t> individuals = ordered(order);
    bool hasGained = false;
    for (size_t begin = 0; begin < individuals.size(); begin += blockSize) {
        const size_t size = std::min(blockSize, individuals.size() - begin);
        if (reassign({individuals.data() + begin, size}))
            hasGained = true;
    }
    return hasGained;
}

bool IndividualMatching::reassign(std::span<const uint32_t> block)
{
    const Sum before = sumOf(block);
    Matches kept;
    for (const uint32_t individual : block) {
        for (const Neighbour &match : m_matches[individual])
            m_pool.restore(match.point);
        kept.push_back(m_matches[individual]);
    }
    assign(m_data.first, block, m_hitnumber, m_pool, m_data.inverse, m_farthest, m_matches);
    const Sum after = sumOf(block);
    // Less by no more than sums of rounded numbers differ is no gain.
    const bool hasGained = after.count > before.count || after.distance < before.distance * (1 - 1e-12);
    for (size_t i = 0; i < block.size(); ++i) {
        std::vector<Neighbour> &matches = m_matches[block[i]];
        if (!hasGained)
            matches.swap(kept[i]);
        for (const Neighbour &match : matches)
            m_pool.remove(match.point);
    }
    return hasGained;
}
