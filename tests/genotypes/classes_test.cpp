#include "genotypes/classes.h"
#include "genotypes/markers.h"
#include "support/program.h"
#include "support/random.h"

#include <gtest/gtest.h>

// The name and the classes, or that the line is refused.
static std::string readClasses(const std::string &delimiter, const std::string &first, std::string line,
                               size_t individuals)
{
    const size_t size = line.size();
    line.append(text::LineReader::slack, '\0');
    std::string_view name;
    std::vector<uint8_t> classes(individuals);
    if (!ClassReader(delimiter, first).read({line.data(), size}, name, classes))
        return "refused";
    std::string all(name);
    for (const uint8_t each : classes)
        all += '|' + std::to_string(each);
    return all;
}

TEST(Classes, StandBetweenCommas)
{
    static const struct {
        const char *name, *line, *expected;
    } rows[] = {
        {"white space around fields", " 1 ,\trs 2 , 3,A,G, 1 ,0, 0,0, 1\t,0 ,7", "rs 2|0|1"},
        {"empty fields", ",,,,,,,,,,1,", "|0|2"},
        {"rounding, and no class", "1,a,1,A,G,0.5,0.5,0,0,0,1.3,0", "a|1|3"},
        {"no numbers", "1,a,1,A,G,0,0 1,x,0,nan,0,0", "a|0|3"},
        {"a field less", "1,a,1,A,G,1,0,0,0,1,0", "refused"},
        {"a delimiter more", "1,a,1,A,G,1,0,0,0,1,0,7,", "refused"},
        {"the end within a triplet", "1,a,1,A,G,1,0,0,0,1", "refused"},
        {"the end within the leading columns", "1,a", "refused"},
        {"blanks", "1 a 1 A G 1 0 0 0 1 0 7", "refused"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(readClasses(",", "1,rs1,10,A,G,1,0,0,0,1,0,7", row.line, 2), row.expected) << row.name;
}

// What semicolons part is what words make, with a zero for each empty field.
TEST(Classes, AreThoseOfWords)
{
    RandomText random(15);
    for (int run = 0; run < 2000; ++run) {
        const size_t individuals = random.below(9), further = random.below(3);
        std::string fields = "1;rs1;10;A;G", words = "1 rs1 10 A G";
        for (size_t i = 0; i < 3 * individuals + further; ++i) {
            static const char *const around[] = {"", "", "", " ", "\t "};
            std::string number = random.number(2);
            std::erase_if(number, text::isWhiteSpace);
            fields += ';' + (random.oneOf(around) + number) + random.oneOf(around);
            words += ' ' + (number.empty() ? "0" : number);
        }
        ASSERT_EQ(readClasses(";", fields, fields, individuals), readClasses(" ", words, words, individuals)) << fields;
    }
}

TEST(MarkerLines, HoldAWord)
{
    const Folder folder;
    folder.write("in", " \t\n\na b\n \r\n  c\n\v\f\n , \n\t ");
    text::LineReader in;
    ASSERT_TRUE(in.open(folder.path("in"), 2));
    std::string lines;
    for (std::string_view line; nextMarkerLine(in, line);)
        lines += '<' + std::string(line) + '>';
    EXPECT_EQ(lines, "<a b><  c>< , >");
}
