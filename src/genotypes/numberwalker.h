// The numbers of a line of genotypes or dosages, for all modes.
#pragma once

#include "genotypes/shortnumbers.h"
#include "text/readnumber.h"

#include <cstdint>
#include <string_view>

// Walks the fields of a LineReader's line, a batch at a time. Between single blanks every field counts, also an empty
// one; at white space only words do.
template <text::Separator separator>
class NumberWalker {
public:
    static constexpr size_t batchSize = 768;  // divisible by 3: whole genotype triplets

    // A null view has no field. Of others at most so many are walked.
    explicit NumberWalker(std::string_view line, size_t most = SIZE_MAX);

    // Reads up to batchSize further fields; returns how many, which is a multiple of 3 unless none follow.
    size_t next();

    // [field of the batch], in thousandths, or notShort.
    const int16_t *numbers() const { return m_numbers; }

    // Field i of the batch, which is not short.
    std::string_view longField(size_t i) const
    {
        return {m_fields[i].begin, size_t(m_fields[i].end - m_fields[i].begin)};
    }

    // Field i of the batch as readDouble() has it.
    double value(size_t i) const
    {
        return m_numbers[i] < 0 ? text::readMostlyDecimal(longField(i)) : text::thousandthValues[size_t(m_numbers[i])];
    }

    // The first so many of the batch as readDouble() has them.
    void formValues(size_t count, double *values) const;
    // The same, but for those that are not short, in whose place something stands; returns whether there are any.
    bool formShortValues(size_t count, double *values) const;

private:
    struct Field {
        const char *begin, *end;
    };
    static constexpr size_t capacity = batchSize + ShortNumberKernels::surplus;

    void keepRest();
    void takeWindow();

    const char *m_next;  // first byte of the next field; behind m_end where there is none
    const char *m_end;
    size_t m_left;           // fields to be handed out
    size_t m_count = 0;      // fields at hand
    size_t m_handedOut = 0;  // of them
    int16_t m_numbers[capacity];
    Field m_fields[capacity];  // of those that are not short
};

using FieldNumbers = NumberWalker<text::Separator::Blank>;
using WordNumbers = NumberWalker<text::Separator::WhiteSpace>;
