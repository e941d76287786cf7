// Continuous distribution functions and their inverses: the normal,
// bivariate normal, Student t, chi-squared, F, gamma and beta laws, with
// Owen's T function under the bivariate normal.  Every template here is
// instantiated for float and double; the float forms take eps and the other
// limits from the float machine table.
#pragma once

#include <cstdint>
#include <type_traits>

#include "frame/envelope.h"
#include "frame/machine.h"
#include "special/common.h"

namespace orvls {

using special::clear_error;
using special::raise_error;

// ---- Frame helpers ---------------------------------------------------------

// A public routine of the family: the float or double name by element type,
// NaN when the worker does not run.
template <class Real, class Worker>
inline Real distribution_routine(const char* float_name, const char* double_name, Worker&& worker)
{
    return envelope<Real>(special::public_name<Real>(float_name, double_name), missing_value<Real>(), worker);
}

// eps of the family: the largest relative spacing of the element type.
template <class Real>
inline Real largest_spacing()
{
    return machine_table<Real>(4);
}

// Limits derived from the machine table.  They are constants of the element
// type, equal bit for bit to the formulas beside them (the tests check this).
template <class Real>
struct DistributionLimits;
template <>
struct DistributionLimits<double> {
    static constexpr double log_largest_third = 0x1.d9303fea2f7e9p+7;   // log(dmach(2)) / 3
    static constexpr double log_smallest = -0x1.6232bdd7abcd2p+9;       // log(dmach(1))
    static constexpr double gamma_shape_limit = 0x1.71547652b82fep+1014; // dmach(2) / log(dmach(2))
    static constexpr double cube_root_largest = 0x1.428a2f98d728bp+341;  // cbrt(dmach(2))
};
template <>
struct DistributionLimits<float> {
    static constexpr float log_largest_third = 0x1.d9304p+4f;
    static constexpr float log_smallest = -0x1.5d58ap+6f;
    static constexpr float gamma_shape_limit = 0x1.715474p+121f;
    static constexpr float cube_root_largest = 0x1.965feap+42f;
};

// ---- Workers and internal functions ----------------------------------------

// Phi(x), with the far lower tail returned as 0 in silence.
template <class Real>
Real l_normal_cdf(Real x);
// The inverse of Phi by the inverse of erfc (9041 for p outside (0,1)).
template <class Real>
Real orvls_anorin(Real p);
// A fast rational approximation of the inverse of Phi, good to about four
// figures, for the normal deviates; *x is NaN for p outside (0,1).
template <class Real>
void l_anorin(Real p, Real* x);

// Owen's T(h, a) by the six methods of Patefield and Tandy.
template <class Real>
Real l_owen_t(Real h, Real a);
template <class Real>
Real l_bnrdf(Real x, Real y, Real rho);

template <class Real>
Real l_t_cdf(Real t, Real df);
template <class Real>
Real l_t_inverse_cdf(Real p, Real df);
template <class Real>
Real l_chi_squared_cdf(Real chi_squared, Real df);
template <class Real>
Real l_chi_squared_inverse_cdf(Real p, Real df);
template <class Real>
Real l_F_cdf(Real f, Real df_numerator, Real df_denominator);
template <class Real>
Real l_F_inverse_cdf(Real p, Real df_numerator, Real df_denominator);
template <class Real>
Real l_gamma_cdf(Real x, Real a);
// The gamma inverse, named "GAMIN" on the error stack.
template <class Real>
Real gamin(Real p, Real a);
template <class Real>
Real l_beta_cdf(Real x, Real pin, Real qin);
// The beta inverse under its two names: the public worker and the one the t
// and F inverses call.
template <class Real>
Real l_beta_inverse_cdf(Real p, Real pin, Real qin);
template <class Real>
Real orvls_dbetin(Real p, Real pin, Real qin);

// ---- The public routines as templates --------------------------------------
// Each pushes its public name (orvls_f_... or orvls_d_...); the inverses
// call these where their errors are to stand as the called routine's.
template <class Real>
Real normal_cdf_routine(Real x);
template <class Real>
Real normal_inverse_cdf_routine(Real p);
template <class Real>
Real chi_squared_cdf_routine(Real chi_squared, Real df);
template <class Real>
Real gamma_cdf_routine(Real x, Real a);

}  // namespace orvls
