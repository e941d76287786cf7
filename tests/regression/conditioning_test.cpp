// Ill-conditioned designs against their exact solutions: the correct
// digits of the coefficients and of the residual sum of squares, ours
// beside LAPACK's Householder least squares (dgels) on the same doubles.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "regression_support.h"

extern "C" void dgels_(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda,
                       double* b, const int* ldb, double* work, const int* lwork, int* info, size_t trans_length);

namespace {

// Correct decimal digits of a against the reference r, relative to the
// largest reference magnitude; 17 when they agree exactly.
double digits(const std::vector<double>& a, const std::vector<double>& r)
{
    const double error = relative_difference(a.data(), r, r.size());
    return error == 0 ? 17 : std::min(17.0, -std::log10(error));
}

struct Achieved {
    double coefficients, rss;
};

Achieved ours(const Fit& fit)
{
    std::vector<double> x = fit.as<double>("x"), y = fit.as<double>("y");
    double rss = 0;
    double* b = orvls_d_regression(fit.n(), fit.p(), x.data(), y.data(), ORVLS_SSCP_ERROR_USER, &rss,
                                   ORVLS_TOLERANCE, 1e-15, 0);
    EXPECT_NE(b, nullptr) << fit.name;
    const std::vector<double> coefficients(b, b + fit.p() + 1);
    std::free(b);
    return {digits(coefficients, fit.values.at("coefficients")), digits({rss}, fit.values.at("sscp_error"))};
}

Achieved householder(const Fit& fit)
{
    const int m = int(fit.n()), n = int(fit.p()) + 1, one = 1;
    std::vector<double> a(size_t(m * n)), b = fit.values.at("y");
    for (int i = 0; i < m; ++i) {
        a[size_t(i)] = 1;
        for (int j = 1; j < n; ++j)
            a[size_t(i + j * m)] = fit.values.at("x")[size_t(i * (n - 1) + j - 1)];
    }
    int lwork = 64 * (m + n), info = 0;
    std::vector<double> work(static_cast<size_t>(lwork));
    dgels_("N", &m, &n, &one, a.data(), &m, b.data(), &m, work.data(), &lwork, &info, 1);
    EXPECT_EQ(info, 0);
    double rss = 0;
    for (int i = n; i < m; ++i)
        rss += b[size_t(i)] * b[size_t(i)];
    return {digits(std::vector<double>(b.begin(), b.begin() + n), fit.values.at("coefficients")),
            digits({rss}, fit.values.at("sscp_error"))};
}

TEST(RegressionConditioning, NoFewerDigitsThanHouseholder)
{
    ErrorCapture capture;
    std::printf("  %-30s %22s %22s\n", "correct digits", "coefficients", "residual SS");
    std::printf("  %-30s %11s %10s %11s %10s\n", "", "orvls", "dgels", "orvls", "dgels");
    for (const Fit& fit : read_fits("conditioning.txt")) {
        const Achieved a = ours(fit), h = householder(fit);
        std::printf("  %-30s %11.1f %10.1f %11.1f %10.1f\n", fit.name.c_str(), a.coefficients, h.coefficients, a.rss,
                    h.rss);
        // A tie within rounding's scatter: where both keep few digits, a
        // fraction of a digit either way is chance.
        EXPECT_GE(a.coefficients, h.coefficients - 0.75) << fit.name;
        EXPECT_GE(a.rss, h.rss - 0.75) << fit.name;
    }
}

}  // namespace
