#include "main/progress.h"
#include "support/program.h"

#include <cstdlib>
#include <gtest/gtest.h>

TEST(Progress, TellsPartSpeedAndTimeLeft)
{
    const struct {
        double partDone;
        int64_t markers;
        double seconds;
        const char *line;
    } cases[] = {
        {0.25, 5000, 10, "25 % done, 500 markers/s, 0:00:30 left"},
        {0.999, 10, 4000, "99 % done, 0 markers/s, 0:00:05 left"},
        {0.0001, 3, 2, "0 % done, 2 markers/s, 5:33:18 left"},
        {1, 30, 3, "100 % done, 10 markers/s, 0:00:00 left"},
        {0, 30, 3, "10 markers/s"},  // a pipe has no size
    };
    for (const auto &row : cases)
        EXPECT_EQ(progressLine(row.partDone, row.markers, row.seconds), row.line);
}

TEST(Progress, CountsBytesOfTheFileAndOfTheOuterFile)
{
    const Folder folder;
    folder.write("dosages", std::string(100, 'x'));
    folder.write("phenotypes", std::string(40, 'x'));
    Progress once(folder.path("dosages"));
    once.advance(24);
    EXPECT_EQ(once.partDone(), 0.25);
    once.advance(75);  // the last line has no end
    EXPECT_EQ(once.partDone(), 1);

    Progress passes(folder.path("dosages"), folder.path("phenotypes"));
    passes.startPass(9);
    passes.advance(99);
    EXPECT_EQ(passes.partDone(), 0.25);
    passes.startPass(29);
    passes.advance(49);
    EXPECT_EQ(passes.partDone(), 0.625);
    EXPECT_EQ(Progress("/dev/null").partDone(), 0);
    EXPECT_EQ(Progress(folder.path("dosages"), "/dev/null").partDone(), 0);
}

// Converts three markers that come through a pipe, the last ones after a pause. Returns what a terminal shows of
// standard error.
static std::string shownErrors(const Folder &folder, const std::string &pause, const std::string &redirection = "")
{
    const std::string line = "1 rs1 10 A G 0 0 1" + std::string(5000, ' ') + "\\n";
    folder.write("slow", redirection + "\n{ printf '" + line + "'; sleep " + pause + "; printf '" + line + line
                     + "'; } | $MORVEL_PROGRAM -M gentoAD -file /dev/stdin -out out >messages\n");
    const std::string command = "cd " + folder.path("") + " && script -qec 'sh slow' shown </dev/null >/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    const std::string shown = folder.read("shown");  // between a first and a last line of the command's own
    return shown.substr(shown.find('\n') + 1, shown.rfind("\n\nScript") - shown.find('\n') - 1);
}

TEST(Progress, ShowsOnATerminalAfterTwoSecondsOnly)
{
    const Folder folder;
    const std::string shown = shownErrors(folder, "2.6");
    EXPECT_TRUE(shown.starts_with("\r1 markers/s\033[K") || shown.starts_with("\r0 markers/s\033[K")) << shown;
    EXPECT_NE(shown.find("\r\033[K"), shown.npos) << shown;
    const std::string messages = folder.read("messages");
    EXPECT_EQ(messages.find("markers/s"), messages.npos);
    EXPECT_EQ(shownErrors(folder, "0").find("markers/s"), std::string::npos);
    // Nor where standard error is a file.
    EXPECT_EQ(shownErrors(folder, "2.6", "exec 2>errors").find("markers/s"), std::string::npos);
    EXPECT_EQ(folder.read("errors"), "");
}
