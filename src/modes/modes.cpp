// The index of the modes: one row each, and what is irregular about their spellings.
#include "modes/modes.h"

// On purpose: runs on its defaults.
static const Mode bareLettersMode = {{"gentoLETTERS"},
                                     genToLettersMode.run,
                                     {},
                                     "Is gentoletters without options, and so ends for want of an input",
                                     &genToLettersMode};

// On purpose: collects, then nothing runs.
static const Mode idleRegscan1Mode
    = {{"REGSCAN1"}, nullptr, regscan1Mode.options, "Runs nothing, whatever its options; regscan1 is the scan"};

static constexpr Taking notUsed = {.use = Use::NotUsed};
static constexpr InputOption bgenFile = {"-file", Use::NotUsed, "accepted, not used"};
static constexpr OutputOption bgenOut = {"-out", "", "accepted, not used", notUsed};
static constexpr TextOption bgenDelimiter = {"-delim", "", "accepted, not used", "", notUsed};
static constexpr TextOption bgenLog = {"-log", "", "accepted, not used", "", notUsed};
static constexpr const Option *bgenOptions[] = {&bgenFile, &bgenOut, &bgenDelimiter, &bgenLog};

// On purpose: collects only.
static constexpr Mode bgenMode = {{"bgen"}, nullptr, bgenOptions, "Runs nothing, whatever its options"};

std::span<const Mode *const> allModes()
{
    static constexpr const Mode *index[] = {
        &genoToAdMode,    &adToGenMode,      &avgAdMode,     &avgGenMode,      &genToLettersMode,
        &bareLettersMode, &mixFitMode,       &gwasMode,      &gwas2Mode,       &gwas3Mode,
        &regscan1Mode,    &idleRegscan1Mode, &familyMode,    &levinMode,       &readTest1Mode,
        &readTest2Mode,   &readTest3Mode,    &readTest4Mode, &relout5Mode,     &relout6Mode,
        &popSelMode,      &bgenMode,         &ldPruneMode,   &gwamaFilterMode, &peakScan3Mode,
    };
    return index;
}
