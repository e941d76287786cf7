// regressors_for_glm: refusals with their parameters, allocation failures,
// small designs checked by hand; the class-value and row-expansion kernels
// in chunks, one row at a time and with values they do not know.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "frame/error_block.h"
#include "frame/memory.h"
#include "regression/regressors.h"
#include "regressors_support.h"

namespace {

using orvls::regression::orvls_gclas;
using orvls::regression::orvls_grglm;

const double nan = NAN;

// 4 rows: a class variable with classes 1, 2, 3, then two continuous ones.
const std::vector<double> kData = {1, 0.5, 2, 2, -1, 4, 1, 3, 0.25, 3, 2, -2};
const int64_t kSizes[2] = {1, 2}, kBadSize[2] = {1, 0};
const int64_t kColumns[3] = {0, 1, 0}, kColumnBeyond[3] = {0, 3, 1}, kColumnBelow[3] = {0, -1, 1};
const int64_t kClassBeyond[1] = {3}, kClassBelow[1] = {-1};

// Type, code and the parameters that must be set: int 1 to 3 (when listed)
// and string 1 and 2 (when not null).
struct Refusal {
    const char* what;
    std::function<int64_t(double*)> call;
    Outcome outcome;
    std::vector<int64_t> ints;
    const char* string1 = nullptr;
    const char* string2 = nullptr;
    std::vector<double> x = kData;
};

// Column 1 of kData all missing.
std::vector<double> without_values_in_column_1()
{
    std::vector<double> x = kData;
    for (int i = 0; i < 4; ++i)
        x[3 * i + 1] = nan;
    return x;
}

// A call on kData's 4 rows of 1 class and 2 continuous variables with these options.
template <class... Options>
std::function<int64_t(double*)> with(Options... options)
{
    return [=](double* x) { return orvls_d_regressors_for_glm(4, x, 1, 2, options..., 0); };
}

TEST(RegressorsConditions, RefusalsReturnZeroWithTheirParametersAndRestoreX)
{
    double* regressors = nullptr;
    double user[32];
    const auto counts = [](int64_t n, int64_t n_class, int64_t n_cont) {
        return [=](double* x) { return orvls_d_regressors_for_glm(n, x, n_class, n_cont, 0); };
    };
    const Refusal refusals[] = {
        {"unknown option", with(12345), {5, 11001}, {12345, 5}},
        {"unknown option behind the reserved one", with(ORVLS_GLM_RESERVED, 12345), {5, 11001}, {12345, 7}},
        {"no observations", counts(0, 1, 2), {5, 603}, {0, 1}, "nobs"},
        {"negative n_class", counts(4, -1, 2), {5, 603}, {-1, 0}, "n_class"},
        {"negative n_cont", counts(4, 1, -2), {5, 603}, {-2, 0}, "n_cont"},
        {"negative n_effects", with(ORVLS_INDICES_EFFECTS, -1, kSizes, kColumns), {5, 603}, {-1, 0}, "n_effects"},
        {"no variables", counts(4, 0, 0), {5, 20234}, {}},
        {"order and effects", with(ORVLS_MODEL_ORDER, 1, ORVLS_INDICES_EFFECTS, 2, kSizes, kColumns), {5, 11117}, {},
         "ORVLS_MODEL_ORDER and ORVLS_INDICES_EFFECTS"},
        {"order twice", with(ORVLS_MODEL_ORDER, 1, ORVLS_MODEL_ORDER, 2), {5, 11117}, {}},
        {"order 3", with(ORVLS_MODEL_ORDER, 3), {5, 20230}, {3}},
        {"dummy method 4", with(ORVLS_DUMMY_METHOD, 4), {5, 20232}, {}},
        {"short rows of x", with(ORVLS_X_COL_DIM, 2), {5, 20233}, {2}},
        {"null regressors", with(ORVLS_REGRESSORS, nullptr), {5, 104}, {}, "regressors", "ORVLS_REGRESSORS"},
        {"null user regressors", with(ORVLS_REGRESSORS_USER, nullptr), {5, 104}, {}, "regressors",
         "ORVLS_REGRESSORS_USER"},
        {"null class columns", with(ORVLS_X_CLASS_COLUMNS, nullptr), {5, 104}, {}, "class_columns",
         "ORVLS_X_CLASS_COLUMNS"},
        {"null effect columns", with(ORVLS_INDICES_EFFECTS, 2, kSizes, nullptr), {5, 104}, {}, "indices_effects",
         "ORVLS_INDICES_EFFECTS"},
        {"class column beyond the row", with(ORVLS_X_CLASS_COLUMNS, kClassBeyond), {5, 20235}, {1, 4, 3}},
        {"class column below the row", with(ORVLS_X_CLASS_COLUMNS, kClassBelow), {5, 20235}, {1, 0, 3}},
        {"empty effect", with(ORVLS_INDICES_EFFECTS, 2, kBadSize, kColumns), {5, 20237}, {2, 0}},
        {"effect column beyond the row", with(ORVLS_INDICES_EFFECTS, 2, kSizes, kColumnBeyond), {5, 20238},
         {2, 3, 3}},
        {"effect column below the row", with(ORVLS_INDICES_EFFECTS, 2, kSizes, kColumnBelow), {5, 20238},
         {2, -1, 3}},
        {"class variable without a value",
         [](double* x) {
             return orvls_d_regressors_for_glm(4, x, 1, 1, ORVLS_X_CLASS_COLUMNS, kColumnBeyond + 2, ORVLS_X_COL_DIM,
                                               3, 0);
         },
         {5, 20231}, {1, 0}, nullptr, nullptr, without_values_in_column_1()},
        {"short rows of regressors", with(ORVLS_REGRESSORS_USER, user, ORVLS_REGRESSORS_COL_DIM, 4), {5, 600}, {4, 5},
         "ORVLS_REGRESSORS_COL_DIM", "n_regressors"},
        {"allocated regressors after an error",
         [&](double* x) {
             regressors = user;
             const int64_t n = with(ORVLS_REGRESSORS, &regressors, ORVLS_DUMMY_METHOD, 0)(x);
             EXPECT_EQ(regressors, nullptr);
             return n;
         },
         {5, 20232}, {}},
    };
    ErrorCapture capture;
    for (const Refusal& r : refusals) {
        SCOPED_TRACE(r.what);
        std::vector<double> x = r.x;
        EXPECT_EQ(r.call(x.data()), 0);
        EXPECT_EQ(last_outcome(), r.outcome);
        EXPECT_TRUE(same_bits(x, r.x));
        const orvls::ErrorBlock* block = orvls::orvls_error_block();
        for (std::size_t i = 0; i < r.ints.size(); ++i)
            EXPECT_EQ(block->int_param[i], r.ints[i]) << "int " << i + 1;
        if (r.string1 != nullptr) {
            EXPECT_STREQ(block->string_param[0], r.string1);
        }
        if (r.string2 != nullptr) {
            EXPECT_STREQ(block->string_param[1], r.string2);
        }
    }
}

TEST(RegressorsConditions, OrderMethodAndRowLengthAreAllReported)
{
    ErrorCapture capture;
    std::vector<double> x = kData;
    EXPECT_EQ(orvls_d_regressors_for_glm(4, x.data(), 1, 2, ORVLS_MODEL_ORDER, 0, ORVLS_DUMMY_METHOD, 0,
                                         ORVLS_X_COL_DIM, 1, 0),
              0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 20233}));
    const std::string text = capture.text();
    for (const char* told : {"The model order 0", "The dummy method must", "x_col_dim = 1"})
        EXPECT_NE(text.find(told), std::string::npos) << text;
}

