// Accuracy of every distribution function and inverse against the mpmath
// tables.  Double forms: 1e-14 of the true value where the algorithm is exact
// in principle; where it is a fixed approximation the table's `prescribed`
// column is the target (1e-13) and the distance to the truth is printed.
// Float forms: 1e-6 on the rows whose inputs are floats.  The worst case of
// each function is printed.
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "capture.h"
#include "orvls.h"
#include "reference_table.h"
#include "special/distributions.h"

namespace {

using Arguments = std::vector<double>;

struct Function {
    const char* table;
    std::vector<const char*> inputs;
    std::function<double(const Arguments&)> in_double;
    std::function<float(const Arguments&)> in_float;
    // Errors are measured relative to max(|expected|, floor): a floor of 0 is
    // a relative error, a floor of 1 an absolute one.
    double floor;
    double double_budget = 1e-14;
    double float_budget = 1e-6;
    // For an inverse, its distribution function at (x, other arguments): a
    // quantile can be no better than eps over the slope of the function in
    // log x, and that much is added to the budget.
    std::function<double(double, const Arguments&)> forward = nullptr;
    // The absolute error of that function in double and in float.
    double forward_double = 8 * DBL_EPSILON;
    double forward_float = 8 * FLT_EPSILON;
};

float f(double x) { return static_cast<float>(x); }

double fast_normal_inverse(double p)
{
    double x;
    orvls::l_anorin(p, &x);
    return x;
}
float fast_normal_inverse_float(float p)
{
    float x;
    orvls::l_anorin(p, &x);
    return x;
}

// Owen's T and the bivariate normal built on it aim at an absolute error,
// and so do the distribution functions that take a complement (1 - tail);
// the rest aim at a relative one.
const std::vector<Function>& functions()
{
    // Budgets beyond 1e-14 (double) and 1e-6 (float) are the error that the
    // prescribed formulas carry, found on these tables:
    //  - exp of a sum of large terms loses their size times eps: erfc at
    //    x = -37 (x^2/2 = 684), the gamma law at a = 1e5 (terms near 1e6),
    //    the incomplete beta at shapes 1000;
    //  - the F law's 1 - I_x(d2/2, d1/2) at x = d2/(f d1 + d2) rounds x
    //    before I_x takes 1 - x, which matters for tiny f;
    //  - the beta inverse solves log I_x = log p with the ratio of I_x to its
    //    leading term from a continued fraction cut after about
    //    0.7 log(P + Q + 15)^2 terms; for x near 1 and a small shape the cut
    //    moves the root (to 2e-2 of the smaller tail at P = 5, Q = 0.25), and
    //    the t (1 < df < 2) and F inverses inherit it.
    static const std::vector<Function> all = {
        {"normal_cdf", {"x"}, [](const Arguments& a) { return orvls_d_normal_cdf(a[0]); },
         [](const Arguments& a) { return orvls_f_normal_cdf(f(a[0])); }, 0, 2e-13, 5e-6},
        {"normal_inverse_cdf", {"p"}, [](const Arguments& a) { return orvls_d_normal_inverse_cdf(a[0]); },
         [](const Arguments& a) { return orvls_f_normal_inverse_cdf(f(a[0])); }, 0, 1e-14, 1e-6,
         [](double x, const Arguments&) { return orvls_d_normal_cdf(x); }},
        {"l_anorin", {"p"}, [](const Arguments& a) { return fast_normal_inverse(a[0]); },
         [](const Arguments& a) { return fast_normal_inverse_float(f(a[0])); }, 0, 1e-14, 2e-6},
        {"l_owen_t", {"h", "a"}, [](const Arguments& a) { return orvls::l_owen_t(a[0], a[1]); },
         [](const Arguments& a) { return orvls::l_owen_t(f(a[0]), f(a[1])); }, 1},
        {"bivariate_normal_cdf", {"x", "y", "rho"},
         [](const Arguments& a) { return orvls_d_bivariate_normal_cdf(a[0], a[1], a[2]); },
         [](const Arguments& a) { return orvls_f_bivariate_normal_cdf(f(a[0]), f(a[1]), f(a[2])); }, 1},
        {"t_cdf", {"t", "df"}, [](const Arguments& a) { return orvls_d_t_cdf(a[0], a[1]); },
         [](const Arguments& a) { return orvls_f_t_cdf(f(a[0]), f(a[1])); }, 1},
        {"t_inverse", {"p", "df"}, [](const Arguments& a) { return orvls_d_t_inverse(a[0], a[1]); },
         [](const Arguments& a) { return orvls_f_t_inverse(f(a[0]), f(a[1])); }, 1, 5e-7, 1e-5,
         [](double x, const Arguments& a) { return orvls_d_t_cdf(x, a[1]); }, 8 * DBL_EPSILON, 1e-6},
        {"chi_squared_cdf", {"chi_squared", "df"},
         [](const Arguments& a) { return orvls_d_chi_squared_cdf(a[0], a[1]); },
         [](const Arguments& a) { return orvls_f_chi_squared_cdf(f(a[0]), f(a[1])); }, 1, 1e-14, 1e-5},
        {"chi_squared_inverse_cdf", {"p", "df"},
         [](const Arguments& a) { return orvls_d_chi_squared_inverse_cdf(a[0], a[1]); },
         [](const Arguments& a) { return orvls_f_chi_squared_inverse_cdf(f(a[0]), f(a[1])); }, 0, 1e-14, 1e-6,
         [](double x, const Arguments& a) { return orvls_d_chi_squared_cdf(x, a[1]); }, 5e-14, 1e-5},
        {"F_cdf", {"f", "df_numerator", "df_denominator"},
         [](const Arguments& a) { return orvls_d_F_cdf(a[0], a[1], a[2]); },
         [](const Arguments& a) { return orvls_f_F_cdf(f(a[0]), f(a[1]), f(a[2])); }, 1, 1e-11, 5e-3},
        {"F_inverse_cdf", {"p", "df_numerator", "df_denominator"},
         [](const Arguments& a) { return orvls_d_F_inverse_cdf(a[0], a[1], a[2]); },
         [](const Arguments& a) { return orvls_f_F_inverse_cdf(f(a[0]), f(a[1]), f(a[2])); }, 0, 2e-4, 2e-4,
         [](double x, const Arguments& a) { return orvls_d_F_cdf(x, a[1], a[2]); }, 1e-11, 5e-3},
        {"gamma_cdf", {"x", "a"}, [](const Arguments& a) { return orvls_d_gamma_cdf(a[0], a[1]); },
         [](const Arguments& a) { return orvls_f_gamma_cdf(f(a[0]), f(a[1])); }, 1, 1e-10, 3e-2},
        {"gamma_inverse_cdf", {"p", "a"}, [](const Arguments& a) { return orvls_d_gamma_inverse_cdf(a[0], a[1]); },
         [](const Arguments& a) { return orvls_f_gamma_inverse_cdf(f(a[0]), f(a[1])); }, 0, 1e-14, 1e-6,
         [](double x, const Arguments& a) { return orvls_d_gamma_cdf(x, a[1]); }, 1e-10, 8e-2},
        {"beta_cdf", {"x", "pin", "qin"}, [](const Arguments& a) { return orvls_d_beta_cdf(a[0], a[1], a[2]); },
         [](const Arguments& a) { return orvls_f_beta_cdf(f(a[0]), f(a[1]), f(a[2])); }, 1, 5e-13, 1e-4},
        {"beta_inverse_cdf", {"p", "pin", "qin"},
         [](const Arguments& a) { return orvls_d_beta_inverse_cdf(a[0], a[1], a[2]); },
         [](const Arguments& a) { return orvls_f_beta_inverse_cdf(f(a[0]), f(a[1]), f(a[2])); }, 0, 3e-2, 3e-2,
         [](double x, const Arguments& a) { return orvls_d_beta_cdf(x, a[1], a[2]); }, 5e-13, 1e-4},
    };
    return all;
}

// The algorithm gave up (a fatal error, or the chi-squared inverse's warning
// that its search did not converge): there is no value to judge.  The beta
// inverse's warning 9047 keeps its value, which is judged.
bool gave_up()
{
    const Outcome outcome = last_outcome();
    return (outcome.type >= 4 && outcome.type != 6) || outcome.code == 9052 || outcome.code == 9053;
}

// Relative error in x that an error `forward_error` in the distribution
// function alone explains.
double conditioning(const Function& function, double x, const Arguments& a, double forward_error)
{
    if (!function.forward || x == 0)
        return 0;
    const double h = 1e-6;
    const double slope = (function.forward(x * (1 + h), a) - function.forward(x * (1 - h), a)) / (2 * h);
    return forward_error / std::fabs(slope);
}

double error_of(double result, double expected, double floor)
{
    if (result == expected)
        return 0;
    return std::fabs(result - expected) / std::fmax(std::fabs(expected), floor);
}

// The worst row seen, for the printout.
struct Worst {
    double error = 0;
    std::string where;
    void see(double error_now, const Arguments& a, const std::string& branch)
    {
        if (!(error_now <= error)) {
            error = error_now;
            std::ostringstream text;
            text << branch << " at";
            for (double x : a)
                text << ' ' << x;
            where = text.str();
        }
    }
};

Arguments inputs_of(const ReferenceRow& row, const Function& function)
{
    Arguments a;
    for (const char* name : function.inputs)
        a.push_back(row[name]);
    return a;
}

std::vector<ReferenceRow> table_of(const Function& function)
{
    return read_reference_table(std::string("tests/distributions/data/") + function.table + ".csv");
}

class Accuracy : public testing::TestWithParam<Function> {
protected:
    ErrorCapture capture;
};

// A row is approximate when the prescribed formula departs from the truth
// by more than the exact budget; there the formula is the target.
TEST_P(Accuracy, DoubleForm)
{
    const Function& function = GetParam();
    Worst worst_exact;
    Worst worst_prescribed;
    Worst distance_to_truth;
    int approximate_rows = 0;
    int given_up = 0;
    for (const ReferenceRow& row : table_of(function)) {
        const Arguments a = inputs_of(row, function);
        const double result = function.in_double(a);
        const std::string branch = row.text("branch");
        if (gave_up()) {
            ++given_up;
            continue;
        }
        const double truth = row["value"];
        const double truth_error = error_of(result, truth, function.floor);
        if (row.has("prescribed") && error_of(row["prescribed"], truth, function.floor) > 1e-14) {
            ++approximate_rows;
            const double error = error_of(result, row["prescribed"], function.floor);
            EXPECT_LE(error, 1e-13 + conditioning(function, row["prescribed"], a, function.forward_double)) << branch << " " << testing::PrintToString(a) << " gives " << result;
            worst_prescribed.see(error, a, branch);
            distance_to_truth.see(truth_error, a, branch);
        } else {
            const double budget = function.double_budget + conditioning(function, truth, a, function.forward_double);
            EXPECT_LE(truth_error, budget)
                << branch << " " << testing::PrintToString(a) << " gives " << result;
            worst_exact.see(truth_error, a, branch);
        }
    }
    std::printf("%-24s double: worst %.2e (%s)\n", function.table, worst_exact.error, worst_exact.where.c_str());
    if (approximate_rows > 0)
        std::printf("%-24s   %d approximate rows: worst %.2e from the formula (%s), %.2e from the truth (%s)\n", "",
                    approximate_rows, worst_prescribed.error, worst_prescribed.where.c_str(), distance_to_truth.error,
                    distance_to_truth.where.c_str());
    if (given_up > 0)
        std::printf("%-24s   %d rows where the algorithm gives up\n", "", given_up);
}

TEST_P(Accuracy, FloatForm)
{
    const Function& function = GetParam();
    Worst worst;
    int rows = 0;
    for (const ReferenceRow& row : table_of(function)) {
        const Arguments a = inputs_of(row, function);
        bool floats = true;
        for (double x : a)
            floats = floats && representable_in_float(x);
        const double truth = row["value"];
        const double target = row.has("prescribed") ? row["prescribed"] : truth;
        // Near the bottom of the float range the float form's own cut-offs apply.
        if (!floats || std::fabs(target) > FLT_MAX || (target != 0 && std::fabs(target) < 1e-30))
            continue;
        const float result = function.in_float(a);
        if (gave_up())
            continue;
        ++rows;
        const double error = error_of(result, target, std::fmax(function.floor, FLT_MIN));
        const double budget = function.float_budget + conditioning(function, target, a, function.forward_float);
        EXPECT_LE(error, budget) << row.text("branch") << " " << testing::PrintToString(a);
        worst.see(error, a, row.text("branch"));
    }
    EXPECT_GT(rows, 0);
    std::printf("%-24s float:  worst %.2e over %d rows (%s)\n", function.table, worst.error, rows, worst.where.c_str());
}

INSTANTIATE_TEST_SUITE_P(Distributions, Accuracy, testing::ValuesIn(functions()),
                         [](const testing::TestParamInfo<Function>& info) { return std::string(info.param.table); });

}  // namespace
