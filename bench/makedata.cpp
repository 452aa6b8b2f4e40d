// Makes benchmark data: genotype triplets as imputation programs write them, and phenotypes.
//   makedata triplets INDIVIDUALS MARKERS > FILE
//   makedata phenotypes INDIVIDUALS PHENOTYPES > FILE
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

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

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    const unsigned individuals = unsigned(std::atoi(argv[2]));
    const unsigned lines = unsigned(std::atoi(argv[3]));
    if (std::strcmp(argv[1], "triplets") == 0)
        makeTriplets(individuals, lines);
    else
        makePhenotypes(individuals, lines);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
