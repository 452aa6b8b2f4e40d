#include "support/program.h"

#include <gtest/gtest.h>

static const char *const inputfile = "FULLSET_750_165000.impute";
static const std::string read1 = "start\nfile opened\nfile closed\n", read23 = "before\nafter\n";

TEST(ReadTest, WritesItsMarkerLines)
{
    std::string line = "1 rs1 10 A G";
    for (int i = 0; i < 750; ++i)
        line += " 0 0.25 0.75";
    const struct {
        const char *name;
        std::string input;
    } cases[] = {
        {"two lines", line + "\n" + line + "\n"},
        {"short and empty lines, words that are no numbers", "1 rs1\n\r\n\n1 rs2 10 A G x  y"},
        {"long words", "1 rs1 10 A G 0.12345678901234567890 " + std::string(200000, '7') + "\n" + line},
        {"more than a block", std::string(4000000, ' ') + std::string(3000000, '1')},
        {"zero bytes", std::string("1 rs1\0 10 A G 0.5 0.5\n", 23)},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write(inputfile, row.input);
        using Files = std::map<std::string, std::string>;
        EXPECT_EQ(folder.runMode("read1", {}).status, 0) << row.name;
        EXPECT_EQ(folder.files(), (Files{{inputfile, row.input}, {"OUTPUT.txt", read1}})) << row.name;
        for (const char *mode : {"read2", "read3"}) {
            EXPECT_EQ(folder.runMode(mode, {}).status, 0) << mode << row.name;
            EXPECT_EQ(folder.read("OUTPUT2.txt"), read23) << mode << row.name;
            folder.write("OUTPUT2.txt", "");
        }
        EXPECT_EQ(folder.runMode("read4", {}).messages,
                  "c=0 result=0 size = " + std::to_string(row.input.size()) + " entries=0\n\n") << row.name;
    }
}

TEST(ReadTest, EndsWithoutItsInput)
{
    const struct {
        const char *mode, *messages, *errors;
        std::map<std::string, std::string> files;
    } cases[] = {
        {"read1", "", "", {{"OUTPUT.txt", "start\n"}}},
        {"read2", "Input file not found\n", "", {}},
        {"read3", "", "Error opening file: No such file or directory\n", {{"OUTPUT2.txt", "before\n"}}},
        {"read4", "", "File error", {}},
    };
    for (const auto &row : cases) {
        const Folder folder;
        const auto run = folder.runMode(row.mode, {});
        EXPECT_EQ(run.status, 1) << row.mode;
        EXPECT_EQ(run.messages, row.messages) << row.mode;
        EXPECT_EQ(run.errors, row.errors) << row.mode;
        EXPECT_EQ(folder.files(), row.files) << row.mode;
    }
}
