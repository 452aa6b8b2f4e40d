#include "support/runs.h"

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
    const Runs runs = {"popsel", {"-file1", "cases", "-file2", "pool", "-out", "out"}, {"cases", "pool"},
        {"out", "out.log"}};
    const std::string together = heading + "a\t1\ty\t1\nb\t1\tx\t0\n",
        oneByOne = heading + "a\t1\tx\t0.5\nb\t1\tz\t1\n";
    expectRuns(runs, {
        {"optimal", {cases, pool}, {}, {together, "..."}},
        {"greedy", {cases, pool}, {"-exact-rounds", "0"}, {oneByOne, "..."}},
        {"no exact stage", {cases, pool}, {"-exact-individuals", "0"}, {oneByOne, "..."}},
        // Alone a stays with x, and so b has no gain.
        {"one by one", {cases, pool}, {"-exact-individuals", "1"}, {oneByOne, "..."}},
        {"two each", {cases, pool}, {"-hitnumber", "2"},
         {heading + "a\t1\ty\t1\na\t2\tw\t1.5\nb\t1\tx\t0\nb\t2\tz\t1\n", "..."}},
        {"delimiter, header, line ends", {"id,age\r\n\r\na,2\r\nb,3", "x,3\ny,0\n\nz,5\nw,-1\n"},
         {"-delim", "comma", "-header1", "yes"}, {together, "..."}},
        // A column without spread, and one of missing values, change nothing; c has no value.
        {"columns without use", {"i k m age\nc 7 . .\na 7 . 2\nb 7 . 3\n",
                                 "ID k m age\nx 7 . 3\ny 7 . 0\nz 7 . 5\nw 7 . -1\n"},
         {"-delim", "space", "-headers", "yes", "-missing", "."}, {together, "..."}},
        {"nobody", {"a\tNA\n", pool}, {}, {heading, "..."}},
        // Mean 2.5 and deviation 2.5 against 2.5 and 0.5.
        {"group", {cases, pool}, {"-group-match", "yes"}, {"Match\ny\nz\n", "..."}},
        // A tie of x and v goes to the earlier line.
        {"tie", {"a\t2\n", "v\t3\nx\t3\ny\t1\n"}, {}, {heading + "a\t1\tv\t1.20605\n", "..."}},
        {"other word for missing", {cases, pool}, {"-missing", "-"}, {together, "..."}},
        // Huge and tiny values neither overflow nor lose their differences.
        {"tiny", {"a\t2e-300\nb\t3e-300\n", "x\t3e-300\ny\t0\nz\t5e-300\nw\t-1e-300\n"}, {}, {together, "..."}},
        {"huge", {"a\t2e307\nb\t3e307\n", "x\t3e307\ny\t0\nz\t5e307\nw\t-1e307\n"}, {}, {together, "..."}},
    });
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
    const Runs runs = {"popsel", {"-file1", "cases", "-file2", "pool", "-out", "out"}, {"cases", "pool"}, {},
                       {{"out", "kept"}, {"cases", cases}, {"pool", pool}}, "", 1};
    const std::string start = "running popSel()\n\n", few = ", line 1, column 1: the pool ends with 0 individuals";
    const std::string noNumber = " is neither a number nor missing\n", uneven = " columns where the first line has 2\n";
    expectRuns(runs, {
        {"no hits", {}, {"-hitnumber", "0"}, {}, "Incorrect hitnumber\n"},
        {"hits in words", {}, {"-hitnumber", "two"}, {}, "Incorrect hitnumber\n"},
        {"rounds", {}, {"-exact-rounds", "-1"}, {}, "Incorrect exact-rounds\n"},
        {"individuals", {}, {"-exact-individuals", "all"}, {}, "Incorrect exact-individuals\n"},
        {"small pool", {}, {"-hitnumber", "3"}, {},
         start + "'pool', line 5, column 1: the pool ends with 4 individuals, fewer than 3 for each of 2\n"},
        {"nobody", {""}, {}, {}, start + "'cases', line 1, column 1: no individuals\n"},
        {"no pool", {cases, ""}, {}, {}, start + "'pool'" + few + ", fewer than 1 for each of 2\n"},
        {"letter", {"a\t2\n\nb\t3O\n"}, {}, {}, start + "'cases', line 3, column 2: '3O'" + noNumber},
        {"infinite", {cases, "x\t3\ny\tinf\n"}, {}, {}, start + "'pool', line 2, column 2: 'inf'" + noNumber},
        {"empty", {cases, "x\t3\ny\t\n"}, {}, {}, start + "'pool', line 2, column 2: ''" + noNumber},
        {"twice", {"a\t2\na\t3\n"}, {}, {}, start + "'cases', line 2, column 1: identifier 'a' occurs twice\n"},
        {"twice in the pool", {cases, "x\t3\ny\t0\nx\t5\n"}, {}, {},
         start + "'pool', line 3, column 1: identifier 'x' occurs twice\n"},
        {"short line", {"a\t2\nb\n"}, {}, {}, start + "'cases', line 2, column 2: 1" + uneven},
        {"long line", {"a\t2\nb\t3\t4\n"}, {}, {}, start + "'cases', line 2, column 3: 3" + uneven},
        {"other columns", {cases, "x\t3\t1\ny\t0\t2\n"}, {}, {},
         start + "'pool', line 1, column 3: 3 columns where 'cases' has 2\n"},
        {"other headings", {"id\tage\n" + cases, "id\tAge\n" + pool}, {"-headers", "yes"}, {},
         start + "'pool', line 1, column 2: heading 'Age' where 'cases' has 'age'\n"},
    });
}
