// Refusals, sequence order, fatal rows and allocation failures of the
// regression: each with its type and code, a null result, nothing leaked,
// x as it was, and no sequence left open.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "frame/memory.h"
#include "regression_support.h"

namespace {

// 5 rows: x0, x1, y, frequency, weight.
const std::vector<double> kData = {1, 2, 3, 1, 1, 2, 1, 4, 1, 1, 3, 5, 9, 1, 1, 4, 3, 8, 1, 1, 5, 8, 12, 1, 1};
double kY[] = {3, 4, 9, 8, 12};
const double kNegative[] = {1, 1, -1, 1, 1};
const int64_t kIndependent[] = {0, 1}, kDependent[] = {2}, kOutside[] = {0, 7};

// True when no sequence is open on this thread (a continuing call is
// refused).  The caller keeps the reports.
bool sequence_closed()
{
    double x[] = {1}, y[] = {1};
    orvls_d_regression(0, 1, x, y, ORVLS_IDO, 3, 0);
    return last_outcome() == (Outcome{4, 20691});
}

struct Refusal {
    const char* what;
    std::function<double*(double*)> call;  // gets x as 5 rows of 5 columns
    Outcome outcome;
};

TEST(RegressionErrors, RefusalsReturnNullAndLeaveXAndNoSequence)
{
    static double anova_user[15], *anova = nullptr;
    static int64_t rank;
    const Refusal refusals[] = {
        {"unknown option", [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, 777, 0); },
         {5, 11001}},
        {"negative n_independent", [](double* x) { return orvls_d_regression(5, -1, x, kY, 0); }, {5, 603}},
        {"negative n_dependent",
         [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_N_DEPENDENT, -1, 0); },
         {5, 603}},
        {"ido 4", [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 4, 0); },
         {5, 602}},
        {"no rows", [](double* x) { return orvls_d_regression(0, 2, x, kY, ORVLS_X_COL_DIM, 5, 0); }, {5, 20463}},
        {"negative rows in a sequence",
         [](double* x) { return orvls_d_regression(-1, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 1, 0); },
         {5, 20464}},
        {"ANOVA in a sequence",
         [](double* x) {
             return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 1, ORVLS_ANOVA_TABLE, &anova, 0);
         },
         {5, 20690}},
        {"covariance row length alone",
         [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_COEF_COV_COL_DIM, 3, 0); },
         {5, 11038}},
        {"tolerance above 1",
         [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_TOLERANCE, 1.5, 0); },
         {5, 11050}},
        {"NaN tolerance",
         [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_TOLERANCE, NAN, 0); },
         {5, 11050}},
        {"x_col_dim short", [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 1, 0); },
         {5, 600}},
        {"y_col_dim short",
         [](double* x) {
             return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_N_DEPENDENT, 2, ORVLS_Y_COL_DIM, 1, 0);
         },
         {5, 600}},
        {"covariance rows short",
         [](double* x) {
             static double* cov;
             return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_COEF_COVARIANCES, &cov,
                                       ORVLS_COEF_COV_COL_DIM, 2, 0);
         },
         {5, 600}},
        {"null user array",
         [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_ANOVA_TABLE_USER, nullptr, 0); },
         {5, 104}},
        {"null rank address",
         [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_RANK, nullptr, 0); },
         {5, 104}},
        {"frequency column beyond x",
         [](double* x) {
             return orvls_d_regression(5, 2, x, nullptr, ORVLS_X_INDICES, kIndependent, kDependent, 5, -1,
                                       ORVLS_X_COL_DIM, 5, 0);
         },
         {5, 20467}},
        {"weight column beyond x",
         [](double* x) {
             return orvls_d_regression(5, 2, x, nullptr, ORVLS_X_INDICES, kIndependent, kDependent, -1, 9,
                                       ORVLS_X_COL_DIM, 5, 0);
         },
         {5, 20468}},
        {"frequency column below -1",
         [](double* x) {
             return orvls_d_regression(5, 2, x, nullptr, ORVLS_X_INDICES, kIndependent, kDependent, -2, -1,
                                       ORVLS_X_COL_DIM, 5, 0);
         },
         {5, 603}},
        {"independent column beyond x",
         [](double* x) {
             return orvls_d_regression(5, 2, x, nullptr, ORVLS_X_INDICES, kOutside, kDependent, -1, -1,
                                       ORVLS_X_COL_DIM, 5, 0);
         },
         {5, 11053}},
        {"dependent column beyond x",
         [](double* x) {
             return orvls_d_regression(5, 2, x, nullptr, ORVLS_X_INDICES, kIndependent, kOutside + 1, -1, -1,
                                       ORVLS_X_COL_DIM, 5, 0);
         },
         {5, 11052}},
        {"indices with frequencies",
         [](double* x) {
             return orvls_d_regression(5, 2, x, nullptr, ORVLS_X_INDICES, kIndependent, kDependent, -1, -1,
                                       ORVLS_FREQUENCIES, kNegative, 0);
         },
         {5, 11117}},
        {"negative frequency",
         [](double* x) {
             return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_FREQUENCIES, kNegative, 0);
         },
         {4, 11055}},
        {"negative weight",
         [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_WEIGHTS, kNegative, 0); },
         {4, 11057}},
        {"negative weight in a sequence",
         [](double* x) {
             return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 1, ORVLS_WEIGHTS, kNegative, 0);
         },
         {4, 11056}},
        {"negative frequency column, transposed x",
         [](double* x) {
             x[2 * 5 + 3] = -1;
             return orvls_d_regression(5, 2, x, nullptr, ORVLS_X_INDICES, kIndependent, kDependent, 3, 4,
                                       ORVLS_ANOVA_TABLE_USER, anova_user, ORVLS_RANK, &rank, 0);
         },
         {4, 11055}},
        {"continuing with no sequence",
         [](double* x) { return orvls_d_regression(5, 2, x, kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 2, 0); },
         {4, 20691}},
    };
    for (const Refusal& r : refusals) {
        ErrorCapture capture;
        std::vector<double> x = kData;
        EXPECT_EQ(r.call(x.data()), nullptr) << r.what;
        EXPECT_EQ(last_outcome(), r.outcome) << r.what;
        if (std::strcmp(r.what, "negative frequency column, transposed x") == 0)
            x[2 * 5 + 3] = 1;
        EXPECT_EQ(x, kData) << r.what;
        EXPECT_TRUE(sequence_closed()) << r.what;
    }
    EXPECT_EQ(anova, nullptr);
}

