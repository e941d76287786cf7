// Multiple-range tests against the sets that R forms from the exact range
// quantiles (and qt for the Bonferroni range), their errors, and the
// errors of the interval routine behind anova_oneway.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "anova/comparisons.h"
#include "capture.h"
#include "reference_table.h"

extern "C" void orvls_testing_fail_allocation(int64_t n);

namespace {

std::vector<double> numbers(const std::string& text)
{
    std::istringstream in(text);
    std::vector<double> values;
    for (double v; in >> v;)
        values.push_back(v);
    return values;
}

const std::map<std::string, int> kMethods = {{"tukey", ORVLS_TUKEY},
                                             {"step_down", ORVLS_STEP_DOWN_RANGE},
                                             {"duncan", ORVLS_RANGE_METHOD_2},
                                             {"ryan_welsch", ORVLS_RANGE_METHOD_3},
                                             {"bonferroni", ORVLS_BONFERRONI}};

TEST(MultipleComparisons, SetsAgainstR)
{
    for (const ReferenceRow& row : read_reference_table("tests/anova/data/comparisons_sets.csv")) {
        const std::vector<double> means = numbers(row.text("means")), expected = numbers(row.text("result"));
        const int64_t k = int64_t(means.size());
        const std::string what = row.text("case") + " " + row.text("method") + " " + row.text("alpha");
        int64_t* result = orvls_d_multiple_comparisons(k, means.data(), row["df"], row["std_error"],
                                                       kMethods.at(row.text("method")), ORVLS_ALPHA, row["alpha"], 0);
        ASSERT_NE(result, nullptr) << what;
        for (int64_t i = 0; i < k - 1; ++i)
            EXPECT_EQ(result[i], int64_t(expected[size_t(i)])) << what << " at " << i;
        std::free(result);

        const std::vector<float> float_means(means.begin(), means.end());
        const float alpha = float(row["alpha"]);
        std::vector<int64_t> user(size_t(k - 1), -1);
        const int64_t* same = orvls_f_multiple_comparisons(k, float_means.data(), float(row["df"]),
                                                           float(row["std_error"]), kMethods.at(row.text("method")),
                                                           ORVLS_ALPHA_ADR, &alpha, ORVLS_RETURN_USER, user.data(), 0);
        EXPECT_EQ(same, user.data()) << what;
        for (int64_t i = 0; i < k - 1; ++i)
            EXPECT_EQ(user[size_t(i)], int64_t(expected[size_t(i)])) << what << " (float) at " << i;
    }
}

struct RangeError {
    const char* what;
    int64_t n_groups;
    double df, std_error, alpha;
    int method, second_method;
    Outcome outcome;
};

TEST(MultipleComparisons, Errors)
{
    const double eps = std::numeric_limits<double>::epsilon();
    const RangeError cases[] = {
        {"one group", 1, 10, 1, 0.05, 0, 0, {5, 11150}},
        {"negative standard error", 4, 10, -1, 0.05, 0, 0, {5, 11151}},
        {"df below 1", 4, 0.5, 1, 0.05, 0, 0, {5, 11152}},
        {"alpha below 0.01", 4, 10, 1, 0.0099, 0, 0, {5, 11153}},
        {"alpha above 0.10", 4, 10, 1, 0.1001, 0, 0, {5, 11153}},
        {"alpha 0.01 exactly", 4, 10, 1, 0.01, 0, 0, {0, 0}},
        {"alpha 0.10 exactly", 4, 10, 1, 0.10, 0, 0, {0, 0}},
        {"alpha an epsilon below 0.01", 4, 10, 1, 0.01 - eps, 0, 0, {0, 0}},
        {"alpha an epsilon above 0.10", 4, 10, 1, 0.10 + eps, ORVLS_TUKEY, 0, {0, 0}},
        {"two methods", 4, 10, 1, 0.05, ORVLS_TUKEY, ORVLS_BONFERRONI, {5, 11117}},
        {"unknown option", 4, 10, 1, 0.05, 777, 0, {5, 11001}},
    };
    const double means[] = {1, 2, 3, 4};
    ErrorCapture capture;
    for (const RangeError& c : cases) {
        int64_t* result;
        if (c.second_method != 0)
            result = orvls_d_multiple_comparisons(c.n_groups, means, c.df, c.std_error, c.method, c.second_method, 0);
        else if (c.method != 0)
            result = orvls_d_multiple_comparisons(c.n_groups, means, c.df, c.std_error, c.method, ORVLS_ALPHA, c.alpha,
                                                  0);
        else
            result = orvls_d_multiple_comparisons(c.n_groups, means, c.df, c.std_error, ORVLS_ALPHA, c.alpha, 0);
        EXPECT_EQ(last_outcome(), c.outcome) << c.what;
        EXPECT_EQ(result == nullptr, c.outcome.type == 5) << c.what;
        std::free(result);
    }
    EXPECT_EQ(orvls_d_multiple_comparisons(4, means, 10.0, 1.0, ORVLS_RETURN_USER, nullptr, 0), nullptr);
    EXPECT_EQ(last_outcome(), (Outcome{5, 104}));
    for (int64_t failing : {1, 2}) {
        orvls_testing_fail_allocation(failing);
        EXPECT_EQ(orvls_d_multiple_comparisons(4, means, 10.0, 1.0, 0), nullptr);
        orvls_testing_fail_allocation(0);
        EXPECT_EQ(last_outcome(), (Outcome{5, 201}));
    }
}

// The interval routine refuses what anova_oneway never hands it.
TEST(MultipleComparisons, IntervalErrors)
{
    struct Case {
        const char* what;
        double count, s2, d;
        int64_t rows;
        int64_t code;
    };
    const Case cases[] = {
        {"empty group", 0, 1, 5, 3, 11157},   {"negative mean square", 2, -1, 5, 3, 11158},
        {"no error df", 2, 1, 0, 3, 11160},   {"table too small", 2, 1, 5, 2, 11161},
        {"all well", 2, 1, 5, 3, 0},
    };
    const double numbers[] = {1, 2, 3}, means[] = {1, 2, 4};
    ErrorCapture capture;
    for (const Case& c : cases) {
        const double counts[] = {2, c.count, 2};
        std::vector<double> table(15, -1);
        orvls_e1psh("intervals_test");
        orvls::anova::l_s2ipm(orvls::anova::kBonferroni, 3, numbers, counts, means, c.s2, c.d, 95.0, table.data(),
                              c.rows);
        EXPECT_EQ(orvls_n1rty(1), c.code == 0 ? 0 : 5) << c.what;
        EXPECT_EQ(orvls_error_code(), c.code) << c.what;
        orvls_e1pop("intervals_test");
    }
}

}  // namespace
