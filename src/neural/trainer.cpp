// Training of a feed-forward network in two stages: Stage I minimises the
// error on random subsets from randomly shifted starts and keeps the best
// epoch; Stage II minimises on all observations from there.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "frame/checks.h"
#include "frame/error_block.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/report_printer.h"
#include "neural/evaluator.h"

namespace orvls::neural {

namespace {

template <class Real>
struct Settings {
    bool stage_i_given = false;
    int64_t n_epochs = 15;
    int64_t epoch_size;
    bool stage_ii = true;
    int64_t max_itn = 1000;
    int64_t max_fcn = 400;
    Real max_step = 1000;
    Real rfcn_tol;
    Real grad_tol;
    Real tolerance = Real(0.1);
    bool print = false;
    Real** weights = nullptr;
    Real* weights_user = nullptr;
    Real** gradient = nullptr;
    Real* gradient_user = nullptr;
    Real** forecasts = nullptr;
    Real* forecasts_user = nullptr;
    Real** residuals = nullptr;
    Real* residuals_user = nullptr;
    Real* statistics_user = nullptr;

    explicit Settings(int64_t n_observations) : epoch_size(n_observations)
    {
        const double eps = machine_table<Real>(4);
        rfcn_tol = static_cast<Real>(std::max(sizeof(Real) == sizeof(float) ? 1e-10 : 1e-20, std::pow(eps, 2.0 / 3)));
        grad_tol = static_cast<Real>(std::cbrt(eps));
    }
};

template <class Real>
void read_options(OptionReader& options, Settings<Real>& s)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_STAGE_I:
            s.stage_i_given = true;
            s.n_epochs = options.integer();
            s.epoch_size = options.integer();
            break;
        case ORVLS_NO_STAGE_II: s.stage_ii = false; break;
        case ORVLS_MAX_ITN: s.max_itn = options.integer(); break;
        case ORVLS_MAX_FCN: s.max_fcn = options.integer(); break;
        case ORVLS_MAX_STEP: s.max_step = static_cast<Real>(options.real()); break;
        case ORVLS_MAX_STEP_ADR: s.max_step = options.real_address<Real>(); break;
        case ORVLS_REL_FCN_TOL: s.rfcn_tol = static_cast<Real>(options.real()); break;
        case ORVLS_REL_FCN_TOL_ADR: s.rfcn_tol = options.real_address<Real>(); break;
        case ORVLS_GRAD_TOL: s.grad_tol = static_cast<Real>(options.real()); break;
        case ORVLS_GRAD_TOL_ADR: s.grad_tol = options.real_address<Real>(); break;
        case ORVLS_TOLERANCE: s.tolerance = static_cast<Real>(options.real()); break;
        case ORVLS_TOLERANCE_ADR: s.tolerance = options.real_address<Real>(); break;
        case ORVLS_PRINT: s.print = true; break;
        case ORVLS_WEIGHTS: s.weights = non_null_pointer<Real**>(options, "weights", "ORVLS_WEIGHTS"); break;
        case ORVLS_WEIGHTS_USER:
            s.weights_user = non_null_pointer<Real*>(options, "weights", "ORVLS_WEIGHTS_USER");
            break;
        case ORVLS_GRADIENT: s.gradient = non_null_pointer<Real**>(options, "gradients", "ORVLS_GRADIENT"); break;
        case ORVLS_GRADIENT_USER:
            s.gradient_user = non_null_pointer<Real*>(options, "gradients", "ORVLS_GRADIENT_USER");
            break;
        case ORVLS_FORECASTS: s.forecasts = non_null_pointer<Real**>(options, "forecasts", "ORVLS_FORECASTS"); break;
        case ORVLS_FORECASTS_USER:
            s.forecasts_user = non_null_pointer<Real*>(options, "forecasts", "ORVLS_FORECASTS_USER");
            break;
        case ORVLS_RESIDUALS: s.residuals = non_null_pointer<Real**>(options, "residuals", "ORVLS_RESIDUALS"); break;
        case ORVLS_RESIDUALS_USER:
            s.residuals_user = non_null_pointer<Real*>(options, "residuals", "ORVLS_RESIDUALS_USER");
            break;
        case ORVLS_RETURN_USER:
            s.statistics_user = non_null_pointer<Real*>(options, "statistics", "ORVLS_RETURN_USER");
            break;
        default: options.unknown(code);
        }
    }
}

