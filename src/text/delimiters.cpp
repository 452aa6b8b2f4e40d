#include "text/delimiters.h"

namespace text {

static constexpr struct {
    std::string_view word, bytes, crossed;
} words[] = {
    {"tab", "\t", "\t"},     {"TAB", "\t", "\t"},   {"space", " ", " "},  {"comma", ",", ","},
    {"semicolon", ";", ";"}, {"colon", ":", ":"},   {"slash", "/", "\\"}, {"bslash", "\\", "/"},
    {"dash", "-", "-"},      {"quote", "\"", "\""}, {"squote", "'", "'"}, {"none", "", ""},
};

std::string_view delimiter(std::string_view word, bool isCrossed)
{
    for (const auto &row : words) {
        if (row.word == word)
            return isCrossed ? row.crossed : row.bytes;
    }
    return {};
}

}  // namespace text
