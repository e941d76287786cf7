// The error stack and its reports: push and pop, inheritance of types,
// immediate types, message building, the print routine's layout, the
// traceback, the settings and the process stop.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "capture.h"
#include "frame/error_block.h"
#include "frame/message_file.h"

namespace {

const char kRoutine[] = "orvls_test_routine";
const char kInner[] = "l_test_inner";

std::string heading_with_name(const char* spelling, int64_t code, const char* routine)
{
    return std::string("\n*** ") + spelling + " Error ORVLS_" + orvls::orvls_code_name(code) + " from " + routine +
           ".  ";
}

// Raises an error of `type` inside a routine the caller called.
void raise_in_routine(int64_t type, int64_t code, const char* message)
{
    orvls_e1psh(kRoutine);
    orvls_e1mes(type, code, message);
    orvls_e1pop(kRoutine);
}

TEST(Report, HeadingAndMessageByteForByte)
{
    ErrorCapture capture;
    raise_in_routine(ORVLS_WARNING, 11, "A short message.");
    EXPECT_EQ(capture.text(), heading_with_name("WARNING ", 11, kRoutine) + "A short message.\n\n");
    EXPECT_EQ(last_outcome(), (Outcome{3, 11}));

    capture.clear();
    raise_in_routine(ORVLS_TERMINAL, 12, "Terminal.");
    EXPECT_EQ(capture.text(), "\n*** TERMINAL Error from orvls_test_routine.  Terminal.\n\n");
}

// The heading "\n*** TERMINAL Error from orvls_test_routine.  " counts 46
// characters, so a message of 31 fits and one of 32 wraps at a blank.
TEST(Report, WrapsAtTheLineBoundary)
{
    ErrorCapture capture;
    const std::string head = "\n*** TERMINAL Error from orvls_test_routine.  ";
    ASSERT_EQ(head.size(), 46u);

    const std::string fits = "aaaaaaaaaa bbbbbbbbbb ccccccccc";  // 31
    raise_in_routine(ORVLS_TERMINAL, 1, fits.c_str());
    EXPECT_EQ(capture.text(), head + fits + "\n\n");

    capture.clear();
    raise_in_routine(ORVLS_TERMINAL, 1, "aaaaaaaaaa bbbbbbbbbb cccccccccc");  // 32
    EXPECT_EQ(capture.text(), head + "aaaaaaaaaa bbbbbbbbbb\n***         cccccccccc\n\n");

    // Continuation lines hold 65 characters after the 12-wide prefix.
    capture.clear();
    const std::string word(30, 'w');
    const std::string message = "x " + word + " " + word + " " + word + " end";
    raise_in_routine(ORVLS_TERMINAL, 1, message.c_str());
    EXPECT_EQ(capture.text(), head + "x\n***         " + word + " " + word + "\n***         " + word + " end\n\n");
}

TEST(Report, NewlinesAndOverlongWords)
{
    ErrorCapture capture;
    const std::string head = "\n*** TERMINAL Error from orvls_test_routine.  ";
    raise_in_routine(ORVLS_TERMINAL, 1, "first line%/second line");
    EXPECT_EQ(capture.text(), head + "first line\n***         second line\n\n");

    // A word longer than any line is moved to a fresh line and then split.
    capture.clear();
    const std::string word(70, 'z');
    raise_in_routine(ORVLS_TERMINAL, 1, word.c_str());
    EXPECT_EQ(capture.text(), head + "\n***          " + word.substr(0, 65) + "\n***         " + word.substr(65) + "\n\n");
}

TEST(Report, NestedRoutineIsBlamedOnTheCalledRoutine)
{
    ErrorCapture capture;
    orvls_e1psh(kRoutine);
    orvls_e1psh(kInner);
    orvls_e1mes(ORVLS_WARNING, 7, "from inside");
    orvls_e1pop(kInner);
    EXPECT_EQ(capture.text(), "");  // the caller of the inner routine is the library
    orvls_e1pop(kRoutine);
    EXPECT_EQ(capture.text(), heading_with_name("WARNING ", 7, kRoutine) + "from inside\n\n");
    EXPECT_EQ(last_outcome(), (Outcome{3, 7}));
}

TEST(Report, Traceback)
{
    ErrorCapture capture;
    orvls_error_options(ORVLS_SET_TRACEBACK, ORVLS_FATAL, 1, 0);
    capture.clear();
    orvls_e1psh(kRoutine);
    orvls_e1psh(kInner);
    orvls_e1mes(ORVLS_FATAL, 9, "deep");
    orvls_e1pop(kInner);
    orvls_e1pop(kRoutine);
    const std::string rows = std::string("Here is a traceback of the calls in reverse order.\n") +
                             "  Error Type        Error Code               Routine\n" +
                             "  ----------        ----------               -------\n";
    char fatal_row[128];
    std::snprintf(fatal_row, sizeof fatal_row, " ORVLS_FATAL       %-25s orvls_test_routine\n",
                  orvls::orvls_code_name(9));
    const std::string user_row = std::string(1 + 6 + 9 + 3 + 25 + 1, ' ') + "USER\n";
    EXPECT_EQ(capture.text(), heading_with_name("FATAL   ", 9, kRoutine) + "deep\n\n" + rows + fatal_row + user_row);

    // The full traceback shows library levels too; the error belongs to the
    // level that raised it, the levels below show their names only.
    capture.clear();
    orvls_error_options(ORVLS_SET_TRACEBACK, ORVLS_FATAL_IMMEDIATE, 1, ORVLS_FULL_TRACEBACK, 1, 0);
    orvls_e1psh(kRoutine);
    orvls_e1psh(kInner);
    orvls_e1mes(ORVLS_FATAL_IMMEDIATE, 13, "now");
    std::snprintf(fatal_row, sizeof fatal_row, " ORVLS_FATAL_IMMEDIATE   %-25s l_test_inner\n", orvls::orvls_code_name(13));
    const std::string routine_row = std::string(1 + 6 + 9 + 3 + 25 + 1, ' ') + "orvls_test_routine\n";
    EXPECT_EQ(capture.text(), "\n*** FATAL_IMMEDIATE Error from orvls_test_routine.  now\n\n" + rows + fatal_row +
                                  routine_row + user_row);
    orvls_e1pop(kInner);
    orvls_e1pop(kRoutine);
    orvls_error_options(ORVLS_SET_TRACEBACK, ORVLS_FATAL, 0, ORVLS_SET_TRACEBACK, ORVLS_FATAL_IMMEDIATE, 0,
                        ORVLS_FULL_TRACEBACK, 0, 0);
}

TEST(ErrorStack, InheritanceOfTypes)
{
    ErrorCapture capture;
    // The higher type comes out of nested routines.
    orvls_e1psh(kRoutine);
    orvls_e1mes(ORVLS_WARNING, 3, "outer warning");
    orvls_e1psh(kInner);
    orvls_e1mes(ORVLS_FATAL, 4, "inner fatal");
    orvls_e1pop(kInner);
    EXPECT_EQ(orvls_n1rty(0), 4);
    EXPECT_EQ(orvls_n1rty(1), 4);
    orvls_e1pop(kRoutine);
    EXPECT_EQ(last_outcome(), (Outcome{4, 4}));

    // A lower inner type does not replace a higher one.
    orvls_e1psh(kRoutine);
    orvls_e1mes(ORVLS_FATAL, 5, "outer fatal");
    orvls_e1psh(kInner);
    orvls_e1mes(ORVLS_WARNING, 6, "inner warning");
    orvls_e1pop(kInner);
    EXPECT_EQ(orvls_n1rty(0), 4);
    orvls_e1pop(kRoutine);
    EXPECT_EQ(last_outcome(), (Outcome{4, 5}));

    // An error raised later in the outer routine overwrites what it inherited.
    orvls_e1psh(kRoutine);
    orvls_e1psh(kInner);
    orvls_e1mes(ORVLS_FATAL, 8, "inner fatal");
    orvls_e1pop(kInner);
    orvls_e1mes(ORVLS_WARNING, 9, "later warning");
    orvls_e1pop(kRoutine);
    EXPECT_EQ(last_outcome(), (Outcome{3, 9}));

    // A clean call leaves no trace.
    orvls_e1psh(kRoutine);
    orvls_e1pop(kRoutine);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST(ErrorStack, ClearingAndReplacing)
{
    ErrorCapture capture;
    orvls_e1psh(kRoutine);
    orvls_e1mes(ORVLS_FATAL, 21, "to be cleared");
    orvls_e1mes(0, 0, " ");
    EXPECT_EQ(orvls_n1rty(0), 0);
    orvls_e1mes(ORVLS_WARNING, 22, "kept");
    orvls_e1mes(-1, 23, nullptr);  // replaces the code only
    EXPECT_EQ(orvls_n1rty(0), 3);
    orvls_e1mes(-1, -1, "re-raised");  // re-raises the entry's own error
    EXPECT_EQ(orvls::orvls_n1rcode(0), 23);
    orvls_e1pop(kRoutine);
    EXPECT_EQ(capture.text(), heading_with_name("WARNING ", 23, kRoutine) + "re-raised\n\n");
    EXPECT_EQ(last_outcome(), (Outcome{3, 23}));
}

TEST(ErrorStack, ImmediateTypesReportAtOnce)
{
    ErrorCapture capture;
    orvls_e1psh(kRoutine);
    orvls_e1psh(kInner);
    orvls_e1mes(ORVLS_WARNING_IMMEDIATE, 31, "immediate");
    EXPECT_EQ(capture.text(), "\n*** WARNING_IMMEDIATE Error from orvls_test_routine.  immediate\n\n");
    orvls_e1pop(kInner);
    orvls_e1pop(kRoutine);
    // The message was cleared, so the pop prints nothing more.
    EXPECT_EQ(capture.text(), "\n*** WARNING_IMMEDIATE Error from orvls_test_routine.  immediate\n\n");
    EXPECT_EQ(last_outcome(), (Outcome{6, 31}));
}

TEST(ErrorStackDeathTest, StopTableIsHonouredAtThePop)
{
    // Type 7 is reported at once and does not stop unless asked to.
    EXPECT_EXIT(
        {
            orvls_error_options(ORVLS_SET_STOP, ORVLS_FATAL_IMMEDIATE, 1, 0);
            orvls_e1psh(kRoutine);
            orvls_e1mes(ORVLS_FATAL_IMMEDIATE, 41, "stop after this");
            std::fprintf(stderr, "still running\n");
            orvls_e1pop(kRoutine);
            std::exit(0);
        },
        testing::ExitedWithCode(7), "stop after this.*still running");
    EXPECT_EXIT(raise_in_routine(ORVLS_FATAL, 42, "fatal stops"), testing::ExitedWithCode(4), "fatal stops");
}

TEST(ErrorStackDeathTest, InternalFaultsEndTheProcess)
{
    EXPECT_EXIT(
        {
            for (int i = 0; i < 200; ++i)
                orvls_e1psh(kRoutine);
        },
        testing::ExitedWithCode(8), "INTERNAL");
    EXPECT_EXIT(
        {
            orvls_e1psh(kRoutine);
            orvls_e1pop(kInner);
        },
        testing::ExitedWithCode(8), "INTERNAL");
    EXPECT_EXIT(orvls_n1rty(2), testing::ExitedWithCode(8), "INTERNAL");
    EXPECT_EXIT(orvls_n1rnof(3), testing::ExitedWithCode(8), "INTERNAL");
    EXPECT_EXIT(orvls_e1mes(9, 1, "bad type"), testing::ExitedWithCode(8), "Error type must be");
}

struct Parameters {
    const char* message_template;
    std::string expected;
};

TEST(Message, Substitutions)
{
    ErrorCapture capture;
    orvls_e1sti(1, (int64_t{1} << 32) + 5);  // prints the low half, as a 32-bit long would
    orvls_e1sti(2, -42);
    orvls_e1std(1, 0.5);
    orvls_e1str(2, 2.0f);
    orvls_e1stc(1, orvls_f_complex{1.0f, -2.0f});
    orvls_d_complex z{3.0, 4.0};
    orvls_e1stz(2, &z);
    orvls_e1stl(1, "alpha");
    orvls_e1stl(-2, "beta");  // the index's sign is ignored
    orvls_e1sti(0, 99);       // out of range: ignored
    orvls_e1sti(10, 99);
    const std::vector<Parameters> cases = {
        {"n = %(I1), m = %(i2)", "n = 5, m = -42"},
        {"%(I2%05d)|%(I1%ld)", "-0042|4294967301"},
        {"x = %(D1), y = %(r2%.1f), f = %(F1%g)", "x = 5.000000e-01, y = 2.0, f = 0.5"},
        {"%(C1) %(Z2%g%+gi)", "(1.000000e+00,-2.000000e+00) 3+4i"},
        {"%(L1) and %(S2)", "alpha and beta"},
        {"%(X1) stays, 100% too, %(I) and %(I0) too", "%(X1) stays, 100% too, %(I) and %(I0) too"},
        // Templates come from the message file: a conversion that does not
        // fit its parameter gives way to the default one.
        {"%(I2%s) %(L1%d) %(D1%n) %(I2%*d)", "-42 alpha 5.000000e-01 -42"},
        {"%(D1%Lf) %(I2%9999d) %(C1%g) %(Z2%g%g%g) %(S2%s%s)", "5.000000e-01 -42 (1.000000e+00,-2.000000e+00) "
                                                                "(3.000000e+00,4.000000e+00) beta"},
        {"%(I2%lx) %(I2%hd) %(D1%-8.3f|) %(I2%5%)", "ffffffffffffffd6 -42 0.500   | -42"},
    };
    for (const auto& c : cases) {
        orvls_e1psh(kRoutine);
        orvls_e1mes(ORVLS_WARNING, 1, c.message_template);
        EXPECT_EQ(std::string(orvls::orvls_error_block()->message_buffer), c.expected) << c.message_template;
        orvls_e1pop(kRoutine);
    }
}

TEST(Message, BufferGrowsForLongTexts)
{
    ErrorCapture capture;
    std::string long_text;
    for (int i = 0; i < 2000; ++i)
        long_text += "word" + std::to_string(i) + " ";
    orvls_e1stl(1, long_text.c_str());
    orvls_e1psh(kRoutine);
    orvls_e1mes(ORVLS_WARNING, 1, "%(L1)%(L1)");
    EXPECT_EQ(std::string(orvls::orvls_error_block()->message_buffer), long_text + long_text);
    orvls_e1pop(kRoutine);
    EXPECT_NE(capture.text().find("word1999"), std::string::npos);
}

std::vector<Outcome> hook_calls;
std::vector<std::string> hook_messages;

TEST(Settings, HookSeesReportsAndEveryReturn)
{
    ErrorCapture capture;
    hook_calls.clear();
    hook_messages.clear();
    orvls_set_at_checksum([](int64_t type, int64_t code, const char* message) {
        hook_calls.push_back({type, code});
        hook_messages.emplace_back(message);
    });
    raise_in_routine(ORVLS_WARNING_IMMEDIATE, 51, "seen at once");  // immediate, then the return
    raise_in_routine(ORVLS_WARNING, 52, "seen at the return");
    orvls_e1psh(kRoutine);
    orvls_e1pop(kRoutine);
    orvls_set_at_checksum(nullptr);
    raise_in_routine(ORVLS_WARNING, 53, "not seen");
    EXPECT_EQ(hook_calls, (std::vector<Outcome>{{6, 51}, {6, 51}, {3, 52}, {0, 0}}));
    EXPECT_EQ(hook_messages, (std::vector<std::string>{"seen at once", "", "seen at the return", ""}));
}

TEST(Settings, PrintAndStopTablesByNumber)
{
    int64_t print = -1, stop = -1;
    orvls_e1pos(-4, &print, &stop);
    EXPECT_EQ(print, 1);
    EXPECT_EQ(stop, 1);
    orvls_e1pos(-8, &print, &stop);
    EXPECT_EQ(stop, 1);

    // Save all, silence all with type 0, restore with the positive form.
    int64_t saved_print[8], saved_stop[8];
    for (int t = 1; t <= 7; ++t)
        orvls_e1pos(-t, &saved_print[t], &saved_stop[t]);
    int64_t zero = 0;
    orvls_e1pos(0, &zero, &zero);
    for (int t = 1; t <= 7; ++t) {
        orvls_e1pos(-t, &print, &stop);
        EXPECT_EQ(print + stop, 0) << t;
    }
    orvls_e1pos(3, &zero, &zero);  // zeros change nothing for a single type
    for (int t = 1; t <= 7; ++t)
        orvls_e1pos(t, &saved_print[t], &saved_stop[t]);
    orvls_e1pos(-5, &print, &stop);
    EXPECT_EQ(print, 1);
    EXPECT_EQ(stop, 1);
    orvls_e1pos(-3, &print, &stop);
    EXPECT_EQ(print, 1);
    EXPECT_EQ(stop, 0);

    ErrorCapture capture;
    orvls_e1pos(9, &print, &stop);
    EXPECT_EQ(last_outcome(), (Outcome{5, 132}));
    const orvls::ErrorBlock* block = orvls::orvls_error_block();
    EXPECT_EQ(block->int_param[0], -8);
    EXPECT_EQ(block->int_param[1], 8);
    EXPECT_EQ(block->int_param[2], 9);
}

TEST(Settings, ErrorOptions)
{
    ErrorCapture capture;
    int64_t value = -1;
    orvls_error_options(ORVLS_SET_PRINT, ORVLS_NOTE, 1, ORVLS_GET_PRINT, ORVLS_NOTE, &value, 0);
    EXPECT_EQ(value, 1);
    orvls_error_options(ORVLS_SET_PRINT, ORVLS_NOTE, 0, ORVLS_GET_STOP, ORVLS_FATAL, &value, 0);
    EXPECT_EQ(value, 0);  // turned off by the capture
    orvls_error_options(ORVLS_GET_TRACEBACK, ORVLS_FATAL_IMMEDIATE, &value, 0);
    EXPECT_EQ(value, 0);
    FILE* stream = nullptr;
    orvls_error_options(ORVLS_GET_ERROR_FILE, &stream, 0);
    EXPECT_EQ(stream, capture.stream());

    // Type 8 can be neither read nor set; the report names 5 as the bound,
    // the pair is skipped and the walk goes on.
    value = -1;
    orvls_error_options(ORVLS_SET_PRINT, 8, 0, ORVLS_GET_PRINT, ORVLS_NOTE, &value, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 132}));
    const orvls::ErrorBlock* block = orvls::orvls_error_block();
    EXPECT_EQ(block->int_param[0], 1);
    EXPECT_EQ(block->int_param[1], 5);
    EXPECT_EQ(block->int_param[2], 8);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(block->print_table[8], 1);

