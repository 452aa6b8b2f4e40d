// Options that ADtogen, avgAD, avgGEN and gentoletters share.
#pragma once

#include "main/options.h"

#include <cstdint>
#include <string>

inline constexpr Taking takenAsName = {.buffer = 200, .emptyIsAbsent = true};
inline constexpr Taking takenAsWord = {.buffer = 20, .emptyIsAbsent = true};

inline constexpr InputOption dosageFileOption = {"-file", Use::Required, "dosage file", takenAsName};
inline constexpr InputOption tripletFileOption = {"-file", Use::Required, "genotype-triplet file", takenAsName};
inline constexpr OutputOption outOption = {"-out", "input name", "output file", takenAsName};
inline constexpr IntegerOption firstIndividualOption = {"-beg", 1, "first individual, from 1", takenAsWord};
// On purpose a nine less than in gentoAD.
inline constexpr IntegerOption lastIndividualOption = {"-end", 99999999, "last individual", takenAsWord};
inline constexpr IntegerOption leadingColumnsOption = {"-last-bef-geno", 5, "number of leading columns", takenAsWord};
// Only its length counts.
inline constexpr IntegerOption unusedNameColumnOption = {
    "-rs-loc", std::nullopt, "accepted, not used", {Use::CheckedOnly, takenAsWord.buffer, takenAsWord.emptyIsAbsent}};

// Their values.
struct FormatOptions {
    std::string filename;
    std::string outname;
    int64_t beg;  // 1-based, the first and the last line or individual
    int64_t end;
    int64_t lastbeforegeno;  // leading columns; below 0 on purpose possible
};

// Reads what a mode declares as its files and its range, and the shared options, in the order of their messages.
FormatOptions readFormatOptions(const InputOption &fileOption, const OutputOption &outputOption,
                                const IntegerOption &begOption, const IntegerOption &endOption);
