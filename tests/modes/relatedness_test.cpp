// The modes over pairs of relatives.
#include "main/console.h"
#include "main/options.h"
#include "modes/modes.h"
#include "modes/relatedness_literal.h"
#include "support/program.h"
#include "support/random.h"

#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

// Runs the mode function in a child of this process, which costs a tenth of starting the program. Messages go to the
// file "messages".
static int runInChild(const Folder &folder, void (*mode)(), const std::map<std::string, std::string> &options)
{
    const pid_t child = fork();
    if (child == 0) {
        if (chdir(folder.path("").c_str()) != 0 || !std::freopen("messages", "w", stdout))
            _exit(99);
        startConsole();
        Switches.clear();
        for (const auto &[name, value] : options)
            Switches.insert(Switches.end(), {name, value});
        mode();
        finish(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

using OptionMap = std::map<std::string, std::string>;
using Choices = std::vector<std::pair<std::string, std::vector<std::string>>>;

// Few individuals in many pairs, with ties, duplicates, self pairs, names that make trouble, and odd values.
static std::string randomTable(RandomText &random, size_t fields)
{
    static const char *const names[] = {"A", "B", "C", "D", "E", "F", "NA", "", "a", "a.vs.b", "vs.b", "b", "a.vs",
                                        " A", "\xc3\xa4", "A1", "A2", "A3", "A4", "A5"};
    static const char *const values[]
        = {"0.5", "0.25", "0.5", "1", "0.1", "0.3", "2", "0.0625", "1e-9", "16777217", "0", "-0", "-1", "nan", "inf",
           "-inf", "x", "", "-2000000", "1e39", " 0.4 ", "0.7\r"};
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

static void compareWithLiteral(void (*mode)(), const std::function<void(LiteralRun &)> &literal, Choices choices)
{
    for (uint64_t seed = 1; seed <= 1500; ++seed) {
        RandomText random(seed);
        LiteralRun expected;
        expected.files = {{"in", randomTable(random, 3)}, {"p", randomTable(random, 2)}, {"o.stats", "before\n"}};
        expected.options = {{"-file", "in"}};
        for (const auto &[name, values] : choices) {
            if (random.oneIn(2))
                expected.options[name] = values[random.below(values.size())];
        }
        const Folder folder;
        for (const auto &[name, bytes] : expected.files)
            folder.write(name, bytes);
        const int status = runInChild(folder, mode, expected.options);
        literal(expected);
        expected.files["messages"] = expected.messages;
        ASSERT_EQ(status, expected.status) << "seed " << seed << testing::PrintToString(expected.options);
        ASSERT_EQ(folder.files(), expected.files) << "seed " << seed << testing::PrintToString(expected.options);
    }
}

TEST(Family, AgreesWithItsLiteralProcedure)
{
    compareWithLiteral(family, &LiteralRun::family,
                       {{"-out", {"o"}},
                        {"-threshold", {"0.3", "0", "-1", "0.5", "nan", "-inf", "x"}},
                        {"-familysize", {"3", "4", "1", "x"}},
                        {"-showmatrix", {"yes", "yes", "yes", "Yes"}},
                        {"-header", {"yes", "Yes", "no"}}});
}

struct Case {
    const char *name, *input;
    std::vector<std::string> options;
    const char *messages, *out;
};

TEST(Family, GroupsConnectedPairs)
{
    const std::string running = "running family()\n\n";
    const Case cases[] = {
        {"a chain", "B\tA\t0.5\nB\tC\t0.5\nD\tC\t0.25\nX\tA\t0.01\n", {"-showmatrix", "yes"}, "",
         "1) 4 x  A B C D\n\n\tA\tB\tC\tD\nA\t1\t0.5\t0\t0\nB\t0.5\t1\t0.5\t0\nC\t0\t0.5\t1\t0.25\n"
         "D\t0\t0\t0.25\t1\n\n"},
        {"a later value shows", "A\tB\t0.5\nB\tA\t0.7\n\nA\tA\t0.9\n\n", {"-showmatrix", "yes"},
         "Duplicate declaration (not used) at 2\nDuplicate declaration (not used) at 2\n"
         "Comparison with self at 3\n", "1) 2 x  A B\n\n\tA\tB\nA\t1\t0.7\nB\t0.7\t1\n\n"},
        {"not shown", "A\tB\t0.5\n\n", {"-showmatrix", "Yes"}, "Duplicate declaration (not used) at 1\n", ""},
        {"too small", "A\tB\t0.5\nC\tD\t0.5\n", {"-familysize", "3", "-showmatrix", "yes"}, "", ""},
        {"the header's pair shows", "C\tB\t0.05\nA\tB\t1\nA\tC\t1\r\n", {"-header", "Yes", "-showmatrix", "yes"}, "",
         "1) 3 x  A B C\n\n\tA\tB\tC\nA\t1\t1\t1\nB\t1\t1\t0.05\nC\t1\t0.05\t1\n\n"},
        {"crossed delimiters", "A\\B\\-0\n", {"-delim", "slash", "-threshold", "0", "-showmatrix", "yes"}, "",
         "1) 2 x  A B\n\n\tA\tB\nA\t1\t-0\nB\t-0\t1\n\n"},
    };
    for (const Case &row : cases) {
        const Folder folder;
        folder.write("in", row.input);
        auto options = row.options;
        options.insert(options.end(), {"-file", "in", "-out", "o"});
        const Result run = folder.runMode("fam", options);
        EXPECT_EQ(run.messages, running + row.messages) << row.name;
        EXPECT_EQ(folder.read("o"), row.out) << row.name;
    }
}

TEST(Family, AddsToItsStatistics)
{
    const Folder folder;
    folder.write("in", "A B 0.5\nC D 0.5\nC E 0.5\nF F 1\n");
    for (const char *threshold : {"0.1", "0.9"})
        folder.runMode("family", {"-file", "in", "-delim", "space", "-threshold", threshold});
    EXPECT_EQ(folder.read("in.out.stats"), "fsize 2 thold 0.1 totind 5 famnum 2 avg 2.5 maxfam 3\n"
                                           "fsize 2 thold 0.9 totind 0 famnum 0 avg 0 maxfam 0\n");
    EXPECT_EQ(folder.runMode("family", {"-out", "o"}).messages, "You need to specify '-file'.\n\n");
    EXPECT_EQ(folder.runMode("family", {"-file", "in", "-out", "o"}).messages,
              "running family()\n\nerror in input file\n");
    EXPECT_EQ(folder.read("o"), "");
    folder.write("t", "A\tB\t1\n");
    std::string link = folder.path("x.stats");
    ASSERT_EQ(symlink("t", link.c_str()), 0);
    EXPECT_EQ(folder.runMode("family", {"-file", "t", "-out", "x"}).messages,
              "running family()\n\nOutput file 'x.stats' is also an input\n");
}
