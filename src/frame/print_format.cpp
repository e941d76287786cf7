#include "frame/print_format.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace orvls {

namespace {

constexpr char kLetters[] = "WeEfgGdiouxX";
constexpr char kIntegerLetters[] = "diouxX";
constexpr char kFlags[] = "-+ #0";
constexpr char kLengthModifiers[] = "hlLqjzt";
constexpr int64_t kDefaultDigits = 4;  // W without a precision
constexpr int64_t kExponentRoom = 7;   // W without a width: digits plus sign, point and exponent

bool is_one_of(char c, const char* set) { return c != '\0' && std::strchr(set, c) != nullptr; }

// Digits at `text` into *value, held at kLargestField; the count read.
int64_t read_number(const char* text, int64_t* value)
{
    int64_t i = 0;
    for (; text[i] >= '0' && text[i] <= '9'; ++i) {
        const int64_t grown = (i == 0 ? 0 : *value) * 10 + (text[i] - '0');
        *value = grown > kLargestField ? kLargestField : grown;
    }
    return i;
}

// The conversion that starts at the "%" at `text`: its length, 0 if the
// text there is no conversion (the "%" is then literal).
int64_t read_conversion(const char* text, Conversion* conversion)
{
    Conversion c{};
    c.width = -1;
    c.precision = -1;
    int64_t i = 1;
    for (int64_t n = 0; is_one_of(text[i], kFlags); ++i)
        if (std::strchr(c.flags, text[i]) == nullptr)
            c.flags[n++] = text[i];
    i += read_number(text + i, &c.width);
    if (text[i] == '.') {
        c.precision = 0;
        i += 1 + read_number(text + i + 1, &c.precision);
    }
    while (is_one_of(text[i], kLengthModifiers))
        ++i;
    if (!is_one_of(text[i], kLetters))
        return 0;
    c.letter = text[i];
    *conversion = c;
    return i + 1;
}

// Walks the format; fills `list` when it is given; returns the count.
int64_t walk_conversions(const char* format, Conversion* list)
{
    int64_t count = 0;
    const char* literal = format;
    const char* p = format;
    while (*p != '\0') {
        Conversion c;
        const int64_t length = *p == '%' && p[1] != '%' ? read_conversion(p, &c) : 0;
        if (length == 0) {
            p += *p == '%' && p[1] == '%' ? 2 : 1;
            continue;
        }
        if (list != nullptr) {
            c.prefix = literal;
            c.prefix_length = p - literal;
            list[count] = c;
        }
        ++count;
        p += length;
        literal = p;
    }
    if (list == nullptr)
        return count;
    if (count == 0) {
        list[0] = Conversion{};
        list[0].prefix = format;
        list[0].prefix_length = p - format;
        list[0].width = -1;
        list[0].precision = -1;
    } else {
        list[count - 1].suffix = literal;
        list[count - 1].suffix_length = p - literal;
    }
    return count;
}

// Builds a cell of at most kCellSize - 1 characters.
class CellText {
public:
    explicit CellText(char (&cell)[kCellSize]) : cell_(cell) { cell_[0] = '\0'; }
    void append(const char* text, int64_t length)
    {
        for (int64_t i = 0; i < length && length_ < kCellSize - 1; ++i)
            cell_[length_++] = text[i];
        cell_[length_] = '\0';
    }
    // Literal format text, in which "%%" stands for one "%".
    void literal(const char* text, int64_t length)
    {
        for (int64_t i = 0; i < length; ++i) {
            append(text + i, 1);
            if (text[i] == '%' && i + 1 < length && text[i + 1] == '%')
                ++i;
        }
    }
    void blanks(int64_t count)
    {
        for (int64_t i = 0; i < count; ++i)
            append(" ", 1);
    }
    int64_t length() const { return length_; }

private:
    char (&cell_)[kCellSize];
    int64_t length_ = 0;
};

// `text` padded to the conversion's width, on the left unless the flag "-".
void append_padded(CellText& out, const Conversion& c, const char* text, int64_t length)
{
    const bool left = std::strchr(c.flags, '-') != nullptr;
    const int64_t blanks = c.width > length ? c.width - length : 0;
    if (!left)
        out.blanks(blanks);
    out.append(text, length);
    if (left)
        out.blanks(blanks);
}

// Length of `text` after its trailing zeros (and a bare point) are dropped
// from the fraction that ends at `end`; the rest is moved up.
int64_t trim_fraction(char* text, int64_t length, int64_t end)
{
    if (std::memchr(text, '.', end) == nullptr)
        return length;
    int64_t cut = end;
    while (text[cut - 1] == '0')
        --cut;
    if (text[cut - 1] == '.')
        --cut;
    std::memmove(text + cut, text + end, length - end + 1);
    return length - (end - cut);
}

int64_t fixed_text(double value, int64_t decimals, char (&text)[kCellSize])
{
    const int64_t length = std::snprintf(text, kCellSize, "%.*f", static_cast<int>(decimals), value);
    return trim_fraction(text, length, length);
}

int64_t exponent_text(double value, int64_t digits, char (&text)[kCellSize])
{
    const int64_t length = std::snprintf(text, kCellSize, "%.*e", static_cast<int>(digits - 1), value);
    return trim_fraction(text, length, std::strchr(text, 'e') - text);
}

int64_t copy_text(const char* from, char (&text)[kCellSize])
{
    std::snprintf(text, kCellSize, "%s", from);
    return static_cast<int64_t>(std::strlen(text));
}

long long to_long_long(double value)
{
    if (value >= 0x1p63)
        return LLONG_MAX;
    if (value <= -0x1p63)
        return LLONG_MIN;
    return std::llround(value);
}

// The printf form of a conversion, rebuilt from its parts.
void printf_form(const Conversion& c, bool integer, char (&form)[32])
{
    int n = std::snprintf(form, sizeof form, "%%%s", c.flags);
    if (c.width >= 0)
        n += std::snprintf(form + n, sizeof form - n, "%lld", static_cast<long long>(c.width));
    if (c.precision >= 0)
        n += std::snprintf(form + n, sizeof form - n, ".%lld", static_cast<long long>(c.precision));
    std::snprintf(form + n, sizeof form - n, "%s%c", integer ? "ll" : "", c.letter);
}

template <class T>
void append_value(CellText& out, const Conversion& c, T value, bool nan_character)
{
    char text[kCellSize];
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(value) || std::isinf(value)) {
            const char* special = std::isnan(value) ? (nan_character ? "." : "NaN") : (value > 0 ? "Inf" : "-Inf");
            append_padded(out, c, special, static_cast<int64_t>(std::strlen(special)));
            return;
        }
    }
    if (c.letter == 'W') {
        const int64_t digits = c.precision < 0 ? kDefaultDigits : (c.precision == 0 ? 1 : c.precision);
        const int64_t width = c.width < 0 ? digits + kExponentRoom : c.width;
        int64_t length = 0;
        if constexpr (std::is_integral_v<T>)
            length = format_w(static_cast<int64_t>(value), width, digits, text);
        else
            length = format_w(static_cast<double>(value), width, digits, text);
        append_padded(out, c, text, length);
        return;
    }
    char form[32];
    const bool integer_letter = is_one_of(c.letter, kIntegerLetters);
    printf_form(c, integer_letter, form);
    long long whole = 0;
    if constexpr (std::is_integral_v<T>)
        whole = value;
    else
        whole = to_long_long(value);
    const int length = integer_letter ? std::snprintf(text, kCellSize, form, whole)
                                      : std::snprintf(text, kCellSize, form, static_cast<double>(value));
    out.append(text, length < kCellSize ? length : kCellSize - 1);
}

}  // namespace

