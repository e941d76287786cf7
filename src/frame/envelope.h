// The envelope of a public routine: name it on the error stack, refuse when
// the frame says so, run the worker directly or under the signal guard, and
// report at the pop.
#pragma once

#include <csetjmp>

#include "frame/error_block.h"

namespace orvls {

// Enters (on) or leaves (off) a guarded call: the trapped signals are taken
// from the caller's handlers at the first entry and then kept.
void orvls_signal_guard(ErrorBlock* block, int on);
// Gives the trapped signals back to the handlers the guard displaced, unless
// the caller has installed others since; called when trapping is switched.
void hand_back_signals();

// Runs the worker under the signal guard and returns its result, or
// `failure` when a trapped signal ends it.  After the jump buffer is set,
// the block is fetched afresh rather than kept in a register that a jump
// back could have clobbered.
template <class R, class Worker>
inline R run_guarded(ErrorBlock* block, R failure, Worker& worker)
{
    volatile R result = failure;
    const int64_t depth = block->guard_depth++;
    if (sigsetjmp(block->saved_context[depth], 0) == 0) {
        orvls_signal_guard(existing_error_block(), 1);
        result = worker();
        --existing_error_block()->guard_depth;
    } else {
        orvls_ermes(5, 102);
    }
    orvls_signal_guard(existing_error_block(), 0);
    return result;
}

// Runs `body` as a named level of the error stack: errors it raises are
// recorded against `name` and passed on at the pop.
template <class Body>
inline auto within(const char* name, Body&& body)
{
    push(orvls_error_block(), name);
    const auto value = body();
    pop(existing_error_block(), name);
    return value;
}

// A routine called from inside another shows its level on the error stack
// only through what it raises: a level that raises nothing, below one that
// does not report as if the caller had called it, leaves after its pop just
// this on the running level.
inline void leave_silent_level(ErrorBlock* block)
{
    ErrorStackEntry* running = block->error_stack_top;
    if (running->type == 0)
        running->code = 0;
    block->current_code[0] = running->code;
    block->current_type[1] = block->current_code[1] = 0;
}

// Runs an inner routine: `worker` alone, with the effects of a silent level,
// when `quiet` says its arguments raise nothing; else `routine` in full.
template <class Worker, class Routine>
inline auto inner_routine(bool quiet, Worker&& worker, Routine&& routine)
{
    ErrorBlock* block = orvls_error_block();
    if (!quiet || block->error_stack_top->user_call != 0)
        return routine();
    const auto value = worker();
    leave_silent_level(block);
    return value;
}

// Runs `worker` (which returns R) as the public routine `name`; returns
// `failure` when the worker does not run or a trapped signal ends it.  The
// jump buffer lives in a frame that stays alive while the worker runs.
template <class R, class Worker>
inline R envelope(const char* name, R failure, Worker&& worker)
{
    ErrorBlock* block = orvls_error_block();
    push(block, name);
    R result = failure;
    if (block->current_type[0] == 0) {
        // A routine called inside a guarded call runs under that call's guard.
        if (signal_trapping.load(std::memory_order_relaxed) == 0 || block->guard_depth > 0)
            result = worker();
        else
            result = run_guarded(block, failure, worker);
    }
    pop(existing_error_block(), name);
    return result;
}

// The same for a routine without a result.
template <class Worker>
inline void envelope(const char* name, Worker&& worker)
{
    envelope<int>(name, 0, [&] {
        worker();
        return 0;
    });
}

}  // namespace orvls
