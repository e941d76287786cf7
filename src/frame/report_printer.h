// The printed report of a routine: text in the routine's own layout, written
// to the thread's output stream while the output lock is held, so that one
// report (or one block of it) never interleaves with other library output.
#pragma once

#include <cstdio>

namespace orvls {

class ReportPrinter {
public:
    ReportPrinter();
    ~ReportPrinter();
    ReportPrinter(const ReportPrinter&) = delete;
    ReportPrinter& operator=(const ReportPrinter&) = delete;

    void print(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
    FILE* stream_ = nullptr;
};

}  // namespace orvls
