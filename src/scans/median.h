// The median of a stream of numbers, in little memory.
#pragma once

#include "text/exactnumbers.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

// Exact up to `keptValues` of the numbers added. Beyond them numbers are counted by size: the median is within a
// thousandth where it lies from 1/32 to 16, within a hundredth and a half from 1e-6 to 1e9; both mostly much nearer.
class StreamMedian {
public:
    static constexpr size_t keptValues = 1024;

    // Of a number from 0 up, infinity included.
    void add(double value)
    {
        if (m_counts.empty()) [[unlikely]] {
            keep(value);
            return;
        }
        const size_t bin = binOf(value);
        if (++m_counts[bin] == 0) [[unlikely]]
            m_overflows.push_back(uint16_t(bin));
    }

    // For the stream of which this one is a part: all that is needed of the numbers, as text without line ends; and the
    // numbers that such a text tells of, after those so far. False, and nothing of use, where it is none.
    void write(text::Writer &out) const;
    bool add(text::ExactNumbers &numbers);

    size_t count() const;

    // The middle one, or the mean of the middle two; NaN where there are none.
    double median() const;

    static constexpr size_t mostBytes() { return binCount * sizeof(uint16_t); }  // of memory, about

private:
    // Sizes in equal parts of powers of two: 1024 parts of each from 1/32 to 16, 64 of others. The first bin begins at
    // 0 and the last one has no end.
    static constexpr int exponents[] = {-20, -5, 4, 30};
    static constexpr size_t fineParts = 1024, coarseParts = 64;
    static constexpr size_t firstFine = 1 + size_t(exponents[1] - exponents[0]) * coarseParts;
    static constexpr size_t firstBehind = firstFine + size_t(exponents[2] - exponents[1]) * fineParts;
    static constexpr size_t binCount = firstBehind + size_t(exponents[3] - exponents[2]) * coarseParts + 1;

    static size_t binOf(double value);
    static double startOf(size_t bin);
    void keep(double value);
    void startCounting();
    void addCount(size_t bin, size_t count);
    std::vector<size_t> allCounts() const;
    double valueAt(size_t rank, const std::vector<size_t> &counts) const;

    std::vector<double> m_values;       // until there are too many
    std::vector<uint16_t> m_counts;     // [bin], from then on
    std::vector<uint16_t> m_overflows;  // a bin each time that its count began again at 0
};

inline size_t StreamMedian::binOf(double value)
{
    constexpr int bias = 1023, digits = 52;
    const auto parts = [value](int from, size_t perPower) {
        const int bits = std::countr_zero(perPower);
        return size_t(std::bit_cast<uint64_t>(value) >> (digits - bits)) - (size_t(bias + from) << bits);
    };
    if (value >= 0x1p-5 && value < 0x1p4)
        return firstFine + parts(exponents[1], fineParts);
    if (value < 0x1p-5)
        return value < 0x1p-20 ? 0 : 1 + parts(exponents[0], coarseParts);
    return value < 0x1p30 ? firstBehind + parts(exponents[2], coarseParts) : binCount - 1;
}
