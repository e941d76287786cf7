// The machine tables, for the library's own use: no range check, no report.
#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

namespace orvls {

// Smallest normal, largest finite, 2^-digits, 2^(1-digits), log10(2), NaN,
// +infinity, -infinity.  The double log10(2) repeats its high word in its low
// word; callers have always had that value, so it stays.
inline constexpr uint32_t kFloatBits[8] = {0x00800000, 0x7F7FFFFF, 0x33800000, 0x34000000,
                                           0x3E9A209B, 0x7FFFFFFF, 0x7F800000, 0xFF800000};
inline constexpr uint64_t kDoubleBits[8] = {0x0010000000000000, 0x7FEFFFFFFFFFFFFF, 0x3CA0000000000000,
                                            0x3CB0000000000000, 0x3FD344133FD34413, 0x7FFFFFFFFFFFFFFF,
                                            0x7FF0000000000000, 0xFFF0000000000000};
// 8, integer base, digits and largest value of a short and of an int,
// floating-point base, digits and exponent range of a float and of a double.
inline constexpr int64_t kIntegerTable[13] = {8, 2, 15, 32767, 31, 2147483647, 2, 24, -125, 128, 53, -1021, 1024};

// Floating-point table (n = 1..8) for float and double; integer table
// (n = 0..12) for int64_t.
template <class Value>
Value machine_table(int64_t n)
{
    if constexpr (std::is_same_v<Value, float>)
        return std::bit_cast<float>(kFloatBits[n - 1]);
    else if constexpr (std::is_same_v<Value, double>)
        return std::bit_cast<double>(kDoubleBits[n - 1]);
    else
        return kIntegerTable[n];
}

// The NaN that marks missing and undefined values.
template <class Real>
Real missing_value()
{
    return machine_table<Real>(6);
}

}  // namespace orvls
