// Multiple comparisons: the interval methods behind anova_oneway, the
// range tests and the public routine multiple_comparisons.
#include "anova/comparisons.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>

#include "anova/studentized_range.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/outputs.h"
#include "special/distributions.h"

namespace orvls::anova {

using regression::is_fatal;

template <class Real>
bool check_interval_confidence(int64_t method, Real confidence)
{
    if (method != kTukey)
        return regression::check_confidence(double(confidence));
    if (confidence >= 90 && confidence <= 99)
        return true;
    orvls_e1std(1, confidence);
    orvls_ermes(5, 11159);
    return false;
}

namespace {

template <class Real>
bool check_interval_arguments(int64_t k, const Real* group_numbers, const Real* counts, Real s2, Real d,
                              int64_t table_rows)
{
    for (int64_t i = 0; i < k; ++i) {
        if (!(counts[i] >= 1)) {
            orvls_e1sti(1, static_cast<int64_t>(group_numbers[i]));
            orvls_e1sti(2, static_cast<int64_t>(counts[i]));
            orvls_ermes(5, 11157);
            break;
        }
    }
    if (s2 < 0) {
        orvls_e1std(1, s2);
        orvls_ermes(5, 11158);
    }
    if (!(d > 0)) {
        orvls_e1std(1, d);
        orvls_ermes(5, 11160);
    }
    const int64_t needed = k * (k - 1) / 2;
    if (table_rows < needed) {
        orvls_e1sti(1, table_rows);
        orvls_e1sti(2, needed);
        orvls_ermes(5, 11161);
    }
    return !is_fatal(orvls_n1rty(0));
}

// The quantile of a method at confidence c (a fraction) for k means and m
// pairs; the Scheffe quantile includes its factor k - 1.
template <class Real>
Real interval_quantile(int64_t method, Real c, int64_t k, Real d)
{
    const Real m = Real(k) * Real(k - 1) / 2;
    switch (method) {
    case kTukey: return orvls_srin(c, Real(k), d);
    case kDunnSidak: return l_t_inverse_cdf(Real(0.5) * std::pow(c, 1 / m) + Real(0.5), d);
    case kBonferroni: return l_t_inverse_cdf(1 - (1 - c) / (2 * m), d);
    case kScheffe: return c == 0 ? Real(0) : Real(k - 1) * l_F_inverse_cdf(c, Real(k - 1), d);
    default: return l_t_inverse_cdf(1 - (1 - c) / 2, d);
    }
}

// Half the width of the interval for a pair of groups of sizes a and b.
template <class Real>
Real half_width(int64_t method, Real quantile, Real s2, Real a, Real b)
{
    const Real variance = s2 / a + s2 / b;
    switch (method) {
    case kTukey: return quantile * std::sqrt(variance / 2);
    case kScheffe: return std::sqrt(quantile * variance);
    default: return quantile * std::sqrt(variance);
    }
}

}  // namespace

template <class Real>
void l_s2ipm(int64_t method, int64_t k, const Real* group_numbers, const Real* counts, const Real* means, Real s2,
             Real d, Real confidence, Real* table, int64_t table_rows)
{
    within("l_s2ipm", [&] {
        if (!check_interval_arguments(k, group_numbers, counts, s2, d, table_rows))
            return 0;
        const Real quantile = k < 2 ? Real(0) : interval_quantile(method, confidence / 100, k, d);
        if (is_fatal(orvls_n1rty(1)))
            return 0;
        Real* row = table;
        for (int64_t i = 0; i < k; ++i) {
            for (int64_t j = i + 1; j < k; ++j, row += kComparisonValues) {
                const Real difference = means[i] - means[j];
                const Real half = half_width(method, quantile, s2, counts[i], counts[j]);
                row[0] = group_numbers[i];
                row[1] = group_numbers[j];
                row[2] = difference;
                row[3] = difference - half;
                row[4] = difference + half;
            }
        }
        return 0;
    });
}

namespace {

// The level of the range of r means: 1 - alpha in general, lowered for
// Duncan's and raised below r = k - 1 for the Ryan-Welsch levels.
double range_level(int64_t method, double p, int64_t r, int64_t k)
{
    if (method == kDuncan)
        return std::pow(p, double(r - 1));
    if (method == kRyanWelsch && r < k - 1)
        return std::pow(p, double(r) / double(k));
    return p;
}

// The critical value of a range of r of the k means, over the standard error.
template <class Real>
Real critical_range(int64_t method, Real p, Real alpha, int64_t r, int64_t k, Real df)
{
    switch (method) {
    case kRangeBonferroni:
        return l_t_inverse_cdf(1 - alpha / (Real(k) * Real(k - 1)), df) * Real(M_SQRT2);
    case kRangeTukey: return orvls_srin(p, Real(k), df);
    case kStepDownRange: return orvls_srin(p, Real(r), df);
    default: return static_cast<Real>(range_quantile(range_level(method, p, r, k), double(r), df));
    }
}

}  // namespace

template <class Real>
bool l_s2kmc(int64_t method, int64_t k, const Real* means, Real df, Real std_error, Real alpha, Real* sorted,
             int64_t* result)
{
    std::copy(means, means + k, sorted);
    std::sort(sorted, sorted + k, [](Real a, Real b) { return a < b || (!std::isnan(a) && std::isnan(b)); });
    // The tabulated levels of the range inverse are hit exactly.
    const Real p = alpha == Real(0.01) ? Real(0.99) : alpha == Real(0.10) ? Real(0.9) : 1 - alpha;
    std::fill(result, result + (k - 1), int64_t(0));
    const bool same_for_every_size = method == kRangeTukey || method == kRangeBonferroni;
    Real critical = 0;
    for (int64_t r = 2; r <= k; ++r) {
        if (r == 2 || !same_for_every_size)
            critical = critical_range(method, p, alpha, r, k, df) * std_error;
        if (is_fatal(orvls_n1rty(1)))
            return false;
        for (int64_t i = 0; i + r <= k; ++i) {
            if (sorted[i + r - 1] - sorted[i] <= critical) {
                result[i] = r;
                if (r > 2)
                    result[i + 1] = 0;
            }
        }
    }
    return true;
}

namespace {

template <class Real>
struct RangeSettings {
    int64_t method = kStepDownRange;
    Real alpha = Real(0.01);
    int64_t* user_result = nullptr;
};

template <class Real>
void read_range_options(OptionReader& options, RangeSettings<Real>& s, ExclusiveOptions& methods)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_TUKEY: methods.seen(), s.method = kRangeTukey; break;
        case ORVLS_STEP_DOWN_RANGE: methods.seen(), s.method = kStepDownRange; break;
        case ORVLS_RANGE_METHOD_2: methods.seen(), s.method = kDuncan; break;
        case ORVLS_RANGE_METHOD_3: methods.seen(), s.method = kRyanWelsch; break;
        case ORVLS_BONFERRONI: methods.seen(), s.method = kRangeBonferroni; break;
        case ORVLS_ALPHA: s.alpha = static_cast<Real>(options.real()); break;
        case ORVLS_ALPHA_ADR: s.alpha = options.real_address<Real>(); break;
        case ORVLS_RETURN_USER:
            s.user_result = non_null_pointer<int64_t*>(options, "result", "ORVLS_RETURN_USER");
            break;
        default: options.unknown(code);
        }
    }
}

