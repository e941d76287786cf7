// Reports of the regression routines: the selection reports, built as texts
// in memory, and the print selectors of the summary and case reports.
#pragma once

#include <cstddef>

namespace orvls::regression {

// Appends printf-formatted text to an allocated text; false when memory
// runs out (the text is then freed and null).
bool append(char*& text, std::size_t& length, const char* format, ...) __attribute__((format(printf, 3, 4)));

// Hands a finished report to its target: the caller's text pointer, or the
// standard output under the output lock (the text is then freed).
void deliver_report(char* text, char** text_target, bool to_stdout);

// Whether a print selector asks for `section` (an upper-case letter or a
// digit): "A" anywhere, in either case, asks for all; otherwise "N"
// anywhere for none; otherwise each character named.  Null asks for none.
bool print_selects(const char* selector, char section);
// Whether a print selector asks for no section at all by its "N".
bool print_selects_none(const char* selector);

}  // namespace orvls::regression
