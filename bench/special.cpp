// Each special function against R's standalone math library, glibc and
// Boost.Math on the same inputs, on the direct path (trapping off); one
// "guarded" entry per function shows the cost of the signal guard (trapping on).
#include <benchmark/benchmark.h>

#include <Rmath.h>
#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/binomial.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/factorials.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "orvls.h"

namespace {

using Inputs = std::vector<std::vector<double>>;
using Call = std::function<double(const std::vector<double>&)>;

// n points spread over [low, high] in each of `arity` arguments, shuffled
// deterministically so that branches are not predicted from the order.
Inputs grid(size_t arity, std::vector<std::pair<double, double>> ranges, size_t n = 512)
{
    Inputs out(n, std::vector<double>(arity));
    uint64_t state = 88172645463325252ull;
    for (auto& point : out)
        for (size_t j = 0; j < arity; ++j) {
            state ^= state << 13, state ^= state >> 7, state ^= state << 17;
            const double u = double(state >> 11) * 0x1p-53;
            point[j] = ranges[j].first + u * (ranges[j].second - ranges[j].first);
        }
    return out;
}

Inputs integers(Inputs points)
{
    for (auto& p : points)
        for (auto& v : p)
            v = std::floor(v);
    return points;
}

void run(benchmark::State& state, const Inputs& inputs, const Call& call, bool guarded)
{
    orvls_error_options(guarded ? ORVLS_SIGNAL_TRAPPING_ON : ORVLS_SIGNAL_TRAPPING_OFF, 0);
    double sum = 0;
    for (auto _ : state)
        for (const auto& p : inputs)
            sum += call(p);
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(int64_t(state.iterations() * inputs.size()));
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0);
}

struct Peer {
    const char* name;
    Call call;
};

struct Case {
    const char* function;
    Inputs inputs;
    Call orvls;
    std::vector<Peer> peers;
};

std::vector<Case> cases()
{
    const double sqrt2 = std::sqrt(2.0);
    return {
        {"gamma", grid(1, {{0.1, 30}}), [](auto& v) { return orvls_d_gamma(v[0]); },
         {{"R", [](auto& v) { return gammafn(v[0]); }},
          {"glibc", [](auto& v) { return std::tgamma(v[0]); }},
          {"boost", [](auto& v) { return boost::math::tgamma(v[0]); }}}},
        {"log_gamma", grid(1, {{0.1, 1000}}), [](auto& v) { return orvls_d_log_gamma(v[0]); },
         {{"R", [](auto& v) { return lgammafn(v[0]); }},
          {"glibc", [](auto& v) { return std::lgamma(v[0]); }},
          {"boost", [](auto& v) { return boost::math::lgamma(v[0]); }}}},
        {"gamma_incomplete", grid(2, {{0.5, 20}, {0.1, 30}}),
         [](auto& v) { return orvls_d_gamma_incomplete(v[0], v[1]); },
         {{"R", [](auto& v) { return pgamma(v[1], v[0], 1, 1, 0) * gammafn(v[0]); }},
          {"boost", [](auto& v) { return boost::math::tgamma_lower(v[0], v[1]); }}}},
        {"beta", grid(2, {{0.1, 50}, {0.1, 50}}), [](auto& v) { return orvls_d_beta(v[0], v[1]); },
         {{"R", [](auto& v) { return beta(v[0], v[1]); }},
          {"boost", [](auto& v) { return boost::math::beta(v[0], v[1]); }}}},
        {"log_beta", grid(2, {{0.1, 50}, {0.1, 50}}), [](auto& v) { return orvls_d_log_beta(v[0], v[1]); },
         {{"R", [](auto& v) { return lbeta(v[0], v[1]); }}}},
        {"beta_incomplete", grid(3, {{0, 1}, {0.5, 30}, {0.5, 30}}),
         [](auto& v) { return orvls_d_beta_incomplete(v[0], v[1], v[2]); },
         {{"R", [](auto& v) { return pbeta(v[0], v[1], v[2], 1, 0); }},
          {"boost", [](auto& v) { return boost::math::ibeta(v[1], v[2], v[0]); }}}},
        {"erf", grid(1, {{-4, 4}}), [](auto& v) { return orvls_d_erf(v[0]); },
         {{"R", [sqrt2](auto& v) { return 2 * pnorm(v[0] * sqrt2, 0, 1, 1, 0) - 1; }},
          {"glibc", [](auto& v) { return std::erf(v[0]); }},
          {"boost", [](auto& v) { return boost::math::erf(v[0]); }}}},
        {"erfc", grid(1, {{-4, 10}}), [](auto& v) { return orvls_d_erfc(v[0]); },
         {{"R", [sqrt2](auto& v) { return 2 * pnorm(-v[0] * sqrt2, 0, 1, 1, 0); }},
          {"glibc", [](auto& v) { return std::erfc(v[0]); }},
          {"boost", [](auto& v) { return boost::math::erfc(v[0]); }}}},
        {"erfc_inverse", grid(1, {{1e-6, 2 - 1e-6}}), [](auto& v) { return orvls_d_erfc_inverse(v[0]); },
         {{"R", [sqrt2](auto& v) { return -qnorm(v[0] / 2, 0, 1, 1, 0) / sqrt2; }},
          {"boost", [](auto& v) { return boost::math::erfc_inv(v[0]); }}}},
        {"factorial", integers(grid(1, {{0, 21}})), [](auto& v) { return double(orvls_d_factorial(int64_t(v[0]))); },
         {{"R", [](auto& v) { return gammafn(v[0] + 1); }},
          {"boost", [](auto& v) { return boost::math::factorial<double>(unsigned(v[0])); }}}},
        {"binomial_coefficient", integers(grid(2, {{40, 1000}, {0, 40}})),
         [](auto& v) { return orvls_d_binomial_coefficient(int64_t(v[0]), int64_t(v[1])); },
         {{"R", [](auto& v) { return choose(v[0], v[1]); }},
          {"boost", [](auto& v) { return boost::math::binomial_coefficient<double>(unsigned(v[0]), unsigned(v[1])); }}}},
    };
}

}  // namespace

int main(int argc, char** argv)
{
    static const std::vector<Case> all = cases();
    for (const Case& c : all) {
        const std::string name = c.function;
        benchmark::RegisterBenchmark((name + "/orvls").c_str(), [&c](benchmark::State& s) { run(s, c.inputs, c.orvls, false); });
        benchmark::RegisterBenchmark((name + "/orvls_guarded").c_str(), [&c](benchmark::State& s) { run(s, c.inputs, c.orvls, true); });
        for (const Peer& p : c.peers)
            benchmark::RegisterBenchmark((name + "/" + p.name).c_str(), [&c, &p](benchmark::State& s) { run(s, c.inputs, p.call, false); });
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
