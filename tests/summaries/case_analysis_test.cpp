// Case analysis with class regressors against R (lm with a factor, predict
// with intervals, hatvalues, rstandard, rstudent, cooks.distance, dffits),
// prediction with frequencies against R's fit of the repeated rows, the
// count of statistics left out, and the errors of the case analysis.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "prediction_support.h"
#include "capture.h"
#include "regression/case_analysis.h"
#include "regression/regressors.h"

namespace {

using namespace orvls::regression;

const char* kClassReferences = "../../summaries/data/class_predictions.txt";
const char* kFrequencyReferences = "../../summaries/data/frequency_predictions.txt";

// Reference keys and their places in a case-table row.
const std::pair<const char*, int64_t> kAllRows[] = {{"fitted", kPredicted},       {"mean_lower", kMeanLower},
                                                    {"mean_upper", kMeanUpper},   {"new_lower", kNewLower},
                                                    {"new_upper", kNewUpper},     {"leverage", kLeverage}};
const std::pair<const char*, int64_t> kFitRows[] = {{"residual", kResidual},     {"standardized", kStandardized},
                                                    {"deleted", kDeleted},       {"cooksd", kCooksD},
                                                    {"dffits", kDffits}};

template <class Real>
std::vector<Real> column(const std::vector<Real>& table, int64_t place, size_t rows)
{
    std::vector<Real> values(rows);
    for (size_t i = 0; i < rows; ++i)
        values[i] = table[i * kCaseValues + size_t(place)];
    return values;
}

template <class Real>
RegressionInfo<Real>* fit_with_classes(const Fit& ref, std::vector<Real>& class_values, std::vector<int64_t>& counts)
{
    const size_t n = size_t(ref.n());
    std::vector<Real> data(2 * n), y = ref.as<Real>("y"), cl = ref.as<Real>("class"), x = ref.as<Real>("x");
    for (size_t i = 0; i < n; ++i) {
        data[2 * i] = cl[i];
        data[2 * i + 1] = x[i];
    }
    Real* regressors = nullptr;
    RegressionInfo<Real>* info = nullptr;
    if constexpr (sizeof(Real) == sizeof(float))
        EXPECT_EQ(orvls_f_regressors_for_glm(int64_t(n), data.data(), 1, 1, ORVLS_DUMMY_METHOD, 2, ORVLS_REGRESSORS,
                                             &regressors, 0), 3);
    else
        EXPECT_EQ(orvls_d_regressors_for_glm(int64_t(n), data.data(), 1, 1, ORVLS_DUMMY_METHOD, 2, ORVLS_REGRESSORS,
                                             &regressors, 0), 3);
    if (regressors == nullptr)
        return nullptr;
    std::free(regression<Real>(int64_t(n), 3, regressors, y.data(), ORVLS_REGRESSION_INFO, &info, 0));
    std::free(regressors);
    // The class table of the fit rows, as the fit coded them.
    const int64_t indcl[] = {1};
    int64_t missing = 0;
    class_values.resize(n);
    counts.resize(1);
    orvls_gclas<Real>(0, int64_t(n), 1, cl.data(), int64_t(n), 1, indcl, int64_t(n), counts.data(),
                      class_values.data(), &missing);
    return info;
}

// Fit rows and new rows through orvls_grglm, one call for all of them.
template <class Real>
void check_class_rows(double tolerance)
{
    const Fit ref = read_fits(kClassReferences).at(0);
    std::vector<Real> class_values;
    std::vector<int64_t> counts;
    RegressionInfo<Real>* info = fit_with_classes<Real>(ref, class_values, counts);
    ASSERT_NE(info, nullptr);
    const size_t n = size_t(ref.n()), q = size_t(ref.values.at("shape")[1]), rows = n + q;
    std::vector<Real> data;
    for (size_t i = 0; i < rows; ++i) {
        const bool fitted = i < n;
        data.push_back(Real(fitted ? ref.values.at("class")[i] : ref.values.at("new_class")[i - n]));
        data.push_back(Real(fitted ? ref.values.at("x")[i] : ref.values.at("new_x")[i - n]));
        data.push_back(fitted ? Real(ref.values.at("y")[i]) : std::numeric_limits<Real>::quiet_NaN());
    }
    const int64_t indcl[] = {1}, nvef[] = {1, 1}, indef[] = {1, 2};
    const GlmModel<Real> glm{1, indcl, counts.data(), class_values.data(), 2, nvef, indef, 2};
    const CaseFit<Real> fit{info->n_parameters, info->coefficients, info->R, info->n_parameters, info->df_error,
                            info->sscp_error[0]};
    std::vector<Real> table(rows * kCaseValues), wk(2 * size_t(info->n_parameters));
    int64_t nrmiss = 0;
    ErrorCapture capture;
    orvls_e1psh("case_analysis_test");
    orvls_r2ase<Real>(0, int64_t(rows), 3, data.data(), 3, 1, 1, &glm, 2, -1, -1, 95, 95, "N", 1, fit, table.data(),
                      kCaseValues, &nrmiss, wk.data());
    orvls_e1pop("case_analysis_test");
    EXPECT_EQ(last_outcome(), (Outcome{0, 0})) << capture.text();
    // Each new row lacks a response; the unknown class lacks the regressors.
    EXPECT_EQ(nrmiss, int64_t(q));
    for (const auto& [key, place] : kAllRows)
        EXPECT_LT(relative_difference(column(table, place, rows).data(), ref.values.at(key), rows), tolerance) << key;
    for (const auto& [key, place] : kFitRows) {
        const std::vector<Real> ours = column(table, place, rows);
        EXPECT_LT(relative_difference(ours.data(), ref.values.at(key), n), tolerance) << key;
        for (size_t i = n; i < rows; ++i)
            EXPECT_TRUE(std::isnan(ours[i])) << key << " " << i;
    }
    std::free(info);
}

TEST(CaseAnalysis, ClassRegressorsAgreeWithR)
{
    check_class_rows<double>(1e-9);
    check_class_rows<float>(2e-3);
}

// A fit with frequencies is the fit of repeated rows: each row's
// diagnostics are those of one copy, and frequencies do not enter them.
template <class Real>
void check_frequencies(double tolerance)
{
    const Fit ref = read_fits(kFrequencyReferences).at(0);
    const int64_t n = ref.n();
    std::vector<Real> x = ref.as<Real>("x"), y = ref.as<Real>("y"), f = ref.as<Real>("frequencies"),
                      w = ref.as<Real>("weights");
    RegressionInfo<Real>* info = nullptr;
    std::free(regression<Real>(n, 2, x.data(), y.data(), ORVLS_FREQUENCIES, f.data(), ORVLS_WEIGHTS, w.data(),
                               ORVLS_REGRESSION_INFO, &info, 0));
    ASSERT_NE(info, nullptr);
    const int64_t ld = 5;  // frequency, two regressors, weight, response
    std::vector<Real> data(size_t(n * ld));
    for (int64_t i = 0; i < n; ++i) {
        const size_t row = size_t(i * ld);
        data[row] = f[size_t(i)];
        data[row + 1] = x[size_t(2 * i)];
        data[row + 2] = x[size_t(2 * i + 1)];
        data[row + 3] = w[size_t(i)];
        data[row + 4] = y[size_t(i)];
    }
    const int64_t independent[] = {1, 2}, dependent[] = {4};
    std::vector<std::vector<Real>> out(11, std::vector<Real>(size_t(n)));
    Real* fitted = predict<Real>(
        info, n, data.data(), ORVLS_X_COL_DIM, ld, ORVLS_X_INDICES, independent, dependent, int64_t(0), int64_t(3),
        ORVLS_MEAN_LIMITS_USER, out[0].data(), out[1].data(), ORVLS_NEW_OBSERVATION_LIMITS_USER, out[2].data(),
        out[3].data(), ORVLS_LEVERAGE_USER, out[4].data(), ORVLS_RESIDUAL_USER, out[5].data(),
        ORVLS_STANDARDIZED_RESIDUAL_USER, out[6].data(), ORVLS_DELETED_RESIDUAL_USER, out[7].data(), ORVLS_COOKSD_USER,
        out[8].data(), ORVLS_DFFITS_USER, out[9].data(), ORVLS_RETURN_USER, out[10].data(), 0);
    ASSERT_EQ(fitted, out[10].data());
    const char* keys[] = {"mean_lower", "mean_upper", "new_lower", "new_upper", "leverage", "residual",
                          "standardized", "deleted", "cooksd", "dffits", "fitted"};
    for (size_t k = 0; k < 11; ++k)
        EXPECT_LT(relative_difference(out[k].data(), ref.values.at(keys[k]), size_t(n)), tolerance) << keys[k];
    std::free(info);
}

TEST(CaseAnalysis, FrequenciesActAsRepeatedRows)
{
    check_frequencies<double>(1e-9);
    check_frequencies<float>(2e-3);
}

// The line through y = 1 3 2 5 4 on x = 1..5 (3 degrees of freedom).
RegressionInfo<double>* line_fit()
{
    double x[] = {1, 2, 3, 4, 5}, y[] = {1, 3, 2, 5, 4};
    RegressionInfo<double>* info = nullptr;
    std::free(orvls_d_regression(5, 1, x, y, ORVLS_REGRESSION_INFO, &info, 0));
    return info;
}

// One row of (x, weight, response, prediction weight) through the case
// analysis under a name of its own, so that its outcome can be read.
struct RowOutcome {
    int64_t nrmiss;
    Outcome outcome;
};

RowOutcome analyse_row(const double (&row)[4], const GlmModel<double>* glm = nullptr)
{
    RegressionInfo<double>* info = line_fit();
    const CaseFit<double> fit{2, info->coefficients, info->R, 2, info->df_error, info->sscp_error[0]};
    double table[kCaseValues], wk[4];
    int64_t nrmiss = 0;
    orvls_e1psh("case_analysis_test");
    orvls_r2ase<double>(0, 1, 4, row, 4, 1, glm == nullptr ? -1 : 1, glm, 2, 1, 3, 95, 95, "N", 1, fit, table,
                        kCaseValues, &nrmiss, wk);
    orvls_e1pop("case_analysis_test");
    std::free(info);
    return {nrmiss, last_outcome()};
}

TEST(CaseAnalysis, StatisticsLeftOutAreCounted)
{
    const double none = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char* name;
        double row[4];
        int64_t nrmiss;
    } cases[] = {
        {"complete", {2, 1, 3, 1}, 0},
        {"no response", {2, 1, none, 1}, 1},
        // A missing weight stops the statistics and again the row.
        {"no weight", {2, none, 3, 1}, 2},
        {"no prediction weight", {2, 1, 3, none}, 1},
        {"weight 0", {2, 0, 3, 1}, 1},
    };
    for (const auto& c : cases) {
        ErrorCapture capture;
        const RowOutcome result = analyse_row(c.row);
        EXPECT_EQ(result.nrmiss, c.nrmiss) << c.name;
        EXPECT_EQ(result.outcome, (Outcome{0, 0})) << c.name << ": " << capture.text();
    }
}

