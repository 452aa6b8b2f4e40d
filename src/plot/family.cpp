// family's matrices as heat maps, the largest families first.
#include "main/console.h"
#include "plot/drawings.h"
#include "plot/rows.h"
#include "plot/verbs.h"
#include "text/fields.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace plot {

static constexpr IntegerOption mostOption = {"-families", 12, "how many families are drawn at most, the largest ones"};
static constexpr const Option *options[]
    = {&fileOption, &outOption, &mostOption, &titleOption, &widthOption, &heightOption, &scriptOption};

static constexpr size_t mostNamed = 12;   // members whose names stand beside their matrix
static constexpr size_t mostCells = 120;  // of a side; of more the largest value of several pairs is drawn

struct Family {
    std::string number;  // as in the file
    std::vector<std::string> members;
    std::vector<std::vector<double>> values;  // [row][column]
};

// The head of a family: "1) 3 x  ann ben cat", behind which an empty line and its table stand.
static bool isHead(std::string_view line)
{
    const size_t bracket = line.find(") ");
    return bracket != line.npos && bracket > 0 && line.substr(0, bracket).find_first_not_of("0123456789") == line.npos
           && line.find(" x  ") != line.npos && line.find('\t') == line.npos;
}

static std::vector<Family> readFamilies(const std::string &file)
{
    std::vector<Family> families;
    text::LineReader in;
    openInput(in, file);
    std::vector<std::string_view> fields;
    bool isTable = false;
    for (std::string_view line; in.nextNonEmpty(line);) {
        if (isHead(line)) {
            families.push_back({std::string(line.substr(0, line.find(')'))), {}, {}});
            isTable = false;
            continue;
        }
        text::splitFields(line, "\t", fields);
        if (families.empty() || fields.size() < 2)
            fatal("'%s' has no matrices of families: run the mode family with -showmatrix yes\n", file.c_str());
        Family &family = families.back();
        if (!isTable) {
            isTable = true;
            for (size_t i = 1; i < fields.size(); ++i) {
                if (!fields[i].empty())
                    family.members.emplace_back(fields[i]);
            }
            continue;
        }
        std::vector<double> &row = family.values.emplace_back();
        for (size_t i = 1; i <= family.members.size(); ++i)
            row.push_back(i < fields.size() ? numberIn(fields[i]) : numberIn(""));
    }
    std::erase_if(families, [](const Family &family) {
        return family.values.empty() || family.members.size() != family.values.size();
    });
    if (families.empty())
        fatal("'%s' has no matrices of families: run the mode family with -showmatrix yes\n", file.c_str());
    std::ranges::stable_sort(families,
                             [](const Family &a, const Family &b) { return a.members.size() > b.members.size(); });
    return families;
}

static size_t levelOf(double value, double most)
{
    return value > 0 ? size_t(std::min(value / most * double(cividis.size()), double(cividis.size() - 1))) : 0;
}

// The largest value off the diagonals.
static double largestOf(const std::vector<Family> &families)
{
    double most = 0;
    for (const Family &family : families) {
        for (size_t i = 0; i < family.values.size(); ++i) {
            for (size_t k = 0; k < i; ++k)
                most = std::isfinite(family.values[i][k]) ? std::max(most, family.values[i][k]) : most;
        }
    }
    return most > 0 ? most : 1;
}

// Of the pairs of these members.
static double largestIn(const Family &family, size_t row, size_t rowEnd, size_t column, size_t columnEnd)
{
    double most = 0;
    for (size_t i = row; i < rowEnd; ++i) {
        for (size_t k = column; k < columnEnd; ++k)
            most = i != k && family.values[i][k] > most ? family.values[i][k] : most;
    }
    return most;
}

