#include "correlation/shiftsums.h"
#include "correlation/fourier.h"
#include "processors/lanes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <span>

using std::size_t;

// Four shifts side by side, and several of these, so that the adders work while each waits for its own last sum.
typedef Lanes<double, 32>::Real Reals;
static constexpr size_t laneCount = sizeof(Reals) / sizeof(double);
static constexpr size_t lanesPerBlock = 8;
static constexpr size_t blockShifts = lanesPerBlock * laneCount;

// The y values, such that at shift k the partner of x[i] is [count - i + k]: backwards, twice, and on to the end of the
// last block.
static std::vector<double> unrollShifts(const std::vector<double> &y)
{
    const size_t count = y.size();
    std::vector<double> unrolled(2 * count + blockShifts);
    for (size_t i = 0; i < unrolled.size(); ++i)
        unrolled[i] = y[(count - i % count) % count];
    return unrolled;
}

// The sums of blockShifts shifts, `partners` pointing at that of x[0] at the first of them. Each adds its own products
// in the order of the rows, whatever the width of the instructions.
MORVEL_WIDE static void sumBlock(const std::vector<double> &x, const double *partners, double *sums)
{
    Reals partial[lanesPerBlock] = {};
    for (const double factor : x) {
        for (size_t n = 0; n < lanesPerBlock; ++n)
            partial[n] += factor * load<Reals>(partners + n * laneCount);
        --partners;
    }
    for (size_t n = 0; n < lanesPerBlock; ++n)
        store<Reals>(sums + n * laneCount, partial[n]);
}

// Shifts that are no neighbours, so many at a time. Half the speed of sumBlock() for each, and twice that of adding the
// numbers one by one.
static constexpr size_t groupShifts = 4 * laneCount;

namespace {
// The products of four rows with their partners at four shifts, such that [0] has those of the first row.
struct FourRows {
    Reals products[laneCount];
};
}  // namespace

// `reversed` are the rows from the last to the first.
MORVEL_INLINE void multiplyRows(const double *reversed, const double *const *partners, ptrdiff_t offset, FourRows &rows)
{
    const Reals factors = load<Reals>(reversed);
    Reals shifts[laneCount];
    for (size_t n = 0; n < laneCount; ++n)
        shifts[n] = factors * load<Reals>(partners[n] - offset);
    const Reals even01 = __builtin_shufflevector(shifts[0], shifts[1], 0, 4, 2, 6);
    const Reals odd01 = __builtin_shufflevector(shifts[0], shifts[1], 1, 5, 3, 7);
    const Reals even23 = __builtin_shufflevector(shifts[2], shifts[3], 0, 4, 2, 6);
    const Reals odd23 = __builtin_shufflevector(shifts[2], shifts[3], 1, 5, 3, 7);
    rows.products[0] = __builtin_shufflevector(odd01, odd23, 2, 3, 6, 7);
    rows.products[1] = __builtin_shufflevector(even01, even23, 2, 3, 6, 7);
    rows.products[2] = __builtin_shufflevector(odd01, odd23, 0, 1, 4, 5);
    rows.products[3] = __builtin_shufflevector(even01, even23, 0, 1, 4, 5);
}

MORVEL_WIDE static void sumGroup(const std::vector<double> &reversed, const double *const *partners, double *sums)
{
    Reals partial[groupShifts / laneCount] = {};
    const size_t count = reversed.size(), whole = count - count % laneCount;
    for (size_t i = 0; i < whole; i += laneCount) {
        for (size_t n = 0; n < groupShifts / laneCount; ++n) {
            FourRows rows;
            multiplyRows(&reversed[count - laneCount - i], partners + n * laneCount, ptrdiff_t(i + laneCount - 1),
                         rows);
            for (const Reals &products : rows.products)
                partial[n] += products;
        }
    }
    std::memcpy(sums, partial, sizeof partial);
    for (size_t i = whole; i < count; ++i) {
        for (size_t n = 0; n < groupShifts; ++n)
            sums[n] += reversed[count - 1 - i] * *(partners[n] - i);
    }
}

