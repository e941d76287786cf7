#include "anova/components.h"

#include <cmath>
#include <limits>

#include "frame/checks.h"
#include "frame/memory.h"
#include "orvls.h"
#include "regression/inference.h"
#include "special/distributions.h"

namespace orvls::anova {

using regression::upper_f_probability;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Entries below this share of their row's largest are rounding noise of a
// coefficient that is 0 (the coefficients are ratios of counts).
constexpr double kNoise = 1e-10;

// Limits need at least this many degrees of freedom: below it they carry no
// information, and the chi-squared quantiles are not formed reliably.
constexpr double kLeastLimitDf = 0.5;

void clear_noise(int64_t n, double* row)
{
    double largest = 0;
    for (int64_t j = 0; j < n; ++j)
        largest = std::fmax(largest, std::fabs(row[j]));
    for (int64_t j = 0; j < n; ++j)
        if (std::fabs(row[j]) <= kNoise * largest)
            row[j] = 0;
        else if (std::fabs(row[j] - std::nearbyint(row[j])) <= kNoise * std::fabs(row[j]))
            row[j] = std::nearbyint(row[j]);
}

// The inverse of the n x n matrix a (by rows) into inverse, by Gauss-Jordan
// elimination with partial pivoting; a is overwritten.  The expected mean
// squares of a valid model are never singular: each source has its own term.
void invert(int64_t n, double* a, double* inverse)
{
    for (int64_t i = 0; i < n; ++i)
        for (int64_t j = 0; j < n; ++j)
            inverse[i * n + j] = i == j ? 1 : 0;
    for (int64_t k = 0; k < n; ++k) {
        int64_t pivot = k;
        for (int64_t i = k + 1; i < n; ++i)
            if (std::fabs(a[i * n + k]) > std::fabs(a[pivot * n + k]))
                pivot = i;
        for (int64_t j = 0; j < n; ++j) {
            std::swap(a[k * n + j], a[pivot * n + j]);
            std::swap(inverse[k * n + j], inverse[pivot * n + j]);
        }
        const double scale = a[k * n + k];
        for (int64_t j = 0; j < n; ++j) {
            a[k * n + j] /= scale;
            inverse[k * n + j] /= scale;
        }
        for (int64_t i = 0; i < n; ++i) {
            const double factor = a[i * n + k];
            if (i == k || factor == 0)
                continue;
            for (int64_t j = 0; j < n; ++j) {
                a[i * n + j] -= factor * a[k * n + j];
                inverse[i * n + j] -= factor * inverse[k * n + j];
            }
        }
    }
    for (int64_t i = 0; i < n; ++i)
        clear_noise(n, inverse + i * n);
}

// A combination of mean squares: its value and Satterthwaite's degrees of
// freedom; terms with a zero weight are left out, so that an undefined mean
// square the combination does not use does no harm.
struct Combination {
    double value = 0;
    double df = kNaN;
};

Combination combine(int64_t n, const double* weights, const double* ms, const double* df)
{
    Combination c;
    double spread = 0;
    for (int64_t t = 0; t < n; ++t)
        if (weights[t] != 0) {
            const double term = weights[t] * ms[t];
            c.value += term;
            spread += term * term / df[t];
        }
    c.df = c.value * c.value / spread;
    return c;
}

bool same_row(int64_t n, const double* a, const double* b)
{
    for (int64_t j = 0; j < n; ++j)
        if (std::fabs(a[j] - b[j]) > kNoise * std::fmax(std::fabs(a[j]), std::fabs(b[j])))
            return false;
    return true;
}

// The denominator of the F test of source i: the expected mean square of i
// without its own term, met by one mean square when one has it, else by the
// combination weights = target' E^-1.
Combination denominator(int64_t n, int64_t i, const double* ems, const double* inverse, const double* ms,
                        const double* df, double* target, double* weights)
{
    for (int64_t j = 0; j < n; ++j)
        target[j] = j == i ? 0 : ems[i * n + j];
    for (int64_t t = 0; t < n; ++t)
        weights[t] = 0;
    int64_t single = -1;
    for (int64_t t = 0; t < n && single < 0; ++t)
        if (t != i && same_row(n, ems + t * n, target))
            single = t;
    if (single >= 0) {
        weights[single] = 1;
    } else {
        for (int64_t j = 0; j < n; ++j)
            for (int64_t t = 0; t < n; ++t)
                weights[t] += target[j] * inverse[j * n + t];
        clear_noise(n, weights);
    }
    return combine(n, weights, ms, df);
}

// The chi-squared quantile through the gamma inverse, which takes the small
// and fractional degrees of freedom Satterthwaite's rule can give.
template <class Real>
double chi_squared_quantile(double p, double df)
{
    return 2 * double(gamin(Real(p), Real(df / 2)));
}

}  // namespace

