// Result printing: the public routines that print a matrix, a real or a
// title, and the two that keep the per-thread page and print settings.
#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "frame/checks.h"
#include "frame/envelope.h"
#include "frame/error_block.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/print_format.h"
#include "frame/print_sink.h"
#include "frame/print_table.h"
#include "frame/report_table.h"
#include "frame/tsd.h"
#include "orvls.h"

namespace orvls {

namespace {

constexpr int64_t kMatrixPositionals = 4;  // title, nra, nca, a
constexpr int64_t kSmallestPage = 10;
constexpr int64_t kLongestTitle = 255;

// ---------------------------------------------------------------- settings

void l_page(int64_t option, int64_t* value)
{
    orvls_e1psh("l_page");
    PageSettings* page = page_settings();
    if (page != nullptr) {
        switch (option) {
        case 1:
            *value = page->page_width;
            break;
        case 2:
            *value = page->page_length;
            break;
        case -1:
        case -2:
            if (*value < kSmallestPage) {
                orvls_e1sti(1, *value);
                orvls_ermes(5, option == -1 ? 10021 : 10022);
            }
            if (orvls_n1rty(0) == 0)
                (option == -1 ? page->page_width : page->page_length) = *value;
            break;
        default:
            orvls_ermes(5, 10020);
        }
    }
    orvls_e1pop("l_page");
}

// True when `value` is allowed for the field; else raises 109 or 110.
bool write_value_allowed(const WriteField& field, int64_t value)
{
    const bool bounded = field.largest >= field.smallest;
    if (value >= field.smallest && (!bounded || value <= field.largest))
        return true;
    orvls_e1stl(1, field.text);
    orvls_e1sti(1, field.smallest);
    if (bounded) {
        orvls_e1sti(2, field.largest);
        orvls_e1sti(3, value);
    } else {
        orvls_e1sti(2, value);
    }
    orvls_ermes(5, bounded ? 109 : 110);
    return false;
}

void l_write_options(int64_t option, int64_t* value)
{
    orvls_e1psh("l_write_options");
    WriteSettings* settings = nullptr;
    if (option < -kWriteFieldCount || option > kWriteFieldCount) {
        orvls_ermes(5, 10019);
    } else if ((settings = write_settings()) != nullptr) {
        if (option == 0) {
            WriteSettings::initialise(*settings);
        } else if (option > 0) {
            *value = settings->*kWriteFields[option - 1].member;
        } else {
            const WriteField& field = kWriteFields[-option - 1];
            if (write_value_allowed(field, *value))
                settings->*field.member = *value;
        }
    }
    orvls_e1pop("l_write_options");
}

// ---------------------------------------------------------------- output

// Holds the output lock for a scope, when asked to.
class OutputLockScope {
public:
    OutputLockScope(bool take, FILE* stream) : stream_(take ? stream : nullptr), taken_(take)
    {
        if (taken_)
            orvls_output_lock(stream_);
    }
    ~OutputLockScope()
    {
        if (taken_)
            orvls_output_unlock(stream_);
    }
    OutputLockScope(const OutputLockScope&) = delete;
    OutputLockScope& operator=(const OutputLockScope&) = delete;

private:
    FILE* stream_;
    bool taken_;
};

// What a printing call writes with: the thread's output stream and settings.
struct Target {
    FILE* stream = nullptr;
    PageSettings* page = nullptr;
    WriteSettings* settings = nullptr;
};

// False after an error raised by the stream query or the records.  A
// report printed from inside a routine may find a warning of that routine
// standing: only a new error counts.
bool find_target(Target& target)
{
    const ErrorStackEntry standing = current_error();
    orvls_umach(2, &target.stream);
    target.page = page_settings();
    target.settings = write_settings();
    const ErrorStackEntry& now = current_error();
    return now.type == standing.type && now.code == standing.code && target.page != nullptr &&
           target.settings != nullptr;
}

void flush_target(const WriteState& state, FILE* stream)
{
    if (!state.to_text)
        std::fflush(state.to_console ? stdout : stream);
}

// ---------------------------------------------------------------- matrices

struct MatrixOptions {
    int64_t a_col_dim = 0;
    bool a_col_dim_given = false;
    int64_t triangle = 0;
    LabelChoice row_labels{-1, nullptr};
    LabelChoice column_labels{-1, nullptr};
    bool transpose = false;
    bool format_given = false;
    const char* format = nullptr;
    char** text_result = nullptr;
    bool to_text = false;
    bool to_console = false;
};

// Options of the three exclusive groups: triangle, row labels, column labels.
struct GroupOption {
    int code;
    int group;
    int64_t value;
};
constexpr GroupOption kGroupOptions[] = {
    {ORVLS_PRINT_ALL, 0, 0},    {ORVLS_TRIANGLE_M1, 0, -1}, {ORVLS_TRIANGLE_M2, 0, -2}, {ORVLS_TRIANGLE_P1, 0, 1},
    {ORVLS_TRIANGLE_P2, 0, 2},  {ORVLS_ROW_STYLE_0, 1, 0},  {ORVLS_ROW_STYLE_1, 1, 1},  {ORVLS_ROW_LABELS, 1, 2},
    {ORVLS_ROW_STYLE_3, 1, 3},  {ORVLS_COL_STYLE_0, 2, 0},  {ORVLS_COL_STYLE_1, 2, 1},  {ORVLS_COL_LABELS, 2, 2},
    {ORVLS_COL_STYLE_3, 2, 3},
};
constexpr int64_t kGroupConflict[3] = {10013, 10014, 10015};

const GroupOption* group_option(int code)
{
    for (const GroupOption& option : kGroupOptions)
        if (option.code == code)
            return &option;
    return nullptr;
}

// Takes a grouped option; false (conflict raised) when its group was chosen before.
bool take_group_option(OptionReader& reader, const GroupOption& option, int (&chosen)[3], MatrixOptions& o)
{
    if (option.group == 0) {
        o.triangle = option.value;
    } else {
        LabelChoice& labels = option.group == 1 ? o.row_labels : o.column_labels;
        labels.style = option.value;
        if (option.value == 2) {
            labels.given = reader.pointer<const char* const*>();
        }
    }
    if (++chosen[option.group] == 1)
        return true;
    orvls_ermes(5, kGroupConflict[option.group]);
    return false;
}

// The option walk.  An unknown code is reported (103) and the walk goes on;
// a second option of a group ends it.
void walk_matrix_options(OptionReader& reader, MatrixOptions& o)
{
    int chosen[3] = {0, 0, 0};
    int code = 0;
    while (reader.next(code)) {
        if (const GroupOption* option = group_option(code)) {
            if (!take_group_option(reader, *option, chosen, o))
                return;
            continue;
        }
        switch (code) {
        case ORVLS_A_COL_DIM:
            o.a_col_dim = reader.integer();
            o.a_col_dim_given = true;
            break;
        case ORVLS_TRANSPOSE:
            o.transpose = true;
            break;
        case ORVLS_WRITE_FORMAT:
            o.format = reader.pointer<const char*>();
            o.format_given = true;
            break;
        case ORVLS_RETURN_STRING:
            o.text_result = reader.pointer<char**>();
            o.to_text = true;
            if (!refuse_null_user(o.text_result, "string", "ORVLS_RETURN_STRING"))
                *o.text_result = nullptr;
            break;
        case ORVLS_WRITE_TO_CONSOLE:
            o.to_console = true;
            break;
        default:
            reader.unknown(code);
        }
    }
}

// Refuses a null pointer: string 1 = its name, string 2 = the option or
// routine that passed it, int 1 = the element's index when it is one.
void refuse_null(const void* pointer, const char* name, const char* where, int64_t index = -1)
{
    if (pointer != nullptr)
        return;
    if (index >= 0)
        orvls_e1sti(1, index);
    orvls_e1stl(1, name);
    orvls_e1stl(2, where);
    orvls_ermes(5, 104);
}

void refuse_null_labels(const LabelChoice& labels, const char* name, const char* option, int64_t count)
{
    if (labels.style != 2)
        return;
    refuse_null(labels.given, name, option);
    for (int64_t i = 0; labels.given != nullptr && i < count; ++i)
        refuse_null(labels.given[i], name, option, i);
}

bool matrix_arguments_pass(const char* routine, const char* title, int64_t nra, int64_t nca, const void* a,
                           const MatrixOptions& o)
{
    int64_t checks = 0;
    orvls_check_range(nra, "nra", 0, -1, &checks);
    orvls_check_range(o.a_col_dim, "a_col_dim", 1, 0, &checks);
    if (nca > 0 && o.a_col_dim > 0)
        orvls_check_at_most(nca, "nca", o.a_col_dim, "a_col_dim", &checks);
    orvls_check_range(nca, "nca", 0, -1, &checks);
    refuse_null(title, "title", routine);
    if (nra != 0 && nca != 0)
        refuse_null(a, "a", routine);
    if (o.format_given)
        refuse_null(o.format, "fmt", "ORVLS_WRITE_FORMAT");
    refuse_null_labels(o.row_labels, "rlabel", "ORVLS_ROW_LABELS", o.transpose ? nca : nra);
    refuse_null_labels(o.column_labels, "clabel", "ORVLS_COL_LABELS", o.transpose ? nra : nca);
    return orvls_n1rty(0) == 0;
}

const char* default_format(int64_t setting)
{
    switch (setting) {
    case 1:
        return "%13.6W";
    case 2:
        return "%13.5e";
    default:
        return "%11.4W";
    }
}

// A style not chosen: numbers when there is more than one line of them.
LabelChoice label_choice(const LabelChoice& given, int64_t extent)
{
    return given.style >= 0 ? given : LabelChoice{extent != 1 ? 1 : 0, nullptr};
}

void transpose_in_place(int64_t rows, int64_t columns, float* a) { orvls_f_m1ran(rows, columns, a, a); }
void transpose_in_place(int64_t rows, int64_t columns, double* a) { orvls_d_m1ran(rows, columns, a, a); }
void transpose_in_place(int64_t rows, int64_t columns, int64_t* a) { orvls_i_m1ran(rows, columns, a, a); }

// Prints the checked matrix; false when memory ran out (200 raised).  The
// printer reads column-major, so a is transposed in place and back unless
// the caller asked to print it as stored.
template <class T>
bool print_matrix(LineWriter& out, const Target& target, const char* title, int64_t nra, int64_t nca, T* a,
                  const MatrixOptions& o, const Conversion* conversions, int64_t conversion_count)
{
    const int64_t rows = o.transpose ? nca : nra;
    const int64_t columns = o.transpose ? nra : nca;
    const TableRequest request{title,
                               nullptr,
                               false,
                               label_choice(o.row_labels, rows),
                               label_choice(o.column_labels, columns),
                               o.triangle,
                               conversions,
                               conversion_count,
                               target.page->page_width,
                               target.settings};
    if (nra == 0 || nca == 0) {
        write_title(out, title, request.page_width, target.settings->centering != 0);
        return true;
    }
    if (o.transpose)
        return print_table(out, MatrixView<T>{a, rows, columns, o.a_col_dim}, request);
    transpose_in_place(nra, o.a_col_dim, a);
    const bool printed = print_table(out, MatrixView<T>{a, rows, columns, nra}, request);
    transpose_in_place(o.a_col_dim, nra, a);
    return printed;
}

// Hands the written text (at least an empty one) to the caller when it was
// written whole, else drops it.
void hand_over_text(WriteState& state, bool written, char** text_result)
{
    char* text = state.text;
    state.text = nullptr;
    state.length = 0;
    if (written && text == nullptr && (text = static_cast<char*>(orvls_calloc(1, 1))) == nullptr) {
        orvls_ermes(5, 200);
        written = false;
    }
    if (written)
        *text_result = text;
    else
        std::free(text);
}

// Reads the conversions of `format`, opens the line writer with the blank
// line the paging setting asks for, and prints through `print`; false when
// memory ran out (200 raised).
template <class Print>
bool print_formatted(const Target& target, WriteState& state, const char* format, Print&& print)
{
    // A format without a conversion is read as one literal conversion.
    const int64_t conversion_count = std::max<int64_t>(1, count_conversions(format));
    WorkArray<Conversion> conversions(static_cast<std::size_t>(conversion_count));
    if (!conversions.ok()) {
        orvls_ermes(5, 200);
        return false;
    }
    read_conversions(format, conversions.get());
    LineWriter out(target.stream, state, *target.settings, target.page->page_length);
    if (target.settings->paging > 0 || target.settings->paging == -2)
        out.blank_line();
    return print(out, conversions.get(), conversion_count) && !out.failed();
}

template <class T>
void write_matrix(const char* routine, const char* title, int64_t nra, int64_t nca, T* a, OptionReader* reader)
{
    if (!start_write_call())
        return;
    WriteState& state = *write_state();
    MatrixOptions o;
    if (reader != nullptr)
        walk_matrix_options(*reader, o);
    if (!o.a_col_dim_given)
        o.a_col_dim = nca == 0 ? 1 : nca;
    if (orvls_n1rty(0) > 0)
        return;
    state.to_text = o.to_text;
    state.to_console = o.to_console;
    Target target;
    if (!find_target(target))
        return;
    if (o.to_text && o.to_console) {
        orvls_ermes(5, 20749);
        return;
    }
    OutputLockScope lock(!o.to_text, target.stream);
    if (!matrix_arguments_pass(routine, title, nra, nca, a, o))
        return;
    const char* format = o.format_given ? o.format : default_format(target.settings->format);
    const bool printed = print_formatted(target, state, format, [&](LineWriter& out, const Conversion* list,
                                                                    int64_t count) {
        return print_matrix(out, target, title, nra, nca, a, o, list, count);
    });
    if (o.to_text)
        hand_over_text(state, printed, o.text_result);
    else
        flush_target(state, target.stream);
}

template <class T>
void write_matrix_entry(const char* routine, const char* title, int64_t nra, int64_t nca, T* a, va_list ap)
{
    OptionReader options(ap, kMatrixPositionals, UnknownCode::utility_go_on);
    envelope(routine, [&] { write_matrix(routine, title, nra, nca, a, &options); });
}

// ---------------------------------------------------------------- titles and reals

void write_text(const char* text, int64_t width)
{
    if (text == nullptr || text[0] == '\0')
        return;
    int64_t checks = 0;
    if (width < 1)
        orvls_ermes(5, 10011);
    orvls_check_range(static_cast<int64_t>(std::strlen(text)), "strlen(text)", 0, kLongestTitle, &checks);
    Target target;
    if (orvls_n1rty(0) > 0 || !start_write_call() || !find_target(target))
        return;
    OutputLockScope lock(true, target.stream);
    LineWriter out(target.stream, *write_state(), *target.settings, target.page->page_length);
    write_title(out, text, width, target.settings->centering != 0);
    flush_target(*write_state(), target.stream);
}

// A blank line, then the value as a 1 by 1 matrix under its title.
template <class Real>
void write_real(const char* routine, const char* title, Real value)
{
    Target target;
    if (!start_write_call() || !find_target(target))
        return;
    OutputLockScope lock(true, target.stream);
    LineWriter out(target.stream, *write_state(), *target.settings, target.page->page_length);
    out.blank_line();
    write_matrix<Real>(routine, title, 1, 1, &value, nullptr);
}

}  // namespace

template <class Real>
void write_report_table(const ReportTable& table, int64_t rows, int64_t columns, const Real* a, int64_t lda)
{
    Target target;
    if (!start_write_call() || !find_target(target))
        return;
    OutputLockScope lock(true, target.stream);
    WriteState& state = *write_state();
    // The empty lines of a report's titles count towards the paging setting,
    // which is a line count only with pages: without them it stays as it was.
    const int64_t paging = target.settings->paging;
    print_formatted(target, state, table.format, [&](LineWriter& out, const Conversion* list, int64_t count) {
        const TableRequest request{table.title,    table.corner, true,  table.row_labels,        table.column_labels,
                                   table.triangle, list,         count, target.page->page_width, target.settings};
        return print_table(out, MatrixView<Real>{a, rows, columns, lda}, request);
    });
    if (paging < 0)
        target.settings->paging = paging;
    flush_target(state, target.stream);
}

template void write_report_table<float>(const ReportTable&, int64_t, int64_t, const float*, int64_t);
template void write_report_table<double>(const ReportTable&, int64_t, int64_t, const double*, int64_t);

}  // namespace orvls

