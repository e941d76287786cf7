// The crossed-layout engine behind the analyses of variance and designed
// experiments: effect sums of squares against exact rational arithmetic
// (tools/gen_anova_crossed_refs.py), and Yates' missing-value estimates.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "anova/crossed.h"
#include "anova/missing.h"
#include "frame/memory.h"

namespace {

using orvls::anova::CrossedLayout;
using orvls::anova::Mask;
using orvls::anova::MissingOutcome;

struct Case {
    std::string name;
    std::vector<int64_t> levels;
    std::vector<double> y;
    std::vector<std::pair<Mask, double>> ss;
    double total = 0;
};

std::vector<Case> read_cases()
{
    std::ifstream in(std::string(ORVLS_SOURCE_DIR) + "/tests/anova/data/crossed.txt");
    std::vector<Case> cases;
    std::string word;
    while (in >> word) {
        if (word == "case") {
            Case c;
            int k;
            in >> c.name >> k;
            c.levels.resize(k);
            int64_t n = 1;
            for (auto& l : c.levels) {
                in >> l;
                n *= l;
            }
            c.y.resize(n);
            for (auto& v : c.y)
                in >> v;
            cases.push_back(c);
        } else if (word == "ss") {
            Mask m;
            double v;
            in >> m >> v;
            cases.back().ss.emplace_back(m, v);
        } else if (word == "total") {
            in >> cases.back().total;
        }
    }
    return cases;
}

template <class Real>
void check_against_exact(double tolerance)
{
    const auto cases = read_cases();
    ASSERT_EQ(cases.size(), 4u);
    for (const auto& c : cases) {
        std::vector<Real> y(c.y.begin(), c.y.end());
        CrossedLayout<Real> layout;
        ASSERT_TRUE(layout.analyse(int64_t(c.levels.size()), c.levels.data(), y.data()));
        double pooled = 0;
        for (const auto& [mask, ss] : c.ss) {
            EXPECT_NEAR(layout.effect_ss(mask), ss, tolerance * c.total) << c.name << " mask " << mask;
            pooled += double(layout.effect_ss(mask));
        }
        EXPECT_NEAR(layout.total_ss(), c.total, tolerance * c.total) << c.name;
        EXPECT_NEAR(pooled, c.total, 4 * tolerance * c.total) << c.name;
    }
}

TEST(CrossedLayout, EffectSumsOfSquaresMatchExactArithmetic)
{
    // The offset cases hold responses like 1e12 + 0.01 z: twelve digits must
    // survive in double.
    check_against_exact<double>(1e-12);
}

TEST(CrossedLayout, FloatKeepsItsPrecisionOnCentredData)
{
    const auto cases = read_cases();
    const Case& c = cases[0];  // the plain case; float cannot hold 1e12 + 0.01
    std::vector<float> y(c.y.begin(), c.y.end());
    CrossedLayout<float> layout;
    ASSERT_TRUE(layout.analyse(3, c.levels.data(), y.data()));
    for (const auto& [mask, ss] : c.ss)
        EXPECT_NEAR(layout.effect_ss(mask), ss, 2e-6 * c.total);
}

TEST(CrossedLayout, MarginalMeansAndDegreesOfFreedom)
{
    const int64_t levels[] = {2, 3};
    const double y[] = {1, 2, 3, 4, 5, 9};
    CrossedLayout<double> layout;
    ASSERT_TRUE(layout.analyse(2, levels, y));
    EXPECT_DOUBLE_EQ(layout.grand_mean(), 4);
    EXPECT_DOUBLE_EQ(layout.mean(1, 1), 6);    // second level of the first subscript
    EXPECT_DOUBLE_EQ(layout.mean(2, 2), 6);    // third level of the second subscript
    EXPECT_EQ(layout.cell_of(2, 4), 1);
    EXPECT_EQ(layout.effect_df(3), 2);
    EXPECT_EQ(layout.cells(3), 6);
}

// A randomised block layout (blocks x treatments) with one cell missing:
// Yates' estimate is (t T + b B - G) / ((t - 1)(b - 1)) from the totals of
// the cell's treatment and block and the grand total of what remains.
TEST(MissingValues, OneCellOfABlockLayoutTakesYatesEstimate)
{
    const int64_t b = 4, t = 3, levels[] = {b, t};
    std::vector<double> y = {12, 15, 11, 14, 17, 13, 10, 16, 12, 13, 18, 14};
    const int64_t gone = 7;  // block 2, treatment 1
    y[gone] = std::numeric_limits<double>::quiet_NaN();
    double block_total = 0, treatment_total = 0, grand = 0;
    for (int64_t i = 0; i < b * t; ++i) {
        if (i == gone)
            continue;
        grand += y[i];
        block_total += i / t == gone / t ? y[i] : 0;
        treatment_total += i % t == gone % t ? y[i] : 0;
    }
    const double yates = (t * treatment_total + b * block_total - grand) / double((t - 1) * (b - 1));
    int64_t n_missing = 0;
    const auto main_effects = [](Mask m) { return m == 1 || m == 2; };
    ASSERT_EQ(orvls::anova::estimate_missing(2, levels, y.data(), main_effects, &n_missing),
              MissingOutcome::estimated);
    EXPECT_EQ(n_missing, 1);
    EXPECT_NEAR(y[gone], yates, 1e-12 * yates);
}

TEST(MissingValues, AWholeTreatmentGoneCannotBeEstimated)
{
    const int64_t levels[] = {3, 3};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> y = {1, nan, 3, 4, nan, 6, 7, nan, 9};
    int64_t n_missing = 0;
    const auto main_effects = [](Mask m) { return m == 1 || m == 2; };
    EXPECT_EQ(orvls::anova::estimate_missing(2, levels, y.data(), main_effects, &n_missing),
              MissingOutcome::too_many);
    EXPECT_EQ(n_missing, 3);
}

TEST(CrossedLayout, ShortMemoryIsReportedAndNothingLeaks)
{
    const int64_t levels[] = {2, 2};
    const double y[] = {1, 2, 3, 4};
    for (int64_t k = 1; k <= 5; ++k) {
        CrossedLayout<double> layout;
        orvls_testing_fail_allocation(k);
        const bool ok = layout.analyse(2, levels, y);
        orvls_testing_fail_allocation(0);
        EXPECT_EQ(ok, k > 5) << k;
    }
}

}  // namespace
