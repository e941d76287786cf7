// The kernels against the reference BLAS and OpenBLAS (one thread), all in
// one process: both peers are opened by full path so that their symbols do
// not meet.  Level-1 figures are in bytes per second, dgemm in flops per
// second; the table at the end gives each peer's time over ours.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kernels/gemm.h"
#include "orvls.h"
#include "peer_report.h"

namespace {

// The peers' Fortran entries (32-bit integers, text lengths at the end).
struct Peer {
    const char* name;
    const char* path;
    double (*ddot)(const int*, const double*, const int*, const double*, const int*);
    void (*dscal)(const int*, const double*, double*, const int*);
    void (*dgemv)(const char*, const int*, const int*, const double*, const double*, const int*, const double*,
                  const int*, const double*, double*, const int*, size_t);
    void (*dgemm)(const char*, const char*, const int*, const int*, const int*, const double*, const double*,
                  const int*, const double*, const int*, const double*, double*, const int*, size_t, size_t);
};

Peer peers[] = {
    {"reference", "/usr/lib/x86_64-linux-gnu/blas/libblas.so.3", nullptr, nullptr, nullptr, nullptr},
    {"openblas", peer_report::kOpenBlasPath, nullptr, nullptr, nullptr, nullptr},
};

bool open_peer(Peer& peer)
{
    void* handle = dlopen(peer.path, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        std::fprintf(stderr, "%s not available: %s\n", peer.name, dlerror());
        return false;
    }
    peer.ddot = reinterpret_cast<decltype(peer.ddot)>(dlsym(handle, "ddot_"));
    peer.dscal = reinterpret_cast<decltype(peer.dscal)>(dlsym(handle, "dscal_"));
    peer.dgemv = reinterpret_cast<decltype(peer.dgemv)>(dlsym(handle, "dgemv_"));
    peer.dgemm = reinterpret_cast<decltype(peer.dgemm)>(dlsym(handle, "dgemm_"));
    return peer.ddot && peer.dscal && peer.dgemv && peer.dgemm;
}

std::vector<double> random_vector(size_t n)
{
    std::mt19937_64 engine(42);
    std::uniform_real_distribution<double> uniform(-1, 1);
    std::vector<double> v(n);
    for (double& e : v)
        e = uniform(engine);
    return v;
}

constexpr int64_t kLongVector = int64_t(1) << 24;

// peer == nullptr runs ours.
void bench_ddot(benchmark::State& state, const Peer* peer)
{
    const int n = int(state.range(0));
    const int one = 1;
    const auto x = random_vector(n), y = random_vector(n);
    for (auto _ : state)
        benchmark::DoNotOptimize(peer ? peer->ddot(&n, x.data(), &one, y.data(), &one)
                                      : orvls_ddot(n, x.data(), 1, y.data(), 1));
    state.SetBytesProcessed(state.iterations() * int64_t(n) * 16);
}

void bench_dscal(benchmark::State& state, const Peer* peer)
{
    const int n = int(state.range(0));
    const int one = 1;
    const double a = 1.0000001;
    auto x = random_vector(n);
    for (auto _ : state) {
        if (peer)
            peer->dscal(&n, &a, x.data(), &one);
        else
            orvls_dscal(n, a, x.data(), 1);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(n) * 16);
}

void bench_dgemv(benchmark::State& state, const Peer* peer, const char* trans)
{
    const int n = int(state.range(0));
    const int64_t n64 = n, one64 = 1;
    const int one = 1;
    const double alpha = 1.5, beta = 0.5;
    const auto a = random_vector(size_t(n) * n), x = random_vector(n);
    auto y = random_vector(n);
    for (auto _ : state) {
        if (peer)
            peer->dgemv(trans, &n, &n, &alpha, a.data(), &n, x.data(), &one, &beta, y.data(), &one, 1);
        else
            orvls_dgemv(trans, &n64, &n64, &alpha, a.data(), &n64, x.data(), &one64, &beta, y.data(), &one64, 1);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(n) * n * 8);
}

void bench_dgemm(benchmark::State& state, const Peer* peer)
{
    const int n = int(state.range(0));
    const int64_t n64 = n;
    const double alpha = 1.0, beta = 0.5;
    const auto a = random_vector(size_t(n) * n), b = random_vector(size_t(n) * n);
    auto c = random_vector(size_t(n) * n);
    for (auto _ : state) {
        if (peer)
            peer->dgemm("N", "N", &n, &n, &n, &alpha, a.data(), &n, b.data(), &n, &beta, c.data(), &n, 1, 1);
        else
            orvls_dgemm("N", "N", &n64, &n64, &n64, &alpha, a.data(), &n64, b.data(), &n64, &beta, c.data(), &n64,
                        1, 1);
        benchmark::ClobberMemory();
    }
    state.counters["flops"] =
        benchmark::Counter(2.0 * n * n * n, benchmark::Counter::kIsIterationInvariantRate, benchmark::Counter::kIs1000);
}

// The blocked product on one micro-kernel, as on a processor whose widest set it is.
void bench_dgemm_on(benchmark::State& state, orvls::kernels::InstructionSet set)
{
    const int64_t n = state.range(0);
    const auto a = random_vector(size_t(n) * n), b = random_vector(size_t(n) * n);
    auto c = random_vector(size_t(n) * n);
    for (auto _ : state) {
        orvls::kernels::blocked_product(set, n, n, n, 1.0, a.data(), n, false, b.data(), n, false, c.data(), n);
        benchmark::ClobberMemory();
    }
    state.counters["flops"] =
        benchmark::Counter(2.0 * n * n * n, benchmark::Counter::kIsIterationInvariantRate, benchmark::Counter::kIs1000);
}

void register_all(const char* implementation, const Peer* peer)
{
    const std::string tag = std::string("/") + implementation;
    benchmark::RegisterBenchmark(("ddot" + tag).c_str(), bench_ddot, peer)->Arg(kLongVector);
    benchmark::RegisterBenchmark(("dscal" + tag).c_str(), bench_dscal, peer)->Arg(kLongVector);
    benchmark::RegisterBenchmark(("dgemv_N" + tag).c_str(), bench_dgemv, peer, "N")->Arg(2000);
    benchmark::RegisterBenchmark(("dgemv_T" + tag).c_str(), bench_dgemv, peer, "T")->Arg(2000);
    benchmark::RegisterBenchmark(("dgemm" + tag).c_str(), bench_dgemm, peer)->Arg(100)->Arg(250)->Arg(500);
}

}  // namespace

int main(int argc, char** argv)
{
    peer_report::prepare_openblas();
    benchmark::Initialize(&argc, argv);
    register_all("orvls", nullptr);
    using orvls::kernels::InstructionSet;
    const std::pair<const char*, InstructionSet> sets[] = {
        {"dgemm[baseline]/orvls", InstructionSet::baseline},
        {"dgemm[avx2]/orvls", InstructionSet::avx2},
        {"dgemm[avx512]/orvls", InstructionSet::avx512}};
    for (const auto& [name, set] : sets)
        if (orvls::kernels::processor_supports(set))
            benchmark::RegisterBenchmark(name, bench_dgemm_on, set)->Arg(500);
    for (Peer& peer : peers)
        if (open_peer(peer))
            register_all(peer.name, &peer);
    // OpenBLAS picks its kernels by processor; say which it took.
    peer_report::open_openblas();
    peer_report::RatioReporter reporter({"reference", "openblas"}, "ns");
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