template <class Real>
bool l_a2est(const SourceModel<Real>& model, Real confidence, Real* rows)
{
    const int64_t n = model.n;
    WorkArray<double> e(n * n), inverse(n * n), ms(n), df(n), estimate(n), scratch(2 * n);
    if (!e.ok() || !inverse.ok() || !ms.ok() || !df.ok() || !estimate.ok() || !scratch.ok())
        return false;
    for (int64_t i = 0; i < n * n; ++i)
        e[i] = model.ems[i];
    invert(n, e.get(), inverse.get());
    for (int64_t i = 0; i < n; ++i) {
        df[i] = double(model.df[i]);
        ms[i] = df[i] > 0 ? double(model.ss[i]) / df[i] : kNaN;
    }
    double random_total = 0;
    for (int64_t j = 0; j < n; ++j) {
        estimate[j] = combine(n, inverse.get() + j * n, ms.get(), df.get()).value;
        if (model.random[j] && estimate[j] > 0)
            random_total += estimate[j];
    }
    const double level = double(confidence) / 100;
    for (int64_t i = 0; i < n; ++i) {
        Real* row = rows + i * kComponentColumns;
        row[kComponentDf] = model.df[i];
        row[kComponentSs] = model.ss[i];
        row[kComponentMs] = Real(ms[i]);
        for (int64_t c = kComponentF; c < kComponentColumns; ++c)
            row[c] = Real(kNaN);
        if (i < n - 1) {
            const Combination d = denominator(n, i, model.ems, inverse.get(), ms.get(), df.get(), scratch.get(),
                                              scratch.get() + n);
            if (d.value > 0 && d.df > 0) {
                row[kComponentF] = Real(ms[i] / d.value);
                row[kComponentP] = upper_f_probability(row[kComponentF], model.df[i], Real(d.df));
                row[kComponentDenominatorDf] = Real(d.df);
            }
        }
        if (!model.random[i])
            continue;
        const Combination c = combine(n, inverse.get() + i * n, ms.get(), df.get());
        row[kComponentEstimate] = Real(c.value);
        if (random_total > 0)
            row[kComponentPercent] = Real(100 * std::fmax(c.value, 0.0) / random_total);
        if (c.value > 0 && c.df >= kLeastLimitDf) {
            row[kComponentLower] = Real(c.df * c.value / chi_squared_quantile<Real>((1 + level) / 2, c.df));
            row[kComponentUpper] = Real(c.df * c.value / chi_squared_quantile<Real>((1 - level) / 2, c.df));
        }
    }
    return true;
}

template <class Real>
bool orvls_a2mme(const CrossedLayout<Real>& layout, int64_t n_effects, const Mask* effects, const int64_t* source_of,
                 Mask random_factors, bool restricted, double* ems)
{
    const int64_t n = n_effects + 1;
    const double n_obs = double(layout.observations());
    for (int64_t i = 0; i < n * n; ++i)
        ems[i] = 0;
    // The factors every crossed effect of a source holds: its own factors,
    // as against those it is nested in.
    WorkArray<double> source_df(n);
    WorkArray<Mask> own(n);
    if (!source_df.ok() || !own.ok())
        return false;
    for (int64_t s = 0; s < n; ++s) {
        source_df[s] = 0;
        own[s] = s < n_effects ? effects[s] : 0;
    }
    for (Mask m = 1; m <= layout.full(); ++m) {
        source_df[source_of[m]] += double(layout.effect_df(m));
        own[source_of[m]] &= m;
    }
    for (int64_t s = 0; s < n; ++s) {
        ems[s * n + n_effects] = 1;
        if (s < n_effects && (effects[s] & random_factors) == 0)
            ems[s * n + s] = n_obs / double(layout.cells(effects[s]));
    }
    for (int64_t e = 0; e < n_effects; ++e) {
        if ((effects[e] & random_factors) == 0)
            continue;
        const Mask summed_to_zero = restricted ? own[e] & ~random_factors : 0;
        const double weight = n_obs / double(layout.cells(effects[e]));
        for (Mask m = 1; m <= layout.full(); ++m)
            if ((m & ~effects[e]) == 0 && (summed_to_zero & ~m) == 0)
                ems[source_of[m] * n + e] += weight * double(layout.effect_df(m)) / source_df[source_of[m]];
    }
    return true;
}

