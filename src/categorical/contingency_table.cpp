// Asymptotic tests and measures of association of a two-way table: the
// public routine, its options and the worker l_ctchi.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdlib>

#include "categorical/counts.h"
#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls::categorical {

namespace {

constexpr int64_t kChiSquaredStats = 10;
constexpr int64_t kTableStats = 6;  // rows of (value, standard error)
constexpr int64_t kMeasures = 6;

// One result array: allocated for the caller through `out`, or the caller's
// own `user` array.  The allocated one is freed unless handed over.
template <class Real>
struct Output {
    Real** out = nullptr;
    Real* user = nullptr;
    Real* allocated = nullptr;
    ExclusiveOptions choice;

    explicit Output(const char* names) : choice(names) {}
    ~Output() { std::free(allocated); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    bool wanted() const { return out != nullptr || user != nullptr; }
    // The array to fill, or null when it is not wanted or cannot be had (200).
    Real* array(int64_t n)
    {
        if (user != nullptr || out == nullptr)
            return user;
        allocated = allocate<Real>(static_cast<std::size_t>(n));
        if (allocated == nullptr)
            orvls_ermes(5, 200);
        return allocated;
    }
    void hand_over()
    {
        if (out != nullptr)
            *out = allocated;
        allocated = nullptr;
    }
};

template <class Real>
struct Settings {
    Real *df = nullptr, *chi_squared = nullptr, *p_value = nullptr;
    Output<Real> expected{"ORVLS_EXPECTED and ORVLS_EXPECTED_USER"};
    Output<Real> contributions{"ORVLS_CONTRIBUTIONS and ORVLS_CONTRIBUTIONS_USER"};
    Output<Real> chi_stats{"ORVLS_CHI_SQUARED_STATS and ORVLS_CHI_SQUARED_STATS_USER"};
    Output<Real> measures{"ORVLS_MEASURES"};
    Output<Real> table_stats{"ORVLS_TABLE_STATS and ORVLS_TABLE_STATS_USER"};
    int64_t table_col_dim, expected_col_dim, contributions_col_dim;

    explicit Settings(int64_t n_columns)
        : table_col_dim(n_columns), expected_col_dim(n_columns + 1), contributions_col_dim(n_columns + 1)
    {
    }
};

template <class T>
T non_null(OptionReader& options, const char* argument, const char* option)
{
    T pointer = options.pointer<T>();
    refuse_null_user(pointer, argument, option);
    return pointer;
}

template <class Real>
void allocated_form(OptionReader& options, Output<Real>& output, const char* argument, const char* option)
{
    output.choice.seen();
    output.out = non_null<Real**>(options, argument, option);
}

template <class Real>
void user_form(OptionReader& options, Output<Real>& output, const char* argument, const char* option)
{
    output.choice.seen();
    output.user = non_null<Real*>(options, argument, option);
}

template <class Real>
void read_options(OptionReader& options, Settings<Real>& s)
{
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_CHI_SQUARED:
            s.df = non_null<Real*>(options, "df", "ORVLS_CHI_SQUARED");
            s.chi_squared = non_null<Real*>(options, "chi_squared", "ORVLS_CHI_SQUARED");
            s.p_value = non_null<Real*>(options, "p_value", "ORVLS_CHI_SQUARED");
            break;
        case ORVLS_EXPECTED: allocated_form(options, s.expected, "expected", "ORVLS_EXPECTED"); break;
        case ORVLS_EXPECTED_USER: user_form(options, s.expected, "expected", "ORVLS_EXPECTED_USER"); break;
        case ORVLS_CONTRIBUTIONS:
            allocated_form(options, s.contributions, "chi_squared_contributions", "ORVLS_CONTRIBUTIONS");
            break;
        case ORVLS_CONTRIBUTIONS_USER:
            user_form(options, s.contributions, "chi_squared_contributions", "ORVLS_CONTRIBUTIONS_USER");
            break;
        case ORVLS_CHI_SQUARED_STATS:
            allocated_form(options, s.chi_stats, "chi_squared_stats", "ORVLS_CHI_SQUARED_STATS");
            break;
        case ORVLS_CHI_SQUARED_STATS_USER:
            user_form(options, s.chi_stats, "chi_squared_stats", "ORVLS_CHI_SQUARED_STATS_USER");
            break;
        case ORVLS_MEASURES: allocated_form(options, s.measures, "measures", "ORVLS_MEASURES"); break;
        case ORVLS_TABLE_STATS: allocated_form(options, s.table_stats, "table_stats", "ORVLS_TABLE_STATS"); break;
        case ORVLS_TABLE_STATS_USER:
            user_form(options, s.table_stats, "table_stats", "ORVLS_TABLE_STATS_USER");
            break;
        case ORVLS_TABLE_COL_DIM: s.table_col_dim = options.integer(); break;
        case ORVLS_EXPECTED_COL_DIM: s.expected_col_dim = options.integer(); break;
        case ORVLS_CONTRIBUTIONS_COL_DIM: s.contributions_col_dim = options.integer(); break;
        default: options.unknown(code);
        }
    }
}

