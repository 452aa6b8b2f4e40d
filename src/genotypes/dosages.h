// Dosages from genotype triplets.
#pragma once

#include "text/writer.h"

#include <string_view>

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
