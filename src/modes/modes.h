// The rows of the modes for their index. Each stands at the end of its mode's file.
#pragma once

#include "main/modes.h"

extern const Mode genoToAdMode, adToGenMode, avgAdMode, avgGenMode, genToLettersMode;  // gentoad, adtogen ...
extern const Mode mixFitMode;
extern const Mode gwasMode, gwas2Mode, gwas3Mode, regscan1Mode;
extern const Mode familyMode, relout5Mode, relout6Mode;
extern const Mode levinMode;
extern const Mode readTest1Mode, readTest2Mode, readTest3Mode, readTest4Mode;  // filereadtest
extern const Mode popSelMode;
extern const Mode ldPruneMode, gwamaFilterMode, peakScan3Mode;
