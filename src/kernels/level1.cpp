// Vector kernels: the library's additions and the published level-1
// operations, one template per operation over the element type.
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "kernels/rotations.h"
#include "kernels/vectors.h"
#include "orvls.h"

namespace orvls::kernels {
namespace {

// Partial sums of the real reductions.
constexpr int kLanes = 4;

template <class T>
void set(int64_t n, T value, T* x, int64_t incx)
{
    for_each_element(n, [value](T& xi) { xi = value; }, vector(x, incx));
}

template <class Real>
void add(int64_t n, Real a, Real* x, int64_t incx)
{
    for_each_element(n, [a](Real& xi) { xi += a; }, vector(x, incx));
}

template <class Real>
void vcal(int64_t n, Real a, const Real* x, int64_t incx, Real* y, int64_t incy)
{
    for_each_element(n, [a](const Real& xi, Real& yi) { yi = a * xi; }, vector(x, incx), vector(y, incy));
}

template <int Lanes, class T>
T sum(int64_t n, const T* x, int64_t incx)
{
    return sum_of<Lanes, T>(n, [](T xi) { return xi; }, vector(x, incx));
}

template <class Real>
Real asum(int64_t n, const Real* x, int64_t incx)
{
    return sum_of<kLanes, Real>(n, [](Real xi) { return std::fabs(xi); }, vector(x, incx));
}

template <class Real>
void hprod(int64_t n, const Real* x, int64_t incx, const Real* y, int64_t incy, Real* z, int64_t incz)
{
    for_each_element(
        n, [](const Real& xi, const Real& yi, Real& zi) { zi = xi * yi; }, vector(x, incx), vector(y, incy),
        vector(z, incz));
}

template <class Real>
Real xyz(int64_t n, const Real* x, int64_t incx, const Real* y, int64_t incy, const Real* z, int64_t incz)
{
    return sum_of<kLanes, Real>(
        n, [](Real xi, Real yi, Real zi) { return xi * yi * zi; }, vector(x, incx), vector(y, incy),
        vector(z, incz));
}

template <class Real>
Real dot(int64_t n, const Real* x, int64_t incx, const Real* y, int64_t incy)
{
    return sum_of<kLanes, Real>(n, [](Real xi, Real yi) { return xi * yi; }, vector(x, incx), vector(y, incy));
}

// One-based position, in loop order, of the first element whose key beats
// all before it; 0 for n below 1.
template <class T, class Key, class Better>
int64_t index_of_best(int64_t n, const T* x, int64_t incx, Key key, Better better)
{
    if (n < 1)
        return 0;
    const T* p = loop_start(n, x, incx);
    auto best = key(p[0]);
    int64_t where = 1;
    for (int64_t i = 1; i < n; ++i) {
        const auto candidate = key(p[i * incx]);
        if (better(candidate, best)) {
            best = candidate;
            where = i + 1;
        }
    }
    return where;
}

const auto as_is = [](auto v) { return v; };
const auto magnitude = [](auto v) { return std::fabs(v); };
const auto larger = [](auto a, auto b) { return a > b; };
const auto smaller = [](auto a, auto b) { return a < b; };

template <class T>
void copy(int64_t n, const T* x, int64_t incx, T* y, int64_t incy)
{
    for_each_element(n, [](const T& xi, T& yi) { yi = xi; }, vector(x, incx), vector(y, incy));
}

template <class T>
void swap(int64_t n, T* x, int64_t incx, T* y, int64_t incy)
{
    for_each_element(n, [](T& xi, T& yi) { std::swap(xi, yi); }, vector(x, incx), vector(y, incy));
}

template <class Scale, class T>
void scal(int64_t n, Scale a, T* x, int64_t incx)
{
    for_each_element(n, [a](T& xi) { xi = times(a, xi); }, vector(x, incx));
}

// Element helpers of the norms, for real and complex elements.
template <class Real>
Real square(Real x)
{
    return x * x;
}
template <class Real>
Real square(const Complex<Real>& x)
{
    return x.re * x.re + x.im * x.im;
}
template <class Real>
Real largest_part(Real x)
{
    return std::fabs(x);
}
template <class Real>
Real largest_part(const Complex<Real>& x)
{
    return std::max(std::fabs(x.re), std::fabs(x.im));
}
template <class Real>
Real scaled(Real x, Real scale)
{
    return x * scale;
}
template <class Real>
Complex<Real> scaled(const Complex<Real>& x, Real scale)
{
    return {x.re * scale, x.im * scale};
}

// Euclidean norm without overflow or harmful underflow: the plain sum of
// squares when it is safely inside the range, otherwise a second pass with
// the elements scaled by a power of two near the largest of them.
template <class Real, class T>
Real nrm2(int64_t n, const T* x, int64_t incx)
{
    if (n < 1)
        return 0;
    const auto v = vector(x, incx);
    const Real plain = sum_of<kLanes, Real>(n, [](const T& e) { return square<Real>(e); }, v);
    if (std::isnan(plain))
        return plain;
    // Each square that underflows loses at most half the smallest subnormal.
    if (plain < std::numeric_limits<Real>::infinity() && plain >= Real(2 * n) * std::numeric_limits<Real>::min())
        return std::sqrt(plain);
    Real largest = 0;
    for_each_element(n, [&largest](const T& e) { largest = std::max(largest, largest_part<Real>(e)); }, v);
    if (largest == 0 || std::isinf(largest))
        return largest;
    const int exponent = std::max(std::ilogb(largest), std::numeric_limits<Real>::min_exponent - 1);
    const Real scale = std::ldexp(Real(1), -exponent);
    const Real sum = sum_of<kLanes, Real>(
        n, [scale](const T& e) { return square<Real>(scaled<Real>(e, scale)); }, v);
    return std::ldexp(std::sqrt(sum), exponent);
}

// The float complex norm: one unscaled pass; a sum not above the smallest
// normal number gives 0.
float unscaled_complex_norm(int64_t n, const orvls_f_complex* x, int64_t incx)
{
    const float sum =
        sum_of<kLanes, float>(n, [](const orvls_f_complex& e) { return square<float>(e); }, vector(x, incx));
    return std::fabs(sum) > std::numeric_limits<float>::min() ? std::sqrt(sum) : 0.0f;
}

template <class Real>
void rot(int64_t n, Real* x, int64_t incx, Real* y, int64_t incy, Real c, Real s)
{
    for_each_element(
        n,
        [c, s](Real& xi, Real& yi) {
            const Real rotated = c * xi + s * yi;
            yi = c * yi - s * xi;
            xi = rotated;
        },
        vector(x, incx), vector(y, incy));
}

// The plane rotation that zeroes b: a := r, b := z (the reconstruction value).
template <class Real>
void rotg(Real* a, Real* b, Real* c, Real* s)
{
    const Real safe_min = std::numeric_limits<Real>::min();
    const Real safe_max = 1 / safe_min;
    const Real a_norm = std::fabs(*a);
    const Real b_norm = std::fabs(*b);
    if (b_norm == 0) {
        *c = 1;
        *s = 0;
        *b = 0;
        return;
    }
    if (a_norm == 0) {
        *c = 0;
        *s = 1;
        *a = *b;
        *b = 1;
        return;
    }
    const Real scale = std::min(safe_max, std::max(safe_min, std::max(a_norm, b_norm)));
    const Real sigma = std::copysign(Real(1), a_norm > b_norm ? *a : *b);
    const Real r = sigma * (scale * std::sqrt(square(*a / scale) + square(*b / scale)));
    *c = *a / r;
    *s = *b / r;
    *a = r;
    *b = a_norm > b_norm ? *s : (*c != 0 ? 1 / *c : Real(1));
}

}  // namespace
}  // namespace orvls::kernels

