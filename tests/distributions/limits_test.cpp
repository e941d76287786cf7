// The limits of the prescribed approximations that the header states, pinned
// at the points where tools/measure_limits.py measured them against mpmath:
// the error stays near the figure given (within a tenth of it), so that a
// change of method shows here and the header is brought up to date.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <string>

#include "capture.h"
#include "orvls.h"
#include "reference_table.h"

namespace {

using Function = std::function<double(double, double, double)>;

const std::map<std::string, Function> kFunctions = {
    {"chi_squared_cdf", [](double a, double b, double) { return orvls_d_chi_squared_cdf(a, b); }},
    {"chi_squared_inverse_cdf", [](double a, double b, double) { return orvls_d_chi_squared_inverse_cdf(a, b); }},
    {"t_cdf", [](double a, double b, double) { return orvls_d_t_cdf(a, b); }},
    {"t_inverse", [](double a, double b, double) { return orvls_d_t_inverse(a, b); }},
    {"beta_inverse_cdf", [](double a, double b, double c) { return orvls_d_beta_inverse_cdf(a, b, c); }},
    {"gamma_inverse_cdf", [](double a, double b, double) { return orvls_d_gamma_inverse_cdf(a, b); }},
};

TEST(DocumentedLimits, ErrorsStayNearTheFiguresInTheHeader)
{
    ErrorCapture capture;
    const auto rows = read_reference_table("tests/distributions/data/documented_limits.csv");
    EXPECT_EQ(rows.size(), 8u);
    for (const ReferenceRow& row : rows) {
        const std::string function = row.text("function");
        const std::string measure = row.text("measure");
        SCOPED_TRACE(function + " " + row.text("a") + " " + row.text("b") + " " + row.text("c"));
        const double value = kFunctions.at(function)(row["a"], row["b"], row.text("c").empty() ? 0 : row["c"]);
        const double truth = row["value"];
        const double figure = row["figure"];
        if (measure == "refused") {
            EXPECT_EQ(last_outcome(), (Outcome{4, 11105}));
            continue;
        }
        const double error = measure == "upper_relative" ? std::fabs((1 - value) - (1 - truth)) / (1 - truth)
                                                         : std::fabs(value - truth) / std::fabs(truth);
        EXPECT_NEAR(error, figure, figure / 10);
    }
}

}  // namespace
