#include "genotypes/dosages.h"
#include "genotypes/numberwalker.h"
#include "processors/wide.h"

#include <algorithm>
#include <array>

static constexpr size_t batchTriplets = FieldNumbers::batchSize / 3;

// The text of every dosage up to 3000 thousandths and the blank behind it in bytes 0 to 6, and their number in byte 7,
// 0 for one that depends on more than the thousandths. The conversion is 1.4 times as fast as with writeReal().
using DosageTexts = std::array<std::array<char, 8>, otherThousandths + 1>;

static void setText(std::array<char, 8> &text, double value)
{
    char bytes[text::maxRealSize + 1];
    char *end = text::writeReal(bytes, value);
    *end++ = ' ';
    std::memcpy(text.data(), bytes, 7);
    text[7] = char(end - bytes);
}

// Six digits are too few to show the rounding to single precision.
static DosageTexts makeDosageTexts()
{
    DosageTexts made{};
    for (size_t i = 0; i < otherThousandths; ++i)
        setText(made[i], text::thousandthValues[i]);
    return made;
}

// Halfway between two whole numbers the rounding of both numbers to single precision decides.
static DosageTexts makeHardCallTexts()
{
    DosageTexts made{};
    for (size_t i = 0; i < otherThousandths; ++i) {
        if (i % 1000 != 500)
            setText(made[i], double((i + 500) / 1000));
    }
    return made;
}

static const DosageTexts &dosageTexts(bool ofHardCalls)
{
    static const DosageTexts made = ofHardCalls ? makeHardCallTexts() : makeDosageTexts();
    return made;
}

// Rounded to the nearest whole number by a half added before; what does not fit an integer is 0.
static int wholePart(float value)
{
    return value >= -2147483648.0f && value < 2147483648.0f ? int(value) : 0;
}

// In single precision. The quotients are those of text::thousandthValues, narrowed: no number of thousandths is so near
// to the middle between two floats that rounding it twice would matter.
static float shortDosage(const int16_t *triplet)
{
    return 2 * (float(triplet[2]) / 1000) + float(triplet[1]) / 1000;
}

static bool isLong(const int16_t *triplet)
{
    return (triplet[1] | triplet[2]) < 0;
}

static float readDosage(const FieldNumbers &numbers, size_t i)
{
    return 2 * float(numbers.value(3 * i + 2)) + float(numbers.value(3 * i + 1));
}

// What a hard call adds before its whole part is taken.
template <bool isHardCall>
static float raised(float dosage)
{
    return isHardCall ? dosage + 0.5f : dosage;
}

// Returns whether one of them has a number that is not short.
MORVEL_WIDE static bool formShortDosages(const int16_t *triplets, size_t count, float *values)
{
    int all = 0;
    for (size_t i = 0; i < count; ++i) {
        values[i] = shortDosage(triplets + 3 * i);
        all |= triplets[3 * i + 1] | triplets[3 * i + 2];
    }
    return all < 0;
}

template <bool isHardCall>
void formDosages(const FieldNumbers &numbers, size_t count, float *values)
{
    if (formShortDosages(numbers.numbers(), count, values)) [[unlikely]] {
        for (size_t i = 0; i < count; ++i) {
            if (isLong(numbers.numbers() + 3 * i))
                values[i] = readDosage(numbers, i);
        }
    }
    for (size_t i = 0; i < count; ++i)
        values[i] = raised<isHardCall>(values[i]);
}

template void formDosages<false>(const FieldNumbers &numbers, size_t count, float *values);
template void formDosages<true>(const FieldNumbers &numbers, size_t count, float *values);

MORVEL_WIDE void formThousandths(const int16_t *triplets, size_t count, uint16_t *thousandths)
{
    for (size_t i = 0; i < count; ++i)
        thousandths[i] = std::min(uint16_t(triplets[3 * i + 1] + 2 * triplets[3 * i + 2]), otherThousandths);
}

template <bool isHardCall>
static char *writeOdd(float ad, char *end)
{
    end = isHardCall ? text::writeInteger(end, wholePart(ad)) : text::writeReal(end, ad);
    *end++ = ' ';
    return end;
}

// `values` are the dosages where they are known already.
template <bool isHardCall>
static char *writeTexts(const FieldNumbers &numbers, size_t count, const float *values, char *end)
{
    const DosageTexts &texts = dosageTexts(isHardCall);
    uint16_t thousandths[batchTriplets];
    formThousandths(numbers.numbers(), count, thousandths);
    for (size_t i = 0; i < count; ++i) {
        const auto &text = texts[thousandths[i]];
        std::memcpy(end, &text, 8);
        end += text[7];
        if (text[7] == 0) [[unlikely]]
            end = writeOdd<isHardCall>(values ? values[i] : raised<isHardCall>(readDosage(numbers, i)), end);
    }
    return end;
}

template <bool isHardCall, bool hasSummary>
static void convertTriplets(std::string_view genotypes, text::Writer &out, [[maybe_unused]] DosageSink *sink)
{
    FieldNumbers numbers(genotypes);
    bool hasTriplets = false;
    for (;;) {
        const size_t fields = numbers.next();
        const size_t triplets = fields / 3;
        char *const end = out.reserve(batchTriplets * (text::maxRealSize + 1));
        if constexpr (hasSummary) {
            float values[batchTriplets];
            formDosages<isHardCall>(numbers, triplets, values);
            sink->add(values, triplets);
            out.commit(writeTexts<isHardCall>(numbers, triplets, values, end));
        } else {
            out.commit(writeTexts<isHardCall>(numbers, triplets, nullptr, end));
        }
        hasTriplets |= triplets > 0;
        if (fields < FieldNumbers::batchSize) {
            if (hasTriplets && fields % 3 < 2)
                out.replaceLast('\n');
            return;
        }
    }
}

TripletConverter tripletConverter(bool makesHardCalls, bool tellsDosages)
{
    if (makesHardCalls)
        return tellsDosages ? convertTriplets<true, true> : convertTriplets<true, false>;
    return tellsDosages ? convertTriplets<false, true> : convertTriplets<false, false>;
}
