// The generalized feedback shift register x(t) = x(t - 1563) XOR x(t - 96)
// on 31-bit words.  Its first 1563 words come from a bit register seeded
// by a congruential bit stream and two jumps ahead along the trinomial
// x^521 + x^489 + 1, interleaved so that the words start decorrelated.
#include <algorithm>
#include <cstring>

#include "random/generators.h"

namespace orvls {

namespace {

constexpr int kDegree = 521;
constexpr int kTap = 489;
constexpr int kRegisterBits = 3 * kDegree;  // 1563
constexpr int kSecondIndex = 1468;          // 1563 - 96 + 1, one-based
constexpr int kWordBits = 32;

// a[degree + t] = a[t] XOR a[t + 489] for t = 0 .. count - 1.
void extend_bits(uint8_t* a, int count)
{
    for (int t = 0; t < count; ++t)
        a[kDegree + t] = a[t] ^ a[t + kTap];
}

// p^2 (times x when `times_x`) reduced modulo x^521 + x^489 + 1.
void square_reduce(uint8_t* p, bool times_x)
{
    uint8_t q[2 * kDegree] = {};
    for (int i = 0; i < kDegree; ++i)
        q[2 * i + (times_x ? 1 : 0)] = p[i];
    for (int d = 2 * kDegree - 1; d >= kDegree; --d) {
        if (q[d]) {
            q[d] = 0;
            q[d - kDegree] ^= 1;
            q[d - kDegree + kTap] ^= 1;
        }
    }
    std::memcpy(p, q, kDegree);
}

// out[t] = XOR over i of p[i] a[t + i], t = 0 .. 520.
void apply_polynomial(const uint8_t* p, const uint8_t* a, uint8_t* out)
{
    for (int t = 0; t < kDegree; ++t) {
        uint8_t bit = 0;
        for (int i = 0; i < kDegree; ++i)
            bit ^= p[i] & a[t + i];
        out[t] = bit;
    }
}

}  // namespace

void ready_gfsr(RandomState& state)
{
    if (state.gfsr_ready)
        return;
    uint8_t a[2 * kDegree] = {};
    uint8_t b[2 * kDegree] = {};
    uint8_t c[kDegree] = {};
    uint32_t k = static_cast<uint32_t>(state.seed);
    for (int t = 0; t < kDegree; ++t) {
        k *= 69069u;
        a[t] = static_cast<int32_t>(k) > 0;
    }
    extend_bits(a, kDegree);

    uint8_t p[kDegree] = {};
    p[1] = 1;
    for (int i = 1; i < kDegree; ++i)
        square_reduce(p, i % 2 == 0);
    apply_polynomial(p, a, b);
    extend_bits(b, kDegree - 1);
    apply_polynomial(p, b, c);

    uint8_t bits[kRegisterBits];
    for (int t = 0; t < kDegree; ++t) {
        bits[3 * t] = a[t];
        bits[3 * t + 1] = b[t];
        bits[3 * t + 2] = c[t];
    }
    // Bit by bit through the register recursion; the 32nd bit of each word
    // advances the register but adds nothing, so words hold 31 bits.
    int i = 1;
    int j = kSecondIndex;
    for (int64_t& word : state.gfsr_table) {
        word = 0;
        for (int bit = 0; bit < kWordBits; ++bit) {
            if (bits[i - 1])
                word += bit < kWordBits - 1 ? int64_t{1} << (kWordBits - 2 - bit) : 0;
            bits[i - 1] ^= bits[j - 1];
            i = i % kRegisterBits + 1;
            j = j % kRegisterBits + 1;
        }
    }
    state.gfsr_index_1 = i;
    state.gfsr_index_2 = j;
    state.gfsr_ready = 1;
}

template <class Real>
void gfsr_fill(RandomState& state, int64_t n, Real* r)
{
    ready_gfsr(state);
    const Real scale = sizeof(Real) == sizeof(float) ? static_cast<Real>(state.reciprocal_float)
                                                     : static_cast<Real>(state.reciprocal);
    int64_t first = state.gfsr_index_1 - 1;  // zero-based
    int64_t second = state.gfsr_index_2 - 1;
    int64_t* table = state.gfsr_table;
    // Runs that wrap neither index are plain loops over two stretches.
    while (n > 0) {
        const int64_t count = std::min({n, kGfsrWords - first, kGfsrWords - second});
        int64_t* out_words = table + first;
        const int64_t* in_words = table + second;
        state.seed = out_words[count - 1] | 1;
        for (int64_t k = 0; k < count; ++k) {
            r[k] = static_cast<Real>(out_words[k] | 1) * scale;
            out_words[k] ^= in_words[k];
        }
        r += count;
        n -= count;
        first = (first + count) % kGfsrWords;
        second = (second + count) % kGfsrWords;
    }
    state.gfsr_index_1 = first + 1;
    state.gfsr_index_2 = second + 1;
    state.seed_real = static_cast<double>(state.seed);
}

template void gfsr_fill<float>(RandomState&, int64_t, float*);
template void gfsr_fill<double>(RandomState&, int64_t, double*);

}  // namespace orvls
