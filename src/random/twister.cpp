// The two Mersenne twisters with their published initialisations and
// tempering.  A fill regenerates the whole state block at once, then tempers
// and converts a run of words in loops without branches, which the compiler
// turns into vector code.
#include <algorithm>
#include <limits>
#include <cstdlib>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "orvls.h"
#include "random/generators.h"
#include "random/twister.h"

namespace orvls {

namespace {

// A deviate in the float form: the double deviate rounded to float, kept
// below 1 where rounding would reach it, so that every deviate stays in (0, 1).
template <class Real>
inline Real below_one(double deviate)
{
    constexpr Real kLargestBelowOne = Real(1) - std::numeric_limits<Real>::epsilon() / 2;
    return std::min(static_cast<Real>(deviate), kLargestBelowOne);
}

template <class T>
void seed_words(typename T::Word* mt, typename T::Word seed)
{
    mt[0] = seed;
    for (int i = 1; i < T::n; ++i)
        mt[i] = T::init_multiplier * (mt[i - 1] ^ (mt[i - 1] >> T::init_shift)) + static_cast<typename T::Word>(i);
}

// One twist of word i from words i + 1 and i + m (indices already wrapped).
template <class T>
typename T::Word twist(typename T::Word current, typename T::Word next, typename T::Word far)
{
    using Word = typename T::Word;
    const Word y = (current & T::upper_mask) | (next & T::lower_mask);
    return far ^ (y >> 1) ^ ((Word{0} - (y & 1)) & T::matrix);
}

template <class T>
void regenerate(typename T::Word* mt)
{
    constexpr int n = T::n;
    constexpr int m = T::m;
    for (int i = 0; i < n - m; ++i)
        mt[i] = twist<T>(mt[i], mt[i + 1], mt[i + m]);
    for (int i = n - m; i < n - 1; ++i)
        mt[i] = twist<T>(mt[i], mt[i + 1], mt[i + m - n]);
    mt[n - 1] = twist<T>(mt[n - 1], mt[0], mt[m - 1]);
}

// A new state block made from the low 32 bits of the seed, ready for a
// regeneration at the next draw.
template <class T>
bool reseed(RandomState& state)
{
    auto* fresh = static_cast<typename T::Word*>(orvls_malloc(kTwisterBlockBytes));
    if (fresh == nullptr) {
        orvls_ermes(5, 200);
        return false;
    }
    std::free(T::state(state));
    T::state(state) = fresh;
    seed_words<T>(fresh, static_cast<uint32_t>(state.seed));
    T::index(state) = T::n;
    T::ready(state) = 1;
    return true;
}

template <class T>
bool ready_twister(RandomState& state)
{
    return T::ready(state) || reseed<T>(state);
}

template <class T, class Real>
bool twister_fill(RandomState& state, int64_t n, Real* r)
{
    if (!ready_twister<T>(state))
        return false;
    while (n > 0) {
        if (T::index(state) >= T::n) {
            if (T::index(state) == T::n + 1 && !reseed<T>(state))
                return false;
            regenerate<T>(T::state(state));
            T::index(state) = 0;
        }
        const int64_t count = std::min<int64_t>(n, T::n - T::index(state));
        const typename T::Word* words = T::state(state) + T::index(state);
        for (int64_t k = 0; k < count; ++k)
            r[k] = below_one<Real>(T::deviate(T::temper(words[k])));
        T::index(state) += static_cast<int32_t>(count);
        r += count;
        n -= count;
    }
    return true;
}

}  // namespace

template <class T>
void twister_init_by_array(typename T::Word* mt, const typename T::Word* key, int64_t key_length)
{
    using Word = typename T::Word;
    constexpr int n = T::n;
    seed_words<T>(mt, 19650218u);
    int i = 1;
    int64_t j = 0;
    for (int64_t k = std::max<int64_t>(n, key_length); k > 0; --k) {
        mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> T::init_shift)) * T::array_multiplier_1)) + key[j] +
                static_cast<Word>(j);
        ++i;
        ++j;
        if (i >= n) {
            mt[0] = mt[n - 1];
            i = 1;
        }
        if (j >= key_length)
            j = 0;
    }
    for (int k = n - 1; k > 0; --k) {
        mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> T::init_shift)) * T::array_multiplier_2)) - static_cast<Word>(i);
        ++i;
        if (i >= n) {
            mt[0] = mt[n - 1];
            i = 1;
        }
    }
    mt[0] = T::upper_bit;
}

template <class T>
void twister_init(int64_t key_length, const typename T::Word* key)
{
    int64_t checks = 0;
    if (key_length < 2) {
        orvls_check_range(key_length, "key_length", 1, 0, &checks);
        return;
    }
    RandomState* state = l_rnset(0);
    if (state == nullptr || !reseed<T>(*state))
        return;
    twister_init_by_array<T>(T::state(*state), key, key_length);
}

template <class T>
void twister_table_get(typename T::Word* table)
{
    RandomState* state = l_rnset(0);
    if (state == nullptr || !ready_twister<T>(*state))
        return;
    table[0] = static_cast<typename T::Word>(T::index(*state));
    std::copy_n(T::state(*state), T::n, table + 1);
}

template <class T>
void twister_table_set(const typename T::Word* table)
{
    RandomState* state = l_rnset(0);
    if (state == nullptr)
        return;
    if (table[0] > static_cast<typename T::Word>(T::n + 1)) {
        std::free(T::state(*state));
        T::state(*state) = nullptr;
        T::ready(*state) = 0;
        return;
    }
    if (T::state(*state) == nullptr) {
        T::state(*state) = static_cast<typename T::Word*>(orvls_malloc(kTwisterBlockBytes));
        if (T::state(*state) == nullptr) {
            orvls_ermes(5, 200);
            return;
        }
    }
    std::copy_n(table + 1, T::n, T::state(*state));
    T::index(*state) = static_cast<int32_t>(table[0]);
    T::ready(*state) = 1;
}

bool ready_mt32(RandomState& state) { return ready_twister<Mt32>(state); }
bool ready_mt64(RandomState& state) { return ready_twister<Mt64>(state); }

template <class Real>
bool mt32_fill(RandomState& state, int64_t n, Real* r)
{
    return twister_fill<Mt32>(state, n, r);
}
template <class Real>
bool mt64_fill(RandomState& state, int64_t n, Real* r)
{
    return twister_fill<Mt64>(state, n, r);
}

template bool mt32_fill<float>(RandomState&, int64_t, float*);
template bool mt32_fill<double>(RandomState&, int64_t, double*);
template bool mt64_fill<float>(RandomState&, int64_t, float*);
template bool mt64_fill<double>(RandomState&, int64_t, double*);
template void twister_init_by_array<Mt32>(uint32_t*, const uint32_t*, int64_t);
template void twister_init_by_array<Mt64>(uint64_t*, const uint64_t*, int64_t);
template void twister_table_get<Mt32>(uint32_t*);
template void twister_table_get<Mt64>(uint64_t*);
template void twister_table_set<Mt32>(const uint32_t*);
template void twister_table_set<Mt64>(const uint64_t*);

}  // namespace orvls

// The public routines: the array initialisations and the saved states.

extern "C" ORVLS_API void orvls_random_MT32_init(int64_t key_length, const uint32_t* key)
{
    orvls::envelope("orvls_random_MT32_init", [&] { orvls::twister_init<orvls::Mt32>(key_length, key); });
}

extern "C" ORVLS_API void orvls_random_MT64_init(int64_t key_length, const uint64_t* key)
{
    orvls::envelope("orvls_random_MT64_init", [&] { orvls::twister_init<orvls::Mt64>(key_length, key); });
}
