// The published level-1 operations against the reference BLAS over many
// sizes and strides, and the library's additions on hand-checked cases.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include "reference_blas.h"

namespace {

template <class>
class Level1 : public ::testing::Test {};
TYPED_TEST_SUITE(Level1, Reals);

TYPED_TEST(Level1, ReductionsAndVectorUpdatesMatchReference)
{
    using Real = TypeParam;
    using A = Api<Real>;
    const Real eps = std::numeric_limits<Real>::epsilon();
    const Real c = Real(0.6), s = Real(-0.8), scale = Real(-1.75);
    // Flags -2 (identity), -1 (full), 0 and 1 (implied entries).
    const Real params[][5] = {{-2, 9, 9, 9, 9}, {-1, 0.5, -2, 3, 0.25}, {0, 9, -2, 3, 9}, {1, 0.5, 9, 9, 0.25}};
    for (int n : kSizes)
        for (int incx : kStrides)
            for (int incy : kStrides) {
                SCOPED_TRACE(::testing::Message() << "n " << n << " incx " << incx << " incy " << incy);
                const auto x = random_values<Real>(span(n, incx), n + 1);
                const auto y = random_values<Real>(span(n, incy), n + 2);
                EXPECT_NEAR(A::dot(n, x.data(), incx, y.data(), incy), A::ref_dot(&n, x.data(), &incx, y.data(), &incy),
                            2 * n * eps);
                const Real norm = A::ref_nrm2(&n, x.data(), &incx);
                EXPECT_NEAR(A::nrm2(n, x.data(), incx), norm, 4 * eps * norm);
                auto ox = x, oy = y, rx = x, ry = y;
                // The reference ignores a negative stride in scaling: the same
                // elements are scaled whichever end the walk starts from.
                const int forward_incx = std::abs(incx);
                A::scal(n, scale, ox.data(), incx);
                A::ref_scal(&n, &scale, rx.data(), &forward_incx);
                expect_near(ox, rx, 0.0);
                A::copy(n, x.data(), incx, oy.data(), incy);
                A::ref_copy(&n, x.data(), &incx, ry.data(), &incy);
                expect_near(oy, ry, 0.0);
                ox = rx = x;
                oy = ry = y;
                A::rot(n, ox.data(), incx, oy.data(), incy, c, s);
                A::ref_rot(&n, rx.data(), &incx, ry.data(), &incy, &c, &s);
                expect_near(ox, rx, 2 * eps);
                expect_near(oy, ry, 2 * eps);
                for (const auto& param : params) {
                    A::rotm(n, ox.data(), incx, oy.data(), incy, param);
                    A::ref_rotm(&n, rx.data(), &incx, ry.data(), &incy, param);
                    expect_near(ox, rx, 8 * eps);
                    expect_near(oy, ry, 8 * eps);
                }
            }
}

TYPED_TEST(Level1, RotationConstructionsMatchReference)
{
    using Real = TypeParam;
    using A = Api<Real>;
    const Real eps = std::numeric_limits<Real>::epsilon();
    const Real big = Real(1e30), tiny = Real(1e-30);
    // Zeros, signs, |a| > |b| and the reverse, and extreme scales.
    const Real pairs[][2] = {{0, 0},  {3, 0},     {0, -4},    {3, 4},   {-3, 4},    {4, -3},
                             {-4, -3}, {big, big}, {tiny, -tiny}, {1, tiny}, {tiny, big}};
    for (const auto& pair : pairs) {
        SCOPED_TRACE(::testing::Message() << "a " << pair[0] << " b " << pair[1]);
        Real oa = pair[0], ob = pair[1], oc = -9, os = -9;
        Real ra = pair[0], rb = pair[1], rc = -9, rs = -9;
        A::rotg(&oa, &ob, &oc, &os);
        A::ref_rotg(&ra, &rb, &rc, &rs);
        EXPECT_NEAR(oa, ra, 2 * eps * std::fabs(ra));
        EXPECT_NEAR(ob, rb, 2 * eps * std::fabs(rb));
        EXPECT_NEAR(oc, rc, 2 * eps);
        EXPECT_NEAR(os, rs, 2 * eps);
    }
    // (d1, d2, x1, y1): the flag cases, the negative-d1 reset and the rescaling loops.
    const Real quads[][4] = {{1, 1, 2, 1},    {1, 1, 1, 2},   {2, 3, 0.5, 0.25}, {-1, 1, 1, 1},   {1, 0, 1, 1},
                             {1, -2, 1, 3},   {1e-9, 1, 1, 1e-3}, {1e9, 1, 1, 1e4}, {1, 1e-9, 1e-3, 1}, {1, 1e9, 1e-4, 1},
                             {4, 1e10, 1, 1e-6}, {1e-20, 1, 1, 1e-12}, {1e20, 1, 1, 1e-12}, {1, 1e-20, 1e-12, 1}};
    for (const auto& q : quads) {
        SCOPED_TRACE(::testing::Message() << "d1 " << q[0] << " d2 " << q[1] << " x1 " << q[2] << " y1 " << q[3]);
        Real od1 = q[0], od2 = q[1], ox1 = q[2], rd1 = q[0], rd2 = q[1], rx1 = q[2];
        Real oparam[5] = {7, 7, 7, 7, 7}, rparam[5] = {7, 7, 7, 7, 7};
        A::rotmg(&od1, &od2, &ox1, q[3], oparam);
        A::ref_rotmg(&rd1, &rd2, &rx1, &q[3], rparam);
        EXPECT_NEAR(od1, rd1, 4 * eps * std::fabs(rd1));
        EXPECT_NEAR(od2, rd2, 4 * eps * std::fabs(rd2));
        EXPECT_NEAR(ox1, rx1, 4 * eps * std::fabs(rx1));
        for (int i = 0; i < 5; ++i)
            EXPECT_NEAR(oparam[i], rparam[i], 4 * eps * std::fabs(rparam[i])) << "param " << i;
    }
}

TEST(Level1Complex, MatchesReference)
{
    const double eps = std::numeric_limits<double>::epsilon();
    const float feps = std::numeric_limits<float>::epsilon();
    const orvls_d_complex za{0.5, -1.25};
    const orvls_f_complex ca{-0.75f, 2.0f};
    for (int n : kSizes)
        for (int inc : kStrides) {
            SCOPED_TRACE(::testing::Message() << "n " << n << " inc " << inc);
            const int other = -inc;
            const auto zd = random_values<double>(2 * span(n, inc), n + 5);
            const auto cd = random_values<float>(2 * span(n, inc), n + 6);
            std::vector<orvls_d_complex> z(zd.size() / 2), rz, oz, w;
            std::vector<orvls_f_complex> c(cd.size() / 2), rc, oc;
            for (size_t i = 0; i < z.size(); ++i) {
                z[i] = {zd[2 * i], zd[2 * i + 1]};
                c[i] = {cd[2 * i], cd[2 * i + 1]};
            }
            auto expect_same = [](const auto& ours, const auto& reference, double tolerance) {
                for (size_t i = 0; i < ours.size(); ++i) {
                    ASSERT_NEAR(ours[i].re, reference[i].re, tolerance) << i;
                    ASSERT_NEAR(ours[i].im, reference[i].im, tolerance) << i;
                }
            };
            const int forward = std::abs(inc);  // the reference ignores a negative stride in scaling
            oz = rz = z;
            orvls_zscal(n, za, oz.data(), inc);
            zscal_(&n, &za, rz.data(), &forward);
            expect_same(oz, rz, 4 * eps);
            orvls_zdscal(n, -3.0, oz.data(), inc);
            const double real_scale = -3;
            zdscal_(&n, &real_scale, rz.data(), &forward);
            expect_same(oz, rz, 16 * eps);
            oc = rc = c;
            orvls_cscal(n, ca, oc.data(), inc);
            cscal_(&n, &ca, rc.data(), &forward);
            expect_same(oc, rc, 8 * feps);
            const float real_scale_f = 0.5f;
            orvls_csscal(n, 0.5f, oc.data(), inc);
            csscal_(&n, &real_scale_f, rc.data(), &forward);
            expect_same(oc, rc, 8 * feps);
            // Swap against a reversed copy of itself.
            oz = rz = z;
            w = z;
            auto rw = w;
            orvls_zswap(n, oz.data(), inc, w.data(), other);
            zswap_(&n, rz.data(), &inc, rw.data(), &other);
            expect_same(oz, rz, 0);
            expect_same(w, rw, 0);
            const double znorm = dznrm2_(&n, z.data(), &inc);
            EXPECT_NEAR(orvls_dznrm2(n, z.data(), inc), znorm, 4 * eps * znorm);
            const int64_t n64 = n, inc64 = inc;
            const float cnorm = scnrm2_(&n, c.data(), &inc);
            EXPECT_NEAR(orvls_scnrm2(&n64, c.data(), &inc64), cnorm, 4 * n * feps * cnorm);
        }
}

// The scaled norms stay finite and exact in scale where the squares overflow
// or underflow; NaN is the norm of a vector holding NaN.
TEST(Level1Norms, ScaledOutsideTheRangeOfTheSquares)
{
    const double huge[] = {3e300, -4e300};
    EXPECT_DOUBLE_EQ(orvls_dnrm2(2, huge, 1), 5e300);
    const double small[] = {3e-310, 4e-310, 0};
    EXPECT_NEAR(orvls_dnrm2(3, small, 1), 5e-310, 1e-323);
    const float big_f[] = {3e30f, 4e30f};
    EXPECT_FLOAT_EQ(orvls_snrm2(2, big_f, 1), 5e30f);
    const orvls_d_complex z[] = {{3e-200, 4e-200}};
    EXPECT_DOUBLE_EQ(orvls_dznrm2(1, z, 1), 5e-200);
    const double with_nan[] = {1, NAN, 1e300, 1e300};
    EXPECT_TRUE(std::isnan(orvls_dnrm2(4, with_nan, 1)));
    const double with_infinity[] = {1, -INFINITY, 2};
    EXPECT_EQ(orvls_dnrm2(3, with_infinity, 1), INFINITY);
}

// The float complex norm sums the squares unscaled and gives 0 unless the sum
// is above the smallest normal float.
TEST(Level1Norms, FloatComplexNormRule)
{
    const int64_t one = 1, two = 2;
    const orvls_f_complex below[] = {{1e-19f, 0}};   // sum 1e-38, below 1.1754944e-38
    const orvls_f_complex above[] = {{0, 2e-19f}};   // sum 4e-38
    const orvls_f_complex pair[] = {{3, 4}, {0, 12}};  // sum 169
    const orvls_f_complex overflow[] = {{3e20f, 4e20f}};
    EXPECT_EQ(orvls_scnrm2(&one, below, &one), 0.0f);
    EXPECT_FLOAT_EQ(orvls_scnrm2(&one, above, &one), 2e-19f);
    EXPECT_FLOAT_EQ(orvls_scnrm2(&two, pair, &one), 13.0f);
    EXPECT_EQ(orvls_scnrm2(&one, overflow, &one), INFINITY);
    const int64_t zero = 0;
    EXPECT_EQ(orvls_scnrm2(&zero, pair, &one), 0.0f);
}

}  // namespace
