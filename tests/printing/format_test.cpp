// The W conversion and the reading of entry formats, against values worked
// out by hand from the rules in the public header.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "frame/print_format.h"

namespace {

using orvls::kCellSize;

std::string w(double value, int64_t width, int64_t digits)
{
    char text[kCellSize];
    const int64_t length = orvls::format_w(value, width, digits, text);
    return std::string(text, length);
}

std::string w(int64_t value, int64_t width, int64_t digits)
{
    char text[kCellSize];
    const int64_t length = orvls::format_w(value, width, digits, text);
    return std::string(text, length);
}

// The cell of `value` under the first conversion of `format`.
template <class T>
std::string cell(const char* format, T value, bool nan_character = false)
{
    orvls::Conversion conversions[4];
    EXPECT_LE(orvls::count_conversions(format), 4);
    orvls::read_conversions(format, conversions);
    char text[kCellSize];
    const int64_t length = orvls::format_cell(conversions[0], value, nan_character, text);
    return std::string(text, length);
}

TEST(WConversion, ChoosesTheShorterFormThatFits)
{
    EXPECT_EQ(w(0.0, 11, 4), "0");
    EXPECT_EQ(w(-0.0, 11, 4), "0");
    EXPECT_EQ(w(1.5, 11, 4), "1.5");
    EXPECT_EQ(w(2.0 / 3.0, 11, 4), "0.6667");
    EXPECT_EQ(w(-2.0 / 3.0, 11, 4), "-0.6667");
    EXPECT_EQ(w(12345.0, 11, 4), "12345") << "whole numbers print exactly";
    EXPECT_EQ(w(123456.7, 11, 4), "1.235e+05") << "fixed would need digits beyond 4";
    EXPECT_EQ(w(99.99999, 11, 4), "100") << "rounding carries into the exponent";
    EXPECT_EQ(w(0.001, 11, 4), "0.001");
    EXPECT_EQ(w(0.0025, 11, 4), "0.0025");
    EXPECT_EQ(w(0.0001, 11, 4), "1e-04") << "exponent form shorter";
    EXPECT_EQ(w(0.0001234, 11, 4), "0.0001234") << "equal lengths keep fixed";
    EXPECT_EQ(w(1e20, 11, 4), "1e+20");
    EXPECT_EQ(w(123456789012.0, 11, 4), "1.235e+11");
    EXPECT_EQ(w(0.5, 13, 6), "0.5");
    EXPECT_EQ(w(3.14159265, 13, 6), "3.14159");
}

TEST(WConversion, DropsDigitsToFitTheField)
{
    EXPECT_EQ(w(-1.234567e-100, 8, 4), "-1e-100");
    EXPECT_EQ(w(-1.234567e-100, 10, 4), "-1.23e-100");
    EXPECT_EQ(w(3.14159, 4, 6), "3e+00") << "one digit is kept even past the width";
    EXPECT_EQ(w(1234.5, 5, 4), "1234");
}

TEST(WConversion, IntegersPrintExactlyWhenTheyFit)
{
    EXPECT_EQ(w(int64_t{-42}, 11, 4), "-42");
    EXPECT_EQ(w(int64_t{9007199254740993}, 20, 4), "9007199254740993") << "beyond double precision";
    EXPECT_EQ(w(std::numeric_limits<int64_t>::max(), 11, 4), "9.223e+18");
}

TEST(EntryFormats, CellsPadToTheWidthAndMarkSpecialValues)
{
    EXPECT_EQ(cell("%8.3W", 1.5), "     1.5");
    EXPECT_EQ(cell("%-8.3W", 1.5), "1.5     ");
    EXPECT_EQ(cell("%W", 1.0 / 3.0), "0.3333") << "4 digits by default";
    EXPECT_EQ(cell("%6.2f", std::nan("")), "   NaN");
    EXPECT_EQ(cell("%6.2f", std::nan(""), true), "     .");
    EXPECT_EQ(cell("%6.2e", -INFINITY), "  -Inf");
    EXPECT_EQ(cell("%5d", 2.5), "    3") << "integer letters round a real";
    EXPECT_EQ(cell("%x", int64_t{255}), "ff");
    EXPECT_EQ(cell("%6.1f", int64_t{-4}), "  -4.0");
    EXPECT_EQ(cell("%+.2lf", 1.0), "+1.00") << "length letters are ignored";
    EXPECT_EQ(cell("<%4.1f>", 2.0f), "< 2.0>");
    EXPECT_EQ(cell("%s %n %4.1f", 2.0), "%s %n  2.0") << "only known letters convert";
    EXPECT_EQ(cell("100%% of", 7.0), "100% of") << "no conversion: the text itself";
}

TEST(EntryFormats, ConversionsAreCountedAndSplit)
{
    EXPECT_EQ(orvls::count_conversions("%5.2f%4d"), 2);
    EXPECT_EQ(orvls::count_conversions("%% %s"), 0);
    EXPECT_EQ(orvls::count_conversions("%999999999999.9999999W"), 1);
    orvls::Conversion list[2];
    orvls::read_conversions("a%5.2fb%-+4dc", list);
    EXPECT_EQ(std::string(list[0].prefix, list[0].prefix_length), "a");
    EXPECT_EQ(list[0].width, 5);
    EXPECT_EQ(list[0].precision, 2);
    EXPECT_EQ(std::string(list[1].prefix, list[1].prefix_length), "b");
    EXPECT_EQ(std::string(list[1].flags), "-+");
    EXPECT_EQ(std::string(list[1].suffix, list[1].suffix_length), "c");
    orvls::read_conversions("%999999999999.9999999W", list);
    EXPECT_EQ(list[0].width, orvls::kLargestField);
    EXPECT_EQ(list[0].precision, orvls::kLargestField);
}

}  // namespace
