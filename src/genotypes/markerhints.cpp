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

static constexpr size_t fullLookBytes = size_t(1) << 19;
static constexpr size_t markersPerLook = 256;  // after that
static constexpr double sumTolerance = 0.02;   // rounding of three numbers to two digits

namespace {
// Something found in the genotypes of some individuals.
struct Finding {
    const char *what;
    std::optional<text::LineReader::Origin> first = {};
    size_t count = 0, markers = 0;
    size_t lastMarker = 0;
    std::vector<bool> individuals = {};

    void add(string_view word, size_t individual);
    std::string text() const;
};

// The fields of a line behind the leading columns.
struct LineFacts {
    size_t count = 0, numbers = 0, large = 0;  // above 2
    bool endsEmpty = false, areTriplets = true;

    bool areMostlyLarge() const { return count > 1 && 2 * large > count; }
    bool areMostlyTexts() const { return count == 0 || 2 * numbers < count; }
};

enum Kind { Zeros, Nans, OtherSums, Negatives, Empties };
}  // namespace

static Finding findings[] = {
    {"triplets of three zeros, which count as"},
    {"nan (missing?)"},
    {"triplets with a sum other than 1 (dosages? another number of leading columns?)"},
    {"negative dosages (missing?)"},
    {"empty fields (two blanks in a row, or one at the end of the line), which count as 0"},
};

static const char *zerosCountAs = "";
static size_t markers = 0, looks = 0, bytes = 0;
static bool hasEnded = false;  // what comes is read again
static std::string firstName;
static size_t firstOffset = 0;
static LineFacts firstLine;
static std::optional<text::LineReader::Origin> header;  // a first line that looks like one
static bool isHeaderOpen = false;                       // the second line will tell
static bool areAllTriplets = true;
static RepeatedNames names("marker", "has a name that was there before, and results tell markers by their names only; "
                                     "name them by position and alleles");

void Finding::add(string_view word, size_t individual)
{
    if (!first)
        first = text::LineReader::originOf(word.data());
    ++count;
    markers += lastMarker != ::markers;
    lastMarker = ::markers;
    if (individuals.size() <= individual)
        individuals.resize(individual + 1);
    individuals[individual] = true;
}

std::string Finding::text() const
{
    const auto concerned = std::count(individuals.begin(), individuals.end(), true);
    std::string text = (first ? describePlace(*first) + ": " : "") + what;
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
template <bool areWords>
static bool takeField(string_view &rest, string_view &field)
{
    const auto isSeparator = [](char c) { return areWords ? text::isWhiteSpace(c) : c == ' '; };
    const char *at = rest.data(), *const end = at + rest.size();
    while (areWords && at != end && isSeparator(*at))
        ++at;
    if (!at || (areWords && at == end))
        return false;
    const char *const first = at;
    while (at != end && !isSeparator(*at))
        ++at;
    field = {first, size_t(at - first)};
    rest = at == end ? string_view() : string_view(at + 1, size_t(end - at - 1));
    return true;
}

// The last of so many fields, which are taken off; empty where there are fewer.
static string_view takeFields(string_view &rest, int64_t count, bool areWords)
{
    string_view field;
    for (int64_t i = 0; i < count; ++i) {
        if (!(areWords ? takeField<true>(rest, field) : takeField<false>(rest, field)))
            return {};
    }
    return field;
}

static text::Real numberOf(string_view field)
{
    const text::ShortNumber number = text::readShortNumber(field.data(), field.size());
    if (!number.invalid)
        return {text::thousandthValues[size_t(text::thousandthsOf(number.digits))], !field.empty()};
    return text::readReal(field);
}

static void lookAtTriplet(const string_view (&fields)[3], const text::Real (&parts)[3], size_t individual,
                          const MarkerLook &look, LineFacts &facts)
{
    const double sum = parts[0].value + parts[1].value + parts[2].value;
    const bool areNumbers = parts[0].isNumber && parts[1].isNumber && parts[2].isNumber;
    const bool areZeros = areNumbers && parts[0].value == 0 && parts[1].value == 0 && parts[2].value == 0;
    const bool isWhole = areNumbers && std::fabs(sum - 1) <= sumTolerance;
    facts.areTriplets &= isWhole;
    if (look.content == Content::Dosages)
        return;
    if (std::isnan(sum) && look.zerosCountAs)
        findings[Nans].add(fields[0], individual);
    else if (areZeros && look.zerosCountAs)
        findings[Zeros].add(fields[0], individual);
    else if (areNumbers && !isWhole && !areZeros && !std::isnan(sum))
        findings[OtherSums].add(fields[0], individual);
}

static void lookAtDosage(string_view field, double value, size_t individual, const MarkerLook &look)
{
    if (std::isnan(value) && look.zerosCountAs)
        findings[Nans].add(field, individual);
    else if (value < 0 && (look.zerosCountAs || value != -99.99))
        findings[Negatives].add(field, individual);
}

// Looks at the fields behind the leading columns, which `genotypes` begins with.
template <bool areWords>
static LineFacts lookAtGenotypes(string_view genotypes, const MarkerLook &look)
{
    const bool isDosages = look.content == Content::Dosages;
    LineFacts facts;
    string_view fields[3];
    text::Real parts[3];
    for (size_t part = 0; takeField<areWords>(genotypes, fields[part]);) {
        const string_view field = fields[part];
        const text::Real number = parts[part] = numberOf(field);
        facts.numbers += number.isNumber;
        facts.large += number.value > 2;
        const size_t individual = isDosages ? facts.count : facts.count / 3;
        facts.endsEmpty = field.empty() && !genotypes.data();
        // One blank too many behind triplets is passed over.
        if (field.empty() && (isDosages || !facts.endsEmpty || part > 0))
            findings[Empties].add(field, individual);
        if (isDosages)
            lookAtDosage(field, number.value, individual, look);
        ++facts.count;
        part = part < 2 ? part + 1 : 0;
        if (part == 0 && (!isDosages || areAllTriplets))
            lookAtTriplet(fields, parts, individual, look, facts);
    }
    facts.areTriplets &= facts.count % 3 == 0;
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
    } else if (look.content == Content::Triplets && !facts.areMostlyTexts()
               && facts.count % 3 != (facts.endsEmpty ? 1 : 0)) {
        addDataHint(quoted(origin->file) + ", first marker: " + behind
                    + ", which are not three for each individual; another number of leading columns?");
    }
    if (facts.areMostlyLarge()) {
        header = origin;
        isHeaderOpen = true;
        clearFindings();
    }
}

