#include "genotypes/reading.h"
#include "processors/bytebits.h"

#include <algorithm>

using text::Separator;

template <Separator separator, size_t registerBytes>
MORVEL_INLINE uint64_t separatorBits(const char *bytes)
{
    return separator == Separator::Blank ? blankBits<registerBytes>(bytes) : whiteBits<registerBytes>(bytes);
}

// Reads a short number in thousandths; collects in `invalid` what is none.
MORVEL_INLINE uint16_t readThousandths(const char *first, const char *end, uint64_t &invalid)
{
    const text::ShortNumber number = text::readShortNumber(first, size_t(end - first));
    invalid |= number.invalid;
    return uint16_t(text::thousandthsOf(number.digits));
}

// A certain genotype such as "0 1 0 " differs from "0 0 0 " by the last bits of its digits. Those of 64 bytes which are
// 1 are enough to look up what it is.
static constexpr uint64_t digitBits = 0x15;  // of a triplet's 6 bytes
static constexpr std::array<Triplet, digitBits + 1> certainTriplets = [] {
    std::array<Triplet, digitBits + 1> triplets{};
    for (uint16_t i = 0; i <= digitBits; ++i) {
        const uint16_t none = i & 1, hetero = i >> 2 & 1, homo = i >> 4 & 1;
        triplets[i] = {uint16_t(1000 * none), uint16_t(1000 * hetero), uint16_t(1000 * homo),
                       uint16_t(1000 * (hetero + 2 * homo))};
    }
    return triplets;
}();

// Bits of bytes that do not go on with digits 0 and 1, or 0 to 3, and blanks.
template <size_t registerBytes>
MORVEL_INLINE uint64_t otherBits(const char *at, const Triplet &)
{
    return ~ByteBits<registerBytes>::find(at, 0xfffe, 0x2030);
}

template <size_t registerBytes>
MORVEL_INLINE uint64_t otherBits(const char *at, const Dosage &)
{
    return ~ByteBits<registerBytes>::find(at, 0xfffc, 0x2030);
}

// Writes a run of the longest size, whatever of it counts.
template <size_t registerBytes>
struct Run {
    static inline void write(const char *at, Triplet *triplets)
    {
        const uint64_t ones = ByteBits<registerBytes>::find(at, 0xffff, 0x3131);
        for (size_t i = 0; i < Triplet::runSize; ++i)
            triplets[i] = certainTriplets[ones >> 6 * i & digitBits];
    }
};

#if defined(MORVEL_WIDE_KERNELS)
// The last bits of the digits, put where their numbers and twice where those that make the dosage belong.
template <>
struct Run<32> {
    MORVEL_AVX2 static inline void write(const char *at, Triplet *triplets)
    {
        const __m256i numbers
            = _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 2, 3, 6, 7, 8, 9, 10, 11, 8, 9));
        const __m256i homo
            = _mm256_broadcastsi128_si256(_mm_setr_epi8(-1, -1, -1, -1, -1, -1, 4, 5, -1, -1, -1, -1, -1, -1, 10, 11));
        for (size_t i = 0; i < Triplet::runSize; i += 4, at += 24) {
            const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
            const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at + 12));
            const __m256i bytes = _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
            const __m256i ones = _mm256_and_si256(bytes, _mm256_set1_epi16(1));
            const __m256i twice = _mm256_slli_epi16(_mm256_shuffle_epi8(ones, homo), 1);
            const __m256i sum = _mm256_add_epi16(_mm256_shuffle_epi8(ones, numbers), twice);
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(triplets + i),
                                _mm256_mullo_epi16(sum, _mm256_set1_epi16(1000)));
        }
    }
};

template <>
struct Run<64> {
    MORVEL_AVX512 static inline void write(const char *at, Triplet *triplets)
    {
        alignas(64) static constexpr std::array<uint16_t, 32> numbers = [] {
            std::array<uint16_t, 32> places{};
            for (uint16_t i = 0; i < 32; ++i)
                places[i] = uint16_t(i / 4 * 3 + (i % 4 == 3 ? 1 : i % 4));
            return places;
        }();
        alignas(64) static constexpr std::array<uint16_t, 32> homo = [] {
            std::array<uint16_t, 32> places{};
            for (uint16_t i = 0; i < 32; ++i)
                places[i] = uint16_t(i / 4 * 3 + 2);
            return places;
        }();
        const __m512i ones = _mm512_and_si512(_mm512_loadu_si512(at), _mm512_set1_epi16(1));
        const __m512i twice
            = _mm512_slli_epi16(_mm512_maskz_permutexvar_epi16(0x88888888, _mm512_load_si512(homo.data()), ones), 1);
        const __m512i sum = _mm512_add_epi16(_mm512_permutexvar_epi16(_mm512_load_si512(numbers.data()), ones), twice);
        _mm512_storeu_si512(triplets, _mm512_mullo_epi16(sum, _mm512_set1_epi16(1000)));
    }
};
#endif

