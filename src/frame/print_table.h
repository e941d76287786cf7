// The layout of a printed matrix: title, labels, column blocks that fit the
// page width, bands of rows, triangles, centering and paging.  The rules are
// told beside the declarations in the public header.
#pragma once

#include <cstdint>

#include "frame/print_format.h"
#include "frame/print_sink.h"

namespace orvls {

// A matrix as the printer reads it: element (i, j) at a[i + j * leading].
template <class T>
struct MatrixView {
    const T* a;
    int64_t rows;
    int64_t columns;
    int64_t leading;
    T at(int64_t i, int64_t j) const { return a[i + j * leading]; }
};

// Label style 0 (none), 1 (numbers), 2 (the given texts), 3 (a word and a number).
struct LabelChoice {
    int64_t style;
    const char* const* given;
};

struct TableRequest {
    const char* title;
    // Heading over the row labels, or null.  With `label_lines` set, it and
    // the given column labels are broken at their newlines into header
    // lines, bottom-aligned; otherwise a given label ends at its first
    // newline and the header is one line.
    const char* corner;
    bool label_lines;
    LabelChoice row_labels;
    LabelChoice column_labels;
    int64_t triangle;  // 0 all; 1 and 2 upper with and without the diagonal; -1 and -2 lower
    const Conversion* conversions;
    int64_t conversion_count;  // column j takes conversions[j % conversion_count]
    int64_t page_width;
    const WriteSettings* settings;
};

// Prints the title and the entries of `matrix` that the triangle shows;
// false when memory ran out (type 5, code 200 raised).
template <class T>
bool print_table(LineWriter& out, const MatrixView<T>& matrix, const TableRequest& request);

}  // namespace orvls
