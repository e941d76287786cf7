// Argument checks and the transposition routine.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

#include "capture.h"
#include "frame/checks.h"
#include "frame/error_block.h"
#include "frame/memory.h"

namespace {

struct Raised {
    int64_t code;
    std::vector<int64_t> ints;
    std::vector<std::string> strings;
};

// Runs one check inside a routine and collects what it raised.
template <class Check>
Raised run_check(Check check, int64_t* count)
{
    orvls_e1psh("orvls_test_checks");
    orvls::ErrorBlock* block = orvls::orvls_error_block();
    for (int i = 1; i <= 9; ++i)
        orvls_e1sti(i, -999);
    check(count);
    Raised raised{orvls::orvls_n1rcode(0), {}, {}};
    for (int i = 0; i < 3; ++i)
        raised.ints.push_back(block->int_param[i]);
    for (int i = 0; i < 2; ++i)
        raised.strings.emplace_back(block->string_param[i] != nullptr ? block->string_param[i] : "");
    orvls_e1mes(0, 0, " ");
    orvls_e1pop("orvls_test_checks");
    return raised;
}

TEST(Checks, CodesParametersAndTheCounter)
{
    ErrorCapture capture;
    int64_t count = 0;
    using namespace orvls;
    orvls_e1stl(1, "");
    orvls_e1stl(2, "");

    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_range(5, "n", 1, 10, c); }, &count).code, 0);
    Raised r = run_check([](int64_t* c) { orvls_check_range(11, "n", 1, 10, c); }, &count);
    EXPECT_EQ(r.code, 602);
    EXPECT_EQ(r.ints, (std::vector<int64_t>{11, 1, 10}));
    EXPECT_EQ(r.strings[0], "n");
    r = run_check([](int64_t* c) { orvls_check_range(0, "m", 1, -1, c); }, &count);
    EXPECT_EQ(r.code, 603);
    EXPECT_EQ(r.ints, (std::vector<int64_t>{0, 1, -999}));
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_range(1000000, "m", 1, -1, c); }, &count).code, 0);

    r = run_check([](int64_t* c) { orvls_check_at_most(6, "k", 5, "n", c); }, &count);
    EXPECT_EQ(r.code, 601);
    EXPECT_EQ(r.ints, (std::vector<int64_t>{6, 5, -999}));
    EXPECT_EQ(r.strings, (std::vector<std::string>{"k", "n"}));

    // Dimensions: value >= low and value <= limit, with limit >= 1.
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_dimension(1, 3, "ld", 4, "cols", c); }, &count).code, 0);
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_dimension(1, 0, "ld", 4, "cols", c); }, &count).code, 603);
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_dimension(1, 5, "ld", 4, "cols", c); }, &count).code, 601);
    r = run_check([](int64_t* c) { orvls_check_dimension(1, 2, "ld", 0, "cols", c); }, &count);
    EXPECT_EQ(r.code, 603);
    EXPECT_EQ(r.strings[0], "cols");
    // A name with "*" skips the lower check and drops the "*" in reports.
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_dimension(1, -3, "*ld", 4, "cols", c); }, &count).code, 0);
    r = run_check([](int64_t* c) { orvls_check_dimension(1, 9, "*ld", 4, "cols", c); }, &count);
    EXPECT_EQ(r.code, 601);
    EXPECT_EQ(r.strings[0], "ld");

    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_bounded(2, 9, "v", 0, "lim", c); }, &count).code, 0);
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_bounded(2, 9, "v", 8, "lim", c); }, &count).code, 601);
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_bounded(2, 1, "v", 8, "lim", c); }, &count).code, 603);

    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_not_negative(0.0, "w", c); }, &count).code, 0);
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_not_negative(NAN, "w", c); }, &count).code, 0);
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_not_negative(-0.5, "w", c); }, &count).code, 11061);

    // Column-major 3 x 3: a zero pivot in row 1 with a nonzero in its row.
    static const double bad[9] = {1, 0, 0, 0, 0, 0, 0, 2, 1};
    static const double good[9] = {1, 0, 0, 0, 0, 0, 0, 0, 1};
    r = run_check([](int64_t* c) { orvls_check_zero_pivot_rows(3, bad, 3, c); }, &count);
    EXPECT_EQ(r.code, 11060);
    EXPECT_EQ(r.ints, (std::vector<int64_t>{1, 2, -999}));
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_zero_pivot_rows(3, good, 3, c); }, &count).code, 0);
    static const float with_nan[4] = {0, NAN, 0, 1};
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_zero_pivot_rows(2, with_nan, 2, c); }, &count).code, 0);
    static const float nan_in_row[4] = {0, 0, NAN, 1};
    EXPECT_EQ(run_check([](int64_t* c) { orvls_check_zero_pivot_rows(2, nan_in_row, 2, c); }, &count).code, 11060);

    EXPECT_EQ(count, 21) << "every check counts once, whatever its outcome";
}

