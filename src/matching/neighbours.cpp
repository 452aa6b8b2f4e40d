#include "matching/neighbours.h"
#include "processors/wide.h"

#include <cmath>

// Of all points of a leaf side by side, over these columns; each adds in the order of the columns. What is read behind
// the last point means nothing.
MORVEL_WIDE static void sumSquares(const double *query, const double *inverses, const std::vector<uint32_t> &columns,
                                   const Forest::Leaf &leaf, double *squares)
{
    double sums[Forest::leafSize] = {};
    for (const uint32_t c : columns) {
        const double value = query[c], inverse = inverses[c];
        const double *const values = leaf.values + c * leaf.count;
        for (size_t i = 0; i < Forest::leafSize; ++i) {
            const double difference = (value - values[i]) * inverse;
            sums[i] += difference * difference;
        }
    }
    std::copy(sums, sums + Forest::leafSize, squares);
}

// The least sums of squares of any points in the boxes.
MORVEL_WIDE static void boundSquares(const double *query, const double *inverses, const std::vector<uint32_t> &columns,
                                     Forest::Boxes boxes, double *bounds)
{
    double sums[Forest::childLimit] = {};
    for (const uint32_t c : columns) {
        const double value = query[c], inverse = inverses[c];
        const double *const low = boxes.low(c), *const high = boxes.high(c);
        for (size_t i = 0; i < Forest::childLimit; ++i) {
            const double outside = std::max(std::max(low[i] - value, value - high[i]), 0.0) * inverse;
            sums[i] += outside * outside;
        }
    }
    std::copy(sums, sums + Forest::childLimit, bounds);
}

namespace {

class NearestSearch {
public:
    NearestSearch(const double *query, const std::vector<double> &inverse, size_t count, Neighbour after,
                  std::vector<Neighbour> &found)
        : m_query(query)
        , m_inverse(inverse.data())
        , m_count(count)
        , m_after(after)
        , m_found(found)
        , m_first(found.size())
    {
    }

    bool choose(const std::vector<uint32_t> &columns)
    {
        m_columns.clear();
        for (const uint32_t c : columns) {
            if (!isMissing(m_query[c]))
                m_columns.push_back(c);
        }
        m_squareLimit = m_limit * double(m_columns.size());
        return !m_columns.empty();
    }
    void bound(Forest::Boxes boxes, double *bounds) const
    {
        boundSquares(m_query, m_inverse, m_columns, boxes, bounds);
    }
    bool excludes(double bound) const { return bound > m_squareLimit; }

    void look(const Forest::Leaf &leaf)
    {
        double squares[Forest::leafSize];
        sumSquares(m_query, m_inverse, m_columns, leaf, squares);
        const double common = double(m_columns.size());
        for (size_t i = 0; i < leaf.count; ++i) {
            if (leaf.isPresent[i] && squares[i] <= m_squareLimit)
                add({std::sqrt(squares[i] / common), leaf.points[i]});
        }
    }

    void finish() { std::sort_heap(m_found.begin() + std::ptrdiff_t(m_first), m_found.end()); }

private:
    static constexpr double infinity = std::numeric_limits<double>::infinity();

    void add(Neighbour neighbour)
    {
        if (!(m_after < neighbour))
            return;
        const auto first = m_found.begin() + std::ptrdiff_t(m_first);
        if (m_found.size() - m_first == m_count) {
            if (!(neighbour < *first))
                return;
            std::pop_heap(first, m_found.end());
            m_found.pop_back();
        }
        m_found.push_back(neighbour);
        std::push_heap(m_found.begin() + std::ptrdiff_t(m_first), m_found.end());
        if (m_found.size() - m_first == m_count) {
            // A little more than the square, for what rounding took from it.
            const double farthest = m_found[m_first].distance;
            m_limit = farthest * farthest * (1 + 1e-12) + std::numeric_limits<double>::min();
            m_squareLimit = m_limit * double(m_columns.size());
        }
    }

    const double *m_query, *m_inverse;
    size_t m_count;
    Neighbour m_after;
    std::vector<Neighbour> &m_found;  // from m_first on a heap, the farthest one first
    size_t m_first;
    std::vector<uint32_t> m_columns;  // that the query and the points of the tree have
    double m_limit = infinity;        // of the mean squared difference
    double m_squareLimit = infinity;  // of the sum over m_columns
};

}  // namespace

void findNearest(const Forest &forest, const double *query, const std::vector<double> &inverse, size_t count,
                 Neighbour after, std::vector<Neighbour> &found)
{
    if (count == 0)
        return;
    NearestSearch search(query, inverse, count, after, found);
    forest.search(search);
    search.finish();
}
