// Stepwise regression: removals and entries by p-values on a swept matrix
// of cross-products, ranked by levels, all at once or one step per call
// with the state kept per thread.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <limits>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/tsd.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/report_text.h"
#include "regression/sscp.h"

namespace orvls::regression {

namespace {

enum StatisticColumn : int64_t { kCoefficient = 0, kStandardError = 1, kT = 2, kP = 3 };

// The search between calls: the swept matrix and its original, the side of
// each variable (scale > 0: in the model), the levels, the statistics rows
// and the step number.
template <class Real>
struct StepwiseState {
    int64_t active;
    int64_t m, step, direction, n_force;
    Real n_obs, y_mean, enter, remove, tolerance;
    Real* storage;
    Real *matrix, *original, *scale, *statistics, *history;
    int64_t* levels;

    void release()
    {
        std::free(storage);
        std::free(levels);
        storage = nullptr;
        levels = nullptr;
        active = 0;
    }
    static void destroy(void* value)
    {
        if (value == nullptr)
            return;
        static_cast<StepwiseState*>(value)->release();
        std::free(value);
    }
    bool open(int64_t n_candidate)
    {
        m = n_candidate;
        const int64_t t = (m + 1) * (m + 2) / 2;
        storage = allocate<Real>(static_cast<std::size_t>(2 * t + 6 * m + 1 + m + 1));
        levels = allocate<int64_t>(static_cast<std::size_t>(m + 1));
        if (storage == nullptr || levels == nullptr) {
            release();
            return false;
        }
        matrix = storage;
        original = matrix + t;
        scale = original + t;
        statistics = scale + m;
        history = statistics + 4 * m;
        active = 1;
        step = 0;
        return true;
    }
    Real rss() const { return std::max(Real(0), matrix[packed(m, m)]); }
    int64_t n_in() const { return std::count_if(scale, scale + m, [](Real s) { return s > 0; }); }
    Real df_error() const { return n_obs - 1 - Real(n_in()); }
};

template <class Real>
using StepwiseRecord = ThreadRecord<StepwiseState<Real>>;

template <class Real>
struct Output {
    Real** address = nullptr;
    Real* user = nullptr;
    void read(OptionReader& options, bool allocated, const char* argument, const char* option)
    {
        if (allocated)
            address = non_null_pointer<Real**>(options, argument, option);
        else
            user = non_null_pointer<Real*>(options, argument, option);
    }
    bool wanted() const { return address != nullptr || user != nullptr; }
};

template <class Real>
struct StepwiseSettings {
    int64_t direction = -1, invoke = 0, n_steps = -1, n_force = 0, x_col_dim = -1;
    bool n_steps_given = false;
    Real enter = Real(0.05), remove = Real(0.10), tolerance = 100 * machine_table<Real>(4);
    bool cov_input = false;
    int64_t cov_observations = 0;
    const Real* covariances = nullptr;
    const int64_t* levels = nullptr;
    const Real* frequencies = nullptr;
    const Real* weights = nullptr;
    Output<Real> anova, t_tests, vif, sweep_out, history;
    char** print_text = nullptr;
    bool print_stdout = false;
    int print_targets = 0;
};

template <class Real>
void read_stepwise_options(OptionReader& options, StepwiseSettings<Real>& s)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_BACKWARD: s.direction = -1; break;
        case ORVLS_FORWARD: s.direction = 1; break;
        case ORVLS_STEPWISE: s.direction = 0; break;
        case ORVLS_ALL_STEPS: s.invoke = 0; break;
        case ORVLS_FIRST_STEP: s.invoke = 1; break;
        case ORVLS_INTERMEDIATE_STEP: s.invoke = 2; break;
        case ORVLS_LAST_STEP: s.invoke = 3; break;
        case ORVLS_N_STEPS:
            s.n_steps = options.integer();
            s.n_steps_given = true;
            break;
        case ORVLS_ENTER_PVALUE: s.enter = static_cast<Real>(options.real()); break;
        case ORVLS_ENTER_PVALUE_ADR: s.enter = options.real_address<Real>(); break;
        case ORVLS_REMOVE_PVALUE: s.remove = static_cast<Real>(options.real()); break;
        case ORVLS_REMOVE_PVALUE_ADR: s.remove = options.real_address<Real>(); break;
        case ORVLS_TOLERANCE: s.tolerance = static_cast<Real>(options.real()); break;
        case ORVLS_TOLERANCE_ADR: s.tolerance = options.real_address<Real>(); break;
        case ORVLS_N_FORCE: s.n_force = options.integer(); break;
        case ORVLS_COV_INPUT:
            s.cov_input = true;
            s.cov_observations = options.integer();
            s.covariances = non_null_pointer<const Real*>(options, "covariances", "ORVLS_COV_INPUT");
            break;
        case ORVLS_LEVELS: s.levels = non_null_pointer<const int64_t*>(options, "levels", "ORVLS_LEVELS"); break;
        case ORVLS_FREQUENCIES:
            s.frequencies = non_null_pointer<const Real*>(options, "frequencies", "ORVLS_FREQUENCIES");
            break;
        case ORVLS_WEIGHTS: s.weights = non_null_pointer<const Real*>(options, "weights", "ORVLS_WEIGHTS"); break;
        case ORVLS_X_COL_DIM: s.x_col_dim = options.integer(); break;
        case ORVLS_ANOVA_TABLE: s.anova.read(options, true, "anova_table", "ORVLS_ANOVA_TABLE"); break;
        case ORVLS_ANOVA_TABLE_USER: s.anova.read(options, false, "anova_table", "ORVLS_ANOVA_TABLE_USER"); break;
        case ORVLS_COEF_T_TESTS: s.t_tests.read(options, true, "coef_t_tests", "ORVLS_COEF_T_TESTS"); break;
        case ORVLS_COEF_T_TESTS_USER: s.t_tests.read(options, false, "coef_t_tests", "ORVLS_COEF_T_TESTS_USER"); break;
        case ORVLS_COEF_VIF: s.vif.read(options, true, "coef_vif", "ORVLS_COEF_VIF"); break;
        case ORVLS_COEF_VIF_USER: s.vif.read(options, false, "coef_vif", "ORVLS_COEF_VIF_USER"); break;
        case ORVLS_SWEEP_OUT: s.sweep_out.read(options, true, "sweep_out", "ORVLS_SWEEP_OUT"); break;
        case ORVLS_SWEEP_OUT_USER: s.sweep_out.read(options, false, "sweep_out", "ORVLS_SWEEP_OUT_USER"); break;
        case ORVLS_SWEEP_HISTORY: s.history.read(options, true, "sweep_history", "ORVLS_SWEEP_HISTORY"); break;
        case ORVLS_SWEEP_HISTORY_USER:
            s.history.read(options, false, "sweep_history", "ORVLS_SWEEP_HISTORY_USER");
            break;
        case ORVLS_PRINT_TO_TEXT:
            s.print_text = non_null_pointer<char**>(options, "text", "ORVLS_PRINT_TO_TEXT");
            ++s.print_targets;
            break;
        case ORVLS_PRINT_TO_STDOUT:
            s.print_stdout = true;
            ++s.print_targets;
            break;
        default: options.unknown(code);
        }
    }
    if (s.print_targets > 1)
        orvls_ermes(5, 20749);
    if (s.invoke != 0 && !s.n_steps_given)
        s.n_steps = 1;
}

