// Genotype probabilities to letters: a line of leading columns and triplets P(AA) P(AB) P(BB) becomes the
// leading columns and, for every chosen individual, the most probable genotype in the marker's own letters,
// such as AG.
#include "genotypes/columns.h"
#include "genotypes/ranges.h"
#include "genotypes/rows.h"
#include "main/console.h"
#include "modes/modes.h"
#include "processors/wide.h"

#include <algorithm>

static constexpr IntegerOption firstLetterOption = {"-gen1-loc", 4, "column of the first letter, from 1", takenAsWord};
static constexpr IntegerOption secondLetterOption
    = {"-gen2-loc", 5, "column of the second letter, from 1", takenAsWord};
static constexpr SwitchOption flipOption = {"-flip", "yes: letters of the opposite strand", "yes no", takenAsWord};
static constexpr DelimiterOption genodelimOption
    = {"-genodelim", "none", "none tab space comma semicolon colon", "", "between the two letters"};
static constexpr const Option *options[] = {
    &tripletFileOption,      &outOption,         &firstIndividualOption, &lastIndividualOption, &leadingColumnsOption,
    &unusedNameColumnOption, &firstLetterOption, &secondLetterOption,    &flipOption,           &genodelimOption};

static FormatOptions chosen;  // beg and end count individuals
static FieldRange range;      // of the triplets
static int64_t gen1loc;       // 1-based columns of the letters
static int64_t gen2loc;
static bool flip;          // to the opposite strand
static std::string Delim;  // between the letters of a genotype

static void readOptions()
{
    chosen = readFormatOptions(tripletFileOption, outOption, firstIndividualOption, lastIndividualOption);
    range = chosenFields(chosen, 3);
    gen1loc = firstLetterOption.read();
    gen2loc = secondLetterOption.read();
    flip = flipOption.isOn();
    print(flip ? "Attn: Strands are flipped\n\n" : "Strands not flipped\n\n");
    Delim = genodelimOption.read();
}

// Lower case as well comes out as the upper-case complement, on purpose. Other bytes stay.
static char complement(char letter)
{
    switch (letter) {
    case 'A':
    case 'a':
        return 'T';
    case 'T':
    case 't':
        return 'A';
    case 'G':
    case 'g':
        return 'C';
    case 'C':
    case 'c':
        return 'G';
    default:
        return letter;
    }
}

// The letters in a 1-based column of the line.
static std::string lettersAt(std::string_view line, int64_t column)
{
    std::string letters(fieldAt(line, column - 1));
    if (flip)
        std::ranges::transform(letters, letters.begin(), complement);
    return letters;
}

namespace {
// The three genotypes of a marker in letters, each with a blank behind it.
struct Genotypes {
    std::string texts[3];  // AA, AB, BB

    Genotypes(const std::string &GEN1, const std::string &GEN2)
        : texts{GEN1 + Delim + GEN1 + ' ', GEN1 + Delim + GEN2 + ' ', GEN2 + Delim + GEN2 + ' '}
    {
    }
    // True when every text fits 8 bytes, which can be stored at once.
    bool areShort() const
    {
        return std::ranges::all_of(texts, [](const std::string &text) { return text.size() <= 8; });
    }
};
}  // namespace

// The most probable genotype: 0 AA, 1 AB, 2 BB. On purpose every tie, and what is not a number, gives BB.
template <typename Number>
static uint8_t classOf(Number loc1, Number loc2, Number loc3)
{
    const bool isFirst = (loc1 > loc2) & (loc1 > loc3);
    const bool isSecond = (loc2 > loc1) & (loc2 > loc3);
    return uint8_t(2 - isSecond - 2 * isFirst);
}

// Returns whether one of the triplets has a number that is not short, and so no class yet.
MORVEL_WIDE static bool findShortClasses(const int16_t *triplets, size_t count, uint8_t *classes)
{
    int16_t all = 0;
    for (size_t i = 0; i < count; ++i, triplets += 3) {
        classes[i] = classOf(triplets[0], triplets[1], triplets[2]);
        all |= int16_t(triplets[0] | triplets[1] | triplets[2]);
    }
    return all < 0;
}

// Finds the genotypes of the next triplets; returns how many.
static size_t nextClasses(FieldNumbers &numbers, uint8_t *classes)
{
    const size_t count = numbers.next() / 3;
    const int16_t *const each = numbers.numbers();
    if (findShortClasses(each, count, classes)) [[unlikely]] {
        for (size_t i = 0; i < 3 * count; i += 3) {
            if ((each[i] | each[i + 1] | each[i + 2]) < 0)
                classes[i / 3] = classOf(numbers.value(i), numbers.value(i + 1), numbers.value(i + 2));
        }
    }
    return count;
}

static void putShort(const Genotypes &genotypes, const uint8_t *classes, size_t count, text::Writer &out)
{
    struct {
        char bytes[8];
        size_t size;
    } texts[3] = {};
    for (size_t k = 0; k < 3; ++k) {
        texts[k].size = genotypes.texts[k].size();
        std::memcpy(texts[k].bytes, genotypes.texts[k].data(), texts[k].size);
    }
    char *end = out.reserve(8 * count);
    for (size_t i = 0; i < count; ++i) {
        const auto &text = texts[classes[i]];
        std::memcpy(end, text.bytes, 8);
        end += text.size;
    }
    out.commit(end);
}

static void putLong(const Genotypes &genotypes, const uint8_t *classes, size_t count, text::Writer &out)
{
    for (size_t i = 0; i < count; ++i)
        out.put(genotypes.texts[classes[i]]);
}

// Writes the genotypes of a line, single blanks between them.
static void writeGenotypes(std::string_view line, text::Writer &out)
{
    const Genotypes genotypes(lettersAt(line, gen1loc), lettersAt(line, gen2loc));
    const auto putGenotypes = genotypes.areShort() ? putShort : putLong;
    uint8_t classes[FieldNumbers::batchSize / 3];
    FieldNumbers numbers = numbersIn(line, range);
    bool isFirst = true;
    while (const size_t triplets = nextClasses(numbers, classes)) {
        if (!isFirst)
            out.put(' ');
        putGenotypes(genotypes, classes, triplets, out);
        out.removeLast();  // the blank behind the last genotype
        isFirst = false;
    }
}

static void genToLetters()
{
    readOptions();
    print("running genToLetters()\n\n");
    convertRows(chosen, true, {MarkerLook::Content::Triplets, false, "the second homozygote"}, writeGenotypes);
}

constinit const Mode genToLettersMode
    = {{"gentoletters"}, genToLetters, options, "Writes the most probable genotypes in letters"};
