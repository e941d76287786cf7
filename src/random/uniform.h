// The per-thread uniform stream: its state, the setup rule and the fill
// routines that every random generator of the library draws from.
#pragma once

#include <cstdint>
#include <ctime>

namespace orvls {

constexpr int64_t kModulus = 2147483647;  // 2^31 - 1, the congruential modulus
constexpr int kShuffleEntries = 128;
constexpr int kGfsrWords = 1563;
constexpr int kMt32Words = 624;
constexpr int kMt64Words = 312;
constexpr int kTwisterBlockBytes = 2496;  // both twister states: 624 x 4 = 312 x 8

// The thread's stream.  `seed` is the state of the congruential generators
// (and the last word of the shift register); the twisters keep their own.
struct RandomState {
    int32_t first_use;
    int32_t seed_set;
    double modulus;
    double reciprocal;
    double seed_real;
    float reciprocal_float;
    int64_t seed;
    int64_t generator_option;
    int32_t double_table_ready;
    int32_t float_table_ready;
    int32_t gfsr_ready;
    int64_t gfsr_index_1;  // one-based taps
    int64_t gfsr_index_2;
    int64_t gfsr_table[kGfsrWords];
    int32_t mt32_ready;
    uint32_t* mt32_state;
    int32_t mt32_index;
    int32_t mt64_ready;
    uint64_t* mt64_state;
    int32_t mt64_index;

    static void initialise(RandomState& state);
    static void destroy(void* state);
};

// The 128-entry shuffle table of one precision.
template <class Real>
struct ShuffleTable {
    Real values[kShuffleEntries];
    int32_t setup_pending;  // 1 until l_rnset(0) has run for this precision

    static void initialise(ShuffleTable& table) { table.setup_pending = 1; }
};

// One-time setup of the thread's stream and the default seed rule.  mode 0:
// first use of a precision (seeds from the clock when no seed was chosen);
// -1: a seed is being set; -2: the option is read; 1..9: the option is
// chosen.  Returns the state, or null after raising type 5, code 200.
RandomState* l_rnset(int64_t mode);

// The seed the clock gives at time t: (hour*100 + minute)*100 + second + 1
// of the UTC time (local time when that fails), 123457 when below 2.
int64_t clock_seed(std::time_t t);

// Fills r[0..n-1] with uniform deviates of the thread's stream under the
// chosen generator.  n below 1 raises type 5, code 603 ("nr").  These do not
// push a name: errors are raised at the level of the routine that draws.
void orvls_rnun(int64_t n, float* r);
void orvls_drnun(int64_t n, double* r);

// The same fill for templates over the real type.
inline void uniform_fill(int64_t n, float* r) { orvls_rnun(n, r); }
inline void uniform_fill(int64_t n, double* r) { orvls_drnun(n, r); }

}  // namespace orvls
