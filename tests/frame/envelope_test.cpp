// The envelope of a public routine, the signal guard, threads, the option
// walk and the out-of-memory paths.
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <unistd.h>
#include <cstdarg>
#include <cstring>
#include <thread>
#include <vector>

#include "capture.h"
#include "frame/envelope.h"
#include "frame/memory.h"
#include "frame/options.h"
#include "frame/tsd.h"

namespace {

using orvls::envelope;

// The suite runs with trapping off, as a threaded program must; tests of
// the guard turn it on for their own calls.
class TrappingOff : public testing::Environment {
    void SetUp() override { orvls_skip_signal_handler(); }
};
const auto* const trapping_off = testing::AddGlobalTestEnvironment(new TrappingOff);

class Trapping {
public:
    Trapping() { orvls_error_options(ORVLS_SIGNAL_TRAPPING_ON, 0); }
    ~Trapping() { orvls_error_options(ORVLS_SIGNAL_TRAPPING_OFF, 0); }
};

// An address no program maps, hidden from the optimiser.
volatile uintptr_t unmapped_address = 16;

int invalid_access() { return *reinterpret_cast<volatile int*>(unmapped_address); }

TEST(Envelope, DirectAndGuardedPathsGiveTheWorkersResult)
{
    EXPECT_EQ(envelope<int>("orvls_test_direct", -1, [] { return 42; }), 42);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    Trapping on;
    EXPECT_EQ(envelope<int>("orvls_test_guarded", -1, [] { return 43; }), 43);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST(Envelope, AnInvalidAccessComesBackAsATerminalError)
{
    ErrorCapture capture;
    std::vector<Outcome> seen;
    static std::vector<Outcome>* hook_log;
    hook_log = &seen;
    struct sigaction before;
    sigaction(SIGSEGV, nullptr, &before);
    {
        Trapping on;
        orvls_set_at_checksum([](int64_t type, int64_t code, const char*) { hook_log->push_back({type, code}); });
        const int result = envelope<int>("orvls_test_faulty", -1, [] {
            orvls_e1psh("l_test_nested");  // the fault happens one level down
            return invalid_access();
        });
        EXPECT_EQ(result, -1);
        // The signal is reported at once (511); the envelope then records 102.
        EXPECT_EQ(last_outcome(), (Outcome{5, 102}));
        EXPECT_EQ(orvls::orvls_error_block()->error_stack_top, orvls::orvls_error_block()->error_stack);
        EXPECT_EQ(orvls::orvls_error_block()->guard_depth, 0);

        // The next call works.
        EXPECT_EQ(envelope<int>("orvls_test_after", -1, [] { return 7; }), 7);
        EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
        orvls_set_at_checksum(nullptr);
    }
    EXPECT_EQ(seen, (std::vector<Outcome>{{5, 511}, {5, 102}, {5, 102}, {0, 0}}));
    EXPECT_EQ(orvls::orvls_error_block()->int_param[0], SIGSEGV);
    const std::string text = capture.text();
    EXPECT_NE(text.find("TERMINAL Error from orvls_test_faulty"), std::string::npos);

    // The caller's handler is back in place after the guarded calls.
    struct sigaction after;
    sigaction(SIGSEGV, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
}

TEST(Envelope, AnInvalidInstructionComesBackAsATerminalError)
{
    ErrorCapture capture;
    static std::vector<Outcome> seen;
    seen.clear();
    Trapping on;
    orvls_set_at_checksum([](int64_t type, int64_t code, const char*) { seen.push_back({type, code}); });
    EXPECT_EQ(envelope<int>("orvls_test_illegal", -1, [] { return raise(SIGILL); }), -1);
    EXPECT_EQ(last_outcome(), (Outcome{5, 102}));
    EXPECT_EQ(envelope<int>("orvls_test_after", -1, [] { return 8; }), 8);
    orvls_set_at_checksum(nullptr);
    EXPECT_EQ(seen, (std::vector<Outcome>{{5, 504}, {5, 102}, {5, 102}, {0, 0}}));
    EXPECT_EQ(orvls::orvls_error_block()->int_param[0], SIGILL);
}

// The caller's handlers: a plain one and one that takes the signal's details.
std::atomic<int> plain_calls{0};
std::atomic<int> detailed_calls{0};
void plain_handler(int) { ++plain_calls; }
void detailed_handler(int, siginfo_t* info, void*) { detailed_calls += info->si_signo == SIGSEGV; }

void install(int signal_number, void (*plain)(int), void (*detailed)(int, siginfo_t*, void*))
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    sigemptyset(&action.sa_mask);
    if (detailed != nullptr) {
        action.sa_sigaction = detailed;
        action.sa_flags = SA_SIGINFO;
    } else {
        action.sa_handler = plain;
    }
    sigaction(signal_number, &action, nullptr);
}

bool installed(int signal_number, void (*plain)(int))
{
    struct sigaction current;
    sigaction(signal_number, nullptr, &current);
    return !(current.sa_flags & SA_SIGINFO) && current.sa_handler == plain;
}

// A fault inside a guarded routine comes back as an error, and the next call works.
void expect_guarded_fault_trapped()
{
    EXPECT_EQ(envelope<int>("orvls_test_faulty", -1, [] { return invalid_access(); }), -1);
    EXPECT_EQ(last_outcome(), (Outcome{5, 102}));
    EXPECT_EQ(envelope<int>("orvls_test_after", -1, [] { return 7; }), 7);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST(Envelope, AnInvalidAccessOutsideGuardedCallsGoesToTheCallersHandlers)
{
    ErrorCapture capture;
    struct sigaction before_ill, before_segv;
    sigaction(SIGILL, nullptr, &before_ill);
    sigaction(SIGSEGV, nullptr, &before_segv);
    install(SIGILL, plain_handler, nullptr);
    install(SIGSEGV, nullptr, detailed_handler);
    plain_calls = detailed_calls = 0;
    {
        Trapping on;
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(envelope<int>("orvls_test_guarded", -1, [] { return 1; }), 1);
            raise(SIGILL);
            raise(SIGSEGV);
            EXPECT_EQ(plain_calls, round + 1);
            EXPECT_EQ(detailed_calls, round + 1);
            EXPECT_EQ(last_outcome(), (Outcome{0, 0}));  // nothing of the library's was raised
            expect_guarded_fault_trapped();
        }
    }
    EXPECT_EQ(plain_calls, 2);
    EXPECT_EQ(detailed_calls, 2);
    EXPECT_TRUE(installed(SIGILL, plain_handler));

    // A handler the caller installs after the first guarded call is in force
    // at once; switching trapping on again puts the guard in front of it,
    // and switching it off leaves that handler in place.
    void (*const later)(int) = [](int) { plain_calls += 10; };
    {
        Trapping on;
        expect_guarded_fault_trapped();
        install(SIGILL, later, nullptr);
        raise(SIGILL);
        EXPECT_EQ(plain_calls, 12);
        orvls_error_options(ORVLS_SIGNAL_TRAPPING_ON, 0);
        EXPECT_EQ(envelope<int>("orvls_test_illegal", -1, [] { return raise(SIGILL); }), -1);
        EXPECT_EQ(last_outcome(), (Outcome{5, 102}));
        raise(SIGILL);
        EXPECT_EQ(plain_calls, 22);
    }
    EXPECT_TRUE(installed(SIGILL, later));
    sigaction(SIGILL, &before_ill, nullptr);
    sigaction(SIGSEGV, &before_segv, nullptr);
}

// Nested guarded calls deeper than the saved contexts run unguarded.
int nest(int depth)
{
    return envelope<int>("orvls_test_nest", -1, [depth] { return depth == 0 ? 0 : 1 + nest(depth - 1); });
}

TEST(Envelope, DeepNestingOfGuardedCalls)
{
    Trapping on;
    EXPECT_EQ(nest(150), 150);
    EXPECT_EQ(orvls::orvls_error_block()->guard_depth, 0);
}

TEST(Threads, EachThreadKeepsItsOwnErrorState)
{
    constexpr int kThreads = 4;
    std::vector<Outcome> outcome(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t, &outcome] {
            ErrorCapture capture;
            for (int round = 0; round < 100; ++round) {
                orvls_e1psh("orvls_test_thread");
                orvls_e1mes(ORVLS_WARNING, 1000 + t, "per thread");
                orvls_e1pop("orvls_test_thread");
            }
            outcome[t] = last_outcome();
        });
    for (auto& thread : threads)
        thread.join();
    for (int t = 0; t < kThreads; ++t)
        EXPECT_EQ(outcome[t], (Outcome{3, 1000 + t}));
    EXPECT_EQ(last_outcome().type, 0) << "the main thread's state is its own";
}

TEST(ThreadsDeathTest, ASecondThreadWithTrappingOnIsRefused)
{
    // In a child: the main thread has its block, trapping is on, and a
    // second thread appears.  From then on every call of every thread is
    // refused with 499, also after trapping is turned off.
    EXPECT_EXIT(
        {
            orvls_error_options(ORVLS_SIGNAL_TRAPPING_ON, ORVLS_SET_STOP, ORVLS_FATAL, 0, 0);
            Outcome in_thread{};
            std::thread([&in_thread] {
                int64_t zero = 0;
                orvls_e1pos(0, &zero, &zero);  // no prints, no stops in this thread
                in_thread = envelope<int>("orvls_test_second", -1, [] { return 1; }) == -1 ? last_outcome()
                                                                                             : Outcome{};
            }).join();
            orvls_skip_signal_handler();
            const bool refused = envelope<int>("orvls_test_main", -1, [] { return 1; }) == -1;
            std::exit(in_thread == Outcome{4, 499} && refused && last_outcome() == Outcome{4, 499} ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

// A routine with an option list, for the walk.
struct Walked {
    int size = 10;
    double scale = 1.0;
    double* user = nullptr;
};

Walked walk(int first, ...)
{
    va_list ap;
    va_start(ap, first);
    orvls::OptionReader options(ap, 2);
    Walked w;
    envelope("orvls_test_options", [&] {
        orvls::ExclusiveOptions median("ORVLS_TEST_A and ORVLS_TEST_B");
        int code;
        while (options.next(code)) {
            switch (code) {
            case 1:
                w.size = options.integer();
                break;
            case 2:
                w.scale = options.real();
                break;
            case 3:
                w.scale = options.real_address<double>();
                break;
            case 4:
                w.user = options.pointer<double*>();
                orvls::refuse_null_user(w.user, "user", "ORVLS_TEST_USER");
                break;
            case 5:
            case 6:
                median.seen();
                break;
            default:
                options.unknown(code);
            }
        }
        median.report();
    });
    va_end(ap);
    return w;
}

TEST(Options, TheWalk)
{
    ErrorCapture capture;
    Walked w = walk(0, 0);
    EXPECT_EQ(w.size, 10);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));

    double value = 2.5;
    w = walk(0, 1, 7, 2, 0.25, 0);
    EXPECT_EQ(w.size, 7);
    EXPECT_EQ(w.scale, 0.25);
    w = walk(0, 3, &value, 0);
    EXPECT_EQ(w.scale, 2.5);

    // An unknown positive code is reported with its position; the walk goes on.
    const orvls::ErrorBlock* block = orvls::orvls_error_block();
    w = walk(0, 1, 7, 99, 1, 8, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 11001}));
    EXPECT_EQ(block->int_param[0], 99);
    EXPECT_EQ(block->int_param[1], 5);
    EXPECT_EQ(w.size, 8);
    // A negative one ends the walk.
    w = walk(0, -4, 1, 9, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 11001}));
    EXPECT_EQ(block->int_param[0], -4);
    EXPECT_EQ(block->int_param[1], 3);
    EXPECT_EQ(w.size, 10);

    // The same option twice is a conflict, as is the pair.
    walk(0, 5, 5, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 11117}));
    EXPECT_STREQ(block->string_param[0], "ORVLS_TEST_A and ORVLS_TEST_B");
    walk(0, 5, 6, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 11117}));
    walk(0, 5, 0);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));

    walk(0, 4, static_cast<double*>(nullptr), 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 104}));
    EXPECT_STREQ(block->string_param[0], "user");
    EXPECT_STREQ(block->string_param[1], "ORVLS_TEST_USER");
}

