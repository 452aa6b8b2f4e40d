// Drawing by gnuplot, and pictures as files.
#pragma once

#include "plot/figure.h"

#include <string>

namespace plot {

enum class Format { Png, Svg, Pdf, Page };  // Page: SVG that is to stand within a page

// Ends the run with a message that names the package where gnuplot is not there.
void requireGnuplot();

// The bytes of the picture; the same for the same figure. Ends the run where gnuplot fails.
std::string drawn(const Figure &figure, Format format);

// The whole script for gnuplot; with a name it writes there.
std::string scriptOf(const Figure &figure, Format format, const std::string &outName = "");

// XML and HTML text.
std::string escapedMarkup(std::string_view text);

// Writes the file so that it appears complete under its name or not at all.
void writeWhole(const std::string &name, std::string_view bytes);

}  // namespace plot
