#include "plot/style.h"

#include <cmath>
#include <cstdio>

namespace plot {

static bool isContinuation(char byte)
{
    return (byte & 0xc0) == 0x80;
}

int textWidth(std::string_view text, int size)
{
    int characters = 0;
    for (const char byte : text)
        characters += !isContinuation(byte);
    return characters * size * 6 / 10;
}

// The bytes of the valid UTF-8 character at the front; 0 where there is none.
static size_t characterSize(std::string_view text)
{
    const auto byte = [&](size_t i) { return i < text.size() ? uint8_t(text[i]) : uint8_t(0); };
    const uint8_t first = byte(0);
    if (first < 0x80)
        return 1;
    const size_t size = first >= 0xc2 && first < 0xe0   ? 2
                        : first >= 0xe0 && first < 0xf0 ? 3
                        : first >= 0xf0 && first < 0xf5 ? 4
                                                        : 0;
    for (size_t i = 1; i < size; ++i) {
        if (!isContinuation(char(byte(i))))
            return 0;
    }
    // Neither overlong forms nor surrogates nor what is beyond the last plane.
    if ((first == 0xe0 && byte(1) < 0xa0) || (first == 0xed && byte(1) >= 0xa0) || (first == 0xf0 && byte(1) < 0x90)
        || (first == 0xf4 && byte(1) >= 0x90) || (first == 0xef && byte(1) == 0xbf && byte(2) >= 0xbe))
        return 0;
    return size;
}

std::string shownText(std::string_view bytes, size_t most)
{
    std::string text;
    size_t count = 0;
    while (!bytes.empty()) {
        if (count++ == most)
            return text + "…";
        const size_t size = characterSize(bytes);
        const bool isControl = size == 1 && (uint8_t(bytes[0]) < 0x20 || bytes[0] == 0x7f);
        if (size == 0)
            text += "\uFFFD";
        else if (isControl || (size == 2 && bytes[0] == char(0xc2) && uint8_t(bytes[1]) < 0xa0))
            text += ' ';
        else
            text += bytes.substr(0, size);
        bytes.remove_prefix(size ? size : 1);
    }
    return text;
}

std::string shownNumber(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", value);
    return text;
}

std::string shownCount(size_t count)
{
    std::string text = std::to_string(count);
    for (size_t i = text.size(); i > 3; i -= 3)
        text.insert(i - 3, ",");
    return text;
}

}  // namespace plot
