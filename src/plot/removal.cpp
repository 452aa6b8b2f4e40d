// The list of relout5 or relout6: related pairs, and individuals in them, that are left after each removal.
#include "main/console.h"
#include "plot/drawings.h"
#include "plot/rows.h"
#include "plot/verbs.h"

#include <algorithm>
#include <cmath>

namespace plot {

static constexpr const Option *options[]
    = {&fileOption, &outOption, &titleOption, &widthOption, &heightOption, &scriptOption};

struct Removal {
    std::vector<double> pairs, individuals;  // of each removal: its pairs, and the individuals in pairs before it
};

static Removal readRemoval(const std::string &file)
{
    const Rows list(file, " ");
    Removal removal;
    for (size_t row = 0; row < list.rows.size(); ++row) {
        const double pairs = list.rows[row].size() >= 6 ? list.number(row, 2) : numberIn("");
        if (!(pairs >= 0 && list.number(row, 4) >= 0))
            fatal("Line %zu of '%s' is no row of a list of relout5 or relout6\n", row + 1, file.c_str());
        removal.pairs.push_back(pairs);
        removal.individuals.push_back(list.number(row, 4));
    }
    return removal;
}

Figure drawRemoval(const std::string &file, const Size &asked)
{
    const Size size = asked.fitted(55);
    const Removal removal = readRemoval(file);
    const size_t n = removal.pairs.size();
    // Pairs left are those of all later removals.
    std::vector<Point> pairs(n + 1), individuals;
    for (size_t i = n + 1; i-- > 0;)
        pairs[i] = {double(i), i == n ? 0 : pairs[i + 1].y + removal.pairs[i]};
    for (size_t i = 0; i < n; ++i)
        individuals.push_back({double(i), removal.individuals[i]});
    const double most = std::max(pairs[0].y, *std::ranges::max_element(removal.individuals)) * 1.05;
    Figure figure(size);
    const Box box = {180, size.top + 60, size.width - 50, size.height - 130};
    const Axis xAxis = {0, double(n), "Individuals removed", true, 1},
               yAxis = {0, most > 0 ? most : 1, "Left", true, 1, 136};
    figure.beginPanel(box, xAxis, yAxis);
    // Steps, since nothing changes between removals.
    const auto steps = [&](const std::vector<Point> &points) {
        std::vector<Point> line;
        for (size_t i = 0; i < points.size(); ++i) {
            if (i > 0)
                line.push_back({points[i].x, points[i - 1].y});
            line.push_back(points[i]);
        }
        return thinned(line, xAxis.from, xAxis.to, box.width());
    };
    figure.line(steps(individuals), orange, plainLine);
    figure.line(steps(pairs), blue, thickLine);
    const std::pair<std::string, Colour> entries[] = {{"related pairs", blue}, {"individuals in pairs", orange}};
    figure.legend(box.left, size.top + 14, size.width, entries);
    figure.endPanel();
    figure.heading = "Removal of relatives";
    figure.description
        = "Related pairs left after each of " + shownCount(n) + (n == 1 ? " removal" : " removals") + ": "
          + shownNumber(pairs[0].y) + " at first among " + shownNumber(removal.individuals[0])
          + " individuals; half of them are gone after "
          + shownCount(size_t(std::ranges::find_if(pairs, [&](const Point &point) { return point.y <= pairs[0].y / 2; })
                              - pairs.begin()))
          + ".";
    return figure;
}

static void removal()
{
    drawFile(drawRemoval);
}

constinit const Mode removalKind
    = {{"removal"}, removal, options, "relout's list: related pairs left after each removal"};

}  // namespace plot
