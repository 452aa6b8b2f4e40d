#include "scans/bins.h"
#include "main/console.h"
#include "main/options.h"
#include "main/settings.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>

std::vector<double> b1;
std::vector<double> b2;
std::vector<double> border1;
std::vector<double> border2;
std::vector<double> p2List;

static void readBinFile(const std::string &name)
{
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
        b1.push_back(lo);
        b2.push_back(hi);
    }
    testgroups = int(b1.size());
}

static double readInlineBorder(std::string_view field)
{
    const double border = text::readDouble(field);
    if (!(border >= 0 && border <= 1))
        fatal("Bin borders must be between 0.0 and 1.0\n");
    return border;
}

// Bins such as "0:0.25,0.25:0.75,0.75:1".
static void readInlineBins(std::string_view definition)
{
    std::vector<std::string_view> parts, fields;
    text::splitNonEmptyFields(definition, ",", parts);
    testgroups = int(parts.size());
    for (const std::string_view part : parts) {
        text::splitNonEmptyFields(part, ":", fields);
        if (fields.size() != 2)
            fatal("Incorrect ranges defined\n");
        b1.push_back(readInlineBorder(fields[0]));
        b2.push_back(readInlineBorder(fields[1]));
    }
}

// Counts what keeps the defined bins from being increasing and apart.
static int64_t countBinProblems()
{
    int64_t problems = 0;
    for (size_t i = 0; i < b1.size(); ++i) {
        problems += b1[i] >= b2[i];
        for (size_t j = i + 1; j < b1.size(); ++j)
            problems += (b1[i] >= b1[j]) + (b1[i] >= b2[j]) + (b2[i] > b1[j]) + (b2[i] >= b2[j]);
    }
    return problems;
}

void readBinOptions(void (*beforeOpening)(const std::string &binFile))
{
    method = textOption("-method", "exact") == "quick" ? 0 : 1;
    if (option("-autobins")) {
        testgroups = integerOption("-autobins", 3);
        groups = 0;
    } else if (const auto binFile = option("-binfile")) {
        groups = 1;
        beforeOpening(*binFile);
        readBinFile(*binFile);
    } else if (const auto definition = option("-manualbins")) {
        groups = 2;
        readInlineBins(*definition);
    }
    // On purpose only now: the definitions above are always taken as fractions.
    bintype = textOption("-bintype", "relative") == "absolute" ? 0 : 1;
    if (groups < 0)
        groups = 0;
    // On purpose: with the quick method the order is not checked.
    if (groups > 0 && method == 1) {
        if (const int64_t problems = countBinProblems()) {
            fatal("\n%lld problem(s) found with bin definitions.\nBins must be sequential and non-overlapping.\n\n",
                  static_cast<long long>(problems));
        }
    }
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
static void findQuickBins()
{
    double min = 9e15, max = -9e15;
    for (const double x : p2List) {
        min = x < min ? x : min;
        max = x > max ? x : max;
    }
    const double range = max - min;
    if (groups > 0) {
        for (size_t i = 0; i < b1.size(); ++i) {
            border1[i] = min + range * b1[i];
            border2[i] = min + range * b2[i];
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

// Borders at ranks of the sorted values.
static void findExactBins()
{
    const double n = double(p2List.size());
    // The value at a rank, truncated towards 0 and kept inside the list; a rank that is no number is 0.
    const auto valueAt = [n](double rank) {
        return p2List[rank >= n ? p2List.size() - 1 : rank > 0 ? size_t(rank) : 0];
    };
    if (groups > 0) {
        for (size_t i = 0; i < b1.size(); ++i) {
            border1[i] = valueAt(n * b1[i] - 0.5);
            border2[i] = valueAt(n * b2[i] - 0.5);
        }
        border1.front() -= 1.0;
        border2.back() += 1.0;
        return;
    }
    const double step = n / testgroups;
    border1.front() = p2List.front() - 1.0;
    border2.back() = p2List.back() + 1.0;
    for (size_t j = 1; j < border1.size(); ++j)
        border1[j] = border2[j - 1] = valueAt(double(j) * step - 0.5);
}

void findBins()
{
    // On purpose absolute bins end the run here as well.
    if (bintype == 0 || testgroups < 2)
        fatal("You need to choose at least 2 bins\n");
    border1.assign(size_t(testgroups), 0.0);
    border2.assign(size_t(testgroups), 0.0);
    // Values that are no numbers have no rank; they stand last.
    const auto numbersEnd = std::partition(p2List.begin(), p2List.end(), [](double x) { return !std::isnan(x); });
    std::sort(p2List.begin(), numbersEnd);
    if (method == 0)
        findQuickBins();
    else
        findExactBins();
}
