// The blocked matrix product behind orvls_sgemm and orvls_dgemm, reachable
// with a chosen micro-kernel so that each can be tested and timed.
#pragma once

#include <cstdint>

namespace orvls::kernels {

// The instruction sets the micro-kernel is compiled for.
enum class InstructionSet { baseline, avx2, avx512 };

bool processor_supports(InstructionSet set);
// The widest set this processor has; the matrix product uses it.
InstructionSet widest_instruction_set();

// C += alpha op(A) op(B), C m x n, depth k, by packed blocks on the given
// set's micro-kernel (which the processor must have).  False, with C
// unchanged, when the packing buffers cannot be had.
template <class Real>
bool blocked_product(InstructionSet set, int64_t m, int64_t n, int64_t k, Real alpha, const Real* a, int64_t lda,
                     bool a_transposed, const Real* b, int64_t ldb, bool b_transposed, Real* c, int64_t ldc);

}  // namespace orvls::kernels
