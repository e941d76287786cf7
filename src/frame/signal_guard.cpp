// The signal guard: while a public routine runs under it, an invalid access
// or an invalid instruction becomes a terminal error and control returns to
// the routine's envelope.
//
// The handler is installed once, at the first guarded call after trapping
// was switched on, and then stays: a guarded call costs no system call.
// When no guarded call is running on the thread a signal arrives on, the
// handler passes the signal to the handler it displaced, so that the
// caller's own handlers act between library calls as if installed.
// Switching trapping on or off hands the signals back to the caller's
// handlers; the next guarded call takes them again from whatever handlers
// stand then.  So a caller who installs a handler of its own after the
// library's first guarded call has it in force at once (it replaces the
// guard), and switching trapping on again puts the guard back in front of it.
#include <csignal>
#include <cstring>

#include "frame/envelope.h"
#include "frame/tsd.h"

namespace orvls {

namespace {

constexpr int kTrapped[2] = {SIGILL, SIGSEGV};

// Per thread: the number of guarded calls running.
struct SignalBlock {
    int64_t level;
};

// The handlers the guard displaced.  Signal dispositions belong to the
// process, not to a thread, so what the guard displaced is kept once for
// the process; it changes only when the guard takes the signals.
struct DisplacedHandlers {
    std::atomic<bool> taken;
    struct sigaction caller[2];
};

DisplacedHandlers& displaced()
{
    static DisplacedHandlers handlers;
    return handlers;
}

int trapped_index(int signal_number) { return signal_number == kTrapped[0] ? 0 : 1; }

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

// Acts on a signal as the displaced handler would have.
void pass_on(int signal_number, siginfo_t* info, void* context)
{
    struct sigaction& caller = displaced().caller[trapped_index(signal_number)];
    const struct sigaction used = caller;
    if (used.sa_flags & SA_RESETHAND) {  // a one-shot handler: the default from now on
        caller.sa_handler = SIG_DFL;
        caller.sa_flags &= ~SA_SIGINFO;
    }
    if (used.sa_flags & SA_SIGINFO) {
        used.sa_sigaction(signal_number, info, context);
    } else if (used.sa_handler == SIG_DFL) {
        // The default action ends the process: give the signal back to it.
        signal(signal_number, SIG_DFL);
        raise(signal_number);
    } else if (used.sa_handler != SIG_IGN) {
        used.sa_handler(signal_number);
    }
}

void signal_handler(int signal_number, siginfo_t* info, void* context)
{
    ErrorBlock* block = existing_error_block();
    const SignalBlock* signals = ThreadRecord<SignalBlock>::peek();
    if (block == nullptr || signals == nullptr || signals->level < 1) {
        pass_on(signal_number, info, context);
        return;
    }
    block->signal_caught = 1;
    orvls_e1sti(1, signal_number);
    if (const int64_t code = signal_code(signal_number))
        orvls_ermes(5, code);
    --block->guard_depth;
    siglongjmp(block->saved_context[block->guard_depth], 1);
}

bool is_guard(const struct sigaction& action)
{
    return (action.sa_flags & SA_SIGINFO) && action.sa_sigaction == signal_handler;
}

// Installs the handler without blocking its own signal while it runs, so
// that a jump out of it leaves the signal mask as it was and the envelope's
// jump buffer need not save the mask.  A handler found in place that is the
// guard's own (trapping switched without a guarded call between) is not
// taken as the caller's.
void take_signals()
{
    DisplacedHandlers& handlers = displaced();
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_sigaction = signal_handler;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < 2; ++i) {
        struct sigaction previous;
        sigaction(kTrapped[i], &action, &previous);
        if (!is_guard(previous))
            handlers.caller[i] = previous;
    }
    handlers.taken.store(true, std::memory_order_release);
}

}  // namespace

void hand_back_signals()
{
    DisplacedHandlers& handlers = displaced();
    if (!handlers.taken.exchange(false, std::memory_order_acq_rel))
        return;
    for (int i = 0; i < 2; ++i) {
        struct sigaction current;
        sigaction(kTrapped[i], nullptr, &current);
        if (is_guard(current))  // a handler the caller installed since stays
            sigaction(kTrapped[i], &handlers.caller[i], nullptr);
    }
}

void orvls_signal_guard(ErrorBlock* block, int on)
{
    SignalBlock* signals = ThreadRecord<SignalBlock>::get();
    if (signals == nullptr) {
        if (on)
            orvls_ermes(5, 200);
        return;
    }
    if (on) {
        if (!displaced().taken.load(std::memory_order_acquire))
            take_signals();
        ++signals->level;
        block->signal_caught = 0;
    } else if (signals->level > 0) {
        --signals->level;
    }
}

}  // namespace orvls

extern "C" ORVLS_API void orvls_skip_signal_handler(void) { orvls::set_signal_trapping(0); }
