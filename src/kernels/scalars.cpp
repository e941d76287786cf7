// Scalar helpers with numbered exports: maximum and minimum, powers, and
// complex negation and division.
#include <cmath>

#include "kernels/vectors.h"
#include "orvls.h"

namespace orvls::kernels {
namespace {

// A NaN in either argument is the result, so that missing values propagate.
template <class Real>
Real maximum(Real a, Real b)
{
    return (a >= b || std::isnan(a)) ? a : b;
}
template <class Real>
Real minimum(Real a, Real b)
{
    return (a <= b || std::isnan(a)) ? a : b;
}

// x to the power k: products written out up to the sixth power, then
// square-and-multiply on the bits of k, lowest first.  A negative k inverts x;
// k of 0 gives 1, also for x of 0.
template <class Real>
Real integer_power(Real x, int64_t k)
{
    uint64_t bits = k < 0 ? 0 - static_cast<uint64_t>(k) : static_cast<uint64_t>(k);
    if (k < 0)
        x = 1 / x;
    switch (bits) {
    case 0:
        return 1;
    case 1:
        return x;
    case 2:
        return x * x;
    case 3:
        return x * x * x;
    case 4: {
        const Real square = x * x;
        return square * square;
    }
    case 5: {
        const Real square = x * x;
        return square * (square * x);
    }
    case 6: {
        const Real square = x * x;
        return square * square * square;
    }
    default:
        break;
    }
    Real result = 1;
    for (; bits != 0; bits >>= 1) {
        if (bits & 1)
            result *= x;
        x *= x;
    }
    return result;
}

template <class Real>
Complex<Real> negate(Complex<Real> a)
{
    return {-a.re, -a.im};
}

// a / b by Smith's scaling, which divides by the larger part of b first so
// that no intermediate overflows where the quotient does not.
template <class Real>
Complex<Real> divide(Complex<Real> a, Complex<Real> b)
{
    if (std::fabs(b.re) >= std::fabs(b.im)) {
        const Real ratio = b.im / b.re;
        const Real denominator = b.re + b.im * ratio;
        return {(a.re + a.im * ratio) / denominator, (a.im - a.re * ratio) / denominator};
    }
    const Real ratio = b.re / b.im;
    const Real denominator = b.re * ratio + b.im;
    return {(a.re * ratio + a.im) / denominator, (a.im * ratio - a.re) / denominator};
}

}  // namespace
}  // namespace orvls::kernels

using namespace orvls::kernels;

extern "C" {

ORVLS_API float orvls_f_max(float a, float b) { return maximum(a, b); }
ORVLS_API double orvls_d_max(double a, double b) { return maximum(a, b); }
ORVLS_API int64_t orvls_i_max(int64_t a, int64_t b) { return a >= b ? a : b; }
ORVLS_API float orvls_f_min(float a, float b) { return minimum(a, b); }
ORVLS_API double orvls_d_min(double a, double b) { return minimum(a, b); }
ORVLS_API int64_t orvls_i_min(int64_t a, int64_t b) { return a <= b ? a : b; }

ORVLS_API float orvls_f_power(float x, float y) { return std::pow(x, y); }
ORVLS_API double orvls_d_power(double x, double y) { return std::pow(x, y); }
ORVLS_API float orvls_f_integer_power(float x, int64_t k) { return integer_power(x, k); }
ORVLS_API double orvls_d_integer_power(double x, int64_t k) { return integer_power(x, k); }

ORVLS_API orvls_f_complex orvls_c_neg(orvls_f_complex a) { return negate<float>(a); }
ORVLS_API orvls_d_complex orvls_z_neg(orvls_d_complex a) { return negate<double>(a); }
ORVLS_API orvls_f_complex orvls_c_div(orvls_f_complex a, orvls_f_complex b) { return divide<float>(a, b); }
ORVLS_API orvls_d_complex orvls_z_div(orvls_d_complex a, orvls_d_complex b) { return divide<double>(a, b); }

}  // extern "C"
