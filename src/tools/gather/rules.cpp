#include "tools/gather/rules.h"
#include "main/console.h"

#include <algorithm>
#include <string_view>

namespace gather {

static constexpr const char *countedLines[] = {"-beg", "-end"};
static constexpr Rule rules[] = {
    {"gwas", "-pfile", Cut::Lines, Joining::PhenotypeRows, ".stats"},
    {"gwas2", "-pfile", Cut::Lines, Joining::PhenotypeRows, ".stats"},
    {"gwas3", "-gfile", Cut::Markers, Joining::MarkerRows, ".stats"},
    {.mode = "regscan1",
     .input = "-gfile",
     .cut = Cut::Markers,
     .joining = Joining::Regressions,
     .side = ".stats",
     .hasTallies = true},
    {"gentoAD", "-file", Cut::Lines, Joining::LinesAndRows, ".stats", "-statistics"},
    {.mode = "ADtogen",
     .input = "-file",
     .cut = Cut::Lines,
     .joining = Joining::Bytes,
     .side = ".stats",
     .refused = countedLines},
    {.mode = "avgAD",
     .input = "-file",
     .cut = Cut::Lines,
     .joining = Joining::Bytes,
     .side = nullptr,
     .endsOpen = true},
    {.mode = "avgGEN",
     .input = "-file",
     .cut = Cut::Lines,
     .joining = Joining::Bytes,
     .side = nullptr,
     .endsOpen = true},
    {.mode = "gentoletters",
     .input = "-file",
     .cut = Cut::Lines,
     .joining = Joining::Bytes,
     .side = nullptr,
     .endsOpen = true},
    {.mode = "peakscan3",
     .input = "-file",
     .cut = Cut::Chromosomes,
     .joining = Joining::Bytes,
     .side = ".ranges",
     .headerOption = "-header"},
    {"ldprune", "-file", Cut::Files, Joining::Bytes, ".removed"},
    {.mode = "mixfit",
     .input = "-file",
     .cut = Cut::Lines,
     .joining = Joining::Mixtures,
     .side = nullptr,
     .headerOption = "-header",
     .hasTallies = true},
};

const Rule &ruleOf(const char *mode)
{
    const auto rule = std::ranges::find(rules, std::string_view(mode), &Rule::mode);
    if (rule != std::end(rules))
        return *rule;
    if (std::string_view(mode) == "popsel")
        fatal("Mode popsel cannot be split: every match depends on all individuals of both files\n");
    fatal("Mode %s is none of those that are split; the manual lists them\n", mode);
}

}  // namespace gather
