#include "main/modes.h"
#include "main/timing.h"
#include "support/runs.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>

TEST(Shell, PrintsBannerArgumentsAndTimes)
{
    const Folder folder;
    const Result run = folder.run({"-M", "nothing", "a b", ""}, "TZ=UTC");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    const std::string time = "[0-2][0-9]:[0-5][0-9]:[0-5][0-9], [A-Z][a-z]{2} [A-Z][a-z]{2} [0-9]{1,2} [0-9]{4}\n\n";
    EXPECT_THAT(run.output, testing::MatchesRegex("\nMORVEL v. 1.3.7\n[^\n]*[Gg]uide[^\n]*\n[^\n]*@[^\n]*\n\n"
                                                  "1  -M\n2  nothing\n3  a b\n4  \n"
                                                  "\nSTART TIME: " + time + "END TIME: " + time
                                                  + "DONE in [0-9]+ msec\n\n"));
    EXPECT_EQ(folder.files().size(), 0u);
}

TEST(Shell, FindsTheModeBehindTheFirstSwitch)
{
    const std::string missing = "You need to specify the mode '-M'\n\n";
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string end;  // of the output, or of the mode's messages
    } cases[] = {
        {{"-M"}, 1, "1  -M\n" + missing},
        {{"gwas2"}, 1, "1  gwas2\n" + missing},
        {{"-m", "regscan1", "-M", "levin"}, 1, "You need to specify '-pfile'.\n\n"},
        {{"a", "b", "-M", "regscan1"}, 1, "You need to specify '-pfile'.\n\n"},
        {{"-M", "Gwas2"}, 0, ""},
        {{"-M", "-M", "gwas2"}, 0, ""},
        {{"-qmljsdebugger", "-M", "regscan1", "-qmljsdebugger=1"}, 1, "You need to specify '-pfile'.\n\n"},
        {{"-M", "REGSCAN1", "-pfile", "x"}, 0, ""},
        {{"-M", "bgen", "-file", "x"}, 0, ""},
        {{}, 0, ""},
        {{"-M", std::string(49, 'x')}, 0, ""},
    };
    for (const auto &row : cases) {
        const Folder folder;
        const Result run = folder.run(row.arguments);
        EXPECT_EQ(run.status, row.status) << testing::PrintToString(row.arguments);
        if (row.status == 0)
            EXPECT_EQ(run.messages, row.end) << testing::PrintToString(row.arguments);
        else
            EXPECT_TRUE(run.output.ends_with(row.end)) << run.output;
    }
}

TEST(Shell, CollectsPairsOfWhichTheFirstCounts)
{
    expectRuns({"gentoad", {}, {}, {}, {{"b", "1 rs1 1 A G 0 0 1\n"}}, "running genToAd()\nInput file not found\n",
        1}, {
        {"an option standing last is absent", {}, {"-out", "o", "-file"}, {}, "You need to specify '-pfile'.\n\n"},
        {"the first of two counts", {}, {"-file", "a", "-file", "b"}},
        {"a value is also looked at as an option", {}, {"-out", "-file", "a"}},
        {"what another mode accepts is passed over", {}, {"-gfile", "-file", "a"}},
    });
}

TEST(Shell, AbortsOnNamesThatDoNotFit)
{
    const Folder folder;
    const Result run = folder.run({"-M", std::string(50, 'x')});
    EXPECT_EQ(run.status, -SIGABRT);
    EXPECT_TRUE(run.output.ends_with("2  " + std::string(50, 'x') + "\n")) << run.output;

    // The program by a path of 99 bytes, and of one more.
    const std::string program = std::getenv("MORVEL_PROGRAM");
    for (const size_t size : {99, 100}) {
        const std::string link = folder.path(std::string(size - folder.path("").size(), 'm'));
        std::filesystem::create_symlink(program, link);
        setenv("MORVEL_PROGRAM", link.c_str(), 1);
        EXPECT_EQ(folder.run({}).status, size < 100 ? 0 : -SIGABRT);
        setenv("MORVEL_PROGRAM", program.c_str(), 1);
    }
}

TEST(ElapsedTime, StartsAtTheLargestUnit)
{
    const struct {
        int64_t milliseconds;
        const char *line;
    } cases[] = {
        {0, "DONE in 0 msec\n\n"},
        {999, "DONE in 999 msec\n\n"},
        {59999, "DONE in 59 sec 999 msec\n\n"},
        {60000, "DONE in 1 min 0 sec 0 msec\n\n"},
        {3600000, "DONE in 1 h 0 min 0 sec 0 msec\n\n"},
        {3600000 * 30 + 61001, "DONE in 30 h 1 min 1 sec 1 msec\n\n"},
    };
    for (const auto &row : cases)
        EXPECT_EQ(elapsedTime(row.milliseconds), row.line);
}

#ifndef NDEBUG
TEST(Shell, StopsWhereAModeReadsAnOptionThatItDoesNotList)
{
    static constexpr IntegerOption listed = {"-a", 1, "listed"}, other = {"-b", 2, "not listed"};
    static constexpr const Option *options[] = {&listed};
    const Mode mode = {{"x"}, [] { std::exit(listed.read() + other.read()); }, options, ""};
    EXPECT_DEATH(runMode(mode), "does not list the option -b");
}
#endif
