// Machine tables, the thread's streams, NaN tests, the version query and the
// thread CPU clock.
#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <thread>

#include "capture.h"
#include "frame/error_block.h"
#include "frame/memory.h"
#include "orvls.h"

namespace {

// Threads below need the signal guard off before any second thread calls.
class TrappingOff : public ::testing::Environment {
public:
    void SetUp() override { orvls_skip_signal_handler(); }
};
::testing::Environment* const trapping_off = ::testing::AddGlobalTestEnvironment(new TrappingOff);

const orvls::ErrorBlock& block() { return *orvls::orvls_error_block(); }

TEST(Machine, FloatingPointTablesHoldTheFormatsConstants)
{
    const float f[8] = {FLT_MIN, FLT_MAX, FLT_EPSILON / 2, FLT_EPSILON, 0, 0, INFINITY, -INFINITY};
    const double d[8] = {DBL_MIN, DBL_MAX, DBL_EPSILON / 2, DBL_EPSILON, 0, 0, INFINITY, -INFINITY};
    for (int n : {1, 2, 3, 4, 7, 8}) {
        EXPECT_EQ(orvls_amach(n), f[n - 1]) << n;
        EXPECT_EQ(orvls_dmach(n), d[n - 1]) << n;
        EXPECT_EQ(orvls_f_machine(n), f[n - 1]) << n;
        EXPECT_EQ(orvls_d_machine(n), d[n - 1]) << n;
    }
    EXPECT_EQ(std::bit_cast<uint32_t>(orvls_amach(5)), 0x3E9A209Bu);
    EXPECT_EQ(std::bit_cast<uint64_t>(orvls_dmach(5)), 0x3FD344133FD34413u);
    EXPECT_EQ(orvls_dmach(5), 0.30102998001990605);
    EXPECT_EQ(std::bit_cast<uint32_t>(orvls_amach(6)), 0x7FFFFFFFu);
    EXPECT_EQ(std::bit_cast<uint64_t>(orvls_dmach(6)), 0x7FFFFFFFFFFFFFFFu);
    EXPECT_EQ(std::bit_cast<uint64_t>(orvls_d_machine(6)), 0x7FFFFFFFFFFFFFFFu);
}

TEST(Machine, IntegerTableHoldsTheFormatsConstants)
{
    const int64_t expected[13] = {8,  2,           15,          SHRT_MAX,    31,           INT_MAX,    FLT_RADIX,
                                  FLT_MANT_DIG, FLT_MIN_EXP, FLT_MAX_EXP, DBL_MANT_DIG, DBL_MIN_EXP, DBL_MAX_EXP};
    for (int n = 0; n <= 12; ++n)
        EXPECT_EQ(orvls_i_machine(n), expected[n]) << n;
}

TEST(Machine, IndicesOutOfRangeAreRefused)
{
    ErrorCapture capture;
    for (int n : {0, 9}) {
        EXPECT_EQ(orvls_dmach(n), 0.0);
        EXPECT_EQ(last_outcome(), (Outcome{5, 12009}));
        EXPECT_EQ(orvls_amach(n), 0.0f);
        EXPECT_EQ(last_outcome(), (Outcome{5, 12009}));
        EXPECT_EQ(block().int_param[0], n);
    }
    struct Case {
        int64_t n, low, high;
        double (*call)(int64_t);
    };
    const Case cases[] = {
        {0, 1, 8, [](int64_t n) { return double(orvls_f_machine(n)); }},
        {9, 1, 8, [](int64_t n) { return orvls_d_machine(n); }},
        {-1, 0, 12, [](int64_t n) { return double(orvls_i_machine(n)); }},
        {13, 0, 12, [](int64_t n) { return double(orvls_i_machine(n)); }},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.call(c.n), 0.0);
        EXPECT_EQ(last_outcome(), (Outcome{5, 132}));
        EXPECT_EQ(block().int_param[0], c.low);
        EXPECT_EQ(block().int_param[1], c.high);
        EXPECT_EQ(block().int_param[2], c.n);
        EXPECT_STREQ(block().string_param[0], "n");
    }
    for (int n : {0, 4, -4}) {
        FILE* stream = stdout;
        orvls_e1psh("caller");
        orvls_umach(n, &stream);
        orvls_e1pop("caller");
        EXPECT_EQ(last_outcome(), (Outcome{5, 12010})) << n;
    }
}

TEST(Machine, NanTestsTellNanFromInfinity)
{
    EXPECT_EQ(orvls_ifnan(orvls_amach(6)), 1);
    EXPECT_EQ(orvls_difnan(orvls_dmach(6)), 1);
    EXPECT_EQ(orvls_f_test_nan(std::numeric_limits<float>::quiet_NaN()), 1);
    EXPECT_EQ(orvls_d_test_nan(-std::numeric_limits<double>::quiet_NaN()), 1);
    for (double x : {0.0, -1.5, DBL_MAX, HUGE_VAL, -HUGE_VAL}) {
        EXPECT_EQ(orvls_ifnan(float(x)), 0) << x;
        EXPECT_EQ(orvls_difnan(x), 0) << x;
        EXPECT_EQ(orvls_f_test_nan(float(x)), 0) << x;
        EXPECT_EQ(orvls_d_test_nan(x), 0) << x;
    }
}