// 603 for a count below its limit; the limit goes in as integer 2 and real 2.
bool count_at_least(int64_t value, const char* name, int64_t limit)
{
    if (value >= limit)
        return true;
    orvls_e1stl(1, name);
    orvls_e1sti(1, value);
    orvls_e1sti(2, limit);
    orvls_e1std(2, static_cast<double>(limit));
    orvls_ermes(5, 603);
    return false;
}

// 608 for a real below 0 (the worker), or 603 for one not above 0 (the engine).
bool real_allowed(double value, const char* name, bool zero_allowed, int64_t code)
{
    if (value > 0 || (zero_allowed && value == 0))
        return true;
    orvls_e1stl(1, name);
    orvls_e1std(1, value);
    orvls_e1std(2, 0);
    orvls_e1sti(1, static_cast<int64_t>(value));
    orvls_e1sti(2, 0);
    orvls_ermes(5, code);
    return false;
}

template <class Real>
bool check_arguments(const Net<Real>& net, const Observations<Real>& data, const Settings<Real>& s)
{
    count_at_least(data.n_observations, "n_observations", 1);
    count_at_least(data.n_categorical, "n_categorical", 0);
    count_at_least(data.n_continuous, "n_continuous", 0);
    if (data.n_categorical + data.n_continuous != input_count<Real>(net)) {
        orvls_e1sti(1, data.n_categorical + data.n_continuous);
        orvls_e1sti(2, input_count<Real>(net));
        orvls_ermes(5, 40085);
    }
    if (s.stage_i_given) {
        count_at_least(s.n_epochs, "n_epochs", 0);
        count_at_least(s.epoch_size, "epoch_size", 0);
        if (s.epoch_size > data.n_observations) {
            orvls_e1stl(1, "epoch_size");
            orvls_e1sti(1, s.epoch_size);
            orvls_e1sti(2, data.n_observations);
            orvls_ermes(5, 603);
        }
    }
    real_allowed(s.max_step, "max_step", true, 608);
    count_at_least(s.max_itn, "max_itn", 1);
    count_at_least(s.max_fcn, "max_fcn", 1);
    real_allowed(s.rfcn_tol, "rfcn_tol", true, 608);
    real_allowed(s.grad_tol, "grad_tol", true, 608);
    real_allowed(s.tolerance, "tolerance", true, 608);
    const struct {
        bool missing;
        const char* name;
    } arrays[] = {{data.n_categorical > 0 && data.categorical == nullptr, "categorical"},
                  {data.n_continuous > 0 && data.continuous == nullptr, "continuous"},
                  {data.output == nullptr, "output"}};
    for (const auto& array : arrays)
        if (array.missing) {
            orvls_e1stl(1, array.name);
            orvls_ermes(5, 150);
        }
    return orvls_n1rty(0) == 0;
}

bool is_fatal(int64_t type) { return type >= 4 && type != 6; }

// The optimiser's notices about stopping: an epoch or a stage goes on after them.
void clear_stopping_notice()
{
    // Type 0 with code 0 and a blank text clears the level's error.
    constexpr int64_t kNone = 0;
    const int64_t code = orvls_n1rcode(0);
    for (int64_t notice : {50064, 50065, 20131, 20135, 50057, 50058, 20129})
        if (code == notice) {
            orvls_e1mes(kNone, kNone, " ");
            return;
        }
}

// The results of one call: the statistics and the arrays asked for, with
// the work vectors of the engine.
template <class Real>
struct Results {
    // What was made here, by kind; freed unless handed to the caller.
    enum Kind { kStatistics, kWeights, kGradient, kForecasts, kResiduals };
    Real* owned[5] = {};
    Results() = default;
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;
    ~Results()
    {
        for (Real* array : owned)
            std::free(array);
    }
    Real* release(Kind kind) { return std::exchange(owned[kind], nullptr); }

