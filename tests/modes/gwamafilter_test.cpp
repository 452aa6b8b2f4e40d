#include "support/program.h"
#include "support/random.h"
#include "support/scanmodel.h"

#include <algorithm>
#include <gtest/gtest.h>

TEST(GwamaFilter, KeepsLinesByTheirDirections)
{
    const struct {
        const char *name, *input;
        std::vector<std::string> options;
        const char *out;
    } cases[] = {
        {"kept", "a\t+++\nb\t??+\nc\t++?-\n", {}, "a\t+++\nb\t??+\nc\t++?-\n"},
        {"dropped", "d\t+-\ne\t???+\nf\t000\ng\t\nh\n", {}, ""},
        {"as read", "\t+\r\n\r\n\n\xff\t-\r\r\n x\t+", {}, "\t+\n\xff\t-\r\n x\t+\n"},
        {"empty header", "\n+\t+-\n-\t-\n", {"-header", "yes"}, "\n-\t-\n"},
        {"header", "+\t+-\n-\t-\n", {"-header", "yes"}, "+\t+-\n-\t-\n"},
        {"dash", "+-+\n+--+\n+-x\n", {"-delim", "dash"}, "+-+\n"},
        {"quote", "a\"+\n", {"-delim", "quote"}, "a\"+\n"},
        {"slash", "a/+\n-\\+\n", {"-delim", "slash"}, "a/+\n"},
        {"bslash", "a\\+\n", {"-delim", "bslash"}, "a\\+\n"},
        {"every byte", "-+\n0+\n", {"-delim", "", "-column", "3"}, "-+\n0+\n"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("in", row.input);
        std::vector<std::string> options = row.options;
        options.insert(options.end(), {"-file", "in", "-out", "out", "-column", "2"});
        const Result run = folder.runMode("gwamafilter", options);
        EXPECT_EQ(run.messages, "running gwamaFilter()\n\n") << row.name;
        EXPECT_EQ(folder.read("out"), row.out) << row.name;
    }
}

// Fields and lines that end before, at and behind the blocks in which bytes are looked at.
TEST(GwamaFilter, AgreesWithAPlainVersion)
{
    for (uint64_t seed = 0; seed < 40; ++seed) {
        RandomText random(seed);
        const std::string delimiter = random.oneOf({"\t", "ab", "-"});
        const size_t column = 1 + random.below(40);
        std::string input, expected;
        for (int i = 0; i < 400; ++i) {
            std::string line;
            for (size_t n = random.below(2 * column); n > 0; --n) {
                for (size_t size = random.below(random.oneIn(20) ? 200 : 5); size > 0; --size)
                    line += "+-?+-+-ab0"[random.below(10)];
                line += delimiter;
            }
            line += '+';
            input += line + random.lineEnd();
            const Texts fields = plainFields(line, delimiter);
            const std::string entry = column <= fields.size() ? fields[column - 1] : "";
            if (std::ranges::count(entry, '?') <= 2
                && std::ranges::count(entry, '+') != std::ranges::count(entry, '-'))
                expected += line + "\n";
        }
        const Folder folder;
        folder.write("in", input);
        const std::string number = std::to_string(column);
        folder.runMode("gwamafilter", {"-file", "in", "-delim", delimiter, "-column", number});
        ASSERT_EQ(folder.read("in.out"), expected) << "seed " << seed;
    }
}
