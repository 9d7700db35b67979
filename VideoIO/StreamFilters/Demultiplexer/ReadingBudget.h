// How much memory the tracks of a file may take, held against the size of the file.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Norvane::MediaKit::Filters::details {

/// A table of a few bytes can claim billions of samples. Samples of real files have two bytes and more, and no two of
/// them share bytes: what claims more is cut. One budget serves all tracks of a file.
///
/// A record and its place in the sync index take 48 bytes, so that 24 go to each byte of the file; boxes without content
/// take 30 more, sample buffers 10. Together that stays below the 64 that a reader may take for each.
class ReadingBudget {
public:
    explicit ReadingBudget(std::uint64_t fileSize)
        : m_fileSize(fileSize), m_records(fileSize / 2 + kFreeRecords), m_bufferBytes(fileSize + kFreeBufferBytes) {}

    std::uint64_t FileSize() const { return m_fileSize; }
    /// Takes sample records out of the budget: as many as wanted or, when that is more than are left, half of those:
    /// the track is broken, and the others are to play.
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
