#include "modes/mixfit_literal.h"
#include "mixture/kernels.h"
#include "mixture/search.h"
#include "modes/modes.h"
#include "support/kernels.h"
#include "support/random.h"
#include "support/runs.h"

#include <gtest/gtest.h>

static const std::string running = "running mixFit()\n\n";
static const std::string corners = "A\t1\t0\t0\nB\t0\t1\t0\nC\t0\t0\t1\n";

TEST(MixFit, WritesTheReport)
{
    // Of a sample half A and half B, on a grid of halves.
    const std::string sample = "Best h A 1 B 1 C 2\n"
                               " 0 0.5 1 = mindiff mindiff_loc abs_drop rel_drop\n"
                               "A 1.000 1.000 1.000  __1__0\n"
                               "B 1.000 0.000 1.000  __0__0.5\n"
                               "C 1.000 1.000 2.000  __1__0\n";
    const std::string normal = "0 cumul_normal A 0.5\n1 cumul_normal B 0.5\n2 cumul_normal C 0\n\n";
    const std::string none = "0 cumul_normal A 0\n1 cumul_normal B 0\n2 cumul_normal C 0\n\n";
    const std::string three = sample + "3Hits h A 0.5 B 0.5 C 0 score: 0\n";
    const std::string combi = "0 cumul_combi A 0.5\n1 cumul_combi B 0.5\n2 cumul_combi C 0\n";
    expectRuns({"mixfit", {"-ref", "r", "-file", "s", "-refpops", "3", "-step", "0.5"}, {"r", "s"}, {"s.out"}, {},
        running}, {
        {"triples", {corners, "h\t.5\t.5\t0\n"}, {"-combinatorics", "YES"},
         {three + "Combi h A 0.5 B 0.5 - - score: 0\n" + normal + combi}},
        {"no triples, headers, empty lines, what is no number, further values",
         {"x\n\n" + corners + "\r\n", "h\t1\t0\t0\n\nh\t0.5\t.5\tNA\t9\r\n"},
         {"-header", "yes", "-refheader", "YES", "-combinatorics", "Yes"}, {three + normal}},
        {"delimiter", {"A<>1<>0<>0\nB<>0<>1<>0\nC<>0<>0<>1\n", "h<>.5<>.5<>0"}, {"-delim", "<>"}, {three + normal}},
        {"empty fields behind the values of a population",
         {"A\t1\t0\t0\t\nB\t0\t1\t0\t\t\t\r\nC\t0\t0\t1\n", "h\t.5\t.5\t0\t\n"}, {}, {three + normal}},
        {"comma, no sample", {"A,1,0,0\nB,0,1,0\nC,0,0,1\n", ""}, {"-delim", "comma"}, {none}},
    });
}

TEST(MixFit, EndsWithAMessage)
{
    const std::string notThree = running + "Reference file must hold 3 lines of 3 values\n", step = "Incorrect step\n";
    expectRuns({"mf", {"-ref", "r", "-file", "s", "-refpops", "3"}, {"r"}, {"s.out"},
                {{"s", "h\t.5\t.5\t0\nshort\t1\t1\n"}}, "", 1}, {
        {"few populations", {corners}, {"-step", "0.0009", "-refpops", "3.5"}, {},
         "You have less than 3 ref populations\n"},
        {"small step", {corners}, {"-step", "0.0009"}, {}, step},
        {"large step", {corners}, {"-step", "2147484"}, {}, step},
        {"no step", {corners}, {"-step", "nan"}, {}, step},
        {"fewer lines", {corners}, {"-refpops", "4"}, {""}, running + "Reference file must hold 4 lines of 4 values\n"},
        {"more lines", {corners + "D\t1\t0\t0\n"}, {}, {""}, notThree},
        {"short lines", {"A\t1\nB\t1\nC\t1\n"}, {}, {""}, notThree},
        {"a value more", {"A\t1\t0\t0\t\t5\n" + corners.substr(corners.find('B'))}, {}, {""}, notThree},
        {"more memory than there is", {corners}, {"-refpops", "2147483647"}, {""}, running},
        {"short sample", {corners}, {}, {"...\n"}, running + "Sample short has fewer than 3 values\n"},
    });
    const Folder folder;
    EXPECT_EQ(folder.runMode("mf", {"-ref", "r"}).messages, "You need to specify '-file'.\n\n");
    EXPECT_EQ(folder.runMode("mf", {"-file", "s"}).messages, "You need to specify '-ref'.\n\n");
}

// References and samples with ties: repeated references, samples equal to one or mixed from some on the grid.
class Problem : public RandomText {
public:
    explicit Problem(uint64_t seed)
        : RandomText(seed)
    {
        fit.K = int(3 + below(6));
        fit.step = float(oneIn(6) ? 0.03 : 0.05 * double(1 + below(12)));
        fit.plimit = float(0.05 * double(below(20)));
        fit.combinatorics = !oneIn(5);
        m_scale = oneIn(6) ? 3000 : oneIn(4) ? 10 : 1;
        m_isWild = oneIn(8);
        std::vector<std::vector<double>> table;
        const size_t K = size_t(fit.K);
        for (size_t i = 0; i < K; ++i) {
            std::vector<double> values;
            for (size_t j = 0; j < K; ++j)
                values.push_back(oneIn(3) ? (i == j) : double(below(21)) / 20 - (oneIn(9) ? 1 : 0));
            table.push_back(i > 0 && oneIn(5) ? table[below(i)] : values);
            references += line("ref" + std::to_string(i), table.back());
        }
        for (int i = 0; i < 12; ++i) {
            const size_t parts = 1 + below(3);
            std::vector<double> values(K);
            for (size_t part = 0; part < parts; ++part) {
                const size_t population = below(K);
                for (size_t j = 0; j < K; ++j)
                    values[j] += table[population][j] / double(parts) + (oneIn(9) ? 0.01 : 0);
            }
            samples += line("id" + std::to_string(i), values);
        }
    }

    LiteralFit fit;
    std::string references, samples;

private:
    std::string line(std::string text, const std::vector<double> &values)
    {
        for (const double value : values)
            text += m_isWild && oneIn(30) ? oneOf({"\tnan", "\tinf", "\t-inf", "\t1e38", "\t1e-40"})
                                          : "\t" + std::to_string(value * m_scale);
        return text + "\n";
    }

    double m_scale;
    bool m_isWild;
};

TEST(MixFit, GivesTheBytesOfThePlainLoopsWithAnyInstructions)
{
    for (uint64_t seed = 1; seed <= 300 / slowChild; ++seed) {
        Problem problem(seed);
        LiteralFit &plain = problem.fit;
        const std::string expected = plain.run(problem.references, problem.samples);
        withEachKernels<SearchKernels>([&] {
            const Folder folder;
            folder.write("r", problem.references);
            folder.write("s", problem.samples);
            folder.runInChild(mixFitMode, {{"-ref", "r"}, {"-file", "s"}, {"-refpops", std::to_string(plain.K)},
                                       {"-step", std::to_string(plain.step)}, {"-plimit", std::to_string(plain.plimit)},
                                       {"-combinatorics", plain.combinatorics ? "yes" : "no"}});
            const std::string report = folder.read("s.out");
            EXPECT_TRUE(report == expected) << "seed " << seed << "\n" << problem.references << problem.samples
                << report;
        });
        ASSERT_FALSE(HasFailure());
    }
}
