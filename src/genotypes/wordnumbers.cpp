#include "genotypes/wordnumbers.h"
#include "processors/lanes.h"
#include "text/bytes.h"
#include "text/readnumber.h"

#include <bit>

#if defined(MORVEL_WIDE_KERNELS)
#include <immintrin.h>
#endif

// Byte by byte.
static size_t readPlain(WordPlace &place, size_t most, int16_t *thousandths, Word *others, size_t &otherCount)
{
    const char *at = place.next, *first = place.wordStart;
    size_t count = 0, longer = 0;
    for (; count < most && !place.isDone; ++at) {
        place.isDone = at == place.end;
        if (!place.isDone && !text::isWhiteSpace(*at))
            continue;
        const size_t size = size_t(at - first);
        const unsigned digit = unsigned(static_cast<unsigned char>(*first)) - '0';
        thousandths[count] = int16_t(1000 * digit);
        others[longer] = {count, first, at};
        longer += ((size > 1) | ((size == 1) & (digit > 2))) & ((place.words != 0) | !place.passesFirstOfThree);
        count += size > 0;
        place.words = place.words + (size > 0) == 3 ? 0 : place.words + (size > 0);
        first = at + 1;
    }
    place.next = at;
    place.wordStart = first;
    otherCount = longer;
    return count;
}

#if defined(MORVEL_WIDE_KERNELS)
namespace {
// Of 64 bytes, a bit each.
struct ByteMasks {
    uint64_t areSeparators = 0;
    uint64_t areBehindOnes = 0, areBehindTwos = 0, areBehindDigits = 0;  // 0, 1 or 2 is the byte before
};

// 64 bytes in which words end that are more than a digit.
struct OtherWords {
    const char *bytes, *wordStart;
    uint64_t separators, ends, others;
    size_t count;  // of words before

    // Appends them, of which there are some; returns the end.
    Word *append(Word *to) const
    {
        uint64_t left = others;
        Word *const first = to, *const end = to + std::popcount(left);
        do {
            // Always four: what is too many is overwritten, and costs less than leaving the loop at a guess.
            for (int k = 0; k < 4; ++k, left &= left - 1, ++to) {
                const uint64_t below = (left & -left) - 1, before = separators & below;
                // With a bit that changes nothing where there is another one: counting zeros of 0 is a case of its own.
                *to = {count + size_t(std::popcount(ends & below)), bytes + 64 - std::countl_zero(before | 1),
                       bytes + std::countr_zero(left)};
            }
        } while (left != 0);
        if ((separators & ((others & -others) - 1)) == 0)
            first->first = wordStart;  // it began in bytes before
        return end;
    }
};

// What differs between processors. Nothing here is called: all is inlined.
struct Avx2 {
    MORVEL_AVX2 static inline __m256i load(const char *from)
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(from));
    }
    MORVEL_AVX2 static inline uint64_t bitsOf(__m256i found) { return uint32_t(_mm256_movemask_epi8(found)); }

    MORVEL_AVX2 static inline ByteMasks findMasks(const char *bytes)
    {
        ByteMasks masks;
        for (int shift = 0; shift < 64; shift += 32) {
            const __m256i chunk = load(bytes + shift), before = load(bytes + shift - 1);
            const __m256i fromTab = _mm256_sub_epi8(chunk, _mm256_set1_epi8('\t'));
            const __m256i upToReturn = _mm256_min_epu8(fromTab, _mm256_set1_epi8('\r' - '\t'));
            const __m256i areTabs = _mm256_cmpeq_epi8(fromTab, upToReturn);
            const __m256i areBlanks = _mm256_cmpeq_epi8(chunk, _mm256_set1_epi8(' '));
            const __m256i areZeros = _mm256_cmpeq_epi8(before, _mm256_set1_epi8('0'));
            const __m256i areOnes = _mm256_cmpeq_epi8(before, _mm256_set1_epi8('1'));
            const __m256i areTwos = _mm256_cmpeq_epi8(before, _mm256_set1_epi8('2'));
            masks.areSeparators |= bitsOf(_mm256_or_si256(areBlanks, areTabs)) << shift;
            masks.areBehindOnes |= bitsOf(areOnes) << shift;
            masks.areBehindTwos |= bitsOf(areTwos) << shift;
            masks.areBehindDigits |= bitsOf(_mm256_or_si256(areZeros, _mm256_or_si256(areOnes, areTwos))) << shift;
        }
        return masks;
    }

    MORVEL_AVX2 static inline uint64_t extract(uint64_t bits, uint64_t at) { return _pext_u64(bits, at); }
    MORVEL_AVX2 static inline uint64_t deposit(uint64_t bits, uint64_t at) { return _pdep_u64(bits, at); }

    MORVEL_AVX2 static inline void writeDigits(uint64_t ones, uint64_t twos, int16_t *to)
    {
        const __m256i bits = _mm256_set_epi16(short(0x8000), 0x4000, 0x2000, 0x1000, 0x800, 0x400, 0x200, 0x100, 0x80,
                                              0x40, 0x20, 0x10, 8, 4, 2, 1);
        for (int shift = 0; shift < 32; shift += 16, to += 16) {
            const __m256i one = _mm256_and_si256(_mm256_set1_epi16(short(ones >> shift)), bits);
            const __m256i two = _mm256_and_si256(_mm256_set1_epi16(short(twos >> shift)), bits);
            const __m256i number
                = _mm256_or_si256(_mm256_and_si256(_mm256_cmpeq_epi16(one, bits), _mm256_set1_epi16(1000)),
                                  _mm256_and_si256(_mm256_cmpeq_epi16(two, bits), _mm256_set1_epi16(2000)));
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), number);
        }
    }
};

