#include "scans/regressionscan.h"
#include "processors/wide.h"
#include "text/writenumber.h"

#include <algorithm>
#include <cmath>
#include <optional>

size_t Analysis::keep(RegressionTrait trait)
{
    size_t bytes = sizeof(RegressionTrait) + StreamMedian::mostBytes();
    bytes += trait.y.rests.size() * sizeof(float) + trait.y.listed.size() * sizeof(uint32_t) + trait.status.size();
    for (const std::vector<uint32_t> &bin : trait.bins)
        bytes += bin.size() * sizeof(uint32_t);
    m_traits.push_back(std::make_unique<RegressionTrait>(std::move(trait)));
    return bytes;
}

void Analysis::tell(size_t trait, const MarkerBlock &block, size_t marker, const TraitFit &pair, FitSink &sink)
{
    const double squaredT = pair.fit.t * pair.fit.t;
    m_traits[trait]->summary.add(pair.fit.slope, squaredT, pair.freedom, block.names[marker], m_significance);
    if (sink.isWanted(squaredT, pair.freedom))
        sink.take(trait, marker, pair);
}

namespace {
// A sum of dosages, and by how much it may be off, whatever its order.
struct DosageSum {
    DosageSum(double total, double count, double size) : sum(total), error(4 * count * count * size * 0x1p-53) {}

    // The nearest whole thousandths, and whether the sum may be these: then it is taken for them.
    double thousandths() const { return std::nearbyint(1000 * sum); }
    bool isWhole() const { return error < 1e-6 && std::fabs(1000 * sum - thousandths()) <= 1000 * error; }

    double sum, error;
};
}  // namespace

// The effect allele's part of the alleles.
static double frequencyOf(const DosageSum &dosages, size_t n)
{
    if (n == 0)
        return noValue;
    return dosages.isWhole() ? dosages.thousandths() / (2000 * double(n)) : dosages.sum / (2 * double(n));
}

namespace {
// The sums of all pairs by products of many phenotypes and markers, and once more with all digits for a pair whose sums
// leave a doubt: of the digits of a hit, of who is best, or of everything.
class LineAnalysis final : public Analysis {
public:
    using Analysis::Analysis;

    size_t add(RegressionTrait trait) override;
    void scan(const MarkerBlock &block, FitSink &sink) override;

private:
    void sumPairs(const CentredValues &y, const MarkerBlock &block, PairSums &sums) const;
    void leaveOutMissing(size_t trait, const MarkerBlock &block, PairSums &sums) const;
    void scanTrait(size_t trait, const MarkerBlock &block, const double *products, FitSink &sink);
    TraitFit fitPair(size_t trait, const MarkerBlock &block, size_t marker);
    double sumFrequency(size_t trait, const MarkerBlock &block, size_t marker) const;
    double sumDosages(size_t trait, const MarkerBlock &block, size_t marker) const;
    double findFrequency(size_t trait, const MarkerBlock &block, size_t marker, const PairSums &sums) const;
    std::optional<TraitFit> fitNearly(size_t trait, const MarkerBlock &block, size_t marker, const PairSums &sums,
                                      double product) const;
    void tellWanted(size_t trait, const MarkerBlock &block, size_t marker, const PairSums &sums, double product,
                    FitSink &sink);

    double valueOf(size_t trait, size_t individual) const
    {
        return m_panels[trait / panelTraits][individual * panelTraits + trait % panelTraits];
    }

    std::vector<std::vector<double>> m_panels;  // [panel][individual][phenotype]
    LinePoints m_points;
};
}  // namespace

size_t LineAnalysis::add(RegressionTrait trait)
{
    const size_t place = m_traits.size() % panelTraits;
    if (place == 0)
        m_panels.emplace_back(m_individuals * panelTraits);
    for (size_t i = 0; i < m_individuals; ++i)
        m_panels.back()[i * panelTraits + place] = trait.y.centred[i];
    std::vector<double>().swap(trait.y.centred);
    return keep(std::move(trait)) + m_individuals * sizeof(double);
}

// Of the individuals with a phenotype, as if all had a dosage.
void LineAnalysis::sumPairs(const CentredValues &y, const MarkerBlock &block, PairSums &sums) const
{
    std::fill_n(sums.n, regressionMarkers, double(y.n));
    std::fill_n(sums.y, regressionMarkers, y.sum);
    std::fill_n(sums.yy, regressionMarkers, y.squares);
    kernelsInUse<RegressionKernels>->sumRows(block.rows(), m_individuals, y.listed, sums.x, sums.xx);
    if (!y.areListedMissing)
        return;
    for (size_t m = 0; m < regressionMarkers; ++m) {
        sums.x[m] = block.sums.x[m] - sums.x[m];
        sums.xx[m] = block.sums.xx[m] - sums.xx[m];
    }
}

