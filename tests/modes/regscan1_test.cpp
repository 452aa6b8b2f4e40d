#include "modes/regscan1.h"
#include "main/options.h"
#include "scans/logistic.h"
#include "scans/pvalues.h"
#include "scans/regression.h"
#include "scans/regressionkernels.h"
#include "support/kernels.h"
#include "support/random.h"
#include "support/scanmodel.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <unistd.h>

using Values = std::vector<double>;  // NaN where missing

static const char hitHeader[] = "Pheno\tChr\tSNPID\tPos\tA1\tA2\tN\tFreq\tSlope\tSE\tR2\tt-value\tp-value\tMethod\n";

// One pair at a time, by the definitions, over sorted-out points in long doubles.
struct PlainRegression {
    std::string type = "additive";
    size_t bins = 3;
    bool hasMeans = false;

    double code(double x) const
    {
        return type == "dominant" ? std::min(x, 1.0) : type == "recessive" ? std::max(x - 1, 0.0) : x;
    }
    Values scores(const Values &values) const;
    std::vector<std::pair<Long, Long>> points(const Values &x, const Values &y) const;
    Values fit(const Values &x, const Values &y) const;  // N, frequency, slope, error, R2, t, p
};

// The normal quantile by halving, from the tail of erfc.
static double plainQuantile(double p)
{
    Long low = -9, high = 9;
    for (int step = 0; step < 90; ++step)
        (std::erfc(-(low + high) / 2 / std::sqrt(2.0L)) / 2 < p ? low : high) = (low + high) / 2;
    return double(low);
}

Values PlainRegression::scores(const Values &values) const
{
    Values result = values;
    const double n = double(std::count_if(values.begin(), values.end(), [](double v) { return !std::isnan(v); }));
    for (double &value : result) {
        double below = 0, equal = 0;
        for (const double other : values)
            below += other < value, equal += other == value;
        if (!std::isnan(value))
            value = plainQuantile((below + (equal + 1) / 2 - 0.375) / (n + 0.25));
    }
    return result;
}

std::vector<std::pair<Long, Long>> PlainRegression::points(const Values &x, const Values &y) const
{
    std::vector<std::pair<Long, Long>> result;
    for (size_t i = 0; type != "bins" && i < x.size(); ++i) {
        if (!std::isnan(x[i]) && !std::isnan(y[i]))
            result.emplace_back(code(x[i]), y[i]);
    }
    if (type != "bins")
        return result;
    Values present;
    std::copy_if(y.begin(), y.end(), std::back_inserter(present), [](double v) { return !std::isnan(v); });
    const Values borders = plainBorders(present, bins, true);
    for (size_t k = 0; k < bins; ++k) {
        Long sumX = 0, sumY = 0, n = 0;
        for (size_t i = 0; i < x.size(); ++i) {
            if (!std::isnan(x[i]) && borders[k] < y[i] && y[i] <= borders[k + 1])
                sumX += x[i], sumY += y[i], ++n;
        }
        if (n > 0)
            result.emplace_back(sumX / n, hasMeans ? sumY / n : Long(k + 1));
    }
    return result;
}

Values PlainRegression::fit(const Values &x, const Values &y) const
{
    double n = 0, alleles = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        if (!std::isnan(x[i]) && !std::isnan(y[i]))
            ++n, alleles += x[i];
    }
    const auto all = points(x, y);
    const PlainLine line = plainLine(all);
    Long size = 0;
    for (const auto &point : all)
        size = std::max(size, std::fabs(point.second));
    Values none = {n, n > 0 ? alleles / n / 2 : NAN, NAN, NAN, NAN, NAN, NAN};
    if (all.size() < 3 || line.xx < 1e-24L)
        return none;
    if (line.yy < 1e-26L * size * size)
        return {none[0], none[1], 0, 0, NAN, NAN, NAN};
    const size_t freedom = all.size() - 2;
    const double r2 = double(line.r2), t = double(std::fabs(line.slope) / line.error);
    const bool hasTable = type == "bins" && r2 > 0 && (freedom <= 3 || freedom == 5 || freedom == 10);
    const double p = hasTable ? lookUpPlainly(tableFor(std::min<size_t>(all.size(), 11)), r2, all.size()).p
        : studentP(t, double(freedom));
    return {none[0], none[1], double(line.slope), double(line.error), r2, t, p};
}

