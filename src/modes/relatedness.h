// Tables of pairs of individuals, as read by the modes over relatedness.
#pragma once

#include "text/lines.h"

#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The byte that an option word stands for; a tab for any other word.
char pairDelimiter(std::string_view word);

// The first three fields of a pair's line: identifier, identifier, value; those that are missing are empty.
struct PairFields {
    std::string_view first, second, value;
    int count;  // of the fields in the line; 4 for any number above 3
};
PairFields splitPair(std::string_view line, char delimiter);

// Stands for no individual, no pair, no position.
inline constexpr uint32_t none = UINT32_MAX;

// Numbers texts from 0 in the order in which they first come.
//
// A look-up waits for memory twice, for the slot and for the name. Whoever knows several names ahead has both
// fetched before the look-ups begin.
class Identifiers {
public:
    Identifiers();

    static uint32_t hashOf(std::string_view name);
    uint32_t number(std::string_view name, uint32_t hash);  // numbered now where it is new
    uint32_t number(std::string_view name) { return number(name, hashOf(name)); }
    uint32_t find(std::string_view name, uint32_t hash) const;  // none where it has no number
    uint32_t find(std::string_view name) const { return find(name, hashOf(name)); }
    std::string_view name(uint32_t number) const;
    size_t size() const { return m_names.size(); }

    // Fetch what the look-up of such a name begins with, and then, with that there, what it ends with.
    void fetchSlot(uint32_t hash) const { __builtin_prefetch(&m_slots[hash & (m_slots.size() - 1)]); }
    void fetchName(uint32_t hash) const;

private:
    struct Slot {
        uint32_t hash;
        uint32_t number;  // none in a free slot
    };
    // Most names are short, and stand where they are looked for.
    struct Name {
        static constexpr size_t maxShort = 15;
        char bytes[maxShort];  // of a longer one: its first byte in m_longBytes and its size
        uint8_t size;          // maxShort + 1 for all longer ones
    };

    size_t slotOf(std::string_view name, uint32_t hash) const;
    void grow();

    std::vector<Name> m_names;  // [number]
    std::string m_longBytes;    // all longer names in a row
    std::vector<Slot> m_slots;  // a power of two, at most two thirds taken; a name is in the first
                                // slot that was free from the one that its hash names
};

// The lines of a table with the hashes of their identifiers, some lines ahead of their use: by then what the
// look-ups need is on its way.
class PairReader {
public:
    struct Line {
        PairFields fields;   // count is 0 for an empty line
        uint32_t hashes[2];  // of the first fields
    };

    // The first `names` fields, 1 or 2, are identifiers.
    PairReader(text::LineReader &in, const Identifiers &identifiers, char delimiter, int names)
        : m_in(in)
        , m_identifiers(identifiers)
        , m_delimiter(delimiter)
        , m_names(names)
    {
    }

    // The next line, valid until the next call; null behind the last one.
    const Line *next() { return m_next < m_count || readAhead() ? &m_lines[m_next++] : nullptr; }

private:
    bool readAhead();

    text::LineReader &m_in;
    const Identifiers &m_identifiers;
    const char m_delimiter;
    const int m_names;
    Line m_lines[64];
    size_t m_count = 0, m_next = 0;  // in m_lines
};

// Which pairs each individual is in, in the order of the pairs; a pair with itself once. A pair has its
// individuals' numbers in ID1 and ID2.
class PairLists {
public:
    template <class Pair>
    PairLists(const std::vector<Pair> &pairs, size_t individuals)
        : m_first(individuals)
        , m_size(individuals)
    {
        if (pairs.size() > none / 2)
            throw std::bad_alloc();
        for (const Pair &pair : pairs) {
            ++m_size[pair.ID1];
            m_size[pair.ID2] += pair.ID1 != pair.ID2;
        }
        uint32_t first = 0;
        for (size_t i = 0; i < individuals; ++i) {
            m_first[i] = first;
            first += m_size[i];
            m_size[i] = 0;
        }
        m_pairs.resize(first);
        for (uint32_t j = 0; j < pairs.size(); ++j) {
            append(pairs[j].ID1, j);
            if (pairs[j].ID1 != pairs[j].ID2)
                append(pairs[j].ID2, j);
        }
    }

    std::span<uint32_t> of(uint32_t individual)
    {
        return {m_pairs.data() + m_first[individual], m_size[individual]};
    }
    // Keeps the first pairs of the individual's list, which the caller may have moved there.
    void shrink(uint32_t individual, size_t size) { m_size[individual] = uint32_t(size); }

private:
    void append(uint32_t individual, uint32_t pair)
    {
        m_pairs[m_first[individual] + m_size[individual]++] = pair;
    }

    std::vector<uint32_t> m_first, m_size;  // [individual], in m_pairs
    std::vector<uint32_t> m_pairs;
};
