// Random input texts with the oddities that files have.
#pragma once

#include <random>
#include <string>

class RandomText {
public:
    explicit RandomText(uint64_t seed)
        : m_generator(seed)
    {
    }

    size_t below(size_t limit) { return m_generator() % limit; }
    bool oneIn(size_t n) { return below(n) == 0; }
    template <size_t n>
    const char *oneOf(const char *const (&texts)[n])
    {
        return texts[below(n)];
    }

    // A number in any of its spellings, or what is none; `odd` in ten are other than short decimals up to 2.
    std::string number(size_t odd)
    {
        static const char *const oddities[]
            = {"", "-", ".", "NA", "nan", "-inf", "1e999", "1e-400", "-0", "0.", ".5", "1e-1", "+1", "0x1", "1,5",
               "2.5", "-1.6", "123456.5", "1e-5", "1.0000001", "0.12345678901234567890", "1\xc3\xa4", "1e",
               "\r", "3000000000", "-2147483648.5", "0.3333", "999999.5", "00001.5", "9.999", "1\t"};
        if (below(10) < odd)
            return oneOf(oddities);
        static const char *const common[] = {"0", "1", "2", "0.5", "1.5", "0.25", "1.25", "0.1"};
        if (oneIn(2))
            return oneOf(common);
        return "0." + std::to_string(below(1000) + 1000).substr(1 + below(2), 1 + below(3));
    }

    // How a line ends.
    std::string lineEnd() { return oneIn(8) ? "\r\n" : oneIn(10) ? "\n\n" : "\n"; }

private:
    std::mt19937_64 m_generator;
};
