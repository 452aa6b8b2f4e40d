// What happens when something fails that is not a mode's data, as far as the fault suite leaves it open.
#include "support/program.h"

#include <gtest/gtest.h>

static const char genotypes[] = "1 rs1 1 A G 0 0 1 0 1 0 1 0 0 1 0 0\n";

TEST(Failure, ALimitOnFileSizesEndsTheRunInTheMiddleOfAnOutput)
{
    const Folder folder;
    std::string lines;
    for (int i = 0; i < 20000; ++i)
        lines += genotypes;
    folder.write("in", lines);
    const Result run = folder.run({"-M", "gentoAD", "-file", "in"}, "ulimit -f 100;");
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.messages.ends_with("\nCannot write 'in.out'\n")) << run.messages;
}

TEST(Failure, AClosedStandardOutputIsToldOnStandardError)
{
    const Folder folder;
    folder.write("in", genotypes);
    const Result run = folder.run({"-M", "gentoAD", "-file", "in"}, "", ">&-");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "Cannot write 'standard output'\n");
}
