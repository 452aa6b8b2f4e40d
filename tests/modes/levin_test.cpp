#include "modes/levin_literal.h"
#include "support/program.h"
#include "support/scanmodel.h"

#include <gtest/gtest.h>
#include <random>

static const std::string announced = "output name = input name + '.out'\n";

static std::string summary(const std::string &positive, const std::string &negative, const std::string &best1,
                           const std::string &best2)
{
    return announced + "Running...\n\nPositive correlation range = " + positive
        + "\nNegative correlation range = " + negative + "\nBest positive correlation = " + best1
        + "\nBest negative correlation = " + best2 + "\n";
}

TEST(Levin, CorrelatesEveryShift)
{
    const std::string initial = summary("1 ... 0", "-1 ... 0", "0 is at iteration 1", "0 is at iteration 1");
    const struct {
        const char *name, *input;
        std::vector<std::string> options;
        std::string out, messages;
    } cases[] = {
        // x and y without their means: -1 0 1; shifted by one 1 -1 0, by two 0 1 -1.
        {"equal columns", "1\t5\n2\t6\n\n3\t7", {}, "N\tcorr\tfirst_Y\n1\t1\t5\n2\t-0.5\t7\n3\t-0.5\t6\n",
         summary("1 ... 1", "-0.5 ... -0.5", "1 is at iteration 1", "-0.5 is at iteration 2")},
        {"columns", "y,?,x\r\n7,,1\n5,,2\n6,,3\n", {"-columns", "3,1", "-delim", "comma", "-header", "Yes"},
         "N,corr,first_Y\n1,-0.5,7\n2,-0.5,6\n3,1,5\n",
         summary("1 ... 1", "-0.5 ... -0.5", "1 is at iteration 3", "-0.5 is at iteration 1")},
        {"constant", "4\t1\n4\t2\n", {}, "N\tcorr\tfirst_Y\n1\tnan\t1\n2\tnan\t2\n", initial},
        {"no rows", "1\t1\n", {"-header", "yes", "-delim", "x"}, "N\tcorr\tfirst_Y\n", initial},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("in", row.input);
        std::vector<std::string> options = row.options;
        options.insert(options.end(), {"-file", "in"});
        EXPECT_EQ(folder.runMode("levin", options).messages, row.messages) << row.name;
        EXPECT_EQ(folder.read("in.out"), row.out) << row.name;
    }
}

// The columns are nearly constant, so the printed digits show the order of the sums.
TEST(Levin, AgreesWithAPlainVersion)
{
    std::mt19937_64 generator(1);
    for (size_t rows = 1; rows < 400; rows += rows < 70 ? 1 : 47) {
        std::vector<double> x, y;
        std::string input;
        char text[200];
        for (size_t i = 0; i < rows; ++i) {
            x.push_back(1e6 + double(generator() % 1000) / 1e3);
            y.push_back(double(generator() % 7) / 10 - 3e5);
            std::snprintf(text, sizeof text, "%.17g:%.17g\n", x[i], y[i]);
            input += text;
        }
        std::string expected = "N:corr:first_Y\n";
        const std::vector<double> correlations = literalCorrelations(x, y);
        for (size_t k = 0; k < rows; ++k)
            expected += std::to_string(k + 1) + ":" + plainText(correlations[k]) + ":"
                        + plainText(y[(rows - k) % rows]) + "\n";
        const Folder folder;
        folder.write("in", input);
        folder.runMode("levin", {"-file", "in", "-delim", "colon"});
        ASSERT_EQ(folder.read("in.out"), expected) << rows << " rows";
    }
}