template <class Real>
int64_t means_length(const CrossedLayout<Real>& layout, int64_t n_masks, const Mask* masks)
{
    int64_t count = 1;
    for (int64_t k = 0; k < n_masks; ++k)
        count += layout.cells(masks[k]);
    return count;
}

template <class Real>
void write_means(const CrossedLayout<Real>& layout, int64_t n_masks, const Mask* masks, Real* out)
{
    *out++ = layout.grand_mean();
    for (int64_t k = 0; k < n_masks; ++k)
        for (int64_t c = 0; c < layout.cells(masks[k]); ++c)
            *out++ = layout.mean(masks[k], c);
}

template <class Real>
void read_random_model_options(OptionReader& options, RandomModelOptions<Real>& settings, bool with_model_choice)
{
    using regression::read_output;
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_ANOVA_TABLE: read_output(options, settings.table, true, "anova_table", "ORVLS_ANOVA_TABLE"); break;
        case ORVLS_ANOVA_TABLE_USER:
            read_output(options, settings.table, false, "anova_table", "ORVLS_ANOVA_TABLE_USER");
            break;
        case ORVLS_CONFIDENCE: settings.confidence = static_cast<Real>(options.real()); break;
        case ORVLS_CONFIDENCE_ADR: settings.confidence = options.real_address<Real>(); break;
        case ORVLS_EMS: read_output(options, settings.ems, true, "ems", "ORVLS_EMS"); break;
        case ORVLS_EMS_USER: read_output(options, settings.ems, false, "ems", "ORVLS_EMS_USER"); break;
        case ORVLS_NESTED_OPTION: settings.nested_option = options.integer(); break;
        case ORVLS_VARIANCE_COMPONENTS:
            read_output(options, settings.components, true, "variance_components", "ORVLS_VARIANCE_COMPONENTS");
            break;
        case ORVLS_VARIANCE_COMPONENTS_USER:
            read_output(options, settings.components, false, "variance_components",
                        "ORVLS_VARIANCE_COMPONENTS_USER");
            break;
        case ORVLS_Y_MEANS: read_output(options, settings.means, true, "y_means", "ORVLS_Y_MEANS"); break;
        case ORVLS_Y_MEANS_USER: read_output(options, settings.means, false, "y_means", "ORVLS_Y_MEANS_USER"); break;
        default:
            if (with_model_choice && code == ORVLS_RESTRICTED_MODEL)
                settings.restricted = options.integer() != 0;
            else
                options.unknown(code);
        }
    }
}

bool subscripts_valid(int64_t n_subscripts, const char* name, int64_t least)
{
    int64_t checks = 0;
    if (!orvls_check_range(n_subscripts, name, least, least - 1, &checks))
        return false;
    if (n_subscripts <= kMaxSubscripts)
        return true;
    orvls_e1sti(1, n_subscripts);
    orvls_e1sti(2, kMaxSubscripts);
    orvls_e1stl(1, name);
    orvls_ermes(5, 603);
    return false;
}

bool levels_valid(int64_t n_subscripts, const int64_t* n_levels, bool last_replicates)
{
    for (int64_t d = 0; d < n_subscripts; ++d) {
        const bool replicates = last_replicates && d == n_subscripts - 1;
        if (n_levels[d] >= (replicates ? 1 : 2))
            continue;
        orvls_e1sti(1, d + 1);
        orvls_e1sti(2, n_levels[d]);
        orvls_ermes(5, replicates ? 11129 : 11128);
        return false;
    }
    return true;
}

