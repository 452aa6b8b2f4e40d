#include "correlation/shiftsums.h"
#include "modes/levin_literal.h"
#include "support/scanmodel.h"

#include <functional>
#include <gtest/gtest.h>
#include <random>

static const std::string announced = "output name = input name + '.out'\n", running = announced + "Running...\n\n";

static std::string summary(const std::string &positive, const std::string &negative, const std::string &best1,
                           const std::string &best2)
{
    return running + "Positive correlation range = " + positive
        + "\nNegative correlation range = " + negative + "\nBest positive correlation = " + best1
        + "\nBest negative correlation = " + best2 + "\n";
}

TEST(Levin, CorrelatesEveryShift)
{
    const std::string initial = summary("1 ... 0", "-1 ... 0", "0 is at iteration 1", "0 is at iteration 1");
    expectRuns({"levin", {"-file", "in"}, {"in"}, {"in.out"}}, {
        // x and y without their means: -1 0 1; shifted by one 1 -1 0, by two 0 1 -1.
        {"equal columns", {"1\t5\n2\t6\n\n3\t7"}, {}, {"N\tcorr\tfirst_Y\n1\t1\t5\n2\t-0.5\t7\n3\t-0.5\t6\n"},
         summary("1 ... 1", "-0.5 ... -0.5", "1 is at iteration 1", "-0.5 is at iteration 2")},
        {"columns", {"y,?,x\r\n7,,1\n5,,2\n6,,3\n"}, {"-columns", "3,1", "-delim", "comma", "-header", "Yes"},
         {"N,corr,first_Y\n1,-0.5,7\n2,-0.5,6\n3,1,5\n"},
         summary("1 ... 1", "-0.5 ... -0.5", "1 is at iteration 3", "-0.5 is at iteration 1")},
        // One of the three is exactly 0, and belongs to the positive ones.
        {"zero", {"1\t1\n2\t0\n3\t1\n"}, {}, {"N\tcorr\tfirst_Y\n1\t0\t1\n2\t-0.866025\t1\n3\t0.866025\t0\n"},
         summary("0 ... 0.866025", "-0.866025 ... -0.866025", "0.866025 is at iteration 3",
                 "-0.866025 is at iteration 2")},
        {"constant", {"4\t1\n4\t2\n"}, {}, {"N\tcorr\tfirst_Y\n1\tnan\t1\n2\tnan\t2\n"}, initial},
        {"no rows", {"1\t1\n"}, {"-header", "yes", "-delim", "x"}, {"N\tcorr\tfirst_Y\n"}, initial},
    });
}

TEST(Levin, EndsWithItsMessage)
{
    const std::string noNumber = running + "Dada contain non-numbers\n";
    expectRuns({"levin", {"-delim", "space"}, {"in"}, {"in.out"}, {}, "", 1}, {
        {"no file", {}, {}, {}, "You need to specify '-file'.\n\n"},
        {"one column", {""}, {"-file", "in", "-columns", "1"}, {},
         announced + "Incorrect number of columns specified\n"},
        {"three columns", {""}, {"-file", "in", "-columns", "1,2,"}, {},
         announced + "Incorrect number of columns specified\n"},
        {"column 0", {""}, {"-file", "in", "-columns", "x,1"}, {},
         announced + "Negative column numbers cannot be used\n"},
        {"short line", {"1 1\n1\n"}, {"-file", "in"}, {"N corr first_Y\n"},
         running + "Second column not found in data\n"},
        {"huge number", {"1 1e999\n"}, {"-file", "in"}, {"N corr first_Y\n"}, noNumber},
        {"no number", {"NA 1\n"}, {"-file", "in"}, {"N corr first_Y\n"}, noNumber},
    });
}

// A table of the columns, and what the mode makes of it, from the plain version's correlations.
static void expectPlainResults(const std::string &name, const std::vector<double> &x, const std::vector<double> &y)
{
    const size_t rows = x.size();
    std::string input, expected = "N:corr:first_Y\n";
    char text[200];
    double least = 1, most = 0, weakest = -1, strongest = 0;
    size_t bestPositive = 0, bestNegative = 0;
    const std::vector<double> correlations = literalCorrelations(x, y);
    for (size_t k = 0; k < rows; ++k) {
        std::snprintf(text, sizeof text, "%.17g:%.17g\n", x[k], y[k]);
        input += text;
        expected += std::to_string(k + 1) + ":" + plainText(correlations[k]) + ":"
                    + plainText(y[(rows - k) % rows]) + "\n";
        if (correlations[k] >= 0)
            least = std::min(least, correlations[k]);
        if (correlations[k] < 0)
            weakest = std::max(weakest, correlations[k]);
        if (correlations[k] > most)
            most = correlations[bestPositive = k];
        if (correlations[k] < strongest)
            strongest = correlations[bestNegative = k];
    }
    const Folder folder;
    folder.write("in", input);
    const auto run = folder.runMode("levin", {"-file", "in", "-delim", "colon"});
    ASSERT_EQ(folder.read("in.out"), expected) << name << ", " << rows << " rows";
    const auto best = [](double value, size_t k) {
        return plainText(value) + " is at iteration " + std::to_string(k + 1);
    };
    ASSERT_EQ(run.messages, summary(plainText(least) + " ... " + plainText(most),
                                    plainText(weakest) + " ... " + plainText(strongest), best(most, bestPositive),
                                    best(strongest, bestNegative)))
        << name << ", " << rows << " rows";
}

