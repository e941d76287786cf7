// The twisters against the standard library's engines and the published
// outputs of the initialisation by array; their saved states.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "fresh_thread.h"
#include "orvls.h"
#include "random/twister.h"

namespace {

double deviate32(uint32_t y) { return (y + 0.5) * 0x1p-32; }
double deviate64(uint64_t x) { return static_cast<double>(x >> 11) * 0x1p-53; }

template <class Real>
std::vector<Real> draw(int64_t n)
{
    std::vector<Real> r(n);
    orvls::uniform_fill(n, r.data());
    return r;
}

// The twister keeps its own state: the seed routine reads back the seed.
template <class Engine, class Deviate>
void check_against_engine(int option, int64_t count, Deviate deviate)
{
    for (int64_t seed : {1, 5489, 123457, 2147483646}) {
        in_fresh_thread([&](ErrorCapture&) {
            orvls_random_option(option);
            orvls_random_seed_set(seed);
            Engine engine(static_cast<typename Engine::result_type>(seed));
            for (double value : draw<double>(count))
                ASSERT_EQ(value, deviate(engine()));
            for (float value : draw<float>(count))
                ASSERT_EQ(value, static_cast<float>(deviate(engine())));
            EXPECT_EQ(orvls_random_seed_get(), seed);
        });
    }
}

TEST(Twisters, EqualTheStandardEnginesThroughTheDeviateFormulas)
{
    check_against_engine<std::mt19937>(8, 1500, deviate32);
    check_against_engine<std::mt19937_64>(9, 700, deviate64);
}

// Published outputs (the 10000th from seed 5489, and the array keys below).
TEST(Twisters, PublishedOutputs)
{
    in_fresh_thread([](ErrorCapture&) {
        orvls_random_seed_set(5489);
        orvls_random_option(8);
        EXPECT_EQ(draw<double>(10000).back(), deviate32(4123659995u));
        orvls_random_option(9);
        EXPECT_EQ(draw<double>(10000).back(), deviate64(9981545732273789042ull));

        const uint32_t key32[] = {0x123, 0x234, 0x345, 0x456};
        const uint32_t expected32[] = {1067595299u, 955945823u,  477289528u,  4107218783u, 4228976476u,
                                       3344332714u, 3355579695u, 227628506u, 810200273u,  2591290167u};
        orvls_random_MT32_init(4, key32);
        orvls_random_option(8);
        const std::vector<double> d32 = draw<double>(10);
        for (int k = 0; k < 10; ++k)
            EXPECT_EQ(d32[k], deviate32(expected32[k])) << k;

        const uint64_t key64[] = {0x12345, 0x23456, 0x34567, 0x45678};
        const uint64_t expected64[] = {7266447313870364031ull, 4946485549665804864ull, 16945909448695747420ull,
                                       16394063075524226720ull, 4873882236456199058ull};
        orvls_random_MT64_init(4, key64);
        orvls_random_option(9);
        const std::vector<double> d64 = draw<double>(5);
        uint64_t saved[313];
        orvls_random_MT64_table_get(nullptr, ORVLS_RETURN_USER, saved, 0);
        EXPECT_EQ(saved[0], 5u);
        for (int k = 0; k < 5; ++k) {
            EXPECT_EQ(d64[k], deviate64(expected64[k])) << k;
            EXPECT_EQ(orvls::Mt64::temper(saved[1 + k]), expected64[k]) << k;  // all 64 bits
        }
        EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    });
}

TEST(Twisters, ShortKeys)
{
    in_fresh_thread([](ErrorCapture&) {
        orvls_random_option(8);
        orvls_random_seed_set(77);
        const uint32_t key[] = {9};
        orvls_random_MT32_init(1, key);  // ignored, silently
        EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
        std::mt19937 engine(77);
        EXPECT_EQ(draw<double>(1)[0], deviate32(engine()));
        orvls_random_MT32_init(0, key);
        EXPECT_EQ(last_outcome(), (Outcome{5, 603}));
        EXPECT_EQ(text_parameter(1), "key_length");
        orvls_random_MT64_init(-3, nullptr);
        EXPECT_EQ(last_outcome(), (Outcome{5, 603}));
    });
}

// Saving mid-block and restoring repeats the stream; a word 0 above n + 1
// drops the state (the next draw restarts from the seed); n + 1 restarts
// at the next regeneration; a new seed alone changes nothing.
template <class Word, class Engine, class Get, class Set, class Deviate>
void check_saved_state(int option, int n, Get get, Set set, Deviate deviate)
{
    in_fresh_thread([&](ErrorCapture&) {
        orvls_random_option(option);
        orvls_random_seed_set(2718);
        draw<double>(n - 3);
        std::vector<Word> saved(n + 1);
        get(nullptr, ORVLS_RETURN_USER, saved.data(), 0);
        EXPECT_EQ(saved[0], static_cast<Word>(n - 3));
        const std::vector<double> first = draw<double>(2 * n);
        orvls_random_seed_set(99);  // leaves the twister alone
        set(saved.data());
        EXPECT_EQ(draw<double>(2 * n), first);

        Word* allocated = nullptr;
        get(&allocated, 0);
        ASSERT_NE(allocated, nullptr);
        allocated[0] = static_cast<Word>(n + 2);
        set(allocated);
        Engine engine(99);
        EXPECT_EQ(draw<double>(1)[0], deviate(engine()));

        get(nullptr, ORVLS_RETURN_USER, allocated, 0);
        allocated[0] = static_cast<Word>(n + 1);
        set(allocated);
        Engine restarted(99);
        EXPECT_EQ(draw<double>(1)[0], deviate(restarted()));
        orvls_free_allocated_memory(allocated);
        EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    });
}

TEST(Twisters, SavedStatesRestoreTheStream)
{
    check_saved_state<uint32_t, std::mt19937>(8, 624, orvls_random_MT32_table_get, orvls_random_MT32_table_set,
                                              deviate32);
    check_saved_state<uint64_t, std::mt19937_64>(9, 312, orvls_random_MT64_table_get, orvls_random_MT64_table_set,
                                                 deviate64);
}

// The tempering steps undone, each by fixed-point iteration.
uint32_t undo_left(uint32_t y, int shift, uint32_t mask)
{
    uint32_t x = y;
    for (int i = 0; i < 32 / shift + 1; ++i)
        x = y ^ ((x << shift) & mask);
    return x;
}

uint32_t undo_right(uint32_t y, int shift)
{
    uint32_t x = y;
    for (int i = 0; i < 32 / shift + 1; ++i)
        x = y ^ (x >> shift);
    return x;
}

TEST(Twisters, FloatDeviatesStayBelowOne)
{
    in_fresh_thread([](ErrorCapture&) {
        // The largest tempered word, (2^32 - 0.5) 2^-32 in double, rounds to
        // 1 in float: the float form must stay below it.
        uint32_t word = undo_right(0xffffffffu, 18);
        word = undo_left(word, 15, 0xefc60000u);
        word = undo_left(word, 7, 0x9d2c5680u);
        word = undo_right(word, 11);
        orvls_random_option(8);
        uint32_t* table = nullptr;
        orvls_random_MT32_table_get(&table, 0);
        ASSERT_NE(table, nullptr);
        table[0] = 10;  // the next deviate comes from state word 10
        table[1 + 10] = word;
        orvls_random_MT32_table_set(table);
        float f = 0;
        orvls_f_random_uniform(1, ORVLS_RETURN_USER, &f, 0);
        EXPECT_LT(f, 1.0f);
        EXPECT_EQ(f, std::nextafter(1.0f, 0.0f));
        orvls_random_MT32_table_set(table);
        double d = 0;
        orvls_d_random_uniform(1, ORVLS_RETURN_USER, &d, 0);
        EXPECT_EQ(d, (4294967295.0 + 0.5) * 0x1p-32);
        orvls_free_allocated_memory(table);
    });
}

}  // namespace
