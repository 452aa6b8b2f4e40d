// -log10 p by position, chromosomes side by side, with the best marker of each peak named.
#include "main/console.h"
#include "plot/chromosomes.h"
#include "plot/drawings.h"
#include "plot/labels.h"
#include "plot/verbs.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace plot {

static constexpr TextOption lineOption = {"-line", "", "p-values of further lines, parted by commas"};
static constexpr RealOption leastOption = {"-least", 0, "least -log10 p that is drawn"};
static constexpr SwitchOption fullOption = {
    "-full", "yes: keep every dot until the end, however many fall on the same spot: the same picture, in more memory"};
static constexpr const Option *options[] = {
    &fileOption,           &outOption,     &lineOption,       &leastOption,  &phenotypeOption, &chromosomeColumnOption,
    &positionColumnOption, &pColumnOption, &nameColumnOption, &headerOption, &delimOption,     &titleOption,
    &widthOption,          &heightOption,  &scriptOption,     &fullOption};

static constexpr double genomeWide = 5e-8;
static constexpr double peakRange = 1e6;  // base pairs: markers of a peak lie closer to its best one
static constexpr size_t mostLabels = 40;

// The best marker of every stretch of peakRange: enough to name the best of every peak, however many pass the line.
class Tops {
public:
    struct Top {
        std::string chromosome, name;
        double position, value;
    };

    void add(const Result &row, double value)
    {
        const std::pair<std::string_view, int64_t> key
            = {row.chromosome, int64_t(std::clamp(row.position / peakRange, -9e18, 9e18))};
        auto found = m_tops.find(key);
        if (found == m_tops.end())
            found = m_tops.emplace(Key(key.first, key.second), Top{std::string(row.chromosome), "", 0, -1}).first;
        Top &top = found->second;
        if (value > top.value) {
            const std::string_view place = shownChromosome(row.chromosome);
            top.name = row.name.data() ? std::string(row.name)
                                       : std::string(place) + (place.empty() ? "" : ":") + numberOf(row.position);
            top.position = row.position;
            top.value = value;
        }
    }

    // Of every peak the best, the highest first; a lower one within the range of a higher one is of its peak.
    std::vector<Top> peaks() const
    {
        std::vector<const Top *> ordered;
        for (const auto &[key, top] : m_tops)
            ordered.push_back(&top);
        std::ranges::stable_sort(ordered, [](const Top *a, const Top *b) { return a->value > b->value; });
        std::vector<Top> peaks;
        for (const Top *top : ordered) {
            const auto isNear = [&](const Top &peak) {
                return peak.chromosome == top->chromosome && std::fabs(peak.position - top->position) < peakRange;
            };
            if (std::ranges::none_of(peaks, isNear))
                peaks.push_back(*top);
        }
        return peaks;
    }

private:
    using Key = std::pair<std::string, int64_t>;
    struct IsBefore {
        using is_transparent = void;
        template <class A, class B>
        bool operator()(const A &a, const B &b) const
        {
            return std::pair<std::string_view, int64_t>(a) < std::pair<std::string_view, int64_t>(b);
        }
    };
    std::map<Key, Top, IsBefore> m_tops;
};

// Everything of the file that the picture needs.
struct Scan {
    Genome genome;
    Tops tops;
    double highest = 0;  // finite -log10 p
    size_t zeros = 0;    // p-values of 0
    size_t count = 0, without = 0;
    std::string best;  // the name of the best marker
    double bestP = 2;
};

static Scan readScan(const ManhattanInput &input)
{
    Scan scan;
    ResultReader reader(input.file, input.layout, {});
    Result row = {};
    const double lineValue = minusLog10(genomeWide);
    while (reader.next(row)) {
        const double value = minusLog10(row.p);
        ++scan.count;
        if (row.p < scan.bestP) {
            scan.bestP = row.p;
            scan.best = row.name.data() ? row.name : "position " + shownNumber(row.position);
        }
        if (value < input.least)
            continue;
        if (row.p > 0)
            scan.highest = std::max(scan.highest, value);
        else
            ++scan.zeros;
        scan.genome.add(row.chromosome, row.position, value);
        if (value >= lineValue)
            scan.tops.add(row, value);
    }
    scan.without = reader.without();
    if (scan.count == 0)
        fatal("'%s' has no p-values from 0 to 1 with a position\n", input.file.c_str());
    if (scan.genome.size() == 0)
        fatal("No -log10 p of '%s' reaches -least\n", input.file.c_str());
    return scan;
}

static Axis yAxisOf(const Scan &scan, const ManhattanInput &input, bool hasLabels)
{
    // Room for dots above the highest one, and for names; the line of 5e-8 is always there.
    double top = std::max(scan.highest, minusLog10(genomeWide));
    for (const double line : input.lines)
        top = std::max(top, minusLog10(line));
    const double from = std::min(input.least, top - 1);
    top += (top - from) * (hasLabels ? 0.16 : 0.06);
    return {from, top, "−log₁₀ p"};
}

