// Accuracy of every public function against tables computed with mpmath at
// 50 digits (tools/gen_special_refs.py).  The double forms must lie within
// 1e-14 of the true value, or within the error that the final exponential
// of a logarithm of size L brings (L eps), whichever is larger; the float
// forms within 1e-6 or L times their spacing.  The worst case of each
// function and form is printed.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "capture.h"
#include "orvls.h"

namespace {

struct Row {
    std::vector<double> inputs;
    double value;
    std::string branch;
};

std::vector<Row> read_table(const std::string& name, size_t arity)
{
    std::ifstream in(std::string(ORVLS_SOURCE_DIR) + "/tests/special/data/" + name + ".csv");
    std::vector<Row> rows;
    std::string line;
    std::getline(in, line);  // header
    while (std::getline(in, line)) {
        std::stringstream fields(line);
        std::string field;
        Row row;
        for (size_t i = 0; i <= arity; ++i) {
            std::getline(fields, field, ',');
            (i < arity ? row.inputs.emplace_back(std::stod(field)) : row.value = std::stod(field));
        }
        std::getline(fields, row.branch, ',');
        rows.push_back(row);
    }
    return rows;
}

std::string inputs_text(const Row& row)
{
    std::string text;
    char buffer[32];
    for (double x : row.inputs) {
        std::snprintf(buffer, sizeof buffer, "%s%.17g", text.empty() ? "" : ", ", x);
        text += buffer;
    }
    return text;
}

// The error a function may carry grows with the size M of the logarithms
// its value is built from (exp(M) loses M eps), and, for arguments near a
// negative integer beyond -10, with |x| over the distance to it: sin(pi y)
// is taken without reducing its argument.  Log functions and the
// complements 1 - r of the incomplete beta are measured against
// max(|value|, 1), the rest against |value|.  Integers cut from a real may be
// one less.
double reflection(double x)
{
    return x < -10 ? std::fabs(x) / std::fabs(x - std::nearbyint(x)) : 0;
}
double log_size(double v) { return std::fabs(std::log(std::fabs(v))); }
double lgamma_size(double x) { return std::fabs(std::lgamma(x)); }
double x_log_x(double x) { return std::fabs(x) > 10 ? std::fabs(x * std::log(std::fabs(x))) : 1; }
double log_or_zero(double x) { return x > 0 ? std::fabs(std::log(x)) : 0; }

struct Function {
    const char* name;
    size_t arity;
    std::function<double(const std::vector<double>&)> in_double;
    std::function<double(const std::vector<double>&)> in_float;
    double (*size)(const Row&);
    bool against_one;                  // measured against max(|value|, 1)
    bool truncated;                    // an integer that may be one less
    bool (*overflows)(const Row&, double log_big);  // the formula itself overflows
};

bool never(const Row&, double) { return false; }

const Function kFunctions[] = {
    {"gamma", 1, [](auto& v) { return orvls_d_gamma(v[0]); },
     [](auto& v) { return double(orvls_f_gamma(float(v[0]))); },
     [](const Row& r) { return lgamma_size(r.inputs[0]) + reflection(r.inputs[0]); }, false, false, never},
    {"log_gamma", 1, [](auto& v) { return orvls_d_log_gamma(v[0]); },
     [](auto& v) { return double(orvls_f_log_gamma(float(v[0]))); },
     [](const Row& r) { return x_log_x(r.inputs[0]) + reflection(r.inputs[0]); }, true, false, never},
    {"gamma_incomplete", 2, [](auto& v) { return orvls_d_gamma_incomplete(v[0], v[1]); },
     [](auto& v) { return double(orvls_f_gamma_incomplete(float(v[0]), float(v[1]))); },
     [](const Row& r) { return lgamma_size(r.inputs[0]) + r.inputs[0] * log_or_zero(r.inputs[1]) + r.inputs[1]; },
     false, false,
     [](const Row& r, double log_big) {
         return r.inputs[1] > 0 && std::lgamma(r.inputs[0]) + r.inputs[0] * std::log(r.inputs[1]) > log_big;
     }},
    {"beta", 2, [](auto& v) { return orvls_d_beta(v[0], v[1]); },
     [](auto& v) { return double(orvls_f_beta(float(v[0]), float(v[1]))); },
     [](const Row& r) {
         return lgamma_size(r.inputs[0]) + lgamma_size(r.inputs[1]) + lgamma_size(r.inputs[0] + r.inputs[1]);
     },
     false, false, never},
    {"log_beta", 2, [](auto& v) { return orvls_d_log_beta(v[0], v[1]); },
     [](auto& v) { return double(orvls_f_log_beta(float(v[0]), float(v[1]))); },
     [](const Row& r) {
         return lgamma_size(r.inputs[0]) + lgamma_size(r.inputs[1]) + lgamma_size(r.inputs[0] + r.inputs[1]);
     },
     true, false, never},
    {"beta_incomplete", 3, [](auto& v) { return orvls_d_beta_incomplete(v[0], v[1], v[2]); },
     [](auto& v) { return double(orvls_f_beta_incomplete(float(v[0]), float(v[1]), float(v[2]))); },
     [](const Row& r) {
         const double x = r.inputs[0], a = r.inputs[1], b = r.inputs[2];
         const double lbeta = std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b);
         return std::fabs(lbeta) + a * log_or_zero(x) + b * log_or_zero(1 - x);
     },
     false, false, never},
    {"erf", 1, [](auto& v) { return orvls_d_erf(v[0]); }, [](auto& v) { return double(orvls_f_erf(float(v[0]))); },
     [](const Row&) { return 0.0; }, false, false, never},
    {"erfc", 1, [](auto& v) { return orvls_d_erfc(v[0]); },
     [](auto& v) { return double(orvls_f_erfc(float(v[0]))); }, [](const Row& r) { return log_size(r.value); },
     false, false, never},
    {"erfc_inverse", 1, [](auto& v) { return orvls_d_erfc_inverse(v[0]); },
     [](auto& v) { return double(orvls_f_erfc_inverse(float(v[0]))); }, [](const Row&) { return 0.0; }, false,
     false, never},
    {"factorial", 1, [](auto& v) { return double(orvls_d_factorial(int64_t(v[0]))); },
     [](auto& v) { return double(orvls_f_factorial(int64_t(v[0]))); },
     [](const Row& r) { return lgamma_size(r.inputs[0] + 1); }, false, true, never},
    {"binomial_coefficient", 2, [](auto& v) { return orvls_d_binomial_coefficient(int64_t(v[0]), int64_t(v[1])); },
     [](auto& v) { return double(orvls_f_binomial_coefficient(int64_t(v[0]), int64_t(v[1]))); },
     [](const Row& r) { return log_size(r.value); }, false, true, never},
};

