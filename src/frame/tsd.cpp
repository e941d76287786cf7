// Thread-keyed storage.  One pthread key reaches a per-thread value table
// (slot 0 holds the table's size, slot k the value of key k).  A registry of
// (thread, key, value) lets the library run destructors at unload for threads
// that never reported their end.
#include "frame/tsd.h"

#include <cstring>
#include <sys/types.h>
#include <unistd.h>

namespace orvls {

int load_result = 0;
pthread_mutex_t tsd_value_lock;
pthread_mutex_t tsd_registry_lock;
pthread_mutex_t once_lock;
pthread_mutex_t output_lock;

namespace {

struct RegistryEntry {
    uint32_t thread_id;  // 0 marks a free entry
    uint32_t key;
    uint64_t value;
};

pthread_key_t tsd_index;
bool tsd_index_made = false;

uint64_t tsd_next_key = 1;  // key 0 is never handed out
uint64_t tsd_capacity = 64;
TsdDestructor* tsd_destructors = nullptr;

RegistryEntry* tsd_registry = nullptr;
uint64_t tsd_registry_size = 256;
uint64_t tsd_registry_count = 0;

uint32_t this_thread_id() { return static_cast<uint32_t>(gettid()); }

uint64_t* thread_table() { return static_cast<uint64_t*>(pthread_getspecific(tsd_index)); }

TsdDestructor destructor_of(uint64_t key)
{
    LockGuard hold(&tsd_value_lock);
    return key < tsd_capacity ? tsd_destructors[key] : nullptr;
}

// Thread end: destroy this thread's values, free its table, forget it.
void thread_end(void* table_pointer)
{
    auto* table = static_cast<uint64_t*>(table_pointer);
    const uint32_t me = this_thread_id();
    LockGuard hold(&tsd_registry_lock);
    for (uint64_t key = 1; key < table[0]; ++key)
        if (TsdDestructor destroy = destructor_of(key))
            destroy(reinterpret_cast<void*>(table[key]));
    std::free(table);
    for (uint64_t i = 0; i < tsd_registry_count; ++i)
        if (tsd_registry[i].thread_id == me)
            tsd_registry[i].thread_id = 0;
}

void init_lock(pthread_mutex_t* lock, bool recursive)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    if (recursive)
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(lock, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void destroy_locks()
{
    pthread_mutex_destroy(&tsd_value_lock);
    pthread_mutex_destroy(&tsd_registry_lock);
    pthread_mutex_destroy(&once_lock);
    pthread_mutex_destroy(&output_lock);
}

__attribute__((constructor)) void library_load()
{
    if (pthread_key_create(&tsd_index, thread_end) != 0) {
        load_result = 11;
        return;
    }
    tsd_index_made = true;
    init_lock(&tsd_value_lock, false);
    init_lock(&tsd_registry_lock, false);
    init_lock(&once_lock, true);
    init_lock(&output_lock, true);
    tsd_registry_count = 0;
    tsd_registry = static_cast<RegistryEntry*>(std::calloc(tsd_registry_size, sizeof(RegistryEntry)));
    tsd_destructors = static_cast<TsdDestructor*>(std::calloc(tsd_capacity, sizeof(TsdDestructor)));
    if (tsd_registry == nullptr || tsd_destructors == nullptr) {
        std::free(tsd_registry);
        std::free(tsd_destructors);
        tsd_registry = nullptr;
        tsd_destructors = nullptr;
        destroy_locks();
        load_result = 12;
    }
}

// Unload: run the destructors of every value still registered, for threads
// that never ended through the key's destructor (the unloading one among them).
__attribute__((destructor)) void library_unload()
{
    if (load_result != 0)
        return;
    {
        LockGuard hold(&tsd_registry_lock);
        for (uint64_t i = 0; i < tsd_registry_count; ++i) {
            const RegistryEntry entry = tsd_registry[i];
            if (entry.thread_id == 0)
                continue;
            tsd_registry[i].thread_id = 0;
            if (TsdDestructor destroy = destructor_of(entry.key))
                destroy(reinterpret_cast<void*>(entry.value));
        }
    }
    if (uint64_t* table = thread_table()) {
        pthread_setspecific(tsd_index, nullptr);
        std::free(table);
    }
    if (tsd_index_made)
        pthread_key_delete(tsd_index);
    std::free(tsd_registry);
    std::free(tsd_destructors);
    tsd_registry = nullptr;
    tsd_destructors = nullptr;
    destroy_locks();
}

// Records (this thread, key) -> value; returns 12 when the registry is full
// and cannot grow.
int register_value(TsdKey key, void* value)
{
    const uint32_t me = this_thread_id();
    const auto stored = reinterpret_cast<uint64_t>(value);
    LockGuard hold(&tsd_registry_lock);
    RegistryEntry* free_entry = nullptr;
    for (uint64_t i = 0; i < tsd_registry_count; ++i) {
        RegistryEntry& entry = tsd_registry[i];
        if (entry.thread_id == me && entry.key == key) {
            entry.value = stored;
            return 0;
        }
        if (entry.thread_id == 0 && free_entry == nullptr)
            free_entry = &entry;
    }
    if (free_entry == nullptr) {
        if (tsd_registry_count == tsd_registry_size) {
            auto* grown = static_cast<RegistryEntry*>(orvls_calloc(2 * tsd_registry_size, sizeof(RegistryEntry)));
            if (grown == nullptr)
                return 12;
            std::memcpy(grown, tsd_registry, tsd_registry_size * sizeof(RegistryEntry));
            std::free(tsd_registry);
            tsd_registry = grown;
            tsd_registry_size *= 2;
        }
        free_entry = &tsd_registry[tsd_registry_count++];
    }
    *free_entry = {me, static_cast<uint32_t>(key), stored};
    return 0;
}

}  // namespace

void simulate_load_failure(int status) { load_result = status; }

void make_lock(pthread_mutex_t* lock, bool recursive) { init_lock(lock, recursive); }

void orvls_once(OnceFlag* flag, void (*initialiser)())
{
    if (flag->load(std::memory_order_acquire) != 0)
        return;
    LockGuard hold(&once_lock);
    if (flag->load(std::memory_order_relaxed) == 0) {
        initialiser();
        flag->store(1, std::memory_order_release);
    }
}

int orvls_tsd_key_create(TsdKey* key_out, TsdDestructor destructor)
{
    if (tsd_destructors == nullptr)
        return 12;  // the load failed
    LockGuard hold(&tsd_value_lock);
    if (tsd_next_key == tsd_capacity) {
        auto* grown = static_cast<TsdDestructor*>(orvls_calloc(2 * tsd_capacity, sizeof(TsdDestructor)));
        if (grown == nullptr)
            return 12;
        std::memcpy(grown, tsd_destructors, tsd_capacity * sizeof(TsdDestructor));
        std::free(tsd_destructors);
        tsd_destructors = grown;
        tsd_capacity *= 2;
    }
    *key_out = tsd_next_key;
    tsd_destructors[tsd_next_key] = destructor;
    ++tsd_next_key;
    return 0;
}

int orvls_tsd_set(TsdKey key, void* value)
{
    if (tsd_registry == nullptr)
        return 12;  // the load failed
    const int registered = register_value(key, value);
    LockGuard hold(&tsd_value_lock);
    uint64_t* table = thread_table();
    if (table == nullptr || key >= table[0]) {
        uint64_t size = table == nullptr ? tsd_capacity : table[0];
        while (key >= size)
            size *= 2;
        auto* grown = static_cast<uint64_t*>(orvls_calloc(size, sizeof(uint64_t)));
        if (grown == nullptr)
            return 12;
        if (table != nullptr) {
            std::memcpy(grown, table, table[0] * sizeof(uint64_t));
            std::free(table);
        }
        grown[0] = size;
        table = grown;
        pthread_setspecific(tsd_index, table);
    }
    table[key] = reinterpret_cast<uint64_t>(value);
    return registered;
}

void* orvls_tsd_get(TsdKey key)
{
    if (!tsd_index_made)
        return nullptr;
    const uint64_t* table = thread_table();
    if (table == nullptr || key >= table[0])
        return nullptr;
    return reinterpret_cast<void*>(table[key]);
}

void orvls_output_lock(void*) { pthread_mutex_lock(&output_lock); }
void orvls_output_unlock(void*) { pthread_mutex_unlock(&output_lock); }

}  // namespace orvls
