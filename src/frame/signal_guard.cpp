// The signal guard: while a public routine runs under it, an invalid access
// or an invalid instruction becomes a terminal error and control returns to
// the routine's envelope.
#include <csignal>
#include <cstring>

#include "frame/envelope.h"
#include "frame/tsd.h"

namespace orvls {

namespace {

constexpr int kTrapped[2] = {SIGILL, SIGSEGV};

struct SignalBlock {
    struct sigaction saved_handler[2];  // the caller's handlers, kept while the guard stands
    int64_t level;
};

// Error codes of the signals the handler knows, by meaning.
int64_t signal_code(int signal_number)
{
    switch (signal_number) {
    case SIGINT:
        return 502;
    case SIGILL:
        return 504;
    case SIGABRT:
        return 506;
    case SIGFPE:
        return 508;
    case SIGSEGV:
        return 511;
    default:
        return 0;
    }
}

void signal_handler(int signal_number)
{
    ErrorBlock* block = existing_error_block();
    if (block == nullptr)
        return;
    block->signal_caught = 1;
    orvls_e1sti(1, signal_number);
    if (const int64_t code = signal_code(signal_number))
        orvls_ermes(5, code);
    const SignalBlock* signals = ThreadRecord<SignalBlock>::peek();
    if (signals == nullptr || signals->level < 1)
        return;
    --block->guard_depth;
    siglongjmp(block->saved_context[block->guard_depth], 1);
}

}  // namespace

// The handler is installed without blocking its own signal while it runs, so
// that a jump out of it leaves the signal mask as it was and the envelope's
// jump buffer need not save the mask.  Nested levels find the handler already
// in place and make no system call.
void orvls_signal_guard(ErrorBlock* block, int on)
{
    SignalBlock* signals = ThreadRecord<SignalBlock>::get();
    if (signals == nullptr) {
        if (on)
            orvls_ermes(5, 200);
        return;
    }
    if (on) {
        if (signals->level == 0) {
            struct sigaction action;
            std::memset(&action, 0, sizeof action);
            action.sa_handler = signal_handler;
            action.sa_flags = SA_NODEFER;
            sigemptyset(&action.sa_mask);
            for (int i = 0; i < 2; ++i)
                sigaction(kTrapped[i], &action, &signals->saved_handler[i]);
        }
        ++signals->level;
        block->signal_caught = 0;
    } else if (signals->level > 0) {
        --signals->level;
        if (signals->level == 0)
            for (int i = 0; i < 2; ++i)
                sigaction(kTrapped[i], &signals->saved_handler[i], nullptr);
    }
}

}  // namespace orvls

extern "C" ORVLS_API void orvls_skip_signal_handler(void) { orvls::set_signal_trapping(0); }
