#include "support/program.h"
#include "support/scaninput.h"
#include "support/scanmodel.h"
#include "text/bytes.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

static const char hitHeader[] = "Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n";
static const std::string statisticsHeader
    = "Pheno\tPhenoID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\tBestSNP\tgroup1\tgroup2\tgroup3\n";

static Result scan(const Folder &folder, std::vector<std::string> options)
{
    options.insert(options.begin(), {"-pfile", "pheno", "-gfile", "geno", "-out", "out"});
    return folder.runMode("gwas", options);
}

// One phenotype of the values 1 to 6, and three markers; in bins of two the first one's means are 0, 1 and 2.
static void writeExample(const Folder &folder)
{
    folder.write("pheno", "height 1 2 3 4 5 6\n");
    folder.write("geno", "1 perfect 1 A G 0 0 1 1 2 2\n"
                         "1 falling 2 A G 2 2 2 1 0 0\n"
                         "1 flat 3 A G 1 1 1 1 1 1\n");
}

TEST(Gwas, ReportsSettingsHitsAndStatistics)
{
    const Folder folder;
    writeExample(folder);
    EXPECT_EQ(scan(folder, {"-statlimit", "0.2"}).messages,
              "Bintype code 1\nMethod code 1\nGroups code 0\nStatistic code 2\nXmethod code 0\n"
              "Bin ranges treated as relative to min and max\n"
              "Exact (slower) method used to assign bin borders\n"
              "Bin ranges assigned automatically\n"
              "\nrunning gwas() ...\n\n"
              "Your files:\nPhenotypes taken from 'pheno'\nGenotypes taken from 'geno'\n"
              "Top SNPs for each phenotype are in 'out'\n"
              "Summary statistics by the phenotype are in 'out.stats'\n\n");
    // The means 2, 1.5 and 0 fall by 1 a bin: R2 = 12/13, t the root of 12, p between its rows 0.18 and 0.175. The
    // perfect fit has no p, and so is no hit.
    EXPECT_EQ(folder.read("out"), hitHeader + std::string("height\tfalling\t-1\t0.923077\t3.4641\t0.178936\n"));
    EXPECT_EQ(folder.read("out.stats"), statisticsHeader + "height\t1\t1\t1\t0\t0\t1\t1\tperfect\t2\t2\t2\n");
}

