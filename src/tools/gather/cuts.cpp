#include "tools/gather/cuts.h"
#include "genotypes/markers.h"
#include "tables/columns.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>

using std::string_view;

namespace gather {

namespace {
// The labels of the lines that mode peakscan3 uses.
class Labels {
public:
    Labels(const Command &command, const Content &content, const Place &from)
        : m_lines(content, from)
        , m_delimiter(tableDelimOption.read())
        , m_label(columnOf(command, "-chrcolumn"))
        , m_others{columnOf(command, "-pcolumn"), columnOf(command, "-lcolumn")}
    {
    }

    bool next(std::string &label);
    const Place &start() const { return m_lines.start(); }  // of the line

private:
    static size_t columnOf(const Command &command, const char *option)
    {
        return size_t(std::max(text::readInteger(command.value(option)), 1));
    }
    string_view field(string_view line, size_t column) const
    {
        return text::findFieldByText(line, m_delimiter, column - 1);
    }

    PlacedLines m_lines;
    const std::string m_delimiter;
    const size_t m_label;
    const size_t m_others[2];  // of fields that may be NA
};
}  // namespace

bool Labels::next(std::string &label)
{
    string_view line;
    while (m_lines.next(line)) {
        label = field(line, m_label);
        if (!line.empty() && field(line, m_others[0]) != "NA" && field(line, m_others[1]) != "NA")
            return true;
    }
    return false;
}

// The first chromosome that begins behind this place. A last one of a single line belongs to the one before, by whose
// name the mode calls it.
static Place chromosomeBehind(const Command &command, const Content &content, const Place &place)
{
    Labels labels(command, content, place);
    std::string first, label;
    if (!labels.next(first))
        return content.end();
    do {
        if (!labels.next(label))
            return content.end();
    } while (label == first);
    const Place start = labels.start();
    return labels.next(label) ? start : content.end();
}

Cuts findCuts(const Command &command, const Content &content, size_t part, size_t count)
{
    const Rule &rule = *command.rule;
    Cuts cuts;
    PlacedLines lines(content, {});
    string_view line;
    Place headerEnd;
    if (rule.headerOption && command.isOn(rule.headerOption) && lines.next(line)) {
        cuts.header = std::string(line) + '\n';
        headerEnd = lines.behind();
    }
    // The first part has the first line that holds anything, so that it fails where the mode needs one.
    while (lines.next(line) && !hasWord(line)) {
    }
    const Place least = lines.behind();
    const uint64_t size = content.size();
    const auto startOf = [&](size_t before) {
        if (before == 0)
            return Place();
        if (before == count)
            return content.end();
        const Place start = lineBehind(content, size / count * before + size % count * before / count);
        if (rule.cut == Cut::Chromosomes)
            return chromosomeBehind(command, content, std::max(start, headerEnd));
        return std::max(start, least);
    };
    cuts.from = startOf(part - 1);
    cuts.to = startOf(part);
    if (part == 1)
        cuts.header.clear();
    return cuts;
}

}  // namespace gather
