// The random and mixed models of the nested and balanced analyses of
// variance share one back end: from each source's degrees of freedom, sum of
// squares and expected mean square (a linear form in one term per source),
// it forms the F tests with the right denominators, the moment estimates of
// the variance components and their confidence limits.  It also holds the
// option list and the outputs both routines take.
#pragma once

#include <cstdint>

#include "anova/crossed.h"
#include "frame/options.h"
#include "regression/outputs.h"

namespace orvls::anova {

// Columns of a row of the variance-component output, one row per source.
enum ComponentColumn : int64_t {
    kComponentDf = 0,
    kComponentSs = 1,
    kComponentMs = 2,
    kComponentF = 3,
    kComponentP = 4,
    kComponentDenominatorDf = 5,
    kComponentEstimate = 6,
    kComponentPercent = 7,
    kComponentLower = 8,
    kComponentUpper = 9,
};
constexpr int64_t kComponentColumns = 10;

// One analysis of n sources, the last the error.  ems is n x n by rows:
// ems[i * n + j] is the coefficient, in the expected mean square of source
// i, of the term of source j (its variance component when random[j], else
// its quadratic form of fixed effects).  The error's term is the error
// variance, with coefficient 1 in every row.
template <class Real>
struct SourceModel {
    int64_t n = 0;
    const Real* df = nullptr;
    const Real* ss = nullptr;
    const double* ems = nullptr;
    const bool* random = nullptr;
};

// Fills n rows of kComponentColumns (see ComponentColumn) at `rows`:
// - F of a source: its mean square over the mean square whose expectation
//   is its own without its term; where no one mean square has it, over the
//   combination of mean squares that has it, with Satterthwaite's degrees
//   of freedom.  The error row, and a denominator that is not positive,
//   give NaN.
// - Estimates: the expected mean squares solved for the terms (moment
//   estimates), kept when negative; NaN for fixed terms.  Percent of the
//   sum of the random estimates, negative ones counting as 0.
// - Limits at `confidence` percent: Satterthwaite's chi-squared limits of
//   the estimate as a combination of mean squares (exact for the error);
//   NaN for an estimate that is not positive or with fewer than 0.5
//   degrees of freedom.
// False when memory is short (nothing reported).
template <class Real>
bool l_a2est(const SourceModel<Real>& model, Real confidence, Real* rows);

// The coefficients of the expected mean squares of a balanced crossed
// layout whose model effects (masks) pool the crossed effects:
// source_of[m] is the source of crossed effect m (the error is source
// n_effects), random_factors the mask of the random factors.  An effect is
// random when one of its factors is.  In the restricted model a random
// effect with a fixed factor among its own (not nesting) factors sums to 0
// over that factor, so it reaches only the crossed effects that hold it.
// ems is (n_effects + 1) squared, by rows.  False when memory is short.
template <class Real>
bool orvls_a2mme(const CrossedLayout<Real>& layout, int64_t n_effects, const Mask* effects, const int64_t* source_of,
                 Mask random_factors, bool restricted, double* ems);

// The grand mean, then the table of means over each of the masks in turn
// (cells in order, the last subscript fastest); the number of values.
template <class Real>
int64_t means_length(const CrossedLayout<Real>& layout, int64_t n_masks, const Mask* masks);
template <class Real>
void write_means(const CrossedLayout<Real>& layout, int64_t n_masks, const Mask* masks, Real* out);

// The option list of the nested and balanced analyses.
template <class Real>
struct RandomModelOptions {
    regression::Output<Real> table, ems, components, means;
    Real confidence = 95;
    int64_t nested_option = 0;  // kept for the caller; no effect on the analysis
    bool restricted = true;     // the restricted mixed model (anova_balanced only)
};

// Walks the list; `with_model_choice` admits ORVLS_RESTRICTED_MODEL.
template <class Real>
void read_random_model_options(OptionReader& options, RandomModelOptions<Real>& settings, bool with_model_choice);

// The outputs of a random or mixed model: the 15 values (model = every
// source but the error), the expected mean squares, the component rows and
// the means (means_count values at `means`).  Returns the probability of
// the overall F, or NaN after a short allocation (type 5, 201 with the
// number of observations) or another fatal error, when nothing is handed
// over.
template <class Real>
Real deliver_random_model(const SourceModel<Real>& model, Real grand_mean, const Real* means, int64_t means_count,
                          RandomModelOptions<Real>& settings, int64_t n_observations);

// The number of subscripts of a crossed layout, `name`, from `least` to
// kMaxSubscripts (603 with the bound passed).
bool subscripts_valid(int64_t n_subscripts, const char* name, int64_t least);

// Factors need 2 levels (11128); with last_replicates the last subscript
// counts replicates and needs 1 (11129); each with the subscript's number
// from 1 and its count.
bool levels_valid(int64_t n_subscripts, const int64_t* n_levels, bool last_replicates);

// A layout whose tables (the product of levels + 1) could never be held in
// memory is refused as a short allocation (201); true when it may be tried.
bool layout_size_valid(int64_t n_subscripts, const int64_t* n_levels);

// Refuses a NaN response (20309, int 1 = its index); true when none.
template <class Real>
bool responses_present(int64_t n_obs, const Real* y);

// Type 5, 201: memory short for an analysis of n_observations responses.
void refuse_memory(int64_t n_observations);

}  // namespace orvls::anova
