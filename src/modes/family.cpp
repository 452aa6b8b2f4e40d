// Families: a table of pairs (identifier, identifier, value) becomes the groups of individuals that are
// connected by pairs with a value of at least a threshold. A line of counts is added to the statistics file;
// on request each family is written with the matrix of all its values.
#include "main/console.h"
#include "main/datahints.h"
#include "modes/modes.h"
#include "relatives/pairs.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <algorithm>

static constexpr OutputOption outOption
    = {"-out", "input name", "families; a line of statistics is added to it + .stats"};
static constexpr RealOption thresholdOption = {"-threshold", 0.1, "least value that joins two individuals"};
static constexpr IntegerOption familySizeOption
    = {"-familysize", 2, "least number of individuals of a reported family, 2 or more"};
static constexpr SwitchOption showMatrixOption = {"-showmatrix", "yes: write the families with their values"};
static constexpr SwitchOption headerOption = {"-header", "yes: the first line is no pair", "yes Yes no"};
static constexpr const Option *options[] = {&pairFileOption,   &outOption,        &pairDelimOption, &thresholdOption,
                                            &familySizeOption, &showMatrixOption, &headerOption};

static std::string filename;
static std::string Outname;
static std::string statsname;
static char delim;
static double thold;  // least value that joins two individuals
static int fsize;     // least number of individuals of a family that is reported
static bool showMatrix;
static bool hasHeader;

namespace {
// A pair that joins: the smaller identifier first.
struct Joined {
    uint32_t ID1, ID2;
};
// A line of the input as the matrix shows it, whatever its value.
struct Listed {
    uint32_t ID1, ID2;
    double value;
};

// What an individual's list holds of the two.
struct Relative {
    uint32_t other;
    static Relative from(const Joined &, uint32_t, uint32_t individual) { return {individual}; }
};
struct Shown {
    uint32_t line, other;
    static Shown from(const Listed &, uint32_t number, uint32_t individual) { return {number, individual}; }
};
}  // namespace

static Identifiers identifiers;
static std::vector<Joined> joined;
static std::vector<Listed> listed;  // for the matrix only

static void readOptions()
{
    filename = pairFileOption.require();
    Outname = outOption.readAnnounced(filename);
    statsname = Outname + ".stats";
    delim = pairDelimOption.read().front();
    thold = thresholdOption.read();
    fsize = std::max(familySizeOption.read(), 2);
    showMatrix = showMatrixOption.isOn();
    hasHeader = headerOption.isOn();
}

namespace {
// A set of pairs by their numbers.
class PairSet {
public:
    // Of a pair whose identifiers have these hashes, in either order.
    static uint32_t hashOf(const uint32_t (&hashes)[2])
    {
        const uint64_t mixed = (uint64_t(hashes[0]) + hashes[1]) * 0x9e3779b97f4a7c15;
        return uint32_t(mixed >> 32 ^ mixed);
    }
    // Fetches what the insertion of such a pair begins with.
    void fetch(uint32_t hash) const { __builtin_prefetch(&m_slots[hash & (m_slots.size() - 1)]); }

    // False where it is there already.
    bool insert(Joined pair, uint32_t hash)
    {
        if (3 * (m_size + 1) > 2 * m_slots.size())
            grow();
        Slot &slot = slotOf(pair, hash);
        if (slot.pair.ID1 != noNumber)
            return false;
        slot = {hash, pair};
        ++m_size;
        return true;
    }

private:
    struct Slot {
        uint32_t hash;
        Joined pair;  // ID1 is noNumber in a free slot
    };

    Slot &slotOf(Joined pair, uint32_t hash)
    {
        size_t i = hash & (m_slots.size() - 1);
        while (m_slots[i].pair.ID1 != noNumber && (m_slots[i].pair.ID1 != pair.ID1 || m_slots[i].pair.ID2 != pair.ID2))
            i = (i + 1) & (m_slots.size() - 1);
        return m_slots[i];
    }
    void grow()
    {
        std::vector<Slot> slots(2 * m_slots.size(), Slot{0, {noNumber, noNumber}});
        m_slots.swap(slots);
        for (const Slot &slot : slots) {
            if (slot.pair.ID1 != noNumber)
                slotOf(slot.pair, slot.hash) = slot;
        }
    }

