// The F law: its distribution function and inverse through the incomplete
// beta and its inverse.
#include <cmath>

#include "special/distributions.h"
#include "special/special.h"

namespace orvls {
namespace {

template <class Real>
Real F_cdf(Real f, Real df_numerator, Real df_denominator)
{
    if (df_numerator <= 0 || df_denominator <= 0) {
        raise_error(5, 9048, {df_numerator, df_denominator});
        return missing_value<Real>();
    }
    if (f <= 0) {
        raise_error(1, 9050, {f});
        return Real(0);
    }
    const Real x = df_denominator / (f * df_numerator + df_denominator);
    return 1 - beta_incomplete_routine<Real>(x, Real(0.5) * df_denominator, Real(0.5) * df_numerator);
}

// The numerator's beta quantile for p <= 1/2, else the denominator's for
// 1 - p, so that the beta inverse always works in its lower half.
template <class Real>
Real F_inverse_cdf(Real p, Real df_numerator, Real df_denominator)
{
    if (p <= 0 || p >= 1) {
        raise_error(5, 9043, {p});
        return missing_value<Real>();
    }
    if (df_numerator <= 0 || df_denominator <= 0) {
        raise_error(5, 9048, {df_numerator, df_denominator});
        return missing_value<Real>();
    }
    const Real top = 1 - largest_spacing<Real>();
    if (p <= Real(0.5)) {
        const Real b = orvls_dbetin(p, Real(0.5) * df_numerator, Real(0.5) * df_denominator);
        if (b >= top) {
            orvls_ermes(4, 9008);
            return machine_table<Real>(7);
        }
        return b * df_denominator / ((1 - b) * df_numerator);
    }
    const Real b = orvls_dbetin(1 - p, Real(0.5) * df_denominator, Real(0.5) * df_numerator);
    if (b == 0) {
        orvls_ermes(4, 9008);
        return machine_table<Real>(7);
    }
    return (1 / b - 1) * df_denominator / df_numerator;
}

template <class Real>
Real F_cdf_routine(Real f, Real df_numerator, Real df_denominator)
{
    return distribution_routine<Real>("orvls_f_F_cdf", "orvls_d_F_cdf",
                                      [&] { return l_F_cdf(f, df_numerator, df_denominator); });
}

template <class Real>
Real F_inverse_cdf_routine(Real p, Real df_numerator, Real df_denominator)
{
    return distribution_routine<Real>("orvls_f_F_inverse_cdf", "orvls_d_F_inverse_cdf",
                                      [&] { return l_F_inverse_cdf(p, df_numerator, df_denominator); });
}

}  // namespace

template <class Real>
Real l_F_cdf(Real f, Real df_numerator, Real df_denominator)
{
    return within("l_F_cdf", [&] { return F_cdf(f, df_numerator, df_denominator); });
}

template <class Real>
Real l_F_inverse_cdf(Real p, Real df_numerator, Real df_denominator)
{
    return within("l_F_inverse_cdf", [&] { return F_inverse_cdf(p, df_numerator, df_denominator); });
}

template float l_F_cdf<float>(float, float, float);
template double l_F_cdf<double>(double, double, double);
template float l_F_inverse_cdf<float>(float, float, float);
template double l_F_inverse_cdf<double>(double, double, double);

}  // namespace orvls

using namespace orvls;

extern "C" {
ORVLS_API float orvls_f_F_cdf(float f, float df_numerator, float df_denominator)
{
    return F_cdf_routine(f, df_numerator, df_denominator);
}
ORVLS_API double orvls_d_F_cdf(double f, double df_numerator, double df_denominator)
{
    return F_cdf_routine(f, df_numerator, df_denominator);
}
ORVLS_API float orvls_f_F_inverse_cdf(float p, float df_numerator, float df_denominator)
{
    return F_inverse_cdf_routine(p, df_numerator, df_denominator);
}
ORVLS_API double orvls_d_F_inverse_cdf(double p, double df_numerator, double df_denominator)
{
    return F_inverse_cdf_routine(p, df_numerator, df_denominator);
}
}
