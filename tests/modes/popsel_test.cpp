#include "support/program.h"

#include <gtest/gtest.h>

// The deviation of all six values is 2. In file order a takes x (0.5) and leaves b to z (1); together b has x (0) and a
// has y (1).
static const std::string cases = "a\t2\nb\t3\n", pool = "x\t3\ny\t0\nz\t5\nw\t-1\n";
static const std::string heading = "Individual\tRank\tMatch\tDistance\n";

static Result runPopSel(const Folder &folder, std::vector<std::string> options)
{
    options.insert(options.end(), {"-file1", "cases", "-file2", "pool", "-out", "out"});
    return folder.runMode("popsel", options);
}

TEST(PopSel, WritesMatchesAndLog)
{
    const struct {
        const char *name;
        std::string first, second;
        std::vector<std::string> options;
        std::string out;
    } runs[] = {
        {"optimal", cases, pool, {}, heading + "a\t1\ty\t1\nb\t1\tx\t0\n"},
        {"greedy", cases, pool, {"-exact-rounds", "0"}, heading + "a\t1\tx\t0.5\nb\t1\tz\t1\n"},
        {"no exact stage", cases, pool, {"-exact-individuals", "0"}, heading + "a\t1\tx\t0.5\nb\t1\tz\t1\n"},
        // Alone a stays with x, and so b has no gain.
        {"one by one", cases, pool, {"-exact-individuals", "1"}, heading + "a\t1\tx\t0.5\nb\t1\tz\t1\n"},
        {"two each", cases, pool, {"-hitnumber", "2"},
         heading + "a\t1\ty\t1\na\t2\tw\t1.5\nb\t1\tx\t0\nb\t2\tz\t1\n"},
        {"delimiter, header, line ends", "id,age\r\n\r\na,2\r\nb,3", "x,3\ny,0\n\nz,5\nw,-1\n",
         {"-delim", "comma", "-header1", "yes"}, heading + "a\t1\ty\t1\nb\t1\tx\t0\n"},
        // A column without spread, and one of missing values, change nothing; c has no value.
        {"columns without use", "i k m age\nc 7 . .\na 7 . 2\nb 7 . 3\n",
         "ID k m age\nx 7 . 3\ny 7 . 0\nz 7 . 5\nw 7 . -1\n",
         {"-delim", "space", "-headers", "yes", "-missing", "."}, heading + "a\t1\ty\t1\nb\t1\tx\t0\n"},
        {"nobody", "a\tNA\n", pool, {}, heading},
        // Mean 2.5 and deviation 2.5 against 2.5 and 0.5.
        {"group", cases, pool, {"-group-match", "yes"}, "Match\ny\nz\n"},
        // A tie of x and v goes to the earlier line.
        {"tie", "a\t2\n", "v\t3\nx\t3\ny\t1\n", {}, heading + "a\t1\tv\t1.20605\n"},
    };
    for (const auto &run : runs) {
        const Folder folder;
        folder.write("cases", run.first);
        folder.write("pool", run.second);
        EXPECT_EQ(runPopSel(folder, run.options).status, 0) << run.name;
        EXPECT_EQ(folder.read("out"), run.out) << run.name;
    }
}

TEST(PopSel, LogsTheBalanceBeforeAndAfter)
{
    const Folder folder;
    folder.write("cases", "id\tsex\tage\nc\tNA\tNA\na\t1\t2\nb\t1\t3\n");
    folder.write("pool", "id\tsex\tage\nx\t1\t3\ny\t1\t0\nz\t1\t5\nw\t1\t-1\n");
    const std::string table = "Column\tMean1\tSD1\tPoolMean\tPoolSD\tMatchedMean\tMatchedSD\t"
                              "DifferenceBefore\tDifferenceAfter\nage\t2.5\t0.5\t1.75\t2.38485\t";
    const std::string end = "\nIndividuals\t3\nPool\t4\nMatched\t2\nTotal distance\toptimal\n"
                            "Not matched\tc\tno values\nLeft out\tsex\tno spread\n";
    const std::string messages = "running popSel()\n\nIndividuals: 3, pool: 4, columns: 1 of 2\n"
                                 "Matched individuals: 2 of 3, with 2 of the pool\nTotal distance: 1 (optimal)\n";
    EXPECT_EQ(runPopSel(folder, {"-headers", "yes"}).messages, messages);
    EXPECT_EQ(folder.read("out.log"),
              table + "1.5\t1.5\t-1.5\t-2\n\nRound\tMatches\tDistance\n0\t2\t1.5\n1\t2\t1\n" + end);
    // (ln 3)^2 + 2^2 = 5.20695, and (ln 5)^2 = 2.59029.
    EXPECT_EQ(runPopSel(folder, {"-headers", "yes", "-group-match", "yes"}).messages,
              messages + "Group objective: 2.59029\n");
    EXPECT_EQ(folder.read("out.log"),
              table + "2.5\t2.5\t-1.5\t0\n\nRound\tMatches\tDistance\n0\t2\t1.5\n1\t2\t1\n\n"
                      "Round\tMatches\tObjective\n0\t2\t5.20695\n1\t2\t2.59029\n2\t2\t2.59029\n" + end);
}