template <class Real>
bool check_arguments(int64_t n_rows, int64_t n_columns, const Settings<Real>& s)
{
    int64_t checks = 0;
    orvls_check_range(n_rows, "n_rows", 1, -1, &checks);
    orvls_check_range(n_columns, "n_columns", 1, -1, &checks);
    for (const auto* output : {&s.expected, &s.contributions, &s.chi_stats, &s.measures, &s.table_stats})
        output->choice.report();
    if (orvls_n1rty(0) > 0)
        return false;
    orvls_check_col_dim(s.table_col_dim, "ORVLS_TABLE_COL_DIM", n_columns, "n_columns");
    if (s.expected.wanted())
        orvls_check_col_dim(s.expected_col_dim, "ORVLS_EXPECTED_COL_DIM", n_columns + 1, "n_columns + 1");
    if (s.contributions.wanted())
        orvls_check_col_dim(s.contributions_col_dim, "ORVLS_CONTRIBUTIONS_COL_DIM", n_columns + 1, "n_columns + 1");
    return orvls_n1rty(0) == 0;
}

double upper_tail(double x, double df) { return 1 - orvls_d_chi_squared_cdf(x, df); }

// The table in doubles with what every statistic needs.
struct Table {
    const CountTable& counts;
    double n;
    int64_t rows, columns, nonzero_rows = 0, nonzero_columns = 0;

    explicit Table(const CountTable& c)
        : counts(c), n(static_cast<double>(c.total)), rows(c.rows), columns(c.columns)
    {
        for (int64_t i = 0; i < rows; ++i)
            nonzero_rows += row(i) > 0;
        for (int64_t j = 0; j < columns; ++j)
            nonzero_columns += column(j) > 0;
    }
    double cell(int64_t i, int64_t j) const { return static_cast<double>(counts.at(i, j)); }
    double row(int64_t i) const { return static_cast<double>(counts.row_totals[static_cast<std::size_t>(i)]); }
    double column(int64_t j) const { return static_cast<double>(counts.column_totals[static_cast<std::size_t>(j)]); }
    double expected(int64_t i, int64_t j) const { return row(i) * column(j) / n; }
    int64_t df() const { return (nonzero_rows - 1) * (nonzero_columns - 1); }
};

// Expected values or contributions with their row and column sums and the
// total in the last row and column.
template <class Real, class Cell>
void fill_bordered(const Table& t, Real* out, int64_t ld, Cell cell)
{
    for (int64_t i = 0; i <= t.rows; ++i)
        for (int64_t j = 0; j <= t.columns; ++j)
            out[i * ld + j] = 0;
    for (int64_t i = 0; i < t.rows; ++i) {
        for (int64_t j = 0; j < t.columns; ++j) {
            const double v = cell(i, j);
            out[i * ld + j] = static_cast<Real>(v);
            out[i * ld + t.columns] += static_cast<Real>(v);
            out[t.rows * ld + j] += static_cast<Real>(v);
            out[t.rows * ld + t.columns] += static_cast<Real>(v);
        }
    }
}

