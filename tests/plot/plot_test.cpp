// What goes before gnuplot: reading, thinning, ranks and the script; and what the program refuses.
#include "plot/chromosomes.h"
#include "plot/cloud.h"
#include "plot/figure.h"
#include "plot/qqpoints.h"
#include "scans/pvalues.h"
#include "support/program.h"
#include "support/random.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>

using namespace plot;
using Pixels = std::set<std::pair<int, int>>;

static Pixels pixelsOf(const std::vector<Cloud::Run> &runs)
{
    Pixels pixels;
    for (const Cloud::Run &run : runs) {
        for (int y = run.bottom; y <= run.top; ++y)
            pixels.emplace(run.x, y);
    }
    return pixels;
}

// The area that the shapes fill, at the middles of pixels; overlapping shapes fill more.
static Pixels filledBy(const std::vector<Cloud::Shape> &shapes, int width, int height, int diameter)
{
    Pixels pixels;
    for (const Cloud::Shape &shape : shapes) {
        for (int x = 0; x < width; ++x) {
            for (int y = 0; y < height; ++y) {
                const double px = x + 0.5, py = y + 0.5;
                bool isInside = false;
                const auto &line = shape.outline;
                if (shape.isDot)
                    isInside = std::hypot(px - line[0].first, py - line[0].second) <= diameter / 2.0 + 1e-9;
                for (size_t i = 0, k = line.size() - 1; !shape.isDot && i < line.size(); k = i++) {
                    const auto [x1, y1] = line[i];
                    const auto [x2, y2] = line[k];
                    // Behind a corner on the ray, not on it.
                    const double at = px + 1e-7;
                    if ((x1 > at) != (x2 > at) && py < y1 + (y2 - y1) * (at - x1) / (x2 - x1))
                        isInside = !isInside;
                }
                if (isInside)
                    pixels.emplace(x, y);
            }
        }
    }
    return pixels;
}

TEST(Cloud, CoversThePixelsOfAllItsDotsOnceHoweverManyThereAre)
{
    for (uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        RandomText random(seed);
        const int width = 20 + int(random.below(30)), height = 20 + int(random.below(30));
        const int diameter = seed % 2 ? 5 : 8;
        Cloud thinned(width, height, diameter), full(width, height, diameter, false);
        Pixels expected;
        for (size_t n = random.below(seed % 3 ? 30 : 600); n-- > 0;) {
            const int x = int(random.below(size_t(width) + 4)) - 2, y = int(random.below(size_t(height) + 4)) - 2;
            thinned.add(x, y);
            full.add(x, y);
            const int cx = std::clamp(x, 0, width - 1), cy = std::clamp(y, 0, height - 1);
            for (const Cloud::Reach &reach : Cloud::stencil(diameter)) {
                for (int row = cy - reach.down; row <= cy + reach.up; ++row) {
                    const int column = cx + reach.dx;
                    if (column >= 0 && column < width && row >= 0 && row < height)
                        expected.emplace(column, row);
                }
            }
        }
        const std::vector<Cloud::Run> runs = thinned.runs();
        EXPECT_EQ(pixelsOf(runs), expected);
        EXPECT_EQ(pixelsOf(full.runs()), expected);
        size_t covered = 0;
        for (const Cloud::Run &run : runs)
            covered += size_t(run.top - run.bottom + 1);
        EXPECT_EQ(covered, expected.size()) << "a pixel twice";
        EXPECT_EQ(thinned.isEmpty(), expected.empty());
        Pixels filled = filledBy(thinned.shapes(), width, height, diameter), missing;
        std::ranges::set_symmetric_difference(filled, expected, std::inserter(missing, missing.end()));
        // A lone dot is drawn as a circle, which differs at its rim from the pixels.
        for (const Cloud::Shape &shape : thinned.shapes()) {
            if (shape.isDot)
                std::erase_if(missing, [&](const auto &pixel) {
                    return std::hypot(pixel.first + 0.5 - shape.outline[0].first,
                                      pixel.second + 0.5 - shape.outline[0].second)
                           < diameter / 2.0 + 1;
                });
        }
        EXPECT_TRUE(missing.empty()) << missing.size() << " pixels differ";
    }
}

