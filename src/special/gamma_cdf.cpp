// The gamma law with shape a and unit scale: its distribution function by
// the series or the continued fraction of the upper tail, and its inverse by
// the root search of the chi-squared inverse.
#include <cmath>

#include "special/distributions.h"
#include "special/root_bracket.h"
#include "special/special.h"

namespace orvls {
namespace {

// Upper tail Gamma(a, x)/Gamma(a) = e g, with g the continued fraction of
// x^-a e^x Gamma(a, x), evaluated by its convergents A/B; stops when two
// convergents agree (keeping the earlier one).
template <class Real>
Real upper_tail_fraction(Real x, Real a)
{
    const Real eps = largest_spacing<Real>();
    const Real big = Real(1e30);
    Real c = 1 - a;
    Real b = x + c + 1;
    Real n = 0;
    Real a1 = 1;
    Real b1 = x;
    Real a2 = x + 1;
    Real b2 = x * b;
    Real g = a2 / b2;
    for (;;) {
        b += 2;
        n += 1;
        c += 1;
        const Real k = c * n;
        const Real a3 = b * a2 - k * a1;
        const Real b3 = b * b2 - k * b1;
        if (b3 != 0) {
            const Real rn = a3 / b3;
            const Real d = std::fabs(g - rn);
            if (d <= 10 * eps * rn && d <= eps)
                return g;
            g = rn;
        }
        a1 = a2;
        b1 = b2;
        a2 = a3;
        b2 = b3;
        if (std::fabs(a3) >= big || std::fabs(b3) >= big) {
            a1 /= big;
            b1 /= big;
            a2 /= big;
            b2 /= big;
        }
    }
}

// The series of the lower tail, x^a e^-x / Gamma(a+1) (1 + x/(a+1) + ...),
// without its factor.
template <class Real>
Real lower_series(Real x, Real a)
{
    const Real eps = largest_spacing<Real>();
    Real c = a;
    Real t = 1;
    Real s = 1;
    do {
        c += 1;
        t = x * t / c;
        s += t;
    } while (t > eps);
    return s;
}

template <class Real>
Real gamma_cdf(Real x, Real a)
{
    if (x < 0) {
        orvls_e1std(1, x);
        orvls_e1stl(1, "x");
        orvls_ermes(1, 9055);
        return Real(0);
    }
    if (x == 0)
        return Real(0);
    if (a <= 0) {
        raise_error(5, 9056, {a});
        return missing_value<Real>();
    }
    const Real log_x = std::log(x);
    if (log_x >= DistributionLimits<Real>::log_largest_third) {
        if (a >= Real(0.5) * x) {
            raise_error(4, 9010, {x, a});
            return missing_value<Real>();
        }
        return Real(1);
    }
    const Real eps = largest_spacing<Real>();
    const Real u = a * log_x - (inner_log_gamma<Real>(a) + x);
    const Real e = u <= eps + DistributionLimits<Real>::log_smallest ? Real(0) : std::exp(u);
    if (x > 1 && x >= a)
        return 1 - e * upper_tail_fraction(x, a);
    return e * lower_series(x, a) / a;
}

// The distribution function as the inverse's search calls it, without its
// two levels where it raises nothing: x positive and well below where the
// overflow test (log x against a third of the largest logarithm) fires, and
// a shape whose log-gamma is quiet.
template <class Real>
Real inner_gamma_cdf(Real x, Real a)
{
    const bool quiet = x > 0 && x < DistributionLimits<Real>::cube_root_largest / 2 && a >= Real(1e-30) &&
                       a <= DistributionLimits<Real>::gamma_shape_limit;
    return inner_routine(quiet, [&] { return gamma_cdf(x, a); }, [&] { return gamma_cdf_routine(x, a); });
}

template <class Real>
Real gamma_inverse_cdf(Real p, Real a)
{
    if (p <= 0 || p >= 1) {
        raise_error(5, 9043, {p});
        return missing_value<Real>();
    }
    if (a <= 0) {
        raise_error(5, 9056, {a});
        return missing_value<Real>();
    }
    if (a > DistributionLimits<Real>::gamma_shape_limit) {
        raise_error(5, 40023, {a, DistributionLimits<Real>::gamma_shape_limit});
        return missing_value<Real>();
    }
    const Real z = orvls_anorin(p);
    const Real root_9a = std::sqrt(9 * a);
    const Real cube_root = z / root_9a + 1 - 1 / (9 * a);
    if (std::fabs(cube_root) > DistributionLimits<Real>::cube_root_largest) {
        raise_error(5, 40024, {a});
        return missing_value<Real>();
    }

    const Real tolerance = 10 * largest_spacing<Real>();
    const auto excess = [&](Real x) { return (x > 0 ? inner_gamma_cdf(x, a) : Real(0)) - p; };
    const Real x0 = z * z >= 9 * a ? a * cube_root * cube_root * cube_root : Real(0);
    const Real f0 = excess(x0);
    if (f0 == 0)
        return x0;

    // The trial point comes from x0 here.
    const Real x1 = std::fabs(x0) >= 1 ? Real(1.05) * x0 : x0 + Real(0.05);
    const Real step = x1 - x0;
    const Real slope = std::max(Real(0.01), (excess(x1) - f0) / step);

    // Beyond the overflow limit of the distribution function the search
    // gives up rather than ask for a value that does not exist.
    const auto overflows = [&](Real x) {
        return x > 0 && std::log(x) >= DistributionLimits<Real>::log_largest_third && a >= Real(0.5) * x;
    };
    RootBracket<Real> bracket{x0, f0, x1, Real(0), -machine_table<Real>(7)};
    if (!bracket.widen(excess, 2 * (-f0 / slope), overflows)) {
        raise_error(5, 40025, {p, a});
        return missing_value<Real>();
    }
    const auto converged = [&](Real dx, Real m) {
        return std::fabs(dx) < (m == 0 ? tolerance : std::fabs(tolerance * m));
    };
    if (!bracket.refine(excess, converged))
        orvls_ermes(4, 11105);
    return bracket.middle();
}

}  // namespace

template <class Real>
Real l_gamma_cdf(Real x, Real a)
{
    return within("l_gamma_cdf", [&] { return gamma_cdf(x, a); });
}

template <class Real>
Real gamin(Real p, Real a)
{
    return within("GAMIN", [&] { return gamma_inverse_cdf(p, a); });
}

template <class Real>
Real gamma_cdf_routine(Real x, Real a)
{
    return distribution_routine<Real>("orvls_f_gamma_cdf", "orvls_d_gamma_cdf", [&] { return l_gamma_cdf(x, a); });
}

namespace {
template <class Real>
Real gamma_inverse_cdf_routine(Real p, Real a)
{
    return distribution_routine<Real>("orvls_f_gamma_inverse_cdf", "orvls_d_gamma_inverse_cdf",
                                      [&] { return gamin(p, a); });
}
}  // namespace

#define ORVLS_INSTANTIATE(Real)                         \
    template Real l_gamma_cdf<Real>(Real, Real);        \
    template Real gamin<Real>(Real, Real);              \
    template Real gamma_cdf_routine<Real>(Real, Real);
ORVLS_INSTANTIATE(float)
ORVLS_INSTANTIATE(double)
#undef ORVLS_INSTANTIATE

}  // namespace orvls

using namespace orvls;

extern "C" {
ORVLS_API float orvls_f_gamma_cdf(float x, float a) { return gamma_cdf_routine(x, a); }
ORVLS_API double orvls_d_gamma_cdf(double x, double a) { return gamma_cdf_routine(x, a); }
ORVLS_API float orvls_f_gamma_inverse_cdf(float p, float a) { return gamma_inverse_cdf_routine(p, a); }
ORVLS_API double orvls_d_gamma_inverse_cdf(double p, double a) { return gamma_inverse_cdf_routine(p, a); }
}
