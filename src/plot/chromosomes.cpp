#include "plot/chromosomes.h"

#include <algorithm>
#include <tuple>

namespace plot {

std::string_view shownChromosome(std::string_view name)
{
    const bool hasPrefix
        = name.size() > 3 && (name[0] | 0x20) == 'c' && (name[1] | 0x20) == 'h' && (name[2] | 0x20) == 'r';
    return hasPrefix ? name.substr(3) : name;
}

// What the order goes by: the kind, the number, the name.
static std::tuple<int, size_t, std::string_view, std::string_view> rankOf(std::string_view whole)
{
    std::string_view name = shownChromosome(whole);
    const bool isNumber = !name.empty() && name.find_first_not_of("0123456789") == name.npos;
    if (isNumber) {
        name.remove_prefix(std::min(name.find_first_not_of('0'), name.size()));
        return {0, name.size(), name, whole};
    }
    size_t letter = 0;
    for (const std::string_view known : {"X", "Y", "XY", "MT", "M"}) {
        ++letter;
        if (name == known)
            return {1, letter, name, whole};
    }
    return {2, 0, name, whole};
}

bool isChromosomeBefore(std::string_view name1, std::string_view name2)
{
    return rankOf(name1) < rankOf(name2);
}

void Genome::add(std::string_view name, double position, double value)
{
    if (!m_last || m_last->name != name) {
        auto found = m_chromosomes.find(name);
        if (found == m_chromosomes.end())
            found = m_chromosomes.emplace(name, Chromosome{std::string(name), {}, position, position}).first;
        m_last = &found->second;
    }
    m_last->markers.push_back({position, value});
    m_last->from = std::min(m_last->from, position);
    m_last->to = std::max(m_last->to, position);
    ++m_size;
}

std::vector<Genome::Chromosome *> Genome::laidOut()
{
    std::vector<Chromosome *> ordered;
    double sum = 0;
    for (auto &[name, chromosome] : m_chromosomes) {
        ordered.push_back(&chromosome);
        sum += chromosome.to - chromosome.from;
    }
    std::ranges::sort(ordered,
                      [](const Chromosome *a, const Chromosome *b) { return isChromosomeBefore(a->name, b->name); });
    if (ordered.size() == 1) {
        // The axis of a single one shows its own positions, with some room at both ends.
        Chromosome &only = *ordered[0];
        const double room = std::max((only.to - only.from) * 0.02, 1.0);
        only.start = room;
        m_end = only.to - only.from + 2 * room;
        return ordered;
    }
    // All have some width, and a gap to the next one, but many take no more than half of the axis for that.
    const double gap = std::max(sum, 1.0) / std::max(double(ordered.size()), 100.0);
    for (Chromosome *chromosome : ordered) {
        chromosome->start = m_end + gap / 2;
        m_end += chromosome->to - chromosome->from + gap;
    }
    return ordered;
}

BaseUnit baseUnitOf(double range)
{
    if (range >= 2e6)
        return {"Mb", 1e6};
    return range >= 2e3 ? BaseUnit{"kb", 1e3} : BaseUnit{"bp", 1};
}

}  // namespace plot
