// Shared pieces of the statistics tests: the public routine in either
// precision, and the reports that a call printed.
#pragma once

#include <cstdint>
#include <vector>

#include "capture.h"
#include "orvls.h"

template <class Real, class... Options>
Real* simple_statistics(int64_t n_observations, int64_t n_variables, Real* x, Options... options)
{
    if constexpr (sizeof(Real) == sizeof(float))
        return orvls_f_simple_statistics(n_observations, n_variables, x, options...);
    else
        return orvls_d_simple_statistics(n_observations, n_variables, x, options...);
}

// Every report printed while an instance lives, as {type, code}.
class ReportLog {
public:
    ReportLog()
    {
        log().clear();
        orvls_error_options(ORVLS_ERROR_PRINT_PROC, keep, 0);
    }
    ~ReportLog() { orvls_error_options(ORVLS_ERROR_PRINT_PROC, nullptr, 0); }
    const std::vector<Outcome>& reports() const { return log(); }
    void clear() { log().clear(); }

private:
    static std::vector<Outcome>& log()
    {
        static std::vector<Outcome> reports;
        return reports;
    }
    static void keep(int64_t type, int64_t code, const char*, const char*) { log().push_back({type, code}); }
    ErrorCapture capture_;
};
