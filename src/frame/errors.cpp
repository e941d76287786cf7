// The error stack: push, pop, recording an error, message parameters and
// building a message from its template.
#include <cctype>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/error_block.h"
#include "frame/message_file.h"
#include "frame/tsd.h"

namespace orvls {

std::atomic<int32_t> signal_trapping{1};
ErrorBlock* first_error_block = nullptr;  // compared with null only, never followed
std::atomic<int32_t> threads_with_trapping{0};
std::atomic<orvls_checksum_hook> at_checksum_hook{nullptr};

namespace {

constexpr int64_t kInitialMessageCapacity = 2048;
constexpr int64_t kMessageHeadroom = 512;
constexpr char kOutOfMemoryText[] = "Out of memory in error handler.";

std::atomic<int64_t> n1rnof_counter{0};

OnceFlag first_block_once{0};
pthread_mutex_t first_block_lock;
void make_first_block_lock() { make_lock(&first_block_lock, false); }

// Default settings of a type: print, stop, traceback, immediate.
constexpr int8_t kPrint[kTypes] = {0, 0, 0, 1, 1, 1, 1, 1, 1};
constexpr int8_t kStop[kTypes] = {0, 0, 0, 0, 1, 1, 0, 0, 1};
constexpr int8_t kTrace[kTypes] = {0, 0, 0, 0, 0, 0, 0, 0, 1};
constexpr int8_t kImmediate[kTypes] = {0, 0, 0, 0, 0, 1, 1, 1, 1};

bool valid_type(int64_t type) { return type >= 0 && type < kTypes; }

// The message buffer cannot grow: report that and end the process.
[[noreturn]] void out_of_memory(ErrorBlock* block)
{
    block->print_routine(8, 200, block->error_stack_top->name, kOutOfMemoryText);
    if (block->trace_table[8])
        traceback(block);
    std::exit(8);
}

// Makes room for `needed` more bytes (and the terminator), doubling the
// buffer while fewer than the headroom are free.
void reserve(ErrorBlock* block, int64_t needed)
{
    const int64_t used = block->message_end - block->message_buffer;
    int64_t capacity = block->message_capacity;
    while (capacity - used < kMessageHeadroom || capacity - used <= needed)
        capacity *= 2;
    if (capacity == block->message_capacity)
        return;
    auto* grown = static_cast<char*>(orvls_realloc(block->message_buffer, capacity));
    if (grown == nullptr)
        out_of_memory(block);
    block->message_buffer = grown;
    block->message_end = grown + used;
    block->message_capacity = capacity;
}

void append(ErrorBlock* block, const char* text, int64_t length)
{
    reserve(block, length);
    std::memcpy(block->message_end, text, length);
    block->message_end += length;
    *block->message_end = '\0';
}

// Appends one printf conversion of a message parameter, however long.
template <class... Args>
void append_formatted(ErrorBlock* block, const char* format, Args... args)
{
    const int length = std::snprintf(nullptr, 0, format, args...);
    if (length <= 0)
        return;
    reserve(block, length);
    std::snprintf(block->message_end, length + 1, format, args...);
    block->message_end += length;
}

void clear_message(ErrorBlock* block)
{
    block->message_end = block->message_buffer;
    *block->message_end = '\0';
}

// What a parameter hands to its conversion.
enum class Argument { integer, real, text };

// Reads the conversion behind a "%" at `p`: flags, a width and a precision
// of at most three digits each (one substitution stays short), a length
// that the argument allows and a letter that fits it.  The position behind
// the conversion, or null when it is not one that `argument` can take.
// `is_long` tells an integer conversion with the length "l".
const char* read_conversion(const char* p, Argument argument, bool& is_long)
{
    auto skip_digits = [&p] {
        for (int i = 0; i < 3 && std::isdigit(static_cast<unsigned char>(*p)); ++i)
            ++p;
        return !std::isdigit(static_cast<unsigned char>(*p));
    };
    p += std::strspn(p, "-+ #0");
    if (!skip_digits())
        return nullptr;
    if (*p == '.' && (++p, !skip_digits()))
        return nullptr;
    is_long = argument == Argument::integer && *p == 'l';
    if (is_long || (argument == Argument::real && *p == 'l'))
        ++p;
    else if (argument == Argument::integer && *p == 'h')
        p += p[1] == 'h' ? 2 : 1;
    const char* letters = argument == Argument::integer ? "diouxX" : argument == Argument::real ? "eEfFgGaA" : "s";
    return *p != '\0' && std::strchr(letters, *p) != nullptr ? p + 1 : nullptr;
}

// Whether a template's own conversion can print its parameter: `count`
// conversions that fit `argument`, amid text and "%%".  The template comes
// from the message file, so it is checked before it reaches printf.
bool conversion_fits(const char* format, Argument argument, int count, bool& is_long)
{
    int found = 0;
    is_long = false;
    for (const char* p = format; *p != '\0';) {
        if (*p != '%') {
            ++p;
        } else if (p[1] == '%') {
            p += 2;
        } else {
            p = read_conversion(p + 1, argument, is_long);
            if (p == nullptr || ++found > count)
                return false;
        }
    }
    return found == count;
}

// One substitution %(Ld) or %(Ld%format); `body` points behind "%(" and
// `close` at the ")".  A format that does not fit the parameter gives way
// to the parameter's default conversion.
void substitute(ErrorBlock* block, const char* body, const char* close)
{
    const char letter = static_cast<char>(body[0] & ~0x20);  // upper case
    const int index = body[1] - '1';
    char format[128] = "";
    if (body[2] == '%') {
        const std::size_t length = std::min<std::size_t>(close - body - 2, sizeof format - 1);
        std::memcpy(format, body + 2, length);
        format[length] = '\0';
    }
    bool is_long = false;
    auto chosen = [&](Argument argument, int count, const char* fallback) {
        return conversion_fits(format, argument, count, is_long) ? format : fallback;
    };
    switch (letter) {
    case 'C':
    case 'Z':
        append_formatted(block, chosen(Argument::real, 2, "(%e,%e)"), block->complex_param[index][0],
                         block->complex_param[index][1]);
        return;
    case 'D':
    case 'F':
    case 'R':
        append_formatted(block, chosen(Argument::real, 1, "%e"), block->real_param[index]);
        return;
    case 'I': {
        // Integers print as a 32-bit long would, unless the format asks for a long.
        const char* conversion = chosen(Argument::integer, 1, "%d");
        if (is_long)
            append_formatted(block, conversion, static_cast<long>(block->int_param[index]));
        else
            append_formatted(block, conversion, static_cast<int>(block->int_param[index]));
        return;
    }
    case 'L':
    case 'S': {
        const char* text = block->string_param[index];
        append_formatted(block, chosen(Argument::text, 1, "%s"), text != nullptr ? text : "(null)");
        return;
    }
    default:
        append_formatted(block, "%%(%c%c)", body[0], body[1]);
    }
}

bool is_substitution(const char* p, const char** close)
{
    if (p[0] != '%' || p[1] != '(' || p[2] == '\0' || p[3] < '1' || p[3] > '9')
        return false;
    const char* end = std::strchr(p + 4, ')');
    if (end == nullptr || (end != p + 4 && p[4] != '%'))
        return false;
    *close = end;
    return true;
}

void build_message(ErrorBlock* block, const char* message_template)
{
    clear_message(block);
    const char* p = message_template;
    while (*p != '\0') {
        const char* close = nullptr;
        if (p[0] == '%' && p[1] == '/') {
            append(block, "\n", 1);
            p += 2;
        } else if (is_substitution(p, &close)) {
            substitute(block, p + 2, close);
            p = close + 1;
        } else {
            const char* next = std::strchr(p + 1, '%');
            const int64_t length = next != nullptr ? next - p : static_cast<int64_t>(std::strlen(p));
            append(block, p, length);
            p += length;
        }
    }
}

void set_current(ErrorBlock* block)
{
    block->current_type[0] = block->error_stack_top->type;
    block->current_code[0] = block->error_stack_top->code;
}

void call_hook(int64_t type, int64_t code, const char* message)
{
    if (orvls_checksum_hook hook = at_checksum_hook.load(std::memory_order_relaxed))
        hook(type, code, message);
}

// The caller gave a type outside -1 to 8: report it as an internal error.
[[noreturn]] void bad_type(ErrorBlock* block, int64_t type, const char* message_template)
{
    push(block, "orvls_e1mes");
    append_formatted(block, "Error type must be -1,...,8, but type = %d.  Message = \"%s\"", static_cast<int>(type),
                     message_template != nullptr ? message_template : "");
    block->error_stack_top->type = 8;
    block->error_stack_top->code = 160;
    block->print_routine(8, 160, "orvls_e1mes", block->message_buffer);
    if (block->trace_table[8])
        traceback(block);
    end_process(block);
}

void initialise_block(ErrorBlock* block)
{
    orvls_once(&first_block_once, make_first_block_lock);
    {
        LockGuard hold(&first_block_lock);
        if (first_error_block == nullptr)
            first_error_block = block;
        else if (signal_trapping.load(std::memory_order_relaxed) != 0)
            threads_with_trapping.store(1, std::memory_order_relaxed);
    }
    std::memcpy(block->print_table, kPrint, kTypes);
    std::memcpy(block->stop_table, kStop, kTypes);
    std::memcpy(block->trace_table, kTrace, kTypes);
    std::memcpy(block->immediate_table, kImmediate, kTypes);
    block->error_stack[0] = {0, 1, 0, "USER"};
    block->error_stack_top = block->error_stack;
    block->cached_code = -1;
    block->print_routine = default_print_routine;
    block->print_mode = ORVLS_PRINT_MODE_STREAM;
    block->message_capacity = kInitialMessageCapacity;
    block->message_buffer = static_cast<char*>(orvls_malloc(kInitialMessageCapacity));
    if (block->message_buffer == nullptr)
        out_of_memory(block);
    clear_message(block);
    reserve(block, kInitialMessageCapacity);  // grown at once, by the common rule, to twice the size
}

void destroy_block(void* value)
{
    auto* block = static_cast<ErrorBlock*>(value);
    if (block == nullptr)
        return;
    if (block == this_thread_block)
        this_thread_block = nullptr;
    std::free(block->message_buffer);
    std::free(block->text_buffer);
    std::free(block->message_search_path);
    std::free(block->message_file_name);
    std::free(block);
}

OnceFlag block_key_once{0};
TsdKey block_key = 0;
void make_block_key()
{
    TsdKey key = 0;
    if (orvls_tsd_key_create(&key, destroy_block) == 0)
        block_key = key;
}

}  // namespace

constinit thread_local ErrorBlock* this_thread_block __attribute__((tls_model("initial-exec"))) = nullptr;

ErrorBlock* create_error_block()
{
    orvls_once(&block_key_once, make_block_key);
    auto* block = static_cast<ErrorBlock*>(orvls_calloc(1, sizeof(ErrorBlock)));
    const bool kept = block != nullptr && block_key != 0 && orvls_tsd_set(block_key, block) == 0;
    // After a failed load the block lives in the thread's cache alone, so
    // that calls can still be refused with a report.
    if (!kept && (block == nullptr || load_status() == 0)) {
        std::fprintf(stderr, "%s\n", kOutOfMemoryText);
        std::exit(8);
    }
    this_thread_block = block;
    initialise_block(block);
    return block;
}

const char* type_spelling(int64_t type)
{
    static const char* const spelling[kTypes] = {"INTERNAL", "NOTE    ", "ALERT   ", "WARNING ", "FATAL   ",
                                                 "TERMINAL", "WARNING_IMMEDIATE", "FATAL_IMMEDIATE", "INTERNAL"};
    return valid_type(type) ? spelling[type] : "INTERNAL";
}

[[noreturn]] void end_process(ErrorBlock* block) { std::exit(block->error_stack_top->type); }

[[noreturn]] void stack_overflow(ErrorBlock* block)
{
    // No room for another level: the overflow is reported on the top entry.
    record(block, 8, 60000, orvls_message_text(60000));
    end_process(block);
}

// Public routines refuse to run after a failed load, and once a second
// thread has appeared while the signal guard was on.
void refuse_call(ErrorBlock* block)
{
    if (load_status() != 0)
        record(block, 5, 200, orvls_message_text(200));
    else
        record(block, 4, 499, orvls_message_text(499));
}

void record(ErrorBlock* block, int64_t type, int64_t code, const char* message_template)
{
    if (type < -1 || type > 8)
        bad_type(block, type, message_template);
    ErrorStackEntry* top = block->error_stack_top;
    if (type == 0 && code == 0) {
        top->type = 0;
        top->code = 0;
        clear_message(block);
        set_current(block);
        return;
    }
    if (type == -1 && code == -1) {
        if (top->type == 0 && top->code == 0) {
            clear_message(block);
            set_current(block);
            return;
        }
        type = top->type;
        code = top->code;
    } else if (type == -1 && code >= 1) {
        top->code = code;
        return;
    }
    top->type = static_cast<int8_t>(type);
    top->code = code;
    if (message_template != nullptr && std::strcmp(message_template, " ") != 0)
        build_message(block, message_template);
    else
        clear_message(block);
    if (valid_type(type) && block->immediate_table[type]) {
        call_hook(type, code, block->message_buffer);
        if (block->print_table[type]) {
            block->print_routine(type, code, top->name, block->message_buffer);
            if (block->trace_table[type])
                traceback(block);
        }
        clear_message(block);
    }
    if (type == 8)
        end_process(block);
    set_current(block);
}

void leave_trapped_levels(ErrorBlock* block, const char* name)
{
    // A trapped signal left the levels above this routine's own: leave
    // them without reports, keeping the worst error on the way down.
    block->signal_caught = 0;
    while (block->error_stack_top > block->error_stack + 1 && std::strcmp(block->error_stack_top->name, name) != 0) {
        ErrorStackEntry* below = block->error_stack_top - 1;
        if (below->type <= block->error_stack_top->type) {
            below->type = block->error_stack_top->type;
            below->code = block->error_stack_top->code;
        }
        --block->error_stack_top;
    }
}

void check_popped_name(ErrorBlock* block, const char* name)
{
    const ErrorStackEntry* top = block->error_stack_top;
    if (top != block->error_stack && std::strcmp(top->name, name) == 0)
        return;
    orvls_e1stl(1, name);
    orvls_e1stl(2, top->name);
    record(block, 8, 60001, orvls_message_text(60001));
}

void report_return(ErrorBlock* block, const char* name)
{
    const ErrorStackEntry* top = block->error_stack_top;
    call_hook(top->type, top->code, block->message_buffer);
    if (block->message_buffer[0] != '\0' && valid_type(top->type) && block->print_table[top->type]) {
        block->print_routine(top->type, top->code, name, block->message_buffer);
        if (block->trace_table[top->type])
            traceback(block);
    }
    if (valid_type(top->type) && block->stop_table[top->type])
        std::exit(top->type);
}

}  // namespace orvls