// Each allocation of a call refused in turn: 200 or 202 with x restored and
// nothing left allocated, or, for a transposition's work array, the same
// result by another way.
TEST(RegressorsConditions, EveryAllocationFailureIsReportedAndXRestored)
{
    ErrorCapture capture;
    const int64_t sizes[3] = {1, 2, 2}, columns[5] = {0, 0, 1, 1, 2};
    auto call = [&](double* x, double** result) {
        return orvls_d_regressors_for_glm(4, x, 1, 2, ORVLS_INDICES_EFFECTS, 3, sizes, columns, ORVLS_DUMMY_METHOD, 3,
                                          ORVLS_REGRESSORS, result, 0);
    };
    std::vector<double> x = kData;
    double* full = nullptr;
    const int64_t before = orvls_testing_allocation_count();
    ASSERT_EQ(call(x.data(), &full), 5);
    const int64_t allocations = orvls_testing_allocation_count() - before;
    std::set<int64_t> codes;
    int64_t succeeded = 0;
    for (int64_t n = 1; n <= allocations; ++n) {
        SCOPED_TRACE(n);
        x = kData;
        double* result = nullptr;
        orvls_testing_fail_allocation(n);
        const int64_t count = call(x.data(), &result);
        orvls_testing_fail_allocation(0);
        EXPECT_TRUE(same_bits(x, kData));
        if (count == 0) {
            EXPECT_EQ(result, nullptr);
            EXPECT_EQ(orvls_n1rty(1), 5);
            codes.insert(orvls_error_code());
        } else {
            ++succeeded;
            expect_cells(std::vector<double>(full, full + 20), 4, 5, result, 5);
            orvls_free_allocated_memory(result);
        }
    }
    orvls_free_allocated_memory(full);
    EXPECT_EQ(codes, (std::set<int64_t>{200, 202}));
    EXPECT_EQ(succeeded, 2);  // the two transpositions fall back to cycles
}

