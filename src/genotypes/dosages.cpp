#include "genotypes/dosages.h"
#include "processors/wide.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <array>

using Walker = text::FieldWalker<text::Separator::Blank>;

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

template <bool isHardCall, bool hasSummary>
MORVEL_WIDE static void convertTriplets(std::string_view genotypes, text::Writer &out,
                                        [[maybe_unused]] DosageSink *sink)
{
    constexpr size_t batchTriplets = Walker::batchSize / 3;
    const DosageTexts &texts = dosageTexts();
    Walker walker(genotypes);
    bool hasTriplets = false;
    for (;;) {
        const size_t fields = walker.next(Walker::batchSize);
        const size_t triplets = fields / 3;
        char *end = out.reserve(batchTriplets * (text::maxRealSize + 1));
        float values[batchTriplets];
        for (size_t i = 0; i < triplets; ++i) {
            const size_t j = 3 * i;
            const text::ShortNumber shortHetero = text::readShortNumber(walker.begin(j + 1), walker.size(j + 1));
            const text::ShortNumber shortHomo = text::readShortNumber(walker.begin(j + 2), walker.size(j + 2));
            const bool isShort = !(shortHetero.invalid | shortHomo.invalid);
            const size_t thousandths = size_t(text::thousandthsOf(shortHetero.digits + 2 * shortHomo.digits));
            const bool hasText = isShort && thousandths < texts.size();
            if (!isHardCall && hasText) [[likely]] {
                std::memcpy(end, &texts[thousandths], 8);
                end += texts[thousandths][7];
                if constexpr (!hasSummary)
                    continue;
            }
            float hetero, homo;
            if (isShort) {
                hetero = float(text::thousandthValues[size_t(text::thousandthsOf(shortHetero.digits))]);
                homo = float(text::thousandthValues[size_t(text::thousandthsOf(shortHomo.digits))]);
            } else {
                hetero = text::readFloat(walker.field(j + 1));
                homo = text::readFloat(walker.field(j + 2));
            }
            float ad = 2 * homo + hetero;
            if constexpr (isHardCall) {
                ad += 0.5f;
                end = text::writeInteger(end, wholePart(ad));
                *end++ = ' ';
            } else if (!hasText) {
                end = text::writeReal(end, ad);
                *end++ = ' ';
            }
            if constexpr (hasSummary)
                values[i] = ad;
        }
        out.commit(end);
        if constexpr (hasSummary)
            sink->add(values, triplets);
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
