#include "genotypes/dosages.h"
#include "genotypes/shortnumbers.h"
#include "processors/wide.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <array>

using Walker = text::FieldWalker<text::Separator::Blank>;

// The text of every dosage up to 3000 thousandths and the blank behind it in bytes 0 to 6, and their number in byte 7,
// 0 for one that depends on more than the thousandths. The conversion is 1.4 times as fast as with writeReal().
using DosageTexts = std::array<std::array<char, 8>, 3001>;

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
    for (size_t i = 0; i < made.size(); ++i)
        setText(made[i], text::thousandthValues[i]);
    return made;
}

// Halfway between two whole numbers the rounding of both numbers to single precision decides.
static DosageTexts makeHardCallTexts()
{
    DosageTexts made{};
    for (size_t i = 0; i < made.size(); ++i) {
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
static float dosageOf(const int32_t (&numbers)[2])
{
    return 2 * (float(numbers[1]) / 1000) + float(numbers[0]) / 1000;
}

static bool isLong(const int32_t (&numbers)[2])
{
    return (numbers[0] | numbers[1]) < 0;
}

static float readDosage(const Walker &walker, size_t i)
{
    return 2 * text::readFloat(walker.field(3 * i + 2)) + text::readFloat(walker.field(3 * i + 1));
}

// What a hard call adds before its whole part is taken.
template <bool isHardCall>
static float raised(float dosage)
{
    return isHardCall ? dosage + 0.5f : dosage;
}

template <bool isHardCall>
[[gnu::always_inline]] static inline void formDosages(const Walker &walker, const int32_t (*numbers)[2], size_t count,
                                                      float *values)
{
    for (size_t i = 0; i < count; ++i)
        values[i] = raised<isHardCall>(dosageOf(numbers[i]));
    for (size_t i = 0; i < count; ++i) {
        if (isLong(numbers[i])) [[unlikely]]
            values[i] = raised<isHardCall>(readDosage(walker, i));
    }
}

template <bool isHardCall>
[[gnu::always_inline]] static inline char *writeTexts(const Walker &walker, const int32_t (*numbers)[2], size_t count,
                                                      char *end)
{
    const DosageTexts &texts = dosageTexts(isHardCall);
    for (size_t i = 0; i < count; ++i) {
        const size_t thousandths = isLong(numbers[i]) ? texts.size() : size_t(numbers[i][0] + 2 * numbers[i][1]);
        if (thousandths < texts.size() && texts[thousandths][7] > 0) [[likely]] {
            std::memcpy(end, &texts[thousandths], 8);
            end += texts[thousandths][7];
            continue;
        }
        const float ad = raised<isHardCall>(isLong(numbers[i]) ? readDosage(walker, i) : dosageOf(numbers[i]));
        end = isHardCall ? text::writeInteger(end, wholePart(ad)) : text::writeReal(end, ad);
        *end++ = ' ';
    }
    return end;
}

template <bool isHardCall, bool hasSummary>
MORVEL_WIDE static void convertTriplets(std::string_view genotypes, text::Writer &out,
                                        [[maybe_unused]] DosageSink *sink)
{
    constexpr size_t batchTriplets = Walker::batchSize / 3;
    const auto readNumbers = kernelsInUse<ShortNumberKernels>->readFields;
    Walker walker(genotypes);
    bool hasTriplets = false;
    for (;;) {
        const size_t fields = walker.next(Walker::batchSize);
        const size_t triplets = fields / 3;
        int32_t numbers[batchTriplets][2];
        readNumbers(walker.marks() + 1, 3, triplets, numbers);  // P(AB) and P(BB)
        char *const end = out.reserve(batchTriplets * (text::maxRealSize + 1));
        out.commit(writeTexts<isHardCall>(walker, numbers, triplets, end));
        if constexpr (hasSummary) {
            float values[batchTriplets];
            formDosages<isHardCall>(walker, numbers, triplets, values);
            sink->add(values, triplets);
        }
        hasTriplets |= triplets > 0;
        if (fields < Walker::batchSize) {
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
