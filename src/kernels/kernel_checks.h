// Argument checks of the matrix kernels.  The first check that fails names
// the kernel on the error stack (with the trailing blank the kernels' names
// carry there), raises a terminal error and pops; the kernel then returns.
#pragma once

#include <cstdint>

namespace orvls::kernels {

// The option letter of an option text, upper case; 0 for an empty text.
char option_letter(const char* text, int64_t length);

class KernelChecks {
public:
    explicit KernelChecks(const char* name) : name_(name) {}

    // A dimension below 0: int 1 = it, code 2014.
    bool dimension(int64_t value);
    // A leading dimension below the rows, or 0: int 1 = it, int 2 = rows, code 50055.
    bool leading_dimension(int64_t value, int64_t rows);
    // A stride of 0: int 1 = it, code 2015 for x and 2016 for y.
    bool x_stride(int64_t value);
    bool y_stride(int64_t value);
    // An option text whose letter is not among `letters`: string 1 = the text, code 50056.
    bool option(const char* text, int64_t length, const char* letters);

private:
    bool fail(int64_t code);

    const char* name_;
    char text_[32] = {};
};

}  // namespace orvls::kernels
