// Normal and lognormal deviates: inversion of the stream's uniforms by the
// fast normal inverse, and the Kinderman and Ramage composition.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "random/deviates.h"
#include "special/distributions.h"

namespace orvls {

template <class Real>
void l_rnnor(int64_t n, Real* r)
{
    if (!draw_uniforms(n, r))
        return;
    for (int64_t i = 0; i < n; ++i)
        l_anorin(r[i], &r[i]);
}

namespace {

// The composition's constants: the centre's half width and the density of
// the triangle that the centre leaves uncovered.
constexpr double kHalfWidth = 2.216035867166471;
constexpr double kHalfWidthSquaredHalf = 2.45540748228412;
constexpr double kTriangleSlope = 0.180025191068563;

// The normal density above the triangle at x is at least |d| k.
template <class Real>
bool under_density(Real x, Real d, Real k)
{
    return std::exp(-x * x / 2) * Real(0.3989422804014327) - (Real(kHalfWidth) - std::fabs(x)) * Real(kTriangleSlope) >=
           std::fabs(d) * k;
}

// One of the three strips between the centre and the tail: x = base +
// slope min(v, w), accepted at once below `threshold`, else by the density.
template <class Real>
bool strip_deviate(Real base, Real slope, Real threshold, Real k, Real& result)
{
    for (;;) {
        Real vw[2];
        if (!draw_uniforms(2, vw))
            return false;
        const Real d = vw[0] - vw[1];
        const Real x = base + slope * std::min(vw[0], vw[1]);
        if (x < 0)
            continue;
        if (std::max(vw[0], vw[1]) <= threshold || under_density(x, d, k)) {
            result = d >= 0 ? -x : x;
            return true;
        }
    }
}

// Beyond the half width: Marsaglia's tail method.
template <class Real>
bool tail_deviate(Real u, Real& result)
{
    Real t;
    for (;;) {
        Real vw[2];
        if (!draw_uniforms(2, vw))
            return false;
        t = Real(kHalfWidthSquaredHalf) - std::log(vw[1]);
        if (vw[0] * vw[0] * t <= Real(kHalfWidthSquaredHalf))
            break;
    }
    const Real x = std::sqrt(2 * t);
    result = u >= Real(0.986655477086949) ? -x : x;
    return true;
}

template <class Real>
bool composition_deviate(Real& result)
{
    Real u;
    if (!draw_uniform(u))
        return false;
    if (u < Real(0.884070402298758)) {
        Real v;
        if (!draw_uniform(v))
            return false;
        // 1.13113163544418 u is uniform on (0, 1) here, so the sum with v
        // minus 1 has the triangular density on (-1, 1) that the centre
        // needs (the factor belongs on u, not on v).
        result = (Real(1.13113163544418) * u + v - 1) * Real(kHalfWidth);
        return true;
    }
    if (u >= Real(0.973310954173898))
        return tail_deviate(u, result);
    if (u >= Real(0.958720824790463))
        return strip_deviate(Real(kHalfWidth), Real(-0.63083480192196), Real(0.755591531667601),
                             Real(0.034240503750111), result);
    if (u >= Real(0.911312780288703))
        return strip_deviate(Real(0.479727404222441), Real(1.10547366102207), Real(0.87283497667179),
                             Real(0.049264496373128), result);
    return strip_deviate(Real(0.479727404222441), Real(-0.59550713801594), Real(0.805577924423817),
                         Real(0.053377549506886), result);
}

}  // namespace

template <class Real>
void orvls_rnnoa(int64_t n, Real* r)
{
    for (int64_t i = 0; i < n; ++i)
        if (!composition_deviate(r[i]))
            return;
}

namespace {

template <class Real>
struct NormalOptions {
    Real* user = nullptr;
    Real mean = 0;
    Real variance = 1;
    bool accept_reject = false;
};

template <class Real>
NormalOptions<Real> read_normal_options(OptionReader& options)
{
    NormalOptions<Real> chosen;
    int code = 0;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_RETURN_USER:
            chosen.user = options.pointer<Real*>();
            refuse_null_user(chosen.user, "r", "ORVLS_RETURN_USER");
            break;
        case ORVLS_MEAN:
            chosen.mean = static_cast<Real>(options.real());
            break;
        case ORVLS_MEAN_ADR:
            chosen.mean = options.real_address<Real>();
            break;
        case ORVLS_VARIANCE:
            chosen.variance = static_cast<Real>(options.real());
            break;
        case ORVLS_VARIANCE_ADR:
            chosen.variance = options.real_address<Real>();
            break;
        case ORVLS_ACCEPT_REJECT_METHOD:
            chosen.accept_reject = true;
            break;
        default:
            options.unknown(code);
        }
    }
    return chosen;
}