struct Avx512 {
    MORVEL_AVX512 static inline ByteMasks findMasks(const char *bytes)
    {
        const __m512i chunk = _mm512_loadu_si512(bytes), before = _mm512_loadu_si512(bytes - 1);
        const __m512i fromTab = _mm512_sub_epi8(chunk, _mm512_set1_epi8('\t'));
        const __m512i digits = _mm512_sub_epi8(before, _mm512_set1_epi8('0'));
        return {_mm512_cmpeq_epi8_mask(chunk, _mm512_set1_epi8(' '))
                    | _mm512_cmple_epu8_mask(fromTab, _mm512_set1_epi8('\r' - '\t')),
                _mm512_cmpeq_epi8_mask(digits, _mm512_set1_epi8(1)),
                _mm512_cmpeq_epi8_mask(digits, _mm512_set1_epi8(2)),
                _mm512_cmple_epu8_mask(digits, _mm512_set1_epi8(2))};
    }

    MORVEL_AVX512 static inline uint64_t extract(uint64_t bits, uint64_t at) { return _pext_u64(bits, at); }
    MORVEL_AVX512 static inline uint64_t deposit(uint64_t bits, uint64_t at) { return _pdep_u64(bits, at); }

    MORVEL_AVX512 static inline void writeDigits(uint64_t ones, uint64_t twos, int16_t *to)
    {
        const __m512i ofOnes = _mm512_maskz_mov_epi16(__mmask32(ones), _mm512_set1_epi16(1000));
        _mm512_storeu_si512(to, _mm512_mask_mov_epi16(ofOnes, __mmask32(twos), _mm512_set1_epi16(2000)));
    }
};
}  // namespace

template <class Processor>
MORVEL_INLINE size_t readWide(WordPlace &place, size_t most, int16_t *thousandths, Word *others, size_t &otherCount)
{
    const char *bytes = place.next, *wordStart = place.wordStart;
    uint64_t before = place.separators;
    const uint64_t lookedAt
        = place.passesFirstOfThree ? 0x6db6db6db6db6db6 : ~uint64_t(0);  // of words from the first on
    unsigned words = place.words;
    size_t count = 0;
    Word *othersEnd = others;
    while (count < most && !place.isDone) {
        OtherWords found[8];
        size_t blocks = 0;
        for (int step = 0; step < 8 && !place.isDone; ++step) {
            ByteMasks masks = Processor::findMasks(bytes);
            if (const auto left = size_t(place.end - bytes); left < 64) [[unlikely]] {
                masks.areSeparators = (masks.areSeparators & ((uint64_t(1) << left) - 1)) | uint64_t(1) << left;
                place.isDone = true;
            }
            const uint64_t separators = masks.areSeparators;
            const uint64_t ends = separators & ~(separators << 1 | before >> 63);
            const uint64_t areDigits = masks.areBehindDigits & (separators << 2 | before >> 62);
            // 1000 for every one, 2000 for every two, 0 for the others.
            Processor::writeDigits(Processor::extract(masks.areBehindOnes, ends),
                                   Processor::extract(masks.areBehindTwos, ends), thousandths + count);
            const uint64_t otherEnds = Processor::deposit(lookedAt >> words, ends) & ~areDigits;
            found[blocks] = {bytes, wordStart, separators, ends, otherEnds, count};
            blocks += otherEnds != 0;
            const auto endCount = unsigned(std::popcount(ends));
            count += endCount;
            words = (words + endCount) % 3;
            if (separators) [[likely]]
                wordStart = bytes + 64 - std::countl_zero(separators);
            before = separators;
            bytes += 64;
        }
        for (size_t i = 0; i < blocks; ++i)
            othersEnd = found[i].append(othersEnd);
    }
    place.next = bytes;
    place.wordStart = wordStart;
    place.separators = before;
    place.words = words;
    otherCount = size_t(othersEnd - others);
    return count;
}

#define MORVEL_KERNELS(name, target)                                                                                   \
    target static size_t read##name(WordPlace &place, size_t most, int16_t *thousandths, Word *others,                 \
                                    size_t &otherCount)                                                                \
    {                                                                                                                  \
        return readWide<name>(place, most, thousandths, others, otherCount);                                           \
    }
MORVEL_KERNELS(Avx2, MORVEL_AVX2)
MORVEL_KERNELS(Avx512, MORVEL_AVX512)

// Early processors of one maker take hundreds of steps to extract bits.
static bool extractsBits()
{
    return supportsAvx2() && !__builtin_cpu_is("znver1") && !__builtin_cpu_is("znver2");
}
#endif

std::span<const WordKernels> WordKernels::all()
{
    static const WordKernels kernels[]
        = { {"Plain", supportsPlain, readPlain},
#if defined(MORVEL_WIDE_KERNELS)
            {"Avx2", extractsBits, readAvx2},
            {"Avx512", supportsAvx512, readAvx512},
#endif
          };
    return kernels;
}

size_t WordReader::next(int16_t *thousandths)
{
    size_t otherCount = 0;
    const size_t count = kernelsInUse<WordKernels>->read(m_place, batchSize, thousandths, m_others, otherCount);
    m_longCount = 0;
    for (size_t i = 0; i < otherCount; ++i) {
        const Word word = m_others[i];
        const int number = text::readThousandths(word.first, word.text().size());
        thousandths[word.index] = int16_t(number);
        m_others[m_longCount] = word;
        m_longCount += number < 0;
    }
    return count;
}
