// The plain loops of the mixture fit, as a yardstick: the same report, with all triples or without.
//   literalmixfit REFERENCES SAMPLES K STEP REPORT yes|no
#include "modes/mixfit_literal.h"

#include <cstdlib>
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
    if (argc != 7)
        return 2;
    LiteralFit fit;
    fit.K = std::atoi(argv[3]);
    fit.step = float(std::atof(argv[4]));
    fit.combinatorics = argv[6] == std::string("yes");
    std::ofstream(argv[5], std::ios::binary) << fit.run(contentOf(argv[1]), contentOf(argv[2]));
}
