// A line of the phenotype file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The value of a missing phenotype.
inline constexpr double missingValue = -999.999;

bool isMissingField(std::string_view field);        // empty, or the text of a missing value
double readPhenotypeValue(std::string_view field);  // missingValue for a missing field

struct Phenotype {
    std::string name;
    std::vector<double> values;  // [individual], missingValue where missing
    std::vector<double> p2List;  // those that are not missing, in their order
};

// Reads a phenotype's line. False where there is not one value per individual; further ones may only be missing.
bool readPhenotype(std::string_view line, size_t individuals, Phenotype &phenotype);
[[noreturn]] void refusePhenotype();