// The transpose of a row-major rows x columns matrix, in column-major order.
std::vector<double> transposed(int64_t rows, int64_t columns, const std::vector<double>& a)
{
    std::vector<double> b(a.size());
    for (int64_t i = 0; i < rows; ++i)
        for (int64_t j = 0; j < columns; ++j)
            b[i + j * rows] = a[i * columns + j];
    return b;
}

TEST(Transpose, AllShapesInPlaceAndOutOfPlace)
{
    const std::vector<std::pair<int64_t, int64_t>> shapes = {{1, 1},  {1, 7},   {7, 1},   {2, 3},   {3, 2},
                                                             {5, 5},  {33, 33}, {64, 3},  {3, 100}, {37, 41},
                                                             {100, 7}, {1000, 10}, {100003, 3}, {3, 100003},
                                                             {65536, 10}, {10, 65536}, {20011, 7}, {7, 20011},
                                                             {600, 257}, {257, 600}, {5000, 64}};
    for (auto [rows, columns] : shapes) {
        std::vector<double> a(rows * columns);
        std::iota(a.begin(), a.end(), 1.0);
        const std::vector<double> expected = transposed(rows, columns, a);

        std::vector<double> b(a.size());
        orvls_d_m1ran(rows, columns, a.data(), b.data());
        EXPECT_EQ(b, expected) << rows << "x" << columns << " out of place";

        std::vector<double> in_place = a;
        orvls_d_m1ran(rows, columns, in_place.data(), in_place.data());
        EXPECT_EQ(in_place, expected) << rows << "x" << columns << " in place";
        orvls_d_m1ran(columns, rows, in_place.data(), in_place.data());
        EXPECT_EQ(in_place, a) << rows << "x" << columns << " and back";

        // Without memory for the work array, cycles are followed in place.
        in_place = a;
        orvls_testing_fail_allocation(1);
        orvls_d_m1ran(rows, columns, in_place.data(), in_place.data());
        orvls_testing_fail_allocation(0);
        EXPECT_EQ(in_place, expected) << rows << "x" << columns << " by cycles";
        EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    }

    std::vector<float> f = {1, 2, 3, 4, 5, 6};
    orvls_f_m1ran(2, 3, f.data(), f.data());
    EXPECT_EQ(f, (std::vector<float>{1, 4, 2, 5, 3, 6}));
    std::vector<int64_t> i = {1, 2, 3, 4, 5, 6}, j(6);
    orvls_i_m1ran(3, 2, i.data(), j.data());
    EXPECT_EQ(j, (std::vector<int64_t>{1, 3, 5, 2, 4, 6}));
}

TEST(Transpose, BadShapesAreRefusedAndNothingMoves)
{
    ErrorCapture capture;
    std::vector<double> a = {1, 2, 3, 4};
    orvls_d_m1ran(0, 4, a.data(), a.data());
    EXPECT_EQ(last_outcome(), (Outcome{5, 620}));
    EXPECT_EQ(orvls::orvls_error_block()->int_param[0], 0);
    orvls_d_m1ran(2, -1, a.data(), a.data());
    EXPECT_EQ(last_outcome(), (Outcome{5, 621}));
    EXPECT_EQ(orvls::orvls_error_block()->int_param[0], -1);
    EXPECT_EQ(a, (std::vector<double>{1, 2, 3, 4}));
}

}  // namespace
