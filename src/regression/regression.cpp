// Linear regression: the public routine, its option walk, the per-thread
// state of a sequence of calls, and the results it builds from the factor.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <limits>
#include <type_traits>

#include "basic/precision.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/safe_divide.h"
#include "frame/tsd.h"
#include "orvls.h"
#include "regression/inference.h"
#include "regression/outputs.h"
#include "regression/r2ivn.h"

namespace orvls::regression {

namespace {

template <class Real>
using Info = std::conditional_t<std::is_same_v<Real, float>, orvls_f_regression_info, orvls_d_regression_info>;

// Rows go to the kernel in blocks, so that the row flags and the sums that
// follow them need no memory proportional to the data.
constexpr int64_t kBlockRows = 256;

// The accumulation state of the thread's open sequence.  Every array lies in
// one block; the sums of y about their running mean serve the ANOVA table.
template <class Real>
struct RegressionSequence {
    int64_t active;
    int64_t n_rows_missing, rank, rows_taken;
    int64_t n_independent, n_dependent, intercept, centering;
    Real df_error, sum_weights;
    Real* storage;
    int64_t* row_missing;
    Real* means;  // the two-part running means of the columns
    Real *R, *D, *B, *sscp_error, *work, *x_min, *x_max;
    Real *x_sum, *y_sum, *y_min, *y_max, *y_deviation_squares, *y_squares;

    int64_t n_coef() const { return n_independent + intercept; }
    int64_t n_dep() const { return std::max<int64_t>(n_dependent, 1); }

    void release()
    {
        std::free(storage);
        std::free(row_missing);
        std::free(means);
        storage = nullptr;
        row_missing = nullptr;
        means = nullptr;
        active = 0;
    }
    static void destroy(void* value)
    {
        if (value == nullptr)
            return;
        static_cast<RegressionSequence*>(value)->release();
        std::free(value);
    }

    Factor<Real> factor()
    {
        Factor<Real> f{n_coef(), n_dependent, intercept, centering,      R,         n_coef(),        1,
                       B,        n_coef(),    D,          sscp_error, n_dep(), x_min, x_max, work, kRowsInFlight,
                       &df_error, &n_rows_missing};
        f.means = means;
        return f;
    }
};

template <class Real>
using SequenceRecord = ThreadRecord<RegressionSequence<Real>>;

// Allocates the arrays of a new sequence; false (202) when they cannot be had.
template <class Real>
bool open_sequence(RegressionSequence<Real>& s, int64_t n_independent, int64_t n_dependent, bool intercept,
                   bool centering)
{
    s.n_independent = n_independent;
    s.n_dependent = n_dependent;
    s.intercept = intercept;
    s.centering = intercept && centering;
    s.rows_taken = 0;
    s.sum_weights = 0;
    const int64_t p = s.n_coef(), q = s.n_dep();
    const std::size_t reals =
        static_cast<std::size_t>(p * p + p * q + q * q + kRowsInFlight * (p + q) + 3 * p + n_independent + 5 * q);
    s.storage = allocate<Real>(reals);
    s.row_missing = allocate<int64_t>(kBlockRows);
    s.means = allocate<Real>(static_cast<std::size_t>(2 * (p + q)));
    if (s.storage == nullptr || s.row_missing == nullptr || s.means == nullptr) {
        s.release();
        orvls_e1sti(1, n_independent);
        orvls_e1stl(1, "n_independent");
        orvls_e1sti(2, n_dependent);
        orvls_e1stl(2, "n_dependent");
        orvls_ermes(5, 202);
        return false;
    }
    Real* next = s.storage;
    auto take = [&next](int64_t n) {
        Real* part = next;
        next += n;
        return part;
    };
    s.R = take(p * p);
    s.B = take(p * q);
    s.sscp_error = take(q * q);
    s.work = take(kRowsInFlight * (p + q));
    s.D = take(p);
    s.x_min = take(p);
    s.x_max = take(p);
    s.x_sum = take(n_independent);
    s.y_sum = take(q);
    s.y_min = take(q);
    s.y_max = take(q);
    s.y_deviation_squares = take(q);
    s.y_squares = take(q);
    std::memset(s.storage, 0, reals * sizeof(Real));
    for (int64_t k = 0; k < q; ++k) {
        s.y_min[k] = std::numeric_limits<Real>::infinity();
        s.y_max[k] = -std::numeric_limits<Real>::infinity();
    }
    s.active = 1;
    return true;
}

template <class Real>
struct Settings {
    int64_t n_dependent = 1, ido = 0, sign = 1;
    bool intercept = true, centering = true;
    Real tolerance = 100 * machine_table<Real>(4);
    const Real* frequencies = nullptr;
    const Real* weights = nullptr;
    int64_t x_col_dim = -1, y_col_dim = -1, coef_cov_col_dim = -1;
    bool x_indices = false;
    const int64_t* independent_columns = nullptr;
    const int64_t* dependent_columns = nullptr;
    int64_t frequency_column = -1, weight_column = -1;
    Real* return_user = nullptr;
    Output<Real> anova, covariances, residual, x_mean, r, sscp_error;
    int64_t* rank = nullptr;
    Real* df_error = nullptr;
    int64_t* n_rows_missing = nullptr;
    Info<Real>** info = nullptr;
    int64_t user_arrays_refused = 0;

