#include "regression/r2ivn.h"

#include <algorithm>
#include <cmath>

#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/tsd.h"
#include "kernels/gemm.h"
#include "kernels/girts.h"
#include "kernels/rotations.h"
#include "orvls.h"

namespace orvls::regression {

namespace {

using kernels::rotm;
using kernels::rotmg;

template <class Real>
struct CallCounter {
    int64_t value;
};

enum class RowUse { use, skip, missing, fatal };

// Frequency f and weight w of row i, read in this order: a NaN frequency
// flags the row, a zero frequency skips it before the weight is read, a NaN
// weight flags it, a negative value of either is fatal.  f is negated when
// rows are removed.
template <class Real>
RowUse read_frequency_and_weight(const RowSource<Real>& rows, int64_t i, const UpdateCall& call, Real& f, Real& w)
{
    f = rows.frequency != nullptr ? rows.frequency[i * rows.frequency_step] : Real(1);
    bool missing = std::isnan(f);
    if (!missing && f == 0)
        return RowUse::skip;
    w = rows.weight != nullptr ? rows.weight[i * rows.weight_step] : Real(1);
    missing = missing || std::isnan(w);
    const bool negative_frequency = f < 0;
    if (negative_frequency || w < 0) {
        orvls_e1sti(1, call.first_row + i + 1);
        orvls_e1std(1, negative_frequency ? f : w);
        if (call.ido > 0)
            orvls_e1sti(2, call.call_number);
        orvls_ermes(4, negative_frequency ? (call.ido > 0 ? 11054 : 11055) : (call.ido > 0 ? 11056 : 11057));
        return RowUse::fatal;
    }
    if (call.sign < 0)
        f = -f;
    return missing ? RowUse::missing : RowUse::use;
}

// The scratch row: 1 for the intercept, the independent values, the
// dependent values.  False when one of them is missing.
template <class Real>
bool gather_row(const Factor<Real>& f, const RowSource<Real>& rows, int64_t i, Real* s)
{
    if (f.intercept)
        *s++ = 1;
    const int64_t n_ind = f.n_coef - f.intercept;
    bool missing = false;
    for (int64_t j = 0; j < n_ind; ++j) {
        s[j] = rows.independent.value(i, j);
        missing = missing || std::isnan(s[j]);
    }
    s += n_ind;
    for (int64_t k = 0; k < f.n_dep; ++k) {
        s[k] = rows.dependent.value(i, k);
        missing = missing || std::isnan(s[k]);
    }
    return !missing;
}

// Added rows widen the extremes of every coefficient's column; the first
// row sets both.  A removed row at an extreme of an independent variable
// leaves that extreme stale, which is told (type 6, 11048).
template <class Real>
void track_extremes(const Factor<Real>& f, int64_t sign, const Real* s)
{
    if (sign > 0) {
        for (int64_t j = 0; j < f.n_coef; ++j) {
            if (std::isnan(f.x_min[j])) {
                f.x_min[j] = f.x_max[j] = s[j];
            } else {
                f.x_min[j] = std::min(f.x_min[j], s[j]);
                f.x_max[j] = std::max(f.x_max[j], s[j]);
            }
        }
        return;
    }
    for (int64_t j = f.intercept; j < f.n_coef; ++j) {
        const bool at_min = s[j] == f.x_min[j];
        if (at_min || s[j] == f.x_max[j]) {
            orvls_e1sti(1, j - f.intercept + 1);
            orvls_e1std(1, s[j]);
            orvls_e1stl(1, at_min ? "xmin" : "xmax");
            orvls_ermes(6, 11048);
        }
    }
}

// With centering the first row of R holds the running sums of the weights
// and of the weighted values (the total weight W times the means), with
// D[0] = 1 / W; the scratch row becomes the deviation from the new means,
// and its weight is scaled so that the deviations from the old means would
// have given the same sums.  The means are carried in two parts and the
// deviation from the old ones is taken from both; the deviation from the
// new means is that times W_old / W_new.  False when nothing is left to
// rotate.
template <class Real>
[[gnu::always_inline]] inline bool take_into_means(const Factor<Real>& f, Real* s, Real& c)
{
    const int64_t n = f.n_coef + f.n_dep;
    Real* high = f.means;
    Real* low = f.means + n;
    const Real old = f.R(0, 0);
    const Real total = old + c;
    f.R(0, 0) = total;
    if (total == 0) {  // the last row is out: nothing is left
        for (int64_t j = 1; j < n; ++j)
            high[j] = low[j] = 0;
        for (int64_t j = 1; j < f.n_coef; ++j)
            f.R(0, j) = 0;
        for (int64_t k = 0; k < f.n_dep; ++k)
            f.B(0, k) = 0;
        return false;
    }
    const Real reciprocal = 1 / total, step = c * reciprocal, shrink = old * reciprocal;
    f.d[0] = reciprocal;
    for (int64_t j = 1; j < n; ++j) {
        const Real deviation = (s[j] - high[j]) - low[j];
        // (high, low) += step * deviation, exactly added, then renormalised.
        const Real t = step * deviation;
        const Real sum = high[j] + t;
        const Real taken = sum - high[j];
        const Real error = (high[j] - (sum - taken)) + (t - taken);
        const Real tail = low[j] + error;
        high[j] = sum + tail;
        low[j] = tail - (high[j] - sum);
        s[j] = deviation * shrink;
    }
    for (int64_t j = 1; j < f.n_coef; ++j)
        f.R(0, j) = total * high[j];
    for (int64_t k = 0; k < f.n_dep; ++k)
        f.B(0, k) = total * high[f.n_coef + k];
    if (old == 0)
        return false;
    c = c / shrink;
    return true;
}

// Rows waiting to be rotated in: their scratch rows and weights.
template <class Real>
struct Batch {
    Real* row[kRowsInFlight];
    Real c[kRowsInFlight];
    int64_t size = 0;
};

// Rotates scratch row s, of weight c, into row i of the factor: one
// modified rotation zeroes s[i] against R[i, i] and turns the rest of s and
// of row i of R and B.  A negative c (a removed row) makes it hyperbolic.
template <class Real>
[[gnu::always_inline]] inline void rotate_at(const Factor<Real>& f, int64_t i, Real* s, Real& c)
{
    Real param[5] = {};
    rotmg(&f.d[i], &c, &f.R(i, i), s[i], param);
    if (i + 1 < f.n_coef)
        rotm(f.n_coef - i - 1, &f.R(i, i + 1), f.r_col, s + i + 1, int64_t(1), param);
    rotm(f.n_dep, &f.B(i, 0), f.ldb, s + f.n_coef, int64_t(1), param);
}

// Rotates the waiting rows in, in their order, and adds what is left of
// their dependent values to the error cross-products.  Row r meets row i
// of the factor one step after row r - 1 did, so every row of the factor
// sees the rows in order and the result is that of one row at a time,
// while the rotations of different rows can overlap.
template <class Real>
[[gnu::always_inline]] inline void rotate_batch(const Factor<Real>& f, Batch<Real>& batch)
{
    const bool centred = f.centering != 0;
    int64_t m = 0;
    for (int64_t r = 0; r < batch.size; ++r) {
        if (centred && !take_into_means(f, batch.row[r], batch.c[r]))
            continue;
        batch.row[m] = batch.row[r];
        batch.c[m++] = batch.c[r];
    }
    const int64_t first = centred ? 1 : 0, levels = f.n_coef - first;
    for (int64_t step = 0; step < levels + m - 1; ++step)
        for (int64_t r = 0; r < m; ++r)
            if (step - r >= 0 && step - r < levels)
                rotate_at(f, first + step - r, batch.row[r], batch.c[r]);
    for (int64_t r = 0; r < m; ++r) {
        const Real* y = batch.row[r] + f.n_coef;
        for (int64_t k = 0; k < f.n_dep; ++k)
            for (int64_t j = 0; j <= k; ++j)
                f.sscp(j, k) += batch.c[r] * y[j] * y[k];
    }
    batch.size = 0;
}

// The same compiled for the processor's wider vectors, with fused
// multiply-adds; chosen once per update.
template <class Real>
void rotate_batch_baseline(const Factor<Real>& f, Batch<Real>& batch)
{
    rotate_batch(f, batch);
}

template <class Real>
[[gnu::target("avx2,fma")]] void rotate_batch_avx2(const Factor<Real>& f, Batch<Real>& batch)
{
    rotate_batch(f, batch);
}

template <class Real>
using BatchRotation = void (*)(const Factor<Real>&, Batch<Real>&);

template <class Real>
BatchRotation<Real> batch_rotation()
{
    return kernels::widest_instruction_set() == kernels::InstructionSet::baseline ? rotate_batch_baseline<Real>
                                                                                   : rotate_batch_avx2<Real>;
}

// Column i leaves the model: its row, without the diagonal, is rotated into
// the rows below as a row of weight D[i]; what remains of its right-hand
// sides is error.
template <class Real>
void drop_column(const Factor<Real>& f, int64_t i)
{
    Real param[5] = {};
    for (int64_t m = i + 1; m < f.n_coef; ++m) {
        rotmg(&f.d[m], &f.d[i], &f.R(m, m), f.R(i, m), param);
        if (m + 1 < f.n_coef)
            rotm(f.n_coef - m - 1, &f.R(m, m + 1), f.r_col, &f.R(i, m + 1), f.r_col, param);
        rotm(f.n_dep, &f.B(m, 0), f.ldb, &f.B(i, 0), f.ldb, param);
    }
    for (int64_t k = 0; k < f.n_dep; ++k)
        for (int64_t j = 0; j <= k; ++j)
            f.sscp(j, k) += f.d[i] * f.B(i, j) * f.B(i, k);
    for (int64_t k = 0; k < f.n_dep; ++k)
        f.B(i, k) = 0;
    for (int64_t j = i; j < f.n_coef; ++j)
        f.R(i, j) = 0;
}

// Constant columns: one of value 0 is dropped; of the others (the
// intercept's among them) the first stays and the later ones go.  Other
// columns go when their residual sum of squares is at most tol^2 times the
// part of their corrected sum of squares that the columns before them
// explain; a zero diagonal always goes.
template <class Real>
bool column_to_drop(const Factor<Real>& f, int64_t i, Real tol_squared, bool& constant_kept)
{
    if (f.x_min[i] == f.x_max[i]) {
        if (f.x_min[i] == 0 || constant_kept)
            return true;
        constant_kept = true;
        return f.R(i, i) == 0;
    }
    if (f.R(i, i) == 0)
        return true;
    if (i < f.intercept)
        return false;
    Real explained = 0;
    for (int64_t j = f.intercept; j < i; ++j)
        explained += f.d[j] * f.R(j, i) * f.R(j, i);
    return f.d[i] * f.R(i, i) * f.R(i, i) <= explained * tol_squared;
}

}  // namespace

template <class Real>
int64_t* update_call_counter()
{
    CallCounter<Real>* counter = ThreadRecord<CallCounter<Real>>::get();
    return counter != nullptr ? &counter->value : nullptr;
}

template <class Real>
void start_factor(const Factor<Real>& f)
{
    *f.n_rows_missing = 0;
    *f.df_error = 0;
    for (int64_t j = 0; f.means != nullptr && j < 2 * (f.n_coef + f.n_dep); ++j)
        f.means[j] = 0;
    for (int64_t i = 0; i < f.n_coef; ++i) {
        for (int64_t j = i; j < f.n_coef; ++j)
            f.R(i, j) = 0;
        for (int64_t k = 0; k < f.n_dep; ++k)
            f.B(i, k) = 0;
        f.d[i] = 1;
        f.x_min[i] = f.x_max[i] = missing_value<Real>();
    }
    for (int64_t k = 0; k < f.n_dep; ++k)
        for (int64_t j = 0; j <= k; ++j)
            f.sscp(j, k) = 0;
}

template <class Real>
bool update_factor(const Factor<Real>& f, const RowSource<Real>& rows, int64_t n_rows, const UpdateCall& call,
                   int64_t* row_missing)
{
    const int64_t in_flight = std::clamp<int64_t>(f.work_rows, 1, kRowsInFlight);
    const BatchRotation<Real> rotate = batch_rotation<Real>();
    Batch<Real> batch;
    for (int64_t i = 0; i < n_rows; ++i) {
        Real frequency, weight;
        Real* s = f.work + batch.size * (f.n_coef + f.n_dep);
        RowUse use = read_frequency_and_weight(rows, i, call, frequency, weight);
        if (use == RowUse::fatal) {
            rotate(f, batch);
            return false;
        }
        if (use == RowUse::use && !gather_row(f, rows, i, s))
            use = RowUse::missing;
        if (row_missing != nullptr)
            row_missing[i] = use == RowUse::missing;
        if (use == RowUse::missing)
            *f.n_rows_missing += call.sign;
        if (use != RowUse::use)
            continue;
        *f.df_error += frequency;
        track_extremes(f, call.sign, s);
        if (weight == 0)
            continue;
        batch.row[batch.size] = s;
        batch.c[batch.size++] = frequency * weight;
        if (batch.size == in_flight)
            rotate(f, batch);
    }
    rotate(f, batch);
    return true;
}

template <class Real>
void finish_factor(const Factor<Real>& factor, Real tol, int64_t* rank)
{
    bool constant_kept = false;
    for (int64_t i = 0; i < factor.n_coef; ++i)
        if (column_to_drop(factor, i, tol * tol, constant_kept))
            drop_column(factor, i);
    // The solver and the callers want R column-major.
    Factor<Real> f = factor;
    if (f.r_row > f.r_col) {
        for (int64_t i = 0; i < f.n_coef; ++i)
            for (int64_t j = i + 1; j < f.n_coef; ++j)
                std::swap(f.R(i, j), f.R(j, i));
        std::swap(f.r_row, f.r_col);
    }
    kernels::orvls_girts(f.n_coef, f.r, f.r_col, f.n_dep, f.b, f.ldb, int64_t(kernels::kSolve), rank, f.b, f.ldb,
                         static_cast<Real*>(nullptr), int64_t(0));
    *f.df_error -= Real(*rank);
    if (!(*f.df_error > 0)) {
        orvls_e1std(1, *f.df_error);
        orvls_ermes(6, 11049);
    }
    for (int64_t i = 0; i < f.n_coef; ++i) {
        const Real scale = std::copysign(std::sqrt(f.d[i]), f.R(i, i));
        for (int64_t j = i; j < f.n_coef; ++j)
            f.R(i, j) *= scale;
        f.d[i] = 1;
    }
    for (int64_t k = 0; k < f.n_dep; ++k)
        for (int64_t j = 0; j < k; ++j)
            f.sscp(k, j) = f.sscp(j, k);
}

bool check_columns(int64_t n_col, int64_t n_ind, const int64_t* ind_ind, int64_t n_dep, const int64_t* ind_dep,
                   int64_t index_base)
{
    bool passed = true;
    auto check = [&](int64_t count, const int64_t* index, int64_t code) {
        for (int64_t j = 0; index != nullptr && j < count; ++j) {
            const int64_t column = index[j] - index_base + 1;
            if (column >= 1 && column <= n_col)
                continue;
            orvls_e1sti(1, j + 1);
            orvls_e1sti(2, column);
            orvls_e1sti(3, n_col);
            orvls_ermes(5, code);
            passed = false;
        }
    };
    check(n_dep, ind_dep, 11052);
    check(n_ind, ind_ind, 11053);
    return passed;
}

template <class Real>
void orvls_r2ivn(int64_t ido, int64_t nrow, int64_t ncol, const Real* x, int64_t ldx, int64_t intcep, int64_t nind,
                 const int64_t* indind, int64_t ndep, const int64_t* inddep, int64_t ifrq, int64_t iwt, int64_t isub,
                 Real tol, Real* b, int64_t ldb, Real* r, int64_t ldr, Real* d, int64_t* irank, Real* dfe, Real* scpe,
                 int64_t ldscpe, int64_t* nrmiss, Real* xmin, Real* xmax, Real* wk, int64_t* irmiss)
{
    const int64_t n_ind = nind < 0 ? -nind : nind, n_dep = ndep < 0 ? -ndep : ndep;
    if (!(tol >= 0 && tol <= 1)) {
        orvls_e1std(1, tol);
        orvls_ermes(5, 11050);
    }
    if (isub != 0 && intcep == 0) {
        orvls_e1sti(1, isub);
        orvls_ermes(5, 11051);
    }
    check_columns(ncol, nind < 0 ? 0 : n_ind, indind, ndep < 0 ? 0 : n_dep, inddep, 1);
    int64_t* counter = update_call_counter<Real>();
    // The two-part means live for this call; a later call of the sequence
    // starts them again from the first rows of R and B.
    WorkArray<Real> means(isub != 0 ? static_cast<std::size_t>(2 * (n_ind + intcep + n_dep)) : 0);
    if (counter == nullptr || !means.ok())
        orvls_ermes(5, 200);
    if (orvls_n1rty(0) >= 4 && orvls_n1rty(0) != 6)
        return;
    Factor<Real> f{n_ind + intcep, n_dep, intcep, isub, r,   1,      ldr,   b, ldb, d, scpe, ldscpe, xmin,
                   xmax,           wk,    1,      dfe,    nrmiss};
    f.means = isub != 0 ? means.get() : nullptr;
    *counter = ido < 2 ? 1 : *counter + 1;
    if (ido < 2) {
        start_factor(f);
    } else if (f.means != nullptr) {
        const Real weight = f.R(0, 0);
        for (int64_t j = 1; j < f.n_coef + f.n_dep; ++j) {
            f.means[j] = weight == 0 ? Real(0) : (j < f.n_coef ? f.R(0, j) : f.B(0, j - f.n_coef)) / weight;
            f.means[f.n_coef + f.n_dep + j] = 0;
        }
    }
    RowSource<Real> rows;
    rows.independent = {x, 1, ldx, nind < 0 ? nullptr : indind, 1, 0};
    rows.dependent = {x, 1, ldx, ndep < 0 ? nullptr : inddep, 1, ncol - n_dep};
    if (ifrq > 0)
        rows = {rows.independent, rows.dependent, x + (ifrq - 1) * ldx, nullptr, 1, 0};
    if (iwt > 0) {
        rows.weight = x + (iwt - 1) * ldx;
        rows.weight_step = 1;
    }
    const UpdateCall call{ido, *counter, 0, nrow < 0 ? -1 : 1};
    if (!update_factor(f, rows, nrow < 0 ? -nrow : nrow, call, irmiss))
        return;
    if (ido == 0 || ido == 3)
        finish_factor(f, tol, irank);
}

template int64_t* update_call_counter<float>();
template int64_t* update_call_counter<double>();
template void start_factor<float>(const Factor<float>&);
template void start_factor<double>(const Factor<double>&);
template bool update_factor<float>(const Factor<float>&, const RowSource<float>&, int64_t, const UpdateCall&,
                                   int64_t*);
template bool update_factor<double>(const Factor<double>&, const RowSource<double>&, int64_t, const UpdateCall&,
                                    int64_t*);
template void finish_factor<float>(const Factor<float>&, float, int64_t*);
template void finish_factor<double>(const Factor<double>&, double, int64_t*);
template void orvls_r2ivn<float>(int64_t, int64_t, int64_t, const float*, int64_t, int64_t, int64_t, const int64_t*,
                                 int64_t, const int64_t*, int64_t, int64_t, int64_t, float, float*, int64_t, float*,
                                 int64_t, float*, int64_t*, float*, float*, int64_t, int64_t*, float*, float*, float*,
                                 int64_t*);
template void orvls_r2ivn<double>(int64_t, int64_t, int64_t, const double*, int64_t, int64_t, int64_t,
                                  const int64_t*, int64_t, const int64_t*, int64_t, int64_t, int64_t, double, double*,
                                  int64_t, double*, int64_t, double*, int64_t*, double*, double*, int64_t, int64_t*,
                                  double*, double*, double*, int64_t*);

}  // namespace orvls::regression