TEST(CaseAnalysis, ErrorsAreRefusedWithTheirCodes)
{
    // Two effects of the one regressor column: two regressors for one slot.
    const int64_t nvef[] = {1, 1}, indef[] = {1, 1};
    const GlmModel<double> twice{0, nullptr, nullptr, nullptr, 2, nvef, indef, 1};
    const struct {
        const char* name;
        double row[4];
        const GlmModel<double>* glm;
        Outcome expected;
    } cases[] = {
        {"negative weight", {2, -1, 3, 1}, nullptr, {5, 11057}},
        {"prediction weight 0", {2, 1, 3, 0}, nullptr, {4, 20054}},
        {"negative prediction weight", {2, 1, 3, -2}, nullptr, {4, 20054}},
        {"regressors beyond the fit", {2, 1, 3, 1}, &twice, {5, 602}},
    };
    for (const auto& c : cases) {
        ErrorCapture capture;
        EXPECT_EQ(analyse_row(c.row, c.glm).outcome, c.expected) << c.name << ": " << capture.text();
    }
}

// A warning about a leverage above 1 or a negative deleted variance is
// withdrawn when no output asked for rests on it.
TEST(CaseAnalysis, WarningsOnlyWithTheOutputsTheyConcern)
{
    RegressionInfo<double>* info = line_fit();
    ASSERT_NE(info, nullptr);
    double x[] = {2}, y[] = {12}, out[1];
    const struct {
        const char* name;
        int option;
        Outcome expected;
    } cases[] = {
        {"deleted residual", ORVLS_DELETED_RESIDUAL_USER, {3, 20052}},
        {"DFFITS", ORVLS_DFFITS_USER, {3, 20052}},
        {"leverage", ORVLS_LEVERAGE_USER, {0, 0}},
        {"residual", ORVLS_RESIDUAL_USER, {0, 0}},
    };
    for (const auto& c : cases) {
        ErrorCapture capture;
        std::free(orvls_d_regression_prediction(info, 1, x, ORVLS_Y, y, c.option, out, 0));
        EXPECT_EQ(last_outcome(), c.expected) << c.name << ": " << capture.text();
    }
    std::free(info);
}

}  // namespace
