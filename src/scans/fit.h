// The regression over points, with R2, t and p.
#pragma once

#include "scans/df.h"

#include <span>

// A marker's regression over the bins or classes.
struct Fit {
    double slope;
    double absSlope;
    double r2;  // r2, t and p are -1 where there is no value
    double t;
    double p;
};

// Least squares over the points (x, y), in their order, with R2, t and p by the table. Where the absolute slope is
// below `leastSlope`, or there are fewer than 3 points, they are not formed.
Fit fitLine(std::span<const double> x, std::span<const double> y, double leastSlope, const TTable &table);
