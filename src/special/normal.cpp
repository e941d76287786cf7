// The standard normal: its distribution function, its inverse through the
// inverse of erfc, and the fast four-figure inverse of the normal deviates.
#include <cmath>

#include "special/distributions.h"
#include "special/special.h"

namespace orvls {

// Phi(x) = erfc(-x / sqrt 2) / 2.  erfc underflows far in its upper tail
// with an alert; that is Phi's lower tail, where 0 is the right answer.
template <class Real>
Real l_normal_cdf(Real x)
{
    const Real z = Real(-0.7071067811865476) * x;
    const int64_t* counts = quiet_erfc_counts(z);
    return inner_routine(
        counts != nullptr, [&] { return Real(0.5) * erfc_with_counts(z, counts); },
        [&] {
            return within("l_normal_cdf", [&] {
                const Real value = Real(0.5) * erfc_routine<Real>(z);
                if (special::error_type(0) == 2)
                    clear_error();
                return value;
            });
        });
}

// Near the centre (|1 - 2p| < 0.75) the inverse of erfc is its series
// alone, which raises nothing: there the two levels are left out.
template <class Real>
Real orvls_anorin(Real p)
{
    const Real x = 2 * p;
    return inner_routine(
        std::fabs(1 - x) < Real(0.75), [&] { return Real(-1.4142135623730951) * erfc_inverse_value(x); },
        [&] {
            return within("orvls_anorin", [&] {
                if (p <= 0 || p >= 1) {
                    raise_error(5, 9041, {p});
                    return missing_value<Real>();
                }
                return Real(-1.4142135623730951) * erfc_inverse_routine<Real>(x);
            });
        });
}

namespace {

// The fast inverse is x = sqrt 2 (1 + c) t, with c a rational correction:
// in u = t^2 near the centre (t = |1 - 2p|), and in the tails in
// s = sqrt(-log(4 q (1 - q))), q the smaller tail, with t replaced by s.
template <class Real>
Real central_correction(Real t)
{
    const Real u = t * t;
    return Real(-0.113773) -
           Real(0.5751703) * u /
               (u - Real(3.293474) - Real(1.896513) / (u - Real(2.374996) - Real(0.05496261) / (u - Real(1.187515))));
}

// s >= 4, in w = 1/s.
template <class Real>
Real far_tail_correction(Real s)
{
    const Real w = 1 / s;
    return ((Real(0.01078639) * w - Real(0.1498384)) * w - Real(0.002028152)) * w /
               (((w - Real(0.06888301)) * w + Real(0.5211733)) * w + Real(0.09952975)) +
           Real(0.0001851159);
}

template <class Real>
Real tail_correction(Real s)
{
    if (s < Real(2.5))
        return ((Real(0.05073975) * s - Real(0.2368201)) * s - Real(0.1314774)) * s /
                   (((s - Real(7.586103)) * s + Real(21.98546)) * s - Real(44.27977)) -
               Real(0.1146666);
    if (s < 4)
        return ((Real(0.06208963) * s - Real(0.3166501)) * s + Real(0.3937021)) * s /
                   (((s - Real(2.962883)) * s + Real(4.666263)) * s - Real(6.266786)) -
               Real(0.05668422);
    return far_tail_correction(s);
}

// The fast inverse for 0 < p < 1.  Within a few eps of 0 or 1 the far-tail
// piece serves directly.
template <class Real>
Real fast_normal_inverse(Real p)
{
    const Real eps = largest_spacing<Real>();
    Real t;
    Real c;
    if (eps < p && p < 1 - 3 * eps) {
        t = std::fabs(1 - 2 * p);
        if (t <= Real(0.85)) {
            c = central_correction(t);
        } else {
            t = std::sqrt(-std::log((1 - t) * t + (1 - t)));
            c = tail_correction(t);
        }
    } else {
        const Real v = 2 * std::fmin(p, 1 - p);
        t = std::sqrt(-std::log(v - v * v + v));
        c = far_tail_correction(t);
    }
    const Real x = (c * t + t) * Real(1.4142135623730951);
    return p < Real(0.5) ? -x : x;
}

}  // namespace

template <class Real>
void l_anorin(Real p, Real* x)
{
    *x = within("l_anorin", [&] {
        if (p <= 0 || p >= 1) {
            raise_error(5, 9041, {p});
            return missing_value<Real>();
        }
        return fast_normal_inverse(p);
    });
}

template <class Real>
Real normal_cdf_routine(Real x)
{
    return distribution_routine<Real>("orvls_f_normal_cdf", "orvls_d_normal_cdf", [&] { return l_normal_cdf(x); });
}

template <class Real>
Real normal_inverse_cdf_routine(Real p)
{
    return distribution_routine<Real>("orvls_f_normal_inverse_cdf", "orvls_d_normal_inverse_cdf",
                                      [&] { return orvls_anorin(p); });
}

#define ORVLS_INSTANTIATE(Real)                               \
    template Real l_normal_cdf<Real>(Real);                   \
    template Real orvls_anorin<Real>(Real);                   \
    template void l_anorin<Real>(Real, Real*);                \
    template Real normal_cdf_routine<Real>(Real);             \
    template Real normal_inverse_cdf_routine<Real>(Real);
ORVLS_INSTANTIATE(float)
ORVLS_INSTANTIATE(double)
#undef ORVLS_INSTANTIATE

}  // namespace orvls

using namespace orvls;

extern "C" {
ORVLS_API float orvls_f_normal_cdf(float x) { return normal_cdf_routine(x); }
ORVLS_API double orvls_d_normal_cdf(double x) { return normal_cdf_routine(x); }
ORVLS_API float orvls_f_normal_inverse_cdf(float p) { return normal_inverse_cdf_routine(p); }
ORVLS_API double orvls_d_normal_inverse_cdf(double p) { return normal_inverse_cdf_routine(p); }
}
