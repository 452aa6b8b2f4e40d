#include "relatives/removal.h"
#include "main/console.h"
#include "main/datahints.h"
#include "main/repeats.h"
#include "text/readnumber.h"

#include <algorithm>
#include <bit>

static void lookForIdleOptions(const RemovalOptions &options)
{
    if (weightDefaultOption.given() && !options.pfile)
        addDataHint("\"-pdefault\" changes nothing without \"-pfile\"");
    else if (weightDefaultOption.given() && options.mode != 2)
        addDataHint("\"-pdefault\" changes nothing but messages without \"-mode 2\"");
    if (options.pfile && options.mode != 2)
        addDataHint(
            "without \"-mode 2\" the weights of \"-pfile\" decide nothing; the order of its lines decides ties");
    if (!options.pfile && options.mode == 2)
        addDataHint("\"-mode 2\" decides nothing without \"-pfile\": all weights are 1");
}

RemovalOptions readRemovalOptions(const RealOption &limitOption)
{
    RemovalOptions options;
    options.filename = pairFileOption.require();
    options.pfile = weightFileOption.given();
    if (!options.pfile)
        print("Flag '-pfile' not specified, so pfile not used.\n\n");
    options.outname = removedListOption.read(options.filename);
    options.limit = float(limitOption.read());
    options.mode = tieRuleOption.read();
    options.hasHeader = pairHeaderOption.isOn();
    options.pdefault = weightDefaultOption.read() == 1;
    options.delim = pairDelimOption.read().front();
    lookForIdleOptions(options);
    if (!limitOption.given())
        addDataHint("without \"-limit\" only pairs with a value of 1 and more count");
    return options;
}

static void readPairs(const RemovalOptions &options, text::LineReader &in, RemovalTables &tables)
{
    long long number = 1;  // of the line
    std::string_view skipped;
    if (options.hasHeader && in.next(skipped))
        ++number;
    PairReader reader(in, tables.identifiers, options.delim, {.least = options.limit, .isNarrow = true},
                      PairReader::Numbering::Pairs);
    for (; const PairReader::Line *line = reader.next(); ++number) {
        const PairFields &fields = line->fields;
        if (fields.count == 0)
            continue;
        if (fields.count < 3)
            fatal("Pair table line %lld has fewer than 3 fields\n", number);
        if (line->isWanted)
            tables.pairs.push_back({line->numbers[0], line->numbers[1], float(line->value)});
    }
}

static void appendEntry(uint32_t individual, double weight, RemovalTables &tables)
{
    tables.P_ID.push_back({weight, individual, noNumber, noNumber});
}