TEST(Cloud, DotsAreRoundAndAsWideAsTheyShouldBe)
{
    for (const int diameter : {5, 8, 12, 20}) {
        size_t area = 0;
        for (const Cloud::Reach &reach : Cloud::stencil(diameter))
            area += size_t(reach.down + reach.up + 1);
        EXPECT_EQ(Cloud::stencil(diameter).size(), size_t(diameter));
        EXPECT_NEAR(double(area), 3.14159 * diameter * diameter / 4, 0.15 * diameter * diameter) << diameter;
    }
}

TEST(Quantiles, FallOnThePixelsOfASortedListWithTiesAndZeros)
{
    for (uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        RandomText random(seed);
        std::deque<double> ps;
        for (size_t n = 1 + random.below(3000); n-- > 0;)
            ps.push_back(random.oneIn(9) ? double(random.below(4)) / 4 : double(1 + random.below(1000000)) / 1e6);
        std::vector<double> sorted(ps.begin(), ps.end());
        std::ranges::sort(sorted);
        const size_t n = sorted.size();
        const double median = (sorted[(n - 1) / 2] + sorted[n / 2]) / 2;
        EXPECT_EQ(medianOf(ps), median);
        Cloud thinned(90, 70, 5), expected = thinned, full(90, 70, 5, false);
        for (size_t i = 0; i < n; ++i) {
            const double y = -std::log10(sorted[i]);
            expected.add(pixelOf(-std::log10(double(i + 1) / double(n + 1)), 0, 4, 90),
                         sorted[i] > 0 ? pixelOf(y, 0, 6, 70) : 66);
        }
        addQuantiles(ps, 4, 6, 66, thinned);
        addQuantiles(ps, 4, 6, 66, full);
        EXPECT_EQ(pixelsOf(thinned.runs()), pixelsOf(expected.runs()));
        EXPECT_EQ(pixelsOf(full.runs()), pixelsOf(expected.runs()));
    }
}

// The smallest of n uniform values is below q with probability 1 - (1 - q)^n, the largest with q^n; the median of 3
// with 3q^2 - 2q^3. Lambda by the chi-square quantiles of a printed table.
TEST(Quantiles, HaveTheBandOfOrderStatisticsAndTheUsualLambda)
{
    for (const size_t n : {1, 10, 1000, 10000000}) {
        EXPECT_NEAR(rankQuantile(1, n, 0.025) / -std::expm1(std::log1p(-0.025) / double(n)), 1, 1e-6) << n;
        EXPECT_NEAR(rankQuantile(n, n, 0.975), std::pow(0.975, 1 / double(n)), 1e-9) << n;
    }
    const double q = rankQuantile(2, 3, 0.9);
    EXPECT_NEAR(3 * q * q - 2 * q * q * q, 0.9, 1e-9);
    EXPECT_NEAR(rankQuantile(5000000, 9999999, 0.975), 0.5 + 1.959964 / 2 / std::sqrt(1e7), 1e-8);
    EXPECT_DOUBLE_EQ(lambdaOf(0.5), 1);
    EXPECT_NEAR(lambdaOf(0.1), 2.705543 / 0.454936, 1e-5);
}

TEST(Chromosomes, StandInTheirOrderSideBySide)
{
    Genome genome;
    for (const char *name : {"MT", "chr10", "zoo", "Y", "2", "X", "", "09", "chr3", "0011"})
        genome.add(name, 5, 1);
    genome.add("2", 105, 1);
    std::vector<std::string> names;
    double end = 0;
    for (const Genome::Chromosome *chromosome : genome.laidOut()) {
        names.push_back(chromosome->name);
        EXPECT_GT(chromosome->start, end);
        end = chromosome->start + chromosome->to - chromosome->from;
    }
    EXPECT_THAT(names, testing::ElementsAre("2", "chr3", "09", "chr10", "0011", "X", "Y", "MT", "", "zoo"));
    EXPECT_GT(genome.end(), end);
}

