// Tests that a host built elsewhere, which calls by slot, finds the operations of an interface.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace mediakit_test {

/// The slot that a pointer to a virtual function names. The C++ ABI of this system (Itanium) keeps the offset into the
/// table of functions in such a pointer: in the first word plus 1, or on ARM in the first word as it is.
template <class Operation>
std::size_t slot_of(Operation operation) {
    std::ptrdiff_t words[2];
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
#if defined(__aarch64__) || defined(__arm__)
    return static_cast<std::size_t>(words[0]) / sizeof(void*);
#else
    return static_cast<std::size_t>(words[0] - 1) / sizeof(void*);
#endif
}

template <class Interface, class Base, class... Operations>
void expect_slots(const char* name, std::size_t first, Operations... operations) {
    static_assert(std::is_base_of_v<Base, Interface>);
    // One table and nothing else: an object's address is that of its first base's.
    static_assert(sizeof(Interface) == sizeof(void*));
    for (const std::size_t slot : {slot_of(operations)...}) EXPECT_EQ(slot, first++) << name;
}

}  // namespace mediakit_test
