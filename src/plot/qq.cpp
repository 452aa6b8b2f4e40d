// Observed against expected -log10 p, with the band in which 95 % of each rank lie by chance, and lambda.
#include "main/console.h"
#include "numbers/logarithm.h"
#include "plot/drawings.h"
#include "plot/qqpoints.h"
#include "plot/verbs.h"
#include "scans/pvalues.h"

#include <algorithm>
#include <cmath>
#include <deque>

namespace plot {

static constexpr SwitchOption fullOption = {
    "-full", "yes: keep every dot until the end, however many fall on the same spot: the same picture, in more memory"};
static constexpr const Option *options[]
    = {&fileOption,  &outOption,   &phenotypeOption, &pColumnOption, &headerOption, &delimOption,
       &titleOption, &widthOption, &heightOption,    &scriptOption,  &fullOption};

// The band at ranks that stand evenly on the axis.
static std::vector<Point> bandOf(size_t n, double xMost)
{
    std::vector<Point> lower, outline;
    size_t last = 0;
    for (int step = 60; step >= 0; --step) {
        const auto rank = size_t(std::clamp(std::pow(10, -xMost * step / 60) * double(n + 1), 1.0, double(n)));
        if (rank == last)
            continue;
        last = rank;
        const double x = minusLog10(double(rank) / double(n + 1));
        outline.push_back({x, minusLog10(rankQuantile(rank, n, 0.025))});
        lower.push_back({x, minusLog10(rankQuantile(rank, n, 0.975))});
    }
    outline.insert(outline.end(), lower.rbegin(), lower.rend());
    return outline;
}

Figure drawQq(const QqInput &input, const Size &asked)
{
    const Size size = asked.fitted(70);
    ResultReader reader(input.file, input.layout, {false, false});
    std::deque<double> ps;
    size_t zeros = 0;
    double least = 1;
    for (Result row = {}; reader.next(row);) {
        ps.push_back(row.p);
        zeros += row.p == 0;
        if (row.p > 0)
            least = std::min(least, row.p);
    }
    if (ps.empty())
        fatal("'%s' has no p-values from 0 to 1\n", input.file.c_str());
    const double lambda = lambdaOf(medianOf(ps));
    const double expectedMost = decimalLogarithm(double(ps.size() + 1));
    const double xMost = expectedMost * 1.05, yMost = std::max(minusLog10(least), expectedMost) * 1.08;

    Figure figure(size);
    const Box box = {160, size.top, size.width - 40, size.height - 130};
    figure.beginPanel(box, {0, xMost, "Expected −log₁₀ p"}, {0, yMost, "Observed −log₁₀ p"});
    std::vector<Point> band = bandOf(ps.size(), expectedMost);
    for (Point &point : band)
        point.y = std::min(point.y, yMost);
    figure.area(band, lightGrey, 0.6);
    const Point diagonal[] = {{0, 0}, {std::min(xMost, yMost), std::min(xMost, yMost)}};
    figure.line(diagonal, grey);
    Cloud cloud(box.width(), box.height(), plainDot, input.isThinned);
    addQuantiles(ps, xMost, yMost, box.height() - plainDot, cloud);
    figure.cloud(cloud, blue);
    char text[64];
    std::snprintf(text, sizeof text, "λ = %.3f", lambda);
    figure.text(box.left + 30, box.top + 30, text);
    figure.text(box.left + 30, box.top + 70, "n = " + shownCount(ps.size()));
    figure.endPanel();
    figure.heading = "Quantile-quantile plot";
    figure.description = "Quantile-quantile plot: observed against expected minus log10 of " + shownCount(ps.size())
                         + " p-values with the 95 % band; genomic control " + text + "; smallest p "
                         + shownNumber(zeros ? 0 : least) + ".";
    return figure;
}

static void qq()
{
    const QqInput input = {fileOption.require(), readLayout(false), !fullOption.isOn()};
    const Picture picture({input.file});
    picture.save(drawQq(input, picture.size()));
}

constinit const Mode qqKind
    = {{"qq"}, qq, options, "observed against expected -log10 p, with the 95 % band and lambda"};

}  // namespace plot