    bool final_call() const { return ido == 0 || ido == 3; }
};

template <class Real>
void read_options(OptionReader& options, Settings<Real>& s, ExclusiveOptions& data_columns)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_ANOVA_TABLE: read_output(options, s.anova, true, "anova_table", "ORVLS_ANOVA_TABLE"); break;
        case ORVLS_ANOVA_TABLE_USER:
            read_output(options, s.anova, false, "anova_table", "ORVLS_ANOVA_TABLE_USER");
            break;
        case ORVLS_COEF_COVARIANCES:
            read_output(options, s.covariances, true, "coef_covariances", "ORVLS_COEF_COVARIANCES");
            break;
        case ORVLS_COEF_COVARIANCES_USER:
            read_output(options, s.covariances, false, "coef_covariances", "ORVLS_COEF_COVARIANCES_USER");
            break;
        case ORVLS_COEF_COV_COL_DIM: s.coef_cov_col_dim = options.integer(); break;
        case ORVLS_FREQUENCIES:
            s.frequencies = non_null_pointer<const Real*>(options, "frequencies", "ORVLS_FREQUENCIES");
            data_columns.seen();
            break;
        case ORVLS_WEIGHTS:
            s.weights = non_null_pointer<const Real*>(options, "weights", "ORVLS_WEIGHTS");
            data_columns.seen();
            break;
        case ORVLS_INTERCEPT: s.intercept = true; break;
        case ORVLS_NO_INTERCEPT: s.intercept = false; break;
        case ORVLS_RANK: s.rank = non_null_pointer<int64_t*>(options, "rank", "ORVLS_RANK"); break;
        case ORVLS_REGRESSION_INFO:
            s.info = non_null_pointer<Info<Real>**>(options, "regression_info", "ORVLS_REGRESSION_INFO");
            break;
        case ORVLS_RESIDUAL: read_output(options, s.residual, true, "residual", "ORVLS_RESIDUAL"); break;
        case ORVLS_RESIDUAL_USER: read_output(options, s.residual, false, "residual", "ORVLS_RESIDUAL_USER"); break;
        case ORVLS_RETURN_USER: s.return_user = non_null_pointer<Real*>(options, "coefficients", "ORVLS_RETURN_USER"); break;
        case ORVLS_TOLERANCE: s.tolerance = static_cast<Real>(options.real()); break;
        case ORVLS_TOLERANCE_ADR: s.tolerance = options.real_address<Real>(); break;
        case ORVLS_X_COL_DIM: s.x_col_dim = options.integer(); break;
        case ORVLS_X_MEAN: read_output(options, s.x_mean, true, "x_mean", "ORVLS_X_MEAN"); break;
        case ORVLS_X_MEAN_USER: read_output(options, s.x_mean, false, "x_mean", "ORVLS_X_MEAN_USER"); break;
        case ORVLS_Y_COL_DIM: s.y_col_dim = options.integer(); break;
        case ORVLS_R: read_output(options, s.r, true, "R", "ORVLS_R"); break;
        case ORVLS_R_USER: read_output(options, s.r, false, "R", "ORVLS_R_USER"); break;
        case ORVLS_DF_ERROR: s.df_error = non_null_pointer<Real*>(options, "df_error", "ORVLS_DF_ERROR"); break;
        case ORVLS_N_ROWS_MISSING:
            s.n_rows_missing = non_null_pointer<int64_t*>(options, "n_rows_missing", "ORVLS_N_ROWS_MISSING");
            break;
        case ORVLS_IDO: s.ido = options.integer(); break;
        case ORVLS_ADD_OBSERVATIONS: s.sign = 1; break;
        case ORVLS_DELETE_OBSERVATIONS: s.sign = -1; break;
        case ORVLS_X_INDICES:
            s.x_indices = true;
            s.independent_columns = options.pointer<const int64_t*>();
            s.dependent_columns = options.pointer<const int64_t*>();
            s.frequency_column = options.integer();
            s.weight_column = options.integer();
            data_columns.seen();
            break;
        case ORVLS_NO_CENTERING: s.centering = false; break;
        case ORVLS_CENTERING: s.centering = true; break;
        case ORVLS_N_DEPENDENT: s.n_dependent = options.integer(); break;
        case ORVLS_SSCP_ERROR: read_output(options, s.sscp_error, true, "sscp_error", "ORVLS_SSCP_ERROR"); break;
        case ORVLS_SSCP_ERROR_USER:
            read_output(options, s.sscp_error, false, "sscp_error", "ORVLS_SSCP_ERROR_USER");
            break;
        default: options.unknown(code);
        }
    }
}

