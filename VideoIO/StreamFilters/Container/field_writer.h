// Puts the fields of a box on a stream, big-endian: the writing side of the field lists.
#pragma once

#include "VideoIO/StreamFilters/Container/byte_order.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"
#include "VideoIO/StreamFilters/Container/exception.h"
#include "VideoIO/StreamFilters/Container/size_byte_stream.h"

#include <limits>
#include <span>
#include <string>
#include <vector>

namespace vio::mp4 {

class field_writer {
public:
    explicit field_writer(byte_stream& stream)
        : stream_(stream), sizing_(dynamic_cast<size_byte_stream*>(&stream) != nullptr) {}

    template <std::integral... Numbers>
    void operator()(Numbers... values) {
        (number(static_cast<std::make_unsigned_t<Numbers>>(values)), ...);
    }
    void bytes(const void* data, std::size_t size) { check(stream_.write(data, static_cast<std::uint32_t>(size))); }
    void zeros(std::uint32_t count) { check(stream_.write_zeros(count)); }

    void require(bool condition) { core::require(condition); }
    /// From here on a failed write goes unnoticed.
    void unchecked() { checked_ = false; }

    /// A time or duration that version 1 holds in 64 bits and version 0 in 32. The greatest 32-bit
    /// value is refused, since it means "unknown" in version 0.
    void time(std::uint8_t version, std::uint64_t value) {
        if (version == 1) return number(value);
        require(value < std::numeric_limits<std::uint32_t>::max());
        number(static_cast<std::uint32_t>(value));
    }

    /// A vector as it is, in one write. An empty one writes nothing.
    template <class Element>
    void table(const std::vector<Element>& elements) {
        check(write_table(elements));
    }
    template <class Element>
    void sized(std::uint32_t, const std::vector<Element>& elements) {
        table(elements);
    }
    void rest(const std::vector<std::uint8_t>& bytes) { table(bytes); }
    /// UTF-8 with a zero byte at its end.
    void terminated_text(const std::wstring& text);
    /// A 32-bit count in front of the vector.
    template <class Element>
    void counted(const std::vector<Element>& elements) {
        number(static_cast<std::uint32_t>(elements.size()));
        table(elements);
    }
    /// The same, with only the count's write checked.
    template <class Element>
    void counted_unchecked(const std::vector<Element>& elements) {
        number(static_cast<std::uint32_t>(elements.size()));
        write_table(elements);
    }

    /// Several vectors of `count` entries each, one row an entry.
    void rows(std::uint32_t count, std::span<const std::vector<std::uint32_t>* const> columns);

private:
    template <std::unsigned_integral T>
    void number(T value) {
        value = details::big_endian(value);
        check(stream_.write(&value, sizeof value));
    }

    template <class Element>
    bool write_table(const std::vector<Element>& elements) {
        if (elements.empty()) return true;
        const auto size = static_cast<std::uint32_t>(elements.size() * sizeof(Element));
        // The tables of a long recording are large: while sizing they are counted and not copied.
        if (sizing_) return stream_.write(nullptr, size);
        std::vector<Element> swapped(elements);
        details::swap_words<Element>(swapped.data(), swapped.size());
        return stream_.write(swapped.data(), size);
    }

    void check(bool written) {
        if (checked_) core::require(written);
    }

    byte_stream& stream_;
    const bool sizing_;
    bool checked_ = true;
};

}  // namespace vio::mp4
