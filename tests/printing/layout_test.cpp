// Printed layouts compared with the expected texts beside this file, each
// written from the layout rules of the public header.
#include <cstring>
#include <limits>
#include <thread>

#include "print_fixture.h"

namespace {

class Layout : public PrintTest {};

TEST_F(Layout, OneByOneColumnAndRowTakeTheirDefaultLabelStyles)
{
    double value = 2.5;
    orvls_d_write_matrix("Value", 1, 1, &value, 0);
    EXPECT_EQ(printed(), expected("one_by_one.txt"));
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST_F(Layout, ColumnUsesTheDefaultFormat)
{
    double column[] = {1, -0.5, 1e10};
    orvls_d_write_matrix("Column", 3, 1, column, 0);
    EXPECT_EQ(printed(), expected("column.txt"));
}

TEST_F(Layout, RowWithAGivenFormat)
{
    double row[] = {0.25, 100, -7};
    orvls_d_write_matrix("Row", 1, 3, row, ORVLS_WRITE_FORMAT, "%6.2f", 0);
    EXPECT_EQ(printed(), expected("row.txt"));
}

TEST_F(Layout, WideMatrixSplitsIntoColumnBlocksAndPages)
{
    double wide[5 * 7];
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 7; ++j)
            wide[i * 7 + j] = (i + 1) * 10 + (j + 1);
    set_page_width(30);
    set_page_length(10);
    set_option(ORVLS_SET_PAGING, 0);
    orvls_d_write_matrix("Wide", 5, 7, wide, ORVLS_WRITE_FORMAT, "%5.1f", 0);
    EXPECT_EQ(printed(), expected("wide.txt"));
    EXPECT_EQ(option(ORVLS_SET_PAGING), 5) << "lines on the second page";
}

TEST_F(Layout, EachTriangle)
{
    double square[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    orvls_d_write_matrix("all", 3, 3, square, ORVLS_WRITE_FORMAT, "%4.0f", ORVLS_PRINT_ALL, 0);
    orvls_d_write_matrix("upper", 3, 3, square, ORVLS_WRITE_FORMAT, "%4.0f", ORVLS_TRIANGLE_P1, 0);
    orvls_d_write_matrix("strict upper", 3, 3, square, ORVLS_WRITE_FORMAT, "%4.0f", ORVLS_TRIANGLE_P2, 0);
    orvls_d_write_matrix("lower", 3, 3, square, ORVLS_WRITE_FORMAT, "%4.0f", ORVLS_TRIANGLE_M1, 0);
    orvls_d_write_matrix("strict lower", 3, 3, square, ORVLS_WRITE_FORMAT, "%4.0f", ORVLS_TRIANGLE_M2, 0);
    EXPECT_EQ(printed(), expected("triangles.txt"));
}

TEST_F(Layout, LabelStylesAndGivenLabels)
{
    double m[] = {1.5, -2, 3, 4};
    const char* rows[] = {"first", "second row"};
    const char* columns[] = {"x", "a long label"};
    orvls_d_write_matrix("Styles 3", 2, 2, m, ORVLS_WRITE_FORMAT, "%5.1f", ORVLS_ROW_STYLE_3, ORVLS_COL_STYLE_3, 0);
    orvls_d_write_matrix("Given", 2, 2, m, ORVLS_WRITE_FORMAT, "%5.1f", ORVLS_ROW_LABELS, rows, ORVLS_COL_LABELS,
                         columns, 0);
    orvls_d_write_matrix("None", 2, 2, m, ORVLS_WRITE_FORMAT, "%5.1f", ORVLS_ROW_STYLE_0, ORVLS_COL_STYLE_0, 0);
    orvls_d_write_matrix("Numbers", 2, 2, m, ORVLS_WRITE_FORMAT, "%5.1f", ORVLS_ROW_STYLE_1, ORVLS_COL_STYLE_1, 0);
    EXPECT_EQ(printed(), expected("labels.txt"));
}

TEST_F(Layout, LongLabelsAreCutAndLongEntriesStarred)
{
    double pair[] = {1, 2};
    double one = 1;
    const char* rows[] = {"abcdefghijklmnop", "q"};
    const char* columns[] = {"123456789012345"};
    set_page_width(20);
    orvls_d_write_matrix("Cut", 2, 1, pair, ORVLS_WRITE_FORMAT, "%3.0f", ORVLS_ROW_LABELS, rows, ORVLS_COL_LABELS,
                         columns, 0);
    orvls_d_write_matrix("Stars", 1, 1, &one, ORVLS_WRITE_FORMAT, "%25.1f", 0);
    EXPECT_EQ(printed(), expected("cut.txt"));
}

TEST_F(Layout, NanWithAndWithoutTheNanCharacter)
{
    float m[] = {1, std::numeric_limits<float>::quiet_NaN(), 2};
    orvls_f_write_matrix("Missing", 1, 3, m, ORVLS_WRITE_FORMAT, "%5.1f", 0);
    set_option(ORVLS_SET_NAN_CHAR, 1);
    orvls_f_write_matrix("Missing", 1, 3, m, ORVLS_WRITE_FORMAT, "%5.1f", 0);
    EXPECT_EQ(printed(), expected("nan.txt"));
}

TEST_F(Layout, IntegerMatrix)
{
    int64_t counts[] = {7, -12, 123456789012, 0};
    int64_t pair[] = {42, -7};
    orvls_i_write_matrix("Counts", 2, 2, counts, 0);
    orvls_i_write_matrix("Pair", 1, 2, pair, ORVLS_WRITE_FORMAT, "%4d", 0);
    EXPECT_EQ(printed(), expected("integer.txt"));
}

TEST_F(Layout, TransposePrintsTheStoredColumns)
{
    double a[] = {1, 2, 3, 4, 5, 6};
    orvls_d_write_matrix("Stored", 2, 3, a, ORVLS_TRANSPOSE, ORVLS_WRITE_FORMAT, "%3.0f", 0);
    EXPECT_EQ(printed(), expected("transpose.txt"));
}

TEST_F(Layout, FormatsCycleOverColumnsAndKeepTheirText)
{
    double mixed[] = {1, 2.5, 3, -4, 0.125, 6};
    double percent[] = {12.5, 3};
    orvls_d_write_matrix("Mixed", 2, 3, mixed, ORVLS_WRITE_FORMAT, "%5.2f%4d", 0);
    orvls_d_write_matrix("Percent", 1, 2, percent, ORVLS_WRITE_FORMAT, "%.1f%%", 0);
    EXPECT_EQ(printed(), expected("format.txt"));
}

TEST_F(Layout, CenteringRowWrapAndTitlePage)
{
    double small[] = {1, 2, 3, 4};
    double m[3 * 5];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 5; ++j)
            m[i * 5 + j] = (i + 1) * 10 + (j + 1);
    set_page_width(20);
    set_option(ORVLS_SET_CENTERING, 1);
    orvls_d_write_matrix("Centred", 2, 2, small, ORVLS_WRITE_FORMAT, "%4.1f", 0);
    set_option(ORVLS_SET_CENTERING, 0);
    set_option(ORVLS_SET_ROW_WRAP, 2);
    set_option(ORVLS_SET_TITLE_PAGE, 1);
    orvls_d_write_matrix("Wrapped", 3, 5, m, ORVLS_WRITE_FORMAT, "%4.1f", 0);
    EXPECT_EQ(printed(), expected("settings.txt"));
}

TEST_F(Layout, RealsPrintAsOneByOneMatrices)
{
    orvls_dwrrrs("Half", 0.5);
    orvls_wrrrs("Third", 1.0f / 3.0f);
    EXPECT_EQ(printed(), expected("reals.txt"));
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
