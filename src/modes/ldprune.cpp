// Pruning of a position-sorted table by genetic distance: of two neighbours closer than a threshold the one
// with the larger p-value is dropped. Kept lines go to the output as they are, dropped ones with the distance
// that condemned them to a side file.
#include "main/console.h"
#include "main/datahints.h"
#include "main/progress.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "tables/columns.h"
#include "text/files.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <sys/mman.h>
#include <vector>

static constexpr Taking emptyIsAbsent = {.emptyIsAbsent = true};
static constexpr Taking required = {.use = Use::Required};
static constexpr InputOption fileOption
    = {"-file", Use::Required, "table of one chromosome, sorted by position", emptyIsAbsent};
static constexpr InputOption mapOption = {"-map", Use::Required, "genetic map, sorted by position", emptyIsAbsent};
static constexpr OutputOption outOption
    = {"-out", "input name", "kept lines; dropped ones go to it + .removed", emptyIsAbsent};
static constexpr TextOption logOption = {"-log", "", "accepted, not used", "", {.use = Use::NotUsed}};
static constexpr RealOption thresholdOption
    = {"-threshold", 0, "distance in centimorgans below which neighbours are pruned; 0 prunes none"};
static constexpr IntegerOption pcolumnOption = {"-pcolumn", std::nullopt, "column of the p-value, from 1", required};
static constexpr IntegerOption poscolumnOption
    = {"-poscolumn", std::nullopt, "column of the position, from 1", required};
static constexpr SwitchOption headerOption = {"-dataheader", "yes: pass over the first line"};
static constexpr const Option *options[]
    = {&fileOption,      &mapOption,     &outOption,       &wordDelimOption, &logOption,
       &thresholdOption, &pcolumnOption, &poscolumnOption, &headerOption};

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

// Memory that grows by blocks and never moves, so that no data is held twice. Whole blocks of this size and alignment
// can be single pages of the processor.
static constexpr size_t hugePageSize = size_t(2) << 20;
using Block = std::unique_ptr<char, decltype(&std::free)>;

static Block makeBlock(size_t size)
{
    const size_t rounded = (size + hugePageSize - 1) / hugePageSize * hugePageSize;
    Block block(static_cast<char *>(std::aligned_alloc(hugePageSize, rounded)), std::free);
    if (!block)
        text::failMemory();
    madvise(block.get(), rounded, MADV_HUGEPAGE);  // where that cannot be, the pages are just smaller
    return block;
}

namespace {
struct Marker {
    const char *line;
    size_t size : 63;  // of the line
    size_t isUnmapped : 1;
    double cM;
    double pValue;

    std::string_view text() const { return {line, size}; }
};

class Markers {
public:
    size_t size() const { return m_size; }
    Marker &operator[](size_t i) { return reinterpret_cast<Marker *>(m_blocks[i / perBlock].get())[i % perBlock]; }
    void add(const Marker &marker)
    {
        if (m_size % perBlock == 0)
            m_blocks.push_back(makeBlock(hugePageSize));
        new (&(*this)[m_size++]) Marker(marker);
    }
    void shrink(size_t size) { m_size = size; }  // no more are added afterwards

private:
    static constexpr size_t perBlock = hugePageSize / sizeof(Marker);

    std::vector<Block> m_blocks;
    size_t m_size = 0;
};
}  // namespace

static size_t readPruneColumn(const IntegerOption &option)
{
    const int column = option.read();
    if (column < 1)
        fatal("%s not specified\n", option.name);
    return size_t(column);
}

