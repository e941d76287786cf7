// Goodness-of-fit checks for the deviate tests, with distribution functions
// written here from the standard library alone, so that the generators are
// not judged by the library's own distribution functions.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

namespace fit {

// Each check is set to fail a correct generator with probability below this.
constexpr double kFalseAlarm = 1e-6;

// The Kolmogorov-Smirnov distance of the sample from F, and the critical
// distance for n values by the Dvoretzky-Kiefer-Wolfowitz-Massart bound
// P(D > d) <= 2 exp(-2 n d^2).
inline double ks_critical(std::size_t n) { return std::sqrt(-std::log(kFalseAlarm / 2) / (2.0 * double(n))); }

template <class Real>
double ks_distance(std::vector<Real> x, const std::function<double(double)>& cdf)
{
    std::sort(x.begin(), x.end());
    const double n = double(x.size());
    double d = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double f = cdf(double(x[i]));
        d = std::max({d, f - double(i) / n, double(i + 1) / n - f});
    }
    return d;
}

// Pearson's statistic over cells of expected count at least 5 (values
// pooled upwards from the lowest; the upper tail joins the last cell), and
// its critical value by the Laurent-Massart bound for chi-squared with k
// degrees of freedom: P(X > k + 2 sqrt(k t) + 2 t) <= exp(-t).
struct ChiSquared {
    double statistic;
    double critical;
    int64_t cells;
};

inline ChiSquared chi_squared(const std::vector<int64_t>& x, int64_t lowest, const std::function<double(int64_t)>& pmf)
{
    const double n = double(x.size());
    std::vector<int64_t> upper;  // the largest value of each cell
    std::vector<double> expected;
    double cumulative = 0;
    double cell = 0;
    for (int64_t v = lowest; cumulative < 1 - 1e-12 && v < lowest + 10000000; ++v) {
        const double p = pmf(v);
        cumulative += p;
        cell += n * p;
        if (cell >= 5 && n * (1 - cumulative) >= 5) {
            upper.push_back(v);
            expected.push_back(cell);
            cell = 0;
        }
    }
    upper.push_back(INT64_MAX);
    expected.push_back(cell + n * std::max(0.0, 1 - cumulative));
    std::vector<double> observed(expected.size(), 0);
    for (int64_t v : x) {
        if (v < lowest)
            return {INFINITY, 0, 0};
        observed[std::lower_bound(upper.begin(), upper.end(), v) - upper.begin()] += 1;
    }
    double statistic = 0;
    for (std::size_t i = 0; i < expected.size(); ++i)
        statistic += (observed[i] - expected[i]) * (observed[i] - expected[i]) / expected[i];
    const double k = double(expected.size() - 1);
    const double t = -std::log(kFalseAlarm);
    return {statistic, k + 2 * std::sqrt(k * t) + 2 * t, int64_t(expected.size())};
}

// ---- Distribution functions ---------------------------------------------------

inline double normal_cdf(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

// The regularised lower incomplete gamma P(a, x): the series below a + 1,
// the continued fraction (modified Lentz) above.
inline double gamma_p(double a, double x)
{
    if (x <= 0)
        return 0;
    const double log_front = a * std::log(x) - x - std::lgamma(a);
    if (x < a + 1) {
        double term = 1 / a, sum = term;
        for (int k = 1; k < 10000 && std::fabs(term) > 1e-16 * std::fabs(sum); ++k) {
            term *= x / (a + k);
            sum += term;
        }
        return sum * std::exp(log_front);
    }
    double b = x + 1 - a, c = 1e300, d = 1 / b, h = d;
    for (int i = 1; i < 10000; ++i) {
        const double an = -i * (i - a);
        b += 2;
        d = an * d + b;
        d = std::fabs(d) < 1e-300 ? 1e-300 : d;
        c = b + an / c;
        c = std::fabs(c) < 1e-300 ? 1e-300 : c;
        d = 1 / d;
        const double delta = d * c;
        h *= delta;
        if (std::fabs(delta - 1) < 1e-16)
            break;
    }
    return 1 - std::exp(log_front) * h;
}

// The regularised incomplete beta I_x(a, b) by its continued fraction.
inline double beta_fraction(double a, double b, double x)
{
    const double tiny = 1e-300;
    double c = 1, d = 1 - (a + b) * x / (a + 1);
    d = std::fabs(d) < tiny ? tiny : d;
    d = 1 / d;
    double h = d;
    for (int m = 1; m < 10000; ++m) {
        const double m2 = 2.0 * m;
        double aa = m * (b - m) * x / ((a + m2 - 1) * (a + m2));
        d = 1 + aa * d;
        d = std::fabs(d) < tiny ? tiny : d;
        c = 1 + aa / c;
        c = std::fabs(c) < tiny ? tiny : c;
        d = 1 / d;
        h *= d * c;
        aa = -(a + m) * (a + b + m) * x / ((a + m2) * (a + m2 + 1));
        d = 1 + aa * d;
        d = std::fabs(d) < tiny ? tiny : d;
        c = 1 + aa / c;
        c = std::fabs(c) < tiny ? tiny : c;
        d = 1 / d;
        const double delta = d * c;
        h *= delta;
        if (std::fabs(delta - 1) < 1e-16)
            break;
    }
    return h;
}

inline double beta_i(double a, double b, double x)
{
    if (x <= 0)
        return 0;
    if (x >= 1)
        return 1;
    const double front =
        std::exp(std::lgamma(a + b) - std::lgamma(a) - std::lgamma(b) + a * std::log(x) + b * std::log1p(-x));
    if (x < (a + 1) / (a + b + 2))
        return front * beta_fraction(a, b, x) / a;
    return 1 - front * beta_fraction(b, a, 1 - x) / b;
}

inline double student_t_cdf(double df, double t)
{
    const double tail = 0.5 * beta_i(df / 2, 0.5, df / (df + t * t));
    return t > 0 ? 1 - tail : tail;
}

// Von Mises on (-pi, pi): (x + pi)/(2 pi) + sum I_j(c) sin(j x)/j / (pi I_0(c)).
inline double von_mises_cdf(double c, double x)
{
    double sum = 0;
    for (int j = 1; j <= 60; ++j)
        sum += std::cyl_bessel_i(double(j), c) * std::sin(j * x) / j;
    return (x + M_PI) / (2 * M_PI) + sum / (M_PI * std::cyl_bessel_i(0.0, c));
}

// ---- Probability functions ----------------------------------------------------

inline double log_choose(double n, double k) { return std::lgamma(n + 1) - std::lgamma(k + 1) - std::lgamma(n - k + 1); }

inline double binomial_pmf(int64_t n, double p, int64_t k)
{
    if (k > n)
        return 0;
    return std::exp(log_choose(double(n), double(k)) + double(k) * std::log(p) + double(n - k) * std::log1p(-p));
}

inline double poisson_pmf(double theta, int64_t k)
{
    return std::exp(-theta + double(k) * std::log(theta) - std::lgamma(double(k) + 1));
}

inline double hypergeometric_pmf(int64_t sample, int64_t defectives, int64_t lot, int64_t k)
{
    if (k > std::min(sample, defectives) || sample - k > lot - defectives)
        return 0;
    return std::exp(log_choose(double(defectives), double(k)) +
                    log_choose(double(lot - defectives), double(sample - k)) -
                    log_choose(double(lot), double(sample)));
}

inline double neg_binomial_pmf(double r, double p, int64_t k)
{
    return std::exp(std::lgamma(double(k) + r) - std::lgamma(r) - std::lgamma(double(k) + 1) + r * std::log(p) +
                    double(k) * std::log1p(-p));
}

}  // namespace fit
