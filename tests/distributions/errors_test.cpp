// Error codes with their types and parameters, edge cases, round trips and
// the limits kept as constants.
#include <cfloat>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "capture.h"
#include "frame/error_block.h"
#include "orvls.h"
#include "special/distributions.h"

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

struct ErrorCase {
    const char* what;
    std::function<double()> call;
    Outcome outcome;
    double result;                 // NaN: the result is NaN
    std::vector<double> reals = {};  // expected real parameters 1, 2, ...
    const char* text = nullptr;    // expected text parameter 1
};

class Errors : public testing::TestWithParam<ErrorCase> {
protected:
    ErrorCapture capture;
};

TEST_P(Errors, TypeCodeParametersAndResult)
{
    const ErrorCase& c = GetParam();
    const double result = c.call();
    EXPECT_EQ(last_outcome(), c.outcome);
    if (std::isnan(c.result)) {
        EXPECT_TRUE(std::isnan(result)) << result;
    } else {
        EXPECT_EQ(result, c.result);
    }
    const orvls::ErrorBlock* block = orvls::orvls_error_block();
    for (std::size_t i = 0; i < c.reals.size(); ++i) {
        EXPECT_EQ(block->real_param[i], c.reals[i]) << "real parameter " << i + 1;
    }
    if (c.text != nullptr) {
        EXPECT_STREQ(block->string_param[0], c.text);
    }
}

const double kGammaShapeLimit = DBL_MAX / std::log(DBL_MAX);

