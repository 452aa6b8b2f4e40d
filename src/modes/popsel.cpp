// Population matching: for the individuals of one table the most similar ones of another, the pool. Both hold an
// identifier and numbers. A row of the result is an individual, a rank, its match and their distance; or, matched as a
// group, a match. The log tells how alike the columns have become.
#include "main/console.h"
#include "main/datahints.h"
#include "main/nearest.h"
#include "matching/group.h"
#include "matching/individuals.h"
#include "modes/modes.h"
#include "tables/columns.h"
#include "tables/numbertable.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <cmath>

static constexpr InputOption file1Option = {"-file1", Use::Required, "the individuals to be matched"};
static constexpr InputOption file2Option = {"-file2", Use::Required, "the pool that matches are taken from"};
static constexpr OutputOption outOption = {"-out", "input name", "output file; the log goes to it + .log"};
static constexpr SwitchOption header1Option = {"-header1", "yes: the first line of file 1 is a header"};
static constexpr SwitchOption header2Option = {"-header2", "yes: the first line of file 2 is a header"};
static constexpr SwitchOption headersOption = {"-headers", "yes: the first lines of both files are headers"};
static constexpr TextOption missingOption = {"-missing", "NA", "field that means \"no value\""};
static constexpr IntegerOption exactRoundsOption
    = {"-exact-rounds", 10, "rounds of the exact stage, and of group matching, at most; 0: none"};
static constexpr IntegerOption exactIndividualsOption = {
    "-exact-individuals", std::nullopt,
    "individuals whose matches are handed out anew together; by default all up to 5000, else 1000; 0: no exact stage"};
static constexpr WordOption exactOrderOption
    = {"-exact-order", "distance", "distance file random",
       "order of the exact stage: the worst matched first, the file's, or random; any other word is distance"};
static constexpr SwitchOption groupMatchOption
    = {"-group-match", "yes: matches that resemble file 1 as a group, whoever belongs to whom"};
static constexpr IntegerOption hitnumberOption = {"-hitnumber", 1, "matches for each individual"};
static constexpr const Option *options[]
    = {&file1Option,      &file2Option,      &outOption,      &tableDelimOption,  &header1Option,
       &header2Option,    &headersOption,    &missingOption,  &exactRoundsOption, &exactIndividualsOption,
       &exactOrderOption, &groupMatchOption, &hitnumberOption};

static std::string filename1, filename2;
static std::string outname, logname;
static std::string Delim;
static std::string Missing;
static bool header1, header2;
static bool groupmatch;
static size_t hitnumber;
static size_t exactrounds;
static std::optional<size_t> exactindividuals;
static Order exactorder;

// A whole number that is not below `least`.
static size_t readCount(const IntegerOption &option, int least)
{
    const int value = option.read();
    const text::Real written = text::readReal(option.given().value_or("1"));
    if (value < least || (value == 0 && (!written.isNumber || written.value != 0)))
        fatal("Incorrect %s\n", option.name + 1);
    return size_t(value);
}

static void readOptions()
{
    filename1 = file1Option.require();
    filename2 = file2Option.require();
    outname = outOption.readAnnounced(filename1);
    logname = outname + ".log";
    Delim = tableDelimOption.read();
    header1 = header1Option.isOn() || headersOption.isOn();
    header2 = header2Option.isOn() || headersOption.isOn();
    Missing = missingOption.read();
    exactrounds = readCount(exactRoundsOption, 0);
    if (exactIndividualsOption.given())
        exactindividuals = readCount(exactIndividualsOption, 0);
    exactorder = Order(exactOrderOption.read());
    groupmatch = groupMatchOption.isOn();
    hitnumber = readCount(hitnumberOption, 1);
}

static void checkColumns(const NumberTable &first, const NumberTable &pool)
{
    if (first.columnCount != pool.columnCount)
        failAt(pool.file, pool.firstLine, std::min(first.columnCount, pool.columnCount) + 2,
               std::to_string(pool.columnCount + 1) + " columns where '" + first.file + "' has "
                   + std::to_string(first.columnCount + 1));
    for (size_t c = 0; c < std::min(first.headings.size(), pool.headings.size()); ++c) {
        if (first.headings[c] != pool.headings[c])
            failAt(pool.file, pool.firstLine, c + 2,
                   "heading '" + pool.headings[c] + "' where '" + first.file + "' has '" + first.headings[c] + "'");
    }
}

static void lookForColumns(const NumberTable &table)
{
    if (table.columnCount == 0)
        addDataHint(quoted(table.file) + " has no columns of numbers; is -delim right?");
}

