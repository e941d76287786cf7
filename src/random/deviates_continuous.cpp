// Continuous laws with direct methods: Cauchy, triangular, Weibull, von
// Mises, Student's t and the stable laws.
#include <algorithm>
#include <cmath>

#include "random/deviates.h"

namespace orvls {

namespace {

constexpr double kPi = 3.141592653589793;

// v/b for (v, b) uniform on the upper half of the unit disk, from batches of
// min(3 n, 100) uniforms taken in pairs; a batch's leftovers are dropped.
template <class Real>
void cauchy_fill(int64_t n, Real* r)
{
    constexpr int64_t kBatch = 100;
    Real u[kBatch];
    for (int64_t done = 0; done < n;) {
        const int64_t batch = std::min(3 * (n - done), kBatch);
        if (!draw_uniforms(batch, u))
            return;
        for (int64_t j = 0; j + 1 < batch && done < n; j += 2) {
            const Real v = 2 * (u[j] - Real(0.5));
            const Real b = u[j + 1];
            if (b * b + v * v <= 1)
                r[done++] = v / b;
        }
    }
}

// The triangular law on (0, 1) with its mode at 1/2, by inversion.
template <class Real>
void triangular_fill(int64_t n, Real* r)
{
    if (!draw_uniforms(n, r))
        return;
    for (int64_t i = 0; i < n; ++i)
        r[i] = r[i] > Real(0.5) ? 1 - std::sqrt((1 - r[i]) / 2) : std::sqrt(r[i] / 2);
}

// (-log u)^(1/a), formed through its logarithm and held within the range
// of normal reals (with a warning when that bound was needed).
template <class Real>
void weibull_fill(int64_t n, Real a, Real* r)
{
    if (!check_positive(a, "a"))
        return;
    if (!draw_uniforms(n, r))
        return;
    const Real log_largest = std::log(largest_real<Real>());
    const Real log_smallest = std::log(smallest_normal<Real>());
    bool bounded = false;
    for (int64_t i = 0; i < n; ++i) {
        const Real exponent = std::log(-std::log(r[i])) / a;
        if (exponent > log_largest) {
            r[i] = largest_real<Real>();
            bounded = true;
        } else if (exponent < log_smallest) {
            r[i] = smallest_normal<Real>();
            bounded = true;
        } else {
            r[i] = std::exp(exponent);
        }
    }
    if (bounded)
        orvls_ermes(3, 20571);
}

// Best and Fisher's wrapped-Cauchy envelope, with the cosine of a uniform
// angle taken from a point of the disk.
template <class Real>
class VonMisesEnvelope {
public:
    explicit VonMisesEnvelope(Real c) : c_(c)
    {
        const Real t = std::sqrt(4 * c * c + 1);
        const Real r = std::sqrt(2 * (t + 1));
        const Real rho = (t + 1 - r) / (2 * c);
        s_ = (rho * rho + 1) / (2 * rho);
    }

