#include "genotypes/numberwalker.h"
#include "support/kernels.h"
#include "support/random.h"

#include <cmath>
#include <gtest/gtest.h>
#include <regex>

// Every form that a field can have; the short ones first.
static constexpr size_t shortForms = 10;
static const std::vector<std::string> forms = {"0", "1", "7", "0.5", "1.", "0.25", "0.123", "9.999", "1", "", "0.1234", "12",
    ".5", "0..1", "1e-3", "-1", "x", "0.12x", "0,5", "123456", "1.2.3", "12345678", "\x80", "1.\xff", "0.12\x01",
    std::string(63, '1'), std::string(64, '0'), std::string(200, '9')};

// A field as a line shows it: its thousandths, or itself.
static std::string shown(const std::string &field)
{
    static const std::regex isShort("([0-9]([.][0-9]{0,3})?)?");
    return std::regex_match(field, isShort) ? std::to_string(std::lround(std::atof(field.c_str()) * 1000)) : '"' + field + '"';
}

template <text::Separator separator>
static std::vector<std::string> walk(std::string_view line, size_t most)
{
    NumberWalker<separator> walker(line, most);
    std::vector<std::string> all;
    while (const size_t count = walker.next()) {
        EXPECT_TRUE(count % 3 == 0 || all.size() + count == most || walker.next() == 0);
        double values[walker.batchSize];
        walker.formValues(count, values);
        for (size_t i = 0; i < count; ++i) {
            const bool isShort = walker.numbers()[i] >= 0;
            all.push_back(isShort ? std::to_string(walker.numbers()[i]) : '"' + std::string(walker.longField(i)) + '"');
            const double expected = isShort ? walker.numbers()[i] / 1000.0 : text::readDouble(walker.longField(i));
            EXPECT_EQ(values[i], expected) << all.back();
            EXPECT_EQ(walker.value(i), expected) << all.back();
        }
    }
    return all;
}

TEST(NumberWalker, ReadsEveryFieldWithAllInstructions)
{
    RandomText random(5);
    for (int run = 0; run < 4000; ++run) {
        const size_t fields = random.below(4) ? random.below(40) : random.below(2400);
        const size_t variety = random.below(2) ? forms.size() : shortForms, oddOnes = 1 + random.below(60);
        std::string line, whiteLine;
        std::vector<std::string> all, words;
        for (size_t i = 0; i < fields; ++i) {
            static const char *const gaps[] = {"\t", "\v", "\r", "\f ", "  "};
            const std::string &field = forms[random.below(random.oneIn(oddOnes) ? variety : shortForms - 1)];
            all.push_back(shown(field));
            if (!field.empty())
                words.push_back(all.back());
            line += (i > 0 ? " " : "") + field;
            whiteLine += field + (random.oneIn(oddOnes) ? random.oneOf(gaps) : " ");
        }
        const std::string slack(text::LineReader::slack, '5');
        const size_t most = random.below(3) ? SIZE_MAX : random.below(2 * fields + 1);
        all.resize(std::min(all.empty() ? 1 : all.size(), most), "0");  // an empty line has an empty field
        words.resize(std::min(words.size(), most));
        const std::string bytes = line + slack, whiteBytes = whiteLine + slack;
        withEachKernels<ShortNumberKernels>([&] {
            EXPECT_EQ(walk<text::Separator::Blank>({bytes.data(), line.size()}, most), all) << line;
            EXPECT_EQ(walk<text::Separator::WhiteSpace>({whiteBytes.data(), whiteLine.size()}, most), words)
                << whiteLine;
        });
        ASSERT_FALSE(HasFailure()) << run;
    }
    EXPECT_EQ(FieldNumbers(std::string_view()).next(), 0u);
}

TEST(NumberWalker, AnEmptyFieldIsNotTheNumberBehindIt)
{
    for (size_t place = 2; place < 130; ++place) {  // of the empty field, among the bytes that are read together
        std::vector<std::string> fields(place / 2, "1"), all;
        fields.front() = place % 2 ? "0." : "0";
        fields.insert(fields.end(), {"", ".25", "0.5", "1"});
        fields.resize(fields.size() + 64);
        std::string line;
        for (const std::string &field : fields) {
            all.push_back(shown(field));
            line += field + ' ';
        }
        const size_t size = line.size() - 1;
        line.append(text::LineReader::slack, '5');
        withEachKernels<ShortNumberKernels>(
            [&] { EXPECT_EQ(walk<text::Separator::Blank>({line.data(), size}, SIZE_MAX), all) << place; });
    }
}
