#include "main/modes.h"
#include "main/console.h"
#include "modes/modes.h"

#include <algorithm>

static const Mode *running = nullptr;  // set by runMode

static void reportUnavailable()
{
    print("%s is not available in this version\n", running->name);
}

using enum Value;

// Words of options in several modes.
static constexpr char yesNo[] = "yes no";
static constexpr char fiveDelimiters[] = "tab space comma semicolon colon";
static constexpr char tenDelimiters[] = "tab space comma semicolon colon slash bslash dash quote squote";

// Options that are the same in several modes.
static constexpr Option outOption = {"-out", OutputFile, "output file (input name + .out)"};
static constexpr Option tripletFile = {"-file", InputFile, "genotype-triplet file (required)"};
static constexpr Option dosageFile = {"-file", InputFile, "dosage file (required)"};
static constexpr Option pairFile = {"-file", InputFile, "pair table (required)"};
static constexpr Option tableFile = {"-file", InputFile, "table (required)"};
static constexpr Option phenotypeFile = {"-pfile", InputFile, "phenotype file (required)"};
static constexpr Option hitFile
    = {"-out", OutputFile, "hit file (phenotype file + .out); statistics go to it + .stats"};
static constexpr Option leadingColumns = {"-last-bef-geno", Integer, "number of leading columns (5)"};
static constexpr Option unusedNameColumn = {"-rs-loc", Integer, "accepted, not used"};
static constexpr Option firstIndividual = {"-beg", Integer, "first individual, from 1 (1)"};
static constexpr Option lastIndividual = {"-end", Integer, "last individual (99999999)"};
static constexpr Option header = {"-header", Word, "yes: the first line is a header (no)", yesNo};
static constexpr Option missing = {"-missing", Text, "phenotype field that means \"no value\" (NA)"};
static constexpr Option wordDelimiter
    = {"-delim", Word, "between the fields; any other word is a tab (tab)", fiveDelimiters};
static constexpr Option anyDelimiter
    = {"-delim", Text, "between the fields: one of the words, or any other text as it stands (tab)", tenDelimiters};
static constexpr Option pairDelimiter
    = {"-delim", Word, "between the fields; slash is a backslash, bslash a slash (tab)", tenDelimiters};
static constexpr Option phenotypeDelimiter
    = {"-delim", Text, "between the fields of the phenotype file: a word, or any other text as it stands (space)",
       fiveDelimiters};
static constexpr Option statistic = {"-statistic", Word, "what decides on a hit (p)", "p t r2"};
static constexpr Option statisticLimit = {"-statlimit", Real, "largest p, least t or least R2 of a hit (0.05)"};
static constexpr Option binSlope
    = {"-slope", Real, "least absolute slope of a hit, dosage per bin or per unit of the phenotype (0.1)"};
static constexpr Option borderMethod = {
    "-method", Word, "bin borders are fractions of: exact, the ranked individuals; quick, the range of values (exact)",
    "exact quick"};
static constexpr Option borderKind = {
    "-bintype", Word, "bin borders are fractions from 0 to 1; absolute is not usable (relative)", "relative absolute"};
static constexpr Option manualBins = {"-manualbins", Text, "bins such as 0:0.25,0.25:0.75,0.75:1"};
static constexpr Option automaticBins = {"-autobins", Integer, "number of bins of equal size (3)"};
static constexpr Option binFile = {"-binfile", InputFile, "file with the lower and the upper border of a bin a line"};
static constexpr Option binPlaces
    = {"-xmethod", Word, "bins stand at 1, 2, 3 ..., or at their mean phenotype (integer)", "integer mean"};
static constexpr Option unusedLimit = {"-r2", Real, "read, not used (0.8)"};

