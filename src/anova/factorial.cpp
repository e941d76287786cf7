// The analysis of variance of a complete factorial layout: the effects up to
// a model order, against the pure error within cells (the last subscript
// counts the replicates) or against the pooled interactions above the order.
#include <bit>
#include <cmath>
#include <cstdarg>

#include "anova/components.h"
#include "anova/crossed.h"
#include "anova/missing.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "kernels/accurate_sum.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/outputs.h"

namespace orvls::anova {

namespace {

using kernels::accurate_mean;
using kernels::AccurateSum;
using regression::is_fatal;
using regression::Output;
using regression::ratio;
using regression::read_output;
using regression::upper_f_probability;

// Columns of a row of the effects output.
constexpr int64_t kEffectColumns = 5;

template <class Real>
struct FactorialSettings {
    Output<Real> table, effects, means;
    int64_t order = 0;  // 0 until given
    bool order_given = false;
    bool pool = false;
};

template <class Real>
void read_factorial_options(OptionReader& options, FactorialSettings<Real>& settings, ExclusiveOptions& error_choice)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_ANOVA_TABLE: read_output(options, settings.table, true, "anova_table", "ORVLS_ANOVA_TABLE"); break;
        case ORVLS_ANOVA_TABLE_USER:
            read_output(options, settings.table, false, "anova_table", "ORVLS_ANOVA_TABLE_USER");
            break;
        case ORVLS_FACTORIAL_OUTPUT_A:
            read_output(options, settings.effects, true, "factorial_output_a", "ORVLS_FACTORIAL_OUTPUT_A");
            break;
        case ORVLS_FACTORIAL_OUTPUT_A_USER:
            read_output(options, settings.effects, false, "factorial_output_a", "ORVLS_FACTORIAL_OUTPUT_A_USER");
            break;
        case ORVLS_FACTORIAL_OUTPUT_B:
            read_output(options, settings.means, true, "factorial_output_b", "ORVLS_FACTORIAL_OUTPUT_B");
            break;
        case ORVLS_FACTORIAL_OUTPUT_B_USER:
            read_output(options, settings.means, false, "factorial_output_b", "ORVLS_FACTORIAL_OUTPUT_B_USER");
            break;
        case ORVLS_MODEL_ORDER:
            settings.order = options.integer();
            settings.order_given = true;
            break;
        case ORVLS_PURE_ERROR:
            error_choice.seen();
            settings.pool = false;
            break;
        case ORVLS_POOL_INTERACTIONS:
            error_choice.seen();
            settings.pool = true;
            break;
        default: options.unknown(code);
        }
    }
}

// The effects of orders 1 to `order` among the first n_factors subscripts:
// main effects, then two-factor interactions, ..., each order in
// lexicographic order of its factors.  Returns their number.
int64_t binomial_order(int64_t n_factors, int64_t order, Mask* masks)
{
    int64_t count = 0;
    for (int64_t size = 1; size <= order; ++size) {
        int64_t pick[kMaxSubscripts];
        for (int64_t k = 0; k < size; ++k)
            pick[k] = k;
        while (true) {
            Mask m = 0;
            for (int64_t k = 0; k < size; ++k)
                m |= Mask(1) << pick[k];
            masks[count++] = m;
            int64_t k = size - 1;
            while (k >= 0 && pick[k] == n_factors - size + k)
                --k;
            if (k < 0)
                break;
            ++pick[k];
            for (int64_t j = k + 1; j < size; ++j)
                pick[j] = pick[j - 1] + 1;
        }
    }
    return count;
}

// The sum of squares within cells, one cell (a run of `replicates`
// responses) at a time, about the cell's mean, on y less `shift`.
template <class Real>
Real within_cells(int64_t n_obs, int64_t replicates, const Real* y, Real shift)
{
    AccurateSum<Real> sum;
    for (int64_t start = 0; start < n_obs; start += replicates) {
        AccurateSum<Real> cell;
        for (int64_t i = start; i < start + replicates; ++i)
            cell.add(y[i] - shift);
        const Real mean = cell.value() / Real(replicates);
        for (int64_t i = start; i < start + replicates; ++i) {
            const Real deviation = y[i] - shift - mean;
            sum.add(deviation * deviation);
        }
    }
    return sum.value();
}