INSTANTIATE_TEST_SUITE_P(
    Distributions, Errors,
    testing::Values(
        ErrorCase{"normal_inverse_p", [] { return orvls_d_normal_inverse_cdf(1); }, {5, 9041}, kNaN, {1}},
        ErrorCase{"bivariate_rho", [] { return orvls_d_bivariate_normal_cdf(0, 0, 1.5); }, {5, 20030}, kNaN, {1.5}},
        ErrorCase{"bivariate_rho_minus_one", [] { return orvls_d_bivariate_normal_cdf(0.5, -1, -1); }, {6, 20031}, 0},
        ErrorCase{"t_df", [] { return orvls_d_t_cdf(1, 0.5); }, {5, 9042}, kNaN, {0.5}},
        ErrorCase{"t_inverse_df", [] { return orvls_d_t_inverse(0.3, 0.5); }, {5, 9042}, kNaN, {0.5}},
        ErrorCase{"t_inverse_p", [] { return orvls_d_t_inverse(1.5, 3); }, {5, 9043}, kNaN, {1.5}},
        // Below df = 2 a p so small that 1 - |1 - 2p| is 0 reaches the beta
        // inverse, which refuses it.
        ErrorCase{"t_inverse_tiny_p", [] { return orvls_d_t_inverse(1e-300, 1.5); }, {5, 9046}, kNaN, {0}},
        ErrorCase{"chi_squared_negative", [] { return orvls_d_chi_squared_cdf(-1, 5); }, {1, 9055}, 0, {-1},
                  "chi_squared"},
        ErrorCase{"chi_squared_df", [] { return orvls_d_chi_squared_cdf(1, 0.25); }, {5, 9051}, kNaN, {0.25}},
        ErrorCase{"chi_squared_underflow", [] { return orvls_d_chi_squared_cdf(2.5, 1000); }, {2, 9019}, 0},
        ErrorCase{"chi_squared_inverse_df", [] { return orvls_d_chi_squared_inverse_cdf(0.5, 0.25); }, {5, 9051},
                  kNaN, {0.25}},
        ErrorCase{"chi_squared_inverse_p", [] { return orvls_d_chi_squared_inverse_cdf(0, 3); }, {5, 9043}, kNaN, {0}},
        ErrorCase{"F_df", [] { return orvls_d_F_cdf(1, 0, 3); }, {5, 9048}, kNaN, {0, 3}},
        ErrorCase{"F_not_positive", [] { return orvls_d_F_cdf(0, 2, 3); }, {1, 9050}, 0, {0}},
        ErrorCase{"F_inverse_p", [] { return orvls_d_F_inverse_cdf(-0.5, 2, 3); }, {5, 9043}, kNaN, {-0.5}},
        ErrorCase{"F_inverse_df", [] { return orvls_d_F_inverse_cdf(0.5, 2, -3); }, {5, 9048}, kNaN, {2, -3}},
        ErrorCase{"F_inverse_infinite_low", [] { return orvls_d_F_inverse_cdf(0.5, 100, 0.01); }, {4, 9008}, kInf},
        ErrorCase{"gamma_negative", [] { return orvls_d_gamma_cdf(-1, 2); }, {1, 9055}, 0, {-1}, "x"},
        ErrorCase{"gamma_zero_any_a", [] { return orvls_d_gamma_cdf(0, -2); }, {0, 0}, 0},
        ErrorCase{"gamma_a", [] { return orvls_d_gamma_cdf(1, 0); }, {5, 9056}, kNaN, {0}},
        ErrorCase{"gamma_overflow", [] { return orvls_d_gamma_cdf(1e103, 1e103); }, {4, 9010}, kNaN, {1e103, 1e103}},
        ErrorCase{"gamma_huge_x", [] { return orvls_d_gamma_cdf(1e103, 1); }, {0, 0}, 1},
        ErrorCase{"gamma_inverse_p", [] { return orvls_d_gamma_inverse_cdf(1, 2); }, {5, 9043}, kNaN, {1}},
        ErrorCase{"gamma_inverse_a", [] { return orvls_d_gamma_inverse_cdf(0.5, 0); }, {5, 9056}, kNaN, {0}},
        ErrorCase{"gamma_inverse_a_large", [] { return orvls_d_gamma_inverse_cdf(0.5, 1e308); }, {5, 40023}, kNaN,
                  {1e308, kGammaShapeLimit}},
        ErrorCase{"gamma_inverse_start", [] { return orvls_d_gamma_inverse_cdf(0.5, 1e-210); }, {5, 40024}, kNaN,
                  {1e-210}},
        ErrorCase{"gamma_inverse_bracket", [] { return orvls_d_gamma_inverse_cdf(0.5, 1e40); }, {5, 40025}, kNaN,
                  {0.5, 1e40}},
        ErrorCase{"beta_pin", [] { return orvls_d_beta_cdf(0.5, 0, 1); }, {5, 11033}, kNaN, {0}},
        ErrorCase{"beta_qin", [] { return orvls_d_beta_cdf(0.5, 1, -1); }, {5, 11034}, kNaN, {-1}},
        ErrorCase{"beta_at_zero", [] { return orvls_d_beta_cdf(0, 2, 3); }, {1, 20415}, 0, {0}},
        ErrorCase{"beta_at_one", [] { return orvls_d_beta_cdf(1, 2, 3); }, {1, 20416}, 1, {1}},
        ErrorCase{"beta_inverse_pin", [] { return orvls_d_beta_inverse_cdf(0.5, 0, 1); }, {5, 9044}, kNaN, {0}},
        ErrorCase{"beta_inverse_qin", [] { return orvls_d_beta_inverse_cdf(0.5, 1, 0); }, {5, 9045}, kNaN, {0}},
        ErrorCase{"beta_inverse_p", [] { return orvls_d_beta_inverse_cdf(1, 1, 1); }, {5, 9046}, kNaN, {1}}),
    [](const testing::TestParamInfo<ErrorCase>& info) { return std::string(info.param.what); });

TEST(Distributions, EdgeCases)
{
    ErrorCapture capture;
    EXPECT_EQ(orvls_d_t_cdf(0, 1), 0.5);
    EXPECT_EQ(orvls_d_t_cdf(kInf, 3), 1);
    EXPECT_EQ(orvls_d_t_cdf(-kInf, 3), 0);
    EXPECT_TRUE(std::isnan(orvls_d_t_cdf(kNaN, 3)));
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    EXPECT_EQ(orvls_d_t_inverse(0.5, 7), 0);
    EXPECT_EQ(orvls_d_bivariate_normal_cdf(0, 0, 0), 0.25);
    // rho = 1: a type-6 note and Phi(min(x, y)).
    const double at_rho_one = orvls_d_bivariate_normal_cdf(0.5, -1, 1);
    EXPECT_EQ(last_outcome(), (Outcome{6, 20031}));
    EXPECT_EQ(at_rho_one, orvls_d_normal_cdf(-1));
    // The lower tail of the normal underflows in silence.
    EXPECT_EQ(orvls_d_normal_cdf(-40), 0);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    // 25 < df <= 65 below 2 is 0; df = 25 takes the series.
    EXPECT_EQ(orvls_d_chi_squared_cdf(1, 30), 0);
    EXPECT_GT(orvls_d_chi_squared_cdf(1, 25), 0);
    EXPECT_NEAR(orvls_d_gamma_inverse_cdf(0.5, 1), std::log(2.0), 1e-15);
    // The fast inverse reports under its own name, inside a caller's level.
    double x = 0;
    orvls_e1psh("orvls_test_caller");
    orvls::l_anorin(1.0, &x);
    EXPECT_EQ(orvls_n1rty(0), 5);
    EXPECT_EQ(orvls::orvls_n1rcode(0), 9041);
    orvls_e1mes(0, 0, " ");
    orvls_e1pop("orvls_test_caller");
    EXPECT_TRUE(std::isnan(x));
}