static constexpr Option genoToAdOptions[] = {
    tripletFile,
    outOption,
    {"-beg", Integer, "checked only: every line is converted (1)"},
    {"-end", Integer, "checked only: may not be below -beg (999999999)"},
    leadingColumns,
    {"-rs-loc", Integer, "column of the marker name, from 1 (2)"},
    {"-statistics", Word, "yes: write a summary per marker to the output name + .stats (no)", yesNo},
    {"-to-hard-call", Word, "yes: round the dosages to whole numbers (no)", yesNo},
};
static constexpr Option adToGenOptions[] = {
    dosageFile,
    {"-out", OutputFile, "genotype-triplet file (input name + .out); deviations go to it + .stats"},
    {"-beg", Integer, "first line to be converted, from 1 (1)"},
    {"-end", Integer, "last line to be converted (99999999)"},
    leadingColumns,
    unusedNameColumn,
};
static constexpr Option avgAdOptions[] = {
    dosageFile,
    outOption,
    firstIndividual,
    lastIndividual,
    leadingColumns,
    unusedNameColumn,
    {"-show", Word, "all, or without the deviation, or also without the leading columns (all)",
     "all no-stdev only-values"},
};
static constexpr Option avgGenOptions[] = {
    tripletFile,
    outOption,
    firstIndividual,
    lastIndividual,
    leadingColumns,
    unusedNameColumn,
    {"-show", Word, "all, or without mean dosage and deviation, or also without the leading columns (all)",
     "all no-stdev only-values"},
};
static constexpr Option genToLettersOptions[] = {
    tripletFile,
    outOption,
    firstIndividual,
    lastIndividual,
    leadingColumns,
    unusedNameColumn,
    {"-gen1-loc", Integer, "column of the first letter, from 1 (4)"},
    {"-gen2-loc", Integer, "column of the second letter, from 1 (5)"},
    {"-flip", Word, "yes: letters of the opposite strand (no)", yesNo},
    {"-genodelim", Word, "between the two letters (none)", "none tab space comma semicolon colon"},
};
static constexpr Option mixFitOptions[] = {
    {"-step", Real, "distance between the proportions that are tried, and least relative drop (0.05)"},
    {"-plimit", Real, "least proportion of a hit; 0 turns this off (0)"},
    {"-file", InputFile, "samples (required)"},
    {"-out", OutputFile, "report (sample file + .out)"},
    {"-ref", InputFile, "reference populations (required)"},
    {"-header", Word, "yes: the first line of the samples is a header (no)", "yes YES no"},
    {"-refheader", Word, "yes: the first line of the populations is a header (no)", "yes YES no"},
    {"-missing", Text, "accepted, not used: what is no number counts as 0"},
    {"-delim", Text, "between the fields of both files: a word, or other text of up to 19 bytes (tab)", fiveDelimiters},
    {"-refpops", Integer, "number of populations, and of values of each: 3 or more (required)"},
    {"-combinatorics", Word, "yes: fit every triple of populations too (no)", "yes YES no"},
};
static constexpr Option dosageScanFile = {"-gfile", InputFile, "dosage file (required)"};
static constexpr Option gwasOptions[] = {
    phenotypeFile,      dosageScanFile, borderMethod, borderKind, manualBins,     automaticBins, hitFile,   missing,
    phenotypeDelimiter, binSlope,       unusedLimit,  statistic,  statisticLimit, binFile,       binPlaces,
};
static constexpr Option gwas2Options[] = {
    phenotypeFile,
    {"-gfile", InputFile, "dosage file, or genotype-triplet file with -format triplet (required)"},
    borderMethod,
    borderKind,
    manualBins,
    automaticBins,
    hitFile,
    missing,
    phenotypeDelimiter,
    binSlope,
    unusedLimit,
    statistic,
    statisticLimit,
    binFile,
    binPlaces,
    {"-format", Word, "what -gfile holds: dosages, or genotype triplets (dosage)", "dosage triplet"},
};
static constexpr Option gwas3Options[] = {
    phenotypeFile,
    {"-gfile", InputFile, "genotype-triplet file (required)"},
    hitFile,
    {"-missing", Text, "phenotype field that means \"no value\", as an empty one and -999.999 do (NA)"},
    {"-delim", Word, "between the fields of the phenotype file; any other word is a blank (space)",
     "tab space comma semicolon"},
    {"-slope", Real, "least absolute slope of a hit, units of the phenotype per class (0.1)"},
    statistic,
    statisticLimit,
};
static constexpr Option regscan1Options[] = {
    phenotypeFile,
    {"-gfile", InputFile, "genotype file (required)"},
    borderMethod,
    borderKind,
    manualBins,
    automaticBins,
    hitFile,
    missing,
    phenotypeDelimiter,
    binSlope,
    statistic,
    statisticLimit,
    {"-type", Text, "variant of the analysis"},
    binFile,
    binPlaces,
};
static constexpr Option familyOptions[] = {
    pairFile,
    {"-out", OutputFile, "families (input name + .out); a line of statistics is added to it + .stats"},
    pairDelimiter,
    {"-threshold", Real, "least value that joins two individuals (0.1)"},
    {"-familysize", Integer, "least number of individuals of a reported family, 2 or more (2)"},
    {"-showmatrix", Word, "yes: write the families with their values (no)", yesNo},
    {"-header", Word, "yes: the first line is no pair (no)", "yes Yes no"},
};
static constexpr Option levinOptions[] = {
    tableFile,
    outOption,
    wordDelimiter,
    {"-header", Word, "yes: the first line is a header (no)", "yes Yes no"},
    {"-columns", Text, "the two columns, from 1 (1,2)"},
};
static constexpr Option weightFile = {"-pfile", InputFile, "weight table: identifier and weight (none)"};
static constexpr Option weightDefault = {
    "-pdefault", Word, "weight of individuals that the weight table does not list: 0 or the mean (zero)", "zero mean"};
