// The options that several scans share.
#pragma once

#include "main/options.h"

inline constexpr InputOption phenotypeFileOption = {"-pfile", Use::Required, "phenotype file"};
inline constexpr OutputOption hitFileOption = {"-out", "phenotype file", "hit file; statistics go to it + .stats"};
inline constexpr TextOption missingOption
    = {"-missing", "NA", "phenotype field that means \"no value\", as an empty one does"};
inline constexpr DelimiterOption phenotypeDelimiterOption
    = {"-delim", "space", fiveDelimiters, asItStands,
       "between the fields of the phenotype file: a word, or any other text as it stands"};
inline constexpr WordOption statisticOption = {"-statistic", "p", "r2 t p", "what decides on a hit"};
inline constexpr RealOption statisticLimitOption = {"-statlimit", 0.05, "largest p, least t or least R2 of a hit"};

// The bins.
inline constexpr WordOption methodOption
    = {"-method", "exact", "quick exact",
       "bin borders are fractions of: exact, the ranked individuals; quick, the range of values"};
inline constexpr WordOption binTypeOption
    = {"-bintype", "relative", "absolute relative", "bin borders are fractions from 0 to 1; absolute is not usable"};
inline constexpr IntegerOption automaticBinsOption = {"-autobins", 3, "number of bins of equal size"};
inline constexpr InputOption binFileOption
    = {"-binfile", Use::Optional, "file with the lower and the upper border of a bin a line"};
inline constexpr TextOption manualBinsOption = {"-manualbins", "", "bins such as 0:0.25,0.25:0.75,0.75:1"};
inline constexpr WordOption binPlacesOption
    = {"-xmethod", "integer", "integer mean", "bins stand at 1, 2, 3 ..., or at their mean phenotype"};

// Reads the names of the files, "-missing", the least slope and the limit and kind of the statistic into the settings.
// Ends the run where one of the two inputs is not named.
void readScanOptions(const InputOption &genotypeFileOption, const RealOption &slopeOption);

// To be called right before the first file is opened; `binFile` may be empty.
void refuseSameScanFiles(const std::string &binFile);