static void drawMatrix(const Family &family, double most, const Box &box, int nameRoom, Figure &figure)
{
    const size_t n = family.members.size(), cells = std::min(n, mostCells);
    figure.beginPanel(box, {0, double(cells), "", false}, {0, double(cells), "", false}, false);
    std::array<std::vector<Figure::Rectangle>, cividis.size()> levels;
    std::vector<Figure::Rectangle> diagonal;
    for (size_t i = 0; i < cells; ++i) {
        for (size_t k = 0; k < cells; ++k) {
            const double bottom = double(cells - i) - 1;
            const Figure::Rectangle cell = {double(k), bottom, double(k) + 1, bottom + 1};
            if (i == k)
                diagonal.push_back(cell);
            else if (const size_t level = levelOf(
                         largestIn(family, i * n / cells, (i + 1) * n / cells, k * n / cells, (k + 1) * n / cells),
                         most))
                levels[level].push_back(cell);
        }
        if (n <= mostNamed && nameRoom > 0 && box.height() / int(n) >= smallText)
            figure.text(box.left - 10, box.top + (double(i) + 0.5) / double(cells) * box.height(),
                        shownText(family.members[i], 8), smallText, Align::Right);
    }
    levels[0].push_back({0, 0, double(cells), double(cells)});
    for (size_t level = 0; level < levels.size(); ++level)
        figure.rectangles(levels[level], cividis[level]);
    figure.rectangles(diagonal, "#ffffff");
    figure.text(box.left, box.top - 24, "family " + family.number + ": " + shownCount(n), smallText);
    figure.endPanel();
}

static void drawScale(double most, const Box &box, Figure &figure)
{
    figure.beginPanel(box, {0, most, "", true}, {0, 1, "", false}, false);
    for (size_t k = 0; k < cividis.size(); ++k) {
        const double step = most / double(cividis.size());
        const Figure::Rectangle part[] = {{step * double(k), 0, step * double(k + 1), 1}};
        figure.rectangles(part, cividis[k]);
    }
    figure.text((box.left + box.right) / 2.0, box.bottom + 84, "Value of the pair (diagonal white)", largeText,
                Align::Centre);
    figure.endPanel();
}

Figure drawFamily(const std::string &file, size_t mostFamilies, const Size &asked)
{
    std::vector<Family> families = readFamilies(file);
    const size_t all = families.size(), largest = families[0].members.size();
    size_t members = 0;
    for (const Family &family : families)
        members += family.members.size();
    families.resize(std::min(all, mostFamilies));
    const double most = largestOf(families);
    const int count = int(families.size()),
              columns = count == 1   ? 1
                        : count <= 4 ? 2
                                     : 3,
              rows = (count + columns - 1) / columns;
    const int nameRoom = largest <= mostNamed || count > 1 ? 130 : 20, gap = 30, head = 50;
    const int natural = (asked.width - 20 - (columns - 1) * gap) / columns - nameRoom;
    const Size size = asked.fitted((asked.top + rows * (natural + head) + 190) / pixelsPerMillimetre);
    const int side = std::max(std::min(natural, (size.height - size.top - 190) / rows - head), 20);
    Figure figure(size);
    for (int i = 0; i < count; ++i) {
        const int x = nameRoom + i % columns * (natural + nameRoom + gap),
                  y = size.top + 20 + i / columns * (side + head) + 20;
        drawMatrix(families[size_t(i)], most, {x, y, x + side, y + side}, nameRoom, figure);
    }
    drawScale(most, {size.width / 4, size.height - 150, size.width * 3 / 4, size.height - 120}, figure);
    figure.heading = "Families";
    figure.description = "Heat maps of " + shownCount(size_t(count)) + " of " + shownCount(all)
                         + (all == 1 ? " family" : " families") + " with " + shownCount(members)
                         + " members; the largest family has " + shownCount(largest)
                         + ". The largest value of a pair drawn is " + shownNumber(most) + ".";
    return figure;
}

static void family()
{
    drawFile(
        [](const std::string &file, const Size &size) { return drawFamily(file, size_t(mostOption.read()), size); });
}

constinit const Mode familyKind
    = {{"family"}, family, options, "family's matrices as heat maps, the largest families first"};

}  // namespace plot
