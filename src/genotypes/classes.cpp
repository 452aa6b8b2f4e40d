#include "genotypes/classes.h"
#include "genotypes/markers.h"
#include "genotypes/wordnumbers.h"
#include "processors/wide.h"
#include "text/bytes.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>

// The whole part of the dosage plus a half, in single precision. On purpose truncation makes 0 of all from above -1.
static uint8_t classOf(float hetero, float homo)
{
    const float value = 2 * homo + hetero + 0.5f;
    return value > -1 && value < noClass ? uint8_t(value) : noClass;
}

static bool isHalfway(int dosage)
{
    return dosage == 500 || dosage == 1500 || dosage == 2500;
}

// The classes of triplets by their thousandths; true where there is a dosage halfway between two of them.
MORVEL_WIDE static bool findClasses(const int16_t *thousandths, std::span<uint8_t> classes)
{
    int16_t hasHalfway = 0;
    for (size_t i = 0; i < classes.size(); ++i) {
        const int dosage = thousandths[3 * i + 1] + 2 * thousandths[3 * i + 2];
        classes[i] = uint8_t((dosage >= 500) + (dosage >= 1500) + (dosage >= 2500));
        hasHalfway |= int16_t((dosage == 500) | (dosage == 1500) | (dosage == 2500));
    }
    return hasHalfway != 0;
}

// On purpose the rounding of both numbers to single precision decides.
static void roundHalfway(const int16_t *thousandths, std::span<uint8_t> classes)
{
    for (size_t i = 0; i < classes.size(); ++i) {
        const int hetero = thousandths[3 * i + 1], homo = thousandths[3 * i + 2];
        if (isHalfway(hetero + 2 * homo))
            classes[i] = classOf(float(hetero / 1000.0), float(homo / 1000.0));
    }
}

ClassReader::ClassReader(std::string_view delimiter, std::string_view firstLine)
    : m_delimiter(delimiter)
    , m_isParted(hasWord(delimiter))
    , m_columns(m_isParted ? text::countFields(firstLine, delimiter) : countWords(firstLine))
{
}

// The long words of a triplet decide together with its other word.
void ClassReader::takeLongWords(std::span<uint8_t> classes) const
{
    for (size_t k = 0; k < m_longWords.size(); ++k) {
        const size_t triplet = m_longWords[k].word / 3;
        float values[3];
        for (size_t part = 1; part < 3; ++part)
            values[part] = float(m_thousandths[3 * triplet + part] / 1000.0);
        values[m_longWords[k].word % 3] = m_longWords[k].value;
        if (k + 1 < m_longWords.size() && m_longWords[k + 1].word / 3 == triplet)
            values[2] = m_longWords[++k].value;
        classes[triplet] = classOf(values[1], values[2]);
    }
}

bool ClassReader::readWords(std::string_view line, std::string_view &name, std::span<uint8_t> classes)
{
    if (takeLeadingWords(line, name) < leadingColumns)
        return false;
    const size_t most = 3 * classes.size();
    m_thousandths.resize(most + WordReader::room);
    m_longWords.clear();
    WordReader words(line, true);
    size_t word = 0;  // of further words only the number matters
    while (const size_t count = words.next(&m_thousandths[std::min(word, most)])) {
        for (const Word &each : words.longWords()) {
            const size_t index = word + each.index;
            if (index < most)
                m_longWords.push_back({index, text::readFloat(each.text())});
        }
        word += count;
    }
    if (word < most || leadingColumns + word != m_columns)
        return false;
    if (findClasses(m_thousandths.data(), classes))
        roundHalfway(m_thousandths.data(), classes);
    takeLongWords(classes);
    return true;
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
