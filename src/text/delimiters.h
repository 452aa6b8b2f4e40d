// Delimiter words of the options.
#pragma once

#include <string_view>

namespace text {

// The bytes that a word such as "tab" or "semicolon" stands for; nothing for any other word. Crossed over, "slash" is
// a backslash and "bslash" a slash.
std::string_view delimiter(std::string_view word, bool isCrossed = false);

}  // namespace text
