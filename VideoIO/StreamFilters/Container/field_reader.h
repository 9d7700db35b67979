// Takes the fields of a box from the chunk being read: the reading side of the field lists. What is
// missing throws core::exception.
#pragma once

#include "VideoIO/StreamFilters/Container/chunk_reader.h"
#include "VideoIO/StreamFilters/Container/exception.h"

#include <span>
#include <string>

namespace vio::mp4 {

class field_reader {
public:
    explicit field_reader(details::chunk_reader& chunks) : chunks_(chunks) {}

    template <std::integral... Numbers>
    void operator()(Numbers&... values) {
        (require(chunks_.read_number(values)), ...);
    }
    /// A number that stands in the file as a narrower one.
    template <std::integral Narrow, std::integral Wide>
    void as(Wide& value) {
        Narrow narrow{};
        (*this)(narrow);
        value = static_cast<Wide>(narrow);
    }
    void zeros(std::uint64_t count) { require(chunks_.skip(count)); }

    void require(bool condition) { core::require(condition); }
    void unchecked() {}

    void time(std::uint8_t version, std::uint64_t& value) {
        if (version == 1)
            (*this)(value);
        else
            as<std::uint32_t>(value);
    }

    /// Fills the vector's present length.
    template <class Element>
    void table(std::vector<Element>& elements) {
        require(chunks_.read_vector(elements));
    }
    template <class Element>
    void sized(std::uint64_t count, std::vector<Element>& elements) {
        require(chunks_.read_vector(elements, count));
    }
    template <class Element>
    void counted(std::vector<Element>& elements) {
        std::uint32_t count = 0;
        (*this)(count);
        sized(count, elements);
    }
    template <class Element>
    void counted_unchecked(std::vector<Element>& elements) {
        counted(elements);
    }
    /// All that is left of the chunk.
    void rest(std::vector<std::uint8_t>& bytes) { sized(chunks_.left(), bytes); }
    /// UTF-8 in all that is left of the chunk, up to its first zero byte. What is not UTF-8 is taken as Latin-1: names
    /// in older encodings are common, and nothing depends on them.
    void terminated_text(std::wstring& text);

    void rows(std::uint32_t count, std::span<std::vector<std::uint32_t>* const> columns);

private:
    details::chunk_reader& chunks_;
};

}  // namespace vio::mp4
