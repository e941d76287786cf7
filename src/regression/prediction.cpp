// Regression prediction: fitted values of new or old rows with confidence,
// prediction and simultaneous limits, and the case diagnostics of rows
// whose responses are known.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <type_traits>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/error_block.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"
#include "regression/case_analysis.h"
#include "regression/inference.h"
#include "regression/outputs.h"

namespace orvls::regression {

namespace {

template <class Real>
using Info = std::conditional_t<std::is_same_v<Real, float>, orvls_f_regression_info, orvls_d_regression_info>;

inline float f_inverse(float p, float df1, float df2) { return orvls_f_F_inverse_cdf(p, df1, df2); }
inline double f_inverse(double p, double df1, double df2) { return orvls_d_F_inverse_cdf(p, df1, df2); }

// A pair of arrays given by one option: the lower and the upper limits.
template <class Real>
struct LimitOutputs {
    Output<Real> lower, upper;
    bool wanted() const { return lower.wanted(); }
};

template <class Real>
struct PredictionSettings {
    Real confidence = 95;
    Output<Real> cooksd, deleted, dffits, leverage, residual, standardized;
    LimitOutputs<Real> new_limits, mean_limits, scheffe_limits;
    Real* return_user = nullptr;
    const Real* weights = nullptr;
    const Real* y = nullptr;
    int64_t x_col_dim = -1, y_col_dim = 1, dependent_index = 0;
    // ORVLS_X_INDICES: every datum lies in x.
    bool x_indices = false;
    const int64_t* independent_columns = nullptr;
    const int64_t* dependent_columns = nullptr;
    int64_t frequency_column = -1, weight_column = -1;
    // The response of row i is y[i * y_row + y_offset]; none without y.
    int64_t y_row = 0, y_offset = 0;

