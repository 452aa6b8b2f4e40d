#include "support/scaninput.h"
#include "support/scanmodel.h"

#include <gtest/gtest.h>

static const std::string hitHeader = "Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n";
static const std::string statisticsHeader
    = "Pheno\tPhenoID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\tBestSNP\tgroup1\tgroup2\tgroup3\n";

static const std::string six = "height 1 2 3 4 5 6\n";

// In bins of two the means of the first marker are 0, 1 and 2.
static const std::string three = "1 perfect 1 A G 0 0 1 1 2 2\n"
                                 "1 falling 2 A G 2 2 2 1 0 0\n"
                                 "1 flat 3 A G 1 1 1 1 1 1\n";

static const Runs scans = {"gwas", {"-pfile", "pheno", "-gfile", "geno", "-out", "out"}, {"pheno", "geno"},
                           {"out", "out.stats"}};

TEST(Gwas, ReportsSettingsHitsAndStatistics)
{
    // The means 2, 1.5 and 0 fall by 1 a bin: R2 = 12/13, t the root of 12, p between its rows 0.18 and 0.175. The
    // perfect fit has no p, and so is no hit.
    expectRuns(scans, {{"", {six, three}, {"-statlimit", "0.2"},
                        {hitHeader + "height\tfalling\t-1\t0.923077\t3.4641\t0.178936\n",
                         statisticsHeader + "height\t1\t1\t1\t0\t0\t1\t1\tperfect\t2\t2\t2\n"},
                        "Bintype code 1\nMethod code 1\nGroups code 0\nStatistic code 2\nXmethod code 0\n"
                        "Bin ranges treated as relative to min and max\n"
                        "Exact (slower) method used to assign bin borders\n"
                        "Bin ranges assigned automatically\n"
                        "\nrunning gwas() ...\n\n"
                        "Your files:\nPhenotypes taken from 'pheno'\nGenotypes taken from 'geno'\n"
                        "Top SNPs for each phenotype are in 'out'\n"
                        "Summary statistics by the phenotype are in 'out.stats'\n\n"}});
}

// What the comparison with a plain scan below leaves out, and what makes it believable.
TEST(Gwas, BinsAndDecidesByItsOptions)
{
    const std::string perfect = "height\tperfect\t1\t1\tNA\tNA\n", flat = "height\tflat\t0\t0\tNA\tNA\n",
        unfit = "\t-1\tNA\tNA\n";
    const std::string falling = "height\tfalling\t-1\t0.923077\t3.4641\t0.178936\n", gaps = "height 1 2 3 4 9 10\n";
    Runs runs = scans;
    runs.files["bins"] = "0  0.25\r\n\n0.25 1\n";
    expectRuns(runs, {
        {"a slope at the limit is a hit, and not twice it", {six, three}, {"-statistic", "r2", "-slope", "1"},
         {hitHeader + perfect + falling, "...\t2\t2\t0\t0\t0\t1\tperfect\t2\t2\t2\n"}},
        {"a limit below 0 is 0", {six, three}, {"-statistic", "r2", "-statlimit", "x", "-slope", "-1"},
         {hitHeader + perfect + falling + flat, "...\t3\t3\t0\t0\t3\t1\tperfect\t2\t2\t2\n"}},
        {"what is below the limit has no R2", {six, three}, {"-statistic", "r2", "-statlimit", "-1", "-slope", "4"},
         {hitHeader, "...\t0\t0\t1\t2\t0\t1\tperfect\t2\t2\t2\n"}},
        {"mean", {six, three}, {"-xmethod", "mean", "-statistic", "t", "-statlimit", "3"},
         {hitHeader + "height\tfalling\t-0.5\t0.923077\t3.4641\t0.178936\n",
          "...\t1\t1\t0\t0\t1\t0.5\tperfect\t2\t2\t2\n"}},
        // Only a limit of -1 lets them pass, by R2 whatever was asked for.
        {"two bins have no R2, t or p", {six, three}, {"-autobins", "2", "-statlimit", "-1", "-statistic", "t"},
         {hitHeader + "height\tperfect\t1.33333" + unfit + "height\tfalling\t-1.66667" + unfit, "...\t3\t3\n"}},
        {"quick", {gaps, three}, {"-method", "quick"}, {hitHeader, "...\t4\t0\t2\n"}},
        {"empty bins among manual ones", {gaps, three}, {"-manualbins", "0:0.5,,0.5:1,"}, {hitHeader, "...\t3\t3\n"}},
        {"bins apart", {gaps, three}, {"-manualbins", "0:0.25,0.75:1"}, {hitHeader, "...\t2\t1\n"}},
        {"bins overlap", {gaps, three}, {"-manualbins", "0:0.5,0.01:1", "-method", "quick"},
         {hitHeader, "...\t4\t5\n"}},
        {"bins of a file", {gaps, three}, {"-binfile", "bins"}, {hitHeader, "...\t2\t4\n"}},
        {"automatic before a file", {gaps, three}, {"-binfile", "missing", "-autobins", "3"},
         {hitHeader, "...\t2\t2\t2\n"}},
        {"a file before manual", {gaps, three}, {"-manualbins", "x", "-binfile", "bins"}, {hitHeader, "...\t2\t4\n"}},
        {"delimiter", {"a b--1--2--3--4--5--6", three}, {"-delim", "--"},
         {hitHeader, "...\na b\t1\t0\t0\t0\t0\t0\t1\tperfect\t2\t2\t2\n"}},
        {"word for missing", {"a -9 2 3 4 5 6  -9 \n", three}, {"-missing", "-9"}, {hitHeader, "...\t2\t1\t2\n"}},
        {"number for missing", {"\n\r\na -999.999 2 3 4 5 6", three}, {}, {hitHeader, "...\t1\t2\t2\n"}},
    });
}

