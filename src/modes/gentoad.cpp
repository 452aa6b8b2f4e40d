// Genotype probabilities to dosages: a line of leading columns and triplets P(AA) P(AB) P(BB) becomes the leading
// columns and one dosage P(AB) + 2 P(BB) per individual, or its hard call; on request with a summary row per
// marker.
#include "main/console.h"
#include "main/options.h"
#include "main/progress.h"
#include "modes/dosages.h"
#include "modes/genotypes.h"
#include "modes/modes.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/wide.h"
#include "text/writer.h"

#include <cmath>
#include <vector>

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

MORVEL_WIDE static int64_t writeSummary(std::string_view marker, const std::vector<float> &meanValues,
                                        text::Writer &out)
{
    float sumad = 0;
    float max = -9.9f, min = 9.9f;
    for (const float ad : meanValues) {
        sumad += ad;
        max = ad > max ? ad : max;
        min = ad < min ? ad : min;
    }
    // In a loop of its own, and without a branch, which the compiler turns into wide instructions.
    int64_t dose0 = 0, doseM = 0, dose1 = 0;
    for (const float ad : meanValues) {
        dose0 += ad == 0;
        dose1 += ad == 2;
        doseM += (ad > 0) & (ad < 2);
    }
    const int64_t dosePROBLEM = int64_t(meanValues.size()) - dose0 - dose1 - doseM;

    const float tripletcount = float(meanValues.size());
    const float mean = sumad / tripletcount;
    float cumul_value1 = 0;
    for (const float ad : meanValues)
        cumul_value1 += (ad - mean) * (ad - mean);
    const float standarddev = std::sqrt(cumul_value1 / tripletcount);

    out.put(marker);
    for (const float value : {mean, standarddev, standarddev / mean, min, max}) {
        out.put('\t');
        out.put(double(value));
    }
    for (const int64_t count : {dose0, doseM, dose1, dosePROBLEM}) {
        out.put('\t');
        out.put(count);
    }
    out.put('\n');
    return dosePROBLEM;
}

// Converts all lines; returns the number of dosages outside 0 to 2, as far as the summary counts them.
static int64_t convertLines(text::LineReader &in, text::Writer &out, text::Writer &summary)
{
    const TripletConverter convertTriplets = tripletConverter(hardCalls, statistics);
    int64_t SUMdosePROBLEM = 0;
    std::vector<float> meanValues;
    Progress progress(filename);
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        progress.advance(line.size());
        meanValues.clear();
        const std::string_view genotypes = copyLeadingColumns(line, lastbeforegeno, out);
        convertTriplets(genotypes, out, meanValues);
        if (statistics)
            SUMdosePROBLEM += writeSummary(fieldAt(line, rsnumber - 1), meanValues, summary);
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
