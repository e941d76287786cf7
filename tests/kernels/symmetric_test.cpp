// The kernels of the filter family: completing a symmetric matrix, the
// Cholesky factor with dependent columns, the triangular solves within a
// tolerance, and the first-NaN search.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "capture.h"
#include "kernels/girts.h"
#include "kernels/nan_search.h"
#include "kernels/symmetric.h"
#include "reference_blas.h"

namespace {

using orvls::kernels::orvls_chfac;
using orvls::kernels::orvls_dcsfrg;
using orvls::kernels::orvls_first_nan;
using orvls::kernels::orvls_girts;
using orvls::kernels::Storage;

template <class>
class Symmetric : public ::testing::Test {};
TYPED_TEST_SUITE(Symmetric, Reals);

TYPED_TEST(Symmetric, CompletionCopiesTheUpperTriangleInEitherStorage)
{
    using Real = TypeParam;
    for (int64_t n : {0, 1, 2, 5})
        for (Storage storage : {Storage::column_major, Storage::row_major}) {
            const int64_t ld = n + 2;
            const auto original = random_values<Real>(size_t(ld * std::max<int64_t>(n, 1)), unsigned(n));
            auto a = original;
            orvls_dcsfrg<Real>(n, a.data(), ld, storage);
            auto at = [&](const std::vector<Real>& m, int64_t i, int64_t j) {
                return storage == Storage::column_major ? m[i + j * ld] : m[i * ld + j];
            };
            for (int64_t i = 0; i < n; ++i)
                for (int64_t j = 0; j < n; ++j)
                    EXPECT_EQ(at(a, i, j), at(original, std::min(i, j), std::max(i, j))) << i << ", " << j;
            for (int64_t k = 0; k < int64_t(a.size()); ++k) {
                const bool padding = k % ld >= n || k / ld >= n;
                if (padding) {
                    EXPECT_EQ(a[k], original[k]) << k;
                }
            }
        }
}

// A = B'B for B of `rows` x n random rows, with column `copy_to` of B made
// equal to column 0 when it is set: column-major, leading dimension n + 1.
template <class Real>
std::vector<Real> gram(int64_t n, int64_t rows, unsigned seed, int64_t copy_to = -1)
{
    auto b = random_values<double>(size_t(rows * n), seed);
    if (copy_to >= 0)
        for (int64_t k = 0; k < rows; ++k)
            b[k + copy_to * rows] = b[k];
    std::vector<Real> a(size_t((n + 1) * n), Real(7));  // the padding row is never read
    for (int64_t i = 0; i < n; ++i)
        for (int64_t j = 0; j < n; ++j) {
            double s = 0;
            for (int64_t k = 0; k < rows; ++k)
                s += b[k + i * rows] * b[k + j * rows];
            a[i + j * (n + 1)] = Real(s);
        }
    return a;
}

// ||R'R - A||_F over ||A||_F eps, and whether R is upper triangular.
template <class Real>
double scaled_residual(int64_t n, const std::vector<Real>& a, const std::vector<Real>& r, bool& triangular)
{
    double residual = 0, norm = 0;
    triangular = true;
    for (int64_t i = 0; i < n; ++i)
        for (int64_t j = 0; j < n; ++j) {
            double s = 0;
            for (int64_t k = 0; k <= std::min(i, j); ++k)
                s += double(r[k + i * n]) * r[k + j * n];
            const double aij = a[i + j * (n + 1)];
            residual += (s - aij) * (s - aij);
            norm += aij * aij;
            triangular = triangular && (i <= j || r[i + j * n] == 0);
        }
    return std::sqrt(residual / norm) / std::numeric_limits<Real>::epsilon();
}

TYPED_TEST(Symmetric, CholeskyFactorsWithRankAndSmallResidual)
{
    using Real = TypeParam;
    const Real tol = 100 * std::numeric_limits<Real>::epsilon();
    struct Case {
        int64_t n, rows, copy_to, rank;
        std::vector<int64_t> zero_rows;
    };
    const Case cases[] = {
        {1, 3, -1, 1, {}},       {2, 4, -1, 2, {}},  {7, 12, -1, 7, {}},   {20, 30, -1, 20, {}},
        {6, 3, -1, 3, {3, 4, 5}}, {5, 8, 2, 4, {2}}, {4, 8, 1, 3, {1}},   {9, 4, 6, 4, {4, 5, 6, 7, 8}},
    };
    double worst = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << "n " << c.n << ", rows " << c.rows << ", copy to " << c.copy_to);
        const auto a = gram<Real>(c.n, c.rows, unsigned(c.n * 31 + c.rows), c.copy_to);
        std::vector<Real> r(size_t(c.n * c.n), Real(5));
        int64_t rank = -1;
        ASSERT_EQ(orvls_chfac<Real>(c.n, a.data(), c.n + 1, tol, &rank, r.data(), c.n), 0);
        EXPECT_EQ(rank, c.rank);
        for (int64_t i = 0; i < c.n; ++i) {
            const bool zero = std::count(c.zero_rows.begin(), c.zero_rows.end(), i) > 0;
            for (int64_t j = i; j < c.n && zero; ++j)
                EXPECT_EQ(r[i + j * c.n], 0) << "row " << i;
            if (!zero) {
                EXPECT_GT(r[i + i * c.n], 0) << "row " << i;
            }
        }
        bool triangular = false;
        const double residual = scaled_residual<Real>(c.n, a, r, triangular);
        EXPECT_TRUE(triangular);
        EXPECT_LE(residual, 2.0 * c.n);
        worst = std::max(worst, residual);
    }
    std::printf("largest ||R'R - A|| / (||A|| eps): %.2f\n", worst);
}

