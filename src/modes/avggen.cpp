// Average genotype probabilities per marker: a line of leading columns and triplets P(AA) P(AB) P(BB) becomes
// the leading columns, the three mean probabilities of the chosen individuals, their mean dosage P(AB) + 2
// P(BB) and its standard deviation.
#include "genotypes/deviation.h"
#include "genotypes/ranges.h"
#include "genotypes/rows.h"
#include "main/console.h"
#include "modes/modes.h"

#include <cmath>
#include <vector>

static constexpr WordOption showOption
    = {"-show", "all", "all no-stdev only-values",
       "all, or without mean dosage and deviation, or also without the leading columns", takenAsWord};
static constexpr const Option *options[]
    = {&tripletFileOption,      &outOption, &firstIndividualOption, &lastIndividualOption, &leadingColumnsOption,
       &unusedNameColumnOption, &showOption};

static FormatOptions chosen;        // beg and end count individuals
static int show;                    // 0 all, 1 without dosage and deviation, 2 without the leading columns too
static FieldRange range;            // of the triplets
static std::vector<double> Values;  // dosages of the line, for the deviation

static void readOptions()
{
    chosen = readFormatOptions(tripletFileOption, outOption, firstIndividualOption, lastIndividualOption);
    show = showOption.read();
    range = chosenFields(chosen, 3);
}

// Reads further triplets and their dosages; returns how many. A triplet that is not complete is none.
static size_t readTriplets(FieldNumbers &numbers, double *values, double *dosages)
{
    const size_t triplets = numbers.next() / 3;
    numbers.formValues(3 * triplets, values);
    for (size_t i = 0; i < triplets; ++i)
        dosages[i] = 2 * values[3 * i + 2] + values[3 * i + 1];
    return triplets;
}

// The sum of the squared differences from the mean, over all dosages of the line.
static double sumSquares(std::string_view line, double mean)
{
    if (line.size() <= keptLineSize)
        return addSquares(0.0, Values.data(), Values.size(), mean);
    double sum = 0;
    double values[FieldNumbers::batchSize], dosages[FieldNumbers::batchSize / 3];
    FieldNumbers numbers = numbersIn(line, range);
    while (const size_t triplets = readTriplets(numbers, values, dosages))
        sum = addSquares(sum, dosages, triplets, mean);
    return sum;
}

static void averageTriplets(std::string_view line, text::Writer &out)
{
    const bool keepsValues = show == 0 && line.size() <= keptLineSize;
    Values.clear();
    double cum1 = 0, cum2 = 0, cum3 = 0, cumvalue = 0;
    double count = 0;
    double values[FieldNumbers::batchSize], dosages[FieldNumbers::batchSize / 3];
    FieldNumbers numbers = numbersIn(line, range);
    while (const size_t triplets = readTriplets(numbers, values, dosages)) {
        for (size_t i = 0; i < triplets; ++i) {
            cum1 += values[3 * i];
            cum2 += values[3 * i + 1];
            cum3 += values[3 * i + 2];
            cumvalue += dosages[i];
        }
        count += double(triplets);
        if (keepsValues)
            Values.insert(Values.end(), dosages, dosages + triplets);
    }
    if (count < 1)
        fatal("Counter < 1\n");
    out.put(cum1 / count);
    out.put(' ');
    out.put(cum2 / count);
    out.put(' ');
    out.put(cum3 / count);
    if (show == 0) {
        const double mean = cumvalue / count;
        out.put(' ');
        out.put(mean);
        out.put(' ');
        out.put(std::sqrt(sumSquares(line, mean) / count));
    }
}

static void avgGen()
{
    readOptions();
    print("running avgGen()\n\n");
    convertRows(chosen, show < 2, {MarkerLook::Content::Triplets, false, "0"}, averageTriplets);
}

constinit const Mode avgGenMode
    = {{"avgGEN", "avggen"}, avgGen, options, "Writes the mean genotype probabilities and dosage of every marker"};
