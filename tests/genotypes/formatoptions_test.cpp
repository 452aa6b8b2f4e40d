// Options that ADtogen, avgAD, avgGEN and gentoletters read alike.
#include "support/program.h"

#include <csignal>
#include <gtest/gtest.h>

static const struct {
    const char *mode, *running;
    size_t longest;  // input whose output names fit into 199 bytes when they are made from it
} modes[] = {
    {"ADtogen", "running adToGen()\n\n", 189},
    {"avgAD", "running avgAd()\n\n", 195},
    {"avgGEN", "running avgGen()\n\n", 195},
    {"gentoletters", "Strands not flipped\n\nrunning genToLetters()\n\n", 195},
};

TEST(FormatOptions, NeedANameAndOpenOutputThenInput)
{
    for (const auto &[mode, running, longest] : modes) {
        const Folder folder;
        for (const std::vector<std::string> &options :
             {std::vector<std::string>{"-out", std::string(300, 'x')}, {"-file", "", "-out", "x"}}) {
            const auto run = folder.runMode(mode, options);
            EXPECT_EQ(run.status, 1) << mode;
            EXPECT_EQ(run.messages, "You need to specify '-file'.\n\n") << mode;
            EXPECT_TRUE(folder.files().empty()) << mode;
        }
        EXPECT_EQ(folder.runMode(mode, {"-file", "in", "-out", "out"}).messages, running) << mode;
        EXPECT_EQ(folder.files(), (std::map<std::string, std::string>{{"out", ""}})) << mode;
        folder.write("in", "1 rs1 10 A G 0 0 1\n");
        EXPECT_EQ(folder.runMode(mode, {"-file", "in", "-out", ""}).status, 0) << mode;
        EXPECT_EQ(folder.read("in.out").substr(0, 13), "1 rs1 10 A G ") << mode;

        const std::string name = std::string(100, '.') + "/" + std::string(longest - 101, 'n');
        EXPECT_EQ(folder.runMode(mode, {"-file", name}).status, 1) << mode;  // no such folder
        const auto tooLong = folder.runMode(mode, {"-file", name + "n"});
        EXPECT_EQ(tooLong.status, -SIGABRT) << mode;
        EXPECT_EQ(tooLong.messages, "") << mode;
    }
}
