// Reports: the print routines of the three print modes and the traceback.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "frame/error_block.h"
#include "frame/message_file.h"
#include "frame/tsd.h"

namespace orvls {

namespace {

constexpr char kPrefix[] = "***         ";  // continuation lines, 12 wide
constexpr int64_t kPrefixWidth = 12;
constexpr int64_t kLastColumn = 77;  // lines hold at most 78 characters

// The routine a report blames: the one the caller called, that is the entry
// just above the nearest entry (from the top down) with user_call set.
const char* blame(const ErrorBlock* block)
{
    const ErrorStackEntry* entry = block->error_stack_top;
    while (entry > block->error_stack && !entry->user_call)
        --entry;
    return entry == block->error_stack_top ? entry->name : (entry + 1)->name;
}

void heading(char* out, std::size_t size, const char* newline, int64_t type, int64_t code, const char* routine)
{
    if (type < 5)
        std::snprintf(out, size, "%s*** %s Error ORVLS_%s from %s.  ", newline, type_spelling(type),
                      orvls_code_name(code), routine);
    else
        std::snprintf(out, size, "%s*** %s Error from %s.  ", newline, type_spelling(type), routine);
}

// Writes a heading and its message in lines of at most 78 characters,
// breaking at blanks (or at a newline in the message) and starting each
// continuation line with the prefix.
void write_wrapped(FILE* out, const char* head, const char* message, const char* newline)
{
    std::fputs(head, out);
    int64_t column = static_cast<int64_t>(std::strlen(head));
    if (column > kLastColumn) {
        std::fprintf(out, "%s%s ", newline, kPrefix);
        column = kPrefixWidth;
    }
    const char* text = message;
    for (;;) {
        const auto length = static_cast<int64_t>(std::strlen(text));
        int64_t line = length;
        int64_t skip = 0;  // the blank or newline consumed by a cut
        if (column + length > kLastColumn) {
            int64_t blank = kLastColumn + 1 - column - 1;
            while (blank >= 0 && text[blank] != ' ')
                --blank;
            if (blank >= 0) {
                line = blank;
                skip = 1;
            } else if (column > kPrefixWidth) {
                std::fprintf(out, "%s%s ", newline, kPrefix);
                column = kPrefixWidth;
                continue;
            } else {
                line = kLastColumn - column;  // a word longer than a line is split
            }
        }
        if (const void* at = std::memchr(text, '\n', line)) {
            line = static_cast<const char*>(at) - text;
            skip = 1;
        }
        std::fwrite(text, 1, line, out);
        std::fputs(newline, out);
        if (line == length) {
            std::fputs(newline, out);
            return;
        }
        std::fputs(kPrefix, out);
        column = kPrefixWidth;
        text += line + skip;
    }
}

void print_to(FILE* out, const char* newline, int64_t type, int64_t code, const char* message)
{
    if (message == nullptr || message[0] == '\0')
        return;
    char head[512];
    heading(head, sizeof head, newline, type, code, blame(orvls_error_block()));
    orvls_output_lock(out);
    write_wrapped(out, head, message, newline);
    std::fflush(out);
    orvls_output_unlock(out);
}

void console_print_routine(int64_t type, int64_t code, const char*, const char* message)
{
    print_to(stdout, "\r\n", type, code, message);
}

// The report as one block with the program's name as its caption.
void box_print_routine(int64_t type, int64_t code, const char*, const char* message)
{
    if (message == nullptr || message[0] == '\0')
        return;
    const char* spelling = type_spelling(type);
    const int word = static_cast<int>(std::strcspn(spelling, " "));
    const char* routine = blame(orvls_error_block());
    FILE* out = error_stream();
    orvls_output_lock(out);
    std::fprintf(out, "\n%s: ", program_invocation_short_name);
    if (type < 5)
        std::fprintf(out, "%.*s Error ORVLS_%s from %s.  %s\n", word, spelling, orvls_code_name(code), routine, message);
    else
        std::fprintf(out, "%.*s Error from %s.  %s\n", word, spelling, routine, message);
    std::fflush(out);
    orvls_output_unlock(out);
}

}  // namespace

void default_print_routine(int64_t type, int64_t code, const char*, const char* message)
{
    print_to(error_stream(), "\n", type, code, message);
}

PrintRoutine print_routine_for_mode(int64_t mode)
{
    switch (mode) {
    case ORVLS_PRINT_MODE_BOX:
        return box_print_routine;
    case ORVLS_PRINT_MODE_CONSOLE:
        return console_print_routine;
    default:
        return default_print_routine;
    }
}

void traceback(ErrorBlock* block)
{
    FILE* out = error_stream();
    std::fprintf(out, "%s\n%s\n%s\n", "Here is a traceback of the calls in reverse order.",
                 "  Error Type        Error Code               Routine",
                 "  ----------        ----------               -------");
    const ErrorStackEntry* pending = nullptr;
    for (const ErrorStackEntry* entry = block->error_stack_top; entry >= block->error_stack; --entry) {
        if (entry->type != 0)
            pending = entry;
        const bool shown = entry == block->error_stack || (entry - 1)->user_call || block->full_traceback;
        if (!shown)
            continue;
        if (pending == nullptr || entry->user_call)
            std::fprintf(out, " %6s%-9s   %-25s %s\n", "", "", "", entry->name);
        else
            std::fprintf(out, " %6s%-9s   %-25s %s\n", "ORVLS_", type_spelling(pending->type),
                         orvls_code_name(pending->code), entry->name);
        pending = nullptr;
    }
    std::fflush(out);
}

}  // namespace orvls
