// The moment kernel of the simple statistics: a one-pass weighted updating
// of means, central sums and extremes that takes rows in blocks, one at a
// time, or removes them again, and a summary that turns the sums into the
// statistics.
#pragma once

#include <cstdint>
#include <cstdlib>

namespace orvls::basic {

// Rows of the statistics, one column per variable.  While rows are taken in,
// the variance, skewness and kurtosis rows hold the central sums M2, M3, M4.
enum StatisticRow : int64_t {
    kMean = 0,
    kVariance = 1,
    kDeviation = 2,
    kSkewness = 3,
    kKurtosis = 4,
    kMinimum = 5,
    kMaximum = 6,
    kRange = 7,
    kVariation = 8,
    kCount = 9,
    kMeanLower = 10,
    kMeanUpper = 11,
    kVarianceLower = 12,
    kVarianceUpper = 13,
    kMedian = 14,
    kMedianDeviation = 15,
    kScale = 16,
};
constexpr int64_t kMomentRows = 14;

// What the kernel keeps between the calls of one sequence.  The caller
// allocates the two sums of f w; the kernel allocates the sums of weights
// when there are weights.  In listwise mode element 0 serves all variables.
template <class Real>
struct UpdateState {
    int64_t call_counter = 0;
    Real* weight_totals = nullptr;  // running sum of weights per variable
    Real* weight_sum = nullptr;     // running sum of f w
    Real* weight_sq_sum = nullptr;  // running sum of (f w) squared
    UpdateState() = default;
    UpdateState(const UpdateState&) = delete;
    UpdateState& operator=(const UpdateState&) = delete;
    ~UpdateState()
    {
        std::free(weight_totals);
        std::free(weight_sum);
        std::free(weight_sq_sum);
    }
};

// ido: 0 the only call, 1 the first of several, 2 an inner one, 3 the last
// (which may take no rows).  nrow > 0 adds rows, nrow < 0 removes |nrow|.
// x is column-major (leading dimension ldx); ifrq and iwt are one-based
// columns of the frequency and the weight, 0 for none, and the data columns
// are the others in order.  mopt < 1 drops a row with any missing value,
// mopt >= 1 only the missing values.  Confidence percentages conprm and
// conprv of 0 or less leave their limit rows alone.  stat has ldstat rows,
// one column per variable.  first_values holds 2 nvar reals: the first value
// of each variable, then whether it has changed since.  With row_major set,
// x is read as the caller stores it, row i at x + i ldx, so that no
// transposition is needed; the arithmetic is the same.
template <class Real>
void l_u2sta(int64_t ido, int64_t nrow, int64_t nvar, const Real* x, int64_t ldx, int64_t ifrq, int64_t iwt,
             int64_t mopt, Real conprm, Real conprv, int64_t iprint, Real* stat, int64_t ldstat, int64_t* nrmiss,
             Real* first_values, UpdateState<Real>* update_state, bool row_major = false);

}  // namespace orvls::basic