TEST(Script, HoldsNoByteOfATextThatCouldMeanAnything)
{
    EXPECT_EQ(constantOf("rs1-a_b: 7,5."), "\"rs1-a_b: 7,5.\"");
    // A digit behind an octal number would be taken for part of it.
    EXPECT_EQ(constantOf("(1)8"), "\"\\050\\061\\051\\070\"");
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += char(byte);
    const std::string constant = constantOf(all), inside = constant.substr(1, constant.size() - 2);
    EXPECT_EQ(inside.find_first_of("\"'`@{}$%!#;\n\r"), inside.npos);
    EXPECT_EQ(shownText("a\tb\xff\xc3\xa4\xed\xa0\x80"), "a b\uFFFDä\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(shownText("abcdef", 3), "abc…");
}

static Result draw(const Folder &folder, std::vector<std::string> words, const std::string &shell = "")
{
    return folder.runOther(MORVEL_PAGES_FOLDER "/morvel-plot", words, shell);
}

// A stand-in for gnuplot that keeps its script and draws nothing, or fails.
static std::string pathWith(const Folder &folder, const std::string &commands)
{
    folder.write("gnuplot", "#!/bin/sh\n" + commands + "\n");
    std::filesystem::permissions(folder.path("gnuplot"), std::filesystem::perms::owner_all);
    return "PATH=" + folder.path("") + ":$PATH; ";
}

// At most ten numbers fit on the axis.
TEST(Script, PartsAnAxisByRoundSteps)
{
    const std::pair<Axis, const char *> cases[] = {
        {{0, 10}, "1"}, {{0, 10.5}, "2"}, {{-10, 10}, "2"}, {{0, 21}, "5"}, {{0, 51}, "10"}, {{0, 0.1}, "0.01"},
        {{0, 10, "", true, 2}, "2"},
    };
    for (const auto &[axis, step] : cases) {
        Figure figure({1200, 900});
        figure.beginPanel({50, 50, 1150, 850}, axis, {0, 1});
        figure.endPanel();
        EXPECT_NE(figure.script().find(std::string("set xtics ") + step + " nomirror"), std::string::npos) << axis.to;
    }
}

TEST(Plot, RefusesWhatItCannotDrawInOneLineAndLeavesNothing)
{
    const Folder folder;
    const std::string path = pathWith(folder, "cat");
    const std::string head = "Chr\tSNPID\tPos\tp-value\n";
    folder.write("results", head + "1\trs1\t100\t0.5\n");
    folder.write("empty", "");
    folder.write("nothing", head + "1\trs1\t100\tNA\n1\trs2\t200\t-1\n1\trs3\tNA\t0.5\n");
    const struct {
        std::vector<std::string> words;
        std::string message;
    } cases[] = {
        {{"manhatan", "-file", "results"}, "There is no kind \"manhatan\"; did you mean \"manhattan\"?"},
        {{"qq", "-flie", "results"}, "qq has no option \"-flie\"; did you mean \"-file\"?"},
        {{"qq", "-file", "results"}, "qq needs the option -out"},
        {{"qq", "-file", "results", "-out", "a.gif"}, "-out must end in .png, .svg or .pdf, not as 'a.gif'"},
        {{"qq", "-file", "results", "-out", "a.png", "-width", "2"}, "Option -width takes millimetres from 30 to 1000"},
        {{"qq", "-file", "none", "-out", "a.png"}, "Cannot open 'none': No such file or directory"},
        {{"qq", "-file", "empty", "-out", "a.png"}, "'empty' is empty"},
        {{"manhattan", "-file", "nothing", "-out", "a.png"}, "'nothing' has no p-values from 0 to 1 with a position"},
        {{"manhattan", "-file", "results", "-pcolumn", "9", "-out", "a.png"},
         "The first line of 'results' has fewer fields than column 9: look at -delim"},
        {{"manhattan", "-file", "results", "-line", "0", "-out", "a.png"},
         "Option -line takes p-values above 0 up to 1, not '0'"},
        {{"peaks", "-file", "results", "-out", "a.png"}, "Line 1 of 'results' is no row of a table of peakscan3"},
        {{"scan", "-file", "results", "-out", "a.png"}, "'results' has no column Hits in its header"},
        {{"balance", "-file", "results", "-out", "a.png"},
         "'results' is no log of popsel: it has no table of differences"},
        {{"mixture", "-file", "results", "-out", "a.png"},
         "'results' is no report of mixfit with samples that it could fit"},
        {{"family", "-file", "results", "-out", "a.png"},
         "'results' has no matrices of families: run the mode family with -showmatrix yes"},
        {{"removal", "-file", "results", "-out", "a.png"},
         "Line 1 of 'results' is no row of a list of relout5 or relout6"},
        {{"shifts", "-file", "results", "-out", "a.png"},
         "'results' is no result of levin: it does not begin with N and corr; look at -delim"},
        {{"report", "-file", "empt", "-out", "a.html"}, "No results whose names begin with 'empt'"},
    };
    const auto before = folder.files();
    for (const auto &row : cases) {
        const Result result = draw(folder, row.words, path);
        EXPECT_EQ(result.status, 1) << row.message;
        EXPECT_EQ(result.errors, "morvel-plot: " + row.message + "\n");
        EXPECT_EQ(folder.files(), before) << row.message;
    }
}

TEST(Plot, TellsWhichPackageIsMissingAndWhyGnuplotFailed)
{
    const Folder folder;
    folder.write("results", "p\n0.5\n");
    const std::vector<std::string> words = {"qq", "-file", "results", "-out", "a.svg"};
    const Result missing = draw(folder, words, "PATH=/nonexistent; ");
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.errors, "morvel-plot: gnuplot is not there: install the package gnuplot-nox\n");
    const Result failed
        = draw(folder, words, pathWith(folder, "echo half; echo 'line 3: no such terminal' >&2; exit 2"));
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.errors, "morvel-plot: gnuplot failed: line 3: no such terminal\n");
    EXPECT_EQ(folder.read("a.svg"), "(no file)");
}

