// Machine constants, NaN tests, the version query and the thread CPU clock.
#include "frame/machine.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <type_traits>

#include "frame/envelope.h"
#include "frame/memory.h"
#include "orvls.h"

namespace orvls {

namespace {

// The floating-point table behind the plain exports: out of range raises
// 12009 under the export's own name.
template <class Real>
Real checked_machine_real(int64_t n, const char* name)
{
    if (n >= 1 && n <= 8)
        return machine_table<Real>(n);
    orvls_e1psh(name);
    orvls_e1sti(1, n);
    orvls_ermes(5, 12009);
    orvls_e1pop(name);
    return 0;
}

template <class Value>
Value l_machine(int64_t n)
{
    constexpr int64_t low = std::is_integral_v<Value> ? 0 : 1;
    constexpr int64_t high = std::is_integral_v<Value> ? 12 : 8;
    if (n >= low && n <= high)
        return machine_table<Value>(n);
    orvls_e1psh("l_machine");
    orvls_e1sti(1, low);
    orvls_e1sti(2, high);
    orvls_e1sti(3, n);
    orvls_e1stl(1, "n");
    orvls_ermes(5, 132);
    orvls_e1pop("l_machine");
    return 0;
}

template <class Value>
Value machine(int64_t n, const char* name)
{
    return envelope<Value>(name, 0, [&] { return l_machine<Value>(n); });
}

template <class Real>
int64_t is_nan(Real x)
{
    return x != x;
}

template <class Real>
int64_t test_nan(Real x, const char* name)
{
    orvls_e1psh(name);
    const int64_t result = is_nan(x);
    orvls_e1pop(name);
    return result;
}

struct VersionSelector {
    int64_t selector;
    const char* variable;
    const char* prefix;
};

constexpr VersionSelector kVersionSelectors[] = {
    {ORVLS_COMPILER_VERSION, "KVL_COMPILER_VERSION", ""},
    {ORVLS_LIBRARY_VERSION, "KVL_VERSION", "ORVL Statkit Version "},
    {ORVLS_LICENSE_NUMBER, "KVL_LICENSE_NUMBER", ""},
    {ORVLS_OS_VERSION, "KVL_OS_VERSION", ""},
};

// Longest value taken from an environment variable.
constexpr std::size_t kVersionLength = 260;

const VersionSelector* find_version_selector(int64_t selector)
{
    for (const VersionSelector& entry : kVersionSelectors)
        if (entry.selector == selector)
            return &entry;
    return nullptr;
}

char* l_version(int64_t selector)
{
    const VersionSelector* entry = find_version_selector(selector);
    if (entry == nullptr) {
        orvls_e1psh("l_version");
        orvls_e1sti(1, selector);
        orvls_e1sti(2, 1);
        orvls_ermes(5, 103);
        orvls_e1pop("l_version");
        return nullptr;
    }
    char value[kVersionLength + 1] = {};
    if (const char* text = std::getenv(entry->variable))
        std::memcpy(value, text, std::min(std::strlen(text), kVersionLength));
    const std::size_t prefix_length = std::strlen(entry->prefix);
    const std::size_t value_length = std::strlen(value);
    char* result = allocate<char>(prefix_length + value_length + 1);
    if (result == nullptr) {
        orvls_ermes(5, 200);
        return nullptr;
    }
    std::memcpy(result, entry->prefix, prefix_length);
    std::memcpy(result + prefix_length, value, value_length + 1);
    return result;
}

}  // namespace

}  // namespace orvls

using namespace orvls;

extern "C" {

ORVLS_API float orvls_amach(int64_t n) { return checked_machine_real<float>(n, "orvls_amach"); }
ORVLS_API double orvls_dmach(int64_t n) { return checked_machine_real<double>(n, "orvls_dmach"); }

ORVLS_API float orvls_f_machine(int64_t n) { return machine<float>(n, "orvls_f_machine"); }
ORVLS_API double orvls_d_machine(int64_t n) { return machine<double>(n, "orvls_d_machine"); }
ORVLS_API int64_t orvls_i_machine(int64_t n) { return machine<int64_t>(n, "orvls_i_machine"); }

ORVLS_API int64_t orvls_ifnan(float x) { return is_nan(x); }
ORVLS_API int64_t orvls_difnan(double x) { return is_nan(x); }
ORVLS_API int64_t orvls_f_test_nan(float x) { return test_nan(x, "orvls_f_test_nan"); }
ORVLS_API int64_t orvls_d_test_nan(double x) { return test_nan(x, "orvls_d_test_nan"); }

ORVLS_API char* orvls_version(int64_t selector)
{
    return envelope<char*>("orvls_version", nullptr, [&] { return l_version(selector); });
}

ORVLS_API double orvls_ctime(void)
{
    orvls_e1psh("orvls_ctime");
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    orvls_e1pop("orvls_ctime");
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

}  // extern "C"
