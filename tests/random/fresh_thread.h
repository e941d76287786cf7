// Each generator's state lives with its thread, so a test that needs a
// stream as a new thread sees it runs its body on a thread of its own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "capture.h"
#include "frame/error_block.h"

// Runs `body` on a new thread with its error reports captured.
template <class Body>
void in_fresh_thread(Body body)
{
    std::thread thread([&] {
        ErrorCapture capture;
        body(capture);
    });
    thread.join();
}

// Bit patterns of the deviates, hashed with FNV-1a.
template <class Real>
uint64_t fnv1a(const Real* values, int64_t n, uint64_t h = 0xcbf29ce484222325ull)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(values);
    for (int64_t k = 0; k < n * static_cast<int64_t>(sizeof(Real)); ++k) {
        h ^= bytes[k];
        h *= 0x100000001b3ull;
    }
    return h;
}

// The numbered parameters of the thread's last report.
inline int64_t int_parameter(int i) { return orvls::orvls_error_block()->int_param[i - 1]; }
inline double real_parameter(int i) { return orvls::orvls_error_block()->real_param[i - 1]; }
inline std::string text_parameter(int i) { return orvls::orvls_error_block()->string_param[i - 1]; }
