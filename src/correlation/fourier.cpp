#include "correlation/fourier.h"
#include "processors/lanes.h"

#include <bit>
#include <cmath>
#include <numbers>

// Numbers side by side; as many as a wide register holds, whatever the processor.
typedef Lanes<double, 32>::Real Reals;
static constexpr size_t laneCount = sizeof(Reals) / sizeof(double);

namespace {

struct Complex {
    Reals re, im;
};

// Two levels of a transform at once, on `count` groups of four elements that are `distance` apart: halves of 2 q
// elements and of q elements, of which the first has the place j. Neighbouring groups are neighbours in the sequence
// (step 1), or have the same place in it (step 0).
struct Levels {
    double *re, *im;
    size_t distance, count;
    const double *cosines, *sines;  // those of Fourier
    size_t q, j;
};

}  // namespace

MORVEL_INLINE Complex operator+(const Complex &a, const Complex &b)
{
    return {a.re + b.re, a.im + b.im};
}

MORVEL_INLINE Complex operator-(const Complex &a, const Complex &b)
{
    return {a.re - b.re, a.im - b.im};
}

MORVEL_INLINE Complex operator*(const Complex &a, const Complex &b)
{
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

MORVEL_INLINE Complex conjugate(const Complex &a)
{
    return {a.re, -a.im};
}

MORVEL_INLINE Complex load(const Levels &levels, size_t place)
{
    return {load<Reals>(levels.re + place), load<Reals>(levels.im + place)};
}

MORVEL_INLINE void store(const Complex &value, const Levels &levels, size_t place)
{
    store<Reals>(levels.re + place, value.re);
    store<Reals>(levels.im + place, value.im);
}

template <size_t step>
MORVEL_INLINE Complex root(const Levels &levels, size_t place)
{
    if constexpr (step == 0)
        return {Reals{} + levels.cosines[place], Reals{} + levels.sines[place]};
    return {load<Reals>(levels.cosines + place), load<Reals>(levels.sines + place)};
}

// Decimation in frequency: a pair becomes its sum, and its difference times a root of unity.
template <size_t step>
MORVEL_INLINE void spread(const Levels &levels)
{
    const size_t distance = levels.distance, q = levels.q;
    for (size_t i = 0; i < levels.count; i += laneCount) {
        const size_t j = levels.j + step * i;
        const Complex a = load(levels, i), b = load(levels, i + distance);
        const Complex c = load(levels, i + 2 * distance), d = load(levels, i + 3 * distance);
        const Complex sum0 = a + c, sum1 = b + d;
        const Complex difference0 = (a - c) * root<step>(levels, 2 * q + j);
        const Complex difference1 = (b - d) * root<step>(levels, 3 * q + j);
        const Complex inner = root<step>(levels, q + j);
        store(sum0 + sum1, levels, i);
        store((sum0 - sum1) * inner, levels, i + distance);
        store(difference0 + difference1, levels, i + 2 * distance);
        store((difference0 - difference1) * inner, levels, i + 3 * distance);
    }
}

// The way back, level by level.
template <size_t step>
MORVEL_INLINE void gather(const Levels &levels)
{
    const size_t distance = levels.distance, q = levels.q;
    for (size_t i = 0; i < levels.count; i += laneCount) {
        const size_t j = levels.j + step * i;
        const Complex inner = conjugate(root<step>(levels, q + j));
        const Complex a = load(levels, i), b = load(levels, i + distance) * inner;
        const Complex c = load(levels, i + 2 * distance), d = load(levels, i + 3 * distance) * inner;
        const Complex sum0 = a + b, sum1 = a - b;
        const Complex difference0 = (c + d) * conjugate(root<step>(levels, 2 * q + j));
        const Complex difference1 = (c - d) * conjugate(root<step>(levels, 3 * q + j));
        store(sum0 + difference0, levels, i);
        store(sum1 + difference1, levels, i + distance);
        store(sum0 - difference0, levels, i + 2 * distance);
        store(sum1 - difference1, levels, i + 3 * distance);
    }
}

MORVEL_WIDE static void spreadNeighbours(const Levels &levels)
{
    spread<1>(levels);
}

MORVEL_WIDE static void spreadRows(const Levels &levels)
{
    spread<0>(levels);
}

MORVEL_WIDE static void gatherNeighbours(const Levels &levels)
{
    gather<1>(levels);
}

MORVEL_WIDE static void gatherRows(const Levels &levels)
{
    gather<0>(levels);
}

Fourier::Fourier(size_t size)
    : m_size(size)
    , m_columnCount(size / rowCount)
    , m_rowStep(m_columnCount + 16)  // rows that are a power of two apart would share few lines of the cache
    , m_cos(size)
    , m_sin(size)
{
    for (size_t h = 1; h < size; h *= 2) {
        for (size_t j = 0; j < h; ++j) {
            const double angle = -std::numbers::pi * double(j) / double(h);
            m_cos[h + j] = std::cos(angle);
            m_sin[h + j] = std::sin(angle);
        }
    }
}

// The last two passes have partners that are fewer places apart than a register has lanes. There the sequence is laid
// out in rows, of every 16th element, and neighbours in a row are worked on side by side.
void Fourier::forward(double *re, double *im, double *spectrumRe, double *spectrumIm) const
{
    for (size_t q = m_size / 4; q >= rowCount; q /= 4) {
        for (size_t first = 0; first < m_size; first += 4 * q)
            spreadNeighbours({re + first, im + first, q, q, m_cos.data(), m_sin.data(), q, 0});
    }
    for (size_t column = 0; column < m_columnCount; column += 8) {
        for (size_t row = 0; row < rowCount; ++row) {
            for (size_t c = column; c < column + 8; ++c) {
                spectrumRe[row * m_rowStep + c] = re[c * rowCount + row];
                spectrumIm[row * m_rowStep + c] = im[c * rowCount + row];
            }
        }
    }
    for (size_t q = rowCount / 4; q >= 1; q /= 4) {
        for (size_t row = 0; row < rowCount; row += row % q == q - 1 ? 3 * q + 1 : 1) {
            spreadRows({spectrumRe + row * m_rowStep, spectrumIm + row * m_rowStep, q * m_rowStep, m_columnCount,
                        m_cos.data(), m_sin.data(), q, row % q});
        }
    }
}

void Fourier::inverse(double *spectrumRe, double *spectrumIm, double *re, double *im) const
{
    for (size_t q = 1; q < rowCount; q *= 4) {
        for (size_t row = 0; row < rowCount; row += row % q == q - 1 ? 3 * q + 1 : 1) {
            gatherRows({spectrumRe + row * m_rowStep, spectrumIm + row * m_rowStep, q * m_rowStep, m_columnCount,
                        m_cos.data(), m_sin.data(), q, row % q});
        }
    }
    for (size_t column = 0; column < m_columnCount; column += 8) {
        for (size_t row = 0; row < rowCount; ++row) {
            for (size_t c = column; c < column + 8; ++c) {
                re[c * rowCount + row] = spectrumRe[row * m_rowStep + c];
                im[c * rowCount + row] = spectrumIm[row * m_rowStep + c];
            }
        }
    }
    for (size_t q = rowCount; q < m_size; q *= 4) {
        for (size_t first = 0; first < m_size; first += 4 * q)
            gatherNeighbours({re + first, im + first, q, q, m_cos.data(), m_sin.data(), q, 0});
    }
}

// N. J. Higham, Accuracy and Stability of Numerical Algorithms, 2nd edition, theorem 24.2: log2(size) levels, each off
// by at most eta = mu + gamma4 (sqrt(2) + mu), where mu bounds the errors of the roots of unity and gamma4 is 4 u / (1
// - 4 u). A level here takes the same sums and products. The angles are off by 1.5 u of at most pi, their cosines and
// sines by a further unit in the last place: 8 u in all.
double Fourier::relativeError() const
{
    const double eta = (8 + 4.01 * (std::numbers::sqrt2 + 0.01)) * unitRoundoff;
    const auto levels = double(std::bit_width(m_size) - 1);
    return levels * eta / (1 - levels * eta);
}