// Sets firstEntry and next for the entries so far.
static void chainEntries(RemovalTables &tables)
{
    tables.individuals.assign(tables.identifiers.size(), {noNumber, 0});
    for (size_t entry = tables.P_ID.size(); entry-- > 0;) {
        uint32_t &firstEntry = tables.individuals[tables.P_ID[entry].individual].firstEntry;
        tables.P_ID[entry].next = firstEntry;
        firstEntry = uint32_t(entry);
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
    RepeatedNames weighted("individual", "is in the weight table again, and has its first weight both times");
    PairReader reader(in, tables.identifiers, options.delim, {.all = true}, PairReader::Numbering::KnownOnly);
    while (const PairReader::Line *line = reader.next()) {
        if (line->fields.count == 0)
            continue;
        const uint32_t individual = line->numbers[0];
        if (individual == noNumber)
            continue;
        const double weight = text::readDouble(line->fields.second);
        weighted.look(line->fields.first);
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
    const std::string weightText = text::realText(weight);
    for (uint32_t i = 0; i < tables.identifiers.size(); ++i) {
        if (tables.individuals[i].firstEntry != noNumber)
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

static constexpr uint32_t placesPerBlock = 512;  // that the tree counts as one

Removal::Removal(RemovalTables &tables, int mode)
    : m_tables(tables)
    , m_mode(mode)
    , m_pairsOf(tables.pairs, tables.identifiers.size())
    , m_isRemoved(tables.pairs.size())
{
    for (uint32_t i = 0; i < tables.individuals.size(); ++i) {
        tables.individuals[i].IDcount = uint32_t(m_pairsOf.of(i).size());
        m_level = std::max(m_level, tables.individuals[i].IDcount + 1);
    }
    m_waiting.resize(m_level);
    for (uint32_t entry = 0; entry < tables.P_ID.size(); ++entry)
        m_waiting[countOf(tables.P_ID[entry].individual)].push_back(entry);
}

// Where the individual is a candidate, its entries go to the next heap below; they may yet fall deeper.
void Removal::leaveLevel(uint32_t individual)
{
    uint32_t number = m_tables.individuals[individual].firstEntry;
    while (number != noNumber) {
        RemovalTables::Entry &entry = m_tables.P_ID[number];
        if (entry.place == noNumber)
            return;
        m_candidates[entry.place / 64] &= ~(uint64_t(1) << entry.place % 64);
        for (size_t at = entry.place / placesPerBlock + 1; at < m_leftBefore.size(); at += at & -at)
            --m_leftBefore[at];
        entry.place = noNumber;
        --m_left;
        m_waiting[m_level - 1].push_back(number);
        number = entry.next;
    }
}

// Begins the next level below that has candidates; false when there is none.
bool Removal::startLevel()
{
    m_order.clear();
    while (m_order.empty() && m_level > 1) {
        --m_level;
        const std::vector<uint32_t> heap = std::move(m_waiting[m_level]);
        for (const uint32_t entry : heap) {
            const uint32_t individual = m_tables.P_ID[entry].individual;
            const uint32_t count = individual == noNumber ? 0 : countOf(individual);
            if (count == m_level)
                m_order.push_back({0, 0, entry});
            else if (count > 0)
                m_waiting[count].push_back(entry);
        }
    }
    putInOrder();
    return m_left > 0;
}

void Removal::putInOrder()
{
    std::sort(m_order.begin(), m_order.end(),
              [](const Preference &a, const Preference &b) { return a.entry < b.entry; });
    m_left = m_order.size();
    m_next = 0;
    m_candidates.assign(m_left / 64 + 1, 0);
    m_leftBefore.assign(m_left / placesPerBlock + 1, 0);
    for (size_t at = 1; at < m_leftBefore.size(); ++at)
        m_leftBefore[at] = placesPerBlock * uint32_t(at & -at);
    for (uint32_t place = 0; place < m_left; ++place) {
        RemovalTables::Entry &entry = m_tables.P_ID[m_order[place].entry];
        double key = 0;
        // No sum up to -999999.9 is preferred to any other, and no weight from 999999.9 on. NaN is neither.
        if (m_mode == 1) {
            const double IDvalue = sumOfValues(entry.individual);
            key = IDvalue > -999999.9 ? -IDvalue : 999999.9;
        } else if (m_mode == 2) {
            // On purpose that of the individual's first entry, also for its others.
            const double weight = m_tables.P_ID[m_tables.individuals[entry.individual].firstEntry].PValue;
            key = weight < 999999.9 ? weight : 999999.9;
        }
        m_order[place].key = key;
        m_order[place].place = place;
        entry.place = place;
        m_candidates[place / 64] |= uint64_t(1) << place % 64;
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
    const std::span<PairEnd> list = m_pairsOf.of(individual);
    size_t kept = 0;
    double sum = 0.0;
    for (const PairEnd &end : list) {
        if (isRemoved(end.pair))
            continue;
        list[kept++] = end;
        sum += double(end.value);
    }
    if (kept < list.size())
        m_pairsOf.shrink(individual, kept);
    return sum;
}

// The candidates left before the place.
size_t Removal::locOf(uint32_t place) const
{
    size_t loc = 0;
    for (uint32_t at = place / placesPerBlock; at > 0; at -= at & -at)
        loc += m_leftBefore[at];
    uint32_t word = place / placesPerBlock * (placesPerBlock / 64);
    for (; word < place / 64; ++word)
        loc += size_t(std::popcount(m_candidates[word]));
    return loc + size_t(std::popcount(m_candidates[word] & ((uint64_t(1) << place % 64) - 1)));
}

// No more of them than are worth fetching.
std::span<const PairEnd> Removal::firstPairsOf(uint32_t individual)
{
    const std::span<const PairEnd> all = m_pairsOf.of(individual);
    return all.first(std::min<size_t>(all.size(), 8));
}

// Each step on the way to a candidate's data needs the one before it to be there.
void Removal::fetchAhead()
{
    const auto individualAt = [this](size_t distance) {
        const size_t at = m_next + distance;
        return at < m_order.size() ? m_tables.P_ID[m_order[at].entry].individual : noNumber;
    };
    if (m_next + 32 < m_order.size())
        __builtin_prefetch(&m_tables.P_ID[m_order[m_next + 32].entry]);
    if (const uint32_t individual = individualAt(24); individual != noNumber) {
        m_pairsOf.fetch(individual);
        m_tables.identifiers.fetch(individual);
        __builtin_prefetch(&m_tables.individuals[individual]);
    }
    if (const uint32_t individual = individualAt(16); individual != noNumber)
        __builtin_prefetch(m_pairsOf.of(individual).data());
    if (const uint32_t individual = individualAt(8); individual != noNumber) {
        for (const PairEnd &end : firstPairsOf(individual))
            __builtin_prefetch(&m_tables.individuals[end.other]);
    }
    if (const uint32_t individual = individualAt(4); individual != noNumber) {
        for (const PairEnd &end : firstPairsOf(individual))
            __builtin_prefetch(&m_tables.P_ID[m_tables.individuals[end.other].firstEntry]);
    }
}

std::optional<Choice> Removal::choose()
{
    if (m_left == 0 && !startLevel())
        return std::nullopt;
    if (m_left > 1 && (m_mode < 0 || m_mode > 2))
        fatal("Wrong mode!\n");
    for (fetchAhead(); !isCandidate(m_order[m_next].place); fetchAhead())
        ++m_next;
    const uint32_t individual = m_tables.P_ID[m_order[m_next].entry].individual;
    return Choice{individual, m_level, sumOfValues(individual), locOf(m_order[m_next].place), m_left};
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
        out.put(m_tables.P_ID[m_tables.individuals[choice.individual].firstEntry].PValue);
    }
    out.put('\n');
}

void Removal::removePair(uint32_t individual, const PairEnd &end, std::vector<uint32_t> &touched)
{
    const auto loseOne = [&](uint32_t loser) {
        leaveLevel(loser);
        uint32_t &IDcount = m_tables.individuals[loser].IDcount;
        IDcount -= IDcount > 0;  // a dismissed one stays at 0
        touched.push_back(loser);
    };
    loseOne(individual);
    if (end.other != individual)
        loseOne(end.other);
    m_isRemoved[end.pair] = true;
}

void Removal::dismiss(uint32_t individual)
{
    leaveLevel(individual);
    m_tables.individuals[individual].IDcount = 0;
}
