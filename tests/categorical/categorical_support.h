// Shared pieces of the contingency-table tests: the public routines in
// either precision, and the tables of the reference files.
#pragma once

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "capture.h"
#include "orvls.h"
#include "reference_table.h"

template <class Real, class... Options>
Real exact_network(int64_t rows, int64_t columns, const Real* table, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_exact_network(rows, columns, table, options...);
    else
        return orvls_d_exact_network(rows, columns, table, options...);
}

template <class Real, class... Options>
Real exact_enumeration(int64_t rows, int64_t columns, const Real* table, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_exact_enumeration(rows, columns, table, options...);
    else
        return orvls_d_exact_enumeration(rows, columns, table, options...);
}

template <class Real, class... Options>
Real contingency_table(int64_t rows, int64_t columns, const Real* table, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_contingency_table(rows, columns, table, options...);
    else
        return orvls_d_contingency_table(rows, columns, table, options...);
}

// A table of a reference file: its shape and its counts, row-major.
struct Table {
    int64_t rows, columns;
    std::vector<double> cells;
};

inline Table table_of(const ReferenceRow& row)
{
    Table t{static_cast<int64_t>(row["rows"]), static_cast<int64_t>(row["columns"]), {}};
    std::istringstream in(row.text("cells"));
    for (double x; in >> x;)
        t.cells.push_back(x);
    EXPECT_EQ(static_cast<int64_t>(t.cells.size()), t.rows * t.columns) << row.text("name");
    return t;
}

// |got - want| within 1e-12 relative, or 1e-14 absolute for small values.
inline bool agrees(double got, double want, double relative = 1e-12, double absolute = 1e-14)
{
    if (std::isnan(want))
        return std::isnan(got);
    return std::fabs(got - want) <= std::max(relative * std::fabs(want), absolute);
}
