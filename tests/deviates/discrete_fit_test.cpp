// Discrete generators against their laws: Pearson's chi-squared statistic of
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

constexpr int64_t kSample = 40000;

using Generator = std::function<int64_t*(int64_t n)>;

std::vector<int64_t> sample(const Generator& draw, int64_t seed)
{
    orvls_random_option(1);
    orvls_random_seed_set(seed);
    int64_t* r = draw(kSample);
    EXPECT_NE(r, nullptr);
    EXPECT_EQ(orvls_n1rty(1), 0);
    std::vector<int64_t> values(r, r + (r != nullptr ? kSample : 0));
    std::free(r);
    return values;
}

void expect_fit(const std::string& name, const Generator& draw, int64_t lowest,
                const std::function<double(int64_t)>& pmf, int64_t seed = 1234567)
{
    ErrorCapture capture;
    const fit::ChiSquared result = fit::chi_squared(sample(draw, seed), lowest, pmf);
    EXPECT_LT(result.statistic, result.critical) << name;
    EXPECT_GE(result.cells, 2) << name;
    std::printf("  %-40s X2 = %7.1f on %3lld cells (critical %.1f)\n", name.c_str(), result.statistic,
                (long long)result.cells, result.critical);
}

TEST(DiscreteFit, BinomialOnBothSidesOfTheSwitch)
{
    // n min(p, 1 - p) = 10 inverts; 10.5 takes the envelope; the large
    // cases reach the squeeze and the Stirling test, p > 1/2 the mirror.
    const struct {
        int64_t n;
        double p;
    } cases[] = {{20, 0.5}, {21, 0.5}, {25, 0.6}, {200, 0.02}, {1000, 0.93}, {20000, 0.4}, {3, 0.999}};
    for (const auto& c : cases) {
        const int64_t n = c.n;
        const double p = c.p;
        const std::string name = "binomial (" + std::to_string(n) + ", " + std::to_string(p) + ")";
        expect_fit(name + " double", [=](int64_t k) { return orvls_d_random_binomial(k, n, p, 0); }, 0,
                   [=](int64_t x) { return fit::binomial_pmf(n, p, x); });
        const double pf = double(float(p));
        expect_fit(name + " float", [=](int64_t k) { return orvls_f_random_binomial(k, n, float(p), 0); }, 0,
                   [=](int64_t x) { return fit::binomial_pmf(n, pf, x); }, 7654321);
    }
}

TEST(DiscreteFit, PoissonOnBothSidesOfTheSwitch)
{
    // Inversion below 15; the envelope from 15, with direct ratios below a
    // mode of 100 and the squeeze and Stirling test above.
    for (float theta : {0.5f, 14.9f, 15.0f, 37.5f, 150.0f, 4000.0f}) {
        expect_fit("poisson " + std::to_string(theta), [=](int64_t k) { return orvls_random_poisson(k, theta, 0); },
                   0, [=](int64_t x) { return fit::poisson_pmf(double(theta), x); });
    }
}

TEST(DiscreteFit, Hypergeometric)
{
    // Inversion, then item-by-item sampling when the lowest value's
    // probability is below eps.
    const int64_t cases[][3] = {{10, 20, 50}, {30, 5, 40}, {45, 30, 50}, {100, 1000, 2000}};
    for (const auto& c : cases) {
        const int64_t s = c[0], d = c[1], l = c[2];
        const int64_t lowest = std::max<int64_t>(0, s - (l - d));
        const std::string name = "hypergeometric (" + std::to_string(s) + ", " + std::to_string(d) + ", " +
                                 std::to_string(l) + ")";
        expect_fit(name + " double", [=](int64_t k) { return orvls_d_random_hypergeometric(k, s, d, l, 0); },
                   lowest, [=](int64_t x) { return fit::hypergeometric_pmf(s, d, l, x); });
        expect_fit(name + " float", [=](int64_t k) { return orvls_f_random_hypergeometric(k, s, d, l, 0); },
                   lowest, [=](int64_t x) { return fit::hypergeometric_pmf(s, d, l, x); }, 7654321);
    }
}