static void checkSizes(const NumberTable &first, const NumberTable &pool)
{
    const size_t count = first.names.size();
    if (count == 0)
        failAt(first.file, first.lastLine + 1, 1, "no individuals");
    if (pool.names.size() / hitnumber < count)
        failAt(pool.file, pool.lastLine + 1, 1,
               "the pool ends with " + std::to_string(pool.names.size()) + " individuals, fewer than "
                   + std::to_string(hitnumber) + " for each of " + std::to_string(count));
}

namespace {
// A step towards the result, for the log.
struct Round {
    double measure;  // total distance; of group matching its objective
    size_t matchCount;
};

struct Selection {
    Matches matches;                         // [individual]
    std::vector<uint32_t> chosen;            // of the pool, in its order
    std::vector<Round> rounds, groupRounds;  // before the first round, and after each
    bool isOptimal = false;
};
}  // namespace

static Selection matchIndividuals(const Standardised &data)
{
    const size_t count = data.first.count;
    const size_t together = exactindividuals.value_or(count <= 5000 ? count : 1000);
    if (exactOrderOption.given() && (exactrounds == 0 || together == 0 || together >= count))
        addDataHint("\"-exact-order\" changes nothing: there is no exact stage, or it takes all together");
    IndividualMatching matching(data, hitnumber);
    Selection selection;
    selection.rounds.push_back({matching.total(), matching.matchCount()});
    for (size_t round = 0; round < exactrounds && together > 0 && !selection.isOptimal; ++round) {
        const bool hasGained = matching.improve(together, exactorder);
        selection.rounds.push_back({matching.total(), matching.matchCount()});
        selection.isOptimal = together >= count;
        if (!hasGained)
            break;
    }
    selection.matches = matching.matches();
    for (const std::vector<Neighbour> &matches : selection.matches) {
        for (const Neighbour &match : matches)
            selection.chosen.push_back(match.point);
    }
    std::sort(selection.chosen.begin(), selection.chosen.end());
    return selection;
}

static void matchGroup(const Standardised &data, Selection &selection)
{
    GroupMatching group(data, selection.chosen);
    const size_t size = selection.chosen.size();
    selection.groupRounds.push_back({group.objective(), size});
    for (size_t round = 0; round < exactrounds; ++round) {
        const bool hasGained = group.improve();
        selection.groupRounds.push_back({group.objective(), size});
        if (!hasGained)
            break;
    }
    selection.chosen = group.members();
}

static void writeMatches(const NumberTable &first, const NumberTable &pool, const Selection &selection,
                         text::Writer &out)
{
    out.put("Individual\tRank\tMatch\tDistance\n");
    for (uint32_t i = 0; i < selection.matches.size(); ++i) {
        for (size_t rank = 0; rank < selection.matches[i].size(); ++rank) {
            out.put(first.names.name(i));
            out.put('\t');
            out.put(rank + 1);
            out.put('\t');
            out.put(pool.names.name(selection.matches[i][rank].point));
            out.put('\t');
            out.put(selection.matches[i][rank].distance);
            out.put('\n');
        }
    }
}

static void writeGroup(const NumberTable &pool, const Selection &selection, text::Writer &out)
{
    out.put("Match\n");
    for (const uint32_t member : selection.chosen) {
        out.put(pool.names.name(member));
        out.put('\n');
    }
}

static void writeRow(text::Writer &log, std::string_view name, std::initializer_list<double> values)
{
    log.put(name);
    for (const double value : values) {
        log.put('\t');
        log.put(value);
    }
    log.put('\n');
}

static std::string headingOf(const NumberTable &first, const NumberTable &pool, size_t column)
{
    for (const NumberTable *table : {&first, &pool}) {
        if (!table->headings.empty())
            return table->headings[column];
    }
    return "column " + std::to_string(column + 2);
}

static Points pointsOf(NumberTable &table)
{
    return {table.names.size(), table.columnCount, std::move(table.values)};
}

static Points subset(const Points &points, const std::vector<uint32_t> &chosen)
{
    Points part{chosen.size(), points.columnCount, {}};
    for (const uint32_t i : chosen)
        part.values.insert(part.values.end(), points[i], points[i] + points.columnCount);
    return part;
}

// The moments of every column in use, and the differences of means in units of the first set's standard deviation;
// where that is 0, of that of both sets.
static void writeBalance(const Points &first, const Points &pool, const Points &matched, const Standardised &data,
                         const std::vector<std::string> &headings, text::Writer &log)
{
    log.put("Column\tMean1\tSD1\tPoolMean\tPoolSD\tMatchedMean\tMatchedSD\tDifferenceBefore\tDifferenceAfter\n");
    for (const size_t c : data.columns) {
        std::vector<double> both = first.column(c);
        const Moments own = momentsOf(both), all = momentsOf(pool.column(c)), chosen = momentsOf(matched.column(c));
        const std::vector<double> behind = pool.column(c);
        both.insert(both.end(), behind.begin(), behind.end());
        const double unit = own.deviation > 0 ? own.deviation : momentsOf(both).deviation;
        writeRow(log, headings[c],
                 {own.mean, own.deviation, all.mean, all.deviation, chosen.mean, chosen.deviation,
                  (all.mean - own.mean) / unit, (chosen.mean - own.mean) / unit});
    }
}

