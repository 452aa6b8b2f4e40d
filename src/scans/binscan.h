// What gwas and gwas2 share: everything but the order of the loops over phenotypes and markers.
#pragma once

#include "scans/scan.h"
#include "text/lines.h"

#include <vector>

inline constexpr size_t leadingColumns = 5;
inline constexpr size_t wrongColumns = size_t(-1);

// The options of a scan over bins, the console lines on them, and the t table for this number of bins.
void prepareBinScan();

// The start of the scan of a mode: its message, and the four files with the headers of the two results. A file that
// cannot be opened ends the run silently.
struct BinScanFiles {
    BinScanFiles(const char *mode, bool rereadsGenotypes);

    text::LineReader phenotypes, genotypes;
    text::Writer hits, statistics;
};

// The end of the scan: tells the files and clears the t table.
void finishBinScan();

size_t countWords(std::string_view line);

struct Phenotype {
    std::string name;
    std::vector<double> values;  // [individual], missingValue where missing
};

// Reads a phenotype's line, the values that are not missing into p2List as well. False where there is not one value
// per individual; further ones may only be missing.
bool readPhenotype(std::string_view line, size_t individuals, Phenotype &phenotype);
[[noreturn]] void refusePhenotype();

// The individuals of a bin in their order, and their mean phenotype; 0 where there are none.
struct Bin {
    std::vector<size_t> individuals;
    double meanPhenotype = 0;
};

// Puts the individuals into every bin whose borders hold their value: bins may overlap.
std::vector<Bin> fillBins(const std::vector<double> &values);

// The x of every bin in the regression.
std::vector<double> binPositions(const std::vector<Bin> &bins);

// Reads a marker's line: its name, the second word, and its dosages. Returns the number of words, or wrongColumns
// as soon as there are more than leadingColumns and the dosages.
size_t readMarker(std::string_view line, std::string_view &marker, std::span<double> dosages);
[[noreturn]] void refuseMarker();

// What a phenotype finds over the markers.
struct Summary {
    HitCounts counts;
    double absMaxSlope = 0;
    std::string bestMarker = "NA";
};

// Writes the phenotype's row of statistics and prints what there is to say about it. A phenotype without values has
// no bins.
void reportPhenotype(const std::string &name, int64_t PhenoID, const Summary &summary,
                     const std::vector<size_t> &binCounts, text::Writer &statisticsFile);