template <class Real>
void check_range_arguments(int64_t n_groups, Real df, Real std_error, Real alpha)
{
    if (n_groups < 2) {
        orvls_e1sti(1, n_groups);
        orvls_ermes(5, 11150);
    }
    if (std_error < 0) {
        orvls_e1std(1, std_error);
        orvls_ermes(5, 11151);
    }
    if (!(df >= 1)) {
        orvls_e1std(1, df);
        orvls_ermes(5, 11152);
    }
    const Real eps = machine_table<Real>(4);
    if (!(alpha >= Real(0.01) - eps && alpha <= Real(0.10) + eps)) {
        orvls_e1std(1, alpha);
        orvls_ermes(5, 11153);
    }
}

template <class Real>
int64_t* multiple_comparisons(int64_t n_groups, const Real* means, Real df, Real std_error, OptionReader& options)
{
    RangeSettings<Real> s;
    ExclusiveOptions methods(
        "ORVLS_TUKEY, ORVLS_STEP_DOWN_RANGE, ORVLS_RANGE_METHOD_2, ORVLS_RANGE_METHOD_3, and ORVLS_BONFERRONI");
    read_range_options(options, s, methods);
    if (orvls_n1rty(0) > 0)
        return nullptr;
    check_range_arguments(n_groups, df, std_error, s.alpha);
    methods.report();
    if (orvls_n1rty(0) > 0)
        return nullptr;
    const auto k = static_cast<std::size_t>(n_groups);
    WorkArray<Real> sorted(k);
    WorkArray<int64_t> owned;
    if (!sorted.ok() || (s.user_result == nullptr && !owned.reset(k - 1))) {
        orvls_e1sti(1, n_groups);
        orvls_e1stl(1, "n_groups");
        orvls_ermes(5, 201);
        return nullptr;
    }
    int64_t* result = s.user_result != nullptr ? s.user_result : owned.get();
    if (!l_s2kmc(s.method, n_groups, means, df, std_error, s.alpha, sorted.get(), result) ||
        is_fatal(orvls_n1rty(0)))
        return nullptr;
    return s.user_result != nullptr ? result : owned.release();
}