static void lookAtValues(string_view line, const MarkerLook &look)
{
    string_view rest = line;
    takeFields(rest, look.leadingColumns, look.areWords);
    const auto onNoNumber = std::exchange(text::onNoNumber, nullptr);  // its reader tells that
    const LineFacts facts = look.areWords ? lookAtGenotypes<true>(rest, look) : lookAtGenotypes<false>(rest, look);
    text::onNoNumber = onNoNumber;
    areAllTriplets &= facts.areTriplets && facts.count > 3;
    if (looks++ == 0) {
        firstLine = facts;
        lookAtShape(facts, line, look);
        return;
    }
    if (isHeaderOpen && facts.areMostlyLarge())
        header.reset();
    if (isHeaderOpen || firstLine.areMostlyTexts())
        firstLine = facts;  // behind a header
    isHeaderOpen = false;
    if (facts.count != firstLine.count)
        addDataHint("marker number " + std::to_string(markers), "has not as many fields as the first marker");
}

// True where the first marker comes a second time: the file is read again.
static bool isReadAgain(string_view line, string_view name)
{
    const auto origin = text::LineReader::originOf(line.data());
    if (markers == 0) {
        firstName = name;
        firstOffset = origin ? origin->offset : 0;
        return false;
    }
    return !origin || origin->offset <= firstOffset;
}

static void startLooking(const MarkerLook &look)
{
    zerosCountAs = look.zerosCountAs;
    areAllTriplets = look.content == Content::Dosages;
    for (const auto late : {textOfHeader, textOfTriplets, textOf<Zeros>, textOf<Nans>, textOf<OtherSums>,
                            textOf<Negatives>, textOf<Empties>})
        addDataHint(late);
}

void lookAtMarker(string_view line, const MarkerLook &look)
{
    if (!wantsDataHints() || hasEnded)
        return;
    string_view rest = line;
    const string_view name = takeFields(rest, look.nameColumn, look.areWords);
    if (markers == 0 || name == firstName)
        hasEnded = look.nameColumn > 0 && isReadAgain(line, name);
    if (hasEnded)
        return;
    if (markers++ == 0)
        startLooking(look);
    if (look.nameColumn > 0)
        names.look(name);
    if (bytes <= fullLookBytes || markers % markersPerLook == 0)
        lookAtValues(line, look);
    bytes += line.size();
}
