// peakscan3's table: -log10 p, the smoothed profile and the score, with the ranges shaded; a panel a chromosome.
#include "main/console.h"
#include "plot/chromosomes.h"
#include "plot/drawings.h"
#include "plot/rows.h"
#include "plot/verbs.h"
#include "text/fields.h"
#include "text/files.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace plot {

static constexpr InputOption rangesOption
    = {"-ranges", Use::Optional, "ranges, in place of the table's name + .ranges"};
static constexpr TextOption chromosomeOption = {"-chromosome", "", "only this one"};
static constexpr const Option *options[] = {&fileOption,  &outOption,   &rangesOption, &chromosomeOption,
                                            &titleOption, &widthOption, &heightOption, &scriptOption};

static constexpr size_t mostPanels = 36;

struct Marker {
    double position, value, profile, score;
    bool isMarked;
};

struct Range {
    double from, to;
};

struct Track {
    std::string name;
    std::vector<Marker> markers;
    std::vector<Range> ranges;
};

static std::vector<Track> readTracks(const std::string &file)
{
    std::vector<Track> tracks;
    std::map<std::string, size_t, std::less<>> places;
    text::LineReader in;
    openInput(in, file);
    Progress progress(file, "", "rows");
    std::vector<std::string_view> fields;
    size_t row = 0;
    for (std::string_view line; in.nextNonEmpty(line);) {
        progress.advance(line.size());
        ++row;
        text::splitFields(line, "\t", fields);
        const double position = fields.size() == 7 ? numberIn(fields[2]) : std::numeric_limits<double>::quiet_NaN();
        if (!std::isfinite(position))
            fatal("Line %zu of '%s' is no row of a table of peakscan3\n", row, file.c_str());
        auto found = places.find(fields[1]);
        if (found == places.end()) {
            found = places.emplace(fields[1], tracks.size()).first;
            tracks.push_back({std::string(fields[1]), {}, {}});
        }
        tracks[found->second].markers.push_back({position, text::readDouble(fields[3]), text::readDouble(fields[4]),
                                                 text::readDouble(fields[6]), text::readDouble(fields[5]) != 0});
    }
    if (tracks.empty())
        fatal("'%s' is empty\n", file.c_str());
    return tracks;
}

// A range names no chromosome, but stands behind those of the chromosomes before its own in the table, and the marker
// of its maximum has the number and position that it names.
static void readRanges(const std::string &file, std::vector<Track> &tracks)
{
    text::LineReader in;
    openInput(in, file);
    std::vector<std::string_view> fields;
    size_t track = 0;
    for (std::string_view line; in.nextNonEmpty(line);) {
        text::splitNonEmptyFields(line, " ", fields);
        if (fields.size() != 12 || fields[0] != "SUM:" || fields[1] != "max:" || fields[7] != "range:")
            fatal("'%s' is no list of ranges of peakscan3\n", file.c_str());
        const double number = numberIn(fields[2]), position = numberIn(fields[3]), value = numberIn(fields[4]);
        const auto isOn = [&](const Track &candidate) {
            if (!(number >= 0 && number < double(candidate.markers.size())))
                return false;
            const Marker &marker = candidate.markers[size_t(number)];
            return marker.position == position && marker.value == value;
        };
        const auto found = std::find_if(tracks.begin() + std::ptrdiff_t(track), tracks.end(), isOn);
        if (found == tracks.end())
            fatal("The ranges in '%s' do not belong to this table\n", file.c_str());
        track = size_t(found - tracks.begin());
        found->ranges.push_back({numberIn(fields[8]), numberIn(fields[9])});
    }
}

// Without the places that the scan has set to 0 once a range was reported.
static std::vector<Point> profileOf(const Track &track, double Marker::*value, double scale, double unit)
{
    std::vector<Point> points;
    for (const Marker &marker : track.markers) {
        const bool isTaken = marker.isMarked && marker.*value == 0;
        points.push_back(
            {marker.position / unit, isTaken ? std::numeric_limits<double>::quiet_NaN() : marker.*value * scale});
    }
    return points;
}

