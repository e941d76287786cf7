#include "frame/memory.h"

#include <atomic>

namespace {

std::atomic<int64_t> allocations{0};
std::atomic<int64_t> fail_at{0};  // allocation number that fails; 0 none

bool injected_failure()
{
    const int64_t number = allocations.fetch_add(1, std::memory_order_relaxed) + 1;
    int64_t target = fail_at.load(std::memory_order_relaxed);
    return target != 0 && number == target &&
           fail_at.compare_exchange_strong(target, 0, std::memory_order_relaxed);
}

}  // namespace

namespace orvls {

void* orvls_malloc(std::size_t bytes) { return injected_failure() ? nullptr : std::malloc(bytes); }

void* orvls_calloc(std::size_t count, std::size_t size)
{
    return injected_failure() ? nullptr : std::calloc(count, size);
}

void* orvls_realloc(void* pointer, std::size_t bytes)
{
    return injected_failure() ? nullptr : std::realloc(pointer, bytes);
}

}  // namespace orvls

extern "C" void orvls_testing_fail_allocation(int64_t n)
{
    fail_at.store(n <= 0 ? 0 : allocations.load(std::memory_order_relaxed) + n, std::memory_order_relaxed);
}

extern "C" int64_t orvls_testing_allocation_count(void) { return allocations.load(std::memory_order_relaxed); }
