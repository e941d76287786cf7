// Poisson deviates, in float arithmetic: inversion below a mean of 15,
// otherwise the triangle-parallelogram-exponential scheme; the setup stays
// with the thread while theta repeats.  Negative binomial deviates are
// Poisson deviates of gamma means.
#include <cmath>

#include "frame/tsd.h"
#include "random/deviates.h"

namespace orvls {

namespace {

constexpr float kInversionLimit = 15;

void prepare_poisson(PoissonSetup& s, float theta)
{
    s.theta = theta;
    s.ready = 1;
    s.by_inversion = theta < kInversionLimit;
    if (s.by_inversion) {
        s.exp_minus_theta = std::exp(-theta);
        return;
    }
    s.log_theta = std::log(theta);
    TpeEnvelope<float>& e = s.envelope;
    e.mode = static_cast<int64_t>(theta);
    const float mode = static_cast<float>(e.mode);
    e.p1 = std::trunc(2.195f * std::sqrt(mode) - 2.2f) + 0.5f;
    e.c = 0.133f + 8.56f / (theta + 6.83f);
    e.xm = mode + 0.5f;
    e.xl = e.xm - e.p1;
    e.xr = e.xm + e.p1;
    float al = (theta - e.xl) / theta;
    e.lambda_l = al * (1 + al / 2);
    al = (e.xr - theta) / e.xr;
    e.lambda_r = al * (1 + al / 2);
    e.p2 = e.p1 * (1 + 2 * e.c);
    e.p3 = e.p2 + (0.109f + 8.25f / (theta + 10.86f)) / e.lambda_l;
    e.p4 = e.p3 + e.c / e.lambda_r;
}

bool inversion_deviate(const PoissonSetup& s, int64_t& x)
{
    float u;
    if (!draw_uniform(u))
        return false;
    float p = s.exp_minus_theta;
    x = 0;
    // p reaches 0 far in the tail, where rounding could leave u above it.
    while (u > p && p > 0) {
        ++x;
        u -= p;
        p *= s.theta / static_cast<float>(x);
    }
    return true;
}

bool poisson_accepts(const PoissonSetup& s, int64_t x, float v)
{
    const int64_t mode = s.envelope.mode;
    if (mode < 100 || x < 51) {
        // f(i)/f(i - 1) = theta/i, multiplied out.
        float f = 1;
        if (mode < x) {
            for (int64_t i = mode + 1; i <= x; ++i)
                f *= s.theta / static_cast<float>(i);
            return v <= f;
        }
        for (int64_t i = x + 1; i <= mode; ++i)
            v *= s.theta / static_cast<float>(i);
        return v <= 1;
    }
    const float log_v = std::log(v);
    const float k = static_cast<float>(x > mode ? x - mode : mode - x);
    const int decided = squeeze(k, s.theta, log_v);
    if (decided != 0)
        return decided > 0;
    // log f(x)/f(mode) by Stirling's formula with its correction terms.
    const float m1 = static_cast<float>(mode) + 1;
    const float x1 = static_cast<float>(x) + 1;
    const float bound = s.envelope.xm * std::log(m1 / x1) +
                        static_cast<float>(x - mode) * (s.log_theta - std::log(x1) + 1) + stirling_correction(m1) -
                        stirling_correction(x1);
    return log_v <= bound;
}

bool envelope_deviate(const PoissonSetup& s, int64_t& x)
{
    for (;;) {
        float v;
        switch (tpe_candidate(s.envelope, 4.6e18f, x, v)) {
        case TpeDraw::failed:
            return false;
        case TpeDraw::accepted:
            return true;
        case TpeDraw::to_test:
            if (poisson_accepts(s, x, v))
                return true;
            break;
        case TpeDraw::rejected:
            break;
        }
    }
}

// The thread's setup for theta, made afresh when theta changed.
PoissonSetup* poisson_setup(float theta)
{
    PoissonSetup* s = ThreadRecord<PoissonSetup>::get();
    if (s == nullptr) {
        orvls_ermes(5, 200);
        return nullptr;
    }
    if (!s->ready || s->theta != theta)
        prepare_poisson(*s, theta);
    return s;
}

}  // namespace

void l_rnpoi(int64_t n_random, float theta, int64_t* r)
{
    if (!(theta > 0)) {
        orvls_e1str(1, theta);
        orvls_ermes(5, 11032);
        return;
    }
    const PoissonSetup* s = poisson_setup(theta);
    if (s == nullptr)
        return;
    for (int64_t i = 0; i < n_random; ++i)
        if (!(s->by_inversion ? inversion_deviate(*s, r[i]) : envelope_deviate(*s, r[i])))
            return;
}

namespace {

// The number of failures before the rn-th success, success probability p:
// a Poisson deviate whose mean is a gamma deviate of shape rn and scale
// (1 - p)/p, drawn one after the other for each deviate.
template <class Real>
void neg_binomial_fill(int64_t n, Real rn, Real p, int64_t* r)
{
    if (!check_positive(rn, "rn") || !check_open_probability(p, "p"))
        return;
    const Real scale = (1 - p) / p;
    for (int64_t i = 0; i < n; ++i) {
        Real mean;
        l_rngam(1, rn, &mean);
        if (orvls_n1rty(0) > 3)
            return;
        const float theta = static_cast<float>(mean * scale);
        r[i] = 0;
        if (theta > 0)
            l_rnpoi(1, theta, &r[i]);
        if (orvls_n1rty(0) > 3)
            return;
    }
}

int64_t* poisson_entry(int64_t n_random, float theta, va_list ap)
{
    return deviate_routine<int64_t>("orvls_random_poisson", n_random, ap, 2,
                                    [&](int64_t n, int64_t* r) { l_rnpoi(n, theta, r); });
}

template <class Real>
int64_t* neg_binomial_entry(int64_t n_random, Real rn, Real p, va_list ap)
{
    return deviate_routine<int64_t>(
        public_name<Real>("orvls_f_random_neg_binomial", "orvls_d_random_neg_binomial"), n_random, ap, 3,
        [&](int64_t n, int64_t* r) { neg_binomial_fill(n, rn, p, r); });
}

}  // namespace

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(int64_t, orvls_random_poisson, theta, poisson_entry(n_random, theta, ap), int64_t n_random,
                    float theta)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_f_random_neg_binomial, p, neg_binomial_entry(n_random, rn, p, ap),
                    int64_t n_random, float rn, float p)
ORVLS_DEVIATE_ENTRY(int64_t, orvls_d_random_neg_binomial, p, neg_binomial_entry(n_random, rn, p, ap),
                    int64_t n_random, double rn, double p)
