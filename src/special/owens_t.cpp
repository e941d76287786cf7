// Owen's T function, T(h, a) = (1/2pi) integral over [0, a] of
// exp(-h^2 (1 + x^2) / 2) / (1 + x^2) dx, by the six methods of Patefield and
// Tandy (2000) and their table choosing method and order by region.  The
// methods aim at an absolute error near 1e-16.
#include <cmath>
#include <cstdint>

#include "special/distributions.h"
#include "special/special.h"

namespace orvls {
namespace {

constexpr double kOneOverTwoPi = 0.15915494309189533577;
constexpr double kOneOverRootTwoPi = 0.39894228040143267794;

// Region bounds in h and a, and the code of each region (row: a, column: h).
constexpr double kHBounds[14] = {0.02, 0.06, 0.09, 0.125, 0.26, 0.4, 0.6, 1.6, 1.7, 2.33, 2.4, 3.36, 3.4, 4.8};
constexpr double kABounds[7] = {0.025, 0.09, 0.15, 0.36, 0.5, 0.9, 0.99999};
constexpr int8_t kRegionCode[8][15] = {
    {1, 1, 2, 13, 13, 13, 13, 13, 13, 13, 13, 16, 16, 16, 9},
    {1, 2, 2, 3, 3, 5, 5, 14, 14, 15, 15, 16, 16, 16, 9},
    {2, 2, 3, 3, 3, 5, 5, 15, 15, 15, 15, 16, 16, 16, 10},
    {2, 2, 3, 5, 5, 5, 5, 7, 7, 16, 16, 16, 16, 16, 10},
    {2, 3, 3, 5, 5, 6, 6, 8, 8, 17, 17, 17, 12, 12, 11},
    {2, 3, 5, 5, 5, 6, 6, 8, 8, 17, 17, 17, 12, 12, 12},
    {2, 3, 4, 4, 6, 6, 8, 8, 17, 17, 17, 17, 17, 12, 12},
    {2, 3, 4, 4, 6, 6, 18, 18, 18, 18, 17, 17, 17, 12, 12}};
// Method (1 to 6 for T1 to T6) and order of each code, 1 to 18.
constexpr int8_t kMethod[18] = {1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 3, 4, 4, 4, 4, 5, 6};
constexpr int8_t kOrder[18] = {2, 3, 4, 5, 7, 10, 12, 18, 10, 20, 30, 20, 4, 7, 8, 20, 13, 0};

// T3: weights of a near-minimax fit of 1/(1 + x^2) by even powers on [-1, 1].
constexpr double kT3Weights[21] = {
    0.99999999999999987510e+00,  -0.99999999999988796462e+00, 0.99999999998290743652e+00,
    -0.99999999896282500134e+00, 0.99999996660459362918e+00,  -0.99999933986272476760e+00,
    0.99999125611136965852e+00,  -0.99991777624463387686e+00, 0.99942835555870132569e+00,
    -0.99697311720723000295e+00, 0.98751448037275303682e+00,  -0.95915857980572882813e+00,
    0.89246305511006708555e+00,  -0.76893425990463999675e+00, 0.58893528468484693250e+00,
    -0.38380345160440256652e+00, 0.20317601701045299653e+00,  -0.82813631607004984866e-01,
    0.24167984735759576523e-01,  -0.44676566663971825242e-02, 0.39141169402373836468e-03};
// T5: squares of the 13 positive nodes of the 26-point Gauss-Legendre rule on
// [-1, 1], and their weights divided by 2pi.
constexpr double kT5Points[13] = {
    0.35082039676451715489e-02, 0.31279042338030753740e-01, 0.85266826283219451090e-01, 0.16245071730812277011e+00,
    0.25851196049125434828e+00, 0.36807553840697533536e+00, 0.48501092905604697475e+00, 0.60277514152618576821e+00,
    0.71477884217753226516e+00, 0.81475510988760098605e+00, 0.89711029755948965867e+00, 0.95723808085944261843e+00,
    0.99178832974629703586e+00};
constexpr double kT5Weights[13] = {
    0.18831438115323502887e-01, 0.18567086243977649478e-01, 0.18042093461223385584e-01, 0.17263829606398753364e-01,
    0.16243219975989856730e-01, 0.14994592034116704829e-01, 0.13535474469662088392e-01, 0.11886351605820165233e-01,
    0.10070377242777431897e-01, 0.81130545742299586629e-02, 0.60419009528470238773e-02, 0.38862217010742057883e-02,
    0.16793031084546090448e-02};

// Phi(x) - 1/2 and 1 - Phi(x).
template <class Real>
Real centred_normal(Real x)
{
    return Real(0.5) * erf_routine<Real>(Real(0.7071067811865476) * x);
}
template <class Real>
Real upper_normal(Real x)
{
    return l_normal_cdf(-x);
}

// T1: Owen's series, its first m terms.  exp(s) - 1 is taken by expm1, which
// keeps its digits for tiny h.
template <class Real>
Real series_t1(Real h, Real a, int m)
{
    const Real s = -Real(0.5) * h * h;
    const Real a_squared = a * a;
    Real d = std::expm1(s);
    Real g = s * std::exp(s);
    Real p = Real(kOneOverTwoPi) * a;
    Real v = Real(kOneOverTwoPi) * std::atan(a);
    for (int j = 1;; ++j) {
        v += d * p / Real(2 * j - 1);
        if (j == m)
            return v;
        p *= a_squared;
        d = g - d;
        g *= s / Real(j + 1);
    }
}

// T2 (weights 1) and T3 (the fitted weights): the power series of
// 1/(1 + x^2), m + 1 terms, for large h.
template <class Real>
Real series_t2(Real h, Real a, Real ah, int m)
{
    const Real hh = h * h;
    const Real y = 1 / hh;
    const Real w = -a * a;
    Real vi = Real(kOneOverRootTwoPi) * a * std::exp(-Real(0.5) * ah * ah);
    Real z = centred_normal(ah) / h;
    Real v = 0;
    for (int ii = 1;; ii += 2) {
        v += z;
        if (ii == 2 * m + 1)
            break;
        z = y * (vi - Real(ii) * z);
        vi *= w;
    }
    return v * Real(kOneOverRootTwoPi) * std::exp(-Real(0.5) * hh);
}

template <class Real>
Real series_t3(Real h, Real a, Real ah)
{
    const Real hh = h * h;
    const Real y = 1 / hh;
    const Real w = a * a;
    Real vi = Real(kOneOverRootTwoPi) * a * std::exp(-Real(0.5) * ah * ah);
    Real z = centred_normal(ah) / h;
    Real v = 0;
    for (int k = 0;; ++k) {
        v += z * Real(kT3Weights[k]);
        if (k == 20)
            break;
        z = y * (Real(2 * k + 1) * z - vi);
        vi *= w;
    }
    return v * Real(kOneOverRootTwoPi) * std::exp(-Real(0.5) * hh);
}

// T4: a second series, order m.
template <class Real>
Real series_t4(Real h, Real a, int m)
{
    const Real hh = h * h;
    const Real w = -a * a;
    Real t = Real(kOneOverTwoPi) * a * std::exp(-Real(0.5) * hh * (1 + a * a));
    Real yk = 1;
    Real v = 0;
    for (int ii = 1;; ii += 2) {
        v += t * yk;
        if (ii == 2 * m + 1)
            return v;
        yk = (1 - hh * yk) / Real(ii + 2);
        t *= w;
    }
}

// T5: Gauss-Legendre quadrature of the defining integral in u^2.
template <class Real>
Real quadrature_t5(Real h, Real a)
{
    const Real s = -Real(0.5) * h * h;
    const Real b = a * a;
    Real v = 0;
    for (int i = 0; i < 13; ++i) {
        const Real r = 1 + b * Real(kT5Points[i]);
        v += Real(kT5Weights[i]) * std::exp(s * r) / r;
    }
    return a * v;
}

// T6: a close to 1, from T(h, 1) = Q(h) (1 - Q(h)) / 2.
template <class Real>
Real near_one_t6(Real h, Real a)
{
    const Real q = upper_normal(h);
    Real v = Real(0.5) * q * (1 - q);
    const Real y = 1 - a;
    const Real r = std::atan2(y, 1 + a);
    if (r != 0)
        v -= Real(kOneOverTwoPi) * r * std::exp(-Real(0.5) * y * h * h / r);
    return v;
}

template <class Real>
int first_bound_at_least(Real value, const double* bounds, int count)
{
    int i = 0;
    while (i < count && value > Real(bounds[i]))
        ++i;
    return i;
}

// T(h, a) for h >= 0 and 0 <= a <= 1; ah is h a.
template <class Real>
Real owen_t_reduced(Real h, Real a, Real ah)
{
    const int i = first_bound_at_least(h, kHBounds, 14);
    const int j = first_bound_at_least(a, kABounds, 7);
    const int code = kRegionCode[j][i];
    const int m = kOrder[code - 1];
    switch (kMethod[code - 1]) {
    case 1:
        return series_t1(h, a, m);
    case 2:
        return series_t2(h, a, ah, m);
    case 3:
        return series_t3(h, a, ah);
    case 4:
        return series_t4(h, a, m);
    case 5:
        return quadrature_t5(h, a);
    default:
        return near_one_t6(h, a);
    }
}

}  // namespace

template <class Real>
Real l_owen_t(Real h, Real a)
{
    return within("l_owen_t", [&] {
        const Real abs_h = std::fabs(h);
        const Real abs_a = std::fabs(a);
        const Real ah = abs_h * abs_a;
        Real value;
        if (abs_a <= 1) {
            value = owen_t_reduced(abs_h, abs_a, ah);
        } else if (abs_h <= Real(0.67)) {
            // T(h, a) = (Phi(h) + Phi(ah))/2 - Phi(h) Phi(ah) - T(ah, 1/a),
            // written in the centred forms while h is small.
            value = Real(0.25) - centred_normal(abs_h) * centred_normal(ah) - owen_t_reduced(ah, 1 / abs_a, abs_h);
        } else {
            const Real q1 = upper_normal(abs_h);
            const Real q2 = upper_normal(ah);
            value = Real(0.5) * (q1 + q2) - q1 * q2 - owen_t_reduced(ah, 1 / abs_a, abs_h);
        }
        return a < 0 ? -value : value;
    });
}

template float l_owen_t<float>(float, float);
template double l_owen_t<double>(double, double);

}  // namespace orvls
