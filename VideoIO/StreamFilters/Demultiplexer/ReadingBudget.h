// How much memory the tracks of a file may take, held against the size of the file.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Norvane::MediaKit::Filters::details {

/// A table of a few bytes can claim billions of samples. No file holds more samples than bytes, and no two samples of
/// real files share bytes: what claims more is cut to what the file can hold. One budget serves all tracks of a file.
class ReadingBudget {
public:
    explicit ReadingBudget(std::uint64_t fileSize)
        : m_fileSize(fileSize), m_records(fileSize + kFreeRecords), m_bufferBytes(fileSize + kFreeBufferBytes) {}

    std::uint64_t FileSize() const { return m_fileSize; }
    /// Takes sample records out of the budget: as many as wanted or as are left.
    std::uint64_t TakeRecords(std::uint64_t wanted) { return Take(m_records, wanted); }
    /// The same for the bytes of a sample buffer.
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
