// Makes benchmark data: genotype triplets as imputation programs write them, phenotypes, pairs of relatives and
// weights for them, tables of results.
//   makedata triplets INDIVIDUALS MARKERS > FILE
//   makedata phenotypes INDIVIDUALS PHENOTYPES > FILE
//   makedata pairs INDIVIDUALS PAIRS > FILE
//   makedata allpairs INDIVIDUALS 0 > FILE
//   makedata weights INDIVIDUALS LISTED > FILE
//   makedata results CHROMOSOMES MARKERS > FILE     association results with peaks
//   makedata map SPACING ENTRIES > FILE             genetic map
//   makedata directions STUDIES MARKERS > FILE      meta-analysis results, the directions last
//   makedata values COLUMNS ROWS > FILE
//   makedata cases COLUMNS ROWS > FILE              individuals half a deviation above those of a pool in each column
//   makedata pool COLUMNS ROWS > FILE
#include <cmath>
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

// Every pair of so many individuals, as relatedness programs write them: first identifiers in runs. One in 200 is related.
static void makeAllPairs(unsigned individuals, unsigned)
{
    for (unsigned i = 0; i < individuals; ++i) {
        for (unsigned k = i + 1; k < individuals; ++k)
            std::printf("ID%u\tID%u\t0.%04u\n", i + 100000, k + 100000, below(200) == 0 ? 4420 + below(600) : below(400));
    }
}

static void makeWeights(unsigned individuals, unsigned listed)
{
    for (unsigned i = 0; i < listed; ++i)
        std::printf("ID%u\t0.%05u\n", nameOf(below(individuals), individuals), below(100000));
}

// chromosome, marker, position, alleles, frequency, effect, error and p-value in columns 1 to 9.
static void makeResults(unsigned chromosomes, unsigned markers)
{
    const unsigned step = unsigned(280e6 * chromosomes / markers) + 1;  // 140 million base pairs a chromosome
    for (unsigned marker = 0, position = 0, chromosome = 1; marker < markers; ++marker) {
        position += below(step);
        if (marker == uint64_t(markers) * chromosome / chromosomes) {
            ++chromosome;
            position = 10000;
        }
        // A peak every 20 million base pairs, 100,000 wide.
        const double distance = (double(position % 20000000) - 10000000) / 50000;
        const double uniform = double(1 + below(1000000)) / 1e6;
        const double pValue = uniform * std::pow(10, -12 * std::exp(-distance * distance));
        std::printf("%u\trs%u\t%u\tA\tG\t0.%04u\t%s0.0%03u\t0.0%03u\t%.4g\n", chromosome, marker, position,
                    below(10000), below(2) ? "-" : "", below(1000), below(1000), pValue);
    }
}

static void makeMap(unsigned spacing, unsigned entries)
{
    std::printf("position COMBINED_rate(cM/Mb) Genetic_Map(cM)\n");
    double cM = 0;
    for (unsigned entry = 0; entry < entries; ++entry) {
        const unsigned rate = below(300);
        std::printf("%u %u.%02u %.10g\n", entry * spacing, rate / 100, rate % 100, cM);
        cM += rate / 1e8 * spacing;
    }
}

static void makeDirections(unsigned studies, unsigned markers)
{
    std::string directions(studies, '+');
    for (unsigned marker = 1; marker <= markers; ++marker) {
        for (char &study : directions)
            study = below(20) ? "+-"[below(2)] : '?';
        std::printf("rs%u\tA\tG\t0.%04u", marker, below(10000));
        for (int column = 5; column <= 14; ++column)
            std::printf("\t0.%06u", below(1000000));
        std::printf("\t%u\t%u\t%s\n", studies, 1000 * studies, directions.c_str());
    }
}

static void makeValues(unsigned columns, unsigned rows)
{
    std::normal_distribution<double> normal(0, 1);
    for (unsigned row = 0; row < rows; ++row) {
        for (unsigned column = 1; column <= columns; ++column)
            std::printf("%.6f%c", normal(generator), column < columns ? '\t' : '\n');
    }
}

static void makePeople(const char *name, double mean, unsigned columns, unsigned rows)
{
    std::normal_distribution<double> normal(mean, 1);
    for (unsigned row = 1; row <= rows; ++row) {
        std::printf("%s%u", name, row);
        for (unsigned column = 0; column < columns; ++column)
            std::printf("\t%.5f", normal(generator));
        std::printf("\n");
    }
}

static void makeCases(unsigned columns, unsigned rows)
{
    generator.seed(17);  // not the beginning of the pool
    makePeople("case", 0.5, columns, rows);
}

static void makePool(unsigned columns, unsigned rows)
{
    makePeople("control", 0, columns, rows);
}

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    static const struct {
        const char *name;
        void (*make)(unsigned, unsigned);
    } makers[] = {{"triplets", makeTriplets},     {"phenotypes", makePhenotypes},
                  {"pairs", makePairs}, {"allpairs", makeAllPairs},           {"weights", makeWeights},
                  {"results", makeResults},       {"map", makeMap},
                  {"directions", makeDirections}, {"values", makeValues},
                  {"cases", makeCases},           {"pool", makePool}};
    for (const auto &maker : makers) {
        if (std::strcmp(argv[1], maker.name) == 0)
            maker.make(unsigned(std::atoi(argv[2])), unsigned(std::atoi(argv[3])));
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
