#include "support/genotypemodel.h"
#include "support/random.h"
#include "text/readnumber.h"

#include <cmath>
#include <gtest/gtest.h>

// One centimorgan per 1000 base pairs, a jump at 3000, none above 5000.
static const char map[] = "position rate cM\n1000 0 1\n3000 0 3\n3000 0 8\n\n5000 0 10\n";
static const std::string announced = "running ldPrune()\npositions have to be in ascending order in both files\n";

static const Runs pruning = {"ldprune",
    {"-file", "in", "-map", "map", "-threshold", "1", "-pcolumn", "2", "-poscolumn", "1",
                                         "-delim", "space", "-out", ""},
                             {"in", "map"}, {"in.out", "in.out.removed"}, {}, announced};

TEST(LdPrune, DropsTheLargerPValueOfClosePairs)
{
    expectRuns(pruning, {
        {"back onto the jump", {"4000 1\n3000 .5\n", map}, {"-threshold", "2"},
         {"4000 1\n3000 .5\n", ""}},  // 9 and 3 centimorgans
        {"bytes", {"1000 .5 \xff\r\r\n\n1100 .2\r\n", map}, {}, {"1100 .2\n", "1000 .5 \xff\r dCM 0.1\n"}},
        {"a tie drops the earlier one", {"1000 .5 a\n1000 .5 b\n", map}, {}, {"1000 .5 b\n", "1000 .5 a dCM 0\n"}},
        {"a kept last pair ends it", {"1000 1\n1010 2\n1020 3\n2000 1\n", map}, {"-threshold", "0.5"},
         {"1000 1\n1020 3\n2000 1\n", "1010 2 dCM 0.01\n"}},
    });
}

TEST(LdPrune, EndsWithItsMessage)
{
    Runs failing = pruning;
    failing.status = 1;
    const std::string fewer = " has fewer fields than column ";
    expectRuns(failing, {
        {"no file", {"", map}, {"-file", ""}, {}, ""},
        {"no column of p-values", {"", map}, {"-pcolumn", ""}, {"(no file)", ""}, "-pcolumn not specified\n"},
        {"no column of positions", {"", map}, {"-poscolumn", "-1"}, {"(no file)", ""}, "-poscolumn not specified\n"},
        {"off the map", {"1000 1\n1010 2\n1 1\n2 1\n", map}, {}, {"", "1010 2 dCM 0.01\n"}, announced + "error!\n"},
        {"short line", {"h\n\n1 1\n2\n", map}, {"-dataheader", "yes"}, {"", ""}, announced + "Line 4" + fewer + "2\n"},
        {"short first line", {"1 2\n", map}, {"-poscolumn", "3"}, {"", ""}, announced + "Line 1" + fewer + "3\n"},
        {"a map of one row maps nothing", {"1000 .5\n1000 .2\n", "header\n1000 0 1\n"}, {}, {"", ""},
         announced + "error!\n"},
    });
}

// Long lines are not copied.
TEST(LdPrune, KeepsLinesOfAnyLength)
{
    std::string table;
    for (const int megabytes : {3, 0, 5, 5, 1, 0, 9, 2})
        table += std::to_string(1000 + megabytes) + " 1 " + std::string(size_t(megabytes) << 20, 'x') + "\n";
    expectRuns(pruning, {{"long lines", {table, map}, {"-threshold", "0"}, {table, ""}}});
}

struct Row {
    std::string line;
    int position;
    double cM, value;
};
using Map = std::vector<std::pair<int, double>>;

static double centimorgans(int x, const Map &entries)
{
    for (size_t k = 1; k < entries.size(); ++k) {
        const auto &[P0, C0] = entries[k - 1];
        const auto &[P1, C1] = entries[k];
        if (P0 <= x && x <= P1)
            return C0 + ((C1 - C0) * double(x - P0)) / (double(P1 - x) + double(x - P0));
    }
    return -1;  // no map here goes below 0
}

// The judge: each step as it is told, with a list that shrinks. False where a close marker is unmapped.
static bool pruneLiterally(std::vector<Row> &rows, double threshold, std::string &removed)
{
    for (bool remove = true; remove && rows.size() >= 2;) {
        for (size_t i = 1; i < rows.size(); i += remove ? 1 : 2) {
            const double dCM = std::abs(rows[i].cM - rows[i - 1].cM);
            remove = dCM < threshold;
            if (remove && (rows[i].cM == -1 || rows[i - 1].cM == -1))
                return false;
            if (remove) {
                const auto drop = rows.begin() + long(rows[i].value <= rows[i - 1].value ? i - 1 : i);
                removed += drop->line + " dCM " + plainText(dCM) + "\n";
                rows.erase(drop);
            }
        }
    }
    return true;
}

TEST(LdPrune, AgreesWithAPlainVersion)
{
    for (uint64_t seed = 0; seed < 300; ++seed) {
        RandomText random(seed);
        std::string mapLines = "header\n", input, removed, kept;
        const bool isSorted = random.below(4) > 0;
        const size_t step = 1 + random.below(60);
        int position = random.oneIn(3) ? 1 : -2000;
        double cM = 0;
        Map entries;
        for (size_t n = random.below(60); n > 0; --n) {
            position += int(random.below(step)) - (isSorted ? 0 : 3);
            cM += double(random.below(100)) / 100;
            entries.emplace_back(position, random.oneIn(50) ? NAN : cM);
            mapLines += std::to_string(position) + "  " + plainText(entries.back().second) + random.lineEnd();
        }
        position = random.oneIn(2) ? 1 : -50;
        std::vector<Row> rows;
        for (size_t n = random.below(200); n > 0; --n) {
            position += int(random.below(1 + random.below(step)));
            const std::string value = random.number(1);
            rows.push_back({std::to_string(position) + " " + value + " " + std::to_string(n), position,
                            centimorgans(position, entries), text::readDouble(value)});
            input += rows.back().line + random.lineEnd();
        }
        const int threshold = int(random.below(4));
        Runs runs = pruning;
        runs.status = pruneLiterally(rows, threshold, removed) ? 0 : 1;
        runs.messages = "...";
        for (size_t i = 0; runs.status == 0 && i < rows.size(); ++i)
            kept += rows[i].line + "\n";
        expectRuns(runs, {{"seed " + std::to_string(seed), {input, mapLines}, {"-threshold", std::to_string(threshold)},
                           {kept, removed}}});
        ASSERT_FALSE(HasFailure());
    }
}
