// Delimiter words of the options.
#pragma once

#include <string>
#include <string_view>

namespace text {

// "tab", "space", "comma", "semicolon" and "colon" give their byte; any other word gives `otherwise`.
std::string delimiter(std::string_view word, std::string_view otherwise);

// These, and "slash", "bslash", "dash", "quote" and "squote"; any other word is itself the delimiter.
std::string delimiterOrLiteral(std::string_view word);

}  // namespace text
