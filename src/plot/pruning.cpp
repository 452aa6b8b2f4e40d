// ldprune's files: what is kept and what is removed along the chromosome.
#include "main/console.h"
#include "plot/chromosomes.h"
#include "plot/drawings.h"
#include "plot/verbs.h"

#include <algorithm>
#include <cmath>

namespace plot {

static constexpr InputOption removedOption
    = {"-removed", Use::Optional, "removed rows, in place of the table's name + .removed"};
static constexpr const Option *options[] = {
    &fileOption,       &outOption,       &removedOption, &positionColumnOption, &pColumnOption, &chromosomeColumnOption,
    &nameColumnOption, &phenotypeOption, &headerOption,  &delimOption,          &titleOption,   &widthOption,
    &heightOption,     &scriptOption};

static std::vector<Place> readPlaces(const std::string &file, const Layout &layout)
{
    std::vector<Place> places;
    ResultReader reader(file, layout, {true, false});
    for (Result row = {}; reader.next(row);)
        places.push_back({row.position, minusLog10(row.p)});
    return places;
}

static bool isEmptyFile(const std::string &file)
{
    text::LineReader in;
    openInput(in, file);
    std::string_view line;
    return !in.nextNonEmpty(line);
}

Figure drawPruning(const std::string &kept, const std::string &removed, const Layout &layout, const Size &asked)
{
    const Size size = asked.fitted(55);
    Layout removedLayout = layout;
    removedLayout.dropped = " dCM ";
    std::vector<Place> places[2];
    if (!isEmptyFile(removed))
        places[0] = readPlaces(removed, removedLayout);
    places[1] = readPlaces(kept, layout);
    double from = 1e300, to = -1e300, top = 1;
    for (const std::vector<Place> &side : places) {
        for (const Place &place : side) {
            from = std::min(from, place.position);
            to = std::max(to, place.position);
            top = std::isinf(place.value) ? top : std::max(top, place.value);
        }
    }
    if (from > to)
        fatal("'%s' has no p-values from 0 to 1 with a position\n", kept.c_str());
    const double room = std::max((to - from) * 0.02, 1.0);
    from -= room;
    to += room;
    top *= 1.08;
    const BaseUnit unit = baseUnitOf(to - from);
    Figure figure(size);
    const Box box = {160, size.top + 56, size.width - 40, size.height - 130};
    figure.beginPanel(box, {from / unit.size, to / unit.size, std::string("Position (") + unit.name + ")"},
                      {-top * 0.03, top, "−log₁₀ p"});
    for (const bool isKept : {false, true}) {
        Cloud cloud(box.width(), box.height(), plainDot);
        for (const Place &place : places[isKept])
            cloud.add(pixelOf(place.position, from, to, box.width()),
                      std::isinf(place.value) ? box.height() - plainDot
                                              : pixelOf(place.value, -top * 0.03, top, box.height()));
        figure.cloud(cloud, isKept ? blue : orange);
    }
    const std::pair<std::string, Colour> entries[]
        = {{shownCount(places[1].size()) + " kept", blue}, {shownCount(places[0].size()) + " removed", orange}};
    figure.legend(box.left, size.top + 12, size.width, entries);
    figure.endPanel();
    figure.heading = "Pruning";
    figure.description = "Markers thinned by genetic distance: " + shownCount(places[1].size()) + " kept and "
                         + shownCount(places[0].size()) + " removed along "
                         + shownNumber((to - from - 2 * room) / unit.size) + " " + unit.name + ", by minus log10 p.";
    return figure;
}

static void pruning()
{
    const std::string kept = fileOption.require(), removed = removedOption.given().value_or(kept + ".removed");
    const Picture picture({kept, removed});
    picture.save(drawPruning(kept, removed, readLayout(), picture.size()));
}

constinit const Mode pruningKind
    = {{"pruning"}, pruning, options, "ldprune's kept and removed markers along the chromosome"};

}  // namespace plot
