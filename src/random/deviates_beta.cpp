// Beta deviates, by the regime of the two parameters: Johnk's method when
// both are below 1, inversion when one is 1, a two-part envelope when they
// lie on either side of 1, and Cheng's logit method when both exceed 1.
#include <algorithm>
#include <cmath>

#include "random/deviates.h"

namespace orvls {

namespace {

constexpr double kLogFour = 1.386294;
constexpr double kOnePlusLogFive = 2.609438;
// A parameter this close to 1 counts as 1.
constexpr double kUnitCut = 9.537e-7;

// x/(x + y) for x = u^(1/pin), y = v^(1/qin), the sum at most 1; when both
// powers underflow the ratio is formed from their logarithms.
template <class Real>
bool johnk_deviate(Real pin, Real qin, Real& result)
{
    for (;;) {
        Real uv[2];
        if (!draw_uniforms(2, uv))
            return false;
        const Real log_x = std::log(uv[0]) / pin;
        const Real log_y = std::log(uv[1]) / qin;
        const Real x = std::exp(log_x);
        const Real y = std::exp(log_y);
        if (x + y > 1)
            continue;
        Real ratio;
        if (x + y > 0) {
            ratio = x / (x + y);
        } else {
            const Real top = std::max(log_x, log_y);
            const Real sx = std::exp(log_x - top);
            ratio = sx / (sx + std::exp(log_y - top));
        }
        // A deviate of exactly 0 or 1 lies outside the support.
        if (!(ratio > 0 && ratio < 1)) {
            orvls_ermes(5, 11035);
            return false;
        }
        result = ratio;
        return true;
    }
}

// a < 1 < b: x^(a-1) bounds the density below t and t^(a-1) (1-x)^(b-1)
// above it; each part is drawn by inversion and accepted by the factor it
// left out.
template <class Real>
class SplitEnvelope {
public:
    SplitEnvelope(Real a, Real b) : a_(a), b_(b)
    {
        t_ = (1 - a) / (b + 1 - a);
        p_ = b * t_ / (b * t_ + a * std::pow(1 - t_, b));
    }

    bool deviate(Real& result) const
    {
        for (;;) {
            Real uv[2];
            if (!draw_uniforms(2, uv))
                return false;
            const Real log_v = std::log(uv[1]);
            Real x;
            bool accepted;
            if (uv[0] <= p_) {
                x = t_ * std::pow(uv[0] / p_, 1 / a_);
                accepted = log_v <= (b_ - 1) * std::log1p(-x);
            } else {
                x = 1 - (1 - t_) * std::pow((1 - uv[0]) / (1 - p_), 1 / b_);
                accepted = log_v <= (a_ - 1) * std::log(x / t_);
            }
            if (accepted) {
                result = x;
                return true;
            }
        }
    }

private:
    Real a_, b_, t_, p_;
};

// Cheng's method for a, b > 1 (a the smaller): w = a e^v with v the scaled
// logit of a uniform, quick acceptance and rejection, then the full test.
template <class Real>
class LogitEnvelope {
public:
    LogitEnvelope(Real a, Real b) : a_(a), b_(b)
    {
        sum_ = a + b;
        beta_ = std::sqrt((sum_ - 2) / (2 * a * b - sum_));
        gamma_ = a + 1 / beta_;
    }

    // w, with b, for the ratio w/(b + w).
    bool deviate(Real& w) const
    {
        const Real log_largest = std::log(largest_real<Real>());
        for (;;) {
            Real u[2];
            if (!draw_uniforms(2, u))
                return false;
            const Real v = beta_ * std::log(u[0] / (1 - u[0]));
            w = v > log_largest ? largest_real<Real>() : a_ * std::exp(v);
            const Real z = u[0] * u[0] * u[1];
            const Real r = gamma_ * v - Real(kLogFour);
            const Real s = a_ + r - w;
            if (s + Real(kOnePlusLogFive) >= 5 * z)
                return true;
            const Real t = std::log(z);
            if (s > t)
                return true;
            if (r + sum_ * std::log(sum_ / (b_ + w)) >= t)
                return true;
        }
    }

private:
    Real a_, b_, sum_, beta_, gamma_;
};

template <class Real>
bool is_one(Real x)
{
    return std::fabs(x - 1) <= Real(kUnitCut);
}

}  // namespace

template <class Real>
void l_rnbet(int64_t n, Real pin, Real qin, Real* r)
{
    if (!(pin > 0)) {
        orvls_e1std(1, pin);
        orvls_ermes(5, 11033);
    }
    if (!(qin > 0)) {
        orvls_e1std(1, qin);
        orvls_ermes(5, 11034);
    }
    if (orvls_n1rty(0) > 3)
        return;
    if (is_one(pin) || is_one(qin)) {
        if (!draw_uniforms(n, r))
            return;
        for (int64_t i = 0; i < n; ++i)
            r[i] = is_one(pin) ? 1 - std::pow(r[i], 1 / qin) : std::pow(r[i], 1 / pin);
        return;
    }
    if (pin < 1 && qin < 1) {
        for (int64_t i = 0; i < n; ++i)
            if (!johnk_deviate(pin, qin, r[i]))
                return;
        return;
    }
    // The envelopes work on the ordered parameters; the deviate of the
    // swapped law is 1 - x.
    const Real a = std::min(pin, qin);
    const Real b = std::max(pin, qin);
    const bool swapped = a != pin;
    if (a < 1) {
        const SplitEnvelope<Real> envelope(a, b);
        for (int64_t i = 0; i < n; ++i) {
            if (!envelope.deviate(r[i]))
                return;
            if (swapped)
                r[i] = 1 - r[i];
        }
        return;
    }
    const LogitEnvelope<Real> envelope(a, b);
    for (int64_t i = 0; i < n; ++i) {
        Real w;
        if (!envelope.deviate(w))
            return;
        r[i] = swapped ? b / (b + w) : w / (b + w);
    }
}

namespace {

template <class Real>
Real* beta_entry(int64_t n_random, Real pin, Real qin, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_beta", "orvls_d_random_beta"), n_random, ap, 3,
                                 [&](int64_t n, Real* r) { l_rnbet(n, pin, qin, r); });
}

}  // namespace

template void l_rnbet<float>(int64_t, float, float, float*);
template void l_rnbet<double>(int64_t, double, double, double*);

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(float, orvls_f_random_beta, qin, beta_entry(n_random, pin, qin, ap), int64_t n_random, float pin,
                    float qin)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_beta, qin, beta_entry(n_random, pin, qin, ap), int64_t n_random,
                    double pin, double qin)
