// Warnings, refusals and failures of the simple statistics, the state of x
// after each call, and the kernel's removal of rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "basic/u2sta.h"
#include "frame/memory.h"
#include "statistics_support.h"

namespace {

using orvls::basic::l_u2sta;
using orvls::basic::UpdateState;

// 4 observations of 3 variables; row-major, and its transpose.
const std::vector<double> kData = {1, 2, 3, 4, 6, 5, 2, 2, 9, 8, 0, 7};
std::vector<double> transposed(const std::vector<double>& x, int64_t rows, int64_t columns)
{
    std::vector<double> t(x.size());
    for (int64_t i = 0; i < rows; ++i)
        for (int64_t j = 0; j < columns; ++j)
            t[i + j * rows] = x[i * columns + j];
    return t;
}

const double kOne = 1;
const double kFrequencies[4] = {1, 2, 1, 1}, kNegativeFrequencies[4] = {1, 2, -1, 1};
const double kNegativeWeights[4] = {1, 1, 1, -2}, kZeroWeights[4] = {0, 0, 0, 0};

enum class XAfter { restored, transposed };

struct Refusal {
    const char* what;
    std::function<double*(double*)> call;
    Outcome outcome;
    XAfter x_after;
};

TEST(SimpleStatisticsConditions, RefusalsReturnNullAndRestoreX)
{
    const Refusal refusals[] = {
        {"unknown option", [](double* x) { return orvls_d_simple_statistics(4, 3, x, 12345, 0); }, {5, 11001},
         XAfter::restored},
        {"no variables", [](double* x) { return orvls_d_simple_statistics(4, 0, x, 0); }, {5, 603}, XAfter::restored},
        {"no observations", [](double* x) { return orvls_d_simple_statistics(0, 3, x, 0); }, {5, 603},
         XAfter::restored},
        {"median twice", [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_MEDIAN, ORVLS_MEDIAN, 0); },
         {5, 11117}, XAfter::restored},
        {"both medians",
         [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_MEDIAN_AND_SCALE, ORVLS_MEDIAN, 0); },
         {5, 11117}, XAfter::restored},
        {"null user array",
         [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_RETURN_USER, nullptr, 0); }, {5, 104},
         XAfter::restored},
        {"short row of x", [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_X_COL_DIM, 2, 0); },
         {5, 600}, XAfter::restored},
        {"short row of the result",
         [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_RETURN_COL_DIM, 2, 0); }, {5, 600},
         XAfter::restored},
        {"one weighted observation",
         [](double* x) { return orvls_d_simple_statistics(1, 3, x, ORVLS_WEIGHTS, &kOne, 0); }, {5, 11063},
         XAfter::restored},
        {"negative frequency",
         [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_FREQUENCIES, kNegativeFrequencies, 0); },
         {4, 11054}, XAfter::restored},
        {"negative weight",
         [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_WEIGHTS, kNegativeWeights, 0); },
         {4, 11056}, XAfter::restored},
        {"weighted confidence of 100",
         [](double* x) {
             return orvls_d_simple_statistics(4, 3, x, ORVLS_FREQUENCIES, kFrequencies, ORVLS_CONFIDENCE_MEANS, 100.0,
                                              0);
         },
         {5, 11064}, XAfter::restored},
        {"negative weight into a user array",
         [](double* x) {
             static double user[14 * 3];
             return orvls_d_simple_statistics(4, 3, x, ORVLS_RETURN_USER, user, ORVLS_WEIGHTS, kNegativeWeights, 0);
         },
         {4, 11056}, XAfter::restored},
        {"confidence of 100 for means",
         [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_CONFIDENCE_MEANS, 100.0, 0); }, {5, 11064},
         XAfter::transposed},
        {"confidence of 100 for variances",
         [](double* x) { return orvls_d_simple_statistics(4, 3, x, ORVLS_CONFIDENCE_VARIANCES, 250.0, 0); },
         {5, 11065}, XAfter::transposed},
    };
    ErrorCapture capture;
    for (const Refusal& r : refusals) {
        SCOPED_TRACE(r.what);
        std::vector<double> x = kData;
        EXPECT_EQ(r.call(x.data()), nullptr);
        EXPECT_EQ(last_outcome(), r.outcome);
        EXPECT_EQ(x, r.x_after == XAfter::restored ? kData : transposed(kData, 4, 3));
    }
}

