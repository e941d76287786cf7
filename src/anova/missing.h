// Missing responses of a crossed layout: the values that make the error sum
// of squares of a model least (Yates' estimates), found exactly rather than
// by iteration.  With U the unit columns of the m missing cells, H the
// model's projection and y0 the data with 0 in those cells, the estimates x
// solve U'(I - H)U x = -U'(I - H)y0.  Column k of the matrix is the model's
// residual of the unit response in cell k, so m + 1 analyses form the whole
// system.  A singular system means the model cannot say what a missing cell
// would have held (too many missing, or a whole level gone).
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "anova/crossed.h"
#include "frame/memory.h"
#include "kernels/symmetric.h"

namespace orvls::anova {

enum class MissingOutcome { estimated, too_many, out_of_memory };

// Fills the NaN responses of y (in place) and counts them in *n_missing.
template <class Real, class InModel>
MissingOutcome estimate_missing(int64_t n_subscripts, const int64_t* levels, Real* y, InModel in_model,
                                int64_t* n_missing)
{
    CrossedLayout<Real> layout;
    int64_t n_obs = 1;
    for (int64_t d = 0; d < n_subscripts; ++d)
        n_obs *= levels[d];
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
    auto residual = [&](const Real* v, int64_t k) {
        return v[where[k]] - layout.fitted(where[k], in_model);
    };
    if (!layout.analyse(n_subscripts, levels, y))
        return MissingOutcome::out_of_memory;
    for (int64_t k = 0; k < m; ++k)
        rhs[k] = -residual(y, k);
    for (int64_t i = 0; i < n_obs; ++i)
        unit[i] = Real(0);
    for (int64_t j = 0; j < m; ++j) {
        unit[where[j]] = Real(1);
        if (!layout.analyse(n_subscripts, levels, unit.get()))
            return MissingOutcome::out_of_memory;
        for (int64_t k = 0; k < m; ++k)
            system[k + j * m] = residual(unit.get(), k);
        unit[where[j]] = Real(0);
    }

    // R'R x = rhs by the Cholesky factor; a dependent column means the
    // estimates are not determined.
    int64_t rank = 0;
    const Real tol = Real(100) * std::numeric_limits<Real>::epsilon();
    kernels::orvls_chfac(m, system.get(), m, tol, &rank, factor.get(), m);
    if (rank < m)
        return MissingOutcome::too_many;
    const Real* r = factor.get();
    for (int64_t i = 0; i < m; ++i) {
        for (int64_t k = 0; k < i; ++k)
            rhs[i] -= r[k + i * m] * rhs[k];
        rhs[i] /= r[i + i * m];
    }
    for (int64_t i = m - 1; i >= 0; --i) {
        for (int64_t k = i + 1; k < m; ++k)
            rhs[i] -= r[i + k * m] * rhs[k];
        rhs[i] /= r[i + i * m];
    }
    for (int64_t k = 0; k < m; ++k)
        y[where[k]] = rhs[k];
    return MissingOutcome::estimated;
}

}  // namespace orvls::anova
