// The searches of mixfit: proportions on a grid that bring a weighted sum of populations closest to a sample.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

// What the searches read.
extern float **myTable;  // [value][population], cols x rows; made by allocateTable, filled by mixfit's readReference
extern std::vector<float> testValues;  // of the sample, cols of them; set by mixfit's readSample
extern int cols, rows;                 // set by allocateTable

// The result of the search that ran last, set by it: the least sum of absolute differences, and the proportions where
// it was found first.
extern float minP, P1, P2, P3;

// All zeros, with a value and two populations to spare; false when there is not enough memory.
bool allocateTable(int values, int populations);
void releaseTable();

// Thousandths from one proportion of the grid to the next; 0 where there is no grid. On purpose the step is
// widened and cut off: 0.01 gives 9.
int gridStep(float step);

void combMatrix(int one, int two, int three, float step);
void combMatrix2(int one, int two, float step);
void combMatrix1(int one, float step);

// Proportions of two populations to try: each k beside 1 - k, filled up to whole blocks.
struct PairGrid {
    size_t points = 0;  // without what fills up
    std::vector<float> k, rest;
};
PairGrid pairGrid(const std::vector<float> &ks);

// The distances of the mixtures k * population + rest * base, [point]; what stands behind the points is not one.
void scanPair(int population, int base, const PairGrid &grid, std::vector<float> &distances);

// The triple of populations in increasing order that combMatrix fits best, the first of equal ones;
// proportions of -9 where no triple is nearer than 9999. The nearer the triple given to begin with, the
// sooner it is found.
struct BestTriple {
    std::array<int, 3> populations = {0, 0, 0};
    std::array<float, 3> proportions = {-9, -9, -9};
    float score = 9999;
};
BestTriple searchTriples(int one, int two, int three, float step);
