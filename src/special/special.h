// The special functions: the gamma, beta and error-function families, the
// combinatorial functions and the Chebyshev series under them.  Every
// template here is instantiated for float and double; the float forms take
// their thresholds from the float machine table and use float series.
#pragma once

#include <cstdint>

#include "frame/tsd.h"
#include "special/common.h"

namespace orvls {

// ---- Chebyshev series ------------------------------------------------------

// Value at x of the series of its first n coefficients (the first counts
// half).  n outside 1..1000: 9001/9002 and NaN; |x| > 1.1: warning 9003.
// Inline, so that a series of known length runs without a call.
template <class Real>
inline Real orvls_csevl(Real x, const Real* series, int64_t n)
{
    if (n < 1 || n > 1000) [[unlikely]] {
        orvls_e1sti(1, n);
        orvls_ermes(5, n < 1 ? 9001 : 9002);
        return special::Machine<Real>::nan;
    }
    if (x < Real(-1.1) || x > Real(1.1)) [[unlikely]]
        special::raise_error(3, 9003, {double(x)});
    // Clenshaw's recurrence from the top term down.
    Real b0 = 0, b1 = 0, b2 = 0;
    const Real twox = 2 * x;
    for (int64_t i = n - 1; i >= 0; --i) {
        b2 = b1;
        b1 = b0;
        b0 = twox * b1 - b2 + series[i];
    }
    return (b0 - b2) / 2;
}

// Number of terms needed for an error below eta: the index (from one) at
// which the sum of |c| taken from the last term first exceeds eta.
// count < 1: 9004; eta below the last term: 9005; both give 0.
template <class Real>
int64_t orvls_initds(const Real* series, int64_t count, Real eta);
// The float twin.
int64_t orvls_inits(const float* series, int64_t count, float eta);

// ---- Gamma family ----------------------------------------------------------

// The range of arguments over which gamma neither overflows nor underflows.
template <class Real>
struct GammaLimits {
    Real xmin;
    Real xmax;
};

// Finds the limits by Newton steps (9022, 9023 when a search fails).
template <class Real>
GammaLimits<Real> l_r9gaml();

// The limits, found once per process and shared by every thread.
template <class Real>
struct StoredGammaLimits {
    static inline OnceFlag computed{0};
    static inline GammaLimits<Real> limits{};
    static void compute() { limits = l_r9gaml<Real>(); }
    static const GammaLimits<Real>& get()
    {
        if (computed.load(std::memory_order_acquire) == 0)
            orvls_once(&computed, compute);
        return limits;
    }
};

// log Gamma(x) - (log sqrt(2 pi) + (x - 1/2) log x - x), for x >= 10.
template <class Real>
Real orvls_r9lgmc(Real x);
// log|Gamma(x)| and the sign of Gamma(x), through the public log-gamma.
template <class Real>
void orvls_algams(Real x, Real* log_gamma, Real* sign);
// 1/Gamma(x), zero at the poles.
template <class Real>
Real orvls_gamr(Real x);

// Workers of the public routines.
template <class Real>
Real l_gamma(Real x);
template <class Real>
Real l_log_gamma(Real x);
template <class Real>
Real l_gamma_incomplete(Real a, Real x);

// Tricomi's incomplete gamma x^-a gamma(a, x) / Gamma(a), and its pieces:
// the series for x <= 1, the continued fractions for large x and for x <= a.
template <class Real>
Real l_gamit(Real a, Real x);
template <class Real>
Real l_r9gmit(Real a, Real x, Real log_gamma_a_plus_1, Real sign_gamma_a_plus_1);
template <class Real>
Real l_r9lgic(Real a, Real x, Real log_x);
template <class Real>
Real l_r9lgit(Real a, Real x, Real log_gamma_a_plus_1);

// ---- Logarithm near one ----------------------------------------------------

// log(1 + x) without loss near zero.  The two differ only in their codes:
// l_alnrel 9039 (x <= -1) and 9040 (warning, x near -1); orvls_alnrel
// 20400 and 20401 (both terminal).
template <class Real>
Real l_alnrel(Real x);
template <class Real>
Real orvls_alnrel(Real x);

// ---- Beta family -----------------------------------------------------------

template <class Real>
Real l_beta(Real a, Real b);
template <class Real>
Real l_log_beta(Real a, Real b);
template <class Real>
Real l_beta_incomplete(Real x, Real pin, Real qin);

// ---- Error-function family -------------------------------------------------

// The per-thread term counts of erf and erfc, one block per real type: the
// effective lengths of the erf, erfc (x^2 > 4) and erfc (1 < x^2 <= 4)
// series, in that order, and a spare word.  A zero first word means that
// the counts are not yet found.
template <class Real>
struct ErfTermCounts {
    int64_t words[4];
};

// exp(x^2) erfc(x).  counts holds the effective lengths of the erf, erfc
// (x^2 > 4) and erfc (1 < x^2 <= 4) series; all zero means not yet found,
// and they are then found and stored here.
template <class Real>
Real l_erfce(Real x, int64_t counts[3]);

// The bodies of erf, erfc and the inverse of erfc, without the public push:
// errors land on the caller's level.  erf and erfc use the thread's term
// counts (type 5, code 200 when that block cannot be made).
template <class Real>
Real erf_value(Real x);
template <class Real>
Real erfc_value(Real x);
template <class Real>
Real erfc_inverse_value(Real x);

// erfc(x) from the thread's term counts, and those counts when erfc(x)
// raises nothing (they are made and x is below the underflow), else null.
template <class Real>
Real erfc_with_counts(Real x, const int64_t* counts);
template <class Real>
const int64_t* quiet_erfc_counts(Real x);

// ---- Combinatorial functions -----------------------------------------------

// C(n, m), the fractional part cut off below the largest exact integer.
template <class Real>
Real orvls_binom(int64_t n, int64_t m);

// ---- Inner calls -------------------------------------------------------------
// Gamma and log Gamma as other routines call them: the worker alone when the
// argument raises nothing, else the public routine (inner_routine).
template <class Real>
Real inner_gamma(Real x);
template <class Real>
Real inner_log_gamma(Real x);

// ---- The public routines as templates --------------------------------------
// Each pushes its public name (orvls_f_... or orvls_d_...), so that errors
// are reported as that routine's; other families call these.
template <class Real>
Real gamma_routine(Real x);
template <class Real>
Real log_gamma_routine(Real x);
template <class Real>
Real gamma_incomplete_routine(Real a, Real x);
template <class Real>
Real beta_routine(Real a, Real b);
template <class Real>
Real log_beta_routine(Real a, Real b);
template <class Real>
Real beta_incomplete_routine(Real x, Real pin, Real qin);
template <class Real>
Real erf_routine(Real x);
template <class Real>
Real erfc_routine(Real x);
template <class Real>
Real erfc_inverse_routine(Real x);
template <class Real>
int64_t factorial_routine(int64_t n);
template <class Real>
Real binomial_coefficient_routine(int64_t n, int64_t m);

}  // namespace orvls