template <class Real>
Real* random_normal(int64_t n_random, OptionReader& options)
{
    const NormalOptions<Real> chosen = read_normal_options<Real>(options);
    int64_t checks = 0;
    orvls_check_range(n_random, "n_random", 1, 0, &checks);
    if (!(chosen.variance > 0)) {
        orvls_e1std(1, chosen.variance);
        orvls_ermes(5, 20457);
    }
    if (orvls_n1rty(0) > 0)
        return nullptr;
    Real* r = chosen.user;
    Real* allocated = nullptr;
    if (r == nullptr) {
        r = allocated = allocate<Real>(static_cast<std::size_t>(n_random));
        if (r == nullptr) {
            orvls_ermes(5, 200);
            return nullptr;
        }
    }
    if (chosen.accept_reject)
        orvls_rnnoa(n_random, r);
    else
        l_rnnor(n_random, r);
    if (orvls_n1rty(0) > 3) {
        std::free(allocated);
        return nullptr;
    }
    const Real deviation = std::sqrt(chosen.variance);
    for (int64_t i = 0; i < n_random; ++i)
        r[i] = r[i] * deviation + chosen.mean;
    return r;
}

template <class Real>
Real* random_normal_entry(int64_t n_random, va_list ap)
{
    OptionReader options(ap, 1);
    return envelope<Real*>(public_name<Real>("orvls_f_random_normal", "orvls_d_random_normal"), nullptr,
                           [&] { return random_normal<Real>(n_random, options); });
}

template <class Real>
void lognormal_fill(int64_t n, Real location, Real scale, Real* r)
{
    if (!(scale > 0)) {
        orvls_e1std(1, scale);
        orvls_ermes(5, 20664);
        return;
    }
    orvls_rnnoa(n, r);
    for (int64_t i = 0; i < n; ++i)
        r[i] = std::exp(scale * r[i] + location);
}

template <class Real>
Real* random_lognormal_entry(int64_t n_random, Real location, Real scale, va_list ap)
{
    return deviate_routine<Real>(public_name<Real>("orvls_f_random_lognormal", "orvls_d_random_lognormal"),
                                 n_random, ap, 3, [&](int64_t n, Real* r) { lognormal_fill(n, location, scale, r); });
}

}  // namespace

float* normal_public(int64_t n, float* r)
{
    return orvls_f_random_normal(n, ORVLS_RETURN_USER, r, 0);
}
double* normal_public(int64_t n, double* r)
{
    return orvls_d_random_normal(n, ORVLS_RETURN_USER, r, 0);
}

template void l_rnnor<float>(int64_t, float*);
template void l_rnnor<double>(int64_t, double*);
template void orvls_rnnoa<float>(int64_t, float*);
template void orvls_rnnoa<double>(int64_t, double*);

}  // namespace orvls

using namespace orvls;

ORVLS_DEVIATE_ENTRY(float, orvls_f_random_normal, n_random, random_normal_entry<float>(n_random, ap),
                    int64_t n_random)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_normal, n_random, random_normal_entry<double>(n_random, ap),
                    int64_t n_random)
ORVLS_DEVIATE_ENTRY(float, orvls_f_random_lognormal, scale, random_lognormal_entry(n_random, location, scale, ap),
                    int64_t n_random, float location, float scale)
ORVLS_DEVIATE_ENTRY(double, orvls_d_random_lognormal, scale, random_lognormal_entry(n_random, location, scale, ap),
                    int64_t n_random, double location, double scale)