    Real response(int64_t i) const { return y != nullptr ? y[i * y_row + y_offset] : missing_value<Real>(); }
};

template <class Real>
void read_limits(OptionReader& options, LimitOutputs<Real>& limits, bool allocated, const char* argument,
                 const char* option)
{
    read_output(options, limits.lower, allocated, argument, option);
    read_output(options, limits.upper, allocated, argument, option);
}

template <class Real>
void read_prediction_options(OptionReader& options, PredictionSettings<Real>& s)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_CONFIDENCE: s.confidence = static_cast<Real>(options.real()); break;
        case ORVLS_CONFIDENCE_ADR: s.confidence = options.real_address<Real>(); break;
        case ORVLS_COOKSD: read_output(options, s.cooksd, true, "cooksd", "ORVLS_COOKSD"); break;
        case ORVLS_COOKSD_USER: read_output(options, s.cooksd, false, "cooksd", "ORVLS_COOKSD_USER"); break;
        case ORVLS_DELETED_RESIDUAL:
            read_output(options, s.deleted, true, "deleted_residual", "ORVLS_DELETED_RESIDUAL");
            break;
        case ORVLS_DELETED_RESIDUAL_USER:
            read_output(options, s.deleted, false, "deleted_residual", "ORVLS_DELETED_RESIDUAL_USER");
            break;
        case ORVLS_DFFITS: read_output(options, s.dffits, true, "dffits", "ORVLS_DFFITS"); break;
        case ORVLS_DFFITS_USER: read_output(options, s.dffits, false, "dffits", "ORVLS_DFFITS_USER"); break;
        case ORVLS_LEVERAGE: read_output(options, s.leverage, true, "leverage", "ORVLS_LEVERAGE"); break;
        case ORVLS_LEVERAGE_USER: read_output(options, s.leverage, false, "leverage", "ORVLS_LEVERAGE_USER"); break;
        case ORVLS_NEW_OBSERVATION_LIMITS:
            read_limits(options, s.new_limits, true, "new_observation_limits", "ORVLS_NEW_OBSERVATION_LIMITS");
            break;
        case ORVLS_NEW_OBSERVATION_LIMITS_USER:
            read_limits(options, s.new_limits, false, "new_observation_limits",
                        "ORVLS_NEW_OBSERVATION_LIMITS_USER");
            break;
        case ORVLS_MEAN_LIMITS: read_limits(options, s.mean_limits, true, "mean_limits", "ORVLS_MEAN_LIMITS"); break;
        case ORVLS_MEAN_LIMITS_USER:
            read_limits(options, s.mean_limits, false, "mean_limits", "ORVLS_MEAN_LIMITS_USER");
            break;
        case ORVLS_RESIDUAL: read_output(options, s.residual, true, "residual", "ORVLS_RESIDUAL"); break;
        case ORVLS_RESIDUAL_USER: read_output(options, s.residual, false, "residual", "ORVLS_RESIDUAL_USER"); break;
        case ORVLS_RETURN_USER:
            s.return_user = non_null_pointer<Real*>(options, "fitted", "ORVLS_RETURN_USER");
            break;
        case ORVLS_SCHEFFE_LIMITS:
            read_limits(options, s.scheffe_limits, true, "scheffe_limits", "ORVLS_SCHEFFE_LIMITS");
            break;
        case ORVLS_SCHEFFE_LIMITS_USER:
            read_limits(options, s.scheffe_limits, false, "scheffe_limits", "ORVLS_SCHEFFE_LIMITS_USER");
            break;
        case ORVLS_STANDARDIZED_RESIDUAL:
            read_output(options, s.standardized, true, "standardized_residual", "ORVLS_STANDARDIZED_RESIDUAL");
            break;
        case ORVLS_STANDARDIZED_RESIDUAL_USER:
            read_output(options, s.standardized, false, "standardized_residual",
                        "ORVLS_STANDARDIZED_RESIDUAL_USER");
            break;
        case ORVLS_WEIGHTS: s.weights = non_null_pointer<const Real*>(options, "weights", "ORVLS_WEIGHTS"); break;
        case ORVLS_X_COL_DIM: s.x_col_dim = options.integer(); break;
        case ORVLS_Y: s.y = non_null_pointer<const Real*>(options, "y", "ORVLS_Y"); break;
        case ORVLS_Y_COL_DIM: s.y_col_dim = options.integer(); break;
        case ORVLS_DEPENDENT_INDEX: s.dependent_index = options.integer(); break;
        case ORVLS_X_INDICES:
            s.x_indices = true;
            s.independent_columns = non_null_pointer<const int64_t*>(options, "indices_independent",
                                                                     "ORVLS_X_INDICES");
            s.dependent_columns = non_null_pointer<const int64_t*>(options, "indices_dependent", "ORVLS_X_INDICES");
            s.frequency_column = options.integer();
            s.weight_column = options.integer();
            break;
        default: options.unknown(code); break;
        }
    }
}

// The first requested diagnostic that needs the responses, or null.
template <class Real>
const char* diagnostic_needing_response(const PredictionSettings<Real>& s)
{
    const std::pair<const Output<Real>*, const char*> diagnostics[] = {
        {&s.residual, "ORVLS_RESIDUAL"}, {&s.standardized, "ORVLS_STANDARDIZED_RESIDUAL"},
        {&s.deleted, "ORVLS_DELETED_RESIDUAL"}, {&s.cooksd, "ORVLS_COOKSD"}, {&s.dffits, "ORVLS_DFFITS"}};
    for (const auto& [output, name] : diagnostics)
        if (output->wanted())
            return name;
    return nullptr;
}

bool refuse_index(int64_t code, int64_t n_dependent, int64_t index)
{
    orvls_e1sti(1, index);
    orvls_e1sti(2, n_dependent);
    orvls_ermes(5, code);
    return false;
}

template <class Real>
bool check_dependent_index(const Info<Real>& info, const PredictionSettings<Real>& s)
{
    const int64_t index = s.dependent_index;
    if (s.y != nullptr && s.x_indices) {
        orvls_ermes(5, 20697);
        return false;
    }
    if (s.y != nullptr && (index < 0 || index >= s.y_col_dim))
        return refuse_index(20694, info.n_dependent, index);
    if (index < 0 || index >= info.n_dependent)
        return refuse_index(20693, info.n_dependent, index);
    if (s.x_indices && s.dependent_columns[0] >= 0 &&
        (s.dependent_columns[index] < 0 || s.dependent_columns[index] >= s.x_col_dim))
        return refuse_index(20695, info.n_dependent, index);
    return true;
}

