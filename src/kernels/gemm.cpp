// Matrix product C := alpha op(A) op(B) + beta C.
//
// Large products run blocked: a kc x nc panel of op(B) and an mc x kc block
// of alpha op(A) are packed into contiguous slivers, nr columns and mr rows
// wide, and a register-blocked micro-kernel multiplies one mr x nr tile at a
// time.  The micro-kernel is plain C++ that the compiler vectorises; it is
// compiled for the baseline instruction set and for two wider ones, and the
// widest the processor has is chosen at run time, so the library runs on any
// x86-64 machine.  Small products, and any product whose packing buffers
// cannot be had, take the published loops.
#include <algorithm>
#include <cstring>

#include "frame/memory.h"
#include "kernels/gemm.h"
#include "kernels/kernel_checks.h"
#include "kernels/vectors.h"
#include "orvls.h"

namespace orvls::kernels {
namespace {

// Block sizes: an mc x kc block of A stays in the level-2 cache, a kc x nr
// sliver of B in the level-1 cache.  mc and nc are multiples of every mr and nr.
constexpr int64_t kBlockRows = 96;
constexpr int64_t kBlockDepth = 256;
constexpr int64_t kBlockColumns = 2040;
// Below this many multiply-adds the published loops are as fast.
constexpr int64_t kBlockedWork = 24 * 24 * 24;

// op(X) of a stored matrix: X itself or its transpose.
template <class Real>
struct Operand {
    Matrix<const Real> stored;
    bool transposed;
    Real operator()(int64_t i, int64_t j) const { return transposed ? stored(j, i) : stored(i, j); }
};

// C += alpha op(A) op(B), column by column of C.  With A as stored, four
// columns of A at a time, so that each element of C is read and written once
// for four of them; with A transposed, each element of C is a dot product of
// a stored column of A with a column of op(B).
template <class Real>
void plain_product(int64_t m, int64_t n, int64_t k, Real alpha, const Operand<Real>& A, const Operand<Real>& B,
                   const Matrix<Real>& C)
{
    for (int64_t j = 0; j < n; ++j) {
        Real* c = C.column(j);
        if (A.transposed) {
            for (int64_t i = 0; i < m; ++i) {
                const Real* a = A.stored.column(i);
                Real sum = 0;
                for (int64_t l = 0; l < k; ++l)
                    sum += a[l] * B(l, j);
                c[i] += alpha * sum;
            }
            continue;
        }
        int64_t l = 0;
        for (; l + 4 <= k; l += 4) {
            const Real s0 = alpha * B(l, j), s1 = alpha * B(l + 1, j), s2 = alpha * B(l + 2, j),
                       s3 = alpha * B(l + 3, j);
            const Real *a0 = A.stored.column(l), *a1 = A.stored.column(l + 1), *a2 = A.stored.column(l + 2),
                       *a3 = A.stored.column(l + 3);
            for (int64_t i = 0; i < m; ++i)
                c[i] += s0 * a0[i] + s1 * a1[i] + s2 * a2[i] + s3 * a3[i];
        }
        for (; l < k; ++l) {
            const Real scale = alpha * B(l, j);
            const Real* a = A.stored.column(l);
            for (int64_t i = 0; i < m; ++i)
                c[i] += scale * a[i];
        }
    }
}

// Slivers of mr rows of alpha op(A)(rows, depth): element (i, p) of a sliver at
// p * mr + i; rows past the end are zero.
template <class Real>
void pack_a(const Operand<Real>& A, Real alpha, int64_t row0, int64_t rows, int64_t depth0, int64_t depth, int mr,
            Real* packed)
{
    for (int64_t r = 0; r < rows; r += mr, packed += depth * mr) {
        const int64_t height = std::min<int64_t>(mr, rows - r);
        if (height < mr)
            std::fill(packed, packed + depth * mr, Real(0));
        // Along the stored matrix's columns, whichever way it is read.
        if (A.transposed) {
            for (int64_t i = 0; i < height; ++i) {
                const Real* a = A.stored.column(row0 + r + i) + depth0;
                for (int64_t p = 0; p < depth; ++p)
                    packed[p * mr + i] = alpha * a[p];
            }
        } else {
            for (int64_t p = 0; p < depth; ++p) {
                const Real* a = A.stored.column(depth0 + p) + row0 + r;
                for (int64_t i = 0; i < height; ++i)
                    packed[p * mr + i] = alpha * a[i];
            }
        }
    }
}

// Slivers of nr columns of op(B)(depth, columns): element (p, j) at p * nr + j.
template <class Real>
void pack_b(const Operand<Real>& B, int64_t depth0, int64_t depth, int64_t column0, int64_t columns, int nr,
            Real* packed)
{
    for (int64_t s = 0; s < columns; s += nr, packed += depth * nr) {
        const int64_t width = std::min<int64_t>(nr, columns - s);
        if (width < nr)
            std::fill(packed, packed + depth * nr, Real(0));
        if (B.transposed) {
            for (int64_t p = 0; p < depth; ++p) {
                const Real* b = B.stored.column(depth0 + p) + column0 + s;
                for (int64_t j = 0; j < width; ++j)
                    packed[p * nr + j] = b[j];
            }
        } else {
            for (int64_t j = 0; j < width; ++j) {
                const Real* b = B.stored.column(column0 + s + j) + depth0;
                for (int64_t p = 0; p < depth; ++p)
                    packed[p * nr + j] = b[p];
            }
        }
    }
}

// One packed block product: C(rows, columns) += packed A times packed B.
template <class Real>
struct PackedBlock {
    const Real* a;
    const Real* b;
    int64_t rows, columns, depth;
    Real* c;
    int64_t ldc;
};

// The tile shape per instruction set: two vector registers of rows, and as
// many columns as leave registers for the operands.
template <class Real>
constexpr int rows_in(int vector_bytes)
{
    return 2 * vector_bytes / int(sizeof(Real));
}

// A tile product of Vectors x L rows and Columns columns, accumulated in
// registers, then added to C.  The accumulators are written as vectors of
// the target's width: each column of the tile is Vectors vectors, each step
// one broadcast multiply-add per vector.  The packed slivers are MR rows and
// NR columns wide, so that a tile at the edge of C may compute fewer.
template <class Real, int VectorBytes, int NR, int Vectors, int Columns>
[[gnu::always_inline]] inline void micro_tile(int64_t depth, const Real* __restrict a, const Real* __restrict b,
                                              Real* __restrict c, int64_t ldc, int64_t rows, int64_t columns)
{
    typedef Real Lanes __attribute__((vector_size(VectorBytes)));
    constexpr int L = VectorBytes / int(sizeof(Real));
    constexpr int MR = 2 * L;
    Lanes sum[Vectors][Columns] = {};
    for (int64_t p = 0; p < depth; ++p, a += MR, b += NR) {
        Lanes column[Vectors];
        for (int v = 0; v < Vectors; ++v)
            std::memcpy(&column[v], a + v * L, sizeof column[v]);
        for (int j = 0; j < Columns; ++j)
            for (int v = 0; v < Vectors; ++v)
                sum[v][j] += column[v] * b[j];
    }
    if (rows == Vectors * L && columns == Columns) {
        for (int j = 0; j < Columns; ++j)
            for (int v = 0; v < Vectors; ++v) {
                Lanes cv;
                std::memcpy(&cv, c + j * ldc + v * L, sizeof cv);
                cv += sum[v][j];
                std::memcpy(c + j * ldc + v * L, &cv, sizeof cv);
            }
        return;
    }
    for (int64_t j = 0; j < columns; ++j)
        for (int64_t i = 0; i < rows; ++i)
            c[i + j * ldc] += sum[i / L][j][i % L];
}

// The tiles of one packed block; at the edges of C, a tile of one vector of
// rows, or of four columns, when that covers what is left.
template <class Real, int VectorBytes, int NR>
[[gnu::always_inline]] inline void block_product(const PackedBlock<Real>& block)
{
    constexpr int MR = rows_in<Real>(VectorBytes);
    constexpr int L = MR / 2;
    constexpr int Narrow = NR < 4 ? NR : 4;
    for (int64_t s = 0; s < block.columns; s += NR)
        for (int64_t r = 0; r < block.rows; r += MR) {
            const Real* a = block.a + r * block.depth;
            const Real* b = block.b + s * block.depth;
            Real* c = block.c + r + s * block.ldc;
            const int64_t rows = std::min<int64_t>(MR, block.rows - r);
            const int64_t columns = std::min<int64_t>(NR, block.columns - s);
            if (columns <= Narrow) {
                if (rows <= L)
                    micro_tile<Real, VectorBytes, NR, 1, Narrow>(block.depth, a, b, c, block.ldc, rows, columns);
                else
                    micro_tile<Real, VectorBytes, NR, 2, Narrow>(block.depth, a, b, c, block.ldc, rows, columns);
            } else if (rows <= L) {
                micro_tile<Real, VectorBytes, NR, 1, NR>(block.depth, a, b, c, block.ldc, rows, columns);
            } else {
                micro_tile<Real, VectorBytes, NR, 2, NR>(block.depth, a, b, c, block.ldc, rows, columns);
            }
        }
}

template <class Real>
void block_product_baseline(const PackedBlock<Real>& block)
{
    block_product<Real, 16, 4>(block);
}
template <class Real>
[[gnu::target("avx2,fma")]] void block_product_avx2(const PackedBlock<Real>& block)
{
    block_product<Real, 32, 6>(block);
}
template <class Real>
[[gnu::target("avx512f,avx2,fma")]] void block_product_avx512(const PackedBlock<Real>& block)
{
    block_product<Real, 64, 12>(block);
}

// A micro-kernel and its tile shape.
template <class Real>
struct BlockedPath {
    void (*product)(const PackedBlock<Real>&);
    int mr, nr;
};

template <class Real>
BlockedPath<Real> path_for(InstructionSet set)
{
    switch (set) {
    case InstructionSet::avx512:
        return {block_product_avx512<Real>, rows_in<Real>(64), 12};
    case InstructionSet::avx2:
        return {block_product_avx2<Real>, rows_in<Real>(32), 6};
    default:
        return {block_product_baseline<Real>, rows_in<Real>(16), 4};
    }
}

int64_t round_up(int64_t value, int64_t step) { return (value + step - 1) / step * step; }

template <class Real>
void gemm(const char* name, const char* transa, int64_t transa_length, const char* transb, int64_t transb_length,
          int64_t m, int64_t n, int64_t k, Real alpha, const Real* a, int64_t lda, const Real* b, int64_t ldb,
          Real beta, Real* c, int64_t ldc)
{
    const bool a_transposed = option_letter(transa, transa_length) != 'N';
    const bool b_transposed = option_letter(transb, transb_length) != 'N';
    KernelChecks check(name);
    if (!(check.dimension(m) && check.dimension(n) && check.dimension(k) &&
          check.leading_dimension(lda, a_transposed ? k : m) && check.leading_dimension(ldb, b_transposed ? n : k) &&
          check.leading_dimension(ldc, m) && check.option(transa, transa_length, "NTC") &&
          check.option(transb, transb_length, "NTC")))
        return;
    if (m == 0 || n == 0 || ((alpha == 0 || k == 0) && beta == 1))
        return;
    const Matrix<Real> C{c, ldc};
    for (int64_t j = 0; j < n; ++j)
        scale_by_beta(m, beta, C.column(j), 1);
    if (alpha == 0 || k == 0)
        return;
    if (m * n * k >= kBlockedWork && blocked_product(widest_instruction_set(), m, n, k, alpha, a, lda, a_transposed,
                                                     b, ldb, b_transposed, c, ldc))
        return;
    plain_product(m, n, k, alpha, Operand<Real>{{a, lda}, a_transposed}, Operand<Real>{{b, ldb}, b_transposed}, C);
}

}  // namespace

bool processor_supports(InstructionSet set)
{
    __builtin_cpu_init();
    switch (set) {
    case InstructionSet::avx512:
        return __builtin_cpu_supports("avx512f");
    case InstructionSet::avx2:
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    default:
        return true;
    }
}

InstructionSet widest_instruction_set()
{
    static const InstructionSet widest = processor_supports(InstructionSet::avx512) ? InstructionSet::avx512
                                         : processor_supports(InstructionSet::avx2) ? InstructionSet::avx2
                                                                                    : InstructionSet::baseline;
    return widest;
}

template <class Real>
bool blocked_product(InstructionSet set, int64_t m, int64_t n, int64_t k, Real alpha, const Real* a, int64_t lda,
                     bool a_transposed, const Real* b, int64_t ldb, bool b_transposed, Real* c, int64_t ldc)
{
    const BlockedPath<Real> path = path_for<Real>(set);
    const Operand<Real> A{{a, lda}, a_transposed};
    const Operand<Real> B{{b, ldb}, b_transposed};
    const int64_t depth_block = std::min(k, kBlockDepth);
    const int64_t row_block = std::min(round_up(m, path.mr), kBlockRows);
    const int64_t column_block = std::min(round_up(n, path.nr), kBlockColumns);
    WorkArray<Real> packed_a(row_block * depth_block);
    WorkArray<Real> packed_b(column_block * depth_block);
    if (!packed_a.ok() || !packed_b.ok())
        return false;
    for (int64_t jc = 0; jc < n; jc += kBlockColumns) {
        const int64_t columns = std::min(kBlockColumns, n - jc);
        for (int64_t pc = 0; pc < k; pc += kBlockDepth) {
            const int64_t depth = std::min(kBlockDepth, k - pc);
            pack_b(B, pc, depth, jc, columns, path.nr, packed_b.get());
            for (int64_t ic = 0; ic < m; ic += kBlockRows) {
                const int64_t rows = std::min(kBlockRows, m - ic);
                pack_a(A, alpha, ic, rows, pc, depth, path.mr, packed_a.get());
                path.product({packed_a.get(), packed_b.get(), rows, columns, depth, c + ic + jc * ldc, ldc});
            }
        }
    }
    return true;
}

template bool blocked_product<float>(InstructionSet, int64_t, int64_t, int64_t, float, const float*, int64_t, bool,
                                     const float*, int64_t, bool, float*, int64_t);
template bool blocked_product<double>(InstructionSet, int64_t, int64_t, int64_t, double, const double*, int64_t,
                                      bool, const double*, int64_t, bool, double*, int64_t);

}  // namespace orvls::kernels

using namespace orvls::kernels;

extern "C" {

ORVLS_API void orvls_sgemm(const char* transa, const char* transb, const int64_t* m, const int64_t* n,
                           const int64_t* k, const float* alpha, const float* a, const int64_t* lda, const float* b,
                           const int64_t* ldb, const float* beta, float* c, const int64_t* ldc, int64_t transa_length,
                           int64_t transb_length)
{
    gemm("orvls_sgemm ", transa, transa_length, transb, transb_length, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta,
         c, *ldc);
}
ORVLS_API void orvls_dgemm(const char* transa, const char* transb, const int64_t* m, const int64_t* n,
                           const int64_t* k, const double* alpha, const double* a, const int64_t* lda,
                           const double* b, const int64_t* ldb, const double* beta, double* c, const int64_t* ldc,
                           int64_t transa_length, int64_t transb_length)
{
    gemm("orvls_dgemm ", transa, transa_length, transb, transb_length, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta,
         c, *ldc);
}

}  // extern "C"
