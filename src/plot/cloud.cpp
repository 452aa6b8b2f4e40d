#include "plot/cloud.h"

#include <algorithm>
#include <cmath>

namespace plot {

Cloud::Cloud(int width, int height, int diameter, bool isThinned)
    : m_width(width)
    , m_height(height)
    , m_diameter(diameter)
    , m_isThinned(isThinned)
    , m_marks(size_t(width) * size_t(height))
{
}

size_t Cloud::index(int x, int y) const
{
    return size_t(std::clamp(x, 0, m_width - 1)) * size_t(m_height) + size_t(std::clamp(y, 0, m_height - 1));
}

bool Cloud::isEmpty() const
{
    return std::ranges::find(m_marks, 1) == m_marks.end();
}

bool Cloud::hasDots(int left, int bottom, int right, int top) const
{
    for (int x = std::max(left, 0); x <= std::min(right, m_width - 1); ++x) {
        for (int y = std::max(bottom, 0); y <= std::min(top, m_height - 1); ++y) {
            if (m_marks[index(x, y)])
                return true;
        }
    }
    return false;
}

std::vector<Cloud::Reach> Cloud::stencil(int diameter)
{
    // Pixels whose centre lies in the circle; no column is a single pixel, which could be drawn as nothing.
    std::vector<Reach> columns;
    const int first = -(diameter - 1) / 2;
    const double middle = diameter % 2 ? 0 : 0.5, radius = diameter / 2.0;
    for (int dx = first; dx < first + diameter; ++dx) {
        const double half = std::sqrt(std::max(radius * radius - (dx - middle) * (dx - middle), 0.0));
        const int down = int(std::floor(half - middle + 1e-9)), up = int(std::floor(half + middle + 1e-9));
        columns.push_back({dx, std::max(down, 1), std::max(up, 1)});
    }
    return columns;
}

// Every dot on its own, and joined afterwards: a rim that is drawn twice would be darker.
std::vector<Cloud::Run> Cloud::allRuns() const
{
    std::vector<Run> single, runs;
    const std::vector<Reach> columns = stencil(m_diameter);
    for (const size_t dot : m_dots) {
        const int x = int(dot) / m_height, y = int(dot) % m_height;
        for (const Reach &reach : columns) {
            if (x + reach.dx >= 0 && x + reach.dx < m_width)
                single.push_back({x + reach.dx, std::max(y - reach.down, 0), std::min(y + reach.up, m_height - 1)});
        }
    }
    std::ranges::sort(single, {}, [](const Run &run) { return std::pair(run.x, run.bottom); });
    for (const Run &run : single) {
        if (!runs.empty() && runs.back().x == run.x && run.bottom <= runs.back().top + 1)
            runs.back().top = std::max(runs.back().top, run.top);
        else
            runs.push_back(run);
    }
    return runs;
}

std::vector<Cloud::Run> Cloud::runs() const
{
    if (!m_isThinned)
        return allRuns();
    std::vector<Run> runs;
    const std::vector<Reach> columns = stencil(m_diameter);
    std::vector<int> edges;
    for (int x = 0; x < m_width; ++x) {
        edges.assign(size_t(m_height) + 1, 0);
        for (const Reach &reach : columns) {
            const int from = x - reach.dx;
            if (from < 0 || from >= m_width)
                continue;
            for (int y = 0; y < m_height; ++y) {
                if (m_marks[index(from, y)]) {
                    ++edges[size_t(std::max(y - reach.down, 0))];
                    --edges[size_t(std::min(y + reach.up + 1, m_height))];
                }
            }
        }
        for (int y = 0, depth = 0, first = 0; y <= m_height; ++y) {
            const int before = depth;
            depth += edges[size_t(y)];
            if (before == 0 && depth > 0)
                first = y;
            if (before > 0 && depth == 0)
                runs.push_back({x, first, y - 1});
        }
    }
    return runs;
}

// A chain of runs in adjoining columns. Where it branches it ends, and what follows reaches one column into it, so that
// no seam shows.
struct Chain {
    std::vector<Cloud::Run> runs;
    bool reachesBack = false, reachesOn = false;  // the first, the last run is shared with another chain
};

static Cloud::Run sharedBy(const Cloud::Run &run, const Cloud::Run &other)
{
    return {other.x, std::max(run.bottom, other.bottom), std::min(run.top, other.top)};
}

static std::vector<Chain> chainsOf(const std::vector<Cloud::Run> &runs)
{
    std::vector<Chain> chains;
    std::vector<size_t> chainOf(runs.size());
    // Of each run the neighbours in the column before and behind it: how many, and the first of them.
    std::vector<size_t> before(runs.size()), behind(runs.size()), previous(runs.size()), following(runs.size());
    for (size_t i = 0, first = 0; i < runs.size(); ++i) {
        while (runs[first].x + 1 < runs[i].x || (runs[first].x + 1 == runs[i].x && runs[first].top < runs[i].bottom))
            ++first;
        for (size_t k = first; runs[k].x + 1 == runs[i].x && runs[k].bottom <= runs[i].top; ++k) {
            previous[i] = before[i]++ ? previous[i] : k;
            following[k] = behind[k]++ ? following[k] : i;
        }
    }
    for (size_t i = 0; i < runs.size(); ++i) {
        if (before[i] == 1 && behind[previous[i]] == 1) {
            chainOf[i] = chainOf[previous[i]];
        } else {
            chainOf[i] = chains.size();
            chains.emplace_back();
            if (before[i] == 1) {
                chains.back().reachesBack = true;
                chains.back().runs.push_back(sharedBy(runs[i], runs[previous[i]]));
            }
        }
        Chain &chain = chains[chainOf[i]];
        chain.runs.push_back(runs[i]);
        if (behind[i] == 1 && before[following[i]] > 1) {
            chain.reachesOn = true;
            chain.runs.push_back(sharedBy(runs[i], runs[following[i]]));
        }
    }
    return chains;
}

static std::vector<std::pair<double, double>> outlineOf(const Chain &chain)
{
    const std::vector<Cloud::Run> &runs = chain.runs;
    const double left = runs.front().x + (chain.reachesBack ? 0.5 : 0),
                 right = runs.back().x + (chain.reachesOn ? 0.5 : 1);
    std::vector<std::pair<double, double>> outline;
    // Without points on a straight line between their neighbours.
    const auto add = [&](double x, double y) {
        if (const size_t n = outline.size(); n >= 2) {
            const auto [x1, y1] = outline[n - 2];
            const auto [x2, y2] = outline[n - 1];
            if ((x2 - x1) * (y - y1) == (x - x1) * (y2 - y1))
                outline.pop_back();
        }
        outline.emplace_back(x, y);
    };
    add(left, runs.front().top + 1);
    for (const Cloud::Run &run : runs)
        add(run.x + 0.5, run.top + 1);
    add(right, runs.back().top + 1);
    add(right, runs.back().bottom);
    for (auto run = runs.rbegin(); run != runs.rend(); ++run)
        add(run->x + 0.5, run->bottom);
    add(left, runs.front().bottom);
    return outline;
}

std::vector<Cloud::Shape> Cloud::shapes() const
{
    const std::vector<Reach> columns = stencil(m_diameter);
    const auto isDot = [&](const Chain &chain) {
        if (chain.reachesBack || chain.reachesOn || chain.runs.size() != columns.size())
            return false;
        const int y = chain.runs[0].bottom + columns[0].down;
        return std::ranges::equal(chain.runs, columns, [y](const Run &run, const Reach &reach) {
            return run.bottom == y - reach.down && run.top == y + reach.up;
        });
    };
    std::vector<Shape> shapes;
    for (const Chain &chain : chainsOf(runs())) {
        if (isDot(chain)) {
            const double middle = m_diameter % 2 ? 0.5 : 1;
            shapes.push_back(
                {true, {{chain.runs[0].x - columns[0].dx + middle, chain.runs[0].bottom + columns[0].down + middle}}});
        } else {
            shapes.push_back({false, outlineOf(chain)});
        }
    }
    return shapes;
}

int pixelOf(double value, double from, double to, int pixels)
{
    const double place = (value - from) / (to - from) * pixels;
    if (!(place > 0))
        return 0;
    return place < pixels ? int(place) : pixels - 1;
}

}  // namespace plot
