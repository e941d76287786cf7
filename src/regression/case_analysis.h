// Case analysis of a fitted factor: for rows of data, the predicted value,
// the residual and its diagnostics, and the limits for the mean and for a
// new observation.  Rows come one call at a time or all at once.
#pragma once

#include <cstdint>

#include "regression/regressors.h"

namespace orvls::regression {

// Places of a row of the case table.
enum CasePlace : int64_t {
    kObserved = 0,
    kPredicted = 1,
    kResidual = 2,
    kLeverage = 3,
    kStandardized = 4,
    kDeleted = 5,
    kCooksD = 6,
    kDffits = 7,
    kMeanLower = 8,
    kMeanUpper = 9,
    kNewLower = 10,
    kNewUpper = 11,
};
constexpr int64_t kCaseValues = 12;

// The fit of one dependent variable: ncoef coefficients b, the
// column-major upper triangle r (leading dimension ldr), the error degrees
// of freedom and sum of squares.
template <class Real>
struct CaseFit {
    int64_t ncoef;
    const Real* b;
    const Real* r;
    int64_t ldr;
    Real dfe, sse;
};

// Leverage, standardized and deleted residuals, Cook's distance and DFFITS
// of one row, into `row` (a case-table row), from its ncoef regressors z,
// its residual e and its weight w; a is ncoef of work space.  A missing
// weight or regressor, or a statistic that cannot be formed, adds one to
// *nrmiss and leaves NaN.  Warnings (type 3): 20050, the regressors do not
// lie in the span of the fit; 20051, a leverage above 1 (real 1); 20052, a
// negative deleted variance set to 0 (real 1).
template <class Real>
void orvls_r2tin(const CaseFit<Real>& fit, const Real* z, Real e, Real w, Real* a, Real* row, int64_t* nrmiss);

// The case table of nrow rows of x (row-major, ldx values a row, ncol of
// them used), row i into case_table + i * ldcase (12 values, NaN where a
// statistic cannot be formed).  ido 0 takes all rows at once, 1 the first
// rows of a series and 2 further rows: the t quantiles of the limits (at
// the confidences conpcm for the mean and conpcp for a new observation,
// in percent) are looked up for the first rows of a series and kept in the
// thread's record.  The regressors of a row are its first -iind columns
// when iind is negative, else orvls_grglm's with the model `glm` (its
// method 0 meaning 1); an intercept
// (intcep 1) comes first.  irsp, iwt and ipred are the zero-based columns
// of the response, the case weight and the prediction weight (-1 for
// none: NaN, 1 and 1).  iobs is the observation number of the first row.
// *nrmiss counts the statistics left NaN for missing data.  The print
// selector picks columns of a printed case table: digits 1 to 8 the first
// eight places, M the limits for the mean, P those for a new observation.
// wk holds 2 ncoef reals.  Errors: type 5, code 11057, a negative case
// weight (int 1 = the observation, real 1 = the weight); type 4, code
// 20054, a prediction weight not above 0 (the same parameters); type 5,
// code 200, no thread record; the warnings of orvls_r2tin.
template <class Real>
void orvls_r2ase(int64_t ido, int64_t nrow, int64_t ncol, const Real* x, int64_t ldx, int64_t intcep, int64_t iind,
                 const GlmModel<Real>* glm, int64_t irsp, int64_t iwt, int64_t ipred, Real conpcm, Real conpcp,
                 const char* print, int64_t iobs, const CaseFit<Real>& fit, Real* case_table, int64_t ldcase,
                 int64_t* nrmiss, Real* wk);

}  // namespace orvls::regression
