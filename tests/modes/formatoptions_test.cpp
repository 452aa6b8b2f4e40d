// Options that ADtogen, avgAD, avgGEN and gentoletters read alike.
#include "support/program.h"

#include <csignal>
#include <gtest/gtest.h>

static const struct {
    const char *mode, *running;
} modes[] = {
    {"ADtogen", "running adToGen()\n\n"},
    {"avgAD", "running avgAd()\n\n"},
    {"avgGEN", "running avgGen()\n\n"},
    {"gentoletters", "Strands not flipped\n\nrunning genToLetters()\n\n"},
};
static const std::string input = "1 rs1 10 A G 0 0 1\n";

TEST(FormatOptions, NeedANameAndOpenOutputThenInput)
{
    for (const auto &[mode, running] : modes) {
        for (const std::vector<std::string> &options :
             {std::vector<std::string>{"-out", std::string(300, 'x')}, {"-file", "", "-out", "x"}}) {
            const Folder empty;
            const auto run = empty.runMode(mode, options);
            EXPECT_EQ(run.status, 1) << mode;
            EXPECT_EQ(run.messages, "You need to specify '-file'.\n\n") << mode;
            EXPECT_TRUE(empty.files().empty()) << mode;
        }
        const Folder folder;
        const auto noInput = folder.runMode(mode, {"-file", "in", "-out", "out"});
        EXPECT_EQ(noInput.status, 1) << mode;
        EXPECT_EQ(noInput.messages, running) << mode;
        EXPECT_EQ(folder.files(), (std::map<std::string, std::string>{{"out", ""}})) << mode;  // opened first
        folder.write("in", input);
        EXPECT_EQ(folder.runMode(mode, {"-file", "in", "-out", "no/out"}).messages, running) << mode;
        EXPECT_EQ(folder.runMode(mode, {"-file", ".", "-out", "out"}).status, 1) << mode << ": a folder";
        const auto same = folder.run({"-M", mode, "-file", "in", "-out", "link"}, "ln -s in link;");
        EXPECT_EQ(same.messages, std::string(running) + "Output file 'link' is also an input\n") << mode;
        EXPECT_EQ(folder.read("in"), input) << mode;
        EXPECT_EQ(folder.runMode(mode, {"-file", "in", "-out", ""}).status, 0) << mode;
        EXPECT_EQ(folder.read("in.out").substr(0, 13), "1 rs1 10 A G ") << mode;
    }
}

// Buffers of 200 bytes for names and of 20 for words hold a byte less than that.
TEST(FormatOptions, EndAbnormallyAtTooLongValues)
{
    const std::string number19 = "0000000000000000001", letters20(20, 'x');
    const auto name = [](size_t size) { return std::string(100, '.') + "/" + std::string(size - 101, 'n'); };
    for (const auto &[mode, running] : modes) {
        const bool hasDeviations = std::string(mode) == "ADtogen";
        const bool hasFlip = std::string(mode) == "gentoletters";
        const std::string letters = hasFlip ? "-flip" : hasDeviations ? "-beg" : "-show";
        const struct {
            std::vector<std::string> options;
            bool isTooLong;
        } cases[] = {
            {{"-file", name(200), "-out", "out"}, true},
            {{"-file", name(199), "-out", "out"}, false},
            {{"-file", name(196)}, true},
            {{"-file", name(hasDeviations ? 189 : 195)}, false},
            {{"-file", "in", "-out", name(200)}, true},
            {{"-file", "in", "-out", name(194)}, hasDeviations},
            {{"-file", "in", "-beg", number19, "-end", number19, "-last-bef-geno", number19}, false},
            {{"-file", "in", "-beg", "0" + number19}, true},
            {{"-file", "in", "-end", "0" + number19}, true},
            {{"-file", "in", "-last-bef-geno", "0" + number19}, true},
            {{"-file", "in", "-rs-loc", letters20}, true},
            {{"-file", "in", letters, letters20}, true},
        };
        for (const auto &row : cases) {
            const Folder folder;
            folder.write("in", input);
            const auto run = folder.runMode(mode, row.options);
            EXPECT_EQ(run.status == -SIGABRT, row.isTooLong) << mode << testing::PrintToString(row.options);
            EXPECT_EQ(run.messages == "", row.isTooLong) << mode << testing::PrintToString(row.options);
        }
    }
    for (const char *option : {"-gen1-loc", "-gen2-loc"}) {
        const auto run = Folder().runMode("gentoletters", {"-file", "in", option, letters20});
        EXPECT_EQ(run.status, -SIGABRT) << option;
    }
}
