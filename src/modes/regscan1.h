// For the tests: the regression scan with less memory than it would take.
#pragma once

#include <cstddef>

struct RegressionMemory {
    size_t tableBytes;  // of the phenotypes of one pass over the genotypes
    size_t hitBytes;    // of the hits in memory
};

void regscan1Within(const RegressionMemory &memory);
