// The balanced analysis of variance of a complete crossed layout with a
// model of effects, some factors random.  An effect pools every crossed
// effect of its factors that no smaller model effect holds, so that B within
// A is the effect {A, B} of a model without B; what no model effect holds is
// the error.
#include <bit>
#include <cstdarg>

#include "anova/components.h"
#include "anova/crossed.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/outputs.h"

namespace orvls::anova {

namespace {

using regression::is_fatal;

// A factor number from 1 to n_factors (20305) that its list has not named
// already (20306); entry is the place in the list from 1.
bool factor_valid(int64_t factor, int64_t n_factors, Mask seen, int64_t entry, const char* list)
{
    if (factor < 1 || factor > n_factors) {
        orvls_e1sti(1, entry);
        orvls_e1sti(2, factor);
        orvls_e1sti(3, n_factors);
        orvls_e1stl(1, list);
        orvls_ermes(5, 20305);
        return false;
    }
    if (seen & (Mask(1) << (factor - 1))) {
        orvls_e1sti(1, entry);
        orvls_e1sti(2, factor);
        orvls_e1stl(1, list);
        orvls_ermes(5, 20306);
        return false;
    }
    return true;
}

bool read_random_factors(int64_t n_factors, int64_t n_random, const int64_t* index, Mask& random)
{
    int64_t checks = 0;
    if (!orvls_check_range(n_random, "n_random", 0, n_factors, &checks))
        return false;
    random = 0;
    for (int64_t k = 0; k < n_random; ++k) {
        if (!factor_valid(index[k], n_factors, random, k + 1, "index_random_factor"))
            return false;
        random |= Mask(1) << (index[k] - 1);
    }
    return true;
}

// The effects as masks, each new (20307, the two effects' numbers).
bool read_effects(int64_t n_factors, int64_t n_effects, const int64_t* sizes, const int64_t* index, Mask* effects)
{
    int64_t checks = 0;
    for (int64_t k = 0, at = 0; k < n_effects; ++k) {
        if (!orvls_check_range(sizes[k], "n_factors_per_effect", 1, n_factors, &checks))
            return false;
        effects[k] = 0;
        for (int64_t f = 0; f < sizes[k]; ++f, ++at) {
            if (!factor_valid(index[at], n_factors, effects[k], at + 1, "index_model_factors"))
                return false;
            effects[k] |= Mask(1) << (index[at] - 1);
        }
        for (int64_t j = 0; j < k; ++j)
            if (effects[j] == effects[k]) {
                orvls_e1sti(1, j + 1);
                orvls_e1sti(2, k + 1);
                orvls_ermes(5, 20307);
                return false;
            }
    }
    return true;
}

// Gives each crossed effect the smallest model effect that holds it (the
// error, n_effects, when none does).  Every other model effect that holds
// it must hold that one, else the model does not say where it belongs
// (20308, the two effects' numbers).
bool assign_sources(int64_t n_factors, int64_t n_effects, const Mask* effects, int64_t* source_of)
{
    const Mask full = (Mask(1) << n_factors) - 1;
    for (Mask m = 1; m <= full; ++m) {
        int64_t owner = n_effects;
        for (int64_t k = 0; k < n_effects; ++k)
            if ((m & ~effects[k]) == 0 &&
                (owner == n_effects || std::popcount(effects[k]) < std::popcount(effects[owner])))
                owner = k;
        for (int64_t k = 0; k < n_effects && owner < n_effects; ++k)
            if ((m & ~effects[k]) == 0 && (effects[owner] & ~effects[k]) != 0) {
                orvls_e1sti(1, std::min(owner, k) + 1);
                orvls_e1sti(2, std::max(owner, k) + 1);
                orvls_ermes(5, 20308);
                return false;
            }
        source_of[m] = owner;
    }
    return true;
}

template <class Real>
Real anova_balanced(int64_t n_factors, const int64_t* n_levels, const Real* y, int64_t n_random,
                    const int64_t* index_random_factor, int64_t n_effects, const int64_t* n_factors_per_effect,
                    const int64_t* index_model_factors, OptionReader& options)
{
    const Real nan = missing_value<Real>();
    RandomModelOptions<Real> settings;
    read_random_model_options(options, settings, true);
    if (orvls_n1rty(0) > 0)
        return nan;
    int64_t checks = 0;
    if (!subscripts_valid(n_factors, "n_factors", 1) || !levels_valid(n_factors, n_levels, false) ||
        !layout_size_valid(n_factors, n_levels) ||
        !orvls_check_range(n_effects, "n_model_effects", 1, 0, &checks) ||
        !regression::check_confidence(double(settings.confidence)))
        return nan;
    const int64_t masks = int64_t(1) << n_factors;
    int64_t n_obs = 1;
    for (int64_t d = 0; d < n_factors; ++d)
        n_obs *= n_levels[d];
    Mask random_factors = 0;
    WorkArray<Mask> effects(n_effects);
    WorkArray<int64_t> source_of(masks);
    if (!effects.ok() || !source_of.ok()) {
        refuse_memory(n_obs);
        return nan;
    }
    if (!read_random_factors(n_factors, n_random, index_random_factor, random_factors) ||
        !read_effects(n_factors, n_effects, n_factors_per_effect, index_model_factors, effects.get()) ||
        !assign_sources(n_factors, n_effects, effects.get(), source_of.get()) || !responses_present(n_obs, y))
        return nan;

    const int64_t n = n_effects + 1;
    CrossedLayout<Real> layout;
    WorkArray<Real> df(n), ss(n);
    WorkArray<double> ems(n * n);
    WorkArray<bool> random(n);
    if (!df.ok() || !ss.ok() || !ems.ok() || !random.ok() || !layout.analyse(n_factors, n_levels, y)) {
        refuse_memory(n_obs);
        return nan;
    }
    for (int64_t s = 0; s < n; ++s) {
        df[s] = ss[s] = 0;
        random[s] = s == n_effects || (effects[s] & random_factors) != 0;
    }
    for (Mask m = 1; m < Mask(masks); ++m) {
        df[source_of[m]] += layout.effect_df(m);
        ss[source_of[m]] += layout.effect_ss(m);
    }
    const int64_t means_count = means_length(layout, n_effects, effects.get());
    WorkArray<Real> means(means_count);
    if (!means.ok() ||
        !orvls_a2mme(layout, n_effects, effects.get(), source_of.get(), random_factors, settings.restricted,
                     ems.get())) {
        refuse_memory(n_obs);
        return nan;
    }
    write_means(layout, n_effects, effects.get(), means.get());
    const SourceModel<Real> model{n, df.get(), ss.get(), ems.get(), random.get()};
    const Real p = deliver_random_model(model, layout.grand_mean(), means.get(), means_count, settings, n_obs);
    return is_fatal(orvls_n1rty(0)) ? nan : p;
}

template <class Real>
Real balanced_entry(const char* name, int64_t n_factors, const int64_t* n_levels, const Real* y, int64_t n_random,
                    const int64_t* index_random_factor, int64_t n_effects, const int64_t* n_factors_per_effect,
                    const int64_t* index_model_factors, va_list ap)
{
    OptionReader options(ap, 8);
    return envelope<Real>(name, missing_value<Real>(), [&] {
        return anova_balanced(n_factors, n_levels, y, n_random, index_random_factor, n_effects, n_factors_per_effect,
                              index_model_factors, options);
    });
}

}  // namespace

}  // namespace orvls::anova

