#include "scans/classsums.h"
#include "support/kernels.h"
#include "support/scaninput.h"
#include "support/scanmodel.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>

static const std::string hitHeader = "Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n";

// Three individuals, one of each class.
static const std::string eachClass = "1 rs1 10 A G 1 0 0 0 1 0 0 0 1\n";
static const std::string hit = hitHeader + "a\trs1\t1.5\t0.964286\t5.19615\t0.121071\n";

static const Runs scans = {"gwas3", {"-pfile", "p", "-gfile", "g", "-out", "o"}, {"p", "g"}, {"o", "o.stats"}};

TEST(Gwas3, RegressesClassMeans)
{
    const std::string written = "Your files:\nPhenotypes taken from 'p'\nGenotypes taken from 'g'\n"
                                "Top phenotypes for each SNP are in 'o'\n"
                                "Summary statistics by the SNP are in 'o.stats'\n\n";
    const std::string header = "...\tBestPheno\tgroup1\tgroup2\tgroup3\n";
    expectRuns(scans, {
        {"hit", {"a 1 2 4\n", eachClass}, {"-statlimit", "0.2"},
         {hit, "Marker\tMarkerID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\tp-value\tBestPheno\t"
               "group1\tgroup2\tgroup3\nrs1\t1\t1\t1\t0\t0\t1\t1.5\t0.121071\ta\t1\t1\t1\n"},
         "Phenotype file contains 4 columns and 1 rows\nGenotype file contains 14 columns and 0 rows\n" + written},
        {"no lines", {"", ""}, {}, {hitHeader, header},
         "Phenotype file contains 0 columns and 0 rows\nGenotype file contains 0 columns and -1 rows\n" + written},
        {"flat slopes pass without being hits", {"a 1 2 4\nb 8 16 32\n", eachClass},
         {"-statlimit", "0.2", "-slope", "6"},
         {hitHeader + "b\trs1\t12\t0.964286\t5.19615\t0.121071\n",
          header + "rs1\t1\t1\t1\t0\t1\t1\t12\t0.121071\ta\t1\t1\t1\n"}},
        {"perfect fit has no t and p", {"a 3 2 1\n", eachClass}, {"-statistic", "r2"},
         {hitHeader + "a\trs1\t-1\t1\tNA\tNA\n", header + "rs1\t1\t1\t1\t0\t0\t1\t1\t1\ta\t1\t1\t1\n"}},
        {"first of equal phenotypes is the best", {"a 5 5 5\nb 1 2 4\nc 1 2 4\n", eachClass}, {},
         {hitHeader, header + "rs1\t1\t0\t0\t0\t0\t0\t1.5\t0.121071\tb\t1\t1\t1\n"}},
        {"nearest class", {"a 1 2 4 2 1\n", "1 rs1 10 A G 0 0.2 0.1 0 0.5 0.25 0 0 1 0 2 -0.5 0 -1 -0.2\n"}, {},
         {hitHeader, header + "rs1\t1\t0\t0\t0\t0\t0\t1.5\t0.121071\ta\t2\t2\t1\n"}},
        {"empty class counts as mean 0", {"a 2 4 4 4\n", "1 rs1 10 A G 0 0 1 0 1 0 0 1 0 0 1 0\n"}, {},
         {hitHeader, header + "rs1\t1\t0\t0\t0\t0\t0\t1\t0.666672\ta\t0\t3\t1\n"}},
        {"counts of the last phenotype where none is best",
         {"a 5 5 5\nb 6 NA 6\n", "1 rs1 10 A G 0 1 0 0 1 0 0 1 0\n"}, {"-statistic", "t", "-missing", "6"},
         {hitHeader, header + "rs1\t1\t0\t0\t0\t0\t0\t0\t-1\tNA\t0\t1\t0\n"}},
    });
}

