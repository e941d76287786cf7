// Gamma deviates and the laws built on them: chi-squared, exponential and
// the mixture of two exponentials.
#include <cmath>

#include "random/deviates.h"

namespace orvls {

namespace {

constexpr double kE = 2.718281828459045;

// Ahrens and Dieter's method for a < 1: a power-law piece below 1 and an
// exponential piece above, each accepted against an exponential deviate.
template <class Real>
bool small_shape_deviate(Real a, Real b, Real& result)
{
    const Real log_tiny = std::log(smallest_normal<Real>());
    for (;;) {
        Real u[2];
        if (!draw_uniforms(2, u))
            return false;
        const Real t = -std::log(u[0]);
        const Real p = b * u[1];
        Real x;
        Real test;
        if (p <= 1) {
            x = std::log(p) / a < log_tiny ? smallest_normal<Real>() : std::pow(p, 1 / a);
            test = x;
        } else {
            x = -std::log((b - p) / a);
            test = -(a - 1) * std::log(x);
        }
        if (test <= t) {
            result = x;
            return true;
        }
    }
}

// Schmeiser and Lal's envelope for a > 1: four rectangles around the mode,
// two triangles, two linear strips and two exponential tails.
template <class Real>
class LargeShapeEnvelope {
public:
    explicit LargeShapeEnvelope(Real a)
    {
        m_ = a - 1;
        const Real s = std::sqrt(m_);
        if (m_ > (1 + relative_spacing<Real>()) * s) {
            x2_ = m_ - s;
            x1_ = (1 - 1 / s) * x2_;
            lambda1_ = 1 - m_ / x1_;
            f1_ = density(x1_);
            f2_ = density(x2_);
        }
        x3_ = m_ + s;
        x4_ = (1 + 1 / s) * x3_;
        lambda2_ = 1 - m_ / x4_;
        f3_ = density(x3_);
        f4_ = density(x4_);
        p_[1] = (m_ - x2_) * f2_;
        p_[2] = p_[1] + (x3_ - m_) * f3_;
        p_[3] = p_[2] + (x2_ - x1_) * f1_;
        p_[4] = p_[3] + (x4_ - x3_) * f4_;
        p_[5] = p_[4] + (1 - f2_) * (m_ - x2_);
        p_[6] = p_[5] + (1 - f3_) * (x3_ - m_);
        p_[7] = p_[6] + (f2_ - f1_) * (x2_ - x1_) / 2;
        p_[8] = p_[7] + (f3_ - f4_) * (x4_ - x3_) / 2;
        p_[9] = p_[8] - f1_ / lambda1_;
        p_[10] = p_[9] + f4_ / lambda2_;
        // For shapes so large that m +- sqrt(m) round to m, the envelope's
        // points merge and it cannot be formed.
        const bool left_ordered = f2_ == 0 || (x1_ < x2_ && x2_ < m_);
        if (!overflow_ && !(left_ordered && m_ < x3_ && x3_ < x4_ && std::isfinite(p_[10]))) {
            orvls_ermes(5, 11037);
            overflow_ = true;
        }
    }

    // False when the envelope could not be formed (11037 raised).
    bool ready() const { return !overflow_; }

