#include "mixture/search.h"
#include "mixture/kernels.h"
#include "processors/wide.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numeric>

float **myTable = nullptr;
std::vector<float> testValues;
int cols = 0, rows = 0;
float minP = 9999, P1 = -9, P2 = -9, P3 = -9;

bool allocateTable(int values, int populations)
{
    const size_t height = size_t(values) + 1, width = size_t(populations) + 2;
    myTable = static_cast<float **>(std::calloc(height, sizeof *myTable));
    float *floats = static_cast<float *>(std::calloc(height, width * sizeof *floats));
    if (!myTable || !floats) {
        std::free(floats);
        std::free(myTable);
        myTable = nullptr;
        return false;
    }
    for (size_t j = 0; j < height; ++j)
        myTable[j] = floats + j * width;
    cols = values;
    rows = populations;
    return true;
}

void releaseTable()
{
    if (myTable)
        std::free(myTable[0]);
    std::free(myTable);
    myTable = nullptr;
}

int gridStep(float step)
{
    const double thousandths = double(step) * 1000.0;
    return thousandths >= 1 && thousandths < 2147483648.0 ? int(thousandths) : 0;
}

// Fills up with copies of the value to whole registers of any width.
static void fillUp(std::vector<float> &values, size_t multiple, float value)
{
    values.resize((values.size() + multiple - 1) / multiple * multiple, value);
}

// The proportions of combMatrix, in bands of neighbouring rows so that blocks are about as long as wide.
static void arrangeGrid(int64_t intstep, Grid &grid)
{
    constexpr int64_t rowsPerBand = 6;
    const int64_t last = 1000 / intstep;  // row, and point of row 0
    const auto add = [&](int64_t i, int64_t j) {
        const int64_t n = i * intstep, nn = j * intstep, nnn = 1000 - n - nn;
        if (i > last || nnn < 0)
            return;
        grid.a.push_back(float(double(n) / 1000.0));
        grid.b.push_back(float(double(nn) / 1000.0));
        grid.c.push_back(float(double(nnn) / 1000.0));
        grid.rank.push_back(uint32_t(i * (last + 1) + j));
    };
    for (int64_t band = 0; band <= last; band += rowsPerBand) {
        for (int64_t j = 0; j <= last; ++j) {
            for (int64_t i = band; i < band + rowsPerBand; ++i)
                add(i, j);
        }
    }
}

static const Grid &tripleGrid(float step)
{
    static Grid grid;
    if (grid.step == step)
        return grid;
    grid = {step, {}, {}, {}, {}, {}, {}, {}, {}};
    if (const int intstep = gridStep(step))
        arrangeGrid(intstep, grid);
    for (size_t first = 0; first < grid.a.size(); first += pointsPerBlock) {
        const ptrdiff_t begin = ptrdiff_t(first), end = ptrdiff_t(std::min(first + pointsPerBlock, grid.a.size()));
        const auto [lowA, highA] = std::minmax_element(grid.a.begin() + begin, grid.a.begin() + end);
        const auto [lowB, highB] = std::minmax_element(grid.b.begin() + begin, grid.b.begin() + end);
        grid.lowA.push_back(*lowA);
        grid.highA.push_back(*highA);
        grid.lowB.push_back(*lowB);
        grid.highB.push_back(*highB);
    }
    for (std::vector<float> *proportions : {&grid.a, &grid.b, &grid.c})
        fillUp(*proportions, pointsPerBlock, std::numeric_limits<float>::quiet_NaN());
    grid.rank.resize(grid.a.size() + 1, std::numeric_limits<uint32_t>::max());  // one more for no point
    return grid;
}

static Mixture mixtureOf(int one, int two, int three)
{
    return {myTable, testValues.data(), size_t(cols), one, two, three};
}

// The numbers of all blocks.
static const std::vector<uint32_t> &allBlocks(const Grid &grid)
{
    static std::vector<uint32_t> blocks;
    blocks.resize(grid.lowA.size());
    std::iota(blocks.begin(), blocks.end(), 0u);
    return blocks;
}

// Like combMatrix, for scores below the limit alone, and points of these blocks.
static bool combMatrixBelow(int one, int two, int three, float step, float limit, std::span<const uint32_t> blocks)
{
    const Grid &grid = tripleGrid(step);
    minP = limit;
    const size_t found = kernelsInUse<SearchKernels>->findBest(mixtureOf(one, two, three), grid, blocks, minP);
    if (found == grid.a.size()) {
        P1 = P2 = P3 = -9;
        return false;
    }
    P1 = grid.a[found];
    P2 = grid.b[found];
    P3 = grid.c[found];
    return true;
}

void combMatrix(int one, int two, int three, float step)
{
    combMatrixBelow(one, two, three, step, 9999, allBlocks(tripleGrid(step)));
}

