// Refusals, notes and warnings of the three routines, the workspace
// attempts, and every allocation failure.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "categorical_support.h"
#include "frame/memory.h"

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const std::vector<double> k2x3 = {3, 1, 2, 1, 3, 2};

struct Case {
    const char* what;
    std::function<double()> call;
    Outcome outcome;
    bool nan_result;  // else the result stands
};

double network(std::vector<double> cells, int64_t rows, int64_t columns)
{
    return orvls_d_exact_network(rows, columns, cells.data(), 0);
}

TEST(CategoricalConditions, EveryErrorHasItsTypeAndCode)
{
    static double user[12], out;
    static double* allocated;
    static int64_t attempts;
    // 16 rows whose totals make the key multipliers pass 2^63.
    static std::vector<double> wide(16 * 16, 1.0);
    const Case cases[] = {
        {"network: no rows", [] { return orvls_d_exact_network(0, 3, k2x3.data(), 0); }, {5, 603}, true},
        {"network: no columns", [] { return orvls_d_exact_network(2, 0, k2x3.data(), 0); }, {5, 603}, true},
        {"network: factor1", [] { return orvls_d_exact_network(2, 3, k2x3.data(), ORVLS_WORKSPACE, 0, 3000, 10, &attempts, 0); }, {5, 603}, true},
        {"network: factor2", [] { return orvls_d_exact_network(2, 3, k2x3.data(), ORVLS_WORKSPACE, 100, 9, 10, &attempts, 0); }, {5, 603}, true},
        {"network: attempts", [] { return orvls_d_exact_network(2, 3, k2x3.data(), ORVLS_WORKSPACE, 100, 3000, 0, &attempts, 0); }, {5, 603}, true},
        {"network: short rows", [] { return orvls_d_exact_network(2, 3, k2x3.data(), ORVLS_TABLE_COL_DIM, 2, 0); }, {5, 600}, true},
        {"network: unknown option", [] { return orvls_d_exact_network(2, 3, k2x3.data(), 777, 0); }, {5, 11001}, true},
        {"network: null address", [] { return orvls_d_exact_network(2, 3, k2x3.data(), ORVLS_PROB_TABLE, nullptr, 0); }, {5, 104}, true},
        {"network: negative count", [] { return network({3, 1, -0.6, 1, 3, 2}, 2, 3); }, {5, 11140}, true},
        {"network: NaN count", [] { return network({3, 1, kNaN, 1, 3, 2}, 2, 3); }, {5, 11142}, true},
        {"network: count past 2^63", [] { return network({3, 1, 1e19, 1, 3, 2}, 2, 3); }, {5, 11143}, true},
        {"network: total past 2^63", [] { return network({5e18, 1, 1, 1, 5e18, 2}, 2, 3); }, {5, 11143}, true},
        {"network: infinite count", [] { return network({3, 1, HUGE_VAL, 1, 3, 2}, 2, 3); }, {5, 11143}, true},
        {"network: zero table", [] { return network({0, 0, 0, 0.4, 0, 0}, 2, 3); }, {6, 20542}, false},
        {"network: all attempts fill", [] { return orvls_d_exact_network(2, 3, k2x3.data(), ORVLS_WORKSPACE, 1, 3000, 1, &attempts, 0); }, {4, 20541}, true},
        {"network: key multipliers", [] { return orvls_d_exact_network(16, 16, wide.data(), 0); }, {4, 20543}, true},
        {"enumeration: no rows", [] { return orvls_d_exact_enumeration(0, 3, k2x3.data(), 0); }, {5, 603}, true},
        {"enumeration: short rows", [] { return orvls_d_exact_enumeration(2, 3, k2x3.data(), ORVLS_TABLE_COL_DIM, 1, 0); }, {5, 600}, true},
        {"enumeration: unknown option", [] { return orvls_d_exact_enumeration(2, 3, k2x3.data(), ORVLS_WORKSPACE, 0); }, {5, 11001}, true},
        {"enumeration: null count", [] { return orvls_d_exact_enumeration(2, 3, k2x3.data(), ORVLS_TABLE_COUNT, nullptr, 0); }, {5, 104}, true},
        {"enumeration: negative count", [] { const double t[] = {1, -2, 3, 4}; return orvls_d_exact_enumeration(2, 2, t, 0); }, {5, 11140}, true},
        {"enumeration: zero table", [] { const double t[] = {0, 0, 0, 0}; return orvls_d_exact_enumeration(2, 2, t, 0); }, {6, 20540}, false},
        {"table: no columns", [] { return orvls_d_contingency_table(2, 0, k2x3.data(), 0); }, {5, 603}, true},
        {"table: short table rows", [] { return orvls_d_contingency_table(2, 3, k2x3.data(), ORVLS_TABLE_COL_DIM, 2, 0); }, {5, 600}, true},
        {"table: short expected rows", [] { return orvls_d_contingency_table(2, 3, k2x3.data(), ORVLS_EXPECTED_USER, user, ORVLS_EXPECTED_COL_DIM, 3, 0); }, {5, 600}, true},
        {"table: short contribution rows", [] { return orvls_d_contingency_table(2, 3, k2x3.data(), ORVLS_CONTRIBUTIONS, &allocated, ORVLS_CONTRIBUTIONS_COL_DIM, 3, 0); }, {5, 600}, true},
        {"table: both expected forms", [] { return orvls_d_contingency_table(2, 3, k2x3.data(), ORVLS_EXPECTED, &allocated, ORVLS_EXPECTED_USER, user, 0); }, {5, 11117}, true},
        {"table: null user array", [] { return orvls_d_contingency_table(2, 3, k2x3.data(), ORVLS_TABLE_STATS_USER, nullptr, 0); }, {5, 104}, true},
        {"table: null address", [] { return orvls_d_contingency_table(2, 3, k2x3.data(), ORVLS_CHI_SQUARED, &out, nullptr, &out, 0); }, {5, 104}, true},
        {"table: unknown option", [] { return orvls_d_contingency_table(2, 3, k2x3.data(), -5); }, {5, 11001}, true},
        {"table: zero total", [] { const double t[] = {0, 0, 0, 0}; return orvls_d_contingency_table(2, 2, t, 0); }, {5, 11141}, true},
        {"table: negative count", [] { const double t[] = {1, 2, -3, 4}; return orvls_d_contingency_table(2, 2, t, 0); }, {5, 11140}, true},
        {"table: NaN count", [] { const double t[] = {1, 2, kNaN, 4}; return orvls_d_contingency_table(2, 2, t, 0); }, {5, 11142}, true},
        {"table: sparse, large df", [] { static std::vector<double> t(8 * 8, 0.0); for (int i = 0; i < 64; ++i) t[i] = i % 3 == 0 ? 2 : 1; return orvls_d_contingency_table(8, 8, t.data(), 0); }, {3, 11145}, false},
        {"table: sparse, below 0.5", [] { const double t[] = {1, 0, 0, 1, 0, 9}; return orvls_d_contingency_table(2, 3, t, 0); }, {3, 11146}, false},
        {"table: sparse", [] { const double t[] = {3, 2, 2, 3}; return orvls_d_contingency_table(2, 2, t, 0); }, {3, 11147}, false},
        {"table: one row of counts", [] { const double t[] = {0, 0, 0, 4, 5, 6}; return orvls_d_contingency_table(2, 3, t, 0); }, {6, 11135}, true},
        {"table: one column, coefficients", [] { const double t[] = {10, 20, 30}; static double s[10]; return orvls_d_contingency_table(3, 1, t, ORVLS_CHI_SQUARED_STATS_USER, s, 0); }, {6, 11148}, true},
        {"table: no ordering", [] { const double t[] = {10, 20}; static double s[12]; return orvls_d_contingency_table(1, 2, t, ORVLS_TABLE_STATS_USER, s, 0); }, {6, 11133}, true},
    };
    ErrorCapture capture;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const double result = c.call();
        EXPECT_EQ(last_outcome(), c.outcome);
        EXPECT_EQ(std::isnan(result), c.nan_result) << result;
    }
}

