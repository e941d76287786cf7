// The regression summary against R (lm, summary.lm, anova, vcov; variance
// inflation from its definition), its edge cases and its errors.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

#include "../regression/regression_support.h"
#include "capture.h"

extern "C" void orvls_testing_fail_allocation(int64_t n);

namespace {

const char* kReferences = "../../summaries/data/summaries.txt";

template <class Real>
void summary(const RegressionInfo<Real>* info, auto... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        orvls_f_regression_summary(info, options...);
    else
        orvls_d_regression_summary(info, options...);
}

// Fits a reference case and returns the record (freed by the caller).
template <class Real>
RegressionInfo<Real>* fit_info(const Fit& fit)
{
    std::vector<Real> x = fit.as<Real>("x"), y = fit.as<Real>("y");
    RegressionInfo<Real>* info = nullptr;
    Real* b = regression<Real>(fit.n(), fit.p(), x.data(), y.data(), ORVLS_N_DEPENDENT, fit.q(),
                               fit.intercept() ? ORVLS_INTERCEPT : ORVLS_NO_INTERCEPT, ORVLS_REGRESSION_INFO, &info,
                               0);
    std::free(b);
    return info;
}

struct Summary {
    std::vector<double> anova, sqss, t_tests, vif, covariances;
};

template <class Real>
Summary summarise(const RegressionInfo<Real>* info, int64_t index)
{
    const int64_t p = info->n_parameters, m = p - info->intercept;
    std::vector<Real> anova(15), sqss(size_t(4 * m)), tests(size_t(4 * p)), vif(static_cast<size_t>(p)), cov(size_t(p * p));
    summary<Real>(info, ORVLS_DEPENDENT_INDEX, index, ORVLS_ANOVA_TABLE_USER, anova.data(), ORVLS_SQSS_USER,
                  sqss.data(), ORVLS_COEF_T_TESTS_USER, tests.data(), ORVLS_COEF_VIF_USER, vif.data(),
                  ORVLS_COEF_COVARIANCES_USER, cov.data(), 0);
    auto d = [](const std::vector<Real>& v) { return std::vector<double>(v.begin(), v.end()); };
    return {d(anova), d(sqss), d(tests), d(vif), d(cov)};
}

template <class Real>
void check_against_r(double tolerance)
{
    for (const Fit& fit : read_fits(kReferences)) {
        RegressionInfo<Real>* info = fit_info<Real>(fit);
        ASSERT_NE(info, nullptr) << fit.name;
        const Summary s = summarise<Real>(info, int64_t(fit.values.at("index")[0]));
        EXPECT_EQ(orvls_n1rty(1), 0) << fit.name;
        const std::pair<const char*, const std::vector<double>*> parts[] = {
            {"anova", &s.anova}, {"sqss", &s.sqss}, {"t_tests", &s.t_tests}, {"vif", &s.vif},
            {"covariances", &s.covariances}};
        for (const auto& [key, ours] : parts) {
            const std::vector<double>& ref = fit.values.at(key);
            ASSERT_EQ(ours->size(), ref.size()) << fit.name << " " << key;
            // Each value relative to itself: probabilities are small numbers
            // that a scale of the whole table would hide.
            for (size_t i = 0; i < ref.size(); ++i) {
                if (std::isnan(ref[i])) {
                    EXPECT_TRUE(std::isnan((*ours)[i])) << fit.name << " " << key << "[" << i << "]";
                    continue;
                }
                EXPECT_NEAR((*ours)[i], ref[i], tolerance * std::max(1.0, std::fabs(ref[i])))
                    << fit.name << " " << key << "[" << i << "]";
            }
        }
        std::free(info);
    }
}

TEST(RegressionSummary, DoubleAgreesWithR) { check_against_r<double>(1e-10); }
TEST(RegressionSummary, FloatAgreesWithR) { check_against_r<float>(2e-3); }

// The allocated outputs equal the caller's arrays, and the row lengths of
// the coefficient table and the covariances are honoured.
TEST(RegressionSummary, AllocatedOutputsAndRowLengths)
{
    const Fit fit = read_fits(kReferences).front();
    orvls_d_regression_info* info = fit_info<double>(fit);
    ASSERT_NE(info, nullptr);
    const Summary user = summarise<double>(info, 0);
    double *anova = nullptr, *sqss = nullptr, *tests = nullptr, *vif = nullptr, *cov = nullptr;
    orvls_d_regression_summary(info, ORVLS_ANOVA_TABLE, &anova, ORVLS_SQSS, &sqss, ORVLS_COEF_T_TESTS, &tests,
                               ORVLS_T_TESTS_COL_DIM, int64_t(6), ORVLS_COEF_VIF, &vif, ORVLS_COEF_COVARIANCES, &cov,
                               ORVLS_COEF_COV_COL_DIM, int64_t(5), 0);
    ASSERT_TRUE(anova && sqss && tests && vif && cov);
    const int64_t p = info->n_parameters;
    for (int64_t i = 0; i < 15; ++i)
        EXPECT_EQ(anova[i], user.anova[size_t(i)]);
    for (int64_t i = 0; i < 4 * (p - 1); ++i)
        EXPECT_EQ(sqss[i], user.sqss[size_t(i)]);
    for (int64_t i = 0; i < p; ++i) {
        EXPECT_EQ(vif[i], user.vif[size_t(i)]);
        for (int64_t c = 0; c < 4; ++c)
            EXPECT_EQ(tests[i * 6 + c], user.t_tests[size_t(i * 4 + c)]);
        for (int64_t j = 0; j < p; ++j)
            EXPECT_EQ(cov[i * 5 + j], user.covariances[size_t(i * p + j)]);
    }
    for (void* q : {(void*)anova, (void*)sqss, (void*)tests, (void*)vif, (void*)cov, (void*)info})
        std::free(q);
}

// A dropped (collinear) column: infinite inflation, zero standard error and
// covariances; an exact fit: infinite F whose probability stands at 1,
// sequential probabilities at 0; no independent variables still allocates
// the sequential table.
TEST(RegressionSummary, EdgeCases)
{
    std::vector<double> x = {1, 2, 2, 4, 3, 6, 4, 8, 5, 10}, y = {1, 3, 2, 5, 4};
    orvls_d_regression_info* info = nullptr;
    std::free(orvls_d_regression(5, 2, x.data(), y.data(), ORVLS_REGRESSION_INFO, &info, 0));
    ASSERT_NE(info, nullptr);
    Summary s = summarise<double>(info, 0);
    EXPECT_TRUE(std::isinf(s.vif[2]) && s.vif[2] > 0);
    EXPECT_EQ(s.t_tests[2 * 4 + 1], 0.0);
    EXPECT_EQ(s.covariances[2 * 3 + 2], 0.0);
    EXPECT_EQ(s.sqss[1 * 4 + 0], 0.0);  // no degree of freedom for the dropped column
    std::free(info);

    std::vector<double> exact = {1, 3, 5, 7, 9};
    std::free(orvls_d_regression(5, 1, x.data(), exact.data(), ORVLS_X_COL_DIM, int64_t(2), ORVLS_REGRESSION_INFO,
                                 &info, 0));
    ASSERT_NE(info, nullptr);
    s = summarise<double>(info, 0);
    EXPECT_TRUE(std::isinf(s.anova[8]));
    EXPECT_EQ(s.anova[9], 1.0);
    EXPECT_EQ(s.sqss[3], 0.0);
    std::free(info);

    std::free(orvls_d_regression(5, 0, x.data(), y.data(), ORVLS_REGRESSION_INFO, &info, 0));
    ASSERT_NE(info, nullptr);
    double* sqss = nullptr;
    double anova[15];
    orvls_d_regression_summary(info, ORVLS_SQSS, &sqss, ORVLS_ANOVA_TABLE_USER, anova, 0);
    EXPECT_NE(sqss, nullptr);
    EXPECT_EQ(anova[0], 0.0);
    EXPECT_NEAR(anova[13], 3.0, 1e-14);
    EXPECT_EQ(anova[11], 0.0);  // adjusted R-squared is never negative
    std::free(sqss);
    std::free(info);
}

struct ErrorCase {
    const char* name;
    std::function<void(orvls_d_regression_info*)> call;
    Outcome expected;
};

TEST(RegressionSummary, ErrorsAreRefusedWithTheirCodes)
{
    const Fit fit = read_fits(kReferences).front();
    double anova[15], tests[16], cov[16];
    const std::vector<ErrorCase> cases = {
        {"unknown option", [](auto* i) { orvls_d_regression_summary(i, 99999, 0); }, {5, 11001}},
        {"null record", [](auto*) { orvls_d_regression_summary(nullptr, 0); }, {5, 104}},
        {"null user array", [](auto* i) { orvls_d_regression_summary(i, ORVLS_ANOVA_TABLE_USER, nullptr, 0); },
         {5, 104}},
        {"no parameters", [](auto* i) { i->n_parameters = 0; orvls_d_regression_summary(i, 0); }, {5, 603}},
        {"intercept flag", [](auto* i) { i->intercept = 2; orvls_d_regression_summary(i, 0); }, {5, 602}},
        {"negative df", [](auto* i) { i->df_error = -1; orvls_d_regression_summary(i, 0); }, {5, 11061}},
        {"negative sse", [](auto* i) { i->sscp_error[0] = -1; orvls_d_regression_summary(i, 0); }, {5, 11061}},
        {"index high", [](auto* i) { orvls_d_regression_summary(i, ORVLS_DEPENDENT_INDEX, int64_t(1), 0); },
         {5, 20693}},
        {"index negative", [](auto* i) { orvls_d_regression_summary(i, ORVLS_DEPENDENT_INDEX, int64_t(-1), 0); },
         {5, 20693}},
        {"short t-test rows",
         [&](auto* i) {
             orvls_d_regression_summary(i, ORVLS_COEF_T_TESTS_USER, tests, ORVLS_T_TESTS_COL_DIM, int64_t(3), 0);
         },
         {5, 600}},
        {"short covariance rows",
         [&](auto* i) {
             orvls_d_regression_summary(i, ORVLS_COEF_COVARIANCES_USER, cov, ORVLS_COEF_COV_COL_DIM, int64_t(3), 0);
         },
         {5, 600}},
        {"zero pivot with a non-zero row",
         [&](auto* i) {
             i->R[1 + 1 * 4] = 0;
             orvls_d_regression_summary(i, ORVLS_ANOVA_TABLE_USER, anova, 0);
         },
         {5, 11060}},
    };
    for (const ErrorCase& c : cases) {
        ErrorCapture capture;
        orvls_d_regression_info* info = fit_info<double>(fit);
        ASSERT_NE(info, nullptr);
        c.call(info);
        EXPECT_EQ(last_outcome(), c.expected) << c.name << ": " << capture.text();
        std::free(info);
    }
}

// Each allocation made to fail in turn is refused (201, or 200 for a
// per-thread record), and nothing of
// the call is left behind (the sanitizer build checks for leaks).
TEST(RegressionSummary, EachAllocationFailureIsRefusedCleanly)
{
    const Fit fit = read_fits(kReferences).front();
    orvls_d_regression_info* info = fit_info<double>(fit);
    ASSERT_NE(info, nullptr);
    for (int64_t failing = 1;; ++failing) {
        ErrorCapture capture;
        double *anova = nullptr, *sqss = nullptr, *tests = nullptr, *vif = nullptr, *cov = nullptr;
        orvls_testing_fail_allocation(failing);
        orvls_d_regression_summary(info, ORVLS_ANOVA_TABLE, &anova, ORVLS_SQSS, &sqss, ORVLS_COEF_T_TESTS, &tests,
                                   ORVLS_COEF_VIF, &vif, ORVLS_COEF_COVARIANCES, &cov, 0);
        orvls_testing_fail_allocation(0);
        if (orvls_n1rty(1) == 0) {
            EXPECT_GT(failing, 5);
            for (void* q : {(void*)anova, (void*)sqss, (void*)tests, (void*)vif, (void*)cov})
                std::free(q);
            break;
        }
        // 200: a per-thread record of the library could not be made.
        const Outcome outcome = last_outcome();
        EXPECT_TRUE(outcome == (Outcome{5, 201}) || outcome == (Outcome{5, 200}))
            << failing << ": " << outcome.type << " " << outcome.code;
        for (void* q : {(void*)anova, (void*)sqss, (void*)tests, (void*)vif, (void*)cov})
            EXPECT_EQ(q, nullptr) << failing;
    }
    std::free(info);
}

}  // namespace
