// Settings that every fuzz target makes before each run: no report ends the
// process (the default stops at fatal and terminal errors), reports of every
// type are printed, so that the print routines run, to /dev/null, and the
// signal guard stays off, since it would turn a crash into an error code and
// hide it from the sanitizers.
#pragma once

#include <cstdint>
#include <cstdio>

#include "orvls.h"

inline FILE* null_stream()
{
    static FILE* stream = std::fopen("/dev/null", "w");
    return stream;
}

inline void quiet_library()
{
    static const bool once = [] {
        orvls_skip_signal_handler();
        return true;
    }();
    (void)once;
    int64_t print = 1;
    int64_t stop = 0;
    orvls_e1pos(0, &print, &stop);
    orvls_error_options(ORVLS_ERROR_PRINT_PROC, static_cast<orvls_print_routine>(nullptr), ORVLS_PRINT_MODE,
                        int64_t{ORVLS_PRINT_MODE_STREAM}, ORVLS_SET_TRACEBACK, ORVLS_FATAL, 1, 0);
    orvls_output_file(ORVLS_ERROR_FILE, null_stream(), ORVLS_OUTPUT_FILE, null_stream(), 0);
}
