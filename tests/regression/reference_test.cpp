// Fits against the references: exact rational solutions of small designs
// and R's lm for the rest, in both precisions, with every output that the
// references cover.  The achieved relative accuracy is printed per case.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "regression_support.h"

namespace {

template <class Real>
struct Outputs {
    Real* coefficients = nullptr;
    Real *anova = nullptr, *covariances = nullptr, *sscp = nullptr, *x_mean = nullptr;
    Real df_error = 0;
    int64_t missing = -1;
    RegressionInfo<Real>* info = nullptr;
    ~Outputs()
    {
        for (void* p : {(void*)coefficients, (void*)anova, (void*)covariances, (void*)sscp, (void*)x_mean,
                        (void*)info})
            std::free(p);
    }
};

template <class Real>
void fit(const Fit& ref, Outputs<Real>& out)
{
    std::vector<Real> x = ref.as<Real>("x"), y = ref.as<Real>("y");
    std::vector<Real> f = ref.has("frequencies") ? ref.as<Real>("frequencies") : std::vector<Real>(ref.n(), 1);
    std::vector<Real> w = ref.has("weights") ? ref.as<Real>("weights") : std::vector<Real>(ref.n(), 1);
    out.coefficients = regression<Real>(
        ref.n(), ref.p(), x.data(), y.data(), ORVLS_N_DEPENDENT, int(ref.q()),
        ref.intercept() ? ORVLS_INTERCEPT : ORVLS_NO_INTERCEPT, ORVLS_FREQUENCIES, f.data(), ORVLS_WEIGHTS,
        w.data(), ORVLS_ANOVA_TABLE, &out.anova, ORVLS_COEF_COVARIANCES, &out.covariances, ORVLS_SSCP_ERROR,
        &out.sscp, ORVLS_DF_ERROR, &out.df_error, ORVLS_N_ROWS_MISSING, &out.missing, ORVLS_REGRESSION_INFO,
        &out.info, ORVLS_X_MEAN, &out.x_mean, 0);
}

template <class Real>
void check_against_reference(const Fit& ref)
{
    ErrorCapture capture;
    Outputs<Real> out;
    fit(ref, out);
    ASSERT_NE(out.coefficients, nullptr) << capture.text();
    const double tolerance = sizeof(Real) == sizeof(double) ? ref.values.at("tolerance")[0]
                                                             : ref.values.at("tolerance")[1];
    const size_t p = size_t(ref.p() + ref.intercept()), q = size_t(ref.q());
    const double coefficients = relative_difference(out.coefficients, ref.values.at("coefficients"), p * q);
    const double sscp = relative_difference(out.sscp, ref.values.at("sscp_error"), q * q);
    double covariances = 0;
    for (size_t k = 0; k < q; ++k) {
        const std::vector<double>& all = ref.values.at("covariances");
        const std::vector<double> block(all.begin() + long(k * p * p), all.begin() + long((k + 1) * p * p));
        covariances = std::max(covariances, relative_difference(out.covariances + k * p * p, block, p * p));
    }
    double anova = 0;
    const std::vector<double>& table = ref.values.at("anova");
    for (size_t i = 0; i < table.size(); ++i) {
        const double ours = out.anova[i], expected = table[i];
        if (std::isnan(expected) || std::isnan(ours)) {
            EXPECT_EQ(std::isnan(expected), std::isnan(ours)) << ref.name << " anova place " << i % 15;
            continue;
        }
        anova = std::max(anova, std::fabs(ours - expected) / (std::fabs(expected) + 1e-14));
    }
    std::printf("  %-28s %-6s coefficients %.1e  sscp %.1e  covariances %.1e  anova %.1e\n", ref.name.c_str(),
                sizeof(Real) == 4 ? "float" : "double", coefficients, sscp, covariances, anova);
    EXPECT_LE(coefficients, tolerance) << ref.name;
    EXPECT_LE(sscp, tolerance) << ref.name;
    EXPECT_LE(covariances, tolerance) << ref.name;
    EXPECT_LE(anova, tolerance) << ref.name;
    EXPECT_EQ(out.df_error, Real(ref.values.at("df_error")[0])) << ref.name;
    EXPECT_EQ(out.missing, int64_t(ref.values.at("n_rows_missing")[0])) << ref.name;
    ASSERT_NE(out.info, nullptr);
    EXPECT_EQ(out.info->rank, int64_t(ref.values.at("rank")[0])) << ref.name;
    EXPECT_EQ(out.info->n_parameters, int64_t(p));
    EXPECT_EQ(out.info->n_observations, ref.n());
    EXPECT_LE(relative_difference(out.info->coefficients, ref.values.at("coefficients"), p * q), tolerance);
    for (int64_t j = 0; j < ref.p(); ++j)
        EXPECT_EQ(out.info->x_mean[j], out.x_mean[j]);
    // An exact rank shortfall is told as a warning; the results stand.
    if (out.info->rank < int64_t(p)) {
        EXPECT_EQ(last_outcome(), (Outcome{3, 11047}));
    }
}

TEST(RegressionReference, DoubleFitsMatch)
{
    for (const Fit& ref : read_fits())
        check_against_reference<double>(ref);
}

TEST(RegressionReference, FloatFitsMatch)
{
    for (const Fit& ref : read_fits())
        if (std::isfinite(ref.values.at("tolerance")[1]))
            check_against_reference<float>(ref);
}

}  // namespace
