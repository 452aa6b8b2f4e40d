// A search structure over points of which some are absent for a while: a tree of boxes for each pattern of missing
// columns, so that in a tree all points have the same columns.
#pragma once

#include "matching/points.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

class Forest {
public:
    static constexpr size_t leafSize = 16;   // points of a leaf at most
    static constexpr size_t childLimit = 8;  // of an inner node

    // The sides of boxes are compared in units of one over `inverse`. All points are present but those
    // without any value, which are in no tree.
    Forest(const Points &points, const std::vector<double> &inverse);

    void remove(uint32_t point) { change(point, false); }
    void restore(uint32_t point) { change(point, true); }
    size_t pointCount() const { return m_slots.size(); }

    // The boxes of a node's children: [column][low, high][child]. A column that the points miss means nothing; children
    // that are not there are empty boxes, the low side above the high one.
    struct Boxes {
        const double *sides;
        const double *low(size_t c) const { return sides + 2 * childLimit * c; }
        const double *high(size_t c) const { return low(c) + childLimit; }
    };
    struct Leaf {
        const double *values;    // [column][point]; leafSize values can be read from the first of any column on
        const uint32_t *points;  // their numbers
        const uint8_t *isPresent;
        size_t count;
    };

    // Looks at all leaves with a point that is present but those whose box the search excludes, near ones first:
    //   bool choose(const std::vector<uint32_t> &columns)   the next are of points that have these columns; false:
    //                                                       they are passed over
    //   void bound(Boxes, double *bounds)                   for childLimit boxes
    //   bool excludes(double bound)                         is asked as late as possible
    //   void look(const Leaf &)
    template <class Search>
    void search(Search &search) const
    {
        for (const Tree &tree : m_trees) {
            if (m_nodes[tree.root].presentCount > 0 && search.choose(tree.columns))
                descend(search, m_nodes[tree.root]);
        }
    }

private:
    struct Node {
        uint32_t begin, end;  // slots
        uint32_t presentCount;
        uint32_t parent;          // a root is its own one
        uint32_t child = 0;       // the first of several side by side
        uint32_t childCount = 0;  // 0 in a leaf
        size_t boxes = 0;         // of the children, where in m_boxes
    };
    struct Tree {
        uint32_t root;
        std::vector<uint32_t> columns;  // that its points have
    };
    struct Range {
        uint32_t begin, end;  // slots
    };

    void addTree(const Points &points, const std::vector<double> &inverse, Range range);
    void addNode(Range range, uint32_t parent);
    std::pair<double, double> side(const Points &points, Range range, uint32_t column) const;
    uint32_t halve(const Points &points, const std::vector<double> &inverse, const std::vector<uint32_t> &columns,
                   Range range);
    void split(const Points &points, const std::vector<double> &inverse, const std::vector<uint32_t> &columns,
               uint32_t number);
    void fillLeaf(const Points &points, uint32_t number);
    void change(uint32_t point, bool isPresent);

    template <class Search>
    void descend(Search &search, const Node &node) const
    {
        if (node.childCount == 0) {
            search.look(Leaf{m_values.data() + size_t(node.begin) * m_columnCount, m_points.data() + node.begin,
                             m_isPresent.data() + node.begin, node.end - node.begin});
            return;
        }
        double bounds[childLimit];
        search.bound({m_boxes.data() + node.boxes}, bounds);
        std::pair<double, uint32_t> children[childLimit];  // the nearest first
        size_t count = 0;
        for (uint32_t i = 0; i < node.childCount; ++i) {
            if (m_nodes[node.child + i].presentCount == 0 || search.excludes(bounds[i]))
                continue;
            size_t place = count++;
            for (; place > 0 && bounds[i] < children[place - 1].first; --place)
                children[place] = children[place - 1];
            children[place] = {bounds[i], node.child + i};
        }
        for (size_t i = 0; i < count && !search.excludes(children[i].first); ++i)
            descend(search, m_nodes[children[i].second]);
    }

    size_t m_columnCount;
    std::vector<Tree> m_trees;  // the largest first
    std::vector<Node> m_nodes;
    std::vector<double> m_boxes;       // by inner node, as in Boxes
    std::vector<uint32_t> m_points;    // [slot] its point: those of a leaf side by side
    std::vector<uint32_t> m_slots;     // [point]
    std::vector<uint32_t> m_leaves;    // [slot] the leaf's node
    std::vector<uint8_t> m_isPresent;  // [slot]
    std::vector<double> m_values;      // by leaf, and room for reading on behind the last
};