TYPED_TEST(Symmetric, CholeskyRefusesWhatIsNotNonNegativeDefinite)
{
    using Real = TypeParam;
    const Real eps = std::numeric_limits<Real>::epsilon();
    struct Case {
        const char* what;
        std::vector<Real> a;  // 2 x 2 or 3 x 3, column-major
        Real tol;
        int64_t code, rank;
    };
    const Case cases[] = {
        {"negative diagonal", {-1, 0, 0, 1}, 0, 1, 0},
        {"indefinite", {1, 2, 2, 1}, 100 * eps, 1, 1},
        {"zero diagonal beside a covariance", {0, 1, 1, 1}, Real(0.5), 1, 0},
        {"zero row and column", {0, 0, 0, 0, 2, 1, 0, 1, 2}, 0, 0, 2},
        {"pivot just below 0, within the tolerance", {1, 1, 1, 1 - 8 * eps}, 100 * eps, 0, 1},
        {"pivot just below 0, exact rule", {1, 1, 1, 1 - 8 * eps}, 0, 1, 1},
        {"pivot just above 0, within the tolerance", {1, 1, 1, 1 + 8 * eps}, 100 * eps, 0, 1},
        {"pivot just above 0, exact rule", {1, 1, 1, 1 + 8 * eps}, 0, 0, 2},
        {"a tolerance of 1 finds every column dependent", {4, 2, 2, 1.5}, 1, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const int64_t n = c.a.size() == 4 ? 2 : 3;
        std::vector<Real> r(c.a.size());
        int64_t rank = -1;
        EXPECT_EQ(orvls_chfac<Real>(n, c.a.data(), n, c.tol, &rank, r.data(), n), c.code);
        EXPECT_EQ(rank, c.rank);
    }
}

// R (3 x 3, column-major) with a zero second diagonal, but not a zero second
// row or column: R'x = b and Rx = b are consistent when b is made from a
// solution with 0 there.
template <class Real>
struct ZeroDiagonalSystem {
    std::vector<Real> r = {2, 0, 0, 1, 0, 0, -1, 3, 4};
    std::vector<Real> solution = {1, 0, -2};
    std::vector<Real> right(int64_t path) const
    {
        std::vector<Real> b(3, 0);
        for (int64_t i = 0; i < 3; ++i)
            for (int64_t j = 0; j < 3; ++j)
                b[i] += (path == 1 ? r[i + j * 3] : r[j + i * 3]) * solution[j];
        return b;
    }
};

TYPED_TEST(Symmetric, TriangularSolvesWithinATolerance)
{
    using Real = TypeParam;
    const Real eps = std::numeric_limits<Real>::epsilon();
    ErrorCapture capture;
    const ZeroDiagonalSystem<Real> system;
    struct Case {
        const char* what;
        int64_t path;
        Real disturbance;  // added to b at the zero diagonal
        Real tolerance;
        int64_t code;
    };
    const Case cases[] = {
        {"transposed, consistent", 2, 0, 0, 0},
        {"transposed, rounding within the tolerance", 2, 8 * eps, 100 * eps, 0},
        {"transposed, rounding under the exact rule", 2, 8 * eps, 0, 1},
        {"transposed, inconsistent", 2, Real(0.01), 100 * eps, 1},
        {"plain, rounding within the tolerance", 1, 8 * eps, 100 * eps, 0},
        {"plain, rounding under the exact rule", 1, 8 * eps, 0, 1},
        {"plain, inconsistent", 1, Real(0.01), 100 * eps, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto b = system.right(c.path);
        b[1] += c.disturbance;
        std::vector<Real> x(3, Real(9));
        int64_t rank = 0;
        orvls_e1psh("girts test");
        EXPECT_EQ(orvls_girts<Real>(3, system.r.data(), 3, 1, b.data(), 3, c.path, c.tolerance, &rank, x.data(), 3),
                  c.code);
        orvls_e1pop("girts test");
        EXPECT_EQ(orvls_n1rty(1), 0) << "nothing is raised";
        EXPECT_EQ(rank, 2);
        EXPECT_EQ(x[1], 0);
        for (int64_t i : {0, 2})
            if (c.code == 0) {
                EXPECT_NEAR(x[i], system.solution[i], 4 * eps);
            }
        // In place, and the exact form as the regression engine calls it.
        std::vector<Real> in_place = b;
        orvls_e1psh("girts test");
        orvls_girts<Real>(3, system.r.data(), 3, 1, in_place.data(), 3, c.path, &rank, in_place.data(), 3, nullptr,
                          0);
        orvls_e1pop("girts test");
        EXPECT_EQ(in_place[1], 0);
        EXPECT_EQ(last_outcome(), (c.disturbance != 0 ? Outcome{3, 11058} : Outcome{0, 0}));
    }
}

// A zero row with nothing solved before it leaves the right-hand side as its
// own scale, unless the magnitudes behind it are given.
TYPED_TEST(Symmetric, TriangularSolveOnTheScaleOfTheRightHandSide)
{
    using Real = TypeParam;
    const Real eps = std::numeric_limits<Real>::epsilon();
    const std::vector<Real> r = {0, 0, 0, 2}, b = {4 * eps, 2}, scale = {1, 1};
    std::vector<Real> x(2);
    int64_t rank = 0;
    EXPECT_EQ(orvls_girts<Real>(2, r.data(), 2, 1, b.data(), 2, 2, 100 * eps, &rank, x.data(), 2), 1);
    EXPECT_EQ(orvls_girts<Real>(2, r.data(), 2, 1, b.data(), 2, 2, 100 * eps, &rank, x.data(), 2, scale.data()), 0);
    EXPECT_EQ(x, (std::vector<Real>{0, 1}));
    EXPECT_EQ(rank, 1);
}

TYPED_TEST(Symmetric, FirstNaNSearch)
{
    using Real = TypeParam;
    const Real nan = std::numeric_limits<Real>::quiet_NaN();
    const Real x[] = {1, 2, nan, 4, nan, 6};
    EXPECT_EQ(orvls_first_nan<Real>(0, x, 1), 0);
    EXPECT_EQ(orvls_first_nan<Real>(2, x, 1), 0);
    EXPECT_EQ(orvls_first_nan<Real>(6, x, 1), 3);
    EXPECT_EQ(orvls_first_nan<Real>(3, x + 1, 2), 0);
    EXPECT_EQ(orvls_first_nan<Real>(3, x, 2), 2);
    EXPECT_EQ(orvls_first_nan<Real>(3, x + 1, -2), 0);
    EXPECT_EQ(orvls_first_nan<Real>(2, x + 2, -1), 2);  // x[3], then x[2]
}

}  // namespace
