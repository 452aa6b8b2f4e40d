#include "support/genotypemodel.h"

#include <cmath>
#include <gtest/gtest.h>

static const std::string header = "RS\tmean\tstdev\tCV\tmin\tmax\tAD=0\tAD=1-2\tAD=2\tAD=err\n";

TEST(GenToAd, WritesADosagePerTriplet)
{
    const std::string marker = "1 rs1 10 A G ", two = "1 a 1 A G 0 0 1\n1 b 2 A G 0 1 0\n";
    expectRuns({"gentoAD", {"-file", "in", "-out", "out"}, {"in"}, {"out", "out.stats"}}, {
        {"each class", {marker + "1 0 0 0 1 0 0 0 1\n"}, {}, {marker + "0 1 2\n"},
         "running genToAd()\nStatistical summary not provided\n"},
        {"single precision", {marker + "0 0.1234567 0.7654321\n"}, {}, {marker + "1.65432\n"}},
        {"two fields left over", {marker + "0 0 1 1 0\n"}, {}, {marker + "2 "}},
        {"the range converts everything", {two}, {"-beg", "5", "-end", "10"}, {"1 a 1 A G 2\n1 b 2 A G 1\n"}},
        {"only yes is yes", {marker + "0 0.5 0\n"}, {"-to-hard-call", "YES"}, {marker + "0.5\n"}},
        {"summary, name beyond the line", {marker + "0 1 0\n"}, {"-statistics", "yes", "-rs-loc", "9"},
         {marker + "1\n", header + "\t1\t0\t0\t1\t1\t0\t1\t0\t0\n"}},
        {"summary, hard calls plus a half", {marker + "0.02 0.49 0.49 0 0.5 0.5 1 0 0 0 0 1\n"},
         {"-statistics", "yes", "-to-hard-call", "yes"},
         {marker + "1 2 0 2\n", header + "rs1\t1.7425\t0.747609\t0.429044\t0.5\t2.5\t0\t2\t1\t1\n"},
         "running genToAd()\nStatistical summary is provided\ndose problems: 1\n"},
    });
}

TEST(GenToAd, EndsWithItsMessage)
{
    expectRuns({"gentoAD", {"-file", "in", "-out", "o"}, {}, {}, {{"in", ""}}, "", 1}, {
        {"range", {}, {"-beg", "10", "-end", "5"}, {}, "Invalid range selected: beg > end\n"},
        {"place of the name", {}, {"-rs-loc", "1.5"}, {}, "Invalid rs number location selected\n"},
        {"no output", {}, {"-out", ""}, {}, "running genToAd()\nOutput file not opened\n"},
    });
}

// Lines of this size are not kept as numbers, but read a second time.
TEST(GenToAd, SummarisesALongLine)
{
    std::string line = "1 rs1 10 A G";
    for (int i = 0; i < 500000; ++i)
        line += " 0 1 0 0 0 1";
    for (const std::string isHard : {"no", "yes"}) {
        const Folder folder;
        folder.write("in", line);
        folder.runMode("gentoAD", {"-file", "in", "-out", "out", "-statistics", "yes", "-to-hard-call", isHard});
        const char *row = isHard == "no" ? "rs1\t1.5\t0.5\t0.333333\t1\t2\t0\t500000\t500000\t0\n"
                                         : "rs1\t2\t0.5\t0.25\t1.5\t2.5\t0\t500000\t0\t500000\n";
        EXPECT_EQ(folder.read("out.stats"), header + std::string(row));
    }
}

TEST(GenToAd, AgreesWithAPlainVersion)
{
    const Model model = [](const std::vector<ModelLine> &lines, const OptionMap &options) {
        const long leading = std::max(modelInteger(options, "-last-bef-geno", 5), 0L);
        const bool isHardCall = options.contains("-to-hard-call"), hasSummary = options.contains("-statistics");
        ModelResult result = {"", "", hasSummary ? header : "(no file)"};
        int problems = 0;
        for (const ModelLine &line : lines) {
            if (line.size() == 0)
                continue;
            for (long i = 0; i < std::min(leading, line.size()); ++i)
                result.out += line.at(i) + " ";
            std::vector<float> values;
            for (long j = leading; j < line.size() - 2; j += 3) {
                float ad = 2 * float(line.number(j + 2)) + float(line.number(j + 1));
                if (isHardCall)
                    ad += 0.5f;
                const double whole = std::trunc(double(ad));
                const bool fits = whole >= -2147483648.0 && whole <= 2147483647.0;
                result.out += isHardCall ? std::to_string(fits ? int(whole) : 0) : plainText(ad);
                result.out += j >= line.size() - 4 ? "\n" : " ";
                values.push_back(ad);
            }
            int classes[4] = {};
            float sum = 0, squares = 0, min = 9.9f, max = -9.9f;
            for (const float ad : values) {
                sum += ad;
                min = std::min(min, ad);
                max = std::max(max, ad);
                ++classes[ad == 0 ? 0 : ad == 2 ? 2 : ad > 0 && ad < 2 ? 1 : 3];
            }
            const float mean = sum / float(values.size());
            for (const float ad : values)
                squares += (ad - mean) * (ad - mean);
            const float deviation = std::sqrt(squares / float(values.size()));
            if (!hasSummary)
                continue;
            result.stats += line.at(1);
            for (const float value : {mean, deviation, deviation / mean, min, max})
                result.stats += "\t" + plainText(value);
            for (const int count : classes)
                result.stats += "\t" + std::to_string(count);
            result.stats += "\n";
            problems += classes[3];
        }
        result.messages = "running genToAd()\nStatistical summary "
            + (hasSummary ? "is provided\ndose problems: " + std::to_string(problems) : "not provided") + "\n";
        return result;
    };
    compareWithModel("gentoAD",
                     {{"-last-bef-geno", {"0", "-1", "2", "3", "800", "x"}},
                      {"-statistics", {"yes"}},
                      {"-to-hard-call", {"yes"}}},
                     model);
}
