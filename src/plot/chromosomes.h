// The order of chromosomes, and their places side by side.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace plot {

// Without "chr" in front: "chr1" is shown as "1".
std::string_view shownChromosome(std::string_view name);

// Numbers in their order, then X, Y and the mitochondrial one, then all others in the order of their bytes.
bool isChromosomeBefore(std::string_view name1, std::string_view name2);

struct Place {
    double position, value;
};

// The markers of every chromosome: 16 bytes each.
class Genome {
public:
    void add(std::string_view chromosome, double position, double value);

    struct Chromosome {
        std::string name;
        std::deque<Place> markers;
        double from, to;   // least and largest position
        double start = 0;  // its place on the common axis
    };
    // In the order of the picture, with their places side by side. To be called once, when all markers are there.
    std::vector<Chromosome *> laidOut();
    double end() const { return m_end; }  // of the common axis
    size_t size() const { return m_size; }

private:
    std::map<std::string, Chromosome, std::less<>> m_chromosomes;
    Chromosome *m_last = nullptr;
    double m_end = 0;
    size_t m_size = 0;
};

// A unit of base pairs that suits a range: "Mb" and 1e6, "kb" and 1e3, or "bp" and 1.
struct BaseUnit {
    const char *name;
    double size;
};
BaseUnit baseUnitOf(double range);

}  // namespace plot