static constexpr Option removedList = {"-out", OutputFile, "list of removed individuals (input name + .out)"};
static constexpr Option tieRule
    = {"-mode", Integer,
       "of those in the most pairs remove 0 the first, 1 that of the largest sum, 2 of the least weight (1)", "0 1 2"};
static constexpr Option pairHeader = {"-header", Word, "yes: the first line of the pair table is no pair (no)", yesNo};
static constexpr Option relout5Options[] = {
    pairFile,
    weightFile,
    weightDefault,
    removedList,
    {"-limit", Real, "least value of a pair that is kept, 0 or more (1)"},
    pairDelimiter,
    tieRule,
    pairHeader,
    {"-pidsize", Integer, "go on while at least so many individuals are left in pairs, 1 or more (1)"},
};
static constexpr Option relout6Options[] = {
    pairFile,      weightFile, weightDefault, removedList, {"-limit", Real, "least value of a pair that is kept (1)"},
    pairDelimiter, tieRule,    pairHeader,
};
static constexpr Option popSelOptions[] = {
    {"-file1", InputFile, "first data set"},
    {"-file2", InputFile, "second data set"},
    {"-out", OutputFile, "matched individuals"},
    {"-delim", Text, "between the fields", fiveDelimiters},
    {"-header1", Text, "header of the first data set", yesNo},
    {"-header2", Text, "header of the second data set", yesNo},
    {"-headers", Text, "headers of both", yesNo},
    {"-missing", Text, "field that means \"no value\""},
    {"-exact-rounds", Text, "rounds of the exact search"},
    {"-exact-individuals", Text, "individuals of the exact search"},
    {"-exact-order", Text, "order of the exact search"},
    {"-group-match", Text, "matching of groups"},
    {"-hitnumber", Text, "number of hits"},
};
static constexpr Option bgenOptions[] = {
    {"-file", InputFile, "accepted, not used"},
    {"-out", OutputFile, "accepted, not used"},
    {"-delim", Text, "accepted, not used"},
    {"-log", Text, "accepted, not used"},
};
static constexpr Option ldPruneOptions[] = {
    {"-file", InputFile, "table of one chromosome, sorted by position (required)"},
    {"-map", InputFile, "genetic map, sorted by position (required)"},
    {"-out", OutputFile, "kept lines (input name + .out); dropped ones go to it + .removed"},
    wordDelimiter,
    {"-log", Text, "accepted, not used"},
    {"-threshold", Real, "distance in centimorgans below which neighbours are pruned (0: none)"},
    {"-pcolumn", Integer, "column of the p-value, from 1 (required)"},
    {"-poscolumn", Integer, "column of the position, from 1 (required)"},
    {"-dataheader", Word, "yes: pass over the first line (no)", yesNo},
};
static constexpr Option gwamaFilterOptions[] = {
    tableFile,    {"-out", OutputFile, "kept lines (input name + .out)"},
    anyDelimiter, {"-column", Integer, "column of the directions, from 1 (required)"},
    header,
};
static constexpr Option peakScan3Options[] = {
    {"-file", InputFile, "table grouped by chromosome, sorted by position (required)"},
    {"-out", OutputFile, "a row per marker (input name + .out); ranges go to it + .ranges"},
    anyDelimiter,
    {"-lcolumn", Integer, "column of the position, from 1 (required)"},
    {"-pcolumn", Integer, "column of the p-value, from 1 (required)"},
    {"-chrcolumn", Integer, "column of the chromosome label, from 1 (required)"},
    header,
    {"-dots", Integer, "checked only: at least 1"},
    {"-gap", Real, "checked only: at least 1"},
    {"-window", Integer, "checked only: at least 2"},
    {"-frame", Real, "checked only: at least 1"},
    {"-threshold", Real, "checked only: at least 0"},
    {"-peak-threshold", Real, "checked only: at least 0"},
    {"-id1", Integer, "checked only: reported where it is 0"},
    {"-id2", Integer, "checked only: reported where it is 0"},
    {"-id3", Integer, "checked only: reported where it is 0"},
    {"-clip", Word, "changes a message only (yes)", yesNo},
    {"-clip2", Real, "changes a message only"},
};

