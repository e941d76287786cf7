// The result array of the random routines: the caller's array given with
// ORVLS_RETURN_USER (the one option these routines know, read from the
// first pair only), or one allocated here and handed to the caller.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "frame/memory.h"
#include "frame/options.h"
#include "orvls.h"

namespace orvls {

template <class T>
class ResultArray {
public:
    // Reads the option list; an unknown code raises 11001, a null array 104.
    explicit ResultArray(OptionReader& options, const char* argument)
    {
        int code = 0;
        if (!options.next(code))
            return;
        if (code != ORVLS_RETURN_USER) {
            options.unknown(code);
            return;
        }
        user_ = options.pointer<T*>();
        refuse_null_user(user_, argument, "ORVLS_RETURN_USER");
    }

    ~ResultArray() { std::free(allocated_); }
    ResultArray(const ResultArray&) = delete;
    ResultArray& operator=(const ResultArray&) = delete;

    // The array to fill with `count` elements: the caller's, or a new one;
    // null after raising type 5, code 200.
    T* data(int64_t count)
    {
        if (user_ != nullptr)
            return user_;
        allocated_ = allocate<T>(static_cast<std::size_t>(count));
        if (allocated_ == nullptr)
            orvls_ermes(5, 200);
        return allocated_;
    }

    bool user_given() const { return user_ != nullptr; }

    // The array for the caller, or null once an error above type 3 stands
    // (an array allocated here is freed then).
    T* finish()
    {
        if (orvls_n1rty(0) > 3)
            return nullptr;
        if (user_ != nullptr)
            return user_;
        T* result = allocated_;
        allocated_ = nullptr;
        return result;
    }

private:
    T* user_ = nullptr;
    T* allocated_ = nullptr;
};

}  // namespace orvls
