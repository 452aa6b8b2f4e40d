#include "scans/regression.h"
#include "processors/lanes.h"

#include <cmath>

namespace {
// Numbers of twice the digits as sums of two doubles. The steps are those of Dekker, A floating-point technique for
// extending the available precision (1971), and of Knuth's exact sum; Number is a double or some side by side.
struct ExactReal {
    double high = 0, low = 0;
};
}  // namespace

// Adds b to `high`, and to `low` what that rounds away and `rest`.
template <class Number>
MORVEL_INLINE void addTo(Number &high, Number &low, const Number &b, const Number &rest)
{
    const Number sum = high + b, part = sum - high;
    low += ((high - (sum - part)) + (b - part)) + rest;
    high = sum;
}

template <class Number>
MORVEL_INLINE void addProduct(Number &high, Number &low, const Number &a, const Number &restA, const Number &b,
                              const Number &restB)
{
    constexpr double splitter = 134217729;  // 2^27 + 1: parts of half the digits, whose products are exact
    const Number product = a * b;
    const Number wideA = splitter * a, wideB = splitter * b;
    const Number highA = wideA - (wideA - a), highB = wideB - (wideB - b);
    const Number lowA = a - highA, lowB = b - highB;
    const Number error = ((highA * highB - product) + highA * lowB + lowA * highB) + lowA * lowB;
    const Number rest = error + (a * restB + restA * b);
    addTo(high, low, product, rest);
}

static ExactReal operator-(ExactReal a, const ExactReal &b)
{
    addTo(a.high, a.low, -b.high, -b.low);
    return a;
}

static ExactReal operator*(const ExactReal &a, const ExactReal &b)
{
    ExactReal product;
    addProduct(product.high, product.low, a.high, a.low, b.high, b.low);
    return product;
}

static ExactReal operator/(const ExactReal &a, const ExactReal &b)
{
    ExactReal quotient = {a.high / b.high, 0};
    const ExactReal rest = a - quotient * b;
    quotient.low = (rest.high + rest.low) / b.high;
    return quotient;
}

static double rounded(const ExactReal &a)
{
    return a.high + a.low;
}

template <size_t bytes>
MORVEL_INLINE void sumUp(const LinePoints &points, LaneSums &sums)
{
    using Number = typename Lanes<double, bytes>::Real;
    for (size_t lane = 0; lane < LaneSums::lanes; lane += bytes / sizeof(double)) {
        Number high[sumCount] = {}, low[sumCount] = {};
        const Number zero = {}, centre = zero - points.xCentre;
        for (size_t i = lane; i < points.x.size(); i += LaneSums::lanes) {
            Number x = load<Number>(&points.x[i]), xRest = zero;
            const Number y = load<Number>(&points.y[i]);
            const Number yRest = load<Number>(&points.yRests[i]);
            addTo(x, xRest, centre, zero);
            addTo(high[sumX], low[sumX], x, xRest);
            addTo(high[sumY], low[sumY], y, yRest);
            addProduct(high[sumXX], low[sumXX], x, xRest, x, xRest);
            addProduct(high[sumXY], low[sumXY], x, xRest, y, yRest);
            addProduct(high[sumYY], low[sumYY], y, yRest, y, yRest);
        }
        for (size_t sum = 0; sum < sumCount; ++sum) {
            store<Number>(&sums.high[sum][lane], high[sum]);
            store<Number>(&sums.low[sum][lane], low[sum]);
        }
    }
}

#define MORVEL_KERNEL(name, bytes, target)                                                                             \
    target static void sumUp##name(const LinePoints &points, LaneSums &sums)                                           \
    {                                                                                                                  \
        sumUp<bytes>(points, sums);                                                                                    \
    }
MORVEL_FOR_PROCESSORS(MORVEL_KERNEL)

#define MORVEL_ROW(name, bytes, target) {#name, supports##name, sumUp##name},
static const SumKernels kernels[] = {MORVEL_FOR_PROCESSORS(MORVEL_ROW)};

std::span<const SumKernels> SumKernels::all()
{
    return kernels;
}

static void sumUp(const LinePoints &points, ExactReal *totals)
{
    LaneSums sums;
    kernelsInUse<SumKernels>->sumUp(points, sums);
    for (size_t sum = 0; sum < sumCount; ++sum) {
        for (size_t lane = 0; lane < LaneSums::lanes; ++lane)
            addTo(totals[sum].high, totals[sum].low, sums.high[sum][lane], sums.low[sum][lane]);
    }
}

Regression fitExactly(LinePoints &points)
{
    Regression fit;
    const size_t count = points.x.size();
    if (count < 3)
        return fit;
    while (points.x.size() % LaneSums::lanes != 0)
        points.add(points.xCentre, 0, 0);  // adds nothing
    ExactReal sums[sumCount];
    sumUp(points, sums);

    const ExactReal n = {double(count), 0};
    const ExactReal Sxx = sums[sumXX] - sums[sumX] * sums[sumX] / n;
    const ExactReal Sxy = sums[sumXY] - sums[sumX] * sums[sumY] / n;
    const ExactReal Syy = sums[sumYY] - sums[sumY] * sums[sumY] / n;
    const double xDigit = points.rounding * points.xSize, yDigit = points.rounding * points.ySize;
    if (rounded(Sxx) <= double(count) * xDigit * xDigit)
        return fit;
    if (rounded(Syy) <= double(count) * yDigit * yDigit) {
        fit.slope = fit.error = 0;
        return fit;
    }
    const double residual = rounded(Syy - Sxy * Sxy / Sxx);
    fit.slope = rounded(Sxy / Sxx);
    const double digit = yDigit + std::fabs(fit.slope) * xDigit;
    if (residual <= double(count) * digit * digit) {
        fit.error = 0;
        fit.r2 = 1;
        fit.t = std::numeric_limits<double>::infinity();
        return fit;
    }
    const double freedom = double(count - 2);
    fit.error = std::sqrt(residual / freedom / rounded(Sxx));
    fit.r2 = rounded(Sxy * Sxy / Sxx / Syy);
    fit.t = std::fabs(fit.slope) / fit.error;
    return fit;
}