    std::vector<Slot> m_slots = std::vector<Slot>(1024, Slot{0, {noNumber, noNumber}});  // as in Identifiers
    size_t m_size = 0;
};

// Remembers the pairs accepted so far by the key SMALLER.vs.LARGER. Two different pairs can have the same
// key, and on purpose the second one is refused; but only where "vs" occurs in both, and all other pairs are
// kept by number.
class PairKeys {
public:
    // The identifiers in their order, and PairSet's hash.
    bool isNew(Joined pair, std::string_view first, std::string_view second, uint32_t hash)
    {
        if (first.find("vs") == first.npos && second.find("vs") == second.npos)
            return m_numbers.insert(pair, hash);
        m_key.assign(first).append(".vs.").append(second);
        const size_t before = m_spelled.size();
        m_spelled.number(m_key);
        return m_spelled.size() > before;
    }
    void fetch(uint32_t hash) const { m_numbers.fetch(hash); }

private:
    PairSet m_numbers;
    Identifiers m_spelled;
    std::string m_key;
};
}  // namespace

static void reportDuplicate(int64_t rowcounter)
{
    print("Duplicate declaration (not used) at %lld\n", static_cast<long long>(rowcounter));
}

[[noreturn]] static void refuseLine(int64_t rowcounter, int fields)
{
    addDataHint("pair number " + std::to_string(rowcounter) + " has " + (fields > 3 ? "more" : "fewer")
                + " than three fields; is -delim right?");
    fatal("error in input file\n");
}

static void readPairs(text::LineReader &in)
{
    PairKeys mergedID;
    int order = 0;  // of the last line: 1 or 2 by its orientation, 0 a self comparison, -1 not joined
    int64_t rowcounter = 0;
    // The matrix shows the header line as well, where it is a pair.
    std::string_view heading;
    if (hasHeader && in.next(heading) && showMatrix && !heading.empty()) {
        PairFields fields;
        fields.split(heading, delim);
        const uint32_t first = identifiers.number(fields.first);
        listed.push_back({first, identifiers.number(fields.second), text::readDouble(fields.value)});
    }
    PairReader reader(in, identifiers, delim, {.least = thold, .all = showMatrix}, PairReader::Numbering::Pairs);
    while (const PairReader::Line *line = reader.next()) {
        if (const PairReader::Line *later = reader.peek(8))
            mergedID.fetch(PairSet::hashOf(later->hashes));
        const PairFields &fields = line->fields;
        if (fields.count == 0) {
            if (order > 0)  // on purpose: the pair before it is tried once more
                reportDuplicate(rowcounter);
            continue;
        }
        ++rowcounter;
        if (fields.count != 3)
            refuseLine(rowcounter, fields.count);
        order = -1;
        if (!line->isWanted)
            continue;
        const auto [first, second] = line->numbers;
        if (showMatrix)
            listed.push_back({first, second, line->value});
        if (!(line->value >= thold))
            continue;
        Joined pair;
        if (fields.first < fields.second) {
            pair = {first, second};
            order = 1;
        } else if (fields.second < fields.first) {
            pair = {second, first};
            order = 2;
        } else if (fields.first == fields.second) {
            print("Comparison with self at %lld\n", static_cast<long long>(rowcounter));
            order = 0;
            continue;
        } else {
            print("Unexpected\n");
            continue;
        }
        if (mergedID.isNew(pair, std::min(fields.first, fields.second), std::max(fields.first, fields.second),
                           PairSet::hashOf(line->hashes)))
            joined.push_back(pair);
        else
            reportDuplicate(rowcounter);
    }
}

static void writeMembers(const std::vector<uint32_t> &Family, char separator, text::Writer &out)
{
    for (size_t f = 0; f < Family.size(); ++f) {
        if (f > 0)
            out.put(separator);
        out.put(identifiers.name(Family[f]));
    }
    out.put('\n');
}