// Pearson's and the likelihood-ratio statistics; warns of small expected
// values over the cells of the non-zero rows and columns.
void chi_squared_tests(const Table& t, double& pearson, double& likelihood_ratio)
{
    pearson = likelihood_ratio = 0;
    int64_t small = 0;
    double smallest = HUGE_VAL;
    for (int64_t i = 0; i < t.rows; ++i) {
        for (int64_t j = 0; j < t.columns; ++j) {
            const double e = t.expected(i, j), o = t.cell(i, j);
            if (e <= 0)
                continue;
            pearson += (o - e) * (o - e) / e;
            if (o > 0)
                likelihood_ratio += 2 * o * std::log(o / e);
            small += e < 5;
            smallest = std::min(smallest, e);
        }
    }
    if (static_cast<double>(small) <= 0.2 * static_cast<double>(t.nonzero_rows * t.nonzero_columns))
        return;
    if (t.df() > 30) {
        orvls_ermes(3, 11145);
    } else if (smallest < 1) {
        orvls_e1sti(1, smallest < 0.5 ? 1 : 2);
        orvls_ermes(3, 11146);
    } else {
        orvls_ermes(3, 11147);
    }
}

// A p-value on df degrees of freedom; NaN with a warning when df is 0.
double p_value(double statistic, int64_t df, int64_t index)
{
    if (df > 0)
        return upper_tail(statistic, static_cast<double>(df));
    orvls_e1sti(1, index);
    orvls_ermes(6, 11135);
    return missing_value<double>();
}

// Pearson's correlation of the row and column indices, with what its
// standard error needs.
struct Correlation {
    double value, ss_rows, ss_columns, cross, row_mean, column_mean;
};

Correlation index_correlation(const Table& t)
{
    Correlation c{};
    for (int64_t i = 0; i < t.rows; ++i)
        c.row_mean += static_cast<double>(i + 1) * t.row(i) / t.n;
    for (int64_t j = 0; j < t.columns; ++j)
        c.column_mean += static_cast<double>(j + 1) * t.column(j) / t.n;
    for (int64_t i = 0; i < t.rows; ++i)
        c.ss_rows += t.row(i) * (static_cast<double>(i + 1) - c.row_mean) * (static_cast<double>(i + 1) - c.row_mean);
    for (int64_t j = 0; j < t.columns; ++j) {
        const double dc = static_cast<double>(j + 1) - c.column_mean;
        c.ss_columns += t.column(j) * dc * dc;
    }
    for (int64_t i = 0; i < t.rows; ++i)
        for (int64_t j = 0; j < t.columns; ++j)
            c.cross += t.cell(i, j) * (static_cast<double>(i + 1) - c.row_mean) *
                       (static_cast<double>(j + 1) - c.column_mean);
    c.value = c.cross / std::sqrt(c.ss_rows * c.ss_columns);
    return c;
}

template <class Real>
void chi_squared_stats(const Table& t, double pearson, double likelihood_ratio, double p, Real* out)
{
    const int64_t df = t.df();
    const double nan = missing_value<double>();
    double values[kChiSquaredStats] = {pearson, p, static_cast<double>(df), likelihood_ratio, nan, nan, nan, nan, nan,
                                       nan};
    values[4] = df > 0 ? upper_tail(likelihood_ratio, static_cast<double>(df)) : nan;
    const Correlation r = index_correlation(t);
    if (t.nonzero_rows > 1 && t.nonzero_columns > 1 && std::isfinite(r.value)) {
        const double shorter = static_cast<double>(std::min(t.nonzero_rows, t.nonzero_columns));
        values[5] = std::sqrt(pearson / t.n);
        values[6] = pearson / (t.n + pearson);
        values[7] = std::sqrt(pearson / (t.n * (shorter - 1)));
        values[8] = (t.n - 1) * r.value * r.value;
        values[9] = upper_tail(values[8], 1);
    } else {
        orvls_ermes(6, 11148);
    }
    for (int64_t k = 0; k < kChiSquaredStats; ++k)
        out[k] = static_cast<Real>(values[k]);
}

