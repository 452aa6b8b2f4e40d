// Reading the triplets P(AA) P(AB) P(BB) of a line, once for all modes.
#pragma once

#include "text/fields.h"
#include "text/readnumber.h"

#include <array>
#include <cstdint>
#include <string_view>

// The numbers of a triplet and its dosage P(AB) + 2 P(BB), in thousandths.
struct Triplet {
    uint16_t none, hetero, homo, dosage;

    // False where a number has another form than "1", "0.5" or "0.123".
    bool isShort() const { return dosage != 0xffff; }
};

// Numbers of individuals are read a batch at a time. Those of a line with white space between words are words; with
// single blanks, they are what stands between two, which may be empty. An empty number counts as 0.
template <text::Separator separator>
class TripletReader {
public:
    static constexpr size_t batchSize = 256;

    // Takes the rest of a LineReader's line.
    explicit TripletReader(std::string_view fields) : m_at(fields.data()), m_end(m_at + fields.size()) {}

    // Reads up to so many further triplets, at most batchSize; returns how many, fewer only at the end of the line.
    size_t next(size_t most = batchSize);

    // Of the batch.
    const Triplet &operator[](size_t i) const { return m_triplets[i]; }

    // The three numbers of a triplet of the batch, whatever their form; what is no number is 0.
    std::array<double, 3> numbers(size_t i) const
    {
        const Triplet &triplet = m_triplets[i];
        if (!triplet.isShort()) [[unlikely]]
            return m_longNumbers[triplet.none];
        return {text::thousandthValues[triplet.none], text::thousandthValues[triplet.hetero],
                text::thousandthValues[triplet.homo]};
    }

    // What follows the triplets read so far; a null view when the last field was among them.
    std::string_view rest() const
    {
        return m_at > m_end || !m_at ? std::string_view() : std::string_view(m_at, size_t(m_end - m_at));
    }

private:
    friend struct TripletScan;
    // The steps of next(), apart for the choice of instructions.
    size_t read(size_t most);
    bool readLong(Triplet &triplet, std::array<double, 3> &numbers);

    static constexpr size_t runSize = 8;  // written at once, whatever counts of it

    const char *m_at;  // the next field, or behind m_end
    const char *m_end;
    Triplet m_triplets[batchSize + runSize];
    std::array<double, 3> m_longNumbers[batchSize];
};
