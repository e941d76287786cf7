// The simple statistics against references computed independently with
// numpy and scipy (tools/gen_statistics_refs.py), in both precisions, with
// every way of passing the options.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "reference_blocks.h"
#include "statistics_support.h"

namespace {

using Matrix = ReferenceMatrix;

struct Case {
    std::string name, mode;
    bool has_frequencies = false, has_weights = false;
    int median = 0;
    double conprm = 0, conprv = 0;
    Matrix x, frequencies, weights, expected;
};

const std::vector<Case>& cases()
{
    static const std::vector<Case> all =
        read_reference_cases<Case>("tests/statistics/data/references.txt", [](std::istream& in, Case& c) {
            in >> c.name >> c.mode >> c.has_frequencies >> c.has_weights >> c.median >> c.conprm >> c.conprv;
            c.x = read_reference_matrix(in, "x");
            if (c.has_frequencies)
                c.frequencies = read_reference_matrix(in, "frequencies");
            if (c.has_weights)
                c.weights = read_reference_matrix(in, "weights");
            c.expected = read_reference_matrix(in, "expected");
        });
    return all;
}

template <class Real>
std::vector<Real> as(const std::vector<double>& values)
{
    return std::vector<Real>(values.begin(), values.end());
}

// Runs a case with its options by value; the result has return_col_dim
// columns.
template <class Real>
Real* run_case(const Case& c, std::vector<Real>& x, int x_col_dim, int return_col_dim, Real* user = nullptr)
{
    const std::vector<Real> f = as<Real>(c.frequencies.values), w = as<Real>(c.weights.values);
    const int mode = c.mode == "elementwise" ? ORVLS_MISSING_ELEMENTWISE : ORVLS_MISSING_LISTWISE;
    const int median = c.median == 1 ? ORVLS_MEDIAN : (c.median == 3 ? ORVLS_MEDIAN_AND_SCALE : mode);
    // A user array is given through its option; without one the option is a
    // harmless repeat of the mode.
    auto call = [&](auto... data) {
        if (user != nullptr)
            return simple_statistics<Real>(c.x.rows, c.x.columns, x.data(), mode, median, ORVLS_CONFIDENCE_MEANS,
                                           c.conprm, ORVLS_CONFIDENCE_VARIANCES, c.conprv, ORVLS_X_COL_DIM, x_col_dim,
                                           ORVLS_RETURN_COL_DIM, return_col_dim, ORVLS_RETURN_USER, user, data..., 0);
        return simple_statistics<Real>(c.x.rows, c.x.columns, x.data(), mode, median, ORVLS_CONFIDENCE_MEANS,
                                       c.conprm, ORVLS_CONFIDENCE_VARIANCES, c.conprv, ORVLS_X_COL_DIM, x_col_dim,
                                       ORVLS_RETURN_COL_DIM, return_col_dim, data..., 0);
    };
    if (c.has_frequencies && c.has_weights)
        return call(ORVLS_FREQUENCIES, f.data(), ORVLS_WEIGHTS, w.data());
    if (c.has_frequencies)
        return call(ORVLS_FREQUENCIES, f.data());
    if (c.has_weights)
        return call(ORVLS_WEIGHTS, w.data());
    return call();
}

// x with row length x_col_dim, the padding filled with values that must
// not be read.
template <class Real>
std::vector<Real> padded_x(const Case& c, int x_col_dim)
{
    std::vector<Real> x(static_cast<size_t>(c.x.rows * x_col_dim), Real(-1e30));
    for (int64_t i = 0; i < c.x.rows; ++i)
        for (int64_t j = 0; j < c.x.columns; ++j)
            x[i * x_col_dim + j] = static_cast<Real>(c.x.values[i * c.x.columns + j]);
    return x;
}

// The confidence limits rest on the library's t and chi-squared quantiles,
// which are accurate to a few parts in 1e8 at fractional degrees of freedom.
template <class Real>
void expect_matches(const Case& c, const Real* result, int64_t ld, double tolerance)
{
    const double limit_tolerance = std::fmax(tolerance, 5e-8);
    ASSERT_NE(result, nullptr);
    for (int64_t row = 0; row < c.expected.rows; ++row) {
        for (int64_t j = 0; j < c.expected.columns; ++j) {
            const double want = c.expected.values[row * c.expected.columns + j];
            const double got = result[row * ld + j];
            SCOPED_TRACE("row " + std::to_string(row) + ", variable " + std::to_string(j));
            if (std::isnan(want))
                EXPECT_TRUE(std::isnan(got)) << got;
            else
                EXPECT_NEAR(got, want,
                            (row >= 10 && row <= 13 ? limit_tolerance : tolerance) * std::fmax(std::fabs(want), 1e-2));
        }
    }
}

bool same_bits(const void* a, const void* b, size_t bytes) { return std::memcmp(a, b, bytes) == 0; }

template <class Real>
void check_all_cases(double tolerance)
{
    ASSERT_EQ(cases().size(), 10u);
    ReportLog log;
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.name);
        for (int x_col_dim : {static_cast<int>(c.x.columns), static_cast<int>(c.x.columns) + 2}) {
            std::vector<Real> x = padded_x<Real>(c, x_col_dim);
            const std::vector<Real> original = x;
            Real* result = run_case<Real>(c, x, x_col_dim, static_cast<int>(c.x.columns));
            expect_matches(c, result, c.x.columns, tolerance);
            EXPECT_TRUE(same_bits(x.data(), original.data(), x.size() * sizeof(Real))) << "x not restored";
            EXPECT_TRUE(orvls_n1rty(1) < 4 || orvls_n1rty(1) == 6);
            orvls_free_allocated_memory(result);
        }
    }
}

