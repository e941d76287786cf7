// Regression prediction: fitted values of new or old rows with confidence,
// prediction and simultaneous limits, and the case diagnostics of rows
// whose responses are known.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <type_traits>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/tsd.h"
#include "kernels/girts.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/outputs.h"

namespace orvls::regression {

namespace {

template <class Real>
using Info = std::conditional_t<std::is_same_v<Real, float>, orvls_f_regression_info, orvls_d_regression_info>;

inline float t_inverse(float p, float df) { return orvls_f_t_inverse(p, df); }
inline double t_inverse(double p, double df) { return orvls_d_t_inverse(p, df); }
inline float f_inverse(float p, float df1, float df2) { return orvls_f_F_inverse_cdf(p, df1, df2); }
inline double f_inverse(double p, double df1, double df2) { return orvls_d_F_inverse_cdf(p, df1, df2); }

// The t quantiles of the last limits formed on this thread, with the
// degrees of freedom and the confidences they were formed for, so that a
// caller that predicts one row per call pays for them once.  A zeroed
// record (degrees of freedom 0) matches no request that needs a quantile.
template <class Real>
struct QuantileCache {
    Real dfe, confidence_mean, confidence_new, t_mean, t_new;
};

template <class Real>
using QuantileRecord = ThreadRecord<QuantileCache<Real>>;

// The t quantile at (confidence + 100) / 200 with dfe > 0 degrees of
// freedom, through the thread's cache; false when the record cannot be had.
template <class Real>
bool t_quantile(Real dfe, Real confidence, Real* quantile)
{
    QuantileCache<Real>* cache = QuantileRecord<Real>::get();
    if (cache == nullptr) {
        orvls_ermes(5, 200);
        return false;
    }
    if (cache->dfe != dfe || cache->confidence_mean != confidence || cache->confidence_new != confidence) {
        cache->t_mean = cache->t_new = t_inverse((confidence + 100) / 200, dfe);
        cache->dfe = dfe;
        cache->confidence_mean = cache->confidence_new = confidence;
    }
    *quantile = cache->t_mean;
    return true;
}

// Places of a row of the case table.
enum CasePlace : int64_t {
    kObserved = 0,
    kPredicted = 1,
    kResidual = 2,
    kLeverage = 3,
    kStandardized = 4,
    kDeleted = 5,
    kCooksD = 6,
    kDffits = 7,
    kMeanLower = 8,
    kMeanUpper = 9,
    kNewLower = 10,
    kNewUpper = 11,
    kScheffeLower = 12,
    kScheffeUpper = 13,
};
constexpr int64_t kCaseValues = 14;

// What every row shares: the fit of one dependent variable and the
// quantiles of the limits, computed once per call.
template <class Real>
struct CaseModel {
    int64_t p, intercept, rank;
    const Real *r, *b;
    Real dfe, sse, s2, t_quantile, scheffe_factor;
};

// Leverage, standardized and deleted residuals, Cook's distance and DFFITS
// of one row, from the regressors z, the residual e and the weight w.
// Statistics that cannot be formed stay NaN.
template <class Real>
void case_statistics(const CaseModel<Real>& model, const Real* z, Real* a, Real e, Real w, Real* row)
{
    const Real eps = machine_table<Real>(4);
    int64_t rank = 0;
    if (kernels::orvls_girts(model.p, model.r, model.p, int64_t(1), z, model.p, int64_t(kernels::kSolveTransposed),
                             std::sqrt(eps), &rank, a, model.p) != 0) {
        orvls_ermes(3, 20050);
        return;
    }
    Real h = 0;
    for (int64_t j = 0; j < model.p; ++j)
        h += a[j] * a[j];
    h *= w;
    if (!std::isnan(e) && h > 1 - 10 * eps) {
        if (h > 1 + 1000 * eps) {
            orvls_e1std(1, double(h));
            orvls_ermes(3, 20051);
        }
        h = 1;
    }
    row[kLeverage] = h;
    if (std::isnan(e) || model.dfe == 0 || w == 0 || h == 1)
        return;
    const Real u = (1 - h) / w;
    if (model.s2 == 0 || u == 0)
        return;
    row[kStandardized] = ratio(e, std::sqrt(model.s2 * u));
    row[kCooksD] = rank == 0 ? missing_value<Real>()
                             : (e * e * w * h / Real(rank)) / ((1 - h) * (1 - h) * model.s2);
    if (model.dfe == 1)
        return;
    const Real v = e * e / u;
    Real s2d = (model.sse - v) / (model.dfe - 1);
    const Real g = (v + model.sse) / (model.dfe - 1);
    if (s2d < 10 * eps * g) {
        if (s2d < -1000 * eps * g) {
            orvls_e1std(1, double(s2d));
            orvls_ermes(3, 20052);
        }
        s2d = 0;
    }
    row[kDeleted] = ratio(e, std::sqrt(s2d * u));
    row[kDffits] = ratio(std::sqrt(h * w) * e, std::sqrt(s2d) * (1 - h));
}

// Confidence, prediction and simultaneous limits of one row, once its
// prediction and leverage are known.
template <class Real>
void case_limits(const CaseModel<Real>& model, Real w, Real* row)
{
    const Real fitted = row[kPredicted], h = row[kLeverage];
    if (std::isnan(w) || w == 0 || std::isnan(fitted) || std::isnan(model.s2) || std::isnan(h))
        return;
    const Real m = model.s2 * h / w;
    const Real mean_half = model.t_quantile * std::sqrt(m);
    const Real new_half = model.t_quantile * std::sqrt(model.s2 / w + m);
    const Real scheffe_half = std::sqrt(model.s2 * h * model.scheffe_factor);
    row[kMeanLower] = fitted - mean_half;
    row[kMeanUpper] = fitted + mean_half;
    row[kNewLower] = fitted - new_half;
    row[kNewUpper] = fitted + new_half;
    row[kScheffeLower] = fitted - scheffe_half;
    row[kScheffeUpper] = fitted + scheffe_half;
}

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

