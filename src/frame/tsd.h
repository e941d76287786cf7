// Thread-keyed storage, the library's locks and one-time initialisation.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <pthread.h>

#include "frame/memory.h"

namespace orvls {

using TsdKey = uint64_t;
using TsdDestructor = void (*)(void*);

// A once flag is 0 until its initialiser has run.
using OnceFlag = std::atomic<int32_t>;

// Locks created at load; the first two guard the keyed tables, the last two
// are recursive (an initialiser may start another, a print may nest).
extern pthread_mutex_t tsd_value_lock;
extern pthread_mutex_t tsd_registry_lock;
extern pthread_mutex_t once_lock;
extern pthread_mutex_t output_lock;

// 0 when the load succeeded, else 11 (no thread-local index) or 12 (memory).
// A failed load does not fail the program: public routines refuse instead.
extern int load_result;
inline int load_status() { return load_result; }
// Test-only: makes the frame behave as after a failed load.
void simulate_load_failure(int status);

void orvls_once(OnceFlag* flag, void (*initialiser)());
int orvls_tsd_key_create(TsdKey* key_out, TsdDestructor destructor);
int orvls_tsd_set(TsdKey key, void* value);
void* orvls_tsd_get(TsdKey key);

void orvls_output_lock(void* stream);
void orvls_output_unlock(void* stream);

// Makes a lock on first use; called from a once initialiser.
void make_lock(pthread_mutex_t* lock, bool recursive);

// RAII holder of a lock for one scope.
class LockGuard {
public:
    explicit LockGuard(pthread_mutex_t* lock) : lock_(lock) { pthread_mutex_lock(lock_); }
    ~LockGuard() { pthread_mutex_unlock(lock_); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

private:
    pthread_mutex_t* lock_;
};

// A per-thread record of type T, zeroed on first use, stored under its key
// and then given its defaults by T::initialise; freed at thread end by T::destroy when T has one, else
// by free (never called with null).  Each record type owns one key made under its own once flag.
// Returns null when the key or the record cannot be made; callers report
// that as type 5, code 200.
template <class T>
class ThreadRecord {
public:
    static T* get()
    {
        if (T* record = cached_)
            return record;
        orvls_once(&flag_, make_key);
        const TsdKey key = key_.load(std::memory_order_relaxed);
        if (key == 0)
            return nullptr;
        if (void* value = orvls_tsd_get(key))
            return cached_ = static_cast<T*>(value);
        return cached_ = create(key);
    }

    // The record if this thread has one; never allocates.  The key may be
    // made meanwhile on another thread, hence the atomic read.
    static T* peek()
    {
        if (T* record = cached_)
            return record;
        const TsdKey key = key_.load(std::memory_order_acquire);
        return key == 0 ? nullptr : cached_ = static_cast<T*>(orvls_tsd_get(key));
    }

private:
    static inline OnceFlag flag_{0};
    static inline std::atomic<TsdKey> key_{0};
    // The thread's record in front of the keyed table, which stays the
    // owner: the record's destructor forgets it.
    static inline constinit thread_local T* cached_ __attribute__((tls_model("initial-exec"))) = nullptr;

    // The thread-end path hands every key's destructor its slot, also one
    // this thread never filled: an empty slot has nothing to free.
    static void destroy(void* value)
    {
        if (value == cached_)
            cached_ = nullptr;
        if (value == nullptr)
            return;
        if constexpr (requires { T::destroy(value); })
            T::destroy(value);
        else
            std::free(value);
    }

    static void make_key()
    {
        TsdKey key = 0;
        if (orvls_tsd_key_create(&key, destroy) == 0)
            key_.store(key, std::memory_order_release);
    }

    static T* create(TsdKey key)
    {
        T* record = static_cast<T*>(orvls_calloc(1, sizeof(T)));
        if (record == nullptr)
            return nullptr;
        orvls_tsd_set(key, record);
        if constexpr (requires(T& r) { T::initialise(r); })
            T::initialise(*record);
        return record;
    }
};

}  // namespace orvls
