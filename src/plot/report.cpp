// A page of everything that is found under the names of a run: pictures, tables of the best hits and of the statistics,
// and, where the console output was kept in a file, the command lines.
#include "main/console.h"
#include "plot/drawings.h"
#include "plot/page.h"
#include "plot/rows.h"
#include "plot/verbs.h"
#include "text/delimiters.h"
#include "text/fields.h"
#include "text/files.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <queue>

namespace plot {

static constexpr InputOption namesOption
    = {"-file", Use::Required, "beginning of the names of a run's files: all that begin so are looked at"};
static constexpr OutputOption pageOption = {"-out", "", "page, as .html", {.use = Use::Required}};
static constexpr const Option *options[] = {&namesOption, &pageOption, &titleOption};

static constexpr size_t mostHits = 200, mostRows = 1000;  // in a table
static constexpr Size pictureSize = {int(columnWidth * pixelsPerMillimetre), 0, 30, true};

enum class Kind {
    Other,
    Console,
    Hits,
    Statistics,
    Profile,
    Ranges,
    Family,
    Mixture,
    Shifts,
    Balance,
    Removal,
    Kept,
    Removed
};

// A run of the program, as its console output tells.
struct Run {
    std::vector<std::string> words;

    std::string after(std::string_view option) const
    {
        const auto found = std::ranges::find(words, option);
        return found == words.end() || found + 1 == words.end() ? std::string() : found[1];
    }
};

struct Finding {
    std::string file;
    Kind kind;
    Run run;  // of console output
};

// The first lines that are not empty.
static std::vector<std::string> firstLines(const std::string &file, size_t most)
{
    std::vector<std::string> lines;
    text::LineReader in;
    if (!in.open(file))
        return lines;
    // No result begins with a line of many megabytes.
    for (std::string_view line; lines.size() < most && in.nextNonEmpty(line);)
        lines.emplace_back(line.substr(0, 1 << 16));
    return lines;
}

static bool isProfile(std::string_view line)
{
    std::vector<std::string_view> fields;
    text::splitFields(line, "\t", fields);
    return fields.size() == 7 && fields[0] == "0" && std::ranges::none_of(std::vector{2, 3, 4, 5, 6}, [&](int i) {
               return std::isnan(numberIn(fields[size_t(i)]));
           });
}

static bool isRemoval(std::string_view line)
{
    std::vector<std::string_view> fields;
    text::splitFields(line, " ", fields);
    return (fields.size() == 6 || fields.size() == 7) && std::ranges::none_of(std::vector{0, 2, 3, 4, 5}, [&](int i) {
               return std::isnan(numberIn(fields[size_t(i)]));
           });
}

static Kind kindOf(const std::string &file)
{
    const std::vector<std::string> lines = firstLines(file, 60);
    if (lines.empty())
        return Kind::Other;
    const std::string &first = lines[0];
    if (first.starts_with("MORVEL v. "))
        return Kind::Console;
    if (first.starts_with("Pheno\tPhenoID\t") || first.starts_with("Marker\tMarkerID\t"))
        return Kind::Statistics;
    if (first.starts_with("Pheno\t") && first.find("\tSNPID\t") != first.npos && first.find("\tp-value") != first.npos)
        return Kind::Hits;
    if (first.starts_with("SUM: max: "))
        return Kind::Ranges;
    if (first.starts_with("1) ") && first.find(" x  ") != first.npos && lines.size() > 1)
        return Kind::Family;
    if (first.starts_with("Best ") && lines.size() > 1 && lines[1].find("= mindiff mindiff_loc") != lines[1].npos)
        return Kind::Mixture;
    if (first.size() > 6 && first[0] == 'N' && first.substr(2, 4) == "corr" && first.ends_with("first_Y"))
        return Kind::Shifts;
    for (const std::string &line : lines) {
        if (line.starts_with("Column\tMean1\t"))
            return Kind::Balance;
    }
    if (isProfile(first))
        return Kind::Profile;
    if (file.ends_with(".removed") && first.find(" dCM ") != first.npos)
        return Kind::Removed;
    if (text::exists(file + ".removed"))
        return Kind::Kept;
    return isRemoval(first) ? Kind::Removal : Kind::Other;
}

// The words are numbered, each on its line, behind the banner: "1  -M".
static Run readRun(const std::string &file)
{
    Run run;
    for (const std::string &line : firstLines(file, 1000)) {
        const std::string number = std::to_string(run.words.size() + 1) + "  ";
        if (line.starts_with(number))
            run.words.push_back(line.substr(number.size()));
        else if (!run.words.empty())
            break;
    }
    return run;
}

static std::vector<Finding> findFiles(const std::string &names, const std::string &page)
{
    namespace fs = std::filesystem;
    const size_t slash = names.rfind('/');
    const std::string folder = slash == names.npos ? "" : names.substr(0, slash + 1),
                      start = names.substr(folder.size());
    std::vector<Finding> findings;
    std::error_code error;
    for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string file = folder + entry->path().filename().string();
        if (entry->path().filename().string().starts_with(start) && entry->is_regular_file(error)
            && !text::isSameFile(file, page))
            findings.push_back({file, Kind::Other, {}});
    }
    std::ranges::sort(findings, {}, &Finding::file);
    for (Finding &finding : findings) {
        finding.kind = kindOf(finding.file);
        if (finding.kind == Kind::Console)
            finding.run = readRun(finding.file);
    }
    return findings;
}

