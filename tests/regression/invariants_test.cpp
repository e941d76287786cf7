// Identities a fit must keep: data in chunks, rows removed again, weights
// against repeated rows, skipped rows, data in one matrix, several
// dependent variables at once; and the special columns of the design.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "regression_support.h"

namespace {

// The r_basic design: 40 rows of 3 regressors.
struct Design {
    int64_t n, p;
    std::vector<double> x, y;
};

const Design& design()
{
    static const Design d = [] {
        for (const Fit& fit : read_fits())
            if (fit.name == "r_basic")
                return Design{fit.n(), fit.p(), fit.as<double>("x"), fit.as<double>("y")};
        return Design{};
    }();
    return d;
}

// What a fit gives: coefficients, error sums of squares, df, R.
struct Result {
    std::vector<double> b, sscp, r;
    double df = 0;
};

// Adds one call's result outputs to the option list of a closing call.
template <class... Options>
Result closing_fit(int64_t n, int64_t p, double* x, double* y, int64_t q, Options... options)
{
    const int64_t np = p + 1;
    Result result;
    result.b.resize(size_t(np * q));
    result.sscp.resize(size_t(q * q));
    result.r.resize(size_t(np * np));
    double* b = orvls_d_regression(n, p, x, y, ORVLS_N_DEPENDENT, int(q), ORVLS_RETURN_USER, result.b.data(),
                                   ORVLS_SSCP_ERROR_USER, result.sscp.data(), ORVLS_R_USER, result.r.data(),
                                   ORVLS_DF_ERROR, &result.df, options..., 0);
    EXPECT_EQ(b, result.b.data());
    return result;
}

void expect_near(const Result& a, const Result& b, double tolerance)
{
    EXPECT_LE(relative_difference(a.b.data(), b.b, b.b.size()), tolerance);
    EXPECT_LE(relative_difference(a.sscp.data(), b.sscp, b.sscp.size()), tolerance);
    EXPECT_EQ(a.df, b.df);
}

TEST(RegressionInvariants, ChunksGiveTheSingleCallFitExactly)
{
    Design d = design();
    const Result whole = closing_fit(d.n, d.p, d.x.data(), d.y.data(), 1);
    ErrorCapture capture;
    const int64_t cuts[] = {0, 13, 13, 27, d.n};
    for (int part = 0; part < 3; ++part) {
        const int64_t start = cuts[part], rows = cuts[part + 1] - start;
        EXPECT_EQ(orvls_d_regression(rows, d.p, d.x.data() + start * d.p, d.y.data() + start, ORVLS_IDO,
                                     part == 0 ? 1 : 2, 0),
                  nullptr);
        EXPECT_EQ(orvls_n1rty(1), 0) << capture.text();
    }
    // A sequence keeps the intercept and centering it opened with.
    const Result chunked = closing_fit(cuts[4] - cuts[3], d.p, d.x.data() + cuts[3] * d.p, d.y.data() + cuts[3], 1,
                                       ORVLS_IDO, 3, ORVLS_NO_INTERCEPT, ORVLS_NO_CENTERING);
    EXPECT_EQ(chunked.b, whole.b);
    EXPECT_EQ(chunked.sscp, whole.sscp);
    EXPECT_EQ(chunked.r, whole.r);
    EXPECT_EQ(chunked.df, whole.df);
}

TEST(RegressionInvariants, RemovedRowsLeaveTheFitWithoutThem)
{
    Design d = design();
    const int64_t kept = 30;
    const Result without = closing_fit(kept, d.p, d.x.data(), d.y.data(), 1);
    ErrorCapture capture;
    orvls_d_regression(d.n, d.p, d.x.data(), d.y.data(), ORVLS_IDO, 1, 0);
    const Result removed = closing_fit(d.n - kept, d.p, d.x.data() + kept * d.p, d.y.data() + kept, 1, ORVLS_IDO, 3,
                                       ORVLS_DELETE_OBSERVATIONS);
    expect_near(removed, without, 1e-12);
    // Every row taken out, then others in: the fit of the others alone.
    orvls_d_regression(10, d.p, d.x.data(), d.y.data(), ORVLS_IDO, 1, 0);
    orvls_d_regression(10, d.p, d.x.data(), d.y.data(), ORVLS_IDO, 2, ORVLS_DELETE_OBSERVATIONS, 0);
    const Result again = closing_fit(d.n - 10, d.p, d.x.data() + 10 * d.p, d.y.data() + 10, 1, ORVLS_IDO, 3);
    expect_near(again, closing_fit(d.n - 10, d.p, d.x.data() + 10 * d.p, d.y.data() + 10, 1), 1e-12);
}

TEST(RegressionInvariants, WeightTwoIsTheRowTwiceAndFrequencyZeroSkips)
{
    Design d = design();
    const int64_t n = 12;
    std::vector<double> weights(size_t(n), 1.0), frequencies(size_t(n), 1.0);
    weights[5] = 2;
    std::vector<double> x2(d.x.begin(), d.x.begin() + n * d.p), y2(d.y.begin(), d.y.begin() + n);
    x2.insert(x2.end(), d.x.begin() + 5 * d.p, d.x.begin() + 6 * d.p);
    y2.push_back(d.y[5]);
    const Result weighted = closing_fit(n, d.p, d.x.data(), d.y.data(), 1, ORVLS_WEIGHTS, weights.data());
    const Result twice = closing_fit(n + 1, d.p, x2.data(), y2.data(), 1);
    EXPECT_LE(relative_difference(weighted.b.data(), twice.b, twice.b.size()), 1e-13);
    EXPECT_LE(relative_difference(weighted.sscp.data(), twice.sscp, 1), 1e-13);
    EXPECT_EQ(weighted.df + 1, twice.df);  // a weight is not a count
    frequencies[5] = 2;
    expect_near(closing_fit(n, d.p, d.x.data(), d.y.data(), 1, ORVLS_FREQUENCIES, frequencies.data()), twice,
                1e-13);
    // A zero frequency: the row is not there at all.
    frequencies[5] = 0;
    std::vector<double> x1 = d.x, y1 = d.y;
    x1.erase(x1.begin() + 5 * d.p, x1.begin() + 6 * d.p);
    y1.erase(y1.begin() + 5);
    const Result skipped = closing_fit(n, d.p, d.x.data(), d.y.data(), 1, ORVLS_FREQUENCIES, frequencies.data());
    const Result absent = closing_fit(n - 1, d.p, x1.data(), y1.data(), 1);
    EXPECT_EQ(skipped.b, absent.b);
    EXPECT_EQ(skipped.df, absent.df);
}

TEST(RegressionInvariants, OneMatrixWithIndicesIsTheSameFitAndComesBackIntact)
{
    Design d = design();
    // Columns: y, weight, x2, x0, frequency, x1.
    const int64_t cols = 6;
    std::vector<double> all(size_t(d.n * cols)), weights(size_t(d.n)), frequencies(size_t(d.n));
    for (int64_t i = 0; i < d.n; ++i) {
        weights[size_t(i)] = 0.5 + double(i % 3);
        frequencies[size_t(i)] = double(i % 4 == 0 ? 2 : 1);
        const double row[cols] = {d.y[size_t(i)], weights[size_t(i)], d.x[size_t(i * 3 + 2)],
                                  d.x[size_t(i * 3)],  frequencies[size_t(i)], d.x[size_t(i * 3 + 1)]};
        std::memcpy(&all[size_t(i * cols)], row, sizeof row);
    }
    const std::vector<double> before = all;
    const int64_t independent[] = {3, 5, 2}, dependent[] = {0};
    const Result separate = closing_fit(d.n, d.p, d.x.data(), d.y.data(), 1, ORVLS_WEIGHTS, weights.data(),
                                        ORVLS_FREQUENCIES, frequencies.data());
    const Result indexed = closing_fit(d.n, d.p, all.data(), nullptr, 1, ORVLS_X_INDICES, independent, dependent, 4,
                                       1, ORVLS_X_COL_DIM, int(cols));
    EXPECT_EQ(indexed.b, separate.b);
    EXPECT_EQ(indexed.sscp, separate.sscp);
    EXPECT_EQ(std::memcmp(all.data(), before.data(), all.size() * sizeof(double)), 0);
}

TEST(RegressionInvariants, SeveralDependentsAreSeparateFitsAndCenteringChangesNoFit)
{
    Design d = design();
    std::vector<double> y2(size_t(d.n * 2));
    for (int64_t i = 0; i < d.n; ++i) {
        y2[size_t(2 * i)] = d.y[size_t(i)];
        y2[size_t(2 * i + 1)] = d.x[size_t(3 * i)] - 2 * d.y[size_t(i)];
    }
    const Result both = closing_fit(d.n, d.p, d.x.data(), y2.data(), 2);
    const Result first = closing_fit(d.n, d.p, d.x.data(), d.y.data(), 1);
    EXPECT_EQ(std::vector<double>(both.b.begin(), both.b.begin() + 4), first.b);
    EXPECT_EQ(both.sscp[0], first.sscp[0]);
    EXPECT_EQ(both.sscp[1], both.sscp[2]);
    expect_near(closing_fit(d.n, d.p, d.x.data(), d.y.data(), 1, ORVLS_NO_CENTERING), first, 1e-13);
}

TEST(RegressionInvariants, SpecialColumns)
{
    ErrorCapture capture;
    // x0 constant 2, x1 all zero, x2 constant 3, x3 varies; no intercept:
    // the first constant column stays, the zero and the second constant go.
    double x[] = {2, 0, 3, 1, 2, 0, 3, 2, 2, 0, 3, 4, 2, 0, 3, 7};
    double y[] = {3, 5, 9, 15};
    int64_t rank = 0;
    double b[4];
    ASSERT_NE(orvls_d_regression(4, 4, x, y, ORVLS_NO_INTERCEPT, ORVLS_RETURN_USER, b, ORVLS_RANK, &rank, 0),
              nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{3, 11047}));
    EXPECT_EQ(rank, 2);
    EXPECT_NEAR(b[0], 0.5, 1e-14);  // y = 2 x3 + 1 = 0.5 x0 + 2 x3
    EXPECT_EQ(b[1], 0.0);
    EXPECT_EQ(b[2], 0.0);
    EXPECT_NEAR(b[3], 2.0, 1e-14);
    // A perfect fit leaves no degrees of freedom: told, and the fit stands.
    double* exact = orvls_d_regression(2, 1, x + 3, y, ORVLS_X_COL_DIM, 4, 0);
    ASSERT_NE(exact, nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{6, 11049}));
    std::free(exact);
    // Weight 0: counted in df_error, no part of the fit.
    double w[] = {1, 1, 0, 1}, df = 0;
    double* b0 = orvls_d_regression(4, 1, x + 3, y, ORVLS_X_COL_DIM, 4, ORVLS_WEIGHTS, w, ORVLS_DF_ERROR, &df, 0);
    ASSERT_NE(b0, nullptr);
    EXPECT_EQ(df, 2.0);
    EXPECT_NEAR(b0[1], 2.0, 1e-14);
    std::free(b0);
    // No dependent variable: the factor only.
    double r[4];
    double* none = orvls_d_regression(4, 1, x + 3, y, ORVLS_X_COL_DIM, 4, ORVLS_N_DEPENDENT, 0, ORVLS_R_USER, r, 0);
    ASSERT_NE(none, nullptr);
    EXPECT_NEAR(r[0], 2.0, 1e-14);  // sqrt(4 rows)
    std::free(none);
    // Frequencies above 1: the rank option reports the stated difference.
    double f[] = {2, 1, 1, 3};
    double* fb = orvls_d_regression(4, 1, x + 3, y, ORVLS_X_COL_DIM, 4, ORVLS_FREQUENCIES, f, ORVLS_RANK, &rank, 0);
    EXPECT_EQ(rank, 4 - (7 - 2));
    std::free(fb);
}

}  // namespace
