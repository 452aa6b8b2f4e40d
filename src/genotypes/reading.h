// The numbers of a genotype or dosage line, once for all modes: triplets P(AA) P(AB) P(BB), or dosages.
#pragma once

#include "text/fields.h"
#include "text/readnumber.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

inline constexpr uint16_t notShort = 0xffff;

// The numbers of a triplet and its dosage P(AB) + 2 P(BB), in thousandths. The dosage is notShort, and the numbers are
// none, where one of these has another form than "1", "0.5" or "0.123".
struct Triplet {
    static constexpr size_t fieldCount = 3;
    static constexpr size_t runSize = 8;

    bool isShort() const { return dosage != notShort; }

    uint16_t none, hetero, homo, dosage;
};

// A dosage in thousandths, or notShort likewise.
struct Dosage {
    static constexpr size_t fieldCount = 1;
    static constexpr size_t runSize = 24;

    bool isShort() const { return thousandths != notShort; }

    uint16_t thousandths;
};

// Reads the individuals of a line a batch at a time. Fields stand between single blanks, or are words at white space.
// An empty field counts as 0, and so does what is no number.
template <class Item, text::Separator separator>
class GenotypeReader {
public:
    static constexpr size_t batchSize = 128;
    using Numbers = std::array<double, Item::fieldCount>;

    // Takes the rest of a LineReader's line, and of its individuals the first so many.
    explicit GenotypeReader(std::string_view fields, size_t individuals = size_t(-1))
        : m_left(fields.data() ? individuals : 0), m_end(fields.data() + fields.size())
    {
        m_cursors[0].at = fields.data();
    }

    // Reads the next individuals; returns how many, 0 at the end of the line.
    size_t next();

    // Of the batch.
    const Item &operator[](size_t i) const { return m_batches[m_current].items[i]; }

    // The numbers of individual i of the batch where they are not short.
    const Numbers &longNumbers(size_t i) const { return m_batches[m_current].longNumbers[i]; }

    // What follows the individuals read so far; a null view when the last field was among them. Once next() gave 0.
    std::string_view rest() const
    {
        const char *at = m_cursors[0].at;
        return !at || at > m_end ? std::string_view() : std::string_view(at, size_t(m_end - at));
    }

private:
    friend struct GenotypeScan;

    struct Cursor {
        const char *at = nullptr;  // the next field, or behind m_end
        size_t count = 0, most = 0;
    };
    struct Batch {
        Item items[batchSize + Item::runSize];  // a run is written at once, whatever counts of it
        Numbers longNumbers[batchSize];
    };

    // The steps of reading two batches.
    template <size_t registerBytes>
    void fill();
    template <size_t registerBytes>
    const char *findSecond() const;
    template <size_t registerBytes>
    void step(Cursor &cursor, Batch &batch) const;
    bool readLong(Cursor &cursor, Item &item, Numbers &numbers) const;

    size_t m_left;  // individuals
    const char *m_end;
    Cursor m_cursors[2];
    size_t m_current = 1;
    Batch m_batches[2];
};

template <text::Separator separator>
using TripletReader = GenotypeReader<Triplet, separator>;
template <text::Separator separator>
using DosageReader = GenotypeReader<Dosage, separator>;

// Reading two batches by registers of different widths.
struct ReadingKernels {
    const char *name;
    bool (*isSupported)();
    void (*fillTriplets)(TripletReader<text::Separator::Blank> &reader);
    void (*fillTripletWords)(TripletReader<text::Separator::WhiteSpace> &reader);
    void (*fillDosages)(DosageReader<text::Separator::Blank> &reader);
    void (*fillDosageWords)(DosageReader<text::Separator::WhiteSpace> &reader);

    static std::span<const ReadingKernels> all();
};
