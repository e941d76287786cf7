// Training: known answers (XOR, a sine curve), reproducibility of a seeded
// run, the stage rules, the report and every error.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "frame/memory.h"
#include "reference_table.h"
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

namespace {

TEST(Trainer, SineWithTenHiddenNodes)
{
    ErrorCapture capture;
    std::vector<double> x, y;
    sine_data(50, x, y);
    auto* net = layered_network<double>({1, 10, 1});
    orvls_random_seed_set(123457);
    double* stats = orvls_d_mlff_network_trainer(net, 50, 0, 1, nullptr, x.data(), y.data(), ORVLS_TOLERANCE, 0.0, 0);
    ASSERT_NE(stats, nullptr);
    EXPECT_LT(stats[0], 1e-5);
    orvls_free_allocated_memory(stats);
    orvls_d_mlff_network_free(net);
}

}  // namespace

namespace {

TEST(Trainer, NoisySineBesideNnet)
{
    ErrorCapture capture;
    std::vector<double> x, y;
    for (const ReferenceRow& row : read_reference_table("tests/neural/data/noisy_sine.csv")) {
        x.push_back(row["x"]);
        y.push_back(row["y"]);
    }
    std::vector<double> nnet;
    for (const ReferenceRow& row : read_reference_table("tests/neural/data/nnet_sine.csv"))
        if (row.text("curve") == "noisy")
            nnet.push_back(row["half_sse"]);
    std::sort(nnet.begin(), nnet.end());
    auto* net = layered_network<double>({1, 10, 1});
    orvls_random_seed_set(123457);
    // nnet runs to 1000 iterations; Stage I gets half of max_itn.
    double* stats = orvls_d_mlff_network_trainer(net, 50, 0, 1, nullptr, x.data(), y.data(), ORVLS_TOLERANCE, 0.0,
                                                 ORVLS_MAX_ITN, 2000, 0);
    ASSERT_NE(stats, nullptr);
    std::printf("noisy sine: half SSE %.4f; nnet over 10 starts: best %.4f, median %.4f\n", stats[0], nnet[0],
                nnet[5]);
    EXPECT_LT(stats[0], 1.10 * nnet[5]);
    EXPECT_GT(stats[0], 0.9 * nnet[0]);  // noise of deviation 0.1 cannot be fitted away
    orvls_free_allocated_memory(stats);
    orvls_d_mlff_network_free(net);
}

}  // namespace

