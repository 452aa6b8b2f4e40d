#include "matching/points.h"

#include <algorithm>
#include <cmath>

bool Points::isEmpty(size_t i) const
{
    return std::all_of((*this)[i], (*this)[i] + columnCount, isMissing);
}

std::vector<double> Points::column(size_t c) const
{
    std::vector<double> present;
    for (size_t i = 0; i < count; ++i) {
        if (!isMissing((*this)[i][c]))
            present.push_back((*this)[i][c]);
    }
    return present;
}

// The power of two that brings the largest of them below 1, so that no sum of squares overflows.
static int exponentOf(const std::vector<double> &values)
{
    double largest = 0;
    for (const double value : values)
        largest = std::max(largest, std::fabs(value));
    int exponent;
    std::frexp(largest, &exponent);
    return exponent;
}

Moments momentsOf(const std::vector<double> &values)
{
    if (values.empty())
        return {noValue, noValue};
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    if (*least == *most)
        return {*least, 0};
    const int exponent = exponentOf(values);
    const double n = double(values.size());
    double sum = 0, squares = 0;
    for (const double value : values)
        sum += std::ldexp(value, -exponent);
    const double mean = sum / n;
    for (const double value : values) {
        const double difference = std::ldexp(value, -exponent) - mean;
        squares += difference * difference;
    }
    return {std::ldexp(mean, exponent), std::ldexp(std::sqrt(squares / n), exponent)};
}

static Points scaled(const Points &points, const std::vector<size_t> &columns, const std::vector<int> &exponents)
{
    Points kept{points.count, columns.size(), {}};
    kept.values.reserve(points.count * columns.size());
    for (size_t i = 0; i < points.count; ++i) {
        for (size_t c = 0; c < columns.size(); ++c)
            kept.values.push_back(std::ldexp(points[i][columns[c]], -exponents[c]));
    }
    return kept;
}

Standardised standardise(const Points &first, const Points &pool)
{
    Standardised result;
    std::vector<int> exponents;
    for (size_t c = 0; c < first.columnCount; ++c) {
        std::vector<double> both = first.column(c);
        const std::vector<double> behind = pool.column(c);
        both.insert(both.end(), behind.begin(), behind.end());
        const double deviation = momentsOf(both).deviation;
        if (!(deviation > 0))
            continue;
        result.columns.push_back(c);
        exponents.push_back(exponentOf(both));
        result.inverse.push_back(1 / std::ldexp(deviation, -exponents.back()));
    }
    result.first = scaled(first, result.columns, exponents);
    result.pool = scaled(pool, result.columns, exponents);
    return result;
}

double distanceOf(const double *one, const double *other, const std::vector<double> &inverse)
{
    double squares = 0;
    size_t common = 0;
    for (size_t c = 0; c < inverse.size(); ++c) {
        const double difference = (one[c] - other[c]) * inverse[c];
        if (isMissing(difference))
            continue;
        squares += difference * difference;
        ++common;
    }
    return common > 0 ? std::sqrt(squares / double(common)) : std::numeric_limits<double>::infinity();
}