void LineAnalysis::leaveOutMissing(size_t trait, const MarkerBlock &block, PairSums &sums) const
{
    const CentredValues &y = m_traits[trait]->y;
    for (size_t m = 0; m < block.markers; ++m) {
        for (const uint32_t i : block.missing[m]) {
            const double value = valueOf(trait, i);
            sums.n[m] -= y.isPresent(i);
            sums.y[m] -= value;
            sums.yy[m] -= value * value;
        }
    }
}

TraitFit LineAnalysis::fitPair(size_t trait, const MarkerBlock &block, size_t marker)
{
    const CentredValues &y = m_traits[trait]->y;
    const double *dosages = block.dosages(marker);
    m_points.clear();
    m_points.xCentre = block.mean[marker];
    m_points.xSize = block.size[marker];
    m_points.ySize = y.size;
    for (size_t i = 0; i < m_individuals; ++i) {
        if (y.isPresent(i) && !std::isnan(dosages[i]))
            m_points.add(block.x(marker, i), valueOf(trait, i), y.restOf(i));
    }
    const size_t n = m_points.x.size();
    return {fitExactly(m_points), double(n) - 2, n, sumFrequency(trait, block, marker), "linear"};
}

double LineAnalysis::sumFrequency(size_t trait, const MarkerBlock &block, size_t marker) const
{
    const double *const dosages = block.dosages(marker);
    double sum = 0;
    size_t n = 0;
    for (size_t i = 0; i < m_individuals; ++i) {
        const bool isUsed = m_traits[trait]->y.isPresent(i) && !std::isnan(dosages[i]);
        n += isUsed;
        sum += isUsed ? dosages[i] : 0;
    }
    return frequencyOf({sum, double(n), block.most[marker]}, n);
}

// The sum of the dosages by that of those who have no value, or of those who have one.
double LineAnalysis::sumDosages(size_t trait, const MarkerBlock &block, size_t marker) const
{
    const CentredValues &y = m_traits[trait]->y;
    double sum = 0;
    for (const uint32_t i : y.listed)
        sum += std::isnan(block.dosages(marker)[i]) ? 0 : block.dosages(marker)[i];
    return y.areListedMissing ? block.sum[marker] - sum : sum;
}

double LineAnalysis::findFrequency(size_t trait, const MarkerBlock &block, size_t marker, const PairSums &sums) const
{
    const double n = sums.n[marker];
    const double sum = block.isCoded() ? sumDosages(trait, block, marker) : sums.x[marker] + n * block.mean[marker];
    const DosageSum near(sum, double(m_individuals), block.most[marker]);
    const double frequency = frequencyOf(near, size_t(n));
    const bool isSure = near.isWhole() || text::hasSureText(frequency, near.error / std::fabs(near.sum));
    return isSure ? frequency : sumFrequency(trait, block, marker);
}

// What the roundings can have done to sums over N individuals (Higham, Accuracy and Stability of Numerical Algorithms,
// 2nd edition, sections 3.1 and 4.2): x and y are off by one of them each, products by another, and a sum by as many as
// an addend goes through additions, of the absolute terms; these add up to no more than the root of N times the sum of
// squares, or the root of the product of two such sums. Sums over some are those over all less those over others, which
// are added one by one; all of x are added in eight lanes, all of y and of the products in stretches.
std::optional<TraitFit> LineAnalysis::fitNearly(size_t trait, const MarkerBlock &block, size_t marker,
                                                const PairSums &sums, double product) const
{
    constexpr double u = 0x1p-53;
    const CentredValues &values = m_traits[trait]->y;
    const double n = sums.n[marker], x = sums.x[marker], y = sums.y[marker], all = double(m_individuals);
    const double wholeXX = block.sums.xx[marker], wholeYY = values.squares;
    const double Sxx = sums.xx[marker] - x * x / n, Syy = sums.yy[marker] - y * y / n, Sxy = product - x * y / n;
    const double unexplained = Sxx * Syy - Sxy * Sxy, r2 = Sxy * Sxy / (Sxx * Syy), slope = Sxy / Sxx;

    const double stretched = sumStretch + all / sumStretch;
    const double ofX = (all / 8 + double(values.listed.size()) + 20) * u;
    const double ofY = (stretched + double(block.missing[marker].size()) + 20) * u, ofXTimesY = (stretched + 20) * u;
    const double xError = 2 * ofX * std::sqrt(all * wholeXX), yError = 2 * ofY * std::sqrt(all * wholeYY);
    const double xxError = 2 * ofX * wholeXX + (2 * std::fabs(x) + xError) * xError / n;
    const double yyError = 2 * ofY * wholeYY + (2 * std::fabs(y) + yError) * yError / n;
    const double xyError = ofXTimesY * std::sqrt(wholeXX * wholeYY)
                           + (std::fabs(x) * yError + std::fabs(y) * xError + xError * yError) / n;
    const double ofXX = xxError / Sxx, ofYY = yyError / Syy, ofXY = xyError / std::fabs(Sxy);
    const double ofUnexplained = (ofXX + ofYY + 2 * r2 * ofXY) / (1 - r2);
    const double error = 1.1 * (2 * ofXX + ofYY + 2 * ofXY + ofUnexplained) + 1e-14;
    // Where equal values or a perfect fit are near, the exact one decides.
    constexpr double digit = 0x1p-49;
    const double xDigit = digit * block.size[marker], yDigit = digit * values.size;
    const double lineDigit = yDigit + std::fabs(slope) * xDigit;
    if (!(error < 1e-7) || !(Sxx > n * xDigit * xDigit) || !(Syy > n * yDigit * yDigit)
        || !(unexplained > n * lineDigit * lineDigit * Sxx))
        return std::nullopt;
    const double deviation = std::sqrt(unexplained / (n - 2)) / Sxx;
    const double squaredT = (n - 2) * (Sxy * Sxy) / unexplained;
    const double frequency = findFrequency(trait, block, marker, sums);
    return TraitFit{{slope, deviation, r2, std::sqrt(squaredT)}, n - 2, size_t(n), frequency, "linear", error};
}

