// A picture as a script for gnuplot. Everything that comes from a file goes into the script as a number, or as a string
// constant whose unusual bytes are written as octal numbers: nothing in it can be run. Text is never marked up.
#pragma once

#include "plot/cloud.h"
#include "plot/style.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace plot {

// A string constant of gnuplot with these bytes, or with what can be shown of a text.
std::string constantOfBytes(std::string_view bytes);
std::string constantOf(std::string_view text);

// Pixels from the upper left corner.
struct Box {
    int left, top, right, bottom;
    int width() const { return right - left; }
    int height() const { return bottom - top; }
};

struct Axis {
    double from, to;
    std::string label = "";
    bool hasNumbers = true;
    double leastStep = 0;  // between numbers
    int labelApart = 122;  // pixels from the axis to the middle of the label of a y axis
};

struct Point {
    double x, y;
};

enum class Align { Left, Centre, Right };
enum class Dash { None, Dashed };

class Figure {
public:
    explicit Figure(const Size &size) : m_width(size.width), m_height(size.height), m_isVectors(size.isVectors) {}

    int width() const { return m_width; }
    int height() const { return m_height; }

    // Drawn in this order, in values of the axes, within the panel.
    void beginPanel(const Box &box, const Axis &x, const Axis &y, bool hasFrame = true);
    void cloud(const Cloud &cloud, Colour colour);
    void line(std::span<const Point> points, Colour colour, int width = plainLine, Dash dash = Dash::None);
    void segments(std::span<const std::pair<Point, Point>> ends, Colour colour, int width = plainLine);
    void area(std::span<const Point> outline, Colour colour, double opacity = 1);
    struct Rectangle {
        double left, bottom, right, top;
    };
    void rectangles(std::span<const Rectangle> all, Colour colour, double opacity = 1);
    void endPanel();

    // In pixels from the upper left corner; the text stands around the middle of its line.
    void text(double x, double y, std::string_view text, int size = plainText, Align align = Align::Left,
              std::string_view colour = "", int degrees = 0);
    void screenLine(double x1, double y1, double x2, double y2, std::string_view colour = "", int width = thinLine);
    // A row of names with their colours from the place on; returns how many rows it took within the width.
    int legend(int left, int top, int right, std::span<const std::pair<std::string, Colour>> entries);

    void title(std::string_view text);

    // For those who do not see the picture, and for the page.
    std::string heading, description;

    // All commands behind the choice of the terminal.
    std::string script() const;

private:
    std::string addData(std::string_view rows);
    void plot(const std::string &element);

    int m_width, m_height;
    bool m_isVectors;
    std::string m_title, m_data, m_commands, m_labels, m_elements;
    size_t m_dataCount = 0, m_labelCount = 0;
    Box m_box = {};
};

// Of a line with many points those that show: the first, lowest, highest and last one of every column of pixels.
std::vector<Point> thinned(std::span<const Point> points, double from, double to, int pixels);

// A number as gnuplot reads it, exactly.
std::string numberOf(double value);

}  // namespace plot