// The row lengths the caller left to their defaults.
template <class Real>
void default_row_lengths(Settings<Real>& s, int64_t n_independent)
{
    if (s.x_col_dim < 0)
        s.x_col_dim = s.x_indices ? n_independent + s.n_dependent + (s.frequency_column >= 0) +
                                        (s.weight_column >= 0)
                                  : n_independent;
    if (s.y_col_dim < 0)
        s.y_col_dim = std::max<int64_t>(1, s.n_dependent);
}

void report_with_int(int64_t code, int64_t value)
{
    orvls_e1sti(1, value);
    orvls_ermes(5, code);
}

void report_column(int64_t code, int64_t column, int64_t x_col_dim)
{
    orvls_e1sti(1, column);
    orvls_e1sti(2, x_col_dim);
    orvls_ermes(5, code);
}

template <class Real>
void check_data_columns(const Settings<Real>& s, int64_t n_independent)
{
    if (s.frequency_column >= s.x_col_dim)
        report_column(20467, s.frequency_column, s.x_col_dim);
    if (s.weight_column >= s.x_col_dim)
        report_column(20468, s.weight_column, s.x_col_dim);
    if (n_independent > 0)
        refuse_null_user(s.independent_columns, "indices_independent", "ORVLS_X_INDICES");
    if (s.n_dependent > 0)
        refuse_null_user(s.dependent_columns, "indices_dependent", "ORVLS_X_INDICES");
    if (orvls_n1rty(0) == 0)
        check_columns(s.x_col_dim, n_independent, s.independent_columns, s.n_dependent, s.dependent_columns, 0);
}

