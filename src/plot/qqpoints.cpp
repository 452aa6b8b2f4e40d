#include "plot/qqpoints.h"
#include "numbers/logarithm.h"
#include "scans/pvalues.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

namespace plot {

// The value at a 0-based rank. The bits of numbers from 0 on are in their order, so that a count by the first ones
// tells which few need an order.
static double valueAt(const std::deque<double> &ps, size_t rank)
{
    constexpr int shift = 46;
    std::vector<size_t> counts(size_t(1) << (64 - shift));
    const auto bucketOf = [](double p) { return size_t(std::bit_cast<uint64_t>(p + 0.0) >> shift); };
    for (const double p : ps)
        ++counts[bucketOf(p)];
    size_t bucket = 0;
    for (; rank >= counts[bucket]; ++bucket)
        rank -= counts[bucket];
    std::vector<double> values;
    values.reserve(counts[bucket]);
    for (const double p : ps) {
        if (bucketOf(p) == bucket)
            values.push_back(p);
    }
    std::ranges::nth_element(values, values.begin() + std::ptrdiff_t(rank));
    return values[rank];
}

double medianOf(const std::deque<double> &ps)
{
    const double upper = valueAt(ps, ps.size() / 2);
    return ps.size() % 2 ? upper : (valueAt(ps, ps.size() / 2 - 1) + upper) / 2;
}

double lambdaOf(double medianP)
{
    const double ratio = normalZ(medianP) / normalZ(0.5);
    return ratio * ratio;
}

void addQuantiles(const std::deque<double> &ps, double xMost, double yMost, int topRow, Cloud &cloud)
{
    std::vector<size_t> counts(size_t(cloud.height()));
    for (const double p : ps)
        ++counts[size_t(p > 0 ? pixelOf(-decimalLogarithm(p), 0, yMost, cloud.height()) : topRow)];
    const double n = double(ps.size());
    const auto columnOf
        = [&](size_t rank) { return pixelOf(-decimalLogarithm(double(rank) / (n + 1)), 0, xMost, cloud.width()); };
    size_t rank = 1;
    for (size_t row = counts.size(); row-- > 0;) {
        for (const size_t end = rank + counts[row]; rank < end;) {
            const int column = columnOf(rank);
            cloud.add(column, int(row));
            if (!cloud.isThinned()) {
                ++rank;
                continue;
            }
            // All ranks up to the last one in this column: they fall on the same spot.
            size_t last = rank, beyond = end;
            while (beyond - last > 1) {
                const size_t middle = last + (beyond - last) / 2;
                (columnOf(middle) == column ? last : beyond) = middle;
            }
            rank = beyond;
        }
    }
}

}  // namespace plot
