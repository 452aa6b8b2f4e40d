// What a quantile-quantile picture needs of many p-values: no sort, but ranks counted by the rows of pixels.
#pragma once

#include "plot/cloud.h"

#include <cstddef>
#include <deque>

namespace plot {

// The median of p-values in [0, 1], of two in the middle the mean; exact. There must be one.
double medianOf(const std::deque<double> &ps);

// The genomic control factor: the 1-df chi-square of the median p over that of 0.5.
double lambdaOf(double medianP);

// Adds the dot of every p-value above 0 to the cloud: its -log10 by the expected one of its rank, -log10(i / (n + 1)).
// The cloud's axes run from 0 to these values. Zeros stand in the row `topRow`.
void addQuantiles(const std::deque<double> &ps, double xMost, double yMost, int topRow, Cloud &cloud);

}  // namespace plot
