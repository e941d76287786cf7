// The error-function family: erf, erfc, the scaled exp(x^2) erfc(x) and the
// inverse of erfc.
#include <cmath>

#include "frame/envelope.h"
#include "special/common.h"
#include "special/special.h"

namespace orvls {

using namespace special;

namespace {

// The three term counts of the family (erf, erfc beyond 2, erfc on (1, 2]),
// the lengths orvls_initds finds for the tolerance, found at compile time.
template <class Real>
void find_term_counts(int64_t counts[3])
{
    counts[0] = Tables<Real>::erfcs.length;
    counts[1] = Tables<Real>::erfccs.length;
    counts[2] = Tables<Real>::erc2cs.length;
}

// The calling thread's term counts, found on first use; null (type 5,
// code 200) when the block cannot be made.
template <class Real>
const int64_t* thread_term_counts()
{
    ErfTermCounts<Real>* block = ThreadRecord<ErfTermCounts<Real>>::get();
    if (block == nullptr) {
        orvls_ermes(5, 200);
        return nullptr;
    }
    if (block->words[0] == 0)
        find_term_counts<Real>(block->words);
    return block->words;
}

// x (1 + series(2x^2 - 1)): erf for |x| <= 1.
template <class Real>
Real erf_series(Real x, const int64_t* counts)
{
    return x * (1 + orvls_csevl(2 * x * x - 1, Tables<Real>::erfcs.data(), counts[0]));
}

// y exp(y^2) erfc(y) for y > 1: 0.5 plus the series of its range.
template <class Real>
Real erfc_tail(Real y, const int64_t* counts)
{
    const Real y2 = y * y;
    if (y2 <= 4)
        return Real(0.5) + orvls_csevl((8 / y2 - 5) / 3, Tables<Real>::erc2cs.data(), counts[2]);
    return Real(0.5) + orvls_csevl(8 / y2 - 1, Tables<Real>::erfccs.data(), counts[1]);
}

// 1 - 2x/sqrt(pi): erfc where x^2 is below the spacing of 1.
template <class Real>
Real erfc_near_zero(Real x)
{
    return 1 - 2 * x / Real(kSqrtPi);
}

}  // namespace

template <class Real>
Real erfc_with_counts(Real x, const int64_t* counts)
{
    if (x <= -Thresholds<Real>::erf_xbig)
        return 2;
    if (x > Thresholds<Real>::erfc_xmax) {
        raise_error(2, 9015, {double(x), double(Thresholds<Real>::erfc_xmax)});
        return 0;
    }
    const Real y = std::fabs(x);
    if (y > 1) {
        const Real value = std::exp(-y * y) / y * erfc_tail(y, counts);
        return x < 0 ? 2 - value : value;
    }
    if (y < Thresholds<Real>::erf_sqeps)
        return erfc_near_zero(x);
    return 1 - erf_series(x, counts);
}

template <class Real>
const int64_t* quiet_erfc_counts(Real x)
{
    const ErfTermCounts<Real>* block = ThreadRecord<ErfTermCounts<Real>>::peek();
    if (block == nullptr || block->words[0] == 0 || !(x <= Thresholds<Real>::erfc_xmax))
        return nullptr;
    return block->words;
}

template <class Real>
Real erf_value(Real x)
{
    const int64_t* counts = thread_term_counts<Real>();
    if (counts == nullptr)
        return Machine<Real>::nan;
    const Real y = std::fabs(x);
    if (y <= 1)
        return y <= Thresholds<Real>::erf_sqeps ? 2 * x / Real(kSqrtPi) : erf_series(x, counts);
    if (y <= Thresholds<Real>::erf_xbig)
        return std::copysign(1 - erfc_with_counts(y, counts), x);
    return std::copysign(Real(1), x);
}

template <class Real>
Real erfc_value(Real x)
{
    const int64_t* counts = thread_term_counts<Real>();
    return counts == nullptr ? Machine<Real>::nan : erfc_with_counts(x, counts);
}

template <class Real>
Real l_erfce(Real x, int64_t counts[3])
{
    if (counts[0] == 0)
        find_term_counts<Real>(counts);
    if (x < Thresholds<Real>::erfce_xneg) {
        raise_error(4, 9012, {double(x), double(Thresholds<Real>::erfce_xneg)});
        return Machine<Real>::nan;
    }
    if (x <= -Thresholds<Real>::erf_xbig)
        return 2 * std::exp(x * x);
    if (x > Thresholds<Real>::erfce_xmax) {
        raise_error(2, 9015, {double(x), double(Thresholds<Real>::erfce_xmax)});
        return 0;
    }
    const Real y = std::fabs(x);
    if (y > 1) {
        const Real value = erfc_tail(y, counts) / y;
        return x < 0 ? 2 * std::exp(y * y) - value : value;
    }
    if (y < Thresholds<Real>::erf_sqeps)
        return erfc_near_zero(x);
    return std::exp(x * x) * (1 - erf_series(x, counts));
}

// The largest argument of the inverse, with e = eps4: s = sqrt(e/12.566),
// w = -s/log(1.77 s), l = log(1.77 w), xmax = 2 - (w - (l w + s)/(l + 1)),
// in Thresholds::erfc_inverse_xmax.
template <class Real>
Real erfc_inverse_value(Real x)
{
    int64_t counts[3];  // l_erfce's, shared by the Newton rounds
    find_term_counts<Real>(counts);
    if (x <= 0 || x >= 2) {
        orvls_e1stl(1, "x");
        raise_error(4, 120, {0.0, 2.0, double(x)});
        return Machine<Real>::nan;
    }
    if (x > Thresholds<Real>::erfc_inverse_xmax)
        raise_error(3, 30002, {double(x), double(Thresholds<Real>::erfc_inverse_xmax)});
    const Real y = 1 - x;
    if (std::fabs(y) < Real(0.75)) {
        const auto& cs = Tables<Real>::erfc_inverse_cs;
        return (1 + orvls_csevl(32 * y * y / 9 - 1, cs.data(), cs.length)) * y;
    }
    // Newton's method on erfc(t) = z in the tail, from an asymptotic start.
    const Real z = y >= 0 ? x : y + 1;
    const Real l = -std::log(Real(kSqrtPi) * z);
    const Real m = std::log(l);
    Real t = std::sqrt(l - m / 2 + (m / 4 - Real(0.5)) / l);
    const Real e = Machine<Real>::eps4;
    for (int round = 0; round < 100; ++round) {
        const Real d = (l_erfce(t, counts) - std::exp(t * t + std::log(z))) * Real(0.886226925452758);
        t += d;
        if (std::fabs(d) < 10 * e * t)
            return y >= 0 ? t : -t;
    }
    orvls_ermes(4, 30003);
    return t;
}

// ---- Public routines: the body runs between the push and the pop ----------

template <class Real>
Real erf_routine(Real x)
{
    return within(public_name<Real>("orvls_f_erf", "orvls_d_erf"), [&] { return erf_value(x); });
}

template <class Real>
Real erfc_routine(Real x)
{
    return within(public_name<Real>("orvls_f_erfc", "orvls_d_erfc"), [&] { return erfc_value(x); });
}

template <class Real>
Real erfc_inverse_routine(Real x)
{
    return within(public_name<Real>("orvls_f_erfc_inverse", "orvls_d_erfc_inverse"),
                  [&] { return erfc_inverse_value(x); });
}

#define ORVLS_SPECIAL_ERF_FORMS(Real)                     \
    template Real erf_value<Real>(Real);                  \
    template Real erfc_value<Real>(Real);                 \
    template Real erfc_inverse_value<Real>(Real);         \
    template Real erfc_with_counts<Real>(Real, const int64_t*); \
    template const int64_t* quiet_erfc_counts<Real>(Real); \
    template Real l_erfce<Real>(Real, int64_t[3]);        \
    template Real erf_routine<Real>(Real);                \
    template Real erfc_routine<Real>(Real);               \
    template Real erfc_inverse_routine<Real>(Real);
ORVLS_SPECIAL_ERF_FORMS(float)
ORVLS_SPECIAL_ERF_FORMS(double)
#undef ORVLS_SPECIAL_ERF_FORMS

}  // namespace orvls

extern "C" {
ORVLS_API float orvls_f_erf(float x) { return orvls::erf_routine(x); }
ORVLS_API double orvls_d_erf(double x) { return orvls::erf_routine(x); }
ORVLS_API float orvls_f_erfc(float x) { return orvls::erfc_routine(x); }
ORVLS_API double orvls_d_erfc(double x) { return orvls::erfc_routine(x); }
ORVLS_API float orvls_f_erfc_inverse(float x) { return orvls::erfc_inverse_routine(x); }
ORVLS_API double orvls_d_erfc_inverse(double x) { return orvls::erfc_inverse_routine(x); }
}