extern "C" {

ORVLS_API float orvls_f_anova_balanced(int64_t n_factors, const int64_t* n_levels, const float* y, int64_t n_random,
                                       const int64_t* index_random_factor, int64_t n_model_effects,
                                       const int64_t* n_factors_per_effect, const int64_t* index_model_factors, ...)
{
    va_list ap;
    va_start(ap, index_model_factors);
    const float p = orvls::anova::balanced_entry("orvls_f_anova_balanced", n_factors, n_levels, y, n_random,
                                                 index_random_factor, n_model_effects, n_factors_per_effect,
                                                 index_model_factors, ap);
    va_end(ap);
    return p;
}

ORVLS_API double orvls_d_anova_balanced(int64_t n_factors, const int64_t* n_levels, const double* y,
                                        int64_t n_random, const int64_t* index_random_factor,
                                        int64_t n_model_effects, const int64_t* n_factors_per_effect,
                                        const int64_t* index_model_factors, ...)
{
    va_list ap;
    va_start(ap, index_model_factors);
    const double p = orvls::anova::balanced_entry("orvls_d_anova_balanced", n_factors, n_levels, y, n_random,
                                                  index_random_factor, n_model_effects, n_factors_per_effect,
                                                  index_model_factors, ap);
    va_end(ap);
    return p;
}

}  // extern "C"
