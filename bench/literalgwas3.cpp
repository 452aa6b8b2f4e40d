// The plain loop of the fast association scan, as a yardstick: same options, same results.
//   literalgwas3 PHENOTYPES GENOTYPES HITS
#include "support/scanmodel.h"

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
    PlainScan scan;
    scan.run(contentOf(argv[1]), contentOf(argv[2]));
    std::ofstream(argv[3], std::ios::binary) << scan.hits;
    std::ofstream(std::string(argv[3]) + ".stats", std::ios::binary) << scan.statistics;
    return scan.error.empty() ? 0 : 1;
}
