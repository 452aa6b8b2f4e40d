#include "support/program.h"
#include "support/random.h"
#include "text/readnumber.h"

#include <cmath>
#include <gtest/gtest.h>

// One centimorgan per 1000 base pairs, a jump at 3000, none above 5000.
static const char map[] = "position rate cM\n1000 0 1\n3000 0 3\n3000 0 8\n\n5000 0 10\n";

static Result prune(const Folder &folder, const std::string &input, const std::string &threshold,
                    std::vector<std::string> options = {})
{
    folder.write("in", input);
    options.insert(options.end(), {"-file", "in", "-map", "map", "-threshold", threshold, "-pcolumn", "2",
                                   "-poscolumn", "1", "-delim", "space"});
    return folder.runMode("ldprune", options);
}

TEST(LdPrune, DropsTheLargerPValueOfClosePairs)
{
    const struct {
        const char *name, *input, *threshold, *kept, *removed;
    } cases[] = {
        {"0 prunes nothing", "1000 .5\n1000 .5\n", "0", "1000 .5\n1000 .5\n", ""},
        {"bytes", "1000 .5 \xff\r\r\n\n1100 .2\r\n", "1", "1100 .2\n", "1000 .5 \xff\r dCM 0.1\n"},
        {"a tie drops the earlier one", "1000 .5 a\n1000 .5 b\n", "1", "1000 .5 b\n", "1000 .5 a dCM 0\n"},
        {"not below", "1000 1\n2000 1\n", "1", "1000 1\n2000 1\n", ""},
        {"three", "1000 .1\n1250 .3\n1500 .2\n", "1", "1000 .1\n", "1250 .3 dCM 0.25\n1500 .2 dCM 0.5\n"},
        {"a kept last pair ends it", "1000 1\n1010 2\n1020 3\n2000 1\n", "0.5", "1000 1\n1020 3\n2000 1\n",
         "1010 2 dCM 0.01\n"},
        {"the first interval at a shared end", "3000 1\n3001 1\n", "5.0011", "3001 1\n", "3000 1 dCM 5.001\n"},
        {"unmapped but far", "1 1\n5000 1\n", "10.5", "1 1\n5000 1\n", ""},
        {"no number", "x 1\n5000 y\n", "10.5", "x 1\n5000 y\n", ""},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("map", map);
        const Result run = prune(folder, row.input, row.threshold);
        EXPECT_EQ(run.messages, "running ldPrune()\npositions have to be in ascending order in both files\n");
        EXPECT_EQ(folder.read("in.out"), row.kept) << row.name;
        EXPECT_EQ(folder.read("in.out.removed"), row.removed) << row.name;
    }
    // An interval without length has no distances.
    const Folder folder;
    folder.write("map", "\n7 0 1\n7 0 2\n");
    prune(folder, "header\n7 1\n7 1\n", "9", {"-dataheader", "yes", "-out", ""});
    EXPECT_EQ(folder.read("in.out"), "7 1\n7 1\n");
}

TEST(LdPrune, EndsWithItsMessage)
{
    const std::string running = "running ldPrune()\npositions have to be in ascending order in both files\n";
    const struct {
        const char *input;
        std::vector<std::string> options;
        std::string messages;
        const char *removed;
    } cases[] = {
        {"", {"-file", ""}, "", "(no file)"},
        {"", {"-map", ""}, "", "(no file)"},
        {"", {"-out", "no/folder"}, "", "(no file)"},
        {"", {"-pcolumn", ""}, "-pcolumn not specified\n", ""},
        {"", {"-poscolumn", "-1"}, "-poscolumn not specified\n", ""},
        {"", {"-file", "none", "-out", "in.out"}, running, ""},
        {"1000 1\n1010 2\n1 1\n2 1\n", {}, running + "error!\n", "1010 2 dCM 0.01\n"},
        {"h\n\n1 1\n2\n", {"-dataheader", "yes"}, running + "Line 4 has fewer fields than column 2\n", ""},
        {"1 2\n", {"-poscolumn", "3", "-pcolumn", "4"}, running + "Line 1 has fewer fields than column 3\n", ""},
        {"", {"-out", "map"}, "Output file 'map' is also an input\n", "(no file)"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("map", map);
        const Result run = prune(folder, row.input, "1", row.options);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.messages, row.messages);
        EXPECT_EQ(folder.read("in.out.removed"), row.removed) << row.messages;
    }
}

