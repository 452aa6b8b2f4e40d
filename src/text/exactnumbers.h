// Numbers that come back as they were, to the last bit.
#pragma once

#include "text/writer.h"

#include <string_view>

namespace text {

// A blank and the shortest text that stands for this number and no other.
void putExact(double value, Writer &out);

// Words between single blanks, of which most are such numbers.
class ExactNumbers {
public:
    explicit ExactNumbers(std::string_view words) : m_rest(words) {}

    bool nextWord(std::string_view &word);  // false after the last one
    bool next(double &value);               // false as well for a word that is no number
    bool atEnd() const { return m_rest.empty(); }

private:
    std::string_view m_rest;
};

}  // namespace text
