// How much memory the code under test holds at its worst.
#pragma once

#include <cstddef>

namespace mediakit_fuzz {

/// Counts the heap from its making on, all threads together. For programs that link allocation_meter.cpp, which takes
/// the place of the global allocation functions; under a sanitizer it hooks into that one's allocator instead, so that
/// none of its findings is lost. One at a time.
class allocation_meter {
public:
    allocation_meter();
    /// The most bytes that were held at once beyond those held at the start.
    std::size_t peak() const;

private:
    const std::size_t m_before;
};

/// What a reader may hold for an input: 16 MiB and 64 bytes for each of the input's.
constexpr std::size_t memory_allowed(std::size_t input_size) { return (std::size_t{16} << 20) + 64 * input_size; }

}  // namespace mediakit_fuzz