// A table with one cell of counts: the measures and the ordinal statistics
// have no value.
TEST(CategoricalConditions, UndefinedStatisticsAreNaN)
{
    ErrorCapture capture;
    const double diagonal[] = {10, 0, 0, 0};
    double* measures = nullptr;
    double stats[12];
    orvls_d_contingency_table(2, 2, diagonal, ORVLS_MEASURES, &measures, ORVLS_TABLE_STATS_USER, stats, 0);
    ASSERT_NE(measures, nullptr);
    for (int k = 0; k < 6; ++k)
        EXPECT_TRUE(std::isnan(measures[k])) << k;
    for (int k = 0; k < 12; ++k)  // tau-c alone has no denominator that vanishes
        EXPECT_EQ(std::isnan(stats[k]), k / 2 != 2) << k;
    const std::string text = capture.text();
    EXPECT_NE(text.find("Gamma"), std::string::npos);
    EXPECT_NE(text.find("could not be computed; it is set to NaN"), std::string::npos);  // the measures
    orvls_free_allocated_memory(measures);
}

TEST(CategoricalConditions, ZeroTablesGiveOneAndNaNOutputs)
{
    ErrorCapture capture;
    const double zeros[] = {0, 0, 0, 0, 0, 0};
    double prob = 0, p = 0;
    EXPECT_EQ(orvls_d_exact_network(2, 3, zeros, ORVLS_PROB_TABLE, &prob, ORVLS_P_VALUE_ADR, &p, 0), 1.0);
    EXPECT_TRUE(std::isnan(prob) && std::isnan(p));
    prob = p = 0;
    EXPECT_EQ(orvls_d_exact_enumeration(2, 3, zeros, ORVLS_PROB_TABLE, &prob, ORVLS_P_VALUE_ADR, &p, 0), 1.0);
    EXPECT_TRUE(std::isnan(prob) && std::isnan(p));
}

