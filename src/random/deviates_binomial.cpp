// Binomial deviates: inversion for small means, otherwise the
// triangle-parallelogram-exponential scheme of Kachitvichyanukul and
// Schmeiser, whose setup stays with the thread while n and p repeat.
#include <algorithm>
#include <cmath>

#include "frame/tsd.h"
#include "random/deviates.h"

namespace orvls {

namespace {

template <class Real>
void prepare_binomial(BinomialSetup<Real>& s, int64_t n, Real p)
{
    s.n = n;
    s.p = p;
    s.ready = 1;
    s.r = std::min(p, 1 - p);
    s.q = 1 - s.r;
    s.g = s.r / s.q;
    const Real nr = static_cast<Real>(n) * s.r;
    s.nrq = nr * s.q;
    s.by_inversion = nr <= 10 || p < relative_spacing<Real>();
    if (s.by_inversion) {
        s.q_power_n = std::pow(s.q, static_cast<Real>(n));
        s.c_inversion = static_cast<Real>(n + 1) * s.g;
        return;
    }
    TpeEnvelope<Real>& e = s.envelope;
    const Real fm = nr + s.r;
    e.mode = static_cast<int64_t>(fm);
    e.p1 = std::trunc(Real(2.195) * std::sqrt(s.nrq) - Real(4.6) * s.q) + Real(0.5);
    e.xm = static_cast<Real>(e.mode) + Real(0.5);
    e.xl = e.xm - e.p1;
    e.xr = e.xm + e.p1;
    e.c = Real(0.134) + Real(20.5) / (Real(15.3) + static_cast<Real>(e.mode));
    Real al = (fm - e.xl) / (fm - e.xl * s.r);
    e.lambda_l = al * (1 + al / 2);
    al = (e.xr - fm) / (e.xr * s.q);
    e.lambda_r = al * (1 + al / 2);
    e.p2 = e.p1 * (1 + 2 * e.c);
    e.p3 = e.p2 + e.c / e.lambda_l;
    e.p4 = e.p3 + e.c / e.lambda_r;
}

// Walks up from 0 until the cumulative probability passes u.
template <class Real>
bool inversion_deviate(const BinomialSetup<Real>& s, int64_t& x)
{
    Real u;
    if (!draw_uniform(u))
        return false;
    const Real eps = smallest_spacing<Real>();
    Real f = s.q_power_n;
    Real sum = f;
    x = 0;
    while (sum < u) {
        ++x;
        f *= s.c_inversion / static_cast<Real>(x) - s.g;
        sum += f;
        if (sum > 1 - eps || f < eps)
            break;
    }
    return true;
}

// Whether v lies under f(x)/f(mode).
template <class Real>
bool binomial_accepts(const BinomialSetup<Real>& s, int64_t x, Real v)
{
    const int64_t mode = s.envelope.mode;
    const int64_t k = x > mode ? x - mode : mode - x;
    if (k < 21 || static_cast<Real>(k) >= s.nrq / 2 - 1) {
        // The ratio f(i)/f(i - 1) = ((n + 1) g / i - g), multiplied out.
        const Real ratio_scale = static_cast<Real>(s.n + 1) * s.g;
        Real f = 1;
        if (mode < x) {
            for (int64_t i = mode + 1; i <= x; ++i)
                f *= ratio_scale / static_cast<Real>(i) - s.g;
            return v <= f;
        }
        for (int64_t i = x + 1; i <= mode; ++i)
            v *= ratio_scale / static_cast<Real>(i) - s.g;
        return v <= 1;
    }
    const Real log_v = std::log(v);
    const int decided = squeeze(static_cast<Real>(k), s.nrq, log_v);
    if (decided != 0)
        return decided > 0;
    // log f(x)/f(mode) by Stirling's formula with its correction terms.
    const Real n = static_cast<Real>(s.n);
    const Real m1 = static_cast<Real>(mode) + 1;
    const Real x1 = static_cast<Real>(x) + 1;
    const Real z = n + 1 - static_cast<Real>(mode);
    const Real w = n - static_cast<Real>(x) + 1;
    const Real bound = s.envelope.xm * std::log(m1 / x1) + (n - static_cast<Real>(mode) + Real(0.5)) * std::log(z / w) +
                       static_cast<Real>(x - mode) * std::log(w * s.r / (x1 * s.q)) + stirling_correction(m1) +
                       stirling_correction(z) - stirling_correction(x1) - stirling_correction(w);
    return log_v <= bound;
}

template <class Real>
bool envelope_deviate(const BinomialSetup<Real>& s, int64_t& x)
{
    for (;;) {
        Real v;
        switch (tpe_candidate(s.envelope, static_cast<Real>(s.n), x, v)) {
        case TpeDraw::failed:
            return false;
        case TpeDraw::accepted:
            return true;
        case TpeDraw::to_test:
            if (binomial_accepts(s, x, v))
                return true;
            break;
        case TpeDraw::rejected:
            break;
        }
    }
}

}  // namespace

template <class Real>
void l_rnbin(int64_t n_random, int64_t n, Real p, int64_t* r)
{
    int64_t checks = 0;
    orvls_check_range(n, "n", 1, 0, &checks);
    check_open_probability(p, "p");
    if (orvls_n1rty(0) > 3)
        return;
    BinomialSetup<Real>* s = ThreadRecord<BinomialSetup<Real>>::get();
    if (s == nullptr) {
        orvls_ermes(5, 200);
        return;
    }
    if (!s->ready || s->n != n || s->p != p)
        prepare_binomial(*s, n, p);
    for (int64_t i = 0; i < n_random; ++i) {
        int64_t x;
        if (!(s->by_inversion ? inversion_deviate(*s, x) : envelope_deviate(*s, x)))
            return;
        r[i] = p > Real(0.5) ? n - x : x;
    }
}

namespace {

template <class Real>
int64_t* binomial_entry(int64_t n_random, int64_t n, Real p, va_list ap)
{
    return deviate_routine<int64_t>(public_name<Real>("orvls_f_random_binomial", "orvls_d_random_binomial"),
                                    n_random, ap, 3, [&](int64_t count, int64_t* r) { l_rnbin(count, n, p, r); });
}

}  // namespace

template void l_rnbin<float>(int64_t, int64_t, float, int64_t*);
template void l_rnbin<double>(int64_t, int64_t, double, int64_t*);

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(int64_t, orvls_f_random_binomial, p, binomial_entry(n_random, n, p, ap), int64_t n_random,
                    int64_t n, float p)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_d_random_binomial, p, binomial_entry(n_random, n, p, ap), int64_t n_random,
                    int64_t n, double p)
