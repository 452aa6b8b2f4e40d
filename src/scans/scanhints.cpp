#include "scans/scanhints.h"
#include "genotypes/markers.h"
#include "main/datahints.h"
#include "main/nearest.h"
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
                   "subject person pid pheno phenotype trait",
                   name);
}

static bool countsUp(const std::vector<double> &values)
{
    return values.size() > 1 && std::ranges::adjacent_find(values, std::greater_equal<double>()) == values.end();
}

void lookAtPhenotype(const std::string &name, const std::vector<double> &values)
{
    if (!wantsDataHints())
        return;
    const std::string place = "phenotype " + quoted(name);
    if (isNameOfIdentifiers(name) && countsUp(values))
        addDataHint(place, "looks like a header line of numbered individuals; if it is, remove it");
    if (std::ranges::any_of(values, [](double x) { return std::isnan(x); }))
        addDataHint(place, "has values that are nan, which are in no bin and spoil sums; missing? give -missing");
    const auto isOther = [](double x) { return x < 0 && x != -9 && x != missingValue; };
    if (std::ranges::count(values, -9.0) > 0 && std::ranges::none_of(values, isOther))
        addDataHint(place, "the value -9 counts as a number; missing? give -missing -9");
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

void lookAtBins(const std::string &name, const std::vector<double> &values, const std::vector<Bin> &bins)
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
    else if (hasEmpty)
        addDataHint(place, "a bin holds nobody, and takes part in the fit with a mean of 0; see the group columns");
    else if (all >= 10 && 10 * largest > 9 * all)
        addDataHint(place, "a bin holds nearly all individuals; see the group columns");
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
    if (values == 0)
        text += "; only one field: is -delim right?";
    else if (!hasTriplets && numbers == 3 * values)
        text += "; triplets where dosages are read? gentoAD makes dosages, and gwas2 takes -format triplet";
    else if (hasTriplets && numbers == values)
        text += "; dosages where triplets are read?";
    else if (individuals > 1 && (lines == individuals || lines == individuals + 1))
        text += "; individuals in rows? the scans want a phenotype a line";
    else if (values == individuals + 1)
        text += "; a delimiter at the end of the line makes one more";
    addDataHint(text);
}
