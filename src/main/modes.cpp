#include "main/modes.h"
#include "main/console.h"
#include "modes/modes.h"

#include <algorithm>

static const Mode *running = nullptr;  // set by runMode

static void reportUnavailable()
{
    print("%s is not available in this version\n", running->name);
}

static constexpr const char *genoToAdOptions[]
    = {"-file", "-out", "-beg", "-end", "-last-bef-geno", "-rs-loc", "-statistics", "-to-hard-call"};
static constexpr const char *adToGenOptions[] = {"-file", "-out", "-beg", "-end", "-last-bef-geno", "-rs-loc"};
static constexpr const char *averageOptions[]
    = {"-file", "-out", "-beg", "-end", "-last-bef-geno", "-rs-loc", "-show"};
static constexpr const char *genToLettersOptions[] = {
    "-file", "-out", "-beg", "-end", "-last-bef-geno", "-rs-loc", "-gen1-loc", "-gen2-loc", "-flip", "-genodelim"};
static constexpr const char *mixFitOptions[]
    = {"-step",   "-plimit",    "-file",    "-out",   "-ref",     "-header",
       "-refheader", "-missing", "-delim", "-refpops", "-combinatorics"};
static constexpr const char *gwasOptions[]
    = {"-pfile", "-gfile",   "-method", "-bintype", "-manualbins", "-autobins",  "-out",    "-missing",
       "-delim", "-slope", "-r2",     "-statistic", "-statlimit", "-binfile", "-xmethod"};
static constexpr const char *gwas2Options[]
    = {"-pfile", "-gfile",   "-method", "-bintype", "-manualbins", "-autobins",  "-out",    "-missing",
       "-delim", "-slope", "-r2",     "-statistic", "-statlimit", "-binfile", "-xmethod", "-format"};
static constexpr const char *gwas3Options[]
    = {"-pfile", "-gfile", "-out", "-missing", "-delim", "-slope", "-statistic", "-statlimit"};
static constexpr const char *regscan1Options[]
    = {"-pfile", "-gfile",   "-method", "-bintype",  "-manualbins", "-autobins", "-out",    "-missing",
       "-delim", "-slope", "-statistic", "-statlimit", "-type",   "-binfile",  "-xmethod"};
static constexpr const char *familyOptions[]
    = {"-file", "-out", "-delim", "-threshold", "-familysize", "-showmatrix", "-header"};
static constexpr const char *levinOptions[] = {"-file", "-out", "-delim", "-header", "-columns"};
static constexpr const char *relout5Options[]
    = {"-file", "-pfile", "-pdefault", "-out", "-limit", "-delim", "-mode", "-header", "-pidsize"};
static constexpr const char *relout6Options[]
    = {"-file", "-pfile", "-pdefault", "-out", "-limit", "-delim", "-mode", "-header"};
static constexpr const char *popSelOptions[]
    = {"-file1", "-file2", "-out", "-delim", "-header1", "-header2", "-headers",
       "-missing", "-exact-rounds", "-exact-individuals", "-exact-order", "-group-match", "-hitnumber"};
static constexpr const char *bgenOptions[] = {"-file", "-out", "-delim", "-log"};
static constexpr const char *ldPruneOptions[]
    = {"-file", "-map", "-out", "-delim", "-log", "-threshold", "-pcolumn", "-poscolumn", "-dataheader"};
static constexpr const char *gwamaFilterOptions[] = {"-file", "-out", "-delim", "-column", "-header"};
static constexpr const char *peakScan3Options[]
    = {"-file",      "-out",            "-delim", "-lcolumn", "-pcolumn", "-chrcolumn", "-header", "-dots", "-gap",
       "-window", "-frame", "-threshold", "-peak-threshold", "-id1", "-id2",     "-id3",     "-clip",      "-clip2"};

static constexpr Mode modes[] = {
    {"gentoAD", genoToAd, genoToAdOptions},
    {"gentoad", genoToAd, genoToAdOptions},
    {"ADtogen", adToGen, adToGenOptions},
    {"adtogen", adToGen, adToGenOptions},
    {"avgAD", avgAd, averageOptions},
    {"avgad", avgAd, averageOptions},
    {"avgGEN", avgGen, averageOptions},
    {"avggen", avgGen, averageOptions},
    {"gentoletters", genToLetters, genToLettersOptions},
    {"gentoLETTERS", genToLetters, {}},  // on purpose: runs on its defaults
    {"mixfit", mixFit, mixFitOptions},
    {"mf", mixFit, mixFitOptions},
    {"gwas", gwas, gwasOptions},
    {"GWAS", gwas, gwasOptions},
    {"gwas2", gwas2, gwas2Options},
    {"GWAS2", gwas2, gwas2Options},
    {"gwas3", gwas3, gwas3Options},
    {"GWAS3", gwas3, gwas3Options},
    {"regscan1", reportUnavailable, regscan1Options},
    {"REGSCAN1", nullptr, regscan1Options},  // on purpose: collects, then nothing runs
    {"family", family, familyOptions},
    {"fam", family, familyOptions},
    {"levin", levin, levinOptions},
    {"read1", readTest1, {}},
    {"read2", readTest2, {}},
    {"read3", readTest3, {}},
    {"read4", readTest4, {}},
    {"relout5", relout5, relout5Options},
    {"RELOUT5", relout5, relout5Options},
    {"relout6", relout6, relout6Options},
    {"RELOUT6", relout6, relout6Options},
    {"popsel", reportUnavailable, popSelOptions},
    {"bgen", nullptr, bgenOptions},  // on purpose: collects, then nothing runs
    {"ldprune", ldPrune, ldPruneOptions},
    {"gwamafilter", gwamaFilter, gwamaFilterOptions},
    {"peakscan3", peakScan3, peakScan3Options},
};

std::span<const Mode> allModes()
{
    return modes;
}

const Mode *findMode(std::string_view name)
{
    const auto mode = std::ranges::find(modes, name, &Mode::name);
    return mode == std::end(modes) ? nullptr : mode;
}

bool isUnavailable(const Mode &mode)
{
    return mode.run == reportUnavailable;
}

void runMode(const Mode &mode)
{
    running = &mode;
    if (mode.run)
        mode.run();
}
