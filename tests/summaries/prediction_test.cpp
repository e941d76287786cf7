// Regression prediction against R (predict with intervals, hatvalues,
// rstandard, rstudent, cooks.distance, dffits), its edge cases and errors.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

#include "prediction_support.h"
#include "capture.h"

extern "C" void orvls_testing_fail_allocation(int64_t n);

namespace {

const char* kReferences = "../../summaries/data/predictions.txt";

// Fit rows, then new rows, with the fit's weights and 1 for the new rows;
// the responses of new rows are NaN.
struct Rows {
    std::vector<double> x, y, weights;
};

Rows all_rows(const Fit& fit)
{
    Rows rows{fit.values.at("x"), fit.values.at("y"), fit.values.at("weights")};
    const std::vector<double>& new_x = fit.values.at("new_x");
    rows.x.insert(rows.x.end(), new_x.begin(), new_x.end());
    rows.y.resize(size_t(fit.n() + fit.q()), NAN);
    rows.weights.resize(size_t(fit.n() + fit.q()), 1.0);
    return rows;
}

template <class Real>
void check_against_r(double tolerance)
{
    for (const Fit& fit : read_fits(kReferences)) {
        std::vector<Real> x = fit.as<Real>("x"), y = fit.as<Real>("y"), w = fit.as<Real>("weights");
        RegressionInfo<Real>* info = nullptr;
        std::free(regression<Real>(fit.n(), fit.p(), x.data(), y.data(), ORVLS_WEIGHTS, w.data(),
                                   ORVLS_REGRESSION_INFO, &info, 0));
        ASSERT_NE(info, nullptr) << fit.name;
        const Rows rows = all_rows(fit);
        const std::vector<Real> rx(rows.x.begin(), rows.x.end()), ry(rows.y.begin(), rows.y.end()),
            rw(rows.weights.begin(), rows.weights.end());
        const size_t n = rows.y.size();
        std::vector<std::vector<Real>> out(15, std::vector<Real>(n));
        Real confidence = fit.name == "weighted" ? 90 : 95;
        Real* fitted = predict<Real>(
            info, int64_t(n), rx.data(), ORVLS_CONFIDENCE_ADR, &confidence, ORVLS_Y, ry.data(), ORVLS_WEIGHTS,
            rw.data(), ORVLS_MEAN_LIMITS_USER, out[0].data(), out[1].data(), ORVLS_NEW_OBSERVATION_LIMITS_USER,
            out[2].data(), out[3].data(), ORVLS_SCHEFFE_LIMITS_USER, out[4].data(), out[5].data(),
            ORVLS_LEVERAGE_USER, out[6].data(), ORVLS_RESIDUAL_USER, out[7].data(), ORVLS_STANDARDIZED_RESIDUAL_USER,
            out[8].data(), ORVLS_DELETED_RESIDUAL_USER, out[9].data(), ORVLS_COOKSD_USER, out[10].data(),
            ORVLS_DFFITS_USER, out[11].data(), 0);
        ASSERT_NE(fitted, nullptr) << fit.name;
        out[12].assign(fitted, fitted + n);
        std::free(fitted);
        const std::pair<const char*, size_t> keys[] = {
            {"mean_lower", 0}, {"mean_upper", 1}, {"new_lower", 2},    {"new_upper", 3},  {"scheffe_lower", 4},
            {"scheffe_upper", 5}, {"leverage", 6}, {"residual", 7},   {"standardized", 8}, {"deleted", 9},
            {"cooksd", 10},   {"dffits", 11},     {"fitted", 12}};
        for (const auto& [key, place] : keys) {
            const std::vector<double>& ref = fit.values.at(key);
            // The t-based limits carry the library's t quantile, good to
            // about 1e-10 relative: ten times the tolerance for them.
            const double allowed = tolerance * (place < 4 ? 10 : 1);
            for (size_t i = 0; i < ref.size(); ++i)
                EXPECT_NEAR(out[place][i], ref[i], allowed * std::max(1.0, std::fabs(ref[i])))
                    << fit.name << " " << key << "[" << i << "]";
            // New rows have no response: their residual diagnostics are NaN.
            for (size_t i = ref.size(); i < n; ++i) {
                EXPECT_TRUE(std::isnan(out[place][i])) << fit.name << " " << key << "[" << i << "]";
            }
        }
        std::free(info);
    }
}

TEST(RegressionPrediction, DoubleAgreesWithR) { check_against_r<double>(1e-10); }
TEST(RegressionPrediction, FloatAgreesWithR) { check_against_r<float>(5e-3); }

orvls_d_regression_info* small_fit(int64_t n)
{
    std::vector<double> x = {1, 2, 3, 4, 5, 6}, y = {1.1, 1.9, 3.2, 3.9, 5.1, 6.2};
    orvls_d_regression_info* info = nullptr;
    std::free(orvls_d_regression(n, 1, x.data(), y.data(), ORVLS_REGRESSION_INFO, &info, 0));
    return info;
}

// df_error 0: fitted values only; a row of leverage 1 keeps its
// diagnostics NaN; confidence 0 gives limits equal to the fit.
TEST(RegressionPrediction, EdgeCases)
{
    orvls_d_regression_info* info = small_fit(2);
    ASSERT_NE(info, nullptr);
    double x[] = {1, 3}, lower[2], upper[2];
    double* fitted = orvls_d_regression_prediction(info, 2, x, ORVLS_MEAN_LIMITS_USER, lower, upper, 0);
    ASSERT_NE(fitted, nullptr);
    EXPECT_NEAR(fitted[1], 1.9 + 0.8, 1e-12);
    EXPECT_TRUE(std::isnan(lower[0]) && std::isnan(upper[1]));
    std::free(fitted);
    std::free(info);

    ErrorCapture capture;
    info = small_fit(6);
    ASSERT_NE(info, nullptr);
    double y[] = {1.1, 3.2}, standardized[2], cooksd[2];
    fitted = orvls_d_regression_prediction(info, 2, x, ORVLS_Y, y, ORVLS_CONFIDENCE, 0.0, ORVLS_MEAN_LIMITS_USER,
                                           lower, upper, ORVLS_STANDARDIZED_RESIDUAL_USER, standardized,
                                           ORVLS_COOKSD_USER, cooksd, 0);
    ASSERT_NE(fitted, nullptr);
    EXPECT_EQ(orvls_n1rty(1), 0) << capture.text();
    EXPECT_EQ(lower[0], fitted[0]);
    EXPECT_EQ(upper[1], fitted[1]);
    EXPECT_TRUE(std::isfinite(standardized[0]) && std::isfinite(cooksd[1]));
    std::free(fitted);
    // A response far from any the fit has seen: its deleted variance is
    // negative, set to 0 with a warning.
    y[1] = 7;
    double deleted_residual[2];
    fitted = orvls_d_regression_prediction(info, 2, x, ORVLS_Y, y, ORVLS_DELETED_RESIDUAL_USER, deleted_residual, 0);
    EXPECT_EQ(last_outcome(), (Outcome{3, 20052}));
    EXPECT_TRUE(std::isinf(deleted_residual[1]));
    std::free(fitted);
    std::free(info);

    std::vector<double> xs = {1, 2, 3}, ys = {1, 2, 4};
    std::free(orvls_d_regression(3, 1, xs.data(), ys.data(), ORVLS_REGRESSION_INFO, &info, 0));
    ASSERT_NE(info, nullptr);
    double weights[] = {1, 1, 0.0}, leverage[3], deleted[3];
    // A weight of 0 leaves the residual statistics NaN but gives a leverage.
    fitted = orvls_d_regression_prediction(info, 3, xs.data(), ORVLS_Y, ys.data(), ORVLS_WEIGHTS, weights,
                                           ORVLS_LEVERAGE_USER, leverage, ORVLS_DELETED_RESIDUAL_USER, deleted, 0);
    ASSERT_NE(fitted, nullptr);
    EXPECT_EQ(leverage[2], 0.0);
    EXPECT_TRUE(std::isnan(deleted[2]));
    std::free(fitted);
    std::free(info);
}

TEST(RegressionPrediction, ConfidenceBelowFiftyIsANote)
{
    ErrorCapture capture;
    orvls_d_regression_info* info = small_fit(6);
    ASSERT_NE(info, nullptr);
    double x[] = {2}, lower, upper;
    double* fitted = orvls_d_regression_prediction(info, 1, x, ORVLS_CONFIDENCE, 30.0, ORVLS_MEAN_LIMITS_USER, &lower,
                                                   &upper, 0);
    EXPECT_EQ(last_outcome(), (Outcome{6, 20404}));
    ASSERT_NE(fitted, nullptr);
    EXPECT_LT(lower, fitted[0]);
    std::free(fitted);
    std::free(info);
}

// The thread's quantile cache follows changes of the confidence.
TEST(RegressionPrediction, LimitsFollowTheConfidence)
{
    orvls_d_regression_info* info = small_fit(6);
    ASSERT_NE(info, nullptr);
    double x[] = {2}, width[3];
    const double confidences[] = {95, 90, 95};
    for (int k = 0; k < 3; ++k) {
        double lower, upper;
        std::free(orvls_d_regression_prediction(info, 1, x, ORVLS_CONFIDENCE, confidences[k],
                                                ORVLS_NEW_OBSERVATION_LIMITS_USER, &lower, &upper, 0));
        width[k] = upper - lower;
    }
    EXPECT_EQ(width[0], width[2]);
    EXPECT_LT(width[1], width[0]);
    std::free(info);
}

struct ErrorCase {
    const char* name;
    std::function<double*(orvls_d_regression_info*)> call;
    Outcome expected;
};

// Each case on a fresh record: no result, and its type and code.
void run_error_cases(const std::vector<ErrorCase>& cases)
{
    for (const ErrorCase& c : cases) {
        ErrorCapture capture;
        orvls_d_regression_info* info = small_fit(6);
        ASSERT_NE(info, nullptr);
        double* fitted = c.call(info);
        EXPECT_EQ(fitted, nullptr) << c.name;
        EXPECT_EQ(last_outcome(), c.expected) << c.name << ": " << capture.text();
        std::free(fitted);
        std::free(info);
    }
}

TEST(RegressionPrediction, ErrorsAreRefusedWithTheirCodes)
{
    static double x[] = {1, 2, 3, 4}, y[] = {1, 2, 3, 4}, out[4], negative[] = {1, -1};
    const std::vector<ErrorCase> cases = {
        {"unknown option", [](auto* i) { return orvls_d_regression_prediction(i, 1, x, 99999, 0); }, {5, 11001}},
        {"null record", [](auto*) { return orvls_d_regression_prediction(nullptr, 1, x, 0); }, {5, 104}},
        {"null x", [](auto* i) { return orvls_d_regression_prediction(i, 1, nullptr, 0); }, {5, 104}},
        {"no rows", [](auto* i) { return orvls_d_regression_prediction(i, 0, x, 0); }, {5, 603}},
        {"confidence 100", [](auto* i) { return orvls_d_regression_prediction(i, 1, x, ORVLS_CONFIDENCE, 100.0, 0); },
         {5, 20403}},
        {"confidence negative",
         [](auto* i) { return orvls_d_regression_prediction(i, 1, x, ORVLS_CONFIDENCE, -1.0, 0); }, {5, 20403}},
        {"intercept flag", [](auto* i) { i->intercept = 3; return orvls_d_regression_prediction(i, 1, x, 0); },
         {5, 20300}},
        {"no parameters", [](auto* i) { i->n_parameters = 0; return orvls_d_regression_prediction(i, 1, x, 0); },
         {5, 20301}},
        {"short x rows",
         [](auto* i) { return orvls_d_regression_prediction(i, 1, x, ORVLS_X_COL_DIM, int64_t(0), 0); }, {5, 600}},
        {"index beyond y",
         [](auto* i) {
             return orvls_d_regression_prediction(i, 1, x, ORVLS_Y, y, ORVLS_DEPENDENT_INDEX, int64_t(1), 0);
         },
         {5, 20694}},
        {"index beyond the model",
         [](auto* i) { return orvls_d_regression_prediction(i, 1, x, ORVLS_DEPENDENT_INDEX, int64_t(1), 0); },
         {5, 20693}},
        {"residual without y",
         [](auto* i) { return orvls_d_regression_prediction(i, 1, x, ORVLS_COOKSD_USER, out, 0); }, {5, 20220}},
        {"null user array",
         [](auto* i) { return orvls_d_regression_prediction(i, 1, x, ORVLS_LEVERAGE_USER, nullptr, 0); },
         {5, 104}},
        {"negative weight",
         [](auto* i) { return orvls_d_regression_prediction(i, 2, x, ORVLS_WEIGHTS, negative, 0); }, {5, 11057}},
    };
    run_error_cases(cases);
}

// All data in x through ORVLS_X_INDICES: the weighted reference again,
// with the weight first and the response last in each row.
TEST(RegressionPrediction, DataColumnsInX)
{
    const std::vector<Fit> fits = read_fits(kReferences);
    const Fit& fit = fits.back();
    std::vector<double> x = fit.values.at("x"), y = fit.values.at("y"), w = fit.values.at("weights");
    orvls_d_regression_info* info = nullptr;
    std::free(orvls_d_regression(fit.n(), fit.p(), x.data(), y.data(), ORVLS_WEIGHTS, w.data(),
                                 ORVLS_REGRESSION_INFO, &info, 0));
    ASSERT_NE(info, nullptr);
    const int64_t n = fit.n(), p = fit.p(), ld = p + 3;
    std::vector<double> data(size_t(n * ld), -99.0);
    for (int64_t i = 0; i < n; ++i) {
        data[size_t(i * ld)] = w[size_t(i)];
        for (int64_t j = 0; j < p; ++j)
            data[size_t(i * ld + 1 + j)] = x[size_t(i * p + j)];
        data[size_t(i * ld + p + 2)] = y[size_t(i)];
    }
    const int64_t independent[] = {1, 2, 3}, dependent[] = {p + 2};
    std::vector<double> deleted(static_cast<size_t>(n)), dffits(static_cast<size_t>(n));
    double* fitted = orvls_d_regression_prediction(info, n, data.data(), ORVLS_X_COL_DIM, ld, ORVLS_X_INDICES,
                                                   independent, dependent, int64_t(-1), int64_t(0),
                                                   ORVLS_DELETED_RESIDUAL_USER, deleted.data(), ORVLS_DFFITS_USER,
                                                   dffits.data(), 0);
    ASSERT_NE(fitted, nullptr);
    for (int64_t i = 0; i < n; ++i) {
        EXPECT_NEAR(fitted[i], fit.values.at("fitted")[size_t(i)], 1e-10);
        EXPECT_NEAR(deleted[size_t(i)], fit.values.at("deleted")[size_t(i)], 1e-10);
        EXPECT_NEAR(dffits[size_t(i)], fit.values.at("dffits")[size_t(i)], 1e-10);
    }
    std::free(fitted);
    std::free(info);
}

TEST(RegressionPrediction, DataColumnErrors)
{
    static double x[] = {1, 2, 3, 4, 5, 6}, out[2];
    static const int64_t good[] = {0}, beyond[] = {3}, response[] = {1}, no_response[] = {-1}, far[] = {5};
    auto call = [](orvls_d_regression_info* i, const int64_t* independent, const int64_t* dependent,
                   int64_t frequency, int64_t weight, auto... more) {
        return orvls_d_regression_prediction(i, 2, x, ORVLS_X_COL_DIM, int64_t(3), ORVLS_X_INDICES, independent,
                                             dependent, frequency, weight, more..., 0);
    };
    const std::vector<ErrorCase> cases = {
        {"y as well", [&](auto* i) { return call(i, good, response, -1, -1, ORVLS_Y, x); }, {5, 20697}},
        {"response column beyond x", [&](auto* i) { return call(i, good, far, -1, -1); }, {5, 20695}},
        {"diagnostic without response",
         [&](auto* i) { return call(i, good, no_response, -1, -1, ORVLS_RESIDUAL_USER, out); }, {5, 20696}},
        {"frequency column", [&](auto* i) { return call(i, good, response, 3, -1); }, {5, 20467}},
        {"weight column", [&](auto* i) { return call(i, good, response, -1, 3); }, {5, 20468}},
        {"regressor column", [&](auto* i) { return call(i, beyond, response, -1, -1); }, {5, 20053}},
    };
    run_error_cases(cases);
}

// The diagnostic that names a missing response is the first asked, in
// the order residual, standardized, deleted, Cook's distance, DFFITS.
TEST(RegressionPrediction, MissingResponseNamesTheFirstDiagnostic)
{
    ErrorCapture capture;
    orvls_d_regression_info* info = small_fit(6);
    ASSERT_NE(info, nullptr);
    double x[] = {1}, a[1], b[1];
    EXPECT_EQ(orvls_d_regression_prediction(info, 1, x, ORVLS_DFFITS_USER, a, ORVLS_DELETED_RESIDUAL_USER, b, 0),
              nullptr);
    EXPECT_NE(capture.text().find("ORVLS_DELETED_RESIDUAL"), std::string::npos) << capture.text();
    std::free(info);
}

// Both paths: rows with separate responses, and all data in x.
TEST(RegressionPrediction, EachAllocationFailureIsRefusedCleanly)
{
    orvls_d_regression_info* info = small_fit(6);
    ASSERT_NE(info, nullptr);
    double x[] = {1, 2, 3}, y[] = {1, 2, 3}, xy[] = {1, 1, 2, 2, 3, 3};
    const int64_t independent[] = {0}, dependent[] = {1};
    for (const bool in_x : {false, true}) {
        for (int64_t failing = 1;; ++failing) {
            ErrorCapture capture;
            double *leverage = nullptr, *lower = nullptr, *upper = nullptr, *residual = nullptr;
            orvls_testing_fail_allocation(failing);
            double* fitted =
                in_x ? orvls_d_regression_prediction(info, 3, xy, ORVLS_X_COL_DIM, int64_t(2), ORVLS_X_INDICES,
                                                     independent, dependent, int64_t(-1), int64_t(-1), ORVLS_LEVERAGE,
                                                     &leverage, ORVLS_MEAN_LIMITS, &lower, &upper, ORVLS_RESIDUAL,
                                                     &residual, 0)
                     : orvls_d_regression_prediction(info, 3, x, ORVLS_Y, y, ORVLS_LEVERAGE, &leverage,
                                                     ORVLS_MEAN_LIMITS, &lower, &upper, ORVLS_RESIDUAL, &residual, 0);
            orvls_testing_fail_allocation(0);
            if (fitted != nullptr) {
                EXPECT_GT(failing, 5) << in_x;
                for (void* q : {(void*)fitted, (void*)leverage, (void*)lower, (void*)upper, (void*)residual})
                    std::free(q);
                break;
            }
            // 200: the thread's quantile record could not be made.
            const Outcome outcome = last_outcome();
            EXPECT_TRUE(outcome == (Outcome{5, 201}) || outcome == (Outcome{5, 200}))
                << failing << ": " << outcome.type << " " << outcome.code;
            for (void* q : {(void*)leverage, (void*)lower, (void*)upper, (void*)residual})
                EXPECT_EQ(q, nullptr) << failing;
        }
    }
    std::free(info);
}

}  // namespace
