// The updating kernel of the linear models: an upper-triangular factor
// updated one row at a time by modified plane rotations, without forming
// the normal equations.  Rows can be added or removed, in several calls;
// the final step drops collinear columns and solves for the coefficients.
//
// The factor is held in scaled form: the cross-products of the rows taken
// are R' diag(D) R, the rotated right-hand sides B satisfy R' diag(D) B =
// X' W y, and sscp_error holds the sums of squares and cross-products of
// the errors.  Coefficient 0 is the intercept when there is one.
#pragma once

#include <cstdint>

namespace orvls::regression {

// A set of columns of a strided matrix: element (i, c) lies at
// base[i * row_step + c * column_step].  Column j of the set is index[j] -
// index_base, or first + j when there is no index array.
template <class Real>
struct Columns {
    const Real* base = nullptr;
    int64_t row_step = 0, column_step = 0;
    const int64_t* index = nullptr;
    int64_t index_base = 0, first = 0;

    Real value(int64_t i, int64_t j) const
    {
        const int64_t c = index != nullptr ? index[j] - index_base : first + j;
        return base[i * row_step + c * column_step];
    }
};

// Where the rows come from: the independent and dependent values, and the
// frequency and weight of each row (null for none, which means 1).
template <class Real>
struct RowSource {
    Columns<Real> independent, dependent;
    const Real* frequency = nullptr;
    const Real* weight = nullptr;
    int64_t frequency_step = 0, weight_step = 0;
};

// The factor being updated.  Element (i, j) of R lies at r[i * r_row + j *
// r_col]: a caller that rotates many rows keeps R by rows (r_col 1), so
// that a row of R is contiguous; finish_factor leaves it column-major, with
// leading dimension the larger stride.  B and sscp_error are column-major.  x_min
// and x_max cover every coefficient, the intercept's column of ones
// included.  work holds work_rows scratch rows of n_coef + n_dep values one
// after the other; with more than one, several rows are rotated in at once
// (the same operations in the same order, so the same result), which lets
// the processor overlap their rotations.
template <class Real>
struct Factor {
    int64_t n_coef, n_dep, intercept, centering;
    Real* r;
    int64_t r_row, r_col;
    Real* b;
    int64_t ldb;
    Real* d;
    Real* sscp_error;
    int64_t ld_sscp;
    Real* x_min;
    Real* x_max;
    Real* work;
    int64_t work_rows;
    Real* df_error;
    int64_t* n_rows_missing;
    // With centering: the running weighted means of the columns, each as
    // the unevaluated sum of two reals (n_coef + n_dep leading parts, then
    // as many trailing parts; entry 0 unused), so that a row's deviation
    // from the means keeps its digits when the values sit far from 0.
    Real* means = nullptr;

    Real& R(int64_t i, int64_t j) const { return r[i * r_row + j * r_col]; }
    Real& B(int64_t i, int64_t k) const { return b[i + k * ldb]; }
    Real& sscp(int64_t j, int64_t k) const { return sscp_error[j + k * ld_sscp]; }
};

// One call's place in its sequence, for the signs and the error reports.
struct UpdateCall {
    int64_t ido;          // 0 all rows in this call, 1 first, 2 middle, 3 last
    int64_t call_number;  // within the sequence, from 1
    int64_t first_row;    // number of the first row of this block within the call, from 0
    int64_t sign;         // +1 add, -1 remove
};

// Scratch rows that make the most of rotating rows together.
constexpr int64_t kRowsInFlight = 4;

// The kernel's count of calls within the running sequence, per thread.
// Null when the thread's record cannot be made.
template <class Real>
int64_t* update_call_counter();

// Clears the factor for a new sequence: R, B and sscp_error zero, D one,
// the extremes NaN, the counts zero.
template <class Real>
void start_factor(const Factor<Real>& f);

// Takes rows 0 .. n_rows - 1 of the source into the factor (adds them, or
// removes them when call.sign is -1).  row_missing, when not null, receives
// 1 for each row found missing and 0 for the others.  A negative frequency
// or weight is fatal (11054 to 11057) and ends the update at that row;
// false then.
template <class Real>
bool update_factor(const Factor<Real>& f, const RowSource<Real>& rows, int64_t n_rows, const UpdateCall& call,
                   int64_t* row_missing);

// The final step: drops constant and collinear columns (tolerance tol,
// relative), solves for the coefficients into B, subtracts the rank from
// df_error and brings R to its ordinary scale with D all 1.
template <class Real>
void finish_factor(const Factor<Real>& f, Real tol, int64_t* rank);

// Reports a column of X outside its n_col columns, numbered from
// index_base (11052 for a dependent, 11053 for an independent one, the
// column told from 1); false when one is.
bool check_columns(int64_t n_col, int64_t n_ind, const int64_t* ind_ind, int64_t n_dep, const int64_t* ind_dep,
                   int64_t index_base);

// The kernel with its whole argument list.  X is column-major (leading
// dimension ldx) with one-based column numbers; a negative nind means the
// first |nind| columns, a negative ndep the last |ndep|; ifrq and iwt are 0
// for none; a negative nrow removes rows; isub 1 keeps the intercept as
// running means.  R (ldr), B (ldb) and scpe (ldscpe) are column-major.
// irmiss, when given, receives the row flags of update_factor.
template <class Real>
void orvls_r2ivn(int64_t ido, int64_t nrow, int64_t ncol, const Real* x, int64_t ldx, int64_t intcep, int64_t nind,
                 const int64_t* indind, int64_t ndep, const int64_t* inddep, int64_t ifrq, int64_t iwt, int64_t isub,
                 Real tol, Real* b, int64_t ldb, Real* r, int64_t ldr, Real* d, int64_t* irank, Real* dfe, Real* scpe,
                 int64_t ldscpe, int64_t* nrmiss, Real* xmin, Real* xmax, Real* wk, int64_t* irmiss = nullptr);

}  // namespace orvls::regression
