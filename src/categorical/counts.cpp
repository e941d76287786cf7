#include "categorical/counts.h"

#include <cmath>

#include "orvls.h"

namespace orvls::categorical {

namespace {

// 2^63: the first whole number beyond the 64-bit integers.
constexpr double kBeyondIntegers = 9223372036854775808.0;

// Half away from zero: add 0.5 to a positive value and truncate, subtract it
// from a negative one.
double rounded(double x) { return std::trunc(x >= 0 ? x + 0.5 : x - 0.5); }

void refuse_cell(int64_t code, int64_t i, int64_t j, double value)
{
    orvls_e1sti(1, i + 1);
    orvls_e1sti(2, j + 1);
    orvls_e1std(1, value);
    orvls_ermes(5, code);
}

bool allocate_counts(int64_t rows, int64_t columns, int64_t n_rows, int64_t n_columns, CountTable& counts)
{
    counts.rows = rows;
    counts.columns = columns;
    counts.cells.reset(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
    counts.row_totals.reset(static_cast<std::size_t>(rows));
    counts.column_totals.reset(static_cast<std::size_t>(columns));
    if (counts.cells.ok() && counts.row_totals.ok() && counts.column_totals.ok())
        return true;
    orvls_e1sti(1, n_rows);
    orvls_e1stl(1, "n_rows");
    orvls_e1sti(2, n_columns);
    orvls_e1stl(2, "n_columns");
    orvls_ermes(5, 202);
    return false;
}

}  // namespace

template <class Real>
bool read_counts(int64_t n_rows, int64_t n_columns, const Real* table, int64_t col_dim, bool fewer_rows,
                 CountTable& counts)
{
    const bool transposed = fewer_rows && n_rows > n_columns;
    if (!allocate_counts(transposed ? n_columns : n_rows, transposed ? n_rows : n_columns, n_rows, n_columns, counts))
        return false;
    double total = 0;
    for (int64_t i = 0; i < n_rows; ++i) {
        for (int64_t j = 0; j < n_columns; ++j) {
            const double value = table[i * col_dim + j];
            const double count = rounded(value);
            if (std::isnan(value)) {
                refuse_cell(11142, i, j, value);
                return false;
            }
            if (count < 0) {
                refuse_cell(11140, i, j, value);
                return false;
            }
            total += count;
            if (count >= kBeyondIntegers || total >= kBeyondIntegers) {
                refuse_cell(11143, i, j, value);
                return false;
            }
            const int64_t cell = transposed ? j * n_rows + i : i * n_columns + j;
            counts.cells[static_cast<std::size_t>(cell)] = static_cast<int64_t>(count);
        }
    }
    // The double sum is an upper bound of the whole sum only to rounding:
    // the integer sum is checked again on the way.
    counts.total = 0;
    for (int64_t i = 0; i < counts.rows; ++i)
        counts.row_totals[static_cast<std::size_t>(i)] = 0;
    for (int64_t j = 0; j < counts.columns; ++j)
        counts.column_totals[static_cast<std::size_t>(j)] = 0;
    for (int64_t i = 0; i < counts.rows; ++i) {
        for (int64_t j = 0; j < counts.columns; ++j) {
            const int64_t x = counts.at(i, j);
            if (__builtin_add_overflow(counts.total, x, &counts.total)) {
                refuse_cell(11143, transposed ? j : i, transposed ? i : j, static_cast<double>(x));
                return false;
            }
            counts.row_totals[static_cast<std::size_t>(i)] += x;
            counts.column_totals[static_cast<std::size_t>(j)] += x;
        }
    }
    return true;
}

template bool read_counts<float>(int64_t, int64_t, const float*, int64_t, bool, CountTable&);
template bool read_counts<double>(int64_t, int64_t, const double*, int64_t, bool, CountTable&);

void fill_log_factorials(int64_t n, double* fact)
{
    fact[0] = 0;
    if (n >= 1)
        fact[1] = 0;
    if (n >= 2)
        fact[2] = std::log(2.0);
    const double log2 = std::log(2.0);
    for (int64_t k = 3; k <= n; ++k) {
        if (k % 2 == 1)
            fact[k] = fact[k - 1] + std::log(static_cast<double>(k));
        else
            fact[k] = fact[k - 1] + log2 + fact[k / 2] - fact[k / 2 - 1];
    }
}

}  // namespace orvls::categorical