static bool isNear(const std::string &text, double value)
{
    if (std::isnan(value) || text == "NA")
        return std::isnan(value) && text == "NA";
    return std::fabs(std::stod(text) - value) <= 5.1e-6 * std::fabs(value) + 1e-13;
}

// Files of numbers that have exact texts.
struct RegressionInput : RandomText {
    using RandomText::RandomText;

    size_t individuals = 3 + below(oneIn(3) ? 120 : 25), markers = 1 + below(70);
    bool hasTriplets = oneIn(2), hasGaps = !oneIn(3);
    std::vector<Values> dosages, values;
    std::string genotypes, phenotypes;

    void makeMarkers()
    {
        for (size_t m = 0; m < markers; ++m) {
            genotypes += "7\tm" + std::to_string(m) + " " + std::to_string(m * 3) + "  A G";
            const bool isHard = oneIn(3), isFlat = oneIn(9);
            dosages.emplace_back();
            for (size_t i = 0; i < individuals; ++i) {
                const int hetero = isFlat ? 0 : isHard ? 1000 * int(below(2)) : int(below(1001));
                const int homo = isFlat ? 1000 : hetero == 0 ? 1000 * int(below(2)) : 0;
                const bool isMissing = hasGaps && oneIn(m % 3 ? 40 : 4);
                const double dosage = double(hetero + 2 * homo) / 1000;
                dosages.back().push_back(isMissing ? NAN : dosage);
                if (hasTriplets)
                    genotypes += isMissing ? " 0 0 0"
                                           : " " + plainText((1000 - hetero - homo) / 1000.0) + " "
                                                 + plainText(hetero / 1000.0) + " " + plainText(homo / 1000.0);
                else
                    genotypes += std::string(" ") + (isMissing ? oneOf({"NA", "nan", "-99.99"}) : plainText(dosage));
            }
            genotypes += m + 1 < markers || oneIn(2) ? "\n" : "";
        }
    }

    void makePhenotypes()
    {
        for (size_t j = 1 + below(15); j > 0; --j) {
            phenotypes += "f" + std::to_string(j);
            const size_t gaps = below(4) ? 2 + below(40) : 1000;
            const double mean = double(below(3)) * 12345;
            const bool isTied = oneIn(3), isFlat = oneIn(9);
            values.emplace_back();
            for (size_t i = 0; i < individuals; ++i) {
                const bool isMissing = oneIn(gaps);
                const std::string text = plainText(isFlat ? 0.1 : mean + (isTied ? double(below(3)) : double(below(9999)) / 100));
                values.back().push_back(isMissing ? NAN : std::stod(text));
                phenotypes += " " + (isMissing ? "NA" : text);
            }
            phenotypes += "\n";
        }
    }
};

