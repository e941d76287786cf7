// The bivariate normal distribution function by Owen's T:
// P(X <= x, Y <= y) = (Phi(x) + Phi(y))/2 - T(x, ax) - T(y, ay) - beta,
// with ax = (y/x - rho)/sqrt(1 - rho^2), ay likewise, and beta 1/2 when x
// and y lie on opposite sides of 0.
#include <algorithm>
#include <cmath>

#include "special/distributions.h"

namespace orvls {
namespace {

// Phi(x), taken as 1 - Phi(-x) for positive x.
template <class Real>
Real normal_cdf_from_left(Real x)
{
    return x > 0 ? 1 - l_normal_cdf(-x) : l_normal_cdf(x);
}

// The quarter with the sign of `of`: T(0, +-infinity).
template <class Real>
Real signed_quarter(Real of)
{
    return of < 0 ? Real(-0.25) : Real(0.25);
}

template <class Real>
Real correlated_cdf(Real x, Real y, Real rho)
{
    const Real r = 1 / std::sqrt(1 - rho * rho);
    // l_owen_t puts the sign of its second argument on the result.
    Real t1;
    Real t2;
    if (x * y != 0) {
        t1 = l_owen_t(x, (y / x - rho) * r);
        t2 = l_owen_t(y, (x / y - rho) * r);
    } else if (x == 0 && y != 0) {
        t1 = signed_quarter(y);
        t2 = l_owen_t(y, -rho * r);
    } else if (y == 0 && x != 0) {
        t2 = signed_quarter(x);
        t1 = l_owen_t(x, -rho * r);
    } else {
        t1 = t2 = l_owen_t(Real(0), (1 - rho) * r);
    }
    Real value = Real(0.5) * (normal_cdf_from_left(x) + normal_cdf_from_left(y)) - t1 - t2;
    if (x * y < 0 || (x * y == 0 && x + y < 0))
        value -= Real(0.5);
    return std::clamp(value, Real(0), Real(1));
}

template <class Real>
Real bivariate_normal_cdf(Real x, Real y, Real rho)
{
    if (std::fabs(rho) > 1) {
        raise_error(5, 20030, {rho});
        return missing_value<Real>();
    }
    if (std::fabs(rho) == 1) {
        orvls_ermes(6, 20031);
        if (rho == 1)
            return l_normal_cdf(std::min(x, y));
        return std::max(l_normal_cdf(x) + l_normal_cdf(y) - 1, Real(0));
    }
    return correlated_cdf(x, y, rho);
}

}  // namespace

template <class Real>
Real l_bnrdf(Real x, Real y, Real rho)
{
    return within("l_bnrdf", [&] { return bivariate_normal_cdf(x, y, rho); });
}

template float l_bnrdf<float>(float, float, float);
template double l_bnrdf<double>(double, double, double);

namespace {
template <class Real>
Real bivariate_normal_cdf_routine(Real x, Real y, Real rho)
{
    return distribution_routine<Real>("orvls_f_bivariate_normal_cdf", "orvls_d_bivariate_normal_cdf",
                                      [&] { return l_bnrdf(x, y, rho); });
}
}  // namespace

}  // namespace orvls

using namespace orvls;

extern "C" {
ORVLS_API float orvls_f_bivariate_normal_cdf(float x, float y, float rho)
{
    return bivariate_normal_cdf_routine(x, y, rho);
}
ORVLS_API double orvls_d_bivariate_normal_cdf(double x, double y, double rho)
{
    return bivariate_normal_cdf_routine(x, y, rho);
}
}