// Checks of the arguments and options, before the state or any memory is
// touched.
template <class Real>
void check_arguments(int64_t n_rows, int64_t n_independent, const Settings<Real>& s)
{
    int64_t checks = 0;
    orvls_check_range(n_independent, "n_independent", 0, -1, &checks);
    orvls_check_range(s.n_dependent, "n_dependent", 0, -1, &checks);
    orvls_check_range(s.ido, "ido", 0, 3, &checks);
    if (s.x_indices) {
        orvls_check_range(s.frequency_column, "ifrq", -1, -2, &checks);
        orvls_check_range(s.weight_column, "iwt", -1, -2, &checks);
    }
    if (s.ido == 0 && n_rows < 1)
        report_with_int(20463, n_rows);
    if (s.ido > 0 && n_rows < 0)
        report_with_int(20464, n_rows);
    if (s.ido != 0 && (s.anova.wanted() || s.residual.wanted()))
        orvls_ermes(5, 20690);
    if (s.coef_cov_col_dim >= 0 && !s.covariances.wanted())
        orvls_ermes(5, 11038);
    if (!(s.tolerance >= 0 && s.tolerance <= 1)) {
        orvls_e1std(1, s.tolerance);
        orvls_ermes(5, 11050);
    }
    if (s.x_indices) {
        check_data_columns(s, n_independent);
    } else {
        orvls_check_col_dim(s.x_col_dim, "x_col_dim", n_independent, "n_independent");
        orvls_check_col_dim(s.y_col_dim, "y_col_dim", s.n_dependent, "n_dependent");
    }
    if (s.coef_cov_col_dim >= 0)
        orvls_check_col_dim(s.coef_cov_col_dim, "coef_cov_col_dim", n_independent + s.intercept, "n_parameters");
}

// The order of calls: a sequence opens with ido 0 or 1 and continues with 2
// or 3, with the shape it opened with.
template <class Real>
void check_sequence(const RegressionSequence<Real>& seq, int64_t n_independent, const Settings<Real>& s)
{
    if (s.ido < 2 && seq.active) {
        orvls_e1sti(1, s.ido);
        orvls_ermes(4, 20692);
    } else if (s.ido >= 2 && !seq.active) {
        orvls_e1sti(1, s.ido);
        orvls_ermes(4, 20691);
    } else if (s.ido >= 2) {
        int64_t checks = 0;
        orvls_check_range(n_independent, "n_independent", seq.n_independent, seq.n_independent, &checks);
        orvls_check_range(s.n_dependent, "n_dependent", seq.n_dependent, seq.n_dependent, &checks);
    }
}

// Where the kernel and the later passes find the rows: x and y as the
// caller stores them, or x alone, by rows or transposed (column-major).
template <class Real>
RowSource<Real> row_source(const Settings<Real>& s, int64_t n_rows, const Real* x, const Real* y, bool transposed)
{
    RowSource<Real> rows;
    if (!s.x_indices) {
        rows.independent = {x, s.x_col_dim, 1, nullptr, 0, 0};
        rows.dependent = {y, s.y_col_dim, 1, nullptr, 0, 0};
        rows.frequency = s.frequencies;
        rows.weight = s.weights;
        rows.frequency_step = rows.weight_step = 1;
        return rows;
    }
    const int64_t row_step = transposed ? 1 : s.x_col_dim, column_step = transposed ? n_rows : 1;
    rows.independent = {x, row_step, column_step, s.independent_columns, 0, 0};
    rows.dependent = {x, row_step, column_step, s.dependent_columns, 0, 0};
    if (s.frequency_column >= 0) {
        rows.frequency = x + s.frequency_column * column_step;
        rows.frequency_step = row_step;
    }
    if (s.weight_column >= 0) {
        rows.weight = x + s.weight_column * column_step;
        rows.weight_step = row_step;
    }
    return rows;
}

// The same rows from row `start` on.  An array not given (y without
// dependent variables, say) stays null.
template <class Real>
RowSource<Real> rows_from(RowSource<Real> rows, int64_t start)
{
    auto advance = [start](const Real*& base, int64_t step) {
        if (base != nullptr)
            base += start * step;
    };
    advance(rows.independent.base, rows.independent.row_step);
    advance(rows.dependent.base, rows.dependent.row_step);
    advance(rows.frequency, rows.frequency_step);
    advance(rows.weight, rows.weight_step);
    return rows;
}

