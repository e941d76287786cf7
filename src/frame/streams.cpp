// The thread's standard streams: input, output and error.
#include <cstdarg>
#include <cstdio>

#include "frame/envelope.h"
#include "frame/error_block.h"
#include "frame/options.h"
#include "frame/tsd.h"

namespace orvls {

namespace {

struct StreamBlock {
    FILE* stream[3];
    static void initialise(StreamBlock& block)
    {
        block.stream[0] = stdin;
        block.stream[1] = stdout;
        block.stream[2] = stderr;
    }
};

// Stores stream n through the option's pointer.
void get_stream(OptionReader& options, int64_t n)
{
    orvls_umach(n, options.pointer<FILE**>());
}

// Sets stream n from the option's value.
void set_stream(OptionReader& options, int64_t n)
{
    FILE* stream = options.pointer<FILE*>();
    orvls_umach(-n, &stream);
}

// The walk of orvls_output_file: its first code is a positional argument.
void output_file(int first_code, OptionReader& options)
{
    int code = first_code;
    bool more = first_code > 0;
    if (first_code < 0)
        options.unknown(first_code);
    while (more) {
        switch (code) {
        case ORVLS_GET_ERROR_FILE:
            get_stream(options, 3);
            break;
        case ORVLS_GET_OUTPUT_FILE:
            get_stream(options, 2);
            break;
        case ORVLS_ERROR_FILE:
            set_stream(options, 3);
            break;
        case ORVLS_OUTPUT_FILE:
            set_stream(options, 2);
            break;
        default:
            options.unknown(code);
        }
        more = options.next(code);
    }
}

}  // namespace

FILE* error_stream()
{
    StreamBlock* block = ThreadRecord<StreamBlock>::get();
    return block != nullptr ? block->stream[2] : stderr;
}

}  // namespace orvls

using namespace orvls;

extern "C" ORVLS_API void orvls_umach(int64_t n, FILE** stream)
{
    if (n == 0 || n < -3 || n > 3) {
        orvls_e1sti(1, n);
        orvls_ermes(5, 12010);
        return;
    }
    StreamBlock* block = ThreadRecord<StreamBlock>::get();
    if (block == nullptr) {
        orvls_ermes(5, 200);
        return;
    }
    if (n > 0)
        *stream = block->stream[n - 1];
    else
        block->stream[-n - 1] = *stream;
}

extern "C" ORVLS_API void orvls_output_file(int code, ...)
{
    va_list ap;
    va_start(ap, code);
    OptionReader options(ap, 1, UnknownCode::utility_stop);
    envelope("orvls_output_file", [&] { output_file(code, options); });
    va_end(ap);
}
