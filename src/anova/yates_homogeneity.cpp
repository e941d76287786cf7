// Two services of the field designs: Yates' estimates of the missing plots
// of randomised complete blocks at one or more locations, and Bartlett's
// test that the error variances of several locations are equal.
#include <cmath>
#include <cstdarg>
#include <limits>

#include "anova/design.h"
#include "anova/field_factorial.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"
#include "special/special.h"

namespace orvls::anova {

namespace {

template <class Real>
Real* yates(int64_t n_blocks, int64_t n_locations, int64_t n_treatments, const Real* y, OptionReader& options)
{
    Real* user = nullptr;
    int code;
    while (options.next(code)) {
        if (code == ORVLS_RETURN_USER)
            user = non_null_pointer<Real*>(options, "result", "ORVLS_RETURN_USER");
        else
            options.unknown(code);
    }
    if (orvls_n1rty(0) > 0 || !check_design_counts(n_blocks, n_locations, n_treatments))
        return nullptr;

    // The block layout with one factor, the treatments.
    const FactorialLayout layout = FactorialLayout::complete_blocks(n_blocks, n_locations, 1, &n_treatments);
    WorkArray<Real> data;
    int64_t n_missing = 0;
    if (!complete_factorial_data(layout, y, data, 65203, "n_blocks", n_blocks, &n_missing))
        return nullptr;
    if (user == nullptr)
        return data.release();
    for (int64_t i = 0; i < layout.plots(); ++i)
        user[i] = data[i];
    return user;
}

template <class Real>
Real* yates_entry(const char* name, int64_t n_blocks, int64_t n_locations, int64_t n_treatments, const Real* y,
                  va_list ap)
{
    OptionReader options(ap, 4);
    return envelope<Real*>(name, nullptr, [&] { return yates(n_blocks, n_locations, n_treatments, y, options); });
}

// Degrees of freedom above 0 and mean squares not below 0 (65205 with
// int 1 = the location, from 1).
template <class Real>
bool check_variances(int64_t n_locations, const Real* df, const Real* ms)
{
    for (int64_t i = 0; i < n_locations; ++i)
        if (!(df[i] > 0) || !(ms[i] >= 0)) {
            orvls_e1sti(1, i + 1);
            orvls_ermes(5, 65205);
            return false;
        }
    return true;
}

template <class Real>
Real homogeneity(int64_t n_locations, const Real* df, const Real* ms, OptionReader& options)
{
    const Real nan = std::numeric_limits<Real>::quiet_NaN();
    Real* statistic = nullptr;
    int code;
    while (options.next(code)) {
        if (code == ORVLS_HOMOGENEITY_STATISTIC)
            statistic = non_null_pointer<Real*>(options, "statistic", "ORVLS_HOMOGENEITY_STATISTIC");
        else
            options.unknown(code);
    }
    if (orvls_n1rty(0) > 0 || !check_design_counts(n_locations) || !check_variances(n_locations, df, ms))
        return nan;

    // In double whatever the precision: the statistic is a small difference
    // of logarithms.
    double total_df = 0, pooled = 0, log_sum = 0, reciprocal_sum = 0;
    for (int64_t i = 0; i < n_locations; ++i) {
        total_df += double(df[i]);
        pooled += double(df[i]) * double(ms[i]);
        log_sum += double(df[i]) * std::log(double(ms[i]));
        reciprocal_sum += 1 / double(df[i]);
    }
    pooled /= total_df;
    const double groups = double(n_locations - 1);
    const double correction = 1 + (reciprocal_sum - 1 / total_df) / (3 * groups);
    // A zero mean square beside positive ones makes the statistic infinite;
    // all of them zero leave it undefined.
    const double value = pooled > 0 ? (total_df * std::log(pooled) - log_sum) / correction : nan;
    if (statistic != nullptr)
        *statistic = Real(value);
    if (std::isnan(value))
        return nan;
    if (std::isinf(value))
        return 0;
    // The upper chi-squared tail through the regularised incomplete gamma
    // function, x^a gamma*(a, x) with Tricomi's form.
    const double a = groups / 2, x = value / 2;
    return Real(1 - std::pow(x, a) * l_gamit(a, x));
}

template <class Real>
Real homogeneity_entry(const char* name, int64_t n_locations, const Real* df, const Real* ms, va_list ap)
{
    OptionReader options(ap, 3);
    return envelope<Real>(name, std::numeric_limits<Real>::quiet_NaN(),
                          [&] { return homogeneity(n_locations, df, ms, options); });
}

}  // namespace

}  // namespace orvls::anova

extern "C" {

ORVLS_API float* orvls_f_yates(int64_t n_blocks, int64_t n_locations, int64_t n_treatments, const float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    float* result = orvls::anova::yates_entry("orvls_f_yates", n_blocks, n_locations, n_treatments, y, ap);
    va_end(ap);
    return result;
}

ORVLS_API double* orvls_d_yates(int64_t n_blocks, int64_t n_locations, int64_t n_treatments, const double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    double* result = orvls::anova::yates_entry("orvls_d_yates", n_blocks, n_locations, n_treatments, y, ap);
    va_end(ap);
    return result;
}

ORVLS_API float orvls_f_homogeneity(int64_t n_locations, const float* df, const float* ms, ...)
{
    va_list ap;
    va_start(ap, ms);
    const float p = orvls::anova::homogeneity_entry("orvls_f_homogeneity", n_locations, df, ms, ap);
    va_end(ap);
    return p;
}

ORVLS_API double orvls_d_homogeneity(int64_t n_locations, const double* df, const double* ms, ...)
{
    va_list ap;
    va_start(ap, ms);
    const double p = orvls::anova::homogeneity_entry("orvls_d_homogeneity", n_locations, df, ms, ap);
    va_end(ap);
    return p;
}

}  // extern "C"