// Concordant (A) and discordant (D) counts of each cell, by sums over the
// four quadrants of a table of cumulative sums.
struct Pairs {
    WorkArray<double> above, below;  // A and D, r by c
    double concordant = 0, discordant = 0;
};

bool count_pairs(const Table& t, Pairs& pairs)
{
    const int64_t r = t.rows, c = t.columns, ld = c + 1;
    WorkArray<double> sums(static_cast<std::size_t>((r + 1) * ld));
    if (!sums.ok() || !pairs.above.reset(static_cast<std::size_t>(r * c)) ||
        !pairs.below.reset(static_cast<std::size_t>(r * c))) {
        orvls_ermes(5, 200);
        return false;
    }
    // sums(i, j): the cells of rows < i and columns < j.
    for (int64_t i = 0; i <= r; ++i)
        for (int64_t j = 0; j <= c; ++j)
            sums[i * ld + j] = i == 0 || j == 0 ? 0
                                                : t.cell(i - 1, j - 1) + sums[(i - 1) * ld + j] +
                                                      sums[i * ld + j - 1] - sums[(i - 1) * ld + j - 1];
    auto block = [&](int64_t i0, int64_t i1, int64_t j0, int64_t j1) {  // rows [i0, i1), columns [j0, j1)
        return sums[i1 * ld + j1] - sums[i0 * ld + j1] - sums[i1 * ld + j0] + sums[i0 * ld + j0];
    };
    for (int64_t i = 0; i < r; ++i) {
        for (int64_t j = 0; j < c; ++j) {
            const double a = block(0, i, 0, j) + block(i + 1, r, j + 1, c);
            const double d = block(0, i, j + 1, c) + block(i + 1, r, 0, j);
            pairs.above[i * c + j] = a;
            pairs.below[i * c + j] = d;
            pairs.concordant += t.cell(i, j) * a;
            pairs.discordant += t.cell(i, j) * d;
        }
    }
    return true;
}

// sqrt(sum n_ij term(i, j)^2), the core of every standard error below.
template <class Term>
double weighted_root(const Table& t, Term term)
{
    double sum = 0;
    for (int64_t i = 0; i < t.rows; ++i)
        for (int64_t j = 0; j < t.columns; ++j) {
            const double v = term(i, j);
            sum += t.cell(i, j) * v * v;
        }
    return std::sqrt(sum);
}

