#include "tools/gather/record.h"
#include "main/console.h"
#include "text/lines.h"
#include "tools/gather/newfile.h"

#include <algorithm>
#include <sstream>
#include <sys/stat.h>

using std::string_view;

namespace gather {

static constexpr char firstLine[] = "morvel-gather 1", lastLine[] = "complete";

std::optional<string_view> Record::option(string_view name) const
{
    const std::string start = "option " + std::string(name) + " ";
    const auto line = std::ranges::find_if(run, [&](string_view each) { return each.starts_with(start); });
    if (line == run.end())
        return std::nullopt;
    return string_view(*line).substr(start.size());
}

std::vector<std::string> Record::inputs() const
{
    std::vector<std::string> names;
    for (const auto *lines : {&run, &own}) {
        for (const std::string &line : *lines) {
            std::istringstream words(line);
            std::string key, name;
            if (words >> key && key == "input" && words >> name >> name >> name && words.get()
                && std::getline(words, name))
                names.push_back(name);
        }
    }
    return names;
}

bool Record::hasOutput(string_view suffix) const
{
    return std::ranges::find(outputs, suffix, &Output::suffix) != outputs.end();
}

std::string shown(string_view text)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string result;
    for (const char byte : text) {
        if (uint8_t(byte) >= ' ' && byte != '\x7f' && byte != '\\')
            result += byte;
        else
            result.append("\\x").append(1, digits[uint8_t(byte) >> 4]).append(1, digits[byte & 15]);
    }
    return result;
}

std::string describeInput(const std::string &name)
{
    struct stat file;
    std::ostringstream text;
    if (stat(name.c_str(), &file) == 0 && S_ISREG(file.st_mode))
        text << file.st_size << ' ' << file.st_mtim.tv_sec << '.' << file.st_mtim.tv_nsec;
    else
        text << "- -";
    text << ' ' << shown(name);
    return text.str();
}

static std::string textOf(const Place &place)
{
    return std::to_string(place.file) + ' ' + std::to_string(place.block) + ' ' + std::to_string(place.byte);
}

void writeRecord(Record record, const std::string &outname, const std::vector<std::string> &suffixes)
{
    for (const std::string &suffix : suffixes)
        record.outputs.push_back({suffix, settle(outname + suffix)});
    NewFile file(outname + recordSuffix);
    std::ostringstream text;
    text << firstLine << "\npart " << record.part << ' ' << record.count << "\nmode " << record.mode << '\n';
    for (const std::string &line : record.run)
        text << "run " << line << '\n';
    for (const std::string &line : record.own)
        text << "own " << line << '\n';
    text << "from " << textOf(record.from) << "\nto " << textOf(record.to) << "\ncolumns " << record.columns << '\n';
    for (const Output &output : record.outputs)
        text << "output " << output.size << ' ' << output.suffix << '\n';
    text << lastLine << '\n';
    file.out().put(text.str());
    file.publish();
}

// Takes a line of the record in; false where it is none.
static bool takeLine(const std::string &line, Record &record)
{
    std::istringstream words(line);
    std::string key;
    words >> key;
    words.get();  // the blank
    if (key == "run" || key == "own") {
        std::getline(words, (key == "run" ? record.run : record.own).emplace_back());
        return true;
    }
    const auto takePlace = [&](Place &place) { return bool(words >> place.file >> place.block >> place.byte); };
    if (key == "part")
        return bool(words >> record.part >> record.count);
    if (key == "mode")
        return bool(words >> record.mode);
    if (key == "from")
        return takePlace(record.from);
    if (key == "to")
        return takePlace(record.to);
    if (key == "columns")
        return bool(words >> record.columns);
    if (key != "output" || !(words >> record.outputs.emplace_back().size))
        return false;
    words.get();
    std::getline(words, record.outputs.back().suffix);
    return true;
}

Record readRecord(const std::string &outname, size_t part)
{
    const std::string name = outname + recordSuffix;
    text::LineReader in;
    if (!in.open(name))
        fatal("Part %zu is missing: there is no '%s', which a part leaves when it is complete\n", part, name.c_str());
    Record record;
    string_view line;
    bool isRight = in.next(line) && line == firstLine, isComplete = false;
    while (isRight && !isComplete && in.next(line)) {
        isComplete = line == lastLine;
        isRight = isComplete || takeLine(std::string(line), record);
    }
    if (!isRight || !isComplete || record.part == 0 || record.part > record.count || record.outputs.empty())
        fatal("'%s' is no record of a part, or damaged\n", name.c_str());
    return record;
}

}  // namespace gather
