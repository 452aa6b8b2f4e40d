#include "numbers/logarithm.h"
#include "support/genotypemodel.h"
#include "support/random.h"
#include "text/readnumber.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <numeric>

static const std::string clip2 = "id1 not defined\nid2 not defined\nid3 not defined\nClip2 not applied\n";
static const std::string running = clip2 + "running peakScan3()\n\nClip function turned on\n";

static const Texts columns = {"-file", "in", "-out", "out", "-chrcolumn", "1", "-lcolumn", "2", "-pcolumn", "3"};

// -log10 p is 0 0 10 20 10 0 0 at markers 100 apart; the slopes are 0.04 0 -0.04 in the middle.
static std::string peak(int position)
{
    std::string lines;
    for (const char *p : {"1", "0", "1e-10", "1e-20", "1e-10", "-3", "1"})
        lines += "7\t" + std::to_string(position += 100) + "\t" + p + "\n";
    return lines;
}

TEST(PeakScan3, WritesMarkersAndRanges)
{
    const std::string markers = "0\t7\t100\t0\t0\t0\t0\n1\t7\t200\t0\t3.33333\t0\t0\n"
                                "2\t7\t300\t10\t0\t10\t0\n3\t7\t400\t20\t0\t20\t0\n4\t7\t500\t10\t0\t10\t0\n"
                                "5\t7\t600\t0\t3.33333\t0\t0\n6\t7\t700\t0\t0\t0\t0\n";
    expectRuns({"peakscan3", columns, {"in"}, {"out", "out.ranges"}}, {
        {"one peak", {"header\n7\tNA\t1\n\n7\t1\tNA\r\n" + peak(0)}, {"-header", "yes", "-clip", "no"},
         {markers, "SUM: max: 3 400 20 maxder: 0.16 range: 300 500 200 3\n"},
         clip2 + "running peakScan3()\n\nClip function turned off\nextract header\n"},
    });
    // The last marker of the first peak is at 500, and the last one before the second at 500 + 19998 or 19999.
    for (const auto &[offset, ranges] : {std::pair(19798, 1), std::pair(19799, 2), std::pair(30000, 2)}) {
        const Folder folder;
        folder.write("in", peak(0) + peak(offset + 500));
        folder.runMode("peakscan3", columns);
        EXPECT_EQ(std::ranges::count(folder.read("out.ranges"), '\n'), ranges) << offset;
    }
}

TEST(PeakScan3, GoesByTheLabels)
{
    expectRuns({"peakscan3", columns, {"in"}, {"out", "out.ranges"}, {}, running}, {
        {"nothing", {""}, {}, {"", ""}},
        {"one line", {"1\t123456789\t0.1\n"}, {}, {"0\t1\t1.23457e+08\t1\t0\t0\t0\n", ""}},
        {"two labels", {"1\t5\t.1\n1\t6\t.1\n2\t7\t.1\n2\t8\t.1\n"}, {},
         {"0\t1\t5\t1\t0\t0\t0\n1\t1\t6\t1\t0\t0\t0\n0\t2\t7\t1\t0\t0\t0\n1\t2\t8\t1\t0\t0\t0\n", ""}},
        {"a single last line goes by the label before it", {"1\t5\t.1\n1\t6\t.1\n2\t7\t.1\n"}, {},
         {"0\t1\t5\t1\t0\t0\t0\n1\t1\t6\t1\t0\t0\t0\n0\t1\t7\t1\t0\t0\t0\n", ""}},
        {"a label comes back", {"1\t5\t.1\n2\t6\t.1\n1\t7\t.1\n1\tNA\t.1\n"}, {},
         {"0\t1\t5\t1\t0\t0\t0\n0\t2\t6\t1\t0\t0\t0\n0\t2\t7\t1\t0\t0\t0\n", ""}},
    });
}

TEST(PeakScan3, EndsWithItsMessage)
{
    const std::string fewer = " has fewer fields than column ";
    const Texts required = {"-out", "o", "-lcolumn", "2", "-pcolumn", "3", "-chrcolumn", "1", "-delim", " "};
    expectRuns({"peakscan3", required, {"in"}, {"o", "o.ranges"}, {}, "", 1}, {
        {"no file", {}, {}, {}, "You need to specify '-file'.\n\n"},
        {"no column", {}, {"-file", "in", "-lcolumn", "0"}, {}, "Incorrect lcolumn\n"},
        {"dots", {}, {"-file", "in", "-dots", "2.5"}, {}, "Incorrect dots\n"},
        {"gap", {}, {"-file", "in", "-gap", "0.9"}, {}, "Incorrect gap\n"},
        {"window", {}, {"-file", "in", "-gap", "1.5", "-window", "1"}, {}, "Windows corrected to 2\n"},
        {"frame", {}, {"-file", "in", "-window", "2", "-frame", "nan"}, {}, "Incorrect frame\n"},
        {"threshold", {}, {"-file", "in", "-threshold", "-0.1"}, {}, "Incorrect threshold\n"},
        {"peak threshold", {}, {"-file", "in", "-threshold", "0", "-peak-threshold", "-1"}, {},
         "Incorrect peak_threshold\n"},
        {"no such file", {}, {"-file", "none", "-id1", "1", "-id2", "0", "-id3", "-1", "-clip2", "1e6"}, {""},
         "id2 not defined\nClip2 = 1e+06\nrunning peakScan3()\n\nClip function turned on\n"},
        {"short line", {"1 2 3\n"}, {"-file", "in", "-lcolumn", "4"}, {"", ""}, running + "Line 1" + fewer + "4\n"},
        {"short line behind a header", {"1\n1 2 3\n"}, {"-file", "in", "-chrcolumn", "5", "-header", "yes"}, {"", ""},
         running + "extract header\nLine 2" + fewer + "5\n"},
    });
}

