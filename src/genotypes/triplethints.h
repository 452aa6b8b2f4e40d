// Hints about genotype triplets, told to main/datahints.h at the end of the run.
#pragma once

#include <cstdint>
#include <string_view>

// Looks in a marker's line for triplets of three zeros, with nan, or with another sum than 1. Only where hints are
// wanted; of a long file at every 256th marker behind the first two megabytes.
void lookAtTriplets(std::string_view line, int64_t leadingColumns);
