#include "genotypes/classes.h"
#include "genotypes/markers.h"
#include "genotypes/shortnumbers.h"
#include "processors/wide.h"
#include "text/bytes.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>
#include <array>

// The whole part of the dosage plus a half, in single precision. On purpose truncation makes 0 of all from above -1.
static uint8_t classOf(float hetero, float homo)
{
    const float value = 2 * homo + hetero + 0.5f;
    return value > -1 && value < noClass ? uint8_t(value) : noClass;
}

// Passes over white space and takes the word behind it; false at the end of the line.
static bool takeWord(const char *&at, const char *end, std::string_view &word)
{
    while (at != end && text::isWhiteSpace(*at))
        ++at;
    const char *const first = at;
    while (at != end && !text::isWhiteSpace(*at))
        ++at;
    word = {first, size_t(at - first)};
    return at != first;
}

// Reads the triplet of the next individual; false where the line ends before.
static bool takeClass(const char *&at, const char *end, uint8_t &group)
{
    std::string_view none, hetero, homo;
    if (!takeWord(at, end, none) || !takeWord(at, end, hetero) || !takeWord(at, end, homo))
        return false;
    group = classOf(text::readFloat(hetero), text::readFloat(homo));
    return true;
}

// The classes by the thousandths of the dosage; oddClass halfway between two, where the rounding of both numbers to
// single precision decides.
static constexpr uint8_t oddClass = 0xff;
static constexpr auto shortClasses = [] {
    std::array<uint8_t, 3001> classes{};
    for (size_t i = 0; i < classes.size(); ++i)
        classes[i] = i % 1000 == 500 ? oddClass : uint8_t(std::min<size_t>((i + 500) / 1000, noClass));
    return classes;
}();

// Reads triplets of short numbers with single separators between them, up to the first other one; returns how many.
MORVEL_WIDE static size_t readShortWords(const char *&at, const char *end, std::span<uint8_t> classes)
{
    text::FieldWalker<text::Separator::WhiteSpace> walker({at, size_t(end - at)});
    size_t individual = 0;
    while (const size_t triplets = walker.next(std::min(walker.batchSize, 3 * (classes.size() - individual))) / 3) {
        const char *const *const marks = walker.marks();
        int32_t numbers[walker.batchSize / 3][2];
        kernelsInUse<ShortNumberKernels>->readWords(marks + 1, 3, triplets, numbers);
        for (size_t i = 0; i < triplets; ++i, ++individual) {
            const int32_t hetero = numbers[i][0], homo = numbers[i][1];
            const bool isShort = (hetero | homo) >= 0 && marks[3 * i + 1] - marks[3 * i] > 1;
            const size_t thousandths = size_t(hetero + 2 * homo);
            if (!isShort || thousandths >= shortClasses.size()) [[unlikely]]
                return individual;
            uint8_t group = shortClasses[thousandths];
            if (group == oddClass) [[unlikely]]
                group = classOf(float(hetero / 1000.0), float(homo / 1000.0));
            classes[individual] = group;
            at = std::min(marks[3 * i + 3] + 1, end);
        }
    }
    return individual;
}

ClassReader::ClassReader(std::string_view delimiter, std::string_view firstLine)
    : m_delimiter(delimiter)
    , m_isParted(hasWord(delimiter))
    , m_columns(m_isParted ? text::countFields(firstLine, delimiter) : countWords(firstLine))
{
}

bool ClassReader::readWords(std::string_view line, std::string_view &name, std::span<uint8_t> classes) const
{
    const char *at = line.data(), *const end = at + line.size();
    std::string_view word;
    for (size_t column = 0; column < leadingColumns; ++column) {
        if (!takeWord(at, end, word))
            return false;
        if (column == 1)
            name = word;
    }
    if (at != end)
        ++at;  // the blank
    for (uint8_t &group : classes.subspan(readShortWords(at, end, classes))) {
        if (!takeClass(at, end, group))
            return false;
    }
    // Of further words only the number matters.
    return leadingColumns + 3 * classes.size() + countWords({at, size_t(end - at)}) == m_columns;
}

// Without the white space around it.
static std::string_view bare(std::string_view field)
{
    while (!field.empty() && text::isWhiteSpace(field.front()))
        field.remove_prefix(1);
    while (!field.empty() && text::isWhiteSpace(field.back()))
        field.remove_suffix(1);
    return field;
}

bool ClassReader::readFields(std::string_view line, std::string_view &name, std::span<uint8_t> classes) const
{
    text::FieldReader fields(line, m_delimiter);
    std::string_view field, hetero, homo;
    for (size_t column = 0; column < leadingColumns; ++column) {
        if (!fields.next(field))
            return false;
        if (column == 1)
            name = bare(field);
    }
    for (uint8_t &group : classes) {
        if (!fields.next(field) || !fields.next(hetero) || !fields.next(homo))
            return false;
        group = classOf(float(text::readMostlyShort(hetero)), float(text::readMostlyShort(homo)));
    }
    size_t columns = leadingColumns + 3 * classes.size();
    while (fields.next(field))
        ++columns;
    return columns == m_columns;
}
