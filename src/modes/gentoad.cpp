// Genotype probabilities to dosages: a line of leading columns and triplets P(AA) P(AB) P(BB) becomes the leading
// columns and one dosage P(AB) + 2 P(BB) per individual, or its hard call; on request with a summary row per
// marker.
#include "genotypes/columns.h"
#include "genotypes/deviation.h"
#include "genotypes/dosages.h"
#include "genotypes/markerhints.h"
#include "main/console.h"
#include "main/datahints.h"
#include "main/progress.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "text/lines.h"
#include "text/writer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

static constexpr InputOption fileOption = {"-file", Use::Required, "genotype-triplet file"};
static constexpr OutputOption outOption = {"-out", "input name", "output file"};
static constexpr IntegerOption begOption = {"-beg", 1, "checked only: every line is converted", {Use::CheckedOnly}};
static constexpr IntegerOption endOption
    = {"-end", 999999999, "checked only: may not be below -beg", {Use::CheckedOnly}};
static constexpr IntegerOption leadingColumnsOption = {"-last-bef-geno", 5, "number of leading columns"};
static constexpr IntegerOption nameColumnOption = {"-rs-loc", 2, "column of the marker name, from 1"};
static constexpr SwitchOption statisticsOption
    = {"-statistics", "yes: write a summary per marker to the output name + .stats"};
static constexpr SwitchOption hardCallOption = {"-to-hard-call", "yes: round the dosages to whole numbers"};
static constexpr const Option *options[]
    = {&fileOption,           &outOption,        &begOption,        &endOption,
       &leadingColumnsOption, &nameColumnOption, &statisticsOption, &hardCallOption};

static std::string filename;
static std::string outname;
static std::string sumname;
static int64_t lastbeforegeno;  // leading columns
static int64_t rsnumber;        // 1-based column of the marker name
static bool statistics;
static bool hardCalls;

static void readOptions()
{
    const auto file = fileOption.given();
    if (!file)
        fatal("You need to specify '-pfile'.\n\n");  // on purpose: not '-file'
    filename = *file;
    outname = outOption.read(filename);
    sumname = outname + ".stats";
    // On purpose: the range is checked, but every line is converted.
    const int beg = std::max(begOption.read(), 1);
    const int end = endOption.read();
    if (beg > end)
        fatal("Invalid range selected: beg > end\n");
    lastbeforegeno = std::max(leadingColumnsOption.read(), 0);
    rsnumber = nameColumnOption.read();
    if (rsnumber < 1)
        fatal("Invalid rs number location selected\n");
    statistics = statisticsOption.isOn();
    hardCalls = hardCallOption.isOn();
    if (!statistics && nameColumnOption.given())
        addDataHint("\"-rs-loc\" changes nothing without \"-statistics yes\"");
}

namespace {
// What the summary tells of a line's dosages. Sums in single precision, in their order.
class DosageSummary : public DosageSink {
public:
    // A long line's dosages are not kept, and so are formed a second time.
    void start(bool keepsValues)
    {
        m_keepsValues = keepsValues;
        m_values.clear();
        m_figures = {};
    }

    void add(const float *values, size_t count) override
    {
        if (m_keepsValues)
            m_values.insert(m_values.end(), values, values + count);
        else
            m_figures.add(values, count);
    }

    // Writes the row; returns the number of dosages outside 0 to 2.
    int64_t write(std::string_view marker, std::string_view genotypes, text::Writer &out);

private:
    struct Figures {
        float sumad = 0;
        float max = -9.9f, min = 9.9f;
        int64_t dose0 = 0, doseM = 0, dose1 = 0;
        int64_t count = 0;

        void add(const float *values, size_t valueCount);
    };

    bool m_keepsValues = true;
    std::vector<float> m_values;
    Figures m_figures;
};
}  // namespace

MORVEL_WIDE void DosageSummary::Figures::add(const float *values, size_t valueCount)
{
    float sum = sumad, largest = max, smallest = min;
    for (size_t i = 0; i < valueCount; ++i) {
        const float ad = values[i];
        sum += ad;
        largest = ad > largest ? ad : largest;
        smallest = ad < smallest ? ad : smallest;
    }
    sumad = sum;
    max = largest;
    min = smallest;
    // In a loop of its own, and without a branch, which the compiler turns into wide instructions.
    int64_t zeros = 0, twos = 0, others = 0;
    for (size_t i = 0; i < valueCount; ++i) {
        const float ad = values[i];
        zeros += ad == 0;
        twos += ad == 2;
        others += (ad > 0) & (ad < 2);
    }
    dose0 += zeros;
    dose1 += twos;
    doseM += others;
    count += int64_t(valueCount);
}

