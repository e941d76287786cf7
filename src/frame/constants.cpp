// Named constants with unit conversion: the constants table, the unit and
// prefix tables and the reader of unit expressions.
#include "frame/constants.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <strings.h>

#include "frame/envelope.h"
#include "frame/machine.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls {

namespace {

struct ConstantRow {
    const char* name;
    double value;
    const char* unit;  // its SI unit, as a unit expression
};

// The unit C carries exponents of its own (see below), so the two charges
// name the coulomb in full.
constexpr ConstantRow kConstants[] = {
    {"AMU", 1.6605402e-27, "kg"},
    {"ATM", 101325.0, "N/m^2"},
    {"AU", 149600000000.0, "m"},
    {"AVOGADRO", 6.0221367e+23, "1"},
    {"BOLTZMAN", 1.380658e-23, "J/K"},
    {"BOLTZMANN", 1.380658e-23, "J/K"},
    {"C", 299792458.0, "m/s"},
    {"CATALAN", 0.915965594177219, "1"},
    {"E", 2.718281828459045, "1"},
    {"ELECTRONCHARGE", 1.60217733e-19, "COULOMB"},
    {"ELECTRONMASS", 9.1093897e-31, "kg"},
    {"ELECTRONVOLT", 1.60217733e-19, "J"},
    {"EULER", 0.5772156649015329, "1"},
    {"FARADAY", 96485.309, "COULOMB"},
    {"FINESTRUCTURE", 0.00729735308, "1"},
    {"GAMMA", 0.5772156649015329, "1"},
    {"GAS", 8.31451, "J/mole/K"},
    {"GRAVITY", 6.67259e-11, "N*m^2/kg^2"},
    {"HBAR", 1.05457266e-34, "J*s"},
    {"PERFECTGASVOLUME", 0.02241383, "m^3/mole"},
    {"PI", 3.141592653589793, "1"},
    {"PLANCK", 6.6260755e-34, "J*s"},
    {"PROTONMASS", 1.6726231e-27, "kg"},
    {"RYDBERG", 10973731.534, "1/m"},
    {"SPEEDLIGHT", 299792458.0, "m/s"},
    {"STANDARDGRAVITY", 9.80665, "m/s^2"},
    {"STANDARDPRESSURE", 101325.0, "N/m^2"},
    {"STEFANBOLTZMAN", 5.67051e-08, "W/K^4/m^2"},
    {"STEFANBOLTZMANN", 5.67051e-08, "W/K^4/m^2"},
    {"WATERTRIPLE", 273.16, "K"},
};

struct UnitRow {
    const char* name;
    double factor;  // to SI
    int exponent[kBaseUnits];
};

// In alphabetical order.  The exponents of C, L and SEC are odd, and are
// kept as callers have always had them.
constexpr UnitRow kUnits[] = {
    {"1", 1.0, {0, 0, 0, 0, 0}},
    {"A", 1.0, {0, 0, 0, 1, 0}},
    {"ABAMPERE", 10.0, {0, 0, 0, 1, 0}},
    {"ABCOULOMB", 10.0, {0, 0, 1, 1, 0}},
    {"ABVOLT", 1e-08, {2, 1, -3, -1, 0}},
    {"ACRE", 4046.8564223999992, {2, 0, 0, 0, 0}},
    {"AMPERE", 1.0, {0, 0, 0, 1, 0}},
    {"AMU", 1.0, {0, 1, 0, 0, 0}},
    {"ANGSTROM", 1e-10, {1, 0, 0, 0, 0}},
    {"ATM", 101325.0, {-1, 1, -2, 0, 0}},
    {"ATMOSPHERE", 101325.0, {-1, 1, -2, 0, 0}},
    {"AU", 149600000000.0, {1, 0, 0, 0, 0}},
    {"BAR", 100000.0, {-1, 1, -2, 0, 0}},
    {"BTU", 1054.35, {2, 1, -2, 0, 0}},
    {"C", 1.0, {0, 0, -1, 1, 0}},
    {"CELSIUS", 1.0, {0, 0, 0, 0, 1}},
    {"COULOMB", 1.0, {0, 0, 1, 1, 0}},
    {"DAY", 86400.0, {0, 0, 1, 0, 0}},
    {"DEGC", 1.0, {0, 0, 0, 0, 1}},
    {"DEGF", 0.5555555555555556, {0, 0, 0, 0, 1}},
    {"DEGK", 1.0, {0, 0, 0, 0, 1}},
    {"DYNE", 1e-05, {1, 1, -2, 0, 0}},
    {"ERG", 1e-07, {2, 1, -2, 0, 0}},
    {"FAHRENHEIT", 0.5555555555555556, {0, 0, 0, 0, 1}},
    {"FARAD", 1.0, {-2, -1, 4, 2, 0}},
    {"FEET", 0.30479999999999996, {1, 0, 0, 0, 0}},
    {"FOOT", 0.30479999999999996, {1, 0, 0, 0, 0}},
    {"G", 0.001, {0, 1, 0, 0, 0}},
    {"GAUSS", 0.0001, {1, -2, -1, 0, 0}},
    {"GRAM", 0.001, {0, 1, 0, 0, 0}},
    {"HENRY", 1.0, {2, 1, -2, -2, 0}},
    {"HERTZ", 1.0, {0, 0, -1, 0, 0}},
    {"HOUR", 3600.0, {0, 0, 1, 0, 0}},
    {"HR", 3600.0, {0, 0, 1, 0, 0}},
    {"HZ", 1.0, {0, 0, -1, 0, 0}},
    {"IN", 0.0254, {1, 0, 0, 0, 0}},
    {"J", 1.0, {2, 1, -2, 0, 0}},
    {"JOULE", 1.0, {2, 1, -2, 0, 0}},
    {"K", 1.0, {0, 0, 0, 0, 1}},
    {"KELVIN", 1.0, {0, 0, 0, 0, 1}},
    {"L", 0.001, {0, 0, 3, 0, 0}},
    {"LB", 0.45359237, {0, 1, 0, 0, 0}},
    {"LITER", 0.001, {3, 0, 0, 0, 0}},
    {"LITRE", 0.001, {3, 0, 0, 0, 0}},
    {"M", 1.0, {1, 0, 0, 0, 0}},
    {"MAXWELL", 1e-08, {2, 1, -2, -1, 0}},
    {"METER", 1.0, {1, 0, 0, 0, 0}},
    {"METRE", 1.0, {1, 0, 0, 0, 0}},
    {"MICRON", 1e-06, {1, 0, 0, 0, 0}},
    {"MILE", 1609.3439999999998, {1, 0, 0, 0, 0}},
    {"MILL", 2.54e-05, {1, 0, 0, 0, 0}},
    {"MIN", 60.0, {0, 0, 1, 0, 0}},
    {"MINUTE", 60.0, {0, 0, 1, 0, 0}},
    {"MOLE", 1.0, {0, 0, 0, 0, 0}},
    {"N", 1.0, {1, 1, -2, 0, 0}},
    {"NEWTON", 1.0, {1, 1, -2, 0, 0}},
    {"OHM", 1.0, {2, 1, -3, -2, 0}},
    {"OUNCE", 0.028349523125, {0, 1, 0, 0, 0}},
    {"OZ", 0.028349523125, {0, 1, 0, 0, 0}},
    {"PARSEC", 3.0857215014323856e+16, {1, 0, 0, 0, 0}},
    {"PASCAL", 1.0, {-1, 1, -2, 0, 0}},
    {"POINT", 0.0003514598, {1, 0, 0, 0, 0}},
    {"POISE", 0.1, {-1, 1, -1, 0, 0}},
    {"POUND", 0.45359237, {0, 1, 0, 0, 0}},
    {"POUNDAL", 0.138255, {1, 1, -2, 0, 0}},
    {"S", 1.0, {0, 0, 1, 0, 0}},
    {"SEC", 1.0, {0, 0, 0, 0, 0}},
    {"SECOND", 1.0, {0, 0, 1, 0, 0}},
    {"SLUG", 14.5939, {0, 1, 0, 0, 0}},
    {"STATAMPERE", 3.3356409519815207e-10, {0, 0, 0, 1, 0}},
    {"STATCOULOMB", 3.3356409519815207e-10, {0, 0, 1, 1, 0}},
    {"STOKE", 0.0001, {2, 0, -1, 0, 0}},
    {"T", 1.0, {0, 1, -2, -1, 0}},
    {"TESLA", 1.0, {0, 1, -2, -1, 0}},
    {"V", 1.0, {2, 1, -3, -1, 0}},
    {"VOLT", 1.0, {2, 1, -3, -1, 0}},
    {"W", 1.0, {2, 1, -3, 0, 0}},
    {"WATT", 1.0, {2, 1, -3, 0, 0}},
    {"WB", 1.0, {2, 1, -2, -1, 0}},
    {"WEBER", 1.0, {2, 1, -2, -1, 0}},
    {"YARD", 0.9144, {1, 0, 0, 0, 0}},
    {"YEAR", 31536000.0, {0, 0, 1, 0, 0}},
};

// Temperature scales whose zero lies elsewhere than the kelvin's.
constexpr const char* kOffsetScales[] = {"CELSIUS", "DEGC", "DEGF", "FAHRENHEIT"};

struct PrefixRow {
    const char* name;
    std::size_t length;
    double factor;
};

constexpr PrefixRow kPrefixes[] = {
    {"ATTO", 4, 1e-18}, {"FEMTO", 5, 1e-15}, {"PICO", 4, 1e-12}, {"NANO", 4, 1e-09},
    {"MICRO", 5, 1e-06}, {"MILLI", 5, 0.001}, {"CENTI", 5, 0.01}, {"DECI", 4, 0.1},
    {"DECA", 4, 10},     {"KILO", 4, 1000},  {"MYRIA", 5, 10000}, {"MEGA", 4, 1e+06},
    {"GIGA", 4, 1e+09},  {"TERA", 4, 1e+12},
};

// The one-letter prefixes, and the prefix each stands for.  The blank holds
// the place of mega, whose letter milli has.
constexpr char kPrefixLetters[] = "AFPNUMCK GTD";
constexpr const PrefixRow* kLetterPrefixes[] = {
    &kPrefixes[0], &kPrefixes[1], &kPrefixes[2], &kPrefixes[3], &kPrefixes[4], &kPrefixes[5],
    &kPrefixes[6], &kPrefixes[9], &kPrefixes[11], &kPrefixes[12], &kPrefixes[13], &kPrefixes[7],
};
static_assert(sizeof kLetterPrefixes / sizeof kLetterPrefixes[0] == sizeof kPrefixLetters - 1);

// Limits that keep a reading finite: powers and resulting exponents, and the
// nesting of groups.
constexpr int kMaxPower = 99;
constexpr int kMaxDepth = 16;

bool same_word(const char* word, std::size_t length, const char* name)
{
    return std::strlen(name) == length && strncasecmp(word, name, length) == 0;
}

const UnitRow* find_unit(const char* word, std::size_t length)
{
    for (const UnitRow& row : kUnits)
        if (same_word(word, length, row.name))
            return &row;
    return nullptr;
}

bool is_offset_scale(const UnitRow& row)
{
    return std::any_of(std::begin(kOffsetScales), std::end(kOffsetScales),
                       [&](const char* name) { return std::strcmp(name, row.name) == 0; });
}

// A prefix at the head of a word, in full or by its letter; null when the
// word does not begin with one or nothing follows it.
const PrefixRow* full_prefix(const char* word, std::size_t length)
{
    for (const PrefixRow& prefix : kPrefixes)
        if (length > prefix.length && strncasecmp(word, prefix.name, prefix.length) == 0)
            return &prefix;
    return nullptr;
}

// Words hold letters and digits only, so the blank of the letters never
// matches.
const PrefixRow* letter_prefix(const char* word, std::size_t length)
{
    const int letter = std::toupper(static_cast<unsigned char>(word[0]));
    const char* at = std::strchr(kPrefixLetters, letter);
    if (length < 2 || at == nullptr)
        return nullptr;
    return kLetterPrefixes[at - kPrefixLetters];
}

// The unit named by the word behind its first `skipped` letters, under a
// prefix of `prefix_factor`.
bool unit_behind(double prefix_factor, std::size_t skipped, const char* word, std::size_t length,
                 UnitReading& reading)
{
    const UnitRow* unit = find_unit(word + skipped, length - skipped);
    if (unit == nullptr)
        return false;
    reading.factor = prefix_factor * unit->factor;
    std::copy(std::begin(unit->exponent), std::end(unit->exponent), reading.exponent);
    reading.offset_scale = is_offset_scale(*unit);
    return true;
}

// A word is a unit name, else a full prefix and a unit name, else a
// one-letter prefix and a unit name: the first that reads wins.
bool read_word(const char* word, std::size_t length, UnitReading& reading)
{
    reading = UnitReading{};
    if (unit_behind(1.0, 0, word, length, reading))
        return true;
    const PrefixRow* prefix = full_prefix(word, length);
    if (prefix != nullptr && unit_behind(prefix->factor, prefix->length, word, length, reading))
        return true;
    prefix = letter_prefix(word, length);
    return prefix != nullptr && unit_behind(prefix->factor, 1, word, length, reading);
}

// Recursive descent over a unit text; a failure raises its error at the
// position reached.
class UnitTextReader {
public:
    explicit UnitTextReader(const char* text) : text_(text), at_(text) {}

