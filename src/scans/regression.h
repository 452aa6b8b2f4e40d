// One regression, exactly: the line of least squares through the points of individuals.
#pragma once

#include <cstddef>
#include <limits>
#include <span>
#include <vector>

inline constexpr double noValue = std::numeric_limits<double>::quiet_NaN();

// What a scan tells of a phenotype and a marker; noValue where there is none.
struct Regression {
    double slope = noValue;
    double error = noValue;  // the slope's standard error
    double r2 = noValue;
    double t = noValue;  // |slope| / error, infinite for a perfect fit
};

// The points, one array each. y is given less any number near its mean, and what that rounds away as `yRests`, so that
// no digit is lost; xSize and ySize are at least as large as any absolute x and y.
struct LinePoints {
    std::vector<double> x, y, yRests;
    double xCentre = 0;  // any number near the mean of x
    double xSize = 0, ySize = 0;
    double rounding = 0x1p-50;  // the part of xSize and ySize by which the values may be off, at most

    void clear()
    {
        x.clear();
        y.clear();
        yRests.clear();
    }
    void add(double xValue, double yValue, double yRest)
    {
        x.push_back(xValue);
        y.push_back(yValue);
        yRests.push_back(yRest);
    }
};

// The sums are formed with twice the digits of a double, so every result has all of its own. Fewer than three points
// or equal x: no value. Equal y: a slope of 0 without error, and nothing else. A fit is perfect where rounding of the
// values could explain what the line leaves: error 0, R2 1, t infinite. Values are equal on the same grounds. The
// points are padded.
Regression fitExactly(LinePoints &points);

// The sums that a fit needs, in lanes into which the points go in turn and whose sums are added at the end: in this
// order with any instructions.
enum LineSum { sumX, sumY, sumXX, sumXY, sumYY, sumCount };
struct LaneSums {
    static constexpr size_t lanes = 8;
    alignas(64) double high[sumCount][lanes];
    alignas(64) double low[sumCount][lanes];
};

struct SumKernels {
    // From the narrowest instructions to the widest, which give the same bits; the first ones run everywhere.
    static std::span<const SumKernels> all();

    const char *name;
    bool (*isSupported)();
    void (*sumUp)(const LinePoints &points, LaneSums &sums);  // of a multiple of 8 points
};
