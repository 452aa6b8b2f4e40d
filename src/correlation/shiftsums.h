// The sums of products of two columns of one length, one sum for every circular shift of the second: that of shift k
// adds x[i] y[(i - k) mod n].
#pragma once

#include <cstddef>
#include <vector>

// Forms the sums of these shifts, which ascend, directly: product by product in the order of i, in doubles.
void formDirectly(const std::vector<double> &x, const std::vector<double> &y, const std::vector<size_t> &shifts,
                  std::vector<double> &sums);

// The directly formed sum of shift k is at most bounds[k] away from sums[k].
struct BoundedSums {
    std::vector<double> sums, bounds;
};

// False where the columns are short or hold what is infinite, no number, or so large or small that its squares are.
bool areBoundable(const std::vector<double> &x, const std::vector<double> &y);

// All sums at once, by fast convolution, of columns that are boundable. The rows of x are taken in segments, of a
// length from segmentLengths. Each takes time proportional to n log(n), and the bounds go with the length.
BoundedSums convolveColumns(const std::vector<double> &x, const std::vector<double> &y, size_t segmentLength);

// The lengths that are of use for so many rows: the longest, the next a quarter of it, and so on.
std::vector<size_t> segmentLengths(size_t count);
