// The stream as a whole: known answers of every generator, the public fill
// and its options, the internal fills' checks, and one stream per thread.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "fresh_thread.h"
#include "frame/memory.h"
#include "known_answers.h"
#include "orvls.h"
#include "random/uniform.h"

namespace {

// Several threads use the library here, so the signal guard must be off.
class NoSignalTrapping : public ::testing::Environment {
public:
    void SetUp() override { orvls_skip_signal_handler(); }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new NoSignalTrapping);

// Draws in uneven pieces so that the unrolled loops, their tails and the
// block boundaries of the register and the twisters all take part.
template <class Real>
std::vector<Real> draw_in_pieces(int64_t count)
{
    std::vector<Real> values(count);
    const int64_t pieces[] = {1, 3, 2, 7, 4, 600, 5, 1000, 31};
    int64_t done = 0;
    for (int k = 0; done < count; ++k) {
        const int64_t n = std::min(pieces[k % 9], count - done);
        orvls::uniform_fill(n, values.data() + done);
        done += n;
    }
    return values;
}

template <class Real>
void check_known_answer(const KnownAnswer& known)
{
    in_fresh_thread([&](ErrorCapture&) {
        orvls_random_option(known.option);
        orvls_random_seed_set(kKnownSeed);
        const std::vector<Real> values = draw_in_pieces<Real>(kKnownCount);
        EXPECT_EQ(values[0], static_cast<Real>(known.first));
        EXPECT_EQ(values[kKnownNth - 1], static_cast<Real>(known.nth));
        EXPECT_EQ(fnv1a(values.data(), kKnownCount), known.hash);
        EXPECT_EQ(orvls_n1rty(0), 0);
    });
}

TEST(KnownAnswers, EveryOptionInBothPrecisions)
{
    for (const KnownAnswer& known : kKnownAnswers) {
        SCOPED_TRACE(::testing::Message() << "option " << known.option << (known.single ? " float" : " double"));
        if (known.single)
            check_known_answer<float>(known);
        else
            check_known_answer<double>(known);
    }
}

TEST(Uniform, PublicRoutineAllocatesOrFillsTheCallersArray)
{
    ErrorCapture capture;
    orvls_random_option(1);
    orvls_random_seed_set(99);
    double* allocated = orvls_d_random_uniform(5, 0);
    ASSERT_NE(allocated, nullptr);
    EXPECT_DOUBLE_EQ(allocated[0], 99.0 * 16807 / 2147483647.0);
    orvls_free_allocated_memory(allocated);
    float mine[3] = {};
    EXPECT_EQ(orvls_f_random_uniform(3, ORVLS_RETURN_USER, mine, 0), mine);
    EXPECT_GT(mine[2], 0.0f);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST(Uniform, RefusalsAndTheirCodes)
{
    ErrorCapture capture;
    EXPECT_EQ(orvls_d_random_uniform(0, 0), nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{5, 603}));
    EXPECT_EQ(orvls_f_random_uniform(4, 17, 0), nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{5, 11001}));
    EXPECT_EQ(orvls_d_random_uniform(4, ORVLS_RETURN_USER, nullptr, 0), nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{5, 104}));
    orvls_testing_fail_allocation(1);
    EXPECT_EQ(orvls_d_random_uniform(4, 0), nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{5, 200}));
    orvls_testing_fail_allocation(0);
}

TEST(Uniform, InternalFillRefusesAnEmptyRequestAtTheCallersLevel)
{
    ErrorCapture capture;
    float r[1] = {-1.0f};
    orvls_e1psh("orvls_f_random_normal");
    orvls::orvls_rnun(0, r);
    orvls_e1pop("orvls_f_random_normal");
    EXPECT_EQ(last_outcome(), (Outcome{5, 603}));
    EXPECT_EQ(text_parameter(1), "nr");
    EXPECT_EQ(r[0], -1.0f);
}

TEST(Uniform, StateThatCannotBeMadeIsReported)
{
    in_fresh_thread([](ErrorCapture&) {
        orvls_testing_fail_allocation(1);
        orvls_random_option(3);
        EXPECT_EQ(last_outcome(), (Outcome{5, 200}));
        orvls_testing_fail_allocation(0);
        orvls_random_option(3);
        EXPECT_EQ(orvls_random_option_get(), 3);
    });
}

// Two threads with the same seed see the same stream, and draws in one do
// not move the other.
TEST(Threads, EachThreadHasItsOwnStream)
{
    for (int option = 1; option <= 9; ++option) {
        std::vector<double> alone(50), first(50), second(50);
        in_fresh_thread([&](ErrorCapture&) {
            orvls_random_option(option);
            orvls_random_seed_set(4242);
            orvls_d_random_uniform(50, ORVLS_RETURN_USER, alone.data(), 0);
        });
        auto run = [&](std::vector<double>& out) {
            orvls_random_option(option);
            orvls_random_seed_set(4242);
            for (double& v : out)
                orvls_d_random_uniform(1, ORVLS_RETURN_USER, &v, 0);
        };
        std::thread a(run, std::ref(first));
        std::thread b(run, std::ref(second));
        a.join();
        b.join();
        EXPECT_EQ(first, alone) << option;
        EXPECT_EQ(second, alone) << option;
    }
}

}  // namespace
