// The simple statistics of a tall and a wide double matrix, on the plain
// path (transposed in place, one kernel pass) and the weighted path (one row
// per kernel call), beside a plain two-pass mean and variance over the same
// data and GSL's mean, variance, skewness and kurtosis per column.  Each
// reports the extra peak resident memory of one call, as a multiple of the
// data's size.
#include <benchmark/benchmark.h>
#include <gsl/gsl_statistics_double.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "orvls.h"

namespace {

struct Data {
    int64_t rows, columns;
    std::vector<double> x, weights;
};

const Data& data(int64_t rows, int64_t columns)
{
    static Data tall{0, 0, {}, {}}, wide{0, 0, {}, {}};
    Data& d = columns <= 10 ? tall : wide;
    if (d.rows == 0) {
        std::mt19937_64 engine(20207);
        std::normal_distribution<double> normal(3.0, 2.0);
        std::uniform_real_distribution<double> uniform(0.5, 2.0);
        d.rows = rows;
        d.columns = columns;
        d.x.resize(static_cast<size_t>(rows * columns));
        for (double& v : d.x)
            v = normal(engine);
        d.weights.resize(static_cast<size_t>(rows));
        for (double& w : d.weights)
            w = uniform(engine);
    }
    return d;
}

// Resident kilobytes: the current size, or the peak since the last reset.
long resident_kb(const char* field)
{
    FILE* status = std::fopen("/proc/self/status", "r");
    char line[256];
    long kb = 0;
    while (status != nullptr && std::fgets(line, sizeof line, status) != nullptr)
        if (std::strncmp(line, field, std::strlen(field)) == 0)
            std::sscanf(line + std::strlen(field), "%ld", &kb);
    if (status != nullptr)
        std::fclose(status);
    return kb;
}

// Runs f once and records its extra peak resident memory relative to the data.
template <class F>
void record_peak(benchmark::State& state, const Data& d, F f)
{
    FILE* clear = std::fopen("/proc/self/clear_refs", "w");
    if (clear != nullptr) {
        std::fputs("5", clear);  // resets the peak to the current size
        std::fclose(clear);
    }
    const long before = resident_kb("VmRSS:");
    f();
    const double data_kb = static_cast<double>(d.x.size() * sizeof(double)) / 1024;
    state.counters["peak_extra_per_data"] = static_cast<double>(resident_kb("VmHWM:") - before) / data_kb;
}

void plain(benchmark::State& state)
{
    Data d = data(state.range(0), state.range(1));
    auto call = [&] { orvls_free_allocated_memory(orvls_d_simple_statistics(d.rows, d.columns, d.x.data(), 0)); };
    for (auto _ : state)
        call();
    record_peak(state, d, call);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(d.x.size() * sizeof(double)));
}

void weighted(benchmark::State& state)
{
    Data d = data(state.range(0), state.range(1));
    auto call = [&] {
        orvls_free_allocated_memory(
            orvls_d_simple_statistics(d.rows, d.columns, d.x.data(), ORVLS_WEIGHTS, d.weights.data(), 0));
    };
    for (auto _ : state)
        call();
    record_peak(state, d, call);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(d.x.size() * sizeof(double)));
}

// Mean and variance of every column in two passes over the row-major data.
void two_pass(benchmark::State& state)
{
    const Data& d = data(state.range(0), state.range(1));
    std::vector<double> mean(static_cast<size_t>(d.columns)), variance(static_cast<size_t>(d.columns));
    auto run = [&] {
        std::fill(mean.begin(), mean.end(), 0.0);
        std::fill(variance.begin(), variance.end(), 0.0);
        for (int64_t i = 0; i < d.rows; ++i)
            for (int64_t j = 0; j < d.columns; ++j)
                mean[j] += d.x[i * d.columns + j];
        for (double& m : mean)
            m /= static_cast<double>(d.rows);
        for (int64_t i = 0; i < d.rows; ++i)
            for (int64_t j = 0; j < d.columns; ++j) {
                const double e = d.x[i * d.columns + j] - mean[j];
                variance[j] += e * e;
            }
        for (double& v : variance)
            v /= static_cast<double>(d.rows - 1);
        benchmark::DoNotOptimize(variance.data());
    };
    for (auto _ : state)
        run();
    record_peak(state, d, run);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(d.x.size() * sizeof(double)));
}

void gsl_moments(benchmark::State& state)
{
    const Data& d = data(state.range(0), state.range(1));
    std::vector<double> out(static_cast<size_t>(4 * d.columns));
    auto run = [&] {
        for (int64_t j = 0; j < d.columns; ++j) {
            const double* column = d.x.data() + j;
            const size_t stride = static_cast<size_t>(d.columns), n = static_cast<size_t>(d.rows);
            const double mean = gsl_stats_mean(column, stride, n);
            const double variance = gsl_stats_variance_m(column, stride, n, mean);
            const double sd = std::sqrt(variance);
            out[4 * j] = mean;
            out[4 * j + 1] = variance;
            out[4 * j + 2] = gsl_stats_skew_m_sd(column, stride, n, mean, sd);
            out[4 * j + 3] = gsl_stats_kurtosis_m_sd(column, stride, n, mean, sd);
        }
        benchmark::DoNotOptimize(out.data());
    };
    for (auto _ : state)
        run();
    record_peak(state, d, run);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(d.x.size() * sizeof(double)));
}

void shapes(benchmark::internal::Benchmark* b)
{
    b->Args({1000000, 10})->Args({100000, 100})->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(plain)->Apply(shapes);
BENCHMARK(weighted)->Apply(shapes);
BENCHMARK(two_pass)->Apply(shapes);
BENCHMARK(gsl_moments)->Apply(shapes);
BENCHMARK_MAIN();
