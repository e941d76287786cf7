// The table of counts that the contingency routines share: the caller's
// floating counts read as whole numbers, refused when one is missing,
// negative or too large, and the log factorials of the exact tests.
#pragma once

#include <cstdint>

#include "frame/memory.h"

namespace orvls::categorical {

// A two-way table of whole counts, row-major, with its margins.
struct CountTable {
    int64_t rows = 0, columns = 0;
    WorkArray<int64_t> cells;  // rows * columns
    WorkArray<int64_t> row_totals, column_totals;
    int64_t total = 0;

    int64_t at(int64_t i, int64_t j) const { return cells[static_cast<std::size_t>(i * columns + j)]; }
};

// Reads the caller's table (row length col_dim) into `counts`, each value
// rounded half away from zero; with `fewer_rows` a table with more rows
// than columns is stored transposed.  A NaN (11142), a negative count (11140) or a
// count or total beyond the 64-bit integers (11143) is refused at the first
// cell that shows it; a failed allocation is 202 with the dimensions.  False
// when the table is refused.
template <class Real>
bool read_counts(int64_t n_rows, int64_t n_columns, const Real* table, int64_t col_dim, bool fewer_rows,
                 CountTable& counts);

// log k! for k = 0..n in fact[0..n]: odd k by one logarithm, even k = 2m by
// the duplication identity, so that only half the logarithms are formed.
void fill_log_factorials(int64_t n, double* fact);

}  // namespace orvls::categorical
