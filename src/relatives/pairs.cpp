#include "relatives/pairs.h"

#include <iterator>

PairFields splitPair(std::string_view line, char delimiter)
{
    PairFields fields = {};
    for (std::string_view *field : {&fields.first, &fields.second, &fields.value}) {
        ++fields.count;
        const size_t end = line.find(delimiter);
        *field = line.substr(0, end);
        if (end == line.npos)
            return fields;
        line.remove_prefix(end + 1);
    }
    ++fields.count;
    return fields;
}

bool PairReader::readAhead()
{
    m_count = m_next = 0;
    std::string_view line;
    if (!m_in.next(line))
        return false;
    do {
        Line &ahead = m_lines[m_count++];
        ahead.fields = line.empty() ? PairFields{} : splitPair(line, m_delimiter);
        for (int i = 0; i < m_names; ++i) {
            ahead.hashes[i] = Identifiers::hashOf(i == 0 ? ahead.fields.first : ahead.fields.second);
            m_identifiers.fetchSlot(ahead.hashes[i]);
        }
    } while (m_count < std::size(m_lines) && m_in.nextInBlock(line));
    for (size_t l = 0; l < m_count; ++l) {
        for (int i = 0; i < m_names; ++i)
            m_identifiers.fetchName(m_lines[l].hashes[i]);
    }
    return true;
}