// Small designs worked out by hand.
struct Design {
    const char* what;
    int64_t n, n_class, n_cont;
    std::vector<double> x;
    int method, order;
    std::vector<double> expected;  // row-major, n rows
};

TEST(RegressorsConditions, HandCheckedDesigns)
{
    // A: one class (4); B: classes 3 and 7; x.  Order 2: A, B, x, x*x, A*B, A*x, B*x.
    const std::vector<double> abx = {4, 7, 2, 4, 3, -1, 4, 7, 0.5};
    const Design designs[] = {
        {"one-class variable, all dummies", 3, 2, 1, abx, 1, 2,
         {1, 0, 1, 2, 4, 0, 1, 2, 0, 2,          //
          1, 1, 0, -1, 1, 1, 0, -1, -1, 0,       //
          1, 0, 1, 0.5, 0.25, 0, 1, 0.5, 0, 0.5}},
        {"one-class variable, last class left out", 3, 2, 1, abx, 2, 2, {0, 2, 4, 0, 1, -1, 1, -1, 0, 0.5, 0.25, 0}},
        {"one-class variable, sum to zero", 3, 2, 1, abx, 3, 2,
         {-1, 2, 4, -2, 1, -1, 1, -1, -1, 0.5, 0.25, -0.5}},
        {"two continuous variables of order 2", 2, 0, 2, {2, 3, -1, 0.5}, 1, 2, {2, 3, 4, 9, 6, -1, 0.5, 1, 0.25, -0.5}},
        {"one continuous variable of order 2", 2, 0, 1, {3, -2}, 2, 2, {3, 9, -2, 4}},
        {"a lone class variable of order 2 is its main effect", 3, 1, 0, {5, 6, 5}, 1, 2, {1, 0, 0, 1, 1, 0}},
    };
    for (const Design& d : designs) {
        SCOPED_TRACE(d.what);
        std::vector<double> x = d.x;
        double* regressors = nullptr;
        const int64_t p = static_cast<int64_t>(d.expected.size()) / d.n;
        EXPECT_EQ(orvls_d_regressors_for_glm(d.n, x.data(), d.n_class, d.n_cont, ORVLS_MODEL_ORDER, d.order,
                                             ORVLS_DUMMY_METHOD, d.method, ORVLS_REGRESSORS, &regressors, 0),
                  p);
        ASSERT_NE(regressors, nullptr);
        expect_cells(d.expected, d.n, p, regressors, p);
        orvls_free_allocated_memory(regressors);
    }
}