namespace {

// A small problem for the rules: two inputs (one categorical), one hidden
// layer of 3, two outputs, 12 rows.
template <class Real>
struct Small {
    std::vector<int64_t> categorical;
    std::vector<Real> continuous, output;
    typename Api<Real>::Net* net;
    Small() : net(layered_network<Real>({2, 3, 2}))
    {
        for (int i = 0; i < 12; ++i) {
            categorical.push_back(i % 3);
            continuous.push_back(Real(0.25) * i);
            output.push_back(static_cast<Real>(std::sin(0.5 * i)));
            output.push_back(static_cast<Real>(0.1 * (i % 3)));
        }
    }
    ~Small() { Api<Real>::free(net); }
    template <class... A>
    Real* train(A... a)
    {
        return Api<Real>::train(net, 12, 1, 1, categorical.data(), continuous.data(), output.data(), a...);
    }
};

template <class Real>
void seeded_run(std::vector<Real>& stats, std::vector<Real>& weights, std::vector<Real>& forecasts)
{
    Small<Real> small;
    stats.assign(5, 0);
    weights.assign(9 + 6 + 5, 0);
    forecasts.assign(24, 0);
    orvls_random_seed_set(98765);
    small.train(ORVLS_STAGE_I, 4, 7, ORVLS_RETURN_USER, stats.data(), ORVLS_WEIGHTS_USER, weights.data(),
                ORVLS_FORECASTS_USER, forecasts.data(), 0);
}

TEST(Trainer, SeededRunRepeatsItselfExactly)
{
    ErrorCapture capture;
    std::vector<double> s1, w1, f1, s2, w2, f2;
    seeded_run(s1, w1, f1);
    seeded_run(s2, w2, f2);
    EXPECT_EQ(std::memcmp(s1.data(), s2.data(), 5 * sizeof(double)), 0);
    EXPECT_EQ(w1, w2);
    EXPECT_EQ(f1, f2);
    std::vector<float> t1, v1, g1, t2, v2, g2;
    seeded_run(t1, v1, g1);
    seeded_run(t2, v2, g2);
    EXPECT_EQ(v1, v2);
    EXPECT_EQ(g1, g2);
    EXPECT_EQ(std::memcmp(t1.data(), t2.data(), 5 * sizeof(float)), 0);
}

TEST(Trainer, StageRulesAndResults)
{
    ErrorCapture capture;
    {
        // Stage II left out: Stage I alone, statistics 3 and 4 at their start values.
        Small<double> small;
        double* stats = small.train(ORVLS_NO_STAGE_II, 0);
        ASSERT_NE(stats, nullptr);
        EXPECT_EQ(stats[0], stats[2]);
        EXPECT_GT(stats[1], 0);
        EXPECT_EQ(stats[3], 0);
        EXPECT_TRUE(std::isnan(stats[4]));
        orvls_free_allocated_memory(stats);
    }
    {
        // A Stage I error within the tolerance: Stage II does not run.
        Small<double> small;
        double* stats = small.train(ORVLS_TOLERANCE, 1e9, 0);
        ASSERT_NE(stats, nullptr);
        EXPECT_EQ(stats[3], 0);
        EXPECT_TRUE(std::isnan(stats[4]));
        orvls_free_allocated_memory(stats);
    }
    {
        // Both stages; Stage II never makes the result worse.  The weights,
        // gradient, forecasts and residuals agree with the record and each other.
        Small<double> small;
        double *weights = nullptr, *gradient = nullptr, *forecasts = nullptr, *residuals = nullptr;
        double* stats = small.train(ORVLS_STAGE_I, 3, 0, ORVLS_TOLERANCE, 0.0, ORVLS_WEIGHTS, &weights,
                                    ORVLS_GRADIENT, &gradient, ORVLS_FORECASTS, &forecasts, ORVLS_RESIDUALS,
                                    &residuals, 0);
        ASSERT_NE(stats, nullptr);
        EXPECT_GT(stats[3], 0);
        EXPECT_EQ(stats[0], std::min(stats[2], stats[4]));
        const auto* net = small.net;
        for (int64_t i = 0; i < net->n_links; ++i) {
            EXPECT_EQ(net->links[i].weight, weights[i]);
            EXPECT_EQ(net->links[i].gradient, gradient[i]);
        }
        for (int64_t p = 0; p < 5; ++p) {
            EXPECT_EQ(net->nodes[2 + p].bias, weights[net->n_links + p]);
            EXPECT_EQ(net->nodes[2 + p].gradient, gradient[net->n_links + p]);
        }
        double half_sse = 0;
        for (int i = 0; i < 24; ++i) {
            EXPECT_EQ(residuals[i], forecasts[i] - small.output[i]);
            half_sse += 0.5 * residuals[i] * residuals[i];
        }
        EXPECT_NEAR(half_sse, stats[0], 1e-12 * std::max(1.0, half_sse));
        double* again = orvls_d_mlff_network_forecast(net, 12, 1, 1, small.categorical.data(),
                                                      small.continuous.data(), 0);
        for (int i = 0; i < 24; ++i)
            EXPECT_EQ(again[i], forecasts[i]);
        for (double* array : {stats, weights, gradient, forecasts, residuals, again})
            orvls_free_allocated_memory(array);
    }
    {
        // No epoch and no Stage II: nothing changes, the statistics keep their start.
        Small<double> small;
        small.net->links[0].weight = 0.5;
        double* stats = small.train(ORVLS_STAGE_I, 0, 12, ORVLS_NO_STAGE_II, 0);
        ASSERT_NE(stats, nullptr);
        EXPECT_TRUE(std::isnan(stats[0]));
        EXPECT_EQ(stats[1], 0);
        EXPECT_EQ(small.net->links[0].weight, 0.5);
        EXPECT_EQ(small.net->links[0].gradient, 1);
        orvls_free_allocated_memory(stats);
    }
}

TEST(Trainer, OverflowingErrorIsReplacedAndTrainingGoesOn)
{
    ErrorCapture capture;
    Small<float> small;
    for (float& target : small.output)
        target = 1e30f;
    float* stats = small.train(ORVLS_STAGE_I, 1, 0, ORVLS_NO_STAGE_II, 0);
    ASSERT_NE(stats, nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{3, 40086}));
    orvls_free_allocated_memory(stats);
}

TEST(Trainer, Report)
{
    ErrorCapture capture;
    char* text = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&text, &length);
    orvls_output_file(ORVLS_OUTPUT_FILE, stream, 0);
    {
        Small<double> small;
        orvls_free_allocated_memory(small.train(ORVLS_STAGE_I, 2, 6, ORVLS_TOLERANCE, 0.0, ORVLS_PRINT, 0));
    }
    orvls_output_file(ORVLS_OUTPUT_FILE, stdout, 0);
    std::fclose(stream);
    const std::string report(text, length);
    std::free(text);
    for (const char* line :
         {"\nTRAINING PARAMETERS:\n  Stage II Opt.   = 1 \n  n_epochs        = 2 \n  epoch_size      = 6 \n",
          "  max_itn         = 1000 \n  max_fcn         = 400 \n  max_step        = 1000.000000 \n",
          "  tolerance       = 0.000000 \n\nSTAGE I TRAINING STARTING \nStage I: Epoch 1 - Epoch Error SS = ",
          "\nStage I: Epoch 2 - Epoch Error SS = ", "\n\n\nSTAGE I FINAL ERROR SS = ",
          "OPTIMUM WEIGHTS AFTER STAGE I TRAINING: \nweight[0] = ", "\nSTAGE II TRAINING USING QUASI-NEWTON\n",
          "\nSTAGE II FINAL ERROR SS = ", "\n\nGRADIENT AT THE OPTIMUM WEIGHTS \ng[0] = \t",
          "\nTraining Completed \n\n"})
        EXPECT_NE(report.find(line), std::string::npos) << line;
}

