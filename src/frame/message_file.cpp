#include "frame/message_file.h"

#include <cstdio>

#include "frame/error_block.h"

namespace orvls {

const char* orvls_message_text(int64_t code)
{
    ErrorBlock* block = orvls_error_block();
    std::snprintf(block->fallback_text, sizeof block->fallback_text, "Error code %ld.", static_cast<long>(code));
    return block->fallback_text;
}

const char* orvls_code_name(int64_t code)
{
    ErrorBlock* block = orvls_error_block();
    std::snprintf(block->code_name, sizeof block->code_name, "%ld", static_cast<long>(code));
    return block->code_name;
}

}  // namespace orvls