TEST(SimpleStatistics, DoubleMatchesReferences) { check_all_cases<double>(1e-11); }

TEST(SimpleStatistics, FloatMatchesReferences) { check_all_cases<float>(2e-4); }

// A user array with a longer row: the result lands in it, the pointer comes
// back, and the cells beyond the rows asked for are left alone.
TEST(SimpleStatistics, ReturnUserWithItsRowLength)
{
    ReportLog log;
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.name);
        const int ld = static_cast<int>(c.x.columns) + 1;
        std::vector<double> user(static_cast<size_t>(ld * (c.expected.rows + 1)), 7.0);
        std::vector<double> x = padded_x<double>(c, static_cast<int>(c.x.columns));
        double* result = run_case<double>(c, x, static_cast<int>(c.x.columns), ld, user.data());
        EXPECT_EQ(result, user.data());
        expect_matches(c, result, ld, 1e-11);
        for (int64_t j = 0; j < ld; ++j)
            EXPECT_EQ(user[c.expected.rows * ld + j], 7.0);
    }
}

// The confidence options by address give what the same values by value give.
template <class Real>
void check_by_address()
{
    ReportLog log;
    const Case& c = cases()[1];
    std::vector<Real> x = padded_x<Real>(c, static_cast<int>(c.x.columns));
    const int n = static_cast<int>(c.x.columns);
    Real* by_value = run_case<Real>(c, x, n, n);
    const Real means = static_cast<Real>(c.conprm), variances = static_cast<Real>(c.conprv);
    Real* by_address = simple_statistics<Real>(c.x.rows, c.x.columns, x.data(), ORVLS_MEDIAN,
                                               ORVLS_CONFIDENCE_MEANS_ADR, &means, ORVLS_CONFIDENCE_VARIANCES_ADR,
                                               &variances, 0);
    ASSERT_NE(by_value, nullptr);
    ASSERT_NE(by_address, nullptr);
    EXPECT_TRUE(same_bits(by_value, by_address, static_cast<size_t>(c.expected.rows * n) * sizeof(Real)));
    orvls_free_allocated_memory(by_value);
    orvls_free_allocated_memory(by_address);
}

TEST(SimpleStatistics, ConfidencesByAddress)
{
    check_by_address<double>();
    check_by_address<float>();
}

// A confidence of 0 or below leaves its limit rows as they were.
TEST(SimpleStatistics, NoConfidenceLeavesLimitRows)
{
    ReportLog log;
    double x[6] = {1, 4, 2, 8, 3, 9};
    double user[14 * 2];
    std::fill(std::begin(user), std::end(user), 7.0);
    ASSERT_EQ(orvls_d_simple_statistics(3, 2, x, ORVLS_CONFIDENCE_MEANS, 0.0, ORVLS_CONFIDENCE_VARIANCES, -5.0,
                                        ORVLS_RETURN_USER, user, 0),
              user);
    for (int k = 10 * 2; k < 14 * 2; ++k)
        EXPECT_EQ(user[k], 7.0);
    EXPECT_DOUBLE_EQ(user[0], 2.0);  // the mean of 1, 2, 3
}

}  // namespace
