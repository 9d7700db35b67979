#include "Fuzz/allocation_meter.h"

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MEDIAKIT_SANITIZED_HEAP
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MEDIAKIT_SANITIZED_HEAP
#endif

namespace {

std::atomic<std::size_t> s_held{0};
std::atomic<std::size_t> s_peak{0};

void taken(std::size_t size) {
    const std::size_t now = s_held.fetch_add(size, std::memory_order_relaxed) + size;
    std::size_t peak = s_peak.load(std::memory_order_relaxed);
    while (now > peak && !s_peak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
    }
}

void given_back(std::size_t size) { s_held.fetch_sub(size, std::memory_order_relaxed); }

}  // namespace

namespace mediakit_fuzz {

allocation_meter::allocation_meter() : m_before(s_held.load()) { s_peak = m_before; }

std::size_t allocation_meter::peak() const { return s_peak.load() - m_before; }

}  // namespace mediakit_fuzz

#ifdef MEDIAKIT_SANITIZED_HEAP

// Of the sanitizers' allocator interface, whose header not every compiler comes with.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, std::size_t),
                                                         void (*)(const volatile void*));
extern "C" std::size_t __sanitizer_get_allocated_size(const volatile void*);

namespace {

void on_malloc(const volatile void*, std::size_t size) { taken(size); }
// What was taken before the hooks were in place is never in the count: wrapping keeps differences right.
void on_free(const volatile void* memory) {
    if (memory != nullptr) given_back(__sanitizer_get_allocated_size(memory));
}

const int s_installed = __sanitizer_install_malloc_and_free_hooks(on_malloc, on_free);

}  // namespace

#else

namespace {

/// In front of each block stands its size; as much as keeps the block aligned for anything.
constexpr std::size_t kFront = alignof(std::max_align_t);

void* allocate(std::size_t size, std::size_t alignment) noexcept {
    const std::size_t front = alignment > kFront ? alignment : kFront;
    const std::size_t whole = (size + front + front - 1) / front * front;
    if (whole < size) return nullptr;
    auto* const block = static_cast<char*>(front == kFront ? std::malloc(whole) : std::aligned_alloc(front, whole));
    if (block == nullptr) return nullptr;
    *reinterpret_cast<std::size_t*>(block + front - kFront) = size;
    taken(size);
    return block + front;
}

void release(void* memory, std::size_t alignment) noexcept {
    if (memory == nullptr) return;
    const std::size_t front = alignment > kFront ? alignment : kFront;
    given_back(*reinterpret_cast<std::size_t*>(static_cast<char*>(memory) - kFront));
    std::free(static_cast<char*>(memory) - front);
}

void* allocate_or_throw(std::size_t size, std::size_t alignment) {
    if (void* const memory = allocate(size, alignment)) return memory;
    throw std::bad_alloc();
}

}  // namespace

// Each form is here that memory may come from, however the standard library makes one of another.
void* operator new(std::size_t size) { return allocate_or_throw(size, kFront); }
void* operator new[](std::size_t size) { return allocate_or_throw(size, kFront); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, kFront); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, kFront); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate_or_throw(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { release(memory, kFront); }
void operator delete[](void* memory) noexcept { release(memory, kFront); }
void operator delete(void* memory, std::size_t) noexcept { release(memory, kFront); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory, kFront); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory, kFront); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { release(memory, kFront); }
void operator delete(void* memory, std::align_val_t alignment) noexcept {
    release(memory, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory, std::size_t, std::align_val_t alignment) noexcept {
    release(memory, static_cast<std::size_t>(alignment));
}

#endif