// The work of one analysis.  `order` is the model order, negated when the
// interactions above it are pooled for the error.
template <class Real>
Real orvls_a2way(int64_t n_subscripts, const int64_t* n_levels, const Real* y, int64_t order,
                 FactorialSettings<Real>& settings)
{
    const Real nan = missing_value<Real>();
    const bool pool = order < 0;
    order = pool ? -order : order;
    const int64_t n_factors = pool ? n_subscripts : n_subscripts - 1;
    int64_t n_obs = 1;
    for (int64_t d = 0; d < n_subscripts; ++d)
        n_obs *= n_levels[d];
    const Mask factors = (Mask(1) << n_factors) - 1;
    auto in_model = [&](Mask m) {
        return pool ? std::popcount(m) <= order : (m & ~factors) == 0;
    };

    // The responses are copied only when missing ones are to be filled in.
    bool complete = true;
    for (int64_t i = 0; i < n_obs && complete; ++i)
        complete = !std::isnan(y[i]);
    WorkArray<Real> filled(complete ? 0 : n_obs);
    WorkArray<Mask> effects(Mask(1) << n_factors);
    CrossedLayout<Real> layout;
    if (!filled.ok() || !effects.ok()) {
        refuse_memory(n_obs);
        return nan;
    }
    int64_t n_missing = 0;
    if (!complete) {
        for (int64_t i = 0; i < n_obs; ++i)
            filled[i] = y[i];
        switch (estimate_missing(n_subscripts, n_levels, filled.get(), in_model, &n_missing)) {
        case MissingOutcome::estimated: break;
        case MissingOutcome::too_many: orvls_ermes(5, 65203); return nan;
        case MissingOutcome::out_of_memory: refuse_memory(n_obs); return nan;
        }
    }
    const Real* data = complete ? y : filled.get();
    if (!layout.analyse(n_subscripts, n_levels, data)) {
        refuse_memory(n_obs);
        return nan;
    }

    const int64_t n_effects = binomial_order(n_factors, order, effects.get());
    Real model_df = 0, model_ss = 0, error_df = 0, error_ss = 0;
    for (int64_t k = 0; k < n_effects; ++k) {
        model_df += layout.effect_df(effects[k]);
        model_ss += layout.effect_ss(effects[k]);
    }
    if (pool) {
        layout.pool([&](Mask m) { return std::popcount(m) > order; }, error_df, error_ss);
    } else {
        const int64_t replicates = n_levels[n_subscripts - 1];
        error_df = Real(n_obs - n_obs / replicates);
        error_ss = within_cells(n_obs, replicates, data, accurate_mean(n_obs, data));
    }
    error_df -= Real(n_missing);

    const int64_t means_count = means_length(layout, n_effects, effects.get());
    if (!settings.table.allocate_for(regression::kAnovaValues) ||
        !settings.effects.allocate_for(n_effects * kEffectColumns) || !settings.means.allocate_for(means_count)) {
        refuse_memory(n_obs);
        return nan;
    }
    Real table[regression::kAnovaValues];
    regression::orvls_g1aov(model_df, model_ss, error_df, error_ss, layout.grand_mean(), table);
    if (settings.table.wanted())
        for (int64_t k = 0; k < regression::kAnovaValues; ++k)
            settings.table.data()[k] = table[k];
    if (settings.effects.wanted())
        for (int64_t k = 0; k < n_effects; ++k) {
            Real* row = settings.effects.data() + k * kEffectColumns;
            row[0] = layout.effect_df(effects[k]);
            row[1] = layout.effect_ss(effects[k]);
            row[2] = ratio(row[1], row[0]);
            row[3] = ratio(row[2], table[regression::kErrorMs]);
            row[4] = upper_f_probability(row[3], row[0], error_df);
        }
    if (settings.means.wanted())
        write_means(layout, n_effects, effects.get(), settings.means.data());
    if (is_fatal(orvls_n1rty(0)))
        return nan;
    settings.table.hand_over();
    settings.effects.hand_over();
    settings.means.hand_over();
    return table[regression::kProbF];
}

template <class Real>
Real anova_factorial(int64_t n_subscripts, const int64_t* n_levels, const Real* y, OptionReader& options)
{
    const Real nan = missing_value<Real>();
    FactorialSettings<Real> settings;
    ExclusiveOptions error_choice("ORVLS_PURE_ERROR, ORVLS_POOL_INTERACTIONS");
    read_factorial_options(options, settings, error_choice);
    if (orvls_n1rty(0) > 0 || error_choice.report())
        return nan;
    if (!subscripts_valid(n_subscripts, "n_subscripts", 2) || !levels_valid(n_subscripts, n_levels, !settings.pool))
        return nan;
    const int64_t order = settings.order_given ? settings.order : n_subscripts - 1;
    if (order < 1 || order > n_subscripts - 1) {
        orvls_e1sti(1, order);
        orvls_e1sti(2, n_subscripts - 1);
        orvls_ermes(5, 20302);
        return nan;
    }
    if (!layout_size_valid(n_subscripts, n_levels))
        return nan;
    const Real p = orvls_a2way(n_subscripts, n_levels, y, settings.pool ? -order : order, settings);
    return is_fatal(orvls_n1rty(0)) ? nan : p;
}

template <class Real>
Real factorial_entry(const char* name, int64_t n_subscripts, const int64_t* n_levels, const Real* y, va_list ap)
{
    OptionReader options(ap, 3);
    return envelope<Real>(name, missing_value<Real>(),
                          [&] { return anova_factorial(n_subscripts, n_levels, y, options); });
}

}  // namespace

}  // namespace orvls::anova

extern "C" {

ORVLS_API float orvls_f_anova_factorial(int64_t n_subscripts, const int64_t* n_levels, const float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    const float p = orvls::anova::factorial_entry("orvls_f_anova_factorial", n_subscripts, n_levels, y, ap);
    va_end(ap);
    return p;
}

ORVLS_API double orvls_d_anova_factorial(int64_t n_subscripts, const int64_t* n_levels, const double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    const double p = orvls::anova::factorial_entry("orvls_d_anova_factorial", n_subscripts, n_levels, y, ap);
    va_end(ap);
    return p;
}

}  // extern "C"