// Each allocation of a call refused in turn: 201 for the work arrays and the
// result (and the kernel's sums of weights), 200 for the median work.
TEST(SimpleStatisticsConditions, EveryAllocationFailureIsReported)
{
    ErrorCapture capture;
    const double weights[4] = {1, 2, 1, 1};
    for (bool weighted : {false, true}) {
        SCOPED_TRACE(weighted ? "weighted" : "plain");
        auto call = [&](double* x) {
            return weighted ? orvls_d_simple_statistics(4, 3, x, ORVLS_MEDIAN_AND_SCALE, ORVLS_WEIGHTS, weights,
                                                        ORVLS_FREQUENCIES, kFrequencies, 0)
                            : orvls_d_simple_statistics(4, 3, x, ORVLS_MEDIAN_AND_SCALE, 0);
        };
        std::vector<double> x = kData;
        const int64_t before = orvls_testing_allocation_count();
        double* result = call(x.data());
        const int64_t allocations = orvls_testing_allocation_count() - before;
        ASSERT_NE(result, nullptr);
        orvls_free_allocated_memory(result);
        const int64_t worker_allocations = weighted ? 7 : 5;  // with the kernel's sums of weights
        for (int64_t n = 1; n <= allocations; ++n) {
            SCOPED_TRACE(n);
            x = kData;
            orvls_testing_fail_allocation(n);
            result = call(x.data());
            orvls_testing_fail_allocation(0);
            if (n <= worker_allocations) {
                EXPECT_EQ(result, nullptr);
                EXPECT_EQ(last_outcome(), (Outcome{5, 201}));
                EXPECT_EQ(x, kData);
            } else if (n >= allocations - 1) {
                EXPECT_EQ(result, nullptr);
                EXPECT_EQ(last_outcome(), (Outcome{5, 200}));
            } else {
                EXPECT_NE(result, nullptr);  // a transposition falls back to cycles
                EXPECT_EQ(x, kData);
            }
            orvls_free_allocated_memory(result);
        }
    }
}

struct Warning {
    const char* what;
    int64_t n, m;
    std::vector<double> x;
    std::function<double*(int64_t, int64_t, double*)> call;
    std::vector<int64_t> codes;  // the codes reported, in the order raised
    int64_t row, column;         // one cell to check
    double value;                // NaN for undefined
};

double* plain(int64_t n, int64_t m, double* x) { return orvls_d_simple_statistics(n, m, x, 0); }
double* elementwise(int64_t n, int64_t m, double* x)
{
    return orvls_d_simple_statistics(n, m, x, ORVLS_MISSING_ELEMENTWISE, 0);
}

// Each value counts as often as the whole part of its frequency; huge
// frequencies are counted, not copied (they once overflowed the count's
// conversion and sized the work by the sum of the frequencies).
TEST(SimpleStatisticsConditions, MediansCountFrequenciesOfAnySize)
{
    const struct {
        double frequencies[4];
        double median[3];
        double deviation[3];
    } cases[] = {
        {{1e300, 1, 1, 1}, {1, 2, 3}, {0, 0, 0}},
        {{2, 1, 1, 2}, {3, 2, 6}, {2, 1, 2}},  // column 0 counts 1 1 2 4 8 8
        {{0.5, 1.75, 1, 3e18}, {8, 0, 7}, {0, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.frequencies[0]);
        std::vector<double> x = kData;
        double* result =
            orvls_d_simple_statistics(4, 3, x.data(), ORVLS_MEDIAN_AND_SCALE, ORVLS_FREQUENCIES, c.frequencies, 0);
        ASSERT_NE(result, nullptr);
        for (int j = 0; j < 3; ++j) {
            EXPECT_EQ(result[14 * 3 + j], c.median[j]) << j;
            EXPECT_EQ(result[15 * 3 + j], c.deviation[j]) << j;
        }
        orvls_free_allocated_memory(result);
    }
    std::vector<float> x(kData.begin(), kData.end());
    const float frequencies[4] = {3e38f, 1, 1, 1};
    float* result = orvls_f_simple_statistics(4, 3, x.data(), ORVLS_MEDIAN, ORVLS_FREQUENCIES, frequencies, 0);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result[14 * 3 + 0], 1.0f);
    orvls_free_allocated_memory(result);
}