// By numbers, by headers of several kinds, without a header, and with every delimiter the same script.
TEST(Plot, FindsColumnsByHeadersOrNumbers)
{
    const Folder folder;
    const std::string path = pathWith(folder, "cat");
    const std::string rows = "1\trs1\t100\t0.5\n2\trs2\t70\t1e-9\n1\trs3\tx\t0.1\n1\trs4\t150\t0.001\n";
    std::string commas = "#CHROM,ID,BP,P\n" + rows;
    std::ranges::replace(commas, '\t', ',');
    folder.write("tabs", "Chr\tSNPID\tPos\tp-value\n" + rows);
    folder.write("commas", commas);
    folder.write("plain", rows);
    folder.write("ones", "p\n1\n");
    EXPECT_EQ(draw(folder, {"qq", "-file", "ones", "-out", "a.png"}, path).status, 0);
    const std::vector<std::string> numbers = {"-chrcolumn", "1", "-namecolumn", "2", "-lcolumn", "3", "-pcolumn", "4"};
    std::vector<std::string> scripts;
    for (const auto &[file, isNumbered] : {std::pair{"tabs", false}, {"commas", false}, {"plain", true},
                                         {"tabs", true}}) {
        std::vector<std::string> words = {"manhattan", "-file", file, "-out", "a.png", "-script", "yes"};
        if (isNumbered)
            words.insert(words.end(), numbers.begin(), numbers.end());
        const Result result = draw(folder, words, path);
        ASSERT_EQ(result.status, 0) << result.errors;
        scripts.push_back(folder.read("a.png.gp"));
        EXPECT_NE(scripts.back().find("\"rs2\""), std::string::npos);
        EXPECT_EQ(scripts.back(), scripts[0]) << file;
    }
}

// Of a peak that is a million bases wide on either side the best one alone has its name.
TEST(Plot, NamesTheBestMarkerOfEveryPeak)
{
    const Folder folder;
    folder.write("in", "CHR\tSNP\tBP\tP\n1\tbest\t1000000\t1e-20\n1\tnear\t1999999\t1e-15\n1\tnext\t2000000\t1e-14\n"
                       "2\tother\t1000000\t1e-13\n2\tbelow\t9000000\t1e-3\n");
    ASSERT_EQ(draw(folder, {"manhattan", "-file", "in", "-out", "a.png", "-script", "yes"}, pathWith(folder, "cat")).status, 0);
    const std::string script = folder.read("a.png.gp");
    for (const auto &[name, isNamed] : {std::pair{"best", true}, {"near", false}, {"next", true}, {"other", true}, {"below", false}})
        EXPECT_EQ(script.find("\"" + std::string(name) + "\"") != script.npos, isNamed) << name;
}