static constexpr Mode modes[] = {
    {"gentoAD", genoToAd, genoToAdOptions, "Turns genotype probabilities into dosages or hard calls"},
    {"gentoad", genoToAd, genoToAdOptions},
    {"ADtogen", adToGen, adToGenOptions, "Turns dosages back into genotype triplets, and tells their deviations"},
    {"adtogen", adToGen, adToGenOptions},
    {"avgAD", avgAd, avgAdOptions, "Writes the mean dosage of every marker, and its standard deviation"},
    {"avgad", avgAd, avgAdOptions},
    {"avgGEN", avgGen, avgGenOptions, "Writes the mean genotype probabilities and dosage of every marker"},
    {"avggen", avgGen, avgGenOptions},
    {"gentoletters", genToLetters, genToLettersOptions, "Writes the most probable genotypes in letters"},
    // On purpose: runs on its defaults.
    {"gentoLETTERS", genToLetters, {}, "Is gentoletters without options, and so ends for want of an input"},
    {"mixfit", mixFit, mixFitOptions, "Explains samples as mixtures of up to three reference populations"},
    {"mf", mixFit, mixFitOptions},
    {"gwas", gwas, gwasOptions, "Scans every phenotype against every marker, over phenotype bins"},
    {"GWAS", gwas, gwasOptions},
    {"gwas2", gwas2, gwas2Options, "Scans as gwas does, all phenotypes in one pass over the genotypes"},
    {"GWAS2", gwas2, gwas2Options},
    {"gwas3", gwas3, gwas3Options, "Scans over genotype classes, all phenotypes in one pass over the genotypes"},
    {"GWAS3", gwas3, gwas3Options},
    {"regscan1", reportUnavailable, regscan1Options, "Scans phenotypes by regression"},
    // On purpose: collects, then nothing runs.
    {"REGSCAN1", nullptr, regscan1Options, "Runs nothing, whatever its options; regscan1 is the scan"},
    {"family", family, familyOptions, "Finds families among pairs of relatives"},
    {"fam", family, familyOptions},
    {"levin", levin, levinOptions, "Correlates a column with every circular shift of another"},
    {"read1", readTest1, {}, "Times reading FULLSET_750_165000.impute: words"},
    {"read2", readTest2, {}, "Times reading FULLSET_750_165000.impute: lines of a text stream, split"},
    {"read3", readTest3, {}, "Times reading FULLSET_750_165000.impute: lines, taken apart byte by byte"},
    {"read4", readTest4, {}, "Times reading FULLSET_750_165000.impute: blocks, taken apart byte by byte"},
    {"relout5", relout5, relout5Options, "Removes related individuals one by one, the one in most pairs first"},
    {"RELOUT5", relout5, relout5Options},
    {"relout6", relout6, relout6Options, "Removes related individuals as relout5 does, by marking"},
    {"RELOUT6", relout6, relout6Options},
    {"popsel", reportUnavailable, popSelOptions, "Matches individuals between two data sets"},
    {"bgen", nullptr, bgenOptions, "Runs nothing, whatever its options"},  // on purpose: collects only
    {"ldprune", ldPrune, ldPruneOptions, "Thins association results by genetic distance"},
    {"gwamafilter", gwamaFilter, gwamaFilterOptions, "Filters meta-analysis results by the directions of effect"},
    {"peakscan3", peakScan3, peakScan3Options, "Finds association peaks along the chromosomes"},
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

const Option *findOption(const Mode &mode, std::string_view name)
{
    const auto option = std::ranges::find(mode.options, name, &Option::name);
    return option == mode.options.end() ? nullptr : &*option;
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
