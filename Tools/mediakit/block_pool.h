// Large blocks of input that samples point into.
#pragma once

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/ThreadSafety.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace mediakit_tool {

class BlockPool;

/// A block and the number of those who point into it. It goes back to its pool with the last one.
class Block {
public:
    Block(std::shared_ptr<BlockPool> pool, std::size_t capacity);

    std::uint8_t* Data() { return m_data.get(); }
    std::size_t Capacity() const { return m_capacity; }

private:
    friend class BlockRef;
    friend class BlockPool;

    std::atomic<int> m_references{0};
    const std::size_t m_capacity;
    std::unique_ptr<std::uint8_t[]> m_data;
    std::shared_ptr<BlockPool> m_pool;  ///< set while somebody points into the block
};

/// A counted pointer to a block. The count is safe from any thread.
class BlockRef {
public:
    BlockRef() = default;
    BlockRef(const BlockRef& other) : m_block(other.m_block) {
        if (m_block) m_block->m_references.fetch_add(1, std::memory_order_relaxed);
    }
    BlockRef(BlockRef&& other) noexcept : m_block(std::exchange(other.m_block, nullptr)) {}
    BlockRef& operator=(BlockRef other) noexcept {
        std::swap(m_block, other.m_block);
        return *this;
    }
    ~BlockRef() { Reset(); }

    void Reset();
    Block* operator->() const { return m_block; }
    explicit operator bool() const { return m_block != nullptr; }
    /// Nobody else points into the block.
    bool Alone() const { return m_block->m_references.load(std::memory_order_acquire) == 1; }

private:
    friend class BlockPool;
    explicit BlockRef(Block* block) : m_block(block) { m_block->m_references.store(1, std::memory_order_relaxed); }

    Block* m_block = nullptr;
};

/// Makes blocks and keeps those of the common size for the next call. Any thread.
class BlockPool : public std::enable_shared_from_this<BlockPool> {
public:
    /// `blockSize` in bytes: the size of the blocks that are kept; at most `kept` of them.
    static std::shared_ptr<BlockPool> Create(std::size_t blockSize, std::size_t kept);

    std::size_t BlockSize() const { return m_blockSize; }
    /// A block of the common size, or a larger one when `capacity` asks for it.
    BlockRef Get(std::size_t capacity);

private:
    friend class BlockRef;
    BlockPool(std::size_t blockSize, std::size_t kept) : m_blockSize(blockSize), m_kept(kept) {}
    void GiveBack(Block* block);

    const std::size_t m_blockSize;
    const std::size_t m_kept;
    CCritSec m_lock{"BlockPool", LockRank::Object};
    std::vector<std::unique_ptr<Block>> m_free MK_GUARDED_BY(m_lock);
};

}  // namespace mediakit_tool
