// Test support: captures the reports of the calling thread and keeps the
// process alive through fatal and terminal errors, so that a test can look
// at the type, the code and the printed text.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "orvls.h"

class ErrorCapture {
public:
    ErrorCapture()
    {
        stream_ = open_memstream(&buffer_, &length_);
        orvls_error_options(ORVLS_ERROR_FILE, stream_, ORVLS_SET_STOP, ORVLS_FATAL, 0, ORVLS_SET_STOP, ORVLS_TERMINAL,
                            0, 0);
    }
    ~ErrorCapture()
    {
        orvls_error_options(ORVLS_ERROR_FILE, stderr, ORVLS_SET_STOP, ORVLS_FATAL, 1, ORVLS_SET_STOP, ORVLS_TERMINAL,
                            1, 0);
        std::fclose(stream_);
        std::free(buffer_);
    }
    ErrorCapture(const ErrorCapture&) = delete;
    ErrorCapture& operator=(const ErrorCapture&) = delete;

    // Everything reported so far.
    std::string text()
    {
        std::fflush(stream_);
        return std::string(buffer_, length_);
    }
    // Forgets what was reported so far.
    void clear()
    {
        std::fflush(stream_);
        std::rewind(stream_);
        std::fflush(stream_);
        length_ = 0;
    }
    FILE* stream() const { return stream_; }

private:
    char* buffer_ = nullptr;
    std::size_t length_ = 0;
    FILE* stream_ = nullptr;
};

// Type and code of the last public call.
struct Outcome {
    int64_t type;
    int64_t code;
    bool operator==(const Outcome&) const = default;
};
inline Outcome last_outcome() { return {orvls_n1rty(1), orvls_error_code()}; }