TEST(Regscan1, IsTheRegressionOfEachPair)
{
    for (uint64_t seed = 1; seed <= 120; ++seed) {
        RegressionInput input(seed);
        input.makeMarkers();
        input.makePhenotypes();
        PlainRegression plain;
        plain.type = input.oneOf({"additive", "other", "dominant", "recessive", "rank", "bins", "bins"});
        plain.bins = 2 + input.below(11);
        plain.hasMeans = input.oneIn(2);
        const Folder folder;
        folder.write("p", input.phenotypes);
        folder.write("g", input.genotypes);
        const Result result = folder.runMode(
            "regscan1", {"-pfile", "p", "-gfile", "g", "-out", "o", "-statlimit", "1", "-type", plain.type, "-autobins",
                         std::to_string(plain.bins), "-xmethod", plain.hasMeans ? "mean" : "integer"});
        ASSERT_EQ(result.status, 0) << seed;
        const Texts rows = plainLines(folder.read("o")), statistics = plainLines(folder.read("o.stats"));
        ASSERT_EQ(statistics.size(), input.values.size() + 1);
        size_t row = 1;
        for (size_t j = 0; j < input.values.size(); ++j) {
            const Values y = plain.type == "rank" ? plain.scores(input.values[j]) : input.values[j];
            if (std::all_of(y.begin(), y.end(), [](double value) { return std::isnan(value); }))
                continue;
            Values squares;
            double leastP = NAN, mostSlope = NAN;
            for (size_t m = 0; m < input.markers; ++m, ++row) {
                const Values expected = plain.fit(input.dosages[m], y);
                ASSERT_LT(row, rows.size());
                const Texts fields = plainFields(rows[row], "\t");
                for (size_t k = 0; k < expected.size(); ++k)
                    ASSERT_TRUE(isNear(fields[6 + k], expected[k]) || (expected[4] > 1 - 1e-12 && k > 1))
                        << seed << " " << plain.type << "\n" << rows[row] << "\n" << k << ": " << expected[k];
                mostSlope = std::fmax(mostSlope, std::fabs(expected[2]));
                leastP = std::fmin(leastP, fields[12] == "NA" ? NAN : std::stod(fields[12]));
                if (fields[11] != "NA")
                    squares.push_back(std::pow(std::stod(fields[11]), 2));
            }
            std::sort(squares.begin(), squares.end());
            const size_t n = squares.size();
            const double lambda = n ? (squares[n / 2] + squares[(n - 1) / 2]) / 2 / 0.454937 : NAN;
            const Texts fields = plainFields(statistics[j + 1], "\t");
            EXPECT_EQ(fields[5], std::to_string(n)) << seed;
            EXPECT_EQ(fields[6], std::to_string(input.markers)) << seed;
            EXPECT_TRUE(isNear(fields[7], mostSlope)) << seed << " " << fields[7] << " " << mostSlope;
            EXPECT_TRUE(isNear(fields[8], leastP)) << seed << " " << fields[8] << " " << leastP;
            EXPECT_TRUE(n == 0 || std::isinf(lambda) ? isNear(fields[10], lambda) || fields[10] == "inf"
                                                     : std::fabs(std::stod(fields[10]) / lambda - 1) < 3e-5)
                << seed << " " << fields[10] << " " << lambda;  // by squares of rounded numbers
        }
        EXPECT_EQ(row, rows.size()) << seed;
    }
}

// The results of a run over these files.
struct Scanned {
    Result result;
    std::string hits, statistics;
};

static Scanned scan(const std::string &phenotypes, const std::string &genotypes, std::vector<std::string> options = {})
{
    const Folder folder;
    folder.write("p", phenotypes);
    folder.write("g", genotypes);
    options.insert(options.begin(), {"-pfile", "p", "-gfile", "g", "-out", "o"});
    const Result result = folder.runMode("regscan1", options);
    return {result, folder.read("o"), folder.read("o.stats")};
}

static std::string rowsOf(const std::string &phenotypes, const std::string &genotypes, std::vector<std::string> options)
{
    const std::string hits = scan(phenotypes, genotypes, std::move(options)).hits;
    return hits.starts_with(hitHeader) ? hits.substr(sizeof hitHeader - 1) : hits;
}

