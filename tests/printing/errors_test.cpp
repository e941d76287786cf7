// The errors of the printing routines: type, code and parameters, and that a
// refused call prints nothing and leaves the matrix as it was.
#include <cstring>
#include <string>

#include "frame/memory.h"
#include "print_fixture.h"

namespace {

class PrintErrors : public PrintTest {
protected:
    // Prints the 2 x 3 matrix m with the given options; nothing may be printed
    // and m must be untouched when the call is refused.
    template <class... Options>
    Outcome refused(Options... options)
    {
        orvls_d_write_matrix("m", 2, 3, m_, options..., 0);
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(std::memcmp(m_, m_before_, sizeof m_), 0);
        return last_outcome();
    }

    double m_[6] = {1, 2, 3, 4, 5, 6};
    const double m_before_[6] = {1, 2, 3, 4, 5, 6};
};

TEST_F(PrintErrors, PageAndWriteOptionsAndLimits)
{
    int64_t value = 0;
    for (int64_t code : {7, -7}) {
        orvls_write_options(code, &value);
        EXPECT_EQ(last_outcome(), (Outcome{5, 10019}));
    }
    value = 9;
    for (int64_t code : {0, 3}) {
        orvls_page(code, &value);
        EXPECT_EQ(last_outcome(), (Outcome{5, 10020}));
    }
    orvls_page(-1, &value);
    EXPECT_EQ(last_outcome(), (Outcome{5, 10021}));
    EXPECT_EQ(int_parameter(1), 9);
    value = 5;
    orvls_page(-2, &value);
    EXPECT_EQ(last_outcome(), (Outcome{5, 10022}));
    EXPECT_EQ(int_parameter(1), 5);
    orvls_page(1, &value);
    EXPECT_EQ(value, 78) << "a refused width changes nothing";
    orvls_page(2, &value);
    EXPECT_EQ(value, 60);
    value = 10;
    orvls_page(-2, &value);
    orvls_page(2, &value);
    EXPECT_EQ(value, 10);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

TEST_F(PrintErrors, BoundedSettingsRaise109)
{
    struct Case {
        int64_t field;
        const char* text;
        int64_t largest;
        int64_t bad;
    };
    const Case cases[] = {{ORVLS_SET_CENTERING, "ORVLS_SET_CENTERING", 1, 2},
                          {ORVLS_SET_NAN_CHAR, "ORVLS_SET_NAN_CHAR", 1, -1},
                          {ORVLS_SET_TITLE_PAGE, "ORVLS_SET_TITLE_PAGE", 1, 5},
                          {ORVLS_SET_FORMAT, "ORVLS_SET_FORMAT", 2, 3}};
    for (const Case& c : cases) {
        const int64_t before = option(c.field);
        set_option(c.field, c.bad);
        EXPECT_EQ(last_outcome(), (Outcome{5, 109})) << c.text;
        EXPECT_EQ(string_parameter(1), c.text);
        EXPECT_EQ(int_parameter(1), 0);
        EXPECT_EQ(int_parameter(2), c.largest);
        EXPECT_EQ(int_parameter(3), c.bad);
        EXPECT_EQ(option(c.field), before);
        set_option(c.field, c.largest);
        EXPECT_EQ(option(c.field), c.largest);
    }
}

TEST_F(PrintErrors, RowWrapAndPagingRaise110)
{
    const struct {
        int64_t field;
        const char* text;
        int64_t lowest, bad, standing;
    } cases[] = {{ORVLS_SET_ROW_WRAP, "ORVLS_SET_ROW_WRAP", 0, -1, 1000},
                 {ORVLS_SET_PAGING, "ORVLS_SET_PAGING", -2, -3, -2}};
    for (const auto& c : cases) {
        set_option(c.field, c.bad);
        EXPECT_EQ(last_outcome(), (Outcome{5, 110}));
        EXPECT_EQ(string_parameter(1), c.text);
        EXPECT_EQ(int_parameter(1), c.lowest);
        EXPECT_EQ(int_parameter(2), c.bad);
        EXPECT_EQ(option(c.field), c.standing);
    }
    set_option(ORVLS_SET_ROW_WRAP, 0);
    set_option(ORVLS_SET_PAGING, 40);
    int64_t unused = 0;
    orvls_write_options(0, &unused);
    EXPECT_EQ(option(ORVLS_SET_ROW_WRAP), 1000) << "option 0 restores the defaults";
    EXPECT_EQ(option(ORVLS_SET_PAGING), -2);
}

TEST_F(PrintErrors, OptionsOfOneGroupConflict)
{
    EXPECT_EQ(refused(ORVLS_TRIANGLE_P1, ORVLS_TRIANGLE_M2), (Outcome{5, 10013}));
    EXPECT_EQ(refused(ORVLS_PRINT_ALL, ORVLS_PRINT_ALL), (Outcome{5, 10013}));
    EXPECT_EQ(refused(ORVLS_ROW_STYLE_1, ORVLS_ROW_STYLE_1), (Outcome{5, 10014})) << "even if equal";
    const char* labels[] = {"a", "b", "c"};
    EXPECT_EQ(refused(ORVLS_COL_LABELS, labels, ORVLS_COL_STYLE_3), (Outcome{5, 10015}));
}

TEST_F(PrintErrors, UnknownCodesAreReportedAndTheWalkGoesOn)
{
    // 77 at position 5; the walk reads on and meets the conflict at 7.
    EXPECT_EQ(refused(77, ORVLS_ROW_STYLE_0, ORVLS_ROW_STYLE_3), (Outcome{5, 10014}));
    EXPECT_EQ(refused(ORVLS_A_COL_DIM, 3, 77), (Outcome{5, 103}));
    EXPECT_EQ(int_parameter(1), 77);
    EXPECT_EQ(int_parameter(2), 7);
}

TEST_F(PrintErrors, TextAndConsoleTogetherRaise20749)
{
    char* text = reinterpret_cast<char*>(1);
    EXPECT_EQ(refused(ORVLS_RETURN_STRING, &text, ORVLS_WRITE_TO_CONSOLE), (Outcome{5, 20749}));
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(refused(ORVLS_RETURN_STRING, static_cast<char**>(nullptr)), (Outcome{5, 104}));
    EXPECT_EQ(string_parameter(2), "ORVLS_RETURN_STRING");
}

TEST_F(PrintErrors, DimensionsAreChecked)
{
    orvls_d_write_matrix("m", -1, 3, m_, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 603}));
    EXPECT_EQ(string_parameter(1), "nra");
    EXPECT_EQ(int_parameter(1), -1);
    EXPECT_EQ(int_parameter(2), 0);

