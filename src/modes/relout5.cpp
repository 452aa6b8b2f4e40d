// Removal of related individuals: from a table of pairs (identifier, identifier, value) the individual in the
// most pairs is removed, and so on until no pair is left. A row is written for each: its place among the
// candidates, identifier, pairs, sum of their values, individuals left before, candidates; with tie-break 2
// its weight.
#include "main/console.h"
#include "modes/modes.h"
#include "relatives/removal.h"

#include <algorithm>

static constexpr RealOption limitOption = {"-limit", 1, "least value of a pair that is kept, 0 or more"};
static constexpr IntegerOption pidsizeOption
    = {"-pidsize", 1, "go on while at least so many individuals are left in pairs, 1 or more"};
static constexpr const Option *options[]
    = {&pairFileOption,  &weightFileOption, &weightDefaultOption, &removedListOption, &limitOption,
       &pairDelimOption, &tieRuleOption,    &pairHeaderOption,    &pidsizeOption};

static RemovalOptions removalOptions;
static int pidsize;  // cycles go on while at least so many individuals are in pairs

static void readOptions()
{
    removalOptions = readRemovalOptions(limitOption);
    removalOptions.limit = std::max(removalOptions.limit, 0.0f);
    pidsize = std::max(pidsizeOption.read(), 1);
    print("limit= %s pidsize=%d\n", text::realText(removalOptions.limit).c_str(), pidsize);
    print("Mode=%d\n", removalOptions.mode);
    print("Pdefault=%d\n", int(removalOptions.pdefault));
}

namespace {
// The pairs and the individuals that are left, each in their order.
class Lists {
public:
    Lists(RemovalTables &tables, Removal &removal)
        : m_tables(tables), m_removal(removal), m_pairsLeft(tables.pairs.size()), m_entriesLeft(tables.P_ID.size())
    {
    }

    size_t pairsLeft() const { return m_pairsLeft; }
    size_t entriesLeft() const { return m_entriesLeft; }

    // Removes the individual's pairs, and then the individuals that are in no pair any more. On purpose,
    // where the first one of a list is removed, the one behind it is passed over, and stays until a later
    // cycle.
    void remove(uint32_t individual)
    {
        m_touched.clear();
        removePairs(individual);
        removeEntries();
    }

private:
    void removePairs(uint32_t individual)
    {
        const std::vector<RelatedPair> &pairs = m_tables.pairs;
        uint32_t passedOver = noNumber;
        skipRemovedPairs();
        if (pairs[m_firstPair].ID1 == individual || pairs[m_firstPair].ID2 == individual) {
            passedOver = m_firstPair + 1;
            while (passedOver < pairs.size() && m_removal.isRemoved(passedOver))
                ++passedOver;
        }
        for (const PairEnd &end : m_removal.pairsOf(individual)) {
            if (m_removal.isRemoved(end.pair) || end.pair == passedOver)
                continue;
            m_removal.removePair(individual, end, m_touched);
            --m_pairsLeft;
        }
    }

    void skipRemovedPairs()
    {
        while (m_firstPair < m_tables.pairs.size() && m_removal.isRemoved(m_firstPair))
            ++m_firstPair;
    }

    // Those without a pair are the ones that just lost their last, and the first one if it was passed over
    // before.
    void removeEntries()
    {
        const std::vector<RemovalTables::Entry> &P_ID = m_tables.P_ID;
        uint32_t passedOver = noNumber;
        skipRemovedEntries();
        if (m_firstEntry < P_ID.size() && m_removal.countOf(P_ID[m_firstEntry].individual) == 0) {
            removeEntry(m_firstEntry);
            skipRemovedEntries();
            passedOver = m_firstEntry;
        }
        for (const uint32_t individual : m_touched) {
            if (m_removal.countOf(individual) > 0)
                continue;
            uint32_t entry = m_tables.individuals[individual].firstEntry;
            for (; entry != noNumber; entry = P_ID[entry].next) {
                if (P_ID[entry].individual != noNumber && entry != passedOver)
                    removeEntry(entry);
            }
        }
    }

    void removeEntry(uint32_t entry)
    {
        m_tables.P_ID[entry].individual = noNumber;
        --m_entriesLeft;
    }

    void skipRemovedEntries()
    {
        while (m_firstEntry < m_tables.P_ID.size() && m_tables.P_ID[m_firstEntry].individual == noNumber)
            ++m_firstEntry;
    }

    RemovalTables &m_tables;
    Removal &m_removal;
    size_t m_pairsLeft, m_entriesLeft;
    uint32_t m_firstPair = 0, m_firstEntry = 0;  // of those left, once the removed ones are skipped
    std::vector<uint32_t> m_touched;             // individuals that lost pairs in this cycle
};
}  // namespace

static void relout5()
{
    readOptions();
    print("running relout5()\n");
    refuseSameFiles({removalOptions.filename, removalOptions.pfile.value_or("")}, {removalOptions.outname});
    text::Writer out;
    RemovalTables tables = readRemovalTables(removalOptions, "Pfile read in", out);
    Removal removal(tables, removalOptions.mode);
    Lists lists(tables, removal);
    long long whiletimes = 0;
    while (lists.pairsLeft() > 0 && lists.entriesLeft() >= size_t(pidsize)) {
        const Choice choice = *removal.choose();  // whoever is in a pair is in P_ID
        removal.writeRow(choice, lists.entriesLeft(), out);
        lists.remove(choice.individual);
        print("%lld done; remaining %zu\n", ++whiletimes, lists.entriesLeft());
    }
    out.close();
}

constinit const Mode relout5Mode
    = {{"relout5", "RELOUT5"}, relout5, options, "Removes related individuals one by one, the one in most pairs first"};
