// Allocations that fail when a test asks for it.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace mediakit_test {

/// While it lives, the n-th allocation of this thread (1: the next) finds no memory, once. One source of the test
/// program includes failing_new_operators.h.
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
