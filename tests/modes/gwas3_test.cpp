#include "scans/classsums.h"
#include "modes/gwas3_literal.h"
#include "support/program.h"
#include "support/scaninput.h"
#include "support/scanmodel.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>

static const std::string hitHeader = "Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n";

static Result scan(const Folder &folder, std::string_view phenotypes, std::string_view genotypes,
                std::vector<std::string> options = {})
{
    folder.write("p", phenotypes);
    folder.write("g", genotypes);
    options.insert(options.begin(), {"-pfile", "p", "-gfile", "g", "-out", "o"});
    return folder.runMode("gwas3", options);
}

// Three individuals, one of each class.
static const std::string eachClass = "1 rs1 10 A G 1 0 0 0 1 0 0 0 1\n";

TEST(Gwas3, RegressesClassMeans)
{
    const struct {
        const char *name;
        std::string phenotypes, genotypes;
        std::vector<std::string> options;
        std::string hits, statistics;  // without their headers
    } cases[] = {
        {"hit", "a 1 2 4\n", eachClass, {"-statlimit", "0.2"}, "a\trs1\t1.5\t0.964286\t5.19615\t0.121071\n",
         "rs1\t1\t1\t1\t0\t0\t1\t1.5\t0.121071\ta\t1\t1\t1\n"},
        {"flat slopes pass without being hits", "a 1 2 4\nb 8 16 32\n", eachClass,
         {"-statlimit", "0.2", "-slope", "6"}, "b\trs1\t12\t0.964286\t5.19615\t0.121071\n",
         "rs1\t1\t1\t1\t0\t1\t1\t12\t0.121071\ta\t1\t1\t1\n"},
        {"perfect fit has no t and p", "a 3 2 1\n", eachClass, {"-statistic", "r2"},
         "a\trs1\t-1\t1\tNA\tNA\n", "rs1\t1\t1\t1\t0\t0\t1\t1\t1\ta\t1\t1\t1\n"},
        {"first of equal phenotypes is the best", "a 5 5 5\nb 1 2 4\nc 1 2 4\n", eachClass, {},
         "", "rs1\t1\t0\t0\t0\t0\t0\t1.5\t0.121071\tb\t1\t1\t1\n"},
        {"nearest class", "a 1 2 4 2 1\n", "1 rs1 10 A G 0 0.2 0.1 0 0.5 0.25 0 0 1 0 2 -0.5 0 -1 -0.2\n", {},
         "", "rs1\t1\t0\t0\t0\t0\t0\t1.5\t0.121071\ta\t2\t2\t1\n"},
        {"empty class counts as mean 0", "a 2 4 4 4\n", "1 rs1 10 A G 0 0 1 0 1 0 0 1 0 0 1 0\n", {},
         "", "rs1\t1\t0\t0\t0\t0\t0\t1\t0.666672\ta\t0\t3\t1\n"},
        {"counts of the last phenotype where none is best", "a 5 5 5\nb 6 NA 6\n",
         "1 rs1 10 A G 0 1 0 0 1 0 0 1 0\n", {"-statistic", "t", "-missing", "6"},
         "", "rs1\t1\t0\t0\t0\t0\t0\t0\t-1\tNA\t0\t1\t0\n"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        const Result run = scan(folder, row.phenotypes, row.genotypes, row.options);
        EXPECT_EQ(run.status, 0) << row.name;
        EXPECT_EQ(folder.read("o"), hitHeader + row.hits) << row.name;
        const std::string statistics = folder.read("o.stats");
        EXPECT_EQ(statistics.substr(statistics.find('\n') + 1), row.statistics) << row.name;
    }
}

TEST(Gwas3, EndsWithItsMessage)
{
    const std::string hit = "a\trs1\t1.5\t0.964286\t5.19615\t0.121071\n", none = "(no file)";
    const struct {
        std::string phenotypes, genotypes, message, hits;
    } cases[] = {
        {"a 1 2 4\nb 1 2\n", eachClass, "rows\nInconsistent number of columns in pheno file\n", none},
        {"a 1 2 4\nb 1 2 3\n", "1 rs1 10 A G 1 0 0 0 1 0\n",
         "rows\nPheno file and geno file contain different number of individuals\n", none},
        {"a 1 2 4\n", eachClass + "1 rs2 10 A G 1 0 0 0 1 0 0 0 1 0\n",
         "rows\nInconsistent number of columns in geno file\n", hitHeader + hit},
        {"a 1 2 4 NA\nb 1 2 4 5\n", "1 rs1 10 A G 1 0 0 0 1 0 0 0 1 0 1 1\n", "and 2 rows\ngValue error\n",
         hitHeader + hit},
        {"", "", "Phenotype file contains 0 columns and 0 rows\nGenotype file contains 0 columns and -1 rows\n"
                 "Your files:\nPhenotypes taken from 'p'\nGenotypes taken from 'g'\n"
                 "Top phenotypes for each SNP are in 'o'\nSummary statistics by the SNP are in 'o.stats'\n\n", hitHeader},
    };
    for (const auto &row : cases) {
        const Folder folder;
        const Result result = scan(folder, row.phenotypes, row.genotypes, {"-statlimit", "0.2"});
        EXPECT_EQ(result.status, row.phenotypes.empty() ? 0 : 1) << row.message;
        EXPECT_TRUE(result.messages.ends_with(row.message)) << result.messages;
        EXPECT_EQ(folder.read("o"), row.hits) << row.message;
    }
    const Folder folder;
    EXPECT_EQ(folder.runMode("gwas3", {"-gfile", "g"}).messages, "You need to specify '-pfile'.\n\n");
    EXPECT_EQ(folder.runMode("GWAS3", {"-pfile", "p"}).messages, "You need to specify '-gfile'.\n\n");
}

static void compareWithPlainLoop(const LiteralScan &plain, const std::string &phenotypes,
                                 const std::string &genotypes, uint64_t seed)
{
    const Folder folder;
    static const char *const statistics[] = {"r2", "t", "p"};
    const Result result = scan(folder, phenotypes, genotypes,
                               {"-statlimit", plainText(plain.statisticLimit), "-slope", plainText(plain.slopeLimit),
                                "-statistic", statistics[plain.statistic], "-delim",
                                plain.delimiter == "\t"  ? "tab"
                                : plain.delimiter == "," ? "comma"
                                : plain.delimiter == ";" ? "semicolon"
                                                         : "space"});
    ASSERT_EQ(result.status, plain.status) << seed;
    ASSERT_EQ(result.messages, plain.messages) << seed;
    ASSERT_TRUE(folder.read("o") == plain.hits) << seed;
    ASSERT_TRUE(folder.read("o.stats") == plain.statistics) << seed;
}

TEST(Gwas3, GivesTheBytesOfThePlainLoop)
{
    static const double limits[] = {0.05, 0.05, 0.2, 0.5, 1, 0, -1, -2, 6e-9, 5e-9, 0.9, 3.3, 1e-4, NAN};
    static const double slopes[] = {0.1, 0, 0.5, 2, 1e-12};
    int hitRuns = 0, errorRuns = 0, completeRuns = 0;
    for (uint64_t seed = 1; seed <= 400; ++seed) {
        ScanInput input(seed);
        if (seed % 8 == 0)
            input.delimiter = seed % 16 ? "," : ";";
        const std::string phenotypes = input.phenotypes(), genotypes = input.triplets();
        LiteralScan plain;
        plain.delimiter = input.delimiter;
        plain.statisticLimit = limits[input.below(std::size(limits))];
        plain.slopeLimit = slopes[input.below(std::size(slopes))];
        plain.statistic = int(input.below(3));
        plain.run(phenotypes, genotypes);
        compareWithPlainLoop(plain, phenotypes, genotypes, seed);
        hitRuns += plain.hits.size() > hitHeader.size() + 9;
        errorRuns += plain.messages.find("gValue") != std::string::npos;
        completeRuns += plain.status == 0;
    }
    // The random files reach what they are meant to reach.
    EXPECT_GT(hitRuns, 100);
    EXPECT_GT(errorRuns, 10);
    EXPECT_GT(completeRuns, 200);
}

// Behind the last line lie the rests of earlier ones, which must not be taken for its end.
TEST(Gwas3, EndsALastLineWithoutALineEnd)
{
    std::string phenotypes = "f", genotypes;
    for (int i = 0; i < 100; ++i)
        phenotypes += " " + std::to_string(i * i % 17);
    for (int marker = 0; marker < 450; ++marker) {
        genotypes += "1 rs 10 A G";
        for (int i = 0; i < 100; ++i)
            genotypes += (i * i + marker) % 3 == 1 ? " 0 0 1" : " 0 1 0";
        genotypes += '\n';
    }
    for (const size_t cut : {1, 2, 7}) {
        LiteralScan plain;
        const std::string input = genotypes.substr(0, genotypes.size() - cut);
        plain.run(phenotypes, input);
        compareWithPlainLoop(plain, phenotypes, input, cut);
    }
}

// Everything that the kernels compute for a random tile, as bytes.
static std::string kernelResults(const ScanKernels &kernels, uint64_t seed)
{
    std::mt19937_64 random(seed);
    const size_t groups = 1 + random() % blockGroups, width = groups * groupLanes;
    const size_t rows = 1 + random() % 200, words = random() % 80;
    std::vector<double> values(rows * width), sums(classCount * width), counts(classCount * groupLanes);
    for (double &value : values)
        value = random() % 50 == 0 ? std::ldexp(1.0, 1020) : double(random() % 2000) / 7 - 100;
    std::vector<uint16_t> order, orderCounts;
    for (size_t k = 0; k < classCount; ++k) {
        orderCounts.push_back(uint16_t(random() % 100));
        for (size_t i = 0; i < orderCounts.back(); ++i)
            order.push_back(uint16_t(random() % rows));
    }
    kernels.addRows(values.data(), groups, order.data(), orderCounts.data(), sums.data());

    std::vector<uint64_t> present(words * groupLanes), class1(words), class2(words);
    const bool isFull = seed % 4 == 0;  // thousands of one class, hardly one of them without a value
    for (uint64_t &bits : present)
        bits = isFull ? ~uint64_t(0) : random() | random();
    for (size_t i = 0; i < words; ++i) {
        class1[i] = isFull || random() % 5 == 0 ? ~uint64_t(0) : random();
        class2[i] = ~class1[i] & random();
    }
    const std::vector<double> presentCounts(groupLanes, 10000);
    kernels.countPresent(present.data(), presentCounts.data(), class1.data(), class2.data(), words, counts.data());
    for (size_t lane = 0; lane < groupLanes; ++lane) {
        double plain = 0;
        for (size_t word = 0; word < words; ++word)
            plain += std::popcount(present[word * groupLanes + lane] & class1[word]);
        EXPECT_EQ(counts[groupLanes + lane], plain) << kernels.name << ", seed " << seed;
    }

    LaneBests bests = {};
    std::vector<double> slopes(width), r2s(width);
    for (size_t i = 0; i < width; i += groupLanes)
        kernels.fitGroup(&sums[i], width, counts.data(), 1, &slopes[i], &r2s[i], bests);
    const std::vector<double> largest(bests.absSlope, bests.r2 + groupLanes);
    return exactText({&sums, &counts, &slopes, &r2s, &largest});
}

TEST(ClassSums, AreTheSameWithAnyInstructions)
{
    expectSameWithAnyInstructions(kernelResults);
}
