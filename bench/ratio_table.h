// The table the special-function and distribution benchmarks print: per
// function, the library's entry with trapping off and on, the floor (its
// prescribed arithmetic alone, bench/floors.h) and each peer, all on the
// same inputs in one run; then the ratios of the entry to the fastest peer
// and to the floor, and of the guarded call to the direct one.  With
// --benchmark_repetitions=N each time is the least of the N.
#pragma once

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "orvls.h"

namespace ratio_table {

using Args = std::array<double, 3>;
using Function = double (*)(const Args&);

struct Peer {
    const char* name;
    Function call;
};

struct Case {
    const char* name;
    std::vector<Args> inputs;
    Function orvls;
    Function floor;  // null when the function has none
    std::vector<Peer> peers;
};

inline void run(benchmark::State& state, const Case* c, Function function, bool guarded)
{
    orvls_error_options(guarded ? ORVLS_SIGNAL_TRAPPING_ON : ORVLS_SIGNAL_TRAPPING_OFF, 0);
    for (auto _ : state)
        for (const Args& x : c->inputs)
            benchmark::DoNotOptimize(function(x));
    state.SetItemsProcessed(state.iterations() * int64_t(c->inputs.size()));
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0);
}

// Inputs on which the floor and the entry differ in their bits (NaNs alike).
inline int floor_differences(const Case& c)
{
    int differing = 0;
    for (const Args& x : c.inputs) {
        const double ours = c.orvls(x), floor = c.floor(x);
        differing += !(std::isnan(ours) && std::isnan(floor)) && std::memcmp(&ours, &floor, sizeof ours) != 0;
    }
    return differing;
}

class Reporter : public benchmark::ConsoleReporter {
public:
    explicit Reporter(const std::vector<Case>* cases) : cases_(cases) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration)
                continue;
            const double per_call = run.GetAdjustedCPUTime() / double(inputs_of(run.run_name.function_name));
            auto [at, fresh] = ns_.emplace(run.run_name.function_name, per_call);
            if (!fresh)
                at->second = std::fmin(at->second, per_call);
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\nns per call (CPU); ratios of the library's direct call\n");
        std::printf("%-22s %8s %8s %8s %8s %-6s %8s %8s %8s %6s\n", "function", "orvls", "guarded", "floor", "peer",
                    "(name)", "/peer", "/floor", "guarded", "floor=");
        // The floors' own geometric mean over the peers is the least the
        // library's could reach with the prescribed arithmetic.
        double log_sum = 0, floor_log_sum = 0, worst_peer = 0, worst_floor = 0, worst_guard = 0;
        int counted = 0, floors_counted = 0;
        for (const Case& c : *cases_) {
            const std::string name = c.name;
            const double ours = ns(name + "/orvls"), guarded = ns(name + "/orvls_guarded"), floor = ns(name + "/floor");
            double peer = NAN;
            const char* peer_name = "-";
            for (const Peer& p : c.peers)
                if (const double t = ns(name + "/" + p.name); !(t >= peer)) {
                    peer = t;
                    peer_name = p.name;
                }
            const double to_peer = ours / peer, to_floor = ours / floor, guard = guarded / ours;
            if (to_peer > 0) {
                log_sum += std::log(to_peer);
                ++counted;
                worst_peer = std::fmax(worst_peer, to_peer);
            }
            if (floor / peer > 0) {
                floor_log_sum += std::log(floor / peer);
                ++floors_counted;
            }
            worst_floor = std::fmax(worst_floor, to_floor);
            worst_guard = std::fmax(worst_guard, guard);
            std::printf("%-22s %8.1f %8.1f %8.1f %8.1f %-6s %8.2f %8.2f %8.2f %6s\n", c.name, ours, guarded, floor, peer,
                        peer_name, to_peer, to_floor, guard,
                        c.floor == nullptr ? "-" : floor_differences(c) == 0 ? "bits" : "DIFF");
        }
        std::printf("geometric mean over the fastest peer %.2f (%d functions); largest %.2f; "
                    "largest over the floor %.2f; largest guarded over direct %.2f\n",
                    counted > 0 ? std::exp(log_sum / counted) : NAN, counted, worst_peer, worst_floor, worst_guard);
        std::printf("geometric mean of the floors over the fastest peer %.2f (%d functions)\n",
                    floors_counted > 0 ? std::exp(floor_log_sum / floors_counted) : NAN, floors_counted);
    }

private:
    double ns(const std::string& name) const
    {
        const auto found = ns_.find(name);
        return found == ns_.end() ? NAN : found->second;
    }
    std::size_t inputs_of(const std::string& benchmark) const
    {
        for (const Case& c : *cases_)
            if (benchmark.rfind(std::string(c.name) + "/", 0) == 0)
                return c.inputs.size();
        return 1;
    }
    const std::vector<Case>* cases_;
    std::map<std::string, double> ns_;
};

// Registers the entry (direct and guarded), the floor and the peers of every
// case, runs them and prints the table.
inline int main(int argc, char** argv, const std::vector<Case>& cases)
{
    benchmark::Initialize(&argc, argv);
    // Some inputs end with a warning (a Newton search that does not settle
    // in its rounds).  Warnings are still raised; writing each to the error
    // stream would time the terminal, not the function.
    orvls_error_options(ORVLS_SET_PRINT, ORVLS_WARNING, 0, 0);
    for (const Case& c : cases) {
        const std::string name = c.name;
        benchmark::RegisterBenchmark((name + "/orvls").c_str(), run, &c, c.orvls, false);
        benchmark::RegisterBenchmark((name + "/orvls_guarded").c_str(), run, &c, c.orvls, true);
        if (c.floor != nullptr)
            benchmark::RegisterBenchmark((name + "/floor").c_str(), run, &c, c.floor, false);
        for (const Peer& p : c.peers)
            benchmark::RegisterBenchmark((name + "/" + p.name).c_str(), run, &c, p.call, false);
    }
    Reporter reporter(&cases);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

}  // namespace ratio_table
