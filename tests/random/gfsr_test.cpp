// The shift register: its recursion, the divisor fixed at the thread's
// first call, its seed, and its saved table.
#include <gtest/gtest.h>

#include <vector>

#include "fresh_thread.h"
#include "orvls.h"
#include "random/uniform.h"

namespace {

constexpr int kWords = 1563;

// Words drawn in a thread whose first call chose the register, so that the
// divisor is 2^31 and each deviate gives back its word exactly.
std::vector<int64_t> words_from_first_call(int64_t seed, int64_t n)
{
    std::vector<int64_t> words(n);
    in_fresh_thread([&](ErrorCapture&) {
        orvls_random_option(7);
        orvls_random_seed_set(seed);
        std::vector<double> d(n);
        orvls::orvls_drnun(n, d.data());
        for (int64_t k = 0; k < n; ++k)
            words[k] = static_cast<int64_t>(d[k] * 0x1p31);
        EXPECT_EQ(orvls_random_seed_get(), words.back());
    });
    return words;
}

TEST(ShiftRegister, WordsFollowTheRecursion)
{
    const std::vector<int64_t> x = words_from_first_call(1234567, 3 * kWords + 10);
    for (size_t t = 0; t < x.size(); ++t) {
        ASSERT_EQ(x[t] & 1, 1);
        ASSERT_LT(x[t], int64_t{1} << 31);
        if (t >= kWords) {  // the low bit is forced to 1, so it drops out
            ASSERT_EQ((x[t] ^ x[t - kWords] ^ x[t - 96]) & ~int64_t{1}, 0) << t;
        }
    }
    EXPECT_NE(words_from_first_call(1234568, 10), std::vector<int64_t>(x.begin(), x.begin() + 10));
}

TEST(ShiftRegister, DivisorDependsOnTheThreadsFirstCall)
{
    const std::vector<int64_t> words = words_from_first_call(99, 20);
    in_fresh_thread([&](ErrorCapture&) {
        orvls_random_option(1);
        orvls_random_option(7);
        orvls_random_seed_set(99);
        double d[20];
        orvls_d_random_uniform(20, ORVLS_RETURN_USER, d, 0);
        for (int k = 0; k < 20; ++k)
            EXPECT_EQ(d[k], static_cast<double>(words[k]) * (1.0 / 2147483647.0));
    });
}

TEST(ShiftRegister, SavedTableRestoresTheStreamAndRefusesBadWords)
{
    in_fresh_thread([](ErrorCapture&) {
        orvls_random_option(7);
        orvls_random_seed_set(4321);
        double skip[700];
        orvls_d_random_uniform(700, ORVLS_RETURN_USER, skip, 0);
        int64_t* saved = nullptr;
        orvls_random_GFSR_table_get(&saved, 0);
        ASSERT_NE(saved, nullptr);
        EXPECT_EQ(saved[kWords], 701);
        EXPECT_EQ(saved[kWords + 1], (700 + 1467) % kWords + 1);
        std::vector<double> first(2000), again(2000);
        orvls_d_random_uniform(2000, ORVLS_RETURN_USER, first.data(), 0);
        orvls_random_GFSR_table_set(saved);
        orvls_d_random_uniform(2000, ORVLS_RETURN_USER, again.data(), 0);
        EXPECT_EQ(first, again);
        EXPECT_EQ(last_outcome(), (Outcome{0, 0}));

        saved[kWords + 1] = 1564;
        orvls_random_GFSR_table_set(saved);
        EXPECT_EQ(last_outcome(), (Outcome{5, 65102}));
        EXPECT_EQ(int_parameter(1), 1564);
        EXPECT_EQ(int_parameter(2), kWords + 1);
        saved[5] = 0;
        orvls_random_GFSR_table_set(saved);
        EXPECT_EQ(last_outcome(), (Outcome{5, 65102}));
        EXPECT_EQ(int_parameter(1), 0);
        EXPECT_EQ(int_parameter(2), 5);

        // A first word of 0 rebuilds the register from the seed in force.
        saved[0] = 0;
        orvls_random_GFSR_table_set(saved);
        orvls_random_seed_set(1234567);
        orvls_d_random_uniform(2000, ORVLS_RETURN_USER, again.data(), 0);
        orvls_free_allocated_memory(saved);
        const std::vector<int64_t> fresh = words_from_first_call(1234567, 2000);
        for (int k = 0; k < 2000; ++k)
            ASSERT_EQ(again[k], static_cast<double>(fresh[k]) * 0x1p-31);
    });
}

}  // namespace
