#include "tools/gather/joining.h"
#include "main/console.h"
#include "scans/traitsummary.h"
#include "text/exactnumbers.h"
#include "text/fields.h"
#include "text/readnumber.h"
#include "text/source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>

using std::string_view;

namespace gather {

// The content of an output of every part; the first line of all but the first is left out where it is the same.
static void joinContent(const Parts &parts, const std::string &suffix, bool hasHeader, text::Writer &out)
{
    constexpr size_t blockSize = text::Writer::capacity;
    const auto block = std::make_unique_for_overwrite<char[]>(blockSize);
    std::string header;
    for (const Part &part : parts.parts) {
        text::Source in;
        const std::string name = part.name + suffix;
        if (!in.open(name))
            fatal("Cannot open '%s': %s\n", name.c_str(), std::strerror(errno));
        std::string line;
        bool isInHeader = hasHeader;
        while (const size_t size = in.read(block.get(), blockSize)) {
            string_view bytes = {block.get(), size};
            if (isInHeader) {
                const size_t end = std::min(bytes.find('\n'), size - 1) + 1;
                line += bytes.substr(0, end);
                bytes.remove_prefix(end);
                isInHeader = !line.ends_with('\n');
                if (!isInHeader && header.empty())
                    out.put(header = line);
                if (!isInHeader && line != header)
                    refusePart(name, "has another header than part 1");
            }
            out.put(bytes);
        }
        if (isInHeader && !part.hasNotRun(*parts.rule))
            refusePart(name, "has no header");
    }
}

void joinBytes(const Parts &parts, const std::string &suffix, text::Writer &out)
{
    joinContent(parts, suffix, false, out);
}

void joinRows(const Parts &parts, const std::string &suffix, text::Writer &out)
{
    joinContent(parts, suffix, true, out);
}

// Where the column at this 0-based place of a row begins, of which a name in the first one may hold tabs.
static size_t columnFromEnd(string_view row, size_t column, size_t columns, const std::string &file)
{
    size_t place = row.size() + 1;
    for (size_t i = columns; i > column; --i) {
        place = place > 1 ? row.rfind('\t', place - 2) : row.npos;
        if (place == row.npos)
            refusePart(file, "has a row of too few columns");
        ++place;
    }
    return place;
}

static size_t columnsOfHeader(string_view header)
{
    return size_t(std::ranges::count(header, '\t')) + 1;
}

static string_view fieldAtPlace(string_view row, size_t place)
{
    return row.substr(place, row.find('\t', place) - place);
}

static std::string headerOf(PartLines &lines, text::Writer &out)
{
    std::string header = lines.takeHeader();
    out.put(header);
    out.put('\n');
    return header;
}

// The second column is the number of the row.
void joinPhenotypeStatistics(const Parts &parts, text::Writer &out)
{
    PartLines lines(parts, ".stats");
    const size_t columns = columnsOfHeader(headerOf(lines, out));
    size_t rows = 0;
    for (size_t i = 0; i < lines.count(); ++i) {
        const size_t before = rows;
        string_view row;
        while (lines.next(i, row)) {
            const size_t place = columnFromEnd(row, 1, columns, lines.name(i));
            const string_view number = fieldAtPlace(row, place);
            if (number != std::to_string(++rows - before))
                refusePart(lines.name(i), "does not number its rows");
            out.put(row.substr(0, place));
            out.put(rows);
            out.put(row.substr(place + number.size()));
            out.put('\n');
        }
    }
}

static int64_t countIn(string_view field, const std::string &file)
{
    const text::Real number = text::readReal(field);
    if (!number.isNumber || number.value < 0 || number.value > 9e15)
        refusePart(file, "has no number where one should be");
    return int64_t(number.value);
}

// The second column is the number of the row, and the fourth one the sum of the third one up to it.
void joinMarkerStatistics(const Parts &parts, text::Writer &out)
{
    PartLines lines(parts, ".stats");
    const size_t columns = columnsOfHeader(headerOf(lines, out));
    const auto delimiter = parts.record().option("-delim");
    const bool mayNameHaveTabs = delimiter == "comma" || delimiter == "semicolon";
    int64_t rows = 0, sum = 0;
    for (size_t i = 0; i < lines.count(); ++i) {
        const int64_t rowsBefore = rows, sumBefore = sum;
        std::vector<string_view> fields;
        string_view row;
        while (lines.next(i, row)) {
            text::splitFields(row, "\t", fields);
            // Both the marker and the best phenotype could have more than their share of tabs.
            if (fields.size() < columns || (fields.size() > columns && mayNameHaveTabs))
                refusePart(lines.name(i), "has rows of too few columns, or names with tabs");
            sum += countIn(fields[2], lines.name(i));
            ++rows;
            if (fields[1] != std::to_string(rows - rowsBefore) || fields[3] != std::to_string(sum - sumBefore))
                refusePart(lines.name(i), "does not number its rows and sum up its hits");
            out.put(fields[0]);
            for (const int64_t number : {rows, countIn(fields[2], lines.name(i)), sum}) {
                out.put('\t');
                out.put(number);
            }
            out.put(row.substr(size_t(fields[3].data() + fields[3].size() - row.data())));
            out.put('\n');
        }
    }
}

// What a row of statistics tells of a phenotype, whatever the markers.
static string_view traitOf(string_view row, size_t columns, const std::string &file)
{
    return row.substr(0, columnFromEnd(row, 5, columns, file));
}

// Phenotype by phenotype: the hits of all parts, and a row of what they found together.
void joinRegressions(const Parts &parts, text::Writer &hitFile, text::Writer &statisticsFile)
{
    const Significance significance(parts.record().option("-type") == "bins");
    PartLines hits(parts, ""), statistics(parts, ".stats"), tallies(parts, talliesSuffix);
    headerOf(hits, hitFile);
    const size_t columns = columnsOfHeader(headerOf(statistics, statisticsFile));
    string_view row;
    while (statistics.count() > 0 && statistics.next(0, row)) {
        const std::string first(row), trait(traitOf(row, columns, statistics.name(0)));
        const bool isScanned = !row.substr(trait.size()).starts_with("NA");
        TraitSummary summary;
        for (size_t i = 0; i < statistics.count(); ++i) {
            row = i == 0 ? string_view(first) : statistics.take(i);
            if (!row.starts_with(trait) || isScanned == row.substr(trait.size()).starts_with("NA"))
                refusePart(statistics.name(i), "has other phenotypes than part 1");
            if (!isScanned)
                continue;
            const string_view count = fieldAtPlace(row, columnFromEnd(row, 6, columns, statistics.name(i)));
            const int64_t found = countIn(count, statistics.name(i));
            summary.counts.hits += found;
            text::ExactNumbers tally(tallies.take(i));
            string_view number;
            if (!tally.nextWord(number) || !summary.addWritten(tally, significance))
                refusePart(tallies.name(i), "is damaged");
            hits.copy(i, found, hitFile);
        }
        statisticsFile.put(trait);
        if (isScanned)
            writeFindings(summary, significance, statisticsFile);
        else
            statisticsFile.put(string_view(first).substr(trait.size()));
        statisticsFile.put('\n');
    }
    hits.finish();
    statistics.finish();
    tallies.finish();
}

namespace {
// The sums at the end of a mixture report.
struct MixtureSums {
    std::vector<double> normal, combined;  // [population]
};
}  // namespace

// In the order of the samples, as one run would form them.
static MixtureSums sumTallies(const Parts &parts, size_t populations)
{
    PartLines tallies(parts, talliesSuffix);
    MixtureSums sums = {std::vector<double>(populations), std::vector<double>(populations)};
    string_view line;
    for (size_t i = 0; i < tallies.count(); ++i) {
        while (tallies.next(i, line)) {
            const size_t blank = std::min(line.find(' '), line.size());
            const bool isCombined = line.starts_with('+');
            const int64_t population = countIn(line.substr(isCombined, blank - isCombined), tallies.name(i));
            text::ExactNumbers proportion(line.substr(std::min(blank + 1, line.size())));
            double value;
            if (size_t(population) >= populations || !proportion.next(value))
                refusePart(tallies.name(i), "is damaged");
            (isCombined ? sums.combined : sums.normal)[size_t(population)] += value;
        }
    }
    return sums;
}

static void writeSums(const std::vector<std::string> &lines, const std::vector<double> &sums, text::Writer &out)
{
    for (size_t i = 0; i < sums.size(); ++i) {
        out.put(string_view(lines[i]).substr(0, lines[i].rfind(' ') + 1));
        out.put(sums[i]);
        out.put('\n');
    }
}

// The reports of all samples, and behind them the sums, of which every part has its own.
void joinMixtures(const Parts &parts, text::Writer &out)
{
    const auto populations = size_t(text::readInteger(parts.record().option("-refpops").value_or("")));
    const string_view word = parts.record().option("-combinatorics").value_or("no");
    const bool hasCombined = word == "yes" || word == "YES";
    const size_t sumLines = populations + 1 + (hasCombined ? populations : 0);
    const MixtureSums sums = sumTallies(parts, populations);
    PartLines reports(parts, "");
    std::deque<std::string> waiting;
    for (size_t i = 0; i < reports.count(); ++i) {
        waiting.clear();
        string_view line;
        while (reports.next(i, line)) {
            waiting.emplace_back(line);
            if (waiting.size() <= sumLines)
                continue;
            out.put(waiting.front());
            out.put('\n');
            waiting.pop_front();
        }
        if (waiting.size() < sumLines || !waiting[populations].empty())
            refusePart(reports.name(i), "does not end with its sums");
    }
    const std::vector<std::string> last(waiting.begin(), waiting.end());
    writeSums(last, sums.normal, out);
    out.put('\n');
    if (hasCombined)
        writeSums({last.begin() + int64_t(populations) + 1, last.end()}, sums.combined, out);
}

}  // namespace gather