    Real* statistics = nullptr;
    Real* weights = nullptr;
    Real* gradient = nullptr;
    Real* forecasts = nullptr;
    Real* residuals = nullptr;
};

// The caller's array, or one made here (zeroed); null after raising 200.
template <class Real>
Real* result_array(Real* user, Real*& owned, int64_t n)
{
    if (user != nullptr)
        return user;
    owned = allocate<Real>(static_cast<std::size_t>(n));
    if (owned == nullptr) {
        orvls_ermes(5, 200);
        return nullptr;
    }
    std::fill(owned, owned + n, Real(0));
    return owned;
}

// ---------------------------------------------------------------- report

template <class Real>
void print_weights(const Real* w, int64_t n)
{
    ReportPrinter out;
    for (int64_t i = 0; i < n; ++i) {
        out.print("weight[%d] = %g \t", static_cast<int>(i), static_cast<double>(w[i]));
        if ((i + 1) % 4 == 0)
            out.print("\n");
    }
    out.print("\n");
}

template <class Real>
void print_parameters(const Settings<Real>& s)
{
    ReportPrinter out;
    out.print("\nTRAINING PARAMETERS:\n");
    out.print("  Stage II Opt.   = %d \n", s.stage_ii ? 1 : 0);
    out.print("  n_epochs        = %d \n", static_cast<int>(s.n_epochs));
    out.print("  epoch_size      = %d \n", static_cast<int>(s.epoch_size));
    out.print("  max_itn         = %d \n", static_cast<int>(s.max_itn));
    out.print("  max_fcn         = %d \n", static_cast<int>(s.max_fcn));
    out.print("  max_step        = %f \n", static_cast<double>(s.max_step));
    out.print("  rfcn_tol        = %g \n", static_cast<double>(s.rfcn_tol));
    out.print("  grad_tol        = %g \n", static_cast<double>(s.grad_tol));
    out.print("  tolerance       = %f \n", static_cast<double>(s.tolerance));
}

// ---------------------------------------------------------------- engine

// One minimisation by the library's optimiser over the evaluator's flagged
// rows: Stage I with the analytic gradient and its own limits, Stage II
// with the optimiser's differences.  False after a fatal error.
template <class Real>
bool minimise(Evaluator<Real>& evaluator, const Settings<Real>& s, bool stage_i, int64_t limit, double tolerance,
              const Real* start, Real* result, Real& f)
{
    const int64_t n = evaluator.n_weights();
    void* data = &evaluator;
    const double max_step = s.max_step;
    Real* r;
    if (stage_i) {
        auto fcn = l_ssCalculation<Real>;
        auto grad = l_gradCalculation<Real>;
        const int limit32 = static_cast<int>(limit);
        if constexpr (sizeof(Real) == sizeof(float))
            r = orvls_f_min_uncon_multivar(nullptr, n, ORVLS_FCN_W_DATA, fcn, data, ORVLS_XGUESS, start, ORVLS_FVALUE,
                                           &f, ORVLS_MAX_ITN, limit32, ORVLS_MAX_FCN, limit32, ORVLS_REL_FCN_TOL,
                                           tolerance, ORVLS_STEP_TOL, tolerance, ORVLS_MAX_STEP, max_step,
                                           ORVLS_GRAD_TOL, double(s.grad_tol), ORVLS_MAX_GRAD, limit32,
                                           ORVLS_GRAD_W_DATA, grad, data, ORVLS_RETURN_USER, result, 0);
        else
            r = orvls_d_min_uncon_multivar(nullptr, n, ORVLS_FCN_W_DATA, fcn, data, ORVLS_XGUESS, start, ORVLS_FVALUE,
                                           &f, ORVLS_MAX_ITN, limit32, ORVLS_MAX_FCN, limit32, ORVLS_REL_FCN_TOL,
                                           tolerance, ORVLS_STEP_TOL, tolerance, ORVLS_MAX_STEP, max_step,
                                           ORVLS_GRAD_TOL, double(s.grad_tol), ORVLS_MAX_GRAD, limit32,
                                           ORVLS_GRAD_W_DATA, grad, data, ORVLS_RETURN_USER, result, 0);
    } else {
        auto fcn = l_ssCalculation<Real>;
        const int itn = static_cast<int>(s.max_itn), fcn_limit = static_cast<int>(s.max_fcn);
        if constexpr (sizeof(Real) == sizeof(float))
            r = orvls_f_min_uncon_multivar(nullptr, n, ORVLS_FCN_W_DATA, fcn, data, ORVLS_XGUESS, start, ORVLS_FVALUE,
                                           &f, ORVLS_MAX_ITN, itn, ORVLS_MAX_FCN, fcn_limit, ORVLS_REL_FCN_TOL,
                                           tolerance, ORVLS_STEP_TOL, tolerance, ORVLS_MAX_STEP, max_step,
                                           ORVLS_RETURN_USER, result, 0);
        else
            r = orvls_d_min_uncon_multivar(nullptr, n, ORVLS_FCN_W_DATA, fcn, data, ORVLS_XGUESS, start, ORVLS_FVALUE,
                                           &f, ORVLS_MAX_ITN, itn, ORVLS_MAX_FCN, fcn_limit, ORVLS_REL_FCN_TOL,
                                           tolerance, ORVLS_STEP_TOL, tolerance, ORVLS_MAX_STEP, max_step,
                                           ORVLS_RETURN_USER, result, 0);
    }
    if (r == nullptr || is_fatal(orvls_n1rty(0)))
        return false;
    clear_stopping_notice();
    return true;
}

