#include "frame/print_table.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "frame/memory.h"
#include "orvls.h"

namespace orvls {

namespace {

constexpr int64_t kGap = 2;  // blanks between two columns

struct Range {
    int64_t first;
    int64_t end;
};

struct Text {
    const char* text;
    int64_t length;
};

bool shown(int64_t triangle, int64_t i, int64_t j)
{
    switch (triangle) {
    case 1:
        return j >= i;
    case 2:
        return j > i;
    case -1:
        return j <= i;
    case -2:
        return j < i;
    default:
        return true;
    }
}

// Rows and columns that hold at least one entry of the triangle.
Range shown_rows(int64_t triangle, int64_t rows, int64_t columns)
{
    switch (triangle) {
    case 1:
        return {0, std::min(rows, columns)};
    case 2:
        return {0, std::min(rows, columns - 1)};
    case -2:
        return {1, rows};
    default:
        return {0, rows};
    }
}

Range shown_columns(int64_t triangle, int64_t rows, int64_t columns)
{
    switch (triangle) {
    case 2:
        return {1, columns};
    case -1:
        return {0, std::min(columns, rows)};
    case -2:
        return {0, std::min(columns, rows - 1)};
    default:
        return {0, columns};
    }
}

Text label(const LabelChoice& choice, const char* word, int64_t index, char (&buffer)[32])
{
    const auto number = static_cast<long long>(index + 1);
    switch (choice.style) {
    case 1:
        return {buffer, std::snprintf(buffer, sizeof buffer, "%lld", number)};
    case 2:
        return {choice.given[index], static_cast<int64_t>(std::strcspn(choice.given[index], "\n"))};
    case 3:
        return {buffer, std::snprintf(buffer, sizeof buffer, "%s %lld", word, number)};
    default:
        return {"", 0};
    }
}

// Lines of a label or heading: its newlines break it, and one that ends it
// starts no further line.
int64_t line_count(const char* text)
{
    int64_t lines = 1;
    for (const char* c = text; *c != '\0'; ++c)
        lines += (*c == '\n' && c[1] != '\0');
    return lines;
}

// Line k (below line_count) of a text.
Text line_of(const char* text, int64_t k)
{
    for (; k > 0; --k)
        text = std::strchr(text, '\n') + 1;
    return {text, static_cast<int64_t>(std::strcspn(text, "\n"))};
}

// Line k of a header `height` lines high for a text of `lines` lines, which
// sits at the bottom of the header.
Text header_piece(const char* text, int64_t lines, int64_t k, int64_t height)
{
    const int64_t own = k - (height - lines);
    return own >= 0 ? line_of(text, own) : Text{"", 0};
}

template <class T>
class TablePrinter {
public:
    TablePrinter(LineWriter& out, const MatrixView<T>& matrix, const TableRequest& request, Range rows, Range columns,
                 int64_t* widths)
        : out_(out), matrix_(matrix), request_(request), rows_(rows), columns_(columns), widths_(widths)
    {
        label_height_ = 1;
        for (int64_t j = columns.first; j < columns.end; ++j)
            label_height_ = std::max(label_height_, column_label_lines(j));
        if (request.corner != nullptr)
            label_height_ = std::max(label_height_, text_lines(request.corner));
        label_width_ = std::min(longest_row_label(), request.page_width / 2);
        const int64_t room = request.page_width - (label_width_ > 0 ? label_width_ + kGap : 0);
        for (int64_t j = columns.first; j < columns.end; ++j)
            width(j) = std::min(natural_width(j), room);
    }

    void print()
    {
        const int64_t wrap = request_.settings->row_wrap;
        const int64_t band = wrap > 0 ? wrap : rows_.end - rows_.first;
        for (int64_t b0 = rows_.first, b1; b0 < rows_.end; b0 = b1) {
            b1 = rows_.end - b0 > band ? b0 + band : rows_.end;
            for (int64_t c0 = columns_.first, c1; c0 < columns_.end; c0 = c1) {
                c1 = block_end(c0);
                print_block(b0, b1, c0, c1);
            }
        }
    }

private:
    int64_t& width(int64_t j) { return widths_[j - columns_.first]; }