using namespace orvls::kernels;

extern "C" {

// Library additions, by value.
ORVLS_API void orvls_sset(int64_t n, float value, float* x, int64_t incx) { set(n, value, x, incx); }
ORVLS_API void orvls_dset(int64_t n, double value, double* x, int64_t incx) { set(n, value, x, incx); }
ORVLS_API void orvls_cset(int64_t n, orvls_f_complex value, orvls_f_complex* x, int64_t incx)
{
    set(n, value, x, incx);
}
ORVLS_API void orvls_zset(int64_t n, orvls_d_complex value, orvls_d_complex* x, int64_t incx)
{
    set(n, value, x, incx);
}
ORVLS_API void orvls_iset(int64_t n, int64_t value, int64_t* x, int64_t incx) { set(n, value, x, incx); }

ORVLS_API void orvls_sadd(int64_t n, float a, float* x, int64_t incx) { add(n, a, x, incx); }
ORVLS_API void orvls_dadd(int64_t n, double a, double* x, int64_t incx) { add(n, a, x, incx); }

ORVLS_API void orvls_svcal(int64_t n, float a, const float* x, int64_t incx, float* y, int64_t incy)
{
    vcal(n, a, x, incx, y, incy);
}

ORVLS_API float orvls_ssum(int64_t n, const float* x, int64_t incx) { return sum<kLanes>(n, x, incx); }
ORVLS_API double orvls_dsum(int64_t n, const double* x, int64_t incx) { return sum<kLanes>(n, x, incx); }
ORVLS_API int64_t orvls_isum(int64_t n, const int64_t* x, int64_t incx) { return sum<2>(n, x, incx); }

ORVLS_API float orvls_sasum(int64_t n, const float* x, int64_t incx) { return asum(n, x, incx); }

ORVLS_API void orvls_shprod(const int64_t* n, const float* x, const int64_t* incx, const float* y,
                            const int64_t* incy, float* z, const int64_t* incz)
{
    hprod(*n, x, *incx, y, *incy, z, *incz);
}
ORVLS_API void orvls_dshprod(const int64_t* n, const double* x, const int64_t* incx, const double* y,
                             const int64_t* incy, double* z, const int64_t* incz)
{
    hprod(*n, x, *incx, y, *incy, z, *incz);
}

ORVLS_API float orvls_sxyz(int64_t n, const float* x, int64_t incx, const float* y, int64_t incy, const float* z,
                           int64_t incz)
{
    return xyz(n, x, incx, y, incy, z, incz);
}
ORVLS_API double orvls_dxyz(int64_t n, const double* x, int64_t incx, const double* y, int64_t incy,
                            const double* z, int64_t incz)
{
    return xyz(n, x, incx, y, incy, z, incz);
}

ORVLS_API int64_t orvls_ismax(int64_t n, const float* x, int64_t incx)
{
    return index_of_best(n, x, incx, as_is, larger);
}
ORVLS_API int64_t orvls_dismax(int64_t n, const double* x, int64_t incx)
{
    return index_of_best(n, x, incx, as_is, larger);
}
ORVLS_API int64_t orvls_ismin(int64_t n, const float* x, int64_t incx)
{
    return index_of_best(n, x, incx, as_is, smaller);
}
ORVLS_API int64_t orvls_dismin(int64_t n, const double* x, int64_t incx)
{
    return index_of_best(n, x, incx, as_is, smaller);
}
ORVLS_API int64_t orvls_iimax(const int64_t* n, const int64_t* x, const int64_t* incx)
{
    return index_of_best(*n, x, *incx, as_is, larger);
}
ORVLS_API int64_t orvls_iimin(const int64_t* n, const int64_t* x, const int64_t* incx)
{
    return index_of_best(*n, x, *incx, as_is, smaller);
}
ORVLS_API int64_t orvls_isamax(int64_t n, const float* x, int64_t incx)
{
    return index_of_best(n, x, incx, magnitude, larger);
}
ORVLS_API int64_t orvls_idamax(int64_t n, const double* x, int64_t incx)
{
    return index_of_best(n, x, incx, magnitude, larger);
}
ORVLS_API int64_t orvls_isamin(int64_t n, const float* x, int64_t incx)
{
    return index_of_best(n, x, incx, magnitude, smaller);
}
ORVLS_API int64_t orvls_idamin(int64_t n, const double* x, int64_t incx)
{
    return index_of_best(n, x, incx, magnitude, smaller);
}

// Published level-1 operations.
ORVLS_API void orvls_scopy(int64_t n, const float* x, int64_t incx, float* y, int64_t incy)
{
    copy(n, x, incx, y, incy);
}
ORVLS_API void orvls_dcopy(int64_t n, const double* x, int64_t incx, double* y, int64_t incy)
{
    copy(n, x, incx, y, incy);
}
ORVLS_API void orvls_ccopy(int64_t n, const orvls_f_complex* x, int64_t incx, orvls_f_complex* y, int64_t incy)
{
    copy(n, x, incx, y, incy);
}
ORVLS_API void orvls_zcopy(int64_t n, const orvls_d_complex* x, int64_t incx, orvls_d_complex* y, int64_t incy)
{
    copy(n, x, incx, y, incy);
}
ORVLS_API void orvls_icopy(int64_t n, const int64_t* x, int64_t incx, int64_t* y, int64_t incy)
{
    copy(n, x, incx, y, incy);
}

ORVLS_API void orvls_cswap(int64_t n, orvls_f_complex* x, int64_t incx, orvls_f_complex* y, int64_t incy)
{
    swap(n, x, incx, y, incy);
}
ORVLS_API void orvls_zswap(int64_t n, orvls_d_complex* x, int64_t incx, orvls_d_complex* y, int64_t incy)
{
    swap(n, x, incx, y, incy);
}
ORVLS_API void orvls_iswap(int64_t n, int64_t* x, int64_t incx, int64_t* y, int64_t incy)
{
    swap(n, x, incx, y, incy);
}

ORVLS_API void orvls_sscal(int64_t n, float a, float* x, int64_t incx) { scal(n, a, x, incx); }
ORVLS_API void orvls_dscal(int64_t n, double a, double* x, int64_t incx) { scal(n, a, x, incx); }
ORVLS_API void orvls_cscal(int64_t n, orvls_f_complex a, orvls_f_complex* x, int64_t incx) { scal(n, a, x, incx); }
ORVLS_API void orvls_zscal(int64_t n, orvls_d_complex a, orvls_d_complex* x, int64_t incx) { scal(n, a, x, incx); }
ORVLS_API void orvls_csscal(int64_t n, float a, orvls_f_complex* x, int64_t incx) { scal(n, a, x, incx); }
ORVLS_API void orvls_zdscal(int64_t n, double a, orvls_d_complex* x, int64_t incx) { scal(n, a, x, incx); }

ORVLS_API float orvls_sdot(int64_t n, const float* x, int64_t incx, const float* y, int64_t incy)
{
    return dot(n, x, incx, y, incy);
}
ORVLS_API double orvls_ddot(int64_t n, const double* x, int64_t incx, const double* y, int64_t incy)
{
    return dot(n, x, incx, y, incy);
}

ORVLS_API float orvls_snrm2(int64_t n, const float* x, int64_t incx) { return nrm2<float>(n, x, incx); }
ORVLS_API double orvls_dnrm2(int64_t n, const double* x, int64_t incx) { return nrm2<double>(n, x, incx); }
ORVLS_API float orvls_scnrm2(const int64_t* n, const orvls_f_complex* x, const int64_t* incx)
{
    return unscaled_complex_norm(*n, x, *incx);
}
ORVLS_API double orvls_dznrm2(int64_t n, const orvls_d_complex* x, int64_t incx)
{
    return nrm2<double>(n, x, incx);
}

ORVLS_API void orvls_srot(int64_t n, float* x, int64_t incx, float* y, int64_t incy, float c, float s)
{
    rot(n, x, incx, y, incy, c, s);
}
ORVLS_API void orvls_drot(int64_t n, double* x, int64_t incx, double* y, int64_t incy, double c, double s)
{
    rot(n, x, incx, y, incy, c, s);
}
ORVLS_API void orvls_srotg(float* a, float* b, float* c, float* s) { rotg(a, b, c, s); }
ORVLS_API void orvls_drotg(double* a, double* b, double* c, double* s) { rotg(a, b, c, s); }
ORVLS_API void orvls_srotm(int64_t n, float* x, int64_t incx, float* y, int64_t incy, const float* param)
{
    rotm(n, x, incx, y, incy, param);
}
ORVLS_API void orvls_drotm(int64_t n, double* x, int64_t incx, double* y, int64_t incy, const double* param)
{
    rotm(n, x, incx, y, incy, param);
}
ORVLS_API void orvls_srotmg(float* d1, float* d2, float* x1, float y1, float* param)
{
    rotmg(d1, d2, x1, y1, param);
}
ORVLS_API void orvls_drotmg(double* d1, double* d2, double* x1, double y1, double* param)
{
    rotmg(d1, d2, x1, y1, param);
}

}  // extern "C"