    bool read(UnitReading& reading)
    {
        if (!expression(reading, 0))
            return false;
        skip_blanks();
        return *at_ == '\0' || malformed();
    }

private:
    const char* text_;
    const char* at_;

    // term { ("*" | "/") term }, left to right.
    bool expression(UnitReading& reading, int depth)
    {
        reading = UnitReading{};
        int sign = 1;
        for (;;) {
            UnitReading base;
            int power = 1;
            if (!term(base, power, depth) || !combine(reading, base, sign * power))
                return false;
            skip_blanks();
            if (*at_ != '*' && *at_ != '/')
                return true;
            sign = *at_ == '/' ? -1 : 1;
            ++at_;
        }
    }

    // factor [ "^" power ]
    bool term(UnitReading& base, int& power, int depth)
    {
        if (!factor(base, depth))
            return false;
        skip_blanks();
        if (*at_ != '^')
            return true;
        ++at_;
        return read_power(power);
    }

    // word | "(" expression ")"
    bool factor(UnitReading& base, int depth)
    {
        skip_blanks();
        if (*at_ == '(') {
            if (depth == kMaxDepth)
                return malformed();
            ++at_;
            if (!expression(base, depth + 1))
                return false;
            skip_blanks();
            if (*at_ != ')')
                return malformed();
            ++at_;
            return true;
        }
        const char* word = at_;
        while (std::isalnum(static_cast<unsigned char>(*at_)))
            ++at_;
        if (at_ == word)
            return malformed();
        const auto length = static_cast<std::size_t>(at_ - word);
        return read_word(word, length, base) || unknown_word(word, length);
    }