static void writeRounds(const char *header, const std::vector<Round> &rounds, text::Writer &log)
{
    log.put(header);
    for (size_t round = 0; round < rounds.size(); ++round)
        writeRow(log, std::to_string(round), {double(rounds[round].matchCount), rounds[round].measure});
}

static size_t matchedCount(const Selection &selection)
{
    return size_t(std::count_if(selection.matches.begin(), selection.matches.end(),
                                [](const std::vector<Neighbour> &matches) { return !matches.empty(); }));
}

static void writeUnmatched(const NumberTable &first, const Standardised &data, const Selection &selection,
                           text::Writer &log)
{
    for (uint32_t i = 0; i < selection.matches.size(); ++i) {
        const size_t count = selection.matches[i].size();
        if (count == hitnumber)
            continue;
        log.put(count == 0 ? "Not matched\t" : "Fewer matches\t");
        log.put(first.names.name(i));
        log.put(data.first.isEmpty(i) ? "\tno values\n" : "\ttoo few of the pool have a column in common\n");
    }
}

// Everything that the run made known, section by section, with an empty line between.
static void writeLog(const NumberTable &first, const NumberTable &pool, const Points &points, const Points &poolPoints,
                     const Standardised &data, const Selection &selection, text::Writer &log)
{
    std::vector<std::string> headings;
    for (size_t c = 0; c < points.columnCount; ++c)
        headings.push_back(headingOf(first, pool, c));
    writeBalance(points, poolPoints, subset(poolPoints, selection.chosen), data, headings, log);
    writeRounds("\nRound\tMatches\tDistance\n", selection.rounds, log);
    if (groupmatch)
        writeRounds("\nRound\tMatches\tObjective\n", selection.groupRounds, log);
    log.put("\nIndividuals\t");
    log.put(first.names.size());
    log.put("\nPool\t");
    log.put(pool.names.size());
    log.put("\nMatched\t");
    log.put(matchedCount(selection));
    log.put(selection.isOptimal ? "\nTotal distance\toptimal\n" : "\nTotal distance\tnot known to be optimal\n");
    writeUnmatched(first, data, selection, log);
    for (size_t c = 0; c < points.columnCount; ++c) {
        if (std::find(data.columns.begin(), data.columns.end(), c) == data.columns.end()) {
            log.put("Left out\t");
            log.put(headings[c]);
            log.put("\tno spread\n");
        }
    }
}

static void printResult(const Selection &selection)
{
    const Round &last = selection.rounds.back();
    print("Matched individuals: %zu of %zu, with %zu of the pool\n", matchedCount(selection), selection.matches.size(),
          last.matchCount);
    print("Total distance: %s%s\n", text::realText(last.measure).c_str(), selection.isOptimal ? " (optimal)" : "");
    if (groupmatch)
        print("Group objective: %s\n", text::realText(selection.groupRounds.back().measure).c_str());
}

static void popSel()
{
    readOptions();
    print("running popSel()\n\n");
    refuseSameFiles({filename1, filename2}, {outname, logname});
    NumberTable first = readNumberTable(filename1, Delim, header1, Missing);
    NumberTable pool = readNumberTable(filename2, Delim, header2, Missing);
    lookForColumns(first);
    checkSizes(first, pool);
    checkColumns(first, pool);
    text::Writer out, log;
    for (const auto &[writer, name] : {std::pair(&out, &outname), std::pair(&log, &logname)}) {
        if (!writer->open(*name))
            fatal("Cannot open '%s'\n", name->c_str());
    }
    const Points points = pointsOf(first), poolPoints = pointsOf(pool);
    const Standardised data = standardise(points, poolPoints);
    print("Individuals: %zu, pool: %zu, columns: %zu of %zu\n", points.count, poolPoints.count, data.columns.size(),
          points.columnCount);
    flushConsole();
    Selection selection = matchIndividuals(data);
    if (groupmatch)
        matchGroup(data, selection);
    if (groupmatch)
        writeGroup(pool, selection, out);
    else
        writeMatches(first, pool, selection, out);
    writeLog(first, pool, points, poolPoints, data, selection, log);
    printResult(selection);
    out.close();
    log.close();
}

constinit const Mode popSelMode = {{"popsel"}, popSel, options, "Matches individuals between two data sets"};
