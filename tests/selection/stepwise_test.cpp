// Stepwise runs against the step rules applied to fresh least-squares fits
// (tools/gen_stepwise_refs.py): the model after each step, taken one step
// per call, and the final statistics; then the refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "capture.h"
#include "frame/memory.h"
#include "orvls.h"

namespace {

struct StepRun {
    std::string name;
    int direction = 0, n_force = 0;
    double enter = 0, remove = 0;
    std::vector<int64_t> levels;
    std::vector<std::vector<int64_t>> steps;
    std::vector<std::vector<double>> statistics;
};

struct StepwiseData {
    int64_t n = 0, p = 0;
    std::vector<double> x, y;
    std::vector<StepRun> runs;
};

StepwiseData read_data()
{
    std::ifstream in(std::string(ORVLS_SOURCE_DIR) + "/tests/selection/data/stepwise.txt");
    StepwiseData d;
    std::string line, key;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        words >> key;
        if (key == "data") {
            words >> d.n >> d.p;
        } else if (key == "x" || key == "y") {
            for (double v; words >> v;)
                (key == "x" ? d.x : d.y).push_back(v);
        } else if (key == "run") {
            StepRun r;
            words >> r.name >> r.direction >> r.enter >> r.remove >> r.n_force;
            for (int64_t v; words >> v;)
                r.levels.push_back(v);
            r.levels.push_back(-1);
            d.runs.push_back(r);
        } else if (key == "step") {
            d.runs.back().steps.emplace_back();
            for (int64_t v; words >> v;)
                d.runs.back().steps.back().push_back(v);
        } else if (key == "stat") {
            int64_t j;
            words >> j;
            d.runs.back().statistics.emplace_back();
            for (double v; words >> v;)
                d.runs.back().statistics.back().push_back(v);
        }
    }
    return d;
}

int direction_option(int direction)
{
    return direction < 0 ? ORVLS_BACKWARD : direction > 0 ? ORVLS_FORWARD : ORVLS_STEPWISE;
}

// The model, from the variance inflations: NaN for a variable out.
std::vector<int64_t> model_of(const std::vector<double>& vif)
{
    std::vector<int64_t> model;
    for (std::size_t j = 0; j < vif.size(); ++j)
        if (!std::isnan(vif[j]))
            model.push_back(int64_t(j));
    return model;
}

TEST(StepwiseReference, EveryStepAndTheFinalStatistics)
{
    StepwiseData d = read_data();
    ASSERT_EQ(d.runs.size(), 6u);
    for (const StepRun& r : d.runs) {
        SCOPED_TRACE(r.name);
        std::vector<double> history(d.p), statistics(4 * d.p), vif(d.p);
        // One step per call, until a step moves nothing.
        for (std::size_t s = 0; s <= r.steps.size(); ++s) {
            const int invoke = s == 0 ? ORVLS_FIRST_STEP : s == r.steps.size() ? ORVLS_LAST_STEP
                                                                                : ORVLS_INTERMEDIATE_STEP;
            orvls_d_regression_stepwise(d.n, d.p, d.x.data(), d.y.data(), invoke, direction_option(r.direction),
                                        ORVLS_ENTER_PVALUE, r.enter, ORVLS_REMOVE_PVALUE, r.remove, ORVLS_N_FORCE,
                                        r.n_force, ORVLS_LEVELS, r.levels.data(), ORVLS_COEF_T_TESTS_USER,
                                        statistics.data(), ORVLS_COEF_VIF_USER, vif.data(),
                                        ORVLS_SWEEP_HISTORY_USER, history.data(), 0);
            ASSERT_EQ(orvls_n1rty(1), 0);
            const std::vector<int64_t> expected =
                s < r.steps.size() ? r.steps[s] : (r.steps.empty() ? std::vector<int64_t>{} : r.steps.back());
            if (!(s == 0 && r.steps.empty())) {
                EXPECT_EQ(model_of(vif), expected) << "step " << s;
            }
        }
        for (int64_t j = 0; j < d.p; ++j)
            for (int c = 0; c < 4; ++c)
                EXPECT_NEAR(statistics[4 * j + c], r.statistics[j][c], 1e-9 * std::max(1.0, std::abs(r.statistics[j][c])))
                    << "variable " << j << " column " << c;
    }
}

// All steps in one call end where the single steps do; n_steps stops early.
TEST(StepwiseReference, AllStepsAndStepLimit)
{
    StepwiseData d = read_data();
    for (const StepRun& r : d.runs) {
        std::vector<double> vif(d.p);
        orvls_d_regression_stepwise(d.n, d.p, d.x.data(), d.y.data(), direction_option(r.direction),
                                    ORVLS_ENTER_PVALUE, r.enter, ORVLS_REMOVE_PVALUE, r.remove, ORVLS_N_FORCE,
                                    r.n_force, ORVLS_LEVELS, r.levels.data(), ORVLS_COEF_VIF_USER, vif.data(), 0);
        EXPECT_EQ(model_of(vif), r.steps.back()) << r.name;
        orvls_d_regression_stepwise(d.n, d.p, d.x.data(), d.y.data(), direction_option(r.direction),
                                    ORVLS_ENTER_PVALUE, r.enter, ORVLS_REMOVE_PVALUE, r.remove, ORVLS_N_FORCE,
                                    r.n_force, ORVLS_LEVELS, r.levels.data(), ORVLS_N_STEPS, 1,
                                    ORVLS_COEF_VIF_USER, vif.data(), 0);
        EXPECT_EQ(model_of(vif), r.steps.front()) << r.name;
    }
}