using Values = std::vector<double>;

static Values average(const Values &values, size_t window)
{
    Values averages(values.size());
    auto to = averages.begin() + long(window / 2);
    for (auto i = values.begin(); values.end() - i >= long(window); ++i)
        *to++ = std::accumulate(i, i + long(window), 0.0) / double(window);
    return averages;
}

// The judge: each step as it is told.
static void analyseLiterally(const Values &L, Values P, std::string &out, std::string &ranges)
{
    const long n = long(P.size());
    for (double &x : P)
        x = x <= 0 ? 0 : -decimalLogarithm(x);
    Values S = average(P, 3), M(P.size()), slopes(P.size());
    for (long i = 0; i + 5 <= n; ++i) {
        double x = 0, y = 0, xy = 0, xx = 0;
        for (long j = i; j < i + 5; ++j)
            x += L[j], y += P[j], xy += L[j] * P[j], xx += L[j] * L[j];
        const double slope = (5 * xy - x * y) / (5 * xx - x * x);
        slopes[i + 2] = std::abs(x == 0 || std::isnan(slope) ? 0 : slope);
    }
    for (long i = 0; i < n; ++i)
        slopes[i] *= P[i];
    Values D = average(slopes, 5);
    for (;;) {
        long s = 0;
        for (long i = 0; i < n; ++i)
            s = D[i] > D[s] ? i : s;
        if (n == 0 || D[s] <= 0.0001)
            break;
        long last = s, first = s;
        for (long j = s; j < n && !(S[j] < 5 && L[j] - L[last] > 19998); ++j)
            last = S[j] >= 5 ? j : last;
        for (long k = s; k >= 1 && !(S[k] < 5 && L[first] - L[k] > 19998); --k)
            first = S[k] >= 5 ? k : first;
        const long best = std::max_element(P.begin() + first, P.begin() + last + 1) - P.begin();
        if (L[first] != L[last]) {
            ranges += "SUM: max: " + std::to_string(best);
            for (const double value : {L[best], P[best]})
                ranges += " " + plainText(value);
            ranges += " maxder: " + plainText(D[s]) + " range:";
            for (const double value : {L[first], L[last], L[last] - L[first], double(last - first + 1)})
                ranges += " " + plainText(value);
            ranges += "\n";
            std::copy(P.begin() + first, P.begin() + last + 1, M.begin() + first);
            std::fill(S.begin() + first, S.begin() + last + 1, 0);
        }
        std::fill(D.begin() + first, D.begin() + last + 1, 0);
    }
    for (long i = 0; i < n; ++i) {
        out += std::to_string(i) + "\tx";
        for (const double value : {L[i], P[i], S[i], M[i], D[i]})
            out += "\t" + plainText(value);
        out += "\n";
    }
}

TEST(PeakScan3, AgreesWithAPlainVersion)
{
    for (uint64_t seed = 0; seed < 400; ++seed) {
        RandomText random(seed);
        // Multiples of 1111 make gaps of 19998.
        const long unit = random.oneIn(3) ? 1111 : 1;
        const size_t step = 1 + (unit > 1 ? random.below(18) : std::array{1, 3, 100, 2000, 30000}[random.below(5)]);
        const bool isSorted = !random.oneIn(5), isPlain = !random.oneIn(4);
        long position = long(random.below(230000000));
        Values L, P;
        std::string input, out, ranges;
        for (size_t n = random.below(500); n > 0; --n) {
            position += unit * (long(random.below(step)) - (isSorted ? 0 : long(random.below(step))));
            std::string value = "1e-" + std::to_string(random.below(n / 50 % 3 == 0 ? 30 : 7));
            if (!isPlain && random.oneIn(30))
                value = random.number(9);
            L.push_back(double(position));
            P.push_back(text::readDouble(value));
            input += "x\t" + std::to_string(position) + "\t" + value + random.lineEnd();
            if (value == "NA")
                L.pop_back(), P.pop_back();
        }
        analyseLiterally(L, P, out, ranges);
        expectRuns({"peakscan3", columns, {"in"}, {"out", "out.ranges"}},
            {{"seed " + std::to_string(seed), {input}, {}, {out, ranges}}});
        ASSERT_FALSE(HasFailure());
    }
}
