// The per-thread print settings and write state, and the line writer through
// which every printed line goes: to the thread's output stream, to a text in
// memory or to the console, with the page count kept as it goes.
#pragma once

#include <cstdint>
#include <cstdio>

namespace orvls {

// Page size, set and read by orvls_page.
struct PageSettings {
    int64_t page_width;
    int64_t page_length;
    static void initialise(PageSettings& page);
};

// Print style, fields 1 to 6 of orvls_write_options in this order.
struct WriteSettings {
    int64_t centering;
    int64_t row_wrap;
    int64_t paging;  // below 0: no pages; 0 and up: lines on the current page
    int64_t nan_character;
    int64_t title_page;
    int64_t format;
    static void initialise(WriteSettings& settings);
};

// Field n of orvls_write_options is kWriteFields[n - 1]: its member, its
// default, its smallest value and its largest (below the smallest: none).
struct WriteField {
    int64_t WriteSettings::*member;
    int64_t default_value;
    int64_t smallest;
    int64_t largest;
    const char* text;
};
constexpr int kWriteFieldCount = 6;
extern const WriteField kWriteFields[kWriteFieldCount];

// Where the current call writes.  The text grows by doubling; its capacity
// follows from its length, so the record keeps just these four fields.
struct WriteState {
    char* text;
    int64_t length;
    int64_t to_text;
    int64_t to_console;
    static void destroy(void* value);
};

// The calling thread's records, made on first use; null after raising
// type 5, code 200.
PageSettings* page_settings();
WriteSettings* write_settings();
WriteState* write_state();

// Clears the two target flags (and a text a broken call may have left), as
// each printing call starts; false (200 raised) when the state cannot be made.
bool start_write_call();

// Writes lines to the target of the write state.  Blanks, from pad() or at
// the end of a text, are written only when more text follows them, so no
// line ends in blanks.
class LineWriter {
public:
    LineWriter(FILE* stream, WriteState& state, WriteSettings& settings, int64_t page_length);

    // Starts a line; a full page is closed first by a form feed.
    void begin_line();
    void pad(int64_t blanks) { pending_blanks_ += blanks; }
    void put(const char* text, int64_t length);
    void end_line();
    void blank_line()
    {
        begin_line();
        end_line();
    }
    // An empty line of a title: a bare newline that adds one to the paging
    // setting whatever its value, since that setting is the line count.
    void bare_newline();
    void page_break();

    bool paging() const { return settings_.paging >= 0; }
    bool at_page_top() const { return settings_.paging == 0; }
    // Lines still free on the page; with paging off, as many as asked.
    int64_t lines_left() const { return paging() ? page_length_ - settings_.paging : INT64_MAX; }
    int64_t page_length() const { return page_length_; }
    // True once a text could not grow (type 5, code 200 raised).
    bool failed() const { return failed_; }

private:
    void emit(const char* text, int64_t length);
    void newline();

    FILE* stream_;
    WriteState& state_;
    WriteSettings& settings_;
    int64_t page_length_;
    int64_t pending_blanks_ = 0;
    bool failed_ = false;
};

// Writes `text` broken at its newlines into lines of at most `width`
// (broken at the last blank that fits, else cut), each centred in `width`
// when `centering` is set.  An empty text writes nothing.
void write_title(LineWriter& out, const char* text, int64_t width, bool centering);
// The number of lines write_title gives.
int64_t count_title_lines(const char* text, int64_t width);

}  // namespace orvls
