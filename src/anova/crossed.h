// A complete crossed layout: one response per cell of the subscripts, held
// in lexicographic order with the last subscript varying fastest (a
// replicate is simply one more subscript).  From it come the marginal means
// of every set of subscripts and the sum of squares of every main effect and
// interaction, which the analyses of variance and the designed experiments
// combine into their sources (a nested source is the sum of the crossed
// effects it pools).
//
// A set of subscripts is a bit mask, bit d for subscript d.  The responses
// are first centred on an accurately summed grand mean, and every marginal
// sum is carried with its rounding error, so that responses with many equal
// leading digits keep their small variation in the sums of squares.
#pragma once

#include <cstdint>

#include "frame/memory.h"

namespace orvls::anova {

using Mask = uint32_t;
constexpr int kMaxSubscripts = 20;

template <class Real>
class CrossedLayout {
public:
    // Analyses y; false only when memory is short.  levels must be at least
    // 1 each and at most kMaxSubscripts subscripts are allowed (the caller
    // checks both).
    bool analyse(int64_t n_subscripts, const int64_t* levels, const Real* y);

    int64_t subscripts() const { return n_; }
    int64_t observations() const { return cells(full()); }
    Mask full() const { return (Mask(1) << n_) - 1; }
    // Number of cells of the table over the subscripts of mask.
    int64_t cells(Mask mask) const;

    Real grand_mean() const { return shift_ + centred_[offset_[0]]; }
    Real total_ss() const { return total_ss_; }
    // Sum of squares and degrees of freedom of the effect of mask (mask > 0).
    Real effect_ss(Mask mask) const { return ss_[mask]; }
    Real effect_df(Mask mask) const;
    // Sum of effect_ss and effect_df over the masks m with pooled(m) true.
    template <class Pooled>
    void pool(Pooled pooled, Real& df, Real& ss) const
    {
        df = ss = Real(0);
        for (Mask m = 1; m <= full(); ++m)
            if (pooled(m)) {
                df += effect_df(m);
                ss += effect_ss(m);
            }
    }
    // The marginal mean of the cell `cell` of the table over mask (the
    // subscripts of mask in order, the last fastest).
    Real mean(Mask mask, int64_t cell) const { return shift_ + centred_[offset_[mask] + cell]; }
    // The cell of the table over mask that observation `index` falls in.
    int64_t cell_of(Mask mask, int64_t index) const;
    // The fitted value at observation `index` of the model made of the grand
    // mean and the effects of the masks m with in_model(m) true.  The model
    // must hold every sub-effect of its effects for this to be the least
    // squares fit.
    template <class InModel>
    Real fitted(int64_t index, InModel in_model) const
    {
        Real value = centred_[offset_[0]];
        for (Mask m = 1; m <= full(); ++m)
            if (in_model(m))
                value += effects_[offset_[m] + cell_of(m, index)];
        return shift_ + value;
    }

private:
    bool allocate_tables();
    void form_means(const Real* y);
    void form_effects();
    void centre_along(Mask mask, int d, Real* table) const;

    int64_t n_ = 0;
    int64_t levels_[kMaxSubscripts] = {};
    Real shift_ = 0;
    Real total_ss_ = 0;
    WorkArray<int64_t> offset_;  // start of each mask's table
    WorkArray<Real> centred_;    // marginal means less shift_, every mask
    WorkArray<Real> effects_;    // effect tables, every mask
    WorkArray<Real> ss_;         // effect sums of squares by mask
    WorkArray<Real> carry_;      // rounding errors of the marginal sums
};

}  // namespace orvls::anova
