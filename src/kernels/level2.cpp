// Matrix-vector kernels: the published level-2 operations on column-major
// matrices, by reference, with the option texts' lengths at the end.
#include "kernels/kernel_checks.h"
#include "kernels/vectors.h"
#include "orvls.h"

namespace orvls::kernels {
namespace {

// y := alpha op(A) x + beta y.
template <class Real>
void gemv(const char* name, const char* trans, int64_t trans_length, int64_t m, int64_t n, Real alpha,
          const Real* a, int64_t lda, const Real* x, int64_t incx, Real beta, Real* y, int64_t incy)
{
    KernelChecks check(name);
    if (!(check.dimension(m) && check.dimension(n) && check.leading_dimension(lda, m) && check.x_stride(incx) &&
          check.y_stride(incy) && check.option(trans, trans_length, "NTC")))
        return;
    if (m == 0 || n == 0 || (alpha == 0 && beta == 1))
        return;
    const bool plain = option_letter(trans, trans_length) == 'N';
    const Matrix<const Real> A{a, lda};
    scale_by_beta(plain ? m : n, beta, y, incy);
    if (alpha == 0)
        return;
    // Four columns at a time, so that y (plain) or x (transposed) is read
    // once for four columns of A.
    const auto xs = in_order(plain ? n : m, x, incx);
    const auto ys = in_order(plain ? m : n, y, incy);
    int64_t j = 0;
    for (; j + 4 <= n; j += 4) {
        const Real *a0 = A.column(j), *a1 = A.column(j + 1), *a2 = A.column(j + 2), *a3 = A.column(j + 3);
        if (plain) {
            const Real s0 = alpha * xs[j], s1 = alpha * xs[j + 1], s2 = alpha * xs[j + 2], s3 = alpha * xs[j + 3];
            for (int64_t i = 0; i < m; ++i)
                ys[i] += s0 * a0[i] + s1 * a1[i] + s2 * a2[i] + s3 * a3[i];
        } else {
            Real t0 = 0, t1 = 0, t2 = 0, t3 = 0;
            for (int64_t i = 0; i < m; ++i) {
                const Real xi = xs[i];
                t0 += a0[i] * xi;
                t1 += a1[i] * xi;
                t2 += a2[i] * xi;
                t3 += a3[i] * xi;
            }
            ys[j] += alpha * t0;
            ys[j + 1] += alpha * t1;
            ys[j + 2] += alpha * t2;
            ys[j + 3] += alpha * t3;
        }
    }
    for (; j < n; ++j) {
        const Real* aj = A.column(j);
        if (plain) {
            const Real scale = alpha * xs[j];
            for (int64_t i = 0; i < m; ++i)
                ys[i] += scale * aj[i];
        } else {
            Real t = 0;
            for (int64_t i = 0; i < m; ++i)
                t += aj[i] * xs[i];
            ys[j] += alpha * t;
        }
    }
}

// A := alpha x y' + A.
template <class Real>
void ger(const char* name, int64_t m, int64_t n, Real alpha, const Real* x, int64_t incx, const Real* y,
         int64_t incy, Real* a, int64_t lda)
{
    KernelChecks check(name);
    if (!(check.dimension(m) && check.dimension(n) && check.leading_dimension(lda, m) && check.x_stride(incx) &&
          check.y_stride(incy)))
        return;
    if (m == 0 || n == 0 || alpha == 0)
        return;
    const Matrix<Real> A{a, lda};
    const auto ys = in_order(n, y, incy);
    for (int64_t j = 0; j < n; ++j) {
        if (ys[j] == 0)
            continue;
        const Real scale = alpha * ys[j];
        for_each_element(
            m, [scale](const Real& xi, Real& aij) { aij += xi * scale; }, vector(x, incx), vector(A.column(j), 1));
    }
}

// Solves op(A) x = b for triangular A, b given and returned in x.
template <class Real>
void trsv(const char* name, const char* uplo, int64_t uplo_length, const char* trans, int64_t trans_length,
          const char* diag, int64_t diag_length, int64_t n, const Real* a, int64_t lda, Real* x, int64_t incx)
{
    KernelChecks check(name);
    if (!(check.dimension(n) && check.leading_dimension(lda, n) && check.x_stride(incx) &&
          check.option(uplo, uplo_length, "UL") && check.option(trans, trans_length, "NTC") &&
          check.option(diag, diag_length, "UN")))
        return;
    if (n == 0)
        return;
    const bool upper = option_letter(uplo, uplo_length) == 'U';
    const bool plain = option_letter(trans, trans_length) == 'N';
    const bool unit = option_letter(diag, diag_length) == 'U';
    const Matrix<const Real> A{a, lda};
    const auto xs = in_order(n, x, incx);
    // Forward substitution runs j upwards, backward substitution downwards.
    const bool forward = upper != plain;
    for (int64_t step = 0; step < n; ++step) {
        const int64_t j = forward ? step : n - 1 - step;
        // The rows of column j that are not yet solved (plain) or already solved (transposed).
        const int64_t low = upper ? 0 : j + 1;
        const int64_t high = upper ? j : n;
        if (plain) {
            if (xs[j] == 0)
                continue;
            if (!unit)
                xs[j] /= A(j, j);
            const Real solved = xs[j];
            for (int64_t i = low; i < high; ++i)
                xs[i] -= solved * A(i, j);
        } else {
            Real value = xs[j];
            for (int64_t i = low; i < high; ++i)
                value -= A(i, j) * xs[i];
            xs[j] = unit ? value : value / A(j, j);
        }
    }
}

// y := alpha A x + beta y for symmetric A, one triangle referenced.
template <class Real>
void symv(const char* name, const char* uplo, int64_t uplo_length, int64_t n, Real alpha, const Real* a,
          int64_t lda, const Real* x, int64_t incx, Real beta, Real* y, int64_t incy)
{
    KernelChecks check(name);
    if (!(check.dimension(n) && check.leading_dimension(lda, n) && check.x_stride(incx) && check.y_stride(incy) &&
          check.option(uplo, uplo_length, "UL")))
        return;
    if (n == 0 || (alpha == 0 && beta == 1))
        return;
    scale_by_beta(n, beta, y, incy);
    if (alpha == 0)
        return;
    const bool upper = option_letter(uplo, uplo_length) == 'U';
    const Matrix<const Real> A{a, lda};
    const auto xs = in_order(n, x, incx);
    const auto ys = in_order(n, y, incy);
    for (int64_t j = 0; j < n; ++j) {
        const Real scale = alpha * xs[j];
        Real dot = 0;
        const int64_t low = upper ? 0 : j + 1;
        const int64_t high = upper ? j : n;
        for (int64_t i = low; i < high; ++i) {
            ys[i] += scale * A(i, j);
            dot += A(i, j) * xs[i];
        }
        ys[j] += scale * A(j, j) + alpha * dot;
    }
}

// One triangle of A := alpha x x' + A (rank one) or A := alpha x y' + alpha y x' + A
// (rank two), skipping the columns the published operations skip.
template <class Real>
void update_triangle(bool upper, int64_t n, const Matrix<Real>& A, const InOrder<const Real>& xs,
                     const InOrder<const Real>& ys, Real alpha, bool rank_two)
{
    for (int64_t j = 0; j < n; ++j) {
        if (xs[j] == 0 && (!rank_two || ys[j] == 0))
            continue;
        const Real x_scale = alpha * (rank_two ? ys[j] : xs[j]);
        const Real y_scale = rank_two ? alpha * xs[j] : Real(0);
        const int64_t low = upper ? 0 : j;
        const int64_t high = upper ? j + 1 : n;
        if (rank_two)
            for (int64_t i = low; i < high; ++i)
                A(i, j) += xs[i] * x_scale + ys[i] * y_scale;
        else
            for (int64_t i = low; i < high; ++i)
                A(i, j) += xs[i] * x_scale;
    }
}

// A := alpha x x' + A, symmetric A, one triangle.
template <class Real>
void syr(const char* name, const char* uplo, int64_t uplo_length, int64_t n, Real alpha, const Real* x,
         int64_t incx, Real* a, int64_t lda)
{
    KernelChecks check(name);
    if (!(check.dimension(n) && check.leading_dimension(lda, n) && check.x_stride(incx) &&
          check.option(uplo, uplo_length, "UL")))
        return;
    if (n == 0 || alpha == 0)
        return;
    const auto xs = in_order(n, x, incx);
    update_triangle(option_letter(uplo, uplo_length) == 'U', n, Matrix<Real>{a, lda}, xs, xs, alpha, false);
}

// A := alpha x y' + alpha y x' + A, symmetric A, one triangle.
template <class Real>
void syr2(const char* name, const char* uplo, int64_t uplo_length, int64_t n, Real alpha, const Real* x,
          int64_t incx, const Real* y, int64_t incy, Real* a, int64_t lda)
{
    KernelChecks check(name);
    if (!(check.dimension(n) && check.leading_dimension(lda, n) && check.x_stride(incx) && check.y_stride(incy) &&
          check.option(uplo, uplo_length, "UL")))
        return;
    if (n == 0 || alpha == 0)
        return;
    update_triangle(option_letter(uplo, uplo_length) == 'U', n, Matrix<Real>{a, lda}, in_order(n, x, incx),
                    in_order(n, y, incy), alpha, true);
}

}  // namespace
}  // namespace orvls::kernels

