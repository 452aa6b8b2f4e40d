#include "genotypes/numberwalker.h"
#include "processors/wide.h"

#include <algorithm>
#include <bit>

static constexpr char nothing[1] = {};  // stands for a null view

template <text::Separator separator>
NumberWalker<separator>::NumberWalker(std::string_view line, size_t most)
    : m_next(line.data() ? line.data() : nothing + 1)
    , m_end(line.data() ? line.data() + line.size() : nothing)
    , m_left(most)
{
}

template <text::Separator separator>
size_t NumberWalker<separator>::next()
{
    keepRest();
    const auto readShort = kernelsInUse<ShortNumberKernels>->reader(separator);
    const size_t wanted = std::min(batchSize, m_left);
    while (m_count < wanted && m_next <= m_end) {
        m_count += readShort(m_next, m_end, m_numbers + m_count, wanted - m_count);
        if (m_count < wanted)
            takeWindow();
    }
    m_handedOut = std::min(m_count, wanted);
    m_left -= m_handedOut;
    return m_handedOut;
}

// Moves what was read beyond the last batch to the front.
template <text::Separator separator>
void NumberWalker<separator>::keepRest()
{
    m_count -= m_handedOut;
    for (size_t i = 0; i < m_count; ++i) {
        m_numbers[i] = m_numbers[m_handedOut + i];
        if (m_numbers[i] < 0)
            m_fields[i] = m_fields[m_handedOut + i];
    }
    m_handedOut = 0;
}

// Where fields end among 64 bytes of a line.
template <text::Separator separator>
static uint64_t endsAmong(const char *block, const char *end)
{
    const uint64_t separators = text::separatorBits<separator>(block);
    const size_t left = size_t(end - block);
    return left < 64 ? text::firstBits(separators, left) | uint64_t(1) << left : separators;
}

// Takes one field after another, up to the last one that ends within 64 bytes, or a longer one.
template <text::Separator separator>
void NumberWalker<separator>::takeWindow()
{
    const char *block = m_next, *begin = m_next;
    uint64_t ends;
    while ((ends = endsAmong<separator>(block, m_end)) == 0)
        block += 64;
    size_t count = m_count;
    for (; ends; ends &= ends - 1) {
        const char *const end = block + std::countr_zero(ends);
        const text::ShortNumber number = text::readShortNumber(begin, size_t(end - begin));
        m_numbers[count] = int16_t(text::thousandthsOf(number.digits));
        if (number.invalid) [[unlikely]] {
            m_numbers[count] = notShort;
            m_fields[count] = {begin, end};
        }
        count += separator == text::Separator::Blank || begin != end;
        begin = end + 1;
    }
    m_count = count;
    m_next = begin;
}

// Returns whether one of them is not short.
MORVEL_WIDE static bool divideNumbers(const int16_t *numbers, size_t count, double *values)
{
    int16_t all = 0;
    for (size_t i = 0; i < count; ++i) {
        values[i] = double(numbers[i]) / 1000;  // as text::thousandthValues has it
        all |= numbers[i];
    }
    return all < 0;
}

template <text::Separator separator>
bool NumberWalker<separator>::formShortValues(size_t count, double *values) const
{
    return divideNumbers(m_numbers, count, values);
}

template <text::Separator separator>
void NumberWalker<separator>::formValues(size_t count, double *values) const
{
    if (!formShortValues(count, values)) [[likely]]
        return;
    for (size_t i = 0; i < count; ++i) {
        if (m_numbers[i] < 0)
            values[i] = value(i);
    }
}

template class NumberWalker<text::Separator::Blank>;
template class NumberWalker<text::Separator::WhiteSpace>;
