// Simple statistics of the columns of a data matrix: the public routine, its
// option walk, the two ways of feeding the moment kernel, and the medians.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>

#include "basic/precision.h"
#include "basic/u2sta.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls::basic {

namespace {

template <class Real>
struct Settings {
    Real mean_confidence = 95;
    Real variance_confidence = 95;
    const Real* frequencies = nullptr;
    const Real* weights = nullptr;
    Real* user_result = nullptr;
    int64_t result_col_dim;
    int64_t x_col_dim;
    int64_t missing_mode = 0;  // the kernel's mopt: 0 listwise, 1 elementwise
    int64_t median_rows = 0;   // 1 with the median, 3 with its deviation and scale

    explicit Settings(int64_t n_variables) : result_col_dim(n_variables), x_col_dim(n_variables) {}
    int64_t rows() const { return kMomentRows + median_rows; }
    bool row_at_a_time() const { return frequencies != nullptr || weights != nullptr; }
    int64_t frequency_column() const { return frequencies != nullptr ? 1 : 0; }
    int64_t weight_column() const { return weights == nullptr ? 0 : frequency_column() + 1; }
    int64_t row_length(int64_t n_variables) const
    {
        return n_variables + (frequencies != nullptr) + (weights != nullptr);
    }
};

template <class Real>
void read_options(OptionReader& options, Settings<Real>& settings, ExclusiveOptions& median_options)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_CONFIDENCE_MEANS: settings.mean_confidence = static_cast<Real>(options.real()); break;
        case ORVLS_CONFIDENCE_MEANS_ADR: settings.mean_confidence = options.real_address<Real>(); break;
        case ORVLS_CONFIDENCE_VARIANCES: settings.variance_confidence = static_cast<Real>(options.real()); break;
        case ORVLS_CONFIDENCE_VARIANCES_ADR: settings.variance_confidence = options.real_address<Real>(); break;
        case ORVLS_FREQUENCIES:
            settings.frequencies = non_null_pointer<const Real*>(options, "frequencies", "ORVLS_FREQUENCIES");
            break;
        case ORVLS_WEIGHTS:
            settings.weights = non_null_pointer<const Real*>(options, "weights", "ORVLS_WEIGHTS");
            break;
        case ORVLS_MEDIAN:
            median_options.seen();
            settings.median_rows = 1;
            break;
        case ORVLS_MEDIAN_AND_SCALE:
            median_options.seen();
            settings.median_rows = 3;
            break;
        case ORVLS_RETURN_USER:
            settings.user_result = non_null_pointer<Real*>(options, "result", "ORVLS_RETURN_USER");
            break;
        case ORVLS_RETURN_COL_DIM: settings.result_col_dim = options.integer(); break;
        case ORVLS_X_COL_DIM: settings.x_col_dim = options.integer(); break;
        case ORVLS_MISSING_LISTWISE: settings.missing_mode = 0; break;
        case ORVLS_MISSING_ELEMENTWISE: settings.missing_mode = 1; break;
        default: options.unknown(code);
        }
    }
}

bool is_fatal(int64_t type) { return type >= 4 && type != 6; }

// The work arrays of one call, freed on every path; an allocated result is
// handed on by clearing its pointer.
template <class Real>
struct Workspace {
    Real* row = nullptr;           // frequency, weight and one row of x
    Real* first_values = nullptr;  // first value and change flag per variable
    int64_t* counts = nullptr;     // whole counts for the medians
    Real* result = nullptr;        // the allocated result
    UpdateState<Real> state;
    bool missing_warned = false;
    int64_t nrmiss = 0;

    Workspace() = default;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    ~Workspace()
    {
        std::free(row);
        std::free(first_values);
        std::free(counts);
        std::free(result);
    }
};

template <class T>
bool allocate_for_variables(T*& pointer, int64_t n, int64_t n_variables)
{
    pointer = n < 0 ? nullptr : allocate<T>(static_cast<std::size_t>(n));
    if (pointer != nullptr)
        return true;
    orvls_e1sti(1, n_variables);
    orvls_e1stl(1, "n_variables");
    orvls_ermes(5, 201);
    return false;
}

template <class Real>
bool allocate_workspace(Workspace<Real>& work, const Settings<Real>& settings, int64_t n_variables)
{
    return (!settings.row_at_a_time() ||
            allocate_for_variables(work.row, settings.row_length(n_variables), n_variables)) &&
           allocate_for_variables(work.first_values, 2 * n_variables, n_variables) &&
           (settings.median_rows == 0 || allocate_for_variables(work.counts, n_variables, n_variables)) &&
           (settings.user_result != nullptr ||
            allocate_for_variables(work.result, settings.rows() * settings.result_col_dim, n_variables)) &&
           allocate_for_variables(work.state.weight_sum, n_variables, n_variables) &&
           allocate_for_variables(work.state.weight_sq_sum, n_variables, n_variables);
}

