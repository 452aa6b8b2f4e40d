#include "modes/gwas2.h"
#include "main/options.h"
#include "scans/binsums.h"
#include "support/kernels.h"
#include "support/program.h"
#include "support/scaninput.h"

#include <cmath>
#include <gtest/gtest.h>
#include <unistd.h>

// The messages of gwas on its dosage file as gwas2 would give them on its genotype file.
static std::string translated(std::string messages)
{
    for (const auto &[from, to] : {std::pair("running gwas()", "running gwas2()"), std::pair("'dosages'", "'geno'")}) {
        if (const size_t at = messages.find(from); at != messages.npos)
            messages.replace(at, std::string_view(from).size(), to);
    }
    return messages;
}

// Runs gwas, after gentoAD for triplets, and gwas2: both must do the same to the last byte.
static void compareWithGwas(const Folder &folder, std::vector<std::string> options, bool isTriplets, uint64_t seed)
{
    if (isTriplets)
        folder.runMode("gentoAD", {"-file", "geno", "-out", "dosages"});
    else
        folder.write("dosages", folder.read("geno"));
    options.insert(options.end(), {"-pfile", "pheno", "-gfile", "dosages"});
    const Result expected = folder.runMode("gwas", options);
    const std::map<std::string, std::string> files = folder.files();
    for (const auto &[name, content] : files) {
        if (name.starts_with("o"))
            unlink(folder.path(name).c_str());
    }
    options.back() = "geno";
    options.insert(options.end(), {"-format", isTriplets ? "triplet" : seed % 2 ? "dosage" : "other"});
    const Result result = folder.runMode(seed % 3 ? "gwas2" : "GWAS2", options);
    ASSERT_EQ(result.status, expected.status) << seed;
    ASSERT_EQ(result.messages, translated(expected.messages)) << seed;
    ASSERT_TRUE(folder.files() == files) << seed;
}

TEST(Gwas2, GivesTheBytesOfGwas)
{
    static const char *const bins[][2] = {{"-autobins", "2"}, {"-autobins", "3"}, {"-autobins", "3"}, {"-autobins", "4"},
        {"-autobins", "5"}, {"-autobins", "7"}, {"-autobins", "10"}, {"-autobins", "12"}, {"-autobins", "1"},
        {"-binfile", "bins"}, {"-manualbins", "0:0.5,0.01:1"}, {"-manualbins", "0:0.6,0.4:1,0:1"}};
    int hitRuns = 0;
    for (uint64_t seed = 1; seed <= 250; ++seed) {
        ScanInput input(seed);
        const bool isTriplets = input.oneIn(2);
        const Folder folder;
        folder.write("pheno", input.phenotypes());
        folder.write("geno", isTriplets ? input.triplets() : input.dosages());
        folder.write("bins", "0 0.3\n0.3 0.5\n0.7 1\n");
        const auto &bin = bins[input.below(std::size(bins))];
        compareWithGwas(folder,
                        {bin[0], bin[1], "-delim", input.delimiter == "\t" ? "tab" : "space",
                         "-out", input.oneIn(30) ? std::string(94, 'o') : "o",
                         "-method", input.oneOf({"exact", "quick", "quick"}),
                         "-bintype", input.oneIn(30) ? "absolute" : "relative",
                         "-xmethod", input.oneOf({"integer", "mean"}), "-missing", input.oneOf({"NA", "NA", "1"}),
                         "-slope", input.oneOf({"0.1", "0", "0.5", "nan", "inf", "1e-300"}),
                         "-statistic", input.oneOf({"p", "t", "r2"}),
                         "-statlimit", input.oneOf({"0.05", "0.3", "1", "0.9", "-1", "-2", "0", "nan", "5.05e-9"})},
                        isTriplets, seed);
        const std::string hits = folder.read("o");
        hitRuns += std::count(hits.begin(), hits.end(), '\n') > 1;
        if (HasFatalFailure())
            return;
    }
    EXPECT_GT(hitRuns, 40);  // the random files reach what they are meant to reach
}

