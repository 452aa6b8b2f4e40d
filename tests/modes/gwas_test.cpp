#include "modes/df.h"
#include "support/program.h"
#include "support/random.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>
#include <csignal>
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

TEST(Gwas, DecidesByTheChosenStatistic)
{
    const std::string perfect = "height\tperfect\t1\t1\tNA\tNA\n";
    const std::string falling = "height\tfalling\t-1\t0.923077\t3.4641\t0.178936\n";
    const std::string unfit = "\t-1\tNA\tNA\n";
    const struct {
        const char *name;
        std::vector<std::string> options;
        std::string hits, row;  // of the statistics, from the hits on and up to the bins
    } cases[] = {
        {"p at its default limit", {}, "", "0\t0\t0\t0\t0\t1\tperfect"},
        {"t", {"-statistic", "t", "-statlimit", "3"}, falling, "1\t1\t0\t0\t1\t1\tperfect"},
        {"r2", {"-statistic", "r2", "-statlimit", "0.9"}, perfect + falling, "2\t2\t0\t0\t2\t1\tperfect"},
        {"no number is 0", {"-statistic", "r2", "-statlimit", "x", "-slope", "0.5"}, perfect + falling,
         "2\t2\t0\t0\t2\t1\tperfect"},
        {"a slope at the limit is a hit, and not twice it", {"-statistic", "r2", "-slope", "1"}, perfect + falling,
         "2\t2\t0\t0\t0\t1\tperfect"},
        {"a negative slope limit is 0", {"-statistic", "r2", "-statlimit", "0", "-slope", "-1"},
         perfect + falling + "height\tflat\t0\t0\tNA\tNA\n", "3\t3\t0\t0\t3\t1\tperfect"},
        {"what is below the slope limit has no R2", {"-statistic", "r2", "-statlimit", "-1", "-slope", "4"}, "",
         "0\t0\t1\t2\t0\t1\tperfect"},
        {"x is the mean phenotype", {"-xmethod", "mean", "-statistic", "t", "-statlimit", "3"},
         "height\tfalling\t-0.5\t0.923077\t3.4641\t0.178936\n", "1\t1\t0\t0\t1\t0.5\tperfect"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        writeExample(folder);
        EXPECT_EQ(scan(folder, row.options).status, 0) << row.name;
        EXPECT_EQ(folder.read("out"), hitHeader + row.hits) << row.name;
        EXPECT_EQ(folder.read("out.stats"), statisticsHeader + "height\t1\t" + row.row + "\t2\t2\t2\n") << row.name;
    }
    // Two bins have no R2, t or p: only a limit of -1 lets them pass, by R2 whatever was asked for.
    const Folder folder;
    writeExample(folder);
    scan(folder, {"-autobins", "2", "-statlimit", "-1", "-statistic", "t"});
    EXPECT_EQ(folder.read("out"), hitHeader + ("height\tperfect\t1.33333" + unfit + "height\tfalling\t-1.66667") + unfit);
}

TEST(Gwas, BinsByRanksRangesFileAndCommandLine)
{
    const struct {
        const char *name;
        std::vector<std::string> options;
        const char *counts;
    } cases[] = {
        {"four", {"-autobins", "4"}, "2\t1\t2\t1"},
        {"quick", {"-method", "quick"}, "4\t0\t2"},
        {"command line", {"-manualbins", "0:0.5,,0.5:1,"}, "3\t3"},
        {"gaps", {"-manualbins", "0:0.25,0.75:1"}, "2\t1"},
        {"quick bins may overlap", {"-manualbins", "0:0.5,0.01:1", "-method", "quick"}, "4\t5"},
        {"file", {"-binfile", "bins"}, "2\t4"},
        {"automatic before file", {"-binfile", "missing", "-autobins", "3"}, "2\t2\t2"},
        {"file before command line", {"-manualbins", "x", "-binfile", "bins"}, "2\t4"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("pheno", "a 1 2 3 4 9 10\n");
        folder.write("geno", "1 m 1 A G 0 0 1 1 2 2\n");
        folder.write("bins", "0  0.25\r\n\n0.25 1\n");
        EXPECT_EQ(scan(folder, row.options).status, 0) << row.name;
        const std::string statistics = folder.read("out.stats");
        EXPECT_TRUE(statistics.ends_with(std::string("\tm\t") + row.counts + "\n")) << row.name << "\n" << statistics;
    }
}

TEST(Gwas, StopsAtWrongBins)
{
    const std::string few = "You need to choose at least 2 bins\n";
    const auto problems = [](const char *count) {
        return "\n" + std::string(count)
            + " problem(s) found with bin definitions.\nBins must be sequential and non-overlapping.\n\n";
    };
    const struct {
        std::vector<std::string> options;
        std::string message;
    } cases[] = {
        {{"-autobins", "1"}, few},
        {{"-autobins", "0"}, few},
        {{"-autobins", "-7"}, few},
        {{"-manualbins", ","}, few},
        {{"-bintype", "absolute"}, few},
        {{"-manualbins", "0:0.5,0.4:1"}, problems("1")},
        {{"-manualbins", "0.5:1,0:0.5"}, problems("4")},
        {{"-manualbins", "0:1.5", "-bintype", "absolute"}, "Bin borders must be between 0.0 and 1.0\n"},
        {{"-manualbins", "0:nan"}, "Bin borders must be between 0.0 and 1.0\n"},
        {{"-manualbins", "0:0.5:1"}, "Incorrect ranges defined\n"},
        {{"-binfile", "missing"}, "No groupfile\n"},
        {{"-binfile", "empty"}, few},
        {{"-binfile", "falling"}, "Min group border bust be smaller than max group border\n"},
        {{"-binfile", "outside"}, "group borders must be between 0.0 and 1.0\n"},
        {{"-binfile", "three"}, "Group file has unknown format\n"},
        {{"-binfile", "falling", "-delim", "tab"}, "Group file has unknown format\n"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        writeExample(folder);
        folder.write("empty", "");
        folder.write("falling", "0.6 0.2\n");
        folder.write("outside", "0 0.5\n0.5 1.1\n");
        folder.write("three", "0 0.5 1\n");
        const Result result = scan(folder, row.options);
        EXPECT_EQ(result.status, 1) << row.message;
        EXPECT_TRUE(result.messages.ends_with(row.message)) << result.messages;
    }
}

TEST(Gwas, ReadsPhenotypesByDelimiterAndMissingWord)
{
    const struct {
        const char *name, *phenotypes;
        std::vector<std::string> options;
        const char *rows;  // of the statistics
    } cases[] = {
        {"tab", "a\t1\t2\t3\t4\t5\t6\n", {"-delim", "tab"}, "a\t1\t0\t0\t0\t0\t0\t1\tm\t2\t2\t2\n"},
        {"text", "a b--1--2--3--4--5--6\n", {"-delim", "--"}, "a b\t1\t0\t0\t0\t0\t0\t1\tm\t2\t2\t2\n"},
        {"missing", "a -9 2 3 4 5 6\n", {"-missing", "-9"}, "a\t1\t0\t0\t0\t0\t0\t0.75\tm\t2\t1\t2\n"},
        {"empty is missing", "a  2 3 4 5 6\n", {}, "a\t1\t0\t0\t0\t0\t0\t0.75\tm\t2\t1\t2\n"},
        {"further missing values", "a 1 2 3 4 5 6  NA \n", {}, "a\t1\t0\t0\t0\t0\t0\t1\tm\t2\t2\t2\n"},
        {"empty lines", "\n\r\na 1 2 3 4 5 6", {}, "a\t1\t0\t0\t0\t0\t0\t1\tm\t2\t2\t2\n"},
        {"the missing value itself", "a -999.999 2 3 4 5 6\n", {}, "a\t1\t0\t0\t0\t0\t0\t1\tm\t1\t2\t2\n"},
        {"no value", "a NA NA NA NA NA NA\nb 1 2 3 4 5 6\n", {},
         "a\t1\t0\t0\t0\t0\t0\t0\tNA\t0\t0\t0\nb\t2\t0\t0\t0\t0\t0\t1\tm\t2\t2\t2\n"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("pheno", row.phenotypes);
        folder.write("geno", "\n1\tm  1 A G 0 0 1 1 2 2 \r\n");
        const Result result = scan(folder, row.options);
        EXPECT_EQ(result.status, 0) << row.name;
        EXPECT_EQ(result.messages.find("Phenotype a has no values\n") != std::string::npos,
                  std::string_view(row.name) == "no value");
        EXPECT_EQ(folder.read("out.stats"), statisticsHeader + row.rows) << row.name;
    }
}

TEST(Gwas, StopsAtFilesThatDoNotFit)
{
    const std::string individuals = "Pheno file and geno file contain different number of individuals\n";
    const std::string columns = "Inconsistent number of columns in geno file\n";
    const struct {
        const char *phenotypes, *genotypes;
        std::string message;
    } cases[] = {
        {"a 1 2\n", "1 m 1 A G 0 1 2\n", individuals},
        {"a 1 2 3 4\n", "1 m 1 A G 0 1 2\n", individuals},
        {"a 1\n", "", individuals},
        {"a 1 2 3\n", "1 m 1 A G 0 1 2\n1 n 2 A G 0 1\n", columns},
        {"a 1 2 3\n", "1 m 1 A G 0 1 2\n1 n 2 A G 0 1 2 0\n", columns},
        {"a 1 2 3\n", "1 m 1 A G 0 1 2\n \n", columns},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("pheno", row.phenotypes);
        folder.write("geno", row.genotypes);
        const Result result = scan(folder, {"-statistic", "r2", "-statlimit", "0"});
        EXPECT_EQ(result.status, 1) << row.genotypes;
        EXPECT_TRUE(result.messages.ends_with(row.message)) << result.messages;
        // Hits before the wrong line are kept.
        EXPECT_EQ(folder.read("out"), hitHeader + std::string(row.message == columns ? "a\tm\t1\t1\tNA\tNA\n" : ""));
    }
}

TEST(Gwas, RequiresItsFilesAndHoldsTheirNames)
{
    const Folder folder;
    EXPECT_EQ(folder.runMode("gwas", {"-gfile", "x"}).messages, "You need to specify '-pfile'.\n\n");
    EXPECT_EQ(folder.runMode("GWAS", {"-pfile", "x"}).messages, "You need to specify '-gfile'.\n\n");
    // All results are complete before a name of 100 bytes ends the process.
    writeExample(folder);
    const std::string name(94, 'o');
    const Result result = folder.runMode("gwas", {"-pfile", "pheno", "-gfile", "geno", "-out", name});
    EXPECT_EQ(result.status, -SIGABRT);
    EXPECT_TRUE(result.messages.ends_with("Top SNPs for each phenotype are in '" + name + "'\n")) << result.messages;
    EXPECT_EQ(folder.read(name + ".stats"), statisticsHeader + "height\t1\t0\t0\t0\t0\t0\t1\tperfect\t2\t2\t2\n");
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

// The scan as one would say it, a phenotype, a marker and a bin at a time: the judge of the fast one.
namespace {

struct Choices {
    int bins, statistic;
    bool isExact, isMeanX;
    double slopeLimit, limit;
};

std::string printed(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.6g", value == 0 ? 0.0 : value);
    return std::isnan(value) ? "nan" : text;
}

struct Fit {
    double slope, r2 = -1, t = -1, p = -1;
};

Fit fit(const std::vector<double> &x, const std::vector<double> &y, const Choices &choices)
{
    const size_t n = x.size();
    double sx = 0, sy = 0, sxy = 0, sxx = 0, residuals = 0, total = 0;
    for (size_t k = 0; k < n; ++k) {
        sx += x[k];
        sy += y[k];
        sxy += x[k] * y[k];
        sxx += x[k] * x[k];
    }
    Fit result = {(double(n) * sxy - sx * sy) / (double(n) * sxx - sx * sx)};
    if (std::fabs(result.slope) < choices.slopeLimit || n <= 2)
        return result;
    const double intercept = (sy - result.slope * sx) / double(n);
    for (size_t k = 0; k < n; ++k) {
        residuals += (y[k] - (intercept + result.slope * x[k])) * (y[k] - (intercept + result.slope * x[k]));
        total += (y[k] - sy / double(n)) * (y[k] - sy / double(n));
    }
    result.r2 = total == 0 ? 0 : 1 - residuals / total;
    if (result.r2 < 0)
        result.r2 = 0;
    const TTest test = lookUp(result.r2, int(n));
    result.t = test.t;
    result.p = test.p;
    return result;
}

std::vector<double> borders(std::vector<double> values, const Choices &choices)
{
    std::sort(values.begin(), values.end());
    std::vector<double> result = {values.front() - 1};
    const double width = (values.back() - values.front()) / choices.bins, step = double(values.size()) / choices.bins;
    for (int j = 1; j < choices.bins; ++j)
        result.push_back(choices.isExact ? values[size_t(std::max(j * step - 0.5, 0.0))] : values.front() + j * width);
    result.push_back(values.back() + 1);
    return result;
}

}  // namespace

TEST(Gwas, AgreesWithAPlainScanOnRandomFiles)
{
    static void (*const loaders[])() = {df1, df2, df3, df5, df5, df10, df10, df10, df10};
    for (uint64_t seed = 1; seed <= 150; ++seed) {
        RandomText random(seed);
        const Choices choices = {int(2 + random.below(11)), int(random.below(3)), random.oneIn(2), random.oneIn(2),
                             double(random.below(5)) / 20, random.oneIn(4) ? -1 : double(random.below(100)) / 100};
        if (choices.bins >= 3 && choices.bins <= 11)
            loaders[choices.bins - 3]();
        const int statistic = choices.bins >= 3 && choices.bins <= 5 ? choices.statistic : 0;
        const size_t individuals = random.oneIn(6) ? 800 + random.below(900) : 1 + random.below(40);

        std::string phenotypes, genotypes, hits = hitHeader, rows;
        std::vector<std::vector<double>> values(1 + random.below(4)), dosages(1 + random.below(30));
        for (auto &marker : dosages) {
            genotypes += "1\tm" + std::to_string(&marker - dosages.data()) + " 1  A G";
            for (size_t i = 0; i < individuals; ++i) {
                std::string dosage = random.number(random.below(2));
                if (std::all_of(dosage.begin(), dosage.end(), text::isWhiteSpace))
                    dosage = "x";  // would be no word
                marker.push_back(text::readDouble(dosage));
                genotypes += (random.oneIn(20) ? "  \t" : " ") + dosage;
            }
            genotypes += random.lineEnd();
        }
        for (auto &phenotype : values) {
            phenotypes += "p";
            for (size_t i = 0; i < individuals; ++i) {
                const bool isMissing = random.oneIn(5);
                phenotype.push_back(isMissing ? -999.999 : double(random.below(60)) / 4);
                phenotypes += " " + (isMissing ? "NA" : printed(phenotype.back()));
            }
            phenotypes += random.lineEnd();

            rows += "p\t" + std::to_string(&phenotype - values.data() + 1);
            std::vector<double> present = phenotype;
            std::erase(present, -999.999);
            if (present.empty()) {
                rows += "\t0\t0\t0\t0\t0\t0\tNA";
                for (int k = 0; k < choices.bins; ++k)
                    rows += "\t0";
                rows += "\n";
                continue;
            }
            const std::vector<double> border = borders(present, choices);
            int hitCount = 0, classes[3] = {};
            double largest = 0;
            std::string best = "NA", counts;
            for (size_t m = 0; m < dosages.size(); ++m) {
                std::vector<double> x, y;
                counts.clear();
                for (size_t k = 0; k + 1 < border.size(); ++k) {
                    int count = 0;
                    double dosageSum = 0, phenotypeSum = 0;
                    for (size_t i = 0; i < individuals; ++i) {
                        if (phenotype[i] != -999.999 && border[k] < phenotype[i] && phenotype[i] <= border[k + 1]) {
                            ++count;
                            dosageSum += dosages[m][i];
                            phenotypeSum += phenotype[i];
                        }
                    }
                    y.push_back(count ? dosageSum / count : 0);
                    x.push_back(!choices.isMeanX ? double(k) + 1 : count ? phenotypeSum / count : 0);
                    counts += "\t" + std::to_string(count);
                }
                const Fit f = fit(x, y, choices);
                const double slope = std::fabs(f.slope);
                const std::string marker = "m" + std::to_string(m);
                if (slope > largest) {
                    largest = slope;
                    best = marker;
                }
                if (!(statistic == 0 ? f.r2 >= choices.limit
                      : statistic == 1 ? f.t >= choices.limit && f.t != -1 : f.p <= choices.limit && f.p != -1))
                    continue;
                if (slope >= choices.slopeLimit) {
                    ++hitCount;
                    hits += "p\t" + marker + "\t" + printed(f.slope) + "\t" + printed(f.r2) + "\t"
                        + (f.t <= 0 ? "NA" : printed(f.t)) + "\t" + (f.p <= 0 ? "NA" : printed(f.p)) + "\n";
                }
                if (slope < 0.25 * choices.slopeLimit)
                    ++classes[0];
                else if (slope < 0.5 * choices.slopeLimit)
                    ++classes[1];
                else if (slope >= 2 * choices.slopeLimit)
                    ++classes[2];
            }
            for (const int count : {hitCount, hitCount, classes[0], classes[1], classes[2]})
                rows += "\t" + std::to_string(count);
            rows += "\t" + printed(largest) + "\t" + best + counts + "\n";
        }
        p.clear();
        t.clear();

        const Folder folder;
        folder.write("pheno", phenotypes);
        folder.write("geno", genotypes);
        static const char *const statistics[] = {"r2", "t", "p"};
        const Result result = scan(folder, {"-autobins", std::to_string(choices.bins), "-statistic", statistics[choices.statistic],
                                            "-method", choices.isExact ? "exact" : "quick", "-slope", printed(choices.slopeLimit),
                                            "-xmethod", choices.isMeanX ? "mean" : "integer", "-statlimit", printed(choices.limit)});
        ASSERT_EQ(result.status, 0) << seed;
        ASSERT_EQ(folder.read("out"), hits) << seed;
        const std::string found = folder.read("out.stats");
        ASSERT_EQ(found.substr(found.find('\n') + 1), rows) << seed;
    }
}
