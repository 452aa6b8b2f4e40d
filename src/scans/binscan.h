// What gwas and gwas2 share: everything but the order of the loops over phenotypes and markers.
#pragma once

#include "main/options.h"
#include "scans/bins.h"
#include "scans/decision.h"
#include "text/lines.h"
#include "text/writer.h"

#include <string>
#include <vector>

inline constexpr RealOption binSlopeOption
    = {"-slope", 0.1, "least absolute slope of a hit, dosage per bin or per unit of the phenotype"};
inline constexpr RealOption unusedLimitOption = {"-r2", 0.8, "read, not used", {.use = Use::NotUsed}};

// The bins of the run, and what makes a hit.
struct BinScan {
    BinDefinition bins;
    Decision decision;
};

// The table by the number of bins, testgroups. On purpose it is the next one where there is none for the exact degrees
// of freedom, and there is none at all for more than 11 bins.
TTable binTable();

// Reads the options of a scan over bins, and prints the console lines on them.
BinScan prepareBinScan(const InputOption &genotypeFileOption);

// The start of the scan of a mode: its message, and the four files with the headers of the two results. A file that
// cannot be opened ends the run silently.
struct BinScanFiles {
    BinScanFiles(const char *mode, bool rereadsGenotypes);

    // The end of the scan: completes the results and names the files.
    void finish();

    text::LineReader phenotypes, genotypes;
    text::Writer hits, statistics;
};

// What a phenotype finds over the markers.
struct Summary {
    HitCounts counts;
    double absMaxSlope = 0;
    std::string bestMarker = "NA";
};

// Writes the phenotype's row of statistics and prints what there is to say about it. A phenotype that has no bins for
// want of values has no counts of them.
void reportPhenotype(const std::string &name, int64_t PhenoID, const Summary &summary,
                     const std::vector<size_t> &binCounts, text::Writer &statisticsFile);