TEST(StepwiseReference, AnovaOfTheFinalModel)
{
    StepwiseData d = read_data();
    double* anova = nullptr;
    orvls_d_regression_stepwise(d.n, d.p, d.x.data(), d.y.data(), ORVLS_FORWARD, ORVLS_ANOVA_TABLE, &anova, 0);
    ASSERT_NE(anova, nullptr);
    EXPECT_EQ(anova[0], 3);  // model df: variables 0, 3 and 5 entered
    EXPECT_EQ(anova[1], double(d.n - 4));
    EXPECT_NEAR(anova[3] + anova[4], anova[5], 1e-9 * anova[5]);
    std::free(anova);
}

TEST(StepwiseReference, SummaryOfBackwardElimination)
{
    StepwiseData d = read_data();
    char* text = nullptr;
    orvls_d_regression_stepwise(d.n, d.p, d.x.data(), d.y.data(), ORVLS_PRINT_TO_TEXT, &text, 0);
    ASSERT_NE(text, nullptr);
    // Removed in steps 1 to 4: variables 2, 1, 4, 6 (the reference run "backward").
    EXPECT_STREQ(text, " * * * Backward Elimination Summary * * *\n"
                       "         Variable    Step Removed\n"
                       "                1             2\n"
                       "                2             1\n"
                       "                4             3\n"
                       "                6             4\n");
    std::free(text);
}

struct StepRefusal {
    const char* what;
    std::function<void(double*, double*)> call;
    Outcome outcome;
};

TEST(StepwiseErrors, RefusalsTable)
{
    ErrorCapture capture;
    static const int64_t low[] = {1, -2, 1, -1}, two_responses[] = {-1, 1, 1, -1}, no_response[] = {1, 1, 1, 1};
    const StepRefusal refusals[] = {
        {"unknown option", [](double* x, double* y) { orvls_d_regression_stepwise(6, 3, x, y, 777, 0); },
         {5, 11001}},
        {"no candidates", [](double* x, double* y) { orvls_d_regression_stepwise(6, 0, x, y, 0); }, {5, 603}},
        {"no rows", [](double* x, double* y) { orvls_d_regression_stepwise(0, 3, x, y, 0); }, {5, 603}},
        {"short rows", [](double* x, double* y) { orvls_d_regression_stepwise(6, 3, x, y, ORVLS_X_COL_DIM, 2, 0); },
         {5, 600}},
        {"tolerance", [](double* x, double* y) { orvls_d_regression_stepwise(6, 3, x, y, ORVLS_TOLERANCE, 2.0, 0); },
         {5, 11050}},
        {"level below -1",
         [](double* x, double* y) { orvls_d_regression_stepwise(6, 3, x, y, ORVLS_LEVELS, low, 0); }, {5, 20062}},
        {"two responses",
         [](double* x, double* y) { orvls_d_regression_stepwise(6, 3, x, y, ORVLS_LEVELS, two_responses, 0); },
         {5, 20063}},
        {"no response",
         [](double* x, double* y) { orvls_d_regression_stepwise(6, 3, x, y, ORVLS_LEVELS, no_response, 0); },
         {5, 20063}},
        {"step without a first",
         [](double* x, double* y) { orvls_d_regression_stepwise(6, 3, x, y, ORVLS_INTERMEDIATE_STEP, 0); },
         {4, 20064}},
        {"two print targets",
         [](double* x, double* y) {
             static char* text;
             orvls_d_regression_stepwise(6, 3, x, y, ORVLS_PRINT_TO_TEXT, &text, ORVLS_PRINT_TO_STDOUT, 0);
         },
         {5, 20749}},
        {"null levels",
         [](double* x, double* y) {
             orvls_d_regression_stepwise(6, 3, x, y, ORVLS_LEVELS, static_cast<int64_t*>(nullptr), 0);
         },
         {5, 104}},
    };
    for (const StepRefusal& r : refusals) {
        double x[18] = {1, 4, 2, 2, 1, 5, 3, 7, 1, 4, 2, 8, 5, 9, 3, 6, 1, 2}, y[6] = {1, 3, 2, 5, 4, 6};
        r.call(x, y);
        EXPECT_EQ(last_outcome(), r.outcome) << r.what;
    }
}

TEST(StepwiseErrors, AllocationFailuresCloseTheSearch)
{
    ErrorCapture capture;
    StepwiseData d = read_data();
    for (int64_t n = 1;; ++n) {
        double* anova = nullptr;
        orvls_testing_fail_allocation(n);
        orvls_d_regression_stepwise(d.n, d.p, d.x.data(), d.y.data(), ORVLS_FIRST_STEP, ORVLS_ANOVA_TABLE, &anova,
                                    0);
        orvls_testing_fail_allocation(0);
        const Outcome outcome = last_outcome();
        std::free(anova);
        if (outcome.type == 0) {
            orvls_d_regression_stepwise(d.n, d.p, d.x.data(), d.y.data(), ORVLS_LAST_STEP, 0);
            EXPECT_EQ(orvls_n1rty(1), 0);
            break;
        }
        EXPECT_EQ(outcome.type, 5) << n;
        orvls_d_regression_stepwise(d.n, d.p, d.x.data(), d.y.data(), ORVLS_INTERMEDIATE_STEP, 0);
        EXPECT_EQ(last_outcome(), (Outcome{4, 20064})) << n;
        ASSERT_LT(n, 100);
    }
}

}  // namespace