bool layout_size_valid(int64_t n_subscripts, const int64_t* n_levels)
{
    constexpr double most_values = double(int64_t(1) << 32);
    double values = 1;
    for (int64_t d = 0; d < n_subscripts; ++d)
        values *= double(n_levels[d] + 1);
    if (values <= most_values)
        return true;
    refuse_memory(values > double(INT64_MAX) ? INT64_MAX : int64_t(values));
    return false;
}

template <class Real>
bool responses_present(int64_t n_obs, const Real* y)
{
    for (int64_t i = 0; i < n_obs; ++i)
        if (std::isnan(y[i])) {
            orvls_e1sti(1, i);
            orvls_ermes(5, 20309);
            return false;
        }
    return true;
}

void refuse_memory(int64_t n_observations)
{
    orvls_e1sti(1, n_observations);
    orvls_e1stl(1, "n_observations");
    orvls_ermes(5, 201);
}

template <class Real>
Real deliver_random_model(const SourceModel<Real>& model, Real grand_mean, const Real* means, int64_t means_count,
                          RandomModelOptions<Real>& settings, int64_t n_observations)
{
    const int64_t n = model.n;
    WorkArray<Real> rows(n * kComponentColumns);
    if (!rows.ok() || !settings.table.allocate_for(regression::kAnovaValues) || !settings.ems.allocate_for(n * n) ||
        !settings.components.allocate_for(n * kComponentColumns) || !settings.means.allocate_for(means_count) ||
        !l_a2est(model, settings.confidence, rows.get())) {
        refuse_memory(n_observations);
        return Real(kNaN);
    }
    if (regression::is_fatal(orvls_n1rty(0)))
        return Real(kNaN);
    Real model_df = 0, model_ss = 0;
    for (int64_t i = 0; i < n - 1; ++i) {
        model_df += model.df[i];
        model_ss += model.ss[i];
    }
    Real table[regression::kAnovaValues];
    regression::orvls_g1aov(model_df, model_ss, model.df[n - 1], model.ss[n - 1], grand_mean, table);
    auto copy = [](regression::Output<Real>& output, int64_t count, auto value) {
        if (output.wanted())
            for (int64_t k = 0; k < count; ++k)
                output.data()[k] = Real(value(k));
        output.hand_over();
    };
    copy(settings.table, regression::kAnovaValues, [&](int64_t k) { return table[k]; });
    copy(settings.ems, n * n, [&](int64_t k) { return model.ems[k]; });
    copy(settings.components, n * kComponentColumns, [&](int64_t k) { return rows[k]; });
    copy(settings.means, means_count, [&](int64_t k) { return means[k]; });
    return table[regression::kProbF];
}

template bool responses_present<float>(int64_t, const float*);
template bool responses_present<double>(int64_t, const double*);
template bool l_a2est<float>(const SourceModel<float>&, float, float*);
template bool l_a2est<double>(const SourceModel<double>&, double, double*);
template bool orvls_a2mme<float>(const CrossedLayout<float>&, int64_t, const Mask*, const int64_t*, Mask, bool,
                                 double*);
template bool orvls_a2mme<double>(const CrossedLayout<double>&, int64_t, const Mask*, const int64_t*, Mask, bool,
                                  double*);
template int64_t means_length<float>(const CrossedLayout<float>&, int64_t, const Mask*);
template int64_t means_length<double>(const CrossedLayout<double>&, int64_t, const Mask*);
template void write_means<float>(const CrossedLayout<float>&, int64_t, const Mask*, float*);
template void write_means<double>(const CrossedLayout<double>&, int64_t, const Mask*, double*);
template void read_random_model_options<float>(OptionReader&, RandomModelOptions<float>&, bool);
template void read_random_model_options<double>(OptionReader&, RandomModelOptions<double>&, bool);
template float deliver_random_model<float>(const SourceModel<float>&, float, const float*, int64_t,
                                           RandomModelOptions<float>&, int64_t);
template double deliver_random_model<double>(const SourceModel<double>&, double, const double*, int64_t,
                                             RandomModelOptions<double>&, int64_t);

}  // namespace orvls::anova
