#include "frame/options.h"

#include "orvls.h"

namespace orvls {

OptionReader::OptionReader(va_list ap, int64_t positional_count, UnknownCode rule)
    : arg_number_(positional_count), rule_(rule)
{
    va_copy(ap_, ap);
}

bool OptionReader::next(int& code)
{
    if (stopped_)
        return false;
    code = va_arg(ap_, int);
    ++arg_number_;
    if (code < 0)
        unknown(code);
    return code > 0 && !stopped_;
}

void OptionReader::unknown(int code)
{
    orvls_e1sti(1, code);
    orvls_e1sti(2, arg_number_);
    orvls_ermes(5, rule_ == UnknownCode::report_and_go_on ? 11001 : 103);
    stopped_ = rule_ == UnknownCode::utility_stop || code < 0;
}

bool ExclusiveOptions::report() const
{
    if (count_ < 2)
        return false;
    orvls_e1stl(1, names_);
    orvls_ermes(5, 11117);
    return true;
}

bool refuse_null_user(const void* array, const char* argument, const char* option)
{
    if (array != nullptr)
        return false;
    orvls_e1stl(1, argument);
    orvls_e1stl(2, option);
    orvls_ermes(5, 104);
    return true;
}

}  // namespace orvls