// The weighted sums of the rows of a block that the kernel took, the
// extremes of y over the added ones, and for the ANOVA table the weighted
// squares of y about its running mean and about 0.
template <class Real>
void accumulate_sums(RegressionSequence<Real>& seq, const RowSource<Real>& rows, int64_t n_rows, int64_t sign,
                     bool with_squares)
{
    for (int64_t i = 0; i < n_rows; ++i) {
        if (seq.row_missing[i])
            continue;
        const Real f = rows.frequency != nullptr ? rows.frequency[i * rows.frequency_step] : Real(1);
        if (f == 0)
            continue;
        const Real w = rows.weight != nullptr ? rows.weight[i * rows.weight_step] : Real(1);
        const Real fw = Real(sign) * f * w;
        const Real old_weights = seq.sum_weights;
        seq.sum_weights += fw;
        for (int64_t j = 0; j < seq.n_independent; ++j)
            seq.x_sum[j] += fw * rows.independent.value(i, j);
        for (int64_t k = 0; k < seq.n_dependent; ++k) {
            const Real v = rows.dependent.value(i, k);
            const Real old_mean = old_weights != 0 ? seq.y_sum[k] / old_weights : v;
            seq.y_sum[k] += fw * v;
            if (with_squares) {
                const Real new_mean = seq.sum_weights != 0 ? seq.y_sum[k] / seq.sum_weights : v;
                seq.y_deviation_squares[k] += fw * (v - old_mean) * (v - new_mean);
                seq.y_squares[k] += fw * v * v;
            }
            if (sign > 0) {
                seq.y_min[k] = std::min(seq.y_min[k], v);
                seq.y_max[k] = std::max(seq.y_max[k], v);
            }
        }
    }
}

// Takes the call's rows into the factor block by block; false after a
// fatal error in the kernel.
template <class Real>
bool take_rows(RegressionSequence<Real>& seq, const RowSource<Real>& rows, int64_t n_rows, const Settings<Real>& s,
               int64_t call_number)
{
    // The sums serve the means, the record and the ANOVA table, and a
    // sequence, which may be asked for them at its end.
    const bool with_sums = s.ido != 0 || s.x_indices || s.info != nullptr || s.x_mean.wanted() || s.anova.wanted();
    const Factor<Real> factor = seq.factor();
    for (int64_t start = 0; start < n_rows; start += kBlockRows) {
        const int64_t block = std::min(kBlockRows, n_rows - start);
        const RowSource<Real> block_rows = rows_from(rows, start);
        if (!update_factor(factor, block_rows, block, UpdateCall{s.ido, call_number, start, s.sign}, seq.row_missing))
            return false;
        if (with_sums)
            accumulate_sums(seq, block_rows, block, s.sign, s.anova.wanted());
    }
    seq.rows_taken += s.sign * n_rows;
    return true;
}

// Residuals of every row of the call, by rows of n_dependent values.
template <class Real>
void residuals(const RegressionSequence<Real>& seq, const RowSource<Real>& rows, int64_t n_rows, Real* result)
{
    const int64_t p = seq.n_coef(), q = seq.n_dependent;
    for (int64_t i = 0; i < n_rows; ++i) {
        for (int64_t k = 0; k < q; ++k) {
            const Real v = rows.dependent.value(i, k);
            const Real* b = seq.B + k * p;
            Real fitted = 0;
            for (int64_t j = 0; j < seq.n_independent; ++j)
                fitted += b[seq.intercept + j] * rows.independent.value(i, j);
            result[i * q + k] = std::isnan(v) ? v : v - fitted - (seq.intercept ? b[0] : Real(0));
        }
    }
}

template <class Real>
void anova_tables(const RegressionSequence<Real>& seq, int64_t n_rows, Real* tables)
{
    const Real dfr = std::max(Real(0), Real(n_rows - seq.n_rows_missing) - seq.df_error - Real(seq.intercept));
    for (int64_t k = 0; k < seq.n_dependent; ++k) {
        const Real sse = seq.sscp_error[k + k * seq.n_dep()];
        Real total = seq.intercept ? seq.y_deviation_squares[k] : seq.y_squares[k];
        if (seq.sum_weights == 0)
            total = missing_value<Real>();
        const Real mean = ratio(seq.y_sum[k], seq.sum_weights);
        Real* aov = tables + k * kAnovaValues;
        orvls_g1aov(dfr, std::max(Real(0), total - sse), seq.df_error, sse, mean, aov);
        aov[kMean] = mean;
        aov[kVariation] = 100 * ratio(aov[kErrorDeviation], mean);
    }
}

