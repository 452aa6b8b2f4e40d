#include "genotypes/genotypes.h"
#include "main/console.h"
#include "main/options.h"
#include "main/progress.h"
#include "text/readnumber.h"
#include "processors/wide.h"

#include <algorithm>

std::string wordOption(std::string_view name)
{
    char word[20];
    copyBounded(word, textOption(name, ""));
    return word;
}

int64_t numberOption(std::string_view name, int64_t absent)
{
    const std::string word = wordOption(name);
    return word.empty() ? absent : text::readInteger(word);
}

std::string boundedName(const std::string &name)
{
    char buffer[200];
    copyBounded(buffer, name);
    return buffer;
}

FormatOptions readFormatOptions()
{
    FormatOptions options;
    options.filename = boundedName(textOption("-file", ""));
    if (options.filename.empty())
        fatal("You need to specify '-file'.\n\n");
    const std::string outname = textOption("-out", "");
    options.outname = boundedName(outname.empty() ? options.filename + ".out" : outname);
    options.beg = numberOption("-beg", 1);
    options.end = numberOption("-end", 99999999);  // on purpose a nine less than in gentoAD
    options.lastbeforegeno = numberOption("-last-bef-geno", 5);
    wordOption("-rs-loc");  // not used, but its length counts
    return options;
}

int showOption()
{
    const std::string showverdict = wordOption("-show");
    return showverdict == "no-stdev" ? 1 : showverdict == "only-values" ? 2 : 0;
}

std::string_view fieldsFrom(std::string_view line, int64_t position)
{
    for (; position > 0; --position) {
        const size_t blank = line.find(' ');
        if (blank == line.npos)
            return {};
        line.remove_prefix(blank + 1);
    }
    return line;
}

std::string_view fieldAt(std::string_view line, int64_t position)
{
    if (position < 0)
        return {};
    const std::string_view fields = fieldsFrom(line, position);
    return fields.substr(0, fields.find(' '));
}

std::string_view copyLeadingColumns(std::string_view line, int64_t columns, text::Writer &out)
{
    size_t size = 0;
    for (int64_t column = 0; column < columns; ++column) {
        const size_t blank = line.find(' ', size);
        if (blank == line.npos) {
            out.put(line);
            out.put(' ');
            return {};
        }
        size = blank + 1;
    }
    out.put(line.substr(0, size));
    return line.substr(size);
}

static void copyPaddedColumns(std::string_view line, int64_t columns, text::Writer &out)
{
    for (int64_t column = 0; column < columns; ++column) {
        const size_t blank = std::min(line.find(' '), line.size());
        out.put(line.substr(0, blank));
        out.put(' ');
        line.remove_prefix(std::min(blank + 1, line.size()));
    }
}

void convertRows(const FormatOptions &options, bool hasLeadingColumns,
                 void (*writeRow)(std::string_view line, text::Writer &out))
{
    refuseSameFiles({options.filename}, {options.outname});
    text::LineReader in;
    text::Writer out;
    if (!out.open(options.outname) || !in.open(options.filename))
        quit();  // silent by design
    Progress progress(options.filename);
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        if (hasLeadingColumns)
            copyPaddedColumns(line, options.lastbeforegeno, out);
        writeRow(line, out);
        progress.advance(line.size());
        if (!in.atEnd())
            out.put('\n');
    }
    out.close();
}

FieldRange chosenFields(const FormatOptions &options, int64_t fieldsPerIndividual)
{
    int64_t first = options.lastbeforegeno + fieldsPerIndividual * (options.beg - 1);
    int64_t individuals = options.end - options.beg + 1;
    if (first < 0) {
        const int64_t leftOut = (fieldsPerIndividual - 1 - first) / fieldsPerIndividual;
        first += fieldsPerIndividual * leftOut;
        individuals -= leftOut;
    }
    return {first, fieldsPerIndividual * individuals};
}

RangeWalker::RangeWalker(std::string_view line, FieldRange range)
    : FieldWalker(range.count > 0 ? fieldsFrom(line, range.first) : std::string_view())
    , m_left(rest().data() ? size_t(range.count) : 0)
{
}

MORVEL_WIDE size_t NumberReader::next()
{
    const size_t fields = m_walker.next();
    for (size_t i = 0; i < fields; ++i)
        m_values[i] = text::readMostlyShort(m_walker.field(i));
    return fields;
}
