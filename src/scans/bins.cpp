#include "scans/bins.h"
#include "main/console.h"
#include "main/datahints.h"
#include "main/settings.h"
#include "scans/options.h"
#include "scans/phenotype.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>

static BinDefinition readBinFile(const std::string &name)
{
    BinDefinition bins;
    text::LineReader in;
    if (!in.open(name))
        fatal("No groupfile\n");
    std::vector<std::string_view> fields;
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        text::splitNonEmptyFields(line, Delim, fields);
        if (fields.size() != 2)
            fatal("Group file has unknown format\n");
        const double lo = text::readDouble(fields[0]);
        const double hi = text::readDouble(fields[1]);
        if (lo >= hi)
            fatal("Min group border bust be smaller than max group border\n");
        if (lo < 0 || lo > 1 || hi < 0 || hi > 1)
            fatal("group borders must be between 0.0 and 1.0\n");
        bins.b1.push_back(lo);
        bins.b2.push_back(hi);
    }
    testgroups = int(bins.b1.size());
    return bins;
}

static double readInlineBorder(std::string_view field)
{
    const double border = text::readDouble(field);
    if (!(border >= 0 && border <= 1))
        fatal("Bin borders must be between 0.0 and 1.0\n");
    return border;
}

// Bins such as "0:0.25,0.25:0.75,0.75:1".
static BinDefinition readInlineBins(std::string_view definition)
{
    BinDefinition bins;
    std::vector<std::string_view> parts, fields;
    text::splitNonEmptyFields(definition, ",", parts);
    testgroups = int(parts.size());
    for (const std::string_view part : parts) {
        text::splitNonEmptyFields(part, ":", fields);
        if (fields.size() != 2)
            fatal("Incorrect ranges defined\n");
        bins.b1.push_back(readInlineBorder(fields[0]));
        bins.b2.push_back(readInlineBorder(fields[1]));
    }
    return bins;
}

// Counts what keeps the defined bins from being increasing and apart.
static int64_t countBinProblems(const BinDefinition &bins)
{
    const auto &[b1, b2] = bins;
    int64_t problems = 0;
    for (size_t i = 0; i < b1.size(); ++i) {
        problems += b1[i] >= b2[i];
        for (size_t j = i + 1; j < b1.size(); ++j)
            problems += (b1[i] >= b1[j]) + (b1[i] >= b2[j]) + (b2[i] > b1[j]) + (b2[i] >= b2[j]);
    }
    return problems;
}

BinDefinition readBinOptions(void (*beforeOpening)(const std::string &binFile))
{
    BinDefinition bins;
    if (binTypeOption.read() == 0)
        addDataHint("\"-bintype absolute\" is not usable: it ends every run; give fractions with \"-method quick\"");
    method = methodOption.read();
    if (automaticBinsOption.given()) {
        testgroups = automaticBinsOption.read();
        groups = 0;
    } else if (const auto binFile = binFileOption.given()) {
        groups = 1;
        beforeOpening(*binFile);
        bins = readBinFile(*binFile);
    } else if (const auto definition = manualBinsOption.given()) {
        groups = 2;
        bins = readInlineBins(*definition);
    }
    const bool isFirst = !automaticBinsOption.given(), isSecond = !binFileOption.given();
    if (!isSecond && !isFirst)
        addDataHint("\"-binfile\" changes nothing: \"-autobins\" goes before it");
    if (manualBinsOption.given() && (!isFirst || !isSecond))
        addDataHint("\"-manualbins\" changes nothing: \"-autobins\" and \"-binfile\" go before it");
    // On purpose only now: the definitions above are always taken as fractions.
    bintype = binTypeOption.read();
    if (groups < 0)
        groups = 0;
    // On purpose: with the quick method the order is not checked.
    if (groups > 0 && method == 1) {
        if (const int64_t problems = countBinProblems(bins)) {
            fatal("\n%lld problem(s) found with bin definitions.\nBins must be sequential and non-overlapping.\n\n",
                  static_cast<long long>(problems));
        }
    }
    return bins;
}