template <class Real>
void check_stepwise_arguments(int64_t n_rows, int64_t m, const StepwiseSettings<Real>& s)
{
    int64_t checks = 0;
    orvls_check_range(m, "n_candidate", 1, -1, &checks);
    if (!s.cov_input)
        orvls_check_range(n_rows, "n_rows", 1, -1, &checks);
    else
        orvls_check_range(s.cov_observations, "n_observations", 2, -1, &checks);
    orvls_check_col_dim(s.x_col_dim, "x_col_dim", m, "n_candidate");
    if (!(s.tolerance >= 0 && s.tolerance <= 1)) {
        orvls_e1std(1, s.tolerance);
        orvls_ermes(5, 11050);
    }
    for (int64_t j = 0; s.levels != nullptr && j <= m; ++j) {
        const int64_t level = s.levels[j];
        const bool response = j == m;
        if (level < -1 || (level == -1) != response) {
            orvls_e1sti(1, j);
            orvls_e1sti(2, level);
            orvls_ermes(5, level < -1 ? 20062 : 20063);
        }
    }
}

// The statistics of every candidate: for one in the model its coefficient
// test, for one out the test it would have on entering, with one degree of
// freedom less.  A pivot not above the tolerance leaves NaN.
template <class Real>
void update_statistics(StepwiseState<Real>& st)
{
    const int64_t m = st.m;
    const Real rss = st.rss(), df = st.df_error();
    for (int64_t j = 0; j < m; ++j) {
        const Real pivot = st.matrix[packed(j, j)], cross = st.matrix[packed(j, m)];
        Real b, se, dfe;
        if (st.scale[j] > 0) {
            dfe = df;
            b = cross;
            const Real variance = -pivot * ratio(rss, dfe);
            se = variance >= 0 ? std::sqrt(variance) : missing_value<Real>();
        } else if (pivot > st.tolerance * st.original[packed(j, j)]) {
            dfe = df - 1;
            b = cross / pivot;
            const Real rss_in = std::max(Real(0), rss - cross * cross / pivot);
            se = std::sqrt(ratio(rss_in, dfe) / pivot);
        } else {
            dfe = std::max(df - 1, Real(0));
            b = se = missing_value<Real>();
        }
        Real row[4];
        orvls_rcoef(1, &b, &se, std::max(dfe, Real(0)), row, 1);
        for (int64_t c = 0; c < 4; ++c)
            st.statistics[j * 4 + c] = row[c];
    }
}

