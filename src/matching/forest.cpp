#include "matching/forest.h"

#include <limits>
#include <numeric>
#include <tuple>

static constexpr uint32_t inNoTree = UINT32_MAX;

// By which columns are missing.
static int comparePatterns(const Points &points, uint32_t a, uint32_t b)
{
    for (size_t c = 0; c < points.columnCount; ++c) {
        const int difference = int(isMissing(points[a][c])) - int(isMissing(points[b][c]));
        if (difference != 0)
            return difference;
    }
    return 0;
}

Forest::Forest(const Points &points, const std::vector<double> &inverse)
    : m_columnCount(points.columnCount)
    , m_points(points.count)
    , m_slots(points.count)
    , m_leaves(points.count, inNoTree)
    , m_isPresent(points.count, true)
    , m_values((points.count + leafSize) * points.columnCount)
{
    std::iota(m_points.begin(), m_points.end(), 0);
    std::stable_sort(m_points.begin(), m_points.end(),
                     [&](uint32_t a, uint32_t b) { return comparePatterns(points, a, b) < 0; });
    std::vector<Range> ranges;
    for (uint32_t begin = 0, end; begin < points.count; begin = end) {
        end = begin + 1;
        while (end < points.count && comparePatterns(points, m_points[begin], m_points[end]) == 0)
            ++end;
        ranges.push_back({begin, end});
    }
    std::stable_sort(ranges.begin(), ranges.end(),
                     [](const Range &a, const Range &b) { return a.end - a.begin > b.end - b.begin; });
    for (const Range &range : ranges)
        addTree(points, inverse, range);
    for (uint32_t slot = 0; slot < points.count; ++slot)
        m_slots[m_points[slot]] = slot;
}

void Forest::addNode(Range range, uint32_t parent)
{
    m_nodes.push_back({range.begin, range.end, range.end - range.begin, parent});
}

void Forest::addTree(const Points &points, const std::vector<double> &inverse, Range range)
{
    Tree tree{uint32_t(m_nodes.size()), {}};
    for (uint32_t c = 0; c < m_columnCount; ++c) {
        if (!isMissing(points[m_points[range.begin]][c]))
            tree.columns.push_back(c);
    }
    if (tree.columns.empty())
        return;
    addNode(range, tree.root);
    for (uint32_t node = tree.root; node < m_nodes.size(); ++node) {
        if (m_nodes[node].end - m_nodes[node].begin <= leafSize)
            fillLeaf(points, node);
        else
            split(points, inverse, tree.columns, node);
    }
    m_trees.push_back(std::move(tree));
}

std::pair<double, double> Forest::side(const Points &points, Range range, uint32_t column) const
{
    double low = points[m_points[range.begin]][column], high = low;
    for (uint32_t slot = range.begin; slot < range.end; ++slot) {
        low = std::min(low, points[m_points[slot]][column]);
        high = std::max(high, points[m_points[slot]][column]);
    }
    return {low, high};
}

// Halves the points where their box is longest, by whole leaves.
uint32_t Forest::halve(const Points &points, const std::vector<double> &inverse, const std::vector<uint32_t> &columns,
                       Range range)
{
    uint32_t longest = columns[0];
    double length = -1;
    for (const uint32_t c : columns) {
        const std::pair<double, double> ends = side(points, range, c);
        const double extent = (ends.second - ends.first) * inverse[c];
        if (extent > length) {
            length = extent;
            longest = c;
        }
    }
    const size_t leaves = (range.end - range.begin + leafSize - 1) / leafSize;
    const uint32_t middle = range.begin + uint32_t(leaves / 2 * leafSize);
    const auto first = m_points.begin();
    std::nth_element(first + range.begin, first + middle, first + range.end, [&](uint32_t a, uint32_t b) {
        const double valueA = points[a][longest], valueB = points[b][longest];
        return valueA < valueB || (valueA == valueB && a < b);
    });
    return middle;
}

// Gives the node children: halves of halves of halves.
void Forest::split(const Points &points, const std::vector<double> &inverse, const std::vector<uint32_t> &columns,
                   uint32_t number)
{
    std::vector<Range> parts = {{m_nodes[number].begin, m_nodes[number].end}};
    for (size_t level = 1; level < childLimit; level *= 2) {
        std::vector<Range> halves;
        for (const Range &part : parts) {
            if (part.end - part.begin <= leafSize) {
                halves.push_back(part);
                continue;
            }
            const uint32_t middle = halve(points, inverse, columns, part);
            halves.push_back({part.begin, middle});
            halves.push_back({middle, part.end});
        }
        parts.swap(halves);
    }
    m_nodes[number].child = uint32_t(m_nodes.size());
    m_nodes[number].childCount = uint32_t(parts.size());
    m_nodes[number].boxes = m_boxes.size();
    m_boxes.resize(m_boxes.size() + 2 * childLimit * m_columnCount);
    for (const uint32_t c : columns) {
        double *const low = m_boxes.data() + m_nodes[number].boxes + 2 * childLimit * c, *const high = low + childLimit;
        std::fill(low, high, std::numeric_limits<double>::infinity());
        std::fill(high, high + childLimit, -std::numeric_limits<double>::infinity());
        for (size_t i = 0; i < parts.size(); ++i)
            std::tie(low[i], high[i]) = side(points, parts[i], c);
    }
    for (const Range &part : parts)
        addNode(part, number);
}

void Forest::fillLeaf(const Points &points, uint32_t number)
{
    const Node &node = m_nodes[number];
    // In the order of the points, so that of equal ones the earlier is met first.
    std::sort(m_points.begin() + node.begin, m_points.begin() + node.end);
    double *to = m_values.data() + size_t(node.begin) * m_columnCount;
    for (size_t c = 0; c < m_columnCount; ++c) {
        for (uint32_t slot = node.begin; slot < node.end; ++slot)
            *to++ = points[m_points[slot]][c];
    }
    for (uint32_t slot = node.begin; slot < node.end; ++slot)
        m_leaves[slot] = number;
}

void Forest::change(uint32_t point, bool isPresent)
{
    const uint32_t slot = m_slots[point];
    if (m_leaves[slot] == inNoTree || m_isPresent[slot] == isPresent)
        return;
    m_isPresent[slot] = isPresent;
    for (uint32_t node = m_leaves[slot];; node = m_nodes[node].parent) {
        m_nodes[node].presentCount += isPresent ? 1 : uint32_t(-1);
        if (m_nodes[node].parent == node)
            return;
    }
}