    // An unknown code is reported with its position and ends the walk.
    orvls_error_options(ORVLS_FULL_TRACEBACK, 1, 12345, ORVLS_FULL_TRACEBACK, 0, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 103}));
    EXPECT_EQ(block->int_param[0], 12345);
    EXPECT_EQ(block->int_param[1], 3);
    EXPECT_EQ(block->full_traceback, 1);
    orvls_error_options(ORVLS_FULL_TRACEBACK, 0, 0);

    // Print modes: the console mode writes to standard output with CR LF.
    int64_t mode = 0;
    orvls_error_options(ORVLS_PRINT_MODE, int64_t{ORVLS_PRINT_MODE_CONSOLE}, ORVLS_GET_PRINT_MODE, &mode, 0);
    EXPECT_EQ(mode, ORVLS_PRINT_MODE_CONSOLE);
    testing::internal::CaptureStdout();
    raise_in_routine(ORVLS_TERMINAL, 1, "on the console");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\r\n*** TERMINAL Error from orvls_test_routine.  on the console\r\n\r\n");
    orvls_error_options(ORVLS_PRINT_MODE, int64_t{ORVLS_PRINT_MODE_BOX}, 0);
    capture.clear();
    raise_in_routine(ORVLS_TERMINAL, 1, "in a box");
    EXPECT_EQ(capture.text(), std::string("\n") + program_invocation_short_name +
                                  ": TERMINAL Error from orvls_test_routine.  in a box\n");
    orvls_error_options(ORVLS_PRINT_MODE, int64_t{12345}, ORVLS_GET_PRINT_MODE, &mode, 0);
    EXPECT_EQ(mode, ORVLS_PRINT_MODE_STREAM);

    // A print routine of the caller's own, and back to the default.
    static std::string seen;
    orvls_error_options(ORVLS_ERROR_PRINT_PROC,
                        static_cast<orvls_print_routine>([](int64_t type, int64_t code, const char* name,
                                                            const char* message) {
                            seen = std::to_string(type) + "/" + std::to_string(code) + "/" + name + "/" + message;
                        }),
                        0);
    raise_in_routine(ORVLS_WARNING, 77, "mine");
    EXPECT_EQ(seen, "3/77/orvls_test_routine/mine");
    orvls_error_options(ORVLS_ERROR_PRINT_PROC, static_cast<orvls_print_routine>(nullptr), 0);
    capture.clear();
    raise_in_routine(ORVLS_TERMINAL, 1, "default again");
    EXPECT_NE(capture.text().find("default again"), std::string::npos);
}

