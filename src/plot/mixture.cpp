// mixfit's report: every sample a bar of its populations' proportions, ordered by the main one.
#include "main/console.h"
#include "plot/drawings.h"
#include "plot/rows.h"
#include "plot/verbs.h"
#include "text/readnumber.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace plot {

static constexpr const Option *options[]
    = {&fileOption, &outOption, &titleOption, &widthOption, &heightOption, &scriptOption};

static constexpr size_t mostNamed = 40;   // samples whose names stand below the picture
static constexpr size_t mostColours = 7;  // populations with a colour of their own

struct Sample {
    std::string name;
    std::vector<std::pair<std::string, double>> parts;  // population and proportion, above 0
};

struct Report {
    std::vector<Sample> samples;
    std::vector<std::string> populations;
};

// The last word of the text, which is taken off.
static std::string_view takeLastWord(std::string_view &text)
{
    const size_t blank = text.rfind(' ');
    const std::string_view word = blank == text.npos ? text : text.substr(blank + 1);
    text = text.substr(0, blank == text.npos ? 0 : blank);
    return word;
}

// The names of the populations stand at the end of the report: "0 cumul_normal North 1.25".
static std::vector<std::string> readPopulations(const std::string &file)
{
    text::LineReader in;
    openInput(in, file);
    std::vector<std::string> populations;
    static constexpr std::string_view key = " cumul_normal ";
    for (std::string_view line; in.nextNonEmpty(line);) {
        const size_t place = line.find(key);
        if (place == line.npos || line.substr(0, place).find_first_not_of("0123456789") != line.npos)
            continue;
        line.remove_prefix(place + key.size());
        takeLastWord(line);
        populations.emplace_back(line);
    }
    return populations;
}

// "3Hits anna North 0.75 South 0.25 East 0 score: 0.05", read from its end since names may hold blanks.
static bool readSample(std::string_view line, const std::vector<std::string> &populations, Sample &sample)
{
    const bool isFit = line.starts_with("3Hits ") || line.starts_with("2Hits ") || line.starts_with("1Hit ");
    const size_t score = line.rfind(" score: ");
    if (!isFit || score == line.npos)
        return false;
    const int parts = line[0] - '0';
    line = line.substr(line.find(' ') + 1, score - line.find(' ') - 1);
    while (parts < 3 && line.ends_with(" -"))
        line.remove_suffix(2);
    for (int part = 0; part < parts; ++part) {
        const double proportion = numberIn(takeLastWord(line));
        const auto isLast = [&](const std::string &name) { return line.ends_with(" " + name); };
        // Of names that end alike the longest.
        const std::string *population = nullptr;
        for (const std::string &name : populations) {
            if (isLast(name) && (!population || name.size() > population->size()))
                population = &name;
        }
        if (!population)
            return false;
        line.remove_suffix(population->size() + 1);
        if (proportion > 0)
            sample.parts.insert(sample.parts.begin(), {*population, proportion});
    }
    sample.name = line;
    return true;
}

static Report readReport(const std::string &file)
{
    Report report = {{}, readPopulations(file)};
    text::LineReader in;
    openInput(in, file);
    for (std::string_view line; in.nextNonEmpty(line);) {
        Sample sample;
        if (readSample(line, report.populations, sample))
            report.samples.push_back(std::move(sample));
    }
    if (report.samples.empty())
        fatal("'%s' is no report of mixfit with samples that it could fit\n", file.c_str());
    return report;
}

static double partOf(const Sample &sample, const std::string &population)
{
    for (const auto &[name, proportion] : sample.parts) {
        if (name == population)
            return proportion;
    }
    return 0;
}

