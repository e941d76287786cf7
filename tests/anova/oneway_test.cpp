// One-way analysis of variance against R (aov, anova, TukeyHSD,
// pairwise.t.test, qt, qf and the range quantiles), against exact rational
// sums on responses with many equal leading digits, and its errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "capture.h"
#include "reference_table.h"

extern "C" void orvls_testing_fail_allocation(int64_t n);

namespace {

struct Layout {
    std::vector<int64_t> n;
    std::vector<double> y;
};

// The layouts of a data table (case, group, y), by case.
std::map<std::string, Layout> read_layouts(const char* path)
{
    std::map<std::string, Layout> layouts;
    for (const ReferenceRow& row : read_reference_table(path)) {
        Layout& layout = layouts[row.text("case")];
        const auto group = static_cast<std::size_t>(row["group"]);
        if (layout.n.size() < group)
            layout.n.resize(group, 0);
        ++layout.n[group - 1];
        layout.y.push_back(row["y"]);
    }
    return layouts;
}

template <class Real>
Real oneway(const Layout& layout, auto... options)
{
    std::vector<Real> y(layout.y.begin(), layout.y.end());
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_anova_oneway(int64_t(layout.n.size()), layout.n.data(), y.data(), options..., 0);
    else
        return orvls_d_anova_oneway(int64_t(layout.n.size()), layout.n.data(), y.data(), options..., 0);
}

void expect_close(double actual, double expected, double tolerance, const std::string& what)
{
    if (std::isnan(expected)) {
        EXPECT_TRUE(std::isnan(actual)) << what;
    } else {
        EXPECT_NEAR(actual, expected, tolerance * std::max(1.0, std::fabs(expected))) << what;
    }
}

template <class Real>
void check_tables(double tolerance)
{
    const auto layouts = read_layouts("tests/anova/data/oneway_data.csv");
    std::map<std::string, std::vector<double>> tables;
    for (const ReferenceRow& row : read_reference_table("tests/anova/data/oneway_tables.csv"))
        tables[row.text("case")].push_back(row["value"]);
    std::map<std::string, std::vector<ReferenceRow>> groups;
    for (const ReferenceRow& row : read_reference_table("tests/anova/data/oneway_groups.csv"))
        groups[row.text("case")].push_back(row);
    for (const auto& [name, layout] : layouts) {
        const std::size_t k = layout.n.size();
        std::vector<Real> anova(15), means(k), sds(k);
        std::vector<int64_t> counts(k);
        const Real p = oneway<Real>(layout, ORVLS_ANOVA_TABLE_USER, anova.data(), ORVLS_GROUP_MEANS_USER,
                                    means.data(), ORVLS_GROUP_STD_DEVS_USER, sds.data(), ORVLS_GROUP_COUNTS_USER,
                                    counts.data());
        ASSERT_EQ(orvls_n1rty(1), 0) << name;
        EXPECT_EQ(p, anova[9]) << name;
        for (std::size_t place = 0; place < 15; ++place)
            expect_close(anova[place], tables[name][place], tolerance, name + " place " + std::to_string(place));
        for (std::size_t i = 0; i < k; ++i) {
            const ReferenceRow& g = groups[name][i];
            EXPECT_EQ(counts[i], int64_t(g["count"])) << name;
            expect_close(means[i], g["mean"], tolerance, name + " mean");
            expect_close(sds[i], g["sd"], tolerance, name + " sd");
        }
    }
}

TEST(Oneway, TablesAndGroupsAgainstR)
{
    check_tables<double>(1e-12);
    check_tables<float>(2e-5);
}

// Half widths from R's quantiles: t and F quantiles to the accuracy of the
// library's inverses at these degrees of freedom (8 to 177).  TukeyHSD's
// qtukey is within 3e-9 up to 120 degrees of freedom; above, the range
// quantile takes the scale as known.
TEST(Oneway, IntervalsAgainstR)
{
    const auto layouts = read_layouts("tests/anova/data/oneway_data.csv");
    const std::map<std::string, int> codes = {{"tukey", ORVLS_TUKEY_USER},
                                              {"dunn_sidak", ORVLS_DUNN_SIDAK_USER},
                                              {"bonferroni", ORVLS_BONFERRONI_USER},
                                              {"scheffe", ORVLS_SCHEFFE_USER},
                                              {"one_at_a_time", ORVLS_ONE_AT_A_TIME_USER}};
    const std::map<std::string, double> tolerances = {
        {"tukey", 1e-10}, {"dunn_sidak", 5e-8}, {"bonferroni", 5e-8}, {"scheffe", 2e-9}, {"one_at_a_time", 5e-8}};
    std::map<std::string, double> worst;
    double worst_hsd = 0, worst_hsd_large_df = 0;
    std::vector<double> table;
    std::string key;
    for (const ReferenceRow& row : read_reference_table("tests/anova/data/oneway_intervals.csv")) {
        const std::string name = row.text("case"), method = row.text("method");
        const std::string this_key = name + method + row.text("confidence");
        if (this_key != key) {
            key = this_key;
            const std::size_t k = layouts.at(name).n.size();
            table.assign(5 * k * (k - 1) / 2, 0.0);
            oneway<double>(layouts.at(name), ORVLS_CONFIDENCE, row["confidence"], codes.at(method), table.data());
            ASSERT_EQ(orvls_n1rty(1), 0) << key;
        }
        const double* r = table.data() + 5 * static_cast<std::size_t>(row["row"]);
        EXPECT_EQ(r[0], row["first"]) << key;
        EXPECT_EQ(r[1], row["second"]) << key;
        expect_close(r[2], row["difference"], 1e-12, key);
        const double half = row["upper"] - row["difference"];
        const double error = std::max(std::fabs(r[3] - row["lower"]), std::fabs(r[4] - row["upper"])) / half;
        EXPECT_LT(error, tolerances.at(method)) << key << " row " << row["row"];
        worst[method] = std::max(worst[method], error);
        if (!std::isnan(row["hsd_lower"])) {
            const double distance = std::fabs(r[3] - row["hsd_lower"]) / half;
            (name == "large_df" ? worst_hsd_large_df : worst_hsd) =
                std::max(name == "large_df" ? worst_hsd_large_df : worst_hsd, distance);
        }
        if (!std::isnan(row["bonferroni_p"])) {  // the interval leaves out 0 where the test rejects
            EXPECT_EQ(r[3] > 0 || r[4] < 0, row["bonferroni_p"] < 1 - row["confidence"] / 100) << key;
        }
    }
    for (const auto& [method, error] : worst)
        std::printf("%s: %.2e of the half width\n", method.c_str(), error);
    std::printf("TukeyHSD: %.2e; above 120 df %.2e\n", worst_hsd, worst_hsd_large_df);
    EXPECT_LT(worst_hsd, 1e-8);
    EXPECT_LT(worst_hsd_large_df, 3e-2);
}

// Responses that share 9 to 12 leading digits: the sums of squares and F
// against exact rational arithmetic on the same doubles.
TEST(Oneway, ManyEqualLeadingDigitsKeepTwelveDigits)
{
    const auto layouts = read_layouts("tests/anova/data/oneway_exact_data.csv");
    for (const ReferenceRow& row : read_reference_table("tests/anova/data/oneway_exact.csv")) {
        std::vector<double> anova(15);
        oneway<double>(layouts.at(row.text("case")), ORVLS_ANOVA_TABLE_USER, anova.data());
        for (const auto& [place, column] : {std::pair{3, "between"}, {4, "within"}, {8, "f"}})
            EXPECT_LT(std::fabs(anova[place] / row[column] - 1), 1e-12) << row.text("case") << " " << column;
    }
}

// Allocated and caller's arrays agree; the address forms read a float.
TEST(Oneway, OptionForms)
{
    const Layout layout = read_layouts("tests/anova/data/oneway_data.csv").at("diets");
    double *anova = nullptr, *means = nullptr, *sds = nullptr, *tukey = nullptr;
    int64_t* counts = nullptr;
    std::vector<double> user(6 * 5);
    const double p = oneway<double>(layout, ORVLS_ANOVA_TABLE, &anova, ORVLS_GROUP_MEANS, &means,
                                    ORVLS_GROUP_STD_DEVS, &sds, ORVLS_GROUP_COUNTS, &counts, ORVLS_TUKEY, &tukey);
    oneway<double>(layout, ORVLS_CONFIDENCE, 95.0, ORVLS_TUKEY_USER, user.data());
    ASSERT_NE(tukey, nullptr);
    EXPECT_EQ(p, anova[9]);
    EXPECT_EQ(counts[2], 3);
    EXPECT_TRUE(std::equal(user.begin(), user.end(), tukey));
    for (void* q : {(void*)anova, (void*)means, (void*)sds, (void*)tukey, (void*)counts})
        std::free(q);
    float confidence = 90, by_address[30], by_value[30];
    oneway<float>(layout, ORVLS_CONFIDENCE_ADR, &confidence, ORVLS_SCHEFFE_USER, by_address);
    oneway<float>(layout, ORVLS_CONFIDENCE, 90.0, ORVLS_SCHEFFE_USER, by_value);
    EXPECT_TRUE(std::equal(by_value, by_value + 30, by_address));
}

struct OnewayError {
    const char* what;
    std::vector<int64_t> n;
    std::vector<double> y;
    double confidence;
    int method, second_method;  // comparison options, 0 for none
    Outcome outcome;
};

TEST(Oneway, Errors)
{
    const std::vector<int64_t> sizes = {3, 3};
    const std::vector<double> values = {1, 2, 3, 4, 6, 5};
    const OnewayError cases[] = {
        {"no groups", {}, {}, 95, 0, 0, {5, 603}},
        {"negative size", {3, -1}, values, 95, 0, 0, {5, 11127}},
        {"two comparisons", sizes, values, 95, ORVLS_TUKEY_USER, ORVLS_SCHEFFE_USER, {5, 11117}},
        {"the same comparison twice", sizes, values, 95, ORVLS_TUKEY_USER, ORVLS_TUKEY_USER, {5, 11117}},
        {"Tukey at 99.5", sizes, values, 99.5, ORVLS_TUKEY_USER, 0, {5, 11159}},
        {"Tukey at 89.9", sizes, values, 89.9, ORVLS_TUKEY_USER, 0, {5, 11159}},
        {"Tukey at 95", sizes, values, 95, ORVLS_TUKEY_USER, 0, {0, 0}},
        {"Bonferroni at 99.5", sizes, values, 99.5, ORVLS_BONFERRONI_USER, 0, {0, 0}},
        {"Scheffe at 100", sizes, values, 100, ORVLS_SCHEFFE_USER, 0, {5, 20403}},
        {"one at a time at 30", sizes, values, 30, ORVLS_ONE_AT_A_TIME_USER, 0, {6, 20404}},
        {"no error degrees of freedom", {1, 1}, {1, 2}, 95, ORVLS_TUKEY_USER, 0, {5, 11220}},
        {"one group left", {3, 3}, {1, 2, 3, NAN, NAN, NAN}, 95, ORVLS_DUNN_SIDAK_USER, 0, {5, 11220}},
        {"all missing", {2, 2}, {NAN, NAN, NAN, NAN}, 95, 0, 0, {0, 0}},
    };
    ErrorCapture capture;
    for (const OnewayError& c : cases) {
        std::vector<double> table(10 * 5, -1);
        const int64_t k = int64_t(c.n.size());
        double p;
        if (c.second_method != 0)
            p = orvls_d_anova_oneway(k, c.n.data(), c.y.data(), c.method, table.data(), c.second_method,
                                     table.data(), 0);
        else if (c.method != 0)
            p = orvls_d_anova_oneway(k, c.n.data(), c.y.data(), ORVLS_CONFIDENCE, c.confidence, c.method,
                                     table.data(), 0);
        else
            p = orvls_d_anova_oneway(k, c.n.data(), c.y.data(), 0);
        EXPECT_EQ(last_outcome(), c.outcome) << c.what;
        if (c.outcome.type >= 4 && c.outcome.type != 6) {
            EXPECT_TRUE(std::isnan(p)) << c.what;
        }
    }
    EXPECT_TRUE(std::isnan(orvls_d_anova_oneway(2, sizes.data(), values.data(), ORVLS_ANOVA_TABLE_USER, nullptr, 0)));
    EXPECT_EQ(last_outcome(), (Outcome{5, 104}));
    orvls_d_anova_oneway(2, sizes.data(), values.data(), 12345, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 11001}));
}

