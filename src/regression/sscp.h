// The packed matrix of corrected sums of squares and cross-products that
// variable selection works on, and the symmetric sweep over it.
#pragma once

#include <cstdint>

namespace orvls::regression {

// Place of entry (i, j), i <= j, of a triangle packed by columns.
inline int64_t packed(int64_t i, int64_t j) { return i < j ? i + j * (j + 1) / 2 : j + i * (i + 1) / 2; }

// The corrected cross-products of the m candidate columns of x (row length
// ld) and of y, which comes last, over the rows with no missing value and a
// positive frequency times weight.  Returns the sum of the frequencies of
// those rows.  means receives the m + 1 weighted means.
template <class Real>
Real corrected_sscp(int64_t n_rows, int64_t m, const Real* x, int64_t ld, const Real* y, const Real* frequencies,
                    const Real* weights, Real* means, Real* triangle);

// Sweeps variable k of the n x n packed symmetric matrix in (forward) or out
// (reverse).  A swept-in block holds minus the inverse of its
// cross-products, its columns against the others the coefficients.
template <class Real>
void sweep_packed(int64_t n, Real* triangle, int64_t k, bool forward);

}  // namespace orvls::regression