    int64_t cell(int64_t i, int64_t j, char (&text)[kCellSize]) const
    {
        const Conversion& conversion = request_.conversions[j % request_.conversion_count];
        return format_cell(conversion, matrix_.at(i, j), request_.settings->nan_character != 0, text);
    }

    Text row_label(int64_t i, char (&buffer)[32]) const { return label(request_.row_labels, "Row", i, buffer); }
    Text column_label(int64_t j, char (&buffer)[32]) const { return label(request_.column_labels, "Col", j, buffer); }

    // Lines of a given text: one unless the request breaks labels at newlines.
    int64_t text_lines(const char* text) const { return request_.label_lines ? line_count(text) : 1; }
    int64_t column_label_lines(int64_t j) const
    {
        return request_.column_labels.style == 2 ? text_lines(request_.column_labels.given[j]) : 1;
    }

    // Line k of the header over column j, or of the heading of the row
    // labels (j below 0).
    Text header_text(int64_t j, int64_t k, char (&buffer)[32]) const
    {
        if (j < 0)
            return request_.corner == nullptr ? Text{"", 0}
                                              : header_piece(request_.corner, text_lines(request_.corner), k,
                                                             label_height_);
        if (request_.column_labels.style != 2)
            return k == label_height_ - 1 ? column_label(j, buffer) : Text{"", 0};
        return header_piece(request_.column_labels.given[j], column_label_lines(j), k, label_height_);
    }

    // The widest line of the header over column j (or the row labels).
    int64_t header_width(int64_t j) const
    {
        char buffer[32];
        int64_t widest = 0;
        for (int64_t k = 0; k < label_height_; ++k)
            widest = std::max(widest, header_text(j, k, buffer).length);
        return widest;
    }

    int64_t longest_row_label() const
    {
        int64_t longest = 0;
        char buffer[32];
        for (int64_t i = rows_.first; i < rows_.end; ++i)
            longest = std::max(longest, row_label(i, buffer).length);
        if (request_.row_labels.style != 0 && request_.column_labels.style != 0)
            longest = std::max(longest, header_width(-1));
        return longest;
    }

    // The widest of the column's label and of its entries.
    int64_t natural_width(int64_t j) const
    {
        char text[kCellSize];
        int64_t widest = request_.column_labels.style != 0 ? header_width(j) : 0;
        for (int64_t i = rows_.first; i < rows_.end; ++i)
            if (shown(request_.triangle, i, j))
                widest = std::max(widest, cell(i, j, text));
        return widest;
    }

    // Room column j takes on a line of the block that starts at column `first`.
    int64_t step(int64_t j, int64_t first) { return (j == first && label_width_ == 0 ? 0 : kGap) + width(j); }

    // End of the block of columns from `first` that fits the page width
    // (at least one column).
    int64_t block_end(int64_t first)
    {
        int64_t used = label_width_ + step(first, first);
        int64_t j = first + 1;
        for (; j < columns_.end && used + step(j, first) <= request_.page_width; ++j)
            used += step(j, first);
        return j;
    }

    int64_t block_width(int64_t first, int64_t end)
    {
        int64_t used = label_width_;
        for (int64_t j = first; j < end; ++j)
            used += step(j, first);
        return used;
    }

    bool row_in_block(int64_t i, int64_t first, int64_t end) const
    {
        for (int64_t j = first; j < end; ++j)
            if (shown(request_.triangle, i, j))
                return true;
        return false;
    }

    int64_t header_lines(bool with_title) const
    {
        return (with_title ? count_title_lines(request_.title, request_.page_width) : 0) +
               (request_.column_labels.style != 0 ? label_height_ : 0);
    }

    void header(int64_t first, int64_t end, int64_t indent, bool with_title)
    {
        if (with_title)
            write_title(out_, request_.title, request_.page_width, request_.settings->centering != 0);
        if (request_.column_labels.style == 0)
            return;
        char buffer[32];
        for (int64_t k = 0; k < label_height_; ++k) {
            out_.begin_line();
            out_.pad(indent);
            if (label_width_ > 0) {
                const Text corner = header_text(-1, k, buffer);
                const int64_t length = std::min(corner.length, label_width_);
                out_.put(corner.text, length);
                out_.pad(label_width_ - length);
            }
            for (int64_t j = first; j < end; ++j) {
                const Text text = header_text(j, k, buffer);
                const int64_t length = std::min(text.length, width(j));
                out_.pad(step(j, first) - length);
                out_.put(text.text, length);
            }
            out_.end_line();
        }
    }

