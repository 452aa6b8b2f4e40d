#include "scans/pvalues.h"

#include <algorithm>
#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <cmath>
#include <limits>

// No error is thrown: what overflows is infinite, what underflows is 0.
template <bool isPromoted>
using Policy
    = boost::math::policies::policy<boost::math::policies::domain_error<boost::math::policies::ignore_error>,
                                    boost::math::policies::overflow_error<boost::math::policies::ignore_error>,
                                    boost::math::policies::underflow_error<boost::math::policies::ignore_error>,
                                    boost::math::policies::denorm_error<boost::math::policies::ignore_error>,
                                    boost::math::policies::evaluation_error<boost::math::policies::ignore_error>,
                                    boost::math::policies::pole_error<boost::math::policies::ignore_error>,
                                    boost::math::policies::promote_double<isPromoted>>;
using Quiet = Policy<true>;

// Extended precision, which Boost uses for doubles as well, keeps the digits independent of the variants that the C
// library has for different processors.
using Student = boost::math::students_t_distribution<long double, Quiet>;
using Normal = boost::math::normal_distribution<long double, Quiet>;

template <class Distribution>
static double twoSided(const Distribution &distribution, double t)
{
    return std::isnan(t) ? t : std::isinf(t) ? 0 : double(2 * cdf(complement(distribution, t)));
}

template <class Distribution>
static double leastPassing(const Distribution &distribution, double p)
{
    if (!(p < 1))
        return p >= 1 ? 0 : p;
    return p > 0 ? double(quantile(complement(distribution, p / 2.0L))) : std::numeric_limits<double>::infinity();
}

double studentP(double t, double degreesOfFreedom)
{
    return twoSided(Student(degreesOfFreedom), t);
}

// p falls with t to the power of 1 + t^2 at most, as that of the normal distribution, and of the degrees of freedom.
// Very small ones have fewer digits than others.
NearP studentPNearly(double t, double degreesOfFreedom, double error)
{
    const double p = twoSided(boost::math::students_t_distribution<double, Policy<false>>(degreesOfFreedom), t);
    const double ofP = 1e-11 + 1.1 * error * (1 + std::min(t * t, degreesOfFreedom));
    return {p, p > 1e-290 ? ofP : std::numeric_limits<double>::infinity()};
}

double normalP(double z)
{
    return twoSided(Normal(), z);
}

double studentT(double p, double degreesOfFreedom)
{
    return leastPassing(Student(degreesOfFreedom), p);
}

double normalZ(double p)
{
    return leastPassing(Normal(), p);
}

double normalQuantile(double p)
{
    return double(quantile(Normal(), p));
}

double rankQuantile(size_t i, size_t n, double probability)
{
    const boost::math::beta_distribution<long double, Quiet> distribution(double(i), double(n - i + 1));
    return double(quantile(distribution, probability));
}