FILE* stream_of(int code)
{
    FILE* stream = nullptr;
    orvls_output_file(code, &stream, 0);
    return stream;
}

TEST(Machine, StreamsAreSetPerThread)
{
    FILE* mine = std::tmpfile();
    FILE* theirs = std::tmpfile();
    orvls_output_file(ORVLS_OUTPUT_FILE, mine, ORVLS_ERROR_FILE, mine, 0);
    FILE* seen[4] = {};
    std::thread other([&] {
        seen[0] = stream_of(ORVLS_GET_OUTPUT_FILE);
        seen[1] = stream_of(ORVLS_GET_ERROR_FILE);
        orvls_output_file(ORVLS_OUTPUT_FILE, theirs, 0);
        seen[2] = stream_of(ORVLS_GET_OUTPUT_FILE);
        orvls_umach(2, &seen[3]);
    });
    other.join();
    EXPECT_EQ(seen[0], stdout);
    EXPECT_EQ(seen[1], stderr);
    EXPECT_EQ(seen[2], theirs);
    EXPECT_EQ(seen[3], theirs);
    EXPECT_EQ(stream_of(ORVLS_GET_OUTPUT_FILE), mine);
    EXPECT_EQ(stream_of(ORVLS_GET_ERROR_FILE), mine);
    orvls_output_file(ORVLS_OUTPUT_FILE, stdout, ORVLS_ERROR_FILE, stderr, 0);
    std::fclose(mine);
    std::fclose(theirs);
}

TEST(Machine, UnknownOutputFileCodeEndsTheList)
{
    ErrorCapture capture;
    FILE* first = std::tmpfile();
    FILE* second = std::tmpfile();
    orvls_output_file(ORVLS_OUTPUT_FILE, first, 4242, ORVLS_OUTPUT_FILE, second, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 103}));
    EXPECT_EQ(block().int_param[0], 4242);
    EXPECT_EQ(block().int_param[1], 3);
    EXPECT_EQ(stream_of(ORVLS_GET_OUTPUT_FILE), first);
    orvls_output_file(ORVLS_OUTPUT_FILE, stdout, 0);
    std::fclose(first);
    std::fclose(second);
}

std::string version(int64_t selector)
{
    char* text = orvls_version(selector);
    std::string result = text != nullptr ? text : "(null)";
    orvls_free_allocated_memory(text);
    return result;
}

TEST(Machine, VersionTextsComeFromTheEnvironment)
{
    struct Case {
        int64_t selector;
        const char* variable;
        const char* prefix;
    };
    const Case cases[] = {{ORVLS_COMPILER_VERSION, "KVL_COMPILER_VERSION", ""},
                          {ORVLS_LIBRARY_VERSION, "KVL_VERSION", "ORVL Statkit Version "},
                          {ORVLS_LICENSE_NUMBER, "KVL_LICENSE_NUMBER", ""},
                          {ORVLS_OS_VERSION, "KVL_OS_VERSION", ""}};
    const std::string long_value(300, 'x');
    for (const Case& c : cases) {
        unsetenv(c.variable);
        EXPECT_EQ(version(c.selector), c.prefix);
        setenv(c.variable, "4.2 test", 1);
        EXPECT_EQ(version(c.selector), std::string(c.prefix) + "4.2 test");
        setenv(c.variable, long_value.c_str(), 1);
        EXPECT_EQ(version(c.selector), c.prefix + long_value.substr(0, 260));
        unsetenv(c.variable);
    }
    ErrorCapture capture;
    EXPECT_EQ(version(12345), "(null)");
    EXPECT_EQ(last_outcome(), (Outcome{5, 103}));
    EXPECT_EQ(block().int_param[0], 12345);
    EXPECT_EQ(block().int_param[1], 1);
    orvls_testing_fail_allocation(1);
    EXPECT_EQ(version(ORVLS_OS_VERSION), "(null)");
    EXPECT_EQ(last_outcome(), (Outcome{5, 200}));
}

// CPU time the calling thread's clock shows for a fixed piece of work.
double time_of_work()
{
    const double start = orvls_ctime();
    volatile double sink = 0;
    for (int i = 0; i < 20000000; ++i)
        sink = sink + std::sqrt(double(i));
    return orvls_ctime() - start;
}

TEST(Machine, CpuClockCountsTheCallingThreadsWork)
{
    EXPECT_GT(time_of_work(), 0.0);
    const double before = orvls_ctime();
    double worker = 0;
    std::thread other([&] { worker = time_of_work(); });
    other.join();
    const double waited = orvls_ctime() - before;
    EXPECT_GT(worker, 0.0);
    EXPECT_LT(waited, worker / 2);
}

}  // namespace
