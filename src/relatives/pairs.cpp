#include "relatives/pairs.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <bit>
#include <cstring>
#include <iterator>

// Takes the field up to the next delimiter; returns the place of that, or null behind the last field.
static const char *takeField(const char *begin, const char *end, char delimiter, std::string_view &field)
{
    const void *const found = std::memchr(begin, delimiter, size_t(end - begin));
    const char *const fieldEnd = found ? static_cast<const char *>(found) : end;
    field = {begin, size_t(fieldEnd - begin)};
    return found ? fieldEnd : nullptr;
}

void PairFields::split(std::string_view line, char delimiter)
{
    if (line.size() <= 64) {
        // Most lines are short: all delimiters at once.
        const uint64_t all = text::firstBits(text::byteBits(line.data(), delimiter), line.size());
        const uint64_t later = all & (all - 1), last = later & (later - 1);
        if (later) [[likely]] {
            const size_t end1 = size_t(std::countr_zero(all)), end2 = size_t(std::countr_zero(later));
            const size_t end3 = last ? size_t(std::countr_zero(last)) : line.size();
            first = {line.data(), end1};
            second = {line.data() + end1 + 1, end2 - end1 - 1};
            value = {line.data() + end2 + 1, end3 - end2 - 1};
            count = last ? 4 : 3;
            return;
        }
    }
    first = second = value = std::string_view();
    count = 0;
    if (line.empty())
        return;
    const char *at = line.data() - 1, *const end = line.data() + line.size();
    for (std::string_view *field : {&first, &second, &value}) {
        ++count;
        at = takeField(at + 1, end, delimiter, *field);
        if (!at)
            return;
    }
    ++count;
}

// Takes over what the line before has, or guesses what came last time.
void PairReader::lookAhead(Line &line, const Line *before)
{
    line.numbers[0] = line.numbers[1] = noNumber;
    if (m_names == 2) {
        const uint32_t first = before ? before->numbers[0] : m_first;
        line.repeatsFirst = before ? before->fields.first == line.fields.first
                                   : first != noNumber && m_identifiers.name(first) == line.fields.first;
        if (line.repeatsFirst) {
            line.hashes[0] = before ? before->hashes[0] : m_known[first].hash;
            line.numbers[0] = first;
        }
        const uint32_t second = before ? before->numbers[1] : m_second;
        const uint32_t guess = second < m_known.size() ? m_known[second].follower : noNumber;
        if (guess != noNumber && m_identifiers.name(guess) == line.fields.second) {
            line.hashes[1] = m_known[guess].hash;
            line.numbers[1] = guess;
        }
    }
    for (int i = 0; i < m_names; ++i) {
        if (line.numbers[i] == noNumber && !(i == 0 && line.repeatsFirst)) {
            line.hashes[i] = Identifiers::hashOf(i == 0 ? line.fields.first : line.fields.second);
            m_identifiers.fetchSlot(line.hashes[i]);
        }
    }
}

bool PairReader::readAhead()
{
    m_count = m_next = 0;
    std::string_view line;
    if (!m_in.next(line))
        return false;
    const Line *before = nullptr;
    do {
        Line &ahead = m_lines[m_count++];
        ahead.fields.split(line, m_delimiter);
        ahead.value = text::readMostlyDecimal(ahead.fields.value);
        ahead.repeatsFirst = false;
        ahead.isWanted = ahead.fields.count > 0 && m_wanted(ahead.value);
        if (ahead.isWanted) {
            lookAhead(ahead, before);
            before = &ahead;
        }
    } while (m_count < std::size(m_lines) && m_in.nextInBlock(line));
    for (size_t l = 0; l < m_count; ++l) {
        for (int i = 0; i < m_names && m_lines[l].isWanted; ++i) {
            if (m_lines[l].numbers[i] == noNumber)
                m_identifiers.fetchName(m_lines[l].hashes[i]);
        }
    }
    return true;
}

// For the lines to come.
void PairReader::remember(const Line &line)
{
    for (int i = 0; i < 2; ++i) {
        if (line.numbers[i] >= m_known.size())
            m_known.resize(line.numbers[i] + 1, {0, noNumber});
        m_known[line.numbers[i]].hash = line.hashes[i];
    }
    if (m_second != noNumber)
        m_known[m_second].follower = line.numbers[1];
    m_first = line.numbers[0];
    m_second = line.numbers[1];
}

const PairReader::Line *PairReader::next()
{
    if (m_next == m_count && !readAhead())
        return nullptr;
    Line &line = m_lines[m_next++];
    if (!line.isWanted)
        return &line;
    if (m_names == 1) {
        line.numbers[0] = m_identifiers.find(line.fields.first, line.hashes[0]);
        return &line;
    }
    if (line.repeatsFirst)
        line.numbers[0] = m_first;
    else
        line.numbers[0] = m_identifiers.number(line.fields.first, line.hashes[0]);
    if (line.numbers[1] == noNumber)
        line.numbers[1] = m_identifiers.number(line.fields.second, line.hashes[1]);
    remember(line);
    return &line;
}