TEST(Memory, OutOfMemoryInTheErrorHandlerEndsTheProcess)
{
    // A new thread whose error block cannot get its message buffer.
    EXPECT_EXIT(
        {
            std::thread([] {
                orvls_testing_fail_allocation(4);
                orvls_e1psh("orvls_test_memory");
            }).join();
        },
        testing::ExitedWithCode(8), "");
    // A message that cannot grow.
    EXPECT_EXIT(
        {
            static std::string text(100000, 'x');
            orvls_e1stl(1, text.c_str());
            orvls_e1psh("orvls_test_memory");
            orvls_testing_fail_allocation(1);
            orvls_e1mes(ORVLS_WARNING, 1, "%(L1)");
        },
        testing::ExitedWithCode(8), "Out of memory in error handler.");
}

TEST(Memory, ThreadRecordsAndKeysReportFailure)
{
    std::thread([] {
        int64_t zero = 0;
        orvls_e1pos(0, &zero, &zero);  // this thread's block, printing nothing
        FILE* stream = nullptr;
        orvls_testing_fail_allocation(1);  // the stream record of this thread
        orvls_umach(1, &stream);
        EXPECT_EQ(orvls_n1rty(0), 5);
        EXPECT_EQ(orvls::orvls_n1rcode(0), 200);
        orvls_e1mes(0, 0, " ");
        orvls_umach(1, &stream);  // the next attempt succeeds
        EXPECT_EQ(stream, stdin);
        EXPECT_EQ(orvls_n1rty(0), 0);
    }).join();

    orvls::TsdKey key = 0;
    ASSERT_EQ(orvls::orvls_tsd_key_create(&key, nullptr), 0);
    EXPECT_EQ(orvls::orvls_tsd_get(key), nullptr);
    EXPECT_EQ(orvls::orvls_tsd_get(key + 1000), nullptr) << "a key beyond the table reads as null";
    int value = 0;
    EXPECT_EQ(orvls::orvls_tsd_set(key, &value), 0);
    EXPECT_EQ(orvls::orvls_tsd_get(key), &value);
}

