// The thread's standard streams: input, output and error.
#include <cstdio>

#include "frame/error_block.h"
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
