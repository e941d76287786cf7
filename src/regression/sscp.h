// The packed matrix of corrected sums of squares and cross-products that
// variable selection works on, and the symmetric sweep over it.
#pragma once

#include <cstdint>
#include <limits>

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

// The same from the data, or from the (m + 1) square covariance matrix of
// cov_observations rows given in its place, scaled by n - 1.  Returns the
// number of observations.
template <class Real>
Real cross_products(int64_t n_rows, int64_t m, const Real* x, int64_t ld, const Real* y, const Real* frequencies,
                    const Real* weights, bool cov_input, int64_t cov_observations, const Real* covariances,
                    Real* means, Real* triangle)
{
    if (!cov_input)
        return corrected_sscp(n_rows, m, x, ld, y, frequencies, weights, means, triangle);
    const Real scale = Real(cov_observations - 1);
    for (int64_t b = 0; b <= m; ++b) {
        means[b] = std::numeric_limits<Real>::quiet_NaN();
        for (int64_t a = 0; a <= b; ++a)
            triangle[packed(a, b)] = scale * covariances[a * (m + 1) + b];
    }
    return Real(cov_observations);
}

// Sweeps variable k of the n x n packed symmetric matrix in (forward) or out
// (reverse).  A swept-in block holds minus the inverse of its
// cross-products, its columns against the others the coefficients.  Only
// the variables from `first` on are updated (k among them); the rest of the
// matrix is left as it was.
template <class Real>
void sweep_packed(int64_t n, Real* triangle, int64_t k, bool forward, int64_t first = 0);

}  // namespace orvls::regression
