// The level-2 and level-3 kernels against the reference BLAS over sizes,
// strides, scales and option letters; the blocked product on every
// micro-kernel the processor has.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kernels/gemm.h"
#include "reference_blas.h"

namespace {

template <class>
class Matrix : public ::testing::Test {};
TYPED_TEST_SUITE(Matrix, Reals);

const int kDimensions[] = {0, 1, 2, 3, 5, 8, 17, 33};
const int kMatrixStrides[] = {1, -2, 3};

template <class Real>
double tolerance(int depth)
{
    return 4.0 * (depth + 2) * std::numeric_limits<Real>::epsilon();
}

TYPED_TEST(Matrix, MatrixVectorProductsAndUpdates)
{
    using Real = TypeParam;
    using A = Api<Real>;
    const Real scales[][2] = {{1.5, 0}, {-0.5, 1}, {0, 0.25}, {1, -2}};
    for (int m : kDimensions)
        for (int n : kDimensions)
            for (int incx : kMatrixStrides)
                for (int incy : kMatrixStrides) {
                    SCOPED_TRACE(::testing::Message() << m << " x " << n << " incx " << incx << " incy " << incy);
                    const int lda = std::max(1, m + 2);
                    const int64_t m64 = m, n64 = n, lda64 = lda, incx64 = incx, incy64 = incy;
                    const auto a = random_values<Real>(size_t(lda) * std::max(n, 1), m * 40 + n);
                    for (const char* trans : {"N", "T", "c"}) {
                        const bool plain = trans[0] == 'N';
                        const auto x = random_values<Real>(span(plain ? n : m, incx), 7);
                        const auto y = random_values<Real>(span(plain ? m : n, incy), 8);
                        for (const auto& scale : scales) {
                            auto ours = y, reference = y;
                            A::gemv(trans, &m64, &n64, &scale[0], a.data(), &lda64, x.data(), &incx64, &scale[1],
                                    ours.data(), &incy64, 1);
                            A::ref_gemv(trans, &m, &n, &scale[0], a.data(), &lda, x.data(), &incx, &scale[1],
                                        reference.data(), &incy, 1);
                            expect_near(ours, reference, tolerance<Real>(plain ? n : m) * 2);
                        }
                    }
                    const auto x = random_values<Real>(span(m, incx), 9);
                    const auto y = random_values<Real>(span(n, incy), 10);
                    auto ours = a, reference = a;
                    const Real alpha = Real(-0.75);
                    A::ger(&m64, &n64, &alpha, x.data(), &incx64, y.data(), &incy64, ours.data(), &lda64);
                    A::ref_ger(&m, &n, &alpha, x.data(), &incx, y.data(), &incy, reference.data(), &lda);
                    expect_near(ours, reference, tolerance<Real>(1));
                    if (m != n)
                        continue;
                    // The symmetric kernels, both triangles; the product and the
                    // rank-1 update come in float alone.
                    const auto ys = random_values<Real>(span(n, incy), 11);
                    for (const char* uplo : {"U", "l"}) {
                        ours = reference = a;
                        A::syr2(uplo, &n64, &alpha, x.data(), &incx64, ys.data(), &incy64, ours.data(), &lda64, 1);
                        A::ref_syr2(uplo, &n, &alpha, x.data(), &incx, ys.data(), &incy, reference.data(), &lda, 1);
                        expect_near(ours, reference, tolerance<Real>(1));
                        if constexpr (std::is_same_v<Real, float>) {
                            for (float beta : {-0.5f, 0.0f}) {
                                auto product = ys, reference_product = ys;
                                orvls_ssymv(uplo, &n64, &alpha, a.data(), &lda64, x.data(), &incx64, &beta,
                                            product.data(), &incy64, 1);
                                ssymv_(uplo, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta,
                                       reference_product.data(), &incy, 1);
                                expect_near(product, reference_product, tolerance<float>(n) * 2);
                            }
                            ours = reference = a;
                            orvls_ssyr(uplo, &n64, &alpha, x.data(), &incx64, ours.data(), &lda64, 1);
                            ssyr_(uplo, &n, &alpha, x.data(), &incx, reference.data(), &lda, 1);
                            expect_near(ours, reference, tolerance<float>(1));
                        }
                    }
                }
}

TYPED_TEST(Matrix, TriangularSolve)
{
    using Real = TypeParam;
    using A = Api<Real>;
    for (int n : kDimensions)
        for (int incx : kMatrixStrides) {
            const int lda = std::max(1, n + 1);
            const int64_t n64 = n, lda64 = lda, incx64 = incx;
            // Small off-diagonal elements keep the systems well conditioned,
            // also with a unit diagonal.
            auto a = random_values<Real>(size_t(lda) * std::max(n, 1), n + 20);
            for (Real& e : a)
                e /= Real(n + 1);
            for (int j = 0; j < n; ++j)
                a[j + size_t(j) * lda] = Real(2);
            const auto b = random_values<Real>(span(n, incx), n + 21);
            for (const char* uplo : {"U", "L"})
                for (const char* trans : {"N", "T", "C"})
                    for (const char* diag : {"N", "u"}) {
                        SCOPED_TRACE(::testing::Message() << n << uplo << trans << diag << " incx " << incx);
                        auto ours = b, reference = b;
                        A::trsv(uplo, trans, diag, &n64, a.data(), &lda64, ours.data(), &incx64, 1, 1, 1);
                        A::ref_trsv(uplo, trans, diag, &n, a.data(), &lda, reference.data(), &incx, 1, 1, 1);
                        expect_near(ours, reference, tolerance<Real>(n));
                    }
        }
}

TYPED_TEST(Matrix, MatrixProduct)
{
    using Real = TypeParam;
    using A = Api<Real>;
    // Small shapes take the published loops, large ones the blocks (past the
    // block depth of 256 and the block height of 96).
    const int shapes[][3] = {{0, 3, 2}, {3, 0, 2}, {4, 3, 0}, {1, 1, 1}, {5, 7, 3}, {17, 9, 33},
                             {64, 64, 64}, {130, 37, 300}, {97, 250, 13}, {31, 5, 400}};
    const Real scales[][2] = {{1, 0}, {-0.5, 1}, {0, 0.25}, {2, -1}};
    for (const auto& shape : shapes)
        for (const char* transa : {"N", "T"})
            for (const char* transb : {"n", "C"}) {
                const int m = shape[0], n = shape[1], k = shape[2];
                SCOPED_TRACE(::testing::Message() << m << " x " << n << " x " << k << " " << transa << transb);
                const int rows_a = transa[0] == 'N' ? m : k, columns_a = transa[0] == 'N' ? k : m;
                const int rows_b = transb[0] == 'n' ? k : n, columns_b = transb[0] == 'n' ? n : k;
                const int lda = std::max(1, rows_a + 1), ldb = std::max(1, rows_b), ldc = std::max(1, m + 3);
                const int64_t m64 = m, n64 = n, k64 = k, lda64 = lda, ldb64 = ldb, ldc64 = ldc;
                const auto a = random_values<Real>(size_t(lda) * std::max(columns_a, 1), m + 50);
                const auto b = random_values<Real>(size_t(ldb) * std::max(columns_b, 1), n + 51);
                auto c = random_values<Real>(size_t(ldc) * std::max(n, 1), k + 52);
                c[0] = std::numeric_limits<Real>::quiet_NaN();  // a beta of 0 clears it
                for (const auto& scale : scales) {
                    auto ours = c, reference = c;
                    A::gemm(transa, transb, &m64, &n64, &k64, &scale[0], a.data(), &lda64, b.data(), &ldb64, &scale[1],
                            ours.data(), &ldc64, 1, 1);
                    A::ref_gemm(transa, transb, &m, &n, &k, &scale[0], a.data(), &lda, b.data(), &ldb, &scale[1],
                                reference.data(), &ldc, 1, 1);
                    for (size_t i = 0; i < ours.size(); ++i)
                        if (std::isnan(reference[i]))
                            ours[i] = reference[i] = 0;
                        else
                            ASSERT_FALSE(std::isnan(ours[i])) << i;
                    expect_near(ours, reference, tolerance<Real>(k) * 2);
                }
            }
}

// Shapes that leave full and partial tiles of one and two vectors of rows
// and of narrow and full column slivers, with either operand transposed.
TYPED_TEST(Matrix, BlockedProductOnEveryMicroKernel)
{
    using Real = TypeParam;
    using orvls::kernels::InstructionSet;
    struct Shape {
        int m, n, k;
        const char *transa, *transb;
    };
    const Shape shapes[] = {{203, 29, 517, "N", "N"}, {50, 50, 50, "N", "N"}, {50, 50, 50, "T", "N"},
                            {50, 5, 50, "N", "T"},    {9, 3, 40, "T", "T"},   {41, 14, 33, "N", "N"}};
    for (const Shape& shape : shapes) {
        const int m = shape.m, n = shape.n, k = shape.k;
        const bool ta = shape.transa[0] == 'T', tb = shape.transb[0] == 'T';
        const int lda = (ta ? k : m) + 3, ldb = (tb ? n : k) + 2, ldc = m + 1;
        const auto a = random_values<Real>(size_t(lda) * (ta ? m : k), 60);
        const auto b = random_values<Real>(size_t(ldb) * (tb ? k : n), 61);
        const auto c = random_values<Real>(size_t(ldc) * n, 62);
        const Real alpha = Real(0.75), one = 1;
        auto reference = c;
        Api<Real>::ref_gemm(shape.transa, shape.transb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &one,
                            reference.data(), &ldc, 1, 1);
        for (InstructionSet set : {InstructionSet::baseline, InstructionSet::avx2, InstructionSet::avx512}) {
            if (!orvls::kernels::processor_supports(set))
                continue;
            SCOPED_TRACE(::testing::Message() << "set " << int(set) << ", " << m << " x " << n << " x " << k << " "
                                              << shape.transa << shape.transb);
            auto ours = c;
            ASSERT_TRUE(orvls::kernels::blocked_product<Real>(set, m, n, k, alpha, a.data(), lda, ta, b.data(), ldb,
                                                              tb, ours.data(), ldc));
            expect_near(ours, reference, tolerance<Real>(k) * 2);
        }
    }
}

}  // namespace
