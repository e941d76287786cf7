// Results of the regression family: arrays allocated by the routine (the
// option gives the address that receives it) or the caller's own, and the
// error level that withholds them.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "frame/memory.h"
#include "frame/options.h"

namespace orvls::regression {

// An error level that withholds the results: fatal, but not a note.
inline bool is_fatal(int64_t type) { return type >= 4 && type != 6; }

// An array result: allocated here (ORVLS_X, the address receives it) or
// the caller's (ORVLS_X_USER).  An allocated one is freed unless handed over.
template <class Real>
struct Output {
    Real** address = nullptr;
    Real* user = nullptr;
    Real* owned = nullptr;

    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() { std::free(owned); }

    bool wanted() const { return address != nullptr || user != nullptr; }
    Real* data() const { return user != nullptr ? user : owned; }
    // False when the allocation fails.
    bool allocate_for(int64_t n)
    {
        if (!wanted() || user != nullptr)
            return true;
        owned = allocate<Real>(static_cast<std::size_t>(n));
        return owned != nullptr;
    }
    void hand_over()
    {
        if (address != nullptr && user == nullptr) {
            *address = owned;
            owned = nullptr;
        }
    }
};

template <class Real>
void read_output(OptionReader& options, Output<Real>& output, bool allocated, const char* argument,
                 const char* option)
{
    if (allocated) {
        output.address = non_null_pointer<Real**>(options, argument, option);
        output.user = nullptr;
    } else {
        output.user = non_null_pointer<Real*>(options, argument, option);
        output.address = nullptr;
    }
}

}  // namespace orvls::regression
