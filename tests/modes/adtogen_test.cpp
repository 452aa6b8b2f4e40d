#include "support/genotypemodel.h"

#include <gtest/gtest.h>

#include <cmath>

static std::string messages(const std::string &times, const std::string &sum)
{
    return "running adToGen()\n\nGenotypes that deviate: " + times + "\nTotal absolute deviation: " + sum + "\n";
}

TEST(AdToGen, RoundsEveryDosage)
{
    expectRuns({"ADtogen", {"-file", "in", "-out", "out"}, {"in"}, {"out", "out.stats"}}, {
        {"whole", {"1 r 7 A G 0 1 2\n"}, {}, {"1 r 7 A G 1 0 0 0 1 0 0 0 1\n", "1 r 7 A G 0 0 0\n"},
         messages("0", "0")},
        {"between", {"1 r 7 A G 1.5 0.49 2.5\n"}, {}, {"1 r 7 A G 0 0 1 1 0 0 ? ? ?\n", "1 r 7 A G -0.5 0.49 ?\n"},
         messages("3", "1.49")},
        {"near a border", {"1 r 7 A G 0.4999999 1.499 2.4999999\n"}, {},
         {"1 r 7 A G 1 0 0 0 1 0 0 0 1\n", "1 r 7 A G 0.5 0.499 0.5\n"}, messages("3", "1.499")},
    });
}

TEST(AdToGen, ConvertsEveryLineWithoutAnEnd)
{
    std::string input, expected;
    for (int i = 0; i < 1000001; ++i) {
        input += "0\n";
        expected += "1 0 0\n";
    }
    const Folder folder;
    convert(folder, "ADtogen", input, {"-last-bef-geno", "0"});
    EXPECT_TRUE(folder.read("out") == expected);
}

TEST(AdToGen, AgreesWithAPlainVersion)
{
    const Model model = [](const std::vector<ModelLine> &lines, const OptionMap &options) {
        const long beg = modelInteger(options, "-beg", 1), end = modelInteger(options, "-end", 99999999);
        const long lastbeforegeno = modelInteger(options, "-last-bef-geno", 5);
        ModelResult result;
        long counter = 0, times = 0;
        double sum = 0;
        for (const ModelLine &line : lines) {
            ++counter;
            if (counter < beg || counter > end)
                continue;
            for (long i = 0; i < line.size(); ++i) {
                const std::string separator = i + 1 < line.size() ? " " : "\n";
                if (i < lastbeforegeno) {
                    result.out += line.at(i) + separator;
                    result.stats += line.at(i) + separator;
                    continue;
                }
                const double digvalue = std::trunc(line.number(i) + 0.5);
                const double deviation = line.number(i) - digvalue;
                times += deviation != 0;
                sum += std::abs(deviation);
                const bool hasClass = digvalue == 0 || digvalue == 1 || digvalue == 2;
                static const char *const classes[] = {"1 0 0", "0 1 0", "0 0 1"};
                result.out += hasClass ? classes[int(digvalue)] : "? ? ?";
                result.out += separator;
                result.stats += (hasClass ? plainText(deviation) : "?") + separator;
            }
        }
        result.messages = messages(std::to_string(times), plainText(sum));
        return result;
    };
    compareWithModel("ADtogen",
                     {{"-beg", {"2", "3", "0", "-1", "x", ""}},
                      {"-end", {"1", "3", "0", "-2", "99999999999"}},
                      {"-last-bef-geno", {"0", "-3", "2", "800", "12abc"}}},
                     model);
}
