// Symmetric matrices: completing one from its upper triangle, and the
// Cholesky factor of a non-negative definite one, with a zero row of the
// factor at each column that depends on the columns before it.
#pragma once

#include <cstdint>

namespace orvls::kernels {

// How a matrix argument is stored: by columns (element (i, j) at i + j ld)
// or by rows (at i ld + j).
enum class Storage { column_major, row_major };

// Copies the upper triangle of the n x n matrix a (leading dimension lda)
// into its lower triangle, so that a becomes symmetric.
template <class Real>
void orvls_dcsfrg(int64_t n, Real* a, int64_t lda, Storage storage = Storage::column_major);

// Factors the symmetric n x n matrix a (column-major, leading dimension lda,
// upper triangle read) as R'R, R upper triangular, written to r (ldr, its
// lower triangle set to 0; r must not overlap a).  Column j, with s = a(j, j) less the squares above the
// diagonal of column j of R, takes R(j, j) = sqrt(s) when s is above
// tol a(j, j); at most that, the column depends on the ones before it and
// row j of R is 0.  *irank counts the non-zero rows.  The result is 1, with
// r partly written, when a is not non-negative definite within tol: s below
// -tol a(j, j), or a dependent row j whose element k left over, e, has
// e^2 above tol a(j, j) a(k, k); else 0.  tol lies in 0 to 1.
template <class Real>
int64_t orvls_chfac(int64_t n, const Real* a, int64_t lda, Real tol, int64_t* irank, Real* r, int64_t ldr);

}  // namespace orvls::kernels
