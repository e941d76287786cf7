// The congruential generators against exact integer arithmetic, the fast
// reduction against fmod, the shuffle against a model of its rule, and the
// seed, option and substream routines.
#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <vector>

#include "fresh_thread.h"
#include "orvls.h"
#include "random/generators.h"

namespace {

constexpr uint64_t m = 2147483647;
constexpr uint64_t kMultipliers[] = {16807, 397204094, 950706376};

uint64_t exact_step(uint64_t s, uint64_t a) { return static_cast<uint64_t>((unsigned __int128)s * a % m); }

TEST(Reduction, ExactAtEveryMultipleOfTheModulusAndBetween)
{
    std::mt19937_64 pick(7);
    const uint64_t top = ((uint64_t{1} << 62) - 1) / m;
    for (int k = 0; k < 200000; ++k) {
        const uint64_t q = k < 1000 ? top - k : pick() % (top + 1);
        for (uint64_t p : {q * m, q * m + 1, q * m + m - 1})
            ASSERT_EQ(orvls::reduce_modulus(p), p % m) << p;
    }
}

// Fills from a state held here, as the public routines would, and compares
// each state and deviate with fmod steps from the same seed.
void check_fill_from(uint64_t seed, int64_t option)
{
    orvls::RandomState state{};
    state.generator_option = option;
    state.reciprocal = 1.0 / 2147483647.0;
    state.seed = static_cast<int64_t>(seed);
    double r[9];
    orvls::congruential_fill(state, 9, r);
    double s = static_cast<double>(seed);
    for (double value : r) {
        s = orvls::fmod_step(option, s);
        ASSERT_EQ(value, s * state.reciprocal) << "seed " << seed << " option " << option;
    }
    ASSERT_EQ(state.seed, static_cast<int64_t>(s));
    ASSERT_EQ(state.seed_real, s);
}

TEST(Congruential, FastLoopsEqualTheFmodArithmeticForManySeeds)
{
    std::vector<uint64_t> seeds = {1, 2, m - 1, m - 2, 16807, 127773};
    for (int e = 1; e < 31; ++e)
        for (uint64_t s : {(uint64_t{1} << e) - 1, uint64_t{1} << e, (uint64_t{1} << e) + 1})
            seeds.push_back(s);
    std::mt19937_64 pick(2024);
    for (int k = 0; k < 300000; ++k)
        seeds.push_back(1 + pick() % (m - 1));
    for (int64_t option : {1, 3, 5})
        for (uint64_t seed : seeds)
            check_fill_from(seed, option);
}

TEST(Congruential, PublicStreamFollowsTheIntegerRecurrence)
{
    in_fresh_thread([](ErrorCapture&) {
        for (int option : {1, 3, 5}) {
            const uint64_t a = kMultipliers[option / 2];
            orvls_random_option(option);
            orvls_random_seed_set(271828);
            std::vector<double> d(1001);
            std::vector<float> f(1001);
            orvls_d_random_uniform(1001, ORVLS_RETURN_USER, d.data(), 0);
            uint64_t s = 271828;
            for (double value : d) {
                s = exact_step(s, a);
                ASSERT_EQ(value, static_cast<double>(s) * (1.0 / 2147483647.0));
            }
            EXPECT_EQ(orvls_random_seed_get(), static_cast<int64_t>(s));
            orvls_f_random_uniform(1001, ORVLS_RETURN_USER, f.data(), 0);
            const float scale = 0x1p-31f * (1.0f - 0x1p-24f);  // 1/m in float, shrunk below 1/2147483646
            for (float value : f) {
                s = exact_step(s, a);
                ASSERT_EQ(value, static_cast<float>(s) * scale);
            }
        }
    });
}

// The shuffle as told: 128 entries filled from the seed, then each step's
// state picks the entry to give out and takes its place.
struct ShuffleModel {
    uint64_t a;
    uint64_t s;
    std::vector<double> table = std::vector<double>(128);

