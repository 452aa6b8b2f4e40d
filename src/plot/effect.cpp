// One marker and one phenotype as a scan sees them: every individual a dot, the means, the fitted line, and slope, R2
// and p as they stand in the row of the hit.
#include "genotypes/classes.h"
#include "genotypes/columns.h"
#include "genotypes/dosages.h"
#include "genotypes/gaps.h"
#include "genotypes/markers.h"
#include "main/console.h"
#include "main/progress.h"
#include "main/settings.h"
#include "plot/drawings.h"
#include "plot/verbs.h"
#include "scans/binscan.h"
#include "scans/options.h"
#include "scans/phenotype.h"
#include "scans/regression.h"
#include "scans/traits.h"
#include "scans/traitsummary.h"
#include "text/fields.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace plot {

static constexpr WordOption scanOption = {"-scan", "gwas", "gwas gwas2 gwas3 regscan1", "the mode as which it is seen"};
static constexpr InputOption genotypeFileOption = {"-gfile", Use::Required, "genotype file, as the mode takes it"};
static constexpr TextOption markerOption = {"-marker", "", "name of the marker", "", {.use = Use::Required}};
static constexpr TextOption traitOption = {"-phenotype", "", "name of the phenotype", "", {.use = Use::Required}};
static constexpr WordOption formatOption
    = {"-format", "dosage", "dosage triplet", "what -gfile holds, for gwas and gwas2"};
static constexpr DelimiterOption traitDelimOption
    = {"-delim", "space", fiveDelimiters, asItStands, "between the fields of the phenotype file"};
static constexpr const Option *options[]
    = {&scanOption,          &phenotypeFileOption, &genotypeFileOption, &markerOption,  &traitOption,
       &outOption,           &formatOption,        &traitDelimOption,   &missingOption, &methodOption,
       &automaticBinsOption, &binFileOption,       &manualBinsOption,   &binTypeOption, &binPlacesOption,
       &titleOption,         &widthOption,         &heightOption,       &scriptOption};

enum Scan { gwasScan, gwas2Scan, gwas3Scan, regressionScan };

struct FittedLine {
    double slope, r2, p;  // R2 and p below 0 or nan: none
};

struct Effect {
    std::string xLabel, yLabel;
    bool isGrouped = true;  // x are places of bins or classes
    bool areWhole = true;   // these places
    std::vector<Point> dots = {}, means = {};
    FittedLine line = {};
};

// The name in a line of genotypes, of which no more is looked at. A delimiter that is white space, or none, stands for
// any white space.
static std::string_view markerName(std::string_view line, std::string_view delimiter)
{
    static constexpr std::string_view whiteSpace = " \t\n\v\f\r";
    const auto from = [&](size_t at) { return line.substr(std::min(at, line.size())); };
    if (hasWord(delimiter))
        line = text::findField(line, delimiter, 1);
    else
        line = from(line.find_first_of(whiteSpace, line.find_first_not_of(whiteSpace)));
    line = from(line.find_first_not_of(whiteSpace));
    return line.substr(0, line.find_first_of(whiteSpace));
}

// The line of the marker, which stays in the reader.
static std::string_view findMarker(text::LineReader &in, std::string_view delimiter, const std::string &marker)
{
    openInput(in, Genoname);
    Progress progress(Genoname);
    for (std::string_view line; nextMarkerLine(in, line); progress.advance(line.size() + 1)) {
        if (markerName(line, delimiter) == marker)
            return line;
    }
    fatal("'%s' has no marker '%s'\n", Genoname.c_str(), marker.c_str());
}

static Phenotype findPhenotype(size_t individuals)
{
    const std::string name = traitOption.read();
    text::LineReader in;
    openInput(in, Phenoname);
    Phenotype phenotype;
    for (std::string_view line; in.nextNonEmpty(line);) {
        std::string_view first;
        text::FieldReader(line, Delim).next(first);
        if (first != name)
            continue;
        if (!readPhenotype(line, individuals, phenotype))
            refusePhenotype();
        return phenotype;
    }
    fatal("'%s' has no phenotype '%s'\n", Phenoname.c_str(), name.c_str());
}

// A marker's dosages as gwas and gwas2 read them.
static std::vector<double> dosagesOf(std::string_view line, bool hasTriplets)
{
    std::string converted;
    if (hasTriplets) {
        text::Writer out;
        out.openToMemory(converted);
        const std::string_view triplets = copyLeadingColumns(line, leadingColumns, out);
        tripletConverter(false, false)(triplets, out, nullptr);
        out.flush();
        const size_t size = converted.size() - converted.ends_with('\n');
        converted.append(text::LineReader::slack, '\0');
        line = {converted.data(), size};
    }
    const size_t words = countWords(line);
    DosageReader reader(words > leadingColumns ? words - leadingColumns : 0);
    std::string_view name;
    if (reader.read(line, name) != words || reader.values().empty())
        refuseMarker();
    return reader.values();
}

