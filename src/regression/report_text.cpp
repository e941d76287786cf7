// Reports of the regression routines.
#include "regression/report_text.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "frame/memory.h"
#include "frame/tsd.h"

namespace orvls::regression {

bool append(char*& text, std::size_t& length, const char* format, ...)
{
    va_list ap, copy;
    va_start(ap, format);
    va_copy(copy, ap);
    const int extra = std::vsnprintf(nullptr, 0, format, ap);
    va_end(ap);
    char* grown = static_cast<char*>(orvls_realloc(text, length + static_cast<std::size_t>(extra) + 1));
    if (grown == nullptr) {
        va_end(copy);
        std::free(text);
        text = nullptr;
        return false;
    }
    text = grown;
    std::vsnprintf(text + length, static_cast<std::size_t>(extra) + 1, format, copy);
    va_end(copy);
    length += static_cast<std::size_t>(extra);
    return true;
}

void deliver_report(char* text, char** text_target, bool to_stdout)
{
    if (text == nullptr)
        return;
    if (!to_stdout) {
        *text_target = text;
        return;
    }
    // Under the output lock, so that the report never interleaves with other
    // library output.
    orvls_output_lock(stdout);
    std::fputs(text, stdout);
    std::fflush(stdout);
    orvls_output_unlock(stdout);
    std::free(text);
}

namespace {

bool selector_holds(const char* selector, char c)
{
    for (; *selector != '\0'; ++selector)
        if (std::toupper(static_cast<unsigned char>(*selector)) == c)
            return true;
    return false;
}

}  // namespace

bool print_selects_none(const char* selector)
{
    return selector == nullptr || (!selector_holds(selector, 'A') && selector_holds(selector, 'N'));
}

bool print_selects(const char* selector, char section)
{
    if (print_selects_none(selector))
        return false;
    return selector_holds(selector, 'A') || selector_holds(selector, section);
}

}  // namespace orvls::regression