void formDirectly(const std::vector<double> &x, const std::vector<double> &y, const std::vector<size_t> &shifts,
                  std::vector<double> &sums)
{
    if (shifts.empty())
        return;
    const std::vector<double> unrolled = unrollShifts(y);
    const double *const first = unrolled.data() + y.size();
    const std::vector<double> reversed(x.rbegin(), x.rend());
    std::vector<size_t> lone;
    for (auto shift = shifts.begin(); shift != shifts.end();) {
        const auto behind = std::lower_bound(shift, shifts.end(), *shift + blockShifts);
        if (behind - shift >= ptrdiff_t(groupShifts)) {
            double block[blockShifts];
            sumBlock(x, first + *shift, block);
            for (auto each = shift; each != behind; ++each)
                sums[*each] = block[*each - *shift];
        } else {
            lone.insert(lone.end(), shift, behind);
        }
        shift = behind;
    }
    for (size_t i = 0; i < lone.size(); i += groupShifts) {
        const double *partners[groupShifts];
        double group[groupShifts];
        for (size_t n = 0; n < groupShifts; ++n)
            partners[n] = first + lone[std::min(i + n, lone.size() - 1)];
        sumGroup(reversed, partners, group);
        for (size_t n = 0; n < groupShifts && i + n < lone.size(); ++n)
            sums[lone[i + n]] = group[n];
    }
}

MORVEL_WIDE static double norm(std::span<const double> values)
{
    double partial[16] = {};
    const size_t whole = values.size() - values.size() % 16;
    for (size_t i = 0; i < whole; i += 16) {
        for (size_t n = 0; n < 16; ++n)
            partial[n] += values[i + n] * values[i + n];
    }
    for (size_t i = whole; i < values.size(); ++i)
        partial[0] += values[i] * values[i];
    return std::sqrt(std::accumulate(partial, partial + 16, 0.0));
}

static constexpr size_t leastCount = 2048;  // fewer are summed directly in less than a millisecond

static bool isBoundable(const std::vector<double> &column)
{
    const double size = norm(column);
    return size == 0 || (size >= 1e-100 && size <= 1e100);
}

bool areBoundable(const std::vector<double> &x, const std::vector<double> &y)
{
    return x.size() >= leastCount && isBoundable(x) && isBoundable(y);
}

// Twice the length is a power of four, as Fourier takes it. The longest fits the rows twice at least, and so needs no
// transform much larger than they are.
std::vector<size_t> segmentLengths(size_t count)
{
    std::vector<size_t> lengths = {128};
    while (8 * lengths.front() <= count)
        lengths.insert(lengths.begin(), 4 * lengths.front());
    return lengths;
}

// The greatest power of two of which all values are multiples, or 1 where all are 0.
static double gridOf(const std::vector<double> &column)
{
    int least = std::numeric_limits<int>::max();
    for (const double value : column) {
        const uint64_t bits = std::bit_cast<uint64_t>(value);
        const int exponent = int(bits >> 52 & 0x7ff);
        const uint64_t mantissa = (bits & ((uint64_t(1) << 52) - 1)) | uint64_t(exponent > 0) << 52;
        if (mantissa)
            least = std::min(least, std::max(exponent, 1) - 1075 + std::countr_zero(mantissa));
    }
    return least == std::numeric_limits<int>::max() ? 1 : std::ldexp(1, least);
}

namespace {

// One part of a complex sequence: the window of y values which the rows of a segment meet at the shifts of a tile, as
// many as the segment is long. Row s has at shift t the partner [length + t - s].
struct Window {
    explicit Window(size_t length) : values(2 * length), norms(length) {}

    // Seen from a segment, the tile lies so many tiles on.
    void load(const std::vector<double> &y, ptrdiff_t tilesOn);

    std::vector<double> values;
    std::vector<double> norms;  // [t]: of the partners at shift t
};

class Convolution {
public:
    Convolution(const std::vector<double> &x, const std::vector<double> &y, size_t segmentLength);
    BoundedSums run();

private:
    void transformSegments();
    void addSegment(size_t segment, size_t tile);
    void addProducts(size_t segment, size_t tile, const Window &window, const double *products, double error);