void combMatrix2(int one, int two, float step)
{
    minP = 9999;
    P1 = P2 = -9;
    P3 = 0;
    const int64_t intstep = gridStep(step);
    for (int64_t n = 0; n <= 1000 && intstep > 0; n += intstep) {
        const float a = float(double(n) / 1000.0), b = float(double(1000 - n) / 1000.0);
        float score = 0;
        for (int j = 0; j < cols; ++j)
            score += std::abs(myTable[j][two] * b + myTable[j][one] * a - testValues[size_t(j)]);
        if (score < minP) {
            minP = score;
            P1 = a;
            P2 = b;
        }
    }
}

void combMatrix1(int one, float)
{
    minP = 9999;
    P1 = -9;
    P2 = P3 = 0;
    float score = 0;
    for (int j = 0; j < cols; ++j)
        score += std::abs(myTable[j][one] - testValues[size_t(j)]);
    if (score < 9999) {
        minP = score;
        P1 = 1;
    }
}

PairGrid pairGrid(const std::vector<float> &ks)
{
    const size_t size = (ks.size() + pointsPerBlock - 1) / pointsPerBlock * pointsPerBlock;
    PairGrid grid{ks.size(), ks, std::vector<float>(size)};
    for (size_t i = 0; i < ks.size(); ++i)
        grid.rest[i] = 1 - ks[i];
    grid.k.resize(size);
    return grid;
}

void scanPair(int population, int base, const PairGrid &grid, std::vector<float> &distances)
{
    distances.resize(grid.k.size());
    kernelsInUse<SearchKernels>->scorePairs(mixtureOf(population, base, base), grid.k.data(), grid.rest.data(),
                                            grid.k.size(), distances.data());
}

namespace {
// Lower bounds that rule out triples without scoring a point. Weigh each value's difference by a factor from
// -1 to 1: what the differences between a mixture and the sample add up to is no more than the mixture's
// score, and no less than the least of what those between its populations and the sample add up to. So where
// that is beyond the best score for all three, no mixture of them is better. A cut is such a set of weights;
// found for one triple that fails, it also rules out many of those that fail for the same reason, and most blocks of
// the grid of others. Of the triples of the benchmark two thirds (8 populations) to nine tenths (20) go by cuts found
// before, and of the points of the others nine tenths.
//
// For example the sample (0.5, 0.5), a best score so far of 0.1, and the populations A (1, 0), B (0, 1), C (0.9, 0.1),
// D (0.8, 0.2), E (0.7, 0.3). The weights (1, -1) make of the differences between each and the sample: A 1, B -1,
// C 0.8, D 0.6, E 0.4. So no mixture of C, D and E scores below 0.4, nor any other triple without B, and all these go
// by this one cut. Of B, C, D a block survives only if -b + 0.8 c + 0.6 d is below 0.1 in some corner of it: B with
// less than 0.31 takes part in no mixture that is worth scoring.
class Cuts {
public:
    // For the current table and sample.
    void start();

    // Says which score is to be beaten or equalled.
    void setScore(float score);

    // Some cut is beyond the best score for two populations, and for a third.
    uint64_t findCommon(int one, int two) const { return m_beyond[size_t(one)] & m_beyond[size_t(two)]; }
    bool isRuledOut(uint64_t common, int third) const { return (common & m_beyond[size_t(third)]) != 0; }

    // Finds a cut for the triple; true where it rules it out.
    bool add(int one, int two, int three);

    // The blocks of the grid with mixtures of the triple that no cut rules out.
    std::span<const uint32_t> findOpenBlocks(int one, int two, int three, const Grid &grid);

private:
    static constexpr size_t most = 64;

    void mark(size_t cut);
    void sumUp(float *sums) const;

    bool m_isUsable = false;
    float m_slack = 0;  // no less than all rounding errors of a score and of a cut together
    float m_limit = 0;
    size_t m_count = 0, m_next = 0;
    std::vector<uint64_t> m_beyond;  // [population], a bit for each cut
    std::vector<float> m_sums;       // [cut][population]
    std::vector<float> m_weights;    // [value]
    std::vector<float> m_bounds;     // [block], no score of its points is less
    std::vector<uint32_t> m_open;    // blocks
};
}  // namespace

void Cuts::start()
{
    m_count = m_next = 0;
    m_beyond.assign(size_t(rows), 0);
    m_sums.resize(most * size_t(rows));
    m_weights.resize(size_t(cols));
    constexpr float large = 1e30f;
    double size = 0;
    m_isUsable = false;
    for (int j = 0; j < cols; ++j) {
        float largest = 0;
        for (int i = 0; i < rows; ++i) {
            if (!(std::abs(myTable[j][i]) < large))
                return;
            largest = std::max(largest, std::abs(myTable[j][i]));
        }
        if (!(std::abs(testValues[size_t(j)]) < large))
            return;
        size += double(largest) + double(std::abs(testValues[size_t(j)]));
    }
    // A term of a score takes 5 roundings and the sums on both sides one for each value; a bound for a block takes
    // 17 more. All this twice.
    m_slack = float(size * (4.0 * double(cols) + 64) * 0x1p-24 + 1e-30);
    m_isUsable = size < large;
}

