#include "modes/removal.h"
#include "main/console.h"
#include "main/options.h"
#include "text/readnumber.h"

#include <algorithm>

RemovalOptions readRemovalOptions()
{
    RemovalOptions options;
    options.filename = requiredOption("-file");
    options.pfile = option("-pfile");
    if (!options.pfile)
        print("Flag '-pfile' not specified, so pfile not used.\n\n");
    options.outname = textOption("-out", options.filename + ".out");
    options.limit = text::readFloat(textOption("-limit", "1"));
    options.mode = integerOption("-mode", 1);
    options.header = textOption("-header", "no") == "yes";
    options.pdefault = textOption("-pdefault", "zero") == "mean";
    options.delim = pairDelimiter(textOption("-delim", "tab"));
    return options;
}

static void readPairs(const RemovalOptions &options, text::LineReader &in, RemovalTables &tables)
{
    const float limit = options.limit;
    long long number = 1;  // of the line
    std::string_view skipped;
    if (options.header && in.next(skipped))
        ++number;
    PairReader reader(in, tables.identifiers, options.delim, 2);
    for (; const PairReader::Line *line = reader.next(); ++number) {
        const PairFields &fields = line->fields;
        if (fields.count == 0)
            continue;
        if (fields.count < 3)
            fatal("Pair table line %lld has fewer than 3 fields\n", number);
        const float value = text::readFloat(fields.value);
        if (limit <= value) {
            const uint32_t ID1 = tables.identifiers.number(fields.first, line->hashes[0]);
            tables.pairs.push_back({ID1, tables.identifiers.number(fields.second, line->hashes[1]), value});
        }
    }
}

static void appendEntry(uint32_t individual, double weight, RemovalTables &tables)
{
    tables.P_ID.push_back(individual);
    tables.PValues.push_back(weight);
}

// Sets firstEntry and nextEntry for the entries so far.
static void chainEntries(RemovalTables &tables)
{
    tables.firstEntry.assign(tables.identifiers.size(), none);
    tables.nextEntry.resize(tables.P_ID.size());
    for (size_t entry = tables.P_ID.size(); entry-- > 0;) {
        tables.nextEntry[entry] = tables.firstEntry[tables.P_ID[entry]];
        tables.firstEntry[tables.P_ID[entry]] = uint32_t(entry);
    }
}

// Enters the individuals of the weight table that are in any pair, in its order; returns the mean of their
// weights.
static double readWeights(const RemovalOptions &options, RemovalTables &tables)
{
    text::LineReader in;
    if (!in.open(*options.pfile))
        fatal("Pfile not found\n");
    double sum = 0;
    PairReader reader(in, tables.identifiers, options.delim, 1);
    while (const PairReader::Line *line = reader.next()) {
        if (line->fields.count == 0)
            continue;
        const uint32_t individual = tables.identifiers.find(line->fields.first, line->hashes[0]);
        if (individual == none)
            continue;
        const double weight = text::readDouble(line->fields.second);
        appendEntry(individual, weight, tables);
        sum += weight;
    }
    return sum / double(tables.P_ID.size());
}

static void reportImputed(std::string_view name, std::string_view weight)
{
    static std::string message;
    message.assign("Impute ").append(name).append(" ").append(weight).append("\n");
    printBytes(message);
}

// Enters the individuals that are not in P_ID yet. The order of their first pairs is that of their numbers.
static void enterOthers(double weight, bool isReported, RemovalTables &tables)
{
    chainEntries(tables);
    char text[text::maxRealSize];
    const std::string_view weightText(text, size_t(text::writeReal(text, weight) - text));
    for (uint32_t i = 0; i < tables.identifiers.size(); ++i) {
        if (tables.firstEntry[i] != none)
            continue;
        appendEntry(i, weight, tables);
        if (isReported)
            reportImputed(tables.identifiers.name(i), weightText);
    }
    chainEntries(tables);
}

RemovalTables readRemovalTables(const RemovalOptions &options, const char *pfileRead, text::Writer &out)
{
    RemovalTables tables;
    text::LineReader in;
    if (!in.open(options.filename))
        fatal("Input file not found\n");
    if (!out.open(options.outname))
        fatal("Output file not opened\n");
    readPairs(options, in, tables);
    print("Main table read in\n");
    if (tables.pairs.empty())
        fatal("Nothing to remove!\nNo new files created.\n");
    if (options.pfile) {
        const double mean = readWeights(options, tables);
        print("%s\n", pfileRead);
        enterOthers(options.pdefault ? mean : 0, true, tables);
        print("Missing values entered. Total of %zu entries to start with.\n", tables.P_ID.size());
    } else {
        print("All pval weights are set to 1\n");
        enterOthers(1, false, tables);
        print("Pval file not used. Total of %zu entries to start with.\n", tables.P_ID.size());
    }
    print("Entering main while\n");
    return tables;
}

Removal::Removal(RemovalTables &tables, int mode)
    : m_tables(tables)
    , m_mode(mode)
    , m_pairsOf(tables.pairs, tables.identifiers.size())
    , m_IDcounts(tables.identifiers.size())
    , m_nextWaiting(tables.P_ID.size())
    , m_place(tables.P_ID.size(), none)
{
    for (uint32_t i = 0; i < m_IDcounts.size(); ++i)
        m_IDcounts[i] = uint32_t(m_pairsOf.of(i).size());
    m_level = 1 + *std::max_element(m_IDcounts.begin(), m_IDcounts.end());
    m_waiting.assign(m_level, none);
    for (size_t entry = tables.P_ID.size(); entry-- > 0;)
        wait(uint32_t(entry), m_IDcounts[tables.P_ID[entry]]);
}

