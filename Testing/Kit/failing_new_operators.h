// The global allocation functions as failing_new wants them. For one source of a test program alone: programs that do
// not need them keep those of the standard library, which sanitizers watch more closely.
#pragma once

#include "Testing/Kit/failing_new.h"

#include <new>

// Each form is here that a sanitizer would else pair with its own. Not inlined: the compiler would find `new` and
// `free` paired.
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
