// Factorial treatments in a completely randomised or a randomised complete
// block layout, each possibly repeated at several locations, and Yates'
// estimates of the missing plots of a block layout.  Both layouts are
// complete crossings of their subscripts: location, then the block, then
// the factors, then the replicate.
#include <bit>
#include <cstdarg>
#include <cstdio>

#include "anova/crossed.h"
#include "anova/design.h"
#include "anova/field_factorial.h"
#include "anova/missing.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls::anova {

void FactorialLayout::add(Mask& role, int64_t count)
{
    role |= Mask(1) << n_subscripts;
    levels[n_subscripts++] = count;
}

FactorialLayout FactorialLayout::completely_randomised(int64_t n_replicates, int64_t n_locations, int64_t n_factors,
                                                       const int64_t* n_levels)
{
    FactorialLayout layout;
    layout.add(layout.location, n_locations);
    for (int64_t f = 0; f < n_factors; ++f)
        layout.add(layout.factors, n_levels[f]);
    layout.add(layout.replicate, n_replicates);
    return layout;
}

FactorialLayout FactorialLayout::complete_blocks(int64_t n_blocks, int64_t n_locations, int64_t n_factors,
                                                 const int64_t* n_levels)
{
    FactorialLayout layout;
    layout.add(layout.location, n_locations);
    layout.add(layout.block, n_blocks);
    for (int64_t f = 0; f < n_factors; ++f)
        layout.add(layout.factors, n_levels[f]);
    return layout;
}

int64_t FactorialLayout::plots() const
{
    int64_t n = 1;
    for (int64_t d = 0; d < n_subscripts; ++d)
        n *= levels[d];
    return n;
}

namespace {

int64_t factor_count(const FactorialLayout& layout)
{
    return std::popcount(layout.factors);
}

// The factor effects in the order of the table: main effects, then the
// interactions of two factors, and so on, each order in lexicographic order
// of its factors.  `visit(mask)` sees the effect's subscripts.
template <class Visit>
void for_each_factor_effect(const FactorialLayout& layout, Visit visit)
{
    const int64_t n = factor_count(layout);
    const int first = std::countr_zero(layout.factors);
    // Factor f is bit n - 1 - f of v, so that descending v runs through
    // each order lexicographically.
    for (int order = 1; order <= n; ++order)
        for (Mask v = (Mask(1) << n) - 1; v > 0; --v) {
            if (std::popcount(v) != order)
                continue;
            Mask mask = 0;
            for (int f = 0; f < n; ++f)
                if (v & (Mask(1) << (n - 1 - f)))
                    mask |= Mask(1) << (first + f);
            visit(mask);
        }
}

void label_effect(const FactorialLayout& layout, Mask mask, char* label)
{
    const int first = std::countr_zero(layout.factors);
    int length = 0;
    for (int d = first; d < first + factor_count(layout); ++d)
        if (mask & (Mask(1) << d))
            length +=
                std::snprintf(label + length, kLabelLength - length, length == 0 ? "[%d]" : "x[%d]", d - first + 1);
}

// A source that pools the effects of the masks m with pooled(m) true.
template <class Real>
void pool_into(const CrossedLayout<Real>& analysis, Source<Real>& source, const char* label, auto pooled,
               int64_t tested_by)
{
    Real df, ss;
    analysis.pool(pooled, df, ss);
    set_source(source, label, df, ss, tested_by);
}

// The rows of the table from the analysis of the completed data.
template <class Real>
void form_sources(const FactorialLayout& layout, const CrossedLayout<Real>& analysis, int64_t n_missing,
                  bool locations_random, Source<Real>* sources)
{
    const bool several = layout.levels[0] > 1;
    const bool blocks = layout.block != 0;
    const int64_t first_effect = int64_t(several) + int64_t(blocks);
    const int64_t error = first_effect + (int64_t(1) << factor_count(layout)) - 1;
    const int64_t residual = several ? error + 1 : kNoTest;
    const int64_t treatment_test = several && locations_random ? residual : error;

    int64_t row = 0;
    if (several) {
        // Locations are judged against the blocks within them, where there are blocks.
        pool_into(
            analysis, sources[row], "Location", [&](Mask m) { return m == layout.location; }, blocks ? row + 1 : error);
        ++row;
    }
    if (blocks)
        pool_into(
            analysis, sources[row++], several ? "Blocks(Loc.)" : "Blocks",
            [&](Mask m) { return (m & layout.block) && !(m & layout.factors); }, error);
    for_each_factor_effect(layout, [&](Mask mask) {
        label_effect(layout, mask, sources[row].label);
        sources[row].df = analysis.effect_df(mask);
        sources[row].ss = analysis.effect_ss(mask);
        sources[row++].tested_by = treatment_test;
    });
    pool_into(
        analysis, sources[row], "Error", [&](Mask m) { return !layout.in_model(m); }, kNoTest);
    sources[row++].df -= Real(n_missing);
    if (several)
        pool_into(
            analysis, sources[row++], "Residual",
            [&](Mask m) { return (m & layout.location) && (m & layout.factors) && layout.in_model(m); }, error);
    set_source(sources[row], "Total", Real(analysis.observations() - 1 - n_missing), analysis.total_ss(), kNoTest);
}

struct FactorialCounts {
    const char* first_name;  // "n_replicates" or "n_blocks"
    int64_t first;
    int64_t n_locations;
    int64_t n_factors;
    const int64_t* n_levels;
};

bool check_factorial_counts(const FactorialCounts& counts)
{
    if (!check_design_counts(counts.first, counts.n_locations, counts.n_factors))
        return false;
    int64_t checks = 0;
    if (!orvls_check_at_most(counts.n_factors, "n_factors", kMostFactors, "the most factors", &checks))
        return false;
    for (int64_t f = 0; f < counts.n_factors; ++f)
        orvls_check_range(counts.n_levels[f], "n_levels", 2, -1, &checks);
    return orvls_n1rty(0) == 0;
}

template <class Real>
Real* factorial_design(const FactorialCounts& counts, bool blocks, const Real* y, OptionReader& options)
{
    DesignOptions<Real> settings;
    read_design_options(options, settings);
    if (orvls_n1rty(0) > 0 || !check_factorial_counts(counts))
        return nullptr;

    const FactorialLayout layout =
        blocks ? FactorialLayout::complete_blocks(counts.first, counts.n_locations, counts.n_factors, counts.n_levels)
               : FactorialLayout::completely_randomised(counts.first, counts.n_locations, counts.n_factors,
                                                        counts.n_levels);
    const int64_t n_rows =
        2 * int64_t(counts.n_locations > 1) + int64_t(blocks) + (int64_t(1) << counts.n_factors) - 1 + 2;
    WorkArray<Real> data;
    WorkArray<Source<Real>> sources(n_rows);
    CrossedLayout<Real> analysis;
    int64_t n_missing = 0;
    if (!sources.ok()) {
        refuse_allocation(counts.first_name, counts.first);
        return nullptr;
    }
    if (!complete_factorial_data(layout, y, data, 65203, counts.first_name, counts.first, &n_missing))
        return nullptr;
    if (!analysis.analyse(layout.n_subscripts, layout.levels, data.get())) {
        refuse_allocation(counts.first_name, counts.first);
        return nullptr;
    }
    form_sources(layout, analysis, n_missing, settings.locations_random, sources.get());
    return finish_table(sources.get(), n_rows, settings, counts.first_name, counts.first);
}

template <class Real>
Real* factorial_entry(const char* name, const FactorialCounts& counts, bool blocks, const Real* y, va_list ap)
{
    OptionReader options(ap, 5);
    return envelope<Real*>(name, nullptr, [&] { return factorial_design(counts, blocks, y, options); });
}

}  // namespace

