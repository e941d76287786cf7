// Every distribution function and inverse, public and internal, in both
// forms, gives the values, errors and reports recorded in
// data/bit_identity.txt, bit for bit, over samples that reach every branch
// (see tests/support/bit_identity.h).
#include <cmath>

#include "bit_identity.h"
#include "special/distributions.h"

namespace {

using bit_identity::Args;
using bit_identity::Random;
using bit_identity::Subject;

const double kEdges[] = {0, -0.0, NAN, INFINITY, -INFINITY, 0.5, 1, 2, -1, 1e-300, 1e300, 20, 19, 65, 25, 4, 1e-12};
// Shapes and degrees of freedom: finite and moderate, since the incomplete
// beta's finite sum runs trunc(q) terms.
const double kShapeEdges[] = {0, -0.0, 0.5, 1, 2, -1, 1e-12, 20, 19, 65, 25, 4, 1e6};
const double kProbabilityEdges[] = {0, 1, 0.5, -0.1, 1.1, NAN, 1e-300, 0x1p-52, 1 - 0x1p-53, 0.5 + 0x1p-52, 0.5 - 0x1p-53};

// p spread over (0, 1), the tails on a log scale.
double probability(Random& r)
{
    switch (r.integer(0, 3) == 0 ? 0 : int(r.integer(1, 3))) {
    case 0:
        return r.pick(kProbabilityEdges);
    case 1:
        return r.uniform(-0.02, 1.02);
    case 2:
        return r.log_uniform(1e-14, 0.5);
    default:
        return 1 - r.log_uniform(1e-14, 0.5);
    }
}

std::vector<Subject> subjects()
{
    return {
        {"normal_cdf",
         BIT_IDENTITY_PUBLIC1(normal_cdf),
         {{6000, [](Random& r) { return Args{r.uniform(-40, 40)}; }},
          {2000, [](Random& r) { return Args{r.log_uniform(1e-10, 1e10, true)}; }},
          {200, [](Random& r) { return Args{r.pick(kEdges)}; }}}},
        {"normal_inverse_cdf",
         BIT_IDENTITY_PUBLIC1(normal_inverse_cdf),
         {{6000, [](Random& r) { return Args{probability(r)}; }}}},
        {"l_anorin",
         BIT_IDENTITY_INTERNAL(([&] {
             Real x;
             orvls::l_anorin(Real(v[0]), &x);
             return x;
         }())),
         {{6000, [](Random& r) { return Args{probability(r)}; }}}},
        {"bivariate_normal_cdf",
         BIT_IDENTITY_PUBLIC3(bivariate_normal_cdf),
         {{4000, [](Random& r) { return Args{r.uniform(-6, 6), r.uniform(-6, 6), r.uniform(-1.05, 1.05)}; }},
          {1000, [](Random& r) {
               const double rho[] = {-1, 1, 0, 0.5, -0.5, 0.99999, -0.99999};
               return Args{r.pick(kEdges), r.uniform(-3, 3), r.pick(rho)};
           }},
          {1000, [](Random& r) {
               return Args{r.log_uniform(1e-5, 40, true), r.log_uniform(1e-5, 40, true), r.uniform(-0.999, 0.999)};
           }}}},
        {"l_owen_t",
         BIT_IDENTITY_INTERNAL(orvls::l_owen_t(Real(v[0]), Real(v[1]))),
         {{6000, [](Random& r) { return Args{r.uniform(-8, 8), r.uniform(-3, 3)}; }},
          {3000, [](Random& r) { return Args{r.log_uniform(1e-4, 20, true), r.log_uniform(1e-4, 1e4, true)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges), r.pick(kEdges)}; }}}},
        {"t_cdf",
         BIT_IDENTITY_PUBLIC2(t_cdf),
         {{4000, [](Random& r) { return Args{r.uniform(-10, 10), r.integer(1, 25)}; }},
          {3000, [](Random& r) { return Args{r.log_uniform(1e-3, 1e4, true), r.log_uniform(0.5, 1e6)}; }},
          {500, [](Random& r) { return Args{r.pick(kEdges), r.pick(kShapeEdges)}; }}}},
        {"t_inverse",
         BIT_IDENTITY_PUBLIC2(t_inverse),
         {{2000, [](Random& r) { return Args{probability(r), r.integer(1, 30)}; }},
          {2000, [](Random& r) { return Args{probability(r), r.log_uniform(0.8, 1e4)}; }},
          {500, [](Random& r) { return Args{probability(r), r.uniform(1, 2)}; }},
          {300, [](Random& r) {
               const double df[] = {1, 2, 1 + 0x1p-52, 2 - 0x1p-52, 1 + 1e-9, 2 + 1e-9, 0.5, NAN, 3, 5, 4.99};
               return Args{probability(r), r.pick(df)};
           }}}},
        {"chi_squared_cdf",
         BIT_IDENTITY_PUBLIC2(chi_squared_cdf),
         {{5000, [](Random& r) { return Args{r.uniform(-1, 300), r.log_uniform(0.3, 300)}; }},
          {2000, [](Random& r) { return Args{r.log_uniform(1e-14, 1e4), r.uniform(0.3, 100)}; }},
          {500, [](Random& r) { return Args{r.uniform(0, 2), r.uniform(25, 66)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges), r.pick(kShapeEdges)}; }}}},
        {"chi_squared_inverse_cdf",
         BIT_IDENTITY_PUBLIC2(chi_squared_inverse_cdf),
         {{3000, [](Random& r) { return Args{probability(r), r.log_uniform(0.3, 500)}; }},
          {200, [](Random& r) { return Args{probability(r), r.pick(kShapeEdges)}; }}}},
        {"F_cdf",
         BIT_IDENTITY_PUBLIC3(F_cdf),
         {{5000, [](Random& r) { return Args{r.uniform(-1, 30), r.log_uniform(0.05, 500), r.log_uniform(0.05, 500)}; }},
          {500, [](Random& r) { return Args{r.pick(kEdges), r.pick(kShapeEdges), r.uniform(0, 10)}; }}}},
        {"F_inverse_cdf",
         BIT_IDENTITY_PUBLIC3(F_inverse_cdf),
         {{3000, [](Random& r) { return Args{probability(r), r.log_uniform(0.1, 300), r.log_uniform(0.1, 300)}; }},
          {200, [](Random& r) { return Args{probability(r), r.pick(kShapeEdges), r.pick(kShapeEdges)}; }}}},
        {"gamma_cdf",
         BIT_IDENTITY_PUBLIC2(gamma_cdf),
         {{5000, [](Random& r) { return Args{r.uniform(-1, 200), r.log_uniform(1e-2, 300)}; }},
          {1000, [](Random& r) { return Args{r.log_uniform(1e-10, 1e40), r.log_uniform(1e-3, 1e6)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges), r.pick(kEdges)}; }}}},
        {"gamma_inverse_cdf",
         BIT_IDENTITY_PUBLIC2(gamma_inverse_cdf),
         {{3000, [](Random& r) { return Args{probability(r), r.log_uniform(0.01, 1000)}; }},
          {200, [](Random& r) {
               const double a[] = {0, -1, 1, 1e300, 1e37, 1e-300, NAN, 3e305, 0.5};
               return Args{probability(r), r.pick(a)};
           }}}},
        {"beta_cdf",
         BIT_IDENTITY_PUBLIC3(beta_cdf),
         {{5000, [](Random& r) { return Args{r.uniform(-0.1, 1.1), r.log_uniform(0.05, 200), r.log_uniform(0.05, 200)}; }},
          {300, [](Random& r) { return Args{r.pick(kEdges), r.pick(kShapeEdges), r.pick(kShapeEdges)}; }}}},
        {"beta_inverse_cdf",
         BIT_IDENTITY_PUBLIC3(beta_inverse_cdf),
         {{2000, [](Random& r) { return Args{probability(r), r.log_uniform(0.05, 200), r.log_uniform(0.05, 200)}; }},
          {1000, [](Random& r) { return Args{probability(r), r.uniform(1, 20), r.uniform(1, 20)}; }},
          {200, [](Random& r) { return Args{probability(r), r.pick(kShapeEdges), r.pick(kShapeEdges)}; }}}},
        {"orvls_dbetin",
         BIT_IDENTITY_INTERNAL(orvls::orvls_dbetin(Real(v[0]), Real(v[1]), Real(v[2]))),
         {{1000, [](Random& r) { return Args{probability(r), r.log_uniform(0.05, 200), r.log_uniform(0.05, 200)}; }}}},
    };
}

TEST(BitIdentity, Distributions) { bit_identity::check_family("distributions", subjects()); }

}  // namespace
