// The global allocation functions, with failures that a test asks for. For one source of a test program alone.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace mediakit_test {

/// While it lives, the n-th allocation of this thread (1: the next) finds no memory, once.
class failing_new {
public:
    explicit failing_new(int n) { s_left = n; }
    ~failing_new() { s_left = 0; }
    failing_new(const failing_new&) = delete;
    failing_new& operator=(const failing_new&) = delete;

    /// The allocation was asked for, and failed.
    bool happened() const { return s_left == 0; }

    static void* allocate(std::size_t size) noexcept {
        return s_left > 0 && --s_left == 0 ? nullptr : std::malloc(size != 0 ? size : 1);
    }

private:
    inline static thread_local int s_left = 0;
};

}  // namespace mediakit_test

// Each form is here that a sanitizer would else pair with its own. Not inlined: the compiler would find `new` and `free`
// paired.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* const memory = mediakit_test::failing_new::allocate(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return mediakit_test::failing_new::allocate(size);
}
[[gnu::noinline]] void* operator new[](std::size_t size) { return operator new(size); }
[[gnu::noinline]] void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