    struct Spectrum {
        std::vector<double> re, im;
    };

    const std::vector<double> &m_x, &m_y;
    const size_t m_length;        // rows of a segment, shifts of a tile
    const size_t m_segmentCount;  // and tiles
    const size_t m_pairCount;     // of tiles, which go through the transform as real and imaginary part
    const Fourier m_fourier;
    const double m_grid;
    const bool m_isExact;  // the direct sums lose nothing
    std::vector<Spectrum> m_segments;
    std::vector<double> m_norms;  // of the segments
    Window m_first, m_second;     // of the pair
    double m_windowsNorm = 0;
    Spectrum m_windows, m_product;
    std::vector<double> m_re, m_im;
    BoundedSums m_result;
};

}  // namespace

void Window::load(const std::vector<double> &y, ptrdiff_t tilesOn)
{
    const auto count = ptrdiff_t(y.size()), length = ptrdiff_t(norms.size());
    ptrdiff_t partner = ((1 - tilesOn) * length) % count;  // of shift 0 and the row `length`
    partner += partner < 0 ? count : 0;
    for (double &value : values) {
        value = y[size_t(partner)];
        partner = partner == 0 ? count - 1 : partner - 1;
    }
    // Sums of what is not negative, from the middle to both sides: nothing is cancelled.
    double squares = 0;
    for (size_t t = norms.size(); t-- > 0;) {
        norms[t] = squares;
        squares += values[t] * values[t];
    }
    squares = 0;
    for (size_t t = 0; t < norms.size(); ++t) {
        const double value = values[norms.size() + t];
        squares += value * value;
        norms[t] = std::sqrt(norms[t] + squares);
    }
}

Convolution::Convolution(const std::vector<double> &x, const std::vector<double> &y, size_t segmentLength)
    : m_x(x)
    , m_y(y)
    , m_length(segmentLength)
    , m_segmentCount((x.size() + segmentLength - 1) / segmentLength)
    , m_pairCount((m_segmentCount + 1) / 2)
    , m_fourier(2 * segmentLength)
    , m_grid(gridOf(x) * gridOf(y))
    , m_isExact(norm(x) * norm(y) * 1.01 < 0x1p53 * m_grid)
    , m_first(segmentLength)
    , m_second(segmentLength)
    , m_re(2 * segmentLength)
    , m_im(2 * segmentLength)
{
    const size_t size = m_fourier.spectrumSize();
    const Spectrum empty = {std::vector<double>(size), std::vector<double>(size)};
    m_segments.assign(m_segmentCount, empty);
    m_windows = m_product = empty;
    m_result.sums.resize(x.size());
    m_result.bounds.assign(x.size(), Fourier::unitRoundoff * norm(x) * norm(y));  // also for what underflows
}

void Convolution::transformSegments()
{
    for (size_t segment = 0; segment < m_segmentCount; ++segment) {
        const size_t begin = segment * m_length, end = std::min(begin + m_length, m_x.size());
        std::fill(m_re.begin(), m_re.end(), 0);
        std::fill(m_im.begin(), m_im.end(), 0);
        std::copy(m_x.begin() + ptrdiff_t(begin), m_x.begin() + ptrdiff_t(end), m_re.begin());
        m_norms.push_back(norm(m_re));
        m_fourier.forward(m_re.data(), m_im.data(), m_segments[segment].re.data(), m_segments[segment].im.data());
    }
}

// The error of a directly formed sum: each addition is off by at most u times its result, each product by u times
// itself. A partial sum inside a segment is no farther from the one before it than the products up to there, and no
// farther from the one behind it than the others, so on average it is at most half of both and of all products.
//   The products of the segment are, by Cauchy and Schwarz, no more than the norms of its rows and of their partners.
// The factor 1.01 at the end has room for what errors of errors and of these sums make.
MORVEL_WIDE static void addBounded(const double *products, size_t count, const double *partnerNorms, double norm,
                                   double weight, double error, double *sums, double *bounds)
{
    for (size_t t = 0; t < count; ++t) {
        const double before = sums[t], after = before + products[t];
        sums[t] = after;
        bounds[t] += weight * (std::abs(before) + std::abs(after) + norm * partnerNorms[t]) + error;
    }
}

