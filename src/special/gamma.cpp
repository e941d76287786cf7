// The gamma family: Gamma and its logarithm, the Stirling correction, the
// reciprocal, and the incomplete gamma function by Tricomi's form.
#include <cmath>

#include "frame/envelope.h"
#include "special/common.h"
#include "special/special.h"

namespace orvls {

using namespace special;

namespace {

// One Newton search of l_r9gaml for the root of
// (x + half) log x - x + c1 + c2; NaN when ten steps do not settle.
template <class Real>
Real newton_limit(Real start, Real half, Real c1, Real c2)
{
    Real x = start;
    for (int round = 0; round < 10; ++round) {
        const Real old = x;
        const Real xln = std::log(x);
        x -= x * ((x + half) * xln - x + c1 + c2) / (x * xln + half);
        if (std::fabs(x - old) < Real(0.005))
            return x;
    }
    return Machine<Real>::nan;
}

// |(x - trunc(x - 1/2)) scale / x| < sqrt(eps4): x lies near a negative
// integer, and the result has lost half its digits.
template <class Real>
void warn_near_negative_integer(Real x, Real scale)
{
    if (std::fabs((x - std::trunc(x - Real(0.5))) * scale / x) < Thresholds<Real>::sqrt_eps4)
        raise_error(3, 9020, {double(x)});
}

// Gamma on y <= 10: the series on [1, 2) moved by the recurrence.
template <class Real>
Real gamma_near_origin(Real x)
{
    int64_t n = static_cast<int64_t>(x);
    if (x < 0)
        --n;  // also for a negative integer
    const Real f = x - static_cast<Real>(n);
    --n;
    Real value = Real(0.9375) + orvls_csevl(2 * f - 1, Tables<Real>::gamcs.data(), Tables<Real>::gamcs.length);
    if (n == 0)
        return value;
    if (n > 0) {
        for (int64_t i = 1; i <= n; ++i)
            value *= f + static_cast<Real>(i);
        return value;
    }
    const int64_t count = -n;
    if (x == 0) {
        orvls_ermes(5, 9024);
        return Machine<Real>::nan;
    }
    // Both sides scaled alike, so that the test does not meet subnormals.
    if (f * Real(1e20) < Thresholds<Real>::gamma_xsml * Real(1e20)) {
        raise_error(4, 9011, {double(x)});
        return Machine<Real>::nan;
    }
    if (x < 0 && x + static_cast<Real>(count - 2) == 0) {
        raise_error(5, 9006, {double(x)});
        return Machine<Real>::nan;
    }
    if (x < Real(-0.5))
        warn_near_negative_integer(x, Real(1));
    for (int64_t i = 0; i < count; ++i)
        value /= x + static_cast<Real>(i);
    return value;
}

// log Gamma(y) for y > 10 by Stirling's formula and its correction.
template <class Real>
Real stirling_log_gamma(Real y)
{
    return (y - Real(0.5)) * std::log(y) - y + Real(kLogSqrtTwoPi) + orvls_r9lgmc(y);
}

}  // namespace

template <class Real>
GammaLimits<Real> l_r9gaml()
{
    GammaLimits<Real> limits;
    const Real alnsml = std::log(Machine<Real>::tiny);
    limits.xmin = newton_limit(-alnsml, Real(0.5), Real(-0.2258), alnsml);
    if (std::isnan(limits.xmin))
        orvls_ermes(4, 9022);
    else
        limits.xmin = Real(0.01) - limits.xmin;
    const Real alnbig = std::log(Machine<Real>::big);
    limits.xmax = newton_limit(alnbig, Real(-0.5), Real(0.9189), -alnbig);
    if (std::isnan(limits.xmax))
        orvls_ermes(4, 9023);
    else
        limits.xmax -= Real(0.01);
    limits.xmin = std::fmax(limits.xmin, 1 - limits.xmax);
    return limits;
}

template <class Real>
Real orvls_r9lgmc(Real x)
{
    if (x < 10) {
        raise_error(4, 60002, {double(x), 10.0});
        return Machine<Real>::nan;
    }
    if (x >= Thresholds<Real>::lgmc_xmax) {
        raise_error(2, 9015, {double(x), double(Thresholds<Real>::lgmc_xmax)});
        return 0;
    }
    if (x >= Thresholds<Real>::lgmc_xbig)
        return 1 / (12 * x);
    const Real t = 10 / x;
    return orvls_csevl(2 * t * t - 1, Tables<Real>::algmcs.data(), Tables<Real>::algmcs.length) / x;
}

template <class Real>
Real l_gamma(Real x)
{
    const GammaLimits<Real>& limits = StoredGammaLimits<Real>::get();
    const Real y = std::fabs(x);
    if (y <= 10)
        return gamma_near_origin(x);
    if (x > limits.xmax) {
        raise_error(4, 9009, {double(x), double(limits.xmax)});
        return Machine<Real>::nan;
    }
    if (x < limits.xmin) {
        raise_error(2, 9014, {double(x), double(limits.xmin)});
        return 0;
    }
    const Real value = std::exp(stirling_log_gamma(y));
    if (x > 0)
        return value;
    warn_near_negative_integer(x, Real(1));
    const Real s = std::sin(Real(kPi) * y);  // not reduced first
    if (s == 0) {
        raise_error(4, 9021, {double(x)});
        return Machine<Real>::nan;
    }
    return -Real(kPi) / (y * s * value);
}

namespace {

// Gamma raises nothing for a positive x up to its overflow limit that
// passes the test of arguments too near zero.
template <class Real>
bool gamma_is_quiet(Real x)
{
    if (!(x > 0))
        return false;
    if (x <= 10)
        return !(x * Real(1e20) < Thresholds<Real>::gamma_xsml * Real(1e20));
    return x <= StoredGammaLimits<Real>::get().xmax;
}

// log Gamma raises nothing for a positive x where Gamma raises nothing or,
// above 10, below the limits of the logarithm and the Stirling correction.
template <class Real>
bool log_gamma_is_quiet(Real x)
{
    if (x <= 10)
        return gamma_is_quiet(x);
    return x <= Thresholds<Real>::log_gamma_xmax && x < Thresholds<Real>::lgmc_xmax;
}

}  // namespace

template <class Real>
Real inner_gamma(Real x)
{
    return inner_routine(gamma_is_quiet(x), [&] { return l_gamma(x); }, [&] { return gamma_routine(x); });
}

template <class Real>
Real inner_log_gamma(Real x)
{
    return inner_routine(log_gamma_is_quiet(x), [&] { return l_log_gamma(x); },
                         [&] { return log_gamma_routine(x); });
}

template <class Real>
Real l_log_gamma(Real x)
{
    const Real y = std::fabs(x);
    if (y <= 10)
        return std::log(std::fabs(inner_gamma(x)));
    if (y > Thresholds<Real>::log_gamma_xmax) {
        raise_error(4, 9013, {double(x), double(Thresholds<Real>::log_gamma_xmax)});
        return Machine<Real>::nan;
    }
    if (x > 0)
        return Real(kLogSqrtTwoPi) + (x - Real(0.5)) * std::log(x) - x + orvls_r9lgmc(y);
    const Real s = std::fabs(std::sin(Real(kPi) * y));
    if (s == 0) {
        raise_error(4, 9006, {double(x)});
        return Machine<Real>::nan;
    }
    const Real value =
        Real(kLogSqrtPiOverTwo) + (x - Real(0.5)) * std::log(y) - x - std::log(s) - orvls_r9lgmc(y);
    warn_near_negative_integer(x, value);
    return value;
}

template <class Real>
void orvls_algams(Real x, Real* log_gamma, Real* sign)
{
    *log_gamma = inner_log_gamma(x);
    *sign = 1;
    if (x > 0)
        return;
    const int64_t m = static_cast<int64_t>(std::fmod(-std::trunc(x), Real(2)) + Real(0.1));
    if (m == 0)
        *sign = -1;
}

template <class Real>
Real orvls_gamr(Real x)
{
    if (x <= 0 && std::trunc(x) == x)
        return 0;
    if (std::fabs(x) <= 10) {
        const Real value = 1 / inner_gamma(x);
        clear_error_left_by_last_call(3);
        return value;
    }
    Real log_gamma, sign;
    orvls_algams(x, &log_gamma, &sign);
    clear_error_left_by_last_call(3);
    return std::exp(-log_gamma) * sign;
}

template <class Real>
Real l_gamma_incomplete(Real a, Real x)
{
    if (a <= 0)
        raise_error(5, 9032, {double(a)});
    if (x < 0)
        raise_error(5, 9033, {double(x)});
    if (terminal_error_stands())
        return Machine<Real>::nan;
    if (x == 0)
        return 0;
    const Real tricomi = l_gamit(a, x);
    return tricomi * std::exp(inner_log_gamma(a) + a * std::log(x));
}

namespace {

// exp(u), first clearing an error below terminal when u lies under the
// smallest logarithm (the underflow that error foretold is harmless).
template <class Real>
Real exp_clearing_underflow(Real u)
{
    if (u < Thresholds<Real>::log_tiny)
        clear_error_below(5);
    return std::exp(u);
}

}  // namespace

template <class Real>
Real l_gamit(Real a, Real x)
{
    const Real alneps = -Thresholds<Real>::log_eps3;
    const Real bot = Thresholds<Real>::log_tiny;
    if (x < 0) {
        raise_error(5, 9033, {double(x)});
        return Machine<Real>::nan;
    }
    const Real alx = x == 0 ? bot : std::log(x);
    const Real sga = a < 0 ? -1 : 1;
    const Real ainta = std::trunc(a + Real(0.5) * sga);
    const Real aeps = a - ainta;
    if (x == 0)
        return ainta <= 0 && aeps == 0 ? 0 : orvls_gamr(a + 1);
    Real algap1, sgngam;
    if (x <= 1) {
        if (a >= Real(-0.5) || aeps != 0)
            orvls_algams(a + 1, &algap1, &sgngam);
        else
            algap1 = sgngam = bot;
        return l_r9gmit(a, x, algap1, sgngam);
    }
    if (x <= a)
        return exp_clearing_underflow(l_r9lgit(a, x, inner_log_gamma(a + 1)));
    const Real alng = l_r9lgic(a, x, alx);
    Real h = 1;
    if (aeps != 0 || ainta > 0) {
        orvls_algams(a + 1, &algap1, &sgngam);
        const Real t = std::log(std::fabs(a)) + alng - algap1;
        if (t > alneps)
            return -sga * sgngam * exp_clearing_underflow(t - a * alx);
        if (t > -alneps)
            h = 1 - sga * sgngam * std::exp(t);
        if (std::fabs(h) <= Thresholds<Real>::sqrt_eps4)
            raise_error(3, 9020, {double(a)});
    }
    return std::copysign(exp_clearing_underflow(std::log(std::fabs(h)) - a * alx), h);
}

template <class Real>
Real l_r9gmit(Real a, Real x, Real algap1, Real sgngam)
{
    const Real eps = Real(0.5) * Machine<Real>::eps3;
    const Real bot = Thresholds<Real>::log_tiny;
    if (x <= 0) {
        raise_error(5, 9027, {double(x)});
        return Machine<Real>::nan;
    }
    const Real ma = std::trunc(a < 0 ? a - Real(0.5) : a + Real(0.5));
    const Real aeps = a - ma;
    const Real ae = a < Real(-0.5) ? aeps : a;
    Real t = ae, s = 1;
    bool converged = false;
    for (int k = 1; k <= 200 && !converged; ++k) {
        t = -x * t / static_cast<Real>(k);
        const Real u = t / (static_cast<Real>(k) + ae);
        s += u;
        converged = std::fabs(u) < eps * std::fabs(s);
    }
    if (!converged)
        orvls_ermes(4, 9034);
    if (a >= Real(-0.5))
        return std::exp(std::log(s) - algap1);

    Real algs = std::log(s) - inner_log_gamma(aeps + 1);
    const int64_t m = static_cast<int64_t>(-ma) - 1;
    Real s2 = 1, te = 1;
    for (int64_t i = 1; i <= m; ++i) {
        te = x * te / (aeps - static_cast<Real>(m + 1 - i));
        s2 += te;
        if (std::fabs(te) < eps * std::fabs(s2))
            break;
    }
    algs -= ma * std::log(x);
    if (s2 == 0 || aeps == 0)
        return std::exp(algs);
    const Real alg2 = std::log(std::fabs(s2)) - x - algap1;
    Real result = 0;
    if (alg2 > bot)
        result = sgngam * std::copysign(Real(1), s2) * std::exp(alg2);
    if (algs > bot)
        result += std::exp(algs);
    return result;
}

template <class Real>
Real l_r9lgic(Real a, Real x, Real alx)
{
    const Real eps = Real(0.5) * Machine<Real>::eps3;
    const Real xpa = x + 1 - a;
    const Real xma = x - 1 - a;
    Real r = 0, p = 1, s = 1;
    for (int k = 1; k <= 200; ++k) {
        const Real fk = static_cast<Real>(k);
        const Real t = fk * (a - fk) * (1 + r);
        r = -t / ((xma + 2 * fk) * (xpa + 2 * fk) + t);
        p = r * p;
        s += p;
        if (std::fabs(p) < eps * s)
            return a * alx - x + std::log(s / xpa);
    }
    orvls_ermes(4, 9035);
    return Machine<Real>::nan;
}

template <class Real>
Real l_r9lgit(Real a, Real x, Real algap1)
{
    const Real eps = Real(0.5) * Machine<Real>::eps3;
    if (x <= 0 || a < x) {
        raise_error(5, 9036, {double(x), double(a)});
        return Machine<Real>::nan;
    }
    const Real ax = a + x;
    const Real a1x = ax + 1;
    Real r = 0, p = 1, s = 1;
    for (int k = 1; k <= 200; ++k) {
        const Real fk = static_cast<Real>(k);
        const Real t = (a + fk) * x * (1 + r);
        r = t / ((ax + fk) * (a1x + fk) - t);
        p = r * p;
        s += p;
        if (std::fabs(p) < eps * s) {
            const Real h = 1 - x * s / a1x;
            if (h < Thresholds<Real>::sqrt_eps4)
                orvls_ermes(3, 9037);
            return -x - algap1 - std::log(h);
        }
    }
    orvls_ermes(4, 9035);
    return Machine<Real>::nan;
}

// ---- Public routines -----------------------------------------------------

template <class Real>
Real gamma_routine(Real x)
{
    return envelope<Real>(public_name<Real>("orvls_f_gamma", "orvls_d_gamma"), Machine<Real>::nan,
                          [&] { return l_gamma(x); });
}

template <class Real>
Real log_gamma_routine(Real x)
{
    return envelope<Real>(public_name<Real>("orvls_f_log_gamma", "orvls_d_log_gamma"), Machine<Real>::nan,
                          [&] { return l_log_gamma(x); });
}

template <class Real>
Real gamma_incomplete_routine(Real a, Real x)
{
    return envelope<Real>(public_name<Real>("orvls_f_gamma_incomplete", "orvls_d_gamma_incomplete"),
                          Machine<Real>::nan, [&] { return l_gamma_incomplete(a, x); });
}

#define ORVLS_SPECIAL_GAMMA_FORMS(Real)                                   \
    template GammaLimits<Real> l_r9gaml<Real>();                          \
    template Real orvls_r9lgmc<Real>(Real);                               \
    template Real l_gamma<Real>(Real);                                    \
    template Real l_log_gamma<Real>(Real);                                \
    template Real inner_gamma<Real>(Real);                                \
    template Real inner_log_gamma<Real>(Real);                            \
    template void orvls_algams<Real>(Real, Real*, Real*);                 \
    template Real orvls_gamr<Real>(Real);                                 \
    template Real l_gamma_incomplete<Real>(Real, Real);                   \
    template Real l_gamit<Real>(Real, Real);                              \
    template Real l_r9gmit<Real>(Real, Real, Real, Real);                 \
    template Real l_r9lgic<Real>(Real, Real, Real);                       \
    template Real l_r9lgit<Real>(Real, Real, Real);                       \
    template Real gamma_routine<Real>(Real);                              \
    template Real log_gamma_routine<Real>(Real);                          \
    template Real gamma_incomplete_routine<Real>(Real, Real);
ORVLS_SPECIAL_GAMMA_FORMS(float)
ORVLS_SPECIAL_GAMMA_FORMS(double)
#undef ORVLS_SPECIAL_GAMMA_FORMS

}  // namespace orvls

extern "C" {
ORVLS_API float orvls_f_gamma(float x) { return orvls::gamma_routine(x); }
ORVLS_API double orvls_d_gamma(double x) { return orvls::gamma_routine(x); }
ORVLS_API float orvls_f_log_gamma(float x) { return orvls::log_gamma_routine(x); }
ORVLS_API double orvls_d_log_gamma(double x) { return orvls::log_gamma_routine(x); }
ORVLS_API float orvls_f_gamma_incomplete(float a, float x) { return orvls::gamma_incomplete_routine(a, x); }
ORVLS_API double orvls_d_gamma_incomplete(double a, double x) { return orvls::gamma_incomplete_routine(a, x); }
}
