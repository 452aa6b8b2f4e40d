// Tables of pairs of individuals, as read by the modes over relatedness.
#pragma once

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
class Identifiers {
public:
    Identifiers();

    uint32_t number(std::string_view name);      // numbered now where it is new
    uint32_t find(std::string_view name) const;  // none where it has no number
    std::string_view name(uint32_t number) const
    {
        const size_t first = number == 0 ? 0 : m_ends[number - 1];
        return {m_bytes.data() + first, m_ends[number] - first};
    }
    size_t size() const { return m_ends.size(); }

private:
    struct Slot {
        uint32_t hash;
        uint32_t number;  // none in a free slot
    };

    size_t slotOf(std::string_view name, uint32_t hash) const;
    void grow();

    std::string m_bytes;         // all names in a row
    std::vector<size_t> m_ends;  // of each name
    std::vector<Slot> m_slots;   // a power of two, at most two thirds taken; a name is in the first
                                 // slot that was free from the one that its hash names
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