// Gamma, tau-b, tau-c, both Somers' D and the index correlation, each with
// its asymptotic standard error.
void ordinal_statistics(const Table& t, const Pairs& pairs, double* value, double* error)
{
    const double p = pairs.concordant, q = pairs.discordant, n = t.n;
    double wr = n * n, wc = n * n;
    for (int64_t i = 0; i < t.rows; ++i)
        wr -= t.row(i) * t.row(i);
    for (int64_t j = 0; j < t.columns; ++j)
        wc -= t.column(j) * t.column(j);
    auto d = [&](int64_t i, int64_t j) { return pairs.above[i * t.columns + j] - pairs.below[i * t.columns + j]; };
    const double w = std::sqrt(wr * wc), m = static_cast<double>(std::min(t.rows, t.columns));

    value[0] = (p - q) / (p + q);
    error[0] = 4 / ((p + q) * (p + q)) * weighted_root(t, [&](int64_t i, int64_t j) {
                   return q * pairs.above[i * t.columns + j] - p * pairs.below[i * t.columns + j];
               });
    value[1] = (p - q) / w;
    double tau_b_sum = 0;
    for (int64_t i = 0; i < t.rows; ++i)
        for (int64_t j = 0; j < t.columns; ++j) {
            const double v = 2 * w * d(i, j) + value[1] * (t.row(i) * wc + t.column(j) * wr);
            tau_b_sum += t.cell(i, j) * v * v;
        }
    error[1] = std::sqrt(tau_b_sum - n * n * n * value[1] * value[1] * (wr + wc) * (wr + wc)) / (w * w);
    value[2] = m * (p - q) / (n * n * (m - 1));
    const double dd = weighted_root(t, d);
    error[2] = 2 * m / ((m - 1) * n * n) * std::sqrt(dd * dd - (p - q) * (p - q) / n);
    value[3] = (p - q) / wr;
    error[3] = 2 / (wr * wr) * weighted_root(t, [&](int64_t i, int64_t j) { return wr * d(i, j) - (p - q) * (n - t.row(i)); });
    value[4] = (p - q) / wc;
    error[4] =
        2 / (wc * wc) * weighted_root(t, [&](int64_t i, int64_t j) { return wc * d(i, j) - (p - q) * (n - t.column(j)); });
    const Correlation r = index_correlation(t);
    const double wr2 = std::sqrt(r.ss_rows * r.ss_columns);
    value[5] = r.value;
    error[5] = weighted_root(t, [&](int64_t i, int64_t j) {
                   const double di = static_cast<double>(i + 1) - r.row_mean, dj = static_cast<double>(j + 1) - r.column_mean;
                   const double b = di * di * r.ss_columns + dj * dj * r.ss_rows;
                   return wr2 * di * dj - b * r.cross / (2 * wr2);
               }) /
               (wr2 * wr2);
}

template <class Real>
bool table_statistics(const Table& t, Real* out)
{
    Pairs pairs;
    if (!count_pairs(t, pairs))
        return false;
    double value[kTableStats], error[kTableStats];
    ordinal_statistics(t, pairs, value, error);
    static const char* const names[] = {"Gamma", "Kendall", "Stuart", "Somer(row)", "Somer(col)"};
    for (int64_t k = 0; k < kTableStats; ++k) {
        if (!std::isfinite(value[k])) {
            value[k] = error[k] = missing_value<double>();
            if (k < 5) {
                orvls_e1stl(1, names[k]);
                orvls_ermes(6, 11149);
            } else {
                orvls_e1sti(1, k);
                orvls_ermes(6, 11133);
            }
        } else if (!std::isfinite(error[k])) {
            error[k] = missing_value<double>();
            orvls_e1sti(1, k);
            orvls_ermes(6, 11132);
        }
        out[2 * k] = static_cast<Real>(value[k]);
        out[2 * k + 1] = static_cast<Real>(error[k]);
    }
    return true;
}

// Lambda and the uncertainty coefficients: the columns given the rows, the
// rows given the columns, and symmetric.
template <class Real>
void nominal_measures(const Table& t, Real* out)
{
    double row_maxima = 0, column_maxima = 0, largest_row = 0, largest_column = 0;
    double h_rows = 0, h_columns = 0, h_cells = 0;
    auto entropy = [&](double x) { return x > 0 ? -(x / t.n) * std::log(x / t.n) : 0.0; };
    for (int64_t i = 0; i < t.rows; ++i) {
        double largest = 0;
        for (int64_t j = 0; j < t.columns; ++j) {
            largest = std::max(largest, t.cell(i, j));
            h_cells += entropy(t.cell(i, j));
        }
        row_maxima += largest;
        largest_row = std::max(largest_row, t.row(i));
        h_rows += entropy(t.row(i));
    }
    for (int64_t j = 0; j < t.columns; ++j) {
        double largest = 0;
        for (int64_t i = 0; i < t.rows; ++i)
            largest = std::max(largest, t.cell(i, j));
        column_maxima += largest;
        largest_column = std::max(largest_column, t.column(j));
        h_columns += entropy(t.column(j));
    }
    const double shared = h_rows + h_columns - h_cells;
    const double values[kMeasures] = {
        (row_maxima - largest_column) / (t.n - largest_column),
        (column_maxima - largest_row) / (t.n - largest_row),
        (row_maxima + column_maxima - largest_column - largest_row) / (2 * t.n - largest_column - largest_row),
        shared / h_columns,
        shared / h_rows,
        2 * shared / (h_rows + h_columns)};
    for (int64_t k = 0; k < kMeasures; ++k) {
        out[k] = static_cast<Real>(values[k]);
        if (!std::isfinite(values[k])) {
            out[k] = missing_value<Real>();
            orvls_e1sti(1, k);
            orvls_ermes(6, 11131);
        }
    }
}