static FittedLine lineOf(const Fit &fit)
{
    return {fit.slope, fit.r2, fit.p};
}

static Effect seenInBins(std::string_view line, const BinDefinition &definition)
{
    const std::vector<double> dosages = dosagesOf(line, formatOption.read() == 1);
    const Phenotype phenotype = findPhenotype(dosages.size());
    if (!hasBins(phenotype.p2List))
        fatal("The phenotype '%s' has no values\n", phenotype.name.c_str());
    const std::vector<Bin> bins = fillBins(findBins(definition, phenotype.p2List), phenotype.values);
    const std::vector<double> x = binPositions(bins);
    std::vector<double> means;
    Effect effect = {xmethod ? "Mean " + phenotype.name + " of the bin" : "Bin of " + phenotype.name, "Dosage"};
    effect.areWhole = xmethod == 0;
    for (size_t k = 0; k < bins.size(); ++k) {
        double sum = 0;
        for (const size_t i : bins[k].individuals) {
            sum += dosages[i];
            effect.dots.push_back({x[k], dosages[i]});
        }
        // An empty bin takes part with a mean of 0, as in the scan.
        means.push_back(bins[k].individuals.empty() ? 0 : sum / double(bins[k].individuals.size()));
        effect.means.push_back({x[k], means[k]});
    }
    effect.line = lineOf(fitLine(x, means, 0, binTable()));
    return effect;
}

static Effect seenInClasses(std::string_view line)
{
    const size_t columns = text::countFields(line, Delim);
    const size_t individuals = columns > leadingColumns ? (columns - leadingColumns) / 3 : 0;
    const Phenotype phenotype = findPhenotype(individuals);
    std::vector<uint8_t> classes(individuals);
    std::string_view name;
    if (!ClassReader(Delim, line).read(line, name, classes))
        refuseMarker();
    Effect effect = {"Genotype class", phenotype.name};
    double sums[3] = {}, counts[3] = {};
    for (size_t i = 0; i < individuals; ++i) {
        if (phenotype.values[i] == missingValue)
            continue;
        if (classes[i] == noClass)
            fatal("gValue error\n");
        sums[classes[i]] += phenotype.values[i];
        ++counts[classes[i]];
        effect.dots.push_back({double(classes[i]), phenotype.values[i]});
    }
    // The scan places the classes at 1 to 3; the line is drawn one to the left.
    const double x[] = {1, 2, 3};
    double means[3];
    for (size_t k = 0; k < 3; ++k) {
        means[k] = counts[k] > 0 ? sums[k] / counts[k] : 0;
        effect.means.push_back({double(k), means[k]});
    }
    effect.line = lineOf(fitLine(x, means, 0, df1()));
    return effect;
}

static Effect seenByRegression(std::string_view line)
{
    const size_t words = countWords(line);
    // Three columns for every value of the phenotype are triplets.
    text::LineReader in;
    openInput(in, Phenoname);
    std::string_view first;
    const size_t values = in.nextNonEmpty(first) ? text::countFields(first, Delim) - 1 : 0;
    const size_t numbers = words > leadingColumns ? words - leadingColumns : 0;
    const bool hasTriplets = numbers != values && numbers == 3 * values;
    const size_t individuals = hasTriplets ? numbers / 3 : numbers;
    Phenotype phenotype = findPhenotype(individuals);
    std::vector<double> dosages(individuals);
    std::vector<std::string_view> leading(leadingColumns);
    (hasTriplets ? readGappyTriplets : readGappyDosages)(line, na_value, leading, dosages);
    dropOddValues(phenotype.values);
    const CentredValues y = centre(phenotype.values, traitMomentsOf(phenotype.values));
    Effect effect = {"Dosage", phenotype.name, false};
    LinePoints points;
    points.ySize = y.size;
    double sum = 0;
    for (size_t i = 0; i < individuals; ++i) {
        if (!y.isPresent(i) || std::isnan(dosages[i]))
            continue;
        sum += dosages[i];
        points.xSize = std::max(points.xSize, std::fabs(dosages[i]));
        points.add(dosages[i], y.centred[i], y.restOf(i));
        effect.dots.push_back({dosages[i], phenotype.values[i]});
    }
    if (effect.dots.empty())
        fatal("No individual has both a dosage and a value of '%s'\n", phenotype.name.c_str());
    points.xCentre = sum / double(effect.dots.size());
    const Regression fit = fitExactly(points);
    effect.line = {fit.slope, fit.r2, Significance(false).p(fit.t, double(effect.dots.size()) - 2)};
    double sumY = 0;
    for (const Point &dot : effect.dots)
        sumY += dot.y;
    effect.means = {{points.xCentre, sumY / double(effect.dots.size())}};
    return effect;
}

// Dots of a group stand side by side in their order, so that none hides another more than must be.
static double besideOf(size_t i, double width)
{
    return (double(i * 7919 % 101) / 100 - 0.5) * width;
}

