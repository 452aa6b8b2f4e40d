#include "plot/figure.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace plot {

std::string constantOfBytes(std::string_view bytes)
{
    std::string constant = "\"";
    // An octal number ends where no digit follows.
    bool isBehindNumber = false;
    for (const char byte : bytes) {
        const bool isPlain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z')
                             || (byte >= '0' && byte <= '9' && !isBehindNumber) || byte == ' ' || byte == '.'
                             || byte == ',' || byte == ':' || byte == '-' || byte == '_';
        isBehindNumber = !isPlain;
        if (isPlain) {
            constant += byte;
        } else {
            const auto bits = uint8_t(byte);
            constant += {'\\', char('0' + (bits >> 6)), char('0' + (bits >> 3 & 7)), char('0' + (bits & 7))};
        }
    }
    return constant + '"';
}

std::string constantOf(std::string_view text)
{
    return constantOfBytes(shownText(text, 200));
}

std::string numberOf(double value)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

static std::string pairOf(const Point &point)
{
    return numberOf(point.x) + ' ' + numberOf(point.y) + '\n';
}

static std::string colourOf(std::string_view colour)
{
    return "rgb \"" + std::string(colour) + '"';
}

static std::string widthOf(int pixels)
{
    return " lw " + std::to_string(pixels) + "*L";
}

static const char *fontOf(int size)
{
    return size <= smallText ? "smallFont" : size <= plainText ? "plainFont" : "largeFont";
}

// A step of 1, 2 or 5 times a power of ten that puts so many numbers on the axis at most.
static double stepOf(const Axis &axis, int most)
{
    const double least = std::max((axis.to - axis.from) / std::max(most, 1), axis.leastStep);
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1, 2, 5}) {
        if (factor * power >= least)
            return factor * power;
    }
    return 10 * power;
}

static std::string ticsOf(const Axis &axis, const std::string &name, int most)
{
    if (!axis.hasNumbers)
        return "unset " + name + "tics\n";
    return "set " + name + "tics " + numberOf(stepOf(axis, most))
           + " nomirror out scale 0.6 font plainFont format \"%h\"" + (name == "x" ? " offset 0,0.4\n" : "\n");
}

void Figure::beginPanel(const Box &box, const Axis &x, const Axis &y, bool hasFrame)
{
    m_box = box;
    const auto range = [](const Axis &axis) { return "[" + numberOf(axis.from) + ":" + numberOf(axis.to) + "]\n"; };
    m_commands += "set lmargin at screen X(" + std::to_string(box.left) + ")\nset rmargin at screen X("
                  + std::to_string(box.right) + ")\nset tmargin at screen Y(" + std::to_string(box.top)
                  + ")\nset bmargin at screen Y(" + std::to_string(box.bottom) + ")\n";
    m_commands += "set xrange " + range(x) + "set yrange " + range(y);
    m_commands += "set x2range [0:" + std::to_string(box.width()) + "]\nset y2range [0:" + std::to_string(box.height())
                  + "]\n";
    m_commands += ticsOf(x, "x", box.width() / 110) + ticsOf(y, "y", std::max(box.height() / 55, 2));
    m_commands += hasFrame ? "set border 3 lw 2*L\n" : "unset border\n";
    if (!x.label.empty())
        text((box.left + box.right) / 2.0, box.bottom + 84, x.label, largeText, Align::Centre);
    if (!y.label.empty())
        text(box.left - y.labelApart, (box.top + box.bottom) / 2.0, y.label, largeText, Align::Centre, "", 90);
}

std::string Figure::addData(std::string_view rows)
{
    std::string name = "$data" + std::to_string(++m_dataCount);
    m_data += name + " << END\n";
    m_data += rows;
    m_data += "END\n";
    return name;
}

void Figure::plot(const std::string &element)
{
    m_elements += (m_elements.empty() ? "plot " : ", \\\n     ") + element + " notitle";
}

void Figure::cloud(const Cloud &cloud, Colour colour)
{
    if (m_isVectors) {
        std::string outlines, dots;
        for (const Cloud::Shape &shape : cloud.shapes()) {
            std::string &rows = shape.isDot ? dots : outlines;
            for (const auto &[x, y] : shape.outline)
                rows += numberOf(x) + ' ' + numberOf(y) + '\n';
            rows += shape.isDot ? "" : "\n";
        }
        if (!outlines.empty())
            plot(addData(outlines) + " using 1:2 axes x2y2 with filledcurves closed fs solid noborder lc "
                 + colourOf(colour));
        if (!dots.empty())
            plot(addData(dots) + " using 1:2 axes x2y2 with points pt 7 ps " + std::to_string(cloud.diameter())
                 + "*D lc " + colourOf(colour));
        return;
    }
    std::string rows;
    // From the middle of a pixel to the middle of another: with square ends that covers both.
    for (const Cloud::Run &run : cloud.runs()) {
        const std::string x = std::to_string(run.x) + ".5 ";
        rows += x + std::to_string(run.bottom) + ".5\n" + x + std::to_string(run.top) + ".5\n\n";
    }
    if (!rows.empty())
        plot(addData(rows) + " using 1:2 axes x2y2 with lines lt 1 lw L lc " + colourOf(colour));
}

