// Printed layouts compared with the expected texts beside this file, each
// written from the layout rules of the public header.
#include <cstring>
#include <functional>
#include <limits>
#include <thread>

#include "print_fixture.h"

namespace {

class Layout : public PrintTest {};

// Each case prints from the default settings; its text alone is compared.
TEST_F(Layout, PrintedTextsMatchTheExpectedFiles)
{
    double square[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    double m[] = {1.5, -2, 3, 4};
    double wide[5 * 7], grid[3 * 5];
    for (int i = 0; i < 35; ++i)
        wide[i] = (i / 7 + 1) * 10 + (i % 7 + 1);
    for (int i = 0; i < 15; ++i)
        grid[i] = (i / 5 + 1) * 10 + (i % 5 + 1);
    const char* rows[] = {"first", "second row"};
    const char* columns[] = {"x", "a long label"};
    const char* cut_rows[] = {"abcdefghijklmnop", "q"};
    const char* cut_columns[] = {"123456789012345"};
    float with_nan[] = {1, std::numeric_limits<float>::quiet_NaN(), 2};
    int64_t counts[] = {7, -12, 123456789012, 0}, pair[] = {42, -7};
    double row[] = {0.25, 100, -7}, column[] = {1, -0.5, 1e10}, value = 2.5, one = 1, stored[] = {1, 2, 3, 4, 5, 6};
    double mixed[] = {1, 2.5, 3, -4, 0.125, 6}, percent[] = {12.5, 3};
    const struct {
        const char* file;
        std::function<void()> print;
    } cases[] = {
        // 1 x 1, a column and a row take their default label styles.
        {"one_by_one.txt", [&] { orvls_d_write_matrix("Value", 1, 1, &value, 0); }},
        {"column.txt", [&] { orvls_d_write_matrix("Column", 3, 1, column, 0); }},
        {"row.txt", [&] { orvls_d_write_matrix("Row", 1, 3, row, ORVLS_WRITE_FORMAT, "%6.2f", 0); }},
        // Column blocks and pages.
        {"wide.txt",
         [&] {
             set_page_width(30);
             set_page_length(10);
             set_option(ORVLS_SET_PAGING, 0);
             orvls_d_write_matrix("Wide", 5, 7, wide, ORVLS_WRITE_FORMAT, "%5.1f", 0);
             EXPECT_EQ(option(ORVLS_SET_PAGING), 5) << "lines on the second page";
         }},
        {"triangles.txt",
         [&] {
             const std::pair<const char*, int64_t> triangles[] = {{"all", ORVLS_PRINT_ALL},
                                                                  {"upper", ORVLS_TRIANGLE_P1},
                                                                  {"strict upper", ORVLS_TRIANGLE_P2},
                                                                  {"lower", ORVLS_TRIANGLE_M1},
                                                                  {"strict lower", ORVLS_TRIANGLE_M2}};
             for (const auto& [title, triangle] : triangles)
                 orvls_d_write_matrix(title, 3, 3, square, ORVLS_WRITE_FORMAT, "%4.0f", triangle, 0);
         }},
        {"labels.txt",
         [&] {
             orvls_d_write_matrix("Styles 3", 2, 2, m, ORVLS_WRITE_FORMAT, "%5.1f", ORVLS_ROW_STYLE_3,
                                  ORVLS_COL_STYLE_3, 0);
             orvls_d_write_matrix("Given", 2, 2, m, ORVLS_WRITE_FORMAT, "%5.1f", ORVLS_ROW_LABELS, rows,
                                  ORVLS_COL_LABELS, columns, 0);
             orvls_d_write_matrix("None", 2, 2, m, ORVLS_WRITE_FORMAT, "%5.1f", ORVLS_ROW_STYLE_0,
                                  ORVLS_COL_STYLE_0, 0);
             orvls_d_write_matrix("Numbers", 2, 2, m, ORVLS_WRITE_FORMAT, "%5.1f", ORVLS_ROW_STYLE_1,
                                  ORVLS_COL_STYLE_1, 0);
         }},
        // Long labels are cut and long entries starred.
        {"cut.txt",
         [&] {
             set_page_width(20);
             orvls_d_write_matrix("Cut", 2, 1, square, ORVLS_WRITE_FORMAT, "%3.0f", ORVLS_ROW_LABELS, cut_rows,
                                  ORVLS_COL_LABELS, cut_columns, 0);
             orvls_d_write_matrix("Stars", 1, 1, &one, ORVLS_WRITE_FORMAT, "%25.1f", 0);
         }},
        {"nan.txt",
         [&] {
             orvls_f_write_matrix("Missing", 1, 3, with_nan, ORVLS_WRITE_FORMAT, "%5.1f", 0);
             set_option(ORVLS_SET_NAN_CHAR, 1);
             orvls_f_write_matrix("Missing", 1, 3, with_nan, ORVLS_WRITE_FORMAT, "%5.1f", 0);
         }},
        {"integer.txt",
         [&] {
             orvls_i_write_matrix("Counts", 2, 2, counts, 0);
             orvls_i_write_matrix("Pair", 1, 2, pair, ORVLS_WRITE_FORMAT, "%4d", 0);
         }},
        // The transpose prints the stored columns.
        {"transpose.txt",
         [&] { orvls_d_write_matrix("Stored", 2, 3, stored, ORVLS_TRANSPOSE, ORVLS_WRITE_FORMAT, "%3.0f", 0); }},
        // Formats cycle over the columns and keep their text.
        {"format.txt",
         [&] {
             orvls_d_write_matrix("Mixed", 2, 3, mixed, ORVLS_WRITE_FORMAT, "%5.2f%4d", 0);
             orvls_d_write_matrix("Percent", 1, 2, percent, ORVLS_WRITE_FORMAT, "%.1f%%", 0);
         }},
        {"settings.txt",
         [&] {
             set_page_width(20);
             set_option(ORVLS_SET_CENTERING, 1);
             orvls_d_write_matrix("Centred", 2, 2, square, ORVLS_WRITE_FORMAT, "%4.1f", 0);
             set_option(ORVLS_SET_CENTERING, 0);
             set_option(ORVLS_SET_ROW_WRAP, 2);
             set_option(ORVLS_SET_TITLE_PAGE, 1);
             orvls_d_write_matrix("Wrapped", 3, 5, grid, ORVLS_WRITE_FORMAT, "%4.1f", 0);
         }},
        // Reals print as 1 x 1 matrices.
        {"reals.txt",
         [&] {
             orvls_dwrrrs("Half", 0.5);
             orvls_wrrrs("Third", 1.0f / 3.0f);
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        reset_settings();
        const std::size_t start = printed().size();
        c.print();
        EXPECT_EQ(printed().substr(start), expected(c.file));
        EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
    }
}

TEST_F(Layout, ReturnStringHoldsTheTextAndPrintsNothing)
{
    double row[] = {0.25, 100, -7};
    char* text = nullptr;
    orvls_d_write_matrix("Row", 1, 3, row, ORVLS_WRITE_FORMAT, "%6.2f", ORVLS_RETURN_STRING, &text, 0);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text), expected("row.txt"));
    EXPECT_EQ(printed(), "");
    std::free(text);

    double none = 0;
    orvls_d_write_matrix("", 0, 0, &none, ORVLS_RETURN_STRING, &text, 0);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "\n") << "the blank line of paging -2 alone";
    std::free(text);
}

TEST_F(Layout, ConsoleLinesEndInCarriageReturnNewline)
{
    double row[] = {0.25, 100, -7};
    std::string want = expected("row.txt");
    for (std::size_t at = want.find('\n'); at != std::string::npos; at = want.find('\n', at + 2))
        want.replace(at, 1, "\r\n");
    testing::internal::CaptureStdout();
    orvls_d_write_matrix("Row", 1, 3, row, ORVLS_WRITE_FORMAT, "%6.2f", ORVLS_WRITE_TO_CONSOLE, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), want);
    EXPECT_EQ(printed(), "");
}

