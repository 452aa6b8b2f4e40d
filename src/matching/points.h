// Individuals as points: a table of numbers by individual and column, and what makes its columns comparable.
#pragma once

#include <cstddef>
#include <limits>
#include <vector>

inline constexpr double noValue = std::numeric_limits<double>::quiet_NaN();

inline bool isMissing(double value)
{
    return value != value;
}

struct Points {
    size_t count = 0;
    size_t columnCount = 0;
    std::vector<double> values;  // [individual][column], all finite or missing

    const double *operator[](size_t i) const { return values.data() + i * columnCount; }
    bool isEmpty(size_t i) const;  // has no value at all
    // The values of a column in the order of the individuals, without the missing ones.
    std::vector<double> column(size_t c) const;
};

// Of the values in their order. The deviation has the divisor n, and is exactly 0 where all are the same. Without
// values both are missing.
struct Moments {
    double mean, deviation;
};
Moments momentsOf(const std::vector<double> &values);

// Two sets over the columns that have a spread. Differences are to be multiplied by `inverse`, one over the standard
// deviation of both sets together. Values are times a power of two, so that none overflows; equal differences stay
// equal.
struct Standardised {
    Points first, pool;
    std::vector<double> inverse;
    std::vector<size_t> columns;  // which of the given ones are kept
};
Standardised standardise(const Points &first, const Points &pool);

// The root of the mean squared difference over the columns that both have; infinity where there is none.
double distanceOf(const double *one, const double *other, const std::vector<double> &inverse);
