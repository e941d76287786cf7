// Inference from a fitted factor: the analysis-of-variance table, the
// covariances of the coefficients and the table of coefficient tests.
// Ratios go through the safe division, so that an undefined statistic is
// NaN rather than a trap or an overflow.
#pragma once

#include <cstdint>

#include "frame/safe_divide.h"

namespace orvls::regression {

// a / b through the safe division.
template <class Real>
Real ratio(Real a, Real b)
{
    Real result;
    orvls_safe_divide(a, b, &result);
    return result;
}

// The confidence of limits, in percent: below 0, from 100 on or NaN is
// refused (type 5, 20403); above 0 and below 50 is noted (type 6, 20404,
// string 1 = "confidence", real 1 = the value).  True when it may be used.
bool check_confidence(double confidence);

// Places of the analysis-of-variance table.
enum AnovaPlace : int64_t {
    kModelDf = 0,
    kErrorDf = 1,
    kTotalDf = 2,
    kModelSs = 3,
    kErrorSs = 4,
    kTotalSs = 5,
    kModelMs = 6,
    kErrorMs = 7,
    kOverallF = 8,
    kProbF = 9,
    kRSquared = 10,
    kAdjustedRSquared = 11,
    kErrorDeviation = 12,
    kMean = 13,
    kVariation = 14,
};
constexpr int64_t kAnovaValues = 15;

// The probability of a larger F with df1 and df2 degrees of freedom: 0 for
// an infinite F, NaN where F or a degree of freedom leaves it undefined.
template <class Real>
Real upper_f_probability(Real f, Real df1, Real df2);

// Fills the 15 values from the model's and the error's degrees of freedom
// and sums of squares and the mean of the dependent variable.  An infinite
// F has probability 1.
template <class Real>
void orvls_g1aov(Real dfr, Real ssr, Real dfe, Real sse, Real ymean, Real* aov);

// The covariances s2 (R'R)^-1 of the coefficients from the column-major
// upper triangle R, both triangles filled; a coefficient whose diagonal is
// not positive gets a zero row and column.  R must have zero rows at its
// zero diagonals (type 5, code 11060 otherwise, and nothing is written).
template <class Real>
void orvls_rcovb(int64_t ncoef, const Real* r, int64_t ldr, Real s2, Real* covb, int64_t ldcovb);

// The column-major ncoef x 4 table of coefficient tests: estimate, standard
// error, t statistic and its two-sided probability with dfe degrees of
// freedom.  A negative dfe (20423) or standard error (20424) is refused.
template <class Real>
void orvls_rcoef(int64_t ncoef, const Real* b, const Real* se, Real dfe, Real* coef, int64_t ldcoef);

}  // namespace orvls::regression