// A pair that may be a hit. To the median every one adds the same number, whether or not it is formed exactly because
// of those before it.
void LineAnalysis::tellWanted(size_t trait, const MarkerBlock &block, size_t marker, const PairSums &sums,
                              double product, FitSink &sink)
{
    const std::optional<TraitFit> near = fitNearly(trait, block, marker, sums, product);
    if (!near)
        return tell(trait, block, marker, fitPair(trait, block, marker), sink);
    TraitSummary &summary = m_traits[trait]->summary;
    const double most = 1 + 3 * near->error, nearSquaredT = near->fit.t * near->fit.t;
    summary.addNearly(nearSquaredT);
    if (!summary.mayLead(std::fabs(near->fit.slope) * most, nearSquaredT * most, near->freedom, m_significance)
        && sink.take(trait, marker, *near))
        return;
    const TraitFit pair = fitPair(trait, block, marker);
    const double squaredT = pair.fit.t * pair.fit.t;
    summary.compete(pair.fit.slope, squaredT, pair.freedom, block.names[marker], m_significance);
    if (sink.isWanted(squaredT, pair.freedom))
        sink.take(trait, marker, pair);
}

void LineAnalysis::scanTrait(size_t trait, const MarkerBlock &block, const double *products, FitSink &sink)
{
    RegressionTrait &each = *m_traits[trait];
    PairSums sums;
    sumPairs(each.y, block, sums);
    if (block.hasGaps)
        leaveOutMissing(trait, block, sums);
    alignas(64) double slopes[regressionMarkers], squaredTs[regressionMarkers];
    kernelsInUse<RegressionKernels>->fit(sums, products, block.sums.xx, each.y.squares, slopes, squaredTs);
    for (size_t m = 0; m < block.markers; ++m) {
        const double freedom = sums.n[m] - 2;
        if (std::isnan(squaredTs[m])) {
            if (!block.isConstant[m] || sink.isWanted(noValue, freedom))
                tell(trait, block, m, fitPair(trait, block, m), sink);
        } else if (sink.isWanted(squaredTs[m], freedom)) {
            tellWanted(trait, block, m, sums, products[m], sink);
        } else {
            each.summary.add(slopes[m], squaredTs[m], freedom, block.names[m], m_significance);
        }
    }
}

void LineAnalysis::scan(const MarkerBlock &block, FitSink &sink)
{
    alignas(64) double products[panelTraits * regressionMarkers];
    for (size_t trait = 0; trait < m_traits.size(); ++trait) {
        const size_t place = trait % panelTraits;
        if (place == 0)
            kernelsInUse<RegressionKernels>->multiply(block.rows(), m_panels[trait / panelTraits].data(), m_individuals,
                                                      products);
        scanTrait(trait, block, products + place * regressionMarkers, sink);
    }
}

namespace {
class LogisticAnalysis final : public Analysis {
public:
    using Analysis::Analysis;

    size_t add(RegressionTrait trait) override { return keep(std::move(trait)); }
    void scan(const MarkerBlock &block, FitSink &sink) override;

private:
    void scanPair(size_t trait, const MarkerBlock &block, size_t marker, FitSink &sink);

    DosagePlaces m_places;
    DosageGroups m_groups;
};
}  // namespace

