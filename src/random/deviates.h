// The univariate deviates: the workers of the public generators, the setup
// blocks kept between calls, and the pieces every generator shares (the
// draw from the stream, the public envelope, the parameter refusals).
#pragma once

#include <cstdarg>
#include <cmath>
#include <cstdint>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/options.h"
#include "orvls.h"
#include "random/result_array.h"
#include "random/uniform.h"
#include "special/common.h"

namespace orvls {

// ---- Drawing from the stream -----------------------------------------------

// Draws k uniforms; false when the stream could not deliver (its error
// stands).  The fills write nothing when they fail, and no deviate of the
// stream reaches 1, so a last element left at 2 tells the failure.
template <class Real>
inline bool draw_uniforms(int64_t k, Real* u)
{
    u[k - 1] = 2;
    uniform_fill(k, u);
    return u[k - 1] < 1;
}

template <class Real>
inline bool draw_uniform(Real& u)
{
    return draw_uniforms(1, &u);
}

// ---- Machine constants of the element type ---------------------------------

template <class Real>
inline Real smallest_normal()
{
    return machine_table<Real>(1);
}
template <class Real>
inline Real largest_real()
{
    return machine_table<Real>(2);
}
template <class Real>
inline Real smallest_spacing()
{
    return machine_table<Real>(3);
}
template <class Real>
inline Real relative_spacing()
{
    return machine_table<Real>(4);
}

// The public name of a routine's float or double form.
using special::public_name;

// ---- Refusals ----------------------------------------------------------------

// A real parameter outside [low, high]: type 5, code 120, text 1 = its
// name, reals 1 to 3 = low, high and the value.  Returns false then.
bool check_real_range(double value, const char* name, double low, double high, bool open_low, bool open_high);

// A parameter that must be above zero (no upper bound but the largest real).
template <class Real>
inline bool check_positive(Real value, const char* name)
{
    return check_real_range(value, name, 0, largest_real<Real>(), true, false);
}

// A probability strictly between 0 and 1.
template <class Real>
inline bool check_open_probability(Real value, const char* name)
{
    return check_real_range(value, name, 0, 1, true, true);
}

// ---- The public envelope -----------------------------------------------------

// A routine that returns an array of `size` values of type Out: reads
// ORVLS_RETURN_USER, refuses `count` (named count_name) below `least`, and
// lets fill(count, r) check the parameters and fill r.  After an error
// above type 3 an array allocated here is freed and the result is null.
template <class Out, class Fill>
Out* array_routine(const char* name, va_list ap, int64_t positional_count, const char* count_name, int64_t count,
                   int64_t least, int64_t size, Fill fill)
{
    OptionReader options(ap, positional_count);
    return envelope<Out*>(name, nullptr, [&]() -> Out* {
        ResultArray<Out> result(options, "r");
        int64_t checks = 0;
        orvls_check_range(count, count_name, least, 0, &checks);
        if (orvls_n1rty(0) > 0)
            return nullptr;
        if (Out* r = result.data(size))
            fill(count, r);
        return result.finish();
    });
}

// A generator of n_random deviates.
template <class Out, class Fill>
Out* deviate_routine(const char* name, int64_t n_random, va_list ap, int64_t positional_count, Fill fill)
{
    return array_routine<Out>(name, ap, positional_count, "n_random", n_random, 1, n_random, fill);
}

// Defines the exported generator `name` returning Result*, with the
// positional parameters given last (the final one named `last`); `call`
// runs the routine with the option list `ap`.  Float parameters stand
// before the option list in the public prototypes.  ISO C leaves va_start
// after a parameter that promotes undefined, and clang warns of it; GCC and
// clang both start the list from the prototype's register and stack counts
// and ignore the parameter, so the warning is silenced here alone.
#define ORVLS_DEVIATE_ENTRY(Result, name, last, call, ...)       \
    extern "C" ORVLS_API Result* name(__VA_ARGS__, ...)           \
    {                                                            \
        va_list ap;                                              \
        _Pragma("GCC diagnostic push")                           \
        _Pragma("GCC diagnostic ignored \"-Wvarargs\"")          \
        va_start(ap, last);                                      \
        _Pragma("GCC diagnostic pop")                            \
        Result* result_ = call;                                  \
        va_end(ap);                                              \
        return result_;                                          \
    }

// ---- Setup blocks kept per thread between calls -----------------------------

// The triangle-parallelogram-exponential envelope that the binomial and
// Poisson generators share: a triangle around the mode, parallelograms on
// its sides and exponential tails, with cumulative areas p1 to p4.
template <class Real>
struct TpeEnvelope {
    int64_t mode;
    Real xm, xl, xr, c, lambda_l, lambda_r, p1, p2, p3, p4;
};

enum class TpeDraw { rejected, accepted, to_test, failed };

// One trial: a candidate x (at most `upper`) with the height v that the
// density ratio f(x)/f(mode) must reach, or a result at once.
template <class Real>
TpeDraw tpe_candidate(const TpeEnvelope<Real>& e, Real upper, int64_t& x, Real& v)
{
    Real uv[2];
    if (!draw_uniforms(2, uv))
        return TpeDraw::failed;
    const Real u = e.p4 * uv[0];
    v = uv[1];
    if (u <= e.p1) {
        x = static_cast<int64_t>(e.xm - e.p1 * v + u);
        return TpeDraw::accepted;
    }
    if (u <= e.p2) {
        const Real y = e.xl + (u - e.p1) / e.c;
        v = v * e.c + 1 - std::fabs(static_cast<Real>(e.mode) - y + Real(0.5)) / e.p1;
        // Points above the parallelogram or under the triangle.
        if (v > 1 || v <= 0)
            return TpeDraw::rejected;
        x = static_cast<int64_t>(y);
        return TpeDraw::to_test;
    }
    if (u <= e.p3) {
        x = static_cast<int64_t>(e.xl + std::log(v) / e.lambda_l);
        if (x < 0)
            return TpeDraw::rejected;
        v *= (u - e.p2) * e.lambda_l;
        return TpeDraw::to_test;
    }
    const Real y = e.xr - std::log(v) / e.lambda_r;
    if (y > upper)
        return TpeDraw::rejected;
    x = static_cast<int64_t>(y);
    v *= (u - e.p3) * e.lambda_r;
    return TpeDraw::to_test;
}

// The Stirling correction of log k! at y = k + 1, to the terms in y^-9.
template <class Real>
inline Real stirling_correction(Real y)
{
    const Real y2 = y * y;
    return (13860 - (462 - (132 - (99 - 140 / y2) / y2) / y2) / y2) / y / 166320;
}

// The squeeze around log f(x)/f(mode) = -k^2/(2 variance): accepted below
// the lower bound (1), rejected above the upper (-1), else undecided (0).
template <class Real>
inline int squeeze(Real k, Real variance, Real log_v)
{
    const Real spread = (k / variance) * ((k * (k / 3 + Real(0.625)) + Real(0.1666666666666)) / variance + Real(0.5));
    const Real centre = -k * k / (2 * variance);
    if (log_v < centre - spread)
        return 1;
    if (log_v > centre + spread)
        return -1;
    return 0;
}

// The binomial setup, kept while n and p repeat.
template <class Real>
struct BinomialSetup {
    int64_t n;
    Real p;
    int32_t ready;
    bool by_inversion;
    Real r, q, g, nrq;
    Real q_power_n, c_inversion;  // inversion
    TpeEnvelope<Real> envelope;
};

// The Poisson setup, in float arithmetic, kept while theta repeats.
struct PoissonSetup {
    float theta;
    int32_t ready;
    bool by_inversion;
    float exp_minus_theta;  // inversion
    float log_theta;
    TpeEnvelope<float> envelope;
};

// The hypergeometric setup: the three parameters and the probability of
// the lowest possible value.
template <class Real>
struct HypergeometricSetup {
    int64_t sample, defectives, lot;
    int32_t ready;
    int64_t lowest, highest;
    Real p_lowest;
};

// ---- Workers -------------------------------------------------------------------

// Standard normal deviates by inversion of the stream's uniforms, one each.
template <class Real>
void l_rnnor(int64_t n, Real* r);
// Standard normal deviates by the Kinderman and Ramage composition.
template <class Real>
void orvls_rnnoa(int64_t n, Real* r);
// The public normal routine of the precision, without options.
float* normal_public(int64_t n, float* r);
double* normal_public(int64_t n, double* r);

// Gamma deviates of shape a (11036 for a <= 0, 11037 on overflow).
template <class Real>
void l_rngam(int64_t n, Real a, Real* r);
// Beta deviates (11033, 11034 for a parameter <= 0; 11035 on underflow).
template <class Real>
void l_rnbet(int64_t n, Real pin, Real qin, Real* r);
// Logarithmic deviates (20570 for a outside (0, 1)).
template <class Real>
void l_rnlgr(int64_t n, Real a, int64_t* r);
// Binomial deviates; p outside (0,1) raises 120, n below 1 raises 603.
template <class Real>
void l_rnbin(int64_t n_random, int64_t n, Real p, int64_t* r);
// Poisson deviates in float arithmetic (11032 for theta <= 0).
void l_rnpoi(int64_t n_random, float theta, int64_t* r);

}  // namespace orvls