TEST(Regscan1, HasARowForEachDegenerateCase)
{
    const struct {
        const char *name, *type, *phenotype, *dosages, *row;
    } cases[] = {
        {"constant dosage", "additive", "1 2 3 4", "1 1 1 1", "4\t0.5\tNA\tNA\tNA\tNA\tNA\tlinear"},
        {"dosage constant where there is a phenotype", "additive", "1 2 3 NA", "1 1 1 0",
         "3\t0.5\tNA\tNA\tNA\tNA\tNA\tlinear"},
        {"constant phenotype", "additive", "5.1 5.1 5.1 5.1", "0 1 2 1", "4\t0.5\t0\t0\tNA\tNA\tNA\tlinear"},
        {"phenotype constant where there is a dosage", "additive", "5 5 5 7", "0 1 2 NA",
         "3\t0.5\t0\t0\tNA\tNA\tNA\tlinear"},
        {"two individuals", "additive", "1 2 NA 4", "0 1 1 -99.99", "2\t0.25\tNA\tNA\tNA\tNA\tNA\tlinear"},
        {"nobody", "additive", "1 2 NA NA", "NA nan 1 2", "0\tNA\tNA\tNA\tNA\tNA\tNA\tlinear"},
        {"perfect fit", "additive", "1.1 1.3 1.5 1.5", "0 0.1 0.2 0.2", "4\t0.0625\t2\t0\t1\tinf\t0\tlinear"},
        {"perfect fit far away", "additive", "1e9 1000000001 1000000002", "0 1 2", "3\t0.5\t1\t0\t1\tinf\t0\tlinear"},
        // Sxx = 2, Sxy = 1, Syy = 2: slope 1/2, rest 3/2 on 1 degree, so the error is sqrt(3)/2 and t = 1 / sqrt(3).
        {"three individuals", "additive", "1 3 2 NA", "0 1 2 2",
         "3\t0.5\t0.5\t0.866025\t0.25\t0.57735\t0.666667\tlinear"},
        {"no correlation", "additive", "1 2 1 2", "0 0 1 1", "4\t0.25\t0\t0.707107\t0\t0\t1\tlinear"},
        {"dominant without any", "dominant", "1 2 3 4", "1 2 1 1.5", "4\t0.6875\tNA\tNA\tNA\tNA\tNA\tlinear"},
        {"too large numbers", "additive", "1e300 -1e308 1 2", "0 1 2 0", "4\t0.375\tNA\tNA\tNA\tNA\tNA\tlinear"},
        {"only cases left", "logistic", "1 1 1 0", "0 1 2 NA", "3\t0.5\tNA\tNA\tNA\tNA\tNA\tlogistic"},
        {"one dosage", "logistic", "1 1 0 0", "1 1 1 1", "4\t0.5\tNA\tNA\tNA\tNA\tNA\tlogistic"},
        {"bins left empty", "bins", "1 2 3 4", "0 NA NA 2", "2\t0.5\tNA\tNA\tNA\tNA\tNA\tbins"},
        {"equal bins", "bins", "1 1 2 2 2 3", "0 1 1 0.5 0 0.5", "6\t0.25\tNA\tNA\tNA\tNA\tNA\tbins"},
    };
    for (const auto &row : cases) {
        const std::string head = "a\t1\tm\t9\tA\tG\t";
        EXPECT_EQ(rowsOf(std::string("a ") + row.phenotype + "\n", std::string("1 m 9 A G ") + row.dosages + "\n",
                         {"-statlimit", "1", "-type", row.type}),
                  head + row.row + "\n")
            << row.name;
    }
    EXPECT_EQ(scan("a NA NA\nb 1 2\nc 1 2 \n", "1 m 9 A G 0 1\n").statistics,
              "Pheno\tPhenoID\tN\tMean\tSD\tMarkers\tHits\tAbsMaxSlope\tLeastP\tBestSNP\tLambda\n"
              "a\t1\t0\tNA\tNA\tNA\tNA\tNA\tNA\tNA\tNA\n"
              "b\t2\t2\t1.5\t0.707107\t0\t0\tNA\tNA\tNA\tNA\n"
              "c\t3\t2\t1.5\t0.707107\t0\t0\tNA\tNA\tNA\tNA\n");
    // Of equal p-values, here 0, the first one is the best, whatever the individuals.
    EXPECT_TRUE(scan("a 1 2 3 4\n", "1 m 9 A G 0 1 2 NA\n1 n 9 A G 0 1 2 3\n").statistics.ends_with("\t1\t0\tm\tinf\n"));
}

