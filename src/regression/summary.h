// Summaries of a fitted factor: sequential sums of squares, and the full
// summary of one dependent variable (analysis of variance, coefficient
// tests with variance inflation, covariances).
#pragma once

#include <cstdint>

namespace orvls::regression {

// The column-major table of sequential statistics, one row per effect and
// four columns: degrees of freedom, sum of squares, F, probability of a
// larger F.  A negative ief means -ief effects of one coefficient each,
// following the intercept; a positive ief means that the one-based irbef
// gives the first coefficient of each effect and, in place ief, one past
// the last (20425 when it decreases).
template <class Real>
void orvls_rsqss(int64_t intcep, int64_t ief, const int64_t* irbef, const Real* b, const Real* r, int64_t ldr,
                 Real dfe, Real sse, Real* sqss, int64_t ldsqss);

// Every summary of one dependent variable from the column-major factor r
// and its coefficients b: the 15-value aov table, the sequential table
// (column-major, ldsqss), the coefficient table of five columns (estimate,
// standard error, t, probability of a larger |t|, variance inflation;
// column-major, ldcoef) and the covariances (ldcovb, both triangles).
// The print selector (see print_selects) picks the sections printed to the
// output stream: 1 the summary line and the analysis of variance, 2 the
// sequential table, 3 the coefficient table, 4 the covariances.
template <class Real>
void orvls_rstat(int64_t intcep, int64_t ief, const int64_t* irbef, const Real* b, const Real* r, int64_t ldr,
                 Real dfe, Real sse, const char* print, Real* aov, Real* sqss, int64_t ldsqss, Real* coef, int64_t ldcoef, Real* covb,
                 int64_t ldcovb);

}  // namespace orvls::regression
