// The constants of the two Mersenne twisters and where each keeps its state
// in the thread's stream, so that one implementation serves both.
#pragma once

#include <bit>
#include <cstdint>

#include "random/uniform.h"

namespace orvls {

struct Mt32 {
    using Word = uint32_t;
    static constexpr int n = kMt32Words;
    static constexpr int m = 397;
    static constexpr Word matrix = 0x9908b0dfu;
    static constexpr Word upper_mask = 0x80000000u;
    static constexpr Word lower_mask = 0x7fffffffu;
    static constexpr Word upper_bit = 0x80000000u;
    static constexpr Word init_multiplier = 1812433253u;
    static constexpr int init_shift = 30;
    static constexpr Word array_multiplier_1 = 1664525u;
    static constexpr Word array_multiplier_2 = 1566083941u;

    static Word temper(Word y)
    {
        y ^= y >> 11;
        y ^= (y << 7) & 0x9d2c5680u;
        y ^= (y << 15) & 0xefc60000u;
        return y ^ (y >> 18);
    }
    // (y + 0.5) 2^-32, within (0, 1), converted through a signed word so
    // that the conversion has a vector form: (y - 2^31) + 2^31 + 0.5 is exact.
    static double deviate(Word y)
    {
        const double centred = static_cast<double>(static_cast<int32_t>(y ^ 0x80000000u));
        return (centred + 2147483648.5) * 2.3283064365386963e-10;
    }

    static Word*& state(RandomState& s) { return s.mt32_state; }
    static int32_t& index(RandomState& s) { return s.mt32_index; }
    static int32_t& ready(RandomState& s) { return s.mt32_ready; }
};

struct Mt64 {
    using Word = uint64_t;
    static constexpr int n = kMt64Words;
    static constexpr int m = 156;
    static constexpr Word matrix = 0xb5026f5aa96619e9ull;
    static constexpr Word upper_mask = 0xffffffff80000000ull;
    static constexpr Word lower_mask = 0x7fffffffull;
    static constexpr Word upper_bit = 0x8000000000000000ull;
    static constexpr Word init_multiplier = 0x5851f42d4c957f2dull;
    static constexpr int init_shift = 62;
    static constexpr Word array_multiplier_1 = 0x369dea0f31a53f85ull;
    static constexpr Word array_multiplier_2 = 0x27bb2ee687b0b0fdull;

    static Word temper(Word x)
    {
        x ^= (x >> 29) & 0x5555555555555555ull;
        x ^= (x << 17) & 0x71d67fffeda60000ull;
        x ^= (x << 37) & 0xfff7eee000000000ull;
        return x ^ (x >> 43);
    }
    // (x >> 11) 2^-53, within [0, 1): the top 52 bits through their
    // exponent pattern, then the last bit as 2^-53 or 0; the sum is exact.
    static double deviate(Word x)
    {
        const double high = std::bit_cast<double>(0x3ff0000000000000ull | (x >> 12)) - 1.0;
        const double low = std::bit_cast<double>((Word{0} - ((x >> 11) & 1)) & 0x3ca0000000000000ull);
        return high + low;
    }

    static Word*& state(RandomState& s) { return s.mt64_state; }
    static int32_t& index(RandomState& s) { return s.mt64_index; }
    static int32_t& ready(RandomState& s) { return s.mt64_ready; }
};

// The published initialisation by an array of key words (key_length >= 1).
template <class T>
void twister_init_by_array(typename T::Word* mt, const typename T::Word* key, int64_t key_length);

// The saved state: the index in word 0, then the state words; the table
// get makes the state ready first.  A set with word 0 above n + 1 drops the
// state, so that the next draw starts again from the seed.
template <class T>
void twister_table_get(typename T::Word* table);
template <class T>
void twister_table_set(const typename T::Word* table);

}  // namespace orvls
