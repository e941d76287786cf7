// What the two exact tests share: their common options, the table they
// read, and how they hand their p-value and the observed probability back.
#pragma once

#include <cmath>
#include <cstdint>

#include "categorical/counts.h"
#include "frame/checks.h"
#include "frame/machine.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls::categorical {

template <class Real>
struct ExactOutputs {
    Real* prob_table = nullptr;
    Real* p_value = nullptr;
    int64_t table_col_dim;

    explicit ExactOutputs(int64_t n_columns) : table_col_dim(n_columns) {}

    // Reads the values of a common option; false when `code` is not one.
    bool read(OptionReader& options, int code)
    {
        switch (code) {
        case ORVLS_PROB_TABLE: prob_table = address(options, "prob_table", "ORVLS_PROB_TABLE"); return true;
        case ORVLS_P_VALUE_ADR: p_value = address(options, "p_value", "ORVLS_P_VALUE_ADR"); return true;
        case ORVLS_TABLE_COL_DIM: table_col_dim = options.integer(); return true;
        default: return false;
        }
    }

    void store(double p, double probability) const
    {
        if (prob_table != nullptr)
            *prob_table = static_cast<Real>(probability);
        if (p_value != nullptr)
            *p_value = static_cast<Real>(p);
    }
    void store_missing() const { store(missing_value<double>(), missing_value<double>()); }

private:
    static Real* address(OptionReader& options, const char* argument, const char* option)
    {
        Real* pointer = options.pointer<Real*>();
        refuse_null_user(pointer, argument, option);
        return pointer;
    }
};

// The checks that both tests make of their dimensions and of the table's
// row length, then the table itself, with rows <= columns.  False when any
// refuses, with the outputs set to NaN.
template <class Real>
bool read_exact_table(int64_t n_rows, int64_t n_columns, const Real* table, const ExactOutputs<Real>& outputs,
                      CountTable& counts)
{
    int64_t checks = 0;
    orvls_check_range(n_rows, "n_rows", 1, -1, &checks);
    orvls_check_range(n_columns, "n_columns", 1, -1, &checks);
    if (orvls_n1rty(0) == 0)
        orvls_check_col_dim(outputs.table_col_dim, "ORVLS_TABLE_COL_DIM", n_columns, "n_columns");
    if (orvls_n1rty(0) > 0 || !read_counts(n_rows, n_columns, table, outputs.table_col_dim, true, counts)) {
        outputs.store_missing();
        return false;
    }
    return true;
}

// The p-value as a probability: rounding can carry a sum a little past 1.
inline double as_probability(double p) { return std::min(1.0, std::max(0.0, p)); }

}  // namespace orvls::categorical