Figure drawMixture(const std::string &file, const Size &asked)
{
    Report report = readReport(file);
    std::vector<Sample> &samples = report.samples;
    std::vector<std::pair<std::string, double>> totals;
    for (const std::string &population : report.populations) {
        double sum = 0;
        for (const Sample &sample : samples)
            sum += partOf(sample, population);
        totals.emplace_back(population, sum);
    }
    std::ranges::stable_sort(totals, [](const auto &a, const auto &b) { return a.second > b.second; });
    std::erase_if(totals, [](const auto &total) { return total.second == 0; });
    const auto placeOf = [&](const std::string &population) {
        return size_t(std::ranges::find(totals, population, &std::pair<std::string, double>::first) - totals.begin());
    };
    const auto mainOf = [&](const Sample &sample) {
        const auto main = std::ranges::max_element(sample.parts, {}, &std::pair<std::string, double>::second);
        return main == sample.parts.end() ? std::pair(totals.size(), 0.0)
                                          : std::pair(placeOf(main->first), -main->second);
    };
    std::ranges::stable_sort(samples, [&](const Sample &a, const Sample &b) { return mainOf(a) < mainOf(b); });

    // The smaller ones of many populations share a colour.
    const size_t own = totals.size() <= mostColours ? totals.size() : mostColours - 1;
    const auto colourOf = [&](size_t place) { return place < own ? categories[place] : grey; };
    std::vector<std::pair<std::string, Colour>> entries;
    for (size_t k = 0; k < own; ++k)
        entries.emplace_back(shownText(totals[k].first, 16), colourOf(k));
    if (own < totals.size())
        entries.emplace_back("others", grey);

    const bool isNamed = samples.size() <= mostNamed;
    int nameHeight = 0;
    for (const Sample &sample : samples)
        nameHeight = isNamed ? std::max(nameHeight, textWidth(shownText(sample.name, 14), smallText)) : 0;
    const Size size = asked.fitted(62 + nameHeight / pixelsPerMillimetre);
    Figure figure(size);
    const int left = 160, right = size.width - 30;
    // The height of the legend is known when it is laid out.
    Figure trial(size);
    const int legendRows = trial.legend(left, 0, right, entries);
    const Box box = {left, size.top + legendRows * 40 + 20, right, size.height - 100 - nameHeight};
    const Axis xAxis = {0, double(samples.size()), "", false}, yAxis = {0, 1, "Proportion"};
    figure.beginPanel(box, xAxis, yAxis);
    figure.legend(left, size.top + 14, right, entries);
    // Bars from pixel to pixel, so that neighbours share an edge.
    const auto x = [&](size_t i) {
        return std::round(double(i) / double(samples.size()) * box.width()) / box.width() * double(samples.size());
    };
    const double gap = samples.size() <= mostNamed ? 0.06 : 0;
    std::vector<std::vector<Figure::Rectangle>> bars(totals.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        double below = 0;
        std::vector<std::pair<size_t, double>> parts;
        for (const auto &[name, proportion] : samples[i].parts)
            parts.emplace_back(placeOf(name), proportion);
        std::ranges::sort(parts);
        for (const auto &[place, proportion] : parts) {
            bars[place].push_back({x(i) + gap, below, x(i + 1) - gap, std::min(below + proportion, 1.0)});
            below = std::min(below + proportion, 1.0);
        }
        if (isNamed)
            figure.text(box.left + (double(i) + 0.5) / double(samples.size()) * box.width(), box.bottom + 14,
                        shownText(samples[i].name, 14), smallText, Align::Right, "", 90);
    }
    for (size_t place = 0; place < bars.size(); ++place)
        figure.rectangles(bars[place], colourOf(place));
    figure.text((box.left + box.right) / 2.0, box.bottom + nameHeight + 50,
                shownCount(samples.size()) + (samples.size() == 1 ? " sample" : " samples"), largeText, Align::Centre);
    figure.endPanel();
    figure.heading = "Mixtures of populations";
    figure.description = "Proportions of populations in " + shownCount(samples.size())
                         + " samples, ordered by their main one. Mean proportions:";
    for (size_t k = 0; k < totals.size() && k < 20; ++k)
        figure.description += (k ? ", " : " ") + shownText(totals[k].first) + " "
                              + shownNumber(totals[k].second / double(samples.size()));
    figure.description += ".";
    return figure;
}

static void mixture()
{
    drawFile(drawMixture);
}

constinit const Mode mixtureKind
    = {{"mixture"}, mixture, options, "mixfit's report as stacked bars, ordered by the main population"};

}  // namespace plot