TEST(Threads, DestructorsRunAtThreadEnd)
{
    static int destroyed;
    destroyed = 0;
    orvls::TsdKey key = 0;
    ASSERT_EQ(orvls::orvls_tsd_key_create(&key, [](void* value) { destroyed += value != nullptr ? 1 : 100; }), 0);
    static int value;
    std::thread([key] { orvls::orvls_tsd_set(key, &value); }).join();
    EXPECT_EQ(destroyed, 1);
}

TEST(Once, RunsExactlyOnceAndMayNest)
{
    static orvls::OnceFlag outer{0}, inner{0};
    static int runs;
    runs = 0;
    auto run = [] {
        orvls::orvls_once(&outer, [] {
            ++runs;
            orvls::orvls_once(&inner, [] { runs += 10; });
        });
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(run);
    for (auto& thread : threads)
        thread.join();
    run();
    EXPECT_EQ(runs, 11);
}

}  // namespace

namespace {

TEST(LoadDeathTest, AFailedLoadMakesPublicRoutinesRefuse)
{
    EXPECT_EXIT(
        {
            orvls::simulate_load_failure(12);
            std::thread([] {
                int64_t zero = 0;
                orvls_e1pos(0, &zero, &zero);
                const int result = envelope<int>("orvls_test_after_load", -1, [] { return 1; });
                std::exit(result == -1 && last_outcome() == Outcome{5, 200} ? 0 : 1);
            }).join();
        },
        testing::ExitedWithCode(0), "");
}

TEST(UnloadDeathTest, DestructorsRunForThreadsThatNeverEnded)
{
    // A thread still blocked at exit: its value is destroyed when the
    // library unloads.
    EXPECT_EXIT(
        {
            static orvls::TsdKey key = 0;
            orvls::orvls_tsd_key_create(&key, [](void*) { std::fputs("destroyed at unload\n", stderr); });
            static std::atomic<bool> set{false};
            std::thread([] {
                static int value;
                orvls::orvls_tsd_set(key, &value);
                set = true;
                for (;;)
                    pause();
            }).detach();
            while (!set)
                std::this_thread::yield();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "destroyed at unload");
}

}  // namespace