void Cuts::setScore(float score)
{
    m_limit = std::nextafter(score, std::numeric_limits<float>::infinity()) + m_slack;
    std::fill(m_beyond.begin(), m_beyond.end(), 0);
    for (size_t cut = 0; cut < m_count; ++cut)
        mark(cut);
}

void Cuts::mark(size_t cut)
{
    const float *const sums = m_sums.data() + cut * size_t(rows);
    const uint64_t bit = uint64_t(1) << cut;
    for (size_t i = 0; i < size_t(rows); ++i)
        m_beyond[i] = (m_beyond[i] & ~bit) | (uint64_t(sums[i] >= m_limit) << cut);
}

// What the weighed differences between each population and the sample add up to.
MORVEL_WIDE void Cuts::sumUp(float *sums) const
{
    const size_t populations = size_t(rows);
    std::fill_n(sums, populations, 0.0f);
    for (size_t j = 0; j < m_weights.size(); ++j) {
        const float weight = m_weights[j], value = testValues[j];
        const float *const row = myTable[j];
        for (size_t i = 0; i < populations; ++i)
            sums[i] += weight * (row[i] - value);
    }
}

bool Cuts::add(int one, int two, int three)
{
    if (!m_isUsable)
        return false;
    kernelsInUse<SearchKernels>->findWeights(mixtureOf(one, two, three), m_weights.data());
    const size_t cut = m_next;
    m_next = (m_next + 1) % most;
    m_count = std::max(m_count, cut + 1);
    sumUp(m_sums.data() + cut * size_t(rows));
    mark(cut);
    return isRuledOut(findCommon(one, two), three);
}

// A mixture's weighed differences are the mixture of those of its populations, least in a corner of the block.
MORVEL_WIDE std::span<const uint32_t> Cuts::findOpenBlocks(int one, int two, int three, const Grid &grid)
{
    const size_t blocks = grid.lowA.size();
    m_bounds.assign(blocks, 0);
    m_open.resize(blocks);
    float *const bounds = m_bounds.data();
    for (size_t cut = 0; cut < m_count; ++cut) {
        const float *const sums = m_sums.data() + cut * size_t(rows);
        const float base = sums[three], slopeA = sums[one] - base, slopeB = sums[two] - base;
        const float *const cornersA = (slopeA < 0 ? grid.highA : grid.lowA).data();
        const float *const cornersB = (slopeB < 0 ? grid.highB : grid.lowB).data();
        for (size_t i = 0; i < blocks; ++i)
            bounds[i] = std::max(bounds[i], base + slopeA * cornersA[i] + slopeB * cornersB[i]);
    }
    size_t count = 0;
    for (size_t i = 0; i < blocks; ++i) {  // no branch that cannot be foreseen
        m_open[count] = uint32_t(i);
        count += !(bounds[i] >= m_limit);
    }
    return {m_open.data(), count};
}

// Whether the triple has every population of the best one whose proportion is not 0.
static bool holdsBest(const std::array<int, 3> &triple, const BestTriple &best)
{
    for (size_t i = 0; i < 3; ++i) {
        const int population = best.populations[i];
        if (best.proportions[i] > 0 && std::ranges::count(triple, population) == 0)
            return false;
    }
    return true;
}

BestTriple searchTriples(int one, int two, int three, float step)
{
    static Cuts cuts;
    BestTriple best;
    const Grid &grid = tripleGrid(step);
    const auto fit = [&](const std::array<int, 3> &triple, float limit, std::span<const uint32_t> blocks) {
        if (!combMatrixBelow(triple[0], triple[1], triple[2], step, limit, blocks))
            return false;
        best = {triple, {P1, P2, P3}, minP};
        return true;
    };
    std::array first = {one, two, three};
    std::ranges::sort(first);
    if (first[0] != first[1] && first[1] != first[2])
        fit(first, best.score, allBlocks(grid));
    cuts.start();
    cuts.setScore(best.score);
    for (int p = 0; p < rows; ++p) {
        for (int q = p + 1; q < rows; ++q) {
            uint64_t common = cuts.findCommon(p, q);
            for (int r = q + 1; r < rows; ++r) {
                if (cuts.isRuledOut(common, r))
                    continue;
                const std::array triple = {p, q, r};
                if (triple == best.populations)
                    continue;
                const bool isBefore = triple < best.populations;
                if (!isBefore && best.score == 0)
                    return best;
                std::span<const uint32_t> open = cuts.findOpenBlocks(p, q, r, grid);
                // A few blocks are scored sooner than a cut is found. No cut rules out a triple that can mix the best
                // mixture, so none is tried.
                if (open.size() > 2 && !holdsBest(triple, best)) {
                    if (cuts.add(p, q, r)) {
                        common = cuts.findCommon(p, q);
                        continue;
                    }
                    open = cuts.findOpenBlocks(p, q, r, grid);
                }
                // An equal score counts where the triple comes first.
                if (fit(triple, isBefore ? std::nextafter(best.score, 9999.0f) : best.score, open))
                    cuts.setScore(best.score);
                common = cuts.findCommon(p, q);
            }
        }
    }
    return best;
}
