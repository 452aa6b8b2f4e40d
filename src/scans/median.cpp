#include "scans/median.h"

#include <algorithm>
#include <cmath>
#include <limits>

void StreamMedian::keep(double value)
{
    m_values.push_back(value);
    if (m_values.size() > keptValues)
        startCounting();
}

void StreamMedian::startCounting()
{
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

std::vector<size_t> StreamMedian::allCounts() const
{
    std::vector<size_t> counts(m_counts.begin(), m_counts.end());
    for (const uint16_t bin : m_overflows)
        counts[bin] += 65536;
    return counts;
}

void StreamMedian::addCount(size_t bin, size_t count)
{
    const size_t sum = m_counts[bin] + count;
    m_counts[bin] = uint16_t(sum);
    m_overflows.insert(m_overflows.end(), sum >> 16, uint16_t(bin));
}

// The number of values and these; or 0, the number of bins that are not empty, and of these how many bins on from the
// one before and the count.
void StreamMedian::write(text::Writer &out) const
{
    const std::vector<size_t> counts = allCounts();
    text::putExact(double(m_values.size()), out);
    for (const double value : m_values)
        text::putExact(value, out);
    if (!m_values.empty())
        return;
    text::putExact(double(counts.size() - size_t(std::count(counts.begin(), counts.end(), size_t(0)))), out);
    size_t last = 0;
    for (size_t bin = 0; bin < counts.size(); ++bin) {
        if (counts[bin] == 0)
            continue;
        text::putExact(double(bin - last), out);
        text::putExact(double(counts[bin]), out);
        last = bin;
    }
}

bool StreamMedian::add(text::ExactNumbers &numbers)
{
    double size, value;
    if (!numbers.next(size))
        return false;
    for (double i = 0; i < size; ++i) {
        if (!numbers.next(value) || !(value >= 0))
            return false;
        add(value);
    }
    if (size > 0)
        return true;
    double bins, step, count, bin = 0;
    if (!numbers.next(bins))
        return false;
    if (bins > 0 && m_counts.empty())
        startCounting();
    for (double i = 0; i < bins; ++i) {
        if (!numbers.next(step) || !numbers.next(count) || !(step >= 0) || !(count >= 1 && count < 1e15))
            return false;
        bin += step;
        if (!(bin < double(binCount)))
            return false;
        addCount(size_t(bin), size_t(count));
    }
    return true;
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
    const std::vector<size_t> counts = allCounts();
    const double middle = valueAt(size / 2, counts);
    return size % 2 ? middle : (valueAt(size / 2 - 1, counts) + middle) / 2;
}
