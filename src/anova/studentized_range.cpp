// The studentized range distribution and its inverse.
//
// P(Q <= q) = integral over s of f(s) W(q s), where W(w) is the probability
// that the range of r standard normal values is at most w and f the density
// of the scale estimate s = sqrt(chi-squared(df) / df).  Both integrals run
// over the whole line (the scale in t = log s), and both are taken by the
// midpoint rule, whose error falls exponentially with the step for smooth
// integrands that vanish in both directions: nodes half a step, a step and
// a half, ... from a centre, outwards until the terms no longer count.
//
//   W(w) = r * integral of phi(z) (Phi(z + w) - Phi(z))^(r - 1) dz
//
// (z is the smallest of the r values).  Measured against R's ptukey the
// distribution function agrees to 1e-12 where both integrate the scale.
#include "anova/studentized_range.h"

#include <algorithm>
#include <cmath>

#include "frame/envelope.h"
#include "frame/machine.h"
#include "special/distributions.h"
#include "special/special.h"

namespace orvls::anova {

namespace {

// The midpoint nodes of the range integral lie half a step, 0.225 at r = 1,
// off the centre; the step shrinks as r^(-1/5).
constexpr double kHalfStep = 0.225;
// The step of the scale integral, times sqrt(df) or sqrt(r / 2), whichever
// is larger: at few degrees of freedom the density of log s is far from
// normal, and W(q s) rises within a span of log s that narrows like
// 1 / sqrt(r); both need the fine step.
constexpr double kScaleStep = 0.15;
// The peak of the normal density to the eight places that bound the range
// integrand (r times it) and so its limits; the integrand itself takes the
// exact value.
constexpr double kNormalPeak = 0.39894228;
constexpr double kNormalDensity = 0.3989422804014327;
// Terms below this, relative to the sum (or absolutely for the bounds), are dropped.
constexpr double kNegligible = 1e-18;
// Above this many degrees of freedom the scale counts as known.
constexpr double kKnownScaleDf = 120;
constexpr int kMaxRangeNodes = 1024;
constexpr int kMaxScaleNodes = 4096;

// Phi(x) and 1 - Phi(x), each accurate in its own small tail.
double lower_normal(double x) { return 0.5 * std::erfc(-x * M_SQRT1_2); }
double upper_normal(double x) { return 0.5 * std::erfc(x * M_SQRT1_2); }

// W(w) for r means, with the nodes of z and what does not depend on w kept.
class RangeIntegral {
public:
    explicit RangeIntegral(double r) : r_(r)
    {
        // Limits where r times the density's bound falls below the negligible
        // level; above the centre the other r - 1 values must lie higher
        // still, which makes the integrand vanish like exp(-r z^2 / 2).
        const double log_bound = std::log(r * kNormalPeak / kNegligible);
        const double low = -std::sqrt(2 * log_bound);
        const double high = std::max(1.0, std::sqrt(2 * log_bound / r));
        double step = 2 * kHalfStep * std::pow(r, -0.2);
        step = std::max(step, (high - low) / kMaxRangeNodes);
        count_ = static_cast<int>(std::ceil((high - low) / step));
        for (int j = 0; j < count_; ++j) {
            const double z = low + (j + 0.5) * step;
            z_[j] = z;
            weight_[j] = step * r * kNormalDensity * std::exp(-0.5 * z * z);
            lower_[j] = lower_normal(z);
            upper_[j] = upper_normal(z);
        }
    }

    double operator()(double w) const
    {
        if (!(w > 0))
            return 0;
        double sum = 0;
        for (int j = 0; j < count_; ++j)
            sum += weight_[j] * std::pow(spread(j, w), r_ - 1);
        return std::min(sum, 1.0);
    }

private:
    // Phi(z + w) - Phi(z), each side taken from the tail where it is small.
    double spread(int j, double w) const
    {
        const double top = z_[j] + w;
        double d;
        if (top <= 0)
            d = lower_normal(top) - lower_[j];
        else if (z_[j] >= 0)
            d = upper_[j] - upper_normal(top);
        else
            d = 1 - upper_normal(top) - lower_[j];
        return std::max(d, 0.0);
    }

