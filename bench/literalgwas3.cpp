// The plain loop of the fast association scan, as a yardstick: same options, same results.
//   literalgwas3 PHENOTYPES GENOTYPES HITS
#include "modes/gwas3_literal.h"

#include <fstream>
#include <sstream>

static std::string contentOf(const char *name)
{
    std::ostringstream bytes;
    bytes << std::ifstream(name, std::ios::binary).rdbuf();
    return bytes.str();
}

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    LiteralScan scan;
    scan.run(contentOf(argv[1]), contentOf(argv[2]));
    std::ofstream(argv[3], std::ios::binary) << scan.hits;
    std::ofstream(std::string(argv[3]) + ".stats", std::ios::binary) << scan.statistics;
    return scan.status;
}