// Writes a row of cells for each member, and an empty line. position[individual] is the place in the family;
// it may tell nothing about individuals of other families, but they are in no pair with a member that shows.
static void writeMatrix(const std::vector<uint32_t> &Family, const std::vector<uint32_t> &position,
                        PairLists<Shown> &lists, text::Writer &out)
{
    out.put('\t');
    writeMembers(Family, '\t', out);
    std::vector<uint32_t> cells(Family.size(), noNumber);  // of a row: its line in `listed`; noNumber shows as 0
    for (size_t row = 0; row < Family.size(); ++row) {
        const auto isMember = [&](uint32_t individual) {
            return position[individual] < Family.size() && Family[position[individual]] == individual;
        };
        for (const Shown &shown : lists.of(Family[row])) {
            if (isMember(shown.other))
                cells[position[shown.other]] = shown.line;  // a later line overwrites an earlier one
        }
        out.put(identifiers.name(Family[row]));
        for (size_t column = 0; column < cells.size(); ++column) {
            out.put('\t');
            if (column == row) {
                out.put('1');
            } else if (cells[column] == noNumber) {
                out.put('0');
            } else {
                out.put(listed[cells[column]].value);
            }
            cells[column] = noNumber;
        }
        out.put('\n');
    }
    out.put('\n');
}

namespace {
struct FamilyCounts {
    size_t famnum = 0;          // families reported
    size_t totalfamilyind = 0;  // their individuals
    size_t maxfam = 0;          // individuals of the largest one
};
}  // namespace

// Grows a family from the first pair that is in none yet, member by member, each bringing in its own pairs'
// other individuals in the order of the pairs; and so on.
static FamilyCounts reportFamilies(text::Writer &out)
{
    PairLists<Relative> relativesOf(joined, identifiers.size());
    PairLists<Shown> linesOf(listed, identifiers.size());
    std::vector<uint32_t> position(identifiers.size(), noNumber);  // in the individual's family
    std::vector<uint32_t> Family;
    const auto append = [&](uint32_t individual) {
        if (position[individual] != noNumber)
            return;
        position[individual] = uint32_t(Family.size());
        Family.push_back(individual);
    };
    FamilyCounts counts;
    for (const Joined &first : joined) {
        if (position[first.ID1] != noNumber)
            continue;
        Family.clear();
        append(first.ID1);
        append(first.ID2);
        for (size_t f = 0; f < Family.size(); ++f) {
            for (const Relative &relative : relativesOf.of(Family[f]))
                append(relative.other);
        }
        if (Family.size() < size_t(fsize))
            continue;
        ++counts.famnum;
        counts.maxfam = std::max(counts.maxfam, Family.size());
        counts.totalfamilyind += Family.size();
        if (showMatrix) {
            out.put(counts.famnum);
            out.put(") ");
            out.put(Family.size());
            out.put(" x  ");
            writeMembers(Family, ' ', out);
            out.put('\n');
            writeMatrix(Family, position, linesOf, out);
        }
    }
    return counts;
}

static void writeSummary(const FamilyCounts &counts, text::Writer &stats)
{
    stats.put("fsize ");
    stats.put(fsize);
    stats.put(" thold ");
    stats.put(thold);
    stats.put(" totind ");
    stats.put(counts.totalfamilyind);
    stats.put(" famnum ");
    stats.put(counts.famnum);
    stats.put(" avg ");
    stats.put(counts.famnum == 0 ? 0.0 : double(counts.totalfamilyind) / double(counts.famnum));
    stats.put(" maxfam ");
    stats.put(counts.maxfam);
    stats.put('\n');
}

static void family()
{
    readOptions();
    print("running family()\n\n");
    refuseSameFiles({filename}, {Outname, statsname});
    text::LineReader in;
    text::Writer out, stats;
    if (!out.open(Outname) || !in.open(filename) || !stats.openToAppend(statsname))
        quit();  // silent by design
    in.keepReturns();
    readPairs(in);
    const FamilyCounts counts = reportFamilies(out);
    writeSummary(counts, stats);
    out.close();
    stats.close();
}

constinit const Mode familyMode = {{"family", "fam"}, family, options, "Finds families among pairs of relatives"};
