// The individuals of a genotype file, in its order, and the rows of a table that belong to them. By name, never by
// position.
#pragma once

#include "main/options.h"
#include "tables/identifiers.h"

#include <string>
#include <vector>

namespace table {

inline constexpr InputOption individualsOption
    = {"-individuals", Use::Required,
       "the individuals of the genotype file in its order: a name a line, a .fam, .psam or .sample file, or a VCF"};
inline constexpr WordOption listOption
    = {"-list", "auto", "auto names fam psam sample vcf", "kind of that file; auto: by its name and first line"};
inline constexpr TextOption idOption = {"-id", "the first one", "name of the column that holds the individuals"};
inline constexpr WordOption absentOption
    = {"-absent", "refuse", "refuse missing", "individuals without a row end the run, or get missing values"};

struct Individuals {
    std::string file;
    Identifiers names;  // numbered from 0 in their order
};

// Ends the run where a line does not fit the kind, a name comes twice or there is none.
Individuals readIndividuals(const std::string &name);

class Table;

// The 0-based place of the column that -id names.
size_t idPlaceOf(std::string_view header, char delimiter, const Table &table);

// Finds the place of each row of a table among the individuals.
class Matching {
public:
    Matching(const Individuals &individuals, const std::string &table);

    // The 0-based place of the individual of the line; noNumber where it is not asked for. Ends the run where it had a
    // line before.
    uint32_t placeOf(std::string_view name, size_t line);
    // To be called behind the last row. Ends the run where no individual has a row, or where some have none and
    // -absent does not allow it; tells how many rows and individuals were left out or filled.
    void finish() const;

    bool isFound(uint32_t place) const { return m_lines[place] != 0; }

private:
    const Individuals &m_individuals;
    const std::string m_table;
    std::vector<size_t> m_lines;        // [place], 0: none yet
    std::vector<std::string> m_extras;  // the first of them
    size_t m_extraCount = 0;
};

}  // namespace table
