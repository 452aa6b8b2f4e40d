#include "support/genotypemodel.h"

#include <cmath>
#include <gtest/gtest.h>

static const std::string header = "RS\tmean\tstdev\tCV\tmin\tmax\tAD=0\tAD=1-2\tAD=2\tAD=err\n";

TEST(GenToAd, WritesADosagePerTriplet)
{
    expectConversions("gentoAD", {
        {"each class", "1 rs1 10 A G 1 0 0 0 1 0 0 0 1\n", {}, "1 rs1 10 A G 0 1 2\n", "(no file)",
         "running genToAd()\nStatistical summary not provided\n"},
        {"single precision", "1 rs1 10 A G 0 0.1234567 0.7654321\n", {}, "1 rs1 10 A G 1.65432\n"},
        {"two fields left over", "1 rs1 10 A G 0 0 1 1 0\n", {}, "1 rs1 10 A G 2 "},
        {"the range converts everything", "1 a 1 A G 0 0 1\n1 b 2 A G 0 1 0\n", {"-beg", "5", "-end", "10"},
         "1 a 1 A G 2\n1 b 2 A G 1\n"},
        {"only yes is yes", "1 rs1 10 A G 0 0.5 0\n", {"-to-hard-call", "YES"}, "1 rs1 10 A G 0.5\n"},
        {"summary, name beyond the line", "1 rs1 10 A G 0 1 0\n", {"-statistics", "yes", "-rs-loc", "9"},
         "1 rs1 10 A G 1\n", header + "\t1\t0\t0\t1\t1\t0\t1\t0\t0\n"},
        {"summary, hard calls plus a half", "1 rs1 10 A G 0.02 0.49 0.49 0 0.5 0.5 1 0 0 0 0 1\n",
         {"-statistics", "yes", "-to-hard-call", "yes"}, "1 rs1 10 A G 1 2 0 2\n",
         header + "rs1\t1.7425\t0.747609\t0.429044\t0.5\t2.5\t0\t2\t1\t1\n",
         "running genToAd()\nStatistical summary is provided\ndose problems: 1\n"},
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
