// A table of a routine's printed report, through the same engine, settings
// and output lock as orvls_d_write_matrix: a title, labels and a format per
// column, with a heading over the row labels and column labels that may run
// over several lines (broken at their newlines).
#pragma once

#include <cstdint>

#include "frame/print_table.h"

namespace orvls {

struct ReportTable {
    const char* title;
    const char* format;              // conversions serve the columns in turn
    const char* corner;              // heading over the row labels, or null
    LabelChoice row_labels;          // style 0 none, 1 numbers, 2 the texts
    LabelChoice column_labels;
    int64_t triangle;                // as in print_table: 0 all, 1 upper, ...
};

// Prints the rows x columns column-major matrix a (leading dimension lda)
// to the thread's output stream; errors (200) go to the error stack.
template <class Real>
void write_report_table(const ReportTable& table, int64_t rows, int64_t columns, const Real* a, int64_t lda);

}  // namespace orvls
