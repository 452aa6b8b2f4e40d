// The correlations over circular shifts as a plain loop: the judge of the real one, and the yardstick of its
// benchmark.
#pragma once

#include <cmath>
#include <numeric>
#include <vector>

inline std::vector<double> literalCorrelations(const std::vector<double> &x, std::vector<double> y)
{
    const double N = double(x.size());
    const double X = std::accumulate(x.begin(), x.end(), 0.0), Y = std::accumulate(y.begin(), y.end(), 0.0);
    const double XX = std::inner_product(x.begin(), x.end(), x.begin(), 0.0);
    const double YY = std::inner_product(y.begin(), y.end(), y.begin(), 0.0);
    const double denominator = std::sqrt((N * YY - Y * Y) * (N * XX - X * X));
    std::vector<double> correlations;
    while (correlations.size() < x.size()) {
        const double nominator = std::inner_product(x.begin(), x.end(), y.begin(), 0.0);
        correlations.push_back((N * nominator - X * Y) / denominator);
        y.insert(y.begin(), y.back());
        y.pop_back();
    }
    return correlations;
}
