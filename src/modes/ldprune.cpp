// Pruning of a position-sorted table by genetic distance: of two neighbours closer than a threshold the one with the
// larger p-value is dropped. Kept lines go to the output as they are, dropped ones with the distance that condemned
// them to a side file.
#include "main/console.h"
#include "main/options.h"
#include "main/progress.h"
#include "modes/modes.h"
#include "modes/tables.h"
#include "text/delimiters.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/wide.h"
#include "text/writer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <memory>
#include <vector>

static std::string filename;
static std::string mapname;
static std::string outname;
static std::string removedname;
static std::string Delim;
static double threshold;  // centimorgans
static size_t pcolumn;    // 1-based
static size_t poscolumn;  // 1-based
static bool headeryes;

static std::vector<int> MapPos;    // base pairs
static std::vector<double> MapCm;  // centimorgans at these positions

// Copies of lines, in blocks that never move.
class LineStore {
public:
    const char *add(std::string_view line)
    {
        if (line.size() > m_left) {
            m_left = std::max(line.size(), blockSize);
            m_blocks.push_back(std::make_unique_for_overwrite<char[]>(m_left));
            m_next = m_blocks.back().get();
        }
        char *copy = m_next;
        line.copy(copy, line.size());
        m_next += line.size();
        m_left -= line.size();
        return copy;
    }

private:
    static constexpr size_t blockSize = size_t(1) << 20;

    std::vector<std::unique_ptr<char[]>> m_blocks;
    char *m_next = nullptr;
    size_t m_left = 0;
};

struct Marker {
    const char *line;
    size_t size : 63;  // of the line
    size_t isUnmapped : 1;
    double cM;
    double pValue;

    std::string_view text() const { return {line, size}; }
};
using Markers = std::deque<Marker>;  // grows without moving, so that memory never holds two copies

static size_t readColumn(std::string_view name)
{
    const int column = integerOption(name, 0);
    if (column < 1)
        fatal("%s not specified\n", std::string(name).c_str());
    return size_t(column);
}

// An empty value counts as absent. The side file is opened before the columns are looked at.
static void readOptions(text::Writer &removed)
{
    filename = textOption("-file", "");
    mapname = textOption("-map", "");
    if (filename.empty() || mapname.empty())
        quit();  // silent by design
    outname = textOption("-out", "");
    if (outname.empty())
        outname = filename + ".out";
    removedname = outname + ".removed";
    refuseSameFiles({filename, mapname}, {outname, removedname});
    if (!removed.open(removedname))
        quit();
    Delim = text::delimiter(textOption("-delim", "tab"), "\t");
    threshold = realOption("-threshold", 0);
    pcolumn = readColumn("-pcolumn");
    poscolumn = readColumn("-poscolumn");
    headeryes = textOption("-dataheader", "no") == "yes";
}

static void readMap(text::LineReader &map)
{
    std::string_view line;
    map.next(line);  // always a header
    for (int64_t lineNumber = 2; map.next(line); ++lineNumber) {
        if (line.empty())
            continue;
        MapPos.push_back(text::readInteger(requiredField(line, " ", 1, lineNumber)));
        MapCm.push_back(text::readDouble(requiredField(line, " ", 3, lineNumber)));
    }
}

// Finds the map interval of a position: the first k with P(k-1) <= x <= P(k), or 0 where there is none.
class IntervalFinder {
public:
    size_t find(int x)
    {
        // Strictly above its start no earlier interval of a sorted map ends.
        if (m_isSorted && m_last > 0 && MapPos[m_last - 1] < x && x <= MapPos[m_last])
            return m_last;
        m_last = m_isSorted ? bisect(x) : scan(x);
        return m_last;
    }

private:
    static size_t bisect(int x)
    {
        const size_t k = size_t(std::ranges::lower_bound(MapPos, x) - MapPos.begin());
        if (k == MapPos.size())
            return 0;
        return k == 0 && MapPos.size() > 1 && MapPos[0] == x ? 1 : k;
    }

    static size_t scan(int x)
    {
        for (size_t k = 1; k < MapPos.size(); ++k) {
            if (MapPos[k - 1] <= x && x <= MapPos[k])
                return k;
        }
        return 0;
    }

    const bool m_isSorted = std::ranges::is_sorted(MapPos);
    size_t m_last = 0;
};

// The position between the ends of map interval k. In an interval without length it is not a number.
static double interpolate(int x, size_t k)
{
    const double d1 = double(x) - double(MapPos[k - 1]);
    const double d2 = double(MapPos[k]) - double(x);
    return MapCm[k - 1] + ((MapCm[k] - MapCm[k - 1]) * d1) / (d2 + d1);
}

MORVEL_WIDE static void readMarkers(text::LineReader &in, LineStore &store, Markers &markers)
{
    const std::string delimiter = Delim;
    const size_t positionColumn = poscolumn, valueColumn = pcolumn;
    IntervalFinder intervals;
    Progress progress(filename);
    std::string_view line;
    int64_t lineNumber = headeryes && in.next(line);
    while (in.next(line)) {
        progress.advance(line.size());
        ++lineNumber;
        if (line.empty())
            continue;
        const int position = text::readInteger(requiredField(line, delimiter, positionColumn, lineNumber));
        const double pValue = text::readDouble(requiredField(line, delimiter, valueColumn, lineNumber));
        const size_t k = intervals.find(position);
        // Unmapped markers take part in distances as -1.
        const double cM = k == 0 ? -1 : interpolate(position, k);
        markers.push_back({store.add(line), line.size() & ~size_t(0) >> 1, k == 0, cM, pValue});
    }
}

static void writeRemoved(const Marker &marker, double dCM, text::Writer &removed)
{
    removed.put(marker.text());
    removed.put(" dCM ");
    removed.put(dCM);
    removed.put('\n');
}

// One pass over the pairs (0, 1), (2, 3) ... of the list as it stands; the survivors move together. Returns whether
// the last pair was pruned.
static bool prunePairs(Markers &markers, text::Writer &removed)
{
    bool remove = false;
    const auto end = markers.end();
    auto kept = markers.begin(), next = markers.begin();
    while (end - next >= 2) {
        const Marker &first = *next++;
        const Marker &second = *next++;
        const double dCM = std::abs(second.cM - first.cM);
        remove = dCM < threshold;  // never for a distance that is not a number
        if (!remove) {
            *kept++ = first;
            *kept++ = second;
            continue;
        }
        if (first.isUnmapped || second.isUnmapped)
            fatal("error!\n");
        const bool dropsFirst = second.pValue <= first.pValue;
        writeRemoved(dropsFirst ? first : second, dCM, removed);
        *kept++ = dropsFirst ? second : first;
    }
    kept = std::copy(next, end, kept);
    markers.erase(kept, end);
    return remove;
}

void ldPrune()
{
    text::Writer removed, out;
    readOptions(removed);
    print("running ldPrune()\npositions have to be in ascending order in both files\n");
    flushConsole();
    text::LineReader in, map;
    if (!in.open(filename) || !map.open(mapname) || !out.open(outname))
        quit();
    readMap(map);
    LineStore store;
    Markers markers;
    readMarkers(in, store, markers);
    // On purpose a last pair that was kept ends the pruning, whatever was pruned before it in the same pass.
    while (markers.size() >= 2 && prunePairs(markers, removed)) {
    }
    for (const Marker &marker : markers) {
        out.put(marker.text());
        out.put('\n');
    }
    out.close();
    removed.close();
}