using namespace orvls;

extern "C" {

ORVLS_API void orvls_e1psh(const char* name) { push(orvls_error_block(), name); }
ORVLS_API void orvls_e1pop(const char* name) { pop(orvls_error_block(), name); }
ORVLS_API void orvls_e1mes(int64_t type, int64_t code, const char* message_template)
{
    record(orvls_error_block(), type, code, message_template);
}
ORVLS_API void orvls_ermes(int64_t type, int64_t code) { orvls_e1mes(type, code, orvls_message_text(code)); }

ORVLS_API void orvls_e1sti(int64_t i, int64_t value)
{
    if (i >= 1 && i <= kParameters)
        orvls_error_block()->int_param[i - 1] = value;
}
ORVLS_API void orvls_e1std(int64_t i, double value)
{
    if (i >= 1 && i <= kParameters)
        orvls_error_block()->real_param[i - 1] = value;
}
ORVLS_API void orvls_e1str(int64_t i, float value) { orvls_e1std(i, value); }
ORVLS_API void orvls_e1stc(int64_t i, orvls_f_complex value)
{
    if (i >= 1 && i <= kParameters) {
        ErrorBlock* block = orvls_error_block();
        block->complex_param[i - 1][0] = value.re;
        block->complex_param[i - 1][1] = value.im;
    }
}
ORVLS_API void orvls_e1stz(int64_t i, const orvls_d_complex* value)
{
    if (i >= 1 && i <= kParameters) {
        ErrorBlock* block = orvls_error_block();
        block->complex_param[i - 1][0] = value->re;
        block->complex_param[i - 1][1] = value->im;
    }
}
ORVLS_API void orvls_e1stl(int64_t i, const char* text)
{
    if (i < 0)
        i = -i;
    if (i >= 1 && i <= kParameters)
        orvls_error_block()->string_param[i - 1] = text;
}

}  // extern "C"

