// A vector that grows by whole blocks: no copy when it grows, no spare room beyond one block.
#pragma once

#include <bit>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// For tables that grow by one entry a sample for hours: a std::vector would hold up to twice what is
/// needed and copy everything at each doubling, in the middle of a delivery. Not thread-safe.
template <class T>
class SegmentedVector {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    /// About 64 KiB, a power of two in entries.
    static constexpr std::size_t block_entries = std::bit_floor(std::size_t{65536} / sizeof(T));

    std::size_t size() const noexcept { return m_size; }
    bool empty() const noexcept { return m_size == 0; }

    T& operator[](std::size_t i) noexcept { return m_blocks[i / block_entries][i % block_entries]; }
    const T& operator[](std::size_t i) const noexcept { return m_blocks[i / block_entries][i % block_entries]; }
    T& back() noexcept { return (*this)[m_size - 1]; }
    const T& back() const noexcept { return (*this)[m_size - 1]; }
    const T& front() const noexcept { return (*this)[0]; }

    void push_back(const T& value) {
        if (m_size == m_blocks.size() * block_entries)
            m_blocks.push_back(std::make_unique_for_overwrite<T[]>(block_entries));
        ++m_size;
        back() = value;
    }

    /// Gives the memory back.
    void clear() noexcept {
        m_blocks = std::vector<std::unique_ptr<T[]>>();
        m_size = 0;
    }

private:
    std::vector<std::unique_ptr<T[]>> m_blocks;
    std::size_t m_size = 0;
};

}  // namespace Norvane::MediaKit::Filters