// Among the variables on one side at one level with a statistic, the one
// with the extreme |t|; the first found wins a tie.  -1 when none.
template <class Real>
int64_t extreme_t(const StepwiseState<Real>& st, bool in_model, int64_t level, bool largest)
{
    int64_t chosen = -1;
    Real best = 0;
    for (int64_t j = 0; j < st.m; ++j) {
        const Real t = std::abs(st.statistics[j * 4 + kT]);
        if ((st.scale[j] > 0) != in_model || st.levels[j] != level || std::isnan(t))
            continue;
        if (chosen < 0 || (largest ? t > best : t < best)) {
            chosen = j;
            best = t;
        }
    }
    return chosen;
}

// The largest level in the model, or the smallest out of it; 0 when none.
template <class Real>
int64_t side_level(const StepwiseState<Real>& st, bool in_model)
{
    int64_t level = 0;
    for (int64_t j = 0; j < st.m; ++j)
        if ((st.scale[j] > 0) == in_model && st.levels[j] > 0)
            level = level == 0 ? st.levels[j]
                               : (in_model ? std::max(level, st.levels[j]) : std::min(level, st.levels[j]));
    return level;
}

template <class Real>
void move(StepwiseState<Real>& st, int64_t j, bool enter)
{
    sweep_packed(st.m + 1, st.matrix, j, enter);
    st.scale[j] = enter ? Real(1) : Real(-1);
    st.history[j] = enter ? Real(st.step) : -Real(st.step);
}

// One step: a removal, else an entry.  False when nothing moved.
template <class Real>
bool take_step(StepwiseState<Real>& st)
{
    ++st.step;
    const int64_t max_level = side_level(st, true), min_level = side_level(st, false);
    bool removed = false, entered = false;
    if (st.direction <= 0 && max_level > 0 && !(st.n_force > 0 && max_level <= st.n_force)) {
        const int64_t j = extreme_t(st, true, max_level, false);
        if (j >= 0 && st.statistics[j * 4 + kP] > st.remove) {
            move(st, j, false);
            removed = true;
        }
    }
    if ((!removed && min_level > 0) || (st.direction == 1 && min_level > 0)) {
        const int64_t j = extreme_t(st, false, min_level, true);
        if (j >= 0 && st.statistics[j * 4 + kP] < st.enter) {
            move(st, j, true);
            entered = true;
        }
    }
    if (!removed && !entered) {
        --st.step;
        return false;
    }
    update_statistics(st);
    return true;
}