namespace orvls {

// Reads element `level` of a current-state pair, refusing levels other than 0 and 1.
static int64_t current_entry(const int64_t (&pair)[2], int64_t level)
{
    if (level != 0 && level != 1) {
        orvls_e1sti(1, 0);
        orvls_e1sti(2, 1);
        orvls_e1sti(3, level);
        orvls_e1stl(1, "level");
        orvls_ermes(8, 122);
    }
    return pair[level];
}

int64_t orvls_n1rcode(int64_t level) { return current_entry(orvls_error_block()->current_code, level); }

void orvls_e1user(const char* text)
{
    ErrorBlock* block = orvls_error_block();
    block->error_stack_top->user_call = (text[0] != '\0' && (text[1] == 'N' || text[1] == 'n')) ? 1 : 0;
}

}  // namespace orvls

extern "C" {

ORVLS_API int64_t orvls_n1rty(int64_t level) { return current_entry(orvls_error_block()->current_type, level); }

ORVLS_API int64_t orvls_error_code(void) { return orvls_error_block()->current_code[1]; }

ORVLS_API void orvls_e1pos(int64_t type, int64_t* print, int64_t* stop)
{
    ErrorBlock* block = orvls_error_block();
    if (type >= -8 && type <= -1) {
        *print = block->print_table[-type];
        *stop = block->stop_table[-type];
    } else if (type == 0) {
        for (int t = 1; t <= 7; ++t) {
            if (*print >= 0)
                block->print_table[t] = static_cast<int8_t>(*print);
            if (*stop >= 0)
                block->stop_table[t] = static_cast<int8_t>(*stop);
        }
    } else if (type >= 1 && type <= 8) {
        if (*print >= 1)
            block->print_table[type] = static_cast<int8_t>(*print);
        if (*stop >= 1)
            block->stop_table[type] = static_cast<int8_t>(*stop);
    } else {
        orvls_e1psh("orvls_e1pos");
        orvls_e1sti(1, -8);
        orvls_e1sti(2, 8);
        orvls_e1sti(3, type);
        orvls_e1stl(1, "type");
        orvls_ermes(5, 132);
        orvls_e1pop("orvls_e1pos");
    }
}

ORVLS_API void orvls_set_at_checksum(orvls_checksum_hook hook) { at_checksum_hook.store(hook); }

ORVLS_API int64_t orvls_n1rnof(int64_t selector)
{
    if (selector == 1)
        return n1rnof_counter.fetch_add(1) + 1;
    if (selector == 2)
        return n1rnof_counter.exchange(0);
    orvls_e1sti(1, selector);
    orvls_ermes(8, 60003);
    return 0;
}

ORVLS_API void orvls_free_allocated_memory(void* pointer) { std::free(pointer); }

}  // extern "C"
