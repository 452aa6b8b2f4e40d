// Who of the pool goes to whom, at the least total distance.
#pragma once

#include "matching/neighbours.h"

#include <span>

// [individual] its matches, the nearest first.
using Matches = std::vector<std::vector<Neighbour>>;

// Hands out the present points of the pool to the individuals of the block anew, `hitnumber` to each and none twice: as
// many as possible and, of all ways to do so, one with the least sum of distances. The pool itself stays as it is.
// `farthest` is a distance that none exceeds.
//
// Successive shortest paths, with a price for each point of the pool that is held: see R. Jonker and A. Volgenant,
// Computing 38 (1987) 325-340. A point that nobody holds has no price. So a path ends no later than at the nearest one
// of these, and of all others only those that are nearer still have to be looked at: an individual's neighbours are
// listed as far as its nearest point that is free, and the result is optimal over all of them.
void assign(const Points &individuals, std::span<const uint32_t> block, size_t hitnumber, const Forest &pool,
            const std::vector<double> &inverse, double farthest, Matches &matches);
