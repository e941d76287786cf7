// Argument checks.  Each raises its error and returns, so that all bad
// arguments of a call are reported (the last one counting), and each adds
// one to *check_count whatever the outcome.  They return true when the
// argument passes.
#pragma once

#include <cstdint>

namespace orvls {

// low > high means no upper bound: value >= low (603); else low <= value <= high (602).
bool orvls_check_range(int64_t value, const char* name, int64_t low, int64_t high, int64_t* check_count);
// value <= limit (601).
bool orvls_check_at_most(int64_t value, const char* name, int64_t limit, const char* limit_name, int64_t* check_count);
// value >= low, limit >= 1, and value <= limit when limit >= 1.  A name
// beginning with "*" skips the check of value against low.
bool orvls_check_dimension(int64_t low, int64_t value, const char* name, int64_t limit, const char* limit_name,
                           int64_t* check_count);
// value >= low; then, if limit >= 1, value <= limit.
bool orvls_check_bounded(int64_t low, int64_t value, const char* name, int64_t limit, const char* limit_name,
                         int64_t* check_count);
// A row length given through a _COL_DIM option covers the row it describes:
// col_dim >= needed (600, with the option's name and the extent's name).
// Checked before the matrix is touched, so a short row is never overrun.
bool orvls_check_col_dim(int64_t col_dim, const char* name, int64_t needed, const char* extent_name);
// value is not below 0 (11061).
bool orvls_check_not_negative(double value, const char* name, int64_t* check_count);
// Every zero diagonal element of the column-major n x n matrix has zeros (and
// no NaN) along the rest of its row (11060).
template <class Real>
bool orvls_check_zero_pivot_rows(int64_t n, const Real* matrix, int64_t leading_dimension, int64_t* check_count);

}  // namespace orvls
