// Argument checks of the matrix kernels: the order of the checks, the codes
// and parameters, the kernel's name on the report, and the early returns.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "capture.h"
#include "frame/error_block.h"
#include "orvls.h"

namespace {

struct Report {
    int64_t type, code;
    std::string name;
    std::string option;  // string parameter 1 of an option error
};
std::vector<Report> reports;

// The option text lives in the kernel's frame: read it while the report runs.
void keep_report(int64_t type, int64_t code, const char* name, const char* /*message*/)
{
    reports.push_back({type, code, name, code == 50056 ? orvls::orvls_error_block()->string_param[0] : ""});
}

class KernelChecks : public ::testing::Test {
protected:
    void SetUp() override
    {
        reports.clear();
        orvls_error_options(ORVLS_ERROR_PRINT_PROC, keep_report, 0);
    }
    void TearDown() override { orvls_error_options(ORVLS_ERROR_PRINT_PROC, nullptr, 0); }
    ErrorCapture capture;
};

int64_t int_parameter(int i) { return orvls::orvls_error_block()->int_param[i - 1]; }

TEST_F(KernelChecks, Rank2UpdateChecksInOrder)
{
    const struct {
        int64_t n, lda, incx, incy;
        const char* uplo;
        int64_t code, int1, int2;
    } cases[] = {
        {-1, 0, 0, 0, "X", 2014, -1, 0},  // n first, though everything is wrong
        {3, 2, 0, 0, "X", 50055, 2, 3},   // then the leading dimension
        {0, 0, 1, 1, "U", 50055, 0, 0},   // which may not be 0 even for n of 0
        {3, 3, 0, 0, "X", 2015, 0, 0},    // then the strides
        {3, 4, 1, 0, "X", 2016, 0, 0},
        {3, 3, -1, 2, "X", 50056, 0, 0},  // the option last
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        reports.clear();
        std::vector<float> a(16, 1.0f);
        const float x[4] = {1, 2, 3, 4}, alpha = 1;
        orvls_ssyr2(c.uplo, &c.n, &alpha, x, &c.incx, x, &c.incy, a.data(), &c.lda, 1);
        EXPECT_EQ(last_outcome(), (Outcome{5, c.code}));
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_EQ(reports[0].name, "orvls_ssyr2 ");
        EXPECT_EQ(reports[0].code, c.code);
        EXPECT_EQ(int_parameter(1), c.int1);
        if (c.code == 50055) {
            EXPECT_EQ(int_parameter(2), c.int2);
        }
        if (c.code == 50056) {
            EXPECT_EQ(reports[0].option, "X");
        }
        EXPECT_EQ(a, std::vector<float>(16, 1.0f));
    }
}

TEST_F(KernelChecks, Rank2UpdateEarlyReturns)
{
    const int64_t two = 2, zero = 0, one = 1;
    const float x[2] = {NAN, 1};
    float a[4] = {1, 1, 1, 1};
    const float alpha_zero = 0, alpha_nan = NAN;
    orvls_ssyr2("U", &zero, &alpha_nan, x, &one, x, &one, a, &two, 1);
    orvls_ssyr2("U", &two, &alpha_zero, x, &one, x, &one, a, &two, 1);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(a[0], 1);
    EXPECT_EQ(a[3], 1);
    // The scale is tested for equality with 0, so NaN goes on.
    const float finite[2] = {1, 1};
    orvls_ssyr2("U", &two, &alpha_nan, finite, &one, finite, &one, a, &two, 1);
    EXPECT_TRUE(std::isnan(a[0]) && std::isnan(a[3]));
    EXPECT_EQ(a[1], 1);  // the lower triangle is not referenced
    EXPECT_TRUE(reports.empty());
}

TEST_F(KernelChecks, EveryMatrixKernelNamesItself)
{
    const int64_t minus = -1, zero = 0, one = 1, two = 2, three = 3;
    float f[9] = {};
    double d[9] = {};
    const float fs = 1;
    const double ds = 1;
    const struct {
        std::function<void()> call;
        const char* name;
        int64_t code;
    } cases[] = {
        {[&] { orvls_sgemv("x", &two, &two, &fs, f, &two, f, &one, &fs, f, &one, 1); }, "orvls_sgemv ", 50056},
        {[&] { orvls_dgemv("N", &minus, &two, &ds, d, &two, d, &one, &ds, d, &one, 1); }, "orvls_dgemv ", 2014},
        {[&] { orvls_dgemv("T", &two, &two, &ds, d, &two, d, &one, &ds, d, &zero, 1); }, "orvls_dgemv ", 2016},
        {[&] { orvls_sger(&three, &two, &fs, f, &one, f, &one, f, &two); }, "orvls_sger ", 50055},
        {[&] { orvls_dger(&two, &two, &ds, d, &one, d, &zero, d, &two); }, "orvls_dger ", 2016},
        {[&] { orvls_strsv("U", "N", "Z", &two, f, &two, f, &one, 1, 1, 1); }, "orvls_strsv ", 50056},
        {[&] { orvls_dtrsv("U", "N", "N", &two, d, &two, d, &zero, 1, 1, 1); }, "orvls_dtrsv ", 2015},
        {[&] { orvls_ssymv("U", &two, &fs, f, &two, f, &one, &fs, f, &zero, 1); }, "orvls_ssymv ", 2016},
        {[&] { orvls_ssyr("U", &two, &fs, f, &one, f, &two, 0); }, "orvls_ssyr ", 50056},
        {[&] { orvls_dsyr2("L", &two, &ds, d, &one, d, &one, d, &zero, 1); }, "orvls_dsyr2 ", 50055},
        {[&] { orvls_sgemm("N", "N", &two, &two, &minus, &fs, f, &two, f, &two, &fs, f, &two, 1, 1); },
         "orvls_sgemm ", 2014},
        {[&] { orvls_dgemm("N", "N", &two, &two, &three, &ds, d, &two, d, &two, &ds, d, &two, 1, 1); },
         "orvls_dgemm ", 50055},
        {[&] { orvls_dgemm("T", "Q", &two, &two, &two, &ds, d, &two, d, &two, &ds, d, &two, 1, 1); },
         "orvls_dgemm ", 50056},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        reports.clear();
        c.call();
        EXPECT_EQ(last_outcome(), (Outcome{5, c.code}));
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_EQ(reports[0].name, c.name);
    }
    // Good arguments raise nothing.
    reports.clear();
    orvls_dgemm("t", "c", &two, &two, &three, &ds, d, &three, d, &two, &ds, d, &two, 1, 1);
    orvls_strsv("l", "t", "u", &three, f, &three, f, &minus, 1, 1, 1);
    EXPECT_TRUE(reports.empty());
}

}  // namespace