// The judge: each step as it is told, with lists that shrink.
struct LiteralPruning {
    std::vector<int> mapPos;
    std::vector<double> mapCm;
    std::vector<std::string> lines;
    std::vector<int> positions;
    std::vector<double> values;
    std::string kept, removed;

    double centimorgans(int x, bool &isMapped) const
    {
        for (size_t k = 1; k < mapPos.size(); ++k) {
            if (mapPos[k - 1] <= x && x <= mapPos[k]) {
                const double d1 = x - mapPos[k - 1], d2 = mapPos[k] - x;
                return mapCm[k - 1] + ((mapCm[k] - mapCm[k - 1]) * d1) / (d2 + d1);
            }
        }
        isMapped = false;
        return -1;
    }

    bool run(double threshold)
    {
        for (bool remove = true; remove && lines.size() >= 2;) {
            for (size_t i = 1; i < lines.size();) {
                bool isMapped = true;
                const double dCM
                    = std::abs(centimorgans(positions[i], isMapped) - centimorgans(positions[i - 1], isMapped));
                remove = dCM < threshold;
                if (remove && !isMapped)
                    return false;
                if (remove) {
                    const long drop = long(values[i] <= values[i - 1] ? i - 1 : i);
                    char distance[32];
                    std::snprintf(distance, sizeof distance, " dCM %.6g\n", dCM);
                    removed += lines[size_t(drop)] + distance;
                    lines.erase(lines.begin() + drop);
                    positions.erase(positions.begin() + drop);
                    values.erase(values.begin() + drop);
                }
                i += remove ? 1 : 2;
            }
        }
        for (const std::string &line : lines)
            kept += line + "\n";
        return true;
    }
};

TEST(LdPrune, AgreesWithAPlainVersion)
{
    for (uint64_t seed = 0; seed < 300; ++seed) {
        RandomText random(seed);
        LiteralPruning judge;
        std::string mapLines = "header\n", input;
        const bool isSorted = random.below(4) > 0;
        const size_t step = 1 + random.below(60);
        int position = random.oneIn(3) ? 1 : -2000;
        double cM = 0;
        for (size_t n = random.below(60); n > 0; --n) {
            position += int(random.below(step)) - (isSorted ? 0 : 3);
            cM += double(random.below(100)) / 64;
            judge.mapPos.push_back(position);
            judge.mapCm.push_back(random.oneIn(50) ? NAN : cM);
            mapLines += std::to_string(position) + "  " + std::to_string(judge.mapCm.back()) + random.lineEnd();
        }
        position = random.oneIn(2) ? 1 : -50;
        for (size_t n = random.below(200); n > 0; --n) {
            position += int(random.below(1 + random.below(step)));
            const std::string value = random.number(1);
            judge.lines.push_back(std::to_string(position) + " " + value + " " + std::to_string(n));
            judge.positions.push_back(position);
            judge.values.push_back(text::readDouble(value));
            input += judge.lines.back() + random.lineEnd();
        }
        const int threshold = int(random.below(4));
        const Folder folder;
        folder.write("map", mapLines);
        const Result run = prune(folder, input, std::to_string(threshold));
        const bool isDone = judge.run(threshold);
        ASSERT_EQ(run.status, isDone ? 0 : 1) << "seed " << seed;
        ASSERT_EQ(folder.read("in.out"), judge.kept) << "seed " << seed;
        ASSERT_EQ(folder.read("in.out.removed"), judge.removed) << "seed " << seed;
    }
}
