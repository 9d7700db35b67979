// How much memory the tracks of a file may take, held against the size of the file.
#pragma once

#include <algorithm>
#include <cstdint>

namespace vio::mp4 {
class mp4_parser_base;
}

namespace Norvane::MediaKit::Filters::details {

/// Bytes of the boxes at top level that the parser has met, as far as the file reaches; of media data the headers only.
std::uint64_t BoxBytes(const vio::mp4::mp4_parser_base& parser, std::uint64_t fileSize);

/// A table of a few bytes can claim billions of samples. Those of real files have a byte and more, no two of them share
/// bytes, and none lies in a box: what claims more is cut. One budget serves all tracks of a file.
///
/// What a reader may take is 16 MiB and 64 bytes for each of the file's. A byte of a sample costs 32 for its record and
/// 16 for its place in the sync index; a byte of a box up to 34, in runs of 8 bytes without content, and up to 5 in
/// tables of chunks, which have 16 for a record of 4 bytes and more. Ten buffers of each track make 10 more for either.
/// That is 58 at most, and of the free records and buffers 14 MiB.
class ReadingBudget {
public:
    explicit ReadingBudget(std::uint64_t fileSize, std::uint64_t boxBytes = 0)
        : m_fileSize(fileSize),
          m_records(fileSize - std::min(fileSize, boxBytes) + kFreeRecords),
          m_bufferBytes(fileSize + kFreeBufferBytes) {}

    std::uint64_t FileSize() const { return m_fileSize; }
    /// Takes sample records out of the budget: as many as wanted or, when that is more than are left, half of those. No
    /// whole file wants more; a track that does is broken, and the others are to play.
    std::uint64_t TakeRecords(std::uint64_t wanted) {
        return Take(m_records, wanted <= m_records ? wanted : m_records / 2);
    }
    /// Takes bytes of a sample buffer: as many as wanted or as are left.
    std::uint64_t TakeBufferBytes(std::uint64_t wanted) { return Take(m_bufferBytes, wanted); }

private:
    static constexpr std::uint64_t kFreeRecords = 1 << 16;
    static constexpr std::uint64_t kFreeBufferBytes = 1 << 20;

    static std::uint64_t Take(std::uint64_t& left, std::uint64_t wanted) {
        const std::uint64_t taken = std::min(left, wanted);
        left -= taken;
        return taken;
    }

    const std::uint64_t m_fileSize;
    std::uint64_t m_records;
    std::uint64_t m_bufferBytes;
};

}  // namespace Norvane::MediaKit::Filters::details
