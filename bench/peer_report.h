// What the benchmarks against peer libraries share: OpenBLAS held to one
// thread on the kernels of the processor's family, and a reporter that adds
// to the usual table, for each of our runs, each peer's time on the same
// operation and size over ours.
#pragma once

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace peer_report {

inline const char* const kOpenBlasPath = "/usr/lib/x86_64-linux-gnu/openblas-pthread/libopenblas.so.0";

// One thread, and the kernel family the instruction set matches: OpenBLAS
// may not recognise a virtual processor and fall back to old kernels (a
// caller's setting stands).  Call before OpenBLAS is opened.
inline void prepare_openblas()
{
    setenv("OPENBLAS_NUM_THREADS", "1", 1);
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f"))
        setenv("OPENBLAS_CORETYPE", "SkylakeX", 0);
    else if (__builtin_cpu_supports("avx2"))
        setenv("OPENBLAS_CORETYPE", "Haswell", 0);
}

// Opens OpenBLAS by its path and says which kernels it took; null, with a
// note, when it is not installed.
inline void* open_openblas()
{
    void* handle = dlopen(kOpenBlasPath, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        std::fprintf(stderr, "OpenBLAS not available: %s\n", dlerror());
        return nullptr;
    }
    if (auto core = reinterpret_cast<const char* (*)()>(dlsym(handle, "openblas_get_corename")))
        std::printf("OpenBLAS core: %s\n", core());
    return handle;
}

// Benchmark names are "<operation>/<implementation>/<size>", ours being
// "orvls"; an operation "dgemm[avx2]" of ours is compared with the peers'
// "dgemm".
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter(std::vector<std::string> peers, const char* unit)
        : peers_(std::move(peers)), unit_(unit) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (!run.error_occurred)
                times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\nCPU time in %s; peer time / orvls time (above 1: orvls faster)\n", unit_);
        for (const auto& [name, time] : times_) {
            const auto first = name.find('/');
            const auto second = name.find('/', first + 1);
            if (first == std::string::npos || second == std::string::npos ||
                name.compare(first + 1, second - first - 1, "orvls") != 0)
                continue;
            const std::string operation = name.substr(0, first);
            const std::string size = name.substr(second + 1);
            const std::string peer_operation = operation.substr(0, operation.find('['));
            std::printf("%-16s %-14s orvls %10.4g", operation.c_str(), size.c_str(), time);
            for (const std::string& peer : peers_) {
                const auto other = times_.find(peer_operation + "/" + peer + "/" + size);
                if (other != times_.end())
                    std::printf("  %s %10.4g (%.2f)", peer.c_str(), other->second, other->second / time);
            }
            std::printf("\n");
        }
    }

private:
    std::vector<std::string> peers_;
    const char* unit_;
    std::map<std::string, double> times_;
};

}  // namespace peer_report
