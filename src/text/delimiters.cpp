#include "text/delimiters.h"

namespace text {

std::string delimiter(std::string_view word, std::string_view otherwise)
{
    static constexpr struct {
        std::string_view word;
        const char *bytes;
    } words[] = {
        {"tab", "\t"},
        {"space", " "},
        {"comma", ","},
        {"semicolon", ";"},
        {"colon", ":"},
    };
    for (const auto &row : words) {
        if (row.word == word)
            return row.bytes;
    }
    return std::string(otherwise);
}

} // namespace text
