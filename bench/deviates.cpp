// Deviates per second for the normal, exponential, gamma, beta, binomial
// and Poisson laws: the library's double forms (generator option 1, and the
// 64-bit twister, option 9) beside the standard library's twister with its
// distributions, GSL's samplers on its twister and R's standalone math
// library.  Each fills a block of 10000 deviates; the counters give deviates
// per second.
#include <benchmark/benchmark.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <random>
#include <vector>

#define MATHLIB_STANDALONE
#include <Rmath.h>

#include "orvls.h"

namespace {

constexpr int64_t kBlock = 10000;

template <class T>
void report(benchmark::State& state, const std::vector<T>& out)
{
    benchmark::DoNotOptimize(out.data());
    state.SetItemsProcessed(state.iterations() * kBlock);
}

// The library, under generator option `range(0)`, filling with `fill`.
template <class T, class Fill>
void library(benchmark::State& state, Fill fill)
{
    orvls_skip_signal_handler();
    orvls_random_option(state.range(0));
    orvls_random_seed_set(123457);
    std::vector<T> out(kBlock);
    for (auto _ : state)
        fill(out.data());
    report(state, out);
}

template <class Distribution>
void standard(benchmark::State& state, Distribution distribution)
{
    std::mt19937 engine(123457);
    std::vector<typename Distribution::result_type> out(kBlock);
    for (auto _ : state)
        for (auto& v : out)
            v = distribution(engine);
    report(state, out);
}

template <class T, class Sample>
void gsl(benchmark::State& state, Sample sample)
{
    gsl_rng* engine = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(engine, 123457);
    std::vector<T> out(kBlock);
    for (auto _ : state)
        for (auto& v : out)
            v = sample(engine);
    report(state, out);
    gsl_rng_free(engine);
}

template <class T, class Sample>
void r_mathlib(benchmark::State& state, Sample sample)
{
    set_seed(123457, 654321);
    std::vector<T> out(kBlock);
    for (auto _ : state)
        for (auto& v : out)
            v = static_cast<T>(sample());
    report(state, out);
}

// Benchmark names cannot carry template arguments.
template <class Fill>
void library_real(benchmark::State& state, Fill fill)
{
    library<double>(state, fill);
}
template <class Fill>
void library_integer(benchmark::State& state, Fill fill)
{
    library<int64_t>(state, fill);
}
template <class Sample>
void gsl_real(benchmark::State& state, Sample sample)
{
    gsl<double>(state, sample);
}
template <class Sample>
void gsl_integer(benchmark::State& state, Sample sample)
{
    gsl<int64_t>(state, sample);
}
template <class Sample>
void r_real(benchmark::State& state, Sample sample)
{
    r_mathlib<double>(state, sample);
}
template <class Sample>
void r_integer(benchmark::State& state, Sample sample)
{
    r_mathlib<int64_t>(state, sample);
}

#define LIBRARY(name, kind, T, call) \
    BENCHMARK_CAPTURE(library_##kind, name, [](T* r) { call; })->Arg(1)->Arg(9)

// ---- Normal ----
LIBRARY(normal_inverse, real, double, orvls_d_random_normal(kBlock, ORVLS_RETURN_USER, r, 0));
LIBRARY(normal_composition, real, double,
        orvls_d_random_normal(kBlock, ORVLS_RETURN_USER, r, ORVLS_ACCEPT_REJECT_METHOD, 0));
BENCHMARK_CAPTURE(standard, normal, std::normal_distribution<double>());
BENCHMARK_CAPTURE(gsl_real, normal, [](gsl_rng* g) { return gsl_ran_gaussian(g, 1.0); });
BENCHMARK_CAPTURE(gsl_real, normal_ziggurat, [](gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1.0); });
BENCHMARK_CAPTURE(r_real, normal, [] { return norm_rand(); });

// ---- Exponential ----
LIBRARY(exponential, real, double, orvls_d_random_exponential(kBlock, ORVLS_RETURN_USER, r, 0));
BENCHMARK_CAPTURE(standard, exponential, std::exponential_distribution<double>());
BENCHMARK_CAPTURE(gsl_real, exponential, [](gsl_rng* g) { return gsl_ran_exponential(g, 1.0); });
BENCHMARK_CAPTURE(r_real, exponential, [] { return exp_rand(); });

// ---- Gamma: below 1 and above 1 ----
LIBRARY(gamma_0_3, real, double, orvls_d_random_gamma(kBlock, 0.3, ORVLS_RETURN_USER, r, 0));
LIBRARY(gamma_4_5, real, double, orvls_d_random_gamma(kBlock, 4.5, ORVLS_RETURN_USER, r, 0));
BENCHMARK_CAPTURE(standard, gamma_0_3, std::gamma_distribution<double>(0.3));
BENCHMARK_CAPTURE(standard, gamma_4_5, std::gamma_distribution<double>(4.5));
BENCHMARK_CAPTURE(gsl_real, gamma_0_3, [](gsl_rng* g) { return gsl_ran_gamma(g, 0.3, 1.0); });
BENCHMARK_CAPTURE(gsl_real, gamma_4_5, [](gsl_rng* g) { return gsl_ran_gamma(g, 4.5, 1.0); });
BENCHMARK_CAPTURE(r_real, gamma_0_3, [] { return rgamma(0.3, 1.0); });
BENCHMARK_CAPTURE(r_real, gamma_4_5, [] { return rgamma(4.5, 1.0); });

// ---- Beta: both below 1, both above 1 ----
LIBRARY(beta_0_5_0_7, real, double, orvls_d_random_beta(kBlock, 0.5, 0.7, ORVLS_RETURN_USER, r, 0));
LIBRARY(beta_2_5, real, double, orvls_d_random_beta(kBlock, 2.0, 5.0, ORVLS_RETURN_USER, r, 0));
BENCHMARK_CAPTURE(gsl_real, beta_0_5_0_7, [](gsl_rng* g) { return gsl_ran_beta(g, 0.5, 0.7); });
BENCHMARK_CAPTURE(gsl_real, beta_2_5, [](gsl_rng* g) { return gsl_ran_beta(g, 2.0, 5.0); });
BENCHMARK_CAPTURE(r_real, beta_0_5_0_7, [] { return rbeta(0.5, 0.7); });
BENCHMARK_CAPTURE(r_real, beta_2_5, [] { return rbeta(2.0, 5.0); });

// ---- Binomial: inversion (n p = 5) and the envelope (n p = 300) ----
LIBRARY(binomial_50_0_1, integer, int64_t, orvls_d_random_binomial(kBlock, 50, 0.1, ORVLS_RETURN_USER, r, 0));
LIBRARY(binomial_1000_0_3, integer, int64_t, orvls_d_random_binomial(kBlock, 1000, 0.3, ORVLS_RETURN_USER, r, 0));
BENCHMARK_CAPTURE(standard, binomial_50_0_1, std::binomial_distribution<int64_t>(50, 0.1));
BENCHMARK_CAPTURE(standard, binomial_1000_0_3, std::binomial_distribution<int64_t>(1000, 0.3));
BENCHMARK_CAPTURE(gsl_integer, binomial_50_0_1, [](gsl_rng* g) { return gsl_ran_binomial(g, 0.1, 50); });
BENCHMARK_CAPTURE(gsl_integer, binomial_1000_0_3, [](gsl_rng* g) { return gsl_ran_binomial(g, 0.3, 1000); });
BENCHMARK_CAPTURE(r_integer, binomial_50_0_1, [] { return rbinom(50, 0.1); });
BENCHMARK_CAPTURE(r_integer, binomial_1000_0_3, [] { return rbinom(1000, 0.3); });

// ---- Poisson: inversion (5) and the envelope (200) ----
LIBRARY(poisson_5, integer, int64_t, orvls_random_poisson(kBlock, 5.0f, ORVLS_RETURN_USER, r, 0));
LIBRARY(poisson_200, integer, int64_t, orvls_random_poisson(kBlock, 200.0f, ORVLS_RETURN_USER, r, 0));
BENCHMARK_CAPTURE(standard, poisson_5, std::poisson_distribution<int64_t>(5.0));
BENCHMARK_CAPTURE(standard, poisson_200, std::poisson_distribution<int64_t>(200.0));
BENCHMARK_CAPTURE(gsl_integer, poisson_5, [](gsl_rng* g) { return gsl_ran_poisson(g, 5.0); });
BENCHMARK_CAPTURE(gsl_integer, poisson_200, [](gsl_rng* g) { return gsl_ran_poisson(g, 200.0); });
BENCHMARK_CAPTURE(r_integer, poisson_5, [] { return rpois(5.0); });
BENCHMARK_CAPTURE(r_integer, poisson_200, [] { return rpois(200.0); });

}  // namespace

BENCHMARK_MAIN();
