// Message templates and symbolic names of error codes, read from the
// message file on demand.
#pragma once

#include <cstdint>

namespace orvls {

// The template of a code, or "Error code <n>." when it cannot be had.
const char* orvls_message_text(int64_t code);
// The symbolic name of a code, or its number as text.
const char* orvls_code_name(int64_t code);

// Test-only: closes the message file and forgets its index and the calling
// thread's record, so that the next lookup searches for the file and reads
// it anew.  No other thread may look a message up meanwhile.
void forget_message_file();

}  // namespace orvls
