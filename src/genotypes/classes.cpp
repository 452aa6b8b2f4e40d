#include "genotypes/classes.h"
#include "genotypes/dosages.h"
#include "genotypes/markers.h"
#include "processors/wide.h"

#include <algorithm>

// The whole part of the dosage plus a half, in single precision. On purpose truncation makes 0 of all from above -1.
static uint8_t classOf(float hetero, float homo)
{
    const float value = 2 * homo + hetero + 0.5f;
    return value > -1 && value < noClass ? uint8_t(value) : noClass;
}

// A dosage halfway between two classes, where the rounding of both numbers to single precision decides, or one that is
// not known in thousandths.
static bool isOther(uint16_t thousandths)
{
    return (thousandths == 500) | (thousandths == 1500) | (thousandths >= 2500);
}

// Returns whether there is one whose class does not follow from its thousandths.
MORVEL_WIDE static bool findClasses(const uint16_t *thousandths, size_t count, uint8_t *classes)
{
    uint16_t hasOther = 0;  // of the width of the dosages: a third of the time with a truth value
    for (size_t i = 0; i < count; ++i) {
        const uint16_t dosage = thousandths[i];
        classes[i] = uint8_t((dosage >= 500) + (dosage >= 1500));
        hasOther |= uint16_t(isOther(dosage));
    }
    return hasOther != 0;
}

// The classes of so many triplets of a batch.
static void formClasses(const WordNumbers &numbers, size_t count, uint8_t *classes)
{
    uint16_t thousandths[WordNumbers::batchSize / 3];
    formThousandths(numbers.numbers(), count, thousandths);
    if (!findClasses(thousandths, count, classes)) [[likely]]
        return;
    for (size_t i = 0; i < count; ++i) {
        if (isOther(thousandths[i]))
            classes[i] = classOf(float(numbers.value(3 * i + 1)), float(numbers.value(3 * i + 2)));
    }
}

ClassReader::ClassReader(std::string_view delimiter, std::string_view firstLine)
    : m_delimiter(delimiter)
    , m_isParted(hasWord(delimiter))
    , m_columns(m_isParted ? text::countFields(firstLine, delimiter) : countWords(firstLine))
{
}

bool ClassReader::readWords(std::string_view line, std::string_view &name, std::span<uint8_t> classes) const
{
    const size_t numbersWanted = 3 * classes.size();
    const auto form = [&](const WordNumbers &numbers, size_t first, size_t count) {
        const size_t end = std::min(first + count, numbersWanted);
        if (first < end)
            formClasses(numbers, (end - first) / 3, &classes[first / 3]);
    };
    std::string_view leading[leadingColumns];
    const size_t columns = readMarker(line, leading, SIZE_MAX, form);  // of further words only the number matters
    name = leading[1];
    return columns == m_columns && columns >= leadingColumns + numbersWanted;
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
