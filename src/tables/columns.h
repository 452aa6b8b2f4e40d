// What the modes over delimited tables share: options, and fields in chosen columns.
#pragma once

#include "main/options.h"
#include "text/fields.h"

#include <cstdint>
#include <string>
#include <string_view>

inline constexpr DelimiterOption tableDelimOption = {
    "-delim", "tab", tenDelimiters, asItStands, "between the fields: one of the words, or any other text as it stands"};
inline constexpr DelimiterOption wordDelimOption
    = {"-delim", "tab", fiveDelimiters, "\t", "between the fields; any other word is a tab"};
inline constexpr SwitchOption tableHeaderOption = {"-header", "yes: the first line is a header"};

// A 1-based column given by an option; one that is absent or below 1 ends the run with "Incorrect NAME", its name
// without the hyphen.
size_t readColumn(const IntegerOption &option);

[[noreturn]] void failShortLine(int64_t lineNumber, size_t column);

// The field in a 1-based column of a LineReader's line; a line without it ends the run.
inline std::string_view requiredField(std::string_view line, std::string_view delimiter, size_t column,
                                      int64_t lineNumber)
{
    const std::string_view field = text::findField(line, delimiter, column - 1);
    if (!field.data()) [[unlikely]]
        failShortLine(lineNumber, column);
    return field;
}