// A group of missing values drops out of the degrees of freedom and the
// comparisons; its row of the table stays NaN.
TEST(Oneway, MissingGroupLeavesTheComparisons)
{
    const Layout layout = read_layouts("tests/anova/data/oneway_data.csv").at("empty_group");
    std::vector<double> anova(15), table(6 * 5);
    oneway<double>(layout, ORVLS_ANOVA_TABLE_USER, anova.data(), ORVLS_BONFERRONI_USER, table.data());
    EXPECT_EQ(anova[0], 2);
    for (int row = 0; row < 3; ++row)
        EXPECT_TRUE(table[5 * row] != 2 && table[5 * row + 1] != 2);
    for (int i = 15; i < 30; ++i)
        EXPECT_TRUE(std::isnan(table[i]));
}

TEST(Oneway, AllocationFailuresLeaveNothing)
{
    const Layout layout = read_layouts("tests/anova/data/oneway_data.csv").at("unbalanced");
    ErrorCapture capture;
    for (int64_t failing = 1;; ++failing) {
        double *anova = nullptr, *means = nullptr, *sds = nullptr, *tukey = nullptr;
        int64_t* counts = nullptr;
        orvls_testing_fail_allocation(failing);
        const double p = oneway<double>(layout, ORVLS_ANOVA_TABLE, &anova, ORVLS_GROUP_MEANS, &means,
                                        ORVLS_GROUP_STD_DEVS, &sds, ORVLS_GROUP_COUNTS, &counts, ORVLS_TUKEY, &tukey);
        orvls_testing_fail_allocation(0);
        const Outcome outcome = last_outcome();
        if (outcome.type == 0) {
            EXPECT_GT(failing, 7);
            for (void* q : {(void*)anova, (void*)means, (void*)sds, (void*)tukey, (void*)counts})
                std::free(q);
            break;
        }
        EXPECT_TRUE(outcome == (Outcome{5, 201}) || outcome == (Outcome{5, 200})) << failing;
        EXPECT_TRUE(std::isnan(p));
        for (void* q : {(void*)anova, (void*)means, (void*)sds, (void*)tukey, (void*)counts})
            EXPECT_EQ(q, nullptr) << failing;
    }
}

}  // namespace