// What the random files seldom have.
TEST(Gwas2, GivesTheBytesOfGwasOnOddFiles)
{
    const std::string phenotypes = "a NA NA\nb 1 2\nc 2 1\n", marker = " m 1 A G 0 1 0 0 0 1\n";
    std::string many;
    for (int i = 0; i < 2001; ++i)
        many += i % 500 == 499 ? "e NA NA\n" : "f 1 2\n";
    std::string eight;
    for (int i = 0; i < 8; ++i)
        eight += "1 m 1 A G 0 1 2 " + std::to_string(i % 3) + "\n";
    const struct {
        std::string phenotypes, genotypes;
        bool isTriplets;
    } cases[] = {
        {"", "", false},
        {many, "1 m 1 A G 0 1\n", false},
        {"a NA NA\nb NA NA\n", "1 m 1 A G 0 1\n1 m 1 A G 0\n", false},
        {phenotypes, "1 m 1 A G 0 1\n1 n 1 A G 2 0\n1 o 1 A G 0\n", false},
        {phenotypes + "d 1\ne 1 2\n", "1 m 1 A G 0 1\n1 n 1 A G 2 0\n", false},
        {phenotypes + "d 1\n", "1 m 1 A G 0 1\n1 o 1 A G 0 1 1\n", false},
        // The last one, which is not short, begins a group of its own behind eight short ones.
        {"a 1 2 3 4\n", eight + "1 m 1 A G 0.12345 0.5 1.5 1.98765\n", false},
        // No R2 can be formed, but none is needed where the slope is too small.
        {"a 1 2 3\nb 1 2 3\n", "1 m 1 A G 1e200 3e200 1e200\n1 m 1 A G 2e200 1e200 2e200\n", false},
        // A line with two fields left over, or without triplets, goes on with the next one.
        {"a 1 2\n", "1" + marker + "1 n 1 A G 0 1 0 0 0\n1 n 1 A G 0 1 0 0 0 1 0\n", true},
        {"a 1 2\n", "1" + marker + "1 n 1\n2 A G 0 1 0 0 0 1 0 1\n1" + marker, true},
        {"a 1 2 3 1 2 9 9\n", "1 m 1 A G 0 1 0 0 0\n1" + marker, true},
        // Values are rounded to six digits; fields are parted at single blanks.
        {"a 1 2\n", "1 m 1 A G 0 0.12345678 0 0 0.9999999 0\n1 n 1 A G  0 1 0 0.5 0.25 0.25\n", true},
        {"a 1 2\n", "1\tm 1 A G 0 0.5 0 1 0 0\n1 m 1 A G 0 nan inf 0 1\t0\r\r\n", true},
        {"a 1 2\n", "1 m 1 A G 0 1 0 0 0 1 \n1 m 1 A G 0 1 0 0 0 1  ", true},
    };
    for (const auto &row : cases) {
        for (const auto &[limit, slope] : {std::pair("0", "0"), std::pair("-1", "0.5")}) {
            const Folder folder;
            folder.write("pheno", row.phenotypes);
            folder.write("geno", row.genotypes);
            compareWithGwas(folder, {"-out", "o", "-statistic", "r2", "-statlimit", limit, "-slope", slope},
                            row.isTriplets, uint64_t(&row - cases));
        }
    }
}

// Where memory is short there are more passes, and hits on the disk. A pipe can be read once only.
TEST(Gwas2, NeedsNoMoreMemoryThanThereIs)
{
    for (uint64_t seed = 1; seed <= 40; ++seed) {
        ScanInput input(seed);
        input.isTame = true;
        input.delimiter = " ";
        const Folder folder;
        const std::string genotypes = seed % 2 ? input.dosages() : input.triplets();
        if (genotypes.empty())
            continue;  // ends with a message, and here that would be the end of the test
        folder.write("pheno", input.phenotypes());
        folder.write("geno", genotypes);
        std::vector<std::string> options
            = {"-autobins", "4", "-slope", "0", "-statlimit", "0.9", "-format", seed % 2 ? "dosage" : "triplet",
               "-pfile", folder.path("pheno"), "-gfile", folder.path("geno"), "-out", folder.path("o")};
        folder.runMode("gwas2", options);
        const std::string hits = folder.read("o"), statistics = folder.read("o.stats");

        int pipeEnds[2];
        ASSERT_EQ(pipe(pipeEnds), 0);
        const bool isPipe = seed % 3 == 0 && genotypes.size() < 60000;  // more may not fit
        if (isPipe) {
            ASSERT_EQ(write(pipeEnds[1], genotypes.data(), genotypes.size()), ssize_t(genotypes.size()));
            options[11] = "/dev/fd/" + std::to_string(pipeEnds[0]);
        }
        close(pipeEnds[1]);
        Switches.assign(options.begin(), options.end());
        gwas2Within({input.oneIn(2) ? 1 + input.below(3000) : size_t(-1), input.below(3000)});
        Switches.clear();
        close(pipeEnds[0]);
        ASSERT_TRUE(folder.read("o") == hits) << seed;
        ASSERT_TRUE(folder.read("o.stats") == statistics) << seed;
    }
}

// Everything that the kernels compute for a random tile, as bytes.
static std::string kernelResults(const BinKernels &kernels, uint64_t seed)
{
    std::mt19937_64 random(seed);
    const size_t bins = 2 + random() % 6, phenotypes = 1 + random() % 3;
    std::vector<double> rows(tileRows * blockMarkers), sums(phenotypes * bins * blockMarkers), x(bins);
    for (double &value : rows)
        value = random() % 500 == 0 ? std::ldexp(1.0, 1020) : double(random() % 2000) / 999;
    std::vector<uint8_t> members;
    for (size_t k = 0; k < phenotypes * bins; ++k) {
        members.push_back(uint8_t(random() % 3 ? random() % (tileRows + 1) : 0));
        for (size_t i = members.back(); i > 0; --i)
            members.push_back(uint8_t(random() % tileRows));
    }
    kernels.addTile(rows.data(), members.data(), phenotypes, bins, sums.data());
    std::vector<size_t> counts(bins);
    double sumX = 0, sumXX = 0;
    for (size_t k = 0; k < bins; ++k) {
        x[k] = double(random() % 100) / 7;
        counts[k] = random() % 4;
        sumX += x[k];
        sumXX += x[k] * x[k];
    }
    std::vector<double> slopes(blockMarkers), r2s(blockMarkers);
    const bool isFound = kernels.fitBlock({x, counts, sumX, sumXX}, double(random() % 3) * 1e3, 1e300, sums.data(),
                                          slopes.data(), r2s.data());
    return (isFound ? "found" : "") + exactText({&sums, &slopes, &r2s});
}

TEST(BinSums, AreTheSameWithAnyInstructions)
{
    expectSameWithAnyInstructions(kernelResults);
}
