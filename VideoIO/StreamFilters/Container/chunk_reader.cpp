#include "VideoIO/StreamFilters/Container/chunk_reader.h"

#include <numeric>
#include <string>

#include "VideoIO/StreamFilters/Container/exception.h"

namespace vio::details {
namespace {

/// Reads of up to this size are not held against the stream's length: the read itself will tell, and
/// the question may cost more than the read.
constexpr std::uint64_t trusted_size = 1 << 16;

/// Visits recurse with the chunks. Real files stay below 10.
constexpr std::size_t deepest_nesting = 64;

}  // namespace

bool chunk_reader::fits(std::uint64_t count) {
    if (count > left()) return false;
    if (count <= trusted_size) return true;
    const std::uint64_t size = stream->size();
    const std::uint64_t position = stream->tell();
    return position <= size && count <= size - position;
}

bool chunk_reader::read(void* buffer, std::uint64_t count) {
    if (count == 0) return true;
    if (count > std::numeric_limits<std::uint32_t>::max() || count > left()) return false;
    if (!stream->read(buffer, static_cast<std::uint32_t>(count))) return false;
    chunk_stack.back() -= count;
    return true;
}

bool chunk_reader::skip(std::uint64_t count) {
    if (count == 0) return true;
    if (count > left() || count > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return false;
    if (!stream->skip(static_cast<std::int64_t>(count))) return false;
    chunk_stack.back() -= count;
    return true;
}

void chunk_reader::push_chunk(std::uint64_t size) {
    if (chunk_stack.size() >= deepest_nesting)
        throw core::exception(core::last_error_hresult(), "Chunks are nested too deeply");
    if (!chunk_stack.empty()) {
        if (chunk_stack.back() < size)
            throw core::exception(core::last_error_hresult(), "Attempting to read past current chunk " +
                                                                  std::to_string(chunk_stack.back()) + " < " +
                                                                  std::to_string(size));
        chunk_stack.back() -= size;
    }
    chunk_stack.push_back(size);
}

bool chunk_reader::close_chunks(std::size_t depth) {
    const auto first = chunk_stack.begin() + static_cast<std::ptrdiff_t>(depth);
    // A visit may leave chunks of its own open: together they hold what is left of the outermost.
    *first = std::accumulate(first, chunk_stack.end(), std::uint64_t{0});
    chunk_stack.resize(depth + 1);
    const bool skipped = skip(chunk_stack.back());
    chunk_stack.pop_back();
    return skipped;
}

bool chunk_reader::restart(std::uint64_t position) {
    chunk_stack.clear();
    return position <= stream->size() && stream->seek(position);
}

}  // namespace vio::details
