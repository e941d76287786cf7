// Missing responses of a crossed layout: the values that make the error sum
// of squares of a model least (Yates' estimates), found exactly rather than
// by iteration.  With U the unit columns of the m missing cells, H the
// model's projection and y0 the data with 0 in those cells, the estimates x
// solve U'(I - H)U x = -U'(I - H)y0.  Column k of the matrix is the model's
// residual of the unit response in cell k, so m + 1 analyses form the whole
// system.  A singular system means the model cannot say what a missing cell
// would have held (too many missing, or a whole level gone).  The solve
// serves any linear model whose residuals the caller can form; the crossed
// layouts are the common case.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "anova/crossed.h"
#include "frame/memory.h"
#include "kernels/symmetric.h"

namespace orvls::anova {

enum class MissingOutcome { estimated, too_many, out_of_memory };

// Solves R'R x = b in place of b, R the n x n upper triangular Cholesky
// factor of full rank, stored by columns.
template <class Real>
void solve_with_factor(int64_t n, const Real* r, Real* b)
{
    for (int64_t i = 0; i < n; ++i) {
        for (int64_t k = 0; k < i; ++k)
            b[i] -= r[k + i * n] * b[k];
        b[i] /= r[i + i * n];
    }
    for (int64_t i = n - 1; i >= 0; --i) {
        for (int64_t k = i + 1; k < n; ++k)
            b[i] -= r[i + k * n] * b[k];
        b[i] /= r[i + i * n];
    }
}

// Fills the NaN responses of y (in place) for any linear model and counts
// them in *n_missing.  residuals(v, where, m, out) analyses the complete
// response v of n_obs values and writes the model's residuals at the m
// places where[0..m) to out; it returns false when memory is short.
template <class Real, class Residuals>
MissingOutcome estimate_missing_by(int64_t n_obs, Real* y, Residuals residuals, int64_t* n_missing)
{
    int64_t m = 0;
    for (int64_t i = 0; i < n_obs; ++i)
        m += std::isnan(y[i]) ? 1 : 0;
    *n_missing = m;
    if (m == 0)
        return MissingOutcome::estimated;
    if (m >= n_obs)
        return MissingOutcome::too_many;

    WorkArray<int64_t> where(m);
    WorkArray<Real> system(m * m), factor(m * m), rhs(m), unit(n_obs);
    if (!where.ok() || !system.ok() || !factor.ok() || !rhs.ok() || !unit.ok())
        return MissingOutcome::out_of_memory;
    for (int64_t i = 0, k = 0; i < n_obs; ++i)
        if (std::isnan(y[i])) {
            where[k++] = i;
            y[i] = Real(0);
        }
    if (!residuals(y, where.get(), m, rhs.get()))
        return MissingOutcome::out_of_memory;
    for (int64_t k = 0; k < m; ++k)
        rhs[k] = -rhs[k];
    for (int64_t i = 0; i < n_obs; ++i)
        unit[i] = Real(0);
    for (int64_t j = 0; j < m; ++j) {
        unit[where[j]] = Real(1);
        if (!residuals(unit.get(), where.get(), m, system.get() + j * m))
            return MissingOutcome::out_of_memory;
        unit[where[j]] = Real(0);
    }

    // R'R x = rhs by the Cholesky factor; a dependent column means the
    // estimates are not determined.
    int64_t rank = 0;
    const Real tol = Real(100) * std::numeric_limits<Real>::epsilon();
    kernels::orvls_chfac(m, system.get(), m, tol, &rank, factor.get(), m);
    if (rank < m)
        return MissingOutcome::too_many;
    solve_with_factor(m, factor.get(), rhs.get());
    for (int64_t k = 0; k < m; ++k)
        y[where[k]] = rhs[k];
    return MissingOutcome::estimated;
}

// The same for a crossed layout whose model is the grand mean and the
// effects of the masks m with in_model(m) true.
template <class Real, class InModel>
MissingOutcome estimate_missing(int64_t n_subscripts, const int64_t* levels, Real* y, InModel in_model,
                                int64_t* n_missing)
{
    CrossedLayout<Real> layout;
    int64_t n_obs = 1;
    for (int64_t d = 0; d < n_subscripts; ++d)
        n_obs *= levels[d];
    auto residuals = [&](const Real* v, const int64_t* where, int64_t m, Real* out) {
        if (!layout.analyse(n_subscripts, levels, v))
            return false;
        for (int64_t k = 0; k < m; ++k)
            out[k] = v[where[k]] - layout.fitted(where[k], in_model);
        return true;
    };
    return estimate_missing_by(n_obs, y, residuals, n_missing);
}

}  // namespace orvls::anova
