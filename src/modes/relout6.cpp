// Removal of related individuals by marking: as in relout5, but nothing moves up in a list, pairs with a
// value of 0 and less count but are never removed, and cycles go on while two individuals are left in a pair
// above 0.
#include "main/console.h"
#include "modes/modes.h"
#include "relatives/removal.h"

static constexpr RealOption limitOption = {"-limit", 1, "least value of a pair that is kept"};
static constexpr const Option *options[]
    = {&pairFileOption, &weightFileOption, &weightDefaultOption, &removedListOption,
       &limitOption,    &pairDelimOption,  &tieRuleOption,       &pairHeaderOption};

static RemovalOptions removalOptions;

static void readOptions()
{
    removalOptions = readRemovalOptions(limitOption);
    print("Mode=%d\n", removalOptions.mode);
    print("Pdefault=%d\n", int(removalOptions.pdefault));
}

namespace {
// The pairs and individuals by whether they are marked as removed.
class Marks {
public:
    Marks(RemovalTables &tables, Removal &removal)
        : m_tables(tables)
        , m_removal(removal)
        , m_pentrynum(tables.P_ID.size())
        , m_lastingPairs(tables.identifiers.size())
    {
        for (const RelatedPair &pair : tables.pairs) {
            if (pair.value > 0)
                continue;
            ++m_lastingPairs[pair.ID1];
            m_lastingPairs[pair.ID2] += pair.ID1 != pair.ID2;
        }
        // On purpose an individual of this name is the same as a removed one, though it counts in the first
        // cycle.
        const uint32_t named = tables.identifiers.find("NA");
        if (named != noNumber)
            removal.dismiss(named);
    }

    size_t pentrynum() const { return m_pentrynum; }

    // Removes the individual's live pairs, and whoever is in no live pair any more.
    void remove(uint32_t individual)
    {
        m_touched.clear();
        for (const PairEnd &end : m_removal.pairsOf(individual)) {
            if (!m_removal.isRemoved(end.pair) && end.value > 0)
                m_removal.removePair(individual, end, m_touched);
        }
        if (m_isFirst) {
            for (uint32_t i = 0; i < m_tables.identifiers.size(); ++i)
                m_touched.push_back(i);
            m_isFirst = false;
        }
        for (const uint32_t other : m_touched) {
            // A dismissed one has a count of 0.
            if (m_removal.countOf(other) <= m_lastingPairs[other])
                removeIndividual(other);
        }
    }

private:
    void removeIndividual(uint32_t individual)
    {
        m_removal.dismiss(individual);
        uint32_t entry = m_tables.individuals[individual].firstEntry;
        for (; entry != noNumber && m_tables.P_ID[entry].individual != noNumber; entry = m_tables.P_ID[entry].next) {
            m_tables.P_ID[entry].individual = noNumber;
            --m_pentrynum;
        }
    }

    RemovalTables &m_tables;
    Removal &m_removal;
    size_t m_pentrynum;                    // entries of individuals in a live pair; at first all
    std::vector<uint32_t> m_lastingPairs;  // [individual] that are not live, and never removed
    std::vector<uint32_t> m_touched;       // individuals that lost pairs in this cycle
    bool m_isFirst = true;
};
}  // namespace

static void relout6()
{
    readOptions();
    print("running relout6()\n");
    refuseSameFiles({removalOptions.filename, removalOptions.pfile.value_or("")}, {removalOptions.outname});
    text::Writer out;
    RemovalTables tables = readRemovalTables(removalOptions, "Pfile read", out);
    Removal removal(tables, removalOptions.mode);
    Marks marks(tables, removal);
    long long whiletimes = 0;
    while (marks.pentrynum() > 1) {
        const auto choice = removal.choose();
        if (!choice)
            break;  // all entries are of one individual named "NA"
        removal.writeRow(*choice, marks.pentrynum(), out);
        marks.remove(choice->individual);
        print("%lld done; pentrynum%zu\n", ++whiletimes, marks.pentrynum());
    }
    out.close();
}

constinit const Mode relout6Mode
    = {{"relout6", "RELOUT6"}, relout6, options, "Removes related individuals as relout5 does, by marking"};