using namespace orvls;

extern "C" {

ORVLS_API void orvls_page(int64_t option, int64_t* value)
{
    envelope("orvls_page", [&] { l_page(option, value); });
}

ORVLS_API void orvls_write_options(int64_t option, int64_t* value)
{
    envelope("orvls_write_options", [&] { l_write_options(option, value); });
}

ORVLS_API void orvls_f_write_matrix(const char* title, int64_t nra, int64_t nca, float* a, ...)
{
    va_list ap;
    va_start(ap, a);
    write_matrix_entry("orvls_f_write_matrix", title, nra, nca, a, ap);
    va_end(ap);
}

ORVLS_API void orvls_d_write_matrix(const char* title, int64_t nra, int64_t nca, double* a, ...)
{
    va_list ap;
    va_start(ap, a);
    write_matrix_entry("orvls_d_write_matrix", title, nra, nca, a, ap);
    va_end(ap);
}

ORVLS_API void orvls_i_write_matrix(const char* title, int64_t nra, int64_t nca, int64_t* a, ...)
{
    va_list ap;
    va_start(ap, a);
    write_matrix_entry("orvls_i_write_matrix", title, nra, nca, a, ap);
    va_end(ap);
}

ORVLS_API void orvls_wrtrl(const char* text, int64_t width)
{
    envelope("orvls_wrtrl", [&] { write_text(text, width); });
}

ORVLS_API void orvls_wrrrs(const char* title, float value)
{
    envelope("orvls_wrrrs", [&] { write_real("orvls_wrrrs", title, value); });
}

ORVLS_API void orvls_dwrrrs(const char* title, double value)
{
    envelope("orvls_dwrrrs", [&] { write_real("orvls_dwrrrs", title, value); });
}

}  // extern "C"
