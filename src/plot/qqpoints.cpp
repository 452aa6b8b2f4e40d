#include "plot/qqpoints.h"
#include "numbers/logarithm.h"

#include <algorithm>
#include <bit>
#include <cmath>
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

// The chi-square value of one degree of freedom that is passed with probability p, by bisection of z.
static double chiSquareOf(double p)
{
    double low = 0, high = 40;
    for (int i = 0; i < 100; ++i) {
        const double middle = (low + high) / 2;
        (std::erfc(middle * std::sqrt(0.5)) > p ? low : high) = middle;
    }
    return low * low;
}

double lambdaOf(double medianP)
{
    return chiSquareOf(medianP) / chiSquareOf(0.5);
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

// The regularised incomplete beta function by its continued fraction (Abramowitz and Stegun 26.5.8).
static double incompleteBeta(double a, double b, double x)
{
    if (x <= 0 || x >= 1)
        return x <= 0 ? 0 : 1;
    if (x > (a + 1) / (a + b + 2))
        return 1 - incompleteBeta(b, a, 1 - x);
    const double front
        = std::exp(std::lgamma(a + b) - std::lgamma(a) - std::lgamma(b) + a * std::log(x) + b * std::log1p(-x)) / a;
    double fraction = 1, c = 1, d = 0;
    for (int i = 0; i < 2000; ++i) {
        const double m = i / 2;
        const double numerator = i == 0       ? 1
                                 : i % 2 == 0 ? m * (b - m) * x / ((a + 2 * m - 1) * (a + 2 * m))
                                              : -(a + m) * (a + b + m) * x / ((a + 2 * m) * (a + 2 * m + 1));
        const auto away = [](double value) { return std::fabs(value) < 1e-300 ? 1e-300 : value; };
        d = 1 / away(1 + numerator * d);
        c = away(1 + numerator / c);
        fraction *= c * d;
        if (std::fabs(1 - c * d) < 1e-12)
            break;
    }
    return front * (fraction - 1);
}

double rankQuantile(size_t i, size_t n, double probability)
{
    // The i-th smallest of n uniform values has a beta distribution. Halving the exponent first reaches small ones.
    double low = -18, high = 0;
    for (int step = 0; step < 60; ++step) {
        const double middle = (low + high) / 2;
        (incompleteBeta(double(i), double(n - i + 1), std::pow(10, middle)) < probability ? low : high) = middle;
    }
    return std::pow(10, high);
}

}  // namespace plot
