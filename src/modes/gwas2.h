// For the tests: the scan of gwas2 with less memory than it would take.
#pragma once

#include <cstddef>

struct ScanMemory {
    size_t tableBytes;  // of the phenotypes of one pass over the genotypes
    size_t hitBytes;    // of the hits in memory
};

void gwas2Within(const ScanMemory &memory);
