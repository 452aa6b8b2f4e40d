// popsel's log: standardised differences of the columns' means before and after matching.
#include "main/console.h"
#include "plot/drawings.h"
#include "plot/rows.h"
#include "plot/verbs.h"

#include <algorithm>
#include <cmath>

namespace plot {

static constexpr const Option *options[]
    = {&fileOption, &outOption, &titleOption, &widthOption, &heightOption, &scriptOption};

static constexpr double usualLimit = 0.1;  // differences below it are called small

struct Difference {
    std::string column;
    double before, after;
};

static std::vector<Difference> readDifferences(const std::string &file)
{
    const Rows log(file);
    const auto heading = std::ranges::find_if(log.rows, [](const std::vector<std::string> &row) {
        return row[0] == "Column" && std::ranges::find(row, "DifferenceBefore") != row.end();
    });
    if (heading == log.rows.end())
        fatal("'%s' is no log of popsel: it has no table of differences\n", file.c_str());
    const auto placeOf
        = [&](std::string_view name) { return size_t(std::ranges::find(*heading, name) - heading->begin()); };
    const size_t before = placeOf("DifferenceBefore"), after = placeOf("DifferenceAfter");
    std::vector<Difference> differences;
    for (auto row = heading + 1; row != log.rows.end() && row->size() == heading->size() && after < row->size(); ++row)
        differences.push_back({(*row)[0], numberIn((*row)[before]), numberIn((*row)[after])});
    if (differences.empty())
        fatal("'%s' has no columns in its table of differences\n", file.c_str());
    return differences;
}

Figure drawBalance(const std::string &file, const Size &asked)
{
    const std::vector<Difference> differences = readDifferences(file);
    const int rows = int(differences.size());
    double most = usualLimit * 1.5, mostAfter = 0;
    int nameWidth = 0;
    for (const Difference &difference : differences) {
        for (const double value : {difference.before, difference.after})
            most = std::isfinite(value) ? std::max(most, std::fabs(value)) : most;
        mostAfter = std::isfinite(difference.after) ? std::max(mostAfter, std::fabs(difference.after)) : mostAfter;
        nameWidth = std::max(nameWidth, textWidth(shownText(difference.column, 18), plainText));
    }
    most *= 1.1;
    const Size size = asked.fitted(22 + 4.5 * rows);
    Figure figure(size);
    const Box box = {nameWidth + 50, size.top + 60, size.width - 50, size.height - 130};
    const Axis xAxis = {-most, most, "Standardised difference"}, yAxis = {0, double(rows), "", false};
    figure.beginPanel(box, xAxis, yAxis);
    const Figure::Rectangle small[] = {{-usualLimit, 0, usualLimit, double(rows)}};
    figure.rectangles(small, lightGrey, 0.5);
    const Point zero[] = {{0, 0}, {0, double(rows)}};
    figure.line(zero, grey, thinLine);
    Cloud before(box.width(), box.height(), largeDot), after = before;
    std::vector<std::pair<Point, Point>> moves;
    double free = 0;
    for (int i = 0; i < rows; ++i) {
        const Difference &difference = differences[size_t(i)];
        const double y = rows - i - 0.5;
        const auto add = [&](double value, Cloud &cloud) {
            if (std::isfinite(value))
                cloud.add(pixelOf(value, -most, most, box.width()), pixelOf(y, 0, rows, box.height()));
        };
        add(difference.before, before);
        add(difference.after, after);
        if (std::isfinite(difference.before) && std::isfinite(difference.after))
            moves.push_back({{difference.before, y}, {difference.after, y}});
        // Of very many columns as many names as have room.
        const double place = box.top + (i + 0.5) / rows * box.height();
        if (place >= free) {
            figure.text(box.left - 20, place, shownText(difference.column, 18), plainText, Align::Right);
            free = place + plainText;
        }
    }
    figure.segments(moves, lightGrey, plainLine);
    figure.cloud(before, orange);
    figure.cloud(after, blue);
    const std::pair<std::string, Colour> entries[] = {{"before", orange}, {"after matching", blue}};
    figure.legend(box.left, size.top + 14, size.width, entries);
    figure.endPanel();
    figure.heading = "Balance of the matching";
    figure.description
        = "Standardised differences of " + shownCount(size_t(rows)) + (rows == 1 ? " column" : " columns")
          + " before and after matching; the largest one after matching is " + shownNumber(mostAfter) + ".";
    for (size_t i = 0; i < differences.size() && i < 20; ++i)
        figure.description += " " + shownText(differences[i].column) + ": " + shownNumber(differences[i].before)
                              + " before, " + shownNumber(differences[i].after) + " after.";
    return figure;
}

static void balance()
{
    drawFile(drawBalance);
}

constinit const Mode balanceKind
    = {{"balance"}, balance, options, "popsel's log: differences of the columns before and after matching"};

}  // namespace plot
