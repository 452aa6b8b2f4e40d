#include "scans/traits.h"
#include "scans/pvalues.h"
#include "scans/regressionkernels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

static constexpr double noMoment = std::numeric_limits<double>::quiet_NaN();

void dropOddValues(std::vector<double> &values)
{
    for (double &value : values)
        value = std::isfinite(value) ? value : missingValue;
}

TraitMoments traitMomentsOf(const std::vector<double> &values)
{
    TraitMoments moments = {0, noMoment, noMoment};
    // In the size of the largest one, so that no sum overflows.
    double sum = 0, size = 0;
    for (const double value : values) {
        if (value == missingValue)
            continue;
        ++moments.n;
        size = std::max(size, std::fabs(value));
    }
    if (moments.n == 0)
        return moments;
    const double n = double(moments.n), unit = size > 1e100 ? size : 1;
    for (const double value : values)
        sum += value == missingValue ? 0 : value / unit;
    moments.mean = sum / n * unit;
    double rest = 0, squares = 0;
    for (const double value : values) {
        const double difference = value == missingValue ? 0 : value / unit - moments.mean / unit;
        rest += difference;
        squares += difference * difference;
    }
    moments.mean += rest / n * unit;
    if (moments.n > 1)
        moments.sd = std::sqrt(std::max(squares - rest * rest / n, 0.0) / (n - 1)) * unit;
    return moments;
}

namespace {
// Each stretch by itself, so that the roundings of many do not add up.
struct StretchSum {
    double total = 0, part = 0;
    size_t count = 0;

    void add(double value)
    {
        part += value;
        if (++count % sumStretch == 0)
            total += std::exchange(part, 0);
    }
    double value() const { return total + part; }
};
}  // namespace

CentredValues centre(const std::vector<double> &values, const TraitMoments &moments)
{
    CentredValues result;
    result.centred.resize(values.size());
    result.present.resize((values.size() + 63) / 64);
    std::vector<float> rests(values.size());
    std::vector<uint32_t> having;
    bool hasRests = false;
    StretchSum sum, squares;
    for (size_t i = 0; i < values.size(); ++i) {
        const double value = values[i];
        if (value == missingValue) {
            result.listed.push_back(uint32_t(i));
            continue;
        }
        having.push_back(uint32_t(i));
        // Knuth's exact sum.
        const double centred = value - moments.mean, part = centred - value;
        const double rest = (value - (centred - part)) + (-moments.mean - part);
        result.centred[i] = centred;
        sum.add(centred);
        squares.add(centred * centred);
        result.size = std::max(result.size, std::fabs(value));
        result.present[i / 64] |= uint64_t(1) << i % 64;
        rests[i] = float(std::clamp(rest, -3e38, 3e38));
        hasRests |= rests[i] != 0;
    }
    result.n = having.size();
    result.sum = sum.value();
    result.squares = squares.value();
    if (hasRests)
        result.rests = std::move(rests);
    result.areListedMissing = result.listed.size() <= having.size();
    if (!result.areListedMissing)
        result.listed = std::move(having);
    return result;
}

void rankByNormalScores(std::vector<double> &values)
{
    std::vector<size_t> order;
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i] != missingValue)
            order.push_back(i);
    }
    std::ranges::sort(order, {}, [&](size_t i) { return values[i]; });
    const double n = double(order.size());
    for (size_t first = 0, end; first < order.size(); first = end) {
        end = first + 1;
        while (end < order.size() && values[order[end]] == values[order[first]])
            ++end;
        const double rank = double(first + 1 + end) / 2;
        const double score = normalQuantile((rank - 0.375) / (n + 0.25));
        for (size_t i = first; i < end; ++i)
            values[order[i]] = score;
    }
}

std::vector<uint8_t> statusOf(const std::vector<double> &values)
{
    double least = std::numeric_limits<double>::infinity(), most = -least;
    for (const double value : values) {
        if (value != missingValue) {
            least = std::min(least, value);
            most = std::max(most, value);
        }
    }
    std::vector<uint8_t> status;
    for (const double value : values) {
        if (!(least < most) || (value != missingValue && value != least && value != most))
            return {};
        status.push_back(value == missingValue ? unknown : value == most ? affected : control);
    }
    return status;
}