template <class Real>
bool engine_checks(const FlatNetwork& flat, const Observations<Real>& data, const Settings<Real>& s)
{
    if (!count_at_least(s.max_itn, "max_itn", 1) || !count_at_least(s.max_fcn, "max_fcn", 1) ||
        !real_allowed(s.max_step, "max_step", false, 603) || !real_allowed(s.rfcn_tol, "rfcn_tol", false, 603) ||
        !real_allowed(s.grad_tol, "grad_tol", false, 603) || !real_allowed(s.tolerance, "tolerance", true, 603))
        return false;
    for (int64_t p = 0; p < flat.n_perceptrons; ++p)
        if (flat.in_count[p] < 0 || flat.out_count[p] < 0) {
            orvls_e1stl(1, "inLinks");
            orvls_e1sti(1, flat.in_count[p]);
            orvls_e1stl(2, "outLinks");
            orvls_e1sti(2, flat.out_count[p]);
            orvls_e1sti(3, p);
            orvls_e1sti(4, 0);
            orvls_ermes(5, 40087);
            return false;
        }
    if (!check_activations(flat))
        return false;
    const bool trains = s.n_epochs != 0 || s.stage_ii;
    if (trains && (s.n_epochs < 1 || s.epoch_size < 0 || s.epoch_size > data.n_observations)) {
        orvls_e1sti(1, s.n_epochs);
        orvls_e1sti(2, data.n_observations);
        orvls_ermes(5, 40084);
        return false;
    }
    return true;
}

