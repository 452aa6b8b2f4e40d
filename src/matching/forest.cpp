#include "matching/forest.h"

#include <numeric>

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
    , m_leaves(points.count)
    , m_isPresent(points.count, true)
    , m_values((points.count + leafSize) * points.columnCount)
{
    std::iota(m_points.begin(), m_points.end(), 0);
    std::sort(m_points.begin(), m_points.end(), [&](uint32_t a, uint32_t b) {
        const int difference = comparePatterns(points, a, b);
        return difference < 0 || (difference == 0 && a < b);
    });
    for (uint32_t begin = 0, end; begin < points.count; begin = end) {
        end = begin + 1;
        while (end < points.count && comparePatterns(points, m_points[begin], m_points[end]) == 0)
            ++end;
        addTree(points, inverse, begin, end);
    }
    for (uint32_t slot = 0; slot < points.count; ++slot)
        m_slots[m_points[slot]] = slot;
}

void Forest::addTree(const Points &points, const std::vector<double> &inverse, uint32_t begin, uint32_t end)
{
    Tree tree{uint32_t(m_nodes.size()), {}};
    for (uint32_t c = 0; c < m_columnCount; ++c) {
        if (!isMissing(points[m_points[begin]][c]))
            tree.columns.push_back(c);
    }
    m_nodes.push_back({begin, end, tree.root, 0, end - begin});
    for (uint32_t node = tree.root; node < m_nodes.size(); ++node)
        fillNode(points, inverse, node);
    m_trees.push_back(std::move(tree));
}

// Takes the box, and parts more points than a leaf has at the middle of the box's longest side.
void Forest::fillNode(const Points &points, const std::vector<double> &inverse, uint32_t number)
{
    const Node node = m_nodes[number];
    m_boxes.resize(m_boxes.size() + 2 * m_columnCount);
    double *const low = m_boxes.data() + 2 * m_columnCount * number, *const high = low + m_columnCount;
    size_t widest = 0;
    double width = 0;
    for (size_t c = 0; c < m_columnCount; ++c) {
        low[c] = high[c] = points[m_points[node.begin]][c];
        for (uint32_t slot = node.begin; slot < node.end; ++slot) {
            low[c] = std::min(low[c], points[m_points[slot]][c]);
            high[c] = std::max(high[c], points[m_points[slot]][c]);
        }
        const double extent = (high[c] - low[c]) * inverse[c];
        if (extent > width) {
            width = extent;
            widest = c;
        }
    }
    const uint32_t size = node.end - node.begin;
    if (size <= leafSize) {
        fillLeaf(points, number);
        return;
    }
    const uint32_t leaves = uint32_t((size + leafSize - 1) / leafSize);
    const uint32_t middle = node.begin + leaves / 2 * uint32_t(leafSize);
    const auto first = m_points.begin();
    std::nth_element(first + node.begin, first + middle, first + node.end, [&](uint32_t a, uint32_t b) {
        const double valueA = points[a][widest], valueB = points[b][widest];
        return valueA < valueB || (!(valueB < valueA) && a < b);
    });
    m_nodes[number].child = uint32_t(m_nodes.size());
    m_nodes.push_back({node.begin, middle, number, 0, middle - node.begin});
    m_nodes.push_back({middle, node.end, number, 0, node.end - middle});
}

void Forest::fillLeaf(const Points &points, uint32_t number)
{
    const Node &node = m_nodes[number];
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
    if (m_isPresent[slot] == isPresent)
        return;
    m_isPresent[slot] = isPresent;
    for (uint32_t node = m_leaves[slot];; node = m_nodes[node].parent) {
        m_nodes[node].presentCount += isPresent ? 1 : uint32_t(-1);
        if (m_nodes[node].parent == node)
            return;
    }
}
