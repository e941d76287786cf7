// The library's vector additions, the scalar helpers and the sort, on cases
// checked by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "reference_blas.h"

namespace {

TEST(Additions, FillAddScaleAndCopy)
{
    // Stride 2 touches every other element; -2 walks the same ones from the far end.
    std::vector<float> x(7, 0);
    orvls_sset(4, 2.5f, x.data(), 2);
    EXPECT_EQ(x, (std::vector<float>{2.5f, 0, 2.5f, 0, 2.5f, 0, 2.5f}));
    orvls_sadd(3, 1, x.data(), -3);
    EXPECT_EQ(x, (std::vector<float>{3.5f, 0, 2.5f, 1, 2.5f, 0, 3.5f}));
    std::vector<double> d = {1, 2, 3};
    orvls_dset(0, 9, d.data(), 1);
    orvls_dadd(-1, 9, d.data(), 1);
    EXPECT_EQ(d, (std::vector<double>{1, 2, 3}));
    orvls_dadd(3, -1, d.data(), 1);
    EXPECT_EQ(d, (std::vector<double>{0, 1, 2}));

    const float source[] = {1, 2, 3};
    float target[] = {0, 0, 0, 0, 0};
    orvls_svcal(3, -2, source, 1, target, -2);  // far end first: target[4] = -2 source[0]
    EXPECT_EQ(std::vector<float>(target, target + 5), (std::vector<float>{-6, 0, -4, 0, -2}));

    std::vector<int64_t> i = {1, 2, 3, 4};
    std::vector<int64_t> j = {0, 0, 0, 0};
    orvls_iset(2, 7, i.data(), 3);
    EXPECT_EQ(i, (std::vector<int64_t>{7, 2, 3, 7}));
    orvls_icopy(4, i.data(), 1, j.data(), -1);
    EXPECT_EQ(j, (std::vector<int64_t>{7, 3, 2, 7}));
    orvls_iswap(2, i.data(), 1, j.data(), 2);
    EXPECT_EQ(i, (std::vector<int64_t>{7, 2, 3, 7}));
    EXPECT_EQ(j, (std::vector<int64_t>{7, 3, 2, 7}));
    orvls_iswap(2, i.data(), 1, j.data(), 1);
    EXPECT_EQ(i, (std::vector<int64_t>{7, 3, 3, 7}));

    orvls_f_complex c[3] = {};
    orvls_cset(2, {1, -1}, c, 2);
    EXPECT_TRUE(c[0].re == 1 && c[0].im == -1 && c[1].re == 0 && c[2].im == -1);
    orvls_d_complex z[2] = {{1, 2}, {3, 4}}, w[2] = {};
    orvls_zset(1, {5, 6}, z + 1, 1);
    orvls_zcopy(2, z, 1, w, -1);
    EXPECT_TRUE(w[0].re == 5 && w[0].im == 6 && w[1].re == 1 && w[1].im == 2);
    orvls_f_complex e[2] = {}, f[2] = {{1, 2}, {3, 4}};
    orvls_ccopy(2, f, 1, e, 1);
    orvls_cswap(1, e, 1, e + 1, 1);
    EXPECT_TRUE(e[0].re == 3 && e[1].im == 2);
}

TEST(Additions, Reductions)
{
    const float x[] = {1, -2, 3, -4, 5};
    const float y[] = {2, 2, 2, 2, 2};
    const float z[] = {1, 0, -1, 0, 1};
    EXPECT_EQ(orvls_ssum(5, x, 1), 3);
    EXPECT_EQ(orvls_ssum(3, x, 2), 9);
    EXPECT_EQ(orvls_ssum(0, x, 1), 0);
    EXPECT_EQ(orvls_sasum(5, x, 1), 15);
    EXPECT_EQ(orvls_sasum(2, x, -3), 5);
    EXPECT_EQ(orvls_sxyz(5, x, 1, y, 1, z, 1), 6);  // 2 (1 - 3 + 5)
    EXPECT_EQ(orvls_sxyz(-2, x, 1, y, 1, z, 1), 0);
    std::vector<double> d(1001);
    for (size_t i = 0; i < d.size(); ++i)
        d[i] = double(i);
    EXPECT_EQ(orvls_dsum(1001, d.data(), 1), 500500);
    EXPECT_EQ(orvls_dxyz(3, d.data(), 1, d.data() + 1, 1, d.data() + 2, -1), 0 * 1 * 4 + 1 * 2 * 3 + 2 * 3 * 2);
    // Odd lengths exercise the tail after the two-accumulator loop.
    std::vector<int64_t> k(999);
    for (size_t i = 0; i < k.size(); ++i)
        k[i] = int64_t(i) * 1000000007;
    EXPECT_EQ(orvls_isum(999, k.data(), 1), int64_t(998) * 999 / 2 * 1000000007);
    EXPECT_EQ(orvls_isum(3, k.data(), -2), (0 + 2 + 4) * int64_t(1000000007));

    const int64_t n = 3, one = 1, minus_one = -1;
    double product[3] = {};
    orvls_dshprod(&n, d.data() + 1, &one, d.data() + 4, &minus_one, product, &one);
    EXPECT_EQ(std::vector<double>(product, product + 3), (std::vector<double>{6, 10, 12}));
    float fproduct[3] = {};
    orvls_shprod(&n, x, &one, y, &one, fproduct, &one);
    EXPECT_EQ(fproduct[2], 6);
}

TEST(Additions, IndexSearches)
{
    const float x[] = {3, -7, 7, 1, -7, 2};
    const double d[] = {3, -7, 7, 1, -7, 2};
    // Ties go to the first in walk order; a negative stride walks from the far end.
    EXPECT_EQ(orvls_ismax(6, x, 1), 3);
    EXPECT_EQ(orvls_dismax(6, d, 1), 3);
    EXPECT_EQ(orvls_ismin(6, x, 1), 2);
    EXPECT_EQ(orvls_dismin(6, d, -1), 2);  // walk 2, -7, 1, 7, -7, 3
    EXPECT_EQ(orvls_isamax(6, x, 1), 2);
    EXPECT_EQ(orvls_idamax(6, d, -1), 2);
    EXPECT_EQ(orvls_isamin(6, x, 1), 4);
    EXPECT_EQ(orvls_idamin(3, d, 2), 1);  // 3, 7, -7
    EXPECT_EQ(orvls_ismax(0, x, 1), 0);
    EXPECT_EQ(orvls_idamax(-1, d, 1), 0);
    EXPECT_EQ(orvls_isamin(1, x + 1, 1), 1);
    const int64_t k[] = {4, 9, -2, 9, -2};
    const int64_t five = 5, zero = 0, one = 1, two = 2;
    EXPECT_EQ(orvls_iimax(&five, k, &one), 2);
    EXPECT_EQ(orvls_iimin(&five, k, &one), 3);
    EXPECT_EQ(orvls_iimin(&two, k, &two), 2);
    EXPECT_EQ(orvls_iimax(&zero, k, &one), 0);
}

TEST(Scalars, MaximumMinimumAndPowers)
{
    EXPECT_EQ(orvls_d_max(1, 2), 2);
    EXPECT_EQ(orvls_f_min(-1, 2), -1);
    EXPECT_EQ(orvls_i_max(-5, 3), 3);
    EXPECT_EQ(orvls_i_min(-5, 3), -5);
    EXPECT_TRUE(std::isnan(orvls_d_max(NAN, 1)));
    EXPECT_TRUE(std::isnan(orvls_d_min(1, NAN)));
    EXPECT_TRUE(std::isnan(orvls_f_max(1, NAN)));
    EXPECT_DOUBLE_EQ(orvls_d_power(2, 0.5), std::sqrt(2.0));
    EXPECT_FLOAT_EQ(orvls_f_power(8, 1.0f / 3), 2);

    // Written-out products and square-and-multiply, positive and negative k.
    const struct {
        double x;
        int64_t k;
        double expected;
    } cases[] = {{0, 0, 1},       {-3, 0, 1},          {2, 1, 2},        {-2, 3, -8},          {1.5, 4, 5.0625},
                 {-2, 5, -32},    {3, 6, 729},          {2, 7, 128},      {-1.5, 9, -38.443359375}, {2, 62, 0x1p62},
                 {2, -1, 0.5},    {-4, -3, -1.0 / 64}, {0.5, -20, 1048576}, {0, -1, INFINITY},    {10, 22, 1e22}};
    for (const auto& c : cases) {
        EXPECT_EQ(orvls_d_integer_power(c.x, c.k), c.expected) << c.x << "^" << c.k;
        EXPECT_FLOAT_EQ(orvls_f_integer_power(float(c.x), c.k), float(c.expected)) << c.x << "^" << c.k;
    }
    // A negative power inverts x first: (1/3)^3 from the rounded 1/3.
    const double third = 1.0 / 3;
    EXPECT_EQ(orvls_d_integer_power(3, -3), third * third * third);
    EXPECT_NEAR(orvls_d_integer_power(1.0001, 10000), std::pow(1.0001, 10000), 1e-11 * std::pow(1.0001, 10000));
}

TEST(Scalars, ComplexNegationAndDivision)
{
    const orvls_d_complex minus = orvls_z_neg({1, -2});
    EXPECT_TRUE(minus.re == -1 && minus.im == 2);
    const orvls_f_complex cminus = orvls_c_neg({0.5f, 0});
    EXPECT_TRUE(cminus.re == -0.5f && cminus.im == 0 && std::signbit(cminus.im));
    // (1 + 2i) / (3 + 4i) = (11 + 2i) / 25, both branches of the scaling.
    const orvls_d_complex q = orvls_z_div({1, 2}, {3, 4});
    EXPECT_DOUBLE_EQ(q.re, 0.44);
    EXPECT_DOUBLE_EQ(q.im, 0.08);
    const orvls_d_complex r = orvls_z_div({1, 2}, {4, 3});  // (10 + 5i) / 25
    EXPECT_DOUBLE_EQ(r.re, 0.4);
    EXPECT_DOUBLE_EQ(r.im, 0.2);
    const orvls_f_complex s = orvls_c_div({2, 0}, {0, 1});  // -2i
    EXPECT_FLOAT_EQ(s.re, 0);
    EXPECT_FLOAT_EQ(s.im, -2);
    // Parts near the top of the range: a naive division overflows.
    const orvls_d_complex big = orvls_z_div({1e300, 1e300}, {1e300, -1e300});
    EXPECT_NEAR(big.re, 0, 1e-15);
    EXPECT_DOUBLE_EQ(big.im, 1);
    const orvls_f_complex bigf = orvls_c_div({3e37f, 4e37f}, {3e37f, 4e37f});
    EXPECT_FLOAT_EQ(bigf.re, 1);
    EXPECT_FLOAT_EQ(bigf.im, 0);
}

template <class Real>
void check_sort(void (*sort)(int64_t, const Real*, Real*))
{
    for (int n : {0, 1, 2, 3, 16, 17, 100, 5000}) {
        SCOPED_TRACE(n);
        auto a = random_values<Real>(size_t(std::max(n, 1)), n);
        for (int i = 0; i < n; i += 3)
            a[i] = std::round(a[i] * 4);  // duplicates
        const auto original = a;
        std::vector<Real> b(a.size(), 99);
        sort(n, a.data(), b.data());
        EXPECT_EQ(a, original);
        if (n == 0) {
            EXPECT_EQ(b[0], 99);
            continue;
        }
        EXPECT_TRUE(std::is_sorted(b.begin(), b.end()));
        auto expected = original;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(b, expected);
        sort(n, a.data(), a.data());  // in place
        EXPECT_EQ(a, expected);
    }
    // NaNs go to the end, the numbers before them in order.
    const Real nan = std::numeric_limits<Real>::quiet_NaN();
    std::vector<Real> v = {3, nan, -1, nan, 2, -std::numeric_limits<Real>::infinity(), nan, 0};
    sort(int64_t(v.size()), v.data(), v.data());
    EXPECT_EQ(std::vector<Real>(v.begin(), v.begin() + 5),
              (std::vector<Real>{-std::numeric_limits<Real>::infinity(), -1, 0, 2, 3}));
    EXPECT_TRUE(std::all_of(v.begin() + 5, v.end(), [](Real e) { return std::isnan(e); }));
}

TEST(Sort, AscendingWithDuplicatesInPlaceAndNaN)
{
    check_sort<float>(orvls_svrgn);
    check_sort<double>(orvls_dsvrgn);
}

}  // namespace
