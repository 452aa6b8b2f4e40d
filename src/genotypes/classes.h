// Genotype classes from a marker's triplets P(AA) P(AB) P(BB).
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// A genotype's class is its dosage, rounded: 0, 1 or 2; or this where the dosage belongs to none.
inline constexpr uint8_t noClass = 3;

// Reads the lines of a triplet file: leading columns and a triplet per individual, and whatever further columns its
// first line has. A delimiter that is white space, or none, stands for any white space between words; every other one
// parts fields that may be empty, with white space around them passed over.
class ClassReader {
public:
    // `delimiter` outlives the reader.
    ClassReader(std::string_view delimiter, std::string_view firstLine);

    // Reads the marker's name and the classes, [individual], one for each place; what is no number is 0.
    // False where the line, which is a LineReader's, does not have as many columns as the first one.
    bool read(std::string_view line, std::string_view &name, std::span<uint8_t> classes) const
    {
        return m_isParted ? readFields(line, name, classes) : readWords(line, name, classes);
    }

private:
    bool readWords(std::string_view line, std::string_view &name, std::span<uint8_t> classes) const;
    bool readFields(std::string_view line, std::string_view &name, std::span<uint8_t> classes) const;

    std::string_view m_delimiter;
    bool m_isParted;  // at the delimiter
    size_t m_columns;
};
