// The printed summary and case reports.  The expected texts are laid out
// here from the report's layout: the titles and labels as quoted, each
// table after a blank line, columns two blanks apart and as wide as their
// widest label line or entry, labels and entries right-aligned, the row
// labels left-aligned under their heading (numbers right-aligned), no blank
// at a line's end.  The numbers are R's (lm, anova, vcov, predict,
// rstudent) for y = 1 3 2 5 4 on x = 1..5, rounded as the formats ask.  The
// limits carry the library's t quantile, which at 3 degrees of freedom
// differs from R's in the sixth digit: the rows and confidences are chosen
// so that no printed digit depends on it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "capture.h"
#include "orvls.h"
#include "regression/case_analysis.h"
#include "regression/summary.h"

extern "C" void orvls_testing_fail_allocation(int64_t n);

namespace {

using namespace orvls::regression;

std::string right(const std::string& text, size_t width) { return std::string(width - text.size(), ' ') + text; }
std::string left(const std::string& text, size_t width) { return text + std::string(width - text.size(), ' '); }
std::string blanks(size_t n) { return std::string(n, ' '); }

// The reports go to memory; print settings at their defaults.
class ReportTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        output_ = open_memstream(&buffer_, &length_);
        orvls_umach(-2, &output_);
        int64_t unused = 0;
        orvls_write_options(0, &unused);
    }
    void TearDown() override
    {
        FILE* standard = stdout;
        orvls_umach(-2, &standard);
        std::fclose(output_);
        std::free(buffer_);
    }
    std::string printed()
    {
        std::fflush(output_);
        std::string text(buffer_, length_);
        std::rewind(output_);
        std::fflush(output_);
        return text;
    }

private:
    FILE* output_ = nullptr;
    char* buffer_ = nullptr;
    size_t length_ = 0;
};

template <class Real>
using Info = std::conditional_t<sizeof(Real) == sizeof(float), orvls_f_regression_info, orvls_d_regression_info>;

// The fit of y on x, with an intercept; without one, y = 2 3 2 5 4.
template <class Real>
Info<Real>* small_fit(bool intercept)
{
    Real x[] = {1, 2, 3, 4, 5}, y[] = {1, 3, 2, 5, 4};
    if (!intercept)
        y[0] = 2;
    Info<Real>* info = nullptr;
    const int choice = intercept ? ORVLS_INTERCEPT : ORVLS_NO_INTERCEPT;
    if constexpr (sizeof(Real) == sizeof(float))
        std::free(orvls_f_regression(5, 1, x, y, choice, ORVLS_REGRESSION_INFO, &info, 0));
    else
        std::free(orvls_d_regression(5, 1, x, y, choice, ORVLS_REGRESSION_INFO, &info, 0));
    return info;
}

template <class Real>
void summarise(const Info<Real>& info, const char* print)
{
    const int64_t p = info.n_parameters;
    std::vector<Real> aov(15), sqss(4), coef(5 * size_t(p)), covb(size_t(p * p));
    orvls_rstat<Real>(info.intercept, -(p - info.intercept), nullptr, info.coefficients, info.R, p, info.df_error,
                      info.sscp_error[0], print, aov.data(), sqss.data(), 1, coef.data(), p, covb.data(), p);
}

const std::string kSummaryLine =  // section 1, with an intercept
    "\n" + std::string("R-squared") + "   Adjusted" + "  Est. Std. Dev." + blanks(12) + "  Coefficient of\n" +
    "(percent)" + "  R-squared" + "  of Model Error" + right("Mean", 12) + "  Var. (percent)\n" + "   64.000" +
    right("52.000", 11) + right("1.095", 16) + right("3", 12) + right("36.51", 16) + "\n";

const std::string kAnova = "\n\n* * * Analysis of Variance * * *\n" + blanks(17) + blanks(9) + right("Sum of", 12) +
                           right("Mean", 12) + blanks(11) + right("Prob. of", 10) + "\n" + left("Source", 17) +
                           right("DF", 9) + right("Squares", 12) + right("Square", 12) + right("Overall F", 11) +
                           right("Larger F", 10) + "\n" + left("Regression", 17) + right("1", 9) + right("6.4", 12) +
                           right("6.4", 12) + right("5.333", 11) + right("0.1041", 10) + "\n" + left("Residual", 17) +
                           right("3", 9) + right("3.6", 12) + right("1.2", 12) + right("NaN", 11) +
                           right("NaN", 10) + "\n" + "Corrected Total  " + right("4", 9) + right("10", 12) +
                           right("NaN", 12) + right("NaN", 11) + right("NaN", 10) + "\n";

