// Forecasts of a network for new rows, by the trainer's forward pass.
#include <cstdarg>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/options.h"
#include "neural/evaluator.h"

namespace orvls::neural {

namespace {

template <class Real>
struct Settings {
    Real* user_result = nullptr;
    int64_t result_col_dim = -1;  // -1: the output count
    int64_t categorical_col_dim;
    int64_t continuous_col_dim;
};

template <class Real>
void read_options(OptionReader& options, Settings<Real>& s)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_RETURN_USER:
            s.user_result = options.pointer<Real*>();
            refuse_null_user(s.user_result, "forecasts", "ORVLS_RETURN_USER");
            break;
        case ORVLS_RETURN_COL_DIM: s.result_col_dim = options.integer(); break;
        case ORVLS_CATEGORICAL_COL_DIM: s.categorical_col_dim = options.integer(); break;
        case ORVLS_CONTINUOUS_COL_DIM: s.continuous_col_dim = options.integer(); break;
        default: options.unknown(code);
        }
    }
}

template <class Real>
bool check_arguments(const Net<Real>& net, const Observations<Real>& data, const Settings<Real>& s)
{
    int64_t checks = 0;
    orvls_check_range(data.n_observations, "n_observations", 1, 0, &checks);
    orvls_check_range(data.n_categorical, "n_categorical", 0, -1, &checks);
    orvls_check_range(data.n_continuous, "n_continuous", 0, -1, &checks);
    if (orvls_n1rty(0) > 0)
        return false;
    if (data.n_categorical + data.n_continuous != input_count<Real>(net)) {
        orvls_e1sti(1, data.n_categorical + data.n_continuous);
        orvls_e1sti(2, input_count<Real>(net));
        orvls_ermes(5, 40085);
    }
    orvls_check_col_dim(s.categorical_col_dim, "ORVLS_CATEGORICAL_COL_DIM", data.n_categorical, "n_categorical");
    orvls_check_col_dim(s.continuous_col_dim, "ORVLS_CONTINUOUS_COL_DIM", data.n_continuous, "n_continuous");
    orvls_check_col_dim(s.result_col_dim, "ORVLS_RETURN_COL_DIM", output_count<Real>(net), "n_outputs");
    if (data.n_categorical > 0 && data.categorical == nullptr) {
        orvls_e1stl(1, "categorical");
        orvls_ermes(5, 150);
    }
    if (data.n_continuous > 0 && data.continuous == nullptr) {
        orvls_e1stl(1, "continuous");
        orvls_ermes(5, 150);
    }
    return orvls_n1rty(0) == 0;
}

template <class Real>
Real* forecast(const Net<Real>* net, Observations<Real>& data, OptionReader& options)
{
    Settings<Real> s{nullptr, -1, data.n_categorical, data.n_continuous};
    read_options(options, s);
    if (orvls_n1rty(0) > 0 || refuse_null_network(net, "ff_net"))
        return nullptr;
    if (s.result_col_dim < 0)
        s.result_col_dim = output_count<Real>(*net);
    if (!check_arguments(*net, data, s))
        return nullptr;
    data.categorical_col_dim = s.categorical_col_dim;
    data.continuous_col_dim = s.continuous_col_dim;
    FlatNetwork flat(*net);
    if (!flatten<Real>(*net, flat) || !check_activations(flat))
        return nullptr;
    Evaluator<Real> evaluator(flat, data);
    WorkArray<Real> weights(static_cast<std::size_t>(flat.n_weights));
    const int64_t cells = (data.n_observations - 1) * s.result_col_dim + flat.n_outputs;
    WorkArray<Real> owned;
    if (s.user_result == nullptr)
        owned.reset(static_cast<std::size_t>(cells));
    if (!evaluator.ready())
        return nullptr;
    if (!weights.ok() || (s.user_result == nullptr && !owned.ok())) {
        orvls_ermes(5, 200);
        return nullptr;
    }
    gather_weights<Real>(*net, flat, weights.get());
    Real* result = s.user_result != nullptr ? s.user_result : owned.get();
    for (int64_t i = 0; i < data.n_observations; ++i) {
        evaluator.forecast(i, weights.get());
        for (int64_t j = 0; j < flat.n_outputs; ++j)
            result[i * s.result_col_dim + j] = evaluator.outputs()[j];
    }
    owned.release();
    return result;
}

template <class Real>
Real* forecast_entry(const Net<Real>* net, int64_t n_observations, int64_t n_categorical, int64_t n_continuous,
                     const int64_t* categorical, const Real* continuous, va_list ap)
{
    OptionReader options(ap, 6);
    Observations<Real> data(n_observations, n_categorical, n_continuous, categorical, continuous, nullptr);
    return envelope<Real*>(public_name<Real>("orvls_f_mlff_network_forecast", "orvls_d_mlff_network_forecast"),
                           nullptr, [&] { return forecast<Real>(net, data, options); });
}

}  // namespace

}  // namespace orvls::neural

using namespace orvls::neural;

extern "C" {

ORVLS_API float* orvls_f_mlff_network_forecast(const orvls_f_ff_net* ff_net, int64_t n_observations,
                                               int64_t n_categorical, int64_t n_continuous,
                                               const int64_t* categorical, const float* continuous, ...)
{
    va_list ap;
    va_start(ap, continuous);
    float* result =
        forecast_entry<float>(ff_net, n_observations, n_categorical, n_continuous, categorical, continuous, ap);
    va_end(ap);
    return result;
}

ORVLS_API double* orvls_d_mlff_network_forecast(const orvls_d_ff_net* ff_net, int64_t n_observations,
                                                int64_t n_categorical, int64_t n_continuous,
                                                const int64_t* categorical, const double* continuous, ...)
{
    va_list ap;
    va_start(ap, continuous);
    double* result =
        forecast_entry<double>(ff_net, n_observations, n_categorical, n_continuous, categorical, continuous, ap);
    va_end(ap);
    return result;
}

}  // extern "C"
