// Dosages from genotype triplets.
#pragma once

#include "text/writer.h"

#include <string_view>
#include <vector>

// Writes the dosages of a line's triplets, or their hard calls, each followed by a blank, the last one by a line break
// where at most one field is left over. A converter that keeps them appends them to `dosages`.
using TripletConverter = void (*)(std::string_view triplets, text::Writer &out, std::vector<float> &dosages);
TripletConverter tripletConverter(bool makesHardCalls, bool keepsDosages);
