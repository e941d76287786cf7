// The beta law: its distribution function through the incomplete beta, and
// its inverse by Newton steps on log I_x with a continued fraction for the
// ratio of I_x to its leading term.
#include <algorithm>
#include <cmath>

#include "special/distributions.h"
#include "special/special.h"

namespace orvls {
namespace {

template <class Real>
Real beta_cdf(Real x, Real pin, Real qin)
{
    if (pin <= 0) {
        raise_error(5, 11033, {pin});
        return missing_value<Real>();
    }
    if (qin <= 0) {
        raise_error(5, 11034, {qin});
        return missing_value<Real>();
    }
    if (x <= 0) {
        raise_error(1, 20415, {x});
        return Real(0);
    }
    if (x >= 1) {
        raise_error(1, 20416, {x});
        return Real(1);
    }
    return beta_incomplete_routine<Real>(x, pin, qin);
}

// Bisection on I_x - p for shapes above 1 and not far apart: at most 31
// halvings, returning only when the bracket is within eps.  It ends with the
// root or with nothing, and the Newton steps then start afresh.
template <class Real>
bool bisect(Real p, Real pin, Real qin, Real* root)
{
    const Real eps = largest_spacing<Real>();
    Real lo = 0;
    Real flo = -p;
    Real hi = 1;
    for (int round = 0; round < 31; ++round) {
        const Real x = Real(0.5) * (lo + hi);
        const Real f = beta_incomplete_routine<Real>(x, pin, qin) - p;
        if (f * flo > 0) {
            lo = x;
            flo = f;
        } else {
            hi = x;
        }
        if (hi - lo <= eps && std::fabs(f) <= eps) {
            *root = x;
            return true;
        }
    }
    return false;
}

// Newton steps on log I_x(P, Q) = l in the smaller tail, I_x taken as
// x^P (1-x)^Q exp(K) c / ... with K = -log B(P, Q) - log P written so that
// its Stirling terms cancel, and c a continued fraction truncated after
// about 0.7 log(P + Q + 15)^2 terms.
template <class Real>
Real newton_beta_inverse(Real p, Real pin, Real qin)
{
    const Real eps = largest_spacing<Real>();
    const bool lower = p <= Real(0.5);
    const Real big_p = lower ? pin : qin;
    const Real big_q = lower ? qin : pin;
    const Real l = lower ? std::log(p) : std::log(1 - p);
    const auto in_tail = [&](Real x) { return lower ? x : 1 - x; };

    const Real s = big_p + big_q;
    Real x = big_p / s;
    const Real k_constant = inner_log_gamma<Real>(s) - inner_log_gamma<Real>(big_p) -
                            inner_log_gamma<Real>(big_q) + (big_p - Real(0.5)) * std::log(big_p) -
                            s * std::log(s) + (big_q - Real(0.5)) * std::log(big_q) +
                            big_p * std::log(big_q / big_p + 1) + Real(0.5) * std::log(big_q / big_p) +
                            big_q * std::log(big_p / big_q + 1);
    const Real big_l = std::log(big_p + 15 + big_q);

    for (int round = 0; round < 100; ++round) {
        const Real k = std::max(s * x - big_p, Real(0)) + Real(0.7) * big_l * big_l;
        const Real d = big_p + 2 * k;
        const Real e = 1 - s * x / d;
        Real c = 2 / (std::sqrt(e * e - 4 * k * (k - big_q) * x / (d * d)) + e);
        for (Real j = std::trunc(k); j >= 1; j -= 1) {
            const Real p2j = big_p + 2 * j;
            c = 1 / (1 - (j + big_p - 1 + big_q) * (j + big_p - 1) * x /
                             ((p2j - 1 - (j - big_q) * j * x * c / p2j) * (p2j - 2)));
        }
        if (std::log(x) <= DistributionLimits<Real>::log_smallest + 10)
            return lower ? Real(0) : Real(1);
        Real g = (l - (big_q * std::log(1 - x) + big_p * std::log(x) + k_constant + std::log(c))) * (1 - x) * c / big_p;
        g = std::clamp(g, Real(-0.99), Real(0.5) / x - Real(0.5));
        x *= 1 + g;
        if (std::fabs(g) < eps)
            return in_tail(x);
    }
    const Real result = in_tail(x);
    raise_error(3, 9047, {p, result});
    return result;
}

template <class Real>
Real beta_inverse_cdf(Real p, Real pin, Real qin)
{
    if (pin <= 0) {
        raise_error(5, 9044, {pin});
        return missing_value<Real>();
    }
    if (qin <= 0) {
        raise_error(5, 9045, {qin});
        return missing_value<Real>();
    }
    if (p <= 0 || p >= 1) {
        raise_error(5, 9046, {p});
        return missing_value<Real>();
    }
    // 31 halvings leave a bracket of 2^-31, so the bisection can end only
    // where eps is at least that (the float form); elsewhere it is skipped.
    const bool halvings_can_reach_eps = Real(0x1p-31) <= largest_spacing<Real>();
    const Real smaller = std::min(pin, qin);
    if (halvings_can_reach_eps && smaller > 1 && 10 * smaller > std::max(pin, qin)) {
        Real root;
        if (bisect(p, pin, qin, &root))
            return root;
    }
    return newton_beta_inverse(p, pin, qin);
}

template <class Real>
Real beta_cdf_routine(Real x, Real pin, Real qin)
{
    return distribution_routine<Real>("orvls_f_beta_cdf", "orvls_d_beta_cdf",
                                      [&] { return l_beta_cdf(x, pin, qin); });
}

template <class Real>
Real beta_inverse_cdf_routine(Real p, Real pin, Real qin)
{
    return distribution_routine<Real>("orvls_f_beta_inverse_cdf", "orvls_d_beta_inverse_cdf",
                                      [&] { return l_beta_inverse_cdf(p, pin, qin); });
}

}  // namespace

template <class Real>
Real l_beta_cdf(Real x, Real pin, Real qin)
{
    return within("l_beta_cdf", [&] { return beta_cdf(x, pin, qin); });
}

template <class Real>
Real l_beta_inverse_cdf(Real p, Real pin, Real qin)
{
    return within("l_beta_inverse_cdf", [&] { return beta_inverse_cdf(p, pin, qin); });
}

template <class Real>
Real orvls_dbetin(Real p, Real pin, Real qin)
{
    return within("orvls_dbetin", [&] { return beta_inverse_cdf(p, pin, qin); });
}

#define ORVLS_INSTANTIATE(Real)                                   \
    template Real l_beta_cdf<Real>(Real, Real, Real);             \
    template Real l_beta_inverse_cdf<Real>(Real, Real, Real);     \
    template Real orvls_dbetin<Real>(Real, Real, Real);
ORVLS_INSTANTIATE(float)
ORVLS_INSTANTIATE(double)
#undef ORVLS_INSTANTIATE

}  // namespace orvls

using namespace orvls;

extern "C" {
ORVLS_API float orvls_f_beta_cdf(float x, float pin, float qin) { return beta_cdf_routine(x, pin, qin); }
ORVLS_API double orvls_d_beta_cdf(double x, double pin, double qin) { return beta_cdf_routine(x, pin, qin); }
ORVLS_API float orvls_f_beta_inverse_cdf(float p, float pin, float qin)
{
    return beta_inverse_cdf_routine(p, pin, qin);
}
ORVLS_API double orvls_d_beta_inverse_cdf(double p, double pin, double qin)
{
    return beta_inverse_cdf_routine(p, pin, qin);
}
}