std::vector<Point> thinned(std::span<const Point> points, double from, double to, int pixels)
{
    std::vector<Point> kept;
    for (size_t first = 0, last; first < points.size(); first = last) {
        const int column = pixelOf(points[first].x, from, to, pixels);
        size_t low = first, high = first;
        for (last = first; last < points.size() && std::isfinite(points[last].y) == std::isfinite(points[first].y)
                           && pixelOf(points[last].x, from, to, pixels) == column;
             ++last) {
            low = points[last].y < points[low].y ? last : low;
            high = points[last].y > points[high].y ? last : high;
        }
        size_t places[] = {first, std::min(low, high), std::max(low, high), last - 1};
        for (size_t i = 0; i < 4; ++i) {
            if (i == 0 || places[i] != places[i - 1])
                kept.push_back(points[places[i]]);
        }
    }
    return kept;
}

void Figure::line(std::span<const Point> points, Colour colour, int width, Dash dash)
{
    std::string rows;
    for (const Point &point : points)
        rows += std::isfinite(point.y) ? pairOf(point) : "\n";
    if (rows.find_first_not_of('\n') != rows.npos)
        plot(addData(rows) + " using 1:2 with lines lt 1" + widthOf(width) + " lc " + colourOf(colour)
             + (dash == Dash::Dashed ? " dt (12,8)" : ""));
}

void Figure::segments(std::span<const std::pair<Point, Point>> ends, Colour colour, int width)
{
    std::string rows;
    for (const auto &[first, last] : ends)
        rows += pairOf(first) + pairOf(last) + '\n';
    if (!rows.empty())
        plot(addData(rows) + " using 1:2 with lines lt 1" + widthOf(width) + " lc " + colourOf(colour));
}

void Figure::area(std::span<const Point> outline, Colour colour, double opacity)
{
    std::string rows;
    for (const Point &point : outline)
        rows += pairOf(point);
    plot(addData(rows) + " using 1:2 with filledcurves closed fs transparent solid " + numberOf(opacity)
         + " noborder lc " + colourOf(colour));
}

void Figure::rectangles(std::span<const Rectangle> all, Colour colour, double opacity)
{
    std::string rows;
    for (const auto &[left, bottom, right, top] : all) {
        for (const Point corner : {Point{left, bottom}, Point{right, bottom}, Point{right, top}, Point{left, top}})
            rows += pairOf(corner);
        rows += '\n';
    }
    if (!rows.empty())
        plot(addData(rows) + " using 1:2 with filledcurves closed fs transparent solid " + numberOf(opacity)
             + " noborder lc " + colourOf(colour));
}

void Figure::endPanel()
{
    // A panel of nothing still has its axes.
    if (m_elements.empty())
        plot("NaN with lines lt 1");
    m_commands += m_labels + m_elements + "\nunset label\nunset arrow\n";
    m_labels.clear();
    m_elements.clear();
}

void Figure::text(double x, double y, std::string_view text, int size, Align align, std::string_view colour,
                  int degrees)
{
    static constexpr const char *words[] = {"left", "centre", "right"};
    m_labels += "set label " + std::to_string(++m_labelCount) + ' ' + constantOf(text) + " at screen X(" + numberOf(x)
                + "),Y(" + numberOf(y) + ") " + words[size_t(align)] + " font " + fontOf(size) + " front"
                + (degrees ? " rotate by " + std::to_string(degrees) : "")
                + (colour.empty() ? "" : " tc " + colourOf(colour)) + '\n';
}

void Figure::screenLine(double x1, double y1, double x2, double y2, std::string_view colour, int width)
{
    m_labels += "set arrow " + std::to_string(++m_labelCount) + " from screen X(" + numberOf(x1) + "),Y(" + numberOf(y1)
                + ") to screen X(" + numberOf(x2) + "),Y(" + numberOf(y2) + ") nohead front" + widthOf(width)
                + (colour.empty() ? "" : " lc " + colourOf(colour)) + '\n';
}

int Figure::legend(int left, int top, int right, std::span<const std::pair<std::string, Colour>> entries)
{
    int x = left, rows = 1;
    for (const auto &[name, colour] : entries) {
        const int width = textWidth(name, plainText) + 60;
        if (x > left && x + width > right) {
            x = left;
            ++rows;
        }
        const int y = top + (rows - 1) * 40;
        screenLine(x, y, x + 26, y, colour, 16);
        text(x + 38, y, name);
        x += width;
    }
    return rows;
}

void Figure::title(std::string_view text)
{
    // Drawn with the first panel.
    m_title = "set label " + std::to_string(++m_labelCount) + ' ' + constantOf(text)
              + " at screen 0.5,Y(36) centre font " + fontOf(largeText) + " front\n";
}

std::string Figure::script() const
{
    return "set multiplot\n" + m_data + m_title + m_commands + "unset multiplot\n";
}

}  // namespace plot