// The state of a new search: cross-products, levels, and the model to
// start from, every candidate with a level for backward elimination.
template <class Real>
bool start_search(StepwiseState<Real>& st, int64_t n_rows, int64_t m, const Real* x, const Real* y,
                  const StepwiseSettings<Real>& s)
{
    if (!st.open(m)) {
        orvls_e1sti(1, m);
        orvls_e1stl(1, "n_candidate");
        orvls_ermes(5, 201);
        return false;
    }
    WorkArray<Real> means(static_cast<std::size_t>(m + 1));
    if (!means.ok()) {
        st.release();
        orvls_e1sti(1, m);
        orvls_e1stl(1, "n_candidate");
        orvls_ermes(5, 201);
        return false;
    }
    st.n_obs = cross_products(n_rows, m, x, s.x_col_dim, y, s.frequencies, s.weights, s.cov_input,
                              s.cov_observations, s.covariances, means.get(), st.original);
    st.y_mean = means[static_cast<std::size_t>(m)];
    std::copy(st.original, st.original + (m + 1) * (m + 2) / 2, st.matrix);
    for (int64_t j = 0; j <= m; ++j)
        st.levels[j] = s.levels != nullptr ? s.levels[j] : (j < m ? 1 : -1);
    st.direction = s.direction;
    st.n_force = s.n_force;
    st.enter = s.enter;
    st.remove = s.remove;
    st.tolerance = s.tolerance;
    for (int64_t j = 0; j < m; ++j) {
        st.scale[j] = -1;
        st.history[j] = 0;
        if (s.direction == -1 && st.levels[j] > 0 &&
            st.matrix[packed(j, j)] > st.tolerance * st.original[packed(j, j)]) {
            sweep_packed(m + 1, st.matrix, j, true);
            st.scale[j] = 1;
        }
    }
    update_statistics(st);
    return true;
}

template <class Real>
void fill_results(const StepwiseState<Real>& st, Real* anova, Real* vif, Real* full)
{
    const int64_t m = st.m;
    if (anova != nullptr) {
        const Real total = st.original[packed(m, m)], rss = st.rss();
        orvls_g1aov(Real(st.n_in()), std::max(Real(0), total - rss), st.df_error(), rss, st.y_mean, anova);
    }
    for (int64_t j = 0; vif != nullptr && j < m; ++j)
        vif[j] = st.scale[j] > 0 ? -st.matrix[packed(j, j)] * st.original[packed(j, j)] : missing_value<Real>();
    for (int64_t a = 0; full != nullptr && a <= m; ++a)
        for (int64_t b = 0; b <= m; ++b)
            full[a * (m + 1) + b] = st.matrix[packed(a, b)];
}

// Hands the results over: allocated ones only when all could be had.
template <class Real>
bool deliver(const StepwiseState<Real>& st, StepwiseSettings<Real>& s)
{
    const int64_t m = st.m;
    Output<Real>* outputs[] = {&s.anova, &s.t_tests, &s.vif, &s.sweep_out, &s.history};
    const int64_t sizes[] = {kAnovaValues, 4 * m, m, (m + 1) * (m + 1), m};
    Real* places[5] = {};
    bool ok = true;
    for (int i = 0; i < 5; ++i) {
        if (outputs[i]->user != nullptr)
            places[i] = outputs[i]->user;
        else if (outputs[i]->address != nullptr)
            ok = ok && (places[i] = allocate<Real>(static_cast<std::size_t>(sizes[i]))) != nullptr;
    }
    if (!ok) {
        for (int i = 0; i < 5; ++i)
            if (outputs[i]->user == nullptr)
                std::free(places[i]);
        orvls_e1sti(1, m);
        orvls_e1stl(1, "n_candidate");
        orvls_ermes(5, 201);
        return false;
    }
    fill_results(st, places[0], places[2], places[3]);
    if (places[1] != nullptr)
        std::copy(st.statistics, st.statistics + 4 * m, places[1]);
    if (places[4] != nullptr)
        std::copy(st.history, st.history + m, places[4]);
    for (int i = 0; i < 5; ++i)
        if (outputs[i]->address != nullptr && outputs[i]->user == nullptr)
            *outputs[i]->address = places[i];
    return true;
}