// A hash table of one entry fills at once; ten entries serve a small table.
TEST(CategoricalConditions, FilledTablesAreRetriedLarger)
{
    ErrorCapture capture;
    const double t[] = {3, 1, 2, 4, 1, 3, 2, 2, 0, 5, 1, 2};
    int64_t attempts = 0;
    const double p = orvls_d_exact_network(3, 4, t, ORVLS_NO_HYBRID, 0);
    const double retried = orvls_d_exact_network(3, 4, t, ORVLS_NO_HYBRID, ORVLS_WORKSPACE, 1, 3000, 5, &attempts, 0);
    EXPECT_EQ(last_outcome(), (Outcome{3, 20544}));
    EXPECT_EQ(attempts, 2);
    EXPECT_TRUE(agrees(retried, p));
    capture.clear();
    const double nodes = orvls_d_exact_network(3, 4, t, ORVLS_NO_HYBRID, ORVLS_WORKSPACE, 100, 10, 5, &attempts, 0);
    EXPECT_NE(capture.text().find("NODE_TABLE_FULL"), std::string::npos);
    EXPECT_GE(attempts, 2);
    EXPECT_TRUE(agrees(nodes, p));
    orvls_d_exact_network(3, 4, t, ORVLS_WORKSPACE, 1, 3000, 1, &attempts, 0);
    EXPECT_EQ(last_outcome(), (Outcome{4, 20541}));
    EXPECT_EQ(attempts, 1);
}

// Each allocation of a call refused in turn: a terminal error with one of
// the allocation codes, NaN, and nothing leaked (the sanitizer build).
TEST(CategoricalConditions, EveryAllocationFailureIsReported)
{
    ErrorCapture capture;
    const double t[] = {3, 1, 2, 4, 1, 3, 2, 2, 0, 5, 1, 2};
    double* allocated[3] = {};
    int64_t attempts = 0;
    const std::function<double()> calls[] = {
        [&] { return orvls_d_exact_network(3, 4, t, ORVLS_WORKSPACE, 1, 3000, 3, &attempts, 0); },
        [&] { return orvls_d_exact_enumeration(3, 4, t, 0); },
        [&] {
            return orvls_d_contingency_table(3, 4, t, ORVLS_EXPECTED, &allocated[0], ORVLS_MEASURES, &allocated[1],
                                             ORVLS_TABLE_STATS, &allocated[2], 0);
        },
    };
    for (const auto& call : calls) {
        const int64_t before = orvls_testing_allocation_count();
        EXPECT_FALSE(std::isnan(call()));
        const int64_t allocations = orvls_testing_allocation_count() - before;
        for (double* a : allocated)
            orvls_free_allocated_memory(a);
        ASSERT_GT(allocations, 0);
        for (int64_t n = 1; n <= allocations; ++n) {
            SCOPED_TRACE(n);
            std::fill(std::begin(allocated), std::end(allocated), nullptr);
            orvls_testing_fail_allocation(n);
            const double p = call();
            orvls_testing_fail_allocation(0);
            if (!std::isnan(p))
                continue;  // an allocation of the frame that is not the routine's
            const Outcome o = last_outcome();
            EXPECT_EQ(o.type, 5);
            EXPECT_TRUE(o.code >= 200 && o.code <= 203) << o.code;
            for (double* a : allocated)
                EXPECT_EQ(a, nullptr);
        }
    }
}

}  // namespace