TEST_F(Layout, NothingToShowPrintsTheTitleAlone)
{
    double one = 1;
    orvls_d_write_matrix("Nothing", 0, 4, nullptr, 0);
    orvls_d_write_matrix("Strict", 1, 1, &one, ORVLS_TRIANGLE_P2, 0);
    EXPECT_EQ(printed(), "\nNothing\n\nStrict\n");
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST_F(Layout, MatrixIsReadThroughItsRowLengthAndRestored)
{
    // 2 x 3 in rows of 4: the fourth column lies outside the matrix.
    double a[] = {1, 2, 3, -1, 4, 5, 6, -2};
    const double a_before[] = {1, 2, 3, -1, 4, 5, 6, -2};
    int64_t ints[] = {1, 2, 3, 4, 5, 6};
    const int64_t ints_before[] = {1, 2, 3, 4, 5, 6};
    orvls_d_write_matrix("a", 2, 3, a, ORVLS_A_COL_DIM, 4, ORVLS_WRITE_FORMAT, "%2.0f", 0);
    orvls_i_write_matrix("ints", 3, 2, ints, ORVLS_WRITE_FORMAT, "%2d", 0);
    EXPECT_EQ(std::memcmp(a, a_before, sizeof a), 0);
    EXPECT_EQ(std::memcmp(ints, ints_before, sizeof ints), 0);
    EXPECT_EQ(printed(), "\na\n    1   2   3\n1   1   2   3\n2   4   5   6\n"
                         "\nints\n    1   2\n1   1   2\n2   3   4\n3   5   6\n");
}

TEST_F(Layout, TitlesBreakAtBlanksAndNewlines)
{
    orvls_wrtrl("one two three\n\nfour", 7);
    EXPECT_EQ(printed(), "one two\nthree\n\nfour\n");
    EXPECT_EQ(option(ORVLS_SET_PAGING), -1) << "the empty line counts even with paging off";

    set_option(ORVLS_SET_PAGING, 0);
    orvls_wrtrl("abcdefghij", 4);
    EXPECT_EQ(option(ORVLS_SET_PAGING), 3);
    EXPECT_EQ(printed(), "one two\nthree\n\nfour\nabcd\nefgh\nij\n");

    set_option(ORVLS_SET_CENTERING, 1);
    orvls_wrtrl("mid", 9);
    EXPECT_EQ(printed().substr(printed().size() - 7), "   mid\n");
}

TEST_F(Layout, SettingsArePerThread)
{
    orvls_skip_signal_handler();  // a second thread may use the library only with trapping off
    set_page_width(40);
    int64_t width_there = 0;
    int64_t format_there = 0;
    set_option(ORVLS_SET_FORMAT, 2);
    std::thread other([&] {
        orvls_page(1, &width_there);
        orvls_write_options(ORVLS_SET_FORMAT, &format_there);
    });
    other.join();
    EXPECT_EQ(width_there, 78);
    EXPECT_EQ(format_there, 0);
    EXPECT_EQ(option(ORVLS_SET_FORMAT), 2);
}

}  // namespace