// Typed so, a shell would make these words of it.
static std::string commandOf(const Run &run)
{
    static constexpr char plain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./,:=+%@";
    std::string command = "morvel";
    for (const std::string &word : run.words) {
        command += ' ';
        if (!word.empty() && word.find_first_not_of(plain) == word.npos) {
            command += word;
            continue;
        }
        command += '\'';
        for (const char byte : word)
            command += byte == '\'' ? "'\\''" : std::string(1, byte);
        command += '\'';
    }
    return command;
}

// The rows with the least p-values, in their order, and how many there are in all.
struct BestHits {
    std::vector<std::string> head;
    std::vector<std::vector<std::string>> rows;
    size_t all = 0, withP = 0;
};

static BestHits readBestHits(const std::string &file)
{
    BestHits best;
    text::LineReader in;
    openInput(in, file);
    std::string_view line;
    if (!in.nextNonEmpty(line))
        return best;
    std::vector<std::string_view> fields;
    text::splitFields(line, "\t", fields);
    best.head.assign(fields.begin(), fields.end());
    const size_t column = size_t(std::ranges::find(best.head, "p-value") - best.head.begin());
    // The worst of those kept on top; of equal ones the last.
    std::priority_queue<std::tuple<double, size_t, std::string>> kept;
    while (in.nextNonEmpty(line)) {
        const double p = numberIn(text::findField(line, "\t", column));
        const bool hasP = p >= 0 && p <= 1;
        best.withP += hasP;
        const double rank = hasP ? p : 2;
        if (kept.size() < mostHits || rank < std::get<0>(kept.top()))
            kept.emplace(rank, best.all, line);
        if (kept.size() > mostHits)
            kept.pop();
        ++best.all;
    }
    for (; !kept.empty(); kept.pop()) {
        text::splitFields(std::get<2>(kept.top()), "\t", fields);
        best.rows.emplace(best.rows.begin(), fields.begin(), fields.end());
    }
    return best;
}

static void addHits(const std::string &file, Page &page)
{
    const BestHits best = readBestHits(file);
    page.section("Hits: " + file);
    if (best.all == 0) {
        page.paragraph("No hits.");
        return;
    }
    const auto has = [&](const char *name) { return std::ranges::find(best.head, name) != best.head.end(); };
    if (has("Chr") && has("Pos") && best.withP > 0) {
        page.picture(drawManhattan({file}, pictureSize));
        page.picture(drawQq({file}, pictureSize));
    }
    const std::string shown
        = best.all > best.rows.size() ? "The " + shownCount(best.rows.size()) + " best of " : "All ";
    page.table(shown + shownCount(best.all) + (best.all == 1 ? " hit" : " hits") + ", by p-value", best.head,
               best.rows);
}

static void addStatistics(const std::string &file, Page &page)
{
    page.section("Statistics: " + file);
    const Rows table(file);
    if (table.rows.size() < 2) {
        page.paragraph("No rows.");
        return;
    }
    page.picture(drawScan(file, pictureSize));
    std::vector<std::vector<std::string>> rows(table.rows.begin() + 1, table.rows.end());
    const size_t all = rows.size(), hits = table.find("Hits");
    if (hits != Rows::npos && all > mostRows)
        std::ranges::stable_sort(rows, [hits](const auto &a, const auto &b) {
            const auto count = [hits](const auto &row) { return hits < row.size() ? text::readDouble(row[hits]) : 0; };
            return count(a) > count(b);
        });
    rows.resize(std::min(all, mostRows));
    page.table(all > mostRows ? "The " + shownCount(mostRows) + " rows of " + shownCount(all) + " with most hits"
                              : "All rows",
               table.rows[0], rows);
}

static void addProfile(const std::string &file, Page &page)
{
    page.section("Peaks: " + file);
    const std::string ranges = text::exists(file + ".ranges") ? file + ".ranges" : "";
    page.picture(drawPeaks(file, ranges, "", pictureSize));
    if (ranges.empty())
        return;
    std::vector<std::vector<std::string>> rows;
    text::LineReader in;
    openInput(in, ranges);
    std::vector<std::string_view> fields;
    for (std::string_view line; in.nextNonEmpty(line);) {
        text::splitNonEmptyFields(line, " ", fields);
        if (fields.size() == 12 && rows.size() < mostRows) {
            rows.emplace_back();
            for (const size_t i : {3, 4, 6, 8, 9, 10, 11})
                rows.back().emplace_back(fields[i]);
        }
    }
    if (!rows.empty())
        page.table("Ranges", {"Maximum at", "-log10 p", "Score", "From", "To", "Length", "Markers"}, rows);
}

