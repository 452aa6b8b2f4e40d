// The one style of all pictures: sizes for print, and colours that people tell apart whatever their colour vision.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace plot {

// A picture is laid out in pixels of this size, whatever its format.
inline constexpr double pixelsPerInch = 300, pixelsPerMillimetre = pixelsPerInch / 25.4;

inline constexpr int smallText = 26, plainText = 29, largeText = 33;  // pixels: about 6.2, 7 and 8 points
inline constexpr int thinLine = 2, plainLine = 3, thickLine = 5;      // pixels
inline constexpr int smallDot = 5, plainDot = 8, largeDot = 12;       // diameter in pixels
inline constexpr int columnWidth = 85;                                // millimetres: of a journal

// The size of a picture in pixels, and what it is made for.
struct Size {
    int width, height;       // 0: what suits the content
    int top = 30;            // rows before the first panel begins
    bool isVectors = false;  // else pixels

    // With this height in millimetres where none is given.
    Size fitted(double millimetres) const
    {
        return {width, height ? height : int(millimetres * pixelsPerMillimetre), top, isVectors};
    }
};

// A colour as "#rrggbb". The eight of Okabe and Ito, "Color Universal Design" (2008), without black and yellow but with
// two greys; each stands out on white and on black.
using Colour = std::string_view;
inline constexpr Colour blue = "#0072b2", vermillion = "#d55e00", sky = "#56b4e9", orange = "#e69f00",
                        green = "#009e73", purple = "#cc79a7", grey = "#808080", lightGrey = "#b8b8b8";
inline constexpr std::array<Colour, 7> categories = {blue, orange, green, vermillion, sky, purple, grey};

// The colour of a value from 0 to 1 along cividis, which is even in lightness for all kinds of colour vision (Nunez,
// Anderton and Renslow, PLoS ONE 13: e0199239, 2018).
inline constexpr std::array<Colour, 9> cividis
    = {"#00224e", "#123570", "#3b496c", "#575d6d", "#707173", "#8a8678", "#a59c74", "#c3b369", "#fee838"};

// The width of a text of this size in pixels, rather too large: glyphs are the viewer's.
int textWidth(std::string_view text, int size);

// What can be shown of a text of any bytes: valid UTF-8 without control characters, of at most so many characters.
std::string shownText(std::string_view bytes, size_t most = 40);

// A number for people: three significant digits, and thousands parted in a count.
std::string shownNumber(double value);
std::string shownCount(size_t count);

}  // namespace plot