// The columns are nearly constant, so the printed digits show the order of the sums.
TEST(Levin, AgreesWithAPlainVersion)
{
    std::mt19937_64 generator(1);
    for (size_t rows = 1; rows < 400; rows += rows < 70 ? 1 : 47) {
        std::vector<double> x, y;
        for (size_t i = 0; i < rows; ++i) {
            x.push_back(1e6 + double(generator() % 1000) / 1e3);
            y.push_back(double(generator() % 7) / 10 - 3e5);
        }
        expectPlainResults("nearly constant", x, y);
    }
}

// Long columns are convolved. Where that leaves a digit, a sign or the strongest shift open, the direct sum counts.
TEST(Levin, GivesLongColumnsTheDirectSums)
{
    std::mt19937_64 generator(2);
    const auto uniform = [&] { return double(generator() % 1000000) / 1e6; };
    const auto tenths = [&] { return double(generator() % 3) / 10; };
    const std::vector<double> motif = {0.1, 0.7, 0.3, 0.2, 0.9, 0.4, 0.3, 0.8};
    size_t row = 0;
    const struct {
        const char *name;
        std::function<double()> x, y;
    } kinds[] = {
        {"decimals", uniform, uniform},
        {"around 0", [&] { return uniform() - 0.5; }, [&] { return uniform() - 0.5; }},
        {"integers with ties", [&] { return double(generator() % 3); }, [&] { return double(generator() % 50 == 0); }},
        {"tenths with ties", tenths, tenths},
        {"equal shifts", uniform, [&] { return motif[row % 8]; }},
        {"huge ranges", [&] { return std::exp(80 * uniform()); }, [&] { return std::exp(-90 * uniform()); }},
        {"one large value", [&] { return row == 700 ? 1e9 : uniform() - 0.5; }, [&] { return uniform() - 0.5; }},
        {"beside 0 and 1e200", [&] { return row % 3 ? 0 : 1e-160; }, [&] { return row == 9 ? 1e200 : uniform(); }},
        {"a constant", [] { return 0.1; }, uniform},
        {"zeros", uniform, [] { return 0.0; }},
        {"not numbers", uniform, [&] { return row == 5 ? std::nan("") : row == 6 ? HUGE_VAL : uniform(); }},
    };
    for (const auto &kind : kinds) {
        for (const size_t rows : {2048, 2503}) {  // a power of two and a prime
            std::vector<double> x, y;
            for (row = 0; row < rows; ++row) {
                x.push_back(kind.x());
                y.push_back(kind.y());
            }
            expectPlainResults(kind.name, x, y);
        }
    }
}

// With every length of the segments, of which the shortest make the tightest bounds.
TEST(Levin, BoundsTheErrorOfConvolvedSums)
{
    std::mt19937_64 generator(3);
    for (const double grid : {1.0, 1e-3}) {
        std::vector<double> x, y;
        for (size_t i = 0; i < 4999; ++i) {
            x.push_back(double(generator() % 2001) * grid);
            y.push_back(double(generator() % 2001) * grid);
        }
        std::vector<double> direct(x.size());
        for (size_t k = 0; k < x.size(); ++k) {
            for (size_t i = 0; i < x.size(); ++i)
                direct[k] += x[i] * y[(i + y.size() - k) % y.size()];
        }
        ASSERT_EQ(segmentLengths(x.size()), (std::vector<size_t>{2048, 512, 128}));
        for (const size_t length : segmentLengths(x.size())) {
            const BoundedSums result = convolveColumns(x, y, length);
            for (size_t k = 0; k < x.size(); ++k) {
                ASSERT_LE(std::abs(result.sums[k] - direct[k]), result.bounds[k]) << length << ", shift " << k;
                ASSERT_LE(result.bounds[k], grid == 1 ? 0 : 1e-9 * direct[k]) << length << ", shift " << k;
            }
        }
    }
}
