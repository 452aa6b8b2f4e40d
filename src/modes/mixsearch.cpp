#include "modes/mixsearch.h"

#include <cmath>
#include <cstdlib>

float **myTable = nullptr;
std::vector<float> testValues;
int cols = 0, rows = 0;
float minP = 9999, P1 = -9, P2 = -9, P3 = -9;

bool allocateTable(int values, int populations)
{
    const size_t height = size_t(values) + 1, width = size_t(populations) + 2;
    myTable = static_cast<float **>(std::calloc(height, sizeof *myTable));
    float *floats = static_cast<float *>(std::calloc(height, width * sizeof *floats));
    if (!myTable || !floats) {
        std::free(floats);
        std::free(myTable);
        myTable = nullptr;
        return false;
    }
    for (size_t j = 0; j < height; ++j)
        myTable[j] = floats + j * width;
    cols = values;
    rows = populations;
    return true;
}

void releaseTable()
{
    if (myTable)
        std::free(myTable[0]);
    std::free(myTable);
    myTable = nullptr;
}

int gridStep(float step)
{
    const double thousandths = double(step) * 1000.0;
    return thousandths >= 1 && thousandths < 2147483648.0 ? int(thousandths) : 0;
}

void combMatrix(int one, int two, int three, float step)
{
    minP = 9999;
    P1 = P2 = P3 = -9;
    const int64_t intstep = gridStep(step);
    for (int64_t n = 0; n <= intstep + 999; n += intstep) {
        for (int64_t nn = 0; nn <= intstep + 999; nn += intstep) {
            const int64_t nnn = 1000 - n - nn;
            if (nnn < 0)
                continue;
            const float a = float(double(n) / 1000.0), b = float(double(nn) / 1000.0), c = float(double(nnn) / 1000.0);
            float score = 0;
            for (int j = 0; j < cols; ++j) {
                score += std::abs(myTable[j][three] * c + myTable[j][two] * b + myTable[j][one] * a
                                  - testValues[size_t(j)]);
            }
            if (score < minP) {
                minP = score;
                P1 = a;
                P2 = b;
                P3 = c;
            }
        }
    }
}

void combMatrix2(int one, int two, float step)
{
    minP = 9999;
    P1 = P2 = -9;
    P3 = 0;
    const int64_t intstep = gridStep(step);
    for (int64_t n = 0; n <= intstep + 999; n += intstep) {
        const int64_t m = 1000 - n;
        if (m < 0)
            continue;
        const float a = float(double(n) / 1000.0), b = float(double(m) / 1000.0);
        float score = 0;
        for (int j = 0; j < cols; ++j)
            score += std::abs(myTable[j][two] * b + myTable[j][one] * a - testValues[size_t(j)]);
        if (score < minP) {
            minP = score;
            P1 = a;
            P2 = b;
        }
    }
}

void combMatrix1(int one, float)
{
    minP = 9999;
    P1 = -9;
    P2 = P3 = 0;
    float score = 0;
    for (int j = 0; j < cols; ++j)
        score += std::abs(myTable[j][one] - testValues[size_t(j)]);
    if (score < 9999) {
        minP = score;
        P1 = 1;
    }
}

void scanPair(int population, int base, std::span<const float> ks, float *distances)
{
    for (const float k : ks) {
        float distance = 0;
        for (int j = 0; j < cols; ++j) {
            distance += std::abs(k * myTable[j][population] + (1 - k) * myTable[j][base]
                                 - testValues[size_t(j)]);
        }
        *distances++ = distance;
    }
}

BestTriple searchTriples(float step)
{
    BestTriple best;
    for (int p = 0; p < rows; ++p) {
        for (int q = p + 1; q < rows; ++q) {
            for (int r = q + 1; r < rows; ++r) {
                combMatrix(p, q, r, step);
                if (minP < best.score)
                    best = {{p, q, r}, {P1, P2, P3}, minP};
            }
        }
    }
    return best;
}
