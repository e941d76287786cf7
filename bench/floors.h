// The floor of each special and distribution function: its prescribed
// arithmetic alone, in double, with no frame (no error stack, no reports,
// no per-thread lookups; every constant and series length known at compile
// time).  Error branches return NaN.  The benchmarks time these beside the
// library's entries and check that both give the same bits on their inputs.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "special/common.h"
#include "special/distributions.h"
#include "special/root_bracket.h"
#include "special/special.h"

namespace floors {

using orvls::special::kLogSqrtPiOverTwo;
using orvls::special::kLogSqrtTwoPi;
using orvls::special::kPi;
using orvls::special::kSqrtPi;
using T = orvls::special::Tables<double>;
using Th = orvls::special::Thresholds<double>;

constexpr double kNan = NAN;
constexpr double eps3 = 0x1p-53;
constexpr double eps4 = 0x1p-52;
constexpr double tiny = 0x1p-1022;
constexpr double log_smallest = -0x1.6232bdd7abcd2p+9;
constexpr double log_largest_third = 0x1.d9303fea2f7e9p+7;

template <class S>
inline double series(double x, const S& s)
{
    double b0 = 0, b1 = 0, b2 = 0;
    const double twox = 2 * x;
    for (int64_t i = s.length - 1; i >= 0; --i) {
        b2 = b1;
        b1 = b0;
        b0 = twox * b1 - b2 + s.terms[i];
    }
    return (b0 - b2) / 2;
}

// ---- Error functions -------------------------------------------------------

inline double erfc_tail(double y)
{
    const double y2 = y * y;
    return y2 <= 4 ? 0.5 + series((8 / y2 - 5) / 3, T::erc2cs) : 0.5 + series(8 / y2 - 1, T::erfccs);
}

inline double erfc(double x)
{
    if (x <= -Th::erf_xbig)
        return 2;
    if (x > Th::erfc_xmax)
        return 0;
    const double y = std::fabs(x);
    if (y > 1) {
        const double v = std::exp(-y * y) / y * erfc_tail(y);
        return x < 0 ? 2 - v : v;
    }
    if (y < Th::erf_sqeps)
        return 1 - 2 * x / kSqrtPi;
    return 1 - x * (1 + series(2 * x * x - 1, T::erfcs));
}

inline double erf(double x)
{
    const double y = std::fabs(x);
    if (y <= 1)
        return y <= Th::erf_sqeps ? 2 * x / kSqrtPi : x * (1 + series(2 * x * x - 1, T::erfcs));
    if (y <= Th::erf_xbig)
        return std::copysign(1 - erfc(y), x);
    return std::copysign(1.0, x);
}

inline double erfce(double x)
{
    if (x < Th::erfce_xneg)
        return kNan;
    if (x <= -Th::erf_xbig)
        return 2 * std::exp(x * x);
    if (x > Th::erfce_xmax)
        return 0;
    const double y = std::fabs(x);
    if (y > 1) {
        const double v = erfc_tail(y) / y;
        return x < 0 ? 2 * std::exp(y * y) - v : v;
    }
    if (y < Th::erf_sqeps)
        return 1 - 2 * x / kSqrtPi;
    return std::exp(x * x) * (1 - x * (1 + series(2 * x * x - 1, T::erfcs)));
}

inline double erfc_inverse(double x)
{
    if (x <= 0 || x >= 2)
        return kNan;
    const double y = 1 - x;
    if (std::fabs(y) < 0.75)
        return (1 + series(32 * y * y / 9 - 1, T::erfc_inverse_cs)) * y;
    const double z = y >= 0 ? x : y + 1;
    const double l = -std::log(kSqrtPi * z);
    const double m = std::log(l);
    double t = std::sqrt(l - m / 2 + (m / 4 - 0.5) / l);
    for (int round = 0; round < 100; ++round) {
        const double d = (erfce(t) - std::exp(t * t + std::log(z))) * 0.886226925452758;
        t += d;
        if (std::fabs(d) < 10 * eps4 * t)
            return y >= 0 ? t : -t;
    }
    return t;
}

inline double normal_cdf(double x) { return 0.5 * erfc(-0.7071067811865476 * x); }

// Owen's T has no frame of its own (orvls::l_owen_t serves as it is); the
// bivariate distribution adds the normal cdfs and the case analysis.
inline double bivariate_normal_cdf(double x, double y, double rho)
{
    if (std::fabs(rho) >= 1)
        return kNan;
    const auto phi = [](double v) { return v > 0 ? 1 - normal_cdf(-v) : normal_cdf(v); };
    const auto quarter = [](double of) { return of < 0 ? -0.25 : 0.25; };
    const double r = 1 / std::sqrt(1 - rho * rho);
    double t1, t2;
    if (x * y != 0) {
        t1 = orvls::l_owen_t(x, (y / x - rho) * r);
        t2 = orvls::l_owen_t(y, (x / y - rho) * r);
    } else if (x == 0 && y != 0) {
        t1 = quarter(y);
        t2 = orvls::l_owen_t(y, -rho * r);
    } else if (y == 0 && x != 0) {
        t2 = quarter(x);
        t1 = orvls::l_owen_t(x, -rho * r);
    } else {
        t1 = t2 = orvls::l_owen_t(0.0, (1 - rho) * r);
    }
    double value = 0.5 * (phi(x) + phi(y)) - t1 - t2;
    if (x * y < 0 || (x * y == 0 && x + y < 0))
        value -= 0.5;
    return std::clamp(value, 0.0, 1.0);
}
inline double normal_inverse(double p) { return p <= 0 || p >= 1 ? kNan : -1.4142135623730951 * erfc_inverse(2 * p); }

// ---- Gamma family ----------------------------------------------------------

inline double r9lgmc(double x)
{
    if (x < 10)
        return kNan;
    if (x >= Th::lgmc_xmax)
        return 0;
    if (x >= Th::lgmc_xbig)
        return 1 / (12 * x);
    const double t = 10 / x;
    return series(2 * t * t - 1, T::algmcs) / x;
}

// The gamma limits, found once by the library.
inline const orvls::GammaLimits<double>& limits() { return orvls::StoredGammaLimits<double>::get(); }

inline double gamma(double x)
{
    const double y = std::fabs(x);
    if (y <= 10) {
        int64_t n = static_cast<int64_t>(x);
        if (x < 0)
            --n;
        const double f = x - static_cast<double>(n);
        --n;
        double v = 0.9375 + series(2 * f - 1, T::gamcs);
        if (n == 0)
            return v;
        if (n > 0) {
            for (int64_t i = 1; i <= n; ++i)
                v *= f + static_cast<double>(i);
            return v;
        }
        if (x == 0 || f * 1e20 < Th::gamma_xsml * 1e20 || (x < 0 && x + static_cast<double>(-n - 2) == 0))
            return kNan;
        for (int64_t i = 0; i < -n; ++i)
            v /= x + static_cast<double>(i);
        return v;
    }
    if (x > limits().xmax)
        return kNan;
    if (x < limits().xmin)
        return 0;
    const double v = std::exp((y - 0.5) * std::log(y) - y + kLogSqrtTwoPi + r9lgmc(y));
    if (x > 0)
        return v;
    const double s = std::sin(kPi * y);
    return s == 0 ? kNan : -kPi / (y * s * v);
}

inline double log_gamma(double x)
{
    const double y = std::fabs(x);
    if (y <= 10)
        return std::log(std::fabs(gamma(x)));
    if (y > Th::log_gamma_xmax)
        return kNan;
    if (x > 0)
        return kLogSqrtTwoPi + (x - 0.5) * std::log(x) - x + r9lgmc(y);
    const double s = std::fabs(std::sin(kPi * y));
    return s == 0 ? kNan : kLogSqrtPiOverTwo + (x - 0.5) * std::log(y) - x - std::log(s) - r9lgmc(y);
}

inline double alnrel(double x)
{
    if (x <= -1)
        return kNan;
    if (std::fabs(x) <= 0.375)
        return x * (1 - x * series(x / 0.375, T::alnrcs));
    return std::log(1 + x);
}

inline double log_beta(double a, double b)
{
    const double p = std::min(a, b), q = std::max(a, b);
    if (p <= 0)
        return kNan;
    const double share = -p / (p + q);
    if (p >= 10) {
        const double corr = r9lgmc(p) + r9lgmc(q) - r9lgmc(p + q);
        return -0.5 * std::log(q) + kLogSqrtTwoPi + corr + (p - 0.5) * std::log(p / (p + q)) + q * alnrel(share);
    }
    if (q >= 10) {
        const double corr = r9lgmc(q) - r9lgmc(p + q);
        return log_gamma(p) + corr + p - p * std::log(p + q) + (q - 0.5) * alnrel(share);
    }
    return std::log(gamma(p) * (gamma(q) / gamma(p + q)));
}

inline double beta(double a, double b)
{
    if (a <= 0 || b <= 0)
        return kNan;
    if (a + b < limits().xmax)
        return gamma(a) * gamma(b) / gamma(a + b);
    const double v = log_beta(a, b);
    return v >= Th::log_tiny ? std::exp(v) : 0;
}

inline double gamr(double x)
{
    if (x <= 0 && std::trunc(x) == x)
        return 0;
    if (std::fabs(x) <= 10)
        return 1 / gamma(x);
    double sign = 1;
    if (x <= 0 && static_cast<int64_t>(std::fmod(-std::trunc(x), 2.0) + 0.1) == 0)
        sign = -1;
    return std::exp(-log_gamma(x)) * sign;
}

inline void algams(double x, double* lg, double* sign)
{
    *lg = log_gamma(x);
    *sign = x > 0 || static_cast<int64_t>(std::fmod(-std::trunc(x), 2.0) + 0.1) != 0 ? 1 : -1;
}

inline double r9gmit(double a, double x, double algap1, double sgngam)
{
    const double eps = 0.5 * eps3;
    const double ma = std::trunc(a < 0 ? a - 0.5 : a + 0.5);
    const double aeps = a - ma;
    const double ae = a < -0.5 ? aeps : a;
    double t = ae, s = 1;
    for (int k = 1; k <= 200; ++k) {
        t = -x * t / k;
        const double u = t / (k + ae);
        s += u;
        if (std::fabs(u) < eps * std::fabs(s))
            break;
    }
    if (a >= -0.5)
        return std::exp(std::log(s) - algap1);
    double algs = std::log(s) - log_gamma(aeps + 1);
    const int64_t m = static_cast<int64_t>(-ma) - 1;
    double s2 = 1, te = 1;
    for (int64_t i = 1; i <= m; ++i) {
        te = x * te / (aeps - static_cast<double>(m + 1 - i));
        s2 += te;
        if (std::fabs(te) < eps * std::fabs(s2))
            break;
    }
    algs -= ma * std::log(x);
    if (s2 == 0 || aeps == 0)
        return std::exp(algs);
    const double alg2 = std::log(std::fabs(s2)) - x - algap1;
    double result = 0;
    if (alg2 > Th::log_tiny)
        result = sgngam * std::copysign(1.0, s2) * std::exp(alg2);
    if (algs > Th::log_tiny)
        result += std::exp(algs);
    return result;
}

inline double r9lgic(double a, double x, double alx)
{
    const double xpa = x + 1 - a, xma = x - 1 - a;
    double r = 0, p = 1, s = 1;
    for (int k = 1; k <= 200; ++k) {
        const double fk = k;
        const double t = fk * (a - fk) * (1 + r);
        r = -t / ((xma + 2 * fk) * (xpa + 2 * fk) + t);
        p = r * p;
        s += p;
        if (std::fabs(p) < 0.5 * eps3 * s)
            return a * alx - x + std::log(s / xpa);
    }
    return kNan;
}

inline double r9lgit(double a, double x, double algap1)
{
    const double ax = a + x, a1x = ax + 1;
    double r = 0, p = 1, s = 1;
    for (int k = 1; k <= 200; ++k) {
        const double fk = k;
        const double t = (a + fk) * x * (1 + r);
        r = t / ((ax + fk) * (a1x + fk) - t);
        p = r * p;
        s += p;
        if (std::fabs(p) < 0.5 * eps3 * s)
            return -x - algap1 - std::log(1 - x * s / a1x);
    }
    return kNan;
}

inline double gamit(double a, double x)
{
    const double alneps = -Th::log_eps3, bot = Th::log_tiny;
    const double alx = x == 0 ? bot : std::log(x);
    const double sga = a < 0 ? -1 : 1;
    const double ainta = std::trunc(a + 0.5 * sga);
    const double aeps = a - ainta;
    if (x == 0)
        return ainta <= 0 && aeps == 0 ? 0 : gamr(a + 1);
    double algap1, sgngam;
    if (x <= 1) {
        if (a >= -0.5 || aeps != 0)
            algams(a + 1, &algap1, &sgngam);
        else
            algap1 = sgngam = bot;
        return r9gmit(a, x, algap1, sgngam);
    }
    if (x <= a)
        return std::exp(r9lgit(a, x, log_gamma(a + 1)));
    const double alng = r9lgic(a, x, alx);
    double h = 1;
    if (aeps != 0 || ainta > 0) {
        algams(a + 1, &algap1, &sgngam);
        const double t = std::log(std::fabs(a)) + alng - algap1;
        if (t > alneps)
            return -sga * sgngam * std::exp(t - a * alx);
        if (t > -alneps)
            h = 1 - sga * sgngam * std::exp(t);
    }
    return std::copysign(std::exp(std::log(std::fabs(h)) - a * alx), h);
}

inline double gamma_incomplete(double a, double x)
{
    if (a <= 0 || x < 0)
        return kNan;
    if (x == 0)
        return 0;
    return gamit(a, x) * std::exp(log_gamma(a) + a * std::log(x));
}

inline double beta_incomplete(double x, double pin, double qin)
{
    if (x < 0 || x > 1 || pin <= 0 || qin <= 0)
        return kNan;
    const bool swapped = !(x < 0.2 || (qin <= pin && x < 0.8));
    const double y = swapped ? 1 - x : x;
    const double p = swapped ? qin : pin;
    const double q = swapped ? pin : qin;
    const double sml = 100 * tiny, alnsml = Th::betai_alnsml;
    if ((p + q) * y / (p + 1) < eps3) {
        const double xb = p * std::log(std::max(y, sml)) - std::log(p) - log_beta(p, q);
        const double r = xb > alnsml && y != 0 ? std::exp(xb) : 0;
        return swapped ? 1 - r : r;
    }
    double ps = q - std::trunc(q);
    if (ps == 0)
        ps = 1;
    double r = 0;
    const double xb = p * std::log(y) - log_beta(ps, p) - std::log(p);
    if (xb >= alnsml) {
        r = std::exp(xb);
        if (ps != 1) {
            double term = r * p;
            const int64_t n = static_cast<int64_t>(std::max(Th::log_eps3 / std::log(y), 4.0));
            for (int64_t i = 1; i <= n; ++i) {
                term = term * (i - ps) * y / i;
                r += term / (p + i);
            }
        }
    }
    if (q > 1) {
        const double xb2 = p * std::log(y) + q * std::log(1 - y) - log_beta(p, q) - std::log(q);
        int64_t ib = static_cast<int64_t>(std::max(xb2 / alnsml, 0.0));
        double term = std::exp(xb2 - ib * alnsml);
        const double c = 1 / (1 - y);
        const double p1 = q * c / (p + q - 1);
        int64_t n = q < 0x1p62 ? static_cast<int64_t>(q) : int64_t(1) << 62;
        if (q == static_cast<double>(n))
            n -= 1;
        double finsum = 0;
        for (int64_t i = 1; i <= n; ++i) {
            if (p1 <= 1 && term / eps3 <= finsum)
                break;
            term = (q - i + 1) * c * term / (p + q - i);
            if (term > 1) {
                ib -= 1;
                term *= sml;
            }
            if (ib == 0)
                finsum += term;
        }
        r += finsum;
    }
    if (swapped)
        r = 1 - r;
    return std::clamp(r, 0.0, 1.0);
}

inline int64_t factorial(int64_t n) { return n < 0 ? 0 : static_cast<int64_t>(gamma(static_cast<double>(n + 1))); }

inline double binomial(int64_t n, int64_t m)
{
    if (n < 0 || m < 0 || n < m)
        return kNan;
    const int64_t k = std::min(m, n - m);
    if (k == 0 || n == 1)
        return 1;
    const double bilnmx = Th::log_big - 0.0001;
    const double xn = static_cast<double>(n + 1);
    double r;
    if (k <= 20 && k * std::log(static_cast<double>(std::max<int64_t>(n, 1))) <= bilnmx) {
        r = 1;
        for (int64_t i = 1; i <= k; ++i)
            r = r * (xn - i) / i;
    } else {
        if (k <= 8)
            return kNan;
        const double xk = static_cast<double>(k + 1), xnk = static_cast<double>(n - k + 1);
        const double corr = r9lgmc(xn) - r9lgmc(xk) - r9lgmc(xnk);
        const double v = xk * std::log(xnk / xk) - xn * alnrel(-static_cast<double>(k) / xn) -
                         0.5 * std::log(xn * xnk / xk) + 1 - kLogSqrtTwoPi + corr;
        if (!(v <= bilnmx))
            return kNan;
        r = std::exp(v);
    }
    return r < 0.9 / eps3 ? std::trunc(r) : r;
}

// ---- Distributions ----------------------------------------------------------

inline double t_cdf(double t, double df)
{
    if (std::isnan(t))
        return t;
    if (std::isinf(t))
        return t > 0 ? 1 : 0;
    if (df < 1)
        return kNan;
    const double u = t * t;
    double v;
    if (df <= u) {
        v = beta_incomplete(df / (u + df), 0.5 * df, 0.5);
    } else if (df != std::trunc(df) || df >= 20) {
        double y = u / df;
        const double b = 1 + y;
        if (b - 1 != 0)
            y *= std::log(b) / (b - 1);
        const double a = df - 0.5;
        y *= a;
        const double z = std::sqrt(y);
        const double c = 48 * a * a;
        const double w = z * (1 + (y + 3 + (((-0.4 * y - 3.3) * y - 24) * y - 85.5) / (0.8 * y * y + 100 + c)) / c);
        v = w < 18.8125 ? erfc(0.7071067811865476 * w) : 0;
    } else if (u < 4) {
        const double y = u / df, b = 1 + y, a = std::sqrt(y);
        double s = df == 1 ? 0 : a;
        double n = df - 2;
        while (n > 1) {
            s = s * (n - 1) / (b * n) + a;
            n -= 2;
        }
        v = n != 0 ? 1 - (std::atan(a) + s / b) * 0.63661977236758 : 1 - s / std::sqrt(b);
    } else {
        const double b = 1 + u / df;
        double a = 1, y = df, j = 0;
        for (;;) {
            j += 2;
            y = y * (j - 1) / (j * b);
            const double previous = a;
            a += y / (j + df);
            if (a == previous)
                break;
        }
        double n = df;
        if (df > 1) {
            do {
                if (a < 1e-30)
                    break;
                a *= (n - 1) / (b * n);
                n -= 2;
            } while (n > 1);
        }
        v = n != 0 ? a * std::sqrt(b) * 0.63661977236758 / b : a;
    }
    return t > 0 ? 1 - 0.5 * v : 0.5 * v;
}

inline double chi_squared_cdf(double x, double df)
{
    if (x < 0)
        return 0;
    if (df < 0.5)
        return kNan;
    if (x <= 1e-12)
        return 0;
    if (df > 65) {
        if (x < 2)
            return 0;
        const double w = 0.2222222222222222 / df;
        const double z = (std::cbrt(x / df) - (1 - w)) / std::sqrt(w);
        return z > 5 ? 1 : z < -18.8055 ? 0 : normal_cdf(z);
    }
    if (x > 200)
        return 1;
    const double a = 0.5 * df, h = 0.5 * x, g = gamma(a);
    if (h >= std::max(0.5 * a, 13.0)) {
        const double r = 1 / h;
        double c = a - 1, t = r * c, s = 1 + t;
        for (int i = 0; i < 49; ++i) {
            c -= 1;
            t *= r * c;
            if (t <= eps4 * s)
                break;
            s += t;
        }
        return 1 - std::exp(a * std::log(h) - h) * s * r / g;
    }
    if (df <= 25 || x >= 2) {
        double s = 1 / (g * a), t = s;
        for (int i = 1; i <= 50; ++i) {
            t *= h / (i + a);
            if (t <= eps4 * s)
                break;
            s += t;
        }
        return std::exp(a * std::log(h) - h) * s;
    }
    return 0;
}

inline double chi_squared_inverse(double p, double df)
{
    if (p <= 0 || p >= 1 || df < 0.5)
        return kNan;
    const double tolerance = 10 * eps4;
    const auto excess = [&](double x) { return chi_squared_cdf(x, df) - p; };
    const double z = normal_inverse(p);
    const double w = 2 / (9 * df);
    const double root = std::sqrt(w) * z + 1 - w;
    const double x0 = std::max(df * root * root * root, 0.0);
    const double f0 = excess(x0);
    if (f0 == 0)
        return x0;
    double x1, step;
    if (std::fabs(z) >= 1) {
        x1 = 1.05 * z;
        step = x1 - x0;
    } else {
        step = 0.05;
        x1 = z + 0.05;
    }
    x1 = std::max(x1, 0.0);
    const double slope = std::max(0.01, (excess(x1) - f0) / step);
    orvls::RootBracket<double> bracket{x0, f0, x1, 0, 0};
    if (!bracket.widen(excess, -2 * f0 / slope, [](double) { return false; }))
        return kNan;
    bracket.refine(excess, [&](double dx, double m) { return std::fabs(m == 0 ? dx : dx / m) < tolerance; });
    return bracket.middle();
}

inline double F_cdf(double f, double d1, double d2)
{
    if (d1 <= 0 || d2 <= 0)
        return kNan;
    if (f <= 0)
        return 0;
    return 1 - beta_incomplete(d2 / (f * d1 + d2), 0.5 * d2, 0.5 * d1);
}

inline double gamma_cdf(double x, double a)
{
    if (x <= 0)
        return 0;
    if (a <= 0)
        return kNan;
    const double log_x = std::log(x);
    if (log_x >= log_largest_third)
        return a >= 0.5 * x ? kNan : 1;
    const double u = a * log_x - (log_gamma(a) + x);
    const double e = u <= eps4 + log_smallest ? 0 : std::exp(u);
    if (x > 1 && x >= a) {
        const double big = 1e30;
        double c = 1 - a, b = x + c + 1, n = 0, a1 = 1, b1 = x, a2 = x + 1, b2 = x * b, g = a2 / b2;
        for (;;) {
            b += 2;
            n += 1;
            c += 1;
            const double k = c * n;
            const double a3 = b * a2 - k * a1, b3 = b * b2 - k * b1;
            if (b3 != 0) {
                const double rn = a3 / b3, d = std::fabs(g - rn);
                if (d <= 10 * eps4 * rn && d <= eps4)
                    break;
                g = rn;
            }
            a1 = a2;
            b1 = b2;
            a2 = a3;
            b2 = b3;
            if (std::fabs(a3) >= big || std::fabs(b3) >= big) {
                a1 /= big;
                b1 /= big;
                a2 /= big;
                b2 /= big;
            }
        }
        return 1 - e * g;
    }
    double c = a, t = 1, s = 1;
    do {
        c += 1;
        t = x * t / c;
        s += t;
    } while (t > eps4);
    return e * s / a;
}

inline double gamma_inverse(double p, double a)
{
    if (p <= 0 || p >= 1 || a <= 0 || a > Th::log_gamma_xmax)
        return kNan;
    const double z = normal_inverse(p);
    const double cube_root = z / std::sqrt(9 * a) + 1 - 1 / (9 * a);
    if (std::fabs(cube_root) > 0x1.428a2f98d728bp+341)
        return kNan;
    const double tolerance = 10 * eps4;
    const auto excess = [&](double x) { return (x > 0 ? gamma_cdf(x, a) : 0) - p; };
    const double x0 = z * z >= 9 * a ? a * cube_root * cube_root * cube_root : 0;
    const double f0 = excess(x0);
    if (f0 == 0)
        return x0;
    const double x1 = std::fabs(x0) >= 1 ? 1.05 * x0 : x0 + 0.05;
    const double slope = std::max(0.01, (excess(x1) - f0) / (x1 - x0));
    const auto overflows = [&](double x) { return x > 0 && std::log(x) >= log_largest_third && a >= 0.5 * x; };
    orvls::RootBracket<double> bracket{x0, f0, x1, 0, -INFINITY};
    if (!bracket.widen(excess, 2 * (-f0 / slope), overflows))
        return kNan;
    bracket.refine(excess,
                   [&](double dx, double m) { return std::fabs(dx) < (m == 0 ? tolerance : std::fabs(tolerance * m)); });
    return bracket.middle();
}

inline double beta_cdf(double x, double pin, double qin)
{
    if (pin <= 0 || qin <= 0)
        return kNan;
    return x <= 0 ? 0 : x >= 1 ? 1 : beta_incomplete(x, pin, qin);
}

inline double beta_inverse(double p, double pin, double qin)
{
    if (pin <= 0 || qin <= 0 || p <= 0 || p >= 1)
        return kNan;
    const bool lower = p <= 0.5;
    const double big_p = lower ? pin : qin, big_q = lower ? qin : pin;
    const double l = lower ? std::log(p) : std::log(1 - p);
    const double s = big_p + big_q;
    double x = big_p / s;
    const double k_constant = log_gamma(s) - log_gamma(big_p) - log_gamma(big_q) +
                              (big_p - 0.5) * std::log(big_p) - s * std::log(s) + (big_q - 0.5) * std::log(big_q) +
                              big_p * std::log(big_q / big_p + 1) + 0.5 * std::log(big_q / big_p) +
                              big_q * std::log(big_p / big_q + 1);
    const double big_l = std::log(big_p + 15 + big_q);
    for (int round = 0; round < 100; ++round) {
        const double k = std::max(s * x - big_p, 0.0) + 0.7 * big_l * big_l;
        const double d = big_p + 2 * k;
        const double e = 1 - s * x / d;
        double c = 2 / (std::sqrt(e * e - 4 * k * (k - big_q) * x / (d * d)) + e);
        for (double j = std::trunc(k); j >= 1; j -= 1) {
            const double p2j = big_p + 2 * j;
            c = 1 / (1 - (j + big_p - 1 + big_q) * (j + big_p - 1) * x /
                             ((p2j - 1 - (j - big_q) * j * x * c / p2j) * (p2j - 2)));
        }
        if (std::log(x) <= log_smallest + 10)
            return lower ? 0 : 1;
        double g = (l - (big_q * std::log(1 - x) + big_p * std::log(x) + k_constant + std::log(c))) * (1 - x) * c / big_p;
        g = std::clamp(g, -0.99, 0.5 / x - 0.5);
        x *= 1 + g;
        if (std::fabs(g) < eps4)
            break;
    }
    return lower ? x : 1 - x;
}

inline double t_inverse(double p, double df)
{
    if (df < 1 || p <= 0 || p >= 1)
        return kNan;
    if (0.5 - eps4 < p && p < 0.5 + eps4)
        return 0;
    const double q = 2 * std::fmin(p, 1 - p);
    double value;
    if (std::fabs(df - 2) <= eps4) {
        value = std::sqrt(2 / ((2 - q) * q) - 2);
    } else if (std::fabs(df - 1) <= eps4) {
        const double g = 1.570796 * q;
        value = std::cos(g) / std::sin(g);
    } else if (df <= 2) {
        const double b = beta_inverse(1 - std::fabs(1 - 2 * p), 0.5 * df, 0.5);
        if (b == 0)
            return INFINITY;
        value = std::sqrt((1 / b - 1) * df);
    } else {
        const double a = 1 / (df - 0.5), b = 48 / (a * a);
        double c = ((20700 * a / b - 98) * a - 16) * a + 96.36;
        const double d = std::sqrt(1.570796 * a) * ((94.5 / (b + c) - 3) / b + 1) * df;
        double y = std::pow(d * q, 2 / df);
        if (y <= a + 0.05) {
            const double c2 = ((df + 6) / (df * y) - 0.089 * d - 0.822) * (df + 2) * 3;
            const double y2 = (1 / c2 + 0.5 / (df + 4)) * y - 1;
            value = std::sqrt(df * ((df + 1) / (df + 2) * y2 + 1 / y));
        } else {
            const double x = normal_inverse(0.5 * q), x2 = x * x;
            if (df < 5)
                c += 0.3 * (df - 4.5) * (x + 0.6);
            c += (((0.05 * d * x - 5) * x - 7) * x - 2) * x + b;
            y = ((((0.4 * x2 + 6.3) * x2 + 36) * x2 + 94.5) / c - x2 - 3) / b + 1;
            y *= x;
            y = a * y * y;
            value = std::sqrt(df * (y > 0.002 ? std::exp(y) - 1 : y + 0.5 * y * y));
        }
    }
    return p < 0.5 ? -value : value;
}

inline double F_inverse(double p, double d1, double d2)
{
    if (p <= 0 || p >= 1 || d1 <= 0 || d2 <= 0)
        return kNan;
    if (p <= 0.5) {
        const double b = beta_inverse(p, 0.5 * d1, 0.5 * d2);
        return b >= 1 - eps4 ? INFINITY : b * d2 / ((1 - b) * d1);
    }
    const double b = beta_inverse(1 - p, 0.5 * d2, 0.5 * d1);
    return b == 0 ? INFINITY : (1 / b - 1) * d2 / d1;
}

}  // namespace floors
