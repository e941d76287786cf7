// One forward and backward pass of the trainer's evaluator (the error
// gradient over every observation) for two fully linked networks, 10-100-1
// and 50-200-10, over 10^5 observations, beside the library's own dgemm on
// the same machine: square products, and the products of one layer over all
// observations, which is the work a batched forward pass would hand to it.
// A pass costs 6 flops per link and observation (a multiply-add forward, a
// multiply-add into the gradient and one into the back signal backward).
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "neural/evaluator.h"
#include "orvls.h"

namespace {

constexpr int64_t kObservations = 100000;

struct Setup {
    orvls_d_ff_net* net;
    std::vector<double> x, y, w, g;
    Setup(int inputs, int hidden, int outputs)
    {
        net = orvls_d_mlff_network_init(inputs, outputs);
        orvls_d_mlff_network(net, ORVLS_CREATE_HIDDEN_LAYER, hidden, 0);
        orvls_d_mlff_network(net, ORVLS_LINK_ALL, 0);
        x.resize(kObservations * inputs);
        y.resize(kObservations * outputs);
        for (size_t i = 0; i < x.size(); ++i)
            x[i] = std::sin(0.37 * double(i));
        for (size_t i = 0; i < y.size(); ++i)
            y[i] = std::cos(0.11 * double(i));
        w.resize(net->n_links + hidden + outputs);
        for (size_t i = 0; i < w.size(); ++i)
            w[i] = 0.1 * std::sin(1.7 * double(i));
        g.resize(w.size());
    }
    ~Setup() { orvls_d_mlff_network_free(net); }
};

void pass(benchmark::State& state)
{
    const int inputs = int(state.range(0)), hidden = int(state.range(1)), outputs = int(state.range(2));
    Setup s(inputs, hidden, outputs);
    orvls::neural::Observations<double> data;
    data.n_observations = kObservations;
    data.n_continuous = data.continuous_col_dim = inputs;
    data.continuous = s.x.data();
    data.output = s.y.data();
    orvls::neural::FlatNetwork flat(*s.net);
    orvls::neural::flatten<double>(*s.net, flat);
    orvls::neural::Evaluator<double> evaluator(flat, data);
    if (!evaluator.ready()) {
        state.SkipWithError("no memory");
        return;
    }
    for (auto _ : state) {
        evaluator.gradient(s.w.data(), s.g.data());
        benchmark::DoNotOptimize(s.g.data());
    }
    const double flops = 6.0 * double(s.net->n_links) * double(kObservations);
    state.counters["GFLOPS"] =
        benchmark::Counter(flops * double(state.iterations()) / 1e9, benchmark::Counter::kIsRate);
}

// C (m x n) := A (m x k) B (k x n), column-major.
void dgemm(benchmark::State& state)
{
    const int64_t m = state.range(0), n = state.range(1), k = state.range(2);
    std::vector<double> a(m * k), b(k * n), c(m * n);
    for (size_t i = 0; i < a.size(); ++i)
        a[i] = std::sin(double(i));
    for (size_t i = 0; i < b.size(); ++i)
        b[i] = std::cos(double(i));
    const double one = 1, zero = 0;
    for (auto _ : state) {
        orvls_dgemm("N", "N", &m, &n, &k, &one, a.data(), &m, b.data(), &k, &zero, c.data(), &m, 1, 1);
        benchmark::DoNotOptimize(c.data());
    }
    state.counters["GFLOPS"] =
        benchmark::Counter(2.0 * double(m * n * k) * double(state.iterations()) / 1e9, benchmark::Counter::kIsRate);
}

}  // namespace

BENCHMARK(pass)->Args({10, 100, 1})->Args({50, 200, 10})->Unit(benchmark::kMillisecond)->MinTime(2);
BENCHMARK(dgemm)
    ->Args({1000, 1000, 1000})
    ->Args({kObservations, 100, 10})
    ->Args({kObservations, 200, 50})
    ->Args({kObservations, 10, 200})
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2);
BENCHMARK_MAIN();
