// The kernels under the regression: the triangular solver with zero
// diagonals, the covariance and coefficient-test builders, the updating
// kernel through its whole argument list, and sequences on two threads.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <thread>
#include <vector>

#include "kernels/girts.h"
#include "regression/inference.h"
#include "regression/r2ivn.h"
#include "regression_support.h"

namespace {

using orvls::kernels::orvls_girts;

// Column-major 3 x 3 upper triangle with a zero second row.
const double kR[9] = {2, 0, 0, 0, 0, 0, 1, 0, 4};

TEST(RegressionKernels, TriangularSolverSkipsZeroDiagonals)
{
    ErrorCapture capture;
    orvls_e1psh("test");
    int64_t rank = 0;
    // R b = (4, 0, 8): b = (1, 0, 2).
    double rhs[3] = {4, 0, 8}, x[3];
    orvls_girts(3, kR, 3, 1, rhs, 3, 1, &rank, x, 3, static_cast<double*>(nullptr), 0);
    EXPECT_EQ(rank, 2);
    EXPECT_EQ(std::vector<double>(x, x + 3), (std::vector<double>{1, 0, 2}));
    EXPECT_EQ(orvls_n1rty(0), 0);
    // R' a = (2, 0, 5): a = (1, 0, 1), in place.
    double t[3] = {2, 0, 5};
    orvls_girts(3, kR, 3, 1, t, 3, 2, &rank, t, 3, static_cast<double*>(nullptr), 0);
    EXPECT_EQ(std::vector<double>(t, t + 3), (std::vector<double>{1, 0, 1}));
    // The generalised inverse: inverse of rows and columns 0 and 2.
    double inverse[9];
    orvls_girts(3, kR, 3, 0, static_cast<const double*>(nullptr), 0, 3, &rank, static_cast<double*>(nullptr), 0,
                inverse, 3);
    EXPECT_EQ(std::vector<double>(inverse, inverse + 9), (std::vector<double>{0.5, 0, 0, 0, 0, 0, -0.125, 0, 0.25}));
    // An inconsistent right-hand side at the zero row is told once.
    double bad[3] = {4, 3, 8};
    orvls_girts(3, kR, 3, 1, bad, 3, 1, &rank, bad, 3, static_cast<double*>(nullptr), 0);
    EXPECT_EQ(orvls_n1rty(0), 3);
    EXPECT_EQ(bad[1], 0.0);
    orvls_e1pop("test");
    EXPECT_EQ(last_outcome(), (Outcome{3, 11058}));
}

TEST(RegressionKernels, CovariancesAndCoefficientTests)
{
    ErrorCapture capture;
    double cov[9];
    orvls::regression::orvls_rcovb(3, kR, 3, 2.0, cov, 3);
    // 2 (R^+)(R^+)': rows and columns of the zero diagonal are zero.
    const double expected[9] = {0.53125, 0, -0.0625, 0, 0, 0, -0.0625, 0, 0.125};
    EXPECT_EQ(std::vector<double>(cov, cov + 9), std::vector<double>(expected, expected + 9));
    // A zero diagonal with something beside it is refused.
    const double broken[9] = {2, 0, 0, 0, 0, 0, 1, 3, 4};
    orvls_e1psh("test");
    orvls::regression::orvls_rcovb(3, broken, 3, 1.0, cov, 3);
    orvls_e1pop("test");
    EXPECT_EQ(last_outcome(), (Outcome{5, 11060}));
    // Two-sided t probabilities against R: 2 * pt(-|t|, df).
    const double b[4] = {2.5, -0.6, 80, 1}, se[4] = {1, 2, 2, 0};
    double table[16];
    orvls::regression::orvls_rcoef(4, b, se, 7.0, table, 4);
    EXPECT_NEAR(table[8], 2.5, 1e-15);
    EXPECT_NEAR(table[12], 0.040992218585752874, 1e-13);
    EXPECT_EQ(table[11], INFINITY);  // a zero standard error: t through the safe division
    EXPECT_EQ(table[15], 0.0);
    orvls::regression::orvls_rcoef(4, b, se, 12.5, table, 4);
    EXPECT_NEAR(table[13], 0.76910774396853465, 1e-9);  // as far as the t distribution goes at a fractional df
    orvls::regression::orvls_rcoef(4, b, se, 3.0, table, 4);
    EXPECT_NEAR(table[14], 3.438068078915854e-05, 1e-17);
    for (const auto& [dfe, standard_error, code] :
         {std::tuple{-1.0, 1.0, 20423}, std::tuple{1.0, -1.0, 20424}}) {
        const double one = 1, s = standard_error;
        orvls_e1psh("test");
        orvls::regression::orvls_rcoef(1, &one, &s, dfe, table, 1);
        orvls_e1pop("test");
        EXPECT_EQ(last_outcome(), (Outcome{5, int64_t(code)}));
    }
}

// The updating kernel called with its whole argument list, column-major,
// the design's first columns and its last as the dependent one, with the
// row flags: the same fit as the public routine.
TEST(RegressionKernels, UpdatingKernelThroughItsArguments)
{
    ErrorCapture capture;
    // 6 rows: x0, x1, y by columns; row 2 has a missing x1.
    const double x[18] = {1, 2, 3, 4, 5, 6, 4, 3, NAN, 1, 6, 2, 3, 1, 8, 2, 9, 5};
    double b[3], r[9] = {}, d[3], dfe, scpe, xmin[3], xmax[3], wk[4];
    int64_t rank = 0, nrmiss = 0, irmiss[6];
    orvls_e1psh("test");
    orvls::regression::orvls_r2ivn(0, 6, 3, x, 6, int64_t(1), int64_t(-2), static_cast<const int64_t*>(nullptr),
                                   int64_t(-1), static_cast<const int64_t*>(nullptr), int64_t(0), int64_t(0),
                                   int64_t(1), 1e-12, b, 3, r, 3, d, &rank, &dfe, &scpe, 1, &nrmiss, xmin, xmax, wk,
                                   irmiss);
    orvls_e1pop("test");
    EXPECT_EQ(rank, 3);
    EXPECT_EQ(nrmiss, 1);
    EXPECT_EQ(dfe, 2.0);
    EXPECT_EQ(std::vector<int64_t>(irmiss, irmiss + 6), (std::vector<int64_t>{0, 0, 1, 0, 0, 0}));
    // The same rows, the missing one left out, by rows.
    double rows[10] = {1, 4, 2, 3, 4, 1, 5, 6, 6, 2}, y[5] = {3, 1, 2, 9, 5}, sscp = 0;
    double* expected = orvls_d_regression(5, 2, rows, y, ORVLS_SSCP_ERROR_USER, &sscp, 0);
    ASSERT_NE(expected, nullptr);
    for (int j = 0; j < 3; ++j)
        EXPECT_NEAR(b[j], expected[j], 1e-13 * std::fabs(expected[j]) + 1e-14);
    EXPECT_NEAR(scpe, sscp, 1e-13 * sscp);
    std::free(expected);
    // Columns outside X and centering without an intercept are refused.
    const int64_t outside[] = {1, 4};
    orvls_e1psh("test");
    orvls::regression::orvls_r2ivn(0, 6, 3, x, 6, int64_t(0), int64_t(2), outside, int64_t(-1),
                                   static_cast<const int64_t*>(nullptr), int64_t(0), int64_t(0), int64_t(1), 0.0, b,
                                   3, r, 3, d, &rank, &dfe, &scpe, 1, &nrmiss, xmin, xmax, wk);
    EXPECT_EQ(orvls_n1rty(0), 5);
    orvls_e1pop("test");
}

// Two threads run interleaved sequences of their own and get the fits of
// their own data.
TEST(RegressionKernels, ThreadsRunIndependentSequences)
{
    orvls_skip_signal_handler();
    auto fit = [](double shift, std::vector<double>& b) {
        ErrorCapture capture;
        double x[8] = {1, 2, 3, 4, 5, 6, 7, 8}, y[8];
        for (int i = 0; i < 8; ++i)
            y[i] = shift + 2 * x[i] + (i % 2 ? 0.25 : -0.25);
        for (int part = 0; part < 4; ++part) {
            double* result = orvls_d_regression(2, 1, x + 2 * part, y + 2 * part, ORVLS_IDO, part == 0 ? 1 : 2, 0);
            EXPECT_EQ(result, nullptr);
            std::this_thread::yield();
        }
        double* result = orvls_d_regression(0, 1, x, y, ORVLS_IDO, 3, 0);
        ASSERT_NE(result, nullptr) << capture.text();
        b.assign(result, result + 2);
        std::free(result);
    };
    std::vector<double> first, second;
    std::thread a(fit, 10.0, std::ref(first)), c(fit, -3.0, std::ref(second));
    a.join();
    c.join();
    ASSERT_EQ(first.size(), 2u);
    ASSERT_EQ(second.size(), 2u);
    EXPECT_NEAR(first[0] - second[0], 13.0, 1e-12);
    EXPECT_NEAR(first[1], second[1], 1e-13);
}

}  // namespace