    bool deviate(Real& result) const
    {
        for (;;) {
            Real ab[2];
            do {
                if (!draw_uniforms(2, ab))
                    return false;
                ab[0] -= Real(0.5);
                ab[1] -= Real(0.5);
            } while (ab[0] * ab[0] + ab[1] * ab[1] > Real(0.25) || ab[1] == 0);
            const Real h = ab[0] * ab[0] / (ab[1] * ab[1]);
            const Real z = (1 - h) / (1 + h);
            const Real f = (s_ * z + 1) / (z + s_);
            const Real w = (s_ - f) * c_;
            Real u;
            if (!draw_uniform(u))
                return false;
            if (u >= (2 - w) * w && (w <= 0 || w > std::log(w / u) + 1))
                continue;
            const Real angle = std::atan2(std::sqrt(std::max(Real(0), 1 - f * f)), f);
            result = ab[0] < 0 ? -angle : angle;
            return true;
        }
    }

private:
    Real c_, s_;
};

template <class Real>
void von_mises_fill(int64_t n, Real c, Real* r)
{
    if (!(c >= std::sqrt(relative_spacing<Real>()) / 2)) {
        orvls_e1std(1, c);
        orvls_ermes(5, 20572);
        return;
    }
    const VonMisesEnvelope<Real> envelope(c);
    for (int64_t i = 0; i < n; ++i)
        if (!envelope.deviate(r[i]))
            return;
}

// Bailey's polar method: for (u, v) uniform in the unit disk with w = u^2 +
// v^2, u sqrt(df (w^(-2/df) - 1)/w) follows Student's t with df degrees of
// freedom, for any df > 0.
template <class Real>
void student_t_fill(int64_t n, Real df, Real* r)
{
    if (!check_positive(df, "df"))
        return;
    for (int64_t i = 0; i < n; ++i) {
        Real uv[2];
        Real w;
        do {
            if (!draw_uniforms(2, uv))
                return;
            uv[0] = 2 * uv[0] - 1;
            uv[1] = 2 * uv[1] - 1;
            w = uv[0] * uv[0] + uv[1] * uv[1];
        } while (w > 1 || w == 0);
        r[i] = uv[0] * std::sqrt(df * std::expm1(-2 * std::log(w) / df) / w);
    }
}

// The method of Chambers, Mallows and Stuck: an angle V uniform on
// (-pi/2, pi/2) and an exponential W give the stable law of index alpha and
// skewness beta, unit scale, in the parametrisation whose characteristic
// function is exp(-|t|^alpha (1 - i beta sign(t) tan(pi alpha/2))), and
// for alpha = 1 exp(-|t| (1 + i beta (2/pi) sign(t) log|t|)).
template <class Real>
Real stable_deviate(Real alpha, Real beta, Real u, Real w)
{
    const Real half_pi = Real(kPi / 2);
    const Real v = Real(kPi) * (u - Real(0.5));
    const Real e = -std::log(w);
    if (alpha == 1) {
        const Real shifted = half_pi + beta * v;
        return (shifted * std::tan(v) - beta * std::log(half_pi * e * std::cos(v) / shifted)) / half_pi;
    }
    const Real zeta = beta * std::tan(half_pi * alpha);
    const Real b = std::atan(zeta) / alpha;
    const Real s = std::pow(1 + zeta * zeta, 1 / (2 * alpha));
    const Real angle = alpha * (v + b);
    return s * std::sin(angle) / std::pow(std::cos(v), 1 / alpha) *
           std::pow(std::cos(v - angle) / e, (1 - alpha) / alpha);
}

template <class Real>
void stable_fill(int64_t n, Real alpha, Real beta, Real* r)
{
    if (!check_real_range(alpha, "alpha", 0, 2, true, false) || !check_real_range(beta, "beta", -1, 1, false, false))
        return;
    for (int64_t i = 0; i < n; ++i) {
        Real uw[2];
        if (!draw_uniforms(2, uw))
            return;
        r[i] = stable_deviate(alpha, beta, uw[0], uw[1]);
    }
}

template <class Real>
Real* cauchy_entry(int64_t n_random, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_cauchy", "orvls_d_random_cauchy"), n_random, ap,
                                 1, [&](int64_t n, Real* r) { cauchy_fill(n, r); });
}

template <class Real>
Real* triangular_entry(int64_t n_random, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_triangular", "orvls_d_random_triangular"),
                                 n_random, ap, 1, [&](int64_t n, Real* r) { triangular_fill(n, r); });
}

template <class Real>
Real* weibull_entry(int64_t n_random, Real a, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_weibull", "orvls_d_random_weibull"), n_random,
                                 ap, 2, [&](int64_t n, Real* r) { weibull_fill(n, a, r); });
}

template <class Real>
Real* von_mises_entry(int64_t n_random, Real c, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_von_mises", "orvls_d_random_von_mises"),
                                 n_random, ap, 2, [&](int64_t n, Real* r) { von_mises_fill(n, c, r); });
}

template <class Real>
Real* student_t_entry(int64_t n_random, Real df, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_student_t", "orvls_d_random_student_t"),
                                 n_random, ap, 2, [&](int64_t n, Real* r) { student_t_fill(n, df, r); });
}

template <class Real>
Real* stable_entry(int64_t n_random, Real alpha, Real beta, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_stable", "orvls_d_random_stable"), n_random, ap,
                                 3, [&](int64_t n, Real* r) { stable_fill(n, alpha, beta, r); });
}

}  // namespace

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(float, orvls_f_random_cauchy, n_random, cauchy_entry<float>(n_random, ap), int64_t n_random)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_cauchy, n_random, cauchy_entry<double>(n_random, ap), int64_t n_random)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_triangular, n_random, triangular_entry<float>(n_random, ap),
                    int64_t n_random)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_triangular, n_random, triangular_entry<double>(n_random, ap),
                    int64_t n_random)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_weibull, a, weibull_entry(n_random, a, ap), int64_t n_random, float a)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_weibull, a, weibull_entry(n_random, a, ap), int64_t n_random, double a)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_von_mises, c, von_mises_entry(n_random, c, ap), int64_t n_random, float c)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_von_mises, c, von_mises_entry(n_random, c, ap), int64_t n_random,
                    double c)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_student_t, df, student_t_entry(n_random, df, ap), int64_t n_random,
                    float df)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_student_t, df, student_t_entry(n_random, df, ap), int64_t n_random,
                    double df)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_stable, beta, stable_entry(n_random, alpha, beta, ap), int64_t n_random,
                    float alpha, float beta)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_stable, beta, stable_entry(n_random, alpha, beta, ap), int64_t n_random,
                    double alpha, double beta)