// The columns are known from the run's command line alone.
static void addPruning(const std::string &file, const std::vector<Finding> &findings, Page &page)
{
    page.section("Pruning: " + file);
    for (const Finding &finding : findings) {
        const Run &run = finding.run;
        const std::string out = run.after("-out").empty() ? run.after("-file") + ".out" : run.after("-out");
        const int position = text::readInteger(run.after("-poscolumn")), p = text::readInteger(run.after("-pcolumn"));
        if (run.after("-M") != "ldprune" || !text::isSameFile(out, file) || position < 1 || p < 1)
            continue;
        Layout layout;
        const std::string_view delimiter = text::delimiter(run.after("-delim"));
        layout.delimiter = delimiter.empty() ? "\t" : delimiter;
        layout.header = 2;
        layout.position = size_t(position);
        layout.p = size_t(p);
        page.picture(drawPruning(file, file + ".removed", layout, pictureSize));
        return;
    }
    page.paragraph(
        "Not drawn: the columns of position and p-value are known from the console output of ldprune only, which is "
        "not among the files.");
}

static void addFinding(const Finding &finding, const std::vector<Finding> &findings, Page &page)
{
    const std::string &file = finding.file;
    const auto add = [&](const char *subject, const Figure &figure) {
        page.section(std::string(subject) + ": " + file);
        page.picture(figure);
    };
    switch (finding.kind) {
    case Kind::Hits:
        addHits(file, page);
        break;
    case Kind::Statistics:
        addStatistics(file, page);
        break;
    case Kind::Profile:
        addProfile(file, page);
        break;
    case Kind::Kept:
        addPruning(file, findings, page);
        break;
    case Kind::Balance:
        add("Balance", drawBalance(file, pictureSize));
        break;
    case Kind::Mixture:
        add("Mixtures", drawMixture(file, pictureSize));
        break;
    case Kind::Family:
        add("Families", drawFamily(file, 12, pictureSize));
        break;
    case Kind::Removal:
        add("Removal", drawRemoval(file, pictureSize));
        break;
    case Kind::Shifts:
        add("Shifts", drawShifts(file, "", pictureSize));
        break;
    case Kind::Console:
    case Kind::Ranges:
    case Kind::Removed:
    case Kind::Other:
        break;
    }
}

static void addCommands(const std::vector<Finding> &findings, Page &page)
{
    page.section("Command lines");
    std::string commands;
    for (const Finding &finding : findings) {
        if (finding.kind == Kind::Console)
            commands += "# " + shownText(finding.file, 200) + "\n" + commandOf(finding.run) + "\n";
    }
    if (commands.empty())
        page.paragraph(
            "None: keep the console output of a run in a file whose name begins like its results, as in morvel ... "
            "> NAME.log");
    else
        page.code(commands);
}

static void report()
{
    const std::string names = namesOption.require(), out = pageOption.given().value_or("");
    if (!out.ends_with(".html"))
        fatal("-out must end in .html, not as '%s'\n", out.c_str());
    const std::vector<Finding> findings = findFiles(names, out);
    for (const Finding &finding : findings)
        refuseSameFiles({finding.file}, {out});
    const auto isKnown = [](const Finding &finding) { return finding.kind != Kind::Other; };
    if (std::ranges::none_of(findings, isKnown))
        fatal("No results whose names begin with '%s'\n", names.c_str());
    requireGnuplot();
    const std::string title = titleOption.read();
    Page page(title.empty() ? names : title);
    for (const Finding &finding : findings)
        addFinding(finding, findings, page);
    addCommands(findings, page);
    page.section("Files");
    std::vector<std::vector<std::string>> rows;
    static constexpr const char *kinds[] = {"other",
                                            "console output",
                                            "hits",
                                            "statistics",
                                            "peaks",
                                            "ranges",
                                            "families",
                                            "mixtures",
                                            "shifts",
                                            "log of matching",
                                            "removals",
                                            "kept by pruning",
                                            "removed by pruning"};
    rows.reserve(findings.size());
    for (const Finding &finding : findings)
        rows.push_back({finding.file, kinds[size_t(finding.kind)]});
    page.table("Files looked at", {"File", "Content"}, rows);
    writeWhole(out, page.html());
}

constinit const Mode reportKind
    = {{"report"}, report, options, "one page of everything found under a run's output names, to open and to share"};

}  // namespace plot
