#include "kernels/girts.h"

#include "kernels/vectors.h"
#include "orvls.h"

namespace orvls::kernels {
namespace {

template <class Real>
void report_inconsistent(bool& reported, int64_t row, int64_t column, Real value)
{
    if (reported)
        return;
    reported = true;
    orvls_e1sti(1, row + 1);
    orvls_e1sti(2, column + 1);
    orvls_e1std(1, value);
    orvls_ermes(3, 11058);
}

// Substitution with R (back, last row first) or with its transpose
// (forward, first row first).
template <class Real>
void substitute(int64_t n, Matrix<const Real> r, bool transposed, const Real* b, Real* x, int64_t column,
                bool& reported)
{
    for (int64_t step = 0; step < n; ++step) {
        const int64_t i = transposed ? step : n - 1 - step;
        Real v = b[i];
        if (transposed) {
            const Real* ri = r.column(i);
            for (int64_t j = 0; j < i; ++j)
                v -= ri[j] * x[j];
        } else {
            for (int64_t j = i + 1; j < n; ++j)
                v -= r(i, j) * x[j];
        }
        if (r(i, i) != 0) {
            x[i] = v / r(i, i);
        } else {
            x[i] = 0;
            if (v != 0)
                report_inconsistent(reported, i, column, v);
        }
    }
}

// Column j of the inverse from its diagonal upwards; entries at zero
// diagonals are 0, so the sums leave those rows out by themselves.
template <class Real>
void invert(int64_t n, Matrix<const Real> r, Matrix<Real> inverse)
{
    for (int64_t j = 0; j < n; ++j) {
        for (int64_t i = 0; i < n; ++i)
            inverse(i, j) = 0;
        if (r(j, j) == 0)
            continue;
        inverse(j, j) = 1 / r(j, j);
        for (int64_t i = j - 1; i >= 0; --i) {
            if (r(i, i) == 0)
                continue;
            Real sum = 0;
            for (int64_t k = i + 1; k <= j; ++k)
                sum += r(i, k) * inverse(k, j);
            inverse(i, j) = -sum / r(i, i);
        }
    }
}

}  // namespace

template <class Real>
void orvls_girts(int64_t n, const Real* r, int64_t ldr, int64_t nb, const Real* b, int64_t ldb, int64_t ipath,
                 int64_t* irank, Real* x, int64_t ldx, Real* rinv, int64_t ldrinv)
{
    const Matrix<const Real> triangle{r, ldr};
    *irank = 0;
    for (int64_t i = 0; i < n; ++i)
        *irank += triangle(i, i) != 0;
    bool reported = false;
    if (ipath == kInverse) {
        invert(n, triangle, Matrix<Real>{rinv, ldrinv});
        return;
    }
    for (int64_t column = 0; column < nb; ++column)
        substitute(n, triangle, ipath == kSolveTransposed, b + column * ldb, x + column * ldx, column, reported);
}

template void orvls_girts<float>(int64_t, const float*, int64_t, int64_t, const float*, int64_t, int64_t, int64_t*,
                                 float*, int64_t, float*, int64_t);
template void orvls_girts<double>(int64_t, const double*, int64_t, int64_t, const double*, int64_t, int64_t,
                                  int64_t*, double*, int64_t, double*, int64_t);

}  // namespace orvls::kernels
