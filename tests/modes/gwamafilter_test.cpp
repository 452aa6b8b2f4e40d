#include "support/random.h"
#include "support/scanmodel.h"

#include <algorithm>
#include <gtest/gtest.h>

TEST(GwamaFilter, KeepsLinesByTheirDirections)
{
    const Runs runs = {"gwamafilter", {"-file", "in", "-out", "out", "-column", "2"}, {"in"}, {"out"}, {},
                       "running gwamaFilter()\n\n"};
    expectRuns(runs, {
        {"kept", {"a\t+++\nb\t??+\nc\t++?-\n"}, {}, {"a\t+++\nb\t??+\nc\t++?-\n"}},
        {"dropped", {"d\t+-\ne\t???+\nf\t000\ng\t\nh\n"}, {}, {""}},
        {"as read", {"\t+\r\n\r\n\n\xff\t-\r\r\n x\t+"}, {}, {"\t+\n\xff\t-\r\n x\t+\n"}},
        {"empty header", {"\n+\t+-\n-\t-\n"}, {"-header", "yes"}, {"\n-\t-\n"}},
        {"header", {"+\t+-\n-\t-\n"}, {"-header", "yes"}, {"+\t+-\n-\t-\n"}},
        {"dash", {"+-+\n+--+\n+-x\n"}, {"-delim", "dash"}, {"+-+\n"}},
        {"quote", {"a\"+\n"}, {"-delim", "quote"}, {"a\"+\n"}},
        {"slash", {"a/+\n-\\+\n"}, {"-delim", "slash"}, {"a/+\n"}},
        {"bslash", {"a\\+\n"}, {"-delim", "bslash"}, {"a\\+\n"}},
        {"every byte", {"-+\n0+\n"}, {"-delim", "", "-column", "3"}, {"-+\n0+\n"}},
    });
}

TEST(GwamaFilter, EndsWithItsMessage)
{
    const std::string announced = "output name = input name + '.out'\n";
    expectRuns({"gwamafilter", {}, {"in"}, {}, {}, "", 1}, {
        {"no file", {}, {"-column", "2"}, {}, "You need to specify '-file'.\n\n"},
        {"no column", {""}, {"-file", "in"}, {}, announced + "Incorrect column\n"},
        {"column 0", {""}, {"-file", "in", "-column", "0"}, {}, announced + "Incorrect column\n"},
    });
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
        expectRuns({"gwamafilter", {"-file", "in", "-column", std::to_string(column)}, {"in"}, {"in.out"}},
                   {{"seed " + std::to_string(seed), {input}, {"-delim", delimiter}, {expected}}});
        ASSERT_FALSE(HasFailure());
    }
}
