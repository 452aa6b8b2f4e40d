// The words of a genotype or dosage line as numbers in thousandths. Most words are one digit, and these need no look of
// their own: 64 bytes are parted by masks of bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// A word among those that were read together.
struct Word {
    size_t index;
    const char *first, *end;

    std::string_view text() const { return {first, size_t(end - first)}; }
};

// Where a walk over words is.
struct WordPlace {
    const char *next;                         // the next bytes
    const char *end;                          // of the words
    const char *wordStart;                    // behind the last white space
    bool passesFirstOfThree;                  // of every three words the first one is not looked at
    unsigned words = 0;                       // so far, modulo 3
    uint64_t separators = uint64_t(1) << 63;  // of the last 64 bytes, a bit each, where these are looked at together
    bool isDone = false;
};

struct WordKernels {
    // From the narrowest instructions to the widest; the first ones run everywhere.
    static std::span<const WordKernels> all();

    const char *name;
    bool (*isSupported)();

    // Reads whole blocks of 64 bytes until there are `most` words or more, at most 255 more, and returns how many.
    // Of words such as "0", "1" and "2" it gives the thousandths; the other ones it gives as words.
    size_t (*read)(WordPlace &place, size_t most, int16_t *thousandths, Word *others, size_t &otherCount);
};

// Walks words parted by any white space.
class WordReader {
public:
    static constexpr size_t batchSize = 1024;
    static constexpr size_t room = batchSize + 320;  // for the words of a batch, and what is written behind them

    // Of a LineReader's line, not from its first byte. Where the words are triplets of which the first part is not
    // used, its numbers mean nothing.
    explicit WordReader(std::string_view words, bool passesFirstOfThree = false)
        : m_place{words.data(), words.data() + words.size(), words.data(), passesFirstOfThree}
    {
    }

    // Reads some further words, into `room` numbers; 0 behind the last word.
    size_t next(int16_t *thousandths);

    // Those of the words read last that are no short form of a number (readThousandths()): their numbers mean nothing.
    std::span<const Word> longWords() const { return {m_others, m_longCount}; }

private:
    WordPlace m_place;
    size_t m_longCount = 0;
    Word m_others[room];
};