    Real regressor(const Real* x, int64_t i, int64_t j) const
    {
        return x[i * x_col_dim + (independent_columns != nullptr ? independent_columns[j] : j)];
    }
    Real weight(const Real* x, int64_t i) const
    {
        if (weights != nullptr)
            return weights[i];
        return weight_column >= 0 ? x[i * x_col_dim + weight_column] : Real(1);
    }
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

// False when the quantile cache cannot be had.
template <class Real>
bool case_model(const Info<Real>& info, Real confidence, int64_t index, CaseModel<Real>& model)
{
    const int64_t p = info.n_parameters;
    model = CaseModel<Real>{p, info.intercept, info.rank, info.R, info.coefficients + index * p, info.df_error,
                          info.sscp_error[index + index * info.n_dependent], 0, 0, 0};
    model.s2 = model.dfe > 0 ? model.sse / model.dfe : missing_value<Real>();
    if (!(model.dfe > 0)) {
        model.t_quantile = model.scheffe_factor = missing_value<Real>();
    } else if (confidence == 0) {  // both quantiles are 0 there, outside the inverses' domain
        model.t_quantile = model.scheffe_factor = 0;
    } else {
        if (!t_quantile(model.dfe, confidence, &model.t_quantile))
            return false;
        model.scheffe_factor = info.rank > 0 ? Real(info.rank) * f_inverse(confidence / 100, Real(info.rank), model.dfe)
                                             : missing_value<Real>();
    }
    return true;
}

// The case table, one row of kCaseValues per case; false when a negative
// weight stops it (11057).
template <class Real>
bool case_table(const CaseModel<Real>& model, int64_t n_predict, const Real* x, const PredictionSettings<Real>& s,
                Real* z, Real* a, Real* table)
{
    const int64_t m = model.p - model.intercept;
    for (int64_t i = 0; i < n_predict; ++i) {
        Real* row = table + i * kCaseValues;
        std::fill(row, row + kCaseValues, missing_value<Real>());
        const Real w = s.weight(x, i);
        if (w < 0) {
            orvls_e1sti(1, i);
            orvls_e1std(1, double(w));
            orvls_ermes(5, 11057);
            return false;
        }
        if (model.intercept)
            z[0] = 1;
        for (int64_t j = 0; j < m; ++j)
            z[model.intercept + j] = s.regressor(x, i, j);
        Real fitted = 0;
        bool missing = std::isnan(w);
        for (int64_t j = 0; j < model.p; ++j) {
            missing = missing || std::isnan(z[j]);
            fitted += z[j] * model.b[j];
        }
        row[kObserved] = s.response(i);
        if (missing)
            continue;
        row[kPredicted] = fitted;
        row[kResidual] = row[kObserved] - fitted;
        case_statistics(model, z, a, row[kResidual], w, row);
        if (is_fatal(orvls_n1rty(0)))
            return false;
        case_limits(model, w, row);
    }
    return true;
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
        {&s.new_limits.upper, kNewUpper},
        {&s.scheffe_limits.lower, kScheffeLower},
        {&s.scheffe_limits.upper, kScheffeUpper}};
    for (const auto& [output, place] : columns) {
        if (!output->wanted())
            continue;
        for (int64_t i = 0; i < n; ++i)
            output->data()[i] = table[i * kCaseValues + place];
        output->hand_over();
    }
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
    const int64_t p = info->n_parameters;
    WorkArray<Real> table(static_cast<std::size_t>(n_predict * kCaseValues)), work(static_cast<std::size_t>(2 * p));
    if (!table.ok() || !work.ok()) {
        orvls_e1sti(1, n_predict);
        orvls_e1stl(1, "n_predict");
        orvls_ermes(5, 201);
        return nullptr;
    }
    if (!allocate_outputs(s, fitted, n_predict))
        return nullptr;
    CaseModel<Real> model;
    if (!case_model(*info, s.confidence, s.dependent_index, model) ||
        !case_table(model, n_predict, x, s, work.get(), work.get() + p, table.get()))
        return nullptr;
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
