#include "tools/MERO/MEROEngine/implementations/parser/NodeStorage.h"

#include <atomic>
#include <cstdint>
#include <new>

namespace {

constexpr std::align_val_t kBlockAlignment{NodeStorage::kNodeBlockBytes};
constexpr std::size_t kPieceAlignment = alignof(std::max_align_t);

/// Head of a block. Blocks are aligned to their size, so that a piece's address leads to its block.
struct alignas(kPieceAlignment) Block {
    /// The pieces in use, and one for the thread that still carves from the block.
    std::atomic<uint32_t> users = 1;
    /// Bytes that are carved already, this head included. Of the carving thread alone.
    std::size_t used = sizeof(Block);
};

void letGo(Block* block) noexcept {
    if (block->users.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        block->~Block();
        ::operator delete(block, kBlockAlignment);
    }
}

/// The block that this thread carves from.
class CurrentBlock {
public:
    CurrentBlock() = default;
    ~CurrentBlock() { replaceBy(nullptr); }
    CurrentBlock(const CurrentBlock&) = delete;
    CurrentBlock& operator=(const CurrentBlock&) = delete;

    /// A block with room for a piece.
    [[nodiscard]] Block& withRoomFor(std::size_t bytes) {
        if (m_pBlock != nullptr && NodeStorage::kNodeBlockBytes - m_pBlock->used >= bytes) {
            return *m_pBlock;
        }
        if (m_pBlock != nullptr && m_pBlock->users.load(std::memory_order_acquire) == 1) {
            // All its pieces are back, as after short-lived copies: carve it again.
            m_pBlock->used = sizeof(Block);
            return *m_pBlock;
        }
        replaceBy(new (::operator new(NodeStorage::kNodeBlockBytes, kBlockAlignment)) Block);
        return *m_pBlock;
    }

private:
    void replaceBy(Block* block) noexcept {
        if (m_pBlock != nullptr) {
            letGo(m_pBlock);
        }
        m_pBlock = block;
    }

    Block* m_pBlock = nullptr;
};

thread_local CurrentBlock t_current;

} // namespace

void* NodeStorage::take(std::size_t sizeBytes) {
    if (sizeBytes > kLargestPieceBytes) {
        throw std::bad_alloc();
    }
    const std::size_t bytes = (sizeBytes + kPieceAlignment - 1) / kPieceAlignment * kPieceAlignment;
    Block& block = t_current.withRoomFor(bytes);
    void* piece = reinterpret_cast<std::byte*>(&block) + block.used;
    block.used += bytes;
    block.users.fetch_add(1, std::memory_order_relaxed);
    return piece;
}

void NodeStorage::giveBack(void* piece) noexcept {
    if (piece != nullptr) {
        auto* start = static_cast<std::byte*>(piece);
        letGo(reinterpret_cast<Block*>(start - reinterpret_cast<std::uintptr_t>(start) % kNodeBlockBytes));
    }
}
