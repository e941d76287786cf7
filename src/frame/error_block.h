// The per-thread error block: the error stack, the message buffer and its
// numbered parameters, the saved contexts of the signal guard, the report
// tables by type and the message-file cache.
#pragma once

#include <atomic>
#include <csetjmp>
#include <cstdint>
#include <cstdio>

#include "frame/tsd.h"
#include "orvls.h"

namespace orvls {

constexpr int kStackEntries = 200;
constexpr int kGuardLevels = 100;
constexpr int kParameters = 9;
constexpr int kTypes = 9;  // error types 0 to 8

struct ErrorStackEntry {
    int8_t type;
    int8_t user_call;
    int64_t code;
    const char* name;
};

using PrintRoutine = orvls_print_routine;

struct ErrorBlock {
    int64_t guard_depth;  // live saved contexts
    int64_t signal_caught;
    int64_t int_param[kParameters];
    double real_param[kParameters];
    double complex_param[kParameters][2];
    const char* string_param[kParameters];
    char* message_search_path;  // owned copies, set by the error options
    char* message_file_name;
    sigjmp_buf saved_context[kGuardLevels];
    int64_t current_type[2];  // [0] the routine now running, [1] the one popped last
    int64_t current_code[2];
    char* message_buffer;
    char* message_end;
    int64_t message_capacity;
    ErrorStackEntry error_stack[kStackEntries];
    ErrorStackEntry* error_stack_top;
    PrintRoutine print_routine;
    int64_t print_mode;
    int64_t full_traceback;
    int8_t print_table[kTypes];
    int8_t stop_table[kTypes];
    int8_t trace_table[kTypes];
    int8_t immediate_table[kTypes];
    // Message-file cache (one record per thread).
    char fallback_text[128];  // room for the read-failure text with its reason
    char code_name[32];
    const char* read_failure;
    char path_buffer[260];
    int64_t cached_index;
    char* text_buffer;
    int64_t cached_code;
};

// Library-wide frame state.
extern std::atomic<int32_t> signal_trapping;
extern ErrorBlock* first_error_block;
extern std::atomic<int32_t> threads_with_trapping;

// The calling thread's block, cached per thread in front of the keyed
// layer (the key stays the owner; its destructor clears the cache).
extern constinit thread_local ErrorBlock* this_thread_block __attribute__((tls_model("initial-exec")));
ErrorBlock* create_error_block();

// The calling thread's error block, created on first use.
inline ErrorBlock* orvls_error_block()
{
    ErrorBlock* block = this_thread_block;
    return block != nullptr ? block : create_error_block();
}
// The block if this thread has one; never allocates.
inline ErrorBlock* existing_error_block() { return this_thread_block; }

// The error of the running level, and its withdrawal: a routine may take
// back a warning of its own that proved beside the point.
inline const ErrorStackEntry& current_error() { return *orvls_error_block()->error_stack_top; }
inline void withdraw_current_error()
{
    constexpr int64_t none = 0;  // type and code 0 clear the level
    orvls_e1mes(none, none, " ");
}

// Spelling of an error type, as reports print it.
const char* type_spelling(int64_t type);

void record(ErrorBlock* block, int64_t type, int64_t code, const char* message_template);

// The rare branches of push and pop, out of line.
[[noreturn]] void stack_overflow(ErrorBlock* block);
void refuse_call(ErrorBlock* block);
void leave_trapped_levels(ErrorBlock* block, const char* name);
void check_popped_name(ErrorBlock* block, const char* name);
void report_return(ErrorBlock* block, const char* name);
// The library-wide observer of reports (orvls_set_at_checksum), read at every pop.
extern std::atomic<orvls_checksum_hook> at_checksum_hook;
inline orvls_checksum_hook checksum_hook() { return at_checksum_hook.load(std::memory_order_relaxed); }

// Push a routine's name (the envelope's fast path, on a block in hand).
inline void push(ErrorBlock* block, const char* name)
{
    ErrorStackEntry* top = block->error_stack_top;
    if (top == block->error_stack) {  // a call from the caller begins: a fresh message
        block->message_end = block->message_buffer;
        *block->message_end = '\0';
    }
    if (top == block->error_stack + kStackEntries - 1) [[unlikely]]
        stack_overflow(block);
    ++top;
    *top = {0, 0, 0, name};
    block->error_stack_top = top;
    block->current_type[0] = block->current_type[1] = 0;
    block->current_code[0] = block->current_code[1] = 0;
    if ((threads_with_trapping.load(std::memory_order_relaxed) | load_status()) != 0) [[unlikely]]
        refuse_call(block);
}

// Pop a routine's name, reporting when the caller called it.
inline void pop(ErrorBlock* block, const char* name)
{
    if (block->signal_caught) [[unlikely]]
        leave_trapped_levels(block, name);
    ErrorStackEntry* top = block->error_stack_top;
    if (top->name != name) [[unlikely]]
        check_popped_name(block, name);
    ErrorStackEntry* below = top - 1;
    // Types 0 never print or stop; only the hook sees a clean return.
    if (below->user_call && (top->type != 0 || checksum_hook() != nullptr))
        report_return(block, name);
    if (below->type <= top->type) {
        below->type = top->type;
        below->code = top->code;
    }
    // The routine below runs again: its state is its entry's.
    block->current_type[0] = below->type;
    block->current_code[0] = below->code;
    block->current_type[1] = top->type;
    block->current_code[1] = top->code;
    block->error_stack_top = below;
}

// The code of the running routine (level 0) or of the one popped last (1).
int64_t orvls_n1rcode(int64_t level);
// "ON" makes the top entry report as if the caller had called it; "OFF" undoes that.
void orvls_e1user(const char* text);

// Ends the process with the top entry's type as exit status.
[[noreturn]] void end_process(ErrorBlock* block);

// Writes the traceback of the stack to the error stream.
void traceback(ErrorBlock* block);
// The print routine for a print mode.
PrintRoutine print_routine_for_mode(int64_t mode);
void default_print_routine(int64_t type, int64_t code, const char* name, const char* message);

// The thread's error stream (standard error unless set).
FILE* error_stream();

void set_signal_trapping(int32_t value);

}  // namespace orvls