// The sum of the squared differences from the mean, over dosages that were kept.
MORVEL_WIDE static float sumKeptSquares(const std::vector<float> &values, float mean)
{
    return addSquares(0.0f, values.data(), values.size(), mean);
}

// Over dosages that were not kept, and are read again.
static float sumReadSquares(std::string_view genotypes, float mean)
{
    const auto form = hardCalls ? formDosages<true> : formDosages<false>;
    FieldNumbers numbers(genotypes);
    float sum = 0, values[FieldNumbers::batchSize / 3];
    while (const size_t triplets = numbers.next() / 3) {
        form(numbers, triplets, values);
        sum = addSquares(sum, values, triplets, mean);
    }
    return sum;
}

int64_t DosageSummary::write(std::string_view marker, std::string_view genotypes, text::Writer &out)
{
    if (m_keepsValues)
        m_figures.add(m_values.data(), m_values.size());
    const auto &[sumad, max, min, dose0, doseM, dose1, count] = m_figures;
    const int64_t dosePROBLEM = count - dose0 - dose1 - doseM;

    const float tripletcount = float(count);
    const float mean = sumad / tripletcount;
    const float cumul_value1 = m_keepsValues ? sumKeptSquares(m_values, mean) : sumReadSquares(genotypes, mean);
    const float standarddev = std::sqrt(cumul_value1 / tripletcount);

    out.put(marker);
    for (const float value : {mean, standarddev, standarddev / mean, min, max}) {
        out.put('\t');
        out.put(double(value));
    }
    for (const int64_t each : {dose0, doseM, dose1, dosePROBLEM}) {
        out.put('\t');
        out.put(each);
    }
    out.put('\n');
    return dosePROBLEM;
}

// Converts all lines; returns the number of dosages outside 0 to 2, as far as the summary counts them.
static int64_t convertLines(text::LineReader &in, text::Writer &out, text::Writer &summary)
{
    const TripletConverter convertTriplets = tripletConverter(hardCalls, statistics);
    int64_t SUMdosePROBLEM = 0;
    DosageSummary dosageSummary;
    const MarkerLook look
        = {MarkerLook::Content::Triplets, false, "dosage 0", lastbeforegeno, statistics ? rsnumber : 0};
    Progress progress(filename);
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        progress.advance(line.size());
        lookAtMarker(line, look);
        dosageSummary.start(line.size() <= keptLineSize);
        const std::string_view genotypes = copyLeadingColumns(line, lastbeforegeno, out);
        convertTriplets(genotypes, out, &dosageSummary);
        if (statistics)
            SUMdosePROBLEM += dosageSummary.write(fieldAt(line, rsnumber - 1), genotypes, summary);
    }
    return SUMdosePROBLEM;
}

static void genoToAd()
{
    readOptions();
    print("running genToAd()\n");
    refuseSameFiles({filename}, {outname, sumname});
    text::LineReader in;
    text::Writer out, summary;
    if (!in.open(filename))
        fatal("Input file not found\n");
    if (!out.open(outname))
        fatal("Output file not opened\n");
    if (!summary.open(sumname))
        fatal("Summary file not opened\n");

    if (!statistics) {
        // At once: a run that fails leaves no summary either.
        summary.close();
        std::remove(sumname.c_str());
        print("Statistical summary not provided\n");
        convertLines(in, out, summary);
        out.close();
        return;
    }
    summary.put("RS\tmean\tstdev\tCV\tmin\tmax\tAD=0\tAD=1-2\tAD=2\tAD=err\n");
    print("Statistical summary is provided\n");
    const int64_t SUMdosePROBLEM = convertLines(in, out, summary);
    out.close();
    summary.close();
    print("dose problems: %lld\n", static_cast<long long>(SUMdosePROBLEM));
}

constinit const Mode genoToAdMode
    = {{"gentoAD", "gentoad"}, genoToAd, options, "Turns genotype probabilities into dosages or hard calls"};
