// Every special function, public and internal, in both forms, gives the
// values, errors and reports recorded in data/bit_identity.txt, bit for bit,
// over samples that reach every branch (see tests/support/bit_identity.h).
#include <cmath>
#include <cstring>

#include "bit_identity.h"
#include "special/special.h"

namespace {

using bit_identity::Args;
using bit_identity::Random;
using bit_identity::Subject;

const double kEdges[] = {0,     -0.0, NAN,   INFINITY, -INFINITY, 1e308, -1e308, 0.5,    1,     2,     10,
                         -10.5, 9.99, 10.01, 171.6,    171.7,     -170.5, -171.5, -176.5, -185.5, 35,    36,
                         -0.5,  1e-30, -1e-30, 26.5,   -6.1,      6.1,    4.1,    -4.1,   1e-8,  -1e-8, 0.375};

// Shapes of the incomplete beta and gamma: finite and moderate, since the
// finite sums run trunc(q) and -a terms.
const double kShapeEdges[] = {0, -0.0, 0.5, 1, 2, 10, 9.99, 10.01, 1e-30, -1, 35, 171.6, 1e3};

// A value just off a negative integer.
double near_negative_integer(Random& r, int64_t lowest)
{
    const double integer = r.integer(lowest, -1);  // drawn first, whatever the compiler's order
    return integer + r.log_uniform(1e-15, 1e-3, true);
}

// n! as its integer's bits, so that the whole integer is compared.
double factorial_bits(int64_t value)
{
    double bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::vector<Subject> subjects()
{
    return {
        {"gamma",
         BIT_IDENTITY_PUBLIC1(gamma),
         {{4000, [](Random& r) { return Args{r.uniform(-12, 12)}; }},
          {3000, [](Random& r) { return Args{r.uniform(-200, 200)}; }},
          {1000, [](Random& r) { return Args{r.integer(-30, 180)}; }},
          {1000, [](Random& r) { return Args{near_negative_integer(r, -180)}; }},
          {1000, [](Random& r) { return Args{r.log_uniform(1e-310, 1e-5, true)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges)}; }}}},
        {"log_gamma",
         BIT_IDENTITY_PUBLIC1(log_gamma),
         {{4000, [](Random& r) { return Args{r.uniform(-15, 15)}; }},
          {3000, [](Random& r) { return Args{r.log_uniform(10, 1e307, true)}; }},
          {1000, [](Random& r) { return Args{r.integer(-50, 50)}; }},
          {1000, [](Random& r) { return Args{near_negative_integer(r, -100000)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges)}; }}}},
        {"gamma_incomplete",
         BIT_IDENTITY_PUBLIC2(gamma_incomplete),
         {{4000, [](Random& r) { return Args{r.uniform(-1, 30), r.uniform(-0.5, 40)}; }},
          {3000, [](Random& r) { return Args{r.log_uniform(1e-3, 1e3), r.log_uniform(1e-5, 1e4)}; }},
          {500, [](Random& r) { return Args{r.integer(-2, 20), r.pick(kEdges)}; }},
          {1000, [](Random& r) { const double a = r.uniform(0, 200); return Args{a, a * r.uniform(0.8, 1.2)}; }}}},
        {"beta",
         BIT_IDENTITY_PUBLIC2(beta),
         {{4000, [](Random& r) { return Args{r.uniform(-1, 50), r.uniform(-1, 50)}; }},
          {3000, [](Random& r) { return Args{r.log_uniform(1e-3, 1e4), r.log_uniform(1e-3, 1e4)}; }},
          {500, [](Random& r) { return Args{r.log_uniform(1e3, 1e300), r.log_uniform(1e3, 1e300)}; }},
          {500, [](Random& r) { return Args{r.integer(-2, 200), r.pick(kEdges)}; }}}},
        {"log_beta",
         BIT_IDENTITY_PUBLIC2(log_beta),
         {{4000, [](Random& r) { return Args{r.uniform(-1, 30), r.uniform(-1, 30)}; }},
          {3000, [](Random& r) { return Args{r.log_uniform(1e-3, 1e6), r.log_uniform(1e-3, 1e6)}; }},
          {500, [](Random& r) { return Args{r.pick(kEdges), r.pick(kEdges)}; }}}},
        {"beta_incomplete",
         BIT_IDENTITY_PUBLIC3(beta_incomplete),
         {{6000, [](Random& r) { return Args{r.uniform(-0.1, 1.1), r.log_uniform(1e-2, 200), r.log_uniform(1e-2, 200)}; }},
          {2000, [](Random& r) {
               const double x[] = {0, 1, 0.2, 0.8, 0.5, 1e-300, 1e-20, 1 - 1e-16};
               return Args{r.pick(x), r.log_uniform(1e-2, 200), r.log_uniform(1e-2, 200)};
           }},
          {2000, [](Random& r) { return Args{r.log_uniform(1e-12, 0.2), r.integer(1, 50), r.integer(1, 50)}; }},
          {1000, [](Random& r) { return Args{r.uniform(0, 1), r.log_uniform(1e2, 1e5), r.log_uniform(1e-3, 10)}; }},
          // Long finite sums, whose tails stop once no later term can move them.
          {1000, [](Random& r) { return Args{r.uniform(0, 1), r.log_uniform(10, 1e5), r.log_uniform(10, 1e5)}; }},
          {500, [](Random& r) { return Args{r.uniform(0, 1), r.pick(kShapeEdges), r.pick(kShapeEdges)}; }}}},
        {"erf",
         BIT_IDENTITY_PUBLIC1(erf),
         {{8000, [](Random& r) { return Args{r.uniform(-7, 7)}; }},
          {4000, [](Random& r) { return Args{r.log_uniform(1e-12, 40, true)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges)}; }}}},
        {"erfc",
         BIT_IDENTITY_PUBLIC1(erfc),
         {{8000, [](Random& r) { return Args{r.uniform(-7, 30)}; }},
          {4000, [](Random& r) { return Args{r.log_uniform(1e-12, 40, true)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges)}; }}}},
        {"erfc_inverse",
         BIT_IDENTITY_PUBLIC1(erfc_inverse),
         {{6000, [](Random& r) { return Args{r.uniform(-0.1, 2.1)}; }},
          {3000, [](Random& r) { return Args{r.log_uniform(1e-300, 0.25)}; }},
          {3000, [](Random& r) { return Args{2 - r.log_uniform(1e-16, 0.25)}; }},
          {300, [](Random& r) {
               const double x[] = {0, 2, 1, 0.25, 1.75, NAN, 1e-320, 2 - 0x1p-52, 0x1p-1074, 1.9999999, 1e-30};
               return Args{r.pick(x)};
           }}}},
        {"factorial",
         [](const Args& v) { return factorial_bits(orvls_f_factorial(int64_t(v[0]))); },
         [](const Args& v) { return factorial_bits(orvls_d_factorial(int64_t(v[0]))); },
         {{600, [](Random& r) { return Args{r.integer(-5, 200)}; }}}},
        {"binomial_coefficient",
         [](const Args& v) { return double(orvls_f_binomial_coefficient(int64_t(v[0]), int64_t(v[1]))); },
         [](const Args& v) { return orvls_d_binomial_coefficient(int64_t(v[0]), int64_t(v[1])); },
         {{3000, [](Random& r) { return Args{r.integer(0, 60), r.integer(0, 60)}; }},
          {3000, [](Random& r) { return Args{r.integer(0, 3000), r.integer(0, 40)}; }},
          {1000, [](Random& r) { return Args{std::floor(r.log_uniform(1e3, 1e15)), r.integer(0, 100)}; }},
          {300, [](Random& r) { return Args{r.integer(-3, 5), r.integer(-3, 5)}; }},
          {500, [](Random& r) { const double n = r.integer(1000, 100000); return Args{n, std::floor(n * r.uniform(0.3, 0.7))}; }}}},
        {"l_erfce",
         BIT_IDENTITY_INTERNAL(([&] {
             int64_t counts[3] = {0, 0, 0};
             return orvls::l_erfce(Real(v[0]), counts);
         }())),
         {{4000, [](Random& r) { return Args{r.uniform(-30, 30)}; }},
          {2000, [](Random& r) { return Args{r.log_uniform(1e-12, 1e300, true)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges)}; }}}},
        {"orvls_alnrel",
         BIT_IDENTITY_INTERNAL(orvls::orvls_alnrel(Real(v[0]))),
         {{3000, [](Random& r) { return Args{r.uniform(-1.5, 3)}; }},
          {1000, [](Random& r) { return Args{-1 + r.log_uniform(1e-20, 1e-3)}; }},
          {1000, [](Random& r) { return Args{r.log_uniform(1e-20, 1e10, true)}; }}}},
        {"l_alnrel",
         BIT_IDENTITY_INTERNAL(orvls::l_alnrel(Real(v[0]))),
         {{3000, [](Random& r) { return Args{r.uniform(-1.5, 3)}; }},
          {1000, [](Random& r) { return Args{-1 + r.log_uniform(1e-20, 1e-3)}; }},
          {1000, [](Random& r) { return Args{r.log_uniform(1e-20, 1e10, true)}; }}}},
        {"orvls_r9lgmc",
         BIT_IDENTITY_INTERNAL(orvls::orvls_r9lgmc(Real(v[0]))),
         {{3000, [](Random& r) { return Args{r.log_uniform(1, 1e308)}; }},
          {200, [](Random& r) { return Args{r.pick(kEdges)}; }}}},
        {"orvls_gamr",
         BIT_IDENTITY_INTERNAL(orvls::orvls_gamr(Real(v[0]))),
         {{3000, [](Random& r) { return Args{r.uniform(-30, 30)}; }},
          {500, [](Random& r) { return Args{r.integer(-20, 20)}; }},
          {500, [](Random& r) { return Args{r.log_uniform(10, 1e5, true)}; }},
          {200, [](Random& r) { return Args{r.pick(kEdges)}; }}}},
        {"l_gamit",
         BIT_IDENTITY_INTERNAL(orvls::l_gamit(Real(v[0]), Real(v[1]))),
         {{4000, [](Random& r) { return Args{r.uniform(-5, 30), r.uniform(-0.5, 40)}; }},
          {1000, [](Random& r) { return Args{r.integer(-5, 5), r.log_uniform(1e-5, 100)}; }},
          {500, [](Random& r) { return Args{r.pick(kShapeEdges), r.pick(kEdges)}; }}}},
    };
}

TEST(BitIdentity, SpecialFunctions) { bit_identity::check_family("special", subjects()); }

}  // namespace
