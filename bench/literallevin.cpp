// The plain loop of the correlation scan, as a yardstick.
//   literallevin TABLE > CORRELATIONS
#include "modes/levin_literal.h"

#include <cstdio>

int main(int argc, char **argv)
{
    std::FILE *file = argc == 2 ? std::fopen(argv[1], "r") : nullptr;
    if (!file)
        return 2;
    std::vector<double> x, y;
    for (double a, b; std::fscanf(file, "%lf %lf", &a, &b) == 2;) {
        x.push_back(a);
        y.push_back(b);
    }
    for (const double correlation : literalCorrelations(x, y))
        std::printf("%.6g\n", correlation);
}
