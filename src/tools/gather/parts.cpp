#include "tools/gather/parts.h"
#include "main/console.h"
#include "text/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>

using std::string_view;

namespace gather {

void refusePart(const std::string &name, const char *what)
{
    fatal("'%s' %s\n", name.c_str(), what);
}

static void checkNumbers(const Record &record, const std::string &name, size_t part, size_t count)
{
    if (record.count != count)
        fatal("Part %zu, '%s', is one of %zu parts, part 1 one of %zu\n", part, name.c_str(), record.count, count);
    if (record.part != part)
        fatal("'%s' is part %zu of %zu, where part %zu should be\n", name.c_str(), record.part, record.count, part);
}

static void checkOutputs(const Record &record, const std::string &name, size_t part)
{
    for (const Output &output : record.outputs) {
        const std::string file = name + output.suffix;
        struct stat status;
        if (stat(file.c_str(), &status) != 0)
            fatal("Part %zu is missing its file '%s': %s\n", part, file.c_str(), std::strerror(errno));
        if (uint64_t(status.st_size) != output.size)
            fatal("'%s' of part %zu has %llu bytes; the part was complete with %llu\n", file.c_str(), part,
                  static_cast<unsigned long long>(status.st_size), static_cast<unsigned long long>(output.size));
    }
}

static void checkRun(const Record &record, size_t part, const Record &first)
{
    if (record.mode != first.mode)
        fatal("Part %zu is of another run than part 1: mode %s, not %s\n", part, record.mode.c_str(),
              first.mode.c_str());
    static const std::string nothing = "nothing";
    const size_t lines = std::max(record.run.size(), first.run.size());
    for (size_t i = 0; i < lines; ++i) {
        const std::string &own = i < record.run.size() ? record.run[i] : nothing;
        const std::string &other = i < first.run.size() ? first.run[i] : nothing;
        if (own != other)
            fatal("Part %zu is of another run than part 1: \"%s\", not \"%s\"\n", part, own.c_str(), other.c_str());
    }
    const auto hasSameOutputs = std::ranges::equal(record.outputs, first.outputs, {}, &Output::suffix, &Output::suffix);
    if (!hasSameOutputs)
        fatal("Part %zu has other files than part 1\n", part);
    if (record.columns != 0 && record.columns != first.columns)
        fatal("The lines of part %zu begin with %zu columns, those of part 1 with %zu\n", part, record.columns,
              first.columns);
}

// Part by part everything was read, once.
static void checkPlaces(const std::vector<Part> &parts)
{
    for (size_t i = 1; i < parts.size(); ++i) {
        if (parts[i].record.from != parts[i - 1].record.to)
            fatal("Part %zu does not begin where part %zu ends\n", i + 1, i);
    }
    std::map<string_view, size_t> owners;
    for (size_t i = 0; i < parts.size(); ++i) {
        // The first one is the file that would be split.
        if (parts[i].record.own.empty())
            continue;
        const auto [owner, isNew] = owners.try_emplace(parts[i].record.own[0], i + 1);
        if (!isNew)
            fatal("Parts %zu and %zu are both of \"%s\"\n", owner->second, i + 1, parts[i].record.own[0].c_str());
    }
}

Parts readParts(const std::string &pattern)
{
    const size_t mark = pattern.find('%');
    if (mark == pattern.npos || pattern.find('%', mark + 1) != pattern.npos)
        fatal("-parts takes a name with one %% in place of the number of the part, not '%s'\n", pattern.c_str());
    Parts all;
    size_t count = 1;
    for (size_t part = 1; part <= count; ++part) {
        const std::string name = std::string(pattern).replace(mark, 1, std::to_string(part));
        Record record = readRecord(name, part);
        if (part == 1)
            count = record.count;
        checkNumbers(record, name, part, count);
        checkRun(record, part, part == 1 ? record : all.record());
        checkOutputs(record, name, part);
        all.parts.push_back({name, std::move(record)});
    }
    checkPlaces(all.parts);
    all.rule = &ruleOf(all.record().mode.c_str());
    return all;
}

// All parts are open at once.
static void allowManyFiles()
{
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

PartLines::PartLines(const Parts &parts, const std::string &suffix)
{
    allowManyFiles();
    constexpr size_t memory = size_t(16) << 20, least = size_t(4) << 10, most = size_t(256) << 10;
    const size_t block = std::clamp(memory / parts.parts.size(), least, most);
    for (const Part &part : parts.parts) {
        const auto output = std::ranges::find(part.record.outputs, suffix, &Output::suffix);
        if (output == part.record.outputs.end() || part.hasNotRun(*parts.rule))
            continue;
        m_names.push_back(part.name + suffix);
        errno = 0;
        if (!m_files.emplace_back().open(m_names.back(), block))
            fatal("Cannot open '%s': %s\n", m_names.back().c_str(), std::strerror(errno));
        m_files.back().keepReturns();
    }
}

string_view PartLines::take(size_t i)
{
    string_view line;
    if (!m_files[i].next(line))
        refusePart(m_names[i], "ends before it should");
    return line;
}

// What follows a line within the block is written in one piece with it.
void PartLines::copy(size_t i, int64_t lines, text::Writer &out)
{
    while (lines > 0) {
        out.put(take(i));
        out.put('\n');
        --lines;
        string_view line;
        const char *first = nullptr, *end = nullptr;
        for (; lines > 0 && m_files[i].nextInBlock(line); --lines) {
            first = first ? first : line.data();
            end = line.data() + line.size() + 1;
        }
        if (first)
            out.put(string_view(first, size_t(end - first)));
    }
}

std::string PartLines::takeHeader()
{
    std::string header;
    for (size_t i = 0; i < count(); ++i) {
        const string_view line = take(i);
        if (i == 0)
            header = line;
        else if (line != header)
            refusePart(m_names[i], "has another header than part 1");
    }
    return header;
}

void PartLines::finish()
{
    string_view line;
    for (size_t i = 0; i < count(); ++i) {
        if (m_files[i].next(line))
            refusePart(m_names[i], "goes on behind its end");
    }
}

}  // namespace gather