void Convolution::addProducts(size_t segment, size_t tile, const Window &window, const double *products, double error)
{
    const size_t first = tile * m_length;
    if (first >= m_x.size())
        return;
    const double steps = m_isExact ? 1 : double(m_length) / 2 + 2;
    addBounded(products + m_length, std::min(m_length, m_x.size() - first), window.norms.data(), m_norms[segment],
               steps * Fourier::unitRoundoff, error, m_result.sums.data() + first, m_result.bounds.data() + first);
}

MORVEL_WIDE static void multiply(const double *__restrict aRe, const double *__restrict aIm,
                                 const double *__restrict bRe, const double *__restrict bIm, size_t size,
                                 double *__restrict re, double *__restrict im)
{
    for (size_t i = 0; i < size; ++i) {
        re[i] = aRe[i] * bRe[i] - aIm[i] * bIm[i];
        im[i] = aRe[i] * bIm[i] + aIm[i] * bRe[i];
    }
}

MORVEL_WIDE static void scale(std::vector<double> &values, double factor)
{
    for (double &value : values)
        value *= factor;
}

// Two transforms with the relative error e, their product and the transform back: a number of the convolution is off by
// at most (2 e + e^2 + 3 u) times the norms of both sequences, by Cauchy and Schwarz, and by e times the norm of the
// convolution.
void Convolution::addSegment(size_t segment, size_t tile)
{
    const Spectrum &rows = m_segments[segment];
    multiply(rows.re.data(), rows.im.data(), m_windows.re.data(), m_windows.im.data(), rows.re.size(),
             m_product.re.data(), m_product.im.data());
    m_fourier.inverse(m_product.re.data(), m_product.im.data(), m_re.data(), m_im.data());
    const double factor = 1 / double(m_re.size());  // a power of two
    scale(m_re, factor);
    scale(m_im, factor);
    const double e = m_fourier.relativeError();
    const double error = (2 * e + e * e + 3 * Fourier::unitRoundoff) * m_norms[segment] * m_windowsNorm
                         + e / (1 - e) * std::hypot(norm(m_re), norm(m_im));
    addProducts(segment, tile, m_first, m_re.data(), error);
    addProducts(segment, tile + m_pairCount, m_second, m_im.data(), error);
}

BoundedSums Convolution::run()
{
    transformSegments();
    // From the last tile on downwards, so that every tile meets the segments in the order of the rows.
    const auto segments = ptrdiff_t(m_segmentCount), pairs = ptrdiff_t(m_pairCount);
    for (ptrdiff_t tilesOn = pairs - 1; tilesOn > -segments; --tilesOn) {
        m_first.load(m_y, tilesOn);
        m_second.load(m_y, tilesOn + pairs);
        m_windowsNorm = std::hypot(norm(m_first.values), norm(m_second.values));
        m_re = m_first.values;
        m_im = m_second.values;
        m_fourier.forward(m_re.data(), m_im.data(), m_windows.re.data(), m_windows.im.data());
        for (ptrdiff_t tile = std::max<ptrdiff_t>(tilesOn, 0); tile < pairs && tile - tilesOn < segments; ++tile)
            addSegment(size_t(tile - tilesOn), size_t(tile));
    }
    for (size_t k = 0; k < m_x.size(); ++k) {
        double &sum = m_result.sums[k], &bound = m_result.bounds[k];
        bound *= 1.01;
        if (m_isExact && bound < m_grid / 2) {
            sum = std::nearbyint(sum / m_grid) * m_grid;
            bound = 0;
        }
    }
    return std::move(m_result);
}

BoundedSums convolveColumns(const std::vector<double> &x, const std::vector<double> &y, size_t segmentLength)
{
    return Convolution(x, y, segmentLength).run();
}
