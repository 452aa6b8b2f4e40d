// levin's correlations against the shift, with the strongest ones marked.
#include "main/console.h"
#include "plot/drawings.h"
#include "plot/rows.h"
#include "plot/verbs.h"
#include "text/fields.h"

#include <algorithm>
#include <cmath>

namespace plot {

static constexpr const Option *options[]
    = {&fileOption, &outOption, &delimOption, &titleOption, &widthOption, &heightOption, &scriptOption};

static std::vector<Point> readCorrelations(const std::string &file, std::string delimiter)
{
    text::LineReader in;
    openInput(in, file);
    std::vector<Point> correlations;
    std::string_view line;
    if (!in.nextNonEmpty(line))
        fatal("'%s' is empty\n", file.c_str());
    if (delimiter.empty())
        delimiter = delimiterOf(line);
    if (text::findField(line, delimiter, 0) != "N" || text::findField(line, delimiter, 1) != "corr")
        fatal("'%s' is no result of levin: it does not begin with N and corr; look at -delim\n", file.c_str());
    while (in.nextNonEmpty(line)) {
        const Point point
            = {numberIn(text::findField(line, delimiter, 0)) - 1, numberIn(text::findField(line, delimiter, 1))};
        if (std::isfinite(point.x) && std::isfinite(point.y))
            correlations.push_back(point);
    }
    if (correlations.empty())
        fatal("'%s' has no correlations\n", file.c_str());
    return correlations;
}

Figure drawShifts(const std::string &file, const std::string &delimiter, const Size &asked)
{
    const Size size = asked.fitted(55);
    const std::vector<Point> correlations = readCorrelations(file, delimiter);
    const auto [low, high] = std::ranges::minmax_element(correlations, {}, &Point::y);
    const double to = std::max(correlations.back().x, 1.0) * 1.02, from = -to * 0.02 / 1.02;
    const double most = std::max({std::fabs(low->y), std::fabs(high->y), 1e-9});
    const double room = most * 0.2;
    Figure figure(size);
    const Box box = {180, size.top, size.width - 50, size.height - 130};
    const Axis xAxis = {from, to, "Shift (rows)", true, 1};
    const Axis yAxis = {std::min(low->y, 0.0) - room, std::max(high->y, 0.0) + room, "Correlation", true, 0, 136};
    figure.beginPanel(box, xAxis, yAxis);
    const Point zero[] = {{from, 0}, {to, 0}};
    figure.line(zero, grey, thinLine);
    figure.line(thinned(correlations, from, to, box.width()), blue, thinLine);
    Cloud best(box.width(), box.height(), largeDot + 4);
    const auto mark = [&](const Point &point, bool isAbove) {
        const int x = pixelOf(point.x, from, to, box.width()), y = pixelOf(point.y, yAxis.from, yAxis.to, box.height());
        best.add(x, y);
        const std::string text = shownNumber(point.y) + " at " + numberOf(point.x);
        const int half = textWidth(text, smallText) / 2;
        figure.text(box.left + std::clamp(x, half + 10, box.width() - half), box.bottom - y + (isAbove ? -28 : 28),
                    text, smallText, Align::Centre);
    };
    mark(*high, true);
    if (low != high)
        mark(*low, false);
    figure.cloud(best, vermillion);
    figure.endPanel();
    figure.heading = "Correlation by shift";
    figure.description = "Correlation of two columns at " + shownCount(correlations.size()) + " shifts: largest "
                         + shownNumber(high->y) + " at a shift of " + numberOf(high->x) + ", smallest "
                         + shownNumber(low->y) + " at " + numberOf(low->x) + "; " + shownNumber(correlations.front().y)
                         + " at the first.";
    return figure;
}

static void shifts()
{
    drawFile([](const std::string &file, const Size &size) {
        return drawShifts(file, delimOption.given() ? delimOption.read() : "", size);
    });
}

constinit const Mode shiftsKind
    = {{"shifts"}, shifts, options, "levin's correlations against the shift, the strongest ones marked"};

}  // namespace plot