// Stage I: the best epoch's weights in `best`, its error over all rows
// returned in `error`.  False after a fatal error.
template <class Real>
bool stage_one(Evaluator<Real>& evaluator, const Settings<Real>& s, const Observations<Real>& data,
               const Real* initial, Real* best, Real* work, Real& error)
{
    const int64_t n = evaluator.n_weights();
    Real* start = work;
    Real* uniforms = work + n;
    Real* result = work + 2 * n;
    WorkArray<int64_t> indices(static_cast<std::size_t>(std::max<int64_t>(s.epoch_size, 1)));
    if (!indices.ok()) {
        orvls_ermes(5, 200);
        return false;
    }
    const bool both = s.stage_ii;
    const int64_t limit = both ? s.max_itn / 2 : s.max_itn;
    const double tolerance = both ? double(s.rfcn_tol) * 0.5 : double(s.rfcn_tol);
    Real best_error = machine_table<Real>(2) / 2;
    std::fill(best, best + n, Real(0));
    if (s.print)
        ReportPrinter().print("\nSTAGE I TRAINING STARTING \n");
    for (int64_t epoch = 1; epoch <= s.n_epochs; ++epoch) {
        if constexpr (sizeof(Real) == sizeof(float))
            orvls_f_random_uniform(n, ORVLS_RETURN_USER, uniforms, 0);
        else
            orvls_d_random_uniform(n, ORVLS_RETURN_USER, uniforms, 0);
        if (is_fatal(orvls_n1rty(0)))
            return false;
        for (int64_t i = 0; i < n; ++i)
            start[i] = initial[i] + uniforms[i] - Real(0.5);
        if (s.epoch_size > 0 && s.epoch_size < data.n_observations) {
            evaluator.flag_all(0);
            orvls_random_sample_indices(s.epoch_size, data.n_observations, ORVLS_RETURN_USER, indices.get(), 0);
            if (is_fatal(orvls_n1rty(0)))
                return false;
            for (int64_t k = 0; k < s.epoch_size; ++k)
                evaluator.flags()[indices[k] - 1] = 1;
        }
        evaluator.counter = 1;
        Real f = 0;
        if (!minimise(evaluator, s, true, limit, tolerance, start, result, f))
            return false;
        if (s.print)
            ReportPrinter().print("Stage I: Epoch %d - Epoch Error SS = %g (Iterations=%d)\n", static_cast<int>(epoch),
                                  static_cast<double>(f), static_cast<int>(evaluator.counter));
        if (f < best_error && f >= 0) {
            std::copy(result, result + n, best);
            best_error = f;
        }
        if (best_error < s.tolerance && f >= 0) {
            if (s.print)
                ReportPrinter().print("Stage I Training Converged at Epoch = %d \n", static_cast<int>(epoch));
            break;
        }
    }
    evaluator.flag_all(1);
    error = evaluator.error_sum(best);
    return true;
}

template <class Real>
void print_stage_one(const Real* weights, int64_t n, Real error)
{
    {
        ReportPrinter out;
        out.print("\n");
        out.print("\nSTAGE I FINAL ERROR SS = %f \n\n", static_cast<double>(error));
        out.print("OPTIMUM WEIGHTS AFTER STAGE I TRAINING: \n");
    }
    print_weights(weights, n);
}

template <class Real>
void print_gradient(const Real* g, const Real* w, int64_t n)
{
    ReportPrinter out;
    out.print("\n\nGRADIENT AT THE OPTIMUM WEIGHTS \n");
    for (int64_t i = 0; i < n; ++i)
        out.print("g[%d] = \t%f \t weight[%d] = \t%f \n", static_cast<int>(i), static_cast<double>(g[i]),
                  static_cast<int>(i), static_cast<double>(w[i]));
}

