// Classes of bytes, whatever the locale.
#pragma once

namespace text {

constexpr bool isWhiteSpace(char byte)
{
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}
constexpr bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

}  // namespace text
