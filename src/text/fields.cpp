#include "text/fields.h"

namespace text {

void splitFields(std::string_view line, std::string_view delimiter, std::vector<std::string_view> &fields)
{
    fields.clear();
    FieldReader reader(line, delimiter);
    for (std::string_view field; reader.next(field);)
        fields.push_back(field);
}

bool FieldReader::next(std::string_view &field)
{
    if (m_isDone)
        return false;
    size_t end = m_rest.find(m_delimiter);
    if (m_delimiter.empty())
        end = m_isFirst ? 0 : m_rest.empty() ? m_rest.npos : 1;
    m_isFirst = false;
    m_isDone = end == m_rest.npos;
    field = m_rest.substr(0, end);
    m_rest.remove_prefix(m_isDone ? m_rest.size() : end + m_delimiter.size());
    return true;
}

size_t countFields(std::string_view line, std::string_view delimiter)
{
    FieldReader reader(line, delimiter);
    size_t count = 0;
    for (std::string_view field; reader.next(field);)
        ++count;
    return count;
}

void splitNonEmptyFields(std::string_view line, std::string_view delimiter, std::vector<std::string_view> &fields)
{
    splitFields(line, delimiter, fields);
    std::erase_if(fields, [](std::string_view field) { return field.empty(); });
}

std::string_view findFieldByText(std::string_view line, std::string_view delimiter, size_t position)
{
    if (delimiter.empty()) {
        if (position > line.size() + 1)
            return {};
        return position == 0 ? line.substr(0, 0) : line.substr(position - 1, 1);
    }
    for (; position > 0; --position) {
        const size_t end = line.find(delimiter);
        if (end == line.npos)
            return {};
        line.remove_prefix(end + delimiter.size());
    }
    return line.substr(0, line.find(delimiter));
}

bool TokenReader::next(std::string_view &token)
{
    for (;;) {
        size_t first = 0;
        while (first < m_rest.size() && isWhiteSpace(m_rest[first]))
            ++first;
        m_rest.remove_prefix(first);
        if (!m_rest.empty())
            break;
        if (!m_lines.nextWords(m_rest))
            return false;
    }
    size_t size = 0;
    while (size < m_rest.size() && !isWhiteSpace(m_rest[size]))
        ++size;
    token = m_rest.substr(0, size);
    m_rest.remove_prefix(size);
    return true;
}

}  // namespace text
