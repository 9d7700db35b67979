// The part of an elementary stream that is in memory and not yet handed on.
#pragma once

#include "Tools/mediakit/block_pool.h"
#include "Tools/mediakit/byte_input.h"

#include <cstdint>
#include <memory>
#include <span>

namespace mediakit_tool {

/// A run of bytes inside a block that keeps the block.
struct Slice {
    BlockRef block;
    std::uint8_t* data = nullptr;
    std::size_t size = 0;
};

/// Told before a read that may wait for the input. On the reading thread.
class ReadListener {
public:
    virtual void AboutToRead() = 0;

protected:
    ~ReadListener() = default;
};

/// Reads an input block by block and shows the unread bytes as one run. What is handed on points into
/// the block; a run that is cut by a block's end moves once, to the front of the next block. Offsets
/// count from the first unread byte and stay right when the run moves. One thread.
class StreamWindow {
public:
    StreamWindow(ByteInput& input, std::shared_ptr<BlockPool> pool);

    /// Null: nobody. The listener outlives the reading.
    void SetListener(ReadListener* listener) { m_listener = listener; }

    /// The unread bytes. Valid until the next Fill, Take or Drop.
    std::span<std::uint8_t> Bytes() const { return {Begin(), m_end - m_begin}; }
    std::size_t Size() const { return m_end - m_begin; }

    /// Reads more behind them, waiting for it. False at the end of the input and after a failure.
    bool Fill();
    /// Nothing more will come.
    bool AtEnd() const { return m_atEnd; }
    /// NO_ERROR, or why reading ended before the end of the input.
    DWORD Error() const { return m_error; }

    /// Position of the first unread byte in the input. After Cut it may lie behind the true position
    /// of the bytes in front of the gap.
    std::uint64_t Position() const { return m_position; }
    /// Bytes read from the input so far. Any thread.
    std::uint64_t BytesRead() const { return m_bytesRead.load(std::memory_order_relaxed); }

    BlockPool& Pool() const { return *m_pool; }

    /// The first `size` unread bytes, which are then read.
    Slice Take(std::size_t size);
    /// The same, without handing them on.
    void Drop(std::size_t size);
    /// Takes `size` bytes at `offset` out of the run; the bytes in front move up to those behind.
    void Cut(std::size_t offset, std::size_t size);

private:
    std::uint8_t* Begin() const { return m_block ? m_block->Data() + m_begin : nullptr; }
    void MakeRoom();

    ByteInput& m_input;
    ReadListener* m_listener = nullptr;
    const std::shared_ptr<BlockPool> m_pool;
    BlockRef m_block;
    std::size_t m_begin = 0;  ///< in the block
    std::size_t m_end = 0;
    std::uint64_t m_position = 0;
    std::atomic<std::uint64_t> m_bytesRead{0};
    bool m_atEnd = false;
    DWORD m_error = NO_ERROR;
};

}  // namespace mediakit_tool