using namespace orvls::kernels;

extern "C" {

ORVLS_API void orvls_sgemv(const char* trans, const int64_t* m, const int64_t* n, const float* alpha,
                           const float* a, const int64_t* lda, const float* x, const int64_t* incx,
                           const float* beta, float* y, const int64_t* incy, int64_t trans_length)
{
    gemv("orvls_sgemv ", trans, trans_length, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}
ORVLS_API void orvls_dgemv(const char* trans, const int64_t* m, const int64_t* n, const double* alpha,
                           const double* a, const int64_t* lda, const double* x, const int64_t* incx,
                           const double* beta, double* y, const int64_t* incy, int64_t trans_length)
{
    gemv("orvls_dgemv ", trans, trans_length, *m, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}

ORVLS_API void orvls_sger(const int64_t* m, const int64_t* n, const float* alpha, const float* x,
                          const int64_t* incx, const float* y, const int64_t* incy, float* a, const int64_t* lda)
{
    ger("orvls_sger ", *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
ORVLS_API void orvls_dger(const int64_t* m, const int64_t* n, const double* alpha, const double* x,
                          const int64_t* incx, const double* y, const int64_t* incy, double* a, const int64_t* lda)
{
    ger("orvls_dger ", *m, *n, *alpha, x, *incx, y, *incy, a, *lda);
}

ORVLS_API void orvls_strsv(const char* uplo, const char* trans, const char* diag, const int64_t* n, const float* a,
                           const int64_t* lda, float* x, const int64_t* incx, int64_t uplo_length,
                           int64_t trans_length, int64_t diag_length)
{
    trsv("orvls_strsv ", uplo, uplo_length, trans, trans_length, diag, diag_length, *n, a, *lda, x, *incx);
}
ORVLS_API void orvls_dtrsv(const char* uplo, const char* trans, const char* diag, const int64_t* n,
                           const double* a, const int64_t* lda, double* x, const int64_t* incx, int64_t uplo_length,
                           int64_t trans_length, int64_t diag_length)
{
    trsv("orvls_dtrsv ", uplo, uplo_length, trans, trans_length, diag, diag_length, *n, a, *lda, x, *incx);
}

ORVLS_API void orvls_ssymv(const char* uplo, const int64_t* n, const float* alpha, const float* a,
                           const int64_t* lda, const float* x, const int64_t* incx, const float* beta, float* y,
                           const int64_t* incy, int64_t uplo_length)
{
    symv("orvls_ssymv ", uplo, uplo_length, *n, *alpha, a, *lda, x, *incx, *beta, y, *incy);
}

ORVLS_API void orvls_ssyr(const char* uplo, const int64_t* n, const float* alpha, const float* x,
                          const int64_t* incx, float* a, const int64_t* lda, int64_t uplo_length)
{
    syr("orvls_ssyr ", uplo, uplo_length, *n, *alpha, x, *incx, a, *lda);
}

ORVLS_API void orvls_ssyr2(const char* uplo, const int64_t* n, const float* alpha, const float* x,
                           const int64_t* incx, const float* y, const int64_t* incy, float* a, const int64_t* lda,
                           int64_t uplo_length)
{
    syr2("orvls_ssyr2 ", uplo, uplo_length, *n, *alpha, x, *incx, y, *incy, a, *lda);
}
ORVLS_API void orvls_dsyr2(const char* uplo, const int64_t* n, const double* alpha, const double* x,
                           const int64_t* incx, const double* y, const int64_t* incy, double* a,
                           const int64_t* lda, int64_t uplo_length)
{
    syr2("orvls_dsyr2 ", uplo, uplo_length, *n, *alpha, x, *incx, y, *incy, a, *lda);
}

}  // extern "C"
