// The studentized range distribution and its inverse against R: the
// defining integral over the scale (R's integrate over ptukey(q s, r, Inf)),
// the exact law for two means (2 pt(q / sqrt(2), df) - 1), and the distance
// from ptukey and qtukey themselves.  Its errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "anova/studentized_range.h"
#include "capture.h"
#include "reference_table.h"

namespace {

using orvls::anova::orvls_srdf;
using orvls::anova::orvls_srin;

constexpr double kKnownScaleDf = 120;

double relative(double a, double b) { return std::fabs(a - b) / std::fabs(b); }

// Up to 120 degrees of freedom the scale is integrated; above, it counts as
// known, so the known-scale law is the reference there.  R's references
// carry the error of its known-scale range law (up to 8e-9 at 100 means);
// the exact law of two means and the 25-digit known-scale law are sharp.
TEST(StudentizedRange, DistributionFunctionAgainstR)
{
    double worst = 0, worst_ptukey = 0;
    for (const ReferenceRow& row : read_reference_table("tests/anova/data/range_cdf.csv")) {
        const double df = row["df"], q = row["q"], r = row["r"];
        const double expected = df > kKnownScaleDf ? row["known_scale"] : row["integral"];
        const double p = orvls_srdf(q, r, df);
        EXPECT_NEAR(p, expected, 1e-8) << "r " << r << " df " << df << " q " << q;
        worst = std::max(worst, std::fabs(p - expected));
        if (!std::isnan(row["ptukey"]))
            worst_ptukey = std::max(worst_ptukey, std::fabs(p - row["ptukey"]));
        if (r == 2 && df <= kKnownScaleDf) {
            EXPECT_NEAR(p, row["two_means"], 2e-13) << "df " << df << " q " << q;
        }
        EXPECT_NEAR(orvls_srdf(float(q), float(r), float(df)), p, 5e-7);
    }
    std::printf("distribution function: R's integral %.2e, ptukey %.2e\n", worst, worst_ptukey);
    EXPECT_LT(worst_ptukey, 3.1e-2);  // ptukey is off by as much at 2 df and above 120 df
}

TEST(StudentizedRange, KnownScaleAgainstTwentyFiveDigits)
{
    for (const ReferenceRow& row : read_reference_table("tests/anova/data/range_known_scale.csv")) {
        for (double df : {121.0, 1000.0, double(INFINITY)})
            EXPECT_NEAR(orvls_srdf(row["w"], row["r"], df), row["probability"], 1e-13) << "r " << row["r"];
    }
}

// The inverse over the whole band of probabilities: the root of the
// integral up to 120 degrees of freedom, and the known-scale quantile above.
// Distance from qtukey, by degrees of freedom: below 10, qtukey itself is
// off (by 25% at 2 df, 100 means, p 0.99); from 10 to 120 it is within
// 4e-5; above 120 the known scale leaves it by up to 4.3% (121 df).
TEST(StudentizedRange, InverseAgainstR)
{
    double worst = 0, qtukey_few = 0, qtukey_integrated = 0, qtukey_known = 0;
    for (const ReferenceRow& row : read_reference_table("tests/anova/data/range_quantile.csv")) {
        const double df = row["df"], r = row["r"], p = row["p"];
        const double expected = df > kKnownScaleDf ? row["known_scale"] : row["exact"];
        const double q = orvls_srin(p, r, df);
        EXPECT_LT(relative(q, expected), 1e-7) << "p " << p << " r " << r << " df " << df;
        worst = std::max(worst, relative(q, expected));
        if (!std::isnan(row["qtukey"])) {
            double& distance = df < 10 ? qtukey_few : df <= kKnownScaleDf ? qtukey_integrated : qtukey_known;
            distance = std::max(distance, relative(q, row["qtukey"]));
        }
        EXPECT_LT(relative(orvls_srin(float(p), float(r), float(df)), q), 2e-6);
    }
    std::printf("inverse: R's root %.2e; qtukey below 10 df %.2e, 10 to 120 df %.2e, above %.2e\n", worst,
                qtukey_few, qtukey_integrated, qtukey_known);
    EXPECT_LT(qtukey_few, 0.26);
    EXPECT_LT(qtukey_integrated, 4e-5);
    EXPECT_LT(qtukey_known, 0.043);
}

struct RangeError {
    const char* what;
    double a, r, df;
    bool inverse;
    Outcome outcome;
    double value;  // the result; NaN for NaN
};

TEST(StudentizedRange, Errors)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double eps = std::numeric_limits<double>::epsilon();
    const RangeError cases[] = {
        {"one mean", 3, 1.5, 10, false, {5, 11155}, nan},
        {"df below 1", 3, 3, 0.5, false, {5, 11152}, nan},
        {"negative point", -1, 3, 10, false, {3, 11156}, 0},
        {"zero point", 0, 3, 10, false, {0, 0}, 0},
        {"infinite point", INFINITY, 3, 10, false, {0, 0}, 1},
        {"p below the band", 0.89, 3, 10, true, {5, 11154}, nan},
        {"p above the band", 0.991, 3, 10, true, {5, 11154}, nan},
        {"p an epsilon below 0.90", 0.9 - eps, 3, 10, true, {0, 0}, 0.9},
        {"p an epsilon above 0.99", 0.99 + eps, 3, 10, true, {0, 0}, 0.99},
        {"inverse, one mean", 0.95, 1, 10, true, {5, 11155}, nan},
        {"inverse, df below 1", 0.95, 3, 0, true, {5, 11152}, nan},
    };
    ErrorCapture capture;
    for (const RangeError& c : cases) {
        orvls_e1psh("range_test");
        const double value = c.inverse ? orvls_srin(c.a, c.r, c.df) : orvls_srdf(c.a, c.r, c.df);
        const Outcome outcome{orvls_n1rty(1), orvls_error_code()};
        orvls_e1pop("range_test");
        EXPECT_EQ(outcome, c.outcome) << c.what;
        if (std::isnan(c.value)) {
            EXPECT_TRUE(std::isnan(value)) << c.what;
        } else if (c.inverse) {  // the inverse takes the widened ends
            EXPECT_NEAR(orvls_srdf(value, c.r, c.df), c.value, 1e-14) << c.what;
        } else {
            EXPECT_EQ(value, c.value) << c.what;
        }
    }
    orvls_e1psh("range_test");
    EXPECT_TRUE(std::isnan(orvls_srin(0.89f, 3.0f, 10.0f)));
    EXPECT_EQ(orvls_n1rty(1), 5);
    orvls_e1pop("range_test");
}

}  // namespace
