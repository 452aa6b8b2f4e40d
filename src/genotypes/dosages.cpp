#include "genotypes/dosages.h"
#include "genotypes/reading.h"

#include <array>

using Reader = TripletReader<text::Separator::Blank>;

// The text of every dosage up to 3000 thousandths and the blank behind it in bytes 0 to 6, and their number in byte 7.
// Six digits are too few to show the rounding to single precision, so the text depends on the thousandths alone. The
// conversion is 1.4 times as fast as with writeReal().
using DosageTexts = std::array<std::array<char, 8>, 3001>;

static DosageTexts makeDosageTexts()
{
    DosageTexts made;
    for (size_t i = 0; i < made.size(); ++i) {
        char text[text::maxRealSize + 1];
        char *end = text::writeReal(text, text::thousandthValues[i]);
        *end++ = ' ';
        std::memcpy(made[i].data(), text, 7);
        made[i][7] = char(end - text);
    }
    return made;
}

static const DosageTexts &dosageTexts()
{
    static const DosageTexts made = makeDosageTexts();
    return made;
}

// Rounded to the nearest whole number by a half added before; what does not fit an integer is 0.
static int wholePart(float value)
{
    return value >= -2147483648.0f && value < 2147483648.0f ? int(value) : 0;
}

// A dosage as its numbers make it, in single precision.
static float dosageOf(const Reader &reader, size_t i)
{
    const Triplet &triplet = reader[i];
    if (!triplet.isShort()) [[unlikely]]
        return 2 * float(reader.longNumbers(i)[2]) + float(reader.longNumbers(i)[1]);
    return 2 * float(text::thousandthValues[triplet.homo]) + float(text::thousandthValues[triplet.hetero]);
}

// The dosages of a batch, each followed by a blank.
static char *writeDosages(const Reader &reader, size_t count, char *end)
{
    const DosageTexts &texts = dosageTexts();
    for (size_t i = 0; i < count; ++i) {
        const size_t thousandths = reader[i].dosage;
        if (thousandths < texts.size()) [[likely]] {
            std::memcpy(end, &texts[thousandths], 8);
            end += texts[thousandths][7];
        } else {
            end = text::writeReal(end, dosageOf(reader, i));
            *end++ = ' ';
        }
    }
    return end;
}

static char *writeHardCalls(const float *dosages, size_t count, char *end)
{
    for (size_t i = 0; i < count; ++i) {
        end = text::writeInteger(end, wholePart(dosages[i]));
        *end++ = ' ';
    }
    return end;
}

template <bool isHardCall, bool hasSummary>
static void convertTriplets(std::string_view genotypes, text::Writer &out, [[maybe_unused]] DosageSink *sink)
{
    Reader reader(genotypes);
    bool hasTriplets = false;
    while (const size_t triplets = reader.next()) {
        hasTriplets = true;
        float values[Reader::batchSize];
        if constexpr (isHardCall || hasSummary) {
            for (size_t i = 0; i < triplets; ++i)
                values[i] = isHardCall ? dosageOf(reader, i) + 0.5f : dosageOf(reader, i);
        }
        char *const end = out.reserve(Reader::batchSize * (text::maxRealSize + 1));
        out.commit(isHardCall ? writeHardCalls(values, triplets, end) : writeDosages(reader, triplets, end));
        if constexpr (hasSummary)
            sink->add(values, triplets);
    }
    const std::string_view rest = reader.rest();
    if (hasTriplets && rest.find(' ') == rest.npos)
        out.replaceLast('\n');
}

TripletConverter tripletConverter(bool makesHardCalls, bool tellsDosages)
{
    if (makesHardCalls)
        return tellsDosages ? convertTriplets<true, true> : convertTriplets<true, false>;
    return tellsDosages ? convertTriplets<false, true> : convertTriplets<false, false>;
}
