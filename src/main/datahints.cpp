#include "main/datahints.h"
#include "main/nearest.h"
#include "text/fields.h"
#include "text/files.h"
#include "text/foreign.h"
#include "text/lines.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>
#include <vector>

using std::string_view;

enum class Kind { Other, DecimalComma, Missing, Genotype, Quoted };

namespace {
// Fields of a file that are no numbers, in the order in which they are read.
struct BadFields {
    std::string file;
    Kind kind;
    std::string first;
    size_t firstOffset, lastOffset;  // in the content of the file
    size_t count;
};

struct RepeatedHint {
    std::string place, what;
    size_t count;
};
}  // namespace

static bool isOn = false;
static const Mode *mode = nullptr;
static std::vector<RepeatedHint> hints;
static std::vector<std::string (*)()> lateHints;
static std::vector<BadFields> badFields;
static std::vector<std::string> oddOutputs;
static std::string unopened;  // the first file that could not be opened, and why

static bool hasDecimalComma(string_view field)
{
    std::string dotted(field);
    const size_t comma = dotted.find(',');
    if (comma == dotted.npos)
        return false;
    dotted[comma] = '.';
    return dotted.find_first_not_of("0123456789.eE+-") == dotted.npos && text::readReal(dotted).isNumber;
}

static bool looksMissing(string_view field)
{
    std::string lower(field);
    std::ranges::transform(lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
    return isOneOf(". .. na n/a #n/a <na> nan null none nd missing miss - -- ?", lower);
}

// As 0/1, 1|1 and ./. of a VCF, A/G or AG.
static bool looksLikeGenotype(string_view field)
{
    const bool isParted = field.size() == 3 && (field[1] == '/' || field[1] == '|');
    const auto isAllele = [&](char c) {
        return string_view("ACGTacgt.0123456789").substr(0, isParted ? 19 : 8).find(c) != string_view::npos;
    };
    return (isParted || field.size() == 2) && isAllele(field.front()) && isAllele(field.back());
}

static Kind kindOf(string_view field)
{
    if (field.starts_with('"'))
        return Kind::Quoted;
    if (looksLikeGenotype(field))
        return Kind::Genotype;
    return hasDecimalComma(field) ? Kind::DecimalComma : looksMissing(field) ? Kind::Missing : Kind::Other;
}

// Fields that are not a file's are values of options, which have hints of their own. An empty field counts as 0
// everywhere, and is not told.
static void noteBadField(string_view field)
{
    const auto origin = field.empty() ? std::nullopt : text::LineReader::originOf(field.data());
    if (!origin)
        return;
    const Kind kind = kindOf(field);
    const auto known = std::ranges::find_if(
        badFields, [&](const BadFields &fields) { return fields.file == origin->file && fields.kind == kind; });
    if (known == badFields.end()) {
        badFields.push_back({origin->file, kind, std::string(field.substr(0, 40)), origin->offset, origin->offset, 1});
    } else if (origin->offset > known->lastOffset) {  // not where the file is read again
        known->lastOffset = origin->offset;
        ++known->count;
    }
}

static void noteUnopened(const std::string &name, int error)
{
    if (!unopened.empty())
        return;
    const size_t slash = name.rfind('/');
    const std::string folder = slash == name.npos ? "" : name.substr(0, slash);
    const bool hasFolder = folder.empty() || text::exists(folder);
    unopened = quoted(name)
               + " cannot be opened: " + (hasFolder ? std::strerror(error) : "there is no folder " + quoted(folder));
}

void startDataHints(const Mode *chosen)
{
    isOn = true;
    mode = chosen;
    text::onNoNumber = noteBadField;
    text::onUnopened = noteUnopened;
}

bool wantsDataHints()
{
    return isOn;
}

void addDataHint(const std::string &place, const std::string &what)
{
    if (!isOn)
        return;
    const auto known = std::ranges::find(hints, what, &RepeatedHint::what);
    if (known == hints.end())
        hints.push_back({place, what, 1});
    else
        ++known->count;
}

void addDataHint(const std::string &hint)
{
    addDataHint("", hint);
}

void addDataHint(std::string (*textAtTheEnd)())
{
    if (isOn && std::ranges::find(lateHints, textAtTheEnd) == lateHints.end())
        lateHints.push_back(textAtTheEnd);
}

void noteOutput(const std::string &name)
{
    if (isOn && name.starts_with('-'))
        oddOutputs.push_back(name);
}

namespace {
struct Place {
    size_t line = 0, field = 0;  // from 1; a line of 0 is not known
    size_t lineEnd = 0;          // offset in the content of the file
};
}  // namespace

[[noreturn]] static void throwFailure(const char *, const std::string &name)
{
    throw std::runtime_error(name);
}

void readAgain(const std::string &file, const std::function<void(text::LineReader &)> &look)
{
    struct stat status;
    if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    const auto onFailure = std::exchange(text::onFailure, throwFailure);
    const auto onForeign = std::exchange(text::onForeign, nullptr);
    const std::new_handler onNoMemory = std::set_new_handler(nullptr);
    try {
        text::LineReader in;
        if (in.open(file))
            look(in);
    } catch (const std::exception &) {
        // The hint goes without what was looked for.
    }
    text::onFailure = onFailure;
    text::onForeign = onForeign;
    std::set_new_handler(onNoMemory);
}

// Fields are parted by the byte that stands before this one.
static Place placeAt(const std::string &file, size_t offset)
{
    Place place;
    readAgain(file, [&](text::LineReader &in) {
        in.keepReturns();
        size_t lineStart = 0;
        size_t number = 1;
        string_view line;
        for (; in.next(line) && offset > lineStart + line.size(); ++number)
            lineStart += line.size() + 1;
        if (offset > lineStart + line.size())
            return;
        const string_view before = line.substr(0, offset - lineStart);
        place = {number, 1, lineStart + line.size()};
        for (size_t i = 0; i < before.size(); ++i)
            place.field += before[i] == before.back() && (before[i] != ' ' || i == 0 || before[i - 1] != ' ');
    });
    return place;
}

std::string describePlace(const text::LineReader::Origin &origin)
{
    const Place place = placeAt(origin.file, origin.offset);
    const std::string line = ", line " + std::to_string(place.line) + ", field " + std::to_string(place.field);
    return quoted(origin.file) + (place.line > 0 ? line : "");
}

static constexpr struct {
    const char *header, *input;
} headers[] = {{"-header", "-file"},   {"-dataheader", "-file"}, {"-refheader", "-ref"}, {"-header1", "-file1"},
               {"-header2", "-file2"}, {"-headers", "-file1"},   {"-headers", "-file2"}};

// What may be done about the first line of the file, if it is a header.
static std::string headerAdvice(const std::string &file)
{
    for (const auto &[header, input] : headers) {
        const Option *headerOption = mode ? findOption(*mode, header) : nullptr;
        const Option *inputOption = mode ? findOption(*mode, input) : nullptr;
        if (headerOption && !headerOption->given() && inputOption && inputOption->given() == file)
            return "; is the first line a header? give " + std::string(header) + " yes";
    }
    return "; is the first line a header? remove it";
}

static std::string adviceOn(const BadFields &fields)
{
    if (fields.kind == Kind::DecimalComma)
        return "; a decimal comma? numbers have a point";
    if (fields.kind == Kind::Quoted)
        return "; numbers have no quotes around them";
    if (fields.kind == Kind::Genotype)
        return "; genotypes as in a VCF? see \"Files of other kinds\" in the guide";
    if (fields.kind == Kind::Missing) {
        const Option *missing = mode ? findOption(*mode, "-missing") : nullptr;
        const Option *phenotypes = mode ? findOption(*mode, "-pfile") : nullptr;
        if (missing && missing->taking.use == Use::Optional && phenotypes && phenotypes->given() == fields.file)
            return "; missing? give -missing " + fields.first;
        return "; missing? see \"Missing values\" in the guide";
    }
    const Place first = placeAt(fields.file, fields.firstOffset);
    return first.line == 1 && fields.lastOffset <= first.lineEnd ? headerAdvice(fields.file) : "";
}

// A run that failed may have refused the field.
static std::string textOf(const BadFields &fields, bool hasFailed)
{
    std::string text = describePlace({fields.file, fields.firstOffset}) + ": " + quoted(fields.first) + " is no number"
                       + (hasFailed ? "" : " and counts as 0");
    if (fields.count > 1)
        text += "; there are " + std::to_string(fields.count) + " such fields";
    return text + adviceOn(fields);
}

static void show(const std::string &hint)
{
    std::fprintf(stderr, "morvel: hint: %s\n", hint.c_str());
}

// Whether each field is a number, by the first delimiter of these that the line has.
static std::vector<bool> numbersIn(string_view line)
{
    const size_t found = line.find_first_of("\t ;,");
    const string_view delimiter = found == line.npos ? " " : line.substr(found, 1);
    std::vector<string_view> fields;
    text::splitFields(line, delimiter, fields);
    std::vector<bool> areNumbers;
    for (const string_view field : fields)
        areNumbers.push_back(text::readReal(field).isNumber);
    return areNumbers;
}

// A first line that is passed over as a header is a row where its numbers stand where those of the next line do.
static void showLostRow(const std::string &file)
{
    readAgain(file, [&](text::LineReader &in) {
        string_view line;
        in.next(line);
        const std::vector<bool> first = numbersIn(line);
        in.next(line);
        const bool hasNumbers = std::ranges::count(first, true) > 0;
        if (hasNumbers && first == numbersIn(line))
            show(quoted(file) + ", line 1 is passed over as a header, but looks like the lines behind it");
    });
}

static void showLostRows()
{
    for (const auto &[header, input] : headers) {
        const Option *headerOption = mode ? findOption(*mode, header) : nullptr;
        const Option *inputOption = mode ? findOption(*mode, input) : nullptr;
        const bool isPassedOver = headerOption && static_cast<const SwitchOption *>(headerOption)->isOn();
        if (isPassedOver && inputOption && inputOption->given())
            showLostRow(*inputOption->given());
    }
    const Option *map = mode ? findOption(*mode, "-map") : nullptr;  // whose first line always is
    if (map && map->given())
        showLostRow(*map->given());
}

static void showEmptyInputs()
{
    for (const Option *option : mode ? mode->options : std::span<const Option *const>()) {
        struct stat status;
        const auto name = option->kind == Value::InputFile ? option->given() : std::nullopt;
        if (name && stat(name->c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0)
            show(quoted(*name) + " is empty");
    }
}

void showDataHints(int status)
{
    if (!isOn)
        return;
    isOn = false;  // what is read again tells nothing
    text::onNoNumber = nullptr;
    text::onUnopened = nullptr;
    if (status != 0 && !unopened.empty())
        show(unopened);
    showEmptyInputs();
    showLostRows();
    for (const std::string &output : oddOutputs) {
        if (mode && text::exists(output))
            show("wrote the output of " + std::string(mode->name()) + " to " + quoted(output)
                 + ": was a value missing before it? rm ./" + output);
    }
    for (const BadFields &fields : badFields)
        show(textOf(fields, status != 0));
    for (const RepeatedHint &hint : hints) {
        const std::string place = hint.place.empty() ? "" : hint.place + ": ";
        const bool isCounted = hint.count > 1 && !hint.place.empty();
        show(place + hint.what + (isCounted ? "; " + std::to_string(hint.count) + " such in all" : ""));
    }
    for (const auto lateHint : lateHints) {
        if (const std::string text = lateHint(); !text.empty())
            show(text);
    }
}
