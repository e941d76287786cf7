// The nine generators behind the uniform stream, each as a fill loop over
// the thread's state, plus the pieces the table routines and the tests use.
#pragma once

#include <cstdint>

#include "random/uniform.h"

namespace orvls {

// Congruential generators (options 1 to 6; even options shuffle).
uint64_t congruential_multiplier(int64_t option);
// One step as the shuffle-table fill takes it: double arithmetic, fmod and
// the split of the multiplier.  Exact for states below 2^31.
double fmod_step(int64_t option, double state);
// p mod 2147483647 for p below 2^62, by multiplication with a reciprocal.
uint64_t reduce_modulus(uint64_t p);

template <class Real>
void congruential_fill(RandomState& state, int64_t n, Real* r);
template <class Real>
void shuffled_fill(RandomState& state, ShuffleTable<Real>& table, int64_t n, Real* r);
// Fills the shuffle table when its precision's ready flag is clear.
template <class Real>
void ready_shuffle_table(RandomState& state, ShuffleTable<Real>& table);
template <class Real>
int32_t& shuffle_table_ready(RandomState& state);

// Shift register (option 7).
void ready_gfsr(RandomState& state);
template <class Real>
void gfsr_fill(RandomState& state, int64_t n, Real* r);

// Mersenne twisters (options 8 and 9).  The fills return false after
// raising type 5, code 200.
bool ready_mt32(RandomState& state);
bool ready_mt64(RandomState& state);
template <class Real>
bool mt32_fill(RandomState& state, int64_t n, Real* r);
template <class Real>
bool mt64_fill(RandomState& state, int64_t n, Real* r);

// The thread's state and its shuffle table of one precision, with the
// precision's first-use setup done; null after raising type 5, code 200.
template <class Real>
RandomState* drawing_state(ShuffleTable<Real>*& table);

}  // namespace orvls
