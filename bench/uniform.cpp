// Uniform deviates per second: each generator option of the library beside
// the standard library's twister with its conversion to a double, GSL's
// twister and R's standalone uniform generator.  Each fills a block of
// 10000 doubles; the counters give deviates per second.
#include <benchmark/benchmark.h>
#include <gsl/gsl_rng.h>

#include <random>
#include <vector>

#define MATHLIB_STANDALONE
#include <Rmath.h>

#include "orvls.h"

namespace {

constexpr int64_t kBlock = 10000;

void report(benchmark::State& state, const std::vector<double>& out)
{
    benchmark::DoNotOptimize(out.data());
    state.SetItemsProcessed(state.iterations() * kBlock);
}

void orvls_option(benchmark::State& state)
{
    orvls_skip_signal_handler();
    orvls_random_option(state.range(0));
    orvls_random_seed_set(123457);
    std::vector<double> out(kBlock);
    for (auto _ : state)
        orvls_d_random_uniform(kBlock, ORVLS_RETURN_USER, out.data(), 0);
    report(state, out);
}
BENCHMARK(orvls_option)->DenseRange(1, 9);

void std_mt19937(benchmark::State& state)
{
    std::mt19937 engine(123457);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::vector<double> out(kBlock);
    for (auto _ : state)
        for (double& v : out)
            v = uniform(engine);
    report(state, out);
}
BENCHMARK(std_mt19937);

void gsl_mt19937(benchmark::State& state)
{
    gsl_rng* engine = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(engine, 123457);
    std::vector<double> out(kBlock);
    for (auto _ : state)
        for (double& v : out)
            v = gsl_rng_uniform(engine);
    report(state, out);
    gsl_rng_free(engine);
}
BENCHMARK(gsl_mt19937);

void r_unif_rand(benchmark::State& state)
{
    set_seed(123457, 654321);  // the standalone library's default generator
    std::vector<double> out(kBlock);
    for (auto _ : state)
        for (double& v : out)
            v = unif_rand();
    report(state, out);
}
BENCHMARK(r_unif_rand);

}  // namespace

BENCHMARK_MAIN();
