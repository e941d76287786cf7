// The incomplete beta function beyond the shapes its finite sum serves:
// infinite and NaN arguments, and the continued fraction against R's pbeta
// (tools/gen_beta_large_shape_refs.R).  Each of these calls used to run for
// as many terms as the larger shape, which never ended for an infinite one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "orvls.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(BetaIncompleteLargeShapes, InfiniteAndNanArgumentsGiveTheirLimits)
{
    const struct {
        double x, a, b, expected;  // NaN: NaN expected
    } cases[] = {
        {0.3, 2, kInf, 1},   {0.0, 2, kInf, 0},     {0.3, kInf, 2, 0},   {1.0, kInf, 2, 1},
        {0.9, 2, kInf, 1},   {0.9, kInf, 2, 0},     {0.5, kInf, kInf, kNan}, {kNan, 2, 3, kNan},
        {0.5, kNan, 3, kNan}, {0.5, 2, kNan, kNan},
    };
    for (const auto& c : cases) {
        const double d = orvls_d_beta_incomplete(c.x, c.a, c.b);
        const float f = orvls_f_beta_incomplete(float(c.x), float(c.a), float(c.b));
        if (std::isnan(c.expected)) {
            EXPECT_TRUE(std::isnan(d) && std::isnan(f)) << c.x << " " << c.a << " " << c.b;
        } else {
            EXPECT_EQ(d, c.expected) << c.x << " " << c.a << " " << c.b;
            EXPECT_EQ(f, float(c.expected)) << c.x << " " << c.a << " " << c.b;
        }
        EXPECT_EQ(orvls_error_code(), 0);
    }
    // The distributions built on it come back too.
    EXPECT_EQ(orvls_d_beta_cdf(0.5, 2, kInf), 1);
    EXPECT_TRUE(std::isnan(orvls_d_F_cdf(1, 3, kNan)));
}

TEST(BetaIncompleteLargeShapes, ContinuedFractionAgreesWithR)
{
    FILE* in = std::fopen((std::string(ORVLS_SOURCE_DIR) + "/tests/special/data/beta_large_shapes.csv").c_str(), "r");
    ASSERT_NE(in, nullptr);
    char header[128];
    ASSERT_NE(std::fgets(header, sizeof header, in), nullptr);
    double x, a, b, value, complement;
    int checked = 0;
    while (std::fscanf(in, "%lf,%lf,%lf,%lf,%lf", &x, &a, &b, &value, &complement) == 5) {
        const double d = orvls_d_beta_incomplete(x, a, b);
        ASSERT_TRUE(d >= 0 && d <= 1) << x << " " << a << " " << b;
        const double tail = std::min(value, complement);
        if (std::min(x, 1 - x) < 1e-8 || tail == 0)
            continue;
        EXPECT_LE(std::fabs(d - value) / tail, 3e-6) << x << " " << a << " " << b;
        ++checked;
    }
    std::fclose(in);
    EXPECT_GT(checked, 80);
}

}  // namespace