bool is_fatal(int64_t type) { return type >= 4 && type != 6; }

// l_ctchi: every statistic the options ask for; the p-value of Pearson's test.
template <class Real>
Real l_ctchi(const CountTable& counts, Settings<Real>& s)
{
    const Table t(counts);
    double pearson = 0, likelihood_ratio = 0;
    chi_squared_tests(t, pearson, likelihood_ratio);
    const double p = p_value(pearson, t.df(), 1);
    if (s.df != nullptr) {
        *s.df = static_cast<Real>(t.df());
        *s.chi_squared = static_cast<Real>(pearson);
        *s.p_value = static_cast<Real>(p);
    }
    if (Real* e = s.expected.array((t.rows + 1) * s.expected_col_dim))
        fill_bordered(t, e, s.expected_col_dim, [&](int64_t i, int64_t j) { return t.expected(i, j); });
    if (Real* c = s.contributions.array((t.rows + 1) * s.contributions_col_dim))
        fill_bordered(t, c, s.contributions_col_dim, [&](int64_t i, int64_t j) {
            const double e = t.expected(i, j), d = t.cell(i, j) - e;
            return e > 0 ? d * d / e : 0.0;
        });
    if (Real* stats = s.chi_stats.array(kChiSquaredStats))
        chi_squared_stats(t, pearson, likelihood_ratio, p, stats);
    if (Real* stats = s.table_stats.array(2 * kTableStats))
        table_statistics(t, stats);
    if (Real* m = s.measures.array(kMeasures))
        nominal_measures(t, m);
    if (is_fatal(orvls_n1rty(0)))
        return missing_value<Real>();
    for (auto* output : {&s.expected, &s.contributions, &s.chi_stats, &s.table_stats, &s.measures})
        output->hand_over();
    return static_cast<Real>(p);
}

template <class Real>
Real contingency_table(int64_t n_rows, int64_t n_columns, const Real* table, OptionReader& options)
{
    Settings<Real> settings(n_columns);
    read_options(options, settings);
    if (orvls_n1rty(0) > 0 || !check_arguments(n_rows, n_columns, settings))
        return missing_value<Real>();
    CountTable counts;
    if (!read_counts(n_rows, n_columns, table, settings.table_col_dim, false, counts))
        return missing_value<Real>();
    if (counts.total == 0) {
        orvls_ermes(5, 11141);
        return missing_value<Real>();
    }
    return l_ctchi(counts, settings);
}

template <class Real>
Real contingency_table_entry(const char* name, int64_t n_rows, int64_t n_columns, const Real* table, va_list ap)
{
    OptionReader options(ap, 3);
    return envelope<Real>(name, missing_value<Real>(),
                          [&] { return contingency_table(n_rows, n_columns, table, options); });
}

}  // namespace

}  // namespace orvls::categorical

extern "C" {

ORVLS_API float orvls_f_contingency_table(int64_t n_rows, int64_t n_columns, const float* table, ...)
{
    va_list ap;
    va_start(ap, table);
    const float p =
        orvls::categorical::contingency_table_entry("orvls_f_contingency_table", n_rows, n_columns, table, ap);
    va_end(ap);
    return p;
}

ORVLS_API double orvls_d_contingency_table(int64_t n_rows, int64_t n_columns, const double* table, ...)
{
    va_list ap;
    va_start(ap, table);
    const double p =
        orvls::categorical::contingency_table_entry("orvls_d_contingency_table", n_rows, n_columns, table, ap);
    va_end(ap);
    return p;
}

}  // extern "C"