TEST(Gwas, EndsWithItsMessage)
{
    const std::string few = "...You need to choose at least 2 bins\n",
        sequential = "Bins must be sequential and non-overlapping.\n\n";
    const std::string problems = " problem(s) found with bin definitions.\n" + sequential;
    const std::string outside = "...Bin borders must be between 0.0 and 1.0\n",
        format = "...Group file has unknown format\n";
    const std::string individuals = "...Pheno file and geno file contain different number of individuals\n";
    const std::string columns = "...Inconsistent number of columns in geno file\n";
    const std::string marker = "1 m 1 A G 0 1 2\n", hits = hitHeader + "a\tm\t1\t1\tNA\tNA\n";
    Runs runs = scans;
    runs.status = 1;
    runs.files = {{"pheno", "a 1 2 3\n"}, {"geno", marker}, {"empty", ""}, {"falling", "0.6 0.2\n"},
                  {"outside", "0 0.5\n0.5 1.1\n"}, {"three", "0 0.5 1\n"}};
    runs.options.insert(runs.options.end(), {"-statistic", "r2", "-statlimit", "0"});
    expectRuns(runs, {
        {"one bin", {}, {"-autobins", "1"}, {hitHeader, "..."}, few},
        {"no bin", {}, {"-autobins", "0"}, {hitHeader, "..."}, few},
        {"fewer", {}, {"-autobins", "-7"}, {hitHeader, "..."}, few},
        {"no manual bin", {}, {"-manualbins", ","}, {hitHeader, "..."}, few},
        {"no bin in the file", {}, {"-binfile", "empty"}, {hitHeader, "..."}, few},
        {"absolute", {}, {"-bintype", "absolute"}, {hitHeader, "..."}, few},
        {"overlap", {}, {"-manualbins", "0:0.5,0.4:1"}, {}, "...\n1" + problems},
        {"order", {}, {"-manualbins", "0.5:1,0:0.5"}, {}, "...\n4" + problems},
        {"empty, and by its end and start beside others", {}, {"-manualbins", "0:0.5,0.5:0.5,0.5:1"}, {},
         "...\n3" + problems},
        {"outside", {}, {"-manualbins", "0:1.5", "-bintype", "absolute"}, {}, outside},
        {"no number", {}, {"-manualbins", "0:nan"}, {}, outside},
        {"three borders", {}, {"-manualbins", "0:0.5:1"}, {}, "...Incorrect ranges defined\n"},
        {"falling", {}, {"-binfile", "falling"}, {}, "...Min group border bust be smaller than max group border\n"},
        {"outside in the file", {}, {"-binfile", "outside"}, {}, "...group borders must be between 0.0 and 1.0\n"},
        {"three in the file", {}, {"-binfile", "three"}, {}, format},
        {"other delimiter", {}, {"-binfile", "falling", "-delim", "tab"}, {}, format},
        {"fewer phenotypes", {"a 1 2\n"}, {}, {hitHeader, statisticsHeader}, individuals},
        {"more phenotypes", {"a 1 2 3 4\n"}, {}, {hitHeader, statisticsHeader}, individuals},
        {"no markers", {"a 1\n", ""}, {}, {hitHeader, statisticsHeader}, individuals},
        // Hits before the wrong line are kept.
        {"fewer columns", {"a 1 2 3\n", marker + "1 n 2 A G 0 1\n"}, {}, {hits, statisticsHeader}, columns},
        {"more columns", {"a 1 2 3\n", marker + "1 n 2 A G 0 1 2 0\n"}, {}, {hits, statisticsHeader}, columns},
    });
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
    std::string phenotypes;
    for (int i = 1; i <= 2001; ++i)
        phenotypes += i % 1000 ? "a 1 2 3\n" : "a NA NA NA\n";
    const Folder folder;
    folder.write("pheno", phenotypes);
    folder.write("geno", "1 m 1 A G 0 1 2\n");
    const std::string messages = folder.runMode("gwas", scans.options).messages;
    EXPECT_NE(messages.find("\n\nPhenotype a has no values\n1000 done\nPhenotype a has no values\n2000 done\nYour"),
              std::string::npos) << messages;
}

TEST(Gwas, AgreesWithAPlainScanOnRandomFiles)
{
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
        plain.delimiter = input.delimiter;
        plain.bins = 2 + input.below(11);
        plain.statistic = int(input.below(3));
        plain.isExact = input.oneIn(2);
        plain.hasMeans = input.oneIn(2);
        plain.slopeLimit = double(input.below(5)) / 20;
        plain.limit = input.oneIn(4) ? -1 : double(input.below(100)) / 100;
        plain.run(phenotypes, genotypes);
        const Texts options = {"-autobins", std::to_string(plain.bins), "-statistic", statistics[plain.statistic],
            "-method",
                               plain.isExact ? "exact" : "quick", "-slope", plainText(plain.slopeLimit), "-xmethod",
                               plain.hasMeans ? "mean" : "integer", "-statlimit", plainText(plain.limit), "-delim",
                               input.delimiter == "\t" ? "tab" : "space"};
        expectRuns(scans, {{"seed " + std::to_string(seed), {phenotypes, genotypes}, options,
            {plain.hits, plain.statistics}}});
        ASSERT_FALSE(HasFailure());
    }
}
