// Every error the special functions raise: its type, its code, its
// parameters and the value that comes back.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "capture.h"
#include "frame/error_block.h"
#include "orvls.h"
#include "special/common.h"
#include "special/special.h"

namespace {

using orvls::special::Thresholds;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

struct ErrorCase {
    const char* what;
    std::function<double()> call;  // the value that comes back
    Outcome outcome;
    double value;                  // NaN: NaN expected
    std::vector<double> reals;     // doubles 1, 2, ...
    std::vector<int64_t> integers; // integers 1, 2, ...
    std::vector<std::string> texts;
};

// Internal functions push no name: run them as a routine of their own, so
// that the error is handed to the caller at its pop like a public routine's.
double as_routine(const std::function<double()>& call)
{
    orvls_e1psh("internal");
    const double value = call();
    orvls_e1pop("internal");
    return value;
}

double r9lgit_at(double a, double x) { return orvls::l_r9lgit(a, x, std::lgamma(a + 1)); }

const double kGamcs[] = {0.8571195590989331e-2, 0.4415381324841007e-2, 0.5685043681599363e-1};

const std::vector<ErrorCase>& cases()
{
    const double gamma_xmax = orvls::StoredGammaLimits<double>::get().xmax;
    const double gamma_xmin = orvls::StoredGammaLimits<double>::get().xmin;
    static const std::vector<ErrorCase> all = {
        {"series length 0", [] { return as_routine([] { return orvls::orvls_csevl(0.5, kGamcs, 0); }); }, {5, 9001}, kNan, {}, {0}, {}},
        {"series length 1001", [] { return as_routine([] { return orvls::orvls_csevl(0.5, kGamcs, 1001); }); }, {5, 9002}, kNan, {}, {1001}, {}},
        {"series argument 1.2", [] { return as_routine([] { return orvls::orvls_csevl(1.2, kGamcs, 3); }); }, {3, 9003}, orvls::orvls_csevl(1.2, kGamcs, 3), {1.2}, {}, {}},
        {"count 0", [] { return as_routine([] { return double(orvls::orvls_initds(kGamcs, 0, 1e-3)); }); }, {5, 9004}, 0, {}, {0}, {}},
        {"tolerance below the last term", [] { return as_routine([] { return double(orvls::orvls_initds(kGamcs, 3, 1e-3)); }); }, {5, 9005}, 0, {}, {3}, {}},
        {"float count, tolerance below the last term", [] { return as_routine([] { const float c[] = {1, 0.1f}; return double(orvls::orvls_inits(c, 2, 1e-3f)); }); }, {5, 9005}, 0, {}, {2}, {}},
        {"gamma(0)", [] { return orvls_d_gamma(0); }, {5, 9024}, kNan, {}, {}, {}},
        {"gamma(-3)", [] { return orvls_d_gamma(-3); }, {5, 9006}, kNan, {-3}, {}, {}},
        {"gamma(200)", [] { return orvls_d_gamma(200); }, {4, 9009}, kNan, {200, gamma_xmax}, {}, {}},
        {"gamma(-180.5)", [] { return orvls_d_gamma(-180.5); }, {2, 9014}, 0, {-180.5, gamma_xmin}, {}, {}},
        {"gamma(1e-309)", [] { return orvls_d_gamma(1e-309); }, {4, 9011}, kNan, {1e-309}, {}, {}},
        {"gamma near -2", [] { return orvls_d_gamma(-2.000000001); }, {3, 9020}, std::tgamma(-2.000000001), {-2.000000001}, {}, {}},
        {"float gamma(-3)", [] { return double(orvls_f_gamma(-3.0f)); }, {5, 9006}, kNan, {-3}, {}, {}},
        {"log_gamma(1e306)", [] { return orvls_d_log_gamma(1e306); }, {4, 9013}, kNan, {1e306, Thresholds<double>::log_gamma_xmax}, {}, {}},
        {"log_gamma near -1000", [] { return orvls_d_log_gamma(-1000.0000000009313); }, {3, 9020}, -5891.3337630777987, {-1000.0000000009313}, {}, {}},
        {"log_gamma(-3) through gamma", [] { return orvls_d_log_gamma(-3); }, {5, 9006}, kNan, {-3}, {}, {}},
        {"correction below 10", [] { return as_routine([] { return orvls::orvls_r9lgmc(5.0); }); }, {4, 60002}, kNan, {5, 10}, {}, {}},
        {"correction underflow", [] { return as_routine([] { return orvls::orvls_r9lgmc(1e307); }); }, {2, 9015}, 0, {1e307, Thresholds<double>::lgmc_xmax}, {}, {}},
        {"incomplete gamma, a = 0", [] { return orvls_d_gamma_incomplete(0, 1); }, {5, 9032}, kNan, {0}, {}, {}},
        {"incomplete gamma, x < 0", [] { return orvls_d_gamma_incomplete(1, -1); }, {5, 9033}, kNan, {-1}, {}, {}},
        {"Tricomi, x < 0", [] { return as_routine([] { return orvls::l_gamit(1.0, -1.0); }); }, {5, 9033}, kNan, {-1}, {}, {}},
        {"Tricomi near a = -3: the alert of gamma at a + 1", [] { return as_routine([] { return orvls::l_gamit(-3.00000001, 5.0); }); }, {3, 9020}, 125, {-2.00000001}, {}, {}},
        {"series of Tricomi, x = 0", [] { return as_routine([] { return orvls::l_r9gmit(1.0, 0.0, 0.0, 1.0); }); }, {5, 9027}, kNan, {0}, {}, {}},
        {"fraction for large x", [] { return as_routine([] { return orvls::l_r9lgic(1e6, 1e6 + 1, std::log(1e6 + 1)); }); }, {4, 9035}, kNan, {}, {}, {}},
        {"fraction for x <= a, x > a", [] { return as_routine([] { return r9lgit_at(2, 3); }); }, {5, 9036}, kNan, {3, 2}, {}, {}},
        {"fraction for x <= a", [] { return as_routine([] { return r9lgit_at(1e6, 1e6); }); }, {4, 9035}, kNan, {}, {}, {}},
        {"beta(0, 1)", [] { return orvls_d_beta(0, 1); }, {5, 9031}, kNan, {0, 1}, {}, {}},
        {"beta underflow", [] { return orvls_d_beta(1000, 1000); }, {2, 9018}, 0, {1000, 1000}, {}, {}},
        {"log_beta(0, 1)", [] { return orvls_d_log_beta(0, 1); }, {5, 9038}, kNan, {}, {}, {}},
        {"beta_incomplete, x = 1.5", [] { return orvls_d_beta_incomplete(1.5, 1, 1); }, {5, 120}, kNan, {0, 1, 1.5}, {}, {"x"}},
        {"beta_incomplete, b = 0", [] { return orvls_d_beta_incomplete(0.5, 1, 0); }, {5, 9031}, kNan, {1, 0}, {}, {}},
        {"l_alnrel(-1)", [] { return as_routine([] { return orvls::l_alnrel(-1.0); }); }, {5, 9039}, kNan, {-1}, {}, {}},
        {"l_alnrel near -1", [] { return as_routine([] { return orvls::l_alnrel(-1 + 1e-9); }); }, {3, 9040}, std::log1p(-1 + 1e-9), {-1 + 1e-9, Thresholds<double>::sqrt_eps4 - 1}, {}, {}},
        {"orvls_alnrel(-2)", [] { return as_routine([] { return orvls::orvls_alnrel(-2.0); }); }, {5, 20400}, kNan, {-2}, {}, {}},
        {"orvls_alnrel near -1", [] { return as_routine([] { return orvls::orvls_alnrel(-1 + 1e-9); }); }, {5, 20401}, std::log1p(-1 + 1e-9), {-1 + 1e-9, Thresholds<double>::sqrt_eps4 - 1}, {}, {}},
        {"erfc(30)", [] { return orvls_d_erfc(30); }, {2, 9015}, 0, {30, Thresholds<double>::erfc_xmax}, {}, {}},
        {"erfc(-30)", [] { return orvls_d_erfc(-30); }, {0, 0}, 2, {}, {}, {}},
        {"scaled erfc(-30)", [] { return as_routine([] { int64_t c[3] = {}; return orvls::l_erfce(-30.0, c); }); }, {4, 9012}, kNan, {-30, Thresholds<double>::erfce_xneg}, {}, {}},
        {"scaled erfc(1e308)", [] { return as_routine([] { int64_t c[3] = {}; return orvls::l_erfce(1e308, c); }); }, {2, 9015}, 0, {1e308, Thresholds<double>::erfce_xmax}, {}, {}},
        {"erfc_inverse(0)", [] { return orvls_d_erfc_inverse(0); }, {4, 120}, kNan, {0, 2, 0}, {}, {"x"}},
        {"erfc_inverse(2)", [] { return orvls_d_erfc_inverse(2); }, {4, 120}, kNan, {0, 2, 2}, {}, {"x"}},
        {"erfc_inverse above its limit", [] { return orvls_d_erfc_inverse(1.9999999999); }, {3, 30002}, -4.572824967389486, {1.9999999999, Thresholds<double>::erfc_inverse_xmax}, {}, {}},
        {"factorial(-1)", [] { return double(orvls_d_factorial(-1)); }, {5, 603}, 0, {}, {-1, 0}, {"n"}},
        {"factorial(171)", [] { return double(orvls_d_factorial(171)); }, {4, 9009}, double(INT64_MIN), {172, gamma_xmax}, {}, {}},
        {"binomial, m < 0", [] { return orvls_d_binomial_coefficient(3, -1); }, {5, 603}, kNan, {}, {-1, 0}, {"m"}},
        {"binomial, n < 0", [] { return orvls_d_binomial_coefficient(-1, 0); }, {5, 600}, kNan, {}, {-1, 0}, {"n", "m"}},
        {"binomial, n < m", [] { return orvls_d_binomial_coefficient(2, 3); }, {5, 600}, kNan, {}, {2, 3}, {"n", "m"}},
        {"binomial overflow", [] { return orvls_d_binomial_coefficient(2000, 1000); }, {5, 20402}, kNan, {}, {}, {}},
        {"float binomial overflow, k <= 8", [] { return double(orvls_f_binomial_coefficient(1000000000000, 8)); }, {5, 20402}, kNan, {}, {}, {}},
    };
    return all;
}

// Parameters stand until overwritten: mark them before each call.
void mark_parameters()
{
    for (int i = 1; i <= 3; ++i) {
        orvls_e1std(i, -7777);
        orvls_e1sti(i, -7777);
        orvls_e1stl(i, "unset");
    }
}

TEST(SpecialErrors, TypeCodeParametersAndValue)
{
    ErrorCapture capture;
    const orvls::ErrorBlock* block = orvls::orvls_error_block();
    for (const ErrorCase& c : cases()) {
        SCOPED_TRACE(c.what);
        mark_parameters();
        const double value = c.call();
        EXPECT_EQ(last_outcome(), c.outcome);
        if (std::isnan(c.value))
            EXPECT_TRUE(std::isnan(value)) << value;
        else  // near a pole the value itself has lost digits
            EXPECT_NEAR(value, c.value, 1e-6 * std::fabs(c.value));
        for (size_t i = 0; i < c.reals.size(); ++i)
            EXPECT_EQ(block->real_param[i], c.reals[i]) << "double " << i + 1;
        for (size_t i = 0; i < c.integers.size(); ++i)
            EXPECT_EQ(block->int_param[i], c.integers[i]) << "integer " << i + 1;
        for (size_t i = 0; i < c.texts.size(); ++i)
            EXPECT_STREQ(block->string_param[i], c.texts[i].c_str()) << "text " << i + 1;
    }
}

// The factorial of a negative number returns without the report of its
// return: the terminal error prints once, at once, the process goes on, and
// the stack is whole for the next call.
TEST(SpecialErrors, NegativeFactorialLeavesTheStackWhole)
{
    ErrorCapture capture;
    orvls_error_options(ORVLS_SET_STOP, ORVLS_TERMINAL, 1, 0);  // a pop of the factorial would stop here
    const orvls::ErrorBlock* block = orvls::orvls_error_block();
    const orvls::ErrorStackEntry* top = block->error_stack_top;
    EXPECT_EQ(orvls_d_factorial(-1), 0);
    EXPECT_EQ(orvls_f_factorial(-5), 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 603}));
    orvls_error_options(ORVLS_SET_STOP, ORVLS_TERMINAL, 0, 0);
    EXPECT_EQ(block->error_stack_top, top);
    const std::string text = capture.text();
    EXPECT_EQ(text.find("orvls_d_factorial"), text.rfind("orvls_d_factorial")) << text;
    capture.clear();
    EXPECT_EQ(orvls_d_factorial(5), 120);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    EXPECT_TRUE(std::isnan(orvls_d_gamma(0)));  // reported as the caller's own call
    EXPECT_NE(capture.text().find("orvls_d_gamma"), std::string::npos);
}

// A type 3 alert of gamma inside the reciprocal is cleared; a caller's own
// earlier error stands.
TEST(SpecialErrors, ReciprocalGammaClearsOnlyTheAlertOfGamma)
{
    ErrorCapture capture;
    const double x = -2.000000001;
    EXPECT_NEAR(as_routine([&] { return orvls::orvls_gamr(x); }), 1 / std::tgamma(x), 1e-9);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    EXPECT_NEAR(as_routine([&] { return orvls::orvls_gamr(-20.000000001); }), 1 / std::tgamma(-20.000000001), 2.5e3);  // digits lost near the pole
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    as_routine([&] {
        orvls_ermes(4, 9035);
        return orvls::orvls_gamr(x);
    });
    EXPECT_EQ(last_outcome(), (Outcome{4, 9035}));
    EXPECT_EQ(as_routine([] { return orvls::orvls_gamr(-4.0); }), 0);
}

}  // namespace
