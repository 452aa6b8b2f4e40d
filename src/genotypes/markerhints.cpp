#include "genotypes/markerhints.h"
#include "main/datahints.h"
#include "main/nearest.h"
#include "main/repeats.h"
#include "text/bytes.h"
#include "text/lines.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using std::string_view;
using Content = MarkerLook::Content;

static constexpr size_t fullLookBytes = size_t(2) << 20;
static constexpr size_t markersPerLook = 64;  // after that
static constexpr double sumTolerance = 0.02;  // rounding of three numbers to two digits

namespace {
// Something found in the genotypes of some individuals.
struct Finding {
    const char *what;
    std::optional<text::LineReader::Origin> first = {};
    size_t count = 0, markers = 0;
    const void *lastLine = nullptr;
    std::vector<bool> individuals = {};

    void add(string_view word, size_t individual, string_view line);
    std::string text() const;
};

// The numbers of a line, of which there are `count`.
struct LineFacts {
    size_t count = 0, large = 0;  // above 2
    bool endsEmpty = false, areTriplets = true;
};
}  // namespace

static Finding findings[] = {
    {"triplets of three zeros, which count as"},
    {"nan (missing?)"},
    {"triplets with a sum other than 1 (dosages? another number of leading columns?)"},
    {"negative dosages (missing?)"},
    {"empty fields (two blanks in a row, or one at the end of the line), which count as 0"},
};
enum Kind { Zeros, Nans, OtherSums, Negatives, Empties };

static const char *zerosCountAs = "";
static size_t markers = 0, looks = 0, bytes = 0;
static size_t lastOffset = 0;
static LineFacts firstLine;
static std::optional<text::LineReader::Origin> header;  // a first line that looks like one
static bool isHeaderOpen = false;                       // the second line will tell
static bool areAllTriplets = true;
static RepeatedNames names("marker", "has a name that was there before, and results tell markers by their names only; "
                                     "name them by position and alleles");

void Finding::add(string_view word, size_t individual, string_view line)
{
    if (!first)
        first = text::LineReader::originOf(word.data());
    ++count;
    markers += lastLine != line.data();
    lastLine = line.data();
    if (individuals.size() <= individual)
        individuals.resize(individual + 1);
    individuals[individual] = true;
}

std::string Finding::text() const
{
    const auto concerned = std::count(individuals.begin(), individuals.end(), true);
    std::string text = describePlace(*first) + ": " + what;
    if (this == &findings[Zeros])
        text += std::string(" ") + zerosCountAs + " (missing?)";
    text += ": " + std::to_string(count) + ", of " + std::to_string(concerned)
            + (concerned > 1 ? " individuals, in " : " individual, in ") + std::to_string(markers) + " of ";
    return text
           + (looks < ::markers ? "the " + std::to_string(looks) + " markers looked at"
                                : std::to_string(looks) + " markers");
}

template <Kind kind>
static std::string textOf()
{
    return findings[kind].count > 0 ? findings[kind].text() : "";
}

static std::string textOfHeader()
{
    return header && !isHeaderOpen
               ? describePlace(*header) + ": looks like a header line of numbered individuals; if it is, remove it"
               : "";
}

static std::string textOfTriplets()
{
    return areAllTriplets && looks > 1
               ? "triplets where dosages are read? In all markers looked at, every three values "
                 "make 1; gentoAD makes dosages"
               : "";
}

// Takes the next field off the rest of a line; false behind the last one.
static bool takeField(string_view &rest, const MarkerLook &look, string_view &field)
{
    const auto isSeparator
        = [&look](char c) { return c == ' ' || (look.areWords && (text::isWhiteSpace(c) || c == look.delimiter)); };
    const char *at = rest.data(), *const end = at + rest.size();
    while (look.areWords && at != end && isSeparator(*at))
        ++at;
    if (!at || (look.areWords && at == end))
        return false;
    const char *const first = at;
    while (at != end && !isSeparator(*at))
        ++at;
    field = {first, size_t(at - first)};
    rest = at == end ? string_view() : string_view(at + 1, size_t(end - at - 1));
    return true;
}

static text::Real numberOf(string_view field)
{
    const text::ShortNumber number = text::readShortNumber(field.data(), field.size());
    if (!number.invalid)
        return {text::thousandthValues[size_t(text::thousandthsOf(number.digits))], !field.empty()};
    return text::readReal(field);
}

static void lookAtTriplet(const string_view (&fields)[3], const text::Real (&parts)[3], size_t individual,
                          string_view line, const MarkerLook &look, LineFacts &facts)
{
    const double sum = parts[0].value + parts[1].value + parts[2].value;
    const bool areNumbers = parts[0].isNumber && parts[1].isNumber && parts[2].isNumber;
    const bool areZeros = areNumbers && parts[0].value == 0 && parts[1].value == 0 && parts[2].value == 0;
    const bool isWhole = areNumbers && std::fabs(sum - 1) <= sumTolerance;
    facts.areTriplets &= isWhole;
    if (look.content == Content::Dosages)
        return;
    if (std::isnan(sum) && look.zerosCountAs)
        findings[Nans].add(fields[0], individual, line);
    else if (areZeros && look.zerosCountAs)
        findings[Zeros].add(fields[0], individual, line);
    else if (areNumbers && !isWhole && !areZeros && !std::isnan(sum))
        findings[OtherSums].add(fields[0], individual, line);
}