    // ["+" | "-"] digits, at most kMaxPower in size.
    bool read_power(int& power)
    {
        skip_blanks();
        const int sign = *at_ == '-' ? -1 : 1;
        if (*at_ == '+' || *at_ == '-')
            ++at_;
        if (!std::isdigit(static_cast<unsigned char>(*at_)))
            return malformed();
        power = 0;
        for (; std::isdigit(static_cast<unsigned char>(*at_)); ++at_) {
            power = 10 * power + (*at_ - '0');
            if (power > kMaxPower)
                return malformed();
        }
        power *= sign;
        return true;
    }

    // reading := reading * base^power, kept finite.
    bool combine(UnitReading& reading, const UnitReading& base, int power)
    {
        reading.factor *= std::pow(base.factor, power);
        reading.offset_scale = reading.offset_scale || base.offset_scale;
        bool within = std::isfinite(reading.factor) && reading.factor != 0;
        for (int i = 0; i < kBaseUnits; ++i) {
            reading.exponent[i] += power * base.exponent[i];
            within = within && std::abs(reading.exponent[i]) <= kMaxPower;
        }
        return within || malformed();
    }

    void skip_blanks()
    {
        while (*at_ == ' ' || *at_ == '\t')
            ++at_;
    }

    int64_t position(const char* at) const { return at - text_ + 1; }