const std::string kSequential = "\n\n* * * Sequential Statistics * * *\n" + left("Indep.", 8) +
                                right("Degrees of", 12) + right("Sum of ", 12) + blanks(13) + "  Prob. of\n" +
                                "Variable" + right("Freedom", 12) + right("Squares", 12) + right("F-statistic", 13) +
                                right("Larger F", 11) + "\n" + right("1", 8) + right("1", 12) + right("6.4", 12) +
                                right("5.333", 13) + right("0.1041", 11) + "\n";

const std::string kCoefficients =
    "\n\n* * * Inference on Coefficients * * *\n" + blanks(5) + blanks(12) + right("Standard", 12) + blanks(13) +
    right("Prob. of", 12) + right("Variance", 12) + "\n" + "Coef." + right("Estimate", 12) + right("Error", 12) +
    right("t-statistic", 13) + right("Larger |t|", 12) + right("Inflation", 12) + "\n" + right("1", 5) +
    right("0.6", 12) + right("1.149", 12) + right("0.5222", 13) + right("0.6376", 12) + right("5.5", 12) + "\n" +
    right("2", 5) + right("0.8", 12) + right("0.3464", 12) + right("2.309", 13) + right("0.1041", 12) +
    right("1", 12) + "\n";

const std::string kCovariances = "\n\n* * * Variance-Covariance Matrix for the Coefficient Estimates * * *\n" +
                                 blanks(1) + right("1", 14) + right("2", 14) + "\n" + "1" + right("1.32", 14) +
                                 right("-0.36", 14) + "\n" + "2" + blanks(14) + right("0.12", 14) + "\n";

// Without an intercept (y = 2 3 2 5 4): no mean, the short summary line,
// the uncorrected total.
const std::string kWithoutIntercept =
    "\n" + std::string("R-squared") + "   Adjusted" + "  Est. Std. Dev.\n" + "(percent)" + "  R-squared" +
    "  of Model Error\n" + "   91.411" + right("89.263", 11) + right("1.116", 16) + "\n" +
    "\n\n* * * Analysis of Variance * * *\n" + blanks(17) + blanks(9) + right("Sum of", 12) + right("Mean", 12) +
    blanks(11) + right("Prob. of", 10) + "\n" + left("Source", 17) + right("DF", 9) + right("Squares", 12) +
    right("Square", 12) + right("Overall F", 11) + right("Larger F", 10) + "\n" + left("Regression", 17) +
    right("1", 9) + right("53.02", 12) + right("53.02", 12) + right("42.569", 11) + right("0.0028", 10) + "\n" +
    left("Residual", 17) + right("4", 9) + right("4.982", 12) + right("1.245", 12) + right("NaN", 11) +
    right("NaN", 10) + "\n" + "Uncorrected Total" + right("5", 9) + right("58", 12) + right("NaN", 12) +
    right("NaN", 11) + right("NaN", 10) + "\n";

struct SummaryCase {
    const char* print;
    bool intercept;
    std::string expected;
};

const std::vector<SummaryCase> kSummaryCases = {
    {"1", true, kSummaryLine + kAnova},
    {"2", true, kSequential},
    {"3", true, kCoefficients},
    {"4", true, kCovariances},
    {"42", true, kSequential + kCovariances},
    {"all", true, kSummaryLine + kAnova + kSequential + kCoefficients + kCovariances},
    {"None", true, ""},
    {"N1", true, ""},
    {"1", false, kWithoutIntercept},
};

// Case reports: rows of x, weight and response.  Row 2 lies 1.6 above the
// line at leverage 0.2: its deleted residual is 4, so its label is marked
// "Y"; row 3 lies far out (leverage 2.7 above the mark 0.8): "X".  Limits
// for the mean at 90 percent, for a new observation at 95.
const std::string kCaseTitle = "\n* * * Case Analysis * * *\n";

const std::string kCases =
    kCaseTitle + blanks(10) + blanks(12) + right("Deleted", 12) + right("Lower 90.0", 12) + right("Upper 90.0", 12) +
    right("Lower 95.0", 12) + right("Upper 95.0", 12) + "\n" + blanks(10) + right("Predicted", 12) +
    right("Residual", 12) + right("Mean", 12) + right("Mean", 12) + right("New Obs.", 12) + right("New Obs.", 12) +
    "\n" + left("110", 10) + right("1.4000", 12) + right("-0.5000", 12) + right("-0.5969", 12) + right("3.3969", 12) +
    right("-3.0097", 12) + right("5.8097", 12) + "\n" + left("Y10", 10) + right("3.0000", 12) + right("4.0000", 12) +
    right("1.8471", 12) + right("4.1529", 12) + right("-0.8189", 12) + right("6.8189", 12) + "\n" + left("X10", 10) +
    right("7.0000", 12) + right("NaN", 12) + right("2.7639", 12) + right("11.2361", 12) + right("0.2942", 12) +
    right("13.7058", 12) + "\n";

