// Entry formats of the printed matrices: the format text is read into a list
// of conversions, one per column in turn, and each entry is turned into the
// text of one cell.  No text of the caller ever reaches printf as a format:
// each conversion is rebuilt from its checked parts.
#pragma once

#include <cstdint>

namespace orvls {

// Longest cell text, terminator included; longer cells are cut.
constexpr int64_t kCellSize = 256;
// Widths and precisions of a conversion are held at most this large.
constexpr int64_t kLargestField = 120;

// One conversion "%[flags][width][.precision][length]letter" with the literal
// text before it (and, for the last one, after it).  A format without any
// conversion is one Conversion with letter 0: its text is every cell.
struct Conversion {
    const char* prefix;
    int64_t prefix_length;
    const char* suffix;
    int64_t suffix_length;
    char flags[6];      // of "-+ #0", each at most once, null-terminated
    int64_t width;      // -1 when not given
    int64_t precision;  // -1 when not given
    char letter;        // one of "WeEfgGdiouxX", or 0
};

// Number of conversions in `format` (0 when it has none).
int64_t count_conversions(const char* format);
// Fills `list` (room for max(1, count_conversions(format)) entries).
void read_conversions(const char* format, Conversion* list);

// The text of `value` under `conversion`, padded to the conversion's width;
// NaN prints as "NaN", or as "." when `nan_character` is set, and the
// infinities as "Inf" and "-Inf".  Returns the length written to `cell`.
template <class T>
int64_t format_cell(const Conversion& conversion, T value, bool nan_character, char (&cell)[kCellSize]);

// The W conversion: `value` in at most `width` characters with `digits`
// significant digits (see the header for the rule).  Returns the length.
int64_t format_w(double value, int64_t width, int64_t digits, char (&text)[kCellSize]);
// The same for an integer, which prints exactly when its digits fit.
int64_t format_w(int64_t value, int64_t width, int64_t digits, char (&text)[kCellSize]);

}  // namespace orvls