void Removal::wait(uint32_t entry, uint32_t count)
{
    m_nextWaiting[entry] = m_waiting[count];
    m_waiting[count] = entry;
}

// Where the individual is a candidate, its entries go to the next chain below; they may yet fall deeper.
void Removal::leaveLevel(uint32_t individual)
{
    for (uint32_t entry = m_tables.firstEntry[individual]; entry != none; entry = m_tables.nextEntry[entry]) {
        if (m_place[entry] == none)
            return;
        for (size_t at = m_place[entry] + 1; at < m_leftBefore.size(); at += at & -at)
            --m_leftBefore[at];
        m_place[entry] = none;
        --m_left;
        wait(entry, m_level - 1);
    }
}

// Begins the next level below that has candidates; false when there is none.
bool Removal::startLevel()
{
    m_entries.clear();
    while (m_entries.empty() && m_level > 1) {
        --m_level;
        uint32_t next;
        for (uint32_t entry = m_waiting[m_level]; entry != none; entry = next) {
            next = m_nextWaiting[entry];
            const uint32_t individual = m_tables.P_ID[entry];
            const uint32_t count = individual == none ? 0 : m_IDcounts[individual];
            if (count == m_level)
                m_entries.push_back(entry);
            else if (count > 0)
                wait(entry, count);
        }
    }
    std::sort(m_entries.begin(), m_entries.end());
    putInOrder();
    return m_left > 0;
}

void Removal::putInOrder()
{
    m_left = m_entries.size();
    m_next = 0;
    m_order.resize(m_left);
    m_leftBefore.resize(m_left + 1);
    for (uint32_t place = 0; place < m_left; ++place) {
        const uint32_t individual = m_tables.P_ID[m_entries[place]];
        double key = 0, IDvalue = 0;
        // No sum up to -999999.9 is preferred to any other, and no weight from 999999.9 on. NaN is neither.
        if (m_mode == 1) {
            IDvalue = sumOfValues(individual);
            key = IDvalue > -999999.9 ? -IDvalue : 999999.9;
        } else if (m_mode == 2) {
            // On purpose that of the individual's first entry, also for its others.
            const double weight = m_tables.PValues[m_tables.firstEntry[individual]];
            key = weight < 999999.9 ? weight : 999999.9;
        }
        m_order[place] = {key, IDvalue, place};
        m_place[m_entries[place]] = place;
        m_leftBefore[place + 1] = (place + 1) & -(place + 1);
    }
    if (m_mode == 1 || m_mode == 2) {
        std::sort(m_order.begin(), m_order.end(), [](const Preference &a, const Preference &b) {
            return a.key < b.key || (a.key == b.key && a.place < b.place);
        });
    }
}

// From 0.0 in the order of the pairs. Drops the removed ones from the list on the way.
double Removal::sumOfValues(uint32_t individual)
{
    const std::span<uint32_t> list = m_pairsOf.of(individual);
    size_t kept = 0;
    double sum = 0.0;
    for (const uint32_t j : list) {
        const RelatedPair &pair = m_tables.pairs[j];
        if (pair.ID1 == none)
            continue;
        list[kept++] = j;
        sum += double(pair.value);
    }
    m_pairsOf.shrink(individual, kept);
    return sum;
}

std::optional<Choice> Removal::choose()
{
    if (m_left == 0 && !startLevel())
        return std::nullopt;
    if (m_left > 1 && (m_mode < 0 || m_mode > 2))
        fatal("Wrong mode!\n");
    while (m_place[m_entries[m_order[m_next].place]] == none)
        ++m_next;
    const uint32_t place = m_order[m_next].place;
    const uint32_t individual = m_tables.P_ID[m_entries[place]];
    size_t loc = 0;
    for (uint32_t at = place; at > 0; at -= at & -at)
        loc += m_leftBefore[at];
    const double IDvalue = m_mode == 1 ? m_order[m_next].IDvalue : sumOfValues(individual);
    return Choice{individual, m_level, IDvalue, loc, m_left};
}

void Removal::writeRow(const Choice &choice, size_t entriesLeft, text::Writer &out) const
{
    out.put(choice.loc);
    out.put(' ');
    out.put(m_tables.identifiers.name(choice.individual));
    out.put(' ');
    out.put(size_t(choice.IDcount));
    out.put(' ');
    out.put(choice.IDvalue);
    out.put(' ');
    out.put(entriesLeft);
    out.put(' ');
    out.put(choice.candidates);
    if (m_mode == 2) {
        out.put(' ');
        out.put(m_tables.PValues[m_tables.firstEntry[choice.individual]]);
    }
    out.put('\n');
}

void Removal::removePair(uint32_t pair, std::vector<uint32_t> &touched)
{
    const auto loseOne = [&](uint32_t individual) {
        leaveLevel(individual);
        m_IDcounts[individual] -= m_IDcounts[individual] > 0;  // a dismissed one stays at 0
        touched.push_back(individual);
    };
    RelatedPair &removed = m_tables.pairs[pair];
    loseOne(removed.ID1);
    if (removed.ID2 != removed.ID1)
        loseOne(removed.ID2);
    removed.ID1 = removed.ID2 = none;
}

void Removal::dismiss(uint32_t individual)
{
    leaveLevel(individual);
    m_IDcounts[individual] = 0;
}
