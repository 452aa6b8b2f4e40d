// Phenotypes as the regression scan takes them.
#pragma once

#include "scans/bins.h"
#include "scans/phenotype.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// What is said of a phenotype whatever the analysis: its values that are finite.
struct TraitMoments {
    size_t n = 0;
    double mean;  // NaN without values
    double sd;    // NaN with fewer than two
};
TraitMoments traitMomentsOf(const std::vector<double> &values);  // [individual], missingValue where missing

// The values for a regression, in parts that lose no digit: value = mean + centred + rest.
struct CentredValues {
    std::vector<double> centred;    // [individual], 0 where missing
    std::vector<float> rests;       // [individual], or none where all are 0
    std::vector<uint64_t> present;  // a bit for each individual
    // The individuals without a value, or those with one, whichever are fewer.
    std::vector<uint32_t> listed;
    bool areListedMissing = true;
    size_t n = 0;
    double sum = 0, squares = 0;  // of the centred values
    double size = 0;              // largest absolute value

    bool isPresent(size_t individual) const { return present[individual / 64] >> individual % 64 & 1; }
    double restOf(size_t individual) const { return rests.empty() ? 0 : double(rests[individual]); }
};
CentredValues centre(const std::vector<double> &values, const TraitMoments &moments);

// Replaces values by their normal scores: the normal quantile of (r - 3/8) / (n + 1/4) for the mean rank r among equal
// ones (Blom, Statistical estimates and transformed beta-variables, 1958).
void rankByNormalScores(std::vector<double> &values);

// Of a phenotype of two values, the larger one the case.
enum CaseStatus : uint8_t { control, affected, unknown };
// [individual]; none where there are not exactly two values.
std::vector<uint8_t> statusOf(const std::vector<double> &values);

// Makes values that are not finite missing.
void dropOddValues(std::vector<double> &values);