TEST(DiscreteFit, OtherLaws)
{
    for (double p : {0.2, 0.9}) {
        expect_fit("geometric " + std::to_string(p), [=](int64_t k) { return orvls_d_random_geometric(k, p, 0); }, 1,
                   [=](int64_t x) { return p * std::pow(1 - p, double(x - 1)); });
        const double pf = double(float(p));
        expect_fit("geometric float " + std::to_string(p),
                   [=](int64_t k) { return orvls_f_random_geometric(k, float(p), 0); }, 1,
                   [=](int64_t x) { return pf * std::pow(1 - pf, double(x - 1)); });
    }
    // Below 0.95 by inversion, from 0.95 by the two-uniform method.
    for (double a : {0.3, 0.949, 0.95, 0.995}) {
        const double af = double(float(a));
        const auto pmf = [](double a_) {
            return [=](int64_t x) { return -std::pow(a_, double(x)) / (double(x) * std::log1p(-a_)); };
        };
        expect_fit("logarithmic " + std::to_string(a), [=](int64_t k) { return orvls_d_random_logarithmic(k, a, 0); },
                   1, pmf(a));
        expect_fit("logarithmic float " + std::to_string(a),
                   [=](int64_t k) { return orvls_f_random_logarithmic(k, float(a), 0); }, 1, pmf(af));
    }
    for (double rn : {3.0, 0.5, 40.0}) {
        expect_fit("negative binomial (" + std::to_string(rn) + ", 0.4)",
                   [=](int64_t k) { return orvls_d_random_neg_binomial(k, rn, 0.4, 0); }, 0,
                   [=](int64_t x) { return fit::neg_binomial_pmf(rn, 0.4, x); });
        expect_fit("negative binomial float (" + std::to_string(rn) + ", 0.4)",
                   [=](int64_t k) { return orvls_f_random_neg_binomial(k, float(rn), 0.4f, 0); }, 0,
                   [=](int64_t x) { return fit::neg_binomial_pmf(rn, double(0.4f), x); });
    }
    expect_fit("uniform discrete 7", [](int64_t k) { return orvls_d_random_uniform_discrete(k, 7, 0); }, 1,
               [](int64_t x) { return x <= 7 ? 1.0 / 7 : 0; });
    expect_fit("uniform discrete float 7", [](int64_t k) { return orvls_f_random_uniform_discrete(k, 7, 0); }, 1,
               [](int64_t x) { return x <= 7 ? 1.0 / 7 : 0; });
}

// Weights 1, 0, 3, 2, 4 on the values -2 .. 2.
double weight(int64_t x)
{
    static const double weights[] = {1, 0, 3, 2, 4};
    return weights[x + 2];
}
float weight_float(int64_t x) { return float(weight(x)); }

TEST(DiscreteFit, GeneralDiscreteFromItsTable)
{
    ErrorCapture capture;
    const double expected[] = {0.1, 0.1, 0.4, 0.6, 1.0};
    double* table = orvls_d_discrete_table_setup(weight, -2, 5, 0);
    float* table_f = orvls_f_discrete_table_setup(weight_float, -2, 5, 0);
    ASSERT_NE(table, nullptr);
    ASSERT_NE(table_f, nullptr);
    for (int i = 0; i < 5; ++i) {
        EXPECT_NEAR(table[i], expected[i], 1e-15);
        EXPECT_NEAR(table_f[i], expected[i], 1e-7);
    }
    const auto pmf = [](int64_t x) { return x > 2 ? 0.0 : weight(x) / 10; };
    expect_fit("general discrete", [=](int64_t k) { return orvls_d_random_general_discrete(k, -2, 5, table, 0); }, -2,
               pmf);
    expect_fit("general discrete float",
               [=](int64_t k) { return orvls_f_random_general_discrete(k, -2, 5, table_f, 0); }, -2, pmf);
    std::free(table);
    std::free(table_f);
}

TEST(DiscreteFit, SampleIndicesAreDistinctAndUniform)
{
    ErrorCapture capture;
    orvls_random_seed_set(99);
    // Each index of 1..20 lies in a sample of 5 with probability 1/4: over
    // 8000 samples its count is binomial (8000, 1/4).
    std::vector<int64_t> hits;
    for (int trial = 0; trial < 8000; ++trial) {
        int64_t r[5];
        ASSERT_EQ(orvls_random_sample_indices(5, 20, ORVLS_RETURN_USER, r, 0), r);
        for (int i = 0; i < 5; ++i) {
            ASSERT_GE(r[i], 1);
            ASSERT_LE(r[i], 20);
            if (i > 0) {
                ASSERT_LT(r[i - 1], r[i]);
            }
            hits.push_back(r[i]);
        }
    }
    const fit::ChiSquared result =
        fit::chi_squared(hits, 1, [](int64_t x) { return x <= 20 ? 1.0 / 20 : 0; });
    EXPECT_LT(result.statistic, result.critical);
    // The whole population.
    int64_t* all = orvls_random_sample_indices(6, 6, 0);
    ASSERT_NE(all, nullptr);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(all[i], i + 1);
    std::free(all);
}

}  // namespace