// The side file is opened before the columns are looked at.
static void readOptions(text::Writer &removed)
{
    const auto file = fileOption.given(), map = mapOption.given();
    if (!file || !map)
        quit();  // silent by design
    filename = *file;
    mapname = *map;
    outname = outOption.read(filename);
    removedname = outname + ".removed";
    refuseSameFiles({filename, mapname}, {outname, removedname});
    if (!removed.open(removedname))
        quit();
    Delim = wordDelimOption.read();
    threshold = thresholdOption.read();
    pcolumn = readPruneColumn(pcolumnOption);
    poscolumn = readPruneColumn(poscolumnOption);
    headeryes = headerOption.isOn();
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

namespace {
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
}  // namespace

// The position between the ends of map interval k. In an interval without length it is not a number.
static double interpolate(int x, size_t k)
{
    const double d1 = double(x) - double(MapPos[k - 1]);
    const double d2 = double(MapPos[k]) - double(x);
    return MapCm[k - 1] + ((MapCm[k] - MapCm[k - 1]) * d1) / (d2 + d1);
}

namespace {
// Finds the fields in two columns of a LineReader's line.
class FieldFinder {
public:
    FieldFinder(std::string_view delimiter, size_t firstColumn, size_t secondColumn)
        : m_delimiter(delimiter), m_columns{firstColumn, secondColumn}
    {
    }

    // A line without one of them ends the run.
    void find(std::string_view line, int64_t lineNumber, std::string_view (&fields)[2]) const
    {
        if (!findInBlock(line, fields)) [[unlikely]] {
            for (size_t i = 0; i < 2; ++i)
                fields[i] = requiredField(line, m_delimiter, m_columns[i], lineNumber);
        }
    }

private:
    // Both at once where they end among the first 64 bytes.
    bool findInBlock(std::string_view line, std::string_view (&fields)[2]) const
    {
        if (m_delimiter.size() != 1)
            return false;
        uint64_t ends = text::firstBits(text::byteBits(line.data(), m_delimiter[0]), line.size());
        ends |= line.size() < 64 ? uint64_t(1) << line.size() : 0;
        if (size_t(std::popcount(ends)) < std::max(m_columns[0], m_columns[1]))
            return false;
        for (size_t i = 0; i < 2; ++i) {
            uint64_t left = ends;
            size_t first = 0;
            for (size_t column = 1; column < m_columns[i]; ++column, left &= left - 1)
                first = size_t(std::countr_zero(left)) + 1;
            fields[i] = line.substr(first, size_t(std::countr_zero(left)) - first);
        }
        return true;
    }

    std::string_view m_delimiter;
    size_t m_columns[2];
};
}  // namespace

MORVEL_WIDE static void readMarkers(text::LineReader &in, Markers &markers)
{
    const std::string delimiter = Delim;
    const FieldFinder finder(delimiter, poscolumn, pcolumn);
    IntervalFinder intervals;
    Progress progress(filename);
    std::string_view line;
    int64_t lineNumber = headeryes && in.next(line);
    int last = std::numeric_limits<int>::min();
    int64_t fallCount = 0, firstFall = 0;  // lines with a position below the one before
    while (in.next(line)) {
        progress.advance(line.size());
        ++lineNumber;
        if (line.empty())
            continue;
        std::string_view fields[2];
        finder.find(line, lineNumber, fields);
        const int position = text::readMostlyDigits(fields[0]);
        const double pValue = text::readMostlyDecimal(fields[1]);
        if (position < last) [[unlikely]] {
            firstFall = fallCount++ == 0 ? lineNumber : firstFall;
        }
        last = position;
        const size_t k = intervals.find(position);
        // Unmapped markers take part in distances as -1.
        const double cM = k == 0 ? -1 : interpolate(position, k);
        markers.add({line.data(), line.size() & ~size_t(0) >> 1, k == 0, cM, pValue});
    }
    if (fallCount > 0)
        addDataHint("positions fall " + std::to_string(fallCount) + " times, first in line " + std::to_string(firstFall)
                    + "; sort the table, and give one chromosome at a time");
}

static void writeRemoved(const Marker &marker, double dCM, text::Writer &removed)
{
    removed.put(marker.text());
    removed.put(" dCM ");
    removed.put(dCM);
    removed.put('\n');
}

// One pass over the pairs (0, 1), (2, 3) ... of the list as it stands; the survivors move together. Returns
// whether the last pair was pruned.
static bool prunePairs(Markers &markers, text::Writer &removed)
{
    bool remove = false;
    size_t kept = 0, next = 0;
    while (markers.size() - next >= 2) {
        const Marker first = markers[next++];
        const Marker second = markers[next++];
        const double dCM = std::abs(second.cM - first.cM);
        remove = dCM < threshold;  // never for a distance that is not a number
        if (!remove) {
            markers[kept++] = first;
            markers[kept++] = second;
            continue;
        }
        if (first.isUnmapped || second.isUnmapped)
            fatal("error!\n");
        const bool dropsFirst = second.pValue <= first.pValue;
        writeRemoved(dropsFirst ? first : second, dCM, removed);
        markers[kept++] = dropsFirst ? second : first;
    }
    if (next < markers.size())
        markers[kept++] = markers[next];
    markers.shrink(kept);
    return remove;
}

// Lines that follow each other in memory, with a line break between them, are written together.
static void writeKept(Markers &markers, text::Writer &out)
{
    for (size_t i = 0; i < markers.size();) {
        const char *const first = markers[i].line;
        const char *end = first + markers[i].size;
        while (++i < markers.size() && markers[i].line == end + 1)
            end = markers[i].line + markers[i].size;
        out.put(std::string_view(first, size_t(end - first)));
        out.put('\n');
    }
}

static void ldPrune()
{
    text::Writer removed, out;
    readOptions(removed);
    print("running ldPrune()\npositions have to be in ascending order in both files\n");
    flushConsole();
    text::LineReader in, map;
    if (!in.open(filename) || !map.open(mapname) || !out.open(outname))
        quit();
    readMap(map);
    Markers markers;
    in.keepLines();
    readMarkers(in, markers);
    // On purpose a last pair that was kept ends the pruning, whatever was pruned before it in the same pass.
    while (markers.size() >= 2 && prunePairs(markers, removed)) {
    }
    writeKept(markers, out);
    out.close();
    removed.close();
}

constinit const Mode ldPruneMode = {{"ldprune"}, ldPrune, options, "Thins association results by genetic distance"};
