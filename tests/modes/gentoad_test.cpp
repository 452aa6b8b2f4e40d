#include "support/program.h"

#include <gtest/gtest.h>

// Converts the bytes of "in" with these options.
static Result convert(const Folder &folder, std::string_view input, std::vector<std::string> options = {})
{
    folder.write("in", input);
    options.insert(options.begin(), {"-file", "in", "-out", "out"});
    return folder.runMode("gentoAD", options);
}

TEST(GenToAd, WritesADosagePerTriplet)
{
    const struct {
        const char *name, *input, *output;
    } cases[] = {
        {"each class", "1 rs1 10 A G 1 0 0 0 1 0 0 0 1\n", "1 rs1 10 A G 0 1 2\n"},
        {"no genotypes", "1 rs1 10 A G\n1 rs2 11 A G 0 0 1\n", "1 rs1 10 A G 1 rs2 11 A G 2\n"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        EXPECT_EQ(convert(folder, row.input).messages,
                  "running genToAd()\nStatistical summary not provided\n") << row.name;
        EXPECT_EQ(folder.read("out"), row.output) << row.name;
    }
}