// The summary of the search so far: each candidate moved, with the step
// that last moved it, entries for a forward search, removals otherwise.
template <class Real>
char* summary_text(const StepwiseState<Real>& st)
{
    const char* heading = st.direction == 1   ? " * * * Forward Selection Summary * * *\n"
                          : st.direction == 0 ? " * * * Forward Stepwise Selection Summary * * *\n"
                                              : " * * * Backward Elimination Summary * * *\n";
    const bool entries = st.direction >= 0;
    char* text = nullptr;
    std::size_t length = 0;
    bool ok = append(text, length, "%s", heading) &&
              append(text, length, "%s",
                     entries ? "         Variable    Step Entered\n" : "         Variable    Step Removed\n");
    for (int64_t j = 0; ok && j < st.m; ++j)
        if (entries ? st.history[j] > 0 : st.history[j] < 0)
            ok = append(text, length, "       %10ld    %10ld\n", static_cast<long>(j),
                        static_cast<long>(std::abs(st.history[j])));
    return text;
}

template <class Real>
void stepwise(int64_t n_rows, int64_t m, const Real* x, const Real* y, OptionReader& options)
{
    StepwiseSettings<Real> s;
    read_stepwise_options(options, s);
    if (orvls_n1rty(0) > 0)
        return;
    if (s.x_col_dim < 0)
        s.x_col_dim = m;
    check_stepwise_arguments(n_rows, m, s);
    if (orvls_n1rty(0) > 0)
        return;
    StepwiseState<Real>* st = StepwiseRecord<Real>::get();
    if (st == nullptr) {
        orvls_ermes(5, 200);
        return;
    }
    if (s.invoke >= 2 && !st->active) {
        orvls_ermes(4, 20064);
        return;
    }
    if (s.invoke <= 1) {
        st->release();
        if (!start_search(*st, n_rows, m, x, y, s))
            return;
    }
    for (int64_t taken = 0; (s.n_steps < 0 || taken < s.n_steps) && take_step(*st); ++taken) {
    }
    bool ok = deliver(*st, s);
    if (ok && (s.print_text != nullptr || s.print_stdout)) {
        char* text = summary_text(*st);
        if (text == nullptr) {
            orvls_e1sti(1, m);
            orvls_e1stl(1, "n_candidate");
            orvls_ermes(5, 201);
            ok = false;
        }
        deliver_report(text, s.print_text, s.print_stdout);
    }
    // A fatal error anywhere, a nested routine's too, ends the search.
    const int64_t type = orvls_n1rty(0);
    if (!ok || (type >= 4 && type != 6) || s.invoke == 0 || s.invoke == 3)
        st->release();
}

template <class Real>
void stepwise_entry(const char* name, int64_t n_rows, int64_t n_candidate, const Real* x, const Real* y, va_list ap)
{
    OptionReader options(ap, 4);
    envelope(name, [&] { stepwise(n_rows, n_candidate, x, y, options); });
}

}  // namespace

}  // namespace orvls::regression

extern "C" {

ORVLS_API void orvls_f_regression_stepwise(int64_t n_rows, int64_t n_candidate, float* x, float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    orvls::regression::stepwise_entry("orvls_f_regression_stepwise", n_rows, n_candidate, x, y, ap);
    va_end(ap);
}

ORVLS_API void orvls_d_regression_stepwise(int64_t n_rows, int64_t n_candidate, double* x, double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    orvls::regression::stepwise_entry("orvls_d_regression_stepwise", n_rows, n_candidate, x, y, ap);
    va_end(ap);
}

}  // extern "C"