static void drawTrack(const Track &track, const Box &box, double top, bool isFirst, Figure &figure)
{
    const auto [low, high] = std::ranges::minmax(track.markers, {}, &Marker::position);
    const double room = std::max((high.position - low.position) * 0.02, 1.0);
    const double from = low.position - room, to = high.position + room;
    const BaseUnit unit = baseUnitOf(to - from);
    figure.beginPanel(box, {from / unit.size, to / unit.size, ""}, {0, top, isFirst ? "−log₁₀ p" : ""});
    std::vector<Figure::Rectangle> shades;
    for (const Range &range : track.ranges) {
        const double least = (to - from) / box.width() * 2;
        shades.push_back({(range.from - least) / unit.size, 0, (range.to + least) / unit.size, top});
    }
    figure.rectangles(shades, orange, 0.3);
    double score = 0;
    for (const Marker &marker : track.markers)
        score = std::max(score, marker.score);
    if (score > 0)
        figure.line(thinned(profileOf(track, &Marker::score, top * 0.9 / score, unit.size), from / unit.size,
                            to / unit.size, box.width()),
                    purple, thinLine);
    Cloud cloud(box.width(), box.height(), plainDot);
    for (const Marker &marker : track.markers)
        cloud.add(pixelOf(marker.position, from, to, box.width()), pixelOf(marker.value, 0, top, box.height()));
    figure.cloud(cloud, blue);
    figure.line(
        thinned(profileOf(track, &Marker::profile, 1, unit.size), from / unit.size, to / unit.size, box.width()),
        vermillion);
    figure.text(box.left + 14, box.top + 12, shownText(track.name, 10) + " (" + unit.name + ")", smallText);
    figure.endPanel();
}

static void chooseTracks(const std::string &file, const std::string &chromosome, std::vector<Track> &tracks)
{
    if (!chromosome.empty()) {
        std::erase_if(tracks, [&](const Track &track) { return track.name != chromosome; });
        if (tracks.empty())
            fatal("'%s' has no chromosome '%s'\n", file.c_str(), chromosome.c_str());
    }
    std::ranges::stable_sort(tracks, [](const Track &a, const Track &b) { return isChromosomeBefore(a.name, b.name); });
    // Of too many those with ranges.
    if (tracks.size() > mostPanels)
        std::ranges::stable_sort(tracks,
                                 [](const Track &a, const Track &b) { return !a.ranges.empty() && b.ranges.empty(); });
    tracks.resize(std::min(tracks.size(), mostPanels));
}

Figure drawPeaks(const std::string &file, const std::string &ranges, const std::string &chromosome, const Size &asked)
{
    std::vector<Track> tracks = readTracks(file);
    if (!ranges.empty())
        readRanges(ranges, tracks);
    chooseTracks(file, chromosome, tracks);
    double top = 1;
    size_t markers = 0, peaks = 0;
    for (const Track &track : tracks) {
        markers += track.markers.size();
        peaks += track.ranges.size();
        for (const Marker &marker : track.markers)
            top = std::max(top, marker.value);
    }
    top *= 1.08;
    const int count = int(tracks.size()),
              columns = count <= 2   ? 1
                        : count <= 8 ? 2
                                     : 3,
              rows = (count + columns - 1) / columns;
    const Size size = asked.fitted(rows == 1 ? 62 : 26 + rows * (columns == 1 ? 40 : 28));
    Figure figure(size);
    const int left = 150, legendHeight = 96, bottom = 84, apart = 86, beside = 84;
    const int width = (size.width - left - 30 - (columns - 1) * beside) / columns;
    const int height = std::max((size.height - size.top - legendHeight - bottom - (rows - 1) * apart) / rows, 40);
    for (int i = 0; i < count; ++i) {
        const int x = left + i % columns * (width + beside),
                  y = size.top + legendHeight + i / columns * (height + apart);
        if (i == 0) {
            const std::pair<std::string, Colour> entries[]
                = {{"−log₁₀ p", blue}, {"smoothed", vermillion}, {"scaled score", purple}, {"range", orange}};
            figure.legend(left, size.top + 12, size.width - 20, entries);
        }
        drawTrack(tracks[size_t(i)], {x, y, x + width, y + height}, top, i % columns == 0 && i / columns == rows / 2,
                  figure);
    }
    figure.heading = "Peaks of association";
    figure.description = "Peak scan: minus log10 p of " + shownCount(markers)
                         + " markers with smoothed profile and score, on " + shownCount(tracks.size())
                         + (count == 1 ? " chromosome" : " chromosomes") + "; " + shownCount(peaks)
                         + (peaks == 1 ? " range is" : " ranges are") + " shaded.";
    for (const Track &track : tracks) {
        for (const Range &range : track.ranges)
            figure.description
                += " " + shownText(track.name) + ": " + numberOf(range.from) + " to " + numberOf(range.to) + ".";
    }
    return figure;
}

static void peaks()
{
    const std::string file = fileOption.require();
    std::string ranges = rangesOption.given().value_or("");
    if (ranges.empty() && text::exists(file + ".ranges"))
        ranges = file + ".ranges";
    const Picture picture({file, ranges});
    picture.save(drawPeaks(file, ranges, chromosomeOption.read(), picture.size()));
}

constinit const Mode peaksKind
    = {{"peaks"}, peaks, options, "peakscan3's profile and score with the ranges shaded, a panel a chromosome"};

}  // namespace plot
