// Average dosage per marker: a line of leading columns and one dosage per individual becomes the leading
// columns, the mean dosage of the chosen individuals and its standard deviation.
#include "genotypes/deviation.h"
#include "genotypes/ranges.h"
#include "genotypes/rows.h"
#include "main/console.h"
#include "modes/modes.h"

#include <cmath>
#include <vector>

static constexpr WordOption showOption
    = {"-show", "all", "all no-stdev only-values", "all, or without the deviation, or also without the leading columns",
       takenAsWord};
static constexpr const Option *options[]
    = {&dosageFileOption,       &outOption, &firstIndividualOption, &lastIndividualOption, &leadingColumnsOption,
       &unusedNameColumnOption, &showOption};

static FormatOptions chosen;        // beg and end count individuals
static int show;                    // 0 all, 1 without the deviation, 2 without the leading columns too
static FieldRange range;            // of the dosages
static std::vector<double> Values;  // dosages of the line, for the deviation

static void readOptions()
{
    chosen = readFormatOptions(dosageFileOption, outOption, firstIndividualOption, lastIndividualOption);
    show = showOption.read();
    range = chosenFields(chosen, 1);
}

// The sum of the squared differences from the mean, over all dosages of the line.
static double sumSquares(std::string_view line, double mean)
{
    if (line.size() <= keptLineSize)
        return addSquares(0.0, Values.data(), Values.size(), mean);
    double sum = 0, values[FieldNumbers::batchSize];
    FieldNumbers dosages = numbersIn(line, range);
    while (const size_t fields = dosages.next()) {
        dosages.formValues(fields, values);
        sum = addSquares(sum, values, fields, mean);
    }
    return sum;
}

static void averageDosages(std::string_view line, text::Writer &out)
{
    const bool keepsValues = show == 0 && line.size() <= keptLineSize;
    Values.clear();
    double cumvalue = 0;
    double count = 0, values[FieldNumbers::batchSize];
    FieldNumbers dosages = numbersIn(line, range);
    while (const size_t fields = dosages.next()) {
        dosages.formValues(fields, values);
        for (size_t i = 0; i < fields; ++i)
            cumvalue += values[i];
        count += double(fields);
        if (keepsValues)
            Values.insert(Values.end(), values, values + fields);
    }
    const double avgvalue = cumvalue / count;  // of no dosages: not a number
    out.put(avgvalue);
    if (show == 0) {
        out.put(' ');
        out.put(std::sqrt(sumSquares(line, avgvalue) / count));
    }
}

static void avgAd()
{
    readOptions();
    print("running avgAd()\n\n");
    convertRows(chosen, show < 2, {MarkerLook::Content::Dosages, false, "0"}, averageDosages);
}

constinit const Mode avgAdMode
    = {{"avgAD", "avgad"}, avgAd, options, "Writes the mean dosage of every marker, and its standard deviation"};