template <size_t registerBytes>
MORVEL_INLINE void writeRun(const char *at, Triplet *triplets)
{
    Run<registerBytes>::write(at, triplets);
}

template <size_t>
MORVEL_INLINE void writeRun(const char *at, Dosage *dosages)
{
    for (size_t i = 0; i < Dosage::runSize; ++i)
        dosages[i].thousandths = uint16_t(1000 * (at[2 * i] & 3));
}

// Reads short numbers which end at these places into a triplet; collects in `invalid` what is none.
template <size_t registerBytes>
struct Numbers {
    static inline Triplet read(const char *at, const char *const *ends, uint64_t &invalid)
    {
        const uint16_t none = readThousandths(at, ends[0], invalid);
        const uint16_t hetero = readThousandths(ends[0] + 1, ends[1], invalid);
        const uint16_t homo = readThousandths(ends[1] + 1, ends[2], invalid);
        return {none, hetero, homo, uint16_t(hetero + 2 * homo)};
    }
};

#if defined(MORVEL_WIDE_KERNELS)
// The steps of text::readShortNumber() and text::thousandthsOf() for three numbers at once.
template <>
struct Numbers<32> {
    MORVEL_AVX2 static inline __m256i load(const void *none, const void *hetero, const void *homo)
    {
        const __m128i low = _mm_loadl_epi64(static_cast<const __m128i *>(none));
        const __m128i middle = _mm_loadl_epi64(static_cast<const __m128i *>(hetero));
        const __m128i high = _mm_loadl_epi64(static_cast<const __m128i *>(homo));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_unpacklo_epi64(low, middle)), high, 1);
    }

    MORVEL_AVX2 static inline Triplet read(const char *at, const char *const *ends, uint64_t &invalid)
    {
        constexpr uint64_t all = ~uint64_t(0);
        static constexpr uint64_t keep[] = {0, 0xff, 0xffff, 0xffffff, 0xffffffff, 0xffffffffff, all, all};
        const size_t sizes[] = {size_t(ends[0] - at), size_t(ends[1] - ends[0] - 1), size_t(ends[2] - ends[1] - 1)};
        invalid |= (sizes[0] | sizes[1] | sizes[2]) & ~uint64_t(7);
        const __m256i bytes = load(at, ends[0] + 1, ends[1] + 1);
        const __m256i kept = load(keep + sizes[0] % 8, keep + sizes[1] % 8, keep + sizes[2] % 8);
        const __m256i digits = _mm256_and_si256(_mm256_xor_si256(bytes, _mm256_set1_epi64x(0x3030302e30)), kept);
        const __m256i carried = _mm256_add_epi64(digits, _mm256_set1_epi64x(0x7f7f7f7676767f76));
        invalid |= uint32_t(_mm256_movemask_epi8(_mm256_or_si256(carried, digits)));
        // 100 ones; 10 tenths and the hundredths; thousandths
        const __m256i pairs = _mm256_maddubs_epi16(digits, _mm256_set1_epi64x(0x00000001'010a0064));
        const __m256i parts = _mm256_madd_epi16(pairs, _mm256_set1_epi64x(0x00000001'000a000a));
        const __m256i sums = _mm256_add_epi32(parts, _mm256_srli_epi64(parts, 32));
        const __m128i low = _mm256_castsi256_si128(sums);
        const uint64_t none = uint32_t(_mm_cvtsi128_si32(low)), hetero = uint32_t(_mm_extract_epi32(low, 2));
        const uint64_t homo = uint32_t(_mm_cvtsi128_si32(_mm256_extracti128_si256(sums, 1)));
        return std::bit_cast<Triplet>(none + hetero * 0x0001000000010000 + homo * 0x0002000100000000);
    }
};

template <>
struct Numbers<64> : Numbers<32> {
};
#endif

template <Separator separator, size_t registerBytes>
MORVEL_INLINE const char *readShort(const char *at, uint64_t separators, Triplet &triplet, uint64_t &invalid)
{
    const char *ends[3];
    ends[0] = at + std::countr_zero(separators);
    separators &= separators - 1;
    ends[1] = at + std::countr_zero(separators);
    separators &= separators - 1;
    ends[2] = at + std::countr_zero(separators);
    invalid = separators == 0;
    if (separator == Separator::WhiteSpace)
        invalid |= (ends[0] == at) | (ends[1] == ends[0] + 1) | (ends[2] == ends[1] + 1);
    triplet = Numbers<registerBytes>::read(at, ends, invalid);
    return ends[2] + 1;
}

template <Separator separator, size_t>
MORVEL_INLINE const char *readShort(const char *at, uint64_t separators, Dosage &dosage, uint64_t &invalid)
{
    const char *const end = at + std::countr_zero(separators);
    invalid = (separators == 0) | (separator == Separator::WhiteSpace && end == at);
    dosage.thousandths = readThousandths(at, end, invalid);
    return end + 1;
}

static void markLong(Triplet &triplet)
{
    triplet.dosage = notShort;
}

static void markLong(Dosage &dosage)
{
    dosage.thousandths = notShort;
}

// Takes the next field; false where there is none. Of words, empty fields are none.
template <Separator separator>
static bool takeField(const char *&at, const char *end, std::string_view &field)
{
    do {
        if (at > end)
            return false;
        const char *const first = at;
        while (at != end && !(separator == Separator::Blank ? *at == ' ' : text::isWhiteSpace(*at)))
            ++at;
        field = {first, size_t(at++ - first)};
    } while (separator == Separator::WhiteSpace && field.empty());
    return true;
}

// Whatever the numbers look like, and however long they are. False where the line ends before.
template <class Item, Separator separator>
bool GenotypeReader<Item, separator>::readLong(Cursor &cursor, Item &item, Numbers &numbers) const
{
    const char *at = cursor.at;
    for (double &number : numbers) {
        std::string_view field;
        if (!takeField<separator>(at, m_end, field))
            return false;
        number = text::readMostlyShort(field);
    }
    cursor.at = at;
    markLong(item);
    return true;
}

// Looks at 64 bytes. Four of five genotypes of imputed data are certain, and so the next few of these are told
// together: a run of them, however long, costs one look and no branch that could be guessed wrong. Behind it one
// individual is read by the places of its separators.
template <class Item, Separator separator>
template <size_t registerBytes>
[[gnu::always_inline]] inline void GenotypeReader<Item, separator>::step(Cursor &cursor, Batch &batch) const
{
    constexpr size_t certainSize = 2 * Item::fieldCount;
    const char *at = cursor.at;
    size_t count = cursor.count;
    const size_t left = size_t(m_end - at);
    uint64_t separators = separatorBits<separator, registerBytes>(at);
    uint64_t others = otherBits<registerBytes>(at, Item()) | uint64_t(1) << certainSize * Item::runSize;
    if (left < 64) [[unlikely]] {
        separators = text::firstBits(separators, left) | uint64_t(1) << left;
        others |= ~text::firstBits(~uint64_t(0), left);
    }
    const size_t run = std::min(size_t(std::countr_zero(others)) / certainSize, cursor.most - count);
    if (run > 0) {
        writeRun<registerBytes>(at, batch.items + count);
        count += run;
        at += certainSize * run;
        separators >>= certainSize * run;
        cursor.at = at;
        cursor.count = count;
        if (count == cursor.most || at > m_end)
            return;
    }
    uint64_t invalid;
    const char *const next = readShort<separator, registerBytes>(at, separators, batch.items[count], invalid);
    if (!invalid) [[likely]] {
        cursor.at = next;
        cursor.count = count + 1;
    } else if (run == 0) {
        if (readLong(cursor, batch.items[count], batch.longNumbers[count]))
            cursor.count = count + 1;
        else
            cursor.most = count;  // the line ends
    }
}

// Where the individual behind the next batch begins; null where the line ends before. By counting fields' ends.
template <class Item, Separator separator>
template <size_t registerBytes>
[[gnu::always_inline]] inline const char *GenotypeReader<Item, separator>::findSecond() const
{
    size_t fields = batchSize * Item::fieldCount;
    uint64_t before = 1;  // whether the byte before the block separates
    for (const char *block = m_cursors[0].at; m_end - block > 64; block += 64) {
        const uint64_t separators = separatorBits<separator, registerBytes>(block);
        uint64_t ends = separators;
        if constexpr (separator == Separator::WhiteSpace) {
            ends &= ~(separators << 1 | before);
            before = separators >> 63;
        }
        const size_t count = size_t(std::popcount(ends));
        if (count >= fields) {
            for (; fields > 1; --fields)
                ends &= ends - 1;
            return block + std::countr_zero(ends) + 1;
        }
        fields -= count;
    }
    return nullptr;
}

// Two batches at once: each step waits for the one before it in its own batch, so that with one batch a processor would
// be idle for half of the time.
template <class Item, Separator separator>
template <size_t registerBytes>
[[gnu::always_inline]] inline void GenotypeReader<Item, separator>::fill()
{
    Cursor first = m_cursors[0], second;
    first.count = 0;
    first.most = std::min(m_left, batchSize);
    second.at = m_left > batchSize ? findSecond<registerBytes>() : nullptr;
    second.most = second.at ? std::min(m_left - batchSize, batchSize) : 0;
    const auto isOn = [this](const Cursor &cursor) { return cursor.count < cursor.most && cursor.at <= m_end; };
    while (isOn(first) && isOn(second)) {
        step<registerBytes>(first, m_batches[0]);
        step<registerBytes>(second, m_batches[1]);
    }
    while (isOn(first))
        step<registerBytes>(first, m_batches[0]);
    while (isOn(second))
        step<registerBytes>(second, m_batches[1]);
    m_cursors[0] = first;
    m_cursors[1] = second;
}

struct GenotypeScan {
    template <size_t registerBytes, class Reader>
    [[gnu::always_inline]] static inline void fill(Reader &reader)
    {
        reader.template fill<registerBytes>();
    }
};

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static void fillTriplets##name(TripletReader<Separator::Blank> &reader)                                     \
    {                                                                                                                  \
        GenotypeScan::fill<bytes>(reader);                                                                             \
    }                                                                                                                  \
    target static void fillTripletWords##name(TripletReader<Separator::WhiteSpace> &reader)                            \
    {                                                                                                                  \
        GenotypeScan::fill<bytes>(reader);                                                                             \
    }                                                                                                                  \
    target static void fillDosages##name(DosageReader<Separator::Blank> &reader)                                       \
    {                                                                                                                  \
        GenotypeScan::fill<bytes>(reader);                                                                             \
    }                                                                                                                  \
    target static void fillDosageWords##name(DosageReader<Separator::WhiteSpace> &reader)                              \
    {                                                                                                                  \
        GenotypeScan::fill<bytes>(reader);                                                                             \
    }

MORVEL_FOR_PROCESSORS(MORVEL_KERNELS)

std::span<const ReadingKernels> ReadingKernels::all()
{
#define MORVEL_ROW(name, bytes, target)                                                                                \
    {#name, supports##name, fillTriplets##name, fillTripletWords##name, fillDosages##name, fillDosageWords##name},
    static const ReadingKernels kernels[] = {MORVEL_FOR_PROCESSORS(MORVEL_ROW)};
    return kernels;
}

static void fillBatches(TripletReader<Separator::Blank> &reader)
{
    kernelsInUse<ReadingKernels>->fillTriplets(reader);
}

static void fillBatches(TripletReader<Separator::WhiteSpace> &reader)
{
    kernelsInUse<ReadingKernels>->fillTripletWords(reader);
}

static void fillBatches(DosageReader<Separator::Blank> &reader)
{
    kernelsInUse<ReadingKernels>->fillDosages(reader);
}

static void fillBatches(DosageReader<Separator::WhiteSpace> &reader)
{
    kernelsInUse<ReadingKernels>->fillDosageWords(reader);
}

template <class Item, Separator separator>
size_t GenotypeReader<Item, separator>::next()
{
    if (m_current == 0 && m_cursors[1].count > 0) {
        m_current = 1;
        m_cursors[0] = m_cursors[1];
        m_cursors[1].count = 0;
    } else {
        m_current = 0;
        if (m_left == 0)
            return 0;
        fillBatches(*this);
    }
    m_left -= m_cursors[0].count;
    return m_cursors[0].count;
}

template class GenotypeReader<Triplet, Separator::Blank>;
template class GenotypeReader<Triplet, Separator::WhiteSpace>;
template class GenotypeReader<Dosage, Separator::Blank>;
template class GenotypeReader<Dosage, Separator::WhiteSpace>;
