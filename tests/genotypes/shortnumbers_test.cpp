#include "genotypes/shortnumbers.h"
#include "processors/wide.h"
#include "text/fields.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <regex>

// Every form that a field can have, in both places of a pair.
TEST(ShortNumbers, AreTheSameWithAllInstructions)
{
    const std::vector<std::string> forms = {"", "0", "1", "7", "0.5", "1.", "0.25", "0.123", "9.999", "0.1234", "12", ".5",
        "0..1", "1e-3", "-1", "x", "0.12x", "0,5", "123456", "1234567", "12345678", "\x80", "1.\xff"};
    const std::regex isShort("([0-9]([.][0-9]{0,3})?)?");
    std::mt19937_64 generator(5);
    for (const auto &kernels : ShortNumberKernels::all()) {
        if (!kernels.isSupported())
            continue;
        for (const size_t pairs : {1, 2, 3, 7, 100}) {
            for (const size_t variety : {9, 23, 23}) {  // short forms alone, or all
                std::string line;
                std::vector<std::string> fields;
                for (size_t i = 0; i < 2 * pairs; ++i) {
                    fields.push_back(forms[generator() % variety]);
                    line += fields.back() + ' ';
                }
                const std::string slack(text::LineReader::slack, '5');
                const std::string bytes = line + slack;
                text::FieldWalker<text::Separator::Blank> walker({bytes.data(), line.size()});
                walker.next(2 * pairs);
                int32_t numbers[100][2], words[100][2];
                kernels.readFields(walker.marks(), 2, pairs, numbers);
                kernels.readWords(walker.marks(), 2, pairs, words);
                for (size_t i = 0; i < 2 * pairs; ++i) {
                    const bool isNumber = std::regex_match(fields[i], isShort);
                    const int expected = isNumber ? int(std::lround(std::atof(fields[i].c_str()) * 1000)) : notShort;
                    ASSERT_EQ(numbers[i / 2][i % 2], expected) << kernels.name << ": " << line;
                    ASSERT_EQ(words[i / 2][i % 2], fields[i].empty() ? notShort : expected) << kernels.name << ": " << line;
                }
            }
        }
    }
}