// Without ORVLS_X_INDICES: the responses come with ORVLS_Y, if at all.
template <class Real>
bool check_responses(PredictionSettings<Real>& s)
{
    const char* needs_response = diagnostic_needing_response(s);
    if (s.y == nullptr && needs_response != nullptr) {
        orvls_e1stl(1, needs_response);
        orvls_ermes(5, 20220);
        return false;
    }
    s.y_row = s.y_col_dim;
    s.y_offset = s.dependent_index;
    return true;
}

bool refuse_column(int64_t code, int64_t column, int64_t x_col_dim)
{
    orvls_e1sti(1, column);
    orvls_e1sti(2, x_col_dim);
    orvls_ermes(5, code);
    return false;
}

// With ORVLS_X_INDICES: every column named lies in a row of x, and the
// responses are the dependent column, if there is one.
template <class Real>
bool check_data_columns(int64_t m, PredictionSettings<Real>& s, const Real* x)
{
    for (int64_t j = 0; j < m; ++j) {
        const int64_t column = s.independent_columns[j];
        if (column < 0 || column >= s.x_col_dim) {
            orvls_e1sti(1, j + 1);
            orvls_e1sti(2, column);
            orvls_e1sti(3, s.x_col_dim);
            orvls_e1stl(1, "indices_independent");
            orvls_e1stl(2, "n_independent");
            orvls_ermes(5, 20053);
            return false;
        }
    }
    if (s.frequency_column >= s.x_col_dim)
        return refuse_column(20467, s.frequency_column, s.x_col_dim);
    if (s.weight_column >= s.x_col_dim)
        return refuse_column(20468, s.weight_column, s.x_col_dim);
    const char* needs_response = diagnostic_needing_response(s);
    if (s.dependent_columns[0] < 0) {
        if (needs_response != nullptr) {
            orvls_e1stl(1, needs_response);
            orvls_ermes(5, 20696);
            return false;
        }
        return true;
    }
    s.y = x;
    s.y_row = s.x_col_dim;
    s.y_offset = s.dependent_columns[s.dependent_index];
    return true;
}

template <class Real>
bool check_prediction(int64_t n_predict, const Info<Real>& info, PredictionSettings<Real>& s, const Real* x)
{
    int64_t checks = 0;
    orvls_check_range(n_predict, "n_predict", 1, 0, &checks);
    check_confidence(double(s.confidence));
    if (info.intercept != 0 && info.intercept != 1) {
        orvls_e1sti(1, info.intercept);
        orvls_ermes(5, 20300);
    }
    if (info.n_parameters < 1) {
        orvls_e1sti(1, info.n_parameters);
        orvls_ermes(5, 20301);
    }
    if (is_fatal(orvls_n1rty(0)))
        return false;
    const int64_t m = info.n_parameters - info.intercept;
    if (s.x_col_dim < 0)
        s.x_col_dim = m;
    if (!orvls_check_col_dim(s.x_col_dim, "x_col_dim", m, "regression_info->n_independent"))
        return false;
    return check_dependent_index(info, s) && (s.x_indices ? check_data_columns(m, s, x) : check_responses(s));
}

// The fit of the chosen dependent variable.
template <class Real>
CaseFit<Real> case_fit(const Info<Real>& info, int64_t index)
{
    const int64_t p = info.n_parameters;
    return CaseFit<Real>{p, info.coefficients + index * p, info.R, p, info.df_error,
                         info.sscp_error[index + index * info.n_dependent]};
}

// The case table of rows whose data lie in separate arrays: each row goes
// to the case analysis alone, in a scratch row of its regressors, its
// weight and its response.
template <class Real>
void separate_rows(const CaseFit<Real>& fit, int64_t intercept, int64_t n_predict, const Real* x,
                   const PredictionSettings<Real>& s, Real* scratch, Real* wk, Real* table)
{
    const int64_t m = fit.ncoef - intercept;
    const int64_t weight = s.weights != nullptr ? m : -1, response = s.y != nullptr ? m + 1 : -1;
    int64_t missing = 0;
    for (int64_t i = 0; i < n_predict && !is_fatal(orvls_n1rty(0)); ++i) {
        std::copy(x + i * s.x_col_dim, x + i * s.x_col_dim + m, scratch);
        scratch[m] = s.weights != nullptr ? s.weights[i] : Real(0);
        scratch[m + 1] = s.response(i);
        orvls_r2ase(i == 0 ? int64_t(1) : int64_t(2), int64_t(1), m + 2, scratch, m + 2, intercept, -m,
                    static_cast<const GlmModel<Real>*>(nullptr), response, weight, int64_t(-1), s.confidence,
                    s.confidence, "N", i + 1, fit, table + i * kCaseValues, kCaseValues, &missing, wk);
    }
}

