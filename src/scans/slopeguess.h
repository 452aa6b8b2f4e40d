// What the slope over the bins' mean dosages will be, near enough to leave out the markers that cannot be hits.
#pragma once

#include "scans/decision.h"

#include <cstddef>
#include <span>
#include <vector>

// The slope is about the sum, over the bins, of `weights` times the bin's sum of dosages in thousandths.
struct SlopeGuess {
    std::vector<double> weights;  // [bin]
    double error;  // the absolute slope as fitLine() forms it differs by at most this; infinite where nothing is known
};

// For bins at x with so many individuals, and dosages from 0 to mostDosage that are whole thousandths. The sums may be
// weighted in single precision.
SlopeGuess guessSlope(std::span<const double> x, std::span<const size_t> counts, double mostDosage);

// The least absolute slope of a fit that `decision` may take for a hit or count.
double leastCountedSlope(const Decision &decision);
