#include "Tools/mediakit/block_pool.h"

#include <algorithm>

namespace mediakit_tool {

// Not value-initialised: a block is written by a read before it is looked at, and a page that no
// read reaches costs nothing.
Block::Block(std::shared_ptr<BlockPool> pool, std::size_t capacity)
    : m_capacity(capacity), m_data(new std::uint8_t[capacity]), m_pool(std::move(pool)) {}

void BlockRef::Reset() {
    Block* const block = std::exchange(m_block, nullptr);
    if (block == nullptr || block->m_references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    const std::shared_ptr<BlockPool> pool = std::move(block->m_pool);
    pool->GiveBack(block);
}

std::shared_ptr<BlockPool> BlockPool::Create(std::size_t blockSize, std::size_t kept) {
    return std::shared_ptr<BlockPool>(new BlockPool(blockSize, kept));
}

BlockRef BlockPool::Get(std::size_t capacity) {
    if (capacity <= m_blockSize) {
        CAutoLock lock(&m_lock);
        if (!m_free.empty()) {
            Block* const block = m_free.back().release();
            m_free.pop_back();
            block->m_pool = shared_from_this();
            return BlockRef(block);
        }
    }
    return BlockRef(new Block(shared_from_this(), std::max(capacity, m_blockSize)));
}

void BlockPool::GiveBack(Block* block) {
    std::unique_ptr<Block> owned(block);
    if (block->m_capacity != m_blockSize) return;
    CAutoLock lock(&m_lock);
    if (m_free.size() < m_kept) m_free.push_back(std::move(owned));
}

}  // namespace mediakit_tool