    bool deviate(Real& result) const
    {
        for (;;) {
            Real u;
            if (!draw_uniform(u))
                return false;
            u *= p_[10];
            Real x;
            if (rectangle(u, x)) {
                result = x;
                return true;
            }
            Real v;
            if (!draw_uniform(v))
                return false;
            Real t;
            bool accepted = false;
            if (u <= p_[5]) {
                const Real w = u - p_[4];
                x = (m_ - x2_) * v + x2_;
                accepted = v >= w / (p_[5] - p_[4]);
                t = w / (m_ - x2_) + f2_;
            } else if (u <= p_[6]) {
                x = (x3_ - m_) * v + m_;
                accepted = (p_[6] - u) / (p_[6] - p_[5]) >= v;
                t = (u - p_[5]) / (x3_ - m_) + f3_;
            } else if (u <= p_[8]) {
                Real v2;
                if (!draw_uniform(v2))
                    return false;
                v = std::fmax(v, v2);
                if (u > p_[7]) {
                    x = x4_ - (x4_ - x3_) * v;
                    t = (u - p_[7]) * 2 * v / (x4_ - x3_) + f4_;
                    accepted = v * f3_ >= t;
                } else {
                    x = (x2_ - x1_) * v + x1_;
                    t = (u - p_[6]) * 2 * v / (x2_ - x1_) + f1_;
                    accepted = v * f2_ >= t;
                }
            } else if (u < p_[9]) {
                const Real w = (p_[9] - u) / (p_[9] - p_[8]);
                x = x1_ - std::log(w) / lambda1_;
                if (x <= 0)
                    continue;
                accepted = ((x1_ - x) * lambda1_ + 1) / w > v;
                t = v * f1_ * w;
            } else {
                if (u >= p_[10])
                    continue;
                const Real w = (p_[10] - u) / (p_[10] - p_[9]);
                x = x4_ - std::log(w) / lambda2_;
                accepted = ((x4_ - x) * lambda2_ + 1) / w > v;
                t = v * f4_ * w;
            }
            if (accepted || std::log(t) <= log_density(x)) {
                result = x;
                return true;
            }
        }
    }

private:
    Real m_;
    Real x1_ = 0, x2_ = 0, x3_, x4_;
    Real f1_ = 0, f2_ = 0, f3_, f4_;
    Real lambda1_ = 1, lambda2_;
    Real p_[11] = {};
    bool overflow_ = false;

    Real log_density(Real x) const { return m_ * std::log(x / m_) + m_ - x; }

    // The density relative to its mode; its exponent must stay below the
    // log of the largest real.
    Real density(Real x)
    {
        const Real exponent = log_density(x);
        if (exponent >= std::log(largest_real<Real>()) - Real(0.001)) {
            if (!overflow_)
                orvls_ermes(5, 11037);
            overflow_ = true;
            return 0;
        }
        return std::exp(exponent);
    }

