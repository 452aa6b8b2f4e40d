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
    expectRuns({"avggen", {"-file", "in", "-out", "out"}, {"in"}, {"out"}, {}, "running avgGen()\n\nCounter < 1\n",
        1}, {
        {"nobody", {"1 r 7 A G 0 0 1 0 0 1\n1 s 8 A G 0 0 1 0 0\n"}, {"-beg", "2"},
         {"1 r 7 A G 0 0 1 2 0\n1 s 8 A G "}},
    });
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
    const bool isShort = show == "no-stdev" || show == "only-values";
    std::string messages = isTriplets ? "running avgGen()\n\n" : "running avgAd()\n\n";
    const LineText average = [&](const ModelLine &line, const std::vector<long> &individuals)
        -> std::optional<std::string> {
        std::vector<double> first, second, third, dosages;
        for (const long i : individuals) {
            first.push_back(line.number(i));
            second.push_back(line.number(i + 1));
            third.push_back(line.number(i + 2));
            dosages.push_back(isTriplets ? 2 * third.back() + second.back() : first.back());
        }
        if (isTriplets && first.empty()) {
            messages += "Counter < 1\n";
            return {};
        }
        std::string text;
        for (const auto *values : {&first, &second, &third})
            text += isTriplets ? plainText(meanOf(*values)) + ' ' : "";
        text += isTriplets && isShort ? "" : plainText(meanOf(dosages)) + ' ';
        text += isShort ? "" : plainText(deviationOf(dosages)) + ' ';
        return text.substr(0, text.size() - 1);
    };
    ModelResult result = modelRows(lines, options, isTriplets ? 3 : 1, show != "only-values", average);
    result.messages = messages;
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
