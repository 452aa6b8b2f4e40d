// The modes over pairs of relatives.
#include "modes/modes.h"
#include "modes/relatedness_literal.h"
#include "support/genotypemodel.h"
#include "support/random.h"

#include <gtest/gtest.h>

// Few individuals in many pairs, with ties, duplicates, self pairs, names that make trouble, and odd values.
static std::string randomTable(RandomText &random, size_t fields)
{
    static const char *const names[] = {"A", "B", "C", "D", "E", "F", "NA", "", "a", "a.vs.b", "vs.b", "b",
                                        "a.vs", " A", "\xc3\xa4", "A1", "A2", "fifteen bytes..", "sixteen bytes...",
                                        "sixteen bytes..!"};
    static const char *const values[]
        = {"0.5", "0.25", "0.5", "1", "0.1", "0.3", "2", "0.0625", "1e-9", "16777217", "0", "-0", "-1", "nan",
           "inf", "-inf", "x", "", "-2000000", "1e39", " 0.4 ", "0.7\r"};
    const size_t nameCount = 2 + random.below(std::size(names) - 1), oddity = random.below(3);
    std::string table;
    for (size_t lines = random.below(30); lines > 0; --lines) {
        for (size_t i = 1; i < fields; ++i)
            table += names[random.below(nameCount)] + std::string("\t");
        table += values[random.below(oddity == 0 ? 6 : oddity == 1 ? 10 : std::size(values))];
        table += random.oneIn(60) ? "\tmore" : "";
        table += random.oneIn(oddity == 2 ? 8 : 80) ? "\n\n" : random.oneIn(100) ? "\r\n" : "\n";
    }
    return random.oneIn(30) ? "short\n" + table : table;
}

static void compareWithLiteral(const Mode &mode, const std::function<void(LiteralRun &)> &literal,
                               const Choices &choices)
{
    for (uint64_t seed = 1; seed <= 1000 / slowChild; ++seed) {
        RandomText random(seed);
        LiteralRun expected;
        const std::string table = randomTable(random, 3), weights = randomTable(random, 2);
        expected.files = {{"in", table}, {"p", weights}, {"o.stats", "before\n"}};
        expected.options = {{"-file", "in"}};
        for (const auto &[name, values] : choices) {
            if (!random.oneIn(3))
                expected.options[name] = values[random.below(values.size())];
        }
        const Folder folder;
        for (const auto &[name, bytes] : expected.files)
            folder.write(name, bytes);
        const int status = folder.runInChild(mode, expected.options);
        literal(expected);
        expected.files["messages"] = expected.messages;
        SCOPED_TRACE("seed " + std::to_string(seed) + testing::PrintToString(expected.options));
        ASSERT_EQ(status, expected.status);
        ASSERT_EQ(folder.files(), expected.files);
    }
}

TEST(Relatedness, AgreesWithTheLiteralProcedures)
{
    compareWithLiteral(familyMode, &LiteralRun::family,
                       {{"-out", {"o"}},
                        {"-threshold", {"0.3", "0", "-1", "0.5", "nan", "-inf", "x"}},
                        {"-familysize", {"3", "4", "1", "x"}},
                        {"-showmatrix", {"yes", "yes", "yes", "Yes"}},
                        {"-header", {"yes", "Yes", "no"}}});
    const Choices removal = {{"-out", {"o"}}, {"-pfile", {"p"}}, {"-pdefault", {"mean", "zero"}},
                             {"-limit", {"0.1", "0.1", "0", "0.3", "-1", "-inf", "nan", "x"}},
                             {"-mode", {"0", "1", "2", "2", "3", "x"}},
                             {"-header", {"yes", "no"}}, {"-pidsize", {"0", "3", "5"}}};
    compareWithLiteral(relout5Mode, [](LiteralRun &run) { run.relout(false); }, removal);
    compareWithLiteral(relout6Mode, [](LiteralRun &run) { run.relout(true); }, removal);
}

