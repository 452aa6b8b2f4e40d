// What the two modes share that remove related individuals one by one: options, tables, the choice of the
// next individual, and the row written for it.
#pragma once

#include "relatives/pairs.h"
#include "text/lines.h"
#include "text/writer.h"

#include <optional>
#include <string>
#include <vector>

inline constexpr InputOption weightFileOption = {"-pfile", Use::Optional, "weight table: identifier and weight"};
inline constexpr WordOption weightDefaultOption
    = {"-pdefault", "zero", "zero mean", "weight of individuals that the weight table does not list: 0 or the mean"};
inline constexpr OutputOption removedListOption = {"-out", "input name", "list of removed individuals"};
inline constexpr IntegerOption tieRuleOption
    = {"-mode",
       1,
       "of those in the most pairs remove 0 the first, 1 that of the largest sum, 2 of the least weight",
       {},
       "0 1 2"};
inline constexpr SwitchOption pairHeaderOption = {"-header", "yes: the first line of the pair table is no pair"};

struct RemovalOptions {
    std::string filename;              // pair table
    std::optional<std::string> pfile;  // weight table
    bool pdefault;                     // individuals without a weight get the mean of the others, not 0
    std::string outname;
    float limit;  // least value of a pair that is kept
    char delim;
    int mode;  // tie-break: 0 first of the list, 1 largest sum, 2 least weight
    bool hasHeader;
};

// Reads the options above, those of the pair table and the mode's own limit. Ends the run where no pair table is named.
RemovalOptions readRemovalOptions(const RealOption &limitOption);

struct RelatedPair {
    uint32_t ID1, ID2;
    float value;
};

// What an individual's list holds of a pair.
struct PairEnd {
    uint32_t pair, other;
    float value;
    static PairEnd from(const RelatedPair &whole, uint32_t number, uint32_t individual)
    {
        return {number, individual, whole.value};
    }
};

// The individuals and pairs of a run. Individuals are numbers in the order of their first pairs; the entries
// of P_ID are in the order that decides ties, and an individual that the weight table lists twice has two of
// them.
struct RemovalTables {
    struct Entry {
        double PValue;        // weight
        uint32_t individual;  // noNumber once it is removed
        uint32_t next;        // entry of the same individual, or noNumber
        uint32_t place;       // among the candidates; noNumber where it is not one of them
    };
    struct Individual {
        uint32_t firstEntry;
        uint32_t IDcount;  // its pairs that are not removed
    };
    Identifiers identifiers;
    std::vector<RelatedPair> pairs;
    std::vector<Entry> P_ID;
    std::vector<Individual> individuals;
};

// Opens the files, and reads the tables; the messages tell how far it is. Ends the run where no pair is kept.
// `pfileRead` is the message after the weight table.
RemovalTables readRemovalTables(const RemovalOptions &options, const char *pfileRead, text::Writer &out);

struct Choice {
    uint32_t individual;
    uint32_t IDcount;   // its pairs
    double IDvalue;     // the sum of their values
    size_t loc;         // place among the candidates, in P_ID order
    size_t candidates;  // entries whose individuals have the largest count
};

// Counts each individual's pairs, and finds the one to be removed next.
//
// Counts only fall, so entries wait in heaps by count, and the candidates are those of the highest heap
// that is not empty: its level. They are put in order once, when the level begins. None can join them later,
// and one whose count falls leaves for the heap below; it is moved further down when that level begins. So
// all moves of an entry together cost no more than its pairs. What a candidate is chosen by cannot change
// while it stays: its sum changes with its count only, and is formed anew at each level, over its own pairs
// in their order.
//
// For example the pairs E-F, A-B, A-C, A-D. Heap 3 holds A, heap 1 the others in P_ID order: E, F, B, C, D. Level 3
// begins with the candidate A; it is chosen, and with its pairs all counts but those of E and F fall to 0, while A
// moves to heap 2. At level 2 A's count is not 2 but 0, so A is dropped, and there is no candidate. At level 1 B, C
// and D are dropped likewise, and E (place 0) and F (place 1) are candidates. E is chosen where both are equal; its
// pair takes F's last count, so F leaves for heap 0, and nobody is left to be chosen.
//
// Individuals are chosen in no order of memory, but in one that is known ahead within a level; so what the next
// ones need is fetched some steps before.
class Removal {
public:
    Removal(RemovalTables &tables, int mode);

    // The individual to be removed next; nothing where no count is above 0. Ends the run where a tie is to be
    // broken in an unknown mode.
    std::optional<Choice> choose();

    void writeRow(const Choice &choice, size_t entriesLeft, text::Writer &out) const;

    // Takes the pair of the individual out of the counts. Its individuals are added to `touched`.
    void removePair(uint32_t individual, const PairEnd &end, std::vector<uint32_t> &touched);
    bool isRemoved(uint32_t pair) const { return m_isRemoved[pair]; }

    // Sets the count to 0, where it stays: the individual is no candidate any more.
    void dismiss(uint32_t individual);

    // Some of them may be removed.
    std::span<const PairEnd> pairsOf(uint32_t individual) { return m_pairsOf.of(individual); }
    uint32_t countOf(uint32_t individual) const { return m_tables.individuals[individual].IDcount; }

private:
    void leaveLevel(uint32_t individual);
    bool startLevel();
    void putInOrder();
    double sumOfValues(uint32_t individual);
    bool isCandidate(uint32_t place) const { return m_candidates[place / 64] >> place % 64 & 1; }
    size_t locOf(uint32_t place) const;
    std::span<const PairEnd> firstPairsOf(uint32_t individual);
    void fetchAhead();

    RemovalTables &m_tables;
    const int m_mode;
    PairLists<PairEnd> m_pairsOf;
    std::vector<bool> m_isRemoved;                 // [pair]
    std::vector<std::vector<uint32_t>> m_waiting;  // [count] entries; their counts may have fallen since
    uint32_t m_level = 0;                          // the largest count, once the first level has begun

    // Of the level. Places are 0-based, in P_ID order, among the entries that it began with.
    size_t m_left = 0;                   // candidates left
    std::vector<uint64_t> m_candidates;  // bit of each place: whether it is left
    std::vector<uint32_t> m_leftBefore;  // candidates left, as a Fenwick tree over blocks of places from 1
    struct Preference {
        double key;  // the least one first, ties by place
        uint32_t place, entry;
    };
    std::vector<Preference> m_order;
    size_t m_next = 0;  // in m_order: all before it have left
};