    double r_;
    int count_ = 0;
    double z_[kMaxRangeNodes], weight_[kMaxRangeNodes], lower_[kMaxRangeNodes], upper_[kMaxRangeNodes];
};

// log of the density of t = log s at t, s^2 = chi-squared(df) / df:
// log 2 + (df/2) log(df/2) - lgamma(df/2) + df t - df e^(2t) / 2.
class ScaleDensity {
public:
    explicit ScaleDensity(double df)
        : df_(df), constant_(std::log(2.0) + 0.5 * df * std::log(0.5 * df) - l_log_gamma(0.5 * df))
    {
    }
    double operator()(double t) const { return std::exp(constant_ + df_ * t - 0.5 * df_ * std::exp(2 * t)); }

private:
    double df_, constant_;
};

// The scale integral, from the mode t = 0 outwards on both sides.  Leftwards both factors fall, so the sum stops
// at a negligible term; rightwards W is at most 1 and the density alone
// bounds the terms.
double integrate_scale(const RangeIntegral& range, double q, double r, double df)
{
    const ScaleDensity density(df);
    const double step = kScaleStep / std::sqrt(std::max(df, 0.5 * r));
    double sum = 0;
    for (int j = 0; j < kMaxScaleNodes; ++j) {
        const double t = -(j + 0.5) * step;
        const double term = step * density(t) * range(q * std::exp(t));
        sum += term;
        if (term <= kNegligible * sum || term == 0)
            break;
    }
    for (int j = 0; j < kMaxScaleNodes; ++j) {
        const double t = (j + 0.5) * step;
        const double bound = step * density(t);
        sum += bound * range(q * std::exp(t));
        if (bound <= kNegligible * std::max(sum, kNegligible))
            break;
    }
    return std::min(sum, 1.0);
}

double range_probability(double q, double r, double df)
{
    if (q == 0)
        return 0;
    if (std::isinf(q))
        return 1;
    const RangeIntegral range(r);
    return df > kKnownScaleDf ? range(q) : integrate_scale(range, q, r, df);
}

// Refuses r below 2 (11155) and df below 1 (11152); true when both pass.
bool check_range_arguments(double r, double df)
{
    bool ok = true;
    if (!(r >= 2)) {
        orvls_e1std(1, r);
        orvls_ermes(5, 11155);
        ok = false;
    }
    if (!(df >= 1)) {
        orvls_e1std(1, df);
        orvls_ermes(5, 11152);
        ok = false;
    }
    return ok;
}

// Brent's root search of P(q) - p between a and b, where the signs differ.
double solve_bracketed(double p, double r, double df, double a, double f_a, double b, double f_b)
{
    double c = b, f_c = f_b, d = 0, e = 0;
    for (int iteration = 0; iteration < 200; ++iteration) {
        if ((f_b > 0) == (f_c > 0)) {
            c = a;
            f_c = f_a;
            d = e = b - a;
        }
        if (std::fabs(f_c) < std::fabs(f_b)) {
            a = b, b = c, c = a;
            f_a = f_b, f_b = f_c, f_c = f_a;
        }
        const double tolerance = 2e-15 * std::fabs(b);
        const double middle = 0.5 * (c - b);
        if (std::fabs(middle) <= tolerance || f_b == 0)
            return b;
        if (std::fabs(e) >= tolerance && std::fabs(f_a) > std::fabs(f_b)) {
            const double s = f_b / f_a;
            double num, den;
            if (a == c) {
                num = 2 * middle * s;
                den = 1 - s;
            } else {
                const double u = f_a / f_c, v = f_b / f_c;
                num = s * (2 * middle * u * (u - v) - (b - a) * (v - 1));
                den = (u - 1) * (v - 1) * (s - 1);
            }
            if (num > 0)
                den = -den;
            num = std::fabs(num);
            if (2 * num < std::min(3 * middle * den - std::fabs(tolerance * den), std::fabs(e * den))) {
                e = d;
                d = num / den;
            } else {
                d = e = middle;
            }
        } else {
            d = e = middle;
        }
        a = b;
        f_a = f_b;
        b += std::fabs(d) > tolerance ? d : std::copysign(tolerance, middle);
        f_b = range_probability(b, r, df) - p;
    }
    return b;
}

}  // namespace

double range_quantile(double p, double r, double df)
{
    // A start from the normal bound on the largest of the r(r - 1)/2 pair
    // differences, then a bracket by doubling or halving.
    const double pairs = 0.5 * r * (r - 1);
    double guess = M_SQRT2 * orvls_anorin(1 - 0.5 * (1 - p) / pairs);
    if (!(guess > 0))
        guess = 1;
    double f_guess = range_probability(guess, r, df) - p;
    double other = guess, f_other = f_guess;
    for (int i = 0; i < 2000 && (f_other > 0) == (f_guess > 0); ++i) {
        guess = other;
        f_guess = f_other;
        other = f_guess > 0 ? 0.5 * guess : 2 * guess;
        f_other = range_probability(other, r, df) - p;
    }
    return solve_bracketed(p, r, df, guess, f_guess, other, f_other);
}

template <class Real>
Real orvls_srdf(Real q, Real r, Real df)
{
    return within("orvls_srdf", [&] {
        if (!check_range_arguments(r, df) || std::isnan(q))
            return missing_value<Real>();
        if (q < 0) {
            orvls_ermes(3, 11156);
            return Real(0);
        }
        return static_cast<Real>(range_probability(q, r, df));
    });
}

template <class Real>
Real orvls_srin(Real p, Real r, Real df)
{
    return within("orvls_srin", [&] {
        const Real eps = machine_table<Real>(4);
        bool ok = check_range_arguments(r, df);
        if (!(p >= Real(0.9) - eps && p <= Real(0.99) + eps)) {
            orvls_e1std(1, p);
            orvls_ermes(5, 11154);
            ok = false;
        }
        return ok ? static_cast<Real>(range_quantile(p, r, df)) : missing_value<Real>();
    });
}

template float orvls_srdf<float>(float, float, float);
template double orvls_srdf<double>(double, double, double);
template float orvls_srin<float>(float, float, float);
template double orvls_srin<double>(double, double, double);

}  // namespace orvls::anova