// Slope, R2 and p as they stand in the row of the hit.
static std::string shownLine(const FittedLine &line)
{
    const auto shown = [](double value) { return value >= 0 ? text::realText(value) : std::string("NA"); };
    return "slope " + text::realText(line.slope) + ", R² " + shown(line.r2) + ", p " + shown(line.p);
}

static std::string describe(const Effect &effect, const std::string &marker)
{
    std::string words = shownText(effect.yLabel) + " by " + shownText(effect.xLabel) + " for the marker "
                        + shownText(marker) + ", " + shownCount(effect.dots.size())
                        + " individuals: " + shownLine(effect.line) + ".";
    if (effect.isGrouped) {
        words += " Means:";
        for (const Point &mean : effect.means)
            words += " " + shownNumber(mean.y) + " at " + shownNumber(mean.x) + ";";
    }
    return words;
}

// The line of least squares from one x to the other: it goes through the mean of the points.
static std::array<Point, 2> lineBetween(double left, double right, const Effect &effect)
{
    double meanX = 0, meanY = 0;
    for (const Point &mean : effect.means) {
        meanX += mean.x / double(effect.means.size());
        meanY += mean.y / double(effect.means.size());
    }
    const auto at = [&](double x) { return Point{x, meanY + effect.line.slope * (x - meanX)}; };
    return {at(left), at(right)};
}

static Figure drawEffect(const Effect &effect, const std::string &marker, const Size &asked)
{
    const Size size = asked.fitted(65);
    const auto [left, right] = std::ranges::minmax(effect.isGrouped ? effect.means : effect.dots, {}, &Point::x);
    double bottom = effect.means[0].y, top = bottom;
    for (const std::vector<Point> *points : {&effect.dots, &effect.means}) {
        for (const Point &point : *points) {
            bottom = std::min(bottom, point.y);
            top = std::max(top, point.y);
        }
    }
    const double width
        = effect.isGrouped ? (right.x - left.x) / double(std::max(effect.means.size(), size_t(2)) - 1) : 0;
    const double xRoom = effect.isGrouped ? std::max(width, 1e-9) * 0.6 : std::max((right.x - left.x) * 0.05, 0.05);
    const double yRoom = top > bottom ? (top - bottom) * 0.08 : 0.5;
    const Axis xAxis = {left.x - xRoom, right.x + xRoom, shownText(effect.xLabel, 30), true,
                        effect.isGrouped && effect.areWhole ? 1.0 : 0};
    const Axis yAxis = {bottom - yRoom, top + yRoom * 2.2, shownText(effect.yLabel, 30), true, 0, 136};
    Figure figure(size);
    const Box box = {180, size.top + 20, size.width - 50, size.height - 130};
    const auto cloudOf = [&](const std::vector<Point> &points, int dot, double breadth) {
        Cloud cloud(box.width(), box.height(), dot);
        for (size_t i = 0; i < points.size(); ++i)
            cloud.add(pixelOf(points[i].x + besideOf(i, breadth), xAxis.from, xAxis.to, box.width()),
                      pixelOf(points[i].y, yAxis.from, yAxis.to, box.height()));
        return cloud;
    };
    figure.beginPanel(box, xAxis, yAxis);
    figure.cloud(cloudOf(effect.dots, effect.dots.size() > 2000 ? smallDot : plainDot, width * 0.7), sky);
    if (std::isfinite(effect.line.slope))
        figure.line(lineBetween(left.x, right.x, effect), vermillion, thickLine);
    if (effect.isGrouped)
        figure.cloud(cloudOf(effect.means, largeDot + 8, 0), blue);
    figure.text((box.left + box.right) / 2.0, size.top + 6, shownLine(effect.line), plainText, Align::Centre);
    figure.endPanel();
    figure.heading = "Effect of " + shownText(marker);
    figure.description = describe(effect, marker);
    return figure;
}

static void effect()
{
    Phenoname = phenotypeFileOption.require();
    Genoname = genotypeFileOption.require();
    Missing = missingOption.read();
    Delim = traitDelimOption.read();
    const Scan scan = Scan(scanOption.read());
    const std::string marker = markerOption.read();
    const Picture picture({Phenoname, Genoname});
    BinDefinition definition;
    if (scan <= gwas2Scan) {
        definition = readBinOptions([](const std::string &) {});
        xmethod = binPlacesOption.read();
    }
    text::LineReader in;
    const std::string_view line = findMarker(in, scan == gwas3Scan ? Delim : "", marker);
    const Effect seen = scan == regressionScan ? seenByRegression(line)
                        : scan == gwas3Scan    ? seenInClasses(line)
                                               : seenInBins(line, definition);
    picture.save(drawEffect(seen, marker, picture.size()));
}

constinit const Mode effectKind
    = {{"effect"}, effect, options, "one marker and one phenotype as a scan sees them, every individual a dot"};

}  // namespace plot
