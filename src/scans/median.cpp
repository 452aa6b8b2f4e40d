#include "scans/median.h"

#include <algorithm>
#include <cmath>
#include <limits>

void StreamMedian::keep(double value)
{
    m_values.push_back(value);
    if (m_values.size() <= keptValues)
        return;
    m_counts.resize(binCount);
    for (const double each : m_values)
        add(each);
    std::vector<double>().swap(m_values);
}

double StreamMedian::startOf(size_t bin)
{
    const auto start = [](size_t part, int exponent, size_t parts) {
        return std::ldexp(1 + double(part % parts) / double(parts), exponent + int(part / parts));
    };
    if (bin == 0)
        return 0;
    if (bin < firstFine)
        return start(bin - 1, exponents[0], coarseParts);
    if (bin < firstBehind)
        return start(bin - firstFine, exponents[1], fineParts);
    return bin < binCount ? start(bin - firstBehind, exponents[2], coarseParts)
                          : std::numeric_limits<double>::infinity();
}

size_t StreamMedian::count() const
{
    size_t count = m_values.size() + (m_overflows.size() << 16);
    for (const uint16_t each : m_counts)
        count += each;
    return count;
}

// The values of a bin are taken as evenly spread.
double StreamMedian::valueAt(size_t rank, const std::vector<size_t> &counts) const
{
    size_t bin = 0;
    for (; rank >= counts[bin]; ++bin)
        rank -= counts[bin];
    const double start = startOf(bin), end = startOf(bin + 1);
    return std::isinf(end) ? end : start + (end - start) * (double(rank) + 0.5) / double(counts[bin]);
}

double StreamMedian::median() const
{
    const size_t size = count();
    if (size == 0)
        return std::numeric_limits<double>::quiet_NaN();
    if (m_counts.empty()) {
        std::vector<double> sorted = m_values;
        std::sort(sorted.begin(), sorted.end());
        return size % 2 ? sorted[size / 2] : (sorted[size / 2 - 1] + sorted[size / 2]) / 2;
    }
    std::vector<size_t> counts(m_counts.begin(), m_counts.end());
    for (const uint16_t bin : m_overflows)
        counts[bin] += 65536;
    const double middle = valueAt(size / 2, counts);
    return size % 2 ? middle : (valueAt(size / 2 - 1, counts) + middle) / 2;
}
