// Named constants and unit expressions.  Expected values are the published
// tables, or worked by hand from them.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "capture.h"
#include "frame/constants.h"
#include "frame/error_block.h"
#include "orvls.h"

namespace {

struct Constant {
    const char* name;
    double value;
    const char* unit;
};

const Constant constants[] = {
    {"AMU", 1.6605402e-27, "kg"}, {"ATM", 101325.0, "N/m^2"}, {"AU", 149600000000.0, "m"},
    {"AVOGADRO", 6.0221367e+23, "1"}, {"BOLTZMAN", 1.380658e-23, "J/K"}, {"BOLTZMANN", 1.380658e-23, "J/K"},
    {"C", 299792458.0, "m/s"}, {"CATALAN", 0.915965594177219, "1"}, {"E", 2.718281828459045, "1"},
    {"ELECTRONCHARGE", 1.60217733e-19, "C"}, {"ELECTRONMASS", 9.1093897e-31, "kg"},
    {"ELECTRONVOLT", 1.60217733e-19, "J"}, {"EULER", 0.5772156649015329, "1"}, {"FARADAY", 96485.309, "C"},
    {"FINESTRUCTURE", 0.00729735308, "1"}, {"GAMMA", 0.5772156649015329, "1"}, {"GAS", 8.31451, "J/mole/K"},
    {"GRAVITY", 6.67259e-11, "N*m^2/kg^2"}, {"HBAR", 1.05457266e-34, "J*s"},
    {"PERFECTGASVOLUME", 0.02241383, "m^3/mole"}, {"PI", 3.141592653589793, "1"}, {"PLANCK", 6.6260755e-34, "J*s"},
    {"PROTONMASS", 1.6726231e-27, "kg"}, {"RYDBERG", 10973731.534, "1/m"}, {"SPEEDLIGHT", 299792458.0, "m/s"},
    {"STANDARDGRAVITY", 9.80665, "m/s^2"}, {"STANDARDPRESSURE", 101325.0, "N/m^2"},
    {"STEFANBOLTZMAN", 5.67051e-08, "W/K^4/m^2"}, {"STEFANBOLTZMANN", 5.67051e-08, "W/K^4/m^2"},
    {"WATERTRIPLE", 273.16, "K"},
};

std::string lower(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// Each constant in SI, by either case, and in its own tabled unit; the
// unit C has odd exponents, so the charges convert to COULOMB instead.
TEST(Constants, EveryConstantHasItsTableValueAndDimension)
{
    ErrorCapture capture;
    for (const Constant& c : constants) {
        EXPECT_EQ(orvls_d_constant(c.name, 0), c.value) << c.name;
        EXPECT_EQ(orvls_f_constant(lower(c.name).c_str(), 0), float(c.value)) << c.name;
        EXPECT_EQ(orvls_d_constant(c.name, ORVLS_UNIT, "si", 0), c.value) << c.name;
        const bool charge = std::string(c.unit) == "C";
        EXPECT_EQ(orvls_d_constant(c.name, ORVLS_UNIT, charge ? "COULOMB" : c.unit, 0), c.value) << c.name;
        EXPECT_EQ(last_outcome(), (Outcome{0, 0})) << c.name;
    }
}

struct Expression {
    const char* text;
    double factor;
    int exponent[5];
};

// Exponents of m, kg, s, A, K.  FT is femtotesla, MIN the minute (not a
// milli-inch), MICRON the name (not a micro-newton), PA a picoampere.
const Expression expressions[] = {
    {"km/hr", 1000.0 / 3600.0, {1, 0, -1, 0, 0}}, {" Km / Hr ", 1000.0 / 3600.0, {1, 0, -1, 0, 0}},
    {"kilogram*meter/second^2", 1.0, {1, 1, -2, 0, 0}}, {"foot", 0.3048, {1, 0, 0, 0, 0}},
    {"ft", 1e-15, {0, 1, -2, -1, 0}}, {"MIN", 60.0, {0, 0, 1, 0, 0}}, {"MICRON", 1e-6, {1, 0, 0, 0, 0}},
    {"micronewton", 1e-6, {1, 1, -2, 0, 0}}, {"uN", 1e-6, {1, 1, -2, 0, 0}}, {"mm", 1e-3, {1, 0, 0, 0, 0}},
    {"kg", 1.0, {0, 1, 0, 0, 0}}, {"dm", 0.1, {1, 0, 0, 0, 0}}, {"decameter", 10.0, {1, 0, 0, 0, 0}},
    {"MEGAHERTZ", 1e6, {0, 0, -1, 0, 0}}, {"PA", 1e-12, {0, 0, 0, 1, 0}}, {"cm^3", 1e-6, {3, 0, 0, 0, 0}},
    {"(m/s)^2", 1.0, {2, 0, -2, 0, 0}}, {"m*s^-2", 1.0, {1, 0, -2, 0, 0}}, {"m^+2/(s*A)^2", 1.0, {2, 0, -2, -2, 0}},
    {"J/mole/K", 1.0, {2, 1, -2, 0, -1}}, {"mile/hr", 1609.344 / 3600.0, {1, 0, -1, 0, 0}},
    {"lb*foot/s^2", 0.45359237 * 0.3048, {1, 1, -2, 0, 0}}, {"L", 1e-3, {0, 0, 3, 0, 0}},
    {"LITER", 1e-3, {3, 0, 0, 0, 0}}, {"SEC", 1.0, {0, 0, 0, 0, 0}}, {"1/m", 1.0, {-1, 0, 0, 0, 0}},
    {"erg/s/cm^2/K^4", 1e-7 / 1e-4, {0, 1, -3, 0, -4}},
};

TEST(Constants, UnitExpressionsReadToTheirFactorAndDimension)
{
    for (const Expression& e : expressions) {
        orvls::UnitReading reading;
        ASSERT_TRUE(orvls::read_unit_expression(e.text, reading)) << e.text;
        EXPECT_NEAR(reading.factor, e.factor, 4e-16 * e.factor) << e.text;
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(reading.exponent[i], e.exponent[i]) << e.text << " exponent " << i;
    }
}

TEST(Constants, ConversionsMatchHandWorkedValues)
{
    struct Case {
        const char* name;
        const char* unit;
        double value;
    };
    // The unit AMU is tabled as 1 kg.
    const Case cases[] = {
        {"SPEEDLIGHT", "km/hr", 1079252848.8}, {"STANDARDGRAVITY", "foot/s^2", 9.80665 / 0.3048},
        {"ATM", "BAR", 1.01325}, {"AU", "PARSEC", 149600000000.0 / 3.0857215014323856e+16},
        {"ELECTRONVOLT", "ERG", 1.60217733e-12}, {"PLANCK", "J*ms", 6.6260755e-31}, {"RYDBERG", "1/cm", 109737.31534},
        {"GAS", "ERG/mole/K", 8.31451e7}, {"STEFANBOLTZMANN", "erg/s/cm^2/K^4", 5.67051e-5},
        {"ELECTRONCHARGE", "ABCOULOMB", 1.60217733e-20}, {"PROTONMASS", "AMU", 1.6726231e-27},
    };
    for (const Case& c : cases) {
        EXPECT_NEAR(orvls_d_constant(c.name, ORVLS_UNIT, c.unit, 0), c.value, 4e-15 * c.value) << c.unit;
        EXPECT_FLOAT_EQ(orvls_f_constant(c.name, ORVLS_UNIT, c.unit, 0), float(c.value)) << c.unit;
    }
}

TEST(Constants, FailuresGiveNanAndTheirCodes)
{
    ErrorCapture capture;
    struct Case {
        const char* name;
        const char* unit;
        int64_t code;
        int64_t position;  // int 1, when the code tells one
    };
    const Case cases[] = {
        {"NOSUCH", "SI", 12116, 0}, {"C", "ft/s", 12112, 0}, {"ELECTRONCHARGE", "C", 12112, 0},
        {"WATERTRIPLE", "SEC", 12112, 0}, {"C", "furlong/s", 12114, 1}, {"C", "m/fortnight", 12114, 3},
        {"C", "m/", 12115, 3}, {"C", "", 12115, 1}, {"C", "m s", 12115, 3}, {"C", "m/s)", 12115, 4},
        {"C", "(m/s", 12115, 5}, {"C", "m^x", 12115, 3}, {"C", "m**2", 12115, 3}, {"C", "m^100", 12115, 5},
        {"AU", "m^99*m/m^99", 12115, 7}, {"AU", "am^99/am^98", 12115, 6},
    };
    for (const Case& c : cases) {
        EXPECT_TRUE(std::isnan(orvls_d_constant(c.name, ORVLS_UNIT, c.unit, 0))) << c.unit;
        EXPECT_EQ(last_outcome(), (Outcome{5, c.code})) << c.unit;
        if (c.position != 0) {
            EXPECT_EQ(orvls::orvls_error_block()->int_param[0], c.position) << c.unit;
        }
        EXPECT_TRUE(std::isnan(orvls_f_constant(c.name, ORVLS_UNIT, c.unit, 0))) << c.unit;
    }
    EXPECT_STREQ(orvls::orvls_error_block()->string_param[0], "am^99/am^98");
    orvls_d_constant("C", ORVLS_UNIT, "ft/s", 0);
    EXPECT_STREQ(orvls::orvls_error_block()->string_param[0], "m/s");
    EXPECT_STREQ(orvls::orvls_error_block()->string_param[1], "ft/s");
    EXPECT_TRUE(std::isnan(orvls_d_constant("PI", 4242, 0)));
    EXPECT_EQ(last_outcome(), (Outcome{5, 11001}));
}

// Offset temperature scales convert by their factor alone, with a warning.
TEST(Constants, TemperatureScalesWarnOfTheirOffset)
{
    ErrorCapture capture;
    EXPECT_NEAR(orvls_d_constant("WATERTRIPLE", ORVLS_UNIT, "DEGF", 0), 491.688, 1e-12);
    EXPECT_EQ(last_outcome(), (Outcome{3, 12113}));
    EXPECT_NEAR(orvls_d_constant("BOLTZMANN", ORVLS_UNIT, "J/celsius", 0), 1.380658e-23, 1e-36);
    EXPECT_EQ(last_outcome(), (Outcome{3, 12113}));
    EXPECT_EQ(orvls_d_constant("WATERTRIPLE", ORVLS_UNIT, "DEGK", 0), 273.16);
    EXPECT_EQ(last_outcome(), (Outcome{0, 0}));
}

}  // namespace
