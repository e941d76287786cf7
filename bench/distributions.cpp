// Distribution functions and inverses against R's standalone math library
// and Boost.Math, on the same inputs in one process.  orvls runs through the
// public routine with signal trapping off (the direct envelope); the
// "orvls_guarded" rows show the same calls with trapping on.  Boost runs
// without promotion of double to long double, as in its own speed tables.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#define MATHLIB_STANDALONE
#include <Rmath.h>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/gamma.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/owens_t.hpp>

#include "orvls.h"
#include "special/distributions.h"

namespace {

using Policy = boost::math::policies::policy<boost::math::policies::promote_double<false>>;
namespace bm = boost::math;

constexpr int kInputs = 256;

// Arguments of one call: up to three reals.
struct Arguments {
    double a, b, c;
};

// Deterministic spread of inputs: u runs over (0, 1) in a scrambled order.
double spread(int i) { return (std::fmod(i * 0.6180339887498949, 1.0) * kInputs + 0.5) / (kInputs + 1.0); }

std::vector<Arguments> make_inputs(Arguments (*make)(double u, int i))
{
    std::vector<Arguments> inputs;
    for (int i = 0; i < kInputs; ++i)
        inputs.push_back(make(spread(i), i));
    return inputs;
}

// Degrees of freedom and shapes cycle through small, middling and large.
double shape(int i)
{
    static const double shapes[] = {0.5, 1, 2.5, 3, 7, 12.5, 30, 100};
    return shapes[i % 8];
}

struct Case {
    const char* name;
    std::vector<Arguments> inputs;
    double (*orvls)(const Arguments&);
    double (*r)(const Arguments&);
    double (*boost)(const Arguments&);  // null when Boost has no such function
};

std::vector<Case> cases()
{
    const auto probability = [](double u, int i) { return Arguments{u, shape(i), shape(i + 3)}; };
    const auto quantile_of_gamma = [](double u, int i) { return Arguments{-2 * shape(i) * std::log1p(-u), shape(i), 0}; };
    return {
        {"normal_cdf", make_inputs([](double u, int) { return Arguments{16 * u - 10, 0, 0}; }),
         [](const Arguments& x) { return orvls_d_normal_cdf(x.a); },
         [](const Arguments& x) { return pnorm(x.a, 0, 1, 1, 0); },
         [](const Arguments& x) { return bm::cdf(bm::normal_distribution<double, Policy>(), x.a); }},
        {"normal_inverse", make_inputs(probability),
         [](const Arguments& x) { return orvls_d_normal_inverse_cdf(x.a); },
         [](const Arguments& x) { return qnorm(x.a, 0, 1, 1, 0); },
         [](const Arguments& x) { return bm::quantile(bm::normal_distribution<double, Policy>(), x.a); }},
        {"t_cdf", make_inputs([](double u, int i) { return Arguments{12 * u - 6, shape(i) < 1 ? 1 : shape(i), 0}; }),
         [](const Arguments& x) { return orvls_d_t_cdf(x.a, x.b); },
         [](const Arguments& x) { return pt(x.a, x.b, 1, 0); },
         [](const Arguments& x) { return bm::cdf(bm::students_t_distribution<double, Policy>(x.b), x.a); }},
        {"t_inverse", make_inputs([](double u, int i) { return Arguments{u, shape(i) < 1 ? 1 : shape(i), 0}; }),
         [](const Arguments& x) { return orvls_d_t_inverse(x.a, x.b); },
         [](const Arguments& x) { return qt(x.a, x.b, 1, 0); },
         [](const Arguments& x) { return bm::quantile(bm::students_t_distribution<double, Policy>(x.b), x.a); }},
        {"chi_squared_cdf", make_inputs(quantile_of_gamma),
         [](const Arguments& x) { return orvls_d_chi_squared_cdf(x.a, 2 * x.b); },
         [](const Arguments& x) { return pchisq(x.a, 2 * x.b, 1, 0); },
         [](const Arguments& x) { return bm::cdf(bm::chi_squared_distribution<double, Policy>(2 * x.b), x.a); }},
        {"chi_squared_inverse", make_inputs(probability),
         [](const Arguments& x) { return orvls_d_chi_squared_inverse_cdf(x.a, 2 * x.b); },
         [](const Arguments& x) { return qchisq(x.a, 2 * x.b, 1, 0); },
         [](const Arguments& x) { return bm::quantile(bm::chi_squared_distribution<double, Policy>(2 * x.b), x.a); }},
        {"F_cdf", make_inputs([](double u, int i) { return Arguments{-2 * std::log1p(-u), 2 * shape(i), 2 * shape(i + 3)}; }),
         [](const Arguments& x) { return orvls_d_F_cdf(x.a, x.b, x.c); },
         [](const Arguments& x) { return pf(x.a, x.b, x.c, 1, 0); },
         [](const Arguments& x) { return bm::cdf(bm::fisher_f_distribution<double, Policy>(x.b, x.c), x.a); }},
        {"F_inverse", make_inputs([](double u, int i) { return Arguments{u, 2 * shape(i), 2 * shape(i + 3)}; }),
         [](const Arguments& x) { return orvls_d_F_inverse_cdf(x.a, x.b, x.c); },
         [](const Arguments& x) { return qf(x.a, x.b, x.c, 1, 0); },
         [](const Arguments& x) { return bm::quantile(bm::fisher_f_distribution<double, Policy>(x.b, x.c), x.a); }},
        {"gamma_cdf", make_inputs([](double u, int i) { return Arguments{-2 * shape(i) * std::log1p(-u), shape(i), 0}; }),
         [](const Arguments& x) { return orvls_d_gamma_cdf(x.a, x.b); },
         [](const Arguments& x) { return pgamma(x.a, x.b, 1, 1, 0); },
         [](const Arguments& x) { return bm::cdf(bm::gamma_distribution<double, Policy>(x.b), x.a); }},
        {"gamma_inverse", make_inputs(probability),
         [](const Arguments& x) { return orvls_d_gamma_inverse_cdf(x.a, x.b); },
         [](const Arguments& x) { return qgamma(x.a, x.b, 1, 1, 0); },
         [](const Arguments& x) { return bm::quantile(bm::gamma_distribution<double, Policy>(x.b), x.a); }},
        {"beta_cdf", make_inputs(probability),
         [](const Arguments& x) { return orvls_d_beta_cdf(x.a, x.b, x.c); },
         [](const Arguments& x) { return pbeta(x.a, x.b, x.c, 1, 0); },
         [](const Arguments& x) { return bm::cdf(bm::beta_distribution<double, Policy>(x.b, x.c), x.a); }},
        {"beta_inverse", make_inputs(probability),
         [](const Arguments& x) { return orvls_d_beta_inverse_cdf(x.a, x.b, x.c); },
         [](const Arguments& x) { return qbeta(x.a, x.b, x.c, 1, 0); },
         [](const Arguments& x) { return bm::quantile(bm::beta_distribution<double, Policy>(x.b, x.c), x.a); }},
        {"owen_t", make_inputs([](double u, int i) { return Arguments{8 * u, 0.125 * shape(i), 0}; }),
         [](const Arguments& x) { return orvls::l_owen_t(x.a, x.b); }, nullptr,
         [](const Arguments& x) { return bm::owens_t(x.a, x.b, Policy()); }},
        {"bivariate_normal_cdf", make_inputs([](double u, int i) { return Arguments{6 * u - 3, 3 - 6 * spread(i + 7), 0.9 * std::cos(i)}; }),
         [](const Arguments& x) { return orvls_d_bivariate_normal_cdf(x.a, x.b, x.c); }, nullptr, nullptr},
    };
}

void run(benchmark::State& state, const Case* c, double (*function)(const Arguments&), bool guarded)
{
    orvls_error_options(guarded ? ORVLS_SIGNAL_TRAPPING_ON : ORVLS_SIGNAL_TRAPPING_OFF, 0);
    for (auto _ : state)
        for (const Arguments& x : c->inputs)
            benchmark::DoNotOptimize(function(x));
    state.SetItemsProcessed(state.iterations() * kInputs);
    orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0);
}

