// Continuous generators against their laws: Kolmogorov-Smirnov distances of
// seeded samples, in both precisions, at every regime the methods switch at.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "capture.h"
#include "fit.h"
#include "orvls.h"

namespace {

constexpr int64_t kSample = 20000;

template <class Real>
using Generator = std::function<Real*(int64_t n)>;

struct ContinuousCase {
    std::string name;
    Generator<double> draw_double;
    Generator<float> draw_float;
    std::function<double(double)> cdf;
};

template <class Real>
std::vector<Real> sample(const Generator<Real>& draw, int64_t seed)
{
    orvls_random_option(1);
    orvls_random_seed_set(seed);
    Real* r = draw(kSample);
    EXPECT_NE(r, nullptr);
    EXPECT_EQ(orvls_n1rty(1), 0);
    std::vector<Real> values(r, r + (r != nullptr ? kSample : 0));
    std::free(r);
    return values;
}

void expect_fit(const ContinuousCase& c)
{
    ErrorCapture capture;
    const double critical = fit::ks_critical(kSample);
    const double d_double = fit::ks_distance(sample(c.draw_double, 1234567), c.cdf);
    const double d_float = fit::ks_distance(sample(c.draw_float, 7654321), c.cdf);
    EXPECT_LT(d_double, critical) << c.name << " (double)";
    EXPECT_LT(d_float, critical) << c.name << " (float)";
    std::printf("  %-34s D = %.4f / %.4f (critical %.4f)\n", c.name.c_str(), d_double, d_float, critical);
}

// The same call in both precisions: `call` is written once with Real.
#define BOTH(call_double, call_float) \
    [=](int64_t n) { return call_double; }, [=](int64_t n) { return call_float; }

double gamma_cdf(double a, double x) { return fit::gamma_p(a, x); }

TEST(ContinuousFit, Normal)
{
    expect_fit({"normal, inversion", BOTH(orvls_d_random_normal(n, 0), orvls_f_random_normal(n, 0)),
                fit::normal_cdf});
    expect_fit({"normal, composition",
                BOTH(orvls_d_random_normal(n, ORVLS_ACCEPT_REJECT_METHOD, 0),
                     orvls_f_random_normal(n, ORVLS_ACCEPT_REJECT_METHOD, 0)),
                fit::normal_cdf});
    const double mean = -3, variance = 2.25;
    const float mean_f = -3, variance_f = 2.25f;
    expect_fit({"normal, mean -3 variance 2.25",
                BOTH(orvls_d_random_normal(n, ORVLS_MEAN, mean, ORVLS_VARIANCE, variance, 0),
                     orvls_f_random_normal(n, ORVLS_MEAN_ADR, &mean_f, ORVLS_VARIANCE_ADR, &variance_f,
                                           ORVLS_ACCEPT_REJECT_METHOD, 0)),
                [](double x) { return fit::normal_cdf((x + 3) / 1.5); }});
    expect_fit({"lognormal (0.5, 0.75)",
                BOTH(orvls_d_random_lognormal(n, 0.5, 0.75, 0), orvls_f_random_lognormal(n, 0.5f, 0.75f, 0)),
                [](double x) { return x <= 0 ? 0 : fit::normal_cdf((std::log(x) - 0.5) / 0.75); }});
}

TEST(ContinuousFit, GammaAtEachRegime)
{
    // Below 1 (Ahrens-Dieter), 1/2 (squared normals), 1 (one uniform), just
    // above 1 (no left tail in the envelope), and well above 1.
    for (double a : {0.05, 0.5, 0.7, 1.0, 1.2, 2.5, 30.0}) {
        const float af = float(a);
        expect_fit({"gamma a = " + std::to_string(a),
                    BOTH(orvls_d_random_gamma(n, a, 0), orvls_f_random_gamma(n, af, 0)),
                    [=](double x) { return gamma_cdf(double(af), x); }});
    }
}

TEST(ContinuousFit, ChiSquaredOnBothPaths)
{
    // Even df up to 16 take the product of uniforms; the others the gamma.
    for (double df : {2.0, 6.0, 16.0, 18.0, 0.8, 5.0}) {
        expect_fit({"chi-squared df = " + std::to_string(df),
                    BOTH(orvls_d_random_chi_squared(n, df, 0), orvls_f_random_chi_squared(n, float(df), 0)),
                    [=](double x) { return gamma_cdf(df / 2, x / 2); }});
    }
}

TEST(ContinuousFit, BetaAtEachRegime)
{
    const double cases[][2] = {{0.3, 0.7}, {0.9, 0.95}, {1.0, 2.5}, {3.5, 1.0}, {1.0, 1.0},
                               {0.4, 3.0}, {5.0, 0.6}, {1.5, 2.0}, {40.0, 7.0}, {2.0, 1.05}};
    for (const auto& c : cases) {
        const double pin = c[0], qin = c[1];
        expect_fit({"beta (" + std::to_string(pin) + ", " + std::to_string(qin) + ")",
                    BOTH(orvls_d_random_beta(n, pin, qin, 0), orvls_f_random_beta(n, float(pin), float(qin), 0)),
                    [=](double x) { return fit::beta_i(pin, qin, x); }});
    }
}

TEST(ContinuousFit, StudentT)
{
    for (double df : {0.5, 1.0, 3.0, 30.0}) {
        expect_fit({"t df = " + std::to_string(df),
                    BOTH(orvls_d_random_student_t(n, df, 0), orvls_f_random_student_t(n, float(df), 0)),
                    [=](double t) { return fit::student_t_cdf(df, t); }});
    }
}

TEST(ContinuousFit, ClosedForms)
{
    expect_fit({"exponential", BOTH(orvls_d_random_exponential(n, 0), orvls_f_random_exponential(n, 0)),
                [](double x) { return x <= 0 ? 0 : -std::expm1(-x); }});
    expect_fit({"exponential mix (2, 0.25, 0.3)",
                BOTH(orvls_d_random_exponential_mix(n, 2.0, 0.25, 0.3, 0),
                     orvls_f_random_exponential_mix(n, 2.0f, 0.25f, 0.3f, 0)),
                [](double x) { return x <= 0 ? 0 : 1 - 0.3 * std::exp(-x / 2) - 0.7 * std::exp(-x / 0.25); }});
    expect_fit({"cauchy", BOTH(orvls_d_random_cauchy(n, 0), orvls_f_random_cauchy(n, 0)),
                [](double x) { return 0.5 + std::atan(x) / M_PI; }});
    expect_fit({"triangular", BOTH(orvls_d_random_triangular(n, 0), orvls_f_random_triangular(n, 0)),
                [](double x) { return x <= 0.5 ? 2 * x * x : 1 - 2 * (1 - x) * (1 - x); }});
    expect_fit({"weibull a = 1.7", BOTH(orvls_d_random_weibull(n, 1.7, 0), orvls_f_random_weibull(n, 1.7f, 0)),
                [](double x) { return x <= 0 ? 0 : -std::expm1(-std::pow(x, double(1.7f))); }});
    for (double c : {0.01, 0.8, 12.0}) {
        expect_fit({"von Mises c = " + std::to_string(c),
                    BOTH(orvls_d_random_von_mises(n, c, 0), orvls_f_random_von_mises(n, float(c), 0)),
                    [=](double x) { return fit::von_mises_cdf(double(float(c)), x); }});
    }
}

TEST(ContinuousFit, StableLawsWithClosedForms)
{
    expect_fit({"stable (2, 0.7) = normal variance 2",
                BOTH(orvls_d_random_stable(n, 2.0, 0.7, 0), orvls_f_random_stable(n, 2.0f, 0.7f, 0)),
                [](double x) { return fit::normal_cdf(x / std::sqrt(2.0)); }});
    expect_fit({"stable (1, 0) = cauchy",
                BOTH(orvls_d_random_stable(n, 1.0, 0.0, 0), orvls_f_random_stable(n, 1.0f, 0.0f, 0)),
                [](double x) { return 0.5 + std::atan(x) / M_PI; }});
    expect_fit({"stable (1/2, 1) = Levy",
                BOTH(orvls_d_random_stable(n, 0.5, 1.0, 0), orvls_f_random_stable(n, 0.5f, 1.0f, 0)),
                [](double x) { return x <= 0 ? 0 : std::erfc(std::sqrt(1 / (2 * x))); }});
    expect_fit({"stable (1/2, -1) = mirrored Levy",
                BOTH(orvls_d_random_stable(n, 0.5, -1.0, 0), orvls_f_random_stable(n, 0.5f, -1.0f, 0)),
                [](double x) { return x >= 0 ? 1 : 1 - std::erfc(std::sqrt(1 / (-2 * x))); }});
}

// A table built from the normal distribution function on [-8, 8], and a
// hand-written table whose piecewise-linear law is known exactly.
double normal_cdf_double(double x) { return fit::normal_cdf(x); }
float normal_cdf_float(float x) { return float(fit::normal_cdf(x)); }

TEST(ContinuousFit, GeneralContinuousFromTables)
{
    ErrorCapture capture;
    double* table = orvls_d_continuous_table_setup(normal_cdf_double, 400, -8.0, 8.0, 0);
    float* table_f = orvls_f_continuous_table_setup(normal_cdf_float, 400, -8.0f, 8.0f, 0);
    ASSERT_NE(table, nullptr);
    ASSERT_NE(table_f, nullptr);
    EXPECT_EQ(orvls_n1rty(1), 0);
    expect_fit({"general continuous, normal table",
                BOTH(orvls_d_random_general_continuous(n, 400, table, 0),
                     orvls_f_random_general_continuous(n, 400, table_f, 0)),
                fit::normal_cdf});
    std::free(table);
    std::free(table_f);

    static const double hand[] = {-1, 0, 0, 0.25, 0.5, 0.25, 2, 1};
    static const float hand_f[] = {-1, 0, 0, 0.25f, 0.5f, 0.25f, 2, 1};
    expect_fit({"general continuous, hand table",
                BOTH(orvls_d_random_general_continuous(n, 4, hand, 0),
                     orvls_f_random_general_continuous(n, 4, hand_f, 0)),
                [](double x) {
                    if (x <= -1)
                        return 0.0;
                    if (x <= 0)
                        return 0.25 * (x + 1);
                    if (x <= 0.5)
                        return 0.25;
                    return x >= 2 ? 1.0 : 0.25 + 0.75 * (x - 0.5) / 1.5;
                }});
}

}  // namespace