TEST(SimpleStatisticsConditions, WarningsLeaveResultsWithUndefinedCells)
{
    const double nan = NAN, inf = INFINITY;
    const Warning warnings[] = {
        {"listwise missing", 3, 2, {1, 2, nan, 3, 4, 5}, plain, {11062}, 9, 1, 2},
        {"elementwise missing", 3, 2, {1, 2, nan, 3, 4, 5}, elementwise, {11288}, 9, 1, 3},
        {"one observation", 1, 2, {1, 2}, plain, {11067}, 1, 0, nan},
        {"one observation keeps its mean", 1, 2, {1, 2}, plain, {11067}, 0, 1, 2},
        {"zero weights",
         3, 1, {1, 2, 3},
         [](int64_t n, int64_t m, double* x) {
             return orvls_d_simple_statistics(n, m, x, ORVLS_WEIGHTS, kZeroWeights, 0);
         },
         {11068}, 0, 0, nan},
        {"zero weights of one variable",
         4, 2, {1, 5, 2, 6, 3, nan, 4, nan},
         [](int64_t n, int64_t m, double* x) {
             static const double w[4] = {0, 0, 1, 1};
             return orvls_d_simple_statistics(n, m, x, ORVLS_WEIGHTS, w, ORVLS_MISSING_ELEMENTWISE, 0);
         },
         {11288, 11069}, 0, 1, nan},
        {"no finite range", 2, 1, {inf, inf}, plain, {11070}, 1, 0, nan},
        {"one value of a variable", 3, 2, {1, 2, nan, 3, nan, 4}, elementwise, {11072, 9042, 11080, 11288}, 1, 0, nan},
        {"range below the square root of tiny", 3, 1, {0, 2e-160, 4e-160}, plain, {11073, 11078}, 3, 0, nan},
        {"range too small for the skewness", 3, 1, {0, 1e-120, 2e-120}, plain, {11074, 11075, 11078}, 3, 0, nan},
        {"range too small for the kurtosis", 3, 1, {0, 1e-90, 2e-90}, plain, {11075, 11078}, 4, 0, nan},
        {"constant", 3, 2, {4, 1, 4, 2, 4, 3}, plain, {11076}, 4, 0, 0},
        {"constant coefficient of variation", 3, 2, {4, 1, 4, 2, 4, 3}, plain, {11076}, 8, 0, 0},
        {"squares underflow", 2, 1, {1e-300, 2e-300}, plain, {11077, 11078}, 2, 0, 0},
        {"zero mean", 2, 1, {-1, 1}, plain, {11078}, 8, 0, nan},
    };
    ReportLog log;
    for (const Warning& w : warnings) {
        SCOPED_TRACE(w.what);
        log.clear();
        std::vector<double> x = w.x;
        double* result = w.call(w.n, w.m, x.data());
        ASSERT_NE(result, nullptr);
        std::vector<int64_t> codes;
        for (const Outcome& report : log.reports()) {
            EXPECT_EQ(report.type, report.code == 9042 ? 5 : 6);  // the t quantile refuses 0 degrees of freedom
            codes.push_back(report.code);
        }
        EXPECT_EQ(codes, w.codes);
        const double cell = result[w.row * w.m + w.column];
        if (std::isnan(w.value))
            EXPECT_TRUE(std::isnan(cell)) << cell;
        else
            EXPECT_EQ(cell, w.value);
        EXPECT_EQ(std::memcmp(x.data(), w.x.data(), x.size() * sizeof(double)), 0) << "x not restored";
        orvls_free_allocated_memory(result);
    }
}