// The case table of rows that hold all their data: one call for all rows,
// each regressor an effect of its own column.
template <class Real>
void rows_in_x(const CaseFit<Real>& fit, int64_t intercept, int64_t n_predict, const Real* x,
               const PredictionSettings<Real>& s, int64_t* effects, Real* wk, Real* table)
{
    const int64_t m = fit.ncoef - intercept;
    for (int64_t j = 0; j < m; ++j) {
        effects[j] = 1;
        effects[m + j] = s.independent_columns[j] + 1;
    }
    const GlmModel<Real> glm{0, nullptr, nullptr, nullptr, m, effects, effects + m, 1};
    const int64_t response = s.dependent_columns[0] >= 0 ? s.dependent_columns[s.dependent_index] : -1;
    int64_t missing = 0;
    orvls_r2ase(int64_t(0), n_predict, s.x_col_dim, x, s.x_col_dim, intercept, int64_t(1), &glm, response,
                s.weight_column, int64_t(-1), s.confidence, s.confidence, "N", int64_t(1), fit, table, kCaseValues,
                &missing, wk);
}

// Simultaneous limits: half width sqrt(s2 h F rank), F the quantile of
// the confidence with rank and dfe degrees of freedom.
template <class Real>
void scheffe_limits(const Info<Real>& info, const CaseFit<Real>& fit, Real confidence, int64_t n, const Real* table,
                    Real* lower, Real* upper)
{
    const Real none = missing_value<Real>();
    Real factor = none;
    if (fit.dfe > 0 && info.rank > 0)
        factor = confidence == 0 ? Real(0) : Real(info.rank) * f_inverse(confidence / 100, Real(info.rank), fit.dfe);
    const Real s2 = fit.dfe > 0 ? fit.sse / fit.dfe : none;
    for (int64_t i = 0; i < n; ++i) {
        const Real fitted = table[i * kCaseValues + kPredicted];
        const Real half = std::sqrt(s2 * table[i * kCaseValues + kLeverage] * factor);
        lower[i] = fitted - half;
        upper[i] = fitted + half;
    }
}

// Warnings about leverages above 1 and negative deleted variances concern
// only the outputs built on them: without those they are withdrawn.
template <class Real>
void withdraw_unused_warnings(const PredictionSettings<Real>& s)
{
    const ErrorStackEntry& error = current_error();
    const bool deleted_wanted = s.deleted.wanted() || s.dffits.wanted();
    const bool leverage_wanted =
        deleted_wanted || s.leverage.wanted() || s.standardized.wanted() || s.cooksd.wanted();
    if (error.type == 3 && ((error.code == 20051 && !leverage_wanted) || (error.code == 20052 && !deleted_wanted)))
        withdraw_current_error();
}

template <class Real>
bool allocate_outputs(PredictionSettings<Real>& s, Output<Real>& fitted, int64_t n)
{
    bool ok = fitted.allocate_for(n);
    for (Output<Real>* output : {&s.cooksd, &s.deleted, &s.dffits, &s.leverage, &s.residual, &s.standardized,
                                 &s.new_limits.lower, &s.new_limits.upper, &s.mean_limits.lower,
                                 &s.mean_limits.upper, &s.scheffe_limits.lower, &s.scheffe_limits.upper})
        ok = ok && output->allocate_for(n);
    if (!ok) {
        orvls_e1sti(1, n);
        orvls_e1stl(1, "n_predict");
        orvls_ermes(5, 201);
    }
    return ok;
}