    void row_line(int64_t i, int64_t first, int64_t end, int64_t indent)
    {
        char buffer[32];
        char text[kCellSize];
        out_.begin_line();
        out_.pad(indent);
        const Text name = row_label(i, buffer);
        const int64_t name_length = std::min(name.length, label_width_);
        const bool right_aligned = request_.row_labels.style == 1;
        out_.pad(right_aligned ? label_width_ - name_length : 0);
        out_.put(name.text, name_length);
        out_.pad(right_aligned ? 0 : label_width_ - name_length);
        for (int64_t j = first; j < end; ++j) {
            if (!shown(request_.triangle, i, j)) {
                out_.pad(step(j, first));
                continue;
            }
            int64_t length = cell(i, j, text);
            if (length > width(j)) {  // a cut number would mislead: mark the cell instead
                length = width(j);
                std::memset(text, '*', static_cast<std::size_t>(length));
            }
            out_.pad(step(j, first) - length);
            out_.put(text, length);
        }
        out_.end_line();
    }

    // One band of rows over one block of columns, with its header; a block
    // the triangle leaves empty prints nothing.
    void print_block(int64_t b0, int64_t b1, int64_t first, int64_t end)
    {
        int64_t i = b0;
        while (i < b1 && !row_in_block(i, first, end))
            ++i;
        if (i == b1)
            return;
        const bool title_page = request_.settings->title_page != 0;
        const bool with_title = !printed_any_ || title_page;
        const int64_t indent =
            request_.settings->centering != 0 ? std::max<int64_t>(0, (request_.page_width - block_width(first, end)) / 2)
                                              : 0;
        const int64_t separator = printed_any_ ? 1 : 0;
        if (out_.paging() && !out_.at_page_top() && out_.lines_left() < separator + header_lines(with_title) + 1)
            out_.page_break();
        if (printed_any_ && !out_.at_page_top())
            out_.blank_line();
        printed_any_ = true;
        header(first, end, indent, with_title);
        const bool repeat_header = header_lines(title_page) + 1 <= out_.page_length();
        for (; i < b1; ++i) {
            if (!row_in_block(i, first, end))
                continue;
            if (out_.paging() && out_.lines_left() <= 0) {
                out_.page_break();
                if (repeat_header)
                    header(first, end, indent, title_page);
            }
            row_line(i, first, end, indent);
        }
    }

    LineWriter& out_;
    const MatrixView<T>& matrix_;
    const TableRequest& request_;
    Range rows_;
    Range columns_;
    int64_t* widths_;
    int64_t label_width_ = 0;
    int64_t label_height_ = 1;  // lines of the column header
    bool printed_any_ = false;
};

}  // namespace

template <class T>
bool print_table(LineWriter& out, const MatrixView<T>& matrix, const TableRequest& request)
{
    const Range rows = shown_rows(request.triangle, matrix.rows, matrix.columns);
    const Range columns = shown_columns(request.triangle, matrix.rows, matrix.columns);
    if (rows.end <= rows.first || columns.end <= columns.first) {
        write_title(out, request.title, request.page_width, request.settings->centering != 0);
        return true;
    }
    WorkArray<int64_t> widths(static_cast<std::size_t>(columns.end - columns.first));
    if (!widths.ok()) {
        orvls_ermes(5, 200);
        return false;
    }
    TablePrinter<T>(out, matrix, request, rows, columns, widths.get()).print();
    return true;
}

template bool print_table<float>(LineWriter&, const MatrixView<float>&, const TableRequest&);
template bool print_table<double>(LineWriter&, const MatrixView<double>&, const TableRequest&);
template bool print_table<int64_t>(LineWriter&, const MatrixView<int64_t>&, const TableRequest&);

}  // namespace orvls
