// The nearest points, in an order without ties.
#pragma once

#include "matching/forest.h"

// A point and its distance. Nearer ones come first, of equally near ones the earlier.
struct Neighbour {
    double distance;
    uint32_t point;

    bool operator<(const Neighbour &other) const
    {
        return distance < other.distance || (distance == other.distance && point < other.point);
    }
};

inline constexpr Neighbour beforeAll = {-1, 0};

// Appends in their order the first `count` present points behind `after`, or as many as there are. Those without a
// common column are no neighbours.
void findNearest(const Forest &forest, const double *query, const std::vector<double> &inverse, size_t count,
                 Neighbour after, std::vector<Neighbour> &found);