// One kernel call; false when it ended fatally.  Rows with missing values
// are told once per call of the public routine.
template <class Real>
bool run_kernel(int64_t ido, int64_t nrow, int64_t n_variables, const Real* data, int64_t ldx,
                const Settings<Real>& settings, Workspace<Real>& work, Real* result, bool row_major = false)
{
    const int64_t ifrq = settings.frequency_column(), iwt = settings.weight_column();
    l_u2sta(ido, nrow, n_variables, data, ldx, ifrq, iwt, settings.missing_mode, settings.mean_confidence,
            settings.variance_confidence, 0, result, settings.rows(), &work.nrmiss, work.first_values, &work.state,
            row_major);
    if (is_fatal(orvls_n1rty(1)))
        return false;
    if (work.nrmiss != 0 && !work.missing_warned) {
        orvls_ermes(6, settings.missing_mode == 0 ? 11062 : 11288);
        work.missing_warned = true;
    }
    return true;
}

// All rows in one call.  The kernel reads x where it stands, which gives
// what transposing x, one column-major call and transposing back give, at a
// fraction of the cost; after a fatal error in the kernel x is left
// transposed, as that sequence leaves it.
template <class Real>
bool take_all_rows(int64_t n_observations, int64_t n_variables, Real* x, const Settings<Real>& settings,
                   Workspace<Real>& work, Real* result)
{
    const bool ok =
        run_kernel<Real>(0, n_observations, n_variables, x, settings.x_col_dim, settings, work, result, true);
    if (!ok)
        transpose_in_place(n_observations, settings.x_col_dim, x);
    return ok;
}

// One row per call, behind its frequency and weight.  One observation alone
// is refused by the kernel's first call, which then has no row.
template <class Real>
bool take_rows_one_at_a_time(int64_t n_observations, int64_t n_variables, const Real* x,
                             const Settings<Real>& settings, Workspace<Real>& work, Real* result)
{
    for (int64_t i = 0; i < n_observations; ++i) {
        Real* row = work.row;
        if (settings.frequencies != nullptr)
            *row++ = settings.frequencies[i];
        if (settings.weights != nullptr)
            *row++ = settings.weights[i];
        std::memcpy(row, x + i * settings.x_col_dim, static_cast<std::size_t>(n_variables) * sizeof(Real));
        const int64_t ido = i == 0 ? 1 : (i == n_observations - 1 ? 3 : 2);
        const int64_t nrow = n_observations > 1 ? 1 : 0;
        if (!run_kernel<Real>(ido, nrow, n_variables, work.row, 1, settings, work, result))
            return false;
    }
    return true;
}

// A value of a variable and the number of times it counts in the medians:
// the whole part of its frequency.
template <class Real>
struct CountedValue {
    Real value;
    Real copies;
};

// Values of variable j that the moments took, each with the whole part of
// its frequency (values that count for nothing are left out); their number.
// Without missing values in the call no row is tested.
template <class Real>
int64_t gather_values(int64_t n_observations, int64_t n_variables, const Real* x, int64_t j,
                      const Settings<Real>& settings, bool missing_seen, CountedValue<Real>* values)
{
    int64_t n = 0;
    for (int64_t i = 0; i < n_observations; ++i) {
        const Real* row = x + i * settings.x_col_dim;
        const Real f = settings.frequencies != nullptr ? settings.frequencies[i] : Real(1);
        if (missing_seen) {
            const bool weight_missing = settings.weights != nullptr && std::isnan(settings.weights[i]);
            bool value_missing = std::isnan(row[j]);
            for (int64_t c = 0; settings.missing_mode == 0 && c < n_variables; ++c)
                value_missing = value_missing || std::isnan(row[c]);
            if (std::isnan(f) || f == 0 || weight_missing || value_missing)
                continue;
        }
        if (std::floor(f) >= 1)
            values[n++] = {row[j], std::floor(f)};
    }
    return n;
}

// Sorts counted values ascending, NaNs last.
template <class Real>
void sort_counted(int64_t n, CountedValue<Real>* values)
{
    std::sort(values, values + n, [](const CountedValue<Real>& a, const CountedValue<Real>& b) {
        return a.value < b.value || (!std::isnan(a.value) && std::isnan(b.value));
    });
}

// The value at zero-based place `rank` of the sorted values, each repeated
// as often as it counts.
template <class Real>
Real value_at_rank(const CountedValue<Real>* sorted, int64_t n, double rank)
{
    double passed = 0;
    for (int64_t i = 0; i < n - 1; ++i) {
        passed += sorted[i].copies;
        if (rank < passed)
            return sorted[i].value;
    }
    return sorted[n - 1].value;
}

// The middle of the sorted values, each repeated as often as it counts: the
// mean of the middle two for an even total.  The repetition is only counted,
// so that large frequencies cost no memory.
template <class Real>
Real middle(const CountedValue<Real>* sorted, int64_t n)
{
    double total = 0;
    for (int64_t i = 0; i < n; ++i)
        total += sorted[i].copies;
    const double lower = std::floor((total - 1) / 2);
    const double upper = std::floor(total / 2);
    const Real low = value_at_rank(sorted, n, lower);
    return lower == upper ? low : (low + value_at_rank(sorted, n, upper)) / 2;
}