template <class Real>
void deliver(PredictionSettings<Real>& s, Output<Real>& fitted, const Real* table, int64_t n)
{
    const std::pair<Output<Real>*, int64_t> columns[] = {
        {&fitted, kPredicted},
        {&s.residual, kResidual},
        {&s.leverage, kLeverage},
        {&s.standardized, kStandardized},
        {&s.deleted, kDeleted},
        {&s.cooksd, kCooksD},
        {&s.dffits, kDffits},
        {&s.mean_limits.lower, kMeanLower},
        {&s.mean_limits.upper, kMeanUpper},
        {&s.new_limits.lower, kNewLower},
        {&s.new_limits.upper, kNewUpper}};
    for (const auto& [output, place] : columns) {
        if (!output->wanted())
            continue;
        for (int64_t i = 0; i < n; ++i)
            output->data()[i] = table[i * kCaseValues + place];
        output->hand_over();
    }
    s.scheffe_limits.lower.hand_over();
    s.scheffe_limits.upper.hand_over();
}

template <class Real>
Real* regression_prediction(const Info<Real>* info, int64_t n_predict, const Real* x, OptionReader& options)
{
    PredictionSettings<Real> s;
    read_prediction_options(options, s);
    if (orvls_n1rty(0) > 0)
        return nullptr;
    if (info == nullptr || x == nullptr) {
        orvls_e1stl(1, info == nullptr ? "regression_info" : "x");
        orvls_e1stl(2, "regression_prediction");
        orvls_ermes(5, 104);
        return nullptr;
    }
    if (!check_prediction<Real>(n_predict, *info, s, x))
        return nullptr;
    Real* fitted_values = nullptr;
    Output<Real> fitted;
    if (s.return_user != nullptr)
        fitted.user = s.return_user;
    else
        fitted.address = &fitted_values;
    const int64_t p = info->n_parameters, m = p - info->intercept;
    WorkArray<Real> table(static_cast<std::size_t>(n_predict * kCaseValues)), work(static_cast<std::size_t>(3 * p + 2));
    WorkArray<int64_t> effects(static_cast<std::size_t>(s.x_indices ? 2 * m : 0));
    if (!table.ok() || !work.ok() || !effects.ok()) {
        orvls_e1sti(1, n_predict);
        orvls_e1stl(1, "n_predict");
        orvls_ermes(5, 201);
        return nullptr;
    }
    if (!allocate_outputs(s, fitted, n_predict))
        return nullptr;
    const CaseFit<Real> fit = case_fit<Real>(*info, s.dependent_index);
    if (s.x_indices)
        rows_in_x(fit, info->intercept, n_predict, x, s, effects.get(), work.get(), table.get());
    else
        separate_rows(fit, info->intercept, n_predict, x, s, work.get() + 2 * p, work.get(), table.get());
    if (is_fatal(orvls_n1rty(0)))
        return nullptr;
    if (s.scheffe_limits.wanted())
        scheffe_limits(*info, fit, s.confidence, n_predict, table.get(), s.scheffe_limits.lower.data(),
                       s.scheffe_limits.upper.data());
    withdraw_unused_warnings(s);
    deliver(s, fitted, table.get(), n_predict);
    return s.return_user != nullptr ? s.return_user : fitted_values;
}

template <class Real>
Real* prediction_entry(const char* name, const Info<Real>* info, int64_t n_predict, const Real* x, va_list ap)
{
    OptionReader options(ap, 3);
    return envelope<Real*>(name, nullptr, [&] { return regression_prediction<Real>(info, n_predict, x, options); });
}

}  // namespace

}  // namespace orvls::regression

extern "C" {

ORVLS_API float* orvls_f_regression_prediction(const orvls_f_regression_info* regression_info, int64_t n_predict,
                                               const float* x, ...)
{
    va_list ap;
    va_start(ap, x);
    float* result =
        orvls::regression::prediction_entry<float>("orvls_f_regression_prediction", regression_info, n_predict, x, ap);
    va_end(ap);
    return result;
}

ORVLS_API double* orvls_d_regression_prediction(const orvls_d_regression_info* regression_info, int64_t n_predict,
                                                const double* x, ...)
{
    va_list ap;
    va_start(ap, x);
    double* result = orvls::regression::prediction_entry<double>("orvls_d_regression_prediction", regression_info,
                                                                 n_predict, x, ap);
    va_end(ap);
    return result;
}

}  // extern "C"
