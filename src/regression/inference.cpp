#include "regression/inference.h"

#include <cmath>

#include "frame/checks.h"
#include "frame/machine.h"
#include "kernels/girts.h"
#include "regression/precision.h"

namespace orvls::regression {

namespace {

// The probability of a larger F: the upper tail through the incomplete beta
// function; NaN where F or a degree of freedom leaves it undefined.
template <class Real>
Real probability_of_larger_f(Real f, Real dfr, Real dfe)
{
    if (std::isnan(f))
        return missing_value<Real>();
    if (std::isinf(f) && f > 0)
        return 1;
    const Real x = ratio(dfe, f * dfr + dfe);
    if (!(dfr > 0 && dfe > 0 && x >= 0 && x <= 1))
        return missing_value<Real>();
    return beta_incomplete(x, dfe / 2, dfr / 2);
}

}  // namespace

template <class Real>
Real upper_f_probability(Real f, Real df1, Real df2)
{
    if (std::isnan(f) || !(df1 > 0) || !(df2 > 0))
        return missing_value<Real>();
    if (std::isinf(f))
        return 0;
    return beta_incomplete(ratio(df2, df2 + df1 * f), df2 / 2, df1 / 2);
}

bool check_confidence(double confidence)
{
    if (confidence < 0 || confidence >= 100 || std::isnan(confidence)) {
        orvls_ermes(5, 20403);
        return false;
    }
    if (confidence > 0 && confidence < 50) {
        orvls_e1stl(1, "confidence");
        orvls_e1std(1, confidence);
        orvls_ermes(6, 20404);
    }
    return true;
}

template <class Real>
void orvls_g1aov(Real dfr, Real ssr, Real dfe, Real sse, Real ymean, Real* aov)
{
    aov[kModelDf] = dfr;
    aov[kErrorDf] = dfe;
    aov[kTotalDf] = dfr + dfe;
    aov[kModelSs] = ssr;
    aov[kErrorSs] = sse;
    aov[kTotalSs] = ssr + sse;
    aov[kModelMs] = ratio(ssr, dfr);
    aov[kErrorMs] = ratio(sse, dfe);
    aov[kOverallF] = ratio(aov[kModelMs], aov[kErrorMs]);
    aov[kProbF] = probability_of_larger_f(aov[kOverallF], dfr, dfe);
    aov[kRSquared] = 100 * ratio(ssr, aov[kTotalSs]);
    const Real q = ratio(aov[kErrorMs], ratio(aov[kTotalSs], aov[kTotalDf]));
    aov[kAdjustedRSquared] = std::isnan(q) ? q : q > 1 ? Real(0) : 100 * (1 - q);
    const bool undefined = std::isnan(aov[kErrorMs]);
    aov[kErrorDeviation] = undefined ? missing_value<Real>() : std::sqrt(aov[kErrorMs]);
    aov[kMean] = ymean;
    aov[kVariation] = undefined ? missing_value<Real>() : 100 * ratio(aov[kErrorDeviation], ymean);
}

template <class Real>
void orvls_rcovb(int64_t ncoef, const Real* r, int64_t ldr, Real s2, Real* covb, int64_t ldcovb)
{
    int64_t checks = 0;
    if (!orvls_check_zero_pivot_rows(ncoef, r, ldr, &checks))
        return;
    int64_t rank;
    kernels::orvls_girts(ncoef, r, ldr, int64_t(0), static_cast<const Real*>(nullptr), int64_t(0),
                         int64_t(kernels::kInverse), &rank, static_cast<Real*>(nullptr), int64_t(0), covb, ldcovb);
    auto c = [&](int64_t i, int64_t j) -> Real& { return covb[i + j * ldcovb]; };
    // (R^-1)(R^-1)' in place: entry (i, j), i <= j, needs rows i and j of
    // the inverse from column j on, which later entries of the same column
    // and later columns no longer read once it is written.
    for (int64_t j = 0; j < ncoef; ++j) {
        for (int64_t i = 0; i <= j; ++i) {
            Real sum = 0;
            for (int64_t k = j; k < ncoef; ++k)
                sum += c(i, k) * c(j, k);
            c(i, j) = sum * s2;
        }
    }
    for (int64_t j = 0; j < ncoef; ++j) {
        if (r[j + j * ldr] > 0)
            continue;
        for (int64_t i = 0; i <= j; ++i)
            c(i, j) = 0;
        for (int64_t k = j + 1; k < ncoef; ++k)
            c(j, k) = 0;
    }
    for (int64_t j = 0; j < ncoef; ++j)
        for (int64_t i = j + 1; i < ncoef; ++i)
            c(i, j) = c(j, i);
}

template <class Real>
void orvls_rcoef(int64_t ncoef, const Real* b, const Real* se, Real dfe, Real* coef, int64_t ldcoef)
{
    if (dfe < 0) {
        orvls_ermes(5, 20423);
        return;
    }
    for (int64_t i = 0; i < ncoef; ++i) {
        if (se[i] < 0) {
            orvls_ermes(5, 20424);
            return;
        }
    }
    for (int64_t i = 0; i < ncoef; ++i) {
        const Real t = ratio(b[i], se[i]);
        Real p;
        if (std::isnan(t) || dfe == 0)
            p = missing_value<Real>();
        else if (std::isinf(t))
            p = 0;
        else
            p = 2 * t_cdf(-std::fabs(t), dfe);
        coef[i] = b[i];
        coef[i + ldcoef] = se[i];
        coef[i + 2 * ldcoef] = t;
        coef[i + 3 * ldcoef] = p;
    }
}

template float upper_f_probability<float>(float, float, float);
template double upper_f_probability<double>(double, double, double);
template void orvls_g1aov<float>(float, float, float, float, float, float*);
template void orvls_g1aov<double>(double, double, double, double, double, double*);
template void orvls_rcovb<float>(int64_t, const float*, int64_t, float, float*, int64_t);
template void orvls_rcovb<double>(int64_t, const double*, int64_t, double, double*, int64_t);
template void orvls_rcoef<float>(int64_t, const float*, const float*, float, float*, int64_t);
template void orvls_rcoef<double>(int64_t, const double*, const double*, double, double*, int64_t);

}  // namespace orvls::regression