TEST(PopSel, RefusesBadInputWithOneLineAndWritesNothing)
{
    const struct {
        std::string first, second;
        std::vector<std::string> options;
        std::string message;
    } runs[] = {
        {cases, pool, {"-hitnumber", "0"}, "Incorrect hitnumber\n"},
        {cases, pool, {"-hitnumber", "two"}, "Incorrect hitnumber\n"},
        {cases, pool, {"-exact-rounds", "-1"}, "Incorrect exact-rounds\n"},
        {cases, pool, {"-exact-individuals", "all"}, "Incorrect exact-individuals\n"},
        {cases, pool, {"-hitnumber", "3"},
         "'pool', line 5, column 1: the pool ends with 4 individuals, fewer than 3 for each of 2\n"},
        {"", pool, {}, "'cases', line 1, column 1: no individuals\n"},
        {cases, "", {}, "'pool', line 1, column 1: the pool ends with 0 individuals, fewer than 1 for each of 2\n"},
        {"a\t2\n\nb\t3O\n", pool, {}, "'cases', line 3, column 2: '3O' is neither a number nor missing\n"},
        {cases, "x\t3\ny\tinf\n", {}, "'pool', line 2, column 2: 'inf' is neither a number nor missing\n"},
        {cases, "x\t3\ny\t\n", {}, "'pool', line 2, column 2: '' is neither a number nor missing\n"},
        {cases, pool, {"-missing", "-"}, ""},
        {"a\t2\na\t3\n", pool, {}, "'cases', line 2, column 1: identifier 'a' occurs twice\n"},
        {cases, "x\t3\ny\t0\nx\t5\n", {}, "'pool', line 3, column 1: identifier 'x' occurs twice\n"},
        {"a\t2\nb\n", pool, {}, "'cases', line 2, column 2: 1 columns where the first line has 2\n"},
        {"a\t2\nb\t3\t4\n", pool, {}, "'cases', line 2, column 3: 3 columns where the first line has 2\n"},
        {cases, "x\t3\t1\ny\t0\t2\n", {}, "'pool', line 1, column 3: 3 columns where 'cases' has 2\n"},
        {"id\tage\n" + cases, "id\tAge\n" + pool, {"-headers", "yes"},
         "'pool', line 1, column 2: heading 'Age' where 'cases' has 'age'\n"},
    };
    for (const auto &run : runs) {
        const Folder folder;
        folder.write("cases", run.first);
        folder.write("pool", run.second);
        folder.write("out", "kept");
        const Result result = runPopSel(folder, run.options);
        EXPECT_EQ(result.status, run.message.empty() ? 0 : 1) << run.message;
        EXPECT_TRUE(run.message.empty() || result.messages.ends_with("\n" + run.message)
                    || result.messages == run.message) << run.message << result.messages;
        EXPECT_EQ(folder.read("out") == "kept", !run.message.empty()) << run.message;
    }
}

// Huge and tiny values neither overflow nor lose their differences.
TEST(PopSel, DoesNotDependOnTheUnitOfAColumn)
{
    for (const std::string exponent : {"e-300", "e-3", "e307"}) {
        const Folder folder;
        folder.write("cases", "a\t2" + exponent + "\nb\t3" + exponent + "\n");
        folder.write("pool", "x\t3" + exponent + "\ny\t0\nz\t5" + exponent + "\nw\t-1" + exponent + "\n");
        runPopSel(folder, {});
        EXPECT_EQ(folder.read("out"), heading + "a\t1\ty\t1\nb\t1\tx\t0\n") << exponent;
    }
}