// The kernel on its own: ten rows of frequency, weight and two variables,
// column-major.
struct KernelData {
    static constexpr int64_t n = 10;
    std::vector<double> x = {1, 2, 1, 3, 1, 1, 2, 1, 1, 4,  // frequencies
                             1, 0.5, 2, 1, 0, 1.5, 1, 3, 1, 1,  // weights
                             2.5, 3.1, -1.2, 4.8, 0.3, 2.2, 7.5, 1.1, 3.3, -0.4,
                             10, 12, 9.5, 11, 14, 8, 13, 10.5, 9, 12.5};
    double stat[14 * 2];
    double first_values[4];
    int64_t nrmiss = 0;
    UpdateState<double> state;
    KernelData()
    {
        state.weight_sum = static_cast<double*>(std::malloc(2 * sizeof(double)));
        state.weight_sq_sum = static_cast<double*>(std::malloc(2 * sizeof(double)));
    }
    void call(int64_t ido, int64_t first_row, int64_t nrow, int64_t mopt, int64_t ldx, const double* data)
    {
        l_u2sta<double>(ido, nrow, 2, data + first_row, ldx, 1, 2, mopt, 95, 95, 0, stat, 14, &nrmiss, first_values,
                        &state);
    }
};

// Adding all rows and taking four out again gives the statistics of the six
// that stay, up to rounding; the extremes are not taken back.
TEST(SimpleStatisticsKernel, RemovingRowsLeavesTheRest)
{
    ErrorCapture capture;
    for (int64_t mopt : {0, 1}) {
        SCOPED_TRACE(mopt);
        KernelData all, rest;
        all.call(1, 0, KernelData::n, mopt, KernelData::n, all.x.data());
        all.call(2, 3, -4, mopt, KernelData::n, all.x.data());
        all.call(3, 0, 0, mopt, KernelData::n, all.x.data());
        std::vector<double> kept;
        for (int64_t c = 0; c < 4; ++c)
            for (int64_t i = 0; i < KernelData::n; ++i)
                if (i < 3 || i >= 7)
                    kept.push_back(all.x[c * KernelData::n + i]);
        rest.call(0, 0, 6, mopt, 6, kept.data());
        EXPECT_LT(orvls_n1rty(1), 4);
        for (int64_t j = 0; j < 2; ++j)
            for (int64_t row : {0, 1, 2, 3, 4, 8, 9, 10, 11, 12, 13})
                EXPECT_NEAR(all.stat[row + 14 * j], rest.stat[row + 14 * j], 1e-10 * std::fabs(rest.stat[row + 14 * j]))
                    << "row " << row << ", variable " << j;
    }
}

// The kernel's own refusals, which the public routine never reaches.
TEST(SimpleStatisticsKernel, RefusesBadRows)
{
    ErrorCapture capture;
    struct {
        const char* what;
        int64_t ido, nrow;
        double frequency, weight;
        bool one_row_first;  // one row added before the call
        Outcome outcome;
    } cases[] = {
        {"negative frequency, single call", 0, 2, -1, 1, false, {4, 11055}},
        {"negative weight, single call", 0, 2, 1, -1, false, {4, 11057}},
        {"negative weight in a sequence", 1, 2, 1, -1, false, {4, 11056}},
        {"no rows in the first call", 1, 0, 1, 1, false, {5, 11063}},
        {"more rows removed than added", 2, -2, 1, 1, true, {5, 11066}},
        {"bad role", 4, 2, 1, 1, false, {5, 602}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        KernelData k;
        k.x[1] = c.frequency;
        k.x[KernelData::n + 1] = c.weight;
        if (c.one_row_first)
            k.call(1, 0, 1, 0, KernelData::n, k.x.data());
        k.call(c.ido, 0, c.nrow, 0, KernelData::n, k.x.data());
        EXPECT_EQ(last_outcome(), c.outcome);
    }
}

}  // namespace
