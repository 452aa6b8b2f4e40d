// A cloud of dots on the pixels of a picture. Dots that fall on the same pixel are drawn once, and so is every pixel
// that several dots cover, so that a cloud of any number of dots is as small as what can be seen of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace plot {

class Cloud {
public:
    // For a panel of so many pixels; dots have this diameter. Without thinning every dot is kept and joined
    // to the others at the end, for comparison.
    Cloud(int width, int height, int diameter, bool isThinned = true);

    int width() const { return m_width; }
    int height() const { return m_height; }

    // A dot with its centre in a pixel, counted from the lower left corner; further out it is moved to the edge.
    void add(int x, int y)
    {
        m_marks[index(x, y)] = 1;
        if (!m_isThinned)
            m_dots.push_back(index(x, y));
    }
    bool isEmpty() const;

    // True where a dot has its centre in the rectangle.
    bool hasDots(int left, int bottom, int right, int top) const;

    // Pixels of a column that are covered without a gap, by columns from below.
    struct Run {
        int x, bottom, top;
    };
    std::vector<Run> runs() const;

    // The same for pictures made of shapes, where adjoining columns would show their seams: a lone dot as its centre,
    // and what is connected as outlines through the middles of the columns' ends. Both from the lower left corner.
    struct Shape {
        bool isDot;
        std::vector<std::pair<double, double>> outline;
    };
    std::vector<Shape> shapes() const;

    int diameter() const { return m_diameter; }
    bool isThinned() const { return m_isThinned; }

    // How far a dot of this diameter reaches above and below its centre in each column of pixels from the left.
    struct Reach {
        int dx, down, up;
    };
    static std::vector<Reach> stencil(int diameter);

private:
    size_t index(int x, int y) const;

    std::vector<Run> allRuns() const;

    int m_width, m_height, m_diameter;
    bool m_isThinned;
    std::vector<uint8_t> m_marks;  // [column][row]
    std::vector<size_t> m_dots;    // places in m_marks, without thinning
};

// The pixel of a value on an axis of so many pixels.
int pixelOf(double value, double from, double to, int pixels);

}  // namespace plot