static void lookAtDosage(string_view field, double value, size_t individual, string_view line, const MarkerLook &look)
{
    if (std::isnan(value) && look.zerosCountAs)
        findings[Nans].add(field, individual, line);
    else if (value < 0 && (look.zerosCountAs || value != -99.99))
        findings[Negatives].add(field, individual, line);
}

// Looks at the fields behind the leading columns, which `genotypes` begins with.
static LineFacts lookAtGenotypes(string_view genotypes, string_view line, const MarkerLook &look)
{
    LineFacts facts;
    string_view fields[3];
    text::Real parts[3];
    for (size_t part = 0; takeField(genotypes, look, fields[part]);) {
        const bool isLast = !genotypes.data();
        parts[part] = numberOf(fields[part]);
        facts.endsEmpty = isLast && fields[part].empty();
        facts.large += parts[part].value > 2;
        const bool isDosages = look.content == Content::Dosages;
        const size_t individual = isDosages ? facts.count : facts.count / 3;
        // One blank too many behind triplets is passed over.
        if (fields[part].empty() && (isDosages || !isLast || part > 0))
            findings[Empties].add(fields[part], individual, line);
        if (isDosages)
            lookAtDosage(fields[part], parts[part].value, individual, line, look);
        ++facts.count;
        part = part < 2 ? part + 1 : 0;
        if (part == 0)
            lookAtTriplet(fields, parts, individual, line, look, facts);
    }
    facts.areTriplets &= facts.count % 3 == 0 && facts.count > 3;
    return facts;
}

static void clearFindings()
{
    for (Finding &finding : findings)
        finding = {finding.what};
}

// What the first line tells of the file's shape.
static void lookAtShape(const LineFacts &facts, string_view line, const MarkerLook &look)
{
    const auto origin = text::LineReader::originOf(line.data());
    const std::string behind = (facts.count > 0 ? std::to_string(facts.count) : "no") + " fields behind the "
                               + std::to_string(look.leadingColumns) + " leading columns";
    if (!origin)
        return;
    if (facts.count == 0) {
        const char *const reason = line.find('\t') != line.npos  ? ", here by tabs?"
                                   : line.find(',') != line.npos ? ", here by commas?"
                                                                 : "";
        addDataHint(quoted(origin->file) + ", first marker: " + behind + "; fields are parted by single blanks"
                    + reason);
    } else if (look.content == Content::Triplets && facts.count % 3 != (facts.endsEmpty ? 1 : 0)) {
        addDataHint(quoted(origin->file) + ", first marker: " + behind + ", which are not three for each individual");
    }
    if (facts.count > 1 && 2 * facts.large > facts.count) {
        header = origin;
        isHeaderOpen = true;
        clearFindings();
    }
}

static void lookAtValues(string_view line, const MarkerLook &look)
{
    string_view rest = line, field;
    for (int64_t i = 0; i < look.leadingColumns; ++i)
        takeField(rest, look, field);
    const auto onNoNumber = std::exchange(text::onNoNumber, nullptr);  // its reader tells that
    const LineFacts facts = lookAtGenotypes(rest, line, look);
    text::onNoNumber = onNoNumber;
    areAllTriplets &= facts.areTriplets;
    if (looks++ == 0) {
        firstLine = facts;
        lookAtShape(facts, line, look);
        return;
    }
    if (isHeaderOpen && 2 * facts.large > facts.count)
        header.reset();
    isHeaderOpen = false;
    if (facts.count != firstLine.count)
        addDataHint(quoted(text::LineReader::originOf(line.data())->file) + ", marker number "
                        + std::to_string(markers),
                    "has not as many fields as the first marker");
}

static string_view nameOf(string_view line, const MarkerLook &look)
{
    string_view name;
    for (int64_t i = 0; i < look.nameColumn; ++i) {
        if (!takeField(line, look, name))
            return {};
    }
    return name;
}

void lookAtMarker(string_view line, const MarkerLook &look)
{
    if (!wantsDataHints())
        return;
    const auto origin = text::LineReader::originOf(line.data());
    if (!origin || (markers > 0 && origin->offset <= lastOffset))
        return;
    lastOffset = origin->offset;
    if (++markers == 1) {
        zerosCountAs = look.zerosCountAs;
        areAllTriplets = look.content == Content::Dosages;
        for (const auto late : {textOfHeader, textOfTriplets, textOf<Zeros>, textOf<Nans>, textOf<OtherSums>,
                                textOf<Negatives>, textOf<Empties>})
            addDataHint(late);
    }
    if (look.nameColumn > 0)
        names.look(nameOf(line, look));
    if (bytes <= fullLookBytes || markers % markersPerLook == 0)
        lookAtValues(line, look);
    bytes += line.size();
}
