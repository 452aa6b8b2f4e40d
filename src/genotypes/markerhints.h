// Hints about the lines of genotype and dosage files, told to main/datahints.h at the end of the run.
#pragma once

#include <cstdint>
#include <string_view>

// How a mode reads such lines.
struct MarkerLook {
    enum class Content { Dosages, Triplets } content;
    bool areWords;             // parted by any white space, not by single blanks
    const char *zerosCountAs;  // what three zeros are; null where they and nan are known to be missing
    int64_t leadingColumns = 0;
    int64_t nameColumn = 0;  // from 1: of the names by which results tell markers apart; 0: they do not
};

// Looks in a marker's line for what may be missing or not meant, and at its name for one that was there before. Does
// nothing where no hints are wanted; of a long file the values of every 256th marker behind the first half a megabyte
// are looked at. The hints are of the first reading of a file.
void lookAtMarker(std::string_view line, const MarkerLook &look);