    ShuffleModel(uint64_t multiplier, uint64_t seed) : a(multiplier), s(seed)
    {
        for (double& entry : table) {
            s = exact_step(s, a);
            entry = static_cast<double>(s) / 2147483647.0;
        }
    }
    double next()
    {
        s = exact_step(s, a);
        const double out = table[s % 128];
        table[s % 128] = static_cast<double>(s) * (1.0 / 2147483647.0);
        return out;
    }
};

TEST(Shuffled, MatchesTheModelAndKeepsItsTableAcrossSeeds)
{
    in_fresh_thread([](ErrorCapture&) {
        orvls_random_option(4);
        orvls_random_seed_set(31337);
        ShuffleModel model(kMultipliers[1], 31337);
        std::vector<double> d(500);
        orvls_d_random_uniform(500, ORVLS_RETURN_USER, d.data(), 0);
        for (double value : d)
            ASSERT_EQ(value, model.next());
        // A new seed steps from the new state through the old entries.
        orvls_random_seed_set(5);
        model.s = 5;
        orvls_d_random_uniform(500, ORVLS_RETURN_USER, d.data(), 0);
        for (double value : d)
            ASSERT_EQ(value, model.next());
        // A first entry of 0 clears the table: it refills from the seed.
        const double clear[128] = {0.0};
        orvls_d_random_table_set(clear);
        orvls_random_seed_set(5);
        ShuffleModel fresh(kMultipliers[1], 5);
        orvls_d_random_uniform(500, ORVLS_RETURN_USER, d.data(), 0);
        for (double value : d)
            ASSERT_EQ(value, fresh.next());
    });
}

TEST(Shuffled, TableRoundTripRestoresTheStream)
{
    in_fresh_thread([](ErrorCapture&) {
        orvls_random_option(6);
        orvls_random_seed_set(777);
        float saved[128];
        orvls_f_random_table_get(nullptr, ORVLS_RETURN_USER, saved, 0);
        const int64_t seed = orvls_random_seed_get();
        float first[300], again[300];
        orvls_f_random_uniform(300, ORVLS_RETURN_USER, first, 0);
        orvls_f_random_table_set(saved);
        orvls_random_seed_set(seed);
        orvls_f_random_uniform(300, ORVLS_RETURN_USER, again, 0);
        EXPECT_EQ(std::vector<float>(first, first + 300), std::vector<float>(again, again + 300));
    });
}

TEST(Shuffled, ValueOutsideTheOpenIntervalIsRefusedAtItsPlace)
{
    in_fresh_thread([](ErrorCapture&) {
        double table_before[128];
        orvls_random_seed_set(3);
        orvls_d_random_table_get(nullptr, ORVLS_RETURN_USER, table_before, 0);
        double table[128];
        for (double& v : table)
            v = 0.5;
        table[7] = 1.0;
        table[6] = 0.25;
        orvls_d_random_table_set(table);
        EXPECT_EQ(last_outcome(), (Outcome{5, 11031}));
        EXPECT_EQ(real_parameter(1), 1.0);
        EXPECT_EQ(int_parameter(1), 7);
        double now[128];
        orvls_d_random_table_get(nullptr, ORVLS_RETURN_USER, now, 0);
        EXPECT_EQ(now[6], 0.25);  // stored before the bad one
        EXPECT_EQ(now[7], table_before[7]);
        orvls_d_random_table_get(nullptr, 99, 0);
        EXPECT_EQ(last_outcome(), (Outcome{5, 11001}));
    });
}

TEST(Seeds, RangeZeroAndTheClock)
{
    in_fresh_thread([](ErrorCapture&) {
        orvls_random_seed_set(12345);
        orvls_random_seed_set(2147483647);
        orvls_random_seed_set(-5);
        EXPECT_EQ(orvls_random_seed_get(), 12345);
        EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
        const int64_t before = orvls::clock_seed(std::time(nullptr));
        orvls_random_seed_set(0);
        const int64_t after = orvls::clock_seed(std::time(nullptr));
        const int64_t seed = orvls_random_seed_get();
        EXPECT_TRUE(seed == before || seed == after) << seed;
    });
    EXPECT_EQ(orvls::clock_seed(0), 123457);             // 00:00:00 gives 1
    EXPECT_EQ(orvls::clock_seed(1), 2);                  // 00:00:01
    EXPECT_EQ(orvls::clock_seed(86400 + 3661), 10102);   // 01:01:01
    EXPECT_EQ(orvls::clock_seed(86399), 235960);         // 23:59:59
}

TEST(Seeds, FirstDrawWithoutASeedTakesTheClock)
{
    in_fresh_thread([](ErrorCapture&) {
        const int64_t before = orvls::clock_seed(std::time(nullptr));
        double r = 0;
        orvls_d_random_uniform(1, ORVLS_RETURN_USER, &r, 0);
        const uint64_t s = static_cast<uint64_t>(orvls_random_seed_get());
        const int64_t after = orvls::clock_seed(std::time(nullptr));
        EXPECT_TRUE(s == exact_step(before, 16807) || s == exact_step(after, 16807));
    });
}

TEST(Options, RangeAndReadBack)
{
    in_fresh_thread([](ErrorCapture&) {
        EXPECT_EQ(orvls_random_option_get(), 1);
        orvls_random_option(10);
        EXPECT_EQ(last_outcome(), (Outcome{5, 602}));
        EXPECT_EQ(int_parameter(1), 10);
        EXPECT_EQ(int_parameter(3), 9);
        EXPECT_EQ(text_parameter(1), "generator_option");
        orvls_random_option(0);
        EXPECT_EQ(last_outcome(), (Outcome{5, 602}));
        EXPECT_EQ(orvls_random_option_get(), 1);
        orvls_random_option(9);
        EXPECT_EQ(orvls_random_option_get(), 9);
    });
}

TEST(Substreams, JumpsByExactArithmeticAndRefusals)
{
    in_fresh_thread([](ErrorCapture&) {
        const uint64_t seeds[] = {1, 2, 123457, m - 1, 1u << 30};
        for (uint64_t s : seeds) {
            orvls_random_option(1);
            EXPECT_EQ(orvls_random_substream_seed_get(s), static_cast<int64_t>(exact_step(exact_step(s, 7163), 6538)));
            orvls_random_option(3);
            EXPECT_EQ(orvls_random_substream_seed_get(s), static_cast<int64_t>(exact_step(exact_step(s, 3457), 480)));
            orvls_random_option(5);
            const uint64_t high = exact_step(exact_step(s, 32768), 32768);
            EXPECT_EQ(orvls_random_substream_seed_get(s),
                      static_cast<int64_t>((high + exact_step(s, 22549) * 9190) % m));
        }
        for (int option : {2, 4, 6, 7, 8, 9}) {
            orvls_random_option(option);
            orvls_random_substream_seed_get(1);
            EXPECT_EQ(last_outcome(), (Outcome{5, option < 7 ? 65100 : 65101})) << option;
        }
    });
}

}  // namespace