// Cases 10 of 40 without the allele, 25 of 50 with it, the values by R's glm(); and none of 10 against 5 of 5.
TEST(Regscan1, TellsCasesFromControls)
{
    std::string phenotype = "a", dosages = "1 m 9 A G", phenotype2 = "b", dosages2 = "1 m 9 A G";
    for (int i = 0; i < 90; ++i) {
        phenotype += i < 10 || (i >= 40 && i < 65) ? " 2" : " -1.5";
        dosages += i < 40 ? " 0" : " 1";
    }
    for (int i = 0; i < 15; ++i) {
        phenotype2 += i < 10 ? " 0" : " 1";
        dosages2 += i < 10 ? " 0" : " 2";
    }
    EXPECT_EQ(rowsOf(phenotype, dosages, {"-type", "logistic"}),
              "a\t1\tm\t9\tA\tG\t90\t0.277778\t1.09861\t0.46188\t0.0497419\t2.37857\t0.0173802\tlogistic\n");
    EXPECT_TRUE(rowsOf(phenotype2, dosages2, {"-type", "logistic"}).ends_with("\tfirth\n"));
    const Scanned other = scan("a 1 2 3\n", "1 m 9 A G 0 1 2\n", {"-type", "logistic", "-statlimit", "1"});
    EXPECT_EQ(other.hits, hitHeader);
    EXPECT_TRUE(other.statistics.ends_with("a\t1\t3\t2\t1\tNA\tNA\tNA\tNA\tNA\tNA\n"));
    EXPECT_NE(other.result.messages.find("Phenotype a does not have two values\n"), std::string::npos);
}

// The columns from `first` on, of every row.
static std::string columnsFrom(const std::string &rows, size_t first)
{
    std::string result;
    for (const std::string &row : plainLines(rows)) {
        const Texts fields = plainFields(row, "\t");
        for (size_t k = first; k < fields.size(); ++k)
            result += fields[k] + "\t";
        result += "\n";
    }
    return result;
}

TEST(Regscan1, FollowsItsInputWhereThatIsWrittenOtherwise)
{
    int64_t total = 0;
    for (uint64_t seed = 1; seed <= 12; ++seed) {
        RegressionInput input(seed * 1001);
        input.hasTriplets = false;
        input.makePhenotypes();
        std::string hard, coded[2], triplets, cases;
        for (size_t m = 0; m < 40; ++m) {
            const std::string head = "1 m" + std::to_string(m) + " 5 A G";
            for (std::string *text : {&hard, &coded[0], &coded[1], &triplets})
                *text += head;
            for (size_t i = 0; i < input.individuals; ++i) {
                const size_t dosage = input.below(3);
                hard += " " + std::to_string(dosage);
                coded[0] += dosage > 0 ? " 1" : " 0";
                coded[1] += dosage > 1 ? " 1" : " 0";
                triplets += dosage == 0 ? " 1 0 0" : dosage == 1 ? " 0 1 0" : " 0 0 1";
            }
            for (std::string *text : {&hard, &coded[0], &coded[1], &triplets})
                *text += "\n";
        }
        const auto rows = [&](const std::string &genotypes, const std::string &type) {
            return rowsOf(input.phenotypes, genotypes, {"-statlimit", "1", "-type", type});
        };
        EXPECT_EQ(columnsFrom(rows(hard, "dominant"), 8), columnsFrom(rows(coded[0], "additive"), 8)) << seed;
        EXPECT_EQ(columnsFrom(rows(hard, "recessive"), 8), columnsFrom(rows(coded[1], "additive"), 8)) << seed;
        for (const char *type : {"additive", "bins", "rank", "recessive"})
            EXPECT_EQ(rows(triplets, type), rows(hard, type)) << seed;
        // Hits are those that the chosen statistic lets through, also where markers have gaps.
        input.makeMarkers();
        const Texts all = plainLines(rowsOf(input.phenotypes, input.genotypes, {"-statlimit", "1"}));
        const auto expectHits = [&](const std::string &statistic, size_t column, double limit) {
            std::string expected;
            for (const std::string &row : all) {
                const Texts fields = plainFields(row, "\t");
                const double value = fields[column] == "NA" ? NAN : std::stod(fields[column]);
                if ((statistic == "p" ? value <= limit : value >= limit) && std::fabs(std::stod(fields[8])) >= 0.37)
                    expected += row + "\n", ++total;
            }
            EXPECT_EQ(rowsOf(input.phenotypes, input.genotypes,
                             {"-statistic", statistic, "-statlimit", std::to_string(limit), "-slope", "0.37"}), expected);
        };
        expectHits("p", 12, 0.21);
        expectHits("t", 11, 1.11);
        expectHits("r2", 10, 0.13);
    }
    EXPECT_GT(total, 100);
}