// q(p(x)) = x for each pair, in both forms.
TEST(Distributions, RoundTrips)
{
    ErrorCapture capture;
    for (double x : {-3.0, -0.5, 0.25, 2.0}) {
        EXPECT_NEAR(orvls_d_normal_inverse_cdf(orvls_d_normal_cdf(x)), x, 1e-14 * std::fabs(x) + 1e-15);
        EXPECT_NEAR(orvls_f_normal_inverse_cdf(orvls_f_normal_cdf(float(x))), x, 1e-5);
        // Hill's inverse for df > 2 is an approximation of about 1e-4 here.
        EXPECT_NEAR(orvls_d_t_inverse(orvls_d_t_cdf(x, 7), 7), x, 2e-4 * std::fabs(x));
        EXPECT_NEAR(orvls_d_t_inverse(orvls_d_t_cdf(x, 2), 2), x, 1e-13 * std::fabs(x));
    }
    for (double x : {0.3, 1.5, 7.0, 12.0}) {
        EXPECT_NEAR(orvls_d_chi_squared_inverse_cdf(orvls_d_chi_squared_cdf(x, 6), 6), x, 1e-12 * x);
        EXPECT_NEAR(orvls_f_chi_squared_inverse_cdf(orvls_f_chi_squared_cdf(float(x), 6), 6), x, 1e-3 * x);
        EXPECT_NEAR(orvls_d_gamma_inverse_cdf(orvls_d_gamma_cdf(x, 2.5), 2.5), x, 1e-12 * x);
        EXPECT_NEAR(orvls_f_gamma_inverse_cdf(orvls_f_gamma_cdf(float(x), 2.5f), 2.5f), x, 1e-3 * x);
        // The F and beta inverses inherit the beta inverse's truncated
        // continued fraction.
        EXPECT_NEAR(orvls_d_F_inverse_cdf(orvls_d_F_cdf(x / 10, 4, 12), 4, 12), x / 10, 1e-6 * x);
    }
    for (double x : {0.05, 0.3, 0.7, 0.95}) {
        EXPECT_NEAR(orvls_d_beta_inverse_cdf(orvls_d_beta_cdf(x, 2, 3), 2, 3), x, 1e-6 * x);
        EXPECT_NEAR(orvls_f_beta_inverse_cdf(orvls_f_beta_cdf(float(x), 2, 3), 2, 3), x, 1e-4 * x);
    }
}

// The limits kept as constants equal their formulas bit for bit.
TEST(Distributions, LimitsMatchTheirFormulas)
{
    using orvls::DistributionLimits;
    EXPECT_EQ(DistributionLimits<double>::log_largest_third, std::log(orvls_dmach(2)) / 3);
    EXPECT_EQ(DistributionLimits<double>::log_smallest, std::log(orvls_dmach(1)));
    EXPECT_EQ(DistributionLimits<double>::gamma_shape_limit, orvls_dmach(2) / std::log(orvls_dmach(2)));
    EXPECT_EQ(DistributionLimits<double>::cube_root_largest, std::cbrt(orvls_dmach(2)));
    EXPECT_EQ(DistributionLimits<float>::log_largest_third, std::log(orvls_amach(2)) / 3);
    EXPECT_EQ(DistributionLimits<float>::log_smallest, std::log(orvls_amach(1)));
    EXPECT_EQ(DistributionLimits<float>::gamma_shape_limit, orvls_amach(2) / std::log(orvls_amach(2)));
    EXPECT_EQ(DistributionLimits<float>::cube_root_largest, std::cbrt(orvls_amach(2)));
}

}  // namespace