// The whole part of a count, held at the largest integer.
template <class Real>
int64_t whole_count(Real count)
{
    return count < Real(0x1p62) ? static_cast<int64_t>(count) : INT64_MAX;
}

// Rows 14 to 16 of the row-major result.  False when the work space cannot
// be had (200).
template <class Real>
bool add_medians(int64_t n_observations, int64_t n_variables, const Real* x, const Settings<Real>& settings,
                 Workspace<Real>& work, Real* result)
{
    const int64_t ld = settings.result_col_dim;
    for (int64_t j = 0; j < n_variables; ++j)
        work.counts[j] = whole_count(result[kCount * ld + j]);
    const auto capacity = static_cast<std::size_t>(n_observations);
    WorkArray<CountedValue<Real>> values(capacity), deviations(capacity);
    if (!values.ok() || !deviations.ok()) {
        orvls_ermes(5, 200);
        return false;
    }
    const bool with_scale = settings.median_rows == 3;
    const Real quartile = with_scale ? normal_inverse(Real(0.75)) : Real(1);
    for (int64_t j = 0; j < n_variables; ++j) {
        Real& median = result[kMedian * ld + j];
        median = missing_value<Real>();
        if (with_scale)
            result[kMedianDeviation * ld + j] = result[kScale * ld + j] = missing_value<Real>();
        const int64_t n = work.counts[j] == 0 ? 0
                                               : gather_values(n_observations, n_variables, x, j, settings,
                                                               work.nrmiss != 0, values.get());
        if (n == 0)
            continue;
        sort_counted(n, values.get());
        median = middle(values.get(), n);
        if (!with_scale)
            continue;
        for (int64_t i = 0; i < n; ++i)
            deviations[i] = {std::fabs(values[i].value - median), values[i].copies};
        sort_counted(n, deviations.get());
        result[kMedianDeviation * ld + j] = middle(deviations.get(), n);
        result[kScale * ld + j] = result[kMedianDeviation * ld + j] / quartile;
    }
    return true;
}

template <class Real>
Real* simple_statistics(int64_t n_observations, int64_t n_variables, Real* x, OptionReader& options)
{
    Settings<Real> settings(n_variables);
    ExclusiveOptions median_options("ORVLS_MEDIAN and ORVLS_MEDIAN_AND_SCALE");
    read_options(options, settings, median_options);
    if (orvls_n1rty(0) > 0)
        return nullptr;
    int64_t checks = 0;
    orvls_check_range(n_variables, "n_variables", 1, -1, &checks);
    orvls_check_range(n_observations, "n_observations", 1, -1, &checks);
    orvls_check_col_dim(settings.x_col_dim, "x_col_dim", n_variables, "n_variables");
    orvls_check_col_dim(settings.result_col_dim, "return_col_dim", n_variables, "n_variables");
    median_options.report();
    if (orvls_n1rty(0) > 0)
        return nullptr;

    Workspace<Real> work;
    if (!allocate_workspace(work, settings, n_variables))
        return nullptr;
    Real* result = settings.user_result != nullptr ? settings.user_result : work.result;
    const bool taken = settings.row_at_a_time()
                           ? take_rows_one_at_a_time(n_observations, n_variables, x, settings, work, result)
                           : take_all_rows(n_observations, n_variables, x, settings, work, result);
    if (!taken || is_fatal(orvls_n1rty(0)))
        return nullptr;
    transpose_in_place(settings.result_col_dim, settings.rows(), result);
    if (settings.median_rows > 0 && !add_medians(n_observations, n_variables, x, settings, work, result))
        return nullptr;
    work.result = nullptr;
    return result;
}

template <class Real>
Real* simple_statistics_entry(const char* name, int64_t n_observations, int64_t n_variables, Real* x, va_list ap)
{
    OptionReader options(ap, 3);
    return envelope<Real*>(name, nullptr, [&] { return simple_statistics(n_observations, n_variables, x, options); });
}

}  // namespace

}  // namespace orvls::basic

extern "C" {

ORVLS_API float* orvls_f_simple_statistics(int64_t n_observations, int64_t n_variables, float* x, ...)
{
    va_list ap;
    va_start(ap, x);
    float* result =
        orvls::basic::simple_statistics_entry("orvls_f_simple_statistics", n_observations, n_variables, x, ap);
    va_end(ap);
    return result;
}

ORVLS_API double* orvls_d_simple_statistics(int64_t n_observations, int64_t n_variables, double* x, ...)
{
    va_list ap;
    va_start(ap, x);
    double* result =
        orvls::basic::simple_statistics_entry("orvls_d_simple_statistics", n_observations, n_variables, x, ap);
    va_end(ap);
    return result;
}

}  // extern "C"