    bool malformed()
    {
        orvls_e1stl(1, text_);
        orvls_e1sti(1, position(at_));
        orvls_ermes(5, 12115);
        return false;
    }

    bool unknown_word(const char* word, std::size_t length)
    {
        orvls_e1stl(1, text_);
        orvls_e1sti(1, position(word));
        orvls_e1sti(2, static_cast<int64_t>(length));
        orvls_ermes(5, 12114);
        return false;
    }
};

bool is_si(const char* text)
{
    return strcasecmp(text, "SI") == 0;
}

// Gives an "SI" side the dimension of the other side.
void take_dimension(UnitReading& si, const UnitReading& other)
{
    std::copy(std::begin(other.exponent), std::end(other.exponent), si.exponent);
}

double scaled(double value, const UnitReading& from, const UnitReading& to, const char* from_text,
              const char* to_text)
{
    orvls_e1stl(1, from_text);
    orvls_e1stl(2, to_text);
    if (!std::equal(std::begin(from.exponent), std::end(from.exponent), to.exponent)) {
        orvls_ermes(5, 12112);
        return missing_value<double>();
    }
    if (from.offset_scale || to.offset_scale)
        orvls_ermes(3, 12113);
    return value * from.factor / to.factor;
}

const ConstantRow* find_constant(const char* name)
{
    for (const ConstantRow& row : kConstants)
        if (strcasecmp(name, row.name) == 0)
            return &row;
    return nullptr;
}

template <class Real>
Real l_constant(const char* name, OptionReader& options)
{
    const char* unit = "SI";
    int code;
    while (options.next(code)) {
        switch (code) {
        case ORVLS_UNIT:
            unit = options.pointer<const char*>();
            break;
        default:
            options.unknown(code);
        }
    }
    if (orvls_n1rty(0) > 0)
        return missing_value<Real>();
    const ConstantRow* row = name != nullptr ? find_constant(name) : nullptr;
    if (row == nullptr) {
        orvls_e1stl(1, name != nullptr ? name : "");
        orvls_ermes(5, 12116);
        return missing_value<Real>();
    }
    return static_cast<Real>(l_cunit(row->value, row->unit, unit != nullptr ? unit : "SI"));
}

template <class Real>
Real constant(const char* routine, const char* name, va_list ap)
{
    OptionReader options(ap, 1);
    return envelope<Real>(routine, missing_value<Real>(), [&] { return l_constant<Real>(name, options); });
}

}  // namespace

bool read_unit_expression(const char* text, UnitReading& reading)
{
    return UnitTextReader(text).read(reading);
}

double l_cunit(double value, const char* from_text, const char* to_text)
{
    orvls_e1psh("l_cunit");
    double result = missing_value<double>();
    UnitReading from;
    UnitReading to;
    const bool from_si = is_si(from_text);
    const bool to_si = is_si(to_text);
    if ((from_si || read_unit_expression(from_text, from)) && (to_si || read_unit_expression(to_text, to))) {
        if (from_si)
            take_dimension(from, to);
        if (to_si)
            take_dimension(to, from);
        result = scaled(value, from, to, from_text, to_text);
    }
    orvls_e1pop("l_cunit");
    return result;
}

}  // namespace orvls

extern "C" ORVLS_API float orvls_f_constant(const char* name, ...)
{
    va_list ap;
    va_start(ap, name);
    const float result = orvls::constant<float>("orvls_f_constant", name, ap);
    va_end(ap);
    return result;
}

extern "C" ORVLS_API double orvls_d_constant(const char* name, ...)
{
    va_list ap;
    va_start(ap, name);
    const double result = orvls::constant<double>("orvls_d_constant", name, ap);
    va_end(ap);
    return result;
}
