// The beta family: B(a, b), its logarithm, and the regularised incomplete
// beta function by the Bosten and Battiste scheme.
#include <algorithm>
#include <cmath>

#include "frame/envelope.h"
#include "special/common.h"
#include "special/special.h"

namespace orvls {

using namespace special;

template <class Real>
Real l_beta(Real a, Real b)
{
    const GammaLimits<Real>& limits = StoredGammaLimits<Real>::get();
    if (a <= 0 || b <= 0) {
        raise_error(5, 9031, {double(a), double(b)});
        return Machine<Real>::nan;
    }
    if (a + b < limits.xmax)
        return gamma_routine(a) * gamma_routine(b) / gamma_routine(a + b);
    const Real value = log_beta_routine(a, b);
    if (value >= Thresholds<Real>::log_tiny)
        return std::exp(value);
    raise_error(2, 9018, {double(a), double(b)});
    return 0;
}

template <class Real>
Real l_log_beta(Real a, Real b)
{
    const Real p = std::min(a, b);
    const Real q = std::max(a, b);
    if (p <= 0) {
        orvls_ermes(5, 9038);
        return Machine<Real>::nan;
    }
    const Real share = -p / (p + q);
    if (p >= 10) {
        const Real corr = orvls_r9lgmc(p) + orvls_r9lgmc(q) - orvls_r9lgmc(p + q);
        clear_error_below(2);
        return Real(-0.5) * std::log(q) + Real(kLogSqrtTwoPi) + corr + (p - Real(0.5)) * std::log(p / (p + q)) +
               q * l_alnrel(share);
    }
    if (q >= 10) {
        const Real corr = orvls_r9lgmc(q) - orvls_r9lgmc(p + q);
        clear_error_below(2);
        return log_gamma_routine(p) + corr + p - p * std::log(p + q) + (q - Real(0.5)) * l_alnrel(share);
    }
    return std::log(gamma_routine(p) * (gamma_routine(q) / gamma_routine(p + q)));
}

namespace {

// The sum over the fractional part of q, I_y(p, q) for q <= 1.
template <class Real>
Real infinite_sum(Real y, Real p, Real q)
{
    Real ps = q - std::trunc(q);
    if (ps == 0)
        ps = 1;
    const Real xb = p * std::log(y) - log_beta_routine(ps, p) - std::log(p);
    if (xb < Thresholds<Real>::betai_alnsml)
        return 0;
    Real sum = std::exp(xb);
    if (ps == 1)
        return sum;
    Real term = sum * p;
    const int64_t n = static_cast<int64_t>(std::max(Thresholds<Real>::log_eps3 / std::log(y), Real(4)));
    for (int64_t i = 1; i <= n; ++i) {
        const Real xi = static_cast<Real>(i);
        term = term * (xi - ps) * y / xi;
        sum += term / (p + xi);
    }
    return sum;
}

// The finite sum that carries q > 1 down to its fractional part; the terms
// are kept scaled by powers of 100 tiny until they come into range.
template <class Real>
Real finite_sum(Real y, Real p, Real q)
{
    const Real eps = Machine<Real>::eps3;
    const Real sml = 100 * Machine<Real>::tiny;
    const Real alnsml = Thresholds<Real>::betai_alnsml;
    const Real xb = p * std::log(y) + q * std::log(1 - y) - log_beta_routine(p, q) - std::log(q);
    int64_t ib = static_cast<int64_t>(std::max(xb / alnsml, Real(0)));
    Real term = std::exp(xb - static_cast<Real>(ib) * alnsml);
    const Real c = 1 / (1 - y);
    const Real p1 = q * c / (p + q - 1);
    // trunc(q), one less when q is whole; capped where no loop would reach.
    int64_t n = q < Real(0x1p62) ? static_cast<int64_t>(q) : int64_t(1) << 62;
    if (q == static_cast<Real>(n))
        n -= 1;
    Real finsum = 0;
    for (int64_t i = 1; i <= n; ++i) {
        if (p1 <= 1 && term / eps <= finsum)
            break;
        const Real xi = static_cast<Real>(i);
        term = (q - xi + 1) * c * term / (p + q - xi);
        if (term > 1) {
            ib -= 1;
            term *= sml;
        }
        if (ib == 0)
            finsum += term;
    }
    return finsum;
}

}  // namespace

template <class Real>
Real l_beta_incomplete(Real x, Real pin, Real qin)
{
    if (x < 0 || x > 1) {
        orvls_e1stl(1, "x");
        raise_error(5, 120, {0.0, 1.0, double(x)});
    }
    if (pin <= 0 || qin <= 0)
        raise_error(5, 9031, {double(pin), double(qin)});
    if (terminal_error_stands())
        return Machine<Real>::nan;

    const bool swapped = !(x < Real(0.2) || (qin <= pin && x < Real(0.8)));
    const Real y = swapped ? 1 - x : x;
    const Real p = swapped ? qin : pin;
    const Real q = swapped ? pin : qin;

    if ((p + q) * y / (p + 1) < Machine<Real>::eps3) {
        const Real sml = 100 * Machine<Real>::tiny;
        const Real xb = p * std::log(std::max(y, sml)) - std::log(p) - log_beta_routine(p, q);
        const Real r = xb > Thresholds<Real>::betai_alnsml && y != 0 ? std::exp(xb) : 0;
        return swapped ? 1 - r : r;
    }
    Real r = infinite_sum(y, p, q);
    if (q > 1)
        r += finite_sum(y, p, q);
    if (swapped)
        r = 1 - r;
    return std::clamp(r, Real(0), Real(1));
}

// ---- Public routines -----------------------------------------------------

template <class Real>
Real beta_routine(Real a, Real b)
{
    return envelope<Real>(public_name<Real>("orvls_f_beta", "orvls_d_beta"), Machine<Real>::nan,
                          [&] { return l_beta(a, b); });
}

template <class Real>
Real log_beta_routine(Real a, Real b)
{
    return envelope<Real>(public_name<Real>("orvls_f_log_beta", "orvls_d_log_beta"), Machine<Real>::nan,
                          [&] { return l_log_beta(a, b); });
}

template <class Real>
Real beta_incomplete_routine(Real x, Real pin, Real qin)
{
    return envelope<Real>(public_name<Real>("orvls_f_beta_incomplete", "orvls_d_beta_incomplete"),
                          Machine<Real>::nan, [&] { return l_beta_incomplete(x, pin, qin); });
}

#define ORVLS_SPECIAL_BETA_FORMS(Real)                          \
    template Real l_beta<Real>(Real, Real);                     \
    template Real l_log_beta<Real>(Real, Real);                 \
    template Real l_beta_incomplete<Real>(Real, Real, Real);    \
    template Real beta_routine<Real>(Real, Real);               \
    template Real log_beta_routine<Real>(Real, Real);           \
    template Real beta_incomplete_routine<Real>(Real, Real, Real);
ORVLS_SPECIAL_BETA_FORMS(float)
ORVLS_SPECIAL_BETA_FORMS(double)
#undef ORVLS_SPECIAL_BETA_FORMS

}  // namespace orvls

extern "C" {
ORVLS_API float orvls_f_beta(float a, float b) { return orvls::beta_routine(a, b); }
ORVLS_API double orvls_d_beta(double a, double b) { return orvls::beta_routine(a, b); }
ORVLS_API float orvls_f_log_beta(float a, float b) { return orvls::log_beta_routine(a, b); }
ORVLS_API double orvls_d_log_beta(double a, double b) { return orvls::log_beta_routine(a, b); }
ORVLS_API float orvls_f_beta_incomplete(float x, float a, float b) { return orvls::beta_incomplete_routine(x, a, b); }
ORVLS_API double orvls_d_beta_incomplete(double x, double a, double b)
{
    return orvls::beta_incomplete_routine(x, a, b);
}
}