// Both stages, the forecasts, the residuals and the final gradient.  The
// weight vector holds the initial weights on entry and the final ones on
// return.  False when nothing was trained (or after a fatal error).
template <class Real>
bool l_mlff_training_engine(const FlatNetwork& flat, const Observations<Real>& data, const Settings<Real>& s,
                            Results<Real>& results)
{
    orvls_e1psh("l_mlff_training_engine");
    struct Pop {
        ~Pop() { orvls_e1pop("l_mlff_training_engine"); }
    } pop;
    if (!engine_checks(flat, data, s) || (s.n_epochs == 0 && !s.stage_ii))
        return false;
    Evaluator<Real> evaluator(flat, data);
    const int64_t n = flat.n_weights;
    WorkArray<Real> vectors(static_cast<std::size_t>(6 * n));
    if (!evaluator.ready())
        return false;
    if (!vectors.ok()) {
        orvls_e1stl(1, "n_weights");
        orvls_e1sti(1, n);
        orvls_ermes(5, 201);
        return false;
    }
    Real* weights = results.weights;
    Real* initial = vectors.get();
    Real* best = initial + n;
    Real* work = best + n;  // three vectors for Stage I, one for Stage II
    std::copy(weights, weights + n, initial);
    if (s.print)
        print_parameters(s);

    Real* statistics = results.statistics;
    Real error = 0;
    if (!stage_one(evaluator, s, data, initial, best, work, error))
        return false;
    statistics[0] = statistics[2] = error;
    statistics[1] = static_cast<Real>(evaluator.counter - 1);
    std::copy(best, best + n, weights);
    if (s.print)
        print_stage_one(weights, n, error);

    if (error <= s.tolerance || !s.stage_ii) {
        if (s.print) {
            ReportPrinter out;
            out.print("\nSTAGE I TRAINING CONVERGED\n");
            out.print("STAGE I ERROR SS = %f \n", static_cast<double>(error));
        }
    } else {
        if (s.print)
            ReportPrinter().print("\nSTAGE II TRAINING USING QUASI-NEWTON\n");
        evaluator.counter = 1;
        Real f = 0;
        if (!minimise(evaluator, s, false, s.max_itn, double(s.rfcn_tol), best, work, f))
            return false;
        statistics[3] = static_cast<Real>(evaluator.counter);
        statistics[4] = f;
        if (f < statistics[0]) {
            statistics[0] = f;
            std::copy(work, work + n, weights);
        }
        if (s.print) {
            ReportPrinter().print("\nSTAGE II FINAL ERROR SS = %f \n\nOPTIMUM WEIGHTS AFTER STAGE II TRAINING: \n",
                                  static_cast<double>(f));
            print_weights(work, n);
        }
    }

    const int64_t m = flat.n_outputs;
    for (int64_t i = 0; i < data.n_observations; ++i) {
        evaluator.forecast(i, weights);
        for (int64_t j = 0; j < m; ++j) {
            const Real forecast = evaluator.outputs()[j];
            if (results.forecasts != nullptr)
                results.forecasts[i * m + j] = forecast;
            if (results.residuals != nullptr)
                results.residuals[i * m + j] = forecast - data.output[i * m + j];
        }
    }
    evaluator.flag_all(1);
    evaluator.gradient(weights, results.gradient);
    if (s.print) {
        print_gradient(results.gradient, weights, n);
        ReportPrinter().print("\nTraining Completed \n\n");
    }
    return true;
}

// Weights, biases and their gradients back into the record.
template <class Real>
void write_back(Net<Real>& net, const FlatNetwork& flat, const Real* weights, const Real* gradient)
{
    for (int64_t i = 0; i < net.n_links; ++i) {
        net.links[i].weight = weights[i];
        net.links[i].gradient = gradient[i];
    }
    for (int64_t p = 0; p < flat.n_perceptrons; ++p) {
        Node<Real>& node = net.nodes[flat.n_inputs + p];
        node.bias = weights[net.n_links + p];
        node.gradient = gradient[net.n_links + p];
    }
}

template <class Real>
bool allocate_results(const FlatNetwork& flat, const Observations<Real>& data, const Settings<Real>& s,
                      Results<Real>& r)
{
    const int64_t cells = data.n_observations * flat.n_outputs;
    const bool want_forecasts = s.forecasts != nullptr || s.forecasts_user != nullptr;
    const bool want_residuals = s.residuals != nullptr || s.residuals_user != nullptr;
    // The gradient array made for the caller has room for every node and link.
    const int64_t gradient_length = s.gradient != nullptr ? flat.n_inputs + flat.n_perceptrons + flat.n_links
                                                          : flat.n_weights;
    using R = Results<Real>;
    r.statistics = result_array(s.statistics_user, r.owned[R::kStatistics], 5);
    r.weights = r.statistics ? result_array(s.weights_user, r.owned[R::kWeights], flat.n_weights) : nullptr;
    r.gradient = r.weights ? result_array(s.gradient_user, r.owned[R::kGradient], gradient_length) : nullptr;
    r.forecasts =
        r.gradient && want_forecasts ? result_array(s.forecasts_user, r.owned[R::kForecasts], cells) : nullptr;
    r.residuals =
        r.gradient && want_residuals ? result_array(s.residuals_user, r.owned[R::kResiduals], cells) : nullptr;
    if (r.statistics == nullptr || r.weights == nullptr || r.gradient == nullptr ||
        (want_forecasts && r.forecasts == nullptr) || (want_residuals && r.residuals == nullptr))
        return false;
    if (s.forecasts_user != nullptr)
        std::fill(r.forecasts, r.forecasts + cells, Real(0));
    if (s.residuals_user != nullptr)
        std::fill(r.residuals, r.residuals + cells, Real(0));
    const Real nan = missing_value<Real>();
    const Real start[5] = {nan, 0, nan, 0, nan};
    std::copy(start, start + 5, r.statistics);
    return true;
}

