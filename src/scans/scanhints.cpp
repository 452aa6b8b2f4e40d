#include "scans/scanhints.h"
#include "genotypes/markers.h"
#include "main/datahints.h"
#include "main/nearest.h"
#include "main/repeats.h"
#include "main/settings.h"
#include "scans/phenotype.h"

#include <algorithm>
#include <cmath>

static bool isNameOfIdentifiers(std::string name)
{
    std::ranges::transform(name, name.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
    while (name.starts_with('#'))
        name.erase(0, 1);
    return isOneOf("id ids iid fid eid sample samples sampleid sample_id individual individuals ind name names "
                   "subject person animal mouse strain line pid pheno phenotype trait",
                   name);
}

static constexpr double missingCodes[] = {-9, -99, -999, -9999};
static constexpr size_t manyIndividuals = 10;  // who are not numbered by chance

// By ones: what is no trait, whatever its name.
static bool areConsecutive(const std::vector<double> &values)
{
    const auto isNoStep = [](double x, double y) { return y != x + 1; };
    return values.size() >= manyIndividuals && std::ranges::adjacent_find(values, isNoStep) == values.end();
}

static bool countsUp(const std::vector<double> &values)
{
    return values.size() > 1 && std::ranges::adjacent_find(values, std::greater_equal<double>()) == values.end();
}

// A code that stands alone below 0, among the values of a trait that is never negative.
static void lookForMissingCode(const std::string &place, const std::vector<double> &values)
{
    for (const double code : missingCodes) {
        const auto isOther = [code](double x) { return x < 0 && x != code && x != missingValue; };
        const std::string text = std::to_string(int(code));
        if (std::ranges::count(values, code) > 0 && std::ranges::none_of(values, isOther))
            addDataHint(place, "the value " + text + " counts as a number; missing? give -missing " + text);
    }
}

void lookAtPhenotype(const std::string &name, const std::vector<double> &values)
{
    if (!wantsDataHints())
        return;
    static RepeatedNames names("phenotype",
                               "has a name that was there before, and results tell phenotypes by their names only");
    names.look(name);
    const std::string place = "phenotype " + quoted(name);
    if (name.starts_with("\xef\xbb\xbf"))
        addDataHint(
            "the first phenotype's name begins with a byte order mark, which results show; save the file without");
    if (areConsecutive(values) || (isNameOfIdentifiers(name) && countsUp(values)))
        addDataHint(place, "looks like a header line of numbered individuals; if it is, remove it");
    if (std::ranges::any_of(values, [](double x) { return std::isnan(x); }))
        addDataHint(place, "has values that are nan, which are in no bin and spoil sums; missing? give -missing");
    lookForMissingCode(place, values);
}

// The number of different values, as far as 3.
static size_t countKinds(const std::vector<double> &values)
{
    std::vector<double> kinds;
    for (const double x : values) {
        if (x != missingValue && std::ranges::find(kinds, x) == kinds.end())
            kinds.push_back(x);
        if (kinds.size() == 3)
            break;
    }
    return kinds.size();
}

void lookAtBins(const std::string &name, const std::vector<double> &values, const std::vector<Bin> &bins,
                bool emptyBinsCount)
{
    if (!wantsDataHints())
        return;
    size_t all = 0, largest = 0;
    bool hasEmpty = false;
    for (const Bin &bin : bins) {
        all += bin.individuals.size();
        largest = std::max(largest, bin.individuals.size());
        hasEmpty |= bin.individuals.empty();
    }
    const std::string place = "phenotype " + quoted(name);
    if (countKinds(values) < 3)
        addDataHint(place, "has fewer than three different values, which make no bins; regscan1 takes such a trait");
    else if (hasEmpty && emptyBinsCount)
        addDataHint(place, "a bin holds nobody, and takes part in the fit with a mean of 0; see the group columns");
    else if (all >= 10 && 10 * largest > 9 * all)
        addDataHint(place, "a bin holds nearly all individuals; see the group columns");
}

static bool hasDelimitersInARow(const std::string &name)
{
    bool hasTwo = false;
    readAgain(name, [&](text::LineReader &in) {
        if (std::string_view line; in.nextNonEmpty(line))
            hasTwo = !Delim.empty() && line.find(Delim + Delim) != line.npos;
    });
    return hasTwo;
}

static size_t countLines(const std::string &name)
{
    size_t count = 0;
    readAgain(name, [&](text::LineReader &in) {
        for (std::string_view line; in.nextNonEmpty(line);)
            ++count;
    });
    return count;
}

void explainIndividuals(size_t values, size_t columns, bool hasTriplets)
{
    if (!wantsDataHints())
        return;
    const size_t numbers = columns > leadingColumns ? columns - leadingColumns : 0;
    const size_t individuals = hasTriplets ? numbers / 3 : numbers;
    std::string text = "the phenotype line has " + std::to_string(values) + " values, the genotype file "
                       + std::to_string(individuals) + " individuals";
    const size_t lines = countLines(Phenoname);
    // With a header line or without.
    const auto isOf = [lines](size_t count) { return count > 1 && (lines == count || lines == count + 1); };
    if (individuals == 0)
        text += hasTriplets
                    ? "; -delim parts the fields of the genotype file too"
                    : "; are the fields of the genotype file parted by blanks, and is its first line a marker's?";
    else if (values == 0)
        text += "; only one field: is -delim right?";
    else if (!hasTriplets && numbers == 3 * values)
        text += "; triplets where dosages are read? gentoAD makes dosages, and gwas2 takes -format triplet";
    else if (hasTriplets && numbers == values)
        text += "; dosages where triplets are read?";
    else if (isOf(individuals) || isOf(numbers / 3))
        text += "; individuals in rows? the scans want a phenotype a line";
    else if (!hasTriplets && values == individuals + 2 * (leadingColumns - 1))
        text += "; are -pfile and -gfile exchanged?";
    else if (hasDelimitersInARow(Phenoname))
        text += "; two delimiters in a row hold an empty value";
    else if (values == individuals + 1)
        text += "; a delimiter at the end of the line makes one more";
    addDataHint(text);
}
