// The chi-squared law: its distribution function by series, an asymptotic
// expansion of the upper tail and, above 65 degrees of freedom, the Wilson
// and Hilferty normal approximation; its inverse by a bracket and regula
// falsi with the Illinois safeguard.
#include <algorithm>
#include <cmath>

#include "special/distributions.h"
#include "special/root_bracket.h"
#include "special/special.h"

namespace orvls {
namespace {

// Wilson and Hilferty: (x/df)^(1/3) is near normal with mean 1 - 2/(9 df)
// and variance 2/(9 df).
template <class Real>
Real wilson_hilferty_cdf(Real chi_squared, Real df)
{
    if (chi_squared < 2)
        return Real(0);
    const Real w = Real(0.2222222222222222) / df;
    const Real z = (std::cbrt(chi_squared / df) - (1 - w)) / std::sqrt(w);
    if (z > 5)
        return Real(1);
    if (z < Real(-18.8055)) {
        orvls_ermes(2, 9019);
        return Real(0);
    }
    return l_normal_cdf(z);
}

// 1 - Gamma(a, h)/Gamma(a) by the asymptotic expansion of the upper tail,
// h^(a-1) e^-h (1 + (a-1)/h + (a-1)(a-2)/h^2 + ...), ended at the first
// term that is no longer above eps times the sum.
template <class Real>
Real upper_tail_expansion(Real a, Real h, Real gamma_a)
{
    const Real eps = largest_spacing<Real>();
    const Real r = 1 / h;
    Real c = a - 1;
    Real t = r * c;
    Real s = 1 + t;
    for (int i = 0; i < 49; ++i) {
        c -= 1;
        t *= r * c;
        if (t <= eps * s)
            break;
        s += t;
    }
    return 1 - std::exp(a * std::log(h) - h) * s * r / gamma_a;
}

// gamma(a, h)/Gamma(a) by its power series, at most 50 terms after the first.
template <class Real>
Real lower_series(Real a, Real h, Real gamma_a)
{
    const Real eps = largest_spacing<Real>();
    Real s = 1 / (gamma_a * a);
    Real t = s;
    for (int i = 1; i <= 50; ++i) {
        t *= h / (i + a);
        if (t <= eps * s)
            break;
        s += t;
    }
    return std::exp(a * std::log(h) - h) * s;
}

template <class Real>
Real chi_squared_cdf(Real chi_squared, Real df)
{
    if (chi_squared < 0) {
        orvls_e1std(1, chi_squared);
        orvls_e1stl(1, "chi_squared");
        orvls_ermes(1, 9055);
        return Real(0);
    }
    if (df < Real(0.5)) {
        raise_error(5, 9051, {df});
        return missing_value<Real>();
    }
    if (chi_squared <= Real(1e-12))
        return Real(0);
    if (df > 65)
        return wilson_hilferty_cdf(chi_squared, df);
    if (chi_squared > 200)
        return Real(1);
    const Real a = Real(0.5) * df;
    const Real h = Real(0.5) * chi_squared;
    const Real g = inner_gamma<Real>(a);
    if (h >= std::max(Real(0.5) * a, Real(13)))
        return upper_tail_expansion(a, h, g);
    if (df <= 25 || chi_squared >= 2)
        return lower_series(a, h, g);
    return Real(0);
}

// The distribution function as the inverse's search calls it, without its
// two levels where it raises nothing: a negative argument gives a note, a
// small df a terminal error, and above 65 df the normal approximation an
// alert far in its lower tail.
template <class Real>
Real inner_chi_squared_cdf(Real chi_squared, Real df)
{
    const bool quiet = chi_squared >= 0 && df >= Real(0.5) && df <= 65;
    return inner_routine(quiet, [&] { return chi_squared_cdf(chi_squared, df); },
                         [&] { return chi_squared_cdf_routine(chi_squared, df); });
}

template <class Real>
Real chi_squared_inverse_cdf(Real p, Real df)
{
    if (p <= 0 || p >= 1)
        raise_error(5, 9043, {p});
    if (df < Real(0.5))
        raise_error(5, 9051, {df});
    if (special::terminal_error_stands())
        return missing_value<Real>();

    const Real tolerance = 10 * largest_spacing<Real>();
    const auto excess = [&](Real x) { return inner_chi_squared_cdf(x, df) - p; };
    const Real z = normal_inverse_cdf_routine(p);
    const Real w = 2 / (9 * df);
    const Real root = std::sqrt(w) * z + 1 - w;
    const Real x0 = std::max(df * root * root * root, Real(0));
    const Real f0 = excess(x0);
    if (f0 == 0)
        return x0;

    // The trial point comes from z, not from x0.
    Real x1;
    Real step;
    if (std::fabs(z) >= 1) {
        x1 = Real(1.05) * z;
        step = x1 - x0;
    } else {
        step = Real(0.05);
        x1 = z + Real(0.05);
    }
    x1 = std::max(x1, Real(0));
    const Real slope = std::max(Real(0.01), (excess(x1) - f0) / step);

    RootBracket<Real> bracket{x0, f0, x1, Real(0), Real(0)};
    if (!bracket.widen(excess, -2 * f0 / slope, [](Real) { return false; })) {
        raise_error(3, 9052, {p, df, tolerance});
        return missing_value<Real>();
    }
    const auto converged = [&](Real dx, Real m) {
        return std::fabs(m == 0 ? dx : dx / m) < tolerance;
    };
    if (!bracket.refine(excess, converged))
        raise_error(3, 9053, {p, df, tolerance});
    return bracket.middle();
}

}  // namespace

template <class Real>
Real l_chi_squared_cdf(Real chi_squared, Real df)
{
    return within("l_chi_squared_cdf", [&] { return chi_squared_cdf(chi_squared, df); });
}

template <class Real>
Real l_chi_squared_inverse_cdf(Real p, Real df)
{
    return within("l_chi_squared_inverse_cdf", [&] { return chi_squared_inverse_cdf(p, df); });
}

template <class Real>
Real chi_squared_cdf_routine(Real chi_squared, Real df)
{
    return distribution_routine<Real>("orvls_f_chi_squared_cdf", "orvls_d_chi_squared_cdf",
                                      [&] { return l_chi_squared_cdf(chi_squared, df); });
}

namespace {
template <class Real>
Real chi_squared_inverse_cdf_routine(Real p, Real df)
{
    return distribution_routine<Real>("orvls_f_chi_squared_inverse_cdf", "orvls_d_chi_squared_inverse_cdf",
                                      [&] { return l_chi_squared_inverse_cdf(p, df); });
}
}  // namespace

#define ORVLS_INSTANTIATE(Real)                                   \
    template Real l_chi_squared_cdf<Real>(Real, Real);            \
    template Real l_chi_squared_inverse_cdf<Real>(Real, Real);    \
    template Real chi_squared_cdf_routine<Real>(Real, Real);
ORVLS_INSTANTIATE(float)
ORVLS_INSTANTIATE(double)
#undef ORVLS_INSTANTIATE

}  // namespace orvls

using namespace orvls;

extern "C" {
ORVLS_API float orvls_f_chi_squared_cdf(float chi_squared, float df) { return chi_squared_cdf_routine(chi_squared, df); }
ORVLS_API double orvls_d_chi_squared_cdf(double chi_squared, double df)
{
    return chi_squared_cdf_routine(chi_squared, df);
}
ORVLS_API float orvls_f_chi_squared_inverse_cdf(float p, float df) { return chi_squared_inverse_cdf_routine(p, df); }
ORVLS_API double orvls_d_chi_squared_inverse_cdf(double p, double df)
{
    return chi_squared_inverse_cdf_routine(p, df);
}
}
