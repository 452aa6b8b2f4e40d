// Two-sided p-values and their inverses, from Boost.Math, to the last digit and down to the smallest double.
#pragma once

#include <cstddef>

// P(|T| >= t) of Student's distribution, t >= 0, and of the normal one; 0 for an infinite t, NaN for NaN.
double studentP(double t, double degreesOfFreedom);
double normalP(double z);

// The first one in a tenth of the time, and the part by which it may be off at most where t may be off by `error`.
struct NearP {
    double p, error;
};
NearP studentPNearly(double t, double degreesOfFreedom, double error);

// The t >= 0 with this p: infinity for a p of 0 and below, 0 from 1 on.
double studentT(double p, double degreesOfFreedom);
double normalZ(double p);

// The x with P(X <= x) = p of the normal distribution, 0 < p < 1.
double normalQuantile(double p);

// The p below which the i-th smallest of n p-values, 1 <= i <= n, lies by chance with this probability.
double rankQuantile(size_t i, size_t n, double probability);
