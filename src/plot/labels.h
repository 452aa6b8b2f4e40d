// Names beside the dots that they belong to, without overlaps.
#pragma once

#include "plot/figure.h"

namespace plot {

class Labels {
public:
    explicit Labels(const Box &box) : m_box(box) {}

    // Names stay off the dots of the cloud, which lives as long.
    void avoid(const Cloud &cloud) { m_clouds.push_back(&cloud); }
    // The name of a dot at a pixel of the panel from its lower left corner; the most important one first.
    void add(int x, int y, std::string_view name) { m_names.push_back({x, y, shownText(name, 20)}); }

    // Draws the first names, as many as find room; returns how many.
    size_t draw(Figure &figure, size_t most);

private:
    struct Name {
        int x, y;
        std::string text;
    };
    struct Area {
        int left, bottom, right, top;
    };
    bool isFree(const Area &area) const;

    Box m_box;
    std::vector<const Cloud *> m_clouds;
    std::vector<Name> m_names;
    std::vector<Area> m_taken;
};

}  // namespace plot
