// Analysis of variance on 10^6 observations, beside a peer written here
// that forms the same sums in the plain way ("plain"), in the same run; the
// time is given per observation, and the end of the run prints each
// layout's ratio of the peer's time to ours.
//
// One-way: anova_oneway (two compensated passes, the 15-value table and its
// F probability) against two plain passes over each group (sums, means,
// squared deviations within and between), at 10, 100 and 1000 groups.  The
// probability of F, an incomplete beta function at half the error degrees
// of freedom (about 5e5 here), can cost more than the sums; "plain_p" adds
// it to the peer through the library's own incomplete beta function, so
// that the sums can be told apart.  Further layouts join by adding a Layout
// to kLayouts with its functions.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "orvls.h"
#include "peer_report.h"

namespace {

constexpr int64_t kObservations = 1000000;

struct Data {
    std::vector<int64_t> n;
    std::vector<double> y;
};

// n_groups groups of equal size with means a little apart.
const Data& data(int64_t n_groups)
{
    static std::map<int64_t, Data> cache;
    Data& d = cache[n_groups];
    if (d.y.empty()) {
        std::mt19937_64 engine(20520);
        std::normal_distribution<double> normal(0, 1);
        d.n.assign(static_cast<size_t>(n_groups), kObservations / n_groups);
        for (int64_t g = 0; g < n_groups; ++g)
            for (int64_t j = 0; j < d.n[size_t(g)]; ++j)
                d.y.push_back(100 + 0.01 * double(g) + normal(engine));
    }
    return d;
}

double ours_oneway(const Data& d)
{
    return orvls_d_anova_oneway(int64_t(d.n.size()), d.n.data(), d.y.data(), 0);
}

// The peer: the between and within sums of squares and F by two plain passes.
double plain_oneway(const Data& d)
{
    const size_t k = d.n.size();
    std::vector<double> mean(k);
    double total = 0;
    const double* group = d.y.data();
    for (size_t i = 0; i < k; group += d.n[i], ++i) {
        double sum = 0;
        for (int64_t j = 0; j < d.n[i]; ++j)
            sum += group[j];
        total += sum;
        mean[i] = sum / double(d.n[i]);
    }
    const double grand = total / double(d.y.size());
    double between = 0, within = 0;
    group = d.y.data();
    for (size_t i = 0; i < k; group += d.n[i], ++i) {
        for (int64_t j = 0; j < d.n[i]; ++j)
            within += (group[j] - mean[i]) * (group[j] - mean[i]);
        between += double(d.n[i]) * (mean[i] - grand) * (mean[i] - grand);
    }
    return (between / double(k - 1)) / (within / double(d.y.size() - k));
}

// A layout: its operation name, its size (the number of groups) and the
// two ways of analysing it.
// The peer's F with its probability.
double plain_oneway_probability(const Data& d)
{
    const double dfr = double(d.n.size() - 1), dfe = double(d.y.size() - d.n.size());
    const double f = plain_oneway(d);
    return orvls_d_beta_incomplete(dfe / (dfe + dfr * f), dfe / 2, dfr / 2);
}

using Analysis = double (*)(const Data&);

struct Layout {
    const char* name;
    int64_t groups;
    Analysis ours, peer, peer_probability;
};

const Layout kLayouts[] = {
    {"oneway", 10, ours_oneway, plain_oneway, plain_oneway_probability},
    {"oneway", 100, ours_oneway, plain_oneway, plain_oneway_probability},
    {"oneway", 1000, ours_oneway, plain_oneway, plain_oneway_probability},
};

void run(benchmark::State& state, const Layout* layout, Analysis analysis)
{
    const Data& d = data(layout->groups);
    for (auto _ : state)
        benchmark::DoNotOptimize(analysis(d));
    state.counters["ns_per_observation"] =
        benchmark::Counter(double(d.y.size()), benchmark::Counter::kIsIterationInvariantRate |
                                                   benchmark::Counter::kInvert);
}

}  // namespace

int main(int argc, char** argv)
{
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0);
    for (const Layout& layout : kLayouts) {
        const std::pair<const char*, Analysis> ways[] = {
            {"orvls", layout.ours}, {"plain", layout.peer}, {"plain_p", layout.peer_probability}};
        for (const auto& [way, analysis] : ways) {
            char name[64];
            std::snprintf(name, sizeof name, "%s/%s/%lld", layout.name, way, static_cast<long long>(layout.groups));
            benchmark::RegisterBenchmark(name, run, &layout, analysis)->Unit(benchmark::kMillisecond);
        }
    }
    benchmark::Initialize(&argc, argv);
    peer_report::RatioReporter reporter({"plain", "plain_p"}, "ms");
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
