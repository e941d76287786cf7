// Geometric, logarithmic, discrete uniform and hypergeometric deviates.
#include <algorithm>
#include <cmath>

#include "frame/tsd.h"
#include "random/deviates.h"

namespace orvls {

namespace {

// The trial of the first success: trunc(log u / log(1 - p) + 1).
template <class Real>
void geometric_fill(int64_t n, Real p, int64_t* r)
{
    if (!(p > 0 && p < 1)) {
        orvls_e1std(1, p);
        orvls_ermes(5, 20662);
        return;
    }
    WorkArray<Real> u(static_cast<std::size_t>(n));
    if (!u.ok()) {
        orvls_ermes(5, 200);
        return;
    }
    if (!draw_uniforms(n, u.get()))
        return;
    const Real log_q = std::log1p(-p);
    for (int64_t i = 0; i < n; ++i)
        r[i] = static_cast<int64_t>(std::log(u[i]) / log_q + 1);
}

}  // namespace

// Kemp's methods: inversion from P(1) = -a/log(1 - a) for a < 0.95, the
// two-uniform method above.
template <class Real>
void l_rnlgr(int64_t n, Real a, int64_t* r)
{
    if (!(a > 0 && a < 1)) {
        orvls_e1std(1, a);
        orvls_ermes(5, 20570);
        return;
    }
    const Real log_q = std::log1p(-a);
    const Real first = -a / log_q;
    for (int64_t i = 0; i < n; ++i) {
        Real u;
        if (!draw_uniform(u))
            return;
        if (a < Real(0.95)) {
            int64_t x = 1;
            Real p = first;
            while (u > p && p > 0) {
                u -= p;
                ++x;
                p *= a * static_cast<Real>(x - 1) / static_cast<Real>(x);
            }
            r[i] = x;
            continue;
        }
        if (u > a) {
            r[i] = 1;
            continue;
        }
        Real v;
        if (!draw_uniform(v))
            return;
        const Real q = -std::expm1(v * log_q);
        if (u < q * q)
            r[i] = static_cast<int64_t>(std::log(u) / std::log(q) + 1);
        else
            r[i] = u < q ? 2 : 1;
    }
}

namespace {

template <class Real>
void uniform_discrete_fill(int64_t n, int64_t k, int64_t* r)
{
    int64_t checks = 0;
    if (!orvls_check_range(k, "k", 1, 0, &checks))
        return;
    WorkArray<Real> u(static_cast<std::size_t>(n));
    if (!u.ok()) {
        orvls_ermes(5, 200);
        return;
    }
    if (!draw_uniforms(n, u.get()))
        return;
    // Rounding of u k + 1 for u just below 1 must not pass k.
    for (int64_t i = 0; i < n; ++i)
        r[i] = std::min(k, static_cast<int64_t>(u[i] * static_cast<Real>(k) + 1));
}

// ---- Hypergeometric --------------------------------------------------------

constexpr int64_t kDirectBatch = 200;

template <class Real>
Real log_choose(int64_t n, int64_t k)
{
    return std::lgamma(static_cast<Real>(n) + 1) - std::lgamma(static_cast<Real>(k) + 1) -
           std::lgamma(static_cast<Real>(n - k) + 1);
}

template <class Real>
void prepare_hypergeometric(HypergeometricSetup<Real>& s, int64_t sample, int64_t defectives, int64_t lot)
{
    s.sample = sample;
    s.defectives = defectives;
    s.lot = lot;
    s.ready = 1;
    s.lowest = std::max<int64_t>(0, sample - (lot - defectives));
    s.highest = std::min(sample, defectives);
    s.p_lowest = std::exp(log_choose<Real>(defectives, s.lowest) +
                          log_choose<Real>(lot - defectives, sample - s.lowest) - log_choose<Real>(lot, sample));
}

// Walks up from the lowest value with the ratio of successive probabilities.
template <class Real>
bool hypergeometric_inversion(const HypergeometricSetup<Real>& s, int64_t& x)
{
    Real u;
    if (!draw_uniform(u))
        return false;
    Real p = s.p_lowest;
    x = s.lowest;
    while (u > p && x < s.highest) {
        u -= p;
        const Real xr = static_cast<Real>(x);
        p *= (static_cast<Real>(s.defectives) - xr) * (static_cast<Real>(s.sample) - xr) /
             ((xr + 1) * (static_cast<Real>(s.lot - s.defectives - s.sample) + xr + 1));
        ++x;
    }
    return true;
}

// Draws the sample item by item, one uniform each, in batches.
template <class Real>
bool hypergeometric_direct(const HypergeometricSetup<Real>& s, int64_t& x)
{
    Real u[kDirectBatch];
    int64_t defectives_left = s.defectives;
    int64_t lot_left = s.lot;
    for (int64_t drawn = 0; drawn < s.sample;) {
        const int64_t batch = std::min(kDirectBatch, s.sample - drawn);
        if (!draw_uniforms(batch, u))
            return false;
        for (int64_t j = 0; j < batch; ++j, --lot_left)
            if (u[j] * static_cast<Real>(lot_left) < static_cast<Real>(defectives_left))
                --defectives_left;
        drawn += batch;
    }
    x = s.defectives - defectives_left;
    return true;
}

template <class Real>
void hypergeometric_fill(int64_t n, int64_t sample, int64_t defectives, int64_t lot, int64_t* r)
{
    if (sample < 1 || defectives < 0 || lot < 1 || sample > lot || defectives > lot) {
        orvls_e1sti(1, sample);
        orvls_e1sti(2, defectives);
        orvls_e1sti(3, lot);
        orvls_ermes(5, 65005);
        return;
    }
    HypergeometricSetup<Real>* s = ThreadRecord<HypergeometricSetup<Real>>::get();
    if (s == nullptr) {
        orvls_ermes(5, 200);
        return;
    }
    if (!s->ready || s->sample != sample || s->defectives != defectives || s->lot != lot)
        prepare_hypergeometric(*s, sample, defectives, lot);
    if (s->lowest == s->highest) {
        std::fill_n(r, n, s->lowest);
        return;
    }
    const Real eps = relative_spacing<Real>();
    const bool by_inversion = s->p_lowest >= eps && s->p_lowest <= 1 - eps;
    if (!by_inversion && !(s->p_lowest > 0 && s->p_lowest < 1)) {
        orvls_e1std(1, s->p_lowest);
        orvls_ermes(5, 65006);
        return;
    }
    for (int64_t i = 0; i < n; ++i)
        if (!(by_inversion ? hypergeometric_inversion(*s, r[i]) : hypergeometric_direct(*s, r[i])))
            return;
}

template <class Real>
int64_t* geometric_entry(int64_t n_random, Real p, va_list ap)
{
    return deviate_routine<int64_t>(public_name<Real>("orvls_f_random_geometric", "orvls_d_random_geometric"),
                                    n_random, ap, 2, [&](int64_t n, int64_t* r) { geometric_fill(n, p, r); });
}

template <class Real>
int64_t* logarithmic_entry(int64_t n_random, Real a, va_list ap)
{
    return deviate_routine<int64_t>(public_name<Real>("orvls_f_random_logarithmic", "orvls_d_random_logarithmic"),
                                    n_random, ap, 2, [&](int64_t n, int64_t* r) { l_rnlgr(n, a, r); });
}

template <class Real>
int64_t* uniform_discrete_entry(int64_t n_random, int64_t k, va_list ap)
{
    return deviate_routine<int64_t>(
        public_name<Real>("orvls_f_random_uniform_discrete", "orvls_d_random_uniform_discrete"), n_random, ap, 2,
        [&](int64_t n, int64_t* r) { uniform_discrete_fill<Real>(n, k, r); });
}

template <class Real>
int64_t* hypergeometric_entry(int64_t n_random, int64_t sample, int64_t defectives, int64_t lot, va_list ap)
{
    return deviate_routine<int64_t>(
        public_name<Real>("orvls_f_random_hypergeometric", "orvls_d_random_hypergeometric"), n_random, ap, 4,
        [&](int64_t n, int64_t* r) { hypergeometric_fill<Real>(n, sample, defectives, lot, r); });
}

}  // namespace

template void l_rnlgr<float>(int64_t, float, int64_t*);
template void l_rnlgr<double>(int64_t, double, int64_t*);

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(int64_t, orvls_f_random_geometric, p, geometric_entry(n_random, p, ap), int64_t n_random, float p)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_d_random_geometric, p, geometric_entry(n_random, p, ap), int64_t n_random,
                    double p)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_f_random_logarithmic, a, logarithmic_entry(n_random, a, ap), int64_t n_random,
                    float a)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_d_random_logarithmic, a, logarithmic_entry(n_random, a, ap), int64_t n_random,
                    double a)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_f_random_uniform_discrete, k, uniform_discrete_entry<float>(n_random, k, ap),
                    int64_t n_random, int64_t k)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_d_random_uniform_discrete, k, uniform_discrete_entry<double>(n_random, k, ap),
                    int64_t n_random, int64_t k)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_f_random_hypergeometric, lot_size,
                    hypergeometric_entry<float>(n_random, sample_size, defectives, lot_size, ap), int64_t n_random,
                    int64_t sample_size, int64_t defectives, int64_t lot_size)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_d_random_hypergeometric, lot_size,
                    hypergeometric_entry<double>(n_random, sample_size, defectives, lot_size, ap), int64_t n_random,
                    int64_t sample_size, int64_t defectives, int64_t lot_size)