    EXPECT_EQ(refused(ORVLS_A_COL_DIM, 0), (Outcome{5, 603}));
    EXPECT_EQ(string_parameter(1), "a_col_dim");

    EXPECT_EQ(refused(ORVLS_A_COL_DIM, 2), (Outcome{5, 601}));
    EXPECT_EQ(string_parameter(1), "nca");
    EXPECT_EQ(string_parameter(2), "a_col_dim");
    EXPECT_EQ(int_parameter(1), 3);
    EXPECT_EQ(int_parameter(2), 2);

    orvls_d_write_matrix("m", 2, -3, m_, ORVLS_A_COL_DIM, 3, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 603}));
    EXPECT_EQ(string_parameter(1), "nca");
    EXPECT_EQ(printed(), "");
}

TEST_F(PrintErrors, NullPointersAreRefused)
{
    orvls_d_write_matrix(nullptr, 2, 3, m_, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 104}));
    EXPECT_EQ(string_parameter(1), "title");
    EXPECT_EQ(string_parameter(2), "orvls_d_write_matrix");

    orvls_i_write_matrix("m", 1, 1, nullptr, 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 104}));
    EXPECT_EQ(string_parameter(1), "a");
    EXPECT_EQ(string_parameter(2), "orvls_i_write_matrix");

    EXPECT_EQ(refused(ORVLS_WRITE_FORMAT, static_cast<const char*>(nullptr)), (Outcome{5, 104}));
    EXPECT_EQ(string_parameter(1), "fmt");

    EXPECT_EQ(refused(ORVLS_ROW_LABELS, static_cast<const char**>(nullptr)), (Outcome{5, 104}));
    EXPECT_EQ(string_parameter(1), "rlabel");
    EXPECT_EQ(string_parameter(2), "ORVLS_ROW_LABELS");

    const char* columns[] = {"a", nullptr, "c"};
    EXPECT_EQ(refused(ORVLS_COL_LABELS, columns), (Outcome{5, 104}));
    EXPECT_EQ(string_parameter(1), "clabel");
    EXPECT_EQ(int_parameter(1), 1);
}

TEST_F(PrintErrors, LabelCountsFollowTheTranspose)
{
    const char* three[] = {"a", "b", nullptr};
    EXPECT_EQ(refused(ORVLS_TRANSPOSE, ORVLS_ROW_LABELS, three), (Outcome{5, 104})) << "three printed rows";
    EXPECT_EQ(int_parameter(1), 2);
    orvls_d_write_matrix("m", 2, 3, m_, ORVLS_ROW_LABELS, three, ORVLS_WRITE_FORMAT, "%2.0f", 0);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0})) << "two rows read two labels";
}

TEST_F(PrintErrors, TitleWidthAndLength)
{
    orvls_wrtrl("title", 0);
    EXPECT_EQ(last_outcome(), (Outcome{5, 10011}));
    const std::string long_text(256, 'x');
    orvls_wrtrl(long_text.c_str(), 78);
    EXPECT_EQ(last_outcome(), (Outcome{5, 602}));
    EXPECT_EQ(int_parameter(1), 256);
    EXPECT_EQ(int_parameter(2), 0);
    EXPECT_EQ(int_parameter(3), 255);
    orvls_wrtrl("", 0);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0})) << "an empty text does nothing";
    EXPECT_EQ(printed(), "");
    orvls_wrtrl(long_text.c_str() + 1, 300);
    EXPECT_EQ(printed(), long_text.substr(1) + "\n");
}

TEST_F(PrintErrors, FailedAllocationsLeaveNoTextAndRestoreTheMatrix)
{
    bool failed_once = false;
    for (int64_t n = 1; n <= 8; ++n) {
        char* text = nullptr;
        orvls_testing_fail_allocation(n);
        orvls_d_write_matrix("m", 2, 3, m_, ORVLS_RETURN_STRING, &text, 0);
        orvls_testing_fail_allocation(0);
        const Outcome outcome = last_outcome();
        EXPECT_EQ(std::memcmp(m_, m_before_, sizeof m_), 0) << n;
        if (outcome.type == 0) {
            ASSERT_NE(text, nullptr);
            std::free(text);
        } else {
            failed_once = true;
            EXPECT_EQ(outcome, (Outcome{5, 200})) << n;
            EXPECT_EQ(text, nullptr) << n;
        }
    }
    EXPECT_TRUE(failed_once);
    EXPECT_EQ(printed(), "");
}

}  // namespace