void reportBins()
{
    print("Bintype code %d\n", bintype);
    print("Method code %d\n", method);
    print("Groups code %d\n", groups);
    print("Statistic code %d\n", statistic);
    print("Xmethod code %d\n", xmethod);
    if (bintype == 0)
        print("Bin ranges treated as absolute values\n");
    else if (method == 1)
        print("Bin ranges treated as relative to min and max\nExact (slower) method used to assign bin borders\n");
    else
        print("Bin ranges treated as relative to min and max\nQuick (faster) method used to assign bin borders\n");
    print("Bin ranges %s\n", groups == 1   ? "obtained from the file"
                             : groups == 2 ? "obtained from the command line"
                                           : "assigned automatically");
}

// Borders at fractions of the value range.
static void findQuickBins(const BinDefinition &definition, const std::vector<double> &p2List, BinBorders &borders)
{
    auto &[border1, border2] = borders;
    double min = 9e15, max = -9e15;
    for (const double x : p2List) {
        min = x < min ? x : min;
        max = x > max ? x : max;
    }
    const double range = max - min;
    if (groups > 0) {
        for (size_t i = 0; i < definition.b1.size(); ++i) {
            border1[i] = min + range * definition.b1[i];
            border2[i] = min + range * definition.b2[i];
        }
        border1.front() -= 1.0;
        border2.back() += 1.0;
        return;
    }
    const double width = range / testgroups;
    border1.front() = min - 1.0;
    border2.back() = max + 1.0;
    for (size_t j = 1; j < border1.size(); ++j)
        border1[j] = border2[j - 1] = min + double(j) * width;
}

// The sorted value at a rank, truncated towards 0 and kept inside the list; a rank that is no number is 0.
static double valueAt(const std::vector<double> &p2List, double rank)
{
    return p2List[rank >= double(p2List.size()) ? p2List.size() - 1 : rank > 0 ? size_t(rank) : 0];
}

// Borders at ranks of the sorted values.
static void findExactBins(const BinDefinition &definition, const std::vector<double> &p2List, BinBorders &borders)
{
    auto &[border1, border2] = borders;
    const double n = double(p2List.size());
    if (groups > 0) {
        for (size_t i = 0; i < definition.b1.size(); ++i) {
            border1[i] = valueAt(p2List, n * definition.b1[i] - 0.5);
            border2[i] = valueAt(p2List, n * definition.b2[i] - 0.5);
        }
        border1.front() -= 1.0;
        border2.back() += 1.0;
        return;
    }
    const double step = n / testgroups;
    border1.front() = p2List.front() - 1.0;
    border2.back() = p2List.back() + 1.0;
    for (size_t j = 1; j < border1.size(); ++j)
        border1[j] = border2[j - 1] = valueAt(p2List, double(j) * step - 0.5);
}

bool hasBins(const std::vector<double> &p2List)
{
    return !p2List.empty() || bintype == 0 || testgroups < 2 || method == 0;
}

BinBorders findBins(const BinDefinition &definition, std::vector<double> p2List)
{
    // On purpose absolute bins end the run here as well.
    if (bintype == 0 || testgroups < 2)
        fatal("You need to choose at least 2 bins\n");
    const std::vector<double> zeros(size_t(testgroups), 0.0);
    BinBorders borders = {zeros, zeros};
    // Values that are no numbers have no rank; they stand last.
    const auto numbersEnd = std::partition(p2List.begin(), p2List.end(), [](double x) { return !std::isnan(x); });
    std::sort(p2List.begin(), numbersEnd);
    if (method == 0)
        findQuickBins(definition, p2List, borders);
    else
        findExactBins(definition, p2List, borders);
    return borders;
}

std::vector<Bin> fillBins(const BinBorders &borders, const std::vector<double> &values)
{
    const auto &[border1, border2] = borders;
    std::vector<Bin> bins(border1.size());
    for (size_t k = 0; k < bins.size(); ++k) {
        double sum = 0;
        for (size_t i = 0; i < values.size(); ++i) {
            if (values[i] != missingValue && border1[k] < values[i] && values[i] <= border2[k]) {
                bins[k].individuals.push_back(i);
                sum += values[i];
            }
        }
        if (!bins[k].individuals.empty())
            bins[k].meanPhenotype = sum / double(bins[k].individuals.size());
    }
    return bins;
}

std::vector<double> binPositions(const std::vector<Bin> &bins)
{
    std::vector<double> x;
    for (size_t k = 0; k < bins.size(); ++k)
        x.push_back(xmethod == 1 ? bins[k].meanPhenotype : double(k + 1));
    return x;
}