void LogisticAnalysis::scanPair(size_t trait, const MarkerBlock &block, size_t marker, FitSink &sink)
{
    RegressionTrait &each = *m_traits[trait];
    m_places.group(each.status, m_groups);
    LogisticFit fit = fitLogistic(m_groups);
    constexpr double freedom = std::numeric_limits<double>::infinity();
    const double squaredT = fit.fit.t * fit.fit.t;
    each.summary.add(fit.fit.slope, squaredT, freedom, block.names[marker], m_significance);
    if (!sink.isWanted(squaredT, freedom))
        return;
    if (fit.fit.t >= 0)
        fit.fit.r2 = logisticR2(m_groups, fit);
    const GroupTotals &all = fit.totals;
    const double size = std::max(-std::min(all.leastCase, all.leastControl), std::max(all.mostCase, all.mostControl));
    const double frequency = frequencyOf({all.sumX, all.n, size}, size_t(all.n));
    const TraitFit pair = {fit.fit, freedom, size_t(all.n), frequency, fit.isFirth ? "firth" : "logistic"};
    sink.take(trait, marker, pair);
}

void LogisticAnalysis::scan(const MarkerBlock &block, FitSink &sink)
{
    for (size_t m = 0; m < block.markers; ++m) {
        m_places.find(block.dosages(m), m_individuals);
        for (size_t trait = 0; trait < m_traits.size(); ++trait)
            scanPair(trait, block, m, sink);
    }
}

namespace {
class BinAnalysis final : public Analysis {
public:
    using Analysis::Analysis;

    size_t add(RegressionTrait trait) override { return keep(std::move(trait)) + m_individuals * sizeof(double); }
    void scan(const MarkerBlock &block, FitSink &sink) override;

private:
    void sumBins(const RegressionTrait &trait, const MarkerBlock &block);
    TraitFit fitPair(const RegressionTrait &trait, const MarkerBlock &block, size_t marker);

    struct alignas(64) Sums {
        double x[regressionMarkers], xx[regressionMarkers];
    };
    std::vector<Sums> m_sums;  // [bin]
    LinePoints m_points;
};
}  // namespace

void BinAnalysis::sumBins(const RegressionTrait &trait, const MarkerBlock &block)
{
    m_sums.resize(trait.bins.size());
    for (size_t k = 0; k < trait.bins.size(); ++k)
        kernelsInUse<RegressionKernels>->sumRows(block.rows(), m_individuals, trait.bins[k], m_sums[k].x, m_sums[k].xx);
}

// Means of dosages and of phenotypes over the individuals of a bin who have both.
TraitFit BinAnalysis::fitPair(const RegressionTrait &trait, const MarkerBlock &block, size_t marker)
{
    const double *dosages = block.dosages(marker);
    m_points.clear();
    m_points.xCentre = 0;         // the dosages are those less their mean
    m_points.rounding = 0x1p-46;  // of sums
    m_points.xSize = block.size[marker];
    m_points.ySize = trait.y.size;
    size_t all = 0;
    double sumX = 0;
    for (size_t k = 0; k < trait.bins.size(); ++k) {
        const std::vector<uint32_t> &bin = trait.bins[k];
        size_t n = bin.size();
        double sumY = 0;
        if (!block.missing[marker].empty() || trait.binY.empty()) {
            n = 0;
            for (const uint32_t i : bin) {
                const bool isUsed = !std::isnan(dosages[i]);
                n += isUsed;
                sumY += isUsed ? trait.y.centred[i] : 0;
            }
        }
        if (n == 0)
            continue;
        all += n;
        sumX += m_sums[k].x[marker];
        m_points.add(m_sums[k].x[marker] / double(n), trait.binY.empty() ? sumY / double(n) : trait.binY[k], 0);
    }
    const double points = double(m_points.x.size());
    const DosageSum whole(sumX + double(all) * block.mean[marker], double(m_individuals), block.size[marker]);
    const double frequency = frequencyOf(whole, all);
    return {fitExactly(m_points), points - 2, all, frequency, "bins"};
}

void BinAnalysis::scan(const MarkerBlock &block, FitSink &sink)
{
    for (size_t trait = 0; trait < m_traits.size(); ++trait) {
        sumBins(*m_traits[trait], block);
        for (size_t m = 0; m < block.markers; ++m)
            tell(trait, block, m, fitPair(*m_traits[trait], block, m), sink);
    }
}

std::unique_ptr<Analysis> lineAnalysis(size_t individuals, const Significance &significance)
{
    return std::make_unique<LineAnalysis>(individuals, significance);
}

std::unique_ptr<Analysis> logisticAnalysis(size_t individuals, const Significance &significance)
{
    return std::make_unique<LogisticAnalysis>(individuals, significance);
}

std::unique_ptr<Analysis> binAnalysis(size_t individuals, const Significance &significance)
{
    return std::make_unique<BinAnalysis>(individuals, significance);
}