    // The four rectangles, accepted at once.
    bool rectangle(Real u, Real& x) const
    {
        if (u <= p_[1])
            x = u / f2_ + x2_;
        else if (u <= p_[2])
            x = (u - p_[1]) / f3_ + m_;
        else if (u <= p_[3])
            x = (u - p_[2]) / f1_ + x1_;
        else if (u <= p_[4])
            x = (u - p_[3]) / f4_ + x3_;
        else
            return false;
        return true;
    }
};

}  // namespace

template <class Real>
void l_rngam(int64_t n, Real a, Real* r)
{
    if (!(a > 0)) {
        orvls_e1std(1, a);
        orvls_ermes(5, 11036);
        return;
    }
    if (a == Real(0.5)) {
        // Half the square of a normal deviate.
        if (normal_public(n, r) == nullptr)
            return;
        for (int64_t i = 0; i < n; ++i)
            r[i] = r[i] * r[i] / 2;
        return;
    }
    if (a == 1) {
        if (!draw_uniforms(n, r))
            return;
        for (int64_t i = 0; i < n; ++i)
            r[i] = -std::log(r[i]);
        return;
    }
    if (a < 1) {
        const Real b = (a + Real(kE)) / Real(kE);
        for (int64_t i = 0; i < n; ++i)
            if (!small_shape_deviate(a, b, r[i]))
                return;
        return;
    }
    const LargeShapeEnvelope<Real> envelope(a);
    if (!envelope.ready())
        return;
    for (int64_t i = 0; i < n; ++i)
        if (!envelope.deviate(r[i]))
            return;
}

namespace {

// Chi-squared deviates with an even number of degrees of freedom up to this
// limit are -2 log of a product of df/2 uniforms: cheaper than the gamma
// envelope, and the product (formed in double) cannot underflow.
constexpr int kProductLimit = 16;

template <class Real>
void chi_squared_fill(int64_t n, Real df, Real* r)
{
    if (!check_positive(df, "df"))
        return;
    const int terms = static_cast<int>(df / 2);
    if (df <= kProductLimit && df == 2 * terms) {
        Real u[kProductLimit / 2];
        for (int64_t i = 0; i < n; ++i) {
            if (!draw_uniforms(terms, u))
                return;
            double product = 1;
            for (int k = 0; k < terms; ++k)
                product *= u[k];
            r[i] = static_cast<Real>(-2 * std::log(product));
        }
        return;
    }
    l_rngam(n, df / 2, r);
    for (int64_t i = 0; i < n; ++i)
        r[i] *= 2;
}

template <class Real>
void exponential_fill(int64_t n, Real* r)
{
    if (!draw_uniforms(n, r))
        return;
    for (int64_t i = 0; i < n; ++i)
        r[i] = -std::log(r[i]);
}

// One uniform a deviate: u <= p picks the first mean and u/p is again
// uniform; otherwise (u - p)/(1 - p) serves the second.
template <class Real>
void exponential_mix_fill(int64_t n, Real theta1, Real theta2, Real p, Real* r)
{
    if (!check_positive(theta1, "theta1") || !check_positive(theta2, "theta2") ||
        !check_real_range(p, "p", 0, 1, false, false))
        return;
    if (!draw_uniforms(n, r))
        return;
    for (int64_t i = 0; i < n; ++i) {
        const Real u = r[i];
        r[i] = u <= p ? -theta1 * std::log(u / p) : -theta2 * std::log((u - p) / (1 - p));
    }
}

template <class Real>
Real* gamma_entry(int64_t n_random, Real a, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_gamma", "orvls_d_random_gamma"), n_random, ap,
                                 2, [&](int64_t n, Real* r) { l_rngam(n, a, r); });
}

template <class Real>
Real* chi_squared_entry(int64_t n_random, Real df, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_chi_squared", "orvls_d_random_chi_squared"),
                                 n_random, ap, 2, [&](int64_t n, Real* r) { chi_squared_fill(n, df, r); });
}

template <class Real>
Real* exponential_entry(int64_t n_random, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_exponential", "orvls_d_random_exponential"),
                                 n_random, ap, 1, [&](int64_t n, Real* r) { exponential_fill(n, r); });
}

template <class Real>
Real* exponential_mix_entry(int64_t n_random, Real theta1, Real theta2, Real p, va_list ap)
{
    return deviate_routine<Real>(
        public_name<Real>("orvls_f_random_exponential_mix", "orvls_d_random_exponential_mix"), n_random, ap, 4,
        [&](int64_t n, Real* r) { exponential_mix_fill(n, theta1, theta2, p, r); });
}

}  // namespace

template void l_rngam<float>(int64_t, float, float*);
template void l_rngam<double>(int64_t, double, double*);

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(float, orvls_f_random_gamma, a, gamma_entry(n_random, a, ap), int64_t n_random, float a)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_gamma, a, gamma_entry(n_random, a, ap), int64_t n_random, double a)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_chi_squared, df, chi_squared_entry(n_random, df, ap), int64_t n_random,
                    float df)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_chi_squared, df, chi_squared_entry(n_random, df, ap), int64_t n_random,
                    double df)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_exponential, n_random, exponential_entry<float>(n_random, ap),
                    int64_t n_random)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_exponential, n_random, exponential_entry<double>(n_random, ap),
                    int64_t n_random)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_exponential_mix, p, exponential_mix_entry(n_random, theta1, theta2, p, ap),
                    int64_t n_random, float theta1, float theta2, float p)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_exponential_mix, p, exponential_mix_entry(n_random, theta1, theta2, p, ap),
                    int64_t n_random, double theta1, double theta2, double p)
