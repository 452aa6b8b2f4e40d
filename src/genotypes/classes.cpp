#include "genotypes/classes.h"
#include "genotypes/markers.h"
#include "text/bytes.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <bit>
#include <cstring>

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

// Reads a short number and passes over the blank behind it, which must lie before the end: thousandths, or -1.
static int takeThousandths(const char *&at, const char *end)
{
    uint64_t bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    const uint64_t others = bytes ^ 0x2020202020202020;
    const uint64_t blanks = (others - 0x0101010101010101) & ~others & 0x8080808080808080;
    const size_t size = size_t(std::countr_zero(blanks)) / 8;
    const char *const first = at;
    at += size + 1;
    return size > 0 && at <= end ? text::readThousandths(first, size) : -1;
}

// Reads the triplet of the next individual; false where the line ends before.
static bool takeClass(const char *&at, const char *end, uint8_t &group)
{
    if constexpr (std::endian::native == std::endian::little) {
        // A certain genotype such as "0 1 0 ", told by the bits in which it differs from "0 0 0 ", has its class in
        // two of its bits. Four of five genotypes, at a quarter of the cost of reading numbers.
        uint64_t bytes;
        std::memcpy(&bytes, at, sizeof bytes);
        const uint64_t bits = (bytes << 16) ^ (uint64_t(0x203020302030) << 16);
        if ((bits & ~(uint64_t(0x000100010001) << 16)) == 0 && end - at >= 6) [[likely]] {
            at += 6;
            group = uint8_t((bits >> 32 & 1) + (bits >> 47 & 2));
            return true;
        }
        // Short numbers with a blank behind each.
        const char *next = at;
        const int none = takeThousandths(next, end);
        const int hetero = none < 0 ? -1 : takeThousandths(next, end);
        const int homo = hetero < 0 ? -1 : takeThousandths(next, end);
        if (homo >= 0) [[likely]] {
            at = next;
            group = classOf(float(hetero / 1000.0), float(homo / 1000.0));
            return true;
        }
    }
    std::string_view none, hetero, homo;
    if (!takeWord(at, end, none) || !takeWord(at, end, hetero) || !takeWord(at, end, homo))
        return false;
    group = classOf(text::readFloat(hetero), text::readFloat(homo));
    return true;
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
    for (uint8_t &group : classes) {
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
