// Splitting a line into views of its fields.
#pragma once

#include "text/bytes.h"
#include "text/lines.h"

#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace text {

// All fields of the line, empty ones kept; `fields` is reused. An empty delimiter parts at every byte, with an
// empty field at both ends.
void splitFields(std::string_view line, std::string_view delimiter, std::vector<std::string_view> &fields);

// How many fields splitFields() finds.
size_t countFields(std::string_view line, std::string_view delimiter);

// The fields that splitFields() finds, one after another: however many there are, they cost no memory.
class FieldReader {
public:
    FieldReader(std::string_view line, std::string_view delimiter) : m_rest(line), m_delimiter(delimiter) {}
    // False after the last field.
    bool next(std::string_view &field);

private:
    std::string_view m_rest;  // of the line
    std::string_view m_delimiter;
    bool m_isFirst = true;
    bool m_isDone = false;
};

// All fields but the empty ones; `fields` is reused.
void splitNonEmptyFields(std::string_view line, std::string_view delimiter, std::vector<std::string_view> &fields);

// Words at white space, across line ends.
class TokenReader {
public:
    explicit TokenReader(LineReader &lines) : m_lines(lines) {}
    // The next word, valid until the next call; false after the last one.
    bool next(std::string_view &token);

private:
    LineReader &m_lines;
    std::string_view m_rest;  // of the current line
};

// The field at a 0-based position of a LineReader's line, without looking at the rest of the line; a view
// without data beyond the last field. The delimiter can be any text, as in splitFields().
std::string_view findFieldByText(std::string_view line, std::string_view delimiter, size_t position);
std::string_view findField(std::string_view line, std::string_view delimiter, size_t position);

enum class Separator {
    Blank,      // each single blank
    WhiteSpace  // each single white-space byte: several in a row make empty fields, to be passed over
};

// Bit i tells whether byte i of 64 is the one sought.
inline uint64_t byteBits(const char *bytes, char sought)
{
    uint64_t bits = 0;
#if defined(__SSE2__)
    for (int part = 0; part < 4; ++part) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + 16 * part));
        const __m128i found = _mm_cmpeq_epi8(chunk, _mm_set1_epi8(sought));
        bits |= uint64_t(uint32_t(_mm_movemask_epi8(found))) << (16 * part);
    }
#else
    for (int i = 0; i < 64; ++i)
        bits |= uint64_t(bytes[i] == sought) << i;
#endif
    return bits;
}

// The first `size` of 64 bits, or all.
inline uint64_t firstBits(uint64_t bits, size_t size)
{
    return size < 64 ? bits & ((uint64_t(1) << size) - 1) : bits;
}

// Bit i tells whether byte i of 64 separates.
template <Separator separator>
uint64_t separatorBits(const char *bytes)
{
    uint64_t bits = 0;
#if defined(__SSE2__)
    for (int part = 0; part < 4; ++part) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes + 16 * part));
        __m128i found = _mm_cmpeq_epi8(chunk, _mm_set1_epi8(' '));
        if constexpr (separator == Separator::WhiteSpace) {
            const __m128i fromTab = _mm_sub_epi8(chunk, _mm_set1_epi8('\t'));
            const __m128i upToReturn = _mm_min_epu8(fromTab, _mm_set1_epi8('\r' - '\t'));
            found = _mm_or_si128(found, _mm_cmpeq_epi8(fromTab, upToReturn));
        }
        bits |= uint64_t(uint32_t(_mm_movemask_epi8(found))) << (16 * part);
    }
#else
    for (int i = 0; i < 64; ++i) {
        const bool found = separator == Separator::Blank ? bytes[i] == ' ' : isWhiteSpace(bytes[i]);
        bits |= uint64_t(found) << i;
    }
#endif
    return bits;
}

inline std::string_view findField(std::string_view line, std::string_view delimiter, size_t position)
{
    if (delimiter.size() != 1)
        return findFieldByText(line, delimiter, position);
    const char *first = line.data();
    const char *const end = first + line.size();
    for (const char *block = first; block < end; block += 64) {
        uint64_t bits = firstBits(byteBits(block, delimiter[0]), size_t(end - block));
        if (position > 0) {
            const size_t count = size_t(std::popcount(bits));
            if (count < position) {
                position -= count;
                continue;
            }
            for (; position > 1; --position)
                bits &= bits - 1;
            first = block + std::countr_zero(bits) + 1;
            bits &= bits - 1;
            position = 0;
        }
        if (bits)
            return {first, size_t(block + std::countr_zero(bits) - first)};
    }
    return position > 0 ? std::string_view() : std::string_view(first, size_t(end - first));
}

}  // namespace text