// Covariance blocks of the coefficients, one per dependent variable.
template <class Real>
void covariance_blocks(const RegressionSequence<Real>& seq, int64_t ld, Real* blocks)
{
    const int64_t p = seq.n_coef();
    for (int64_t k = 0; k < seq.n_dependent && !is_fatal(orvls_n1rty(0)); ++k)
        orvls_rcovb(p, seq.R, p, ratio(seq.sscp_error[k + k * seq.n_dep()], seq.df_error), blocks + k * p * ld, ld);
}

// The results of the closing call, held until they are delivered together.
template <class Real>
struct Results {
    Real* coefficients = nullptr;  // allocated here unless the caller gave an array
    Info<Real>* info = nullptr;

    Results() = default;
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;
    ~Results()
    {
        std::free(coefficients);
        std::free(info);
    }
};

std::size_t info_reals(int64_t n_independent, int64_t n_dep, int64_t n_coef)
{
    return static_cast<std::size_t>((n_dep + 3 + 2 * n_coef) * n_dep + (n_coef + 1) * n_coef + 3 * n_independent);
}

void report_memory(int64_t code, int64_t n_independent, int64_t n_dependent, int64_t n_rows)
{
    orvls_e1sti(1, n_independent);
    orvls_e1stl(1, "n_independent");
    orvls_e1sti(2, n_dependent);
    orvls_e1stl(2, "n_dependent");
    if (code == 203) {
        orvls_e1sti(3, n_rows);
        orvls_e1stl(3, "n_observations");
    }
    orvls_ermes(5, code);
}

// Allocates the results of a closing call; false (202, 203) when they
// cannot be had.
template <class Real>
bool allocate_results(Settings<Real>& s, Results<Real>& results, int64_t n_rows, int64_t n_independent)
{
    const int64_t q = std::max<int64_t>(1, s.n_dependent), p = n_independent + s.intercept;
    const int64_t cov_ld = s.coef_cov_col_dim >= 0 ? s.coef_cov_col_dim : p;
    bool ok = s.return_user != nullptr ||
              (results.coefficients = allocate<Real>(static_cast<std::size_t>(q * (n_independent + 1)))) != nullptr;
    ok = ok && s.anova.allocate_for(q * kAnovaValues) && s.covariances.allocate_for(q * p * cov_ld) &&
         s.x_mean.allocate_for(n_independent) && s.r.allocate_for(p * p) && s.sscp_error.allocate_for(q * q);
    if (ok && s.info != nullptr) {
        const std::size_t bytes = sizeof(Info<Real>) + info_reals(n_independent, q, p) * sizeof(Real);
        ok = (results.info = static_cast<Info<Real>*>(orvls_malloc(bytes))) != nullptr;
    }
    if (!ok) {
        report_memory(202, n_independent, s.n_dependent, n_rows);
        return false;
    }
    if (!s.residual.allocate_for(n_rows * q)) {
        report_memory(203, n_independent, s.n_dependent, n_rows);
        return false;
    }
    return true;
}