TEST(Settings, CounterOfN1rnof)
{
    orvls_n1rnof(2);
    EXPECT_EQ(orvls_n1rnof(1), 1);
    EXPECT_EQ(orvls_n1rnof(1), 2);
    EXPECT_EQ(orvls_n1rnof(2), 2);
    EXPECT_EQ(orvls_n1rnof(2), 0);
}

}  // namespace

namespace {

TEST(ErrorStack, RoutinesCalledOnTheCallersBehalfReportLikeUserCalls)
{
    ErrorCapture capture;
    orvls_e1psh(kRoutine);
    orvls::orvls_e1user("ON");
    orvls_e1psh(kInner);
    orvls_e1mes(ORVLS_WARNING, 61, "reported at the inner pop");
    orvls_e1pop(kInner);
    EXPECT_EQ(capture.text(), heading_with_name("WARNING ", 61, kInner) + "reported at the inner pop\n\n");
    orvls::orvls_e1user("OFF");
    orvls_e1pop(kRoutine);
}

TEST(Settings, CopiesThatCannotBeMadeAreReported)
{
    ErrorCapture capture;
    orvls_testing_fail_allocation(1);
    orvls_error_options(ORVLS_ERROR_MSG_PATH, "/nowhere", 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 200}));
}

}  // namespace
