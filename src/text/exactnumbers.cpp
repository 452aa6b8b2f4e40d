#include "text/exactnumbers.h"

#include <charconv>

namespace text {

void putExact(double value, Writer &out)
{
    char digits[32];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    out.put(' ');
    out.put(std::string_view(digits, size_t(end.ptr - digits)));
}

bool ExactNumbers::nextWord(std::string_view &word)
{
    if (m_rest.empty())
        return false;
    const size_t end = m_rest.find(' ');
    word = m_rest.substr(0, end);
    m_rest.remove_prefix(end == m_rest.npos ? m_rest.size() : end + 1);
    return true;
}

bool ExactNumbers::next(double &value)
{
    std::string_view word;
    if (!nextWord(word))
        return false;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
}

}  // namespace text
