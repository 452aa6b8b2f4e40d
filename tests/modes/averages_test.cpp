#include "support/genotypemodel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

TEST(Averages, AreWritten)
{
    expectRuns({"avgAD", {"-file", "in", "-out", "out"}, {"in"}, {"out"}}, {
        {"all", {"1 r 7 A G 0 1 2\n"}, {}, {"1 r 7 A G 1 0.816497"}},  // the square root of 2/3
        {"only-values", {"1 r 7 A G 0 1 2\n1 s 8 A G 1 2\n"}, {"-show", "only-values"}, {"1\n1.5"}},
        {"empty values", {"1 r 7 A G 1 3\n"}, {"-beg", "", "-end", "", "-last-bef-geno", "", "-show", ""},
         {"1 r 7 A G 2 1"}},
        {"short line", {"a b\n"}, {}, {"a b    nan nan"}},
    });
    expectRuns({"avgGEN", {"-file", "in", "-out", "out"}, {"in"}, {"out"}}, {
        {"class means, dosage, deviation", {"1 r 7 A G 1 0 0 0 0 1\n"}, {}, {"1 r 7 A G 0.5 0 0.5 1 1"}},
        {"incomplete triplet", {"1 r 7 A G 0 1 0 0 1\n"}, {"-show", "no-stdev"}, {"1 r 7 A G 0 1 0"}},
        {"before the line", {"1 0 0 0 0 1\n"}, {"-last-bef-geno", "0", "-beg", "-9"}, {"0.5 0 0.5 1 1"}},
    });
    expectRuns({"avggen", {"-file", "in", "-out", "out"}, {"in"}, {"out"}, {}, "running avgGen()\n\nCounter < 1\n", 1}, {
        {"nobody", {"1 r 7 A G 0 0 1 0 0 1\n1 s 8 A G 0 0 1 0 0\n"}, {"-beg", "2"}, {"1 r 7 A G 0 0 1 2 0\n1 s 8 A G "}},
    });
}

// The individuals of a line that the options choose, `width` fields each: the positions of their first fields.
static std::vector<long> chosen(const ModelLine &line, const OptionMap &options, long width)
{
    const long first = modelInteger(options, "-last-bef-geno", 5);
    std::vector<long> positions;
    for (long i = modelInteger(options, "-beg", 1); i <= modelInteger(options, "-end", 99999999); ++i) {
        const long position = first + width * (i - 1);
        if (position + width > line.size())
            break;
        if (position >= 0)
            positions.push_back(position);
    }
    return positions;
}

static double meanOf(const std::vector<double> &values)
{
    return std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

static double deviationOf(std::vector<double> values)
{
    const double mean = meanOf(values);
    for (double &value : values)
        value = (value - mean) * (value - mean);
    return std::sqrt(meanOf(values));
}

static ModelResult averageModel(const std::vector<ModelLine> &lines, const OptionMap &options,
                                bool isTriplets)
{
    const std::string show = options.contains("-show") ? options.at("-show") : "all";
    ModelResult result = {isTriplets ? "running avgGen()\n\n" : "running avgAd()\n\n", "", "(no file)"};
    for (const ModelLine &line : lines) {
        if (line.size() == 0)
            continue;
        if (show != "only-values")
            result.out += modelColumns(line, modelInteger(options, "-last-bef-geno", 5));
        std::vector<double> first, second, third, dosages;
        for (const long i : chosen(line, options, isTriplets ? 3 : 1)) {
            first.push_back(line.number(i));
            second.push_back(line.number(i + 1));
            third.push_back(line.number(i + 2));
            dosages.push_back(isTriplets ? 2 * third.back() + second.back() : first.back());
        }
        if (isTriplets && first.empty()) {
            result.messages += "Counter < 1\n";
            return result;
        }
        const bool isShort = show == "no-stdev" || show == "only-values";
        const std::string dosage = plainText(meanOf(dosages));
        if (isTriplets)
            result.out += plainText(meanOf(first)) + ' ' + plainText(meanOf(second)) + ' ' + plainText(meanOf(third));
        result.out += !isTriplets ? dosage : isShort ? "" : ' ' + dosage;
        result.out += isShort ? "" : ' ' + plainText(deviationOf(dosages));
        if (!line.isLast)
            result.out += "\n";
    }
    return result;
}

TEST(Averages, AgreeWithAPlainVersion)
{
    const Choices choices = {{"-beg", {"2", "3", "0", "-1", "-7", "250", "x", ""}},
                             {"-end", {"1", "3", "0", "256", "257", "700", "99999999999"}},
                             {"-last-bef-geno", {"0", "-1", "-2", "2", "3", "800"}},
                             {"-show", {"all", "no-stdev", "only-values", "x", ""}}};
    using namespace std::placeholders;
    compareWithModel("avgGEN", choices, std::bind(averageModel, _1, _2, true));
    compareWithModel("avgAD", choices, std::bind(averageModel, _1, _2, false));
}

// Lines of this size are not kept as numbers, but read a second time.
TEST(Averages, GoTwiceThroughALongLine)
{
    const Folder folder;
    std::string line = "1 r 7 A G";
    for (int i = 0; i < 400000; ++i)
        line += " 0.000 1.000 0.000 1.000 0.000 0.000";
    convert(folder, "avgGEN", line);
    EXPECT_EQ(folder.read("out"), "1 r 7 A G 0.5 0.5 0 0.5 0.5");
    convert(folder, "avgAD", line, {"-show", "all"});
    EXPECT_EQ(folder.read("out"), "1 r 7 A G 0.333333 0.471405");  // the square root of 2/9
}
