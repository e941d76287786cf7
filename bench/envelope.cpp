// The cost of a public call's envelope (push, test, pop) around a trivial
// worker, on the direct path (trapping off) and the guarded path (trapping
// on, the default).  Compare each with the bare worker.
#include <benchmark/benchmark.h>

#include "frame/envelope.h"

namespace {

__attribute__((noinline)) double worker(double x) { return x * 1.000001 + 0.5; }

void bare_worker(benchmark::State& state)
{
    double x = 1.0;
    for (auto _ : state) {
        x = worker(x);
        benchmark::DoNotOptimize(x);
    }
}

void envelope_direct(benchmark::State& state)
{
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0);
    double x = 1.0;
    for (auto _ : state) {
        x = orvls::envelope<double>("orvls_bench_routine", 0.0, [x] { return worker(x); });
        benchmark::DoNotOptimize(x);
    }
}

void envelope_guarded(benchmark::State& state)
{
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_ON, 0);
    double x = 1.0;
    for (auto _ : state) {
        x = orvls::envelope<double>("orvls_bench_routine", 0.0, [x] { return worker(x); });
        benchmark::DoNotOptimize(x);
    }
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0);
}

// A guarded call made from inside another: the handlers are in place already.
void envelope_guarded_nested(benchmark::State& state)
{
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_ON, 0);
    orvls::envelope("orvls_bench_outer", [&] {
        double x = 1.0;
        for (auto _ : state) {
            x = orvls::envelope<double>("orvls_bench_routine", 0.0, [x] { return worker(x); });
            benchmark::DoNotOptimize(x);
        }
    });
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0);
}

BENCHMARK(bare_worker);
BENCHMARK(envelope_direct);
BENCHMARK(envelope_guarded);
BENCHMARK(envelope_guarded_nested);

}  // namespace

BENCHMARK_MAIN();
