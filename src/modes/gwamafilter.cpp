// Filter of a meta-analysis table: a line is kept, as it is, when its direction text ("+", "-" or "?" for
// each study) has at most two "?", and the numbers of "+" and "-" differ.
#include "main/console.h"
#include "main/datahints.h"
#include "main/nearest.h"
#include "main/progress.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "tables/columns.h"
#include "text/lines.h"
#include "text/writer.h"

static constexpr InputOption fileOption = {"-file", Use::Required, "meta-analysis table"};
static constexpr OutputOption outOption = {"-out", "input name", "kept lines"};
static constexpr IntegerOption columnOption
    = {"-column", std::nullopt, "column of the directions, from 1", {.use = Use::Required}};
static constexpr const Option *options[]
    = {&fileOption, &outOption, &tableDelimOption, &columnOption, &tableHeaderOption};

static std::string filename;
static std::string outname;
static std::string Delim;
static size_t column;  // of the direction text, 1-based
static bool hasHeader;

static constexpr int64_t maxMissing = 2;  // studies

static void readOptions()
{
    filename = fileOption.require();
    outname = outOption.readAnnounced(filename);
    Delim = tableDelimOption.read();
    column = readColumn(columnOption);
    hasHeader = tableHeaderOption.isOn();
}

// True for a direction text, part of a LineReader's line, that keeps its line. An empty one has no "+" more
// than "-" and so never does.
static inline bool isKept(std::string_view Entry)
{
    int64_t count_plus = 0, count_minus = 0, count_q = 0;
    for (size_t i = 0; i < Entry.size(); i += 64) {
        const char *block = Entry.data() + i;
        const size_t left = Entry.size() - i;
        count_plus += std::popcount(text::firstBits(text::byteBits(block, '+'), left));
        count_minus += std::popcount(text::firstBits(text::byteBits(block, '-'), left));
        count_q += std::popcount(text::firstBits(text::byteBits(block, '?'), left));
    }
    return count_q <= maxMissing && count_plus != count_minus;
}

static bool isDirectionText(std::string_view field)
{
    return !field.empty() && field.find_first_not_of("+-?0") == field.npos;
}

MORVEL_WIDE static void filterLines(text::LineReader &in, text::Writer &out)
{
    const std::string delimiter = Delim;
    const size_t position = column - 1;
    const bool isHinting = wantsDataHints();
    Progress progress(filename);
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        progress.advance(line.size());
        if (isHinting && !isDirectionText(text::findField(line, delimiter, position))) [[unlikely]]
            addDataHint(quoted(filename) + ", line \"" + std::string(line.substr(0, 40)) + "\"",
                        "has no direction text of +, - and ? there; look at -column, -delim and -header");
        // A line without the column counts as one with an empty direction text.
        if (isKept(text::findField(line, delimiter, position))) {
            out.put(line);
            out.put('\n');
        }
    }
}

static void gwamaFilter()
{
    readOptions();
    print("running gwamaFilter()\n\n");
    refuseSameFiles({filename}, {outname});
    text::LineReader in;
    text::Writer out;
    if (!out.open(outname) || !in.open(filename))
        quit();  // silent by design
    std::string_view line;
    if (hasHeader && in.next(line)) {
        out.put(line);
        out.put('\n');
    }
    filterLines(in, out);
    out.close();
}

constinit const Mode gwamaFilterMode
    = {{"gwamafilter"}, gwamaFilter, options, "Filters meta-analysis results by the directions of effect"};
