#include "kernels/symmetric.h"

#include <cmath>

#include "kernels/vectors.h"

namespace orvls::kernels {

template <class Real>
void orvls_dcsfrg(int64_t n, Real* a, int64_t lda, Storage storage)
{
    const int64_t row_step = storage == Storage::column_major ? 1 : lda;
    const int64_t column_step = storage == Storage::column_major ? lda : 1;
    for (int64_t j = 0; j + 1 < n; ++j)
        for (int64_t i = j + 1; i < n; ++i)
            a[i * row_step + j * column_step] = a[j * row_step + i * column_step];
}

template <class Real>
int64_t orvls_chfac(int64_t n, const Real* a, int64_t lda, Real tol, int64_t* irank, Real* r, int64_t ldr)
{
    const Matrix<const Real> A{a, lda};
    const Matrix<Real> R{r, ldr};
    *irank = 0;
    for (int64_t j = 0; j < n; ++j) {
        const Real* column = R.column(j);
        for (int64_t i = 0; i < j; ++i) {
            const Real left = A(i, j) - sum_of<4, Real>(i, [](Real x, Real y) { return x * y; },
                                                        vector(R.column(i), 1), vector(column, 1));
            if (R(i, i) != 0) {
                R(i, j) = left / R(i, i);
                continue;
            }
            // Row i depends on the rows above it: what is left of it must
            // be as small as a non-negative definite matrix allows.
            if (left * left > tol * A(i, i) * A(j, j))
                return 1;
            R(i, j) = 0;
        }
        const Real pivot = A(j, j) - sum_of<4, Real>(j, [](Real x) { return x * x; }, vector(column, 1));
        if (pivot < -tol * A(j, j))
            return 1;
        const bool dependent = pivot <= tol * A(j, j);
        R(j, j) = dependent ? Real(0) : std::sqrt(pivot);
        *irank += !dependent;
        for (int64_t i = j + 1; i < n; ++i)
            R(i, j) = 0;
    }
    return 0;
}

template void orvls_dcsfrg<float>(int64_t, float*, int64_t, Storage);
template void orvls_dcsfrg<double>(int64_t, double*, int64_t, Storage);
template int64_t orvls_chfac<float>(int64_t, const float*, int64_t, float, int64_t*, float*, int64_t);
template int64_t orvls_chfac<double>(int64_t, const double*, int64_t, double, int64_t*, double*, int64_t);

}  // namespace orvls::kernels
