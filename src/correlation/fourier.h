// Discrete Fourier transforms of complex sequences, for convolutions.
#pragma once

#include <cstddef>
#include <vector>

// Of a size that is a power of four, at least 256. A spectrum comes in an order of its own, the same for all sequences.
class Fourier {
public:
    explicit Fourier(size_t size);

    // Numbers of a spectrum; what is between and behind them counts for nothing.
    size_t spectrumSize() const { return m_rowStep * rowCount; }

    // The spectrum of what stands at re and im, which are overwritten.
    void forward(double *re, double *im, double *spectrumRe, double *spectrumIm) const;
    // The sequence times its size; the spectrum is overwritten.
    void inverse(double *spectrumRe, double *spectrumIm, double *re, double *im) const;

    // By how much a computed transform is off at most, in the 2-norm and relative to that of the exact one.
    double relativeError() const;

    static constexpr double unitRoundoff = 0x1p-53;

private:
    static constexpr size_t rowCount = 16;

    size_t m_size, m_columnCount, m_rowStep;
    std::vector<double> m_cos, m_sin;  // [h + j]: of -pi j / h, for every power of two h below the size and j < h
};