// A class variable listed twice in an effect: the product of its codes with
// itself, the second listing varying fastest.
TEST(RegressorsConditions, ClassVariableTwiceInAnEffect)
{
    const int64_t size[1] = {2}, columns[2] = {0, 0};
    const std::vector<std::vector<double>> expected = {{1, 0, 0, 0, 0, 0, 0, 1}, {1, 0}, {1, 1}};
    for (int method = 1; method <= 3; ++method) {
        SCOPED_TRACE(method);
        std::vector<double> x = {1, 2};
        std::vector<double> regressors(8);
        const int64_t p = orvls_d_regressors_for_glm(2, x.data(), 1, 0, ORVLS_INDICES_EFFECTS, 1, size, columns,
                                                     ORVLS_DUMMY_METHOD, method, ORVLS_REGRESSORS_USER,
                                                     regressors.data(), 0);
        ASSERT_EQ(p, static_cast<int64_t>(expected[method - 1].size()) / 2);
        expect_cells(expected[method - 1], 2, p, regressors.data(), p);
    }
}

TEST(ClassValues, ChunksKeepTheTablePackedAndSortAtTheEnd)
{
    // Two class variables in columns 1 and 2 of column-major chunks.
    const int64_t indcl[2] = {1, 2};
    int64_t nclval[2] = {-1, -1}, nmiss[2] = {-1, -1};
    double clval[6];
    const double first[4] = {5, 3, 9, 9};  // two rows
    orvls_gclas<double>(1, 2, 2, first, 2, 2, indcl, 6, nclval, clval, nmiss);
    EXPECT_EQ(std::vector<double>(clval, clval + 3), (std::vector<double>{5, 3, 9}));
    const double middle[2] = {4, 8};
    orvls_gclas<double>(2, 1, 2, middle, 1, 2, indcl, 6, nclval, clval, nmiss);
    EXPECT_EQ(std::vector<double>(clval, clval + 5), (std::vector<double>{5, 3, 4, 9, 8}));
    const double last[2] = {3, nan};
    orvls_gclas<double>(3, 1, 2, last, 1, 2, indcl, 6, nclval, clval, nmiss);
    EXPECT_EQ(std::vector<double>(clval, clval + 5), (std::vector<double>{3, 4, 5, 8, 9}));
    EXPECT_EQ(nclval[0], 3);
    EXPECT_EQ(nclval[1], 2);
    EXPECT_EQ(nmiss[0], 0);
    EXPECT_EQ(nmiss[1], 1);

    // The same rows at once.
    const double all[8] = {5, 3, 4, 3, 9, 9, 8, nan};
    double once[6];
    orvls_gclas<double>(0, 4, 2, all, 4, 2, indcl, 6, nclval, once, nmiss);
    EXPECT_EQ(std::vector<double>(once, once + 5), std::vector<double>(clval, clval + 5));
}

TEST(ClassValues, Refusals)
{
    ErrorCapture capture;
    const double x[4] = {1, 2, 3, nan};
    const int64_t column[1] = {1}, beyond[1] = {2};
    int64_t nclval[1], nmiss[1];
    double clval[4];
    orvls_gclas<double>(0, 4, 1, x, 4, 1, column, 2, nclval, clval, nmiss);
    EXPECT_EQ(last_outcome(), (Outcome{4, 20236}));
    EXPECT_EQ(orvls::orvls_error_block()->int_param[0], 2);
    orvls_gclas<double>(4, 4, 1, x, 4, 1, column, 4, nclval, clval, nmiss);
    EXPECT_EQ(last_outcome(), (Outcome{5, 602}));
    orvls_gclas<double>(0, 4, 1, x, 4, 1, beyond, 4, nclval, clval, nmiss);
    EXPECT_EQ(last_outcome(), (Outcome{5, 20235}));
    orvls_gclas<double>(0, 4, 1, x, 3, 1, column, 4, nclval, clval, nmiss);
    EXPECT_EQ(last_outcome(), (Outcome{5, 600}));
}