// One row per call: the title and header with the first only; a value of
// 10000 or more takes the exponent form.
const std::string kRowAtATime = kCaseTitle + "\n" + blanks(10) + right("Predicted", 12) + "\n" + left("110", 10) +
                                right("1.4000", 12) + "\n" + left("X10", 10) + right("1.60E+04", 12) + "\n";

template <class Real>
CaseFit<Real> case_fit(const Info<Real>& info)
{
    return CaseFit<Real>{info.n_parameters, info.coefficients, info.R, info.n_parameters, info.df_error,
                         info.sscp_error[0]};
}

template <class Real>
void check_summary_reports(const std::function<std::string()>& printed)
{
    for (const SummaryCase& c : kSummaryCases) {
        Info<Real>* info = small_fit<Real>(c.intercept);
        ASSERT_NE(info, nullptr);
        summarise<Real>(*info, c.print);
        EXPECT_EQ(printed(), c.expected) << sizeof(Real) << c.print << (c.intercept ? "" : " without intercept");
        std::free(info);
    }
}

template <class Real>
void check_case_reports(const std::function<std::string()>& printed)
{
    Info<Real>* info = small_fit<Real>(true);
    ASSERT_NE(info, nullptr);
    const CaseFit<Real> fit = case_fit<Real>(*info);
    const Real none = std::numeric_limits<Real>::quiet_NaN();
    Real rows[] = {1, 1, 1, 3, 1, 4.6f, 8, 1, none}, table[36], wk[4];
    int64_t nrmiss = 0;
    orvls_r2ase<Real>(0, 3, 3, rows, 3, 1, -1, nullptr, 2, 1, -1, 90, 95, "m2p6", 1, fit, table, 12, &nrmiss, wk);
    EXPECT_EQ(printed(), kCases) << sizeof(Real);
    EXPECT_EQ(nrmiss, 1);  // the row without a response

    Real far[] = {20000, 1, none};
    orvls_r2ase<Real>(1, 1, 3, rows, 3, 1, -1, nullptr, 2, 1, -1, 95, 95, "2", 1, fit, table, 12, &nrmiss, wk);
    orvls_r2ase<Real>(2, 1, 3, far, 3, 1, -1, nullptr, 2, 1, -1, 95, 95, "2", 2, fit, table, 12, &nrmiss, wk);
    EXPECT_EQ(printed(), kRowAtATime);
    std::free(info);
}

TEST_F(ReportTest, SummarySectionsAsSelected)
{
    const std::function<std::string()> text = [this] { return printed(); };
    check_summary_reports<double>(text);
    check_summary_reports<float>(text);
}

TEST_F(ReportTest, CaseTableAsSelected)
{
    const std::function<std::string()> text = [this] { return printed(); };
    check_case_reports<double>(text);
    check_case_reports<float>(text);
}

// A warning that stands in the running routine does not stop its report.
TEST_F(ReportTest, PrintedBesideAStandingWarning)
{
    Info<double>* info = small_fit<double>(true);
    ASSERT_NE(info, nullptr);
    ErrorCapture capture;
    orvls_e1psh("report_test");
    orvls_ermes(3, 20052);
    summarise<double>(*info, "2");
    orvls_e1pop("report_test");
    EXPECT_EQ(printed(), kSequential);
    std::free(info);
}

// With each allocation of the printing failing in turn, the summary still
// stands and the printing stops with type 5, code 200 (or the coefficient
// table's 201), leaking nothing; once all succeed the report is whole.
TEST_F(ReportTest, EachAllocationFailureOfThePrintingIsRefusedCleanly)
{
    Info<double>* info = small_fit<double>(true);
    ASSERT_NE(info, nullptr);
    for (int64_t failing = 1;; ++failing) {
        ErrorCapture capture;
        orvls_testing_fail_allocation(failing);
        orvls_e1psh("report_test");
        summarise<double>(*info, "A");
        orvls_e1pop("report_test");
        orvls_testing_fail_allocation(0);
        const std::string text = printed();
        if (last_outcome() == (Outcome{0, 0})) {
            EXPECT_EQ(text, kSummaryLine + kAnova + kSequential + kCoefficients + kCovariances);
            EXPECT_GT(failing, 4);
            break;
        }
        EXPECT_TRUE(last_outcome() == (Outcome{5, 200}) || last_outcome() == (Outcome{5, 201})) << failing;
    }
    std::free(info);
}

}  // namespace
