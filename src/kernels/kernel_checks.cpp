#include "kernels/kernel_checks.h"

#include <cctype>
#include <cstring>

#include "orvls.h"

namespace orvls::kernels {

char option_letter(const char* text, int64_t length)
{
    if (text == nullptr || length < 1 || text[0] == '\0')
        return 0;
    return static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
}

bool KernelChecks::fail(int64_t code)
{
    orvls_e1psh(name_);
    orvls_ermes(5, code);
    orvls_e1pop(name_);
    return false;
}

bool KernelChecks::dimension(int64_t value)
{
    if (value >= 0)
        return true;
    orvls_e1sti(1, value);
    return fail(2014);
}

bool KernelChecks::leading_dimension(int64_t value, int64_t rows)
{
    if (value >= rows && value != 0)
        return true;
    orvls_e1sti(1, value);
    orvls_e1sti(2, rows);
    return fail(50055);
}

bool KernelChecks::x_stride(int64_t value)
{
    if (value != 0)
        return true;
    orvls_e1sti(1, value);
    return fail(2015);
}

bool KernelChecks::y_stride(int64_t value)
{
    if (value != 0)
        return true;
    orvls_e1sti(1, value);
    return fail(2016);
}

bool KernelChecks::option(const char* text, int64_t length, const char* letters)
{
    const char letter = option_letter(text, length);
    if (letter != 0 && std::strchr(letters, letter) != nullptr)
        return true;
    // The text need not end in a NUL within its length: report a copy.
    const int64_t shown = text == nullptr || length < 0 ? 0 : static_cast<int64_t>(strnlen(text, length));
    const int64_t kept = shown < int64_t(sizeof text_) - 1 ? shown : int64_t(sizeof text_) - 1;
    std::memcpy(text_, text == nullptr ? "" : text, kept);
    text_[kept] = '\0';
    orvls_e1stl(1, text_);
    return fail(50056);
}

}  // namespace orvls::kernels
