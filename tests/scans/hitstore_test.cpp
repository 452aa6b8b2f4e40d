#include "scans/hitstore.h"
#include "support/random.h"

#include <gtest/gtest.h>
#include <vector>

// Moved to the file by several megabytes at a time; some pieces are larger than what a writer gives.
TEST(HitStore, GivesTheRowsOfEveryPhenotypeInTheirOrder)
{
    RandomText random(1);
    std::vector<std::string> expected(9);
    HitStore store(expected.size(), size_t(3) << 20);
    for (int i = 0; i < 20000; ++i) {
        const size_t phenotype = random.oneIn(2) ? 0 : random.below(8);  // the last one has none
        const std::string row = std::to_string(i) + std::string(random.below(1000), char('a' + phenotype)) + "\n";
        expected[phenotype] += row;
        store.add(phenotype, row);
    }
    for (size_t phenotype = 0; phenotype < expected.size(); ++phenotype) {
        std::string rows;
        text::Writer out;
        out.openToMemory(rows);
        store.write(phenotype, out);
        out.flush();
        EXPECT_TRUE(rows == expected[phenotype]) << phenotype;
    }
}
