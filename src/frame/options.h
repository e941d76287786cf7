// The option list of a public routine: codes, each followed by its values,
// ended by 0.  The reader counts argument positions for the reports.
#pragma once

#include <cstdarg>
#include <cstdint>

namespace orvls {

// Refuses a null array given to a _USER option: 104 with the argument's
// name and the option's text.  True when refused.
bool refuse_null_user(const void* array, const char* argument, const char* option);

// How a routine answers an unknown code: public routines raise 11001 and go
// on; utility routines raise 103 and stop there, or 103 and go on.  A
// negative code always ends the walk.
enum class UnknownCode { report_and_go_on, utility_stop, utility_go_on };

class OptionReader {
public:
    // `ap` is the caller's list, started behind the last positional argument.
    OptionReader(va_list ap, int64_t positional_count, UnknownCode rule = UnknownCode::report_and_go_on);
    ~OptionReader() { va_end(ap_); }
    OptionReader(const OptionReader&) = delete;
    OptionReader& operator=(const OptionReader&) = delete;

    // Reads the next code.  False at the end of the list: a 0, a negative
    // code (reported as unknown) or a stop after an unknown code.
    bool next(int& code);
    // Reports `code` as unknown at its position.
    void unknown(int code);

    int integer()
    {
        ++arg_number_;
        return va_arg(ap_, int);
    }
    int64_t integer64()
    {
        ++arg_number_;
        return va_arg(ap_, int64_t);
    }
    double real()
    {
        ++arg_number_;
        return va_arg(ap_, double);
    }
    // The _ADR form of a real option: a pointer to the routine's own type.
    template <class Real>
    Real real_address()
    {
        ++arg_number_;
        return *va_arg(ap_, Real*);
    }
    template <class T>
    T pointer()
    {
        ++arg_number_;
        return va_arg(ap_, T);
    }
    // A pointer that must not be null: a null one is refused (104), naming
    // the argument and the option.
    template <class T>
    T non_null_pointer(const char* argument, const char* option)
    {
        T array = pointer<T>();
        refuse_null_user(array, argument, option);
        return array;
    }
    // An option without a value that still counts a place in the reports.
    void skip_place() { ++arg_number_; }

private:
    va_list ap_;
    int64_t arg_number_;
    UnknownCode rule_;
    bool stopped_ = false;
};

// Two options that exclude each other (or one option given twice): the
// second sighting is a conflict, reported after the walk.
class ExclusiveOptions {
public:
    explicit ExclusiveOptions(const char* names) : names_(names) {}
    void seen() { ++count_; }
    // Raises the conflict, if any; true when there was one.
    bool report() const;

private:
    const char* names_;
    int count_ = 0;
};

// Reads a pointer option that must not be null, refusing a null one as above.
template <class T>
T non_null_pointer(OptionReader& options, const char* argument, const char* option)
{
    return options.non_null_pointer<T>(argument, option);
}

}  // namespace orvls
