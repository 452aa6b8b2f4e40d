#include "numbers/natural.h"

double naturalLogarithm(double x)
{
    return natural::logarithm<uint64_t>(x);
}

double logarithmOfOnePlus(double y)
{
    return natural::logarithmOfOnePlus<uint64_t>(y);
}

double powerLessOne(double x)
{
    return natural::powerLessOne<uint64_t>(x);
}
