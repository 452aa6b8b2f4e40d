// The correlations over circular shifts as a plain loop: the judge of the real one, and the yardstick of its benchmark.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

inline std::vector<double> literalCorrelations(const std::vector<double> &x, std::vector<double> y)
{
    const double N = double(x.size());
    double X = 0, Y = 0, XX = 0, YY = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        X += x[i];
        Y += y[i];
        XX += x[i] * x[i];
        YY += y[i] * y[i];
    }
    const double denominator = std::sqrt((N * YY - Y * Y) * (N * XX - X * X));
    std::vector<double> correlations;
    for (size_t k = 0; k < x.size(); ++k) {
        double nominator = 0;
        for (size_t i = 0; i < x.size(); ++i)
            nominator += x[i] * y[i];
        correlations.push_back((N * nominator - X * Y) / denominator);
        y.insert(y.begin(), y.back());
        y.pop_back();
    }
    return correlations;
}