template <class Real>
bool complete_factorial_data(const FactorialLayout& layout, const Real* y, WorkArray<Real>& data, int64_t too_many_code,
                             const char* count_name, int64_t count, int64_t* n_missing)
{
    const int64_t n = layout.plots();
    if (!data.reset(n)) {
        refuse_allocation(count_name, count);
        return false;
    }
    for (int64_t i = 0; i < n; ++i)
        data[i] = y[i];
    const MissingOutcome outcome = estimate_missing(
        layout.n_subscripts, layout.levels, data.get(), [&](Mask m) { return layout.in_model(m); }, n_missing);
    return missing_estimated(outcome, too_many_code, count_name, count);
}

template bool complete_factorial_data<float>(const FactorialLayout&, const float*, WorkArray<float>&, int64_t,
                                             const char*, int64_t, int64_t*);
template bool complete_factorial_data<double>(const FactorialLayout&, const double*, WorkArray<double>&, int64_t,
                                              const char*, int64_t, int64_t*);

}  // namespace orvls::anova

extern "C" {

ORVLS_API float* orvls_f_crd_factorial(int64_t n_replicates, int64_t n_locations, int64_t n_factors,
                                       const int64_t* n_levels, const float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    float* table = orvls::anova::factorial_entry(
        "orvls_f_crd_factorial", {"n_replicates", n_replicates, n_locations, n_factors, n_levels}, false, y, ap);
    va_end(ap);
    return table;
}

ORVLS_API double* orvls_d_crd_factorial(int64_t n_replicates, int64_t n_locations, int64_t n_factors,
                                        const int64_t* n_levels, const double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    double* table = orvls::anova::factorial_entry(
        "orvls_d_crd_factorial", {"n_replicates", n_replicates, n_locations, n_factors, n_levels}, false, y, ap);
    va_end(ap);
    return table;
}

ORVLS_API float* orvls_f_rcbd_factorial(int64_t n_blocks, int64_t n_locations, int64_t n_factors,
                                        const int64_t* n_levels, const float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    float* table = orvls::anova::factorial_entry("orvls_f_rcbd_factorial",
                                                 {"n_blocks", n_blocks, n_locations, n_factors, n_levels}, true, y, ap);
    va_end(ap);
    return table;
}

ORVLS_API double* orvls_d_rcbd_factorial(int64_t n_blocks, int64_t n_locations, int64_t n_factors,
                                         const int64_t* n_levels, const double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    double* table = orvls::anova::factorial_entry(
        "orvls_d_rcbd_factorial", {"n_blocks", n_blocks, n_locations, n_factors, n_levels}, true, y, ap);
    va_end(ap);
    return table;
}

}  // extern "C"
