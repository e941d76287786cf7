// How the generators draw on the stream: uniforms per deviate at the
// regime boundaries, the setups kept between calls, and the options of the
// normal routine.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "capture.h"
#include "orvls.h"

namespace {

constexpr int64_t kSeed = 20240601;

// Under generator 1 each uniform multiplies the state by 16807 modulo
// 2^31 - 1, so the uniforms a call took can be counted from the states.
int64_t uniforms_between(int64_t before, int64_t after)
{
    int64_t state = before;
    for (int64_t k = 0; k < 100000000; ++k) {
        if (state == after)
            return k;
        state = state * 16807 % 2147483647;
    }
    return -1;
}

template <class Call>
int64_t uniforms_taken(Call call)
{
    orvls_random_option(1);
    orvls_random_seed_set(kSeed);
    call();
    return uniforms_between(kSeed, orvls_random_seed_get());
}

TEST(Stream, UniformsPerDeviateAtTheRegimeBoundaries)
{
    ErrorCapture capture;
    int64_t r[500];
    const auto binomial = [&](int64_t n, double p) {
        return uniforms_taken([&] { orvls_d_random_binomial(500, n, p, ORVLS_RETURN_USER, r, 0); });
    };
    const auto poisson = [&](float theta) {
        return uniforms_taken([&] { orvls_random_poisson(500, theta, ORVLS_RETURN_USER, r, 0); });
    };
    // Inversion takes one uniform a deviate; the envelopes two a trial.
    EXPECT_EQ(binomial(20, 0.5), 500);
    EXPECT_EQ(binomial(50, 0.8), 500);
    const int64_t envelope = binomial(21, 0.5);
    EXPECT_EQ(envelope % 2, 0);
    EXPECT_GE(envelope, 1000);
    EXPECT_EQ(poisson(14.9f), 500);
    const int64_t poisson_envelope = poisson(15.0f);
    EXPECT_EQ(poisson_envelope % 2, 0);
    EXPECT_GE(poisson_envelope, 1000);

    double x[500];
    EXPECT_EQ(uniforms_taken([&] { orvls_d_random_gamma(500, 1.0, ORVLS_RETURN_USER, x, 0); }), 500);
    EXPECT_EQ(uniforms_taken([&] { orvls_d_random_gamma(500, 0.5, ORVLS_RETURN_USER, x, 0); }), 500);
    EXPECT_EQ(uniforms_taken([&] { orvls_d_random_normal(500, ORVLS_RETURN_USER, x, 0); }), 500);
    EXPECT_GT(uniforms_taken([&] { orvls_d_random_normal(500, ORVLS_RETURN_USER, x, ORVLS_ACCEPT_REJECT_METHOD, 0); }),
              1000);
    EXPECT_EQ(uniforms_taken([&] { orvls_d_random_chi_squared(500, 8.0, ORVLS_RETURN_USER, x, 0); }), 2000);
    EXPECT_EQ(uniforms_taken([&] { orvls_d_random_stable(500, 1.3, 0.2, ORVLS_RETURN_USER, x, 0); }), 1000);
    EXPECT_EQ(uniforms_taken([&] { orvls_d_random_exponential_mix(500, 1.0, 2.0, 0.5, ORVLS_RETURN_USER, x, 0); }),
              500);
    EXPECT_EQ(uniforms_taken([&] { orvls_d_random_cauchy(1, ORVLS_RETURN_USER, x, 0); }) % 3, 0);
    EXPECT_EQ(uniforms_taken([&] { orvls_random_sample_indices(300, 1000000, ORVLS_RETURN_USER, r, 0); }), 300);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST(Stream, GammaAtOneAndOneHalfUseTheSimpleForms)
{
    ErrorCapture capture;
    std::vector<double> u(64), g(64), z(64);
    orvls_random_seed_set(kSeed);
    orvls_d_random_uniform(64, ORVLS_RETURN_USER, u.data(), 0);
    orvls_random_seed_set(kSeed);
    orvls_d_random_gamma(64, 1.0, ORVLS_RETURN_USER, g.data(), 0);
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(g[i], -std::log(u[i]));
    orvls_random_seed_set(kSeed);
    orvls_d_random_normal(64, ORVLS_RETURN_USER, z.data(), 0);
    orvls_random_seed_set(kSeed);
    orvls_d_random_gamma(64, 0.5, ORVLS_RETURN_USER, g.data(), 0);
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(g[i], z[i] * z[i] / 2);
}

// n deviates in one call, and n calls of one deviate, from the same seed.
template <class T>
void expect_one_call_as_many(const std::string& name, const std::function<T*(int64_t, T*)>& draw)
{
    constexpr int64_t n = 300;
    std::vector<T> together(n), apart(n);
    orvls_random_seed_set(kSeed);
    draw(n, together.data());
    orvls_random_seed_set(kSeed);
    for (int64_t i = 0; i < n; ++i)
        draw(1, &apart[i]);
    EXPECT_EQ(together, apart) << name;
    EXPECT_EQ(last_outcome(), (Outcome{0, 0})) << name;
}

TEST(Stream, SetupsKeptBetweenCallsLeaveTheStreamAsOneCall)
{
    ErrorCapture capture;
    orvls_random_option(1);
    using Integers = std::function<int64_t*(int64_t, int64_t*)>;
    using Doubles = std::function<double*(int64_t, double*)>;
    using Floats = std::function<float*(int64_t, float*)>;
    const struct {
        const char* name;
        Integers draw;
    } integer_cases[] = {
        {"binomial by inversion", [](int64_t n, int64_t* r) { return orvls_d_random_binomial(n, 20, 0.5, ORVLS_RETURN_USER, r, 0); }},
        {"binomial by envelope", [](int64_t n, int64_t* r) { return orvls_d_random_binomial(n, 5000, 0.7, ORVLS_RETURN_USER, r, 0); }},
        {"float binomial", [](int64_t n, int64_t* r) { return orvls_f_random_binomial(n, 300, 0.25f, ORVLS_RETURN_USER, r, 0); }},
        {"poisson by inversion", [](int64_t n, int64_t* r) { return orvls_random_poisson(n, 3.5f, ORVLS_RETURN_USER, r, 0); }},
        {"poisson by envelope", [](int64_t n, int64_t* r) { return orvls_random_poisson(n, 700.0f, ORVLS_RETURN_USER, r, 0); }},
        {"hypergeometric", [](int64_t n, int64_t* r) { return orvls_d_random_hypergeometric(n, 10, 20, 50, ORVLS_RETURN_USER, r, 0); }},
        {"logarithmic", [](int64_t n, int64_t* r) { return orvls_d_random_logarithmic(n, 0.97, ORVLS_RETURN_USER, r, 0); }},
        {"negative binomial", [](int64_t n, int64_t* r) { return orvls_d_random_neg_binomial(n, 2.5, 0.3, ORVLS_RETURN_USER, r, 0); }},
    };
    for (const auto& c : integer_cases)
        expect_one_call_as_many<int64_t>(c.name, c.draw);
    expect_one_call_as_many<double>("gamma 3.7", Doubles([](int64_t n, double* r) {
                                        return orvls_d_random_gamma(n, 3.7, ORVLS_RETURN_USER, r, 0);
                                    }));
    expect_one_call_as_many<double>("beta", Doubles([](int64_t n, double* r) {
                                        return orvls_d_random_beta(n, 0.5, 2.0, ORVLS_RETURN_USER, r, 0);
                                    }));
    expect_one_call_as_many<float>("float von Mises", Floats([](int64_t n, float* r) {
                                       return orvls_f_random_von_mises(n, 3.0f, ORVLS_RETURN_USER, r, 0);
                                   }));
}

TEST(Stream, NormalOptionsScaleThenShift)
{
    ErrorCapture capture;
    double plain[100], shifted[100], by_address[100];
    orvls_random_seed_set(kSeed);
    orvls_d_random_normal(100, ORVLS_RETURN_USER, plain, 0);
    orvls_random_seed_set(kSeed);
    orvls_d_random_normal(100, ORVLS_MEAN, 10.0, ORVLS_VARIANCE, 4.0, ORVLS_RETURN_USER, shifted, 0);
    const double mean = 10, variance = 4;
    orvls_random_seed_set(kSeed);
    orvls_d_random_normal(100, ORVLS_VARIANCE_ADR, &variance, ORVLS_RETURN_USER, by_address, ORVLS_MEAN_ADR, &mean, 0);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(shifted[i], plain[i] * 2 + 10);
        EXPECT_EQ(by_address[i], shifted[i]);
    }
    // The float form reads by-value reals as double and _ADR reals as float.
    float f_plain[10], f_shifted[10];
    const float f_mean = -1;
    orvls_random_seed_set(kSeed);
    orvls_f_random_normal(10, ORVLS_RETURN_USER, f_plain, ORVLS_ACCEPT_REJECT_METHOD, 0);
    orvls_random_seed_set(kSeed);
    orvls_f_random_normal(10, ORVLS_ACCEPT_REJECT_METHOD, ORVLS_MEAN_ADR, &f_mean, ORVLS_VARIANCE, 9.0,
                          ORVLS_RETURN_USER, f_shifted, 0);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(f_shifted[i], f_plain[i] * 3 - 1);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST(Stream, AllocatedResultsBelongToTheCaller)
{
    ErrorCapture capture;
    orvls_random_seed_set(kSeed);
    int64_t* allocated = orvls_d_random_uniform_discrete(50, 3, 0);
    ASSERT_NE(allocated, nullptr);
    int64_t mine[50];
    orvls_random_seed_set(kSeed);
    EXPECT_EQ(orvls_d_random_uniform_discrete(50, 3, ORVLS_RETURN_USER, mine, 0), mine);
    EXPECT_EQ(std::vector<int64_t>(allocated, allocated + 50), std::vector<int64_t>(mine, mine + 50));
    orvls_free_allocated_memory(allocated);
}

}  // namespace
