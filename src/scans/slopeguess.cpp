#include "scans/slopeguess.h"

#include <algorithm>
#include <cmath>
#include <limits>

SlopeGuess guessSlope(std::span<const double> x, std::span<const size_t> counts, double mostDosage)
{
    constexpr double u = 0x1p-53, single = 0x1p-24;  // half of the distance from 1 to the next number
    const double n = double(x.size());
    double sumX = 0, sumXX = 0, sizeX = 0;
    for (const double each : x) {  // as fitLine() does
        sumX += each;
        sumXX += each * each;
        sizeX += std::fabs(each);
    }
    const double denominator = n * sumXX - sumX * sumX;
    SlopeGuess guess = {std::vector<double>(x.size()), 0};
    double sizeWeights = 0, mostCount = 0;
    for (size_t k = 0; k < x.size(); ++k) {
        const double factor = (n * x[k] - sumX) / denominator;  // of the bin's mean in the slope
        guess.weights[k] = counts[k] > 0 ? factor / (1000 * double(counts[k])) : 0;
        sizeWeights += std::fabs(factor);
        mostCount = std::max(mostCount, double(counts[k]));
    }
    // A mean is formed with as many roundings as there are individuals, and one more for the thousandths; the numerator
    // of the slope with less than n + 4, each of a part of n * mostDosage * (sizeX + |sumX|); so are the factors. The
    // guess adds n products in single precision. All is doubled, which leaves room for the products of roundings.
    const double ofMeans = sizeWeights * mostDosage * (mostCount + 4) * u;
    const double ofNumerator = (n + 8) * n * mostDosage * (sizeX + std::fabs(sumX)) / std::fabs(denominator) * u;
    const double ofGuess = sizeWeights * mostDosage * (n + 4) * single;
    guess.error = 2 * (ofMeans + 2 * ofNumerator + ofGuess) + 1e-30;  // which single precision can tell from 0
    // Where numbers get so small that they lose digits, or so large that sums overflow, nothing is known.
    const bool isOrdinary = std::fabs(denominator) > 1e-100 && sizeX < 1e100 && guess.error < 1e100;
    if (!isOrdinary)
        guess.error = std::numeric_limits<double>::infinity();
    return guess;
}

double leastCountedSlope(const Decision &decision)
{
    // On purpose fits without R2 pass by an R2 of -1 where the limit lets them.
    const bool takesAll = decision.statistic == 0 && -1 >= decision.limit;
    return takesAll ? -std::numeric_limits<double>::infinity() : decision.leastSlope;
}
