// Solutions and the generalised inverse of an upper-triangular system in
// which a zero diagonal marks a row left out of the model.
#pragma once

#include <cstdint>

namespace orvls::kernels {

// What orvls_girts computes from the column-major n x n upper triangle R.
enum GirtsPath : int64_t {
    kSolve = 1,           // R X = B
    kSolveTransposed = 2, // R' X = B
    kInverse = 3,         // the generalised inverse of R
};

// Paths 1 and 2 solve for the nb columns of B (leading dimension ldb) into
// X (ldx), which may be B itself: a row at a zero diagonal gets 0, and a
// right-hand side that is not 0 there makes the system inconsistent, told
// once as type 3, code 11058 (row and column numbered from 1, the value).
// Path 3 writes into rinv (ldrinv) the inverse of the submatrix of non-zero
// diagonals, with zero rows and columns elsewhere; B and X are not used.
// *irank receives the number of non-zero diagonals on every path.
template <class Real>
void orvls_girts(int64_t n, const Real* r, int64_t ldr, int64_t nb, const Real* b, int64_t ldb, int64_t ipath,
                 int64_t* irank, Real* x, int64_t ldx, Real* rinv, int64_t ldrinv);

// Paths 1 and 2 within a tolerance, for right-hand sides computed in
// floating point: a row at a zero diagonal is consistent when what is left
// of it is at most `tolerance` times the sum of the magnitudes of the terms
// it came from: its right-hand side (or, where right_scale is given, the
// magnitude stored there, leading dimension ldb, for a right-hand side that
// is itself a difference) and the products with the components solved
// before it.  A tolerance of 0 asks for exactly 0.  (With path 1, a row of
// R that is 0 leaves the right-hand side's magnitude alone as the scale.)
// Such rows get 0 as before.  Nothing is raised: the result is 1 when some
// row was inconsistent, else 0.
template <class Real>
int64_t orvls_girts(int64_t n, const Real* r, int64_t ldr, int64_t nb, const Real* b, int64_t ldb, int64_t ipath,
                    Real tolerance, int64_t* irank, Real* x, int64_t ldx, const Real* right_scale = nullptr);

}  // namespace orvls::kernels
