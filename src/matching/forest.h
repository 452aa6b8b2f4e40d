// A search structure over points of which some are absent for a while: a tree of boxes for each pattern of missing
// columns, so that in a tree all points have the same columns.
#pragma once

#include "matching/points.h"

#include <algorithm>
#include <cstdint>
#include <vector>

class Forest {
public:
    static constexpr size_t leafSize = 16;  // points of a leaf at most

    // The extents of a box are compared in units of one over `inverse`. All points are present.
    Forest(const Points &points, const std::vector<double> &inverse);

    void remove(uint32_t point) { change(point, false); }
    void restore(uint32_t point) { change(point, true); }
    bool isPresent(uint32_t point) const { return m_isPresent[m_slots[point]]; }
    size_t pointCount() const { return m_slots.size(); }

    // A box and the points in it.
    struct Box {
        const double *low, *high;  // [column]
    };
    struct Leaf {
        const double *values;    // [column][point], the points of a column side by side; leafSize can be read from any
        const uint32_t *points;  // their numbers
        const uint8_t *isPresent;
        size_t count;
    };

    // Goes through the boxes that the search does not exclude, the one with the least bound first:
    //   double enter(const std::vector<uint32_t> &columns, Box)   a tree's bound, of points that have these columns
    //   void choose(const std::vector<uint32_t> &columns)         the next boxes are of such a tree
    //   double bound(Box)
    //   bool excludes(double bound)                               is asked as late as possible
    //   void look(const Leaf &)
    template <class Search>
    void search(Search &search) const
    {
        struct Entry {
            double bound;
            uint32_t tree;
        };
        std::vector<Entry> entries;
        for (uint32_t tree = 0; tree < m_trees.size(); ++tree) {
            const Node &root = m_nodes[m_trees[tree].root];
            if (root.presentCount > 0)
                entries.push_back({search.enter(m_trees[tree].columns, boxOf(m_trees[tree].root)), tree});
        }
        std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
            return a.bound < b.bound || (a.bound == b.bound && a.tree < b.tree);
        });
        for (const Entry &entry : entries) {
            if (search.excludes(entry.bound))
                continue;
            search.choose(m_trees[entry.tree].columns);
            descend(search, m_trees[entry.tree].root);
        }
    }

private:
    struct Node {
        uint32_t begin, end;  // slots
        uint32_t parent;
        uint32_t child = 0;  // the first of two; 0 in a leaf
        uint32_t presentCount;
    };
    struct Tree {
        uint32_t root;
        std::vector<uint32_t> columns;  // that its points have
    };

    void addTree(const Points &points, const std::vector<double> &inverse, uint32_t begin, uint32_t end);
    void fillNode(const Points &points, const std::vector<double> &inverse, uint32_t node);
    void fillLeaf(const Points &points, uint32_t node);
    void change(uint32_t point, bool isPresent);
    Box boxOf(uint32_t node) const
    {
        const double *low = m_boxes.data() + 2 * m_columnCount * node;
        return {low, low + m_columnCount};
    }

    template <class Search>
    void descend(Search &search, uint32_t number) const
    {
        const Node &node = m_nodes[number];
        if (node.child == 0) {
            search.look({m_values.data() + size_t(node.begin) * m_columnCount, m_points.data() + node.begin,
                         m_isPresent.data() + node.begin, node.end - node.begin});
            return;
        }
        uint32_t nearer = node.child, farther = node.child + 1;
        double bound = search.bound(boxOf(nearer)), other = search.bound(boxOf(farther));
        if (other < bound) {
            std::swap(nearer, farther);
            std::swap(bound, other);
        }
        if (m_nodes[nearer].presentCount > 0 && !search.excludes(bound))
            descend(search, nearer);
        if (m_nodes[farther].presentCount > 0 && !search.excludes(other))
            descend(search, farther);
    }

    size_t m_columnCount;
    std::vector<Tree> m_trees;
    std::vector<Node> m_nodes;
    std::vector<double> m_boxes;       // [node][low, high][column]; columns that the points miss are missing
    std::vector<uint32_t> m_points;    // [slot] its point: those of a leaf side by side
    std::vector<uint32_t> m_slots;     // [point]
    std::vector<uint32_t> m_leaves;    // [slot] the leaf's node
    std::vector<uint8_t> m_isPresent;  // [slot]
    std::vector<double> m_values;      // by leaf, then column, then slot, and room for reading on
};
