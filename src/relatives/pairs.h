// Tables of pairs of individuals, as read by the modes over relatedness.
#pragma once

#include "main/options.h"
#include "tables/identifiers.h"
#include "text/lines.h"

#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What the modes over pairs have in common.
inline constexpr InputOption pairFileOption = {"-file", Use::Required, "pair table"};
inline constexpr DelimiterOption pairDelimOption
    = {"-delim", "tab", tenDelimiters, "\t", "between the fields; slash is a backslash, bslash a slash", {}, true};

// The first three fields of a pair's line: identifier, identifier, value; those that are missing are empty.
struct PairFields {
    std::string_view first, second, value;
    int count;  // of the fields in the line; 4 for any number above 3
};
PairFields splitPair(std::string_view line, char delimiter);

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
        : m_in(in), m_identifiers(identifiers), m_delimiter(delimiter), m_names(names)
    {
    }

    // The next line, valid until the next call; null behind the last one.
    const Line *next() { return m_next < m_count || readAhead() ? &m_lines[m_next++] : nullptr; }

    // The line so many behind the one that next() gives then, where it is read already; otherwise null.
    const Line *peek(size_t distance) const
    {
        return m_next + distance < m_count ? &m_lines[m_next + distance] : nullptr;
    }

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
// individuals' numbers in ID1 and ID2; what a list keeps of it is an End, from the pair, its number and the other
// individual.
template <class End>
class PairLists {
public:
    template <class Pair>
    PairLists(const std::vector<Pair> &pairs, size_t individuals) : m_lists(individuals)
    {
        if (pairs.size() > noNumber / 2)
            throw std::bad_alloc();
        for (size_t j = 0; j < pairs.size(); ++j) {
            fetchAhead(pairs, j);
            ++m_lists[pairs[j].ID1].size;
            m_lists[pairs[j].ID2].size += pairs[j].ID1 != pairs[j].ID2;
        }
        uint32_t first = 0;
        for (List &list : m_lists) {
            list.first = first;
            first += list.size;
            list.size = 0;
        }
        m_ends.resize(first);
        for (uint32_t j = 0; j < pairs.size(); ++j) {
            fetchAhead(pairs, j);
            append(pairs[j].ID1, End::from(pairs[j], j, pairs[j].ID2));
            if (pairs[j].ID1 != pairs[j].ID2)
                append(pairs[j].ID2, End::from(pairs[j], j, pairs[j].ID1));
        }
    }

    std::span<End> of(uint32_t individual)
    {
        return {m_ends.data() + m_lists[individual].first, m_lists[individual].size};
    }
    // Keeps the first pairs of the individual's list, which the caller may have moved there.
    void shrink(uint32_t individual, size_t size) { m_lists[individual].size = uint32_t(size); }

    // What of() begins with.
    void fetch(uint32_t individual) const { __builtin_prefetch(&m_lists[individual]); }

private:
    struct List {
        uint32_t first, size;  // in m_ends
    };

    // The lists of a pair that comes soon.
    template <class Pair>
    void fetchAhead(const std::vector<Pair> &pairs, size_t j) const
    {
        if (j + 16 < pairs.size()) {
            fetch(pairs[j + 16].ID1);
            fetch(pairs[j + 16].ID2);
        }
    }

    void append(uint32_t individual, const End &end)
    {
        List &list = m_lists[individual];
        m_ends[list.first + list.size++] = end;
    }

    std::vector<List> m_lists;  // [individual]
    std::vector<End> m_ends;
};
