// Makes benchmark data: genotype triplets as imputation programs write them, phenotypes, pairs of relatives, and
// weights for them.
//   makedata triplets INDIVIDUALS MARKERS > FILE
//   makedata phenotypes INDIVIDUALS PHENOTYPES > FILE
//   makedata pairs INDIVIDUALS PAIRS > FILE
//   makedata weights INDIVIDUALS LISTED > FILE
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

static std::mt19937_64 generator(20240229);

static unsigned below(unsigned limit)
{
    return unsigned(generator() % limit);
}

// A number of thousandths with 0 to 3 decimals.
static void append(std::string &line, unsigned thousandths)
{
    char text[8];
    int size = std::snprintf(text, sizeof text, "%u.%03u", thousandths / 1000, thousandths % 1000);
    while (text[size - 1] == '0')
        --size;
    if (text[size - 1] == '.')
        --size;
    line.append(text, size_t(size));
    line += ' ';
}

// Most genotypes are certain; the uncertain ones share 1 among two or three classes.
static void makeTriplets(unsigned individuals, unsigned markers)
{
    std::string line;
    for (unsigned marker = 1; marker <= markers; ++marker) {
        line = "1 rs" + std::to_string(marker) + " " + std::to_string(marker * 977) + " A G ";
        const unsigned frequency = 50 + below(900);  // of the second variant, in thousandths
        const unsigned uncertain = below(400);       // genotypes, in thousandths
        for (unsigned i = 0; i < individuals; ++i) {
            const unsigned variants = (below(1000) < frequency) + (below(1000) < frequency);
            unsigned share[3] = {0, 0, 0};
            share[variants] = 1000;
            if (below(1000) < uncertain) {
                share[variants] = 500 + below(500);
                const unsigned rest = 1000 - share[variants];
                const unsigned part = below(2) ? rest : below(rest + 1);
                share[(variants + 1) % 3] = part;
                share[(variants + 2) % 3] = rest - part;
            }
            for (const unsigned value : share)
                append(line, value);
        }
        line.back() = '\n';
        std::fwrite(line.data(), 1, line.size(), stdout);
    }
}

static void makePhenotypes(unsigned individuals, unsigned phenotypes)
{
    std::normal_distribution<double> normal(10, 2);
    for (unsigned phenotype = 1; phenotype <= phenotypes; ++phenotype) {
        std::printf("trait%u", phenotype);
        for (unsigned i = 0; i < individuals; ++i) {
            if (below(50) == 0)
                std::printf(" NA");
            else
                std::printf(" %.3f", normal(generator));
        }
        std::printf("\n");
    }
}

// An individual's name, without the order of the families in it.
static unsigned nameOf(unsigned individual, unsigned individuals)
{
    return 1000000 + unsigned(uint64_t(individual) * 7368787 % individuals);
}

// For each 100,000 pairs a cluster of 200 to 300 individuals in which every second pair is related; then families of 2
// to 6 in which 7 of 10 are, as long as there are individuals. In random order.
static void makePairs(unsigned individuals, unsigned pairs)
{
    std::vector<std::pair<unsigned, unsigned>> table;
    const auto relate = [&](unsigned first, unsigned size, unsigned ofTen) {
        for (unsigned i = first; i < first + size; ++i) {
            for (unsigned k = i + 1; k < first + size; ++k) {
                if (table.size() < pairs && below(10) < ofTen)
                    table.emplace_back(i, k);
            }
        }
    };
    unsigned first = 0;
    for (unsigned cluster = 0; cluster < pairs / 100000; ++cluster) {
        const unsigned size = 200 + below(101);
        relate(first, size, 5);
        first += size;
    }
    while (first + 6 <= individuals) {
        const unsigned size = 2 + below(5);
        relate(first, size, 7);
        first += size;
    }
    for (unsigned i = unsigned(table.size()); i > 1; --i)
        std::swap(table[i - 1], table[below(i)]);
    for (const auto &[one, other] : table)
        std::printf("ID%u\tID%u\t0.%04u\n", nameOf(one, individuals), nameOf(other, individuals), 442 + below(4600));
}

static void makeWeights(unsigned individuals, unsigned listed)
{
    for (unsigned i = 0; i < listed; ++i)
        std::printf("ID%u\t0.%05u\n", nameOf(below(individuals), individuals), below(100000));
}

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    const unsigned individuals = unsigned(std::atoi(argv[2]));
    const unsigned lines = unsigned(std::atoi(argv[3]));
    if (std::strcmp(argv[1], "triplets") == 0)
        makeTriplets(individuals, lines);
    else if (std::strcmp(argv[1], "pairs") == 0)
        makePairs(individuals, lines);
    else if (std::strcmp(argv[1], "weights") == 0)
        makeWeights(individuals, lines);
    else
        makePhenotypes(individuals, lines);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