template <class Real>
int64_t* multiple_comparisons_entry(const char* name, int64_t n_groups, const Real* means, Real df, Real std_error,
                                    va_list ap)
{
    OptionReader options(ap, 4);
    return envelope<int64_t*>(name, nullptr,
                              [&] { return multiple_comparisons(n_groups, means, df, std_error, options); });
}

}  // namespace

template bool check_interval_confidence<float>(int64_t, float);
template bool check_interval_confidence<double>(int64_t, double);
template void l_s2ipm<float>(int64_t, int64_t, const float*, const float*, const float*, float, float, float, float*,
                             int64_t);
template void l_s2ipm<double>(int64_t, int64_t, const double*, const double*, const double*, double, double, double,
                              double*, int64_t);
template bool l_s2kmc<float>(int64_t, int64_t, const float*, float, float, float, float*, int64_t*);
template bool l_s2kmc<double>(int64_t, int64_t, const double*, double, double, double, double*, int64_t*);

}  // namespace orvls::anova

extern "C" {

ORVLS_API int64_t* orvls_f_multiple_comparisons(int64_t n_groups, const float* means, float df, float std_error, ...)
{
    // ISO C leaves va_start after a float parameter undefined and clang warns
    // of it; GCC and clang start the list from the prototype's register and
    // stack counts, so the warning is silenced here alone.
    va_list ap;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wvarargs"
    va_start(ap, std_error);
#pragma GCC diagnostic pop
    int64_t* result = orvls::anova::multiple_comparisons_entry("orvls_f_multiple_comparisons", n_groups, means, df,
                                                               std_error, ap);
    va_end(ap);
    return result;
}

ORVLS_API int64_t* orvls_d_multiple_comparisons(int64_t n_groups, const double* means, double df, double std_error,
                                                ...)
{
    va_list ap;
    va_start(ap, std_error);
    int64_t* result = orvls::anova::multiple_comparisons_entry("orvls_d_multiple_comparisons", n_groups, means, df,
                                                               std_error, ap);
    va_end(ap);
    return result;
}

}  // extern "C"
