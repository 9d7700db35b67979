// Reading within nested chunks: what the box parser and the descriptor parser have in common.
#pragma once

#include "VideoIO/StreamFilters/Container/byte_order.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <limits>
#include <vector>

namespace vio::details {

/// What a parser is made from. The stream is looked at and must outlive the parser.
struct parse_context {
    parse_context(byte_stream& from, std::vector<std::uint64_t> chunks = {})
        : chunk_stack(std::move(chunks)), stream(&from) {}

    std::vector<std::uint64_t> chunk_stack;
    byte_stream* stream;
};

/// Bytes may be read only while the innermost chunk has that many left; what is read is taken from
/// it. Every size that a file claims goes through this rule before anything is allocated for it.
///
/// Small reads are gathered: the stream may stand up to look_ahead_size bytes in front of what has
/// been read, never beyond the innermost chunk, until settle() or restart(). What fails changes
/// neither the position nor the chunks.
class chunk_reader {
public:
    explicit chunk_reader(parse_context context)
        : chunk_stack(std::move(context.chunk_stack)), stream(context.stream) {}

    /// The bytes left in each chunk being read, the innermost last.
    std::vector<std::uint64_t> chunk_stack;
    byte_stream* stream;

    parse_context context() const { return {*stream, chunk_stack}; }

    /// Where reading goes on.
    std::uint64_t position() const { return stream->tell() - (ahead_.size() - ahead_used_); }

    /// Bytes left in the innermost chunk; 0 outside any.
    std::uint64_t left() const { return chunk_stack.empty() ? 0 : chunk_stack.back(); }

    /// Whether count bytes may be read: the chunk has them and, where it matters, so has the stream.
    bool fits(std::uint64_t count);
    bool read(void* buffer, std::uint64_t count);
    /// The same without looking ahead, for what may stand in front of sample data.
    bool read_exactly(void* buffer, std::uint64_t count);
    bool skip(std::uint64_t count);

    template <std::integral Number>
    bool read_number(Number& value) {
        std::make_unsigned_t<Number> raw;
        if (!read(&raw, sizeof raw)) return false;
        value = static_cast<Number>(big_endian(raw));
        return true;
    }
    /// Fills the vector's present length.
    template <class Element>
    bool read_vector(std::vector<Element>& elements) {
        if (!read(elements.data(), elements.size() * sizeof(Element))) return false;
        swap_words<Element>(elements.data(), elements.size());
        return true;
    }
    /// Gives the vector count elements, if they are there.
    template <class Element>
    bool read_vector(std::vector<Element>& elements, std::uint64_t count) {
        if (count > std::numeric_limits<std::uint64_t>::max() / sizeof(Element)) return false;
        if (!fits(count * sizeof(Element))) return false;
        elements.resize(count);
        return read_vector(elements);
    }

    /// Opens a chunk inside the innermost one; throws core::exception when that has less left.
    void push_chunk(std::uint64_t size);
    /// Skips what is left of the chunks from `depth` on and closes them.
    bool close_chunks(std::size_t depth);
    /// Empties the stack and goes to a position; false when the stream is shorter.
    bool restart(std::uint64_t position);
    /// Takes the stream to where reading goes on, for others to read from there.
    void settle();

private:
    bool from_stream(void* buffer, std::uint64_t count);
    /// Reads ahead as far as the chunk allows; count bytes are taken from it already.
    bool look_ahead(std::uint64_t taken);
    /// After a failure: false.
    bool back_to(std::uint64_t start);

    std::vector<std::uint8_t> ahead_;
    std::size_t ahead_used_ = 0;
};

}  // namespace vio::details

namespace vio {
using details::parse_context;
}  // namespace vio