// Passes, blocks and instructions: the bytes are the same.
TEST(Regscan1, GivesTheSameBytesHoweverItIsWorked)
{
    for (uint64_t seed = 1; seed <= 45; ++seed) {
        RegressionInput input(seed * 77);
        input.makeMarkers();
        input.makePhenotypes();
        const Folder folder;
        std::string phenotypes = input.phenotypes;
        for (int k = 0; k < 3; ++k) {
            phenotypes += "case" + std::to_string(k);
            for (size_t i = 0; i < input.individuals; ++i)
                phenotypes += input.below(4) ? input.below(3) ? " 1" : " 2" : " NA";
            phenotypes += "\n";
        }
        folder.write("p", phenotypes);
        folder.write("g", input.genotypes);
        const char *type = input.oneOf({"additive", "rank", "logistic", "logistic", "bins"});
        std::vector<std::string> options = {"-pfile", folder.path("p"), "-gfile", folder.path("g"), "-out",
                                            folder.path("o"), "-type", type, "-autobins", "4", "-statlimit",
                                            input.oneOf({"1", "0.2"})};
        ASSERT_EQ(folder.runMode("regscan1", options).status, 0);
        const std::string hits = folder.read("o"), statistics = folder.read("o.stats");
        withEachKernels<RegressionKernels, LogisticKernels, SumKernels>([&] {
            Switches.assign(options.begin(), options.end());
            regscan1Within({input.below(4) ? 1 + input.below(200000) : size_t(-1), input.below(3000)});
            Switches.clear();
            EXPECT_TRUE(folder.read("o") == hits) << seed << " " << type;
            EXPECT_TRUE(folder.read("o.stats") == statistics) << seed << " " << type;
        });
        ASSERT_FALSE(HasFailure());
    }
}

TEST(Regscan1, RefusesFilesThatDoNotFit)
{
    const char *const unfit = "Pheno file and geno file contain different number of individuals\n";
    const char *const uneven = "Inconsistent number of columns in geno file\n";
    const std::string phenotype = "a 1 2 4\n", marker = "1 m 9 A G ", name(500, 'x');
    const struct {
        std::string phenotypes, genotypes, message;
        int status;
    } cases[] = {
        {phenotype, marker + "0 1 2 0\n", unfit, 1},
        {phenotype, marker + "0 1\n", unfit, 1},
        {phenotype, "1 m 9 A G\n", unfit, 1},
        {phenotype, "", unfit, 1},
        {phenotype + "b 1 2\n", marker + "0 1 2\n", unfit, 1},
        {phenotype, marker + "0 1 2\n" + marker + "0 1\n", uneven, 1},
        {phenotype, marker + "0 1 2\n" + marker + "0 1 2 0\n", uneven, 1},
        {phenotype, marker + "0 1 0 0 1 0 0 0 1\n" + marker + "0 1 2\n", uneven, 1},
        {phenotype, "1 " + name + " 9 A G 0 1 2\n", "Marker name of 500 characters or more in geno file\n", 1},
        {phenotype, "1 " + name.substr(1) + " 9 A G 0 1 2\n", "", 0},
        {"a 1 2 4 NA NA NA NA NA NA\n", marker + "0 1 2\n", "", 0},
        {"a 1 2 4 \n", marker + "0 1 0 0 1 0 0 0 1\n \n\n", "", 0},
        {"", marker + "0 1 2\n", "", 0},
    };
    for (const auto &row : cases) {
        const Scanned run = scan(row.phenotypes, row.genotypes);
        EXPECT_EQ(run.result.status, row.status) << row.genotypes;
        EXPECT_TRUE(row.status == 0 || run.result.messages.ends_with(row.message)) << run.result.messages;
        EXPECT_TRUE(run.hits.starts_with(hitHeader));
    }
    // No number is 0, as everywhere.
    EXPECT_EQ(rowsOf("a x 2 4\n", marker + "x 1 1.5\n", {"-statlimit", "1"}),
              rowsOf("a 0 2 4\n", marker + "0 1 1.5\n", {"-statlimit", "1"}));
}