// Names of chromosomes below the axis, as many as have room.
static void nameChromosomes(const std::vector<Genome::Chromosome *> &chromosomes, double end, const Box &box,
                            Figure &figure)
{
    int free = box.left - 30;
    for (const Genome::Chromosome *chromosome : chromosomes) {
        const double middle = chromosome->start + (chromosome->to - chromosome->from) / 2;
        const double x = box.left + middle / end * box.width();
        const std::string name = shownText(shownChromosome(chromosome->name), 12);
        const int width = textWidth(name, plainText);
        if (x - width / 2.0 < free || x + width / 2.0 > box.right + 20)
            continue;
        figure.text(x, box.bottom + 34, name, plainText, Align::Centre);
        free = int(x + width / 2.0) + 8;
    }
}

static std::string describe(const Scan &scan, size_t chromosomes, size_t peaks)
{
    std::string text = "Manhattan plot: minus log10 of the p-values of " + shownCount(scan.count) + " markers on "
                       + shownCount(chromosomes) + (chromosomes == 1 ? " chromosome" : " chromosomes")
                       + ". Best marker: " + shownText(scan.best) + ", p = " + shownNumber(scan.bestP) + ". ";
    text += peaks == 0 ? "No marker reaches 5e-8."
                       : shownCount(peaks) + (peaks == 1 ? " peak reaches" : " peaks reach") + " 5e-8.";
    if (scan.zeros > 0)
        text += " " + shownCount(scan.zeros) + " p-values are 0 and stand at the top.";
    if (scan.without > 0)
        text += " " + shownCount(scan.without) + " rows have no p-value or position.";
    return text;
}

Figure drawManhattan(const ManhattanInput &input, const Size &asked)
{
    const Size size = asked.fitted(55);
    Scan scan = readScan(input);
    const std::vector<Tops::Top> peaks = scan.tops.peaks();
    const std::vector<Genome::Chromosome *> chromosomes = scan.genome.laidOut();
    const bool isSingle = chromosomes.size() == 1;
    const double end = scan.genome.end();

    Figure figure(size);
    const Box box = {160, size.top, size.width - 40, size.height - 130};
    Axis xAxis = {0, end, "Chromosome", false}, yAxis = yAxisOf(scan, input, !peaks.empty());
    if (isSingle) {
        const Genome::Chromosome &only = *chromosomes[0];
        const BaseUnit unit = baseUnitOf(end);
        const std::string name = only.name.empty() ? "" : " on chromosome " + std::string(shownChromosome(only.name));
        xAxis = {(only.from - only.start) / unit.size, (only.from - only.start + end) / unit.size,
                 "Position" + shownText(name) + " (" + unit.name + ")"};
    }
    figure.beginPanel(box, xAxis, yAxis);
    if (!isSingle)
        nameChromosomes(chromosomes, end, box, figure);

    Cloud clouds[2] = {{box.width(), box.height(), plainDot, input.isThinned},
                       {box.width(), box.height(), plainDot, input.isThinned}};
    // A p-value of 0 stands at the top, half a dot below the edge.
    const int topRow = box.height() - plainDot;
    const auto column = [&](const Genome::Chromosome &chromosome, double position) {
        return pixelOf(chromosome.start + (position - chromosome.from), 0, end, box.width());
    };
    const auto rowOf
        = [&](double value) { return std::isinf(value) ? topRow : pixelOf(value, yAxis.from, yAxis.to, box.height()); };
    for (size_t i = 0; i < chromosomes.size(); ++i) {
        for (const Place &marker : chromosomes[i]->markers)
            clouds[i % 2].add(column(*chromosomes[i], marker.position), rowOf(marker.value));
    }
    figure.cloud(clouds[0], blue);
    figure.cloud(clouds[1], sky);
    std::vector<double> lines = input.lines;
    lines.insert(lines.begin(), genomeWide);
    for (size_t i = 0; i < lines.size(); ++i) {
        const double y = minusLog10(lines[i]);
        const Point ends[] = {{xAxis.from, y}, {xAxis.to, y}};
        figure.line(ends, i == 0 ? vermillion : grey, plainLine, Dash::Dashed);
    }

    Labels labels(box);
    for (const Cloud &cloud : clouds)
        labels.avoid(cloud);
    for (const Tops::Top &peak : peaks) {
        const auto found = std::ranges::find(chromosomes, peak.chromosome, &Genome::Chromosome::name);
        labels.add(column(**found, peak.position), rowOf(peak.value), peak.name);
    }
    labels.draw(figure, mostLabels);
    figure.endPanel();
    figure.heading = "Manhattan plot";
    figure.description = describe(scan, chromosomes.size(), peaks.size());
    return figure;
}

static std::vector<double> readLines()
{
    std::vector<double> lines;
    const std::string text = lineOption.read();
    text::FieldReader fields(text, ",");
    for (std::string_view field; !text.empty() && fields.next(field);) {
        const text::Real p = text::readReal(field);
        if (!p.isNumber || !(p.value > 0 && p.value <= 1))
            fatal("Option -line takes p-values above 0 up to 1, not '%s'\n", std::string(field).c_str());
        lines.push_back(p.value);
    }
    return lines;
}

static void manhattan()
{
    ManhattanInput input = {fileOption.require(), readLayout(), readLines(), leastOption.read(), !fullOption.isOn()};
    if (!(input.least >= 0 && input.least <= 1e6))
        fatal("Option -least takes a number from 0 on\n");
    const Picture picture({input.file});
    picture.save(drawManhattan(input, picture.size()));
}

constinit const Mode manhattanKind
    = {{"manhattan"},
       manhattan,
       options,
       "-log10 p by position, chromosomes side by side, the best marker of each peak named"};

}  // namespace plot
