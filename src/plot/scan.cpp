// The statistics of a scan: which phenotype, or with gwas3 which marker, is unlike the others.
#include "main/console.h"
#include "plot/drawings.h"
#include "plot/labels.h"
#include "plot/rows.h"
#include "plot/verbs.h"

#include <algorithm>
#include <cmath>

namespace plot {

static constexpr const Option *options[]
    = {&fileOption, &outOption, &titleOption, &widthOption, &heightOption, &scriptOption};

static constexpr size_t mostNamed = 24;  // phenotypes whose names all stand below the picture
static constexpr double farAway = 6;     // standard deviations, estimated robustly
static constexpr size_t mostLabels = 6;  // of a panel

struct Measure {
    std::string label;
    std::vector<std::vector<double>> series;  // [series][row]
    std::vector<std::string> names;           // of the series, where there are several
};

static double medianOf(std::vector<double> values)
{
    std::erase_if(values, [](double value) { return !std::isfinite(value); });
    if (values.empty())
        return 0;
    std::ranges::nth_element(values, values.begin() + std::ptrdiff_t(values.size() / 2));
    return values[values.size() / 2];
}

// The rows whose value is far from what is usual, the furthest first.
static std::vector<size_t> outliersOf(const std::vector<double> &values)
{
    const double middle = medianOf(values);
    std::vector<double> distances;
    double most = 0;
    for (const double value : values) {
        distances.push_back(std::isfinite(value) ? std::fabs(value - middle) : 0);
        most = std::max(most, distances.back());
    }
    const double deviation = std::max(1.4826 * medianOf(distances), most / 100);
    std::vector<size_t> outliers;
    for (size_t i = 0; i < values.size(); ++i) {
        if (distances[i] > farAway * deviation)
            outliers.push_back(i);
    }
    std::ranges::stable_sort(outliers, [&](size_t a, size_t b) { return distances[a] > distances[b]; });
    return outliers;
}

static std::vector<double> columnOf(const Rows &table, size_t column)
{
    std::vector<double> values;
    for (size_t row = 1; row < table.rows.size(); ++row)
        values.push_back(table.number(row, column));
    return values;
}

static std::vector<Measure> measuresOf(const Rows &table)
{
    std::vector<Measure> measures = {{"Hits", {columnOf(table, table.require("Hits"))}, {}},
                                     {"Largest slope", {columnOf(table, table.require("AbsMaxSlope"))}, {}}};
    Measure groups = {"Group size", {}, {}};
    for (size_t k = 1; table.find("group" + std::to_string(k)) != Rows::npos; ++k) {
        groups.series.push_back(columnOf(table, table.find("group" + std::to_string(k))));
        groups.names.push_back("group " + std::to_string(k));
    }
    if (!groups.series.empty())
        measures.push_back(std::move(groups));
    if (table.find("N") != Rows::npos)
        measures.push_back({"Individuals", {columnOf(table, table.find("N"))}, {}});
    if (table.find("Lambda") != Rows::npos)
        measures.push_back({"Lambda", {columnOf(table, table.find("Lambda"))}, {}});
    return measures;
}

static Axis axisOf(const Measure &measure)
{
    double top = 0;
    for (const std::vector<double> &series : measure.series) {
        for (const double value : series)
            top = std::isfinite(value) ? std::max(top, value) : top;
    }
    top = top > 0 ? top : 1;
    return {-top * 0.05,
            top * 1.25,
            measure.label,
            true,
            measure.label == "Hits" || measure.label == "Group size" ? 1.0 : 0,
            136};
}

// Draws the panel and returns the rows that stand out in it.
static std::vector<size_t> drawMeasure(const Measure &measure, const Rows &table, const Axis &xAxis, const Box &box,
                                       Figure &figure)
{
    const Axis yAxis = axisOf(measure);
    figure.beginPanel(box, xAxis, yAxis);
    const size_t rows = table.rows.size() - 1;
    const int diameter = rows <= 200 ? largeDot : plainDot;
    // Several series stand beside each other where there is room.
    const int beside = rows <= mostNamed ? diameter + 2 : 0;
    const auto x = [&](size_t row, size_t k = 0) {
        return pixelOf(double(row + 1), xAxis.from, xAxis.to, box.width())
               + (2 * int(k) + 1 - int(measure.series.size())) * beside / 2;
    };
    const auto y = [&](double value) { return pixelOf(value, yAxis.from, yAxis.to, box.height()); };
    std::vector<Cloud> clouds;
    for (const std::vector<double> &series : measure.series) {
        Cloud &cloud = clouds.emplace_back(box.width(), box.height(), diameter);
        for (size_t row = 0; row < rows; ++row) {
            if (std::isfinite(series[row]))
                cloud.add(x(row, clouds.size() - 1), y(series[row]));
        }
        figure.cloud(cloud, categories[(clouds.size() - 1) % categories.size()]);
    }
    std::vector<size_t> standing;
    if (rows > mostNamed) {
        Labels labels(box);
        for (const std::vector<double> &series : measure.series) {
            for (const size_t row : outliersOf(series)) {
                if (std::ranges::find(standing, row) != standing.end())
                    continue;
                labels.add(x(row), y(series[row]), table.at(row + 1, 0));
                standing.push_back(row);
            }
        }
        for (const Cloud &cloud : clouds)
            labels.avoid(cloud);
        labels.draw(figure, mostLabels);
    }
    if (measure.names.size() > 1) {
        std::vector<std::pair<std::string, Colour>> entries;
        for (size_t k = 0; k < measure.names.size(); ++k)
            entries.emplace_back(std::to_string(k + 1), categories[k % categories.size()]);
        figure.legend(box.left + 16, box.top + 2, box.right, entries);
    }
    figure.endPanel();
    return standing;
}

static std::string describe(const Rows &table, const std::string &subject, const std::vector<std::string> &apart)
{
    const std::vector<double> hits = columnOf(table, table.require("Hits"));
    double sum = 0;
    size_t best = 0;
    for (size_t row = 0; row < hits.size(); ++row) {
        sum += std::isfinite(hits[row]) ? hits[row] : 0;
        best = hits[row] > hits[best] ? row : best;
    }
    std::string text = "Scan statistics of " + shownCount(hits.size()) + " " + subject + ": "
                       + shownCount(size_t(std::clamp(sum, 0.0, 1e18))) + " hits in all, most with "
                       + shownText(table.at(best + 1, 0)) + " (" + shownNumber(hits[best]) + ").";
    if (!apart.empty()) {
        text += " Unlike the others:";
        for (size_t i = 0; i < apart.size() && i < 20; ++i)
            text += (i ? ", " : " ") + apart[i];
        text += ".";
    }
    return text;
}

Figure drawScan(const std::string &file, const Size &asked)
{
    const Rows table(file);
    const std::vector<Measure> measures = measuresOf(table);
    if (table.rows.size() < 2)
        fatal("'%s' has a header and no rows\n", file.c_str());
    const size_t rows = table.rows.size() - 1;
    const bool isByMarker = table.at(0, 0) == "Marker", isNamed = rows <= mostNamed;
    int nameHeight = 0;
    for (size_t row = 0; isNamed && row < rows; ++row)
        nameHeight = std::max(nameHeight, textWidth(shownText(table.at(row + 1, 0), 16), smallText));
    const int panels = int(measures.size());
    const Size size = asked.fitted(12 + panels * 26 + nameHeight / pixelsPerMillimetre);
    Figure figure(size);
    const int bottom = isNamed ? 110 + nameHeight : 130, apart = 50;
    const int height = std::max((size.height - size.top - bottom - (panels - 1) * apart) / panels, 40);
    std::vector<std::string> standing;
    for (int i = 0; i < panels; ++i) {
        const int y = size.top + i * (height + apart);
        const Box box = {180, y, size.width - 50, y + height};
        const bool isLast = i + 1 == panels;
        Axis xAxis = {0.5, double(rows) + 0.5, "", !isNamed && isLast};
        if (isLast && !isNamed)
            xAxis.label = isByMarker ? "Marker" : "Phenotype";
        if (isLast && isNamed) {
            for (size_t row = 0; row < rows; ++row)
                figure.text(box.left + (double(row) + 0.5) / double(rows) * box.width(), box.bottom + 16,
                            shownText(table.at(row + 1, 0), 16), smallText, Align::Right, "", 90);
            figure.text((box.left + box.right) / 2.0, box.bottom + nameHeight + 60, isByMarker ? "Marker" : "Phenotype",
                        largeText, Align::Centre);
        }
        for (const size_t row : drawMeasure(measures[size_t(i)], table, xAxis, box, figure)) {
            const std::string name = shownText(table.at(row + 1, 0));
            if (std::ranges::find(standing, name) == standing.end())
                standing.push_back(name);
        }
    }
    figure.heading = "Statistics of the scan";
    figure.description = describe(table, isByMarker ? "markers" : "phenotypes", standing);
    return figure;
}

static void scan()
{
    drawFile(drawScan);
}

constinit const Mode scanKind = {
    {"scan"}, scan, options, "hits, largest slope and group sizes of a scan's statistics, with what stands out named"};

}  // namespace plot
