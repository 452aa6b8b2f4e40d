// The second pass over a line's dosages, that of their standard deviation.
#pragma once

#include <cstddef>

// Lines up to this size keep their dosages for the deviation; a longer one is read a second time, so that memory does
// not grow by a multiple of it.
inline constexpr size_t keptLineSize = size_t(4) << 20;

// Adds the squared differences from the mean to the sum, one after another.
template <class Number>
inline Number addSquares(Number sum, const Number *values, size_t count, Number mean)
{
    for (size_t i = 0; i < count; ++i) {
        const Number difference = values[i] - mean;
        sum += difference * difference;
    }
    return sum;
}