// Prints the usual table, then orvls's time over the fastest peer's.
class RatioReporter : public benchmark::ConsoleReporter {
public:
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
        std::printf("\norvls CPU time / peer CPU time (below 1: orvls faster)\n");
        std::printf("%-22s %8s %8s %8s %10s\n", "function", "R", "Boost", "fastest", "guarded");
        for (const Case& c : cases()) {
            const std::string name = c.name;
            const double ours = time(name + "/orvls");
            const double r = time(name + "/R");
            const double boost = time(name + "/Boost");
            const double fastest = std::fmin(r, boost);  // fmin skips a missing (NaN) peer
            std::printf("%-22s %8.2f %8.2f %8.2f %10.2f\n", c.name, ours / r, ours / boost, ours / fastest,
                        time(name + "/orvls_guarded") / ours);
        }
        std::printf("(guarded: trapping on over trapping off, for orvls)\n");
    }

private:
    double time(const std::string& name) const
    {
        const auto found = times_.find(name);
        return found == times_.end() ? NAN : found->second;
    }
    std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    static const std::vector<Case> all = cases();
    for (const Case& c : all) {
        const std::string name = c.name;
        benchmark::RegisterBenchmark((name + "/orvls").c_str(), run, &c, c.orvls, false);
        benchmark::RegisterBenchmark((name + "/orvls_guarded").c_str(), run, &c, c.orvls, true);
        if (c.r != nullptr)
            benchmark::RegisterBenchmark((name + "/R").c_str(), run, &c, c.r, false);
        if (c.boost != nullptr)
            benchmark::RegisterBenchmark((name + "/Boost").c_str(), run, &c, c.boost, false);
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