template <class Real>
void fill_info(const RegressionSequence<Real>& seq, int64_t n_rows, Info<Real>* info)
{
    const int64_t p = seq.n_coef(), q = seq.n_dep(), m = seq.n_independent;
    info->n_observations = n_rows;
    info->n_rows_missing = seq.n_rows_missing;
    info->n_dependent = seq.n_dependent;
    info->n_parameters = p;
    info->intercept = seq.intercept;
    info->rank = seq.rank;
    info->df_error = seq.df_error;
    Real* next = reinterpret_cast<Real*>(info + 1);
    auto take = [&next](int64_t n) {
        Real* part = next;
        next += n;
        return part;
    };
    info->coefficients = take(p * q);
    info->sscp_error = take(q * q);
    info->R = take(p * p);
    info->D = take(p);
    info->reserved = take(p * q);
    info->x_mean = take(m);
    info->x_min = take(m);
    info->x_max = take(m);
    info->y_mean = take(q);
    info->y_min = take(q);
    info->y_max = take(q);
    std::copy(seq.B, seq.B + p * q, info->coefficients);
    std::copy(seq.sscp_error, seq.sscp_error + q * q, info->sscp_error);
    std::copy(seq.R, seq.R + p * p, info->R);
    std::copy(seq.D, seq.D + p, info->D);
    for (int64_t j = 0; j < m; ++j) {
        info->x_mean[j] = ratio(seq.x_sum[j], seq.sum_weights);
        info->x_min[j] = seq.x_min[seq.intercept + j];
        info->x_max[j] = seq.x_max[seq.intercept + j];
    }
    for (int64_t k = 0; k < q; ++k) {
        info->y_mean[k] = ratio(seq.y_sum[k], seq.sum_weights);
        info->y_min[k] = seq.y_min[k];
        info->y_max[k] = seq.y_max[k];
    }
}

// Everything the closing call delivers, once the factor is finished.
template <class Real>
void build_results(const RegressionSequence<Real>& seq, Settings<Real>& s, Results<Real>& results, int64_t n_rows,
                   const RowSource<Real>& rows)
{
    const int64_t p = seq.n_coef(), q = seq.n_dependent;
    Real* coefficients = s.return_user != nullptr ? s.return_user : results.coefficients;
    std::copy(seq.B, seq.B + p * q, coefficients);
    if (s.residual.wanted())
        residuals(seq, rows, n_rows, s.residual.data());
    if (s.anova.wanted())
        anova_tables(seq, n_rows, s.anova.data());
    if (s.covariances.wanted())
        covariance_blocks(seq, s.coef_cov_col_dim >= 0 ? s.coef_cov_col_dim : p, s.covariances.data());
    if (s.r.wanted())
        for (int64_t i = 0; i < p; ++i)
            for (int64_t j = 0; j < p; ++j)
                s.r.data()[i * p + j] = seq.R[i + j * p];
    if (s.sscp_error.wanted())
        std::copy(seq.sscp_error, seq.sscp_error + q * q, s.sscp_error.data());
    for (int64_t j = 0; s.x_mean.wanted() && j < seq.n_independent; ++j)
        s.x_mean.data()[j] = ratio(seq.x_sum[j], seq.sum_weights);
    if (results.info != nullptr)
        fill_info(seq, n_rows, results.info);
}

// Hands the results to the caller; the coefficients are the return value.
template <class Real>
Real* deliver(const RegressionSequence<Real>& seq, Settings<Real>& s, Results<Real>& results)
{
    for (Output<Real>* output : {&s.anova, &s.covariances, &s.residual, &s.x_mean, &s.r, &s.sscp_error})
        output->hand_over();
    if (s.info != nullptr) {
        *s.info = results.info;
        results.info = nullptr;
    }
    if (s.rank != nullptr)
        *s.rank = static_cast<int64_t>(Real(seq.rows_taken - seq.n_rows_missing) - seq.df_error);
    if (s.df_error != nullptr)
        *s.df_error = seq.df_error;
    if (s.n_rows_missing != nullptr)
        *s.n_rows_missing = seq.n_rows_missing;
    if (s.return_user != nullptr)
        return s.return_user;
    Real* coefficients = results.coefficients;
    results.coefficients = nullptr;
    return coefficients;
}

// Transposes x in place for the kernel and back on every path out.
template <class Real>
class TransposedForCall {
public:
    TransposedForCall(bool active, int64_t rows, int64_t columns, Real* x)
        : active_(active), rows_(rows), columns_(columns), x_(x)
    {
        if (active_)
            basic::transpose_in_place(rows_, columns_, x_);
    }
    ~TransposedForCall() { restore(); }
    TransposedForCall(const TransposedForCall&) = delete;
    TransposedForCall& operator=(const TransposedForCall&) = delete;
    void restore()
    {
        if (active_)
            basic::transpose_in_place(columns_, rows_, x_);
        active_ = false;
    }

private:
    bool active_;
    int64_t rows_, columns_;
    Real* x_;
};

