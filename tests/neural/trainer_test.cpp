// Training: known answers (XOR, a sine curve), reproducibility of a seeded
// run, the stage rules, the report and every error.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/memory.h"
#include "neural_support.h"

namespace {

TEST(Trainer, XorWithOneHiddenLayer)
{
    ErrorCapture capture;
    const int64_t inputs[8] = {0, 0, 0, 1, 1, 0, 1, 1};
    const double targets[4] = {0, 1, 1, 0};
    auto* net = layered_network<double>({2, 2, 1});
    orvls_random_seed_set(123457);
    double forecasts[4];
    double* stats = orvls_d_mlff_network_trainer(net, 4, 2, 0, inputs, nullptr, targets, ORVLS_TOLERANCE, 1e-8,
                                                 ORVLS_FORECASTS_USER, forecasts, 0);
    ASSERT_NE(stats, nullptr);
    EXPECT_LE(orvls_n1rty(1), 3);
    EXPECT_LT(stats[0], 1e-6);
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(forecasts[i], targets[i], 2e-3) << i;
    orvls_free_allocated_memory(stats);
    orvls_d_mlff_network_free(net);
}

}  // namespace
