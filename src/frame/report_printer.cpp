#include "frame/report_printer.h"

#include <cstdarg>

#include "frame/tsd.h"
#include "orvls.h"

namespace orvls {

ReportPrinter::ReportPrinter()
{
    orvls_umach(2, &stream_);
    orvls_output_lock(stream_);
}

ReportPrinter::~ReportPrinter()
{
    if (stream_ != nullptr)
        std::fflush(stream_);
    orvls_output_unlock(stream_);
}

void ReportPrinter::print(const char* format, ...)
{
    if (stream_ == nullptr)
        return;
    va_list ap;
    va_start(ap, format);
    std::vfprintf(stream_, format, ap);
    va_end(ap);
}

}  // namespace orvls