template <class Real>
bool representable(const Row& row)
{
    for (double x : row.inputs)
        if (double(Real(x)) != x)
            return false;
    return std::fabs(row.value) <= std::numeric_limits<Real>::max() &&
           (row.value == 0 || std::fabs(row.value) >= std::numeric_limits<Real>::min());
}

struct Worst {
    double relative = 0, ulps = 0;
    const Row* row = nullptr;
    double got = 0;
};

template <class Real>
void check_function(const Function& f, double floor)
{
    ErrorCapture capture;  // alerts of some rows (near-integer warnings) are expected
    const std::vector<Row> rows = read_table(f.name, f.arity);
    ASSERT_FALSE(rows.empty()) << f.name;
    const double eps = std::numeric_limits<Real>::epsilon();
    Worst worst;
    size_t checked = 0, failures = 0;
    size_t overflowing = 0, refused = 0;
    for (const Row& row : rows) {
        if (!representable<Real>(row))
            continue;
        if (f.overflows(row, std::log(std::numeric_limits<Real>::max()))) {
            ++overflowing;
            continue;
        }
        const double got = std::is_same_v<Real, float> ? f.in_float(row.inputs) : f.in_double(row.inputs);
        // Arguments the form refuses: outside the domain, or too near zero
        // for its range.
        if (last_outcome() == Outcome{5, 120} || last_outcome() == Outcome{4, 9011}) {
            ++refused;
            continue;
        }
        double error = std::fabs(got - row.value);
        if (f.truncated)
            error = std::max(0.0, error - 1);
        const bool complement = f.against_one || row.branch.rfind("swap", 0) == 0;
        const double scale = complement ? std::max(std::fabs(row.value), 1.0) : std::fabs(row.value);
        const double relative = scale == 0 ? error : error / scale;
        const double tolerance = std::max(floor, 8 * eps * f.size(row));
        // Below 100 times the smallest normal a result may underflow to 0.
        const bool underflow = error <= 100 * double(std::numeric_limits<Real>::min());
        if (!(relative <= tolerance) && !underflow && ++failures <= 3)
            ADD_FAILURE() << f.name << " at " << inputs_text(row) << " (" << row.branch << "): " << got
                          << " against " << row.value << ", relative error " << relative;
        ++checked;
        if (!(relative < worst.relative)) {
            const double spacing = row.value == 0 ? std::numeric_limits<Real>::denorm_min()
                                                  : std::fabs(double(std::nextafter(Real(row.value), Real(INFINITY))) - double(Real(row.value)));
            worst = {relative, error / spacing, &row, got};
        }
    }
    EXPECT_EQ(failures, 0u) << f.name;
    std::printf("%-22s %-6s %4zu points (%zu overflow, %zu refused)  worst %.2e relative, %.1f ulps at %s (%s)\n", f.name,
                std::is_same_v<Real, float> ? "float" : "double", checked, overflowing, refused, worst.relative, worst.ulps,
                inputs_text(*worst.row).c_str(), worst.row->branch.c_str());
}

class Accuracy : public ::testing::TestWithParam<Function> {};

TEST_P(Accuracy, DoubleForm) { check_function<double>(GetParam(), 1e-14); }
TEST_P(Accuracy, FloatForm) { check_function<float>(GetParam(), 1e-6); }

INSTANTIATE_TEST_SUITE_P(Special, Accuracy, ::testing::ValuesIn(kFunctions),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