TEST(Trainer, Errors)
{
    ErrorCapture capture;
    static Small<double> small;
    struct Case {
        Outcome outcome;
        double* (*run)();
    };
    const Case cases[] = {
        {{5, 11001}, [] { return small.train(12345, 0); }},
        {{5, 150}, [] { return orvls_d_mlff_network_trainer(nullptr, 1, 0, 2, nullptr, nullptr, nullptr, 0); }},
        {{5, 603}, [] { return Api<double>::train(small.net, 0, 1, 1, small.categorical.data(),
                                                  small.continuous.data(), small.output.data(), 0); }},
        {{5, 603}, [] { return Api<double>::train(small.net, 12, -1, 3, small.categorical.data(),
                                                  small.continuous.data(), small.output.data(), 0); }},
        {{5, 40085}, [] { return Api<double>::train(small.net, 12, 1, 2, small.categorical.data(),
                                                    small.continuous.data(), small.output.data(), 0); }},
        {{5, 603}, [] { return small.train(ORVLS_STAGE_I, -1, 5, 0); }},
        {{5, 603}, [] { return small.train(ORVLS_STAGE_I, 2, -5, 0); }},
        {{5, 603}, [] { return small.train(ORVLS_STAGE_I, 2, 13, 0); }},
        {{5, 608}, [] { return small.train(ORVLS_MAX_STEP, -1.0, 0); }},
        {{5, 603}, [] { return small.train(ORVLS_MAX_ITN, 0, 0); }},
        {{5, 603}, [] { return small.train(ORVLS_MAX_FCN, 0, 0); }},
        {{5, 608}, [] { return small.train(ORVLS_REL_FCN_TOL, -1.0, 0); }},
        {{5, 608}, [] { return small.train(ORVLS_GRAD_TOL, -1.0, 0); }},
        {{5, 608}, [] { return small.train(ORVLS_TOLERANCE, -1.0, 0); }},
        // Zeros pass the worker and fail in the engine.
        {{5, 603}, [] { return small.train(ORVLS_MAX_STEP, 0.0, 0); }},
        {{5, 603}, [] { return small.train(ORVLS_REL_FCN_TOL, 0.0, 0); }},
        {{5, 603}, [] { return small.train(ORVLS_GRAD_TOL, 0.0, 0); }},
        {{5, 40084}, [] { return small.train(ORVLS_STAGE_I, 0, 5, 0); }},
        {{5, 104}, [] { return small.train(ORVLS_RETURN_USER, nullptr, 0); }},
        {{5, 104}, [] { return small.train(ORVLS_WEIGHTS, nullptr, 0); }},
        {{5, 150}, [] { return Api<double>::train(small.net, 12, 1, 1, small.categorical.data(), nullptr,
                                                  small.output.data(), 0); }},
        {{5, 40088}, [] {
             small.net->nodes[3].activation_fcn = 7;
             double* r = small.train(0);
             small.net->nodes[3].activation_fcn = 1;
             return r;
         }},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.run(), nullptr);
        EXPECT_EQ(last_outcome(), c.outcome) << c.outcome.code;
    }
}

TEST(Trainer, AllocationFailuresLeaveNothingBehind)
{
    ErrorCapture capture;
    Small<double> small;
    int failures = 0;
    for (int64_t k = 1; k < 40; ++k) {
        double *weights = nullptr, *forecasts = nullptr;
        orvls_testing_fail_allocation(k);
        double* stats = small.train(ORVLS_STAGE_I, 2, 6, ORVLS_WEIGHTS, &weights, ORVLS_FORECASTS, &forecasts, 0);
        orvls_testing_fail_allocation(0);
        if (stats == nullptr) {
            ++failures;
            const Outcome outcome = last_outcome();
            EXPECT_EQ(outcome.type, 5);
            EXPECT_TRUE(outcome.code == 200 || outcome.code == 201) << outcome.code;
        }
        for (double* array : {stats, weights, forecasts})
            orvls_free_allocated_memory(array);
    }
    EXPECT_GT(failures, 5);
}

}  // namespace
