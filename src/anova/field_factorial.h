// The subscripts of the factorial field designs and the completion of their
// data by Yates' estimates, shared by the analyses and by yates().
#pragma once

#include <cstdint>

#include "anova/crossed.h"
#include "frame/memory.h"

namespace orvls::anova {

// The most factors of a factorial design: the label of their highest
// interaction, "[1]x[2]x...x[10]", still fits a label.
constexpr int64_t kMostFactors = 10;

// Subscripts of a factorial layout in the order of the data: the location,
// the block (block layouts), the factors, the replicate (completely
// randomised layouts).  A role a layout lacks has no bits.
struct FactorialLayout {
    int64_t n_subscripts = 0;
    int64_t levels[kMaxSubscripts] = {};
    Mask location = 0, block = 0, factors = 0, replicate = 0;

    static FactorialLayout completely_randomised(int64_t n_replicates, int64_t n_locations, int64_t n_factors,
                                                 const int64_t* n_levels);
    static FactorialLayout complete_blocks(int64_t n_blocks, int64_t n_locations, int64_t n_factors,
                                           const int64_t* n_levels);
    int64_t plots() const;
    // The effects of the design's model: everything but the replicates and
    // the block x treatment interactions, which form the error.
    bool in_model(Mask m) const { return !(m & replicate) && !((m & block) && (m & factors)); }

private:
    void add(Mask& role, int64_t count);
};

// Copies y into data and fills its missing plots with Yates' estimates for
// the layout's model, counting them in *n_missing.  Too many missing is
// type 5 `too_many_code`; a short allocation type 5 code 201 with the
// count's name.  True when the data are complete.
template <class Real>
bool complete_factorial_data(const FactorialLayout& layout, const Real* y, WorkArray<Real>& data, int64_t too_many_code,
                             const char* count_name, int64_t count, int64_t* n_missing);

}  // namespace orvls::anova