// What the plain procedures rest upon, by hand; tables parted by blanks.
TEST(Relatedness, WorksOnSmallTables)
{
    const std::string a(29, 'a'), b(29, 'b');
    const Runs family = {"family", {"-file", "in", "-out", "out", "-delim", "space"}, {"in"}, {"out", "out.stats"}, {},
                         "running family()\n\n"};
    expectRuns(family, {
        {"a chain", {"B A 0.5\nB C 0.5\nD C 0.25\nX A 0.01\n"}, {"-showmatrix", "yes"},
         {"1) 4 x  A B C D\n\n\tA\tB\tC\tD\nA\t1\t0.5\t0\t0\nB\t0.5\t1\t0.5\t0\nC\t0\t0.5\t1\t0.25\n"
          "D\t0\t0\t0.25\t1\n\n", "fsize 2 thold 0.1 totind 4 famnum 1 avg 4 maxfam 4\n"}},
        {"crossed delimiters", {"A\\B\\-0\n"}, {"-delim", "slash", "-threshold", "0", "-showmatrix", "yes"},
         {"1) 2 x  A B\n\n\tA\tB\nA\t1\t0\nB\t0\t1\n\n", "..."}},
    });
    const Texts options = {"-file", "in", "-out", "out", "-delim", "space", "-limit", "0.1"};
    const std::string star = "A B 0.5\nA C 0.25\nA D 0.5\n";
    expectRuns({"RELOUT5", options, {"in"}, {"out"}}, {
        {"all messages", {"A B 0.5\nC D 0.05\n"}, {}, {"0 A 1 0.5 2 2\n"},
         "Flag '-pfile' not specified, so pfile not used.\n\n"
         "limit= 0.1 pidsize=1\nMode=1\nPdefault=0\nrunning relout5()\nMain table read in\n"
         "All pval weights are set to 1\nPval file not used. Total of 2 entries to start with.\n"
         "Entering main while\n1 done; remaining 1\n"},
        // The pair that moves to the front is passed over, and so is the individual.
        {"a star", {star}, {"-mode", "0"}, {"0 A 3 1.25 4 1\n0 A 1 0.25 2 2\n"},
         "...\n1 done; remaining 2\n2 done; remaining 1\n"},
    });
    expectRuns({"relout6", options, {"in"}, {"out"}}, {
        {"a star", {star}, {}, {"0 A 3 1.25 4 1\n"}, "...while\n1 done; pentrynum0\n"},
        {"a line of 65 bytes", {a + "," + b + ",0.25,\n"}, {"-delim", "comma"}, {"0 " + a + " 1 0.25 2 2\n"},
         "...while\n1 done; pentrynum0\n"},
    });
    for (const char *mode : {"fam", "relout5"})
        expectRuns({mode, {}, {}, {}, {}, "", 1},
            {{"no file", {}, {"-out", "o"}, {}, "You need to specify '-file'.\n\n"}});
}

// More than the tables of names and pairs begin with; every pair once more the other way round.
TEST(Family, KnowsThousandsOfPairs)
{
    std::string table, duplicates;
    for (int i = 0; i < 6000; ++i) {
        const std::string pair[2] = {"A" + std::to_string(i / 2), "B" + std::to_string(i / 2)};
        table += pair[i % 2] + "\t" + pair[1 - i % 2] + "\t1\n";
        duplicates += i % 2 ? "Duplicate declaration (not used) at " + std::to_string(i + 1) + "\n" : "";
    }
    const Folder folder;
    EXPECT_EQ(convert(folder, "family", table).messages, "running family()\n\n" + duplicates);
    EXPECT_EQ(folder.read("out.stats"), "fsize 2 thold 0.1 totind 6000 famnum 3000 avg 2 maxfam 2\n");
}

// Their places are counted by blocks. With a file of weights its individuals come first.
TEST(Relout, RanksThousandsOfCandidates)
{
    std::string table, weights;
    std::vector<int> pairOf(1000);  // by value less 1
    for (int i = 0; i < 1000; ++i) {
        pairOf[size_t(i * 7 % 1000)] = i;
        table += "A" + std::to_string(i) + "\tB" + std::to_string(i) + "\t" + std::to_string(i * 7 % 1000 + 1) + "\n";
        weights += "B" + std::to_string(i) + "\t1\n";
    }
    const Folder folder;
    folder.write("weights", weights);
    for (const bool isWeighted : {false, true}) {
        std::vector<int> isLeft(1000, 1);
        std::string expected;
        for (int value = 1000; value > 0; --value) {
            const int pair = pairOf[size_t(value) - 1];
            const auto before = std::count(isLeft.begin(), isLeft.begin() + pair, 1);
            const std::string left = " " + std::to_string(2 * value);
            expected += std::to_string(isWeighted ? before : 2 * before) + (isWeighted ? " B" : " A")
                        + std::to_string(pair) + " 1 " + std::to_string(value) + left + left + "\n";
            isLeft[size_t(pair)] = 0;
        }
        convert(folder, "relout6", table, isWeighted ? Texts{"-pfile", "weights"} : Texts());
        EXPECT_EQ(folder.read("out"), expected);
    }
}
