#include "plot/labels.h"

#include <algorithm>
#include <cmath>

namespace plot {

static constexpr int margin = 6;  // pixels between a name and a dot

bool Labels::isFree(const Area &area) const
{
    if (area.left < 2 || area.right > m_box.width() + 24 || area.bottom < 0 || area.top > m_box.height() + 4)
        return false;
    for (const Area &other : m_taken) {
        if (area.left < other.right && other.left < area.right && area.bottom < other.top && other.bottom < area.top)
            return false;
    }
    for (const Cloud *cloud : m_clouds) {
        if (cloud->hasDots(area.left - margin, area.bottom - margin, area.right + margin, area.top + margin))
            return false;
    }
    return true;
}

size_t Labels::draw(Figure &figure, size_t most)
{
    // Places of the name's middle around the dot, the best first: above, beside, and further away with a line.
    size_t drawn = 0;
    for (size_t i = 0; i < m_names.size() && i < most; ++i) {
        const Name &name = m_names[i];
        const int half = textWidth(name.text, smallText) / 2, height = smallText + 2;
        const int near = height / 2 + 10, beside = half + 14;
        const std::pair<int, int> places[] = {{0, near},
                                              {beside, 0},
                                              {-beside, 0},
                                              {beside, near},
                                              {-beside, near},
                                              {beside, -near},
                                              {-beside, -near},
                                              {0, near + 30},
                                              {beside, near + 30},
                                              {-beside, near + 30},
                                              {0, near + 60},
                                              {beside, near + 60},
                                              {-beside, near + 60},
                                              {beside + 50, 20},
                                              {-beside - 50, 20},
                                              {0, near + 100},
                                              {beside + 90, near + 60},
                                              {-beside - 90, near + 60},
                                              {0, near + 140}};
        for (const auto &[dx, dy] : places) {
            const int x = name.x + dx, y = name.y + dy;
            const Area area = {x - half, y - height / 2, x + half, y + height / 2};
            if (!isFree(area))
                continue;
            m_taken.push_back(area);
            figure.text(m_box.left + x, m_box.bottom - y, name.text, smallText, Align::Centre);
            if (std::abs(dx) > beside || dy > near) {
                const int toX = std::clamp(name.x, area.left, area.right), toY = dy > near ? area.bottom : y;
                figure.screenLine(m_box.left + name.x, m_box.bottom - name.y, m_box.left + toX, m_box.bottom - toY,
                                  grey);
            }
            ++drawn;
            break;
        }
    }
    return drawn;
}

}  // namespace plot
