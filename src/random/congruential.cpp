// The multiplicative congruential generators, plain and shuffled.  The fill
// loops step in 64-bit integers and take four states at a time from the
// same start (multipliers a, a^2, a^3, a^4 mod m), so the four products do
// not wait on each other; modular arithmetic makes this the same sequence
// as stepping one at a time with fmod.
#include <cmath>

#include "random/generators.h"

namespace orvls {

namespace {

constexpr uint64_t kM = static_cast<uint64_t>(kModulus);

// ceil(2^93 / m) = 2^62 + 2^31 + 2.  For p < 2^62, p * (this - 2^93/m) / 2^93
// stays below 2^-31 < 1/m, so the product's top bits are exactly floor(p / m).
constexpr uint64_t kReciprocal = (uint64_t{1} << 62) + (uint64_t{1} << 31) + 2;
constexpr int kReciprocalShift = 93;

constexpr uint64_t constant_reduce(uint64_t p) { return p % kM; }

// a^1 .. a^4 mod m for each multiplier.
struct Powers {
    uint64_t a1, a2, a3, a4;
};

constexpr Powers powers_of(uint64_t a)
{
    const uint64_t a2 = constant_reduce(a * a);
    const uint64_t a3 = constant_reduce(a2 * a);
    return {a, a2, a3, constant_reduce(a3 * a)};
}

constexpr Powers kPowers[3] = {powers_of(16807), powers_of(397204094), powers_of(950706376)};

// Options 1-2, 3-4, 5-6 share a multiplier; any other option (a shuffle
// table asked for under options 7 to 9) takes the first one.
int multiplier_index(int64_t option) { return option >= 1 && option <= 6 ? static_cast<int>((option - 1) / 2) : 0; }

template <class Real>
Real deviate_scale(const RandomState& state)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return state.reciprocal_float;
    else
        return state.reciprocal;
}

template <class Real>
Real to_deviate(uint64_t s, Real scale)
{
    return static_cast<Real>(static_cast<int64_t>(s)) * scale;
}

// Any non-negative state gives the same next state once reduced, and the
// reduced state keeps the products within the reciprocal's exact range.
uint64_t starting_state(const RandomState& state) { return static_cast<uint64_t>(state.seed) % kM; }

void store_state(RandomState& state, uint64_t s)
{
    state.seed = static_cast<int64_t>(s);
    state.seed_real = static_cast<double>(s);
}

}  // namespace

uint64_t reduce_modulus(uint64_t p)
{
    const uint64_t q = static_cast<uint64_t>((static_cast<unsigned __int128>(p) * kReciprocal) >> kReciprocalShift);
    return p - q * kM;
}

uint64_t congruential_multiplier(int64_t option) { return kPowers[multiplier_index(option)].a1; }

double fmod_step(int64_t option, double s)
{
    const double m = static_cast<double>(kModulus);
    switch (multiplier_index(option)) {
    case 1:  // 397204094 = 32768 * 12121 + 23166
        return std::fmod(std::fmod(s * 32768.0, m) * 12121.0 + s * 23166.0, m);
    case 2:  // 950706376 = 32768 * 29013 + 8392
        return std::fmod(std::fmod(s * 32768.0, m) * 29013.0 + s * 8392.0, m);
    default:
        return std::fmod(s * 16807.0, m);
    }
}

template <class Real>
void congruential_fill(RandomState& state, int64_t n, Real* r)
{
    const Powers a = kPowers[multiplier_index(state.generator_option)];
    const Real scale = deviate_scale<Real>(state);
    uint64_t s = starting_state(state);
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const uint64_t s1 = reduce_modulus(s * a.a1);
        const uint64_t s2 = reduce_modulus(s * a.a2);
        const uint64_t s3 = reduce_modulus(s * a.a3);
        const uint64_t s4 = reduce_modulus(s * a.a4);
        r[i] = to_deviate(s1, scale);
        r[i + 1] = to_deviate(s2, scale);
        r[i + 2] = to_deviate(s3, scale);
        r[i + 3] = to_deviate(s4, scale);
        s = s4;
    }
    for (; i < n; ++i) {
        s = reduce_modulus(s * a.a1);
        r[i] = to_deviate(s, scale);
    }
    store_state(state, s);
}

template <class Real>
int32_t& shuffle_table_ready(RandomState& state)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return state.float_table_ready;
    else
        return state.double_table_ready;
}

template <class Real>
void ready_shuffle_table(RandomState& state, ShuffleTable<Real>& table)
{
    int32_t& ready = shuffle_table_ready<Real>(state);
    if (ready)
        return;
    double s = state.seed_real;
    for (Real& entry : table.values) {
        s = fmod_step(state.generator_option, s);
        entry = static_cast<Real>(s / state.modulus);
    }
    state.seed = static_cast<int64_t>(s + 0.5);
    state.seed_real = s;
    ready = 1;
}

template <class Real>
void shuffled_fill(RandomState& state, ShuffleTable<Real>& table, int64_t n, Real* r)
{
    ready_shuffle_table(state, table);
    const Powers a = kPowers[multiplier_index(state.generator_option)];
    const Real scale = deviate_scale<Real>(state);
    Real* values = table.values;
    // The next deviate is the entry the new state picks; the state's own
    // deviate takes its place.
    auto exchange = [&](uint64_t s) {
        Real& entry = values[s % kShuffleEntries];
        const Real result = entry;
        entry = to_deviate(s, scale);
        return result;
    };
    uint64_t s = starting_state(state);
    int64_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const uint64_t s1 = reduce_modulus(s * a.a1);
        const uint64_t s2 = reduce_modulus(s * a.a2);
        const uint64_t s3 = reduce_modulus(s * a.a3);
        const uint64_t s4 = reduce_modulus(s * a.a4);
        r[i] = exchange(s1);
        r[i + 1] = exchange(s2);
        r[i + 2] = exchange(s3);
        r[i + 3] = exchange(s4);
        s = s4;
    }
    for (; i < n; ++i) {
        s = reduce_modulus(s * a.a1);
        r[i] = exchange(s);
    }
    store_state(state, s);
}

template void congruential_fill<float>(RandomState&, int64_t, float*);
template void congruential_fill<double>(RandomState&, int64_t, double*);
template void shuffled_fill<float>(RandomState&, ShuffleTable<float>&, int64_t, float*);
template void shuffled_fill<double>(RandomState&, ShuffleTable<double>&, int64_t, double*);
template void ready_shuffle_table<float>(RandomState&, ShuffleTable<float>&);
template void ready_shuffle_table<double>(RandomState&, ShuffleTable<double>&);
template int32_t& shuffle_table_ready<float>(RandomState&);
template int32_t& shuffle_table_ready<double>(RandomState&);

}  // namespace orvls
