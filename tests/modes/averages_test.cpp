#include "support/genotypemodel.h"

#include <gtest/gtest.h>

#include <cmath>

struct Case {
    const char *name, *input;
    std::vector<std::string> options;
    const char *out;
};

static void expectAll(const std::string &mode, const std::vector<Case> &cases)
{
    for (const Case &row : cases) {
        const Folder folder;
        EXPECT_EQ(convert(folder, mode, row.input, row.options).status, 0) << row.name;
        EXPECT_EQ(folder.read("out"), row.out) << mode << ": " << row.name;
    }
}

TEST(AvgAd, WritesMeanAndDeviation)
{
    expectAll("avgAD", {
        {"all", "1 r 7 A G 0 1 2\n", {}, "1 r 7 A G 1 0.816497"},  // the square root of 2/3
        {"no-stdev", "1 r 7 A G 0 1 2\n", {"-show", "no-stdev"}, "1 r 7 A G 1"},
        {"only-values", "1 r 7 A G 0 1 2\n1 s 8 A G 1 2\n", {"-show", "only-values"}, "1\n1.5"},
        {"some", "1 r 7 A G 0 1 3 9\n", {"-beg", "2", "-end", "3"}, "1 r 7 A G 2 1"},
        {"into the leading columns", "8 4 1 3\n", {"-last-bef-geno", "2", "-beg", "0"},
         "8 4 2.66667 1.24722"},
        {"no leading columns", "1 3\n", {"-last-bef-geno", "-1", "-beg", "2"}, "2 1"},
        {"empty values", "1 r 7 A G 1 3\n", {"-beg", "", "-end", "", "-last-bef-geno", "", "-show", ""},
         "1 r 7 A G 2 1"},
        {"no numbers", "1 r 7 A G x  3 \r\n", {"-show", "no-stdev"}, "1 r 7 A G 0.75"},
        {"short line", "a b\n", {}, "a b    nan nan"},
        {"empty lines", "\n1 r 7 A G 1\n\n", {}, "1 r 7 A G 1 0\n"},  // a line follows, though it is empty
    });
}

TEST(AvgGen, WritesClassMeansDosageAndDeviation)
{
    expectAll("avgGEN", {
        {"all", "1 r 7 A G 1 0 0 0 0 1\n", {}, "1 r 7 A G 0.5 0 0.5 1 1"},
        {"no-stdev", "1 r 7 A G 1 0 0 0 0 1\n", {"-show", "no-stdev"}, "1 r 7 A G 0.5 0 0.5"},
        {"only-values", "1 r 7 A G 0 1 0\n1 s 8 A G 0 0 1\n", {"-show", "only-values"}, "0 1 0\n0 0 1"},
        {"some", "1 r 7 A G 1 0 0 0 1 0 0 0 1 1 0 0\n", {"-beg", "2", "-end", "3"},
         "1 r 7 A G 0 0.5 0.5 1.5 0.5"},
        {"incomplete triplet", "1 r 7 A G 0 1 0 0 1\n", {}, "1 r 7 A G 0 1 0 1 0"},
        {"into the leading columns", "r 1 0 0 0 0 1\n", {"-last-bef-geno", "4", "-beg", "0"},
         "r 1 0 0 0.5 0 0.5 1 1"},
        {"before the line", "1 0 0 0 0 1\n", {"-last-bef-geno", "0", "-beg", "-9"}, "0.5 0 0.5 1 1"},
    });
}

TEST(AvgGen, StopsAtALineWithoutIndividuals)
{
    const Folder folder;
    const auto run = convert(folder, "avggen", "1 r 7 A G 0 0 1 0 0 1\n1 s 8 A G 0 0 1 0 0\n", {"-beg", "2"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.messages, "running avgGen()\n\nCounter < 1\n");
    EXPECT_EQ(folder.read("out"), "1 r 7 A G 0 0 1 2 0\n1 s 8 A G ");
}

// The individuals of a line that the options choose, `width` fields each: the positions of their first
// fields.
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

static std::string meanOf(const std::vector<double> &values)
{
    double sum = 0;
    for (const double value : values)
        sum += value;
    return plainText(sum / double(values.size()));
}

static std::string deviationOf(const std::vector<double> &values)
{
    double sum = 0, squares = 0;
    for (const double value : values)
        sum += value;
    const double mean = sum / double(values.size());
    for (const double value : values)
        squares += (value - mean) * (value - mean);
    return plainText(std::sqrt(squares / double(values.size())));
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
        if (isTriplets)
            result.out += meanOf(first) + ' ' + meanOf(second) + ' ' + meanOf(third) + (isShort ? "" : " ");
        if (!isTriplets || !isShort)
            result.out += meanOf(dosages);
        if (!isShort)
            result.out.append(" ").append(deviationOf(dosages));
        if (!line.isLast)
            result.out += "\n";
    }
    return result;
}

TEST(Averages, AgreeWithAPlainVersion)
{
    for (const bool isTriplets : {false, true}) {
        compareWithModel(isTriplets ? "avgGEN" : "avgAD",
                         {{"-beg", {"2", "3", "0", "-1", "-7", "250", "x", ""}},
                          {"-end", {"1", "3", "0", "256", "257", "700", "99999999999"}},
                          {"-last-bef-geno", {"0", "-1", "-2", "2", "3", "800"}},
                          {"-show", {"all", "no-stdev", "only-values", "x", ""}}},
                         [&](const auto &lines, const auto &options) {
                             return averageModel(lines, options, isTriplets);
                         });
    }
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
