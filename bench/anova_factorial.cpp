// The factorial analysis of variance of a 100 x 100 x 100 layout (10^6
// responses, the three-factor interaction as the error) beside a plain
// two-pass computation of the same sums of squares: one pass for the
// marginal sums, one for the total about the grand mean.  Each reports the
// time per response, and the reporter the ratio of the two.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "orvls.h"
#include "peer_report.h"

namespace {

constexpr int64_t kLevels = 100;
constexpr int64_t kResponses = kLevels * kLevels * kLevels;

const std::vector<double>& responses()
{
    static std::vector<double> y;
    if (y.empty()) {
        std::mt19937_64 engine(20524);
        std::normal_distribution<double> normal(50.0, 4.0);
        y.resize(size_t(kResponses));
        for (int64_t i = 0; i < kResponses; ++i)
            y[size_t(i)] = normal(engine) + double(i / (kLevels * kLevels)) * 0.01 + double(i % kLevels) * 0.02;
    }
    return y;
}

void per_response(benchmark::State& state)
{
    state.counters["time_per_response"] = benchmark::Counter(
        double(kResponses), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void orvls_factorial(benchmark::State& state)
{
    const std::vector<double>& y = responses();
    const int64_t levels[] = {kLevels, kLevels, kLevels};
    double table[15], effects[30];
    for (auto _ : state) {
        orvls_d_anova_factorial(3, levels, y.data(), ORVLS_POOL_INTERACTIONS, ORVLS_MODEL_ORDER, 2,
                                ORVLS_ANOVA_TABLE_USER, table, ORVLS_FACTORIAL_OUTPUT_A_USER, effects, 0);
        benchmark::DoNotOptimize(effects);
    }
    per_response(state);
}

// The same six effects and the error: marginal sums in one pass, the
// effects from the marginal means, the total about the grand mean in a
// second pass, the error as the remainder.
void two_pass(benchmark::State& state)
{
    const std::vector<double>& y = responses();
    const int64_t n = kLevels;
    std::vector<double> a(n), b(n), c(n), ab(n * n), ac(n * n), bc(n * n), ss(7);
    for (auto _ : state) {
        std::fill(a.begin(), a.end(), 0.0);
        std::fill(b.begin(), b.end(), 0.0);
        std::fill(c.begin(), c.end(), 0.0);
        std::fill(ab.begin(), ab.end(), 0.0);
        std::fill(ac.begin(), ac.end(), 0.0);
        std::fill(bc.begin(), bc.end(), 0.0);
        double sum = 0;
        for (int64_t i = 0; i < n; ++i)
            for (int64_t j = 0; j < n; ++j) {
                const double* line = y.data() + (i * n + j) * n;
                double line_sum = 0;
                for (int64_t k = 0; k < n; ++k) {
                    line_sum += line[k];
                    ac[i * n + k] += line[k];
                    bc[j * n + k] += line[k];
                }
                ab[i * n + j] = line_sum;
                a[i] += line_sum;
                b[j] += line_sum;
                sum += line_sum;
            }
        const double grand = sum / double(kResponses), per_line = double(n), per_plane = double(n * n);
        for (int64_t k = 0; k < n; ++k)
            for (int64_t i = 0; i < n; ++i)
                c[k] += ac[i * n + k];
        auto main_effect = [&](const std::vector<double>& t) {
            double s = 0;
            for (double v : t)
                s += (v / per_plane - grand) * (v / per_plane - grand);
            return s * per_plane;
        };
        auto interaction = [&](const std::vector<double>& t, const std::vector<double>& u, const std::vector<double>& w) {
            double s = 0;
            for (int64_t i = 0; i < n; ++i)
                for (int64_t j = 0; j < n; ++j) {
                    const double e = t[i * n + j] / per_line - u[i] / per_plane - w[j] / per_plane + grand;
                    s += e * e;
                }
            return s * per_line;
        };
        ss[0] = main_effect(a);
        ss[1] = main_effect(b);
        ss[2] = main_effect(c);
        ss[3] = interaction(ab, a, b);
        ss[4] = interaction(ac, a, c);
        ss[5] = interaction(bc, b, c);
        double total = 0;
        for (double v : y)
            total += (v - grand) * (v - grand);
        ss[6] = total - ss[0] - ss[1] - ss[2] - ss[3] - ss[4] - ss[5];
        benchmark::DoNotOptimize(ss.data());
    }
    per_response(state);
}

}  // namespace

int main(int argc, char** argv)
{
    orvls_skip_signal_handler();
    benchmark::Initialize(&argc, argv);
    benchmark::RegisterBenchmark("factorial/orvls/100x100x100", orvls_factorial)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("factorial/two_pass/100x100x100", two_pass)->Unit(benchmark::kMillisecond);
    peer_report::RatioReporter reporter({"two_pass"}, "ms per analysis");
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