// What the comparison with a plain scan below leaves out, and what makes it believable.
TEST(Gwas, BinsAndDecidesByItsOptions)
{
    const std::string perfect = "height\tperfect\t1\t1\tNA\tNA\n", six = "height 1 2 3 4 5 6\n";
    const std::string falling = "height\tfalling\t-1\t0.923077\t3.4641\t0.178936\n", gaps = "height 1 2 3 4 9 10\n";
    const std::string unfit = "\t-1\tNA\tNA\n";
    const struct {
        std::vector<std::string> options;
        std::string phenotypes, hits, end;  // of the statistics
    } cases[] = {
        // A slope at the limit is a hit, and not twice it; a limit below 0 is 0; what is below the limit has no R2.
        {{"-statistic", "r2", "-slope", "1"}, six, perfect + falling, "\t2\t2\t0\t0\t0\t1\tperfect\t2\t2\t2\n"},
        {{"-statistic", "r2", "-statlimit", "x", "-slope", "-1"}, six,
         perfect + falling + "height\tflat\t0\t0\tNA\tNA\n", "\t3\t3\t0\t0\t3\t1\tperfect\t2\t2\t2\n"},
        {{"-statistic", "r2", "-statlimit", "-1", "-slope", "4"}, six, "", "\t0\t0\t1\t2\t0\t1\tperfect\t2\t2\t2\n"},
        {{"-xmethod", "mean", "-statistic", "t", "-statlimit", "3"}, six,
         "height\tfalling\t-0.5\t0.923077\t3.4641\t0.178936\n", "\t1\t1\t0\t0\t1\t0.5\tperfect\t2\t2\t2\n"},
        // Two bins have no R2, t or p: only a limit of -1 lets them pass, by R2 whatever was asked for.
        {{"-autobins", "2", "-statlimit", "-1", "-statistic", "t"}, six,
         "height\tperfect\t1.33333" + unfit + "height\tfalling\t-1.66667" + unfit, "\t3\t3\n"},
        {{"-method", "quick"}, gaps, "", "\t4\t0\t2\n"},
        {{"-manualbins", "0:0.5,,0.5:1,"}, gaps, "", "\t3\t3\n"},
        {{"-manualbins", "0:0.25,0.75:1"}, gaps, "", "\t2\t1\n"},
        {{"-manualbins", "0:0.5,0.01:1", "-method", "quick"}, gaps, "", "\t4\t5\n"},
        {{"-binfile", "bins"}, gaps, "", "\t2\t4\n"},
        {{"-binfile", "missing", "-autobins", "3"}, gaps, "", "\t2\t2\t2\n"},
        {{"-manualbins", "x", "-binfile", "bins"}, gaps, "", "\t2\t4\n"},
        {{"-delim", "--"}, "a b--1--2--3--4--5--6", "", "\na b\t1\t0\t0\t0\t0\t0\t1\tperfect\t2\t2\t2\n"},
        {{"-missing", "-9"}, "a -9 2 3 4 5 6  -9 \n", "", "\t2\t1\t2\n"},
        {{}, "\n\r\na -999.999 2 3 4 5 6", "", "\t1\t2\t2\n"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        writeExample(folder);
        folder.write("pheno", row.phenotypes);
        folder.write("bins", "0  0.25\r\n\n0.25 1\n");
        scan(folder, row.options);
        EXPECT_EQ(folder.read("out"), hitHeader + row.hits);
        const std::string statistics = folder.read("out.stats");
        EXPECT_TRUE(statistics.ends_with(row.end)) << &row - cases << statistics;
    }
}

TEST(Gwas, EndsWithItsMessage)
{
    const std::string few = "You need to choose at least 2 bins\n";
    const std::string problems = " problem(s) found with bin definitions.\nBins must be sequential and non-overlapping.\n\n";
    const std::string outside = "Bin borders must be between 0.0 and 1.0\n", format = "Group file has unknown format\n";
    const std::string individuals = "Pheno file and geno file contain different number of individuals\n";
    const std::string columns = "Inconsistent number of columns in geno file\n";
    const std::string marker = "1 m 1 A G 0 1 2\n", three = "a 1 2 3\n";
    const struct {
        std::vector<std::string> options;
        std::string message, phenotypes = "a 1 2 3\n", genotypes = "1 m 1 A G 0 1 2\n";
    } cases[] = {
        {{"-autobins", "1"}, few},
        {{"-autobins", "0"}, few},
        {{"-autobins", "-7"}, few},
        {{"-manualbins", ","}, few},
        {{"-binfile", "empty"}, few},
        {{"-bintype", "absolute"}, few},
        {{"-manualbins", "0:0.5,0.4:1"}, "\n1" + problems},
        {{"-manualbins", "0.5:1,0:0.5"}, "\n4" + problems},
        {{"-manualbins", "0:0.5,0.5:0.5,0.5:1"}, "\n3" + problems},  // empty, and by its end and start beside others
        {{"-manualbins", "0:1.5", "-bintype", "absolute"}, outside},
        {{"-manualbins", "0:nan"}, outside},
        {{"-manualbins", "0:0.5:1"}, "Incorrect ranges defined\n"},
        {{"-binfile", "falling"}, "Min group border bust be smaller than max group border\n"},
        {{"-binfile", "outside"}, "group borders must be between 0.0 and 1.0\n"},
        {{"-binfile", "three"}, format},
        {{"-binfile", "falling", "-delim", "tab"}, format},
        {{}, individuals, "a 1 2\n"},
        {{}, individuals, "a 1 2 3 4\n"},
        {{}, individuals, "a 1\n", ""},
        {{}, columns, three, marker + "1 n 2 A G 0 1\n"},
        {{}, columns, three, marker + "1 n 2 A G 0 1 2 0\n"},
    };
    for (auto row : cases) {
        const Folder folder;
        folder.write("pheno", row.phenotypes);
        folder.write("geno", row.genotypes);
        folder.write("empty", "");
        folder.write("falling", "0.6 0.2\n");
        folder.write("outside", "0 0.5\n0.5 1.1\n");
        folder.write("three", "0 0.5 1\n");
        row.options.insert(row.options.end(), {"-statistic", "r2", "-statlimit", "0"});
        const Result result = scan(folder, row.options);
        EXPECT_EQ(result.status, 1) << row.message;
        EXPECT_TRUE(result.messages.ends_with(row.message)) << result.messages;
        if (row.message == columns) {  // hits before the wrong line are kept
            EXPECT_EQ(folder.read("out"), hitHeader + std::string("a\tm\t1\t1\tNA\tNA\n"));
        }
    }
    const Folder folder;
    EXPECT_EQ(folder.runMode("gwas", {"-gfile", "x"}).messages, "You need to specify '-pfile'.\n\n");
    EXPECT_EQ(folder.runMode("GWAS", {"-pfile", "x"}).messages, "You need to specify '-gfile'.\n\n");
}

TEST(Gwas, RunsThroughWhereQuickBinsMeetMarkersWithoutTheirLeadingColumns)
{
    for (const char *mode : {"gwas", "gwas2"}) {
        for (const char *genotypes : {"1\n", "1 m 1 A\n1 n 2 C\n", "1 m 1 A\n1 n 2\n", ""}) {
            const Folder folder;
            folder.write("pheno", "a\n");
            folder.write("geno", genotypes);
            const Result result = folder.runMode(mode, {"-pfile", "pheno", "-gfile", "geno", "-out", "out", "-method", "quick"});
            const bool isUneven = std::string_view(genotypes).ends_with(" 2\n");
            EXPECT_EQ(result.status, isUneven ? 1 : 0) << mode << " " << genotypes;
            EXPECT_EQ(result.messages.ends_with("Inconsistent number of columns in geno file\n"), isUneven);
        }
    }
}

TEST(Gwas, TellsEveryThousandthPhenotype)
{
    const Folder folder;
    std::string phenotypes;
    for (int i = 1; i <= 2001; ++i)
        phenotypes += i % 1000 ? "a 1 2 3\n" : "a NA NA NA\n";
    folder.write("pheno", phenotypes);
    folder.write("geno", "1 m 1 A G 0 1 2\n");
    const std::string messages = scan(folder, {}).messages;
    EXPECT_NE(messages.find("\n\nPhenotype a has no values\n1000 done\nPhenotype a has no values\n2000 done\nYour"),
              std::string::npos) << messages;
}

// The borders of automatic bins, and the scan as one would say it: the judges of the fast ones.
static std::vector<double> plainBorders(std::vector<double> values, int bins, bool isExact)
{
    std::sort(values.begin(), values.end());
    std::vector<double> borders = {values.front() - 1};
    const double width = (values.back() - values.front()) / bins, step = double(values.size()) / bins;
    for (int j = 1; j < bins; ++j)
        borders.push_back(isExact ? values[size_t(std::max(j * step - 0.5, 0.0))] : values.front() + j * width);
    borders.push_back(values.back() + 1);
    return borders;
}

struct PlainScan : PlainDecisions {
    std::vector<Texts> markers;
    bool isMeanX;
    int PhenoID = 0;

    // Returns the phenotype's row of statistics.
    std::string scan(const Texts &fields, int bins, bool isExact)
    {
        std::vector<double> values, present;
        for (size_t i = 1; i < fields.size(); ++i) {
            values.push_back(fields[i] == "NA" || fields[i].empty() ? -999.999 : text::readDouble(fields[i]));
            if (fields[i] != "NA" && !fields[i].empty())
                present.push_back(values.back());
        }
        const std::string start = fields[0] + "\t" + std::to_string(++PhenoID);
        std::string best = "NA", binCounts;
        if (present.empty() && isExact) {
            for (int k = 0; k < bins; ++k)
                binCounts += "\t0";
            return start + "\t0\t0\t0\t0\t0\t0\tNA" + binCounts + "\n";
        }
        const std::vector<double> borders
            = present.empty() ? std::vector<double>(size_t(bins) + 1) : plainBorders(present, bins, isExact);
        double largest = 0;
        for (const Texts &marker : markers) {
            std::vector<double> x, y;
            binCounts.clear();
            for (size_t k = 0; k < size_t(bins); ++k) {
                int count = 0;
                double dosageSum = 0, phenotypeSum = 0;
                for (size_t i = 0; i < values.size(); ++i) {
                    if (values[i] != -999.999 && borders[k] < values[i] && values[i] <= borders[k + 1]) {
                        ++count;
                        dosageSum += text::readDouble(marker[5 + i]);
                        phenotypeSum += values[i];
                    }
                }
                y.push_back(count ? dosageSum / count : 0);
                x.push_back(!isMeanX ? double(k) + 1 : count ? phenotypeSum / count : 0);
                binCounts += "\t" + std::to_string(count);
            }
            PlainFit fit = fitPlainly(x, y, table);
            if (std::fabs(fit.slope) < slopeLimit || bins <= 2)
                fit = {fit.slope, -1, -1, -1};
            if (std::fabs(fit.slope) > largest) {
                largest = std::fabs(fit.slope);
                best = marker[1];
            }
            decide(fit, fields[0], marker[1]);
        }
        const std::string hitCount = "\t" + std::to_string(counts[0]);
        return start + hitCount + takeCounts() + "\t" + plainText(largest) + "\t" + best + binCounts + "\n";
    }
};

TEST(Gwas, AgreesWithAPlainScanOnRandomFiles)
{
    static TTable (*const loaders[])() = {df1, df2, df3, df5, df5, df10, df10, df10, df10};
    static const char *const statistics[] = {"r2", "t", "p"};
    for (uint64_t seed = 1; seed <= 150; ++seed) {
        ScanInput input(seed);
        input.isTame = true;
        input.individuals = input.oneIn(6) ? 800 + input.below(900) : 1 + input.below(40);
        const std::string phenotypes = input.phenotypes();
        std::string genotypes;
        while (genotypes.empty())
            genotypes = input.dosages();
        PlainScan plain;
        const int bins = int(2 + input.below(11));
        const size_t statistic = input.below(3);
        const bool isExact = input.oneIn(2);
        plain.isMeanX = input.oneIn(2);
        plain.slopeLimit = double(input.below(5)) / 20;
        plain.limit = input.oneIn(4) ? -1 : double(input.below(100)) / 100;
        plain.statistic = bins >= 3 && bins <= 5 ? int(statistic) : 0;
        if (bins >= 3 && bins <= 11)
            plain.table = loaders[bins - 3]();
        for (const std::string &line : plainLines(genotypes))
            plain.markers.push_back(plainWords(line));
        std::erase(plain.markers, Texts());
        std::string rows;
        for (const std::string &line : plainLines(phenotypes))
            rows += plain.scan(plainFields(line, input.delimiter), bins, isExact);

        const Folder folder;
        folder.write("pheno", phenotypes);
        folder.write("geno", genotypes);
        const Result result
            = scan(folder, {"-autobins", std::to_string(bins), "-statistic", statistics[statistic], "-method",
                            isExact ? "exact" : "quick", "-slope", plainText(plain.slopeLimit), "-xmethod",
                            plain.isMeanX ? "mean" : "integer", "-statlimit", plainText(plain.limit), "-delim",
                            input.delimiter == "\t" ? "tab" : "space"});
        ASSERT_EQ(result.status, 0) << seed;
        ASSERT_EQ(folder.read("out"), hitHeader + plain.hits) << seed;
        const std::string found = folder.read("out.stats");
        ASSERT_EQ(found.substr(found.find('\n') + 1), rows) << seed;
    }
}
