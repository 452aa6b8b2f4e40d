#include "text/delimiters.h"

#include <span>

namespace text {

struct Word {
    std::string_view word;
    const char *bytes;
};

static constexpr Word words[] = {
    {"tab", "\t"}, {"space", " "}, {"comma", ","}, {"semicolon", ";"}, {"colon", ":"},
};

static constexpr Word furtherWords[] = {
    {"slash", "/"}, {"bslash", "\\"}, {"dash", "-"}, {"quote", "\""}, {"squote", "'"},
};

static std::string lookUp(std::span<const Word> table, std::string_view word, std::string_view otherwise)
{
    for (const Word &row : table) {
        if (row.word == word)
            return row.bytes;
    }
    return std::string(otherwise);
}

std::string delimiter(std::string_view word, std::string_view otherwise)
{
    return lookUp(words, word, otherwise);
}

std::string delimiterOrLiteral(std::string_view word)
{
    return delimiter(word, lookUp(furtherWords, word, word));
}

}  // namespace text
