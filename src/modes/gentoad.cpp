// Genotype probabilities to dosages: a line of leading columns and triplets P(AA) P(AB) P(BB) becomes the leading
// columns and one dosage P(AB) + 2 P(BB) per individual, or its hard call; on request with a summary row per
// marker.
#include "main/console.h"
#include "main/options.h"
#include "main/progress.h"
#include "genotypes/dosages.h"
#include "genotypes/genotypes.h"
#include "modes/modes.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "processors/wide.h"
#include "text/writer.h"

#include <cmath>
#include <vector>

using Walker = text::FieldWalker<text::Separator::Blank>;

static std::string filename;
static std::string outname;
static std::string sumname;
static int64_t lastbeforegeno;  // leading columns
static int64_t rsnumber;        // 1-based column of the marker name
static bool statistics;
static bool hardCalls;

static void readOptions()
{
    const auto file = option("-file");
    if (!file)
        fatal("You need to specify '-pfile'.\n\n");  // on purpose: not '-file'
    filename = *file;
    outname = textOption("-out", filename + ".out");
    sumname = outname + ".stats";
    // On purpose: the range is checked, but every line is converted.
    const int beg = std::max(integerOption("-beg", 1), 1);
    const int end = integerOption("-end", 999999999);
    if (beg > end)
        fatal("Invalid range selected: beg > end\n");
    lastbeforegeno = std::max(integerOption("-last-bef-geno", 5), 0);
    rsnumber = integerOption("-rs-loc", 2);
    if (rsnumber < 1)
        fatal("Invalid rs number location selected\n");
    statistics = textOption("-statistics", "no") == "yes";
    hardCalls = textOption("-to-hard-call", "no") == "yes";
}

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

MORVEL_WIDE static float addSquares(float sum, const float *values, size_t count, float mean)
{
    for (size_t i = 0; i < count; ++i)
        sum += (values[i] - mean) * (values[i] - mean);
    return sum;
}

// The same over dosages that were not kept.
MORVEL_WIDE static float sumSquares(std::string_view genotypes, float mean)
{
    Walker walker(genotypes);
    float sum = 0;
    size_t fields;
    do {
        fields = walker.next(Walker::batchSize);
        float values[Walker::batchSize / 3];
        for (size_t i = 0; i < fields / 3; ++i) {
            const float hetero = float(text::readMostlyShort(walker.field(3 * i + 1)));
            const float homo = float(text::readMostlyShort(walker.field(3 * i + 2)));
            const float ad = 2 * homo + hetero;
            values[i] = hardCalls ? ad + 0.5f : ad;
        }
        sum = addSquares(sum, values, fields / 3, mean);
    } while (fields == Walker::batchSize);
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
    const float cumul_value1
        = m_keepsValues ? addSquares(0, m_values.data(), m_values.size(), mean) : sumSquares(genotypes, mean);
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
    Progress progress(filename);
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        progress.advance(line.size());
        dosageSummary.start(line.size() <= keptLineSize);
        const std::string_view genotypes = copyLeadingColumns(line, lastbeforegeno, out);
        convertTriplets(genotypes, out, &dosageSummary);
        if (statistics)
            SUMdosePROBLEM += dosageSummary.write(fieldAt(line, rsnumber - 1), genotypes, summary);
    }
    return SUMdosePROBLEM;
}

void genoToAd()
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