// The arrays asked for reach their pointers, whatever the outcome.
template <class Real>
void hand_over(const Settings<Real>& s, Results<Real>& r)
{
    using R = Results<Real>;
    if (s.weights != nullptr)
        *s.weights = r.release(R::kWeights);
    if (s.gradient != nullptr)
        *s.gradient = r.release(R::kGradient);
    if (s.forecasts != nullptr)
        *s.forecasts = r.release(R::kForecasts);
    if (s.residuals != nullptr)
        *s.residuals = r.release(R::kResiduals);
}

template <class Real>
Real* l_mlff_network_trainer(Net<Real>* net, const Observations<Real>& data, OptionReader& options)
{
    Settings<Real> s(data.n_observations);
    read_options(options, s);
    if (orvls_n1rty(0) > 0 || refuse_null_network(net, "ff_net") || !check_arguments(*net, data, s))
        return nullptr;
    FlatNetwork flat(*net);
    if (!flatten<Real>(*net, flat))
        return nullptr;
    Results<Real> results;
    if (allocate_results(flat, data, s, results)) {
        gather_weights<Real>(*net, flat, results.weights);
        const bool trained = l_mlff_training_engine(flat, data, s, results);
        if (trained && !is_fatal(orvls_n1rty(0)))
            write_back(*net, flat, results.weights, results.gradient);
    }
    hand_over(s, results);
    if (is_fatal(orvls_n1rty(0)))
        return nullptr;
    return s.statistics_user != nullptr ? s.statistics_user : results.release(Results<Real>::kStatistics);
}

template <class Real>
Real* trainer_entry(Net<Real>* net, int64_t n_observations, int64_t n_categorical, int64_t n_continuous,
                    const int64_t* categorical, const Real* continuous, const Real* output, va_list ap)
{
    OptionReader options(ap, 7);
    const Observations<Real> data(n_observations, n_categorical, n_continuous, categorical, continuous, output);
    return envelope<Real*>(public_name<Real>("orvls_f_mlff_network_trainer", "orvls_d_mlff_network_trainer"),
                           nullptr, [&] { return l_mlff_network_trainer<Real>(net, data, options); });
}

}  // namespace

}  // namespace orvls::neural

using namespace orvls::neural;

extern "C" {

ORVLS_API float* orvls_f_mlff_network_trainer(orvls_f_ff_net* ff_net, int64_t n_observations, int64_t n_categorical,
                                              int64_t n_continuous, const int64_t* categorical,
                                              const float* continuous, const float* output, ...)
{
    va_list ap;
    va_start(ap, output);
    float* result = trainer_entry<float>(ff_net, n_observations, n_categorical, n_continuous, categorical, continuous,
                                         output, ap);
    va_end(ap);
    return result;
}

ORVLS_API double* orvls_d_mlff_network_trainer(orvls_d_ff_net* ff_net, int64_t n_observations, int64_t n_categorical,
                                               int64_t n_continuous, const int64_t* categorical,
                                               const double* continuous, const double* output, ...)
{
    va_list ap;
    va_start(ap, output);
    double* result = trainer_entry<double>(ff_net, n_observations, n_categorical, n_continuous, categorical,
                                           continuous, output, ap);
    va_end(ap);
    return result;
}

}  // extern "C"