TEST(RegressionErrors, SequenceOrder)
{
    ErrorCapture capture;
    std::vector<double> x = kData;
    orvls_d_regression(2, 2, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 1, 0);
    EXPECT_EQ(orvls_n1rty(1), 0);
    // Another shape in a later call is refused, and ends the sequence.
    EXPECT_EQ(orvls_d_regression(2, 1, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 2, 0), nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{5, 602}));
    EXPECT_TRUE(sequence_closed());
    // Opening twice is refused, and ends the open sequence.
    orvls_d_regression(2, 2, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 1, 0);
    EXPECT_EQ(orvls_d_regression(2, 2, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 0, 0), nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{4, 20692}));
    EXPECT_TRUE(sequence_closed());
    // A negative frequency within a sequence names the call.
    orvls_d_regression(2, 2, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 1, 0);
    orvls_d_regression(1, 2, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 2, 0);
    EXPECT_EQ(orvls_d_regression(5, 2, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 3, ORVLS_FREQUENCIES, kNegative,
                                 0),
              nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{4, 11054}));
    EXPECT_NE(capture.text().find("call 3"), std::string::npos) << capture.text();
    EXPECT_TRUE(sequence_closed());
    // A removed row at an extreme is told; the fit stands.
    orvls_d_regression(5, 2, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 1, 0);
    double* b = orvls_d_regression(1, 2, x.data(), kY, ORVLS_X_COL_DIM, 5, ORVLS_IDO, 3, ORVLS_DELETE_OBSERVATIONS,
                                   0);
    EXPECT_NE(b, nullptr);
    EXPECT_NE(capture.text().find("xmin"), std::string::npos) << capture.text();
    std::free(b);
}

// Every allocation of a call with every output, made to fail in turn:
// memory is refused with its code, and x, the outputs and the thread's
// sequence are as before.  The leak check is the sanitizer build's.
TEST(RegressionErrors, EachAllocationFailureIsRefusedCleanly)
{
    const int64_t independent[] = {0, 1}, dependent[] = {2};
    for (int64_t failing = 1;; ++failing) {
        ErrorCapture capture;
        std::vector<double> x = kData;
        double *anova = nullptr, *cov = nullptr, *res = nullptr, *mean = nullptr, *r = nullptr, *sscp = nullptr;
        orvls_d_regression_info* info = nullptr;
        orvls_testing_fail_allocation(failing);
        double* b = orvls_d_regression(5, 2, x.data(), nullptr, ORVLS_X_INDICES, independent, dependent, 3, 4,
                                       ORVLS_ANOVA_TABLE, &anova, ORVLS_COEF_COVARIANCES, &cov, ORVLS_RESIDUAL, &res,
                                       ORVLS_X_MEAN, &mean, ORVLS_R, &r, ORVLS_SSCP_ERROR, &sscp,
                                       ORVLS_REGRESSION_INFO, &info, 0);
        orvls_testing_fail_allocation(0);
        EXPECT_EQ(x, kData) << failing;
        if (b != nullptr) {
            EXPECT_GT(failing, 3);  // every allocation was tried
            for (void* p : {(void*)b, (void*)anova, (void*)cov, (void*)res, (void*)mean, (void*)r, (void*)sscp,
                            (void*)info})
                std::free(p);
            break;
        }
        const Outcome outcome = last_outcome();
        EXPECT_TRUE(outcome == (Outcome{5, 200}) || outcome == (Outcome{5, 202}) || outcome == (Outcome{5, 203}))
            << failing << ": " << outcome.type << " " << outcome.code;
        for (void* p : {(void*)anova, (void*)cov, (void*)res, (void*)mean, (void*)r, (void*)sscp, (void*)info})
            EXPECT_EQ(p, nullptr) << failing;
        EXPECT_TRUE(sequence_closed()) << failing;
    }
}

}  // namespace
