// Marker lines whose dosages may be missing.
#pragma once

#include "genotypes/markers.h"

// Reads a line of LineReader's: its leading columns, and the dosages, [individual], NaN where missing. A dosage that is
// no number is 0, and missing are NA, na_value, and what is not finite. Returns as readDosages() does.
size_t readGappyDosages(std::string_view line, double na_value, std::span<std::string_view> leading,
                        std::span<double> dosages);

// The same for triplets P(AA) P(AB) P(BB), of which each makes the dosage P(AB) + 2 P(BB); missing are three zeros.
size_t readGappyTriplets(std::string_view line, double na_value, std::span<std::string_view> leading,
                         std::span<double> dosages);
