// The least-squares fit of n rows on p regressors and an intercept: ours
// (row updates by modified rotations, the caller's rows read where they
// stand) beside GSL's gsl_multifit_linear and LAPACK's dgels (Householder
// QR) on OpenBLAS with one thread.  dgels overwrites its matrix, so each of
// its runs starts from a fresh column-major copy, made outside the timing.
// Times are reported in ns per row; the table at the end gives each peer's
// time over ours.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <gsl/gsl_multifit.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "orvls.h"
#include "peer_report.h"

namespace {

using Dgels = void (*)(const char*, const int*, const int*, const int*, double*, const int*, double*, const int*,
                       double*, const int*, int*, size_t);
Dgels dgels = nullptr;

// n rows of p regressors, row-major, and y = 1 + sum of j x_j + noise.
struct Problem {
    int64_t n = 0, p = 0;
    std::vector<double> x, y;
};

const Problem& problem(int64_t n, int64_t p)
{
    static std::map<std::pair<int64_t, int64_t>, Problem> cache;
    Problem& d = cache[{n, p}];
    if (d.n == 0) {
        std::mt19937_64 engine(20313);
        std::normal_distribution<double> normal(0.0, 1.0);
        d.n = n;
        d.p = p;
        d.x.resize(size_t(n * p));
        d.y.resize(size_t(n));
        for (int64_t i = 0; i < n; ++i) {
            double v = 1;
            for (int64_t j = 0; j < p; ++j) {
                d.x[size_t(i * p + j)] = normal(engine);
                v += double(j + 1) * d.x[size_t(i * p + j)];
            }
            d.y[size_t(i)] = v + 0.1 * normal(engine);
        }
    }
    return d;
}

void per_row(benchmark::State& state, int64_t n)
{
    const auto flags = benchmark::Counter::Flags(benchmark::Counter::kIsIterationInvariantRate |
                                                 benchmark::Counter::kInvert);
    state.counters["ns_per_row"] = benchmark::Counter(double(n) * 1e-9, flags);
}

void bench_orvls(benchmark::State& state)
{
    const Problem& d = problem(state.range(0), state.range(1));
    std::vector<double> x = d.x, y = d.y;
    for (auto _ : state) {
        double* b = orvls_d_regression(d.n, d.p, x.data(), y.data(), 0);
        benchmark::DoNotOptimize(b);
        std::free(b);
    }
    per_row(state, d.n);
}

void bench_gsl(benchmark::State& state)
{
    const Problem& d = problem(state.range(0), state.range(1));
    const size_t n = size_t(d.n), p = size_t(d.p) + 1;
    gsl_matrix* x = gsl_matrix_alloc(n, p);
    gsl_vector* y = gsl_vector_alloc(n);
    gsl_vector* c = gsl_vector_alloc(p);
    gsl_matrix* cov = gsl_matrix_alloc(p, p);
    gsl_multifit_linear_workspace* work = gsl_multifit_linear_alloc(n, p);
    for (size_t i = 0; i < n; ++i) {
        gsl_matrix_set(x, i, 0, 1.0);
        for (size_t j = 1; j < p; ++j)
            gsl_matrix_set(x, i, j, d.x[i * (p - 1) + j - 1]);
        gsl_vector_set(y, i, d.y[i]);
    }
    double chisq = 0;
    for (auto _ : state) {
        gsl_multifit_linear(x, y, c, cov, &chisq, work);
        benchmark::DoNotOptimize(chisq);
    }
    gsl_multifit_linear_free(work);
    gsl_matrix_free(cov);
    gsl_vector_free(c);
    gsl_vector_free(y);
    gsl_matrix_free(x);
    per_row(state, d.n);
}

void bench_dgels(benchmark::State& state)
{
    const Problem& d = problem(state.range(0), state.range(1));
    const int n = int(d.n), p = int(d.p) + 1, one = 1;
    std::vector<double> a(static_cast<size_t>(n) * static_cast<size_t>(p)), b(static_cast<size_t>(n));
    double size_query = 0;
    int lwork = -1, info = 0;
    dgels("N", &n, &p, &one, a.data(), &n, b.data(), &n, &size_query, &lwork, &info, 1);
    lwork = int(size_query);
    std::vector<double> work(static_cast<size_t>(lwork));
    for (auto _ : state) {
        state.PauseTiming();
        for (int i = 0; i < n; ++i) {
            a[size_t(i)] = 1;
            for (int j = 1; j < p; ++j)
                a[size_t(i) + size_t(j) * size_t(n)] = d.x[size_t(i) * size_t(p - 1) + size_t(j - 1)];
            b[size_t(i)] = d.y[size_t(i)];
        }
        state.ResumeTiming();
        dgels("N", &n, &p, &one, a.data(), &n, b.data(), &n, work.data(), &lwork, &info, 1);
        benchmark::DoNotOptimize(b.data());
    }
    per_row(state, d.n);
}

void sizes(benchmark::internal::Benchmark* b)
{
    for (int64_t p : {5, 20, 50})
        for (int64_t n : {10000, 100000, 1000000})
            b->Args({n, p});
    b->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv)
{
    peer_report::prepare_openblas();
    benchmark::Initialize(&argc, argv);
    orvls_skip_signal_handler();
    sizes(benchmark::RegisterBenchmark("regression/orvls", bench_orvls));
    sizes(benchmark::RegisterBenchmark("regression/gsl", bench_gsl));
    if (void* handle = peer_report::open_openblas())
        dgels = reinterpret_cast<Dgels>(dlsym(handle, "dgels_"));
    if (dgels != nullptr)
        sizes(benchmark::RegisterBenchmark("regression/dgels", bench_dgels));
    peer_report::RatioReporter reporter({"gsl", "dgels"}, "ms");
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