TEST(Gwas3, EndsWithItsMessage)
{
    Runs failing = scans;
    failing.status = 1;
    failing.options.insert(failing.options.end(), {"-statlimit", "0.2"});
    const std::string longer = "1 rs2 10 A G 1 0 0 0 1 0 0 0 1 0\n";
    expectRuns(failing, {
        {"uneven phenotypes", {"a 1 2 4\nb 1 2\n", eachClass}, {}, {},
         "...rows\nInconsistent number of columns in pheno file\n"},
        {"other individuals", {"a 1 2 4\nb 1 2 3\n", "1 rs1 10 A G 1 0 0 0 1 0\n"}, {}, {},
         "...rows\nPheno file and geno file contain different number of individuals\n"},
        {"uneven markers", {"a 1 2 4\n", eachClass + longer}, {}, {hit, "..."},
         "...rows\nInconsistent number of columns in geno file\n"},
        {"no genotype of someone with a value", {"a 1 2 4 NA\nb 1 2 4 5\n", "1 rs1 10 A G 1 0 0 0 1 0 0 0 1 0 1 1\n"},
         {},
         {hit, "..."}, "...and 2 rows\ngValue error\n"},
    });
    const Folder folder;
    EXPECT_EQ(folder.runMode("gwas3", {"-gfile", "g"}).messages, "You need to specify '-pfile'.\n\n");
    EXPECT_EQ(folder.runMode("GWAS3", {"-pfile", "p"}).messages, "You need to specify '-gfile'.\n\n");
}

TEST(Gwas3, GivesTheBytesOfThePlainLoop)
{
    static const double limits[] = {0.05, 0.05, 0.2, 0.5, 1, 0, -1, -2, 6e-9, 5e-9, 0.9, 3.3, 1e-4, NAN};
    static const double slopes[] = {0.1, 0, 0.5, 2, 1e-12};
    static const char *const statistics[] = {"r2", "t", "p"};
    int hitRuns = 0, errorRuns = 0, completeRuns = 0;
    for (uint64_t seed = 1; seed <= 400; ++seed) {
        ScanInput input(seed);
        if (seed % 8 == 0)
            input.delimiter = seed % 16 ? "," : ";";
        const std::string phenotypes = input.phenotypes(), genotypes = input.triplets();
        PlainScan plain;
        plain.delimiter = input.delimiter;
        plain.limit = limits[input.below(std::size(limits))];
        plain.slopeLimit = slopes[input.below(std::size(slopes))];
        plain.statistic = int(input.below(3));
        plain.run(phenotypes, genotypes);
        Runs runs = scans;
        runs.status = plain.error.empty() ? 0 : 1;
        runs.messages = "..." + plain.error;
        const std::map<std::string, std::string> words = {{" ", "space"}, {"\t", "tab"}, {",", "comma"},
            {";", "semicolon"}};
        const Texts options = {"-statlimit", plainText(plain.limit), "-slope", plainText(plain.slopeLimit),
            "-statistic",
                               statistics[plain.statistic], "-delim", words.at(plain.delimiter)};
        expectRuns(runs, {{"seed " + std::to_string(seed), {phenotypes, genotypes}, options,
            {plain.hits, plain.statistics}}});
        ASSERT_FALSE(HasFailure());
        hitRuns += plain.hits.size() > hitHeader.size();
        errorRuns += plain.error.starts_with("gValue");
        completeRuns += plain.error.empty();
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
    const Folder folder;
    folder.write("p", phenotypes);
    for (const size_t cut : {1, 2, 7}) {
        std::string results[2];
        for (const char *end : {"", "\n"}) {
            folder.write("g", genotypes.substr(0, genotypes.size() - cut) + end);
            const Result run = folder.runMode("gwas3", scans.options);
            EXPECT_EQ(run.status, cut > 1);  // a word less
            results[*end ? 1 : 0] = run.messages + folder.read("o") + folder.read("o.stats");
        }
        EXPECT_EQ(results[0], results[1]) << cut;
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
