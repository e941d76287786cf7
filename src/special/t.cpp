// Student's t: Hill's distribution function (exact sums for whole df below
// 20, a normal approximation otherwise, the incomplete beta for t^2 >= df)
// and Hill's inverse (closed forms for df <= 2, the beta inverse below 2).
#include <cmath>

#include "special/distributions.h"
#include "special/special.h"

namespace orvls {
namespace {

constexpr double kTwoOverPi = 0.63661977236758;

// The two-sided tail P(|T| > t) by the normal approximation of
// log(1 + t^2/df), for df not whole or df >= 20.  u = t^2.
template <class Real>
Real normal_approximation_tail(Real u, Real df)
{
    Real y = u / df;
    const Real b = 1 + y;
    if (b - 1 != 0)
        y *= std::log(b) / (b - 1);
    const Real a = df - Real(0.5);
    y *= a;
    const Real z = std::sqrt(y);
    const Real c = 48 * a * a;
    const Real w =
        z * (1 + (y + 3 + (((Real(-0.4) * y - Real(3.3)) * y - 24) * y - Real(85.5)) / (Real(0.8) * y * y + 100 + c)) / c);
    return w < Real(18.8125) ? erfc_routine<Real>(Real(0.7071067811865476) * w) : Real(0);
}

// Whole df below 20 and u < 4: the finite sum of the t law.
template <class Real>
Real nested_sum_tail(Real u, Real df)
{
    const Real y = u / df;
    const Real b = 1 + y;
    const Real a = std::sqrt(y);
    Real s = df == 1 ? Real(0) : a;
    Real n = df - 2;
    while (n > 1) {
        s = s * (n - 1) / (b * n) + a;
        n -= 2;
    }
    if (n != 0)
        return 1 - (std::atan(a) + s / b) * Real(kTwoOverPi);
    return 1 - s / std::sqrt(b);
}

// Whole df below 20 and 4 <= u < df: the series in 1/b of the tail.  When
// the product falls below 1e-30 it stops where it stands, and the odd-df
// factor is then chosen by the n reached.
template <class Real>
Real tail_series(Real u, Real df)
{
    const Real b = 1 + u / df;
    Real a = 1;
    Real y = df;
    Real j = 0;
    for (;;) {
        j += 2;
        y = y * (j - 1) / (j * b);
        const Real previous = a;
        a += y / (j + df);
        if (a == previous)
            break;
    }
    Real n = df;
    if (df > 1) {
        do {
            if (a < Real(1e-30))
                break;
            a *= (n - 1) / (b * n);
            n -= 2;
        } while (n > 1);
    }
    if (n != 0)
        return a * std::sqrt(b) * Real(kTwoOverPi) / b;
    return a;
}

template <class Real>
Real t_cdf(Real t, Real df)
{
    if (std::isnan(t))
        return t;
    if (std::isinf(t))
        return t > 0 ? Real(1) : Real(0);
    if (df < 1) {
        raise_error(5, 9042, {df});
        return missing_value<Real>();
    }
    const Real u = t * t;
    Real v;
    if (df <= u)
        v = beta_incomplete_routine<Real>(df / (u + df), Real(0.5) * df, Real(0.5));
    else if (df != std::trunc(df) || df >= 20)
        v = normal_approximation_tail(u, df);
    else if (u < 4)
        v = nested_sum_tail(u, df);
    else
        v = tail_series(u, df);
    return t > 0 ? 1 - Real(0.5) * v : Real(0.5) * v;
}

// Hill's approximation of the inverse for df > 2; q is the two-sided tail.
template <class Real>
Real hill_inverse(Real q, Real df)
{
    const Real a = 1 / (df - Real(0.5));
    const Real b = 48 / (a * a);
    Real c = ((20700 * a / b - 98) * a - 16) * a + Real(96.36);
    const Real d = std::sqrt(Real(1.570796) * a) * ((Real(94.5) / (b + c) - 3) / b + 1) * df;
    Real y = std::pow(d * q, 2 / df);
    if (y <= a + Real(0.05)) {
        const Real c2 = ((df + 6) / (df * y) - Real(0.089) * d - Real(0.822)) * (df + 2) * 3;
        const Real y2 = (1 / c2 + Real(0.5) / (df + 4)) * y - 1;
        return std::sqrt(df * ((df + 1) / (df + 2) * y2 + 1 / y));
    }
    const Real x = normal_inverse_cdf_routine<Real>(Real(0.5) * q);
    const Real x2 = x * x;
    if (df < 5)
        c += Real(0.3) * (df - Real(4.5)) * (x + Real(0.6));
    c += (((Real(0.05) * d * x - 5) * x - 7) * x - 2) * x + b;
    y = ((((Real(0.4) * x2 + Real(6.3)) * x2 + 36) * x2 + Real(94.5)) / c - x2 - 3) / b + 1;
    y *= x;
    y = a * y * y;
    const Real excess = y > Real(0.002) ? std::exp(y) - 1 : y + Real(0.5) * y * y;
    return std::sqrt(df * excess);
}

template <class Real>
Real t_inverse_cdf(Real p, Real df)
{
    if (df < 1) {
        raise_error(5, 9042, {df});
        return missing_value<Real>();
    }
    if (p <= 0 || p >= 1) {
        raise_error(5, 9043, {p});
        return missing_value<Real>();
    }
    const Real eps = largest_spacing<Real>();
    if (Real(0.5) - eps < p && p < Real(0.5) + eps)
        return Real(0);
    const bool left = p < Real(0.5);
    const Real q = 2 * std::fmin(p, 1 - p);
    Real value;
    if (std::fabs(df - 2) <= eps) {
        value = std::sqrt(2 / ((2 - q) * q) - 2);
    } else if (std::fabs(df - 1) <= eps) {
        const Real g = Real(1.570796) * q;
        value = std::cos(g) / std::sin(g);
    } else if (df <= 2) {
        const Real w = 1 - std::fabs(1 - 2 * p);
        const Real b = orvls_dbetin(w, Real(0.5) * df, Real(0.5));
        if (b == 0) {
            orvls_ermes(4, 9008);
            return machine_table<Real>(7);
        }
        value = std::sqrt((1 / b - 1) * df);
    } else {
        value = hill_inverse(q, df);
    }
    return left ? -value : value;
}

template <class Real>
Real t_cdf_routine(Real t, Real df)
{
    return distribution_routine<Real>("orvls_f_t_cdf", "orvls_d_t_cdf", [&] { return l_t_cdf(t, df); });
}

template <class Real>
Real t_inverse_routine(Real p, Real df)
{
    return distribution_routine<Real>("orvls_f_t_inverse", "orvls_d_t_inverse",
                                      [&] { return l_t_inverse_cdf(p, df); });
}

}  // namespace

template <class Real>
Real l_t_cdf(Real t, Real df)
{
    return within("l_t_cdf", [&] { return t_cdf(t, df); });
}

template <class Real>
Real l_t_inverse_cdf(Real p, Real df)
{
    return within("l_t_inverse_cdf", [&] { return t_inverse_cdf(p, df); });
}

template float l_t_cdf<float>(float, float);
template double l_t_cdf<double>(double, double);
template float l_t_inverse_cdf<float>(float, float);
template double l_t_inverse_cdf<double>(double, double);

}  // namespace orvls

using namespace orvls;

extern "C" {
ORVLS_API float orvls_f_t_cdf(float t, float df) { return t_cdf_routine(t, df); }
ORVLS_API double orvls_d_t_cdf(double t, double df) { return t_cdf_routine(t, df); }
ORVLS_API float orvls_f_t_inverse(float p, float df) { return t_inverse_routine(p, df); }
ORVLS_API double orvls_d_t_inverse(double p, double df) { return t_inverse_routine(p, df); }
}