int64_t count_conversions(const char* format) { return walk_conversions(format, nullptr); }

void read_conversions(const char* format, Conversion* list) { walk_conversions(format, list); }

int64_t format_w(double value, int64_t width, int64_t digits, char (&text)[kCellSize])
{
    if (value == 0)
        return copy_text("0", text);
    if (value == std::trunc(value) && std::fabs(value) < 1e18) {
        const int64_t length = std::snprintf(text, kCellSize, "%.0f", value);
        if (length <= width)
            return length;
    }
    // Fixed notation when it is no longer than the exponent form; the
    // exponent is the one after rounding to `digits` significant digits.
    const int64_t exponent_length = exponent_text(value, digits, text);
    const int64_t exponent = std::atoi(std::strchr(text, 'e') + 1);
    if (exponent < digits && exponent > -kLargestField) {
        char fixed[kCellSize];
        const int64_t length = fixed_text(value, digits - 1 - exponent, fixed);
        if (length <= exponent_length && length <= width)
            return copy_text(fixed, text);
    }
    for (int64_t kept = digits;; --kept) {
        const int64_t length = exponent_text(value, kept, text);
        if (length <= width || kept == 1)
            return length;
    }
}

int64_t format_w(int64_t value, int64_t width, int64_t digits, char (&text)[kCellSize])
{
    const int64_t length = std::snprintf(text, kCellSize, "%lld", static_cast<long long>(value));
    return length <= width ? length : format_w(static_cast<double>(value), width, digits, text);
}

template <class T>
int64_t format_cell(const Conversion& conversion, T value, bool nan_character, char (&cell)[kCellSize])
{
    CellText out(cell);
    out.literal(conversion.prefix, conversion.prefix_length);
    if (conversion.letter != '\0')
        append_value(out, conversion, value, nan_character);
    out.literal(conversion.suffix, conversion.suffix_length);
    return out.length();
}

template int64_t format_cell<float>(const Conversion&, float, bool, char (&)[kCellSize]);
template int64_t format_cell<double>(const Conversion&, double, bool, char (&)[kCellSize]);
template int64_t format_cell<int64_t>(const Conversion&, int64_t, bool, char (&)[kCellSize]);

}  // namespace orvls