// Takes the rows and, in a closing call, finishes the fit and builds the
// results.  False after a fatal error.
template <class Real>
bool fit(RegressionSequence<Real>& seq, Settings<Real>& s, Results<Real>& results, int64_t n_rows, Real* x,
         const Real* y)
{
    int64_t* counter = update_call_counter<Real>();
    if (counter == nullptr) {
        orvls_ermes(5, 200);
        return false;
    }
    *counter = s.ido < 2 ? 1 : *counter + 1;
    if (s.ido < 2)
        start_factor(seq.factor());
    {
        const bool transposed = s.x_indices && n_rows > 1;
        TransposedForCall<Real> transposition(transposed, n_rows, s.x_col_dim, x);
        if (!take_rows(seq, row_source(s, n_rows, x, y, transposed), n_rows, s, *counter))
            return false;
    }
    if (!s.final_call())
        return true;
    finish_factor(seq.factor(), s.tolerance, &seq.rank);
    if (seq.rank < seq.n_coef()) {
        orvls_e1sti(1, seq.rank);
        orvls_ermes(3, 11047);
    }
    build_results(seq, s, results, n_rows, row_source(s, n_rows, x, y, false));
    return !is_fatal(orvls_n1rty(0));
}

template <class Real>
Real* regression(int64_t n_rows, int64_t n_independent, Real* x, Real* y, OptionReader& options)
{
    Settings<Real> s;
    ExclusiveOptions data_columns("ORVLS_X_INDICES and ORVLS_FREQUENCIES or ORVLS_WEIGHTS");
    read_options(options, s, data_columns);
    if (orvls_n1rty(0) > 0)
        return nullptr;
    RegressionSequence<Real>* seq = SequenceRecord<Real>::get();
    if (seq == nullptr) {
        orvls_ermes(5, 200);
        return nullptr;
    }
    // A sequence keeps the intercept and centering it opened with.
    if (s.ido >= 2 && seq->active) {
        s.intercept = seq->intercept != 0;
        s.centering = seq->centering != 0;
    }
    default_row_lengths(s, n_independent);
    check_arguments(n_rows, n_independent, s);
    if (s.x_indices)
        data_columns.report();
    if (orvls_n1rty(0) == 0)
        check_sequence(*seq, n_independent, s);
    Results<Real> results;
    Real* coefficients = nullptr;
    if (orvls_n1rty(0) == 0 && (s.ido >= 2 || open_sequence(*seq, n_independent, s.n_dependent, s.intercept,
                                                            s.centering)) &&
        (!s.final_call() || allocate_results(s, results, n_rows, n_independent)) &&
        fit(*seq, s, results, n_rows, x, y) && s.final_call())
        coefficients = deliver(*seq, s, results);
    if (is_fatal(orvls_n1rty(0)) || s.final_call())
        seq->release();
    return is_fatal(orvls_n1rty(0)) ? nullptr : coefficients;
}

template <class Real>
Real* regression_entry(const char* name, int64_t n_rows, int64_t n_independent, Real* x, Real* y, va_list ap)
{
    OptionReader options(ap, 4);
    return envelope<Real*>(name, nullptr, [&] { return regression(n_rows, n_independent, x, y, options); });
}

}  // namespace

}  // namespace orvls::regression

extern "C" {

ORVLS_API float* orvls_f_regression(int64_t n_rows, int64_t n_independent, float* x, float* y, ...)
{
    va_list ap;
    va_start(ap, y);
    float* result = orvls::regression::regression_entry("orvls_f_regression", n_rows, n_independent, x, y, ap);
    va_end(ap);
    return result;
}

ORVLS_API double* orvls_d_regression(int64_t n_rows, int64_t n_independent, double* x, double* y, ...)
{
    va_list ap;
    va_start(ap, y);
    double* result = orvls::regression::regression_entry("orvls_d_regression", n_rows, n_independent, x, y, ap);
    va_end(ap);
    return result;
}

}  // extern "C"
