// Fuzz target: the reader of unit expressions.  The bytes are a unit text
// (cut at its first zero byte), asked of a constant chosen by the first
// byte, in both precisions, and read back as the constant's own unit.
#include <cstdint>
#include <string>

#include "orvls.h"
#include "quiet_library.h"

namespace {

const char* const kConstants[] = {"PI", "C", "GAS", "GRAVITY", "STEFANBOLTZMANN", "PLANCK", "RYDBERG",
                                  "WATERTRIPLE", "ATM", "AMU", "no such constant"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    quiet_library();
    if (size == 0)
        return 0;
    const char* name = kConstants[data[0] % (sizeof kConstants / sizeof kConstants[0])];
    const std::string unit(reinterpret_cast<const char*>(data + 1), size - 1);
    volatile double value = orvls_d_constant(name, ORVLS_UNIT, unit.c_str(), 0);
    value = orvls_f_constant(name, ORVLS_UNIT, unit.c_str(), 0);
    (void)value;
    return 0;
}
