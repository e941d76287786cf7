// Corrected cross-products and the symmetric sweep of variable selection.
#include "regression/sscp.h"

#include <cmath>

namespace orvls::regression {

namespace {

template <class Real>
Real row_weight(int64_t i, int64_t m, const Real* x, int64_t ld, const Real* y, const Real* frequencies,
                const Real* weights)
{
    const Real f = frequencies != nullptr ? frequencies[i] : Real(1);
    const Real w = weights != nullptr ? weights[i] : Real(1);
    if (!(f > 0 && w > 0) || std::isnan(y[i]))
        return 0;
    for (int64_t j = 0; j < m; ++j)
        if (std::isnan(x[i * ld + j]))
            return 0;
    return f * w;
}

}  // namespace

template <class Real>
Real corrected_sscp(int64_t n_rows, int64_t m, const Real* x, int64_t ld, const Real* y, const Real* frequencies,
                    const Real* weights, Real* means, Real* triangle)
{
    auto value = [&](int64_t i, int64_t j) { return j < m ? x[i * ld + j] : y[i]; };
    const int64_t n = m + 1;
    Real total_weight = 0, count = 0;
    for (int64_t j = 0; j < n; ++j)
        means[j] = 0;
    for (int64_t k = 0; k < n * (n + 1) / 2; ++k)
        triangle[k] = 0;
    for (int64_t i = 0; i < n_rows; ++i) {
        const Real w = row_weight(i, m, x, ld, y, frequencies, weights);
        if (w <= 0)
            continue;
        total_weight += w;
        count += frequencies != nullptr ? frequencies[i] : Real(1);
        for (int64_t j = 0; j < n; ++j)
            means[j] += w * value(i, j);
    }
    for (int64_t j = 0; j < n && total_weight > 0; ++j)
        means[j] /= total_weight;
    // Products about the means, so that no large square cancels.
    for (int64_t i = 0; i < n_rows; ++i) {
        const Real w = row_weight(i, m, x, ld, y, frequencies, weights);
        if (w <= 0)
            continue;
        for (int64_t b = 0; b < n; ++b) {
            const Real db = value(i, b) - means[b];
            for (int64_t a = 0; a <= b; ++a)
                triangle[packed(a, b)] += w * (value(i, a) - means[a]) * db;
        }
    }
    return count;
}

template <class Real>
void sweep_packed(int64_t n, Real* triangle, int64_t k, bool forward, int64_t first)
{
    const Real pivot = triangle[packed(k, k)];
    const Real sign = forward ? Real(1) : Real(-1);
    for (int64_t b = first; b < n; ++b) {
        if (b == k)
            continue;
        const Real kb = triangle[packed(k, b)] / pivot;
        Real* column = triangle + packed(0, b);
        for (int64_t a = first; a <= b; ++a)
            if (a != k)
                column[a] -= triangle[packed(a, k)] * kb;
    }
    for (int64_t a = first; a < n; ++a)
        if (a != k)
            triangle[packed(a, k)] = sign * triangle[packed(a, k)] / pivot;
    triangle[packed(k, k)] = Real(-1) / pivot;
}

template float corrected_sscp(int64_t, int64_t, const float*, int64_t, const float*, const float*, const float*,
                              float*, float*);
template double corrected_sscp(int64_t, int64_t, const double*, int64_t, const double*, const double*, const double*,
                               double*, double*);
template void sweep_packed(int64_t, float*, int64_t, bool, int64_t);
template void sweep_packed(int64_t, double*, int64_t, bool, int64_t);

}  // namespace orvls::regression
