#include "VideoIO/StreamFilters/Container/chunk_reader.h"

#include "VideoIO/StreamFilters/Container/exception.h"

#include <algorithm>
#include <numeric>
#include <string>

namespace vio::details {
namespace {

/// Reads of up to this size are not held against the stream's length: the read itself will tell, and
/// the question may cost more than the read.
constexpr std::uint64_t trusted_size = 1 << 16;

/// Covers all of a small box, or all boxes of a small level, in one read.
constexpr std::uint64_t look_ahead_size = 1024;

/// Visits recurse with the chunks. Real files stay below 10.
constexpr std::size_t deepest_nesting = 64;

}  // namespace

bool chunk_reader::fits(std::uint64_t count) {
    if (count > left()) return false;
    if (count <= trusted_size) return true;
    const std::uint64_t size = stream->size();
    const std::uint64_t at = position();
    return at <= size && count <= size - at;
}

bool chunk_reader::from_stream(void* buffer, std::uint64_t count) {
    return count <= std::numeric_limits<std::uint32_t>::max() &&
           stream->read(buffer, static_cast<std::uint32_t>(count));
}

bool chunk_reader::look_ahead(std::uint64_t taken) {
    const std::uint64_t start = stream->tell();
    ahead_.resize(std::min(left() - taken, look_ahead_size));
    ahead_used_ = 0;
    if (from_stream(ahead_.data(), ahead_.size())) return true;
    // The stream ends before the chunk does. What is asked for may still be there.
    ahead_.clear();
    stream->seek(start);
    return false;
}

bool chunk_reader::back_to(std::uint64_t start) {
    stream->seek(start);
    ahead_.clear();
    ahead_used_ = 0;
    return false;
}

bool chunk_reader::read(void* buffer, std::uint64_t count) {
    if (count == 0) return true;
    if (count > left()) return false;
    const std::uint64_t start = position();
    auto* to = static_cast<std::uint8_t*>(buffer);
    const std::uint64_t from_ahead = std::min<std::uint64_t>(count, ahead_.size() - ahead_used_);
    to = std::copy_n(ahead_.data() + ahead_used_, from_ahead, to);
    ahead_used_ += from_ahead;

    const std::uint64_t rest = count - from_ahead;
    if (rest != 0 && rest < look_ahead_size && look_ahead(from_ahead)) {
        std::copy_n(ahead_.data(), rest, to);
        ahead_used_ = rest;
    } else if (rest != 0 && !from_stream(to, rest)) {
        return back_to(start);
    }
    chunk_stack.back() -= count;
    return true;
}

bool chunk_reader::read_exactly(void* buffer, std::uint64_t count) {
    settle();
    if (count > left()) return false;
    const std::uint64_t start = position();
    if (!from_stream(buffer, count)) return back_to(start);
    chunk_stack.back() -= count;
    return true;
}

bool chunk_reader::skip(std::uint64_t count) {
    if (count == 0) return true;
    if (count > left() || count > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return false;
    const std::uint64_t start = position();
    const std::uint64_t from_ahead = std::min<std::uint64_t>(count, ahead_.size() - ahead_used_);
    ahead_used_ += from_ahead;
    if (count != from_ahead && !stream->skip(static_cast<std::int64_t>(count - from_ahead))) return back_to(start);
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

bool chunk_reader::restart(std::uint64_t to) {
    chunk_stack.clear();
    ahead_.clear();
    ahead_used_ = 0;
    return to <= stream->size() && stream->seek(to);
}

void chunk_reader::settle() {
    if (ahead_used_ != ahead_.size()) stream->seek(position());
    ahead_.clear();
    ahead_used_ = 0;
}

}  // namespace vio::details
