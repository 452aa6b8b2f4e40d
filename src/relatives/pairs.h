// Tables of pairs of individuals, as read by the modes over relatedness.
#pragma once

#include "main/options.h"
#include "tables/identifiers.h"
#include "text/files.h"
#include "text/lines.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What the modes over pairs have in common.
inline constexpr InputOption pairFileOption = {"-file", Use::Required, "pair table"};
inline constexpr DelimiterOption pairDelimOption
    = {"-delim", "tab", tenDelimiters, "\t", "between the fields; slash is a backslash, bslash a slash", {}, true};

// The first three fields of a pair's line, which is a LineReader's: identifier, identifier, value. Those that are
// missing are empty.
struct PairFields {
    // Written field by field, where they stay: a copy would wait for the parts to reach memory.
    void split(std::string_view line, char delimiter);

    std::string_view first, second, value;
    int count = 0;  // of the fields in the line, 0 of an empty one; 4 for any number above 3
};

// Which lines of a table are of use, by their value.
struct Wanted {
    bool operator()(double value) const { return all || (isNarrow ? float(value) >= float(least) : value >= least); }

    double least = 0;
    bool isNarrow = false;  // compared in single precision
    bool all = false;
};

// The lines of a table with the numbers of their identifiers. A line that is not wanted costs no look-up. What the
// look-ups of the others need is fetched some lines ahead. An identifier needs none where it repeats that of the line
// before, or follows what it followed last time, as in tables that go through all pairs.
class PairReader {
public:
    struct Line {
        PairFields fields;  // count is 0 for an empty line
        double value;       // of the third field
        bool isWanted;
        bool repeatsFirst;  // of the wanted line before
        // Of the first fields, where the line is wanted; the numbers once next() gave it.
        uint32_t hashes[2];
        uint32_t numbers[2];
    };

    enum class Numbering {
        Pairs,     // the first two fields are identifiers, numbered where they are new
        KnownOnly  // the first field is one; it has noNumber where it is new
    };

    PairReader(text::LineReader &in, Identifiers &identifiers, char delimiter, Wanted wanted, Numbering numbering)
        : m_in(in)
        , m_identifiers(identifiers)
        , m_delimiter(delimiter)
        , m_wanted(wanted)
        , m_names(numbering == Numbering::Pairs ? 2 : 1)
    {
    }

    // The next line, valid until the next call; null behind the last one.
    const Line *next();

    // The line so many behind the one that next() gives then, where it is read already and wanted; otherwise null.
    const Line *peek(size_t distance) const
    {
        return m_next + distance < m_count && m_lines[m_next + distance].isWanted ? &m_lines[m_next + distance]
                                                                                  : nullptr;
    }

private:
    bool readAhead();
    void lookAhead(Line &line, const Line *before);
    void remember(const Line &line);

    struct Known {
        uint32_t hash;
        uint32_t follower;  // the second identifier that came last behind this one, or noNumber
    };

    text::LineReader &m_in;
    Identifiers &m_identifiers;
    const char m_delimiter;
    const Wanted m_wanted;
    const int m_names;                                 // identifiers of a line
    std::vector<Known> m_known;                        // [number]
    uint32_t m_first = noNumber, m_second = noNumber;  // of the last wanted line
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
            text::failMemory();
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
