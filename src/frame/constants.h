// Named constants and unit expressions.  The grammar of unit expressions is
// told beside orvls_d_constant in the public header.
#pragma once

#include <cstdint>

namespace orvls {

// Metre, kilogram, second, ampere, kelvin.
constexpr int kBaseUnits = 5;

// What a unit expression stands for: its factor to SI and its exponents of
// the base units.
struct UnitReading {
    double factor = 1.0;
    int exponent[kBaseUnits] = {};
    bool offset_scale = false;  // a temperature scale with an offset took part
};

// Reads `text` into `reading`.  False when it cannot: 12114 or 12115 is then
// raised on the running routine.
bool read_unit_expression(const char* text, UnitReading& reading);

// `value` in unit `from` expressed in unit `to`; either may be "SI", the SI
// unit of the other's dimension.  NaN when the units cannot be read or differ
// in dimension (12112).
double l_cunit(double value, const char* from, const char* to);

}  // namespace orvls
