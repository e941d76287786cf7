#include "frame/print_sink.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "frame/memory.h"
#include "frame/tsd.h"
#include "orvls.h"

namespace orvls {

namespace {

constexpr int64_t kSmallestText = 64;

// The allocated size of a returned text of `length` characters.
int64_t text_capacity(int64_t length)
{
    return std::max<int64_t>(kSmallestText, static_cast<int64_t>(std::bit_ceil(static_cast<uint64_t>(length) + 1)));
}

// Length of `text` without its trailing blanks.
int64_t trimmed_length(const char* text, int64_t length)
{
    while (length > 0 && text[length - 1] == ' ')
        --length;
    return length;
}

template <class T>
T* record_or_report()
{
    T* record = ThreadRecord<T>::get();
    if (record == nullptr)
        orvls_ermes(5, 200);
    return record;
}

// One line of a title, from `cursor` on; false when the text is done.  A
// newline ends a line, so a final newline adds no empty line.
bool next_title_line(const char*& cursor, int64_t width, const char*& line, int64_t& length)
{
    const char* p = cursor;
    if (*p == '\0')
        return false;
    const auto segment = static_cast<int64_t>(std::strcspn(p, "\n"));
    line = p;
    if (segment <= width) {
        length = segment;
        cursor = p + segment + (p[segment] == '\n');
        return true;
    }
    int64_t blank = width;
    while (blank > 0 && p[blank] != ' ')
        --blank;
    length = blank > 0 ? blank : width;
    cursor = p + length + (blank > 0);
    return true;
}

}  // namespace

void PageSettings::initialise(PageSettings& page)
{
    page.page_width = 78;
    page.page_length = 60;
}

const WriteField kWriteFields[kWriteFieldCount] = {
    {&WriteSettings::centering, 0, 0, 1, "ORVLS_SET_CENTERING"},
    {&WriteSettings::row_wrap, 1000, 0, -1, "ORVLS_SET_ROW_WRAP"},
    {&WriteSettings::paging, -2, -2, -3, "ORVLS_SET_PAGING"},
    {&WriteSettings::nan_character, 0, 0, 1, "ORVLS_SET_NAN_CHAR"},
    {&WriteSettings::title_page, 0, 0, 1, "ORVLS_SET_TITLE_PAGE"},
    {&WriteSettings::format, 0, 0, 2, "ORVLS_SET_FORMAT"},
};

void WriteSettings::initialise(WriteSettings& settings)
{
    for (const WriteField& field : kWriteFields)
        settings.*field.member = field.default_value;
}

void WriteState::destroy(void* value)
{
    if (value != nullptr)
        std::free(static_cast<WriteState*>(value)->text);
    std::free(value);
}

PageSettings* page_settings() { return record_or_report<PageSettings>(); }
WriteSettings* write_settings() { return record_or_report<WriteSettings>(); }
WriteState* write_state() { return record_or_report<WriteState>(); }

bool start_write_call()
{
    WriteState* state = write_state();
    if (state == nullptr)
        return false;
    std::free(state->text);
    state->text = nullptr;
    state->length = 0;
    state->to_text = 0;
    state->to_console = 0;
    return true;
}

LineWriter::LineWriter(FILE* stream, WriteState& state, WriteSettings& settings, int64_t page_length)
    : stream_(stream), state_(state), settings_(settings), page_length_(page_length)
{
}

void LineWriter::emit(const char* text, int64_t length)
{
    if (length == 0 || failed_)
        return;
    if (!state_.to_text) {
        std::fwrite(text, 1, static_cast<std::size_t>(length), state_.to_console ? stdout : stream_);
        return;
    }
    if (state_.text == nullptr || state_.length + length + 1 > text_capacity(state_.length)) {
        auto* grown = static_cast<char*>(orvls_realloc(state_.text, text_capacity(state_.length + length)));
        if (grown == nullptr) {
            failed_ = true;
            orvls_ermes(5, 200);
            return;
        }
        state_.text = grown;
    }
    std::memcpy(state_.text + state_.length, text, static_cast<std::size_t>(length));
    state_.length += length;
    state_.text[state_.length] = '\0';
}

void LineWriter::newline()
{
    if (state_.to_console)
        emit("\r\n", 2);
    else
        emit("\n", 1);
}

void LineWriter::begin_line()
{
    pending_blanks_ = 0;
    if (paging() && settings_.paging >= page_length_)
        page_break();
}

void LineWriter::put(const char* text, int64_t length)
{
    static const char blanks[] = "                                                                ";
    constexpr int64_t chunk = sizeof blanks - 1;
    const int64_t shown = trimmed_length(text, length);
    if (shown > 0) {
        for (; pending_blanks_ > 0; pending_blanks_ -= std::min(pending_blanks_, chunk))
            emit(blanks, std::min(pending_blanks_, chunk));
        emit(text, shown);
    }
    pending_blanks_ += length - shown;
}

void LineWriter::end_line()
{
    pending_blanks_ = 0;
    newline();
    if (paging())
        ++settings_.paging;
}

void LineWriter::bare_newline()
{
    newline();
    ++settings_.paging;
}

void LineWriter::page_break()
{
    emit("\f", 1);
    settings_.paging = 0;
}

void write_title(LineWriter& out, const char* text, int64_t width, bool centering)
{
    const char* cursor = text;
    const char* line = nullptr;
    int64_t length = 0;
    while (next_title_line(cursor, width, line, length)) {
        orvls_e1psh("orvls_w3trl");
        if (length == 0) {
            out.bare_newline();
        } else {
            out.begin_line();
            out.pad(centering ? (width - trimmed_length(line, length)) / 2 : 0);
            out.put(line, length);
            out.end_line();
        }
        orvls_e1pop("orvls_w3trl");
    }
}

int64_t count_title_lines(const char* text, int64_t width)
{
    const char* cursor = text;
    const char* line = nullptr;
    int64_t length = 0;
    int64_t count = 0;
    while (next_title_line(cursor, width, line, length))
        ++count;
    return count;
}

}  // namespace orvls
