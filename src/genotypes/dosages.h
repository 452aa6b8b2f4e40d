// Dosages from genotype triplets.
#pragma once

#include "genotypes/numberwalker.h"
#include "text/writer.h"

#include <string_view>

// Stands for a dosage above 3000 thousandths, or one of numbers that are not short.
inline constexpr uint16_t otherThousandths = 3001;

// The dosages of so many triplets of a batch in thousandths, or otherThousandths.
void formThousandths(const int16_t *triplets, size_t count, uint16_t *thousandths);

// The dosages of so many triplets of a batch, in single precision; for hard calls with the half that is added before
// their whole part is taken.
template <bool isHardCall>
void formDosages(const FieldNumbers &numbers, size_t count, float *values);

// Takes the dosages of a line, some at a time.
class DosageSink {
public:
    virtual void add(const float *dosages, size_t count) = 0;

protected:
    ~DosageSink() = default;
};

// Writes the dosages of a line's triplets, or their hard calls, each followed by a blank, the last one by a line break
// where at most one field is left over. A converter that tells them gives them to `sink` as well.
using TripletConverter = void (*)(std::string_view triplets, text::Writer &out, DosageSink *sink);
TripletConverter tripletConverter(bool makesHardCalls, bool tellsDosages);
