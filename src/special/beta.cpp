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
        return inner_gamma(a) * inner_gamma(b) / inner_gamma(a + b);
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
        return inner_log_gamma(p) + corr + p - p * std::log(p + q) + (q - Real(0.5)) * l_alnrel(share);
    }
    return std::log(inner_gamma(p) * (inner_gamma(q) / inner_gamma(p + q)));
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

// How often the finite sum asks whether its later terms can still move it.
constexpr int64_t kSumCheckInterval = 32;

// True when no later term of the finite sum can change it: the ratio of
// successive terms, (q - i + 1) c / (p + q - i), falls with i when p >= 1,
// so once the next one is below 1 by more than its rounding every later
// term is smaller than this one, which is at most 1 after the rescaling and
// so never rescales again.  Unscaled (ib = 0) terms that no longer move the
// sum cannot move it later, rounding being monotone; scaled ones are never
// added.  The sum is then what the full loop would return, to the bit.
template <class Real>
bool sum_is_final(Real finsum, Real term, int64_t ib, Real next_ratio, Real p)
{
    constexpr Real margin = 1 - 128 * Machine<Real>::eps3;
    if (!(p >= 1 && next_ratio <= margin))
        return false;
    return ib != 0 || finsum + term == finsum;
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
        if (i % kSumCheckInterval == 0 && sum_is_final(finsum, term, ib, (q - xi) * c / (p + q - xi - 1), p))
            break;
    }
    return finsum;
}

// Beyond this q the finite sum, one term per unit of q, would take too long:
// the continued fraction takes over, whose length grows only with the root
// of the shapes.
template <class Real>
constexpr Real kLongestFiniteSum = Real(0x1p24);
constexpr int64_t kLongestFraction = int64_t(1) << 24;

// e - log(1 + e) without the loss of digits near e = 0: with t = e/(2 + e),
// log(1 + e) = 2 atanh t, so the difference is e^2/(2 + e) less the odd
// powers of t from the third on.
double e_less_log1p(double e)
{
    if (std::fabs(e) > 0.375)
        return e - std::log1p(e);
    const double t = e / (2 + e);
    const double t2 = t * t;
    double power = t * t2, series = 0;
    for (int k = 3; k <= 41 && power != 0; k += 2) {
        series += power / k;
        power *= t2;
    }
    return e * e / (2 + e) - 2 * series;
}

// log(y^p (1 - y)^q / (p B(p, q))), where ymc = 1 - y.  When both shapes are
// large the powers and the beta function are far larger than their
// quotient; Stirling's form of the beta function lets them cancel
// analytically: with lambda = p - (p + q) y taken from the smaller of y and
// 1 - y, the quotient is exp(-(p r(-lambda/p) + q r(lambda/q))) times
// sqrt(pq/(p+q)/(2 pi)) times the corrections of the three log-gammas,
// r(e) = e - log(1 + e).
double log_leading_factor(double y, double ymc, double p, double q)
{
    if (std::min(p, q) < 8) {
        const double log_y = y <= ymc ? std::log(y) : std::log1p(-ymc);
        const double log_ymc = ymc < y ? std::log(ymc) : std::log1p(-y);
        return p * log_y + q * log_ymc - log_beta_routine(p, q) - std::log(p);
    }
    const double lambda = y <= ymc ? p - (p + q) * y : (p + q) * ymc - q;
    const double exponent = -(p * e_less_log1p(-lambda / p) + q * e_less_log1p(lambda / q));
    const double corrections = orvls_r9lgmc(p) + orvls_r9lgmc(q) - orvls_r9lgmc(p + q);
    clear_error_below(2);
    return exponent + 0.5 * std::log(p * q / (p + q)) - kLogSqrtTwoPi - corrections - std::log(p);
}

// I_y(p, q) by the continued fraction of the incomplete beta function
// (modified Lentz), on the side of the mean where it converges fast; ymc is
// 1 - y as the caller knows it.  It runs in double for both forms: the
// shapes it serves are beyond what float carries.
double continued_fraction(double y, double ymc, double p, double q)
{
    using Real = double;
    if (y > (p + 1) / (p + q + 2))
        return 1 - continued_fraction(ymc, y, q, p);
    const Real tiny = Machine<Real>::tiny / Machine<Real>::eps3;
    auto guard = [tiny](Real v) { return std::fabs(v) < tiny ? tiny : v; };
    // The first denominator, 1 - (p + q) y / (p + 1), vanishes at the mean;
    // it is formed as (lambda + 1) / (p + 1) with lambda = p - (p + q) y
    // taken from the smaller of y and 1 - y.
    const Real lambda = y <= ymc ? p - (p + q) * y : (p + q) * ymc - q;
    Real c = 1;
    Real d = 1 / guard((lambda + 1) / (p + 1));
    Real h = d;
    for (int64_t m = 1; m <= kLongestFraction; ++m) {
        const Real rm = static_cast<Real>(m);
        const Real even = rm * (q - rm) * y / ((p + 2 * rm - 1) * (p + 2 * rm));
        d = 1 / guard(1 + even * d);
        c = guard(1 + even / c);
        h *= d * c;
        const Real odd = -(p + rm) * (p + q + rm) * y / ((p + 2 * rm) * (p + 2 * rm + 1));
        d = 1 / guard(1 + odd * d);
        c = guard(1 + odd / c);
        const Real step = d * c;
        h *= step;
        if (std::fabs(step - 1) <= Machine<Real>::eps3)
            break;
    }
    return std::exp(log_leading_factor(y, ymc, p, q)) * h;
}

// I_y(p, q) when a shape is infinite: the mass sits at 0 (q infinite) or at
// 1 (p infinite); NaN when both are.
template <class Real>
Real infinite_shape(Real y, Real p, Real q)
{
    if (std::isinf(p) && std::isinf(q))
        return Machine<Real>::nan;
    if (std::isinf(q))
        return y > 0 ? Real(1) : Real(0);
    return y < 1 ? Real(0) : Real(1);
}

}  // namespace

template <class Real>
Real l_beta_incomplete(Real x, Real pin, Real qin)
{
    if (std::isnan(x) || std::isnan(pin) || std::isnan(qin))
        return Machine<Real>::nan;
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

    if (std::isinf(p) || std::isinf(q)) {
        const Real r = infinite_shape(y, p, q);
        return swapped ? 1 - r : r;
    }
    if (q > kLongestFiniteSum<Real>) {
        const Real r = static_cast<Real>(std::clamp(continued_fraction(y, 1 - double(y), p, q), 0.0, 1.0));
        return swapped ? 1 - r : r;
    }
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