// Rows expanded one at a time where they stand (row-major), with a class
// table made elsewhere: unsorted, and without the value 5.
TEST(RowExpansion, OneRowAtATimeWithAValueNotInTheTable)
{
    const int64_t indcl[1] = {1}, nclval[1] = {3}, nvef[3] = {1, 2, 1}, indef[4] = {1, 1, 2, 2};
    const double clval[3] = {7, 3, 1};
    const double rows[3][2] = {{3, 2}, {5, 2}, {1, nan}};
    const double expected[3][3][7] = {
        // by method: A, A*x, x
        {{0, 1, 0, 0, 2, 0, 2}, {0, 1, 0, 2, 2}, {0, 1, 0, 2, 2}},
        {{nan, nan, nan, nan, nan, nan, 2}, {nan, nan, nan, nan, 2}, {nan, nan, nan, nan, 2}},
        {{0, 0, 1, nan, nan, nan, nan}, {0, 0, nan, nan, nan}, {-1, -1, nan, nan, nan}},
    };
    const int64_t widths[3] = {7, 5, 5};
    for (int64_t method = 1; method <= 3; ++method) {
        for (int r = 0; r < 3; ++r) {
            SCOPED_TRACE(testing::Message() << "method " << method << ", row " << r);
            double reg[7] = {-9, -9, -9, -9, -9, -9, -9};
            int64_t nreg = 0, nrmiss = -1;
            orvls_grglm<double>(1, 2, rows[r], 1, 1, indcl, nclval, clval, 3, nvef, indef, method, &nreg, reg, 1,
                                &nrmiss);
            EXPECT_EQ(orvls_n1rty(1), 0);
            EXPECT_EQ(nreg, widths[method - 1]);
            EXPECT_EQ(nrmiss, r == 0 ? 0 : 1);
            std::vector<double> want(expected[r][method - 1], expected[r][method - 1] + nreg);
            expect_cells(want, 1, nreg, reg, nreg);
        }
    }
}

TEST(RowExpansion, CountOnlyLeavesTheOutputAlone)
{
    const int64_t indcl[2] = {1, 2}, nclval[2] = {3, 1}, nvef[3] = {2, 1, 1}, indef[4] = {1, 3, 2, 1};
    const double clval[4] = {1, 2, 3, 8}, x[6] = {1, 2, 8, 8, nan, 4};  // 2 rows, column-major
    int64_t nreg = 0, nrmiss = 0;
    orvls_grglm<double>(2, 3, x, 2, 2, indcl, nclval, clval, 3, nvef, indef, -2, &nreg, nullptr, 2, &nrmiss);
    EXPECT_EQ(orvls_n1rty(1), 0);
    EXPECT_EQ(nreg, 4);  // A*x 2, B none, A 2
    EXPECT_EQ(nrmiss, 1);
}

TEST(RowExpansion, Refusals)
{
    ErrorCapture capture;
    const int64_t indcl[1] = {1}, nclval[1] = {2}, zero[1] = {0}, nvef[1] = {1}, none[1] = {0};
    const int64_t indef[1] = {2}, beyond[1] = {3}, class_beyond[1] = {4};
    const double clval[2] = {1, 2}, x[2] = {1, 2};
    double reg[4];
    int64_t nreg = 0, nrmiss = 0;
    struct Case {
        const char* what;
        int64_t idummy, ldreg;
        const int64_t *indcl, *nclval, *nvef, *indef;
        Outcome outcome;
    };
    const Case cases[] = {
        {"method 0", 0, 1, indcl, nclval, nvef, indef, {5, 20232}},
        {"method -4", -4, 1, indcl, nclval, nvef, indef, {5, 20232}},
        {"short output rows", 1, 0, indcl, nclval, nvef, indef, {5, 600}},
        {"class column", 1, 1, class_beyond, nclval, nvef, indef, {5, 20235}},
        {"no classes", 1, 1, indcl, zero, nvef, indef, {5, 20231}},
        {"empty effect", 1, 1, indcl, nclval, none, indef, {5, 20237}},
        {"effect column", 1, 1, indcl, nclval, nvef, beyond, {5, 20238}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        nreg = -1;
        orvls_grglm<double>(1, 2, x, 1, 1, c.indcl, c.nclval, clval, 1, c.nvef, c.indef, c.idummy, &nreg, reg,
                            c.ldreg, &nrmiss);
        EXPECT_EQ(last_outcome(), c.outcome);
        EXPECT_EQ(nreg, 0);
    }
}

}  // namespace
