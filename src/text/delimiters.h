// Delimiter words of the options.
#pragma once

#include <string>
#include <string_view>

namespace text {

// "tab", "space", "comma", "semicolon" and "colon" give their byte; any other word gives `otherwise`.
std::string delimiter(std::string_view word, std::string_view otherwise);

} // namespace text
