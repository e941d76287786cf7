// Allocation for the library: the allocator behind malloc, so that a caller
// can free results with free, plus a test-only way to make the N-th
// allocation fail so that every out-of-memory path can be exercised.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace orvls {

void* orvls_malloc(std::size_t bytes);
void* orvls_calloc(std::size_t count, std::size_t size);
void* orvls_realloc(void* pointer, std::size_t bytes);

// Typed allocation of n elements; null on failure or on a size that overflows.
template <class T>
T* allocate(std::size_t n)
{
    if (n > SIZE_MAX / sizeof(T))
        return nullptr;
    return static_cast<T*>(orvls_malloc(n * sizeof(T) + (n == 0)));
}

// A work array that is freed on every path out of the scope that owns it.
// release() hands the memory on, for a result that reaches the caller.
template <class T>
class WorkArray {
public:
    WorkArray() = default;
    explicit WorkArray(std::size_t n) : data_(allocate<T>(n)) {}
    ~WorkArray() { std::free(data_); }
    WorkArray(const WorkArray&) = delete;
    WorkArray& operator=(const WorkArray&) = delete;

    // Frees what it holds and allocates n elements afresh; false on failure.
    bool reset(std::size_t n)
    {
        std::free(data_);
        data_ = allocate<T>(n);
        return data_ != nullptr;
    }
    bool ok() const { return data_ != nullptr; }
    T* get() const { return data_; }
    T& operator[](std::size_t i) const { return data_[i]; }
    T* release()
    {
        T* data = data_;
        data_ = nullptr;
        return data;
    }

private:
    T* data_ = nullptr;
};

}  // namespace orvls

// Test-only controls, exported so that test programs linked against the
// shared object can use them; they are not part of the public header.
extern "C" {
// The n-th library allocation from now on fails (n >= 1); 0 disarms.
__attribute__((visibility("default"))) void orvls_testing_fail_allocation(int64_t n);
// Library allocations made since the start of the process.
__attribute__((visibility("default"))) int64_t orvls_testing_allocation_count(void);
}
